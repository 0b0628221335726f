// SPDX-License-Identifier: MIT
// Reading, writing and calling by id: who answers, and what the error says.
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::fullText;
using test::make;
using test::Plain;
using test::Ruler;
using test::Veil;

namespace {

using LiveObjectDispatchTest = test::LibraryTest;

constexpr InfoType allTypes[] = {kInfoReadOnly,        kInfoReadWrite,      kInfoMethod,
                                 kInfoReadWriteMethod, kInfoReadOnlyMethod, kInfoNone,
                                 kInfoHidden};

// What get, put and call answer in the end, by type.
struct Answers
{
    const char *name;
    InfoType type;
    int get, put, call;
};

// A component whose one type the test chooses, and that always succeeds.
struct Obliging : LiveComponent
{
    explicit Obliging(InfoType which) : type(which) {}
    InfoType getType(const LiveObject &, int) override { return type; }
    int get(const LiveObject &, int, Variant &out, Error *) const override
    {
        out = "got";
        return 0;
    }
    int put(LiveObject &, int, const Variant &, Error *) override { return 0; }
    int call(LiveObject &, int, const Array &, Variant &result, Error *) override
    {
        result = "called";
        return 0;
    }
    InfoType type;
};

// A property that can be called, and fails on demand.
struct Callable : LiveProperty
{
    using LiveProperty::LiveProperty;
    int call(const Array &args, Variant &result) override
    {
        result = static_cast<int>(args.length());
        return 0;
    }
};

struct CallableObject : Plain
{
    using Plain::Plain;
    LiveProperty *createProperty(const String &name, int id, unsigned flags) override
    {
        return new Callable(*this, name, id, flags);
    }
};

} // namespace

// --- Dynamic properties --------------------------------------------------------------------------

TEST_F(LiveObjectDispatchTest, ADynamicPropertyAnswersByItsType)
{
    const Answers rows[] = {
        {"read-only", kInfoReadOnly, 0, 0, 24},
        {"read-write", kInfoReadWrite, 0, 0, 24},
        {"method", kInfoMethod, 2, 0, 0},
        {"read-write method", kInfoReadWriteMethod, 0, 0, 0},
        {"read-only method", kInfoReadOnlyMethod, 0, 0, 0},
    };
    for (const Answers &row : rows) {
        SCOPED_TRACE(row.name);
        const auto object = make<CallableObject>();
        ASSERT_EQ(object->defineIDForName("x", 5, row.type), 0);
        Variant out = "before";
        EXPECT_EQ(object->get(5, out, nullptr), row.get);
        EXPECT_FALSE(out.isDefined());
        EXPECT_EQ(object->put(5, "new", nullptr), row.put);
        out = "before";
        EXPECT_EQ(object->call(5, test::arrayOfValues(1, 2), out, nullptr), row.call);
        EXPECT_EQ(out, row.call == 0 ? Variant(2) : Variant());
    }
}

// D-243
TEST_F(LiveObjectDispatchTest, AReadOnlyDynamicPropertyTakesOneValue)
{
    const auto object = make<Plain>();
    object->defineIDForName("x", 5, kInfoReadOnly);
    Error error;
    EXPECT_EQ(object->put(5, "first", &error), 0);
    EXPECT_EQ(object->put(5, "second", &error), 2);
    EXPECT_EQ(fullText(error), "x is undefined");
    Variant out;
    EXPECT_EQ(object->get(5, out, nullptr), 0);
    EXPECT_EQ(out, Variant("first"));
}

TEST_F(LiveObjectDispatchTest, APlainDynamicMethodIsNoFunction)
{
    const auto object = make<Plain>();
    object->defineIDForName("f", 5, kInfoMethod);
    Variant result = 1;
    Error error;
    EXPECT_EQ(object->call(5, Array(), result, &error), 24);
    EXPECT_FALSE(result.isDefined());
    EXPECT_EQ(fullText(error), "f is not a function");
}

TEST_F(LiveObjectDispatchTest, ADynamicPropertyHidesTheComponents)
{
    const auto object = make<Plain>();
    const auto ruler = make<Ruler>();
    object->addComponent(*ruler);
    object->defineIDForName("mine", Ruler::unitID, kInfoReadWrite);
    Variant out;
    EXPECT_EQ(object->get(Ruler::unitID, out, nullptr), 0);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(object->put(Ruler::unitID, "cm", nullptr), 0);
    EXPECT_EQ(ruler->unit, "mm");
    EXPECT_EQ(object->call(Ruler::measureID, Array(), out, nullptr), 0);
}

// --- Components ----------------------------------------------------------------------------------

TEST_F(LiveObjectDispatchTest, AComponentAnswersByItsType)
{
    const Answers rows[] = {
        {"read-only", kInfoReadOnly, 0, 46, 24},
        {"read-write", kInfoReadWrite, 0, 0, 24},
        {"method", kInfoMethod, 2, 2, 0},
        {"read-write method", kInfoReadWriteMethod, 0, 0, 0},
        {"read-only method", kInfoReadOnlyMethod, 0, 46, 0},
        {"none", kInfoNone, 2, 2, 24},
        {"hidden", kInfoHidden, 2, 2, 2},
    };
    for (const Answers &row : rows) {
        SCOPED_TRACE(row.name);
        const auto object = make<Plain>();
        const auto component = make<Obliging>(row.type);
        object->addComponent(*component);
        Variant out;
        EXPECT_EQ(object->get(5, out, nullptr), row.get);
        EXPECT_EQ(out, row.get == 0 ? Variant("got") : Variant());
        EXPECT_EQ(object->put(5, 1, nullptr), row.put);
        EXPECT_EQ(object->call(5, Array(), out, nullptr), row.call);
        EXPECT_EQ(out, row.call == 0 ? Variant("called") : Variant());
    }
}

// Behind the component of each type stands one that answers everything.
TEST_F(LiveObjectDispatchTest, OnlySomeTypesLetTheNextComponentAnswer)
{
    const Answers rows[] = {
        {"read-only", kInfoReadOnly, 0, 46, 24}, {"read-write", kInfoReadWrite, 0, 0, 24},
        {"method", kInfoMethod, 2, 2, 0},        {"none", kInfoNone, 0, 0, 0},
        {"hidden", kInfoHidden, 2, 2, 2},        {"no type at all", InfoType(3), 0, 0, 24},
    };
    for (const Answers &row : rows) {
        SCOPED_TRACE(row.name);
        const auto object = make<Plain>();
        const auto last = make<Obliging>(kInfoReadWriteMethod);
        const auto first = make<Obliging>(row.type);
        object->addComponent(*last);
        object->addComponent(*first);
        Variant out;
        EXPECT_EQ(object->get(5, out, nullptr), row.get);
        EXPECT_EQ(object->put(5, 1, nullptr), row.put);
        EXPECT_EQ(object->call(5, Array(), out, nullptr), row.call);
    }
}

TEST_F(LiveObjectDispatchTest, AMethodWorksOnItsOwnClassUnlessItIsGeneric)
{
    const auto object = make<Plain>("Page");
    const auto same = make<Plain>("Page");
    const auto other = make<Plain>("Sheet");
    const auto ruler = make<Ruler>();
    object->addComponent(*ruler);
    Variant result;
    Error error;
    EXPECT_EQ(object->apply(*same, Ruler::measureID, test::arrayOfValues(1), result, &error), 0);
    EXPECT_EQ(ruler->measured, same.get());
    EXPECT_EQ(result, Variant(1));
    EXPECT_EQ(object->apply(*other, Ruler::measureID, Array(), result, &error), 26);
    EXPECT_EQ(fullText(error), "measure cannot work with instances of this class");
    EXPECT_FALSE(result.isDefined());
    EXPECT_EQ(object->apply(*other, Ruler::anywhereID, Array(), result, nullptr), 0);
    EXPECT_EQ(ruler->measured, other.get());
}

TEST_F(LiveObjectDispatchTest, AComponentWordsItsOwnFailure)
{
    struct Wordy : LiveComponent
    {
        InfoType getType(const LiveObject &, int) override { return kInfoReadWriteMethod; }
        int get(const LiveObject &, int, Variant &, Error *error) const override
        {
            error->push(1, "no ink", nullptr, true);
            return 57;
        }
    };
    const auto object = make<Plain>();
    const auto wordy = make<Wordy>();
    object->addComponent(*wordy);
    Variant out;
    Error error;
    EXPECT_EQ(object->get(5, out, &error), 57);
    EXPECT_EQ(fullText(error), "no ink");
}

// A component that leaves its object, and lets it go, while it is being called.
TEST_F(LiveObjectDispatchTest, AComponentMayEndItselfAndItsObject)
{
    struct Leaving : LiveComponent
    {
        LiveObject *object = nullptr;
        InfoType getType(const LiveObject &, int id) override
        {
            return id == 1 ? leave(kInfoNone) : kInfoReadWriteMethod;
        }
        int get(const LiveObject &, int, Variant &, Error *) const override
        {
            const_cast<Leaving *>(this)->leave(kInfoNone);
            return 57;
        }
        InfoType leave(InfoType type)
        {
            object->removeComponent(*this);
            object->release();
            return type;
        }
    };
    for (const int id : {1, 2}) {
        auto *object = new Plain;
        auto *component = new Leaving;
        component->object = object;
        const auto below = make<Ruler>();
        object->addComponent(*below);
        object->addComponent(*component);
        component->release();
        Variant out;
        Error error;
        EXPECT_EQ(object->get(id, out, &error), id == 1 ? 2 : 57);
        EXPECT_EQ(Plain::living, 0);
        EXPECT_EQ(below->getRefCount(), 1);
    }
}

TEST_F(LiveObjectDispatchTest, ComponentsMayBeAddedAndRemovedDuringASearch)
{
    struct Clearing : LiveComponent
    {
        std::vector<LiveComponent *> others;
        InfoType getType(const LiveObject &object, int) override
        {
            for (LiveComponent *other : others)
                const_cast<LiveObject &>(object).removeComponent(*other);
            return kInfoNone;
        }
    };
    const auto object = make<Plain>();
    const auto a = make<Obliging>(kInfoReadWrite), b = make<Obliging>(kInfoReadWrite);
    const auto clearing = make<Clearing>();
    object->addComponent(*a);
    object->addComponent(*b);
    object->addComponent(*clearing);
    clearing->others = {a.get(), b.get()};
    Variant out;
    EXPECT_EQ(object->get(5, out, nullptr), 2);
    EXPECT_EQ(a->getRefCount(), 1);
}

TEST_F(LiveObjectDispatchTest, NoComponentIsAskedTwiceInASearch)
{
    struct Counting : LiveComponent
    {
        std::vector<LiveComponent *> leaving, coming;
        int questions = 0;
        InfoType getType(const LiveObject &asking, int) override
        {
            ++questions;
            auto &object = const_cast<LiveObject &>(asking);
            for (LiveComponent *other : leaving)
                object.removeComponent(*other);
            for (LiveComponent *other : coming)
                object.addComponent(*other);
            return kInfoNone;
        }
    };
    using Places = std::vector<int>;
    struct Row
    {
        const char *name;
        Places leaving, coming;     // when the third of four is asked
        std::vector<int> questions; // of each, and of a fifth one
    };
    const Row rows[] = {
        {"nothing changes", {}, {}, {1, 1, 1, 1, 0}},
        {"one that was asked goes", {3}, {}, {1, 1, 1, 1, 0}},
        {"the one that is asked goes", {2}, {}, {1, 1, 1, 1, 0}},
        {"the next one goes", {1}, {}, {1, 0, 1, 1, 0}},
        {"the one that is asked and one before go", {0, 2}, {}, {0, 1, 1, 1, 0}},
        {"all go", {0, 1, 2, 3}, {}, {0, 0, 1, 1, 0}},
        {"all go and come again", {0, 1, 2, 3}, {3, 2, 1, 0}, {1, 1, 1, 1, 0}},
        {"one comes", {}, {4}, {1, 1, 1, 1, 0}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto object = make<Plain>();
        std::vector<test::Owned<Counting>> all;
        for (int number = 0; number < 5; ++number)
            all.push_back(make<Counting>());
        for (std::size_t number = 0; number < 4; ++number)
            object->addComponent(*all[number]);
        for (const int number : row.leaving)
            all[2]->leaving.push_back(all[static_cast<std::size_t>(number)].get());
        for (const int number : row.coming)
            all[2]->coming.push_back(all[static_cast<std::size_t>(number)].get());
        Variant out;
        EXPECT_EQ(object->get(5, out, nullptr), 2);
        std::vector<int> questions;
        for (const auto &each : all)
            questions.push_back(each->questions);
        EXPECT_EQ(questions, row.questions);
    }
}

// --- Nobody --------------------------------------------------------------------------------------

TEST_F(LiveObjectDispatchTest, NamesWhatNobodyKnows)
{
    const auto object = make<Plain>("Foo");
    Variant out = 1;
    Error got, put, called;
    EXPECT_EQ(object->get(5, out, &got), 2);
    EXPECT_EQ(fullText(got), "{LiveObject(\"Foo\").property(5)} is undefined");
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(object->put(0x54455354, 1, &put), 2);
    EXPECT_EQ(fullText(put), "{LiveObject(\"Foo\").property('TEST')} is undefined");
    EXPECT_EQ(object->call(0x01020304, Array(), out, &called), 24);
    EXPECT_EQ(fullText(called), "{LiveObject(\"Foo\").property(0x01020304)} is not a function");
}

TEST_F(LiveObjectDispatchTest, SaysThatTheObjectIsInvalid)
{
    const auto object = make<Plain>();
    object->invalidate();
    Variant out;
    Error error;
    EXPECT_EQ(object->get(5, out, &error), 45);
    EXPECT_EQ(fullText(error), "Object is invalid");
}

// --- Classes of hosts ----------------------------------------------------------------------------

TEST_F(LiveObjectDispatchTest, AClassAnswersForItsOwnIds)
{
    const auto document = make<Document>();
    Variant out;
    EXPECT_EQ(document->get(Document::sizeID, out, nullptr), 0);
    EXPECT_EQ(out, Variant(3));
    EXPECT_EQ(document->put(Document::sizeID, 12, nullptr), 0);
    EXPECT_EQ(document->call(Document::scaleID, test::arrayOfValues(2), out, nullptr), 0);
    EXPECT_EQ(out, Variant(24));
    Error error;
    EXPECT_EQ(document->put(Document::sizeID, 2000, &error), 41);
    EXPECT_EQ(fullText(error), "size is out of range");
    EXPECT_EQ(document->put(Document::titleID, "x", nullptr), 2);
}

TEST_F(LiveObjectDispatchTest, AComponentThatThrowsGivesACode)
{
    struct Throwing : LiveComponent
    {
        InfoType getType(const LiveObject &, int) override { return kInfoReadWriteMethod; }
        int get(const LiveObject &, int, Variant &, Error *) const override
        {
            throw std::runtime_error("no paper");
        }
        int put(LiveObject &, int, const Variant &, Error *) override { throw std::bad_alloc(); }
        int call(LiveObject &, int, const Array &, Variant &, Error *) override { throw 5; }
    };
    const auto object = make<Plain>();
    const auto throwing = make<Throwing>();
    object->addComponent(*throwing);
    throwing->createLock();
    Variant out;
    Error got, put, called;
    EXPECT_EQ(object->get(5, out, &got), -29);
    EXPECT_EQ(fullText(got), "Uncaught exception no paper");
    EXPECT_EQ(object->put(5, 1, &put), -28);
    EXPECT_EQ(fullText(put), "Out of memory");
    EXPECT_EQ(object->call(5, Array(), out, &called), -29);
    EXPECT_EQ(fullText(called), "Uncaught exception ");
    EXPECT_EQ(object->get(5, out, nullptr), -29);
}

TEST_F(LiveObjectDispatchTest, AClassThatThrowsInApplyGivesACode)
{
    struct Throwing : Plain
    {
        int apply(LiveObject &, int, const Array &, Variant &, Error *) const override { throw 5; }
    };
    Variant result;
    Error error;
    EXPECT_EQ(make<Throwing>()->call(5, Array(), result, &error), -29);
    EXPECT_EQ(fullText(error), "Uncaught exception ");
}

TEST_F(LiveObjectDispatchTest, EveryTypeIsEitherReadableWritableOrCallable)
{
    for (const InfoType type : allTypes) {
        const auto object = make<Plain>();
        const auto veil = make<Veil>(type);
        object->addComponent(*veil);
        Variant out;
        Error error;
        // The component answers for the id, and knows nothing of it.
        EXPECT_NE(object->get(5, out, &error), 0);
        EXPECT_NE(error.getCode(), 0);
    }
}
