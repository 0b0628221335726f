// SPDX-License-Identifier: MIT
#include "support/MemoryFailure.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Heap.h>

#include "support/FailuresOf.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Allocates;
using test::failuresOf;
using test::underMemoryFailure;

namespace {

// Two blocks that an operation fills in; as the objects that real tests hand to the driver.
struct Blocks
{
    void *first = nullptr;
    void *second = nullptr;

    Blocks() = default;
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;
    ~Blocks()
    {
        Heap::operator delete(first);
        Heap::operator delete(second);
    }
};

Blocks makeBlocks()
{
    return Blocks();
}

void fill(Blocks &blocks)
{
    blocks.first = Heap::operator new(100);
    blocks.second = Heap::operator new(200);
}

constexpr auto acceptAll = [](const Blocks &, bool) {};

class MemoryFailure : public test::LibraryTest
{};

} // namespace

TEST_F(MemoryFailure, TriesEveryRequestInEveryWay)
{
    struct Attempt
    {
        bool failed, hasFirst, hasSecond;
        bool operator==(const Attempt &) const = default;
    };
    std::vector<Attempt> attempts;
    underMemoryFailure(makeBlocks, fill, [&](const Blocks &blocks, bool failed) {
        attempts.push_back({failed, blocks.first != nullptr, blocks.second != nullptr});
    });
    const Attempt atFirst{true, false, false}, atSecond{true, true, false}, done{false, true, true};
    const std::vector<Attempt> expected{
        atFirst, atSecond, done, // the request and its retry, caches cold
        done,    done,     done, // one request
        atFirst, atSecond, done, // the request and its retry
        atFirst, atSecond, done, // all from there on
    };
    EXPECT_TRUE(attempts == expected);
}

TEST_F(MemoryFailure, ReportsAnOperationThatNeverAllocates)
{
    const std::string failures = failuresOf([] {
        underMemoryFailure(
            makeBlocks, [](Blocks &) {}, acceptAll);
    });
    EXPECT_NE(failures.find("nothing was tested"), std::string::npos) << failures;
}

TEST_F(MemoryFailure, AcceptsAnOperationThatPerhapsAllocates)
{
    const std::string failures = failuresOf([] {
        underMemoryFailure(
            makeBlocks, [](Blocks &) {}, acceptAll, Allocates::perhaps);
    });
    EXPECT_EQ(failures, "");
}

TEST_F(MemoryFailure, ReportsALeakOnTheWayOut)
{
    std::vector<void *> lost;
    const std::string failures = failuresOf([&] {
        underMemoryFailure(
            makeBlocks,
            [&](Blocks &blocks) {
                lost.push_back(Heap::operator new(100));
                blocks.second = Heap::operator new(200);
                blocks.first = lost.back();
                lost.pop_back();
            },
            acceptAll);
    });
    EXPECT_NE(failures.find("blocks more than before are live"), std::string::npos) << failures;
    for (void *block : lost)
        Heap::operator delete(block);
}

TEST_F(MemoryFailure, ReportsAnotherException)
{
    const std::string failures = failuresOf([] {
        underMemoryFailure(
            makeBlocks,
            [](Blocks &blocks) {
                try {
                    fill(blocks);
                } catch (const std::bad_alloc &) {
                    throw std::runtime_error("translated");
                }
            },
            acceptAll);
    });
    EXPECT_NE(failures.find("other than std::bad_alloc: translated"), std::string::npos)
        << failures;
}

TEST_F(MemoryFailure, ReportsAnExceptionThatIsNone)
{
    const std::string failures = failuresOf([] {
        underMemoryFailure(
            makeBlocks, [](Blocks &) { throw 1; }, acceptAll, Allocates::perhaps);
    });
    EXPECT_NE(failures.find("other than std::bad_alloc"), std::string::npos) << failures;
}

TEST_F(MemoryFailure, ReportsAFailureWithoutCause)
{
    const std::string failures = failuresOf([] {
        underMemoryFailure(
            makeBlocks,
            [](Blocks &blocks) {
                fill(blocks);
                throw std::bad_alloc();
            },
            acceptAll);
    });
    EXPECT_NE(failures.find("although memory was to be had"), std::string::npos) << failures;
}

TEST_F(MemoryFailure, ReportsAFailedCheckWithTheRequestAndTheWay)
{
    const std::string failures = failuresOf([] {
        underMemoryFailure(makeBlocks, fill, [](const Blocks &blocks, bool) {
            EXPECT_EQ(blocks.first == nullptr, blocks.second == nullptr);
        });
    });
    EXPECT_NE(failures.find("request 2: all requests from there on fail"), std::string::npos)
        << failures;
}

TEST_F(MemoryFailure, WorksWithCachedBlocksAtHand)
{
    Heap::operator delete(Heap::operator new(100));
    int attempts = 0;
    underMemoryFailure(makeBlocks, fill, [&](const Blocks &, bool failed) { attempts += failed; });
    EXPECT_EQ(attempts, 6);
    EXPECT_EQ(Heap::getCacheSize(), 102400);
}

TEST(MemoryFailureWithoutTheLibrary, IsReported)
{
    const std::string failures =
        failuresOf([] { underMemoryFailure(makeBlocks, fill, acceptAll); });
    EXPECT_NE(failures.find("needs the library up"), std::string::npos) << failures;
}
