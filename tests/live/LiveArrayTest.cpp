// SPDX-License-Identifier: MIT
#include <tavrin/LiveCollection.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::arrayOfValues;
using test::fullText;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using LiveArrayTest = test::LibraryTest;

constexpr int lengthNumber = 50;

template <class... Values>
Owned<LiveArray> liveArray(const Values &...values)
{
    return make<LiveArray>(arrayOfValues(values...), "Pages", lengthNumber, false);
}

String textOf(const LiveObject &object)
{
    String text = "before";
    object.toString(text);
    return text;
}

struct Counting : Plain
{
    int put(int, const Variant &, Error *) override
    {
        ++puts;
        return 57;
    }
    using LiveObject::put;
    int puts = 0;
};

} // namespace

TEST_F(LiveArrayTest, IsACollectionOfItsElements)
{
    const auto pages = liveArray("a", "b");
    EXPECT_EQ(pages->length(), 2U);
    Variant out;
    EXPECT_EQ(pages->getByIndex(1, out, nullptr), 0);
    EXPECT_EQ(out, Variant("b"));
    EXPECT_EQ(pages->getByIndex(2, out, nullptr), 0);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(make<LiveArray>("Pages", lengthNumber, false)->length(), 0U);
    EXPECT_EQ(make<LiveArray>(nullptr, 0, false)->getClassName(), "Collection");
}

TEST_F(LiveArrayTest, ShowsItsFaces)
{
    EXPECT_EQ(LiveArray::getInterfaceID(), fourCharCode(" ard"));
    const auto pages = liveArray();
    const LiveArray &constant = *pages;
    EXPECT_EQ(pages->getAs(asArray), &pages->getArray());
    EXPECT_EQ(constant.getAs(asArray), &constant.getArray());
    EXPECT_EQ(pages->getAs(asLiveCollection), static_cast<LiveCollection *>(pages.get()));
    EXPECT_EQ(constant.getAs(asLiveObject), static_cast<LiveObject *>(pages.get()));
}

TEST_F(LiveArrayTest, TwoNewOnesHaveDifferentLengthIds)
{
    const auto a = make<LiveArray>(nullptr, 0, false), b = make<LiveArray>(nullptr, 0, false);
    EXPECT_GE(a->getLengthID(), 0x1F800000);
    EXPECT_NE(a->getLengthID(), b->getLengthID());
}

TEST_F(LiveArrayTest, GrowsWhereItIsWrittenTo)
{
    const auto pages = liveArray("a");
    EXPECT_EQ(pages->putByIndex(0, "x", nullptr), 0);
    EXPECT_EQ(pages->putByIndex(5, "f", nullptr), 0);
    EXPECT_EQ(pages->length(), 6U);
    EXPECT_EQ(pages->putByIndex(100'000, "far", nullptr), 0);
    EXPECT_EQ(pages->length(), 100'001U);
    Variant out;
    pages->getByIndex(100'000, out, nullptr);
    EXPECT_EQ(out, Variant("far"));
}

TEST_F(LiveArrayTest, AnIndexThatNoArrayHasIsOutOfMemory)
{
    const auto pages = liveArray("a");
    Error error;
    EXPECT_EQ(pages->putByIndex(0xFFFFFFFF, 1, &error), -28);
    EXPECT_EQ(fullText(error), "Out of memory");
    EXPECT_EQ(pages->length(), 1U);
}

// The array that it was made from is another one.
TEST_F(LiveArrayTest, PartsFromItsSourceWhenItIsWrittenTo)
{
    const Array source = arrayOfValues("a", "b");
    const auto pages = make<LiveArray>(source, nullptr, 0, false);
    Variant out;
    EXPECT_EQ(pages->putByIndex(0, "x", nullptr), 0);
    EXPECT_EQ(source[0], Variant("a"));
    pages->getByIndex(0, out, nullptr);
    EXPECT_EQ(out, Variant("x"));
    pages->getByIndex(1, out, nullptr);
    EXPECT_EQ(out, Variant("b"));
    EXPECT_EQ(pages->putLength(1), 0);
    EXPECT_EQ(source.length(), 2U);
}

TEST_F(LiveArrayTest, TakesItsOwnElements)
{
    const Array source = arrayOfValues("a", "b");
    const auto pages = make<LiveArray>(source, nullptr, 0, false);
    EXPECT_EQ(pages->putByIndex(0, *pages->getArray().get(1), nullptr), 0);
    EXPECT_EQ(pages->putByIndex(50, *pages->getArray().get(0), nullptr), 0);
    EXPECT_EQ(std::as_const(pages->getArray())[0], Variant("b"));
    EXPECT_EQ(std::as_const(pages->getArray())[50], Variant("b"));
}

TEST_F(LiveArrayTest, ChangesItsLength)
{
    const auto pages = liveArray("a", "b", "c");
    EXPECT_EQ(pages->putLength(2), 0);
    EXPECT_EQ(pages->length(), 2U);
    EXPECT_EQ(pages->put("length", 4, LiveObject::onlyKnown), 0);
    EXPECT_EQ(pages->length(), 4U);
    EXPECT_EQ(pages->deleteByIndex(0), 41);
}

// D-273
TEST_F(LiveArrayTest, AReadOnlyOneRefusesOnlyANewLengthByName)
{
    const auto pages = make<LiveArray>(arrayOfValues("a"), "Pages", lengthNumber, true);
    EXPECT_EQ(pages->putByIndex(1, "b", nullptr), 0);
    EXPECT_EQ(pages->putLength(5), 0);
    EXPECT_EQ(pages->put(lengthNumber, 6, nullptr), 0);
    EXPECT_EQ(pages->length(), 6U);
    EXPECT_EQ(pages->put("length", 7, LiveObject::onlyKnown), 46);
    EXPECT_EQ(pages->put("own", 7, kInfoReadWrite), 55);
    EXPECT_EQ(pages->deleteByIndex(0), 46);
}

TEST_F(LiveArrayTest, KnowsItsLengthAlsoWhenItIsInvalid)
{
    const auto pages = liveArray("a");
    pages->invalidate();
    unsigned length = 0;
    Variant out = 1;
    Error got, put;
    EXPECT_EQ(pages->getLength(length), 0);
    EXPECT_EQ(length, 1U);
    EXPECT_EQ(pages->getByIndex(0, out, &got), 45);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(got), "Object is invalid");
    EXPECT_EQ(pages->putByIndex(0, 1, &put), 45);
    EXPECT_EQ(fullText(put), "Object is invalid");
    EXPECT_EQ(pages->putLength(0), 45);
    pages->reset();
    EXPECT_EQ(pages->length(), 1U);
    EXPECT_EQ(textOf(*pages), "[Invalid Object]");
}

TEST_F(LiveArrayTest, StoresItsChangesAndForgetsTheCode)
{
    const auto owner = make<Counting>();
    const auto pages = liveArray("a");
    pages->setAutostore(owner.get(), 9);
    EXPECT_EQ(pages->putByIndex(0, "b", nullptr), 0);
    EXPECT_EQ(pages->putLength(3), 0);
    EXPECT_EQ(owner->puts, 2);
    pages->reset();
    EXPECT_EQ(owner->puts, 3);
    EXPECT_EQ(pages->length(), 0U);
}

TEST_F(LiveArrayTest, ResetsToNothing)
{
    const auto pages = liveArray("a", "b");
    pages->put("own", 1, kInfoReadWrite);
    pages->reset();
    EXPECT_EQ(pages->length(), 0U);
    Variant out;
    EXPECT_EQ(pages->get("own", out), 2);
}

// An element whose end clears the array.
TEST_F(LiveArrayTest, AnOldElementMayClearTheArrayThatItDiesOf)
{
    struct Last : LiveObject
    {
        explicit Last(LiveArray &whose) : LiveObject("Last", false), owner(whose) {}
        ~Last() override { owner.reset(); }
        LiveArray &owner;
    };
    const auto pages = liveArray("a");
    pages->putByIndex(0, Variant(make<Last>(*pages).get()), nullptr);
    EXPECT_EQ(pages->putByIndex(0, "new", nullptr), 0);
    EXPECT_EQ(pages->length(), 0U);
}

TEST_F(LiveArrayTest, AnElementMayUseTheArrayThatDiesWithIt)
{
    struct Last : LiveObject
    {
        Last(LiveArray &whose, int &noted) : LiveObject("Last", false), owner(whose), code(noted) {}
        ~Last() override
        {
            Variant out;
            code = owner.getByIndex(0, out, nullptr);
            EXPECT_EQ(owner.length(), 0U);
            EXPECT_EQ(owner.putByIndex(0, 1, nullptr), 45);
            String text;
            owner.toString(text);
            EXPECT_EQ(text, "[Invalid Object]");
        }
        LiveArray &owner;
        int &code;
    };
    int code = 0;
    {
        const auto pages = liveArray("a");
        pages->putByIndex(0, Variant(make<Last>(*pages, code).get()), nullptr);
    }
    EXPECT_EQ(code, 45);
}

// --- The text ------------------------------------------------------------------------------------

TEST_F(LiveArrayTest, TellsItsElements)
{
    EXPECT_EQ(textOf(*liveArray()), "");
    EXPECT_EQ(textOf(*liveArray("a", 2, true)), "a,2,true");
    EXPECT_EQ(textOf(*liveArray(Variant(), 1, Variant())), ",1,");
    EXPECT_EQ(textOf(*liveArray(arrayOfValues(1, 2), "x")), "[1,2],x");
    EXPECT_EQ(textOf(*liveArray(liveArray(1, 2).get(), make<Plain>("Foo").get())),
              "1,2,[object Foo]");
}

TEST_F(LiveArrayTest, TellsAThousandElementsAndNotOneMore)
{
    const auto pages = liveArray();
    pages->putLength(1000);
    EXPECT_EQ(textOf(*pages).length(), 999);
    pages->putLength(1001);
    EXPECT_EQ(textOf(*pages), "[too many elements]");
}

TEST_F(LiveArrayTest, TellsItsClassWhereItContainsItself)
{
    const auto pages = make<LiveArray>(nullptr, 0, false);
    pages->putByIndex(0, 1, nullptr);
    pages->putByIndex(1, Variant(pages.get()), nullptr);
    EXPECT_EQ(textOf(*pages), "1,[object Collection]");
    pages->reset();
}

TEST_F(LiveArrayTest, TellsCirclesAndDeepNestsToAnEnd)
{
    const auto a = liveArray(1), b = liveArray(2);
    a->putByIndex(1, Variant(b.get()), nullptr);
    b->putByIndex(1, Variant(a.get()), nullptr);
    EXPECT_EQ(textOf(*a), "1,2,[object Pages]");
    a->reset();

    Owned<LiveArray> first = liveArray("end");
    for (int depth = 0; depth < 10'000; ++depth)
        first = liveArray(first.get());
    EXPECT_EQ(textOf(*first), "[object Pages]");
}

TEST_F(LiveArrayTest, TellsWhatItsMethodGives)
{
    struct Speaking : LiveArray
    {
        Speaking() : LiveArray("Pages", lengthNumber, false)
        {
            defineIDForName("toString", 7, kInfoMethod);
        }
        int call(int, const Array &, Variant &result, Error *) override
        {
            result = "spoken";
            return code;
        }
        using LiveObject::call;
        int code = 0;
    };
    const auto speaking = make<Speaking>();
    speaking->putByIndex(0, 1, nullptr);
    EXPECT_EQ(textOf(*speaking), "spoken");
    speaking->code = 57;
    EXPECT_EQ(textOf(*speaking), "1");
    const auto data = liveArray(1);
    data->put("toString", "data", kInfoReadWrite);
    EXPECT_EQ(textOf(*data), "1");
}

TEST_F(LiveArrayTest, TellsThatAnElementOrTheLengthFailed)
{
    struct Failing : LiveArray
    {
        Failing() : LiveArray("Pages", lengthNumber, false) {}
        int getLength(unsigned &length) const override
        {
            length = 3;
            return lengthCode;
        }
        int getByIndex(unsigned index, Variant &out, Error *error) const override
        {
            EXPECT_EQ(error, nullptr);
            out = static_cast<int>(index);
            return index == 2 ? elementCode : 0;
        }
        int lengthCode = 0;
        int elementCode = 0;
    };
    const auto failing = make<Failing>();
    EXPECT_EQ(textOf(*failing), "0,1,2");
    failing->elementCode = 57;
    EXPECT_EQ(textOf(*failing), "[error]");
    failing->lengthCode = 57;
    EXPECT_EQ(textOf(*failing), "[error]");
}
