// SPDX-License-Identifier: MIT
// The arguments of a localised text.
#include <tavrin/Localizer.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tvscript/Object.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
using test::textOf;
using test::unitsOf;

namespace {

using LocalizerArgumentsTest = test::LibraryTest;

Array listOf(std::initializer_list<const char *> texts)
{
    Array list;
    for (const char *text : texts)
        list += String(text);
    return list;
}

std::u16string filled(std::u16string_view units, const Array *args)
{
    const String source = textOf(units);
    const String text = Localizer::localize(source, args);
    EXPECT_TRUE(test::isTerminated(text));
    EXPECT_EQ(unitsOf(source), units);
    return unitsOf(text);
}

} // namespace

TEST_F(LocalizerArgumentsTest, PlaceholdersTakeTheirArguments)
{
    const Array none;
    const Array one = listOf({"x"});
    const Array three = listOf({"a", "b", "c"});
    Array twelve;
    for (const char *text : {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten", "11", "12"})
        twelve += String(text);
    const struct
    {
        const char *name;
        std::u16string_view text;
        const Array *args;
        std::u16string_view expected;
    } rows[] = {
        {"a key", u"$$$/a/b=Hello %1", &one, u"Hello x"},
        {"plain text", u"Hello %1", &one, u"Hello x"},
        {"one argument too few", u"%1 and %2", &one, u"x and "},
        {"no arguments", u"%1 and %2", &none, u" and "},
        {"a null list", u"%1 and %2", nullptr, u" and "},
        {"no placeholders", u"plain", &three, u"plain"},
        {"empty", u"", &three, u""},
        {"in any order", u"%3%1%2%1", &three, u"caba"},
        {"two digits", u"%10", &twelve, u"ten"},
        {"two digits behind one argument", u"%10", &one, u""},
        {"leading zeros", u"%01%001", &one, u"xx"},
        {"number 0", u"a%0b", &three, u"ab"},
        {"number 00", u"a%00b", &three, u"ab"},
        {"the number of arguments", u"%3", &three, u"c"},
        {"one more than that", u"%4", &three, u""},
        {"two signs", u"%%1", &one, u"%1"},
        {"two signs at the end", u"100%%", &one, u"100%"},
        {"three signs", u"%%%1", &one, u"%x"},
        {"another letter", u"%d %x", &one, u"%d %x"},
        {"a blank", u"100 % ", &one, u"100 % "},
        {"a key with a sign", u"$$$/a=%%", &one, u"%"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(filled(row.text, row.args), row.expected);
    }
}

TEST_F(LocalizerArgumentsTest, ASignAtTheEndKeepsAZeroUnitBehindIt)
{
    const std::u16string_view kept(u"100%\0", 5);
    EXPECT_EQ(filled(u"100%", nullptr), kept);
    EXPECT_EQ(filled(u"$$$/a=100%", nullptr), kept);
    EXPECT_EQ(filled(u"%", nullptr), std::u16string_view(u"%\0", 2));
    EXPECT_EQ(filled(u"%%%", nullptr), std::u16string_view(u"%%\0", 3));
    EXPECT_EQ(filled(std::u16string_view(u"%\0x", 3), nullptr), std::u16string_view(u"%\0x", 3));
}

TEST_F(LocalizerArgumentsTest, NumbersOfAnyLengthAreRead)
{
    const Array one = listOf({"x"});
    for (const std::u16string_view number :
         {u"4294967295", u"4294967296", u"4294967297", u"18446744073709551616",
          u"18446744073709551617", u"99999999999999999999999999999999"})
        EXPECT_EQ(filled(u"a%" + std::u16string(number) + u"b", &one), u"ab");
    EXPECT_EQ(filled(u"%" + std::u16string(100000, u'9') + u"b", &one), u"b");
    EXPECT_EQ(filled(u"%" + std::u16string(100000, u'0') + u"1b", &one), u"xb");
}

TEST_F(LocalizerArgumentsTest, OnlyASCIIDigitsAreDigits)
{
    const Array one = listOf({"x"});
    EXPECT_EQ(filled(u"%\u0661 %\uFF11 %/ %:", &one), u"%\u0661 %\uFF11 %/ %:");
}

TEST_F(LocalizerArgumentsTest, PlaceholdersInArgumentsStay)
{
    const Array args = listOf({"%2 $$$/a=b ^T %", "second"});
    EXPECT_EQ(filled(u"[%1]", &args), u"[%2 $$$/a=b ^T %]");
}

TEST_F(LocalizerArgumentsTest, EscapesOfPlainTextStayInLocalize)
{
    EXPECT_EQ(filled(u"a^Tb\\n", nullptr), u"a^Tb\\n");
    EXPECT_EQ(filled(u"$$$/k=a^Tb\\n", nullptr), u"a\u2122b\n");
}

TEST_F(LocalizerArgumentsTest, TheChainTranslatesPlainTextBeforeTheArgumentsGoIn)
{
    HostLocalizer host;
    host.onLocalizeText = [](String &text) {
        EXPECT_EQ(text, "Hello %1");
        text = "Hallo %1, $$$";
        return true;
    };
    const Current current(host);
    const Array args = listOf({"Welt"});
    EXPECT_EQ(filled(u"Hello %1", &args), u"Hallo Welt, $$$");
}

TEST_F(LocalizerArgumentsTest, TheChainIsNotAskedToTranslateAKey)
{
    HostLocalizer host;
    host.onLocalizeText = [](String &) {
        ADD_FAILURE();
        return false;
    };
    const Current current(host);
    EXPECT_EQ(filled(u"$$$/a=b", nullptr), u"b");
}

TEST_F(LocalizerArgumentsTest, AStringLocalizesItself)
{
    String text("$$$/a/b=Hello %1");
    const String copy(text);
    const Array args = listOf({"World"});
    text.localize(&args);
    EXPECT_EQ(text, "Hello World");
    EXPECT_EQ(copy, "$$$/a/b=Hello %1");
    text.localize(nullptr);
    EXPECT_EQ(text, "Hello World");
    String empty;
    empty.localize(&args);
    EXPECT_EQ(empty, "");
}

TEST_F(LocalizerArgumentsTest, AMissingArgumentOfTheListReadsAsUndefined)
{
    Array args;
    args[1] = "second";
    EXPECT_EQ(filled(u"%1 %2", &args), u"undefined second");
}

TEST_F(LocalizerArgumentsTest, ArgumentsOfAnyKindTakeTheirText)
{
    Array args;
    args += 12.5;
    args += true;
    args += Variant();
    Variant null;
    null.setNull();
    args += null;
    args += Array(args);
    EXPECT_EQ(filled(u"%1|%2|%3|%4|%5", &args),
              u"12.5|true|undefined|null|[12.5,true,undefined,null]");
}

TEST_F(LocalizerArgumentsTest, ANumberComesWithTheTextThatItHasAlready)
{
    Array args;
    args += 255;
    args += 255;
    args[0].getString(16);
    EXPECT_EQ(filled(u"%1 %2", &args), u"ff 255");
}

TEST_F(LocalizerArgumentsTest, FarElementsOfALongListAreFound)
{
    Array args;
    args[4999999] = "far";
    EXPECT_EQ(filled(u"[%5000000][%4999999][%5000001]", &args), u"[far][undefined][]");
}

namespace {

// A script object whose text is the work of a script that empties the list of arguments.
struct EmptyingObject : TvScript::Object
{
    explicit EmptyingObject(Array &list) : args(list) {}

    bool isValid() const override { return true; }
    void destroy() override { isDestroyed = true; }
    void toString(String &text) override
    {
        args.erase();
        EXPECT_FALSE(isDestroyed) << "nobody holds it";
        text = "the object";
    }
    void setData(Root *) override {}
    const Variant *getValue() const override { return nullptr; }
    TvScript::Engine *getEngine() const override { return nullptr; }
    void setObjectID(int) override {}
    bool valueOf(Variant &, int) override { return false; }
    int getProperties(THashTable<Variant> &, int, Error *) override { return 0; }
    int setProperties(const THashTable<Variant> &, Error *) override { return 0; }

    Array &args;
    bool isDestroyed = false;
};

} // namespace

TEST_F(LocalizerArgumentsTest, AScriptMayChangeTheListWhileItIsFilledIn)
{
    Array args;
    EmptyingObject object(args);
    Variant held;
    held.setJSObject(object);
    args += held;
    args += String("second");
    held.setNull();
    EXPECT_EQ(filled(u"[%1] [%2] [%3]", &args), u"[the object] [undefined] []");
    EXPECT_TRUE(object.isDestroyed);
    EXPECT_EQ(args.length(), 0u);
}
