// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

// How forEach of the chained tables stays safe while its callback changes the table.
//
// A call of forEach stands in the table's list of walks. Whoever takes an item out of the table
// moves the walks on that were about to visit it. Whoever gives all items up ends the walks, which
// then do not touch the table any more, so that the callback may even destroy it. A walk ends by
// itself because buckets are visited once, new items come in front of the place where the walk is,
// and the number of buckets stays while there are walks.
namespace Tavrin::detail {

template <class Item>
class TableWalk
{
public:
    explicit TableWalk(TableWalk *&listOfTable) : list(&listOfTable), outer(listOfTable)
    {
        enlist();
    }
    ~TableWalk()
    {
        if (!hasEnded())
            *list = outer;
    }
    TableWalk(const TableWalk &) = delete;
    TableWalk &operator=(const TableWalk &) = delete;

    bool hasEnded() const { return list == nullptr; }

    static void endAll(TableWalk *&list)
    {
        for (TableWalk *walk = std::exchange(list, nullptr); walk != nullptr; walk = walk->outer)
            walk->list = nullptr;
    }
    // The item is about to go.
    static void leave(TableWalk *list, const Item *item)
    {
        for (TableWalk *walk = list; walk != nullptr; walk = walk->outer) {
            if (walk->current == item)
                walk->current = nullptr;
            if (walk->next == item)
                walk->next = item->next;
        }
    }

    // Calls `keeps` for each item of the chain that begins with `first`, and `discard` for those
    // that it does not keep and that are still there. False when the walk has ended.
    template <class Keeps, class Discard>
    bool visit(Item *first, Keeps keeps, Discard discard)
    {
        next = first;
        while (next != nullptr) {
            current = next;
            next = current->next;
            const bool stays = keeps(*current);
            if (hasEnded())
                return false;
            if (!stays && current != nullptr)
                discard(current);
        }
        return true;
    }

private:
    // Not inline: GCC 12 would warn of the address that an ended walk seems to leave in the table.
    [[gnu::noinline]] void enlist() { *list = this; }

    TableWalk **list; // null once ended
    TableWalk *outer;
    Item *current = nullptr; // the item that the callback has; null when it is gone
    Item *next = nullptr;    // the item to visit after it
};

} // namespace Tavrin::detail
