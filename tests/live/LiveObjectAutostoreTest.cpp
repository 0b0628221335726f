// SPDX-License-Identifier: MIT
// Objects that store themselves to an owner on each change.
#include <tavrin/LiveObject.h>

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;
using test::Document;
using test::Ear;
using test::fullText;
using test::make;
using test::Owned;
using test::Plain;
using test::Ruler;

namespace {

using LiveObjectAutostoreTest = test::LibraryTest;
using LiveObjectAutostoreThreadTest = test::MultiThreadedLibraryTest;

constexpr int slotID = 9;

// An owner that counts what is stored to it.
struct Owner : Plain
{
    int put(int id, const Variant &value, Error *error) override
    {
        ++puts;
        lastID = id;
        lastObject = value.getLiveObject();
        if (throws)
            throw std::runtime_error("full");
        if (code != 0)
            return setError(code, id, error, false);
        return Plain::put(id, value, error) == 0 ? 0 : code;
    }
    using LiveObject::put;

    int puts = 0;
    int lastID = 0;
    const LiveObject *lastObject = nullptr;
    int code = 0;
    bool throws = false;
};

} // namespace

TEST_F(LiveObjectAutostoreTest, StoresTheObjectOnEachChange)
{
    const auto owner = make<Owner>();
    const auto object = make<Plain>();
    EXPECT_EQ(object->put("x", 1, kInfoReadWrite), 0);
    EXPECT_EQ(object->setAutostore(owner.get(), slotID), 0);
    EXPECT_EQ(owner->puts, 0);
    EXPECT_EQ(object->put("x", 2, kInfoReadWrite), 0);
    EXPECT_EQ(owner->puts, 1);
    EXPECT_EQ(owner->lastID, slotID);
    EXPECT_EQ(owner->lastObject, object.get());
    EXPECT_EQ(object->setAutostore(nullptr, 3), 0);
    EXPECT_EQ(object->put("x", 3, kInfoReadWrite), 0);
    EXPECT_EQ(owner->puts, 1);
}

TEST_F(LiveObjectAutostoreTest, DoesNotHoldTheOwner)
{
    const auto owner = make<Owner>();
    const auto object = make<Plain>();
    object->setAutostore(owner.get(), slotID);
    EXPECT_EQ(owner->getRefCount(), 1);
}

TEST_F(LiveObjectAutostoreTest, StoresWhateverHandlesTheWrite)
{
    const auto owner = make<Owner>();
    const auto document = make<Document>();
    const auto ruler = make<Ruler>();
    document->addComponent(*ruler);
    document->defineIDForName("far", 7, kInfoReadWrite | kPropertyByMessage);
    Ear ear([](Message &) { return true; });
    document->addListener(ear, askPut);
    document->setAutostore(owner.get(), slotID);
    EXPECT_EQ(document->put(Document::sizeID, 5, nullptr), 0);
    EXPECT_EQ(owner->puts, 1);
    EXPECT_EQ(document->put(Ruler::unitID, "cm", nullptr), 0);
    EXPECT_EQ(owner->puts, 2);
    EXPECT_EQ(document->put(7, 1, nullptr), 0);
    EXPECT_EQ(owner->puts, 3);
}

TEST_F(LiveObjectAutostoreTest, DoesNotStoreAFailure)
{
    const auto owner = make<Owner>();
    const auto document = make<Document>();
    const auto ruler = make<Ruler>();
    document->addComponent(*ruler);
    document->defineIDForName("far", 7, kInfoReadWrite | kPropertyByMessage);
    document->setAutostore(owner.get(), slotID);
    EXPECT_EQ(document->put(Document::sizeID, 5000, nullptr), 41);
    EXPECT_EQ(document->put(Ruler::lengthID, 5, nullptr), 46);
    EXPECT_EQ(document->put(Ruler::gridID, 5, nullptr), 2);
    EXPECT_EQ(document->put(7, 5, nullptr), 2);
    EXPECT_EQ(document->put(12345, 5, nullptr), 2);
    EXPECT_EQ(owner->puts, 0);
}

TEST_F(LiveObjectAutostoreTest, AnswersWhatTheOwnerAnswers)
{
    const auto owner = make<Owner>();
    const auto object = make<Plain>();
    object->put("x", 1, kInfoReadWrite);
    object->setAutostore(owner.get(), slotID);
    owner->code = 46;
    Error error;
    EXPECT_EQ(object->put("x", 2, kInfoReadWrite, &error), 46);
    EXPECT_EQ(fullText(error), "{LiveObject(\"Plain\").property(9)} is read only");
    Variant out;
    object->get("x", out);
    EXPECT_EQ(out, Variant(2));
    owner->throws = true;
    Error thrown;
    EXPECT_EQ(object->put("x", 3, kInfoReadWrite, &thrown), -29);
    EXPECT_EQ(fullText(thrown), "Uncaught exception full");
    EXPECT_EQ(object->invokeAutostore(nullptr), -29);
}

TEST_F(LiveObjectAutostoreTest, TheSameOwnerOnlyGetsAnotherId)
{
    const auto owner = make<Owner>();
    const auto object = make<Plain>();
    object->setAutostore(owner.get(), slotID);
    object->setAutostore(owner.get(), slotID + 1);
    object->invokeAutostore(nullptr);
    EXPECT_EQ(owner->lastID, slotID + 1);
    EXPECT_TRUE(owner->isListening(Broadcaster::lastFarewell));
    object->setAutostore(nullptr, 0);
    EXPECT_FALSE(owner->isListening(Broadcaster::lastFarewell));
}

TEST_F(LiveObjectAutostoreTest, LeavesTheListenersOfAFormerOwner)
{
    const auto first = make<Owner>(), second = make<Owner>();
    const auto object = make<Plain>();
    object->setAutostore(first.get(), slotID);
    object->setAutostore(second.get(), slotID);
    EXPECT_FALSE(first->isListening(Broadcaster::lastFarewell));
    EXPECT_TRUE(second->isListening(Broadcaster::lastFarewell));
    object->invokeAutostore(nullptr);
    EXPECT_EQ(first->puts, 0);
    EXPECT_EQ(second->puts, 1);
}

TEST_F(LiveObjectAutostoreTest, EndsWithTheOwner)
{
    auto owner = make<Owner>();
    const auto object = make<Plain>();
    const auto same = make<Plain>();
    object->setAutostore(owner.get(), slotID);
    EXPECT_FALSE(*object == *same);
    owner.reset();
    EXPECT_TRUE(*object == *same);
    EXPECT_EQ(object->invokeAutostore(nullptr), 0);
    EXPECT_EQ(object->put("x", 1, kInfoReadWrite), 0);
}

TEST_F(LiveObjectAutostoreTest, EndsWithTheObject)
{
    const auto owner = make<Owner>();
    {
        const auto object = make<Plain>();
        object->setAutostore(owner.get(), slotID);
    }
    EXPECT_FALSE(owner->isListening(Broadcaster::lastFarewell));
}

// Another listener takes the farewell for itself.
TEST_F(LiveObjectAutostoreTest, SurvivesAnOwnerThatItDidNotHearOf)
{
    auto owner = make<Owner>();
    Ear greedy([](Message &) { return true; });
    owner->addListener(greedy, Broadcaster::lastFarewell);
    const auto object = make<Plain>();
    object->setAutostore(owner.get(), slotID);
    owner.reset();
    EXPECT_EQ(object->invokeAutostore(nullptr), 0);
    EXPECT_EQ(object->setAutostore(nullptr, 0), 0);
}

TEST_F(LiveObjectAutostoreTest, HearsOnlyOfItsOwnTarget)
{
    const auto owner = make<Owner>();
    const auto object = make<Plain>();
    object->setAutostore(owner.get(), slotID);
    {
        const auto other = make<Plain>();
        other->addListener(*object, Broadcaster::lastFarewell);
    }
    EXPECT_EQ(object->invokeAutostore(nullptr), 0);
    EXPECT_EQ(owner->puts, 1);
    Message other(Broadcaster::firstFarewell), farewell(Broadcaster::lastFarewell);
    EXPECT_FALSE(object->notify(other));
    object->invokeAutostore(nullptr);
    EXPECT_EQ(owner->puts, 2);
    EXPECT_FALSE(object->notify(farewell));
    object->invokeAutostore(nullptr);
    EXPECT_EQ(owner->puts, 2);
}

// --- Circles -------------------------------------------------------------------------------------

TEST_F(LiveObjectAutostoreTest, AnObjectMayStoreItself)
{
    const auto object = make<Plain>();
    object->defineIDForName("self", slotID, kInfoReadWrite);
    object->setAutostore(object.get(), slotID);
    EXPECT_EQ(object->put("x", 1, kInfoReadWrite), 0);
    Variant out;
    object->get("self", out);
    EXPECT_EQ(out.getLiveObject(), object.get());
    EXPECT_EQ(object->deleteID(slotID), 0);
    out.erase();
}

TEST_F(LiveObjectAutostoreTest, ACircleEnds)
{
    const auto a = make<Owner>(), b = make<Owner>(), c = make<Owner>();
    for (const auto &object : {a, b, c})
        object->defineIDForName("slot", slotID, kInfoReadWrite);
    a->setAutostore(b.get(), slotID);
    b->setAutostore(c.get(), slotID);
    c->setAutostore(a.get(), slotID);
    EXPECT_EQ(a->put("x", 1, kInfoReadWrite), 0);
    EXPECT_EQ(a->puts, 2);
    EXPECT_EQ(b->puts, 1);
    EXPECT_EQ(c->puts, 1);
    for (const auto &object : {a, b, c})
        object->deleteDynamicProperties(true);
}

TEST_F(LiveObjectAutostoreTest, TheOwnerMayLetTheObjectGo)
{
    struct Dropping : Plain
    {
        int put(int, const Variant &value, Error *) override
        {
            value.getLiveObject()->release();
            return 0;
        }
    };
    const auto owner = make<Dropping>();
    auto *object = new Plain("Object");
    object->defineIDForName("x", 5, kInfoReadWrite);
    object->setAutostore(owner.get(), slotID);
    EXPECT_EQ(object->put(5, 1, nullptr), 0);
    EXPECT_EQ(Plain::living, 1);
}

// --- Chains --------------------------------------------------------------------------------------

// An owner that may have one itself, and answers what that one does.
struct Link : Plain
{
    Link() { defineIDForName("slot", slotID, kInfoReadWrite); }
    int put(int id, const Variant &value, Error *error) override
    {
        ++puts;
        return Plain::put(id, value, error);
    }
    using LiveObject::put;

    int puts = 0;
};

// Objects of which each stores itself to the one behind it.
std::vector<Owned<Link>> makeChain(std::size_t links)
{
    std::vector<Owned<Link>> chain = {make<Link>()};
    for (std::size_t number = 0; number < links; ++number) {
        chain.push_back(make<Link>());
        chain[number]->setAutostore(chain[number + 1].get(), slotID);
    }
    return chain;
}

// D-268
TEST_F(LiveObjectAutostoreTest, AWriteGoesOnTo256OwnersInARow)
{
    constexpr std::size_t mostOwners = 256;
    const struct
    {
        std::size_t links;
        int code;
        const char *text;
    } rows[] = {
        {mostOwners - 1, 0, ""},
        {mostOwners, 0, ""},
        {mostOwners + 1, 27, "Stack overrun"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.links);
        const auto chain = makeChain(row.links);
        for (int round = 0; round < 2; ++round) { // a refusal leaves nothing behind
            Error error;
            EXPECT_EQ(chain[0]->put("x", round, kInfoReadWrite, &error), row.code);
            EXPECT_EQ(fullText(error), row.text);
            for (std::size_t number = 1; number <= row.links; ++number)
                ASSERT_EQ(chain[number]->puts, number <= mostOwners ? round + 1 : 0) << number;
        }
        Variant out;
        chain[0]->get("x", out);
        EXPECT_EQ(out, Variant(1));
        const std::size_t last = std::min(row.links, mostOwners);
        chain[last]->get(slotID, out, nullptr);
        EXPECT_EQ(out.getLiveObject(), chain[last - 1].get());
        // One owner nearer to the end the whole way is short enough.
        EXPECT_EQ(chain[1]->put("x", 1, kInfoReadWrite, nullptr), 0);
    }
}

TEST_F(LiveObjectAutostoreTest, AChainThatIsTooLongIsRefusedWithoutARecordToo)
{
    const auto chain = makeChain(300);
    EXPECT_EQ(chain[0]->put("x", 1, kInfoReadWrite), 27);
    EXPECT_EQ(chain[0]->invokeAutostore(nullptr), 27);
}

TEST_F(LiveObjectAutostoreTest, AChainOfAHundredThousandNeedsNoStackOfItsLength)
{
    constexpr std::size_t links = 100'000;
    std::vector<Owned<Link>> chain = {make<Link>()};
    for (std::size_t number = 0; number < links; ++number) {
        chain.push_back(make<Link>());
        chain[number + 1]->put(slotID, Variant(*chain[number], 0), nullptr);
        chain[number]->setAutostore(chain[number + 1].get(), slotID);
    }
    EXPECT_EQ(chain[0]->put("x", 1, kInfoReadWrite), 27);
    EXPECT_EQ(chain[links - 5]->put("x", 1, kInfoReadWrite), 0);
    const Owned<Link> last = chain.back(); // holds all the others
    chain.clear();
    EXPECT_EQ(Plain::living, static_cast<int>(links) + 1);
}

// --- Threads -------------------------------------------------------------------------------------

TEST_F(LiveObjectAutostoreThreadTest, OwnerAndObjectMayDieAtTheSameTime)
{
    for (int round = 0; round < 500; ++round) {
        Owned<LiveObject> pair[2] = {make<LiveObject>("Owner", true),
                                     make<LiveObject>("Object", true)};
        pair[0]->createLock();
        pair[1]->put("x", 1, kInfoReadWrite);
        pair[1]->setAutostore(pair[0].get(), slotID);
        test::runOnThreads(2, [&](int thread) {
            if (thread == 1)
                pair[1]->put("x", 2, kInfoReadWrite);
            pair[thread].reset();
        });
    }
}

TEST_F(LiveObjectAutostoreThreadTest, HoldsTheLockOfTheOwnerWhileItStores)
{
    const auto owner = make<Owner>();
    owner->createLock();
    owner->defineIDForName("slot", slotID, kInfoReadWrite);
    test::runOnThreads(4, [&](int) {
        const auto object = make<LiveObject>("Object", true);
        object->setAutostore(owner.get(), slotID);
        for (int round = 0; round < 500; ++round)
            ASSERT_EQ(object->put("x", round, kInfoReadWrite), 0);
    });
    EXPECT_EQ(owner->puts, 2000);
    owner->deleteDynamicProperties(true);
}

// D-268
TEST_F(LiveObjectAutostoreThreadTest, EachThreadGoesItsOwnWayInAChain)
{
    struct Asking : Plain
    {
        int put(int, const Variant &, Error *) override
        {
            test::runOnThreads(1, [&](int) { code = other->put("x", 1, kInfoReadWrite); });
            return 0;
        }

        LiveObject *other = nullptr;
        int code = -1;
    };
    const auto chain = makeChain(200), otherChain = makeChain(200);
    const auto asking = make<Asking>();
    asking->other = otherChain[0].get();
    chain.back()->setAutostore(asking.get(), slotID);
    EXPECT_EQ(chain[0]->put("x", 1, kInfoReadWrite), 0);
    EXPECT_EQ(asking->code, 0);
}
