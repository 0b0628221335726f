// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include <gtest/gtest.h>

namespace Tavrin::test {

// Whether the operation under test asks for memory at all. A driver that is expected to inject a
// failure and has no chance to do so reports that as a failure.
enum class Allocates
{
    always,
    perhaps,
};

// One way of running out of memory, tried at each request of the operation in turn.
struct FailurePass
{
    const char *name;
    std::int64_t refusals; // requests refused in a row; Heap asks again once after a refusal
    bool retrySucceeds;    // the operation must not notice
    bool checksLeaks;      // not in the first pass, where caches of the library may come to life
};

std::span<const FailurePass> failurePasses();

// One run of the operation, with the n-th request refused.
class FailureRun
{
public:
    FailureRun(const FailurePass &pass, int request, Allocates expected);

    // Runs `operation` under failure and says whether std::bad_alloc came out of it. Any other
    // exception, and one without cause, is a test failure.
    bool attempt(const std::function<void()> &operation);
    // Call it after the objects are gone: checks for leaks. True when the next request has to be
    // tried, false when the operation went through without a refusal or something was wrong.
    bool hasNext();

    std::string describe() const;

private:
    const FailurePass &pass;
    int request;
    Allocates expected;
    std::int64_t blocksBefore;
    std::int64_t refused = 0;
    bool isSound = true;
};

// Keeps Heap's block cache off while it lives, so that every request reaches the allocator.
class WithoutBlockCache
{
public:
    WithoutBlockCache();
    ~WithoutBlockCache();
    WithoutBlockCache(const WithoutBlockCache &) = delete;
    WithoutBlockCache &operator=(const WithoutBlockCache &) = delete;

private:
    int cacheSize;
};

// True, or a test failure: the library is up, and the shared TestAllocator is in force.
bool canInjectFailures();

// Runs `operation` on fresh objects with its first request for memory failing, then the second, and
// so on until it goes through, in three ways: one request fails and its retry succeeds, so that the
// operation has to succeed; the request and its retry fail; all requests from there on fail.
//
//   underMemoryFailure([] { return String("abc"); },
//                      [](String &s) { s.append("def"); },
//                      [](const String &s, bool failed) {
//                          EXPECT_EQ(s, failed ? "abc" : "abcdef");
//                      });
//
// `check` runs after each attempt, with memory to be had again; `failed` tells that std::bad_alloc
// came out. When the objects are gone, the number of live blocks has to be what it was before.
template <class Make, class Operation, class Check>
void underMemoryFailure(Make make, Operation operation, Check check,
                        Allocates expected = Allocates::always)
{
    if (!canInjectFailures())
        return;
    const WithoutBlockCache cacheOff;
    for (const FailurePass &pass : failurePasses()) {
        bool hasNext = true;
        for (int request = 1; hasNext; ++request) {
            FailureRun run(pass, request, expected);
            SCOPED_TRACE(run.describe());
            {
                auto objects = make();
                const bool failed = run.attempt([&] { operation(objects); });
                check(objects, failed);
            }
            hasNext = run.hasNext();
        }
        expected = Allocates::perhaps;
    }
}

} // namespace Tavrin::test
