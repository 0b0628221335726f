// SPDX-License-Identifier: MIT
// Every operation of objects, components and collections with each of its requests for memory
// refused in turn. None throws: an operation answers -28 and has done nothing, or a part of its
// work that the object can stand by, and nothing is lost.
#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include <tavrin/HashTable.h>
#include <tavrin/Reflection.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::Allocates;
using test::arrayOfValues;
using test::make;
using test::Owned;
using test::Plain;
using test::Ruler;

namespace {

using LiveObjectMemoryTest = test::LibraryTest;

constexpr int outOfMemory = -28;

// Objects that know each other, and what the operation on them has answered.
struct World
{
    World()
    {
        object->createLock();
        for (int number = 0; number < 10; ++number) {
            String name;
            name.print("property%d", number);
            object->defineIDForName(name, 500 + number, kInfoReadWrite);
            object->put(500 + number, "a text that does not fit into anything", nullptr);
        }
        object->addComponent(*ruler);
        object->addListener(ear, askID);
        object->addListener(ear, askInvoke);
        collection->putByIndex(0, "first", nullptr);
        for (const int id : {askGetLength, askPutLength, askGetIndex, askPutIndex, askDeleteIndex})
            pages->addListener(ear, id);
        prototype->setObjectID(5);
    }
    ~World() { LiveObject::removeFactory("Prototype"); }

    Owned<Plain> object = make<Plain>();
    Owned<Plain> other = make<Plain>();
    Owned<Plain> prototype = make<Plain>("Prototype");
    Owned<test::Document> document = make<test::Document>();
    Owned<Ruler> ruler = make<Ruler>();
    Owned<LiveArray> collection = make<LiveArray>(arrayOfValues(1, 2), nullptr, 0, false);
    test::Ear ear = test::liveEar([](LiveMessage &message) {
        message.getPropertyID() = 77;
        *message.getData() = 2;
        return true;
    });
    Owned<LiveCollection> pages = make<LiveCollection>("Pages", 0, false);
    Variant out;
    Error error;
};

// An object that found no memory for its data.
void expectNothingOf(Plain &object)
{
    EXPECT_EQ(object.getAs(asValue), nullptr);
    EXPECT_EQ(object.setAutostore(&object, 1), 45);
    EXPECT_EQ(object.invokeAutostore(nullptr), 0);
    EXPECT_EQ(object.lookupIndexableComponent(), nullptr);
    EXPECT_EQ(object.getData(), nullptr);
    EXPECT_EQ(object.getObjectID(), 0);
    object.setObjectID(1);
    object.setData(&object);
    object.revalidate();
    EXPECT_EQ(object.put(1, 1, nullptr), 45);
    EXPECT_EQ(object.getClassInfo(0), nullptr);
    EXPECT_FALSE(object == object);
    Variant value;
    object.valueOf(value);
    EXPECT_FALSE(value.isDefined());
}

struct Operation
{
    const char *name;
    std::function<int(World &)> run;
    Allocates allocates = Allocates::perhaps;
    int success = 0; // its code when there is memory
};

const Operation operations[] = {
    {"construction",
     [](World &w) {
         try {
             w.other = make<Plain>("Made");
         } catch (const std::bad_alloc &) { // of the object itself
             return outOfMemory;
         }
         if (w.other->isValid())
             return 0;
         expectNothingOf(*w.other);
         w.other = make<Plain>("Made");
         return outOfMemory;
     },
     Allocates::always},
    {"get by id", [](World &w) { return w.object->get(500, w.out, &w.error); }},
    {"get by name", [](World &w) { return w.object->get("property1", w.out, &w.error); },
     Allocates::always},
    {"get of an unknown id", [](World &w) { return w.object->get(12345, w.out, &w.error); },
     Allocates::always, 2},
    {"put by id", [](World &w) { return w.object->put(501, "new", &w.error); }},
    {"put of a new name",
     [](World &w) {
         const String name("brand new name");
         w.object->removeListener(w.ear, askID);
         return w.object->put(name, "value", kInfoReadWrite, &w.error);
     },
     Allocates::always},
    {"call of a component",
     [](World &w) { return w.object->call(Ruler::measureID, Array(), w.out, &w.error); }},
    {"call by name", [](World &w) { return w.object->call("measure", w.out, &w.error); },
     Allocates::always},
    {"a name that a listener knows",
     [](World &w) {
         int id;
         InfoType type;
         const String name("known to the listener");
         return w.object->getIDForName(name, id, type, kDefaultLanguage);
     },
     Allocates::always},
    {"a name of an id",
     [](World &w) {
         String name;
         return w.object->getNameForID(Ruler::unitID, name, kDefaultLanguage);
     }},
    {"a definition", [](World &w) { return w.other->defineIDForName("x", 9, kInfoReadWrite); },
     Allocates::always},
    {"a name with a new id",
     [](World &w) {
         int id;
         return w.other->createIDForName("x", id, kInfoReadWrite);
     },
     Allocates::always},
    {"a long list of properties",
     [](World &w) {
         for (int id = 0; id < 20; ++id) {
             String name;
             name.print("p%d", id);
             if (const int code = w.other->defineIDForName(name, id, kInfoReadWrite))
                 return code;
         }
         return w.other->findProperty(3) != nullptr ? 0 : 1;
     },
     Allocates::always},
    {"a property, its type and its component",
     [](World &w) {
         return w.object->findProperty(500) != nullptr &&
                        w.object->getType(500) == kInfoReadWrite &&
                        w.object->getComponent(Ruler::unitID, nullptr) == w.ruler.get() &&
                        !w.object->hasOperators()
                    ? 0
                    : 1;
     }},
    {"comparison", [](World &w) { return *w.object == *w.object ? 0 : 1; }},
    {"initialization", [](World &w) { return w.object->initialize(Array(), &w.error); }},
    {"data",
     [](World &w) {
         w.object->setData(w.other.get());
         const bool isThere = w.object->getData() == w.other.get();
         w.object->setData(nullptr);
         return isThere ? 0 : 1;
     }},
    {"a lock",
     [](World &w) {
         w.other->createLock();
         return 0;
     }},
    {"the value",
     [](World &w) {
         w.object->valueOf(w.out);
         return w.out.isDefined() ? 1 : 0;
     }},
    {"a number", [](World &w) { return std::isnan(Variant(*w.object).getDouble()) ? 0 : 1; }},
    {"a question whether something can be invoked",
     [](World &w) { return w.object->canInvoke("f") ? 1 : 0; }},
    {"a change of definitions",
     [](World &w) {
         w.object->propertyDefsChanged();
         return 0;
     }},
    {"a description of the class",
     [](World &w) {
         const ClassInfo *info = w.object->getClassInfo(0);
         if (info == nullptr)
             return outOfMemory;
         info->release();
         return 0;
     },
     Allocates::always},
    {"a removal of a class",
     [](World &w) {
         if (LiveObject::addFactory(*w.prototype, 1) != 0)
             return outOfMemory;
         LiveObject::removeFactory("Prototype");
         return LiveObject::getFactory(5, 1) == nullptr ? 0 : 1;
     },
     Allocates::always},
    {"a class that replaces another",
     [](World &w) {
         if (LiveObject::addFactory(*w.prototype, 1) != 0 ||
             LiveObject::addFactory(*w.prototype, 3) != 0)
             return outOfMemory;
         return LiveObject::getFactory("Prototype", 1) == w.prototype.get() ? 0 : 1;
     },
     Allocates::always},
    {"a class that gets an id",
     [](World &w) {
         w.prototype->setObjectID(0);
         if (LiveObject::addFactory(*w.prototype, 1) != 0)
             return outOfMemory;
         w.prototype->setObjectID(6);
         const int code = LiveObject::addFactory(*w.prototype, 3);
         EXPECT_EQ(LiveObject::getFactory("Prototype", 1), w.prototype.get());
         EXPECT_EQ(LiveObject::getFactory(6, 1), code == 0 ? w.prototype.get() : nullptr);
         return code;
     },
     Allocates::always},
    {"the end of a chain of objects",
     [](World &) {
         Owned<LiveObject> first = make<Plain>();
         for (int depth = 0; depth < 70; ++depth) {
             Owned<LiveObject> outer = make<Plain>();
             auto *value = static_cast<Variant *>(outer->getAs(asValue));
             if (value == nullptr)
                 return outOfMemory;
             value->setLiveObject(first.get(), 0);
             first = outer;
         }
         first.reset();
         return 0;
     },
     Allocates::always},
    {"a handler that throws",
     [](World &w) {
         const int code = w.document->get("throws", w.out, &w.error);
         EXPECT_NE(w.error.getCode(), 0);
         return code;
     },
     Allocates::always, -29},
    {"a local object",
     [](World &w) {
         LiveObject *made = nullptr;
         const int code = w.object->createLocal(&made, "Unknown", 1);
         EXPECT_EQ(made, nullptr);
         return code;
     },
     Allocates::always, 22},
    {"the words of an error about a text",
     [](World &w) {
         String text;
         const String about("something");
         return w.object->getErrorText(text, 2, &about);
     },
     Allocates::always},
    {"a pushed name", [](World &w) { return w.object->setError(46, 12345, &w.error, false); },
     Allocates::always, 46},
    {"a component's answers",
     [](World &w) {
         int id;
         InfoType type;
         String name;
         SimpleArray ids;
         int code = w.ruler->getIDForName(*w.object, "unit", id, type, kDefaultLanguage);
         if (code == 0)
             code = w.ruler->getNameForID(*w.object, id, name, kDefaultLanguage);
         if (code == 0)
             code = w.ruler->enumerate(*w.object, ids, kListReadWrite | kDefaultLanguage);
         return code;
     },
     Allocates::always},
    {"a component's failure",
     [](World &w) { return w.ruler->LiveComponent::get(*w.object, 12345, w.out, &w.error); },
     Allocates::always, 2},
    {"a component's service",
     [](World &w) {
         const ServiceInfo *info = w.ruler->getServiceInfo(*w.object, Ruler::unitID, 0x10000);
         if (info == nullptr)
             return outOfMemory;
         info->release();
         return 0;
     },
     Allocates::always},
    {"invoke", [](World &w) { return w.object->invoke("f", arrayOfValues(1), w.out, &w.error); },
     Allocates::always},
    {"enumerate",
     [](World &w) {
         SimpleArray ids;
         return w.object->enumerate(ids, kListReadWrite | kDefaultLanguage);
     },
     Allocates::always},
    {"deletion of a property", [](World &w) { return w.object->deleteID(500); }},
    {"deletion of all properties",
     [](World &w) {
         w.object->deleteDynamicProperties(true);
         return 0;
     }},
    {"reset",
     [](World &w) {
         w.object->reset();
         return 0;
     }},
    {"addition of a component", [](World &w) { return w.other->addComponent(*w.ruler); },
     Allocates::always},
    {"removal of a component", [](World &w) { return w.object->removeComponent(*w.ruler); }},
    {"clone",
     [](World &w) {
         LiveObject *made = nullptr;
         const int code = w.object->clone(&made, true);
         EXPECT_EQ(made != nullptr, code == 0);
         if (made != nullptr)
             made->release();
         return code;
     },
     Allocates::always},
    {"cloning onto an object", [](World &w) { return w.object->cloneContent(*w.other, true); },
     Allocates::always},
    {"the own value",
     [](World &w) { return w.object->getAs(asValue) != nullptr ? 0 : outOfMemory; },
     Allocates::always},
    {"autostore",
     [](World &w) {
         const int code = w.object->setAutostore(w.other.get(), 9);
         w.object->setAutostore(nullptr, 0);
         return code;
     },
     Allocates::always},
    {"a write that is stored",
     [](World &w) {
         if (w.other->defineIDForName("slot", 9, kInfoReadWrite) != 0 ||
             w.object->setAutostore(w.other.get(), 9) != 0)
             return outOfMemory;
         const int code = w.object->put(500, 1, &w.error);
         w.other->deleteDynamicProperties(true);
         return code;
     },
     Allocates::always},
    {"addition of a class", [](World &w) { return LiveObject::addFactory(*w.prototype, 1); },
     Allocates::always},
    {"creation",
     [](World &w) {
         if (LiveObject::addFactory(*w.prototype, 1) != 0)
             return outOfMemory;
         LiveObject *made = nullptr;
         const int code = LiveObject::create(&made, 5, 1);
         if (made != nullptr)
             made->release();
         return code;
     },
     Allocates::always},
    {"parse",
     [](World &w) {
         return w.other->parse("{a:1,b:'text',c:[1,'two'],d:{e:Object{}}}", w.error, 1);
     },
     Allocates::always},
    {"a fault in a text", [](World &w) { return w.other->parse("{a:1", w.error, 1); },
     Allocates::always, 25},
    {"parseNew",
     [](World &) {
         LiveObject *made = nullptr;
         const int code = LiveObject::parseNew("a:{b:'c'}", made, 1);
         EXPECT_EQ(made != nullptr, code == 0);
         if (made != nullptr)
             made->release();
         return code;
     },
     Allocates::always},
    {"text",
     [](World &w) {
         String text;
         w.object->toString(text);
         return text == "[object Plain]" ? 0 : outOfMemory;
     },
     Allocates::always},
    {"text of a collection",
     [](World &w) {
         String text;
         w.collection->toString(text);
         return text == "first,2" ? 0 : outOfMemory;
     },
     Allocates::always},
    {"invalidation",
     [](World &w) {
         w.object->invalidate();
         EXPECT_FALSE(w.object->isValid());
         w.object->revalidate();
         return 0;
     }},
    {"the words of an error",
     [](World &w) {
         String text;
         return w.object->getErrorText(text, 2, 12345, false);
     },
     Allocates::always},
    {"a pushed sentence",
     [](World &w) {
         w.error.push(2, *w.object, 12345, false, nullptr);
         return w.error.getCode() == outOfMemory ? outOfMemory : 0;
     },
     Allocates::always},
    {"a collection of a pinned array",
     [](World &) {
         Array pinned = arrayOfValues(1, 2);
         pinned.makeUnique();
         try {
             const auto made = make<LiveArray>(pinned, "Made", 1, false);
             if (!made->isValid())
                 return outOfMemory;
             EXPECT_EQ(made->length(), 2U);
             return 0;
         } catch (const std::bad_alloc &) { // of the object itself
             return outOfMemory;
         }
     },
     Allocates::always},
    {"element get", [](World &w) { return w.collection->getByIndex(0, w.out, &w.error); }},
    {"element put", [](World &w) { return w.collection->putByIndex(1, "second", &w.error); }},
    {"far element put", [](World &w) { return w.collection->putByIndex(9999, 1, &w.error); },
     Allocates::always},
    {"a new length", [](World &w) { return w.collection->putLength(5000); }},
    {"an unserved element",
     [](World &w) {
         return static_cast<LiveCollection &>(*w.collection)
             .LiveCollection::getByIndex(7, w.out, &w.error);
     },
     Allocates::always, 41},
    {"a length by id",
     [](World &w) { return w.collection->put(w.collection->getLengthID(), 7, &w.error); }},
    {"a length by name",
     [](World &w) {
         const int code = w.collection->get("length", w.out, &w.error);
         return code == 0 && w.out.getInteger() != 2 ? 1 : code;
     },
     Allocates::always},
    {"elements that listeners serve",
     [](World &w) {
         unsigned length = 0;
         int code = w.pages->putLength(3);
         if (code == 0)
             code = w.pages->getLength(length);
         if (code == 0)
             code = w.pages->putByIndex(2, "text", &w.error);
         if (code == 0)
             code = w.pages->getByIndex(2, w.out, &w.error);
         if (code == 0)
             code = w.pages->deleteByIndex(2);
         return code;
     }},
    {"the elements of a collection",
     [](World &w) {
         Array elements;
         return Variant(*w.pages).getArray(elements) ? 0 : outOfMemory;
     }},
    {"a list of the properties of a collection",
     [](World &w) {
         SimpleArray ids;
         return w.collection->enumerate(ids, kListReadWrite | kDefaultLanguage);
     },
     Allocates::always},
    {"a literal of objects",
     [](World &) {
         Array elements;
         return elements.parse("1,{a:1},[{b:'x'}]", 1) ? 0 : outOfMemory;
     },
     Allocates::always},
    {"an element of an array that is appended",
     [](World &w) {
         Array elements;
         elements += w.object.get();
         return elements[0].getLiveObject() == w.object.get() ? 0 : outOfMemory;
     },
     Allocates::always},
    {"a collection's reset",
     [](World &w) {
         w.collection->reset();
         return 0;
     }},
    {"an array as an object",
     [](World &) {
         InterfacePtr<LiveObject> made;
         return Variant(arrayOfValues(1)).getAsLiveObject(made) ? 0 : outOfMemory;
     },
     Allocates::always},
    {"conversion to an object",
     [](World &) {
         Variant value(arrayOfValues(1));
         value.convert(kLiveObject);
         return value.getType() == kLiveObject ? 0 : outOfMemory;
     },
     Allocates::always},
    {"all properties",
     [](World &w) {
         THashTable<Variant> all;
         const Variant value(*w.object);
         int code = value.getObjectProperties(all, kListReadWrite | kDefaultLanguage, &w.error);
         if (code == 0)
             code = Variant(*w.other).setObjectProperties(all, &w.error);
         Variant::eraseProperties(all);
         return code;
     },
     Allocates::always},
};

} // namespace

TEST_F(LiveObjectMemoryTest, EveryOperationEndsWithACode)
{
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        int code = 0;
        test::underMemoryFailure([] { return World(); },
                                 [&](World &world) {
                                     try {
                                         code = operation.run(world);
                                     } catch (const std::bad_alloc &) { // of the test's own strings
                                         code = outOfMemory;
                                     }
                                 },
                                 [&](World &world, bool) {
                                     EXPECT_TRUE(code == operation.success || code == outOfMemory)
                                         << code;
                                     // All objects still work.
                                     Variant out;
                                     world.object->removeListener(world.ear, askID);
                                     world.object->setAutostore(nullptr, 0);
                                     EXPECT_EQ(world.object->put("after", 1, kInfoReadWrite), 0);
                                     EXPECT_EQ(world.object->get("after", out), 0);
                                     EXPECT_EQ(world.collection->putByIndex(0, 1, nullptr), 0);
                                 },
                                 operation.allocates);
    }
}

// The code of success is the only one when the requests succeed at the second attempt.
TEST_F(LiveObjectMemoryTest, EveryOperationSucceedsWithMemory)
{
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        World world;
        EXPECT_EQ(operation.run(world), operation.success);
    }
}

TEST_F(LiveObjectMemoryTest, AWriteByIdAllocatesNothing)
{
    World world;
    const std::int64_t before = test::TestAllocator::shared().allocations();
    const test::WithoutBlockCache cacheOff;
    Variant out;
    for (int round = 0; round < 3; ++round)
        for (int id = 500; id < 510; ++id) {
            EXPECT_EQ(world.object->put(id, round, nullptr), 0);
            EXPECT_EQ(world.object->get(id, out, nullptr), 0);
            EXPECT_EQ(world.object->call(Ruler::measureID, Array(), out, nullptr), 0);
        }
    EXPECT_EQ(test::TestAllocator::shared().allocations(), before);
}
