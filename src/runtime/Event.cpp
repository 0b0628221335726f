// SPDX-License-Identifier: MIT
#include <tavrin/Thread.h>

#include <utility>

#include "platform/AutoResetEvent.h"

namespace Tavrin {

namespace detail {

// Lives as long as the Event or a call on it: a waiter that is woken by the Event's destruction,
// and a signal whose waiter destroys the Event, still hold on to the record.
struct EventRecord : Heap
{
    platform::AutoResetEvent event;
    std::atomic<int> shares = 1;

    void drop()
    {
        if (shares.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
};

} // namespace detail

namespace {

class Share
{
public:
    explicit Share(detail::EventRecord &of) : record(of)
    {
        record.shares.fetch_add(1, std::memory_order_relaxed);
    }
    ~Share() { record.drop(); }
    Share(const Share &) = delete;
    Share &operator=(const Share &) = delete;

    platform::AutoResetEvent *operator->() const { return &record.event; }

private:
    detail::EventRecord &record;
};

} // namespace

Event::Event() : record(new detail::EventRecord)
{
    if (!record->event.isMade())
        std::exchange(record, nullptr)->drop();
}

Event::~Event()
{
    if (record == nullptr)
        return;
    record->event.close();
    record->drop();
}

void Event::signal()
{
    if (record != nullptr)
        Share(*record)->signal();
}

void Event::wait()
{
    if (record != nullptr)
        Share(*record)->wait();
}

} // namespace Tavrin
