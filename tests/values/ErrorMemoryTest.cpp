// SPDX-License-Identifier: MIT
// Errors without memory. A push never throws: it leaves an Error that is right, or one that holds
// the fixed record.
#include <tavrin/Error.h>

#include <string>

#include <gtest/gtest.h>

#include <tavrin/Refcountable.h>
#include <tavrin/Variant.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/TestAllocator.h"
#include "values/ErrorSupport.h"

using namespace Tavrin;
using test::Allocates;
using test::Note;
using test::pushText;
using test::TestAllocator;
using test::texts;
using test::textsOf;
using test::underMemoryFailure;

namespace {

using ErrorMemoryTest = test::LibraryTest;

constexpr const char *longText = "a text that is long enough to take a block of its own";

struct OpenError : Error
{
    using Error::setFile;
};

struct Objects
{
    OpenError error;
    Error sharer;
    String text{longText};
    Variant value{longText};
};

struct Operation
{
    const char *name;
    void (*run)(Objects &objects);
    // The newest text when a value found no memory for its own, of which it says nothing.
    const char16_t *wordless = nullptr;
};

constexpr Operation pushes[] = {
    {"template", [](Objects &objects) { objects.error.push(2, String("x"), nullptr, true); }},
    {"long template", [](Objects &objects) { objects.error.push(2, objects.text, nullptr, true); }},
    {"text", [](Objects &objects) { objects.error.push(2, objects.text, nullptr, false); }},
    {"code", [](Objects &objects) { objects.error.push(7, nullptr); }},
    {"unknown code", [](Objects &objects) { objects.error.push(9999, nullptr); }},
    {"value", [](Objects &objects) { objects.error.push(29, Variant(12.5), nullptr); },
     u"Uncaught exception "},
    {"string value", [](Objects &objects) { objects.error.push(29, objects.value, nullptr); }},
    {"constructor",
     [](Objects &objects) { static_cast<Error &>(objects.error) = Error(2, objects.text, true); }},
    {"own record",
     [](Objects &objects) {
         objects.error.push(1, objects.text, nullptr, false);
         objects.error.push(*objects.error.getError());
     }},
    {"itself", [](Objects &objects) { objects.error.push(objects.error); }},
};

enum class State
{
    empty,
    soleOwner,
    shared,
};

Objects makeObjects(State state, Note::Behaviour &behaviour)
{
    Objects objects;
    if (state == State::empty)
        return objects;
    objects.error.push(2, String("first"), new Note(behaviour), true);
    objects.error.push(29, Variant("second"), new Note(behaviour));
    if (state == State::shared)
        objects.sharer = objects.error;
    return objects;
}

// The operation's own arguments may fail, too: then nothing has happened.
void expectPushToSurvive(const Operation &operation, State state)
{
    SCOPED_TRACE(testing::Message() << operation.name << ", state " << static_cast<int>(state));
    Note::Behaviour behaviour;
    {
        const auto before = textsOf(makeObjects(state, behaviour).error);
        Objects done = makeObjects(state, behaviour);
        operation.run(done);
        const auto after = textsOf(done.error);
        bool hasFailed = false;
        underMemoryFailure([&] { return makeObjects(state, behaviour); },
                           [&](Objects &objects) { operation.run(objects); },
                           [&](const Objects &objects, bool threw) {
                               auto now = textsOf(objects.error);
                               if (operation.wordless != nullptr &&
                                   now.front() == operation.wordless)
                                   now.front() = after.front();
                               if (now == texts({u"Out of memory"})) {
                                   hasFailed = true;
                                   EXPECT_EQ(objects.error.getCode(), -28);
                               } else {
                                   EXPECT_EQ(now, threw ? before : after);
                               }
                               if (state == State::shared) {
                                   EXPECT_EQ(textsOf(objects.sharer), before);
                               }
                           },
                           Allocates::perhaps);
        EXPECT_TRUE(hasFailed || (state == State::empty && after.empty())) << "nothing was tested";
    }
    EXPECT_EQ(behaviour.living, 0);
}

} // namespace

TEST_F(ErrorMemoryTest, APushThatRunsOutOfMemoryLeavesTheFixedError)
{
    for (const Operation &push : pushes)
        for (const State state : {State::empty, State::soleOwner, State::shared})
            expectPushToSurvive(push, state);
}

TEST_F(ErrorMemoryTest, DataGoesWhenThereIsNowhereToKeepIt)
{
    Note::Behaviour behaviour;
    Error error;
    {
        const test::WithoutBlockCache cacheOff;
        auto *note = new Note(behaviour);
        TestAllocator::shared().failRequests(1, TestAllocator::forever);
        error.push(2, note);
        TestAllocator::shared().stopFailing();
    }
    EXPECT_EQ(error.getCode(), -28);
    EXPECT_EQ(behaviour.living, 0);
}

TEST_F(ErrorMemoryTest, TheFixedErrorIsNotWritten)
{
    OpenError error;
    {
        const test::WithoutBlockCache cacheOff;
        TestAllocator::shared().failRequests(1, TestAllocator::forever);
        error.push(2, nullptr);
        const Error copy(error);
        EXPECT_EQ(copy.getCode(), -28);
        EXPECT_EQ(copy.getErrorData()->getType(), kUndefined);
        TestAllocator::shared().stopFailing();
    }
    pushText(error, "later");
    error.setMoreInfo(String("source"), 1, 2, 3, 4);
    error.setFile(String("file"));
    EXPECT_EQ(textsOf(error), texts({u"Out of memory"}));
    EXPECT_EQ(error.getCode(), -28);
    EXPECT_EQ(error.getError()->getNext(), nullptr);
    EXPECT_EQ(error.getError()->getLine(), -1);
    EXPECT_EQ(error.getError()->getSource(), "");
    EXPECT_EQ(error.getError()->getFile(), "");
    error.erase();
    pushText(error, "again");
    EXPECT_EQ(textsOf(error), texts({u"again"}));
}

TEST_F(ErrorMemoryTest, MoreInfoThatRunsOutOfMemoryChangesNothing)
{
    Note::Behaviour behaviour;
    for (const State state : {State::soleOwner, State::shared}) {
        String source(longText);
        source.makeUnique(); // so that it is copied
        const auto expectSame = [&](const Objects &objects, bool threw, bool isSet) {
            EXPECT_FALSE(threw);
            EXPECT_EQ(textsOf(objects.error),
                      texts({u"Uncaught exception second", u"first is undefined"}));
            if (!isSet) {
                EXPECT_EQ(objects.error.getError()->getLine(), -1);
            }
            if (state == State::shared) {
                EXPECT_EQ(objects.sharer.getError()->getLine(), -1);
            }
        };
        underMemoryFailure([&] { return makeObjects(state, behaviour); },
                           [&](Objects &objects) { objects.error.setMoreInfo(source, 1, 2, 3, 4); },
                           [&](const Objects &objects, bool threw) {
                               const bool isSet = objects.error.getError()->getSource() == longText;
                               EXPECT_EQ(objects.error.getError()->getLine(), isSet ? 1 : -1);
                               expectSame(objects, threw, isSet);
                           });
        underMemoryFailure(
            [&] { return makeObjects(state, behaviour); },
            [&](Objects &objects) { objects.error.setFile(source); },
            [&](const Objects &objects, bool threw) { expectSame(objects, threw, false); });
    }
    EXPECT_EQ(behaviour.living, 0);
}

TEST_F(ErrorMemoryTest, AFullTextThatRunsOutOfMemoryLeavesTheTextAsItWas)
{
    Note::Behaviour behaviour;
    const Objects objects = makeObjects(State::soleOwner, behaviour);
    underMemoryFailure(
        [] { return String("before"); }, [&](String &text) { objects.error.getFullText(text); },
        [](const String &text, bool failed) {
            EXPECT_EQ(text, failed ? "before" : "Uncaught exception second\n- first is undefined");
        });
}

TEST_F(ErrorMemoryTest, AValueThatFindsNoMemoryIsTheThreadsSpareOne)
{
    underMemoryFailure([] { return Error(2, String("x"), true); },
                       [](Error &error) {
                           Variant *value = error.getErrorData();
                           ASSERT_NE(value, nullptr);
                           EXPECT_EQ(value->getType(), kUndefined);
                       },
                       [](const Error &error, bool threw) {
                           EXPECT_FALSE(threw);
                           error.getErrorData()->setInteger(7);
                           EXPECT_EQ(error.getErrorData()->getInteger(), 7);
                       });
}

TEST_F(ErrorMemoryTest, CopyAssignmentAndEraseNeedNoMemory)
{
    Note::Behaviour behaviour;
    underMemoryFailure([&] { return makeObjects(State::soleOwner, behaviour); },
                       [](Objects &objects) {
                           const Error copy(objects.error);
                           objects.sharer = copy;
                           objects.error.erase();
                           EXPECT_EQ(objects.sharer.getCode(), 29);
                       },
                       [](const Objects &objects, bool threw) {
                           EXPECT_FALSE(threw);
                           EXPECT_EQ(objects.error.getCode(), 0);
                       },
                       Allocates::perhaps);
    EXPECT_EQ(behaviour.living, 0);
}
