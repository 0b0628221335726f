// SPDX-License-Identifier: MIT
#include <tavrin/Message.h>

#include <memory>

#include <gtest/gtest.h>

#include <tavrin/Array.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;

namespace {

using MessageTest = test::LibraryTest;

constexpr int hello = 0x68656C6F; // "helo"

} // namespace

TEST_F(MessageTest, ABareMessageHasAnIdAndNothingElse)
{
    const Message message(hello);
    EXPECT_EQ(message.getID(), hello);
    EXPECT_EQ(message.getSender(), nullptr);
    EXPECT_EQ(message.getData(), nullptr);
}

TEST_F(MessageTest, ADataMessageTakesEachKindOfValue)
{
    const unsigned short units[] = {'a', 0x100, 0};
    EXPECT_FALSE(DataMessage(hello).getData()->isDefined());
    EXPECT_EQ(*DataMessage(hello, 5).getData(), Variant(5));
    EXPECT_EQ(*DataMessage(hello, 0.5).getData(), Variant(0.5));
    EXPECT_EQ(*DataMessage(hello, true).getData(), Variant(true));
    EXPECT_EQ(*DataMessage(hello, "abc").getData(), Variant(String("abc")));
    EXPECT_EQ(*DataMessage(hello, units).getData(), Variant(String(units)));
    EXPECT_EQ(*DataMessage(hello, String("abc")).getData(), Variant(String("abc")));
    EXPECT_EQ(*DataMessage(hello, Variant(Point(1, 2))).getData(), Variant(Point(1, 2)));
}

TEST_F(MessageTest, ADataMessageHoldsALiveObject)
{
    const auto object = test::make<test::Plain>();
    {
        const DataMessage message(hello, object.get());
        EXPECT_EQ(message.getData()->getLiveObject(), object.get());
        EXPECT_EQ(object->getRefCount(), 2);
        EXPECT_TRUE(DataMessage(hello, static_cast<LiveObject *>(nullptr)).getData()->isNull());
    }
    EXPECT_EQ(object->getRefCount(), 1);
}

TEST_F(MessageTest, WhatAListenerWritesStaysInTheMessage)
{
    const DataMessage message(hello, 5);
    *message.getData() = "answer";
    EXPECT_EQ(message.getData()->getString(), "answer");
}

TEST_F(MessageTest, AMessageIsDeletedThroughItsBase)
{
    const std::unique_ptr<Root> message = std::make_unique<DataMessage>(hello, "abc");
    EXPECT_NE(dynamic_cast<Message *>(message.get()), nullptr);
}

TEST_F(MessageTest, AnArgumentsMessageSharesItsArguments)
{
    Array arguments;
    arguments += 1;
    arguments += "two";
    const ArgumentsMessage message(hello, arguments);
    EXPECT_EQ(message.getArgs(), arguments);
    EXPECT_FALSE(message.getData()->isDefined());
}
