// SPDX-License-Identifier: MIT
// Text that is shared between threads in multi-threaded operation. Meant for the thread sanitizer
// above all.
#include <tavrin/String.h>

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::patternOf;
using test::runOnThread;
using test::runOnThreads;
using test::Units;
using test::unitsOf;

using StringThreadsTest = test::MultiThreadedLibraryTest;

namespace {

constexpr int threadCount = 4;
constexpr int rounds = 2000;

} // namespace

TEST_F(StringThreadsTest, CopiesAreMadeReadAndDroppedOnAllThreads)
{
    const String original("shared text");
    runOnThreads(threadCount, [&](int) {
        for (int round = 0; round < rounds; ++round) {
            const String copy(original);
            String assigned;
            assigned = copy;
            ASSERT_EQ(assigned.cmp("shared text"), 0);
            ASSERT_EQ(assigned.wstr(), original.wstr());
        }
    });
    EXPECT_EQ(original, "shared text");
}

TEST_F(StringThreadsTest, EachThreadWritesToItsOwnCopy)
{
    const String original(Units(patternOf(100)).data());
    runOnThreads(threadCount, [&](int index) {
        for (int round = 0; round < rounds; ++round) {
            String copy(original);
            copy.set(round % 100, static_cast<unsigned short>(index));
            copy.append(static_cast<unsigned short>(index));
            copy += copy;
            copy.toUpper();
            ASSERT_EQ(copy.length(), 202);
            ASSERT_EQ(copy[101 + round % 100], index);
        }
    });
    EXPECT_EQ(unitsOf(original), patternOf(100));
}

TEST_F(StringThreadsTest, TheLastOwnerMayWriteInPlaceWhereverTheOthersDroppedTheirs)
{
    for (int round = 0; round < 200; ++round) {
        std::vector<String> copies(threadCount, String("text that all of them own"));
        runOnThreads(threadCount, [&](int index) {
            String own = std::move(copies[static_cast<std::size_t>(index)]);
            int sum = 0;
            for (int at = 0; at < own.length(); ++at)
                sum += own[at];
            ASSERT_GT(sum, 0);
            own.append(static_cast<unsigned short>('0' + index));
            own.set(0, 'T');
            own.adjust(4);
            ASSERT_EQ(own, "Text");
        });
    }
}

TEST_F(StringThreadsTest, TextMadeOnOneThreadIsDroppedOnAnother)
{
    std::vector<String> texts(500);
    runOnThread([&] {
        for (std::size_t index = 0; index < texts.size(); ++index)
            texts[index] = Units(patternOf(static_cast<int>(index) + 1)).data();
    });
    for (std::size_t index = 0; index < texts.size(); ++index)
        EXPECT_EQ(texts[index].length(), static_cast<int>(index) + 1);
    runOnThread([&] { texts.clear(); });
}

TEST_F(StringThreadsTest, EmptyStringsAreUsedOnAllThreadsAtOnce)
{
    runOnThreads(threadCount, [&](int) {
        for (int round = 0; round < rounds; ++round) {
            String text;
            String copy(text);
            copy = String::emptyString();
            ASSERT_EQ(copy.length(), 0);
            copy.append('x');
            copy.erase();
            ASSERT_EQ(copy.wstr(), text.wstr());
        }
    });
}

TEST_F(StringThreadsTest, APinnedTextIsCopiedForOtherThreads)
{
    String pinned("pinned");
    pinned.makeUnique();
    runOnThreads(threadCount, [&](int) {
        for (int round = 0; round < rounds; ++round) {
            const String copy(pinned);
            ASSERT_NE(copy.wstr(), pinned.wstr());
            ASSERT_EQ(copy, "pinned");
        }
    });
}
