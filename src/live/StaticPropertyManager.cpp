// SPDX-License-Identifier: MIT
// The rules of a static table are those of a scan from its first row to its last. An index, made on
// the first lookup, gives the same answers; without one the scan itself does. Pinned by
// tests/live/StaticPropertyManagerTest.cpp.
#include "live/StaticPropertyManager.h"

#include <new>

#include <tavrin/SimpleArray.h>

#include "live/InfoRecords.h"

namespace Tavrin {

namespace {

// What a null pointer stands for.
constexpr LivePropertyInfo emptyTable[] = {{nullptr, 0, 0, nullptr}};

const LivePropertyInfo *orEmpty(const LivePropertyInfo *rows)
{
    return rows != nullptr ? rows : emptyTable;
}

bool hasName(const LivePropertyInfo &row, const String &name, bool ignoreCase)
{
    return ignoreCase ? name.ucmp(row.name) == 0 : name == row.name;
}

} // namespace

StaticPropertyManager::StaticPropertyManager(const LivePropertyInfo *rows) noexcept
    : table(orEmpty(rows))
{
    for (const LivePropertyInfo *row = table; row->name != nullptr && !operators; ++row)
        operators = isOperatorID(row->id);
}

void StaticPropertyManager::registerProperty(const char *, int, int, const char *) noexcept {}

// D-224: `operators` stays as the first table set it.
void StaticPropertyManager::registerProperties(const LivePropertyInfo *rows) noexcept
{
    index.drop();
    table = orEmpty(rows);
}

const LivePropertyInfo *StaticPropertyManager::searchName(const String &name, bool ignoreCase,
                                                          int flags) const noexcept
{
    for (const LivePropertyInfo *row = table; row->name != nullptr; ++row)
        if (hasName(*row, name, ignoreCase) && detail::fitsLanguage(row->flags, flags))
            return row;
    return nullptr;
}

// The first row of that id, whatever its languages, or null.
const LivePropertyInfo *StaticPropertyManager::findID(int id) const noexcept
{
    if (const detail::PropertyIndex *ids = index.get(table))
        return ids->findID(id);
    for (const LivePropertyInfo *row = table; row->name != nullptr; ++row)
        if (row->id == id)
            return row;
    return nullptr;
}

int StaticPropertyManager::getIDForName(const String &name, int &id, InfoType &type,
                                        int flags) const noexcept
{
    if (name.length() > 0) {
        if (const auto *row = findName(name, detail::isCaselessLookup(flags), flags)) {
            id = row->id;
            type = detail::typeOf(row->flags);
            return 0;
        }
    }
    id = 0;
    type = kInfoNone;
    return detail::errorUndefined;
}

// D-221: only the first row of the id counts, also when its languages do not fit.
int StaticPropertyManager::getNameForID(int id, String &name, int flags) const noexcept
try {
    const LivePropertyInfo *row = findID(id);
    if (row != nullptr && detail::fitsLanguage(row->flags, flags)) {
        name = row->name;
        return 0;
    }
    name.erase();
    return detail::errorUndefined;
} catch (const std::bad_alloc &) {
    name.erase();
    return detail::errorOutOfMemory;
}

InfoType StaticPropertyManager::getType(int id) const noexcept
{
    const LivePropertyInfo *row = findID(id);
    return row != nullptr ? detail::typeOf(row->flags) : kInfoNone;
}

// Counts first, so that the list grows once and stays as it was if it cannot.
int StaticPropertyManager::enumerate(SimpleArray &ids, int flags) const noexcept
try {
    int listed = 0;
    for (const LivePropertyInfo *row = table; row->name != nullptr; ++row)
        listed += detail::isListed(row->flags, flags);
    if (listed == 0)
        return 0;
    int at = ids.length();
    ids.insertGap(at, listed);
    for (const LivePropertyInfo *row = table; row->name != nullptr; ++row)
        if (detail::isListed(row->flags, flags))
            ids[at++] = row->id;
    return 0;
} catch (const std::bad_alloc &) {
    return detail::errorOutOfMemory;
}

// D-223: the last row that fits.
const ServiceInfo *StaticPropertyManager::getConstructor(int flags) const noexcept
try {
    const LivePropertyInfo *constructor = nullptr;
    for (const LivePropertyInfo *row = table; row->name != nullptr; ++row)
        if (*row->name == 0 && detail::fitsLanguage(row->flags, flags))
            constructor = row;
    return constructor != nullptr ? detail::newConstructorRecord(constructor->description)
                                  : nullptr;
} catch (const std::bad_alloc &) {
    return nullptr;
}

const ServiceInfo *StaticPropertyManager::getServiceInfo(const String &name,
                                                         int flags) const noexcept
try {
    const LivePropertyInfo *row = findName(name, false, flags);
    return row != nullptr ? detail::newServiceRecord(row->id, name, detail::typeOf(row->flags),
                                                     row->description)
                          : nullptr;
} catch (const std::bad_alloc &) {
    return nullptr;
}

const ServiceInfo *StaticPropertyManager::getServiceInfo(int id, int flags) const noexcept
try {
    String name;
    if (getNameForID(id, name, flags) != 0)
        return nullptr;
    const LivePropertyInfo *row = findID(id);
    return detail::newServiceRecord(id, name, detail::typeOf(row->flags), row->description);
} catch (const std::bad_alloc &) {
    return nullptr;
}

bool detail::isListed(int rowFlags, int flags) noexcept
{
    int wanted = 0; // D-222: other types always are
    switch (rowFlags & kPropertyTypeMask) {
    case kInfoReadOnly:
        wanted = kListReadOnly;
        break;
    case kInfoReadWrite:
        wanted = kListReadWrite;
        break;
    case kInfoMethod:
        wanted = kListMethods;
        break;
    }
    if ((rowFlags & kPropertyUnlisted) != 0)
        wanted |= kListUnlisted;
    if ((rowFlags & kPropertyPrivate) != 0)
        wanted |= kListPrivate;
    return (flags & wanted) == wanted && fitsLanguage(rowFlags, flags);
}

} // namespace Tavrin
