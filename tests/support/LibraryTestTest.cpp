// SPDX-License-Identifier: MIT
#include "support/LibraryTest.h"

#include <string>

#include <gtest/gtest.h>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/FailuresOf.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::failuresOf;
using test::LibrarySession;
using test::TestAllocator;

TEST(LibrarySession, BringsTheLibraryUpWithTheTestAllocator)
{
    LibrarySession session;
    EXPECT_TRUE(InitTerm::isInitialized());
    EXPECT_FALSE(InitTerm::isMT());
    EXPECT_EQ(Allocator::get(), &TestAllocator::shared());
    session.end();
    EXPECT_FALSE(InitTerm::isInitialized());
}

TEST(LibrarySession, StartsWithAnEmptyCache)
{
    LibrarySession session;
    const std::int64_t allocations = TestAllocator::shared().allocations();
    Heap::operator delete(Heap::operator new(40));
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations + 1);
}

TEST(LibrarySession, AcceptsBlocksThatAreOnlyCached)
{
    const std::string failures = failuresOf([] {
        LibrarySession session;
        Heap::operator delete(Heap::operator new(40));
    });
    EXPECT_EQ(failures, "");
}

TEST(LibrarySession, ReportsABlockThatIsLeft)
{
    void *block = nullptr;
    const std::string failures = failuresOf([&] {
        LibrarySession session;
        block = Heap::operator new(40);
    });
    EXPECT_NE(failures.find("blocks left after exit"), std::string::npos) << failures;
    TestAllocator::shared().freeMem(static_cast<char *>(block) - 8);
}

TEST(LibrarySession, ReportsAnInitWithoutItsExitAndTakesTheLibraryDown)
{
    const std::string failures = failuresOf([] {
        LibrarySession session;
        InitTerm::init();
    });
    EXPECT_NE(failures.find("an init without its exit"), std::string::npos) << failures;
    EXPECT_FALSE(InitTerm::isInitialized());
}

TEST(LibrarySession, EndsInjectedFailures)
{
    {
        LibrarySession session;
        TestAllocator::shared().failRequests(1, TestAllocator::forever);
    }
    LibrarySession session;
    EXPECT_NO_THROW(Heap::operator delete(Heap::operator new(1000)));
}

using LibraryTest = test::LibraryTest;

TEST_F(LibraryTest, RunsSingleThreaded)
{
    EXPECT_TRUE(InitTerm::isInitialized());
    EXPECT_FALSE(InitTerm::isMT());
}

TEST_F(LibraryTest, MayEndTheLibraryEarly)
{
    endLibrary();
    EXPECT_FALSE(InitTerm::isInitialized());
}

using MultiThreadedLibraryTest = test::MultiThreadedLibraryTest;

TEST_F(MultiThreadedLibraryTest, RunsMultiThreaded)
{
    EXPECT_TRUE(InitTerm::isInitialized());
    EXPECT_TRUE(InitTerm::isMT());
}
