// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <gtest/gtest.h>

#include "interface/Forms.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::has;

namespace {

using Unit = unsigned short;
using TextInterface = test::LibraryTest;

constexpr Unit abc[] = {'a', 'b', 'c', 0};

} // namespace

TEST_F(TextInterface, StringsAreMadeFromAllKinds)
{
    static_assert(sizeof(String) == sizeof(void *));
    static_assert(!std::is_polymorphic_v<String> && !std::is_base_of_v<Heap, String>);
    EXPECT_EQ(String().length(), 0);
    EXPECT_EQ(String("abc"), abc);
    EXPECT_EQ(String(abc), "abc");
    EXPECT_EQ(String(abc, 2), "ab");
    EXPECT_EQ(String(String("abc")), "abc");
    String text;
    EXPECT_EQ(text = String("abc"), "abc");
    EXPECT_EQ(text = 'a', "a");
    EXPECT_EQ(text = Unit{'b'}, "b");
    EXPECT_EQ(text = "abc", "abc");
    EXPECT_EQ(text = abc, "abc");
    const Unit *units = text;
    EXPECT_EQ(units, text.wstr());
    EXPECT_EQ(String::emptyString().length(), 0);
}

TEST_F(TextInterface, StringsAreRead)
{
    EXPECT_TRUE(has<int (String::*)() const>(&String::length));
    EXPECT_TRUE(has<const Unit *(String::*)() const>(&String::wstr));
    EXPECT_TRUE(has<const Unit *(String::*)() const>(&String::operator const Unit *));
}

TEST_F(TextInterface, StringsAreCompared)
{
    EXPECT_TRUE(has<int (String::*)(const String &) const>(&String::cmp));
    EXPECT_TRUE(has<int (String::*)(const char *) const>(&String::cmp));
    EXPECT_TRUE(has<int (String::*)(const Unit *) const>(&String::cmp));
    EXPECT_TRUE((has<int (String::*)(const String &, int) const>(&String::ncmp)));
    EXPECT_TRUE((has<int (String::*)(const char *, int) const>(&String::ncmp)));
    EXPECT_TRUE((has<int (String::*)(const Unit *, int) const>(&String::ncmp)));
    EXPECT_TRUE(has<int (String::*)(const String &) const>(&String::ucmp));
    EXPECT_TRUE(has<int (String::*)(const char *) const>(&String::ucmp));
    EXPECT_TRUE(has<int (String::*)(const Unit *) const>(&String::ucmp));
    EXPECT_TRUE((has<int (String::*)(const String &, int) const>(&String::nucmp)));
    EXPECT_TRUE((has<int (String::*)(const char *, int) const>(&String::nucmp)));
    EXPECT_TRUE((has<int (String::*)(const Unit *, int) const>(&String::nucmp)));
}

template <class Kind>
void expectAllOperators(Kind same)
{
    const String text("abc");
    EXPECT_TRUE(text == same);
    EXPECT_FALSE(text != same);
    EXPECT_FALSE(text < same);
    EXPECT_TRUE(text <= same);
    EXPECT_FALSE(text > same);
    EXPECT_TRUE(text >= same);
}

TEST_F(TextInterface, StringsHaveAllSixOperatorsForThreeKinds)
{
    expectAllOperators<const String &>(String("abc"));
    expectAllOperators<const char *>("abc");
    expectAllOperators<const Unit *>(abc);
}

TEST_F(TextInterface, StringsAreConcatenated)
{
    EXPECT_TRUE(has<String (String::*)(const String &) const>(&String::operator+));
    EXPECT_TRUE(has<String (String::*)(char) const>(&String::operator+));
    EXPECT_TRUE(has<String (String::*)(Unit) const>(&String::operator+));
    EXPECT_TRUE(has<String (String::*)(const char *) const>(&String::operator+));
    EXPECT_TRUE(has<String (String::*)(const Unit *) const>(&String::operator+));
    EXPECT_TRUE(has<String &(String::*)(const String &)>(&String::operator+=));
    EXPECT_TRUE(has<String &(String::*)(char)>(&String::operator+=));
    EXPECT_TRUE(has<String &(String::*)(Unit)>(&String::operator+=));
    EXPECT_TRUE(has<String &(String::*)(const char *)>(&String::operator+=));
    EXPECT_TRUE(has<String &(String::*)(const Unit *)>(&String::operator+=));
    EXPECT_TRUE(has<String &(String::*)(const String &)>(&String::append));
    EXPECT_TRUE(has<String &(String::*)(char)>(&String::append));
    EXPECT_TRUE(has<String &(String::*)(Unit)>(&String::append));
    EXPECT_TRUE(has<String &(String::*)(const char *)>(&String::append));
    EXPECT_TRUE(has<String &(String::*)(const Unit *)>(&String::append));
    EXPECT_TRUE((has<String &(String::*)(const char *, int)>(&String::append)));
    EXPECT_TRUE((has<String &(String::*)(const Unit *, int)>(&String::append)));
}

TEST_F(TextInterface, StringsAreEdited)
{
    EXPECT_TRUE(has<void (String::*)(int)>(&String::adjust));
    EXPECT_TRUE(has<void (String::*)(int)>(&String::init));
    EXPECT_TRUE(has<void (String::*)()>(&String::clear));
    EXPECT_TRUE(has<void (String::*)()>(&String::erase));
    EXPECT_TRUE((has<void (String::*)(int, int)>(&String::erase)));
    EXPECT_TRUE((has<void (String::*)(const String &, int)>(&String::insert)));
    EXPECT_TRUE((has<void (String::*)(char, int)>(&String::insert)));
    EXPECT_TRUE((has<void (String::*)(Unit, int)>(&String::insert)));
    EXPECT_TRUE((has<void (String::*)(const char *, int)>(&String::insert)));
    EXPECT_TRUE((has<void (String::*)(const Unit *, int)>(&String::insert)));
    EXPECT_TRUE((has<void (String::*)(int, Unit)>(&String::set)));
    EXPECT_TRUE((has<void (String::*)(Unit, int)>(&String::setup)));
    EXPECT_TRUE((has<String (String::*)(int, int) const>(&String::substr)));
    EXPECT_TRUE(has<void (String::*)()>(&String::makeUnique));
}

TEST_F(TextInterface, StringsAreSearched)
{
    EXPECT_TRUE((has<int (String::*)(const String &, int, bool) const>(&String::find)));
    EXPECT_TRUE((has<int (String::*)(Unit, int, bool) const>(&String::find)));
    EXPECT_TRUE((has<int (String::*)(const char *, int, bool) const>(&String::find)));
    EXPECT_TRUE((has<int (String::*)(const Unit *, int, bool) const>(&String::find)));
    EXPECT_TRUE((has<int (String::*)(const String &, int) const>(&String::findAny)));
    EXPECT_TRUE((has<int (String::*)(const char *, int) const>(&String::findAny)));
    EXPECT_TRUE((has<int (String::*)(const Unit *, int) const>(&String::findAny)));
}

template <class From, class To>
bool replaces()
{
    return has<int (String::*)(From, To, int)>(&String::replace) &&
           has<int (String::*)(From, To, int)>(&String::replaceAll);
}

TEST_F(TextInterface, StringsReplaceInEightPairings)
{
    EXPECT_TRUE((replaces<const String &, const String &>()));
    EXPECT_TRUE((replaces<const String &, const char *>()));
    EXPECT_TRUE((replaces<const String &, const Unit *>()));
    EXPECT_TRUE((replaces<const char *, const char *>()));
    EXPECT_TRUE((replaces<const char *, const String &>()));
    EXPECT_TRUE((replaces<const Unit *, const Unit *>()));
    EXPECT_TRUE((replaces<const Unit *, const String &>()));
    EXPECT_TRUE((replaces<Unit, Unit>()));
}

TEST_F(TextInterface, StringsAreSplitAndMapped)
{
    EXPECT_TRUE(has<String (String::*)(const String &)>(&String::split));
    EXPECT_TRUE(has<String (String::*)(char)>(&String::split));
    EXPECT_TRUE(has<String (String::*)(Unit)>(&String::split));
    EXPECT_TRUE(has<String (String::*)(const char *)>(&String::split));
    EXPECT_TRUE(has<String (String::*)(const Unit *)>(&String::split));
    EXPECT_TRUE(has<void (String::*)()>(&String::strip));
    EXPECT_TRUE(has<bool (String::*)()>(&String::toLower));
    EXPECT_TRUE(has<bool (String::*)()>(&String::toUpper));
    EXPECT_TRUE(has<bool (String::*)()>(&String::toMixed));
}

TEST_F(TextInterface, LiteralsNeedNoCast)
{
    String text("abcabc");
    EXPECT_EQ(text.find('b', 0, false), 1);
    EXPECT_EQ(text.find("b"), 1);
    EXPECT_EQ(text.replace('a', 'x', 1), 3);
    EXPECT_EQ(text.replace("", "x", 5), 0);
    EXPECT_EQ(text.replaceAll('b', 'y', 0), 2);
    EXPECT_EQ(text.replaceAll("y", "", 0), 2);
    EXPECT_EQ(text.split(','), "xacxc");
    text.insert('z', 0);
    text.insert("y", 0);
    text.set(0, 65);
    text += 'c';
    EXPECT_EQ(text + 'd' + "e", "Azcde");
    text.setup(' ', 3);
    text.set(0, 'x');
    EXPECT_EQ(text.findAny(" ", 0), 1);
}

TEST(UnicodeInterface, UnicodeUtils)
{
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::isCf));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::isPd));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::isSymbolChar));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::isSymbolStart));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::isWS));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::iswalnum));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::iswalpha));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::iswlower));
    EXPECT_TRUE(has<bool (*)(Unit)>(&UnicodeUtils::iswupper));
    EXPECT_TRUE(has<Unit (*)(Unit)>(&UnicodeUtils::towlower));
    EXPECT_TRUE(has<Unit (*)(Unit)>(&UnicodeUtils::towupper));
    EXPECT_TRUE(has<int (*)(const Unit *)>(&UnicodeUtils::watol));
    EXPECT_TRUE((has<int (*)(const Unit *, const char *)>(&UnicodeUtils::wcscmpmb)));
    EXPECT_TRUE((has<int (*)(const Unit *, const char *)>(&UnicodeUtils::wcsicmpmb)));
    EXPECT_TRUE((has<int (*)(const Unit *, const char *, int)>(&UnicodeUtils::wcsncmpmb)));
    EXPECT_TRUE((has<int (*)(const Unit *, const char *, int)>(&UnicodeUtils::wcsnicmpmb)));
}

TEST(UnicodeInterface, PlainFunctionsUnderUnmangledNames)
{
    EXPECT_TRUE(has<int (*)(const Unit *)>(&::strlen16));
    EXPECT_TRUE((has<Unit *(*)(Unit *, const Unit *)>(&::strcpy16)));
    EXPECT_TRUE((has<int (*)(const Unit *, const Unit *)>(&::strcmp16)));
    EXPECT_TRUE((has<int (*)(const Unit *, const Unit *, int)>(&::strncmp16)));
    EXPECT_TRUE((has<int (*)(const Unit *, const Unit *)>(&::stricmp16)));
    EXPECT_TRUE((has<int (*)(const Unit *, const Unit *, int)>(&::strnicmp16)));
    EXPECT_TRUE((has<const Unit *(*)(const Unit *, Unit)>(&::strchr16)));
    EXPECT_TRUE((has<const Unit *(*)(const Unit *, const Unit *)>(&::strstr16)));
}
