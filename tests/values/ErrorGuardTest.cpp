// SPDX-License-Identifier: MIT
// Errors while code of the host runs in between, and those that such code leaves fixed.
#include <tavrin/Error.h>

#include <new>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "containers/HostLocalizer.h"
#include "support/LibraryTest.h"
#include "support/ValueText.h"
#include "text/StringSupport.h"
#include "values/ErrorSupport.h"

using namespace Tavrin;
using test::Current;
using test::fullText;
using test::HostLocalizer;
using test::Note;
using test::pushText;
using test::texts;
using test::textsOf;

namespace {

using ErrorGuardTest = test::LibraryTest;

// As the interpreter reaches it.
struct OpenError : Error
{
    using Error::setFile;
};

} // namespace

TEST_F(ErrorGuardTest, WhatALocalizerThrowsBecomesTheFixedError)
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

TEST_F(ErrorGuardTest, WhatAConstructorMeetsBecomesTheFixedError)
{
    HostLocalizer host;
    host.onGetErrorMsg = [](int, String &) -> bool { throw 7; };
    const Current current(host);
    const Error error(2, String("x"), true);
    EXPECT_EQ(error.getCode(), -29);
}

TEST_F(ErrorGuardTest, WhatACloneThrowsBecomesTheFixedError)
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

TEST_F(ErrorGuardTest, WhatACloneThrowsKeepsMoreInfoOut)
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

TEST_F(ErrorGuardTest, ALocalizerMayPushToTheErrorThatItWords)
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

TEST_F(ErrorGuardTest, ALocalizerMayEraseTheErrorThatItWords)
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

TEST_F(ErrorGuardTest, WhatIsPushedMayComeFromARecordThatGoesMeanwhile)
{
    HostLocalizer host;
    Error error;
    host.onGetErrorMsg = [&](int, String &) {
        error.erase();
        return false;
    };
    const Current current(host);
    pushText(error, "a text that takes a block of its own");
    error.push(2, error.getError()->getText(), nullptr, true);
    EXPECT_EQ(textsOf(error), texts({u"a text that takes a block of its own is undefined"}));
    error.erase();
    error.push(1, Variant("a value that takes a block of its own"), nullptr);
    error.push(29, *error.getErrorData(), nullptr);
    EXPECT_EQ(textsOf(error), texts({u"Uncaught exception a value that takes a block of its own"}));
}

TEST_F(ErrorGuardTest, ACloneMayEraseTheErrorWhoseRecordIsPushed)
{
    Note::Behaviour behaviour;
    Error error;
    error.push(1, String("a text that takes a block of its own"), new Note(behaviour), false);
    behaviour.onClone = [&] { error.erase(); };
    error.push(*error.getError());
    EXPECT_EQ(textsOf(error), texts({u"a text that takes a block of its own"}));
    error.push(error);
    EXPECT_EQ(textsOf(error), texts({u"a text that takes a block of its own"}));
    EXPECT_EQ(behaviour.living, 1);
    Error other;
    other.push(2, new Note(behaviour));
    behaviour.onClone = [&] { other.erase(); };
    error.push(other);
    EXPECT_EQ(textsOf(error).size(), 2u);
    EXPECT_EQ(other.getError(), nullptr);
    error.erase();
    EXPECT_EQ(behaviour.living, 0);
}

TEST_F(ErrorGuardTest, OfTwoFailuresTheFirstStaysInSight)
{
    HostLocalizer host;
    Error error;
    host.onGetErrorMsg = [&](int code, String &) -> bool {
        if (code == 2)
            error.push(3, nullptr);
        if (code == 3)
            throw std::bad_alloc();
        throw 7;
    };
    const Current current(host);
    error.push(2, String("x"), nullptr, true);
    EXPECT_EQ(textsOf(error), texts({u"Out of memory"}));
}

TEST_F(ErrorGuardTest, AFailureWithinAPushStaysInSight)
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

TEST_F(ErrorGuardTest, ACloneMayPushToTheErrorThatIsCopied)
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

TEST_F(ErrorGuardTest, ACloneMayBringTheErrorThatIsCopiedToItsFixedState)
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

TEST_F(ErrorGuardTest, DataThatGoesMayUseTheErrorThatItWasIn)
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

TEST_F(ErrorGuardTest, LaterPushesToAFixedErrorAreIgnored)
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

TEST_F(ErrorGuardTest, AFixedRecordIsNotWritten)
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

TEST_F(ErrorGuardTest, TheValueOfAFixedRecordIsNotKept)
{
    const Error error = uncaughtError();
    Variant *value = error.getErrorData();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->getType(), kUndefined);
    value->setInteger(7);
    EXPECT_EQ(error.getErrorData()->getType(), kUndefined);
}

TEST_F(ErrorGuardTest, AFixedErrorServesAgainAfterErase)
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

TEST_F(ErrorGuardTest, AFixedRecordMayBePushedToAnother)
{
    Error error;
    pushText(error, "older");
    error.push(uncaughtError());
    EXPECT_EQ(textsOf(error), texts({u"Uncaught Exception", u"older"}));
    error.setMoreInfo(String(), 10, 20, 30, 40);
    EXPECT_EQ(error.getError()->getLine(), 10) << "the copy is an ordinary record";
    EXPECT_EQ(fullText(uncaughtError()), "Uncaught Exception");
}

TEST(ErrorGuardLife, AFixedErrorMayOutliveTheLibrary)
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
