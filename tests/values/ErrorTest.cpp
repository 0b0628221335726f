// SPDX-License-Identifier: MIT
// The stack of records and how copies share it.
#include <tavrin/Error.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "text/StringSupport.h"
#include "values/ErrorSupport.h"

using namespace Tavrin;
using test::Current;
using test::HostLocalizer;
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

// As the interpreter reaches it.
struct OpenError : Error
{
    using Error::setFile;
};

String fullTextOf(const Error &error)
{
    String text("before");
    error.getFullText(text);
    return text;
}

} // namespace

// Empty ones.

TEST_F(ErrorTest, AFreshOneIsEmpty)
{
    const Error error;
    EXPECT_EQ(error.getCode(), 0);
    EXPECT_EQ(error.getError(), nullptr);
    EXPECT_EQ(error.getErrorData(), nullptr);
    EXPECT_EQ(fullTextOf(error), "");
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
    EXPECT_EQ(fullTextOf(error), "older");
    pushText(error, "newer");
    EXPECT_EQ(fullTextOf(error), "newer\n- older");
    pushText(error, "");
    EXPECT_EQ(fullTextOf(error), "\n- newer\n- older");
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

// Sharing.

TEST_F(ErrorTest, CopiesShareTheirRecords)
{
    const Error error(2, String("x"), true);
    const Error copy(error);
    EXPECT_EQ(copy.getError(), error.getError());
    Error assigned;
    assigned = error;
    EXPECT_EQ(assigned.getError(), error.getError());
}

TEST_F(ErrorTest, APushThroughOneLeavesTheOtherAsItWas)
{
    Error error(2, String("x"), true);
    Error copy(error);
    pushText(error, "newer");
    EXPECT_EQ(textsOf(error), texts({u"newer", u"x is undefined"}));
    EXPECT_EQ(textsOf(copy), texts({u"x is undefined"}));
    pushText(copy, "other");
    EXPECT_EQ(textsOf(copy), texts({u"other", u"x is undefined"}));
    EXPECT_EQ(textsOf(error), texts({u"newer", u"x is undefined"}));
}

TEST_F(ErrorTest, ASoleOwnerKeepsItsRecordsInPlace)
{
    Error error(2, String("x"), true);
    const ErrorInfo *record = error.getError();
    pushText(error, "newer");
    EXPECT_EQ(error.getError()->getNext(), record);
    {
        const Error passing(error);
    }
    pushText(error, "newest");
    EXPECT_EQ(error.getError()->getNext()->getNext(), record);
}

TEST_F(ErrorTest, ACopyThatIsWrittenCopiesAllOfEachRecord)
{
    Note::Behaviour behaviour;
    OpenError error;
    error.push(29, Variant("boom"), new Note(behaviour, 7));
    error.setMoreInfo(String("the source"), 1, 2, 3, 4);
    error.setFile(String("the file"));
    Error copy(error);
    pushText(copy, "newer");
    const ErrorInfo &record = *copy.getError()->getNext();
    const ErrorInfo &original = *error.getError();
    EXPECT_NE(&record, &original);
    EXPECT_EQ(record.getNext(), nullptr);
    EXPECT_EQ(record.getCode(), 29);
    EXPECT_EQ(record.getText(), "Uncaught exception boom");
    EXPECT_EQ(record.getFile(), "the file");
    EXPECT_EQ(record.getSource(), "the source");
    EXPECT_EQ(record.getLine(), 1);
    EXPECT_EQ(record.getOffset(), 2);
    EXPECT_EQ(record.getColumn(), 3);
    EXPECT_EQ(record.getLength(), 4);
    EXPECT_NE(&record.getErrorData(), &original.getErrorData());
    EXPECT_EQ(record.getErrorData(), Variant("boom"));
    ASSERT_NE(record.getData(), nullptr);
    EXPECT_NE(record.getData(), original.getData());
    EXPECT_EQ(static_cast<Note *>(record.getData())->value, 7);
    EXPECT_TRUE(behaviour.lastFlag);
    EXPECT_EQ(behaviour.clones, 1);
    EXPECT_EQ(behaviour.living, 2);
}

TEST_F(ErrorTest, DataThatCannotBeClonedIsNotInTheCopy)
{
    Note::Behaviour behaviour;
    behaviour.cloneCode = 44;
    Error error;
    error.push(2, new Note(behaviour));
    Error copy(error);
    pushText(copy, "newer");
    EXPECT_EQ(textsOf(copy), texts({u"newer", u" is undefined"}));
    EXPECT_EQ(copy.getError()->getNext()->getData(), nullptr);
    EXPECT_NE(error.getError()->getData(), nullptr);
    EXPECT_EQ(behaviour.living, 1);
}

TEST_F(ErrorTest, AssignmentGivesTheOldRecordsUp)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, new Note(behaviour));
    const Error other(3, String(), true);
    error = other;
    EXPECT_EQ(behaviour.living, 0);
    EXPECT_EQ(error.getError(), other.getError());
    error = Error();
    EXPECT_EQ(error.getCode(), 0);
    EXPECT_EQ(other.getCode(), 3);
}

TEST_F(ErrorTest, SelfAssignmentChangesNothing)
{
    Error error(2, String("x"), true);
    const Error &same = error;
    error = same;
    EXPECT_EQ(textsOf(error), texts({u"x is undefined"}));
    Error &moved = error;
    error = std::move(moved);
    EXPECT_EQ(textsOf(error), texts({u"x is undefined"}));
    const Error sharing(error);
    error = sharing;
    EXPECT_EQ(error.getError(), sharing.getError());
}

TEST_F(ErrorTest, AMoveLeavesAnEmptyOne)
{
    Error error(2, String("x"), true);
    const ErrorInfo *record = error.getError();
    Error moved(std::move(error));
    EXPECT_EQ(moved.getError(), record);
    EXPECT_EQ(error.getError(), nullptr); // NOLINT(bugprone-use-after-move)
    Note::Behaviour behaviour;
    error.push(3, new Note(behaviour));
    error = std::move(moved);
    EXPECT_EQ(error.getError(), record);
    EXPECT_EQ(moved.getError(), nullptr); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(behaviour.living, 0);
}

// Pushing records.

TEST_F(ErrorTest, APushedRecordIsACopy)
{
    Error source(2, String("x"), true);
    source.setMoreInfo(String("the source"), 1, 2, 3, 4);
    pushText(source, "newest of the source");
    Error error;
    pushText(error, "older");
    error.push(*source.getError()->getNext());
    EXPECT_EQ(textsOf(error), texts({u"x is undefined", u"older"}));
    EXPECT_EQ(error.getError()->getLine(), 1);
    EXPECT_EQ(error.getError()->getSource(), "the source");
    EXPECT_NE(error.getError(), source.getError()->getNext());
}

TEST_F(ErrorTest, ItsOwnRecordMayBePushedAgain)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, String("x"), new Note(behaviour), true);
    pushText(error, "newer");
    error.push(*error.getError()->getNext());
    EXPECT_EQ(textsOf(error), texts({u"x is undefined", u"newer", u"x is undefined"}));
    EXPECT_EQ(behaviour.living, 2);
    const Error sharing(error);
    error.push(*error.getError());
    EXPECT_EQ(textsOf(error).size(), 4u);
    EXPECT_EQ(textsOf(sharing).size(), 3u);
}

TEST_F(ErrorTest, AnotherErrorIsPushedWithItsOrderKept)
{
    Error error, other;
    pushText(error, "1");
    pushText(error, "2");
    pushText(other, "a");
    pushText(other, "b");
    pushText(other, "c");
    error.push(other);
    EXPECT_EQ(textsOf(error), texts({u"c", u"b", u"a", u"2", u"1"}));
    EXPECT_EQ(textsOf(other), texts({u"c", u"b", u"a"}));
    EXPECT_NE(error.getError(), other.getError());
}

TEST_F(ErrorTest, PushingAnEmptyOneChangesNothing)
{
    Error error;
    error.push(Error());
    EXPECT_EQ(error.getError(), nullptr);
    pushText(error, "1");
    const ErrorInfo *record = error.getError();
    const Error sharing(error);
    error.push(Error());
    EXPECT_EQ(error.getError(), record);
    Error empty;
    empty.push(error);
    EXPECT_EQ(textsOf(empty), texts({u"1"}));
}

TEST_F(ErrorTest, AnErrorMayBePushedToItself)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(error);
    EXPECT_EQ(error.getError(), nullptr);
    error.push(1, String("1"), new Note(behaviour), false);
    pushText(error, "2");
    error.push(error);
    EXPECT_EQ(textsOf(error), texts({u"2", u"1", u"2", u"1"}));
    EXPECT_EQ(behaviour.living, 2);
    const Error sharing(error);
    error.push(sharing);
    EXPECT_EQ(textsOf(error).size(), 8u);
    EXPECT_EQ(textsOf(sharing).size(), 4u);
    error.erase();
    EXPECT_EQ(behaviour.living, 2);
}

// Places.

TEST_F(ErrorTest, MoreInfoGoesToTheNewestRecord)
{
    Error error;
    pushText(error, "older");
    pushText(error, "newer");
    error.setMoreInfo(String("the source"), 10, 20, 30, 65535);
    const ErrorInfo &newest = *error.getError();
    EXPECT_EQ(newest.getSource(), "the source");
    EXPECT_EQ(newest.getLine(), 10);
    EXPECT_EQ(newest.getOffset(), 20);
    EXPECT_EQ(newest.getColumn(), 30);
    EXPECT_EQ(newest.getLength(), 65535);
    EXPECT_EQ(newest.getText(), "newer");
    EXPECT_EQ(newest.getNext()->getLine(), -1);
    error.setMoreInfo(String(), -1, -1, -1, 0);
    EXPECT_EQ(newest.getSource(), "");
    EXPECT_EQ(newest.getLine(), -1);
}

TEST_F(ErrorTest, MoreInfoForAnEmptyOneIsIgnored)
{
    OpenError error;
    error.setMoreInfo(String("the source"), 10, 20, 30, 40);
    error.setFile(String("the file"));
    EXPECT_EQ(error.getError(), nullptr);
}

TEST_F(ErrorTest, MoreInfoEndsSharing)
{
    OpenError error;
    pushText(error, "text");
    const Error copy(error);
    error.setMoreInfo(error.getError()->getText(), 10, 20, 30, 40);
    EXPECT_EQ(error.getError()->getSource(), "text");
    EXPECT_EQ(copy.getError()->getLine(), -1);
    const Error second(error);
    error.setFile(error.getError()->getSource());
    EXPECT_EQ(error.getError()->getFile(), "text");
    EXPECT_EQ(error.getError()->getLine(), 10);
    EXPECT_EQ(second.getError()->getFile(), "");
}

// Code of the host in between.

TEST_F(ErrorTest, WhatALocalizerThrowsBecomesTheFixedError)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int, String &) -> bool { throw std::runtime_error("broken"); };
    Note::Behaviour behaviour;
    Error error;
    pushText(error, "older");
    const Error copy(error);
    {
        const Current current(host);
        error.push(2, String("x"), new Note(behaviour), true);
    }
    EXPECT_EQ(textsOf(error), texts({u"Uncaught Exception"}));
    EXPECT_EQ(error.getCode(), -29);
    EXPECT_EQ(textsOf(copy), texts({u"older"}));
    EXPECT_EQ(behaviour.living, 0);
}

TEST_F(ErrorTest, WhatAConstructorMeetsBecomesTheFixedError)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int, String &) -> bool { throw 7; };
    const Current current(host);
    const Error error(2, String("x"), true);
    EXPECT_EQ(error.getCode(), -29);
}

TEST_F(ErrorTest, WhatACloneThrowsBecomesTheFixedError)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, new Note(behaviour));
    Error copy(error);
    behaviour.onClone = [] { throw 7; };
    pushText(copy, "newer");
    EXPECT_EQ(copy.getCode(), -29);
    EXPECT_EQ(error.getCode(), 2);
    Error third;
    third.push(*error.getError());
    EXPECT_EQ(third.getCode(), -29);
    third.erase();
    third.push(error);
    EXPECT_EQ(third.getCode(), -29);
    EXPECT_EQ(behaviour.living, 1);
}

TEST_F(ErrorTest, WhatACloneThrowsKeepsMoreInfoOut)
{
    Note::Behaviour behaviour;
    OpenError error;
    error.push(2, new Note(behaviour));
    const Error copy(error);
    behaviour.onClone = [] { throw 7; };
    error.setMoreInfo(String("the source"), 10, 20, 30, 40);
    error.setFile(String("the file"));
    EXPECT_EQ(error.getCode(), 2);
    EXPECT_EQ(error.getError()->getLine(), -1);
    EXPECT_EQ(error.getError(), copy.getError());
}

TEST_F(ErrorTest, ALocalizerMayPushToTheErrorThatItWords)
{
    HostLocalizer host;
    Error error;
    host.onGetErrorMsg = [&](int code, String &) {
        if (code == 2)
            pushText(error, "from within");
        return false;
    };
    const Current current(host);
    error.push(2, String("x"), nullptr, true);
    EXPECT_EQ(textsOf(error), texts({u"x is undefined", u"from within"}));
}

TEST_F(ErrorTest, ALocalizerMayEraseTheErrorThatItWords)
{
    HostLocalizer host;
    Error error;
    pushText(error, "older");
    host.onGetErrorMsg = [&](int, String &) {
        error.erase();
        return false;
    };
    const Current current(host);
    error.push(2, String("x"), nullptr, true);
    EXPECT_EQ(textsOf(error), texts({u"x is undefined"}));
}

TEST_F(ErrorTest, AFailureWithinAPushStaysInSight)
{
    HostLocalizer host;
    Error error;
    host.onGetErrorMsg = [&](int code, String &) {
        if (code == 3)
            throw 7;
        error.push(3, nullptr);
        return false;
    };
    const Current current(host);
    error.push(2, String("x"), nullptr, true);
    EXPECT_EQ(textsOf(error), texts({u"Uncaught Exception"}));
}

TEST_F(ErrorTest, ACloneMayPushToTheErrorThatIsCopied)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, new Note(behaviour));
    const Error copy(error);
    bool isFirst = true;
    behaviour.onClone = [&] {
        if (std::exchange(isFirst, false))
            pushText(error, "from within");
    };
    pushText(error, "newer");
    EXPECT_EQ(textsOf(error), texts({u"newer", u"from within", u" is undefined"}));
    EXPECT_EQ(textsOf(copy), texts({u" is undefined"}));
    EXPECT_EQ(behaviour.living, 2);
}

TEST_F(ErrorTest, ACloneMayBringTheErrorThatIsCopiedToItsFixedState)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, new Note(behaviour));
    const Error copy(error);
    bool isFirst = true;
    behaviour.onClone = [&] {
        if (!std::exchange(isFirst, false))
            throw 7;
        pushText(error, "from within");
    };
    pushText(error, "newer");
    EXPECT_EQ(error.getCode(), -29);
    error.setMoreInfo(String("the source"), 10, 20, 30, 40);
    EXPECT_EQ(error.getError()->getLine(), -1);
    EXPECT_EQ(textsOf(copy), texts({u" is undefined"}));
}

TEST_F(ErrorTest, DataThatGoesMayUseTheErrorThatItWasIn)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(2, new Note(behaviour));
    behaviour.onDestroy = [&] {
        EXPECT_EQ(error.getError(), nullptr);
        pushText(error, "from the end");
    };
    error.erase();
    behaviour.onDestroy = nullptr;
    EXPECT_EQ(textsOf(error), texts({u"from the end"}));
}

// The fixed errors.

namespace {

// An Error that holds the fixed record for what a host throws.
Error uncaughtError()
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int, String &) -> bool { throw 7; };
    const Current current(host);
    return Error(2, String("x"), true);
}

} // namespace

TEST_F(ErrorTest, LaterPushesToAFixedErrorAreIgnored)
{
    Note::Behaviour behaviour;
    Error error = uncaughtError();
    error.push(2, String("x"), new Note(behaviour), true);
    error.push(29, Variant("boom"), new Note(behaviour));
    error.push(3, new Note(behaviour));
    const Error other(4, String(), true);
    error.push(*other.getError());
    error.push(other);
    error.push(error);
    EXPECT_EQ(textsOf(error), texts({u"Uncaught Exception"}));
    EXPECT_EQ(error.getCode(), -29);
    EXPECT_EQ(behaviour.living, 0) << "data is taken over all the same";
}

TEST_F(ErrorTest, AFixedRecordIsNotWritten)
{
    OpenError error;
    static_cast<Error &>(error) = uncaughtError();
    error.setMoreInfo(String("the source"), 10, 20, 30, 40);
    error.setFile(String("the file"));
    const ErrorInfo &record = *error.getError();
    EXPECT_EQ(record.getSource(), "");
    EXPECT_EQ(record.getFile(), "");
    EXPECT_EQ(record.getLine(), -1);
    EXPECT_EQ(record.getOffset(), -1);
    EXPECT_EQ(record.getColumn(), -1);
    EXPECT_EQ(record.getLength(), 0);
    EXPECT_EQ(&record, uncaughtError().getError()) << "all share it";
}

TEST_F(ErrorTest, TheValueOfAFixedRecordIsNotKept)
{
    const Error error = uncaughtError();
    Variant *value = error.getErrorData();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->getType(), kUndefined);
    value->setInteger(7);
    EXPECT_EQ(error.getErrorData()->getType(), kUndefined);
}

TEST_F(ErrorTest, AFixedErrorServesAgainAfterErase)
{
    Error error = uncaughtError();
    error.erase();
    pushText(error, "again");
    EXPECT_EQ(textsOf(error), texts({u"again"}));
    error = uncaughtError();
    error = Error();
    pushText(error, "again");
    EXPECT_EQ(textsOf(error), texts({u"again"}));
}

TEST_F(ErrorTest, AFixedRecordMayBePushedToAnother)
{
    Error error;
    pushText(error, "older");
    error.push(uncaughtError());
    EXPECT_EQ(textsOf(error), texts({u"Uncaught Exception", u"older"}));
    error.setMoreInfo(String(), 10, 20, 30, 40);
    EXPECT_EQ(error.getError()->getLine(), 10) << "the copy is an ordinary record";
    EXPECT_EQ(fullTextOf(uncaughtError()), "Uncaught Exception");
}

TEST(ErrorLife, AFixedErrorMayOutliveTheLibrary)
{
    Error error;
    {
        test::LibrarySession session;
        error = uncaughtError();
        EXPECT_EQ(error.getCode(), -29);
    }
    EXPECT_EQ(error.getCode(), 0);
    EXPECT_EQ(error.getError(), nullptr);
    error.push(2, nullptr);
    EXPECT_EQ(error.getCode(), 0);
    Error outside;
    outside.push(2, nullptr);
    EXPECT_EQ(outside.getCode(), 0);
    test::LibrarySession session;
    EXPECT_EQ(error.getCode(), -29);
    EXPECT_EQ(outside.getCode(), -28) << "there was no memory outside";
    outside.erase();
    error.erase();
}
