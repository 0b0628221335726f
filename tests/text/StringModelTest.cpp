// SPDX-License-Identifier: MIT
// Random operations on a few strings that share buffers with each other, beside plain standard
// strings on which the same rules are carried out without any sharing.
#include <tavrin/String.h>

#include <random>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringWalk.h"

using namespace Tavrin;

namespace {

class RandomChoices
{
public:
    explicit RandomChoices(unsigned seed) : random(seed) {}
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

private:
    std::mt19937 random;
};

class StringModelTest : public test::LibraryTest, public testing::WithParamInterface<unsigned>
{};

} // namespace

TEST_P(StringModelTest, RandomOperationsAgreeWithPlainStrings)
{
    RandomChoices choices(GetParam());
    test::StringWalk walk(choices);
    for (int round = 0; round < 10000; ++round)
        ASSERT_EQ(walk.step(), "") << "round " << round;
}

INSTANTIATE_TEST_SUITE_P(Seeds, StringModelTest, testing::Range(1U, 9U));
