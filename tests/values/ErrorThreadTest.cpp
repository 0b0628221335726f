// SPDX-License-Identifier: MIT
// Copies of one Error on many threads.
#include <tavrin/Error.h>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/Lock.h>
#include <tavrin/Variant.h>

#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "values/ErrorSupport.h"

using namespace Tavrin;
using test::pushText;
using test::texts;
using test::textsOf;

namespace {

using ErrorThreadTest = test::MultiThreadedLibraryTest;

constexpr int encoderLock = 5;

} // namespace

TEST_F(ErrorThreadTest, CopiesAreWrittenIndependently)
{
    const Error shared(2, String("x"), true);
    test::runOnThreads(4, [&](int) {
        for (int count = 0; count < 500; ++count) {
            Error own(shared);
            const Error second(own);
            pushText(own, "newer");
            ASSERT_EQ(own.getError()->getText(), "newer");
            ASSERT_EQ(second.getError()->getText(), "x is undefined");
        }
    });
    EXPECT_EQ(textsOf(shared), texts({u"x is undefined"}));
}

TEST_F(ErrorThreadTest, TheLastHolderOfAnyThreadFreesTheRecords)
{
    for (int round = 0; round < 50; ++round) {
        Error shared(2, String("x"), true);
        Error copies[4] = {shared, shared, shared, shared};
        shared.erase();
        test::runOnThreads(4, [&](int index) { copies[index].erase(); });
    }
}

TEST_F(ErrorThreadTest, ThreadsThatAskForTheValueOfARecordGetTheSame)
{
    for (int round = 0; round < 100; ++round) {
        const Error shared(2, String("x"), true);
        Variant *values[4] = {};
        test::runOnThreads(4, [&](int index) {
            const Error own(shared);
            values[index] = own.getErrorData();
        });
        for (const Variant *value : values)
            ASSERT_EQ(value, values[0]);
    }
}

// A conversion may word an error while it holds the lock of the encoders.
TEST_F(ErrorThreadTest, ErrorsMayBeWordedUnderTheLockOfTheEncoders)
{
    test::runOnThreads(4, [](int index) {
        for (int count = 0; count < 200; ++count) {
            const CriticalSection section(index % 2 == 0 ? Globals::get()->locks + encoderLock
                                                         : nullptr);
            const Error error(44, String(), true);
            ASSERT_EQ(error.getError()->getText(), "Cannot convert");
        }
    });
}
