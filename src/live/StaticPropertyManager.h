// SPDX-License-Identifier: MIT
#pragma once

#include "live/Exactly.h"
#include "live/PropertyIndex.h"
#include "live/PropertyManagerImpl.h"

namespace Tavrin {

// StaticPropertyManager: a host's table, used in place. It is a member of its manager in all but
// type, so that a manager can be made before there is a heap.
class StaticPropertyManager final : public LivePropMgrData
{
public:
    // A null pointer counts as an empty table.
    explicit StaticPropertyManager(const LivePropertyInfo *rows) noexcept;

    // Does nothing: single rows are for the dynamic form.
    void registerProperty(const char *name, int id, int flags,
                          const char *description) noexcept override;
    void registerProperties(const LivePropertyInfo *rows) noexcept override;
    int getIDForName(const String &name, int &id, InfoType &type,
                     int flags) const noexcept override;
    int getNameForID(int id, String &name, int flags) const noexcept override;
    InfoType getType(int id) const noexcept override;
    int enumerate(SimpleArray &ids, int flags) const noexcept override;
    const ServiceInfo *getConstructor(int flags) const noexcept override;
    const ServiceInfo *getServiceInfo(const String &name, int flags) const noexcept override;
    const ServiceInfo *getServiceInfo(int id, int flags) const noexcept override;
    const LivePropertyInfo *getTable() const noexcept override { return table; }

    // The index by which most names are found, or null.
    const detail::PropertyIndex *madeIndex() const noexcept { return index.made(); }
    // The first row of a name, which is not empty, in a language of `flags`, or null.
    const LivePropertyInfo *findName(const String &name, bool ignoreCase, int flags) const noexcept
    {
        const detail::PropertyIndex *names = index.get(table);
        if (names != nullptr && names->covers(name, ignoreCase)) [[likely]]
            return names->findName(name, ignoreCase, flags);
        return searchName(name, ignoreCase, flags);
    }

private:
    const LivePropertyInfo *searchName(const String &name, bool ignoreCase,
                                       int flags) const noexcept;
    const LivePropertyInfo *findID(int id) const noexcept;

    const LivePropertyInfo *table;
    detail::LazyPropertyIndex index;
};

namespace detail {

// The way of this library's own sources into a LivePropertyManager.
struct LivePropertyManagerAccess
{
    // The table of a manager that can be asked past its virtual operations: it is static, not of a
    // class of the host, and has no lock. Else null.
    static const StaticPropertyManager *table(const LivePropertyManager *manager) noexcept
    {
        if (manager == nullptr || !isExactly(*manager) || manager->hasLock())
            return nullptr;
        const LivePropertyManagerImpl *impl = manager->impl;
        const bool isStatic = static_cast<const void *>(impl) == manager->staticForm;
        return isStatic ? static_cast<const StaticPropertyManager *>(impl) : nullptr;
    }
};

} // namespace detail
} // namespace Tavrin
