// SPDX-License-Identifier: MIT
// Names and ids lead to records of their own, since several names may stand for one id. A name
// record belongs to the last registration of its name, an id record to the first one of its id. The
// id record lists the names that stand for it, so that the common case of a single one needs no
// walk through all names. Pinned by tests/live/DynamicPropertyManagerTest.cpp.
#include "live/DynamicPropertyManager.h"

#include <memory>
#include <new>

#include "live/InfoRecords.h"

namespace Tavrin {

namespace {

// D-220: a lookup is refused only if the entry shares some, but not all, of its flags.
bool isRefused(const dynPropNameInfo &info, int flags)
{
    const int shared = info.flags & flags;
    return shared != 0 && shared != (flags & kLanguageMask);
}

} // namespace

DynamicPropertyManager::~DynamicPropertyManager()
{
    names.forEach(
        [](const String &, std::int64_t *value, std::int64_t) {
            delete TSimpleArray<dynPropNameInfo>::fromSlot(*value);
            return true;
        },
        0);
    ids.forEach(
        [](std::int64_t, std::int64_t *value, std::int64_t) {
            delete TSimpleArray<propIDInfo>::fromSlot(*value);
            return true;
        },
        0);
}

// Whatever asks for memory comes first; when it fails, what was done before it is undone.
bool DynamicPropertyManager::tryRegister(const char *name, int id, int flags,
                                         const char *description) noexcept
try {
    const String text(description);
    propIDInfo *known = findID(id);
    std::unique_ptr<propIDInfo> newID;
    if (known == nullptr)
        newID = std::make_unique<propIDInfo>(flags, text);
    propIDInfo &idInfo = known != nullptr ? *known : *newID;
    std::unique_ptr<dynPropNameInfo> newName;
    if (name != nullptr)
        newName = std::make_unique<dynPropNameInfo>(id, flags, text);
    try {
        if (newID != nullptr)
            ids.set(id, TSimpleArray<propIDInfo>::toSlot(newID.get()));
        if (newName != nullptr) {
            idInfo.names.append(newName.get());
            setName(name, *newName);
        }
    } catch (const std::bad_alloc &) {
        idInfo.names.remove(newName.get());
        if (newID != nullptr)
            ids.remove(id);
        return false;
    }
    // D-225: a known id only gets the languages.
    idInfo.flags |= flags & kLanguageMask;
    operators |= isOperatorID(id);
    static_cast<void>(newID.release());
    static_cast<void>(newName.release());
    return true;
} catch (const std::bad_alloc &) {
    return false;
}

// The name stands for something else from now on.
void DynamicPropertyManager::setName(const String &name, dynPropNameInfo &info)
{
    dynPropNameInfo *replaced = names.find(name, false);
    info.name = &names.set(name, &info, false);
    if (replaced != nullptr)
        findID(replaced->id)->names.remove(replaced);
    delete replaced;
}

void DynamicPropertyManager::registerProperty(const char *name, int id, int flags,
                                              const char *description) noexcept
{
    tryRegister(name, id, flags, description);
}

void DynamicPropertyManager::registerProperties(const LivePropertyInfo *rows) noexcept
{
    for (; rows != nullptr && rows->name != nullptr; ++rows)
        tryRegister(rows->name, rows->id, rows->flags, rows->description);
}

int DynamicPropertyManager::getIDForName(const String &name, int &id, InfoType &type,
                                         int flags) const noexcept
{
    const dynPropNameInfo *info =
        name.length() > 0 ? names.find(name, detail::isCaselessLookup(flags)) : nullptr;
    if (info == nullptr || isRefused(*info, flags)) {
        id = 0;
        type = kInfoNone;
        return detail::errorUndefined;
    }
    id = info->id;
    type = detail::typeOf(findID(id)->flags);
    return 0;
}

// The first name of the id, in the order of the table of names, whose language fits; or null.
const String *DynamicPropertyManager::nameOf(int id, const propIDInfo &info, int flags) const
{
    if (info.names.length() == 1) {
        const dynPropNameInfo *only = info.names[0];
        return detail::fitsLanguage(only->flags, flags) ? only->name : nullptr;
    }
    if (info.names.length() == 0)
        return nullptr;
    TSimpleArray<const String> keys;
    keys.setIncrement(names.length());
    names.getKeys(keys);
    for (const String *key : keys) {
        const dynPropNameInfo *entry = names.find(*key, false);
        if (entry->id == id && detail::fitsLanguage(entry->flags, flags))
            return key;
    }
    return nullptr;
}

int DynamicPropertyManager::getNameForID(int id, String &name, int flags) const noexcept
try {
    const propIDInfo *info = findID(id);
    if (const String *found = info != nullptr ? nameOf(id, *info, flags) : nullptr) {
        name = *found;
        return 0;
    }
    name.erase();
    return detail::errorUndefined;
} catch (const std::bad_alloc &) {
    name.erase();
    return detail::errorOutOfMemory;
}

InfoType DynamicPropertyManager::getType(int id) const noexcept
{
    const propIDInfo *info = findID(id);
    return info != nullptr ? detail::typeOf(info->flags) : kInfoNone;
}

int DynamicPropertyManager::enumerate(SimpleArray &out, int flags) const noexcept
try {
    SimpleArray listed;
    ids.getKeys(listed);
    int kept = 0;
    for (int at = 0; at < listed.length(); ++at) {
        const std::int64_t id = listed.getData()[at];
        if (detail::isListed(findID(static_cast<int>(id))->flags, flags))
            listed[kept++] = id;
    }
    listed.removeGap(kept, listed.length() - kept);
    if (kept > 0)
        out.append(listed);
    return 0;
} catch (const std::bad_alloc &) {
    return detail::errorOutOfMemory;
}

// D-223: in whatever language.
const ServiceInfo *DynamicPropertyManager::getConstructor(int) const noexcept
{
    const dynPropNameInfo *info = names.find(String(), false);
    return info != nullptr ? detail::newConstructorRecord(info->description) : nullptr;
}

const ServiceInfo *DynamicPropertyManager::getServiceInfo(const String &name,
                                                          int flags) const noexcept
{
    const dynPropNameInfo *info = names.find(name, false);
    if (info == nullptr || isRefused(*info, flags))
        return nullptr;
    const InfoType type = detail::typeOf(findID(info->id)->flags);
    return detail::newServiceRecord(info->id, name, type, info->description);
}

const ServiceInfo *DynamicPropertyManager::getServiceInfo(int id, int flags) const noexcept
try {
    const propIDInfo *info = findID(id);
    const String *name = info != nullptr ? nameOf(id, *info, flags) : nullptr;
    return name != nullptr
               ? detail::newServiceRecord(id, *name, detail::typeOf(info->flags), info->description)
               : nullptr;
} catch (const std::bad_alloc &) {
    return nullptr;
}

} // namespace Tavrin
