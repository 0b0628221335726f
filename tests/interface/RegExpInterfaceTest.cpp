// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <memory>

#include <gtest/gtest.h>

#include "interface/Forms.h"

using namespace Tavrin;
using test::has;

TEST(RegExpInterface, RegExp)
{
    static_assert(sizeof(RegExp) == sizeof(void *));
    static_assert(std::is_default_constructible_v<RegExp> &&
                  std::is_constructible_v<RegExp, const String &, int> &&
                  std::is_copy_constructible_v<RegExp> && std::is_copy_assignable_v<RegExp>);
    EXPECT_TRUE(has<bool (RegExp::*)() const>(&RegExp::good));
    EXPECT_TRUE(has<const String &(RegExp::*)() const>(&RegExp::getPattern));
    EXPECT_TRUE(has<int (RegExp::*)() const>(&RegExp::getFlags));
    EXPECT_TRUE(has<int (RegExp::*)() const>(&RegExp::getCaptureLength));
    EXPECT_TRUE(has<Capture *(RegExp::*)() const>(&RegExp::createCaptureList));
    EXPECT_TRUE((has<bool (RegExp::*)(const String &, int, Capture &) const>(&RegExp::match)));
}

TEST(RegExpInterface, ACaptureIsAPairOfOffsets)
{
    static_assert(sizeof(Capture) == 8);
    const Capture capture;
    EXPECT_EQ(capture.start, -1);
    EXPECT_EQ(capture.end, 0);
}

TEST(RegExpInterface, Variant)
{
    static_assert(std::is_constructible_v<Variant, const RegExp &> &&
                  std::is_assignable_v<Variant &, const RegExp &>);
    EXPECT_TRUE(has<void (Variant::*)(const RegExp &)>(&Variant::setRegExp));
    EXPECT_TRUE(has<RegExp *(Variant::*)() const>(&Variant::getRegExp));
}

TEST(RegExpInterface, AHostSearchesFromPlaceToPlace)
{
    InitTerm::init();
    {
        const RegExp words("(\\w)\\w*", 0);
        const String text("one, two, three");
        const std::unique_ptr<Capture[]> found(words.createCaptureList());
        String initials;
        for (int from = 0; words.match(text, from, found[0]); from = found[0].end)
            initials += text.substr(found[1].start, found[1].end - found[1].start);
        EXPECT_EQ(initials, "ott");
    }
    InitTerm::exit();
}
