// SPDX-License-Identifier: MIT
// White-box: the localiser that is in force while the library comes up.
#include <tavrin/Localizer.h>

#include <gtest/gtest.h>

#include <tavrin/Context.h>

#include "runtime/ProcessState.h"
#include "support/LibraryTest.h"

using namespace Tavrin;

using LocalizerStartTest = test::LibraryTest;

TEST_F(LocalizerStartTest, WhileTheLibraryComesUpTheContextIsIgnored)
{
    Localizer host;
    Localizer::set(&host);
    EXPECT_EQ(&Localizer::get(), &host);
    detail::processState.startingUp = true;
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
    detail::processState.startingUp = false;
    EXPECT_EQ(&Localizer::get(), &host);
}

TEST(LocalizerStart, BeforeTheFirstInitItIsTheBuiltInOne)
{
    detail::processState.startingUp = true; // as in a fresh process, whatever ran before
    Localizer host;
    Context::get().localizer = &host;
    EXPECT_EQ(&Localizer::get(), &Localizer::getDefault());
    test::LibrarySession session;
    EXPECT_EQ(Context::get().localizer, &Localizer::getDefault());
}
