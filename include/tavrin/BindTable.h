// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <type_traits>

#include <tavrin/LivePropertyManager.h>

namespace Tavrin::detail {

// BoundTable: what follows from the rows of a bound class, worked out by the compiler in one pass
// over them each. BaseTable is that of the base, or void. See Bind.h.
template <class Host, class BaseTable>
class BoundTable
{
public:
    using Member = std::remove_cvref_t<decltype(Host::members[0])>;

    static constexpr std::size_t count = std::size(Host::members);
    static_assert(count < 0xFFFF);

    // Rows without an id of their own count from here on.
    static constexpr int firstID = [] {
        if constexpr (std::is_void_v<BaseTable>)
            return 1;
        else
            return BaseTable::firstID + static_cast<int>(BaseTable::count);
    }();

    static constexpr int idOf(std::string_view name)
    {
        for (std::size_t row = 0; row < count; ++row)
            if (name == Host::members[row].name)
                return idAt(row);
        throw "there is no such member";
    }

    // The row of an id, or null.
    static const Member *find(int id) noexcept
    {
        const auto row = static_cast<unsigned>(id) - static_cast<unsigned>(firstID);
        if constexpr (givenCount == 0) {
            return row < count ? Host::members + row : nullptr;
        } else {
            if (row < count && Host::members[row].id == 0)
                return Host::members + row;
            for (std::size_t at = slotOf(id); givenIDs[at] != 0; at = nextSlot(at))
                if (Host::members[givenIDs[at] - 1].id == id)
                    return Host::members + (givenIDs[at] - 1);
            return nullptr;
        }
    }

private:
    template <class, class>
    friend class BoundTable;

    static constexpr int idAt(std::size_t row)
    {
        const int given = Host::members[row].id;
        return given != 0 ? given : firstID + static_cast<int>(row);
    }

    static constexpr std::size_t inheritedCount = [] {
        std::size_t inherited = 0;
        if constexpr (!std::is_void_v<BaseTable>)
            for (const LivePropertyInfo &row : BaseTable::rows)
                inherited += row.name != nullptr && *row.name != 0;
        return inherited;
    }();

    // The ids that were given to rows, in a table of open addressing: the row and one, or 0.
    static constexpr std::size_t givenCount = [] {
        std::size_t given = 0;
        for (const Member &member : Host::members)
            given += member.id != 0;
        return given;
    }();
    static constexpr std::size_t slotCount = std::bit_ceil(2 * givenCount + 1);
    static constexpr std::size_t slotOf(int id)
    {
        const auto bits = static_cast<std::uint32_t>(id);
        return (bits ^ bits >> 8 ^ bits >> 16) & (slotCount - 1);
    }
    static constexpr std::size_t nextSlot(std::size_t at) { return (at + 1) & (slotCount - 1); }
    static constexpr auto givenIDs = [] {
        std::array<std::uint16_t, slotCount> places = {};
        for (std::size_t row = 0; row < count; ++row) {
            const int id = Host::members[row].id;
            if (id == 0)
                continue;
            std::size_t at = slotOf(id);
            for (; places[at] != 0; at = nextSlot(at))
                if (Host::members[places[at] - 1].id == id)
                    throw "two rows have the same id";
            places[at] = static_cast<std::uint16_t>(row + 1);
        }
        return places;
    }();

public:
    // For a LivePropertyManager. Names of this class come first, and so hide those of the base. The
    // constructor of the base is left out, and that of this class has no id.
    static constexpr auto rows = [] {
        std::array<LivePropertyInfo, count + inheritedCount + 1> all = {};
        std::size_t at = 0;
        for (const Member &member : Host::members) {
            const int id = *member.name != 0 ? idAt(at) : 0;
            all[at++] = {member.name, id, member.binding.getType() | member.flags,
                         member.description};
        }
        if constexpr (!std::is_void_v<BaseTable>)
            for (const LivePropertyInfo &row : BaseTable::rows)
                if (row.name != nullptr && *row.name != 0)
                    all[at++] = row;
        return all;
    }();

    // The place of the row with an empty name, or -1. An address would do, but builds that check
    // for null pointers do not compare those in constants.
    static constexpr int constructor = [] {
        int found = -1;
        int at = 0;
        for (const Member &member : Host::members) {
            if (*member.name == 0)
                found = at;
            ++at;
        }
        return found;
    }();
};

// The table of a bound class, void for another one.
template <class Class>
struct FindBoundTable
{
    using Type = void;
};
template <class Class>
requires requires
{
    typename Class::Table;
}
struct FindBoundTable<Class>
{
    using Type = typename Class::Table;
};
template <class Class>
using BoundTableOf = typename FindBoundTable<Class>::Type;

} // namespace Tavrin::detail
