// SPDX-License-Identifier: MIT
// Keys and escapes.
#include <tavrin/Localizer.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <tavrin/Context.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
using test::Pushed;
using test::textOf;
using test::unitsOf;

namespace {

using LocalizerTextTest = test::LibraryTest;

std::u16string resolved(std::u16string_view units)
{
    String text = textOf(units);
    Localizer::getZString(text);
    EXPECT_TRUE(test::isTerminated(text));
    return unitsOf(text);
}

// The host's hooks, of which only the first matters here.
struct HostCallbacks : Callbacks
{
    const char *locale = "";
    const char *family = "";
    int calls = 0;

    HostCallbacks() { Callbacks::set(this); }
    ~HostCallbacks() override { Callbacks::set(nullptr); }

    void getLocale(String &outLocale, String &outFamily) override
    {
        ++calls;
        EXPECT_EQ(outLocale, "");
        EXPECT_EQ(outFamily, "");
        outLocale = locale;
        outFamily = family;
    }
    Dictionary *getDictionary() override { return nullptr; }
    void hook3() override {}
    Dictionary *getHostDictionary() override { return nullptr; }
    void hook5() override {}
    void hook6() override {}
    void hook7() override {}
    void hook8() override {}
};

// Answers every key, and keeps what it was asked.
struct KeepingLocalizer : HostLocalizer
{
    String key, locale, family;

    KeepingLocalizer()
    {
        onGetZString = [this](String &text, const String &ofLocale, const String &ofFamily) {
            key = text;
            locale = ofLocale;
            family = ofFamily;
            text = "answer";
            return true;
        };
    }
};

} // namespace

// Keys.

TEST_F(LocalizerTextTest, AKeyWithoutAnAnswerGivesItsBuiltInText)
{
    const struct
    {
        const char *name;
        std::u16string_view key, text;
    } rows[] = {
        {"plain", u"$$$/a/b=Hello", u"Hello"},
        {"no sign", u"$$$/a/b", u""},
        {"nothing behind the sign", u"$$$/a/b=", u""},
        {"only the first sign counts", u"$$$/a=b=c=", u"b=c="},
        {"blanks of the text stay", u"$$$/a= b ", u" b "},
        {"the shortest key", u"$$$", u""},
        {"a sign right behind", u"$$$=x", u"x"},
        {"without a slash", u"$$$a=x", u"x"},
        {"four of them", u"$$$$=x", u"x"},
        {"a key in the text", u"$$$/a=$$$/b=c", u"$$$/b=c"},
        {"its own key in the text", u"$$$/a=$$$/a=", u"$$$/a="},
        {"a line feed in the text", u"$$$/a=b\nc", u"b\nc"},
        {"a line feed in the key", u"$$$/a\nb=c", u"c"},
        {"escapes in the text", u"$$$/a=b^Tc\\n", u"b\u2122c\n"},
        {"an escape in the key", u"$$$/a^=b", u"b"},
        {"a 0 unit in the text", std::u16string_view(u"$$$/a=b\0c", 9),
         std::u16string_view(u"b\0c", 3)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(resolved(row.key), row.text);
    }
}

TEST_F(LocalizerTextTest, TextThatOnlyLooksLikeAKeyStays)
{
    for (const std::u16string_view text : {u"", u"$", u"$$", u"$$/a=b", u" $$$/a=b", u"a=b"})
        EXPECT_EQ(resolved(text), text);
}

TEST_F(LocalizerTextTest, TheChainReceivesTheWholeTextInEscapedForm)
{
    KeepingLocalizer host;
    const Current current(host);
    EXPECT_EQ(resolved(u"$$$/a=b\nc\\n^T\n"), u"answer");
    EXPECT_EQ(host.key, "$$$/a=b\\nc\\n^T\\n");
}

TEST_F(LocalizerTextTest, PlainTextIsNotAskedFor)
{
    KeepingLocalizer host;
    const Current current(host);
    EXPECT_EQ(resolved(u"plain"), u"plain");
    EXPECT_EQ(host.questions, 0);
}

TEST_F(LocalizerTextTest, EscapesOfAnAnswerAreResolvedToo)
{
    HostLocalizer host;
    host.onGetZString = [](String &text, const String &, const String &) {
        text = "^[Datei^]\\n";
        return true;
    };
    const Current current(host);
    EXPECT_EQ(resolved(u"$$$/a=File"), u"\u201CDatei\u201D\n");
}

TEST_F(LocalizerTextTest, AnAnswerThatIsAKeyIsTheText)
{
    HostLocalizer host;
    int lookups = 0;
    host.onGetZString = [&](String &, const String &, const String &) {
        ++lookups;
        return true;
    };
    const Current current(host);
    EXPECT_EQ(resolved(u"$$$/self=$$$/self="), u"$$$/self=$$$/self=");
    EXPECT_EQ(lookups, 1);
    EXPECT_EQ(Localizer::localize(String("$$$/self="), nullptr), "$$$/self=");
    EXPECT_EQ(lookups, 2);
}

TEST_F(LocalizerTextTest, AnEmptyAnswerIsAnAnswer)
{
    HostLocalizer host;
    host.onGetZString = [](String &text, const String &, const String &) {
        text.erase();
        return true;
    };
    const Current current(host);
    EXPECT_EQ(resolved(u"$$$/a=b"), u"");
}

TEST_F(LocalizerTextTest, TheChainReceivesTheLocaleOfTheCallbacks)
{
    HostCallbacks callbacks;
    callbacks.locale = "xx_YY";
    callbacks.family = "the family";
    KeepingLocalizer host;
    const Current current(host);
    EXPECT_EQ(resolved(u"$$$/a=b"), u"answer");
    EXPECT_EQ(host.locale, "xx_YY");
    EXPECT_EQ(host.family, "the family");
    EXPECT_EQ(callbacks.calls, 1);
    EXPECT_EQ(host.questions, 1) << "the locale was asked for all the same";
}

TEST_F(LocalizerTextTest, WithoutALocaleOfTheCallbacksItIsTheUsers)
{
    HostCallbacks callbacks;
    callbacks.family = "the family";
    KeepingLocalizer host;
    host.onGetLocale = [](String &out) {
        out = "of the chain";
        return true;
    };
    const Current current(host);
    EXPECT_EQ(resolved(u"$$$/a=b"), u"answer");
    EXPECT_EQ(host.locale, "of the chain");
    EXPECT_EQ(host.family, "the family");
}

TEST_F(LocalizerTextTest, WithoutCallbacksTheFamilyIsEmpty)
{
    KeepingLocalizer host;
    const Pushed pushed(host);
    EXPECT_EQ(resolved(u"$$$/a=b"), u"answer");
    EXPECT_EQ(host.locale, Localizer::getLocale());
    EXPECT_EQ(host.family, "");
}

TEST_F(LocalizerTextTest, TheCallbacksAreNotCalledForPlainText)
{
    HostCallbacks callbacks;
    EXPECT_EQ(resolved(u"a^Tb"), u"a\u2122b");
    EXPECT_EQ(callbacks.calls, 0);
    EXPECT_EQ(resolved(u"$$$/a=b"), u"b");
    EXPECT_EQ(callbacks.calls, 1);
}

// Escapes.

TEST_F(LocalizerTextTest, EveryEscapeGivesItsUnit)
{
    const struct
    {
        std::u16string_view escape;
        char16_t unit;
    } rows[] = {
        {u"\\n", 0x0A},  {u"\\r", 0x0D},  {u"\\t", 0x09},  {u"\\b", 0x08},  {u"^!", 0xAC},
        {u"^#", 0x2318}, {u"^A", 0x27},   {u"^B", 0x2022}, {u"^C", 0xA9},   {u"^D", 0xB0},
        {u"^E", 0xEA},   {u"^F", 0x2F},   {u"^I", 0x2206}, {u"^Q", 0x22},   {u"^R", 0xAE},
        {u"^S", 0x2211}, {u"^T", 0x2122}, {u"^V", 0x5C},   {u"^b", 0x7C},   {u"^e", 0xE9},
        {u"^l", 0x5C},   {u"^n", 0x0A},   {u"^r", 0x0D},   {u"^t", 0x09},   {u"^^", 0x5E},
        {u"^[", 0x201C}, {u"^]", 0x201D}, {u"^{", 0x2018}, {u"^}", 0x2019},
    };
    static_assert(std::size(rows) == 29);
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.escape.begin(), row.escape.end()));
        EXPECT_EQ(resolved(row.escape), std::u16string(1, row.unit));
        const std::u16string inside = u"a" + std::u16string(row.escape) + u"b";
        EXPECT_EQ(resolved(inside), (std::u16string{u'a', row.unit, u'b'}));
        EXPECT_EQ(resolved(u"$$$/key=" + inside), (std::u16string{u'a', row.unit, u'b'}));
    }
}

// Against a reference that walks the units one by one, for every letter.
TEST_F(LocalizerTextTest, AnyOtherLetterStaysWithoutItsBackslashButWithItsCaret)
{
    const std::u16string_view ofBackslash = u"nrtb";
    const std::u16string_view ofCaret = u"!#ABCDEFIQRSTVbelnrt^[]{}";
    ASSERT_EQ(ofBackslash.size() + ofCaret.size(), 29u);
    for (int value = 0; value < 0x10000; ++value) {
        const auto letter = static_cast<char16_t>(value);
        if (ofBackslash.find(letter) == std::u16string_view::npos) {
            ASSERT_EQ(resolved(std::u16string{u'\\', letter, u'z'}), (std::u16string{letter, u'z'}))
                << value;
        }
        if (ofCaret.find(letter) == std::u16string_view::npos) {
            ASSERT_EQ(resolved(std::u16string{u'^', letter, u'z'}),
                      (std::u16string{u'^', letter, u'z'}))
                << value;
        }
    }
}

TEST_F(LocalizerTextTest, EscapesInTheirSurroundings)
{
    const struct
    {
        const char *name;
        std::u16string_view text, expected;
    } rows[] = {
        {"empty", u"", u""},
        {"none", u"no escapes", u"no escapes"},
        {"trade mark", u"a^Tb", u"a\u2122b"},
        {"unknown behind a backslash", u"\\q", u"q"},
        {"unknown behind a caret", u"^q", u"^q"},
        {"case matters", u"^c\\N", u"^cN"},
        {"a backslash at the end", u"a\\", u"a\\"},
        {"a caret at the end", u"a^", u"a^"},
        {"a backslash alone", u"\\", u"\\"},
        {"a caret alone", u"^", u"^"},
        {"two backslashes", u"\\\\", u"\\"},
        {"three backslashes", u"\\\\\\", u"\\\\"},
        {"a backslash before an escape", u"\\\\n", u"\\n"},
        {"a backslash before a caret", u"\\^T", u"^T"},
        {"a caret before a backslash", u"^\\n", u"^\\n"},
        {"a result does not introduce", u"^^T", u"^T"},
        {"a result is not an introducer", u"^Vn", u"\\n"},
        {"one behind the other", u"^T^R\\n^C", u"\u2122\u00AE\n\u00A9"},
        {"placeholders stay", u"%1^T%%", u"%1\u2122%%"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(resolved(row.text), row.expected);
    }
}

TEST_F(LocalizerTextTest, ALongTextOfEscapesIsResolvedToTheEnd)
{
    std::u16string text, expected;
    for (int count = 0; count < 10000; ++count) {
        text += u"^Tab\\n";
        expected += u"\u2122ab\n";
    }
    EXPECT_EQ(resolved(text), expected);
}

TEST_F(LocalizerTextTest, ASharedTextKeepsItsSharers)
{
    const String original("$$$/a=b^T");
    String text(original);
    Localizer::getZString(text);
    EXPECT_EQ(text, textOf(u"b\u2122"));
    EXPECT_EQ(original, "$$$/a=b^T");
    const String plain("a^T");
    text = plain;
    Localizer::getZString(text);
    EXPECT_EQ(plain, "a^T");
}
