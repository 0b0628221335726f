// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

using Tavrin::InitTerm;
using Tavrin::String;

TEST(String, Smoke)
{
    String before;
    InitTerm::init();
    {
        String s("abc");
        String t = s + "def" + 'g' + s;
        EXPECT_TRUE(t == "abcdefgabc");
        EXPECT_EQ(t.cmp("abcdefgabd"), -1);
        s += s;
        EXPECT_TRUE(s == "abcabc");
        for (int i = 0; i < 5000; ++i)
            s += 'x';
        EXPECT_EQ(s.length(), 5006);
        s.adjust(100);
        EXPECT_EQ(s.length(), 100);
        EXPECT_EQ(s.wstr()[99], 'x');
        EXPECT_TRUE(t > "abc");
        EXPECT_TRUE("abc" < t);
    }
    InitTerm::exit();
}
