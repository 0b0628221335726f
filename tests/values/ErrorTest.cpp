// SPDX-License-Identifier: MIT
// Records and their stack.
#include <tavrin/Error.h>

#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "support/LibraryTest.h"
#include "support/ValueText.h"
#include "text/StringSupport.h"
#include "values/ErrorSupport.h"

using namespace Tavrin;
using test::fullText;
using test::Note;
using test::pushText;
using test::texts;
using test::textsOf;

namespace {

static_assert(sizeof(Error) == sizeof(void *), "operations hold one by value");
static_assert(std::is_nothrow_copy_constructible_v<Error>);
static_assert(std::is_nothrow_move_constructible_v<Error>);
static_assert(!std::is_polymorphic_v<Error> && !std::is_base_of_v<Heap, Error>);
static_assert(std::is_base_of_v<Heap, ErrorInfo> && !std::is_polymorphic_v<ErrorInfo>);
static_assert(!std::is_constructible_v<ErrorInfo> && !std::is_destructible_v<ErrorInfo>);
static_assert(!std::is_copy_constructible_v<ErrorInfo>);

using ErrorTest = test::LibraryTest;

} // namespace

// Empty ones.

TEST_F(ErrorTest, AFreshOneIsEmpty)
{
    const Error error;
    EXPECT_EQ(error.getCode(), 0);
    EXPECT_EQ(error.getError(), nullptr);
    EXPECT_EQ(error.getErrorData(), nullptr);
    EXPECT_EQ(fullText(error), "");
}

TEST(ErrorLife, AnEmptyOneNeedsNoLibrary)
{
    Error error;
    const Error copy(error);
    error = copy;
    error.erase();
    EXPECT_EQ(error.getCode(), 0);
    EXPECT_EQ(copy.getError(), nullptr);
}

TEST_F(ErrorTest, EraseEmptiesIt)
{
    Error error(2, String("x"), true);
    error.erase();
    EXPECT_EQ(error.getCode(), 0);
    EXPECT_EQ(error.getError(), nullptr);
    error.erase();
    pushText(error, "again");
    EXPECT_EQ(textsOf(error), texts({u"again"}));
}

// One record.

TEST_F(ErrorTest, WithTheTemplateTheTextTakesThePlaceOfThePlaceholder)
{
    Error error;
    error.push(2, String("x"), nullptr, true);
    EXPECT_EQ(error.getError()->getText(), "x is undefined");
    EXPECT_EQ(error.getCode(), 2);
}

TEST_F(ErrorTest, WithoutTheTemplateTheTextIsTheMessage)
{
    Error error;
    error.push(2, String("x"), nullptr, false);
    EXPECT_EQ(error.getError()->getText(), "x");
    error.push(2, String("%1 ^T $$$/a=b"), nullptr, false);
    EXPECT_EQ(error.getError()->getText(), "%1 ^T $$$/a=b");
    error.push(2, String(), nullptr, false);
    EXPECT_EQ(error.getError()->getText(), "");
}

TEST_F(ErrorTest, TheConstructorWithACodePushes)
{
    const Error worded(2, String("x"), true);
    EXPECT_EQ(worded.getError()->getText(), "x is undefined");
    EXPECT_EQ(worded.getError()->getNext(), nullptr);
    const Error plain(2, String("x"), false);
    EXPECT_EQ(plain.getError()->getText(), "x");
    EXPECT_EQ(plain.getCode(), 2);
}

TEST_F(ErrorTest, ARecordKeepsTheCodeThatWasReported)
{
    for (const int code : {2, -2, -28, 28, 0, 80, 9999, -9999}) {
        const Error error(code, String("x"), true);
        EXPECT_EQ(error.getCode(), code);
        EXPECT_EQ(error.getError()->getCode(), code);
    }
}

TEST_F(ErrorTest, ARecordBeginsWithoutAPlaceAndWithoutData)
{
    const Error error(2, String("x"), true);
    const ErrorInfo &record = *error.getError();
    EXPECT_EQ(record.getNext(), nullptr);
    EXPECT_EQ(record.getFile(), "");
    EXPECT_EQ(record.getSource(), "");
    EXPECT_EQ(record.getLine(), -1);
    EXPECT_EQ(record.getOffset(), -1);
    EXPECT_EQ(record.getColumn(), -1);
    EXPECT_EQ(record.getLength(), 0);
    EXPECT_EQ(record.getData(), nullptr);
}

TEST_F(ErrorTest, OfAnUnknownCodeTheTextIsTheMessage)
{
    EXPECT_EQ(Error(9999, String("oops"), true).getError()->getText(), "oops");
    EXPECT_EQ(Error(-9999, String("oops"), true).getError()->getText(), "oops");
    EXPECT_EQ(Error(9999, String(), true).getError()->getText(), "Error #");
}

// The message is the caller's text, whose placeholders take the caller's text.
TEST_F(ErrorTest, OfAnUnknownCodeTheTextFillsItself)
{
    EXPECT_EQ(Error(9999, String("a%1b"), true).getError()->getText(), "aa%1bb");
    EXPECT_EQ(Error(1, String("a%1b"), true).getError()->getText(), "a%1b");
}

TEST_F(ErrorTest, APushWithoutATextLeavesThePlaceholderEmpty)
{
    Error error;
    error.push(2, nullptr);
    EXPECT_EQ(error.getError()->getText(), " is undefined");
    error.push(3, nullptr);
    EXPECT_EQ(error.getError()->getText(), "Cannot assign value");
    error.push(9999, nullptr);
    EXPECT_EQ(error.getError()->getText(), "Error #");
}

TEST_F(ErrorTest, TextsAreFilledInWithoutTheirEscapes)
{
    const Error error(2, String("a^Tb\\n%%"), true);
    EXPECT_EQ(error.getError()->getText(), "a^Tb\\n%% is undefined");
}

// Values.

TEST_F(ErrorTest, AValueGivesItsTextAndStaysWithTheRecord)
{
    Error error;
    error.push(29, Variant("boom"), nullptr);
    EXPECT_EQ(error.getError()->getText(), "Uncaught exception boom");
    EXPECT_EQ(error.getCode(), 29);
    EXPECT_EQ(*error.getErrorData(), Variant("boom"));
    EXPECT_EQ(&error.getError()->getErrorData(), error.getErrorData());
    error.push(54, Variant(12.5), nullptr);
    EXPECT_EQ(error.getError()->getText(), "Uncaught JavaScript exception: 12.5");
    EXPECT_EQ(error.getErrorData()->getDouble(), 12.5);
    error.push(21, Variant(), nullptr);
    EXPECT_EQ(error.getError()->getText(), "undefined is not an object");
    error.push(9999, Variant("boom"), nullptr);
    EXPECT_EQ(error.getError()->getText(), "Error #boom");
}

TEST_F(ErrorTest, TheValueOfARecordIsACopy)
{
    Variant value("before");
    Error error;
    error.push(29, value, nullptr);
    value.setString("after");
    EXPECT_EQ(*error.getErrorData(), Variant("before"));
}

TEST_F(ErrorTest, ARecordMayTakeItsValueFromAnother)
{
    Error error;
    error.push(29, Variant("boom"), nullptr);
    error.push(54, *error.getErrorData(), nullptr);
    EXPECT_EQ(*error.getErrorData(), Variant("boom"));
    EXPECT_EQ(textsOf(error),
              texts({u"Uncaught JavaScript exception: boom", u"Uncaught exception boom"}));
}

TEST_F(ErrorTest, ARecordWithoutAValueMakesAnUndefinedOneAndKeepsIt)
{
    const Error error(2, String("x"), true);
    Variant *value = error.getErrorData();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->getType(), kUndefined);
    value->setInteger(7);
    EXPECT_EQ(error.getErrorData(), value);
    EXPECT_EQ(error.getError()->getErrorData(), Variant(7));
    const Error copy(error);
    EXPECT_EQ(copy.getErrorData(), value) << "it belongs to the shared record";
}

// Data.

TEST_F(ErrorTest, DataIsTakenOverNotCloned)
{
    Note::Behaviour behaviour;
    {
        auto *note = new Note(behaviour);
        Error error;
        error.push(2, String("x"), note, true);
        EXPECT_EQ(error.getError()->getData(), note);
        auto *second = new Note(behaviour);
        error.push(3, second);
        EXPECT_EQ(error.getError()->getData(), second);
        auto *third = new Note(behaviour);
        error.push(29, Variant("boom"), third);
        EXPECT_EQ(error.getError()->getData(), third);
        EXPECT_EQ(error.getError()->getNext()->getNext()->getData(), note);
        EXPECT_EQ(behaviour.living, 3);
    }
    EXPECT_EQ(behaviour.living, 0);
    EXPECT_EQ(behaviour.clones, 0);
}

TEST_F(ErrorTest, DataGoesWithTheLastHolder)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, new Note(behaviour));
    Error copy(error);
    error.erase();
    EXPECT_EQ(behaviour.living, 1);
    copy.erase();
    EXPECT_EQ(behaviour.living, 0);
}

// Several records.

TEST_F(ErrorTest, TheNewestRecordComesFirst)
{
    Error error;
    error.push(2, String("x"), nullptr, true);
    error.push(46, String("y"), nullptr, true);
    EXPECT_EQ(error.getCode(), 46);
    EXPECT_EQ(textsOf(error), texts({u"y is read only", u"x is undefined"}));
    EXPECT_EQ(error.getError()->getNext()->getCode(), 2);
}

TEST_F(ErrorTest, TheFullTextIsOneLineForEachRecord)
{
    Error error;
    pushText(error, "older");
    EXPECT_EQ(fullText(error), "older");
    pushText(error, "newer");
    EXPECT_EQ(fullText(error), "newer\n- older");
    pushText(error, "");
    EXPECT_EQ(fullText(error), "\n- newer\n- older");
}

TEST_F(ErrorTest, ADeepStackIsCopiedAndFreedWithoutRecursion)
{
    constexpr int depth = 300000;
    Error error;
    for (int count = 0; count < depth; ++count)
        error.push(1, String(), nullptr, false);
    Error copy(error);
    pushText(copy, "one more");
    error.erase();
    int records = 0;
    for (const ErrorInfo *record = copy.getError(); record != nullptr; record = record->getNext())
        ++records;
    EXPECT_EQ(records, depth + 1);
}
