// SPDX-License-Identifier: MIT
// The lists of listeners and the delivery of messages to them.
//
// Listeners change the lists that they are being called from. A delivery therefore looks its list
// up anew after every change, and the record with the lists outlives its Broadcaster until the last
// delivery has ended. Which listeners a delivery has called it knows from its place in the list;
// before that list changes for the first time, it notes them. Pinned by
// tests/live/BroadcasterTest.cpp.
#include <tavrin/Message.h>

#include <initializer_list>
#include <new>
#include <utility>

#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>

#include "live/BroadcasterPin.h"
#include "live/Guarded.h"
#include "runtime/LockTable.h"

namespace Tavrin {

namespace detail {

namespace {

// The listeners of one id.
struct ListenerList : Heap
{
    explicit ListenerList(int forID) : id(forID) {}

    const int id;
    TSimpleArray<Listener> members;
    ListenerList *next = nullptr;
};

bool isFarewell(int id)
{
    return static_cast<unsigned>(id) >> 8 == static_cast<unsigned>(Broadcaster::firstFarewell) >> 8;
}

} // namespace

class BroadcasterData : public Root
{
public:
    // Holds the record and its lock; the last one to hold the record of a dead broadcaster
    // deletes it.
    class Hold
    {
    public:
        explicit Hold(BroadcasterData &held)
            : data(held), lock(globals.locks == nullptr ? nullptr : &held.lock)
        {
            if (lock != nullptr)
                lock->acquire();
            ++data.holds;
        }
        ~Hold()
        {
            const bool isLast = --data.holds == 0 && data.isOrphan;
            if (lock != nullptr)
                lock->release();
            if (isLast)
                delete &data;
        }
        Hold(const Hold &) = delete;
        Hold &operator=(const Hold &) = delete;

    private:
        BroadcasterData &data;
        Lock *lock;
    };

    ~BroadcasterData() override;

    void add(Listener &listener, int id);
    void remove(Listener &listener, int id);
    bool isListening(int id) const { return isHeardByAll() || hasListeners(listOf(id)); }
    bool hearsFarewell() const { return deleteListeners > 0 || isHeardByAll(); }
    bool deliver(Message &message, int id);
    // Keep the record for longer than a Hold does, under one.
    void pin() noexcept { ++holds; }
    void unpin() noexcept { --holds; }
    // The broadcaster is gone: nobody listens any more.
    void abandon() noexcept;

private:
    class Delivery;

    bool isHeardByAll() const { return everything.members.length() > 0; }
    static bool hasListeners(const ListenerList *list)
    {
        return list != nullptr && list->members.length() > 0;
    }
    ListenerList *listOf(int id) const
    {
        return reinterpret_cast<ListenerList *>(static_cast<std::intptr_t>(lists.find(id)));
    }
    ListenerList &makeList(int id);
    bool deliverTo(ListenerList *list, Message &message);
    void append(ListenerList &list, Listener &listener);
    bool take(ListenerList &list, Listener &listener) noexcept;
    void removeFromAll(Listener &listener) noexcept;
    void eraseLists() noexcept;

    ListenerList everything{Broadcaster::allMessages};
    SparseArray lists; // from an id to its ListenerList
    ListenerList *firstList = nullptr;
    int deleteListeners = 0; // how many listen for an id that begins with "DEL"
    Lock lock;               // in use from InitTerm::setMT on
    int holds = 0;
    bool isOrphan = false;
    Delivery *deliveries = nullptr; // under way, the innermost first
};

// One walk over one list.
class BroadcasterData::Delivery
{
public:
    Delivery(BroadcasterData &from, ListenerList &over)
        : data(from), outer(from.deliveries), list(&over), id(over.id)
    {
        data.deliveries = this;
    }
    ~Delivery() { data.deliveries = outer; }
    Delivery(const Delivery &) = delete;
    Delivery &operator=(const Delivery &) = delete;

    bool run(Message &message);

    // What the record tells the deliveries under way.
    static void listChanges(Delivery *innermost, const ListenerList &changing) noexcept
    {
        for (Delivery *each = innermost; each != nullptr; each = each->outer)
            if (each->list == &changing)
                each->noteServed();
    }
    static void listGoes(Delivery *innermost, const ListenerList &going) noexcept
    {
        for (Delivery *each = innermost; each != nullptr; each = each->outer)
            if (each->list == &going)
                each->list = nullptr;
    }
    static void listComes(Delivery *innermost, ListenerList &coming) noexcept
    {
        for (Delivery *each = innermost; each != nullptr; each = each->outer)
            if (each->id == coming.id)
                each->list = &coming;
    }

private:
    static std::int64_t keyOf(const Listener *listener)
    {
        return reinterpret_cast<std::intptr_t>(listener);
    }
    int length() const { return list == nullptr ? 0 : list->members.length(); }
    void noteServed() noexcept;
    // Whether to call the listener.
    bool begin(const Listener *listener)
    {
        if (!hasNotes)
            return true;
        if (served.hasKey(keyOf(listener)))
            return false;
        served.set(keyOf(listener), 1);
        return true;
    }

    BroadcasterData &data;
    Delivery *outer;
    ListenerList *list; // null while there is none for the id
    const int id;
    int place = 0;
    bool hasNotes = false; // from the first change of the list on
    bool isOutOfMemory = false;
    SparseArray served;
};

bool BroadcasterData::Delivery::run(Message &message)
{
    while (place < length()) {
        const int lengthBefore = length();
        Listener *listener = std::as_const(list->members)[place];
        if (begin(listener) && listener->notify(message))
            return true;
        if (isOutOfMemory)
            throw std::bad_alloc();
        // D-210: only whether the list has become shorter counts, not which listeners left.
        if (length() >= lengthBefore)
            ++place;
    }
    return false;
}

void BroadcasterData::Delivery::noteServed() noexcept
{
    if (std::exchange(hasNotes, true))
        return;
    try {
        for (int at = 0; at <= place; ++at)
            served.set(keyOf(std::as_const(list->members)[at]), 1);
    } catch (const std::bad_alloc &) {
        isOutOfMemory = true;
    }
}

BroadcasterData::~BroadcasterData()
{
    eraseLists();
}

ListenerList &BroadcasterData::makeList(int id)
{
    if (ListenerList *list = listOf(id))
        return *list;
    auto *list = new ListenerList(id);
    try {
        lists.set(id, reinterpret_cast<std::intptr_t>(list));
    } catch (const std::bad_alloc &) {
        delete list;
        throw;
    }
    list->next = std::exchange(firstList, list);
    Delivery::listComes(deliveries, *list);
    return *list;
}

void BroadcasterData::append(ListenerList &list, Listener &listener)
{
    Delivery::listChanges(deliveries, list);
    list.members.append(&listener);
}

// Removes the listener from the list; whether it was there.
bool BroadcasterData::take(ListenerList &list, Listener &listener) noexcept
{
    const int place = list.members.indexOf(&listener);
    if (place < 0)
        return false;
    Delivery::listChanges(deliveries, list);
    list.members.removeAt(place);
    if (isFarewell(list.id))
        --deleteListeners;
    return true;
}

void BroadcasterData::add(Listener &listener, int id)
{
    if (id == Broadcaster::allMessages) {
        removeFromAll(listener);
        append(everything, listener);
        return;
    }
    ListenerList &list = makeList(id);
    if (list.members.indexOf(&listener) >= 0)
        return;
    append(list, listener);
    if (isFarewell(id))
        ++deleteListeners;
}

void BroadcasterData::remove(Listener &listener, int id)
{
    if (id == Broadcaster::allMessages)
        removeFromAll(listener);
    else if (ListenerList *list = listOf(id))
        take(*list, listener);
}

void BroadcasterData::removeFromAll(Listener &listener) noexcept
{
    for (ListenerList **link = &firstList; *link != nullptr;) {
        ListenerList &list = **link;
        if (!take(list, listener) || list.members.length() > 0) {
            link = &list.next;
            continue;
        }
        *link = list.next;
        lists.remove(list.id);
        Delivery::listGoes(deliveries, list);
        delete &list;
    }
    take(everything, listener);
}

bool BroadcasterData::deliverTo(ListenerList *list, Message &message)
{
    return hasListeners(list) && Delivery(*this, *list).run(message);
}

// The listeners of the id first; an answer of true spares those that hear everything.
bool BroadcasterData::deliver(Message &message, int id)
{
    return deliverTo(listOf(id), message) || deliverTo(&everything, message);
}

void BroadcasterData::eraseLists() noexcept
{
    lists.erase();
    while (ListenerList *list = firstList) {
        firstList = list->next;
        Delivery::listGoes(deliveries, *list);
        delete list;
    }
    Delivery::listGoes(deliveries, everything);
    everything.members.erase();
    deleteListeners = 0;
}

void BroadcasterData::abandon() noexcept
{
    eraseLists();
    isOrphan = true;
}

} // namespace detail

using detail::BroadcasterData;

Listener::~Listener() = default;

Broadcaster::~Broadcaster()
{
    if (data == nullptr)
        return;
    const BroadcasterData::Hold hold(*data);
    if (data->hearsFarewell())
        for (const int farewell : {firstFarewell, lastFarewell})
            detail::guardedAlone([&] { broadcast(farewell); }); // the rest goes without a word
    data->abandon();
}

BroadcasterData &Broadcaster::makeRecord()
{
    if (record() == nullptr) {
        const CriticalSection section(tableLock(detail::LockSlot::lazyCreation));
        if (data == nullptr)
            __atomic_store_n(&data, new BroadcasterData, __ATOMIC_RELEASE);
    }
    return *data;
}

void Broadcaster::addListener(Listener &listener, int id)
{
    BroadcasterData &own = makeRecord();
    const BroadcasterData::Hold hold(own);
    own.add(listener, id);
}

namespace detail {

void BroadcasterPin::enter(Broadcaster &broadcaster, Listener &newListener, int newID)
{
    BroadcasterData &entered = broadcaster.makeRecord();
    const BroadcasterData::Hold hold(entered);
    entered.add(newListener, newID);
    entered.pin();
    data = &entered;
    listener = &newListener;
    id = newID;
}

void BroadcasterPin::leave() noexcept
{
    if (BroadcasterData *left = std::exchange(data, nullptr)) {
        const BroadcasterData::Hold hold(*left);
        left->remove(*listener, id);
        left->unpin();
    }
}

void BroadcasterPin::swap(BroadcasterPin &other) noexcept
{
    std::swap(data, other.data);
    std::swap(listener, other.listener);
    std::swap(id, other.id);
}

} // namespace detail

void Broadcaster::removeListener(Listener &listener, int id)
{
    if (BroadcasterData *own = record()) {
        const BroadcasterData::Hold hold(*own);
        own->remove(listener, id);
    }
}

bool Broadcaster::isListening(int id) const
{
    BroadcasterData *own = record();
    if (own == nullptr)
        return false;
    const BroadcasterData::Hold hold(*own);
    return own->isListening(id);
}

bool Broadcaster::broadcast(Message &message) const
{
    BroadcasterData *own = record();
    if (own == nullptr)
        return false;
    const BroadcasterData::Hold hold(*own);
    // From here on, `this` may die.
    struct Sending
    {
        Message &message;
        const Broadcaster *before;
        Sending(Message &sent, const Broadcaster *sender)
            : message(sent), before(std::exchange(sent.sender, sender))
        {}
        ~Sending() { message.sender = before; }
    };
    const Sending sending(message, this);
    return own->deliver(message, message.id);
}

bool Broadcaster::broadcast(int id) const
{
    Message message(id);
    return broadcast(message);
}

} // namespace Tavrin
