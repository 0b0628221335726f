// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/HashTable.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>

#include "live/PropertyManagerImpl.h"

namespace Tavrin {

// dynPropNameInfo: what a name stands for in a DynamicPropertyManager.
struct dynPropNameInfo : Root
{
    dynPropNameInfo(int forID, int withFlags, const String &text)
        : id(forID), flags(withFlags), description(text)
    {}

    int id;
    int flags;
    String description;           // shares its text with the propIDInfo of the same registration
    const String *name = nullptr; // the key in the table of names
};

// propIDInfo: what an id stands for, by its first registration; its languages are those of all.
struct propIDInfo : Root
{
    propIDInfo(int withFlags, const String &text) : flags(withFlags), description(text) {}

    int flags;
    String description;
    TSimpleArray<dynPropNameInfo> names; // those that stand for this id now
};

// DynamicPropertyManager: hash tables from name and from id.
// Owns:    its records and copies of all texts.
class DynamicPropertyManager final : public LivePropMgrData
{
public:
    DynamicPropertyManager() = default;
    ~DynamicPropertyManager() override;

    // False without memory; nothing has changed then.
    bool tryRegister(const char *name, int id, int flags, const char *description) noexcept;

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
    const LivePropertyInfo *getTable() const noexcept override { return nullptr; }

private:
    propIDInfo *findID(int id) const noexcept
    {
        return TSimpleArray<propIDInfo>::fromSlot(ids[id]);
    }
    const String *nameOf(int id, const propIDInfo &info, int flags) const;
    void setName(const String &name, dynPropNameInfo &info);

    THashTable<dynPropNameInfo> names;
    SparseArray ids; // of propIDInfo
};

} // namespace Tavrin
