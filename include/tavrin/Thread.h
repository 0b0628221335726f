// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>

namespace Tavrin {

namespace platform {
class HeldThread;
}

namespace detail {
struct EventRecord;
}

// Thread: an object whose run is executed on a thread of its own.
// Owns:    nothing that its owner could wait for. The destructor neither stops nor awaits the
//          thread: a started Thread is destroyed only once isActive is false. A thread that was
//          never started ends with its object, without a run.
// Threads: construction, start and destruction are the owner's; the queries may come from anywhere.
//          Call InitTerm::setMT before run uses the library. When isActive turns false, the thread
//          has destroyed its thread-local objects and given its context back, and it does not use
//          the library again: the owner may call InitTerm::exit.
// Cost:    construction creates the thread, which then waits for start: some ten microseconds.
// Failure: getError is 32 when the system has no thread to give.
class TAVRIN_API Thread : public Root
{
public:
    // D-080: on success the moment of construction becomes the mark of the calling thread's
    // stopwatch, not of the new one's.
    Thread();
    ~Thread() override;

    // What the new thread does. An exception that leaves it ends the thread and nothing else.
    virtual void run() = 0;

    // Has the thread begin. Only the first call counts, and none after a failed construction.
    void start();

    // 0, or 32 when the thread could not be created.
    int getError() const { return error; }
    // What getCurrentID is within run; 0 when the thread could not be created.
    unsigned int getID() const { return id; }
    // True from construction until the thread has ended.
    // D-081: also when the thread was never started or could not be created.
    bool isActive() const { return active.load(std::memory_order_acquire); }

    // Suspends the calling thread for that long.
    static void sleep(unsigned int milliseconds);
    // The system's identifier of the calling thread; but 0 on the main thread, which is the one
    // that made the first of the nested calls of InitTerm::init. D-085: it stays so after
    // InitTerm::exit; before the first init no thread is the main thread.
    static unsigned int getCurrentID();
    // The calling thread's stopwatch: microseconds since its last reading, or since InitTerm::init
    // on the main thread. D-082: the first reading on another thread is the clock itself.
    static std::int64_t getHiResTimer();

private:
    static unsigned int go(void *thread);

    platform::HeldThread *handle; // null unless the thread waits for start
    unsigned int id = 0;
    int error = 0;
    std::atomic<bool> active = true;
};

// Event: a wake-up signal that resets itself. Each signal lets one waiter pass.
// Owns:    a record that it shares with its waiters.
// Threads: signal and wait may be called on any thread. The destructor may run while threads wait,
//          and wakes them all; no call may begin after it.
// Failure: std::bad_alloc from Heap at construction. When the system has no event to give, signal
//          does nothing and wait returns at once.
class TAVRIN_API Event : public Heap
{
public:
    Event();
    ~Event();

    // Lets the longest waiting thread pass, or else the next one to come.
    // Signals that no thread waits for do not add up.
    void signal();
    // Waits for a signal, without limit.
    void wait();

private:
    detail::EventRecord *record; // null when the system had no event to give
};

} // namespace Tavrin
