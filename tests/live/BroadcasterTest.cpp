// SPDX-License-Identifier: MIT
#include <tavrin/Message.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;

namespace {

constexpr int hello = 0x68656C6F; // "helo"
constexpr int other = 0x6F746872; // "othr"
constexpr int everything = 0x414C4C21;
constexpr int dele = 0x44454C45;
constexpr int del = 0x44454C21;

using Log = std::vector<std::string>;

// Writes its name to a log, does something, and gives its answer.
class Recorder : public Listener
{
public:
    Recorder(Log &writesTo, std::string called, bool answers = false)
        : log(writesTo), name(std::move(called)), answer(answers)
    {}

    bool notify(Message &message) override
    {
        log.push_back(name);
        lastID = message.getID();
        lastSender = message.getSender();
        if (action)
            action(message);
        return answer;
    }

    std::function<void(Message &)> action;
    int lastID = 0;
    const Broadcaster *lastSender = nullptr;

private:
    Log &log;
    std::string name;
    bool answer;
};

class BroadcasterTest : public test::LibraryTest
{
protected:
    Log log;
    Recorder a{log, "a"};
    Recorder b{log, "b"};
    Recorder c{log, "c"};
    Recorder d{log, "d"};
};

} // namespace

TEST_F(BroadcasterTest, WithoutAListenerNothingIsHeard)
{
    const Broadcaster broadcaster;
    EXPECT_FALSE(broadcaster.broadcast(hello));
    EXPECT_FALSE(broadcaster.isListening(hello));
    EXPECT_FALSE(broadcaster.isListening(everything));
}

TEST_F(BroadcasterTest, ListenersHearTheirIdInTheOrderInWhichTheyCame)
{
    Broadcaster broadcaster;
    broadcaster.addListener(b, hello);
    broadcaster.addListener(a, hello);
    broadcaster.addListener(c, other);
    EXPECT_FALSE(broadcaster.broadcast(hello));
    EXPECT_EQ(log, (Log{"b", "a"}));
    EXPECT_EQ(a.lastID, hello);
    EXPECT_TRUE(broadcaster.isListening(hello));
    EXPECT_TRUE(broadcaster.isListening(other));
    EXPECT_FALSE(broadcaster.isListening(dele));
}

TEST_F(BroadcasterTest, AListenerIsAddedOnce)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    broadcaster.addListener(a, hello);
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a"}));
    broadcaster.removeListener(a, hello);
    EXPECT_FALSE(broadcaster.isListening(hello));
}

TEST_F(BroadcasterTest, AnAnswerOfTrueEndsTheBroadcast)
{
    Recorder yes(log, "yes", true);
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    broadcaster.addListener(yes, hello);
    broadcaster.addListener(b, hello);
    EXPECT_TRUE(broadcaster.broadcast(hello));
    EXPECT_EQ(log, (Log{"a", "yes"}));
}

TEST_F(BroadcasterTest, ThoseWhoHearEverythingComeLastAndAreSparedByAnAnswerOfTrue)
{
    Recorder yes(log, "yes", true);
    Broadcaster broadcaster;
    broadcaster.addListener(a, everything);
    broadcaster.addListener(b, hello);
    EXPECT_TRUE(broadcaster.isListening(other));
    EXPECT_FALSE(broadcaster.broadcast(hello));
    EXPECT_EQ(log, (Log{"b", "a"}));
    broadcaster.addListener(yes, hello);
    log.clear();
    EXPECT_TRUE(broadcaster.broadcast(hello));
    EXPECT_EQ(log, (Log{"b", "yes"}));
    log.clear();
    EXPECT_FALSE(broadcaster.broadcast(other));
    EXPECT_EQ(log, (Log{"a"}));
}

TEST_F(BroadcasterTest, TheAnswerOfThoseWhoHearEverythingIsTheResult)
{
    Recorder yes(log, "yes", true);
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    broadcaster.addListener(yes, everything);
    broadcaster.addListener(b, everything);
    EXPECT_TRUE(broadcaster.broadcast(hello));
    EXPECT_EQ(log, (Log{"a", "yes"}));
}

TEST_F(BroadcasterTest, AListenerInBothListsIsCalledFromEach)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, everything);
    broadcaster.addListener(a, hello);
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "a"}));
}

TEST_F(BroadcasterTest, AddingForEverythingLeavesTheOtherLists)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    broadcaster.addListener(b, everything);
    broadcaster.addListener(a, everything);
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"b", "a"}));
    // Once more: it moves to the end.
    broadcaster.addListener(b, everything);
    log.clear();
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b"}));
}

TEST_F(BroadcasterTest, RemovingFromEverythingLeavesAllLists)
{
    Broadcaster broadcaster;
    broadcaster.addListener(b, other);
    for (const int id : {hello, other, dele})
        broadcaster.addListener(a, id);
    broadcaster.removeListener(a, everything);
    for (const int id : {hello, other, dele})
        broadcaster.broadcast(id);
    EXPECT_EQ(log, (Log{"b"}));
    broadcaster.addListener(a, everything);
    broadcaster.removeListener(a, everything);
    EXPECT_FALSE(broadcaster.isListening(hello));
    EXPECT_TRUE(broadcaster.isListening(other));
}

TEST_F(BroadcasterTest, RemovingWhatIsNotThereChangesNothing)
{
    Broadcaster broadcaster;
    broadcaster.removeListener(a, hello);
    broadcaster.removeListener(a, everything);
    broadcaster.addListener(a, hello);
    broadcaster.removeListener(b, hello);
    broadcaster.removeListener(a, other);
    broadcaster.removeListener(b, everything);
    EXPECT_TRUE(broadcaster.isListening(hello));
}

TEST_F(BroadcasterTest, TheSenderIsKnownDuringTheBroadcastOnly)
{
    Broadcaster outer;
    Broadcaster inner;
    Message message(hello);
    outer.addListener(a, hello);
    inner.addListener(b, hello);
    a.action = [&](Message &heard) {
        inner.broadcast(heard);
        EXPECT_EQ(heard.getSender(), &outer);
    };
    EXPECT_EQ(message.getSender(), nullptr);
    outer.broadcast(message);
    EXPECT_EQ(message.getSender(), nullptr);
    EXPECT_EQ(a.lastSender, &outer);
    EXPECT_EQ(b.lastSender, &inner);
}

TEST_F(BroadcasterTest, CopiesHaveNoListenersAndAssignmentChangesNone)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    Broadcaster copy(broadcaster);
    EXPECT_FALSE(copy.isListening(hello));
    copy.addListener(b, hello);
    copy = broadcaster;
    copy.broadcast(hello);
    EXPECT_EQ(log, (Log{"b"}));
}

// --- Changes during a broadcast --------------------------------------------------------------

TEST_F(BroadcasterTest, AListenerThatRemovesItselfDoesNotHideItsNeighbour)
{
    Broadcaster broadcaster;
    for (Recorder *each : {&a, &b, &c})
        broadcaster.addListener(*each, hello);
    b.action = [&](Message &) { broadcaster.removeListener(b, hello); };
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b", "c"}));
    log.clear();
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "c"}));
}

TEST_F(BroadcasterTest, AListenerThatRemovesTheNextOneIsNotCalledAgain)
{
    Broadcaster broadcaster;
    for (Recorder *each : {&a, &b, &c})
        broadcaster.addListener(*each, hello);
    a.action = [&](Message &) { broadcaster.removeListener(b, hello); };
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "c"}));
}

// D-210
TEST_F(BroadcasterTest, AListenerThatRemovesTwoBeforeItHidesTheNextOne)
{
    Broadcaster broadcaster;
    for (Recorder *each : {&a, &b, &c, &d})
        broadcaster.addListener(*each, hello);
    b.action = [&](Message &) {
        broadcaster.removeListener(a, hello);
        broadcaster.removeListener(b, hello);
    };
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b", "d"}));
}

TEST_F(BroadcasterTest, AListenerThatGoesToTheEndIsNotCalledTwice)
{
    Broadcaster broadcaster;
    for (Recorder *each : {&a, &b, &c})
        broadcaster.addListener(*each, hello);
    b.action = [&](Message &) {
        broadcaster.removeListener(b, hello);
        broadcaster.addListener(b, hello);
    };
    // The list is as long as before, so that the place moves on, past c.
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b"}));
}

TEST_F(BroadcasterTest, ListenersThatComeAreCalledInTheSameBroadcast)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    a.action = [&](Message &) { broadcaster.addListener(b, hello); };
    b.action = [&](Message &) { broadcaster.addListener(c, everything); };
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b", "c"}));
}

TEST_F(BroadcasterTest, AListThatGoesAndComesBackServesEachListenerOnce)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    a.action = [&](Message &) {
        broadcaster.removeListener(a, everything);
        EXPECT_FALSE(broadcaster.isListening(hello));
        broadcaster.addListener(a, hello);
        broadcaster.addListener(b, hello);
    };
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b"}));
}

TEST_F(BroadcasterTest, EverybodyMayLeaveDuringTheBroadcast)
{
    Broadcaster broadcaster;
    for (Recorder *each : {&a, &b, &c})
        broadcaster.addListener(*each, hello);
    broadcaster.addListener(d, everything);
    a.action = [&](Message &) {
        for (Recorder *each : {&a, &b, &c, &d})
            broadcaster.removeListener(*each, everything);
    };
    EXPECT_FALSE(broadcaster.broadcast(hello));
    EXPECT_EQ(log, (Log{"a"}));
}

TEST_F(BroadcasterTest, AListenerMayBroadcastInTurn)
{
    Broadcaster broadcaster;
    for (Recorder *each : {&a, &b, &c})
        broadcaster.addListener(*each, hello);
    bool isInner = false;
    b.action = [&](Message &message) {
        if (std::exchange(isInner, true))
            return broadcaster.removeListener(c, hello);
        broadcaster.broadcast(message.getID());
    };
    // The inner broadcast takes c away from both.
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "b", "a", "b"}));
}

TEST_F(BroadcasterTest, AListenerMayEndTheBroadcaster)
{
    auto broadcaster = std::make_unique<Broadcaster>();
    broadcaster->addListener(a, hello);
    broadcaster->addListener(b, hello);
    broadcaster->addListener(c, everything);
    a.action = [&](Message &message) {
        if (message.getID() == hello)
            broadcaster.reset();
    };
    Message message(hello);
    EXPECT_FALSE(broadcaster->broadcast(message));
    EXPECT_EQ(message.getSender(), nullptr);
    EXPECT_EQ(log, (Log{"a", "c", "c"}));
    EXPECT_EQ(c.lastID, del);
}

TEST_F(BroadcasterTest, AnExceptionOfAListenerLeavesTheBroadcasterUsable)
{
    Broadcaster broadcaster;
    broadcaster.addListener(a, hello);
    broadcaster.addListener(b, hello);
    a.action = [](Message &) { throw 5; };
    Message message(hello);
    EXPECT_THROW(broadcaster.broadcast(message), int);
    EXPECT_EQ(message.getSender(), nullptr);
    a.action = nullptr;
    broadcaster.broadcast(hello);
    EXPECT_EQ(log, (Log{"a", "a", "b"}));
}

// --- Farewell ------------------------------------------------------------------------------------

TEST_F(BroadcasterTest, ADyingBroadcasterSaysFarewellTwice)
{
    std::vector<int> ids;
    a.action = [&](Message &message) { ids.push_back(message.getID()); };
    {
        Broadcaster broadcaster;
        broadcaster.addListener(a, dele);
        broadcaster.addListener(a, del);
        broadcaster.addListener(b, hello);
    }
    EXPECT_EQ(ids, (std::vector<int>{0x44454C45, 0x44454C21}));
    EXPECT_EQ(log, (Log{"a", "a"}));
}

TEST_F(BroadcasterTest, AnExceptionAtAFarewellEndsThere)
{
    auto broadcaster = std::make_unique<Broadcaster>();
    broadcaster->addListener(a, everything);
    broadcaster->addListener(b, del);
    a.action = [](Message &) { throw 5; };
    b.action = a.action;
    broadcaster.reset();
    EXPECT_EQ(log, (Log{"a", "b"}));
    EXPECT_EQ(a.lastID, dele);
    EXPECT_EQ(b.lastID, del);
}

TEST_F(BroadcasterTest, ThoseWhoHearEverythingHearTheFarewell)
{
    {
        Broadcaster broadcaster;
        broadcaster.addListener(a, everything);
    }
    EXPECT_EQ(log, (Log{"a", "a"}));
    EXPECT_EQ(a.lastID, del);
}

// Any id that begins with "DEL" counts, so the farewell is sent, but nobody hears it.
TEST_F(BroadcasterTest, TheFarewellNeedsAListenerForAnIdThatBeginsWithDel)
{
    Recorder hears(log, "hears");
    {
        Broadcaster broadcaster;
        broadcaster.addListener(a, hello);
        broadcaster.addListener(b, dele);
        broadcaster.removeListener(b, dele);
        broadcaster.addListener(b, del);
        broadcaster.removeListener(b, everything);
        broadcaster.removeListener(b, del);
    }
    EXPECT_EQ(log, Log());
    {
        Broadcaster broadcaster;
        broadcaster.addListener(a, del);
        a.action = [&](Message &) { broadcaster.addListener(b, hello); };
    }
    EXPECT_EQ(log, (Log{"a"}));
}

// --- Memory and threads --------------------------------------------------------------------------

TEST_F(BroadcasterTest, WithoutMemoryAListenerIsNotAdded)
{
    for (const int id : {hello, everything, dele}) {
        test::underMemoryFailure(
            [&] {
                auto broadcaster = std::make_unique<Broadcaster>();
                broadcaster->addListener(a, other);
                return broadcaster;
            },
            [&](auto &broadcaster) { broadcaster->addListener(b, id); },
            [&](auto &broadcaster, bool failed) {
                EXPECT_EQ(broadcaster->isListening(id), !failed);
                EXPECT_EQ(broadcaster->isListening(other), true);
                log.clear();
                broadcaster->broadcast(id);
                EXPECT_EQ(log, failed ? Log() : Log{"b"});
            });
    }
    test::underMemoryFailure([] { return std::make_unique<Broadcaster>(); },
                             [&](auto &broadcaster) { broadcaster->addListener(a, hello); },
                             [&](auto &broadcaster, bool failed) {
                                 EXPECT_EQ(broadcaster->isListening(hello), !failed);
                             });
}

TEST_F(BroadcasterTest, LeavingNeedsNoMemoryAndABroadcastThatCannotGoOnSaysSo)
{
    test::underMemoryFailure(
        [&] {
            auto broadcaster = std::make_unique<Broadcaster>();
            for (Recorder *each : {&a, &b, &c})
                broadcaster->addListener(*each, hello);
            b.action = [&, own = broadcaster.get()](Message &) { own->removeListener(b, hello); };
            log.clear();
            return broadcaster;
        },
        [](auto &broadcaster) { broadcaster->broadcast(hello); },
        [&](auto &broadcaster, bool failed) {
            EXPECT_EQ(log, failed ? (Log{"a", "b"}) : (Log{"a", "b", "c"}));
            log.clear();
            broadcaster->broadcast(hello);
            EXPECT_EQ(log, (Log{"a", "c"}));
        });
}

namespace {

class Counter : public Listener
{
public:
    bool notify(Message &) override
    {
        // Not atomic: the broadcaster calls one at a time.
        ++calls;
        return false;
    }
    int calls = 0;
};

using BroadcasterThreadTest = test::MultiThreadedLibraryTest;

} // namespace

TEST_F(BroadcasterThreadTest, ListenersAreCalledOneAtATimeFromAnyThread)
{
    constexpr int threads = 8;
    constexpr int rounds = 500;
    Counter always;
    Counter own[threads];
    Broadcaster broadcaster;
    broadcaster.addListener(always, hello);
    test::runOnThreads(threads, [&](int index) {
        for (int round = 0; round < rounds; ++round) {
            broadcaster.addListener(own[index], round % 2 == 0 ? hello : everything);
            broadcaster.broadcast(hello);
            EXPECT_TRUE(broadcaster.isListening(hello));
            broadcaster.removeListener(own[index], everything);
        }
    });
    EXPECT_EQ(always.calls, threads * rounds);
    for (const Counter &each : own)
        EXPECT_GE(each.calls, rounds);
}

TEST_F(BroadcasterThreadTest, TheFirstListenersOfSeveralThreadsAreAllKept)
{
    for (int round = 0; round < 200; ++round) {
        Counter own[4];
        Broadcaster broadcaster;
        test::runOnThreads(4, [&](int index) { broadcaster.addListener(own[index], hello); });
        broadcaster.broadcast(hello);
        for (const Counter &each : own)
            EXPECT_EQ(each.calls, 1);
    }
}
