// SPDX-License-Identifier: MIT
// One chain for each thread, and one locale for all of them.
#include <tavrin/Localizer.h>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/Lock.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::HostLocalizer;

namespace {

using LocalizerThreadTest = test::MultiThreadedLibraryTest;

constexpr int encoderLock = 5;

} // namespace

TEST_F(LocalizerThreadTest, ANewThreadBeginsWithTheBuiltInAnswers)
{
    HostLocalizer host;
    host.onGetLocale = [](String &out) {
        out = "of the main thread";
        return true;
    };
    Localizer::set(&host);
    Localizer::push(host);
    test::runOnThread([] {
        EXPECT_EQ(Context::get().localizer, nullptr);
        EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
        EXPECT_EQ(Localizer::pop(), nullptr);
        EXPECT_NE(Localizer::getLocale(), "of the main thread");
    });
    EXPECT_EQ(host.questions, 0);
    EXPECT_EQ(Localizer::getLocale(), "of the main thread");
    EXPECT_EQ(Localizer::pop(), &host);
}

TEST_F(LocalizerThreadTest, TheChainOfAThreadEndsWithIt)
{
    const HostLocalizer host;
    const std::int64_t live = test::TestAllocator::shared().liveBlocks();
    test::runOnThread([&] {
        for (int count = 0; count < 100; ++count)
            Localizer::push(host);
        Localizer::set(&host);
    });
    EXPECT_EQ(test::TestAllocator::shared().liveBlocks(), live);
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
}

TEST_F(LocalizerThreadTest, AnOwnedObjectMayAskAndPushAtTheEndOfItsThread)
{
    static const HostLocalizer host;
    struct Asks : Root
    {
        ~Asks() override
        {
            Localizer::push(host);
            EXPECT_EQ(Localizer::localize(String("$$$/a=b"), nullptr), "b");
        }
    };
    Localizer::getLocale(); // stays
    const std::int64_t live = test::TestAllocator::shared().liveBlocks();
    test::runOnThread([] {
        Context::get().engineState = new Asks;
        Context::get().ownedObject = new Asks;
    });
    EXPECT_EQ(test::TestAllocator::shared().liveBlocks(), live);
}

TEST_F(LocalizerThreadTest, AllThreadsReadOneLocale)
{
    String locales[8];
    test::runOnThreads(8, [&](int index) {
        for (int count = 0; count < 1000; ++count) {
            const String locale = Localizer::getLocale();
            ASSERT_EQ(locale, Localizer::getLocale());
        }
        locales[index] = Localizer::getLocale();
    });
    for (const String &locale : locales)
        EXPECT_EQ(locale, locales[0]);
}

// Conversions run under the encoders' lock, and a host's encoder may word an error meanwhile; what
// asks for the locale holds another lock. Neither may wait for the other.
TEST_F(LocalizerThreadTest, QuestionsMayBeAskedUnderTheLockOfTheEncoders)
{
    HostLocalizer host;
    host.onGetZString = [](String &text, const String &, const String &) {
        const CriticalSection section(Globals::get()->locks + encoderLock);
        text = "answered under the lock";
        return true;
    };
    test::runOnThreads(4, [&](int index) {
        if (index % 2 == 0)
            Localizer::set(&host);
        for (int count = 0; count < 200; ++count) {
            const CriticalSection section(index == 1 ? Globals::get()->locks + encoderLock
                                                     : nullptr);
            String text("$$$/a=b");
            Localizer::getZString(text);
            ASSERT_EQ(text, index % 2 == 0 ? "answered under the lock" : "b");
        }
    });
}
