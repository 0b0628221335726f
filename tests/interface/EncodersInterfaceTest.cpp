// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "interface/Forms.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::has;

namespace {

using Unit = unsigned short;
using EncodersInterface = test::LibraryTest;

} // namespace

TEST_F(EncodersInterface, EncodersAreDerivedFrom)
{
    static_assert(std::is_base_of_v<Root, Encoder> && std::is_abstract_v<Encoder>);
    EXPECT_TRUE(has<void (Encoder::*)(String &) const>(&Encoder::getNames));
    EXPECT_TRUE(has<const Encoder *(Encoder::*)(const String &) const>(&Encoder::find));
    EXPECT_TRUE(
        (has<int (Encoder::*)(const char *, int, int &) const>(&Encoder::getUnicodeLength)));
    EXPECT_TRUE((has<int (Encoder::*)(const Unit *, int, int &) const>(&Encoder::getMBCSLength)));
    EXPECT_TRUE((has<int (Encoder::*)(const char *, int &, Unit *, int &, bool) const>(
        &Encoder::toUnicode)));
    EXPECT_TRUE(
        (has<int (Encoder::*)(const Unit *, int &, char *, int &, bool) const>(&Encoder::toMBCS)));
    EXPECT_TRUE(has<int (Encoder::*)() const>(&Encoder::getMapping));
}

TEST_F(EncodersInterface, EncodersAreFoundByTheirNames)
{
    EXPECT_TRUE(has<void (*)(const Encoder &)>(&Encoder::add));
    EXPECT_TRUE((has<bool (*)(const Encoder &, const char *)>(&Encoder::addAlias)));
    EXPECT_TRUE((has<bool (*)(const char *, const char *)>(&Encoder::addAlias)));
    EXPECT_TRUE(has<const Encoder *(*)(const char *)>(&Encoder::get));
    EXPECT_TRUE(has<const Encoder *(*)(const Unit *)>(&Encoder::get));
    EXPECT_TRUE(has<const Encoder &(*)()>(&Encoder::getDefault));
    EXPECT_TRUE(has<void (*)(const Encoder &)>(&Encoder::setDefault));
    EXPECT_TRUE(has<const Encoder &(*)()>(&Encoder::getSystem));
    EXPECT_TRUE(has<const Encoder &(*)()>(&Encoder::getAscii));
    EXPECT_TRUE(has<const Encoder &(*)()>(&Encoder::getBinary));
    EXPECT_TRUE(has<const Encoder &(*)()>(&Encoder::getUtf8));
    EXPECT_TRUE(has<const Encoder &(*)()>(&Encoder::getUtf32));
}

TEST_F(EncodersInterface, StringsAreConverted)
{
    const Encoder *encoder = &Encoder::getUtf8();
    const unsigned int utf32[] = {'a', 'b', 'c', 0};
    EXPECT_EQ(String("abc", encoder), "abc");
    EXPECT_EQ(String(utf32), "abc");
    EXPECT_EQ(String(utf32, 2), "ab");
    String text;
    EXPECT_EQ(text = utf32, "abc");
    EXPECT_TRUE((has<int (String::*)(const char *, int, const Encoder *)>(&String::decode)));
    EXPECT_TRUE(has<int (String::*)(const unsigned int *)>(&String::decode));
    EXPECT_TRUE(
        (has<int (String::*)(const char *&, int &, const Encoder *) const>(&String::encode)));
    EXPECT_TRUE(has<const char *(String::*)(const Encoder *) const>(&String::encode));
    EXPECT_TRUE(has<const unsigned int *(String::*)() const>(&String::encodeUtf32));
    EXPECT_TRUE(has<int (*)()>(&String::getEncodedLength));
}
