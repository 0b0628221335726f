// SPDX-License-Identifier: MIT
// Hosts whose code changes everything at the worst moments: whatever the library calls, an
// override, a component, a listener, a property or the end of an object, lets objects go, adds and
// removes what is being walked through, and comes back into the operation that called it. Nothing
// is compared: the run has to end, with every block given back, and under the sanitizers in
// silence.
#include <tavrin/LiveObject.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/HashTable.h>
#include <tavrin/Reflection.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using LiveObjectReentryTest = test::LibraryTest;

constexpr const char *names[] = {"a", "b", "c", "toString", "valueOf", "length", "far", "size"};
constexpr const char *classNames[] = {"Thing", "List", "Pages", "Object"};
constexpr int everyLanguage = kDefaultLanguage | kCaselessLanguage;
constexpr int everything = kListReadWrite | kListReadOnly | kListUnlisted | kListMethods;

// The pool of objects, and the dice. Only the pool holds the objects, so that a reset of one of its
// places lets an object go in the midst of its own operations.
class World
{
public:
    explicit World(std::uint32_t seed) : random(seed) {}
    // Opens the circles that were made, so that everything dies.
    ~World()
    {
        isOver = true;
        for (const char *each : classNames)
            LiveObject::removeFactory(each);
        for (const WeakRef<LiveObject> &each : allObjects)
            if (const Owned<LiveObject> object = each.lock())
                empty(*object);
        for (const WeakRef<test::Shelf> &each : allComponents)
            if (const Owned<test::Shelf> component = each.lock())
                component->elements.erase();
        for (Owned<LiveObject> &each : objects)
            each.reset();
        for (Owned<test::Shelf> &each : components)
            each.reset();
    }
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    // What host code does when it is called.
    void interfere()
    {
        if (isOver || depth >= deepest || below(2) != 0)
            return;
        ++depth;
        step();
        --depth;
    }
    void step();

    unsigned below(unsigned limit) { return static_cast<unsigned>(random() % limit); }

private:
    static constexpr int deepest = 6;
    static constexpr std::size_t places = 6;

    static void empty(LiveObject &object)
    {
        object.revalidate();
        object.setAutostore(nullptr, 0);
        object.deleteDynamicProperties(true);
        object.setData(nullptr);
        if (auto *elements = static_cast<Array *>(object.getAs(asArray)))
            elements->erase();
    }
    void change(LiveObject &object);
    void ask(LiveObject &object);
    void changeElements(LiveObject &object);
    void reflect(const LiveObject &object);
    void useClasses(LiveObject &object);
    Owned<LiveObject> makeObject();
    Variant anyValue();
    const char *anyName() { return names[below(std::size(names))]; }
    int anyID() { return static_cast<int>(below(12)); }
    Owned<LiveObject> &anyPlace() { return objects[below(places)]; }

    std::mt19937 random;
    int depth = 0;
    bool isOver = false;
    std::vector<WeakRef<LiveObject>> allObjects;
    std::vector<WeakRef<test::Shelf>> allComponents;
    Owned<LiveObject> objects[places];
    Owned<test::Shelf> components[3];
    test::Ear ears[3] = {ear(), ear(), ear()};

    test::Ear ear()
    {
        return test::Ear([this](Message &) {
            interfere();
            return !isOver && below(3) == 0;
        });
    }
};

// Keeps an object that runs an override alive, unless it is dying already.
template <class T>
Owned<T> held(T &object)
{
    return object.getRefCount() > 0 ? Owned<T>(&object) : Owned<T>();
}

struct UneasyProperty : LiveProperty
{
    UneasyProperty(World &itsWorld, LiveObject &owner, const String &name, int id, unsigned flags)
        : LiveProperty(owner, name, id, flags), world(itsWorld)
    {}
    ~UneasyProperty() override { world.interfere(); }
    int get(Variant &out) const override
    {
        world.interfere();
        return LiveProperty::get(out);
    }
    int put(const Variant &value) override
    {
        world.interfere();
        return LiveProperty::put(value);
    }
    int call(const Array &, Variant &result) override
    {
        world.interfere();
        result = 5;
        return 0;
    }

    World &world;
};

// Overrides of a class over Base, each of which interferes before and after.
template <class Base>
struct Uneasy : Base
{
    template <class... Arguments>
    explicit Uneasy(World &itsWorld, Arguments... arguments) : Base(arguments...), world(itsWorld)
    {}
    using Base::call;
    using Base::get;
    using Base::put;

    LiveProperty *createProperty(const String &name, int id, unsigned flags) override
    {
        const auto self = held(*this);
        world.interfere();
        return new UneasyProperty(world, *this, name, id, flags);
    }
    int get(int id, Variant &out, Error *error) const override
    {
        const auto self = held(*this);
        world.interfere();
        const int code = Base::get(id, out, error);
        world.interfere();
        return code;
    }
    int put(int id, const Variant &value, Error *error) override
    {
        const auto self = held(*this);
        world.interfere();
        const int code = Base::put(id, value, error);
        world.interfere();
        return code;
    }
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        const auto self = held(*this);
        world.interfere();
        return Base::call(id, args, result, error);
    }
    int getIDForName(const String &name, int &id, InfoType &type, int flags) const override
    {
        const auto self = held(*this);
        world.interfere();
        return Base::getIDForName(name, id, type, flags);
    }
    int enumerate(SimpleArray &ids, int flags) const override
    {
        const auto self = held(*this);
        world.interfere();
        return Base::enumerate(ids, flags);
    }
    const String &getClassName() const override
    {
        const auto self = held(*this);
        world.interfere();
        return Base::getClassName();
    }

    World &world;

protected:
    ~Uneasy() override { world.interfere(); }
};

struct UneasyComponent : test::Shelf
{
    explicit UneasyComponent(World &itsWorld) : world(itsWorld) {}
    ~UneasyComponent() override { world.interfere(); }

    int getIDForName(const LiveObject &, const String &name, int &id, InfoType &type,
                     int) const override
    {
        world.interfere();
        id = 9;
        type = kInfoReadWriteMethod;
        return name == "far" ? 0 : 2;
    }
    InfoType getType(const LiveObject &, int id) override
    {
        world.interfere();
        return id == 9 ? kInfoReadWriteMethod : id == 10 ? kInfoHidden : kInfoNone;
    }
    int enumerate(const LiveObject &, SimpleArray &ids, int) const override
    {
        world.interfere();
        ids.append(9);
        return 0;
    }
    bool isIndexable() const override
    {
        world.interfere();
        return true;
    }
    int get(const LiveObject &, int, Variant &out, Error *) const override
    {
        world.interfere();
        out = 1;
        return 0;
    }
    int put(LiveObject &, int, const Variant &, Error *) override
    {
        world.interfere();
        return 0;
    }
    int call(LiveObject &, int, const Array &, Variant &, Error *) override
    {
        world.interfere();
        return 0;
    }
    int getByIndex(const LiveObject &object, unsigned index, Variant &out,
                   Error *error) const override
    {
        world.interfere();
        return Shelf::getByIndex(object, index, out, error);
    }
    int putByIndex(LiveObject &object, unsigned index, const Variant &value, Error *error) override
    {
        world.interfere();
        return Shelf::putByIndex(object, index, value, error);
    }
    void reset() override { world.interfere(); }
    bool hasOperators() const override
    {
        world.interfere();
        return false;
    }

    World &world;
};

struct UneasyData : Root
{
    explicit UneasyData(World &itsWorld) : world(itsWorld) {}
    ~UneasyData() override { world.interfere(); }

    World &world;
};

Owned<LiveObject> World::makeObject()
{
    switch (below(3)) {
    case 0:
        return make<Uneasy<LiveArray>>(*this, "List", 11, false);
    case 1:
        return make<Uneasy<LiveCollection>>(*this, "Pages", 11, false);
    default:
        return make<Uneasy<LiveObject>>(*this, "Thing", true);
    }
}

Variant World::anyValue()
{
    switch (below(5)) {
    case 0:
        return static_cast<int>(below(4));
    case 1:
        return "text";
    case 2:
        return test::arrayOfValues(1, Variant(anyPlace().get()), "x");
    default:
        return Variant(anyPlace().get());
    }
}

void World::change(LiveObject &object)
{
    Error error;
    Array args;
    Variant result;
    switch (below(14)) {
    case 0:
        object.put(anyID(), anyValue(), &error);
        break;
    case 1:
        object.put(anyName(), anyValue(), kInfoReadWrite, &error);
        break;
    case 2:
        object.defineIDForName(anyName(), anyID(),
                               below(2) != 0 ? kInfoReadWrite : kInfoMethod | kPropertyByMessage);
        break;
    case 3:
        object.deleteID(anyID());
        break;
    case 4:
        object.deleteDynamicProperties(true);
        break;
    case 5:
        object.reset();
        break;
    case 6:
        if (Owned<test::Shelf> &component = components[below(3)]; component)
            object.addComponent(*component);
        break;
    case 7:
        if (Owned<test::Shelf> &component = components[below(3)]; component)
            object.removeComponent(*component);
        break;
    case 8:
        object.setAutostore(anyPlace().get(), anyID());
        break;
    case 9:
        object.setData(below(2) != 0 ? new UneasyData(*this)
                                     : static_cast<Root *>(anyPlace().get()));
        break;
    case 10:
        below(2) != 0 ? object.invalidate() : object.revalidate();
        break;
    case 11:
        object.addListener(ears[below(3)], Broadcaster::allMessages);
        break;
    case 12:
        object.removeListener(ears[below(3)], Broadcaster::allMessages);
        break;
    default:
        object.parse("{a: 1, b: {c: [2, Thing{a: 5}]}, size: List{}}", everyLanguage);
        break;
    }
}

void World::ask(LiveObject &object)
{
    Error error;
    Array args = test::arrayOfValues(anyValue());
    Variant result;
    String text;
    int id;
    InfoType type;
    switch (below(12)) {
    case 0:
        object.get(anyID(), result, &error);
        break;
    case 1:
        object.get(anyName(), result, &error);
        break;
    case 2:
        object.call(anyID(), args, result, &error);
        break;
    case 3:
        object.call(anyName(), args, result, &error);
        break;
    case 4:
        object.invoke(anyName(), args, result, &error);
        break;
    case 5:
        object.getIDForName(anyName(), id, type, everyLanguage);
        break;
    case 6:
        object.getNameForID(anyID(), text, everyLanguage);
        break;
    case 7:
        object.toString(text);
        break;
    case 8:
        object.valueOf(result);
        break;
    case 9: {
        LiveObject *copy = nullptr;
        object.clone(&copy, true);
        allObjects.emplace_back(copy);
        anyPlace() = Owned<LiveObject>::adopt(copy);
        break;
    }
    case 10: {
        const Variant value(&object);
        result = value.toString() + "";
        static_cast<void>(value == anyValue());
        value.getInteger();
        value.getArray(args);
        break;
    }
    default:
        reflect(object);
        break;
    }
}

void World::reflect(const LiveObject &object)
{
    const auto self = held(object);
    SimpleArray ids;
    object.enumerate(ids, everything | everyLanguage);
    const auto record = Owned<const ClassInfo>::adopt(object.getClassInfo(everyLanguage));
    if (!record)
        return;
    String name;
    record->getName(name);
    record->enumerate(ids, everything | everyLanguage);
    for (const std::int64_t id : std::as_const(ids))
        Owned<const ServiceInfo>::adopt(record->getServiceInfo(static_cast<int>(id)));
}

void World::changeElements(LiveObject &object)
{
    auto *list = static_cast<LiveCollection *>(object.getAs(asLiveCollection));
    if (list == nullptr)
        return;
    Variant out;
    Error error;
    switch (below(5)) {
    case 0:
        list->putByIndex(below(5), anyValue(), &error);
        break;
    case 1:
        list->getByIndex(below(5), out, &error);
        break;
    case 2:
        list->putLength(below(5));
        break;
    case 3:
        list->deleteByIndex(below(5));
        break;
    default:
        list->length();
        break;
    }
}

void World::useClasses(LiveObject &object)
{
    const char *const className = classNames[below(std::size(classNames))];
    switch (below(3)) {
    case 0:
        LiveObject::addFactory(object, everyLanguage);
        break;
    case 1:
        LiveObject::removeFactory(className);
        break;
    default: {
        LiveObject *made = nullptr;
        LiveObject::create(&made, className, everyLanguage);
        allObjects.emplace_back(made);
        anyPlace() = Owned<LiveObject>::adopt(made);
        break;
    }
    }
}

void World::step()
{
    Owned<LiveObject> &place = anyPlace();
    if (!place) {
        Owned<LiveObject> made = makeObject();
        allObjects.emplace_back(made.get());
        place.swap(made);
        return;
    }
    switch (below(9)) {
    case 0: {
        Owned<LiveObject> gone;
        place.swap(gone);
        break;
    }
    case 1: {
        Owned<test::Shelf> fresh;
        if (below(2) != 0) {
            fresh = make<UneasyComponent>(*this);
            allComponents.emplace_back(fresh.get());
        }
        components[below(3)].swap(fresh);
        break;
    }
    case 2:
        useClasses(*place);
        break;
    case 3:
    case 4:
        changeElements(*place);
        break;
    case 5:
    case 6:
        ask(*place);
        break;
    default:
        change(*place);
        break;
    }
}

// --- All at once ---------------------------------------------------------------------------------

TEST_F(LiveObjectReentryTest, HostsMayDoAnythingWhileTheyAreAsked)
{
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        World world(seed);
        for (int step = 0; step < 1000; ++step)
            world.step();
    }
}

// --- One by one ----------------------------------------------------------------------------------

TEST_F(LiveObjectReentryTest, AnObjectMayEndWhileItMakesAProperty)
{
    struct Ending : Plain
    {
        LiveProperty *createProperty(const String &name, int id, unsigned flags) override
        {
            LiveProperty *made = Plain::createProperty(name, id, flags);
            release();
            return made;
        }
    };
    auto *object = new Ending;
    EXPECT_EQ(object->defineIDForName("a", 5, kInfoReadWrite), 0);
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(LiveObjectReentryTest, AnObjectMayEndWhileItIsAskedForAName)
{
    struct Ending : Plain
    {
        int getNameForID(int, String &, int) const override
        {
            release();
            return 2;
        }
    };
    auto *object = new Ending;
    Error error;
    EXPECT_EQ(object->setError(41, 5, &error, false), 41);
    EXPECT_EQ(test::fullText(error), "{LiveObject(\"Plain\").property(5)} is out of range");
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(LiveObjectReentryTest, AComponentMayLeaveWhileItIsAdded)
{
    struct Leaving : test::Ruler
    {
        explicit Leaving(LiveObject &itsOwner) : owner(itsOwner) {}
        bool hasOperators() const override
        {
            owner.removeComponent(const_cast<Leaving &>(*this));
            release();
            return true;
        }
        LiveObject &owner;
    };
    const auto object = make<Plain>();
    auto *component = new Leaving(*object);
    component->createLock();
    EXPECT_EQ(object->addComponent(*component), 0);
    EXPECT_EQ(test::Ruler::living, 0);
    EXPECT_TRUE(object->hasOperators());
}

TEST_F(LiveObjectReentryTest, APrototypeMayBeLetGoWhileItIsRegistered)
{
    struct Ending : Plain
    {
        const String &getClassName() const override
        {
            if (!hasEnded) {
                hasEnded = true;
                release();
            }
            return Plain::getClassName();
        }
        mutable bool hasEnded = false;
    };
    EXPECT_EQ(LiveObject::addFactory(*new Ending, 1), 0);
    EXPECT_EQ(Plain::living, 1);
    EXPECT_EQ(LiveObject::removeFactory("Plain"), 0);
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(LiveObjectReentryTest, AnObjectMayAskForItsRecordWhileThatIsMade)
{
    struct Asking : Plain
    {
        const String &getClassName() const override
        {
            if (!hasAsked) {
                hasAsked = true;
                inner = Owned<const ClassInfo>::adopt(getClassInfo(0));
            }
            return Plain::getClassName();
        }
        mutable bool hasAsked = false;
        mutable Owned<const ClassInfo> inner;
    };
    const auto object = make<Asking>();
    const auto record = Owned<const ClassInfo>::adopt(object->getClassInfo(0));
    EXPECT_EQ(record, object->inner);
}

// The only holder of an object.
Variant holderOf(LiveObject *object)
{
    const Variant holder(object);
    object->release();
    return holder;
}

LiveObject *newPlain()
{
    auto *object = new Plain;
    object->defineIDForName("x", 5, kInfoReadWrite);
    object->defineIDForName("far", 6, kInfoReadWrite | kPropertyByMessage);
    object->defineIDForName("do", 7, kInfoMethod | kPropertyByMessage);
    return object;
}

// A class of the library's own, which takes shorter ways.
LiveObject *newOwn()
{
    auto *object = new LiveObject("Own", true);
    object->defineIDForName("x", 5, kInfoReadWrite);
    return object;
}

LiveObject *newMeasured()
{
    LiveObject *object = newPlain();
    object->addComponent(*make<test::Ruler>());
    return object;
}

LiveObject *newInvalidList()
{
    auto *list = new LiveArray("List", 9, false);
    list->invalidate();
    return list;
}

struct HolderCase
{
    const char *name;
    LiveObject *(*make)();
    int (*ask)(Variant &holder, LiveObject &object, Error &error);
    int code;
};

constexpr HolderCase holderCases[] = {
    {"get by name", newPlain, [](Variant &v, LiveObject &o, Error &e) { return o.get("x", v, &e); },
     0},
    {"get by name of a class of the library", newOwn,
     [](Variant &v, LiveObject &o, Error &e) { return o.get("x", v, &e); }, 0},
    {"get an unknown name", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.get("nobody", v, &e); }, 2},
    {"get by id", newPlain, [](Variant &v, LiveObject &o, Error &e) { return o.get(5, v, &e); }, 0},
    {"get an unknown id", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.get(77, v, &e); }, 2},
    {"get by message", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.get(6, v, &e); }, 2},
    {"get from a component", newMeasured,
     [](Variant &v, LiveObject &o, Error &e) { return o.get("unit", v, &e); }, 0},
    {"call an unknown name", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.call("nobody", v, &e); }, 2},
    {"call by id", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.call(5, Array(), v, &e); }, 24},
    {"call by message", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.call(7, Array(), v, &e); }, 0},
    {"apply a method of another object", newPlain,
     [](Variant &v, LiveObject &o, Error &e) {
         const auto other = Owned<LiveObject>::adopt(newPlain());
         return other->apply(o, 7, Array(), v, &e);
     },
     0},
    {"invoke", newPlain,
     [](Variant &v, LiveObject &o, Error &e) { return o.invoke("nobody", v, &e); }, 24},
    {"a component without a property", newMeasured,
     [](Variant &v, LiveObject &o, Error &e) {
         return o.getComponent(test::Ruler::unitID, nullptr)->get(o, 77, v, &e);
     },
     2},
    {"a component without a method", newMeasured,
     [](Variant &v, LiveObject &o, Error &e) {
         return o.getComponent(test::Ruler::unitID, nullptr)->call(o, 77, Array(), v, &e);
     },
     2},
    {"a component without elements", newMeasured,
     [](Variant &v, LiveObject &o, Error &e) {
         return o.getComponent(test::Ruler::unitID, nullptr)->getByIndex(o, 77, v, &e);
     },
     41},
    {"the length of a collection",
     [] { return static_cast<LiveObject *>(new LiveArray("L", 9, false)); },
     [](Variant &v, LiveObject &o, Error &e) { return o.get(9, v, &e); }, 0},
    {"an element of nobody",
     [] { return static_cast<LiveObject *>(new LiveCollection("L", 9, false)); },
     [](Variant &v, LiveObject &, Error &e) { return v.getLiveCollection()->getByIndex(3, v, &e); },
     41},
    {"an element of an array",
     [] { return static_cast<LiveObject *>(new LiveArray("L", 9, false)); },
     [](Variant &v, LiveObject &, Error &e) { return v.getLiveCollection()->getByIndex(3, v, &e); },
     0},
    {"an element of an invalid array", newInvalidList,
     [](Variant &v, LiveObject &, Error &e) { return v.getLiveCollection()->getByIndex(3, v, &e); },
     45},
};

// A script walks from object to object in one variable.
TEST_F(LiveObjectReentryTest, TheAnswerMayTakeThePlaceOfTheLastReference)
{
    for (const HolderCase &each : holderCases) {
        SCOPED_TRACE(each.name);
        Variant holder = holderOf(each.make());
        const WeakRef<LiveObject> object = holder.getLiveObject();
        Error error;
        EXPECT_EQ(each.ask(holder, *holder.getLiveObject(), error), each.code);
        EXPECT_EQ(error.getCode(), each.code);
        EXPECT_FALSE(object);
        EXPECT_EQ(Plain::living, 0);
    }
}

} // namespace
