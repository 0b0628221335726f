// SPDX-License-Identifier: MIT
#include <tavrin/InitTerm.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <pthread.h>

#include <tavrin/Heap.h>

using namespace Tavrin;

namespace {

std::string trace;

void noteA()
{
    trace += 'a';
}

void noteB()
{
    trace += 'b';
}

class ExitHandler : public testing::Test
{
protected:
    ExitHandler() { trace.clear(); }
};

} // namespace

TEST_F(ExitHandler, RunInTheOrderOfRegistration)
{
    InitTerm::init();
    InitTerm::atExit(noteA);
    InitTerm::atExit(noteB);
    InitTerm::atExit(noteA);
    InitTerm::exit();
    EXPECT_EQ(trace, "aba");
}

TEST_F(ExitHandler, OnlyTheLastExitRunsThemAndOnlyOnce)
{
    InitTerm::init();
    InitTerm::init();
    InitTerm::atExit(noteA);
    InitTerm::exit();
    EXPECT_EQ(trace, "");
    InitTerm::exit();
    EXPECT_EQ(trace, "a");
    InitTerm::init();
    InitTerm::exit();
    EXPECT_EQ(trace, "a");
}

TEST_F(ExitHandler, TheLibraryIsStillUpWhileTheyRun)
{
    InitTerm::init();
    InitTerm::setMT();
    InitTerm::atExit([] {
        EXPECT_TRUE(InitTerm::isInitialized());
        EXPECT_TRUE(InitTerm::isMT());
        Heap::operator delete(Heap::operator new(100));
        noteA();
    });
    InitTerm::exit();
    EXPECT_EQ(trace, "a");
}

TEST_F(ExitHandler, AHandlerThatAHandlerAddsRunsToo)
{
    InitTerm::init();
    InitTerm::atExit([] {
        for (int count = 0; count < 20; ++count)
            InitTerm::atExit(noteB);
    });
    InitTerm::atExit(noteA);
    InitTerm::exit();
    EXPECT_EQ(trace, "a" + std::string(20, 'b'));
}

TEST_F(ExitHandler, NullAndCallsOutsideInitAndExitAreIgnored)
{
    InitTerm::atExit(noteA);
    InitTerm::init();
    InitTerm::atExit(nullptr);
    InitTerm::atExit(noteB);
    InitTerm::exit();
    InitTerm::atExit(noteA);
    InitTerm::init();
    InitTerm::exit();
    EXPECT_EQ(trace, "b");
}

TEST_F(ExitHandler, AnExitWithinAHandlerDoesNothing)
{
    InitTerm::init();
    InitTerm::atExit([] {
        InitTerm::exit();
        EXPECT_TRUE(InitTerm::isInitialized());
        noteA();
    });
    InitTerm::atExit(noteB);
    InitTerm::exit();
    EXPECT_EQ(trace, "ab");
    EXPECT_FALSE(InitTerm::isInitialized());
}

TEST_F(ExitHandler, AHandlerMayUseAnInitAndExitPairOfItsOwn)
{
    InitTerm::init();
    InitTerm::atExit([] {
        InitTerm::init();
        InitTerm::exit();
        EXPECT_TRUE(InitTerm::isInitialized());
        noteA();
    });
    InitTerm::exit();
    EXPECT_EQ(trace, "a");
    EXPECT_FALSE(InitTerm::isInitialized());
}

TEST_F(ExitHandler, AnUnbalancedInitWithinAHandlerLeavesTheLibraryDown)
{
    InitTerm::init();
    InitTerm::atExit([] { InitTerm::init(); });
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized());
    InitTerm::init();
    EXPECT_TRUE(InitTerm::isInitialized());
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized());
}

TEST_F(ExitHandler, AnExceptionOfAHandlerDoesNotStopTheTakeDown)
{
    InitTerm::init();
    InitTerm::atExit([] { throw std::runtime_error("from a handler"); });
    InitTerm::atExit(noteA);
    InitTerm::exit();
    EXPECT_EQ(trace, "a");
    EXPECT_FALSE(InitTerm::isInitialized());
}

#if defined(__GLIBC__)
TEST_F(ExitHandler, AThreadThatEndsWithinAHandlerLeavesAnExitThatCanBeRepeated)
{
    static bool isFirst;
    isFirst = true;
    std::thread([] {
        InitTerm::init();
        InitTerm::atExit([] {
            noteA();
            if (std::exchange(isFirst, false))
                pthread_exit(nullptr);
        });
        InitTerm::exit();
        ADD_FAILURE() << "the thread went on";
    }).join();
    EXPECT_TRUE(InitTerm::isInitialized());
    InitTerm::exit();
    EXPECT_EQ(trace, "aa");
    EXPECT_FALSE(InitTerm::isInitialized());
}
#endif
