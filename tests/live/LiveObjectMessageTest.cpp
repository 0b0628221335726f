// SPDX-License-Identifier: MIT
// Properties whose values live with listeners.
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Ear;
using test::fullText;
using test::liveEar;
using test::make;
using test::Plain;

namespace {

using LiveObjectMessageTest = test::LibraryTest;

constexpr int id = 5;

test::Owned<Plain> objectWith(int type, const char *className = "Plain")
{
    auto object = make<Plain>(className);
    EXPECT_EQ(object->defineIDForName("far", id, type | kPropertyByMessage), 0);
    return object;
}

} // namespace

// --- Reading -------------------------------------------------------------------------------------

TEST_F(LiveObjectMessageTest, ReadsFromAListener)
{
    const auto object = objectWith(kInfoReadWrite);
    Error error;
    Ear ear = liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getThis(), object.get());
        EXPECT_EQ(message.getPropertyID(), id);
        EXPECT_EQ(message.getExtError(), &error);
        EXPECT_FALSE(message.getData()->isDefined());
        *message.getData() = "there";
        return true;
    });
    object->addListener(ear, askGet);
    Variant out;
    EXPECT_EQ(object->get(id, out, &error), 0);
    EXPECT_EQ(out, Variant("there"));
    EXPECT_EQ(error.getError(), nullptr);
}

TEST_F(LiveObjectMessageTest, AnswersTheCodeOfTheListener)
{
    const auto object = objectWith(kInfoReadOnlyMethod);
    Ear ear = liveEar([](LiveMessage &message) {
        *message.getData() = "there";
        message.getError() = 52;
        return true;
    });
    object->addListener(ear, askGet);
    Variant out;
    Error error;
    EXPECT_EQ(object->get(id, out, &error), 52);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(error), "I/O error");
}

TEST_F(LiveObjectMessageTest, IsUndefinedIfNobodyAnswers)
{
    const auto object = objectWith(kInfoReadWrite);
    Variant out;
    EXPECT_EQ(object->get(id, out, nullptr), 2);
    Ear ear = liveEar([](LiveMessage &) { return false; });
    object->addListener(ear, askGet);
    Error error;
    EXPECT_EQ(object->get(id, out, &error), 2);
    EXPECT_EQ(fullText(error), "far is undefined");
}

// The property remembers the value, and shows it once it is a plain one.
TEST_F(LiveObjectMessageTest, KeepsTheLastValueInTheProperty)
{
    struct Showing : LiveProperty
    {
        using LiveProperty::getValue;
    };
    const auto object = objectWith(kInfoReadWrite);
    Ear ear = liveEar([](LiveMessage &message) {
        *message.getData() = 12;
        return true;
    });
    object->addListener(ear, askGet);
    Variant out;
    object->get(id, out, nullptr);
    Variant kept;
    EXPECT_EQ(object->findProperty(id)->get(kept), 0);
    EXPECT_EQ(kept, Variant(12));
}

// --- Writing -------------------------------------------------------------------------------------

TEST_F(LiveObjectMessageTest, WritesToAListener)
{
    const auto object = objectWith(kInfoReadWrite);
    Variant written;
    int code = 0;
    Ear ear = liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getPropertyID(), id);
        written = *message.getData();
        message.getError() = code;
        return true;
    });
    object->addListener(ear, askPut);
    Error error;
    EXPECT_EQ(object->put(id, "new", &error), 0);
    EXPECT_EQ(written, Variant("new"));
    code = 2;
    EXPECT_EQ(object->put(id, "new", &error), 0);
    code = 52;
    EXPECT_EQ(object->put(id, "new", &error), 52);
    EXPECT_EQ(fullText(error), "I/O error");
}

TEST_F(LiveObjectMessageTest, AWriteThatNobodyAnswersIsUndefined)
{
    const auto object = objectWith(kInfoReadWrite);
    Error error;
    EXPECT_EQ(object->put(id, "new", &error), 2);
    EXPECT_EQ(fullText(error), "far is undefined");
}

TEST_F(LiveObjectMessageTest, AReadOnlyOneStaysOpenForItsFirstWrite)
{
    const auto object = objectWith(kInfoReadOnly);
    Ear ear = liveEar([](LiveMessage &) { return true; });
    object->addListener(ear, askPut);
    EXPECT_EQ(object->put(id, 1, nullptr), 0);
    EXPECT_EQ(object->put(id, 1, nullptr), 0);
}

// --- Calling -------------------------------------------------------------------------------------

TEST_F(LiveObjectMessageTest, CallsAListener)
{
    const auto object = objectWith(kInfoMethod);
    const auto same = make<Plain>();
    Ear ear = liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getThis(), same.get());
        EXPECT_EQ(message.getPropertyID(), id);
        EXPECT_EQ(message.getArgs().length(), 2U);
        *message.getData() = message.getArgs()[1];
        return true;
    });
    object->addListener(ear, askCall);
    Variant result;
    EXPECT_EQ(object->apply(*same, id, test::arrayOfValues(1, "two"), result, nullptr), 0);
    EXPECT_EQ(result, Variant("two"));
}

// D-247
TEST_F(LiveObjectMessageTest, TheClassDecidesWhereTheListenerDoesNot)
{
    struct Row
    {
        const char *name;
        bool isSameClass;
        bool isHandled;
        int error;
        int code;
        bool hasResult;
    };
    const Row rows[] = {
        {"same class, done", true, true, 0, 0, true},
        {"same class, unknown to the listener", true, true, 2, 0, false},
        {"same class, failed", true, true, 52, 52, false},
        {"same class, nobody", true, false, 0, 0, false},
        {"other class, done", false, true, 0, 0, true},
        {"other class, unknown to the listener", false, true, 2, 26, false},
        {"other class, failed", false, true, 52, 52, false},
        {"other class, nobody", false, false, 0, 26, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto object = objectWith(kInfoMethod);
        const auto other = make<Plain>(row.isSameClass ? "Plain" : "Other");
        Ear ear = liveEar([&](LiveMessage &message) {
            *message.getData() = 7;
            message.getError() = row.error;
            return row.isHandled;
        });
        object->addListener(ear, askCall);
        Variant result;
        EXPECT_EQ(object->apply(*other, id, Array(), result, nullptr), row.code);
        EXPECT_EQ(result.isDefined(), row.hasResult);
    }
}

TEST_F(LiveObjectMessageTest, APropertyIsNotCalled)
{
    const auto object = objectWith(kInfoReadWrite);
    Ear ear = liveEar([](LiveMessage &) { return true; });
    object->addListener(ear, askCall);
    Variant result;
    EXPECT_EQ(object->call(id, Array(), result, nullptr), 24);
    EXPECT_TRUE(ear.heard.empty());
}

// --- Listeners that do more ----------------------------------------------------------------------

TEST_F(LiveObjectMessageTest, AListenerMayDeleteThePropertyAndDropTheObject)
{
    for (const int message : {askGet, askPut, askCall}) {
        auto *object = new Plain;
        object->defineIDForName("far", id, kInfoReadWriteMethod | kPropertyByMessage);
        Ear ear = liveEar([&](LiveMessage &asked) {
            *asked.getData() = 12;
            object->deleteID(id);
            object->release();
            return true;
        });
        object->addListener(ear, message);
        Variant out;
        Error error;
        if (message == askGet)
            EXPECT_EQ(object->get(id, out, &error), 0);
        else if (message == askPut)
            EXPECT_EQ(object->put(id, 1, &error), 0);
        else
            EXPECT_EQ(object->call(id, Array(), out, &error), 0);
        EXPECT_EQ(Plain::living, 0);
    }
}

TEST_F(LiveObjectMessageTest, AListenerThatThrowsGivesACode)
{
    const auto object = objectWith(kInfoReadWriteMethod);
    Ear ear = liveEar([](LiveMessage &) -> bool { throw std::runtime_error("no line"); });
    object->addListener(ear, askGet);
    Variant out;
    Error error;
    EXPECT_EQ(object->get(id, out, &error), -29);
    EXPECT_EQ(fullText(error), "Uncaught exception no line");
}
