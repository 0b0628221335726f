// SPDX-License-Identifier: MIT
#include "support/MemoryFailure.h"

#include <exception>
#include <new>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/TestAllocator.h"

namespace Tavrin::test {

namespace {

// Far more requests than any operation under test makes: it does not end.
constexpr int mostRequests = 100000;

constexpr FailurePass passes[] = {
    {"the request and its retry fail, caches cold", 2, false, false},
    {"one request fails, its retry succeeds", 1, true, true},
    {"the request and its retry fail", 2, false, true},
    {"all requests from there on fail", TestAllocator::forever, false, true},
};

} // namespace

std::span<const FailurePass> failurePasses()
{
    return passes;
}

FailureRun::FailureRun(const FailurePass &ofPass, int atRequest, Allocates expectation)
    : pass(ofPass),
      request(atRequest),
      expected(expectation),
      blocksBefore(TestAllocator::shared().liveBlocks())
{}

bool FailureRun::attempt(const std::function<void()> &operation)
{
    TestAllocator &allocator = TestAllocator::shared();
    bool failed = false;
    allocator.failRequests(request, pass.refusals);
    try {
        operation();
    } catch (const std::bad_alloc &) {
        failed = true;
    } catch (const std::exception &other) {
        isSound = false;
        ADD_FAILURE() << "an exception other than std::bad_alloc: " << other.what();
    } catch (...) {
        isSound = false;
        ADD_FAILURE() << "an exception other than std::bad_alloc";
    }
    allocator.stopFailing();
    refused = allocator.refusals();
    if (failed && (refused == 0 || pass.retrySucceeds)) {
        isSound = false;
        ADD_FAILURE() << "std::bad_alloc although memory was to be had";
    }
    if (refused == 0 && request == 1 && expected == Allocates::always) {
        isSound = false;
        ADD_FAILURE() << "the operation never asked for memory: nothing was tested";
    }
    return failed;
}

bool FailureRun::hasNext()
{
    const std::int64_t left = TestAllocator::shared().liveBlocks() - blocksBefore;
    if (pass.checksLeaks && left != 0) {
        isSound = false;
        ADD_FAILURE() << left << " blocks more than before are live";
    }
    if (request >= mostRequests) {
        isSound = false;
        ADD_FAILURE() << "the operation asks for memory without end";
    }
    return isSound && refused > 0;
}

std::string FailureRun::describe() const
{
    return "request " + std::to_string(request) + ": " + pass.name;
}

WithoutBlockCache::WithoutBlockCache() : cacheSize(Heap::getCacheSize())
{
    Heap::setCacheSize(0);
}

WithoutBlockCache::~WithoutBlockCache()
{
    Heap::setCacheSize(cacheSize);
}

bool canInjectFailures()
{
    const bool can = InitTerm::isInitialized() && Allocator::get() == &TestAllocator::shared();
    EXPECT_TRUE(can) << "underMemoryFailure needs the library up, with TestAllocator in force";
    return can;
}

} // namespace Tavrin::test
