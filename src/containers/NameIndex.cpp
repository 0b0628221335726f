// SPDX-License-Identifier: MIT
// Building and changing the index of names that NameIndex.h describes.
// Pinned by tests/containers/HashTableModelTest.cpp.
#include "containers/NameIndex.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

namespace Tavrin::detail {

namespace {

// While the index changes its size, it asks for the items of later groups.
constexpr unsigned groupsAhead = 2;

// The groups stand at the first address in the block that suits them.
constexpr std::size_t alignmentSlack = alignof(NameGroup) - 8;

NameGroup *makeGroups(void *block, unsigned count)
{
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    auto *groups = reinterpret_cast<NameGroup *>((address + alignmentSlack) &
                                                 ~std::uintptr_t{alignof(NameGroup) - 1});
    for (NameGroup *group = groups; group != groups + count; ++group)
        ::new (group) NameGroup;
    return groups;
}

// Of the keys that differ from `last` only in case, the first one in walking order that is `name`.
HashItem *exactVariant(HashItem *last, const String &name)
{
    HashItem *item = last;
    do {
        item = item->variant;
        if (areEqualNames(item->key, name))
            return item;
    } while (item != last);
    return nullptr;
}

// Turns the circle around, and returns what is last then: the item that was first.
HashItem *reverse(HashItem *last)
{
    HashItem *const first = last->variant;
    HashItem *before = last;
    for (HashItem *item = first; item != last;) {
        HashItem *const next = std::exchange(item->variant, before);
        before = item;
        item = next;
    }
    last->variant = before;
    return first;
}

} // namespace

NameIndex::~NameIndex()
{
    Heap::operator delete(block);
}

void NameIndex::swap(NameIndex &other) noexcept
{
    std::swap(block, other.block);
    std::swap(groups, other.groups);
    std::swap(mask, other.mask);
    std::swap(entries, other.entries);
    std::swap(items, other.items);
}

bool NameIndex::takesOneMore() const
{
    return isBuilt() && entries < std::int64_t{mask + 1} * NameGroup::mostOnAverage;
}

void NameIndex::grow()
{
    constexpr unsigned firstGroups = 4;
    constexpr unsigned manyGroups = 64;
    if (!isBuilt())
        resize(firstGroups);
    else
        resize((mask + 1) * (mask < manyGroups ? 4 : 2));
}

void NameIndex::shrink() noexcept
{
    constexpr int fewOnAverage = NameGroup::mostOnAverage / 4;
    if (!isBuilt() || entries > std::int64_t{mask} * fewOnAverage)
        return;
    try {
        resize((mask + 1) / 2);
    } catch (const std::bad_alloc &) {
        // The larger one goes on serving.
    }
}

void NameIndex::resize(unsigned groupCount)
{
    NameIndex resized;
    resized.block = Heap::operator new(groupCount * sizeof(NameGroup) + alignmentSlack);
    resized.groups = makeGroups(resized.block, groupCount);
    resized.mask = groupCount - 1;
    for (unsigned at = 0; isBuilt() && at <= mask; ++at) {
        for (const HashItem *item : groups[std::min(at + groupsAhead, mask)].items)
            __builtin_prefetch(item);
        for (unsigned place = 0; place < NameGroup::places; ++place)
            if (groups[at].isTaken(place))
                resized.place(groups[at].items[place]);
    }
    resized.items = items;
    swap(resized);
}

std::optional<NameIndex::Position> NameIndex::locate(const String &name, unsigned nameHash) const
{
    const std::uint64_t tag = NameGroup::tagOf(nameHash);
    for (unsigned at = nameHash, left = mask;; ++at, --left) {
        const NameGroup &group = groups[at & mask];
        for (unsigned found = group.matches(tag); found != 0; found &= found - 1) {
            const unsigned place = NameGroup::lowestOf(found);
            const HashItem *item = group.items[place];
            if (item->nameHash == nameHash && areAlikeNames(item->key, name))
                return Position{at, place};
        }
        if (!group.sendsOn() || left == 0)
            return std::nullopt;
    }
}

HashItem *NameIndex::findLast(const String &name, unsigned nameHash) const
{
    // So it is for most names that are to be added.
    const NameGroup &home = homeOf(nameHash);
    if (home.matches(NameGroup::tagOf(nameHash)) == 0 && !home.sendsOn())
        return nullptr;
    const auto position = locate(name, nameHash);
    return position ? groups[position->at & mask].items[position->place] : nullptr;
}

HashItem *NameIndex::choose(HashItem *last, const String &name, bool ignoreCase)
{
    if (last == nullptr)
        return nullptr;
    return ignoreCase ? last->variant : exactVariant(last, name);
}

void NameIndex::add(HashItem *item) noexcept
{
    if (const auto position = locate(item->key, item->nameHash)) {
        HashItem *last = groups[position->at & mask].items[position->place];
        item->variant = std::exchange(last->variant, item);
        ++items;
    } else {
        addAlone(item);
    }
}

void NameIndex::addAlone(HashItem *item) noexcept
{
    item->variant = item;
    place(item);
    ++items;
}

// Makes an entry of an item whose key is not like that of another one.
void NameIndex::place(HashItem *item) noexcept
{
    unsigned at = item->nameHash;
    while (!groups[at & mask].hasRoom())
        groups[at++ & mask].countPassed();
    groups[at & mask].put(NameGroup::tagOf(item->nameHash), item);
    ++entries;
}

void NameIndex::remove(HashItem *item) noexcept
{
    --items;
    const unsigned home = item->nameHash;
    const Position position = locate(item->key, home).value();
    NameGroup &group = groups[position.at & mask];
    HashItem *&last = group.items[position.place];
    if (item->variant != item) {
        HashItem *before = item->variant;
        while (before->variant != item)
            before = before->variant;
        before->variant = item->variant;
        if (last == item)
            last = before;
        return;
    }
    group.clear(position.place);
    --entries;
    for (unsigned at = home; at != position.at; ++at)
        groups[at & mask].uncountPassed();
}

void NameIndex::reverseVariants() noexcept
{
    if (items == entries)
        return;
    for (unsigned at = 0; at <= mask; ++at)
        for (unsigned place = 0; place < NameGroup::places; ++place)
            if (groups[at].isTaken(place))
                groups[at].items[place] = reverse(groups[at].items[place]);
}

} // namespace Tavrin::detail
