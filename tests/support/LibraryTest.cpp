// SPDX-License-Identifier: MIT
#include "support/LibraryTest.h"

#include <utility>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/TestAllocator.h"

namespace Tavrin::test {

LibrarySession::LibrarySession(Mode mode) : blocksBefore(TestAllocator::shared().liveBlocks())
{
    EXPECT_FALSE(InitTerm::isInitialized()) << "an earlier test left the library up";
    TestAllocator::shared().stopFailing();
    InitTerm::init();
    EXPECT_TRUE(Allocator::set(&TestAllocator::shared()));
    Heap::flushCache();
    if (mode == Mode::multiThreaded)
        InitTerm::setMT();
}

LibrarySession::~LibrarySession()
{
    end();
}

void LibrarySession::end()
{
    if (!std::exchange(isOpen, false))
        return;
    TestAllocator &allocator = TestAllocator::shared();
    allocator.stopFailing();
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized()) << "an init without its exit";
    while (InitTerm::isInitialized())
        InitTerm::exit();
    const std::int64_t left = allocator.liveBlocks() - blocksBefore;
    EXPECT_EQ(left, 0) << "blocks left after exit";
}

void LibraryTest::SetUp()
{
    session = new LibrarySession(mode());
}

void LibraryTest::TearDown()
{
    endLibrary();
}

void LibraryTest::endLibrary()
{
    delete std::exchange(session, nullptr);
}

} // namespace Tavrin::test
