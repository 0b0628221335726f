// SPDX-License-Identifier: MIT
// How copies share their records, and what a write to one of them does.
#include <tavrin/Error.h>

#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"
#include "values/ErrorSupport.h"

using namespace Tavrin;
using test::Note;
using test::pushText;
using test::texts;
using test::textsOf;

namespace {

using ErrorSharingTest = test::LibraryTest;

// As the interpreter reaches it.
struct OpenError : Error
{
    using Error::setFile;
};

} // namespace

TEST_F(ErrorSharingTest, CopiesShareTheirRecords)
{
    const Error error(2, String("x"), true);
    const Error copy(error);
    EXPECT_EQ(copy.getError(), error.getError());
    Error assigned;
    assigned = error;
    EXPECT_EQ(assigned.getError(), error.getError());
}

TEST_F(ErrorSharingTest, APushThroughOneLeavesTheOtherAsItWas)
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

TEST_F(ErrorSharingTest, ASoleOwnerKeepsItsRecordsInPlace)
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

TEST_F(ErrorSharingTest, ACopyThatIsWrittenCopiesAllOfEachRecord)
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

TEST_F(ErrorSharingTest, DataThatCannotBeClonedIsNotInTheCopy)
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

TEST_F(ErrorSharingTest, AssignmentGivesTheOldRecordsUp)
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

TEST_F(ErrorSharingTest, SelfAssignmentChangesNothing)
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

TEST_F(ErrorSharingTest, AMoveLeavesAnEmptyOne)
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

TEST_F(ErrorSharingTest, APushedRecordIsACopy)
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

TEST_F(ErrorSharingTest, ItsOwnRecordMayBePushedAgain)
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

TEST_F(ErrorSharingTest, AnotherErrorIsPushedWithItsOrderKept)
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

TEST_F(ErrorSharingTest, PushingAnEmptyOneChangesNothing)
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

TEST_F(ErrorSharingTest, AnErrorMayBePushedToItself)
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

TEST_F(ErrorSharingTest, MoreInfoGoesToTheNewestRecord)
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

TEST_F(ErrorSharingTest, MoreInfoForAnEmptyOneIsIgnored)
{
    OpenError error;
    error.setMoreInfo(String("the source"), 10, 20, 30, 40);
    error.setFile(String("the file"));
    EXPECT_EQ(error.getError(), nullptr);
}

TEST_F(ErrorSharingTest, MoreInfoEndsSharing)
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
