// SPDX-License-Identifier: MIT
#include <tavrin/LiveCollection.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Ear;
using test::fullText;
using test::idsIn;
using test::liveEar;
using test::make;
using test::Owned;
using test::Plain;
using test::Shelf;

namespace {

using LiveCollectionTest = test::LibraryTest;

constexpr int lengthID = 50;

Owned<LiveCollection> collection(bool isReadOnly = false)
{
    return make<LiveCollection>("Pages", lengthID, isReadOnly);
}

// An owner that counts what is stored to it, and answers with a code.
struct Counting : Plain
{
    int put(int, const Variant &, Error *) override
    {
        ++puts;
        return code;
    }
    using LiveObject::put;
    int puts = 0;
    int code = 0;
};

// The five operations on elements, one after the other, and their codes.
struct Codes
{
    int getLength, putLength, get, put, remove;
    bool operator==(const Codes &) const = default;
};

void PrintTo(const Codes &codes, std::ostream *out)
{
    *out << codes.getLength << ' ' << codes.putLength << ' ' << codes.get << ' ' << codes.put << ' '
         << codes.remove;
}

Codes codesOf(LiveCollection &pages)
{
    unsigned length;
    Variant out;
    Codes codes{};
    codes.getLength = pages.getLength(length);
    codes.putLength = pages.putLength(3);
    codes.get = pages.getByIndex(0, out, nullptr);
    codes.put = pages.putByIndex(0, "new", nullptr);
    codes.remove = pages.deleteByIndex(0);
    return codes;
}

} // namespace

// --- The class -----------------------------------------------------------------------------------

TEST_F(LiveCollectionTest, IsACollectionWithoutAClassName)
{
    EXPECT_EQ(make<LiveCollection>(nullptr, 0, false)->getClassName(), "Collection");
    EXPECT_EQ(make<LiveCollection>("", 0, false)->getClassName(), "Collection");
    EXPECT_EQ(make<LiveCollection>("Pages", 0, false)->getClassName(), "Pages");
}

TEST_F(LiveCollectionTest, OnlyAWritableOneIsDynamic)
{
    EXPECT_EQ(collection(false)->getFlags(), 1U);
    EXPECT_EQ(collection(true)->getFlags(), 0U);
    EXPECT_EQ(collection(true)->put("x", 1, kInfoReadWrite), 55);
    EXPECT_TRUE(collection(true)->isReadOnly());
}

TEST_F(LiveCollectionTest, TakesAnIdForItsLength)
{
    EXPECT_EQ(collection()->getLengthID(), lengthID);
    const int next = LiveBase::getNextID() + 1;
    EXPECT_EQ(make<LiveCollection>("Pages", 0, false)->getLengthID(), next);
}

TEST_F(LiveCollectionTest, ShowsItsFace)
{
    EXPECT_EQ(LiveCollection::getInterfaceID(), fourCharCode(" col"));
    const auto pages = collection();
    const LiveCollection &constant = *pages;
    EXPECT_EQ(pages->getAs(asLiveCollection), pages.get());
    EXPECT_EQ(constant.getAs(asLiveCollection), pages.get());
    EXPECT_EQ(pages->getAs(asLiveObject), static_cast<LiveObject *>(pages.get()));
    EXPECT_EQ(constant.getAs(asLiveObject), static_cast<LiveObject *>(pages.get()));
    EXPECT_EQ(pages->getAs(asArray), nullptr);
}

// --- The property "length" -----------------------------------------------------------------------

TEST_F(LiveCollectionTest, KnowsTheNameOfItsLength)
{
    const auto pages = collection(), fixed = collection(true);
    int id;
    InfoType type;
    EXPECT_EQ(pages->getIDForName("length", id, type, kDefaultLanguage), 0);
    EXPECT_EQ(id, lengthID);
    EXPECT_EQ(type, kInfoReadWrite);
    EXPECT_EQ(fixed->getIDForName("length", id, type, kDefaultLanguage), 0);
    EXPECT_EQ(type, kInfoReadOnly);
    EXPECT_EQ(pages->getIDForName("LENGTH", id, type, kDefaultLanguage), 2);
    EXPECT_EQ(pages->getIDForName("LENGTH", id, type, kCaselessLanguage), 0);
    EXPECT_EQ(id, lengthID);
    EXPECT_EQ(pages->getIDForName("lengths", id, type, kCaselessLanguage), 2);
    pages->put("own", 1, kInfoReadWrite);
    EXPECT_EQ(pages->getIDForName("own", id, type, kDefaultLanguage), 0);

    String name;
    EXPECT_EQ(pages->getNameForID(lengthID, name, kDefaultLanguage), 0);
    EXPECT_EQ(name, "length");
    EXPECT_EQ(pages->getNameForID(lengthID, name, kUsedLanguages), 0);
    EXPECT_EQ(name, "length");
    EXPECT_EQ(pages->getNameForID(lengthID, name, kCaselessLanguage), 0);
    EXPECT_EQ(name, "Length");
    EXPECT_EQ(pages->getNameForID(5, name, kDefaultLanguage), 2);

    EXPECT_EQ(pages->getType(lengthID), kInfoReadWrite);
    EXPECT_EQ(fixed->getType(lengthID), kInfoReadOnly);
    EXPECT_EQ(pages->getType(5), kInfoNone);
}

TEST_F(LiveCollectionTest, ListsItsLengthLast)
{
    const auto pages = collection(), fixed = collection(true);
    pages->defineIDForName("own", 5, kInfoReadWrite);
    const auto listed = [](const LiveCollection &which, int flags) {
        SimpleArray ids;
        EXPECT_EQ(which.enumerate(ids, flags), 0);
        return idsIn(ids);
    };
    EXPECT_EQ(listed(*pages, kListReadWrite), (std::vector<int>{5, lengthID}));
    EXPECT_EQ(listed(*pages, kListReadOnly), std::vector<int>{});
    EXPECT_EQ(listed(*fixed, kListReadOnly), std::vector<int>{lengthID});
    EXPECT_EQ(listed(*fixed, kListReadWrite), std::vector<int>{});
    SimpleArray ids;
    ids.append(lengthID);
    pages->enumerate(ids, kListReadWrite);
    EXPECT_EQ(idsIn(ids), (std::vector<int>{lengthID, 5}));
}

TEST_F(LiveCollectionTest, ReadsAndWritesItsLengthAsAProperty)
{
    const auto pages = collection();
    const auto shelf = make<Shelf>();
    pages->addComponent(*shelf);
    Variant out;
    EXPECT_EQ(pages->put("length", 3, LiveObject::onlyKnown), 0);
    EXPECT_EQ(shelf->elements.length(), 3U);
    EXPECT_EQ(pages->get("length", out), 0);
    EXPECT_EQ(out, Variant(3));
    EXPECT_EQ(pages->put(lengthID, "5", nullptr), 0);
    EXPECT_EQ(shelf->elements.length(), 5U);
    EXPECT_EQ(pages->length(), 5U);
    shelf->code = 57;
    EXPECT_EQ(pages->length(), 0U);
    EXPECT_EQ(pages->get(lengthID, out, nullptr), 57);
    EXPECT_EQ(out, Variant(5));
    Error error;
    EXPECT_EQ(pages->put(lengthID, 1, &error), 57);
    EXPECT_EQ(fullText(error), "Cannot resolve reference");
}

TEST_F(LiveCollectionTest, OtherPropertiesAreThoseOfAnObject)
{
    const auto pages = collection();
    Variant out;
    EXPECT_EQ(pages->put("own", 1, kInfoReadWrite), 0);
    EXPECT_EQ(pages->get("own", out), 0);
    Error error;
    EXPECT_EQ(pages->get(7, out, &error), 2);
    EXPECT_EQ(fullText(error), "{LiveObject(\"Pages\").property(7)} is undefined");
}

TEST_F(LiveCollectionTest, AReadOnlyOneRefusesEveryChange)
{
    const auto fixed = collection(true);
    const auto shelf = make<Shelf>();
    fixed->addComponent(*shelf);
    EXPECT_EQ(codesOf(*fixed), (Codes{0, 46, 0, 46, 46}));
    Error put, length;
    EXPECT_EQ(fixed->putByIndex(5, 1, &put), 46);
    EXPECT_EQ(fullText(put), "[5l] is read only");
    EXPECT_EQ(fixed->put("length", 1, LiveObject::onlyKnown, &length), 46);
    EXPECT_EQ(fullText(length), "length is read only");
}

TEST_F(LiveCollectionTest, AnInvalidOneAnswers45)
{
    const auto pages = collection();
    pages->invalidate();
    EXPECT_EQ(codesOf(*pages), (Codes{45, 45, 45, 45, 45}));
    int id;
    InfoType type;
    String name = "before";
    Variant out = 1;
    SimpleArray ids;
    EXPECT_EQ(pages->getIDForName("length", id, type, kDefaultLanguage), 45);
    EXPECT_EQ(pages->getNameForID(lengthID, name, kDefaultLanguage), 45);
    EXPECT_EQ(name, "");
    EXPECT_EQ(pages->getType(lengthID), kInfoNone);
    EXPECT_EQ(pages->get(lengthID, out, nullptr), 45);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(pages->put(lengthID, 1, nullptr), 45);
    EXPECT_EQ(pages->enumerate(ids, -1), 45);
    EXPECT_EQ(pages->length(), 0U);
}

// --- Who serves the elements ---------------------------------------------------------------------

TEST_F(LiveCollectionTest, HasNoElementsByItself)
{
    const auto pages = collection();
    EXPECT_EQ(codesOf(*pages), (Codes{0, 0, 41, 41, 41}));
    EXPECT_EQ(pages->length(), 0U);
    Variant out = 1;
    Error error;
    EXPECT_EQ(pages->getByIndex(5, out, &error), 41);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(error), "[5l] is out of range");
}

TEST_F(LiveCollectionTest, AnIndexableComponentServesThem)
{
    const auto pages = collection();
    const auto shelf = make<Shelf>();
    const auto ruler = make<test::Ruler>();
    pages->addComponent(*shelf);
    pages->addComponent(*ruler);
    EXPECT_EQ(pages->putByIndex(1, "b", nullptr), 0);
    EXPECT_EQ(pages->putByIndex(2, "c", nullptr), 0);
    Variant out;
    EXPECT_EQ(pages->getByIndex(1, out, nullptr), 0);
    EXPECT_EQ(out, Variant("b"));
    EXPECT_EQ(pages->length(), 3U);
    EXPECT_EQ(pages->deleteByIndex(0), 0);
    EXPECT_EQ(pages->length(), 2U);
    shelf->code = 57;
    EXPECT_EQ(codesOf(*pages), (Codes{57, 57, 57, 57, 57}));
}

TEST_F(LiveCollectionTest, ListenersServeThemWithoutAComponent)
{
    const auto pages = collection();
    test::Clerk clerk;
    clerk.elements = test::arrayOfValues("a", "b", "c");
    Ear ear = liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getThis(), static_cast<LiveObject *>(pages.get()));
        return clerk.notify(message);
    });
    pages->addListener(ear, Broadcaster::allMessages);
    EXPECT_EQ(pages->length(), 3U);
    Variant out;
    EXPECT_EQ(pages->getByIndex(1, out, nullptr), 0);
    EXPECT_EQ(out, Variant("b"));
    EXPECT_EQ(pages->putByIndex(1, "x", nullptr), 0);
    EXPECT_EQ(pages->getByIndex(1, out, nullptr), 0);
    EXPECT_EQ(out, Variant("x"));
    EXPECT_EQ(pages->deleteByIndex(0), 0);
    EXPECT_EQ(pages->putLength(5), 0);
    EXPECT_EQ(pages->length(), 5U);
    pages->removeListener(ear, Broadcaster::allMessages);
}

TEST_F(LiveCollectionTest, AListenerMayRefuseOrNotAnswer)
{
    const auto pages = collection();
    bool answers = true;
    Ear ear = liveEar([&](LiveMessage &message) {
        message.getError() = 57;
        *message.getData() = 9;
        return answers;
    });
    pages->addListener(ear, Broadcaster::allMessages);
    EXPECT_EQ(codesOf(*pages), (Codes{57, 57, 57, 57, 57}));
    Variant out = 1;
    Error error;
    EXPECT_EQ(pages->getByIndex(2, out, &error), 57);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(error), "Cannot resolve reference");
    answers = false;
    EXPECT_EQ(codesOf(*pages), (Codes{0, 0, 41, 41, 41}));
    pages->removeListener(ear, Broadcaster::allMessages);
}

TEST_F(LiveCollectionTest, AComponentComesBeforeTheListeners)
{
    const auto pages = collection();
    const auto shelf = make<Shelf>();
    pages->addComponent(*shelf);
    Ear ear;
    pages->addListener(ear, Broadcaster::allMessages);
    EXPECT_EQ(codesOf(*pages), (Codes{0, 0, 0, 0, 0}));
    EXPECT_EQ(ear.heard, std::vector<int>{askPutLength});
    pages->removeListener(ear, Broadcaster::allMessages);
}

// D-271
TEST_F(LiveCollectionTest, AListenerHearsOfANewLengthBehindAComponent)
{
    const auto pages = collection();
    const auto shelf = make<Shelf>();
    pages->addComponent(*shelf);
    int code = 57;
    bool answers = true;
    Variant told;
    Ear ear = liveEar([&](LiveMessage &message) {
        told = *message.getData();
        message.getError() = code;
        return answers;
    });
    pages->addListener(ear, askPutLength);
    EXPECT_EQ(pages->putLength(4), 57);
    EXPECT_EQ(told, Variant(4));
    EXPECT_EQ(shelf->elements.length(), 4U);
    answers = false;
    EXPECT_EQ(pages->putLength(5), 0);
    shelf->code = 58;
    EXPECT_EQ(pages->putLength(5), 58);
    answers = true;
    code = 0;
    EXPECT_EQ(pages->putLength(5), 0);
}

// D-272
TEST_F(LiveCollectionTest, ADeletionIsAskedForIfSomebodyListensToWrites)
{
    const auto pages = collection();
    Ear deleting([](Message &) { return true; });
    pages->addListener(deleting, askDeleteIndex);
    EXPECT_EQ(pages->deleteByIndex(3), 41);
    EXPECT_TRUE(deleting.heard.empty());
    Ear writing([](Message &) { return true; });
    pages->addListener(writing, askPutIndex);
    EXPECT_EQ(pages->deleteByIndex(3), 0);
    EXPECT_EQ(deleting.heard, std::vector<int>{askDeleteIndex});
    EXPECT_TRUE(writing.heard.empty());
}

// D-270
TEST_F(LiveCollectionTest, LeavesTheLockOfTheComponentAlone)
{
    struct Locking : Shelf
    {
        int getLength(const LiveObject &object, unsigned &length) const override
        {
            const_cast<LiveObject &>(object).removeComponent(const_cast<Locking &>(*this));
            return Shelf::getLength(object, length);
        }
    };
    const auto pages = collection();
    auto *locking = new Locking;
    pages->addComponent(*locking);
    locking->release();
    EXPECT_EQ(pages->length(), 0U);
    EXPECT_EQ(pages->getComponent(5, nullptr), nullptr);
}

TEST_F(LiveCollectionTest, StoresEachChangeAndAnswersWithItsCode)
{
    const auto owner = make<Counting>();
    const auto pages = collection();
    const auto shelf = make<Shelf>();
    pages->addComponent(*shelf);
    pages->setAutostore(owner.get(), 9);
    EXPECT_EQ(codesOf(*pages), (Codes{0, 0, 0, 0, 0}));
    EXPECT_EQ(owner->puts, 3);
    owner->code = 58;
    EXPECT_EQ(codesOf(*pages), (Codes{0, 58, 0, 58, 58}));
    shelf->code = 57;
    EXPECT_EQ(codesOf(*pages), (Codes{57, 57, 57, 57, 57}));
    EXPECT_EQ(owner->puts, 6);
}

TEST_F(LiveCollectionTest, AComponentOrAListenerMayThrow)
{
    struct Throwing : LiveComponent
    {
        bool isIndexable() const override { return true; }
        int getLength(const LiveObject &, unsigned &) const override { throw 5; }
        int putLength(LiveObject &, unsigned) override { throw 5; }
        int getByIndex(const LiveObject &, unsigned, Variant &, Error *) const override
        {
            throw std::runtime_error("gone");
        }
        int putByIndex(LiveObject &, unsigned, const Variant &, Error *) override
        {
            throw std::bad_alloc();
        }
        int deleteByIndex(LiveObject &, unsigned) override { throw 5; }
    };
    const auto pages = collection();
    const auto throwing = make<Throwing>();
    pages->addComponent(*throwing);
    EXPECT_EQ(codesOf(*pages), (Codes{-29, -29, -29, -28, -29}));
    Variant out;
    Error error;
    EXPECT_EQ(pages->getByIndex(0, out, &error), -29);
    EXPECT_EQ(fullText(error), "Uncaught exception gone");
}

TEST_F(LiveCollectionTest, AClassMayThrowWhenItIsAskedForItsLength)
{
    struct Throwing : LiveCollection
    {
        Throwing() : LiveCollection("Throwing", 0, false) {}
        int getLength(unsigned &) const override { throw 5; }
    };
    EXPECT_EQ(make<Throwing>()->length(), 0U);
}

TEST_F(LiveCollectionTest, AComponentMayThrowOrLeaveWhenItIsAskedWhetherItServes)
{
    struct Undecided : LiveComponent
    {
        bool isIndexable() const override { throw 5; }
    };
    const auto pages = collection();
    const auto undecided = make<Undecided>();
    pages->addComponent(*undecided);
    EXPECT_EQ(codesOf(*pages), (Codes{-29, -29, -29, -29, -29}));
    pages->removeComponent(*undecided);

    struct Leaving : Shelf
    {
        explicit Leaving(LiveCollection &whose) : owner(whose) { ++living; }
        ~Leaving() override { --living; }
        bool isIndexable() const override
        {
            owner.removeComponent(const_cast<Leaving &>(*this));
            return true;
        }
        LiveCollection &owner;
        static int &count()
        {
            static int number = 0;
            return number;
        }
        int &living = count();
    };
    Variant out;
    pages->addComponent(*make<Leaving>(*pages));
    EXPECT_EQ(pages->putByIndex(2, "last", nullptr), 0);
    EXPECT_EQ(Leaving::count(), 0);
    pages->addComponent(*make<Leaving>(*pages));
    EXPECT_EQ(pages->getByIndex(2, out, nullptr), 0);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(Leaving::count(), 0);
    EXPECT_EQ(pages->getByIndex(2, out, nullptr), 41);
}

TEST_F(LiveCollectionTest, AListenerMayDropTheCollection)
{
    for (const int id : {askGetLength, askPutLength, askGetIndex, askPutIndex}) {
        auto *pages = new LiveCollection("Pages", lengthID, false);
        WeakRef<LiveObject> weak = pages;
        Ear ear([&](Message &) {
            pages->release();
            return true;
        });
        pages->addListener(ear, id);
        unsigned length;
        Variant out;
        Error error;
        if (id == askGetLength)
            EXPECT_EQ(pages->getLength(length), 0);
        else if (id == askPutLength)
            EXPECT_EQ(pages->put(lengthID, 3, &error), 0);
        else if (id == askGetIndex)
            EXPECT_EQ(pages->getByIndex(0, out, &error), 0);
        else
            EXPECT_EQ(pages->putByIndex(0, 1, &error), 0);
        EXPECT_EQ(weak.get(), nullptr);
    }
}
