// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <vector>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::patternOf;
using test::textOf;
using test::Units;
using test::unitsOf;

using StringSplitTest = test::LibraryTest;

namespace {

struct Row
{
    const char *name;
    const char *text;
    const char *delimiter;
    const char *piece;
    const char *rest;
};

const Row splitRows[] = {
    {"the piece is stripped, the rest is not", "  a , b", ",", "a", " b"},
    {"no delimiter", "abc", ",", "abc", ""},
    {"no delimiter, stripped", " abc\t", ",", "abc", ""},
    {"a delimiter at the front", ",abc", ",", "", "abc"},
    {"a delimiter at the end", "abc,", ",", "abc", ""},
    {"the delimiter alone", ",", ",", "", ""},
    {"an empty text", "", ",", "", ""},
    {"a longer delimiter", "a->b->c", "->", "a", "b->c"},
    {"a blank piece", " \t ,b", ",", "", "b"},
    {"a blank text", " \t ", ",", "", ""},
    {"a blank delimiter", "a b", " ", "a", "b"},
    {"a delimiter of blanks at the front", "  b", " ", "", " b"},
    {"a delimiter that is the whole text", "ab", "ab", "", ""},
    {"a delimiter longer than the text", "ab", "abc", "ab", ""},
    {"bytes above 127", "a\xE9z", "\xE9", "a", "z"},
    {"an empty delimiter is never found", " abc ", "", "abc", ""},
};

template <class Delimiter>
void expectSplits(const Row &row, const Delimiter &delimiter)
{
    SCOPED_TRACE(row.name);
    String text(row.text);
    EXPECT_EQ(text.split(delimiter), row.piece);
    EXPECT_EQ(text, row.rest);
    EXPECT_TRUE(isTerminated(text));
    const String original(row.text);
    String shared(original);
    const String piece = shared.split(delimiter);
    EXPECT_EQ(piece, row.piece);
    EXPECT_TRUE(isTerminated(piece));
    EXPECT_EQ(shared, row.rest);
    EXPECT_EQ(original, row.text);
}

} // namespace

TEST_F(StringSplitTest, CutsOffTheFirstPieceForAllKindsOfDelimiter)
{
    for (const Row &row : splitRows) {
        const String delimiter(row.delimiter);
        expectSplits(row, row.delimiter);
        expectSplits(row, delimiter);
        expectSplits(row, delimiter.wstr());
        if (delimiter.length() == 1) {
            expectSplits(row, row.delimiter[0]);
            expectSplits(row, delimiter.wstr()[0]);
        }
    }
}

TEST_F(StringSplitTest, ALoopOverThePiecesEndsWithAnyDelimiter)
{
    const unsigned short *nullUnits = nullptr;
    const char *nullBytes = nullptr;
    const auto piecesOf = [](const auto &delimiter) {
        String text("a, b, c");
        int pieces = 0;
        while (text.length() > 0) {
            text.split(delimiter);
            ++pieces;
        }
        return pieces;
    };
    EXPECT_EQ(piecesOf(','), 3);
    EXPECT_EQ(piecesOf(""), 1);
    EXPECT_EQ(piecesOf(String()), 1);
    EXPECT_EQ(piecesOf(nullUnits), 1);
    EXPECT_EQ(piecesOf(nullBytes), 1);
}

TEST_F(StringSplitTest, SplitsAtAUnitOfZero)
{
    String text = textOf(std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(text.split('\0'), "a");
    EXPECT_EQ(text, "b");
}

TEST_F(StringSplitTest, SplitsByItselfAndItsParts)
{
    String text("ab");
    EXPECT_EQ(text.split(text), "");
    EXPECT_EQ(text, "");
    text = "a,b,";
    EXPECT_EQ(text.split(text.wstr() + 3), "a");
    EXPECT_EQ(text, "b,");
}

TEST_F(StringSplitTest, AWholeUnstrippedTextIsHandedOverShared)
{
    String text("abc");
    const unsigned short *units = text.wstr();
    EXPECT_EQ(text.split(',').wstr(), units);
}

TEST_F(StringSplitTest, ThePieceOfAPinnedTextIsNotPinned)
{
    String text("abc");
    text.makeUnique();
    const String piece = text.split(',');
    EXPECT_EQ(piece, "abc");
    const String copy(piece);
    EXPECT_EQ(copy.wstr(), piece.wstr());
}

TEST_F(StringSplitTest, StripRemovesUnitsOf32AndBelowFromBothEnds)
{
    struct StripRow
    {
        const char *name;
        std::u16string_view text;
        std::u16string_view expected;
    };
    const StripRow rows[] = {
        {"blanks at both ends", u"  abc  ", u"abc"},
        {"at the front", u"\t\nabc", u"abc"},
        {"at the end", u"abc\r\n", u"abc"},
        {"none", u"abc", u"abc"},
        {"inside only", u"a b", u"a b"},
        {"nothing but blanks", u" \t\r\n ", u""},
        {"empty", u"", u""},
        {"control characters",
         u"\x1F\x01"
         u"a\x1F",
         u"a"},
        {"units of zero", std::u16string_view(u"\0a\0", 3), u"a"},
        {"not the no-break space", u"\u00A0a\u00A0", u"\u00A0a\u00A0"},
        {"not other spaces of Unicode", u"\u2003a\u3000", u"\u2003a\u3000"},
        {"33 stays", u"!a!", u"!a!"},
        {"127 stays", u"\x7F", u"\x7F"},
    };
    for (const StripRow &row : rows) {
        SCOPED_TRACE(row.name);
        String text = textOf(row.text);
        text.strip();
        EXPECT_EQ(unitsOf(text), row.expected);
        EXPECT_TRUE(isTerminated(text));
        const String original = textOf(row.text);
        String shared(original);
        shared.strip();
        EXPECT_EQ(unitsOf(shared), row.expected);
        EXPECT_EQ(unitsOf(original), row.text);
    }
}

TEST_F(StringSplitTest, StripOfNothingLeavesTheBufferShared)
{
    const String original("abc");
    String text(original);
    text.strip();
    EXPECT_EQ(text.wstr(), original.wstr());
}

TEST_F(StringSplitTest, StripToNothingGivesUpTheBuffer)
{
    String text("   ");
    text.strip();
    EXPECT_EQ(text.wstr(), String().wstr());
}

TEST_F(StringSplitTest, StripsLongTexts)
{
    const std::u16string units = patternOf(500);
    String text = textOf(std::u16string(3000, u' ') + units + std::u16string(2000, u'\t'));
    text.strip();
    EXPECT_EQ(unitsOf(text), units);
}
