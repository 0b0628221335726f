// SPDX-License-Identifier: MIT
// Turns the ranges, deltas and lists of UnicodeModel.h into pages of 256 entries while it is
// compiled.
//
// Page 0 of a table is empty and stands for every page that nothing was stored on; the others are
// handed out as their first entry comes. Only units that the model holds bytes for are visited one
// by one, which keeps the work far below the compilers' limits for constant evaluation. The tables
// take 24 KB. tests/text/UnicodeUtilsTest.cpp compares them with the model.

#include "text/UnicodeTables.h"

#include <span>

#include "text/UnicodeModel.h"

namespace Tavrin::detail {
namespace {

constexpr std::size_t pageSize = 256;

template <class Table>
struct Builder
{
    Table table{};
    std::size_t pagesUsed = 1;

    consteval unsigned char newPage() { return static_cast<unsigned char>(pagesUsed++); }

    // Where the unit's entry goes. A table declared with too few pages does not compile.
    consteval auto &entry(std::size_t unit)
    {
        unsigned char &page = table.pageOf[unit / pageSize];
        if (page == 0)
            page = newPage();
        return table.pages[page][unit % pageSize];
    }
};

// Calls visit(unit, byte) for each unit that has a byte of its own.
template <class Visitor>
consteval void forEachByte(Visitor visit)
{
    for (const unicode::Range &range : unicode::ranges) {
        if (range.bytes.empty())
            continue;
        for (std::size_t unit = range.first; unit <= range.last; ++unit) {
            const unsigned char byte = range.bytes[unit - range.first];
            if (byte != 0)
                visit(unit, byte);
        }
    }
}

// The ranges without bytes: all pages that lie wholly in one of them are the same page.
consteval void addIdeographs(Builder<FlagTable> &builder)
{
    constexpr unsigned char ideographByte = symbolStartFlag | symbolPartFlag;
    const unsigned char wholePage = builder.newPage();
    for (unsigned char &byte : builder.table.pages[wholePage])
        byte = ideographByte;
    for (const unicode::Range &range : unicode::ranges) {
        if (!range.bytes.empty())
            continue;
        const std::size_t end = range.last + std::size_t{1};
        for (std::size_t unit = range.first; unit < end;) {
            if (unit % pageSize == 0 && unit + pageSize <= end) {
                builder.table.pageOf[unit / pageSize] = wholePage;
                unit += pageSize;
            } else {
                builder.entry(unit++) = ideographByte;
            }
        }
    }
}

consteval Builder<FlagTable> buildFlags()
{
    Builder<FlagTable> builder;
    addIdeographs(builder);
    forEachByte([&](std::size_t unit, unsigned char byte) consteval {
        builder.entry(unit) = byte;
    });
    return builder;
}

consteval bool isLowerClass(unsigned caseClass)
{
    return caseClass >= firstLowerClass;
}

// The mapping away from lower or upper case. Class 15 has the delta 0, its units are in the list.
consteval Builder<CaseTable> buildMapping(bool fromLower,
                                          std::span<const unicode::CaseException> list)
{
    Builder<CaseTable> builder;
    forEachByte([&](std::size_t unit, unsigned char byte) consteval {
        const unsigned caseClass = byte & caseClassMask;
        const int delta = unicode::caseDeltas[caseClass];
        if (delta != 0 && isLowerClass(caseClass) == fromLower)
            builder.entry(unit) = static_cast<unsigned short>(delta);
    });
    for (const unicode::CaseException &row : list)
        builder.entry(row.unit) = static_cast<unsigned short>(row.delta);
    return builder;
}

constexpr Builder<FlagTable> flags = buildFlags();
constexpr Builder<CaseTable> toUpper = buildMapping(true, unicode::toUpperExceptions);
constexpr Builder<CaseTable> toLower = buildMapping(false, unicode::toLowerExceptions);

template <class Table>
consteval bool isExactlyFull(const Builder<Table> &builder)
{
    return builder.pagesUsed == sizeof(builder.table.pages) / sizeof(builder.table.pages[0]);
}
static_assert(isExactlyFull(flags) && isExactlyFull(toUpper) && isExactlyFull(toLower),
              "the page counts in UnicodeTables.h are those of this data");

} // namespace

constinit const FlagTable flagTable = flags.table;
constinit const CaseTable toUpperTable = toUpper.table;
constinit const CaseTable toLowerTable = toLower.table;

} // namespace Tavrin::detail
