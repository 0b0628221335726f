// SPDX-License-Identifier: MIT
// Building and changing the index of names that NameIndex.h describes.
// Pinned by tests/containers/HashTableModelTest.cpp.
#include "containers/NameIndex.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Tavrin::detail {

namespace {

// The groups stand at the first address in the block that suits them.
NameGroup *alignedIn(void *block)
{
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    return reinterpret_cast<NameGroup *>((address + alignof(NameGroup) - 1) &
                                         ~std::uintptr_t{alignof(NameGroup) - 1});
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

} // namespace

NameIndex::NameIndex(unsigned groupCount)
    : block(Heap::operator new(groupCount * sizeof(NameGroup) + alignof(NameGroup) - 8)),
      groups(alignedIn(block)),
      mask(groupCount - 1)
{
    restart(groupCount);
}

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
}

void NameIndex::restart(unsigned mostGroups) noexcept
{
    const unsigned groupCount = std::min(mask + 1, mostGroups);
    for (unsigned group = 0; group < groupCount; ++group)
        groups[group].tags = 0;
    mask = groupCount - 1;
    entries = 0;
}

HashItem *NameIndex::findAny(const String &name, unsigned nameHash, bool ignoreCase) const
{
    const std::uint64_t tag = NameGroup::tagOf(nameHash);
    for (unsigned at = nameHash, left = mask;; ++at, --left) {
        const NameGroup &group = groups[at & mask];
        for (std::uint64_t found = group.matches(tag); found != 0; found &= found - 1) {
            HashItem *item = group.items[NameGroup::lowestOf(found)];
            if (item->nameHash == nameHash && areAlikeNames(item->key, name))
                return ignoreCase ? item->variant : exactVariant(item, name);
        }
        if (!group.sendsOn() || left == 0)
            return nullptr;
    }
}

void NameIndex::add(HashItem *item) noexcept
{
    const unsigned home = item->nameHash;
    const std::uint64_t tag = NameGroup::tagOf(home);
    for (unsigned at = home, left = mask;; ++at, --left) {
        const NameGroup &group = groups[at & mask];
        for (std::uint64_t found = group.matches(tag); found != 0; found &= found - 1) {
            HashItem *last = group.items[NameGroup::lowestOf(found)];
            if (last->nameHash == home && areAlikeNames(last->key, item->key)) {
                item->variant = std::exchange(last->variant, item);
                return;
            }
        }
        if (!group.sendsOn() || left == 0)
            break;
    }
    item->variant = item;
    unsigned at = home;
    while (groups[at & mask].emptyPlaces() == 0)
        groups[at++ & mask].countPassed();
    NameGroup &group = groups[at & mask];
    group.put(NameGroup::lowestOf(group.emptyPlaces()), tag, item);
    ++entries;
}

void NameIndex::remove(HashItem *item) noexcept
{
    HashItem *before = item;
    while (before->variant != item)
        before = before->variant;
    before->variant = item->variant;

    const unsigned home = item->nameHash;
    const std::uint64_t tag = NameGroup::tagOf(home);
    for (unsigned at = home, left = mask;; ++at, --left) {
        NameGroup &group = groups[at & mask];
        for (std::uint64_t found = group.matches(tag); found != 0; found &= found - 1) {
            const unsigned place = NameGroup::lowestOf(found);
            if (group.items[place] != item)
                continue;
            if (before != item) {
                group.items[place] = before;
                return;
            }
            group.clear(place);
            --entries;
            while (at != home)
                groups[--at & mask].uncountPassed();
            return;
        }
        if (!group.sendsOn() || left == 0)
            return;
    }
}

} // namespace Tavrin::detail
