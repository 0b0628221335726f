// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <tavrin/LivePropertyManager.h>
#include <tavrin/Refcountable.h>
#include <tavrin/Reflection.h>
#include <tavrin/SimpleArray.h>

#include "support/TextUnits.h"

// What managers answer, as values that tests compare and print.
namespace Tavrin::test {

struct FoundID
{
    int code;
    int id;
    int type;

    bool operator==(const FoundID &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const FoundID &found)
    {
        return out << "code " << found.code << ", id " << found.id << ", type " << found.type;
    }
};

inline constexpr FoundID noID{2, 0, kInfoNone};

inline FoundID findID(const LivePropertyManager &manager, const String &name,
                      int flags = kDefaultLanguage)
{
    FoundID found{-1, -1, -1};
    InfoType type{-1};
    found.code = manager.getIDForName(name, found.id, type, flags);
    found.type = type;
    return found;
}

struct FoundName
{
    int code;
    std::string name;

    bool operator==(const FoundName &) const = default;
    friend std::ostream &operator<<(std::ostream &out, const FoundName &found)
    {
        return out << "code " << found.code << ", name \"" << found.name << '"';
    }
};

inline const FoundName noName{2, ""};

inline FoundName findName(const LivePropertyManager &manager, int id, int flags = kDefaultLanguage)
{
    String name("not touched");
    const int code = manager.getNameForID(id, name, flags);
    return {code, bytesOf(name)};
}

inline constexpr int listAll = kListReadOnly | kListReadWrite | kListMethods | kDefaultLanguage;

inline std::vector<int> idsOf(const SimpleArray &slots)
{
    return std::vector<int>(slots.begin(), slots.end());
}

inline std::vector<int> listedIDs(const LivePropertyManager &manager, int flags)
{
    SimpleArray ids;
    EXPECT_EQ(manager.enumerate(ids, flags), 0);
    return idsOf(ids);
}

using Service = InterfacePtr<const ServiceInfo>;

// A service record in one line: "name id type short|long -> type(params)"; "none" without one.
inline std::string describe(const ServiceInfo *record)
{
    const Service service = Service::adopt(record);
    if (!service)
        return "none";
    EXPECT_EQ(service->getRefCount(), 1);
    String name, shortText, longText, type;
    service->getName(name);
    service->getDescription(false, shortText);
    service->getDescription(true, longText);
    service->getTypeInfo().getDataTypeAsString(type);
    return bytesOf(name) + ' ' + std::to_string(service->getID()) + ' ' +
           std::to_string(service->getType()) + ' ' + bytesOf(shortText) + '|' + bytesOf(longText) +
           " -> " + bytesOf(type) + '(' + std::to_string(service->getParamCount()) + ')';
}

} // namespace Tavrin::test
