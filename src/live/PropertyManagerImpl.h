// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LivePropertyManager.h>

#include "live/ErrorCodes.h"

namespace Tavrin {

// LivePropertyManagerImpl: the storage behind a LivePropertyManager. The operations mean what the
// manager's mean.
// Failure: as the manager's.
class LivePropertyManagerImpl : public Root
{
public:
    virtual void registerProperty(const char *name, int id, int flags,
                                  const char *description) noexcept = 0;
    virtual void registerProperties(const LivePropertyInfo *rows) noexcept = 0;
    virtual int getIDForName(const String &name, int &id, InfoType &type,
                             int flags) const noexcept = 0;
    virtual int getNameForID(int id, String &name, int flags) const noexcept = 0;
    virtual InfoType getType(int id) const noexcept = 0;
    virtual int enumerate(SimpleArray &ids, int flags) const noexcept = 0;
    virtual const ServiceInfo *getConstructor(int flags) const noexcept = 0;
    virtual const ServiceInfo *getServiceInfo(const String &name, int flags) const noexcept = 0;
    virtual const ServiceInfo *getServiceInfo(int id, int flags) const noexcept = 0;
    // The table in use; null means that the storage is dynamic.
    virtual const LivePropertyInfo *getTable() const noexcept = 0;
    virtual bool hasOperators() const noexcept = 0;
};

// LivePropMgrData: what both forms of storage have.
class LivePropMgrData : public LivePropertyManagerImpl
{
public:
    bool hasOperators() const noexcept override { return operators; }

protected:
    bool operators = false;
};

namespace detail {

inline InfoType typeOf(int rowFlags) noexcept
{
    return static_cast<InfoType>(rowFlags & kPropertyTypeMask);
}

// Whether a row with these flags is valid in a language of the lookup.
inline bool fitsLanguage(int rowFlags, int flags) noexcept
{
    const int languages = rowFlags & kLanguageMask;
    return languages == 0 || (languages & flags) != 0;
}

inline bool isCaselessLookup(int flags) noexcept
{
    return (flags & kLanguageMask) == kCaselessLanguage;
}

// Whether an enumeration with `flags` shows a row with these flags.
bool isListed(int rowFlags, int flags) noexcept;

} // namespace detail
} // namespace Tavrin
