// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sanitizer/asan_interface.h>

#include <tavrin/Thread.h>

namespace Tavrin::test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool hasAddressSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool hasAddressSanitizer = __has_feature(address_sanitizer);
#else
inline constexpr bool hasAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
inline constexpr bool isSanitized = hasAddressSanitizer || __has_feature(thread_sanitizer);
#else
inline constexpr bool isSanitized = hasAddressSanitizer;
#endif

// The frames that a cancelled thread leaves stay poisoned for the address sanitizer, and the next
// thread gets the same stack. This one, in an outer frame of a thread, takes the marks away.
class StackOfThread
{
public:
    StackOfThread() = default;
    ~StackOfThread()
    {
        if (!isCancelled)
            return;
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) != 0)
            return;
        void *lowest = nullptr;
        std::size_t size = 0;
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
        ASAN_UNPOISON_MEMORY_REGION(lowest, size);
    }
    StackOfThread(const StackOfThread &) = delete;
    StackOfThread &operator=(const StackOfThread &) = delete;

    void endsByItself() { isCancelled = false; }

private:
    bool isCancelled = true;
};

// A Thread whose run is a function.
class FunctionThread : public Thread
{
public:
    explicit FunctionThread(std::function<void()> toRun) : body(std::move(toRun)) {}

    void run() override
    {
        StackOfThread stack;
        body();
        stack.endsByItself();
    }

private:
    std::function<void()> body;
};

// Looks a few times, then leaves the processor to the thread.
inline void awaitEnd(const Thread &thread)
{
    constexpr int quickLooks = 20;
    for (int looks = 0; thread.isActive(); ++looks) {
        if (looks < quickLooks)
            Thread::sleep(0);
        else
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

// Runs `body` on a Thread and waits for its end.
inline void runToEnd(const std::function<void()> &body)
{
    FunctionThread thread(body);
    thread.start();
    awaitEnd(thread);
}

// Polls until `holds` is true; false when that takes longer than any working system needs.
template <class Condition>
bool eventually(Condition holds)
{
    using namespace std::chrono;
    const auto end = steady_clock::now() + seconds(60);
    while (!holds()) {
        if (steady_clock::now() > end)
            return false;
        Thread::sleep(1);
    }
    return true;
}

// Waits until the system has no thread with that identifier.
inline bool awaitSystemEnd(unsigned int id)
{
    const std::filesystem::path task = "/proc/self/task/" + std::to_string(id);
    return eventually([&] { return !std::filesystem::exists(task); });
}

// Waits until the thread with that identifier sleeps in the system, several looks in a row.
inline bool awaitSleep(unsigned int id)
{
    constexpr int looksNeeded = 5;
    int looks = 0;
    return eventually([&] {
        std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
        std::string line;
        std::getline(file, line);
        const std::size_t name = line.rfind(") ");
        const bool sleeps = name != std::string::npos && line.substr(name + 2, 1) == "S";
        looks = sleeps ? looks + 1 : 0;
        return looks == looksNeeded;
    });
}

} // namespace Tavrin::test
