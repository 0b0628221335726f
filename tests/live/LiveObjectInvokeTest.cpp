// SPDX-License-Identifier: MIT
// Functions of listeners, by name.
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::arrayOfValues;
using test::Ear;
using test::fullText;
using test::liveEar;
using test::make;
using test::Plain;

namespace {

using LiveObjectInvokeTest = test::LibraryTest;

} // namespace

TEST_F(LiveObjectInvokeTest, NeedsAListener)
{
    const auto object = make<Plain>();
    Variant result = 1;
    Error error;
    EXPECT_EQ(object->invoke("onLoad", result, &error), 24);
    EXPECT_FALSE(result.isDefined());
    EXPECT_EQ(fullText(error), "onLoad is not a function");
    EXPECT_EQ(object->invoke("onLoad"), 24);
}

TEST_F(LiveObjectInvokeTest, GivesTheNameTheArgumentsAndTheErrorToTheListener)
{
    const auto object = make<Plain>();
    Error error;
    Ear ear = liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getThis(), object.get());
        EXPECT_EQ(message.getPropertyID(), 0);
        EXPECT_EQ(message.getData()->getString(), "onLoad");
        EXPECT_EQ(message.getExtError(), &error);
        *message.getData() = static_cast<int>(message.getArgs().length());
        return true;
    });
    object->addListener(ear, askInvoke);
    Variant result;
    EXPECT_EQ(object->invoke("onLoad", arrayOfValues(1, 2), result, &error), 0);
    EXPECT_EQ(result, Variant(2));
    EXPECT_EQ(object->invoke("onLoad", result, &error), 0);
    EXPECT_EQ(result, Variant(0));
    EXPECT_EQ(object->invoke("onLoad", arrayOfValues(1), &error), 0);
    EXPECT_EQ(object->invoke("onLoad", &error), 0);
    EXPECT_EQ(ear.heard.size(), 4U);
}

TEST_F(LiveObjectInvokeTest, AnswersWhatTheErrorSaysBeforeTheCodeOfTheMessage)
{
    const auto object = make<Plain>();
    bool isWorded = false;
    Ear ear = liveEar([&](LiveMessage &message) {
        message.getError() = 52;
        if (isWorded)
            message.getExtError()->push(19, "x", nullptr, true);
        return true;
    });
    object->addListener(ear, askInvoke);
    Error error;
    EXPECT_EQ(object->invoke("f", &error), 52);
    EXPECT_EQ(error.getError(), nullptr);
    isWorded = true;
    EXPECT_EQ(object->invoke("f", &error), 19);
    EXPECT_EQ(fullText(error), "Bad argument x");
}

// D-248
TEST_F(LiveObjectInvokeTest, GivesTheNameBackIfNobodyAnswers)
{
    const auto object = make<Plain>();
    Ear ear;
    object->addListener(ear, askInvoke);
    Variant result;
    EXPECT_EQ(object->invoke("f", result), 0);
    EXPECT_EQ(result, Variant("f"));
}

TEST_F(LiveObjectInvokeTest, SaysThatTheObjectIsInvalid)
{
    const auto object = make<Plain>();
    object->invalidate();
    Error error;
    EXPECT_EQ(object->invoke("f", &error), 45);
    EXPECT_EQ(fullText(error), "Object is invalid");
}

TEST_F(LiveObjectInvokeTest, CanInvokeWhatAListenerSaysTrueTo)
{
    const auto object = make<Plain>();
    EXPECT_FALSE(object->canInvoke("f"));
    Variant answer;
    Ear ear = liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getData()->getString(), "f");
        *message.getData() = answer;
        return false;
    });
    object->addListener(ear, askCanInvoke);
    EXPECT_FALSE(object->canInvoke("f"));
    answer = true;
    EXPECT_TRUE(object->canInvoke("f"));
    answer = false;
    EXPECT_FALSE(object->canInvoke("f"));
    answer = 1;
    EXPECT_FALSE(object->canInvoke("f"));
    answer = "true";
    EXPECT_FALSE(object->canInvoke("f"));
    object->invalidate();
    answer = true;
    EXPECT_FALSE(object->canInvoke("f"));
}

TEST_F(LiveObjectInvokeTest, AListenerMayThrowOrDropTheObject)
{
    const auto object = make<Plain>();
    Ear throwing([](Message &) -> bool { throw std::runtime_error("no"); });
    object->addListener(throwing, askInvoke);
    object->addListener(throwing, askCanInvoke);
    Error error;
    EXPECT_EQ(object->invoke("f", &error), -29);
    EXPECT_EQ(fullText(error), "Uncaught exception no");
    EXPECT_FALSE(object->canInvoke("f"));

    auto *dropped = new Plain;
    Ear dropping([&](Message &) {
        dropped->release();
        return true;
    });
    dropped->addListener(dropping, askInvoke);
    EXPECT_EQ(dropped->invoke("f"), 0);
    EXPECT_EQ(Plain::living, 1);
}
