// SPDX-License-Identifier: MIT
// Reading, writing and calling by name.
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::arrayOfValues;
using test::Document;
using test::fullText;
using test::make;
using test::Plain;
using test::Ruler;

namespace {

using LiveObjectByNameTest = test::LibraryTest;

} // namespace

TEST_F(LiveObjectByNameTest, ReadsWritesAndCallsByName)
{
    const auto document = make<Document>();
    Variant out;
    EXPECT_EQ(document->get("title", out), 0);
    EXPECT_EQ(out, Variant("Report"));
    EXPECT_EQ(document->put("size", 5, LiveObject::onlyKnown), 0);
    EXPECT_EQ(document->call("scale", arrayOfValues(3), out), 0);
    EXPECT_EQ(out, Variant(15));
}

TEST_F(LiveObjectByNameTest, ANameThatNobodyKnowsIsUndefined)
{
    const auto document = make<Document>();
    Variant out = 1;
    Error got, put, called;
    EXPECT_EQ(document->get("colour", out, &got), 2);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(got), "colour is undefined");
    EXPECT_EQ(document->put("colour", 1, LiveObject::onlyKnown, &put), 2);
    EXPECT_EQ(fullText(put), "colour is undefined");
    out = 1;
    EXPECT_EQ(document->call("colour", out, &called), 2);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(called), "colour is undefined");
    EXPECT_EQ(document->get("colour", out, nullptr), 2);
}

TEST_F(LiveObjectByNameTest, NamesAreOfTheDefaultLanguage)
{
    const auto document = make<Document>();
    Variant out;
    EXPECT_EQ(document->get("SIZE", out), 2);
}

TEST_F(LiveObjectByNameTest, AWriteMakesANewProperty)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->put("colour", "red", kInfoReadWrite | kPropertyPermanent), 0);
    Variant out;
    EXPECT_EQ(object->get("colour", out), 0);
    EXPECT_EQ(out, Variant("red"));
    int id = 0;
    InfoType type;
    object->getIDForName("colour", id, type, kDefaultLanguage);
    EXPECT_EQ(object->findProperty(id)->getFlags(), static_cast<unsigned>(0x42));
    EXPECT_EQ(object->put("colour", "blue", kInfoReadWrite), 0);
    object->get("colour", out);
    EXPECT_EQ(out, Variant("blue"));
}

TEST_F(LiveObjectByNameTest, ANewReadOnlyPropertyTakesItsFirstValue)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->put("born", 1970, kInfoReadOnly), 0);
    Error error;
    EXPECT_EQ(object->put("born", 1980, kInfoReadOnly, &error), 46);
    EXPECT_EQ(fullText(error), "born is read only");
    Variant out;
    object->get("born", out);
    EXPECT_EQ(out, Variant(1970));
}

TEST_F(LiveObjectByNameTest, AFixedObjectTakesNoNewNames)
{
    const auto object = make<Plain>("Plain", false);
    Error error;
    EXPECT_EQ(object->put("colour", 1, kInfoReadWrite, &error), 55);
    EXPECT_EQ(fullText(error), "Object does not support the property or method 'colour'");
}

// What each operation answers for a property of each type, and its words.
TEST_F(LiveObjectByNameTest, TheTypeDecidesWhatAPropertyIsFor)
{
    struct Row
    {
        const char *name;
        const char *get, *put, *call; // the words of the error; empty for success
    };
    const Row rows[] = {
        {"extent", "", "extent is read only", "extent is not a function"},
        {"unit", "", "", "unit is not a function"},
        {"measure", "Object does not support the property or method 'measure'",
         "Object does not support the property or method 'measure'", ""},
        {"anywhere", "", "anywhere is read only", ""},
        {"grid", "", "grid is undefined", ""},
    };
    const auto object = make<Plain>();
    const auto ruler = make<Ruler>();
    object->addComponent(*ruler);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        Variant out;
        Error got, put, called;
        object->get(row.name, out, &got);
        EXPECT_EQ(fullText(got), row.get);
        object->put(row.name, "cm", kInfoReadWrite, &put);
        EXPECT_EQ(fullText(put), row.put);
        object->call(row.name, out, &called);
        EXPECT_EQ(fullText(called), row.call);
    }
}

TEST_F(LiveObjectByNameTest, CallsWithAndWithoutArgumentsResultAndError)
{
    const auto object = make<Plain>();
    const auto ruler = make<Ruler>();
    object->addComponent(*ruler);
    Variant result;
    Error error;
    EXPECT_EQ(object->call("measure", arrayOfValues(1, 2), result, &error), 0);
    EXPECT_EQ(result, Variant(2));
    EXPECT_EQ(object->call("measure", result, &error), 0);
    EXPECT_EQ(result, Variant(0));
    EXPECT_EQ(object->call("measure", arrayOfValues(1), &error), 0);
    EXPECT_EQ(object->call("measure", &error), 0);
    EXPECT_EQ(object->call("unit", &error), 24);
    EXPECT_EQ(fullText(error), "unit is not a function");

    EXPECT_EQ(object->call(Ruler::measureID, result), 0);
    EXPECT_EQ(object->call(Ruler::measureID, arrayOfValues(1)), 0);
    EXPECT_EQ(object->call(Ruler::measureID), 0);
    EXPECT_EQ(object->call(Ruler::unitID), 24);
    EXPECT_EQ(object->call(Ruler::unitID, arrayOfValues(1)), 24);
}

TEST_F(LiveObjectByNameTest, WordsOnTopOfAnOlderErrorOnlyWhatANameIs)
{
    const auto document = make<Document>();
    Error error(19, "n", true);
    Variant out;
    EXPECT_EQ(document->get("colour", out, &error), 2);
    EXPECT_EQ(fullText(error), "colour is undefined\n- Bad argument n");
    EXPECT_EQ(document->get("clear", out, &error), 55);
    EXPECT_EQ(fullText(error), "colour is undefined\n- Bad argument n");
}

TEST_F(LiveObjectByNameTest, AnInvalidObjectSaysSo)
{
    const auto document = make<Document>();
    document->invalidate();
    Variant out;
    Error error;
    EXPECT_EQ(document->get("size", out, &error), 45);
    EXPECT_EQ(fullText(error), "Object is invalid");
}

// No exception of a host's code comes out.
TEST_F(LiveObjectByNameTest, AHandlerThatThrowsGivesACode)
{
    const auto document = make<Document>();
    Variant out;
    Error got, put, called, exhausted;
    EXPECT_EQ(document->get("throws", out, &got), -29);
    EXPECT_EQ(fullText(got), "Uncaught exception no paper");
    EXPECT_EQ(document->put("throws", 1, LiveObject::onlyKnown, &put), -29);
    EXPECT_EQ(fullText(put), "Uncaught exception no paper");
    EXPECT_EQ(document->call("throws", out, &called), -29);
    EXPECT_EQ(fullText(called), "Uncaught exception no paper");
    EXPECT_EQ(document->get("exhausts", out, &exhausted), -28);
    EXPECT_EQ(fullText(exhausted), "Out of memory");
    EXPECT_EQ(document->put("exhausts", 1, LiveObject::onlyKnown), -28);
    EXPECT_EQ(document->call("exhausts"), -28);
    EXPECT_EQ(document->call(Document::throwID), -29);
    EXPECT_EQ(document->call(Document::throwID, out), -29);
}

// The words of a failure may not hold the object that failed.
TEST_F(LiveObjectByNameTest, AHandlerMayDropTheObject)
{
    struct Dropping : Plain
    {
        Dropping() { defineIDForName("x", 5, kInfoReadWriteMethod); }
        int get(int, Variant &, Error *) const override
        {
            release();
            return 57;
        }
        int put(int, const Variant &, Error *) override
        {
            release();
            return 57;
        }
        int call(int, const Array &, Variant &, Error *) override
        {
            release();
            return 57;
        }
        using LiveObject::call;
        using LiveObject::get;
        using LiveObject::put;
    };
    Variant out;
    Error got, put, called;
    EXPECT_EQ((new Dropping)->get("x", out, &got), 57);
    EXPECT_EQ((new Dropping)->put("x", 1, 2, &put), 57);
    EXPECT_EQ((new Dropping)->call("x", out, &called), 57);
    EXPECT_EQ(fullText(got), "Cannot resolve reference");
    EXPECT_EQ(Plain::living, 0);
}

// An object of the library's own class takes a shorter way.
TEST_F(LiveObjectByNameTest, AnObjectWithoutAClassOfItsOwnReadsAlike)
{
    const auto object = make<LiveObject>("Object", true);
    const String longName = "aNameOfMoreThanSixteenUnits";
    object->put("x", 1, kInfoReadWrite);
    object->put(longName, "long", kInfoReadOnly);
    object->defineIDForName("method", 900, kInfoMethod);
    object->defineIDForName("asked", 901, kInfoReadWrite | kPropertyByMessage);
    Variant out;
    Error error;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(object->get("x", out, &error), 0);
        EXPECT_EQ(out, Variant(1));
        EXPECT_EQ(object->get(longName, out, &error), 0);
        EXPECT_EQ(out, Variant("long"));
    }
    EXPECT_EQ(object->get("X", out), 2);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(object->get("method", out, &error), 55);
    EXPECT_EQ(fullText(error), "Object does not support the property or method 'method'");
    EXPECT_EQ(object->get("asked", out), 2);
    test::Ear ear = test::liveEar([](LiveMessage &message) {
        *message.getData() = "answer";
        return true;
    });
    object->addListener(ear, askGet);
    EXPECT_EQ(object->get("asked", out), 0);
    EXPECT_EQ(out, Variant("answer"));
    object->removeListener(ear, askGet);
    object->invalidate();
    EXPECT_EQ(object->get("x", out), 45);
    EXPECT_FALSE(out.isDefined());
}

TEST_F(LiveObjectByNameTest, OverridesSeeEachStep)
{
    struct Steps
    {
        int names = 0;
        int reads = 0;
        int values = 0;
    };
    struct Counted : LiveProperty
    {
        Counted(LiveObject &object, const String &name, int id, unsigned flags, Steps &counted)
            : LiveProperty(object, name, id, flags), steps(counted)
        {}
        int get(Variant &out) const override
        {
            ++steps.values;
            return LiveProperty::get(out);
        }
        Steps &steps;
    };
    struct Counting : LiveObject
    {
        Counting() : LiveObject("Counting", true) {}
        using LiveObject::get;
        int getIDForName(const String &name, int &id, InfoType &type, int flags) const override
        {
            ++steps.names;
            return LiveObject::getIDForName(name, id, type, flags);
        }
        int get(int id, Variant &out, Error *error) const override
        {
            ++steps.reads;
            return LiveObject::get(id, out, error);
        }
        LiveProperty *createProperty(const String &name, int id, unsigned flags) override
        {
            return new Counted(*this, name, id, flags, steps);
        }
        mutable Steps steps;
    };
    const auto object = make<Counting>();
    object->put("width", 3, kInfoReadWrite);
    object->steps = {};
    Variant out;
    EXPECT_EQ(object->get("width", out), 0);
    EXPECT_EQ(out, Variant(3));
    EXPECT_EQ(object->steps.names, 1);
    EXPECT_EQ(object->steps.reads, 1);
    EXPECT_EQ(object->steps.values, 1);
}

// The object counts the references that it takes for itself down, unless others went meanwhile.
TEST_F(LiveObjectByNameTest, TheHostSeesTheReleaseOfAnObjectThatWasLetGoMeanwhile)
{
    struct Pooled : LiveObject
    {
        explicit Pooled(int &counter) : LiveObject("Pooled", true), releases(counter) {}
        using LiveObject::get;
        int get(int id, Variant &out, Error *error) const override
        {
            const int code = LiveObject::get(id, out, error);
            if (letsGo)
                LiveBase::release();
            return code;
        }
        void release() const override
        {
            ++releases;
            LiveObject::release();
        }
        bool letsGo = false;
        int &releases;
    };
    int releases = 0;
    auto *object = new Pooled(releases);
    object->put("width", 3, kInfoReadWrite);
    Variant out;
    EXPECT_EQ(object->get("width", out), 0);
    EXPECT_EQ(object->getRefCount(), 1);
    EXPECT_EQ(releases, 0);
    object->letsGo = true;
    object->addRef(); // as a pool holds one
    EXPECT_EQ(object->get("width", out), 0);
    EXPECT_EQ(object->getRefCount(), 1);
    EXPECT_EQ(releases, 1);
    EXPECT_EQ(object->get("width", out), 0);
    EXPECT_EQ(out, Variant(3));
    EXPECT_EQ(releases, 2);
}
