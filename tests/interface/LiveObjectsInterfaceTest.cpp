// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <gtest/gtest.h>

#include "interface/Forms.h"

using namespace Tavrin;
using test::has;

namespace {

// Reaches what is there for subclasses.
struct OpenObject : LiveObject
{
    using LiveObject::cloneContent;
    using LiveObject::invokeAutostore;
    using LiveObject::isCaseless;
    using LiveObject::LiveObject;
    using LiveObject::lookupComponent;
    using LiveObject::lookupIndexableComponent;
    ~OpenObject() override = default;
};

struct OpenArray : LiveArray
{
    using LiveArray::LiveArray;
    ~OpenArray() override = default;
};

constexpr int powerID = fourCharCode("powr");
constexpr int dimID = fourCharCode("dim ");

// A host's class, with the overrides as a host writes them.
class Lamp : public LiveObject
{
public:
    Lamp();

    int get(int id, Variant &out, Error *error) const override
    {
        if (id != powerID)
            return LiveObject::get(id, out, error);
        out = power;
        return 0;
    }

    int put(int id, const Variant &value, Error *error) override
    {
        if (id != powerID)
            return LiveObject::put(id, value, error);
        power = value.getInteger();
        return 0;
    }

    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        if (id != dimID)
            return LiveObject::call(id, args, result, error);
        power -= args[0].getInteger();
        result = power;
        return 0;
    }

    using LiveObject::call;
    using LiveObject::get;
    using LiveObject::put;

protected:
    ~Lamp() override = default;

private:
    int power = 60;
};

const LivePropertyInfo lampRows[] = {
    {"power", powerID, kInfoReadWrite, "The power in watts."},
    {"dim", dimID, kInfoMethod, "Takes some of the power away."},
    {nullptr, 0, 0, nullptr},
};

Lamp::Lamp() : LiveObject("Lamp", false)
{
    static const LivePropertyManager rows(lampRows);
    setPropertyManager(&rows);
}

} // namespace

TEST(LiveObjectsInterface, LiveBase)
{
    using Base = LiveBase;
    static_assert(std::is_base_of_v<Refcountable, Base> && std::is_base_of_v<Lockable, Base> &&
                  std::is_base_of_v<Root, Base> && std::is_base_of_v<Heap, Base>);
    EXPECT_TRUE(has<const void *(Base::*)(int) const>(&Base::getAs));
    EXPECT_TRUE(has<void *(Base::*)(int)>(&Base::getAs));
    EXPECT_TRUE(has<void (Base::*)() const>(&Base::release));
    EXPECT_TRUE(has<void (Base::*)()>(&Base::invalidate));
    EXPECT_TRUE(has<void (Base::*)()>(&Base::revalidate));
    EXPECT_TRUE(has<bool (Base::*)() const>(&Base::isValid));
    EXPECT_TRUE((has<int (Base::*)(String &, int, const String *) const>(&Base::getErrorText)));
    EXPECT_TRUE((has<int (Base::*)(String &, int, int, bool) const>(&Base::getErrorText)));
    EXPECT_TRUE(has<const LivePropertyManager *(Base::*)() const>(&Base::getPropertyManager));
    EXPECT_TRUE(has<void (Base::*)(const LivePropertyManager *)>(&Base::setPropertyManager));
    EXPECT_TRUE(has<int (*)()>(&Base::getNextID));
    EXPECT_TRUE((has<int (Base::*)(String &, int, bool) const>(&Base::getPropertyText)));
    EXPECT_TRUE((has<int (Base::*)(int, int, Error *, bool) const>(&Base::setError)));
    EXPECT_TRUE(has<bool (*)(int)>(&OpenObject::isCaseless));
}

TEST(LiveObjectsInterface, LiveObjectLifecycleAndIdentity)
{
    using Object = LiveObject;
    static_assert(std::is_base_of_v<LiveBase, Object> && std::is_base_of_v<Broadcaster, Object> &&
                  std::is_base_of_v<Listener, Object>);
    static_assert(std::is_constructible_v<OpenObject, const String &, bool> &&
                  std::is_constructible_v<OpenObject, const char *, bool>);
    static_assert(!std::is_destructible_v<Object>);
    EXPECT_TRUE(has<int (Object::*)() const>(&Object::getObjectID));
    EXPECT_TRUE(has<void (Object::*)(int)>(&Object::setObjectID));
    EXPECT_TRUE(has<unsigned int (Object::*)() const>(&Object::getFlags));
    EXPECT_TRUE(has<void (Object::*)(unsigned int)>(&Object::setFlags));
    EXPECT_TRUE(has<Root *(Object::*)() const>(&Object::getData));
    EXPECT_TRUE(has<void (Object::*)(Root *)>(&Object::setData));
    EXPECT_TRUE(has<const String &(Object::*)() const>(&Object::getClassName));
    EXPECT_TRUE(has<bool (Object::*)(const Object &) const>(&Object::operator==));
    EXPECT_TRUE((has<int (Object::*)(Object **, bool) const>(&Object::clone)));
    EXPECT_TRUE((has<int (Object::*)(Object &, bool) const>(&OpenObject::cloneContent)));
    EXPECT_TRUE((has<int (Object::*)(const Array &, Error *)>(&Object::initialize)));
    EXPECT_TRUE(has<int (Object::*)(LiveComponent &)>(&Object::addComponent));
    EXPECT_TRUE(has<int (Object::*)(LiveComponent &)>(&Object::removeComponent));
    EXPECT_TRUE(
        (has<LiveComponent *(Object::*)(int, const LiveComponent *) const>(&Object::getComponent)));
    EXPECT_TRUE(has<LiveComponent *(Object::*)(int) const>(&OpenObject::lookupComponent));
    EXPECT_TRUE(has<LiveComponent *(Object::*)() const>(&OpenObject::lookupIndexableComponent));
    EXPECT_TRUE(has<LiveProperty *(Object::*)(int) const>(&Object::findProperty));
    EXPECT_TRUE(has<void (Object::*)(bool)>(&Object::deleteDynamicProperties));
    EXPECT_TRUE(has<int (Object::*)(int)>(&Object::deleteID));
    EXPECT_TRUE(has<void (Object::*)()>(&Object::reset));
    EXPECT_TRUE((has<int (Object::*)(Object *, int) const>(&Object::setAutostore)));
    EXPECT_TRUE(has<int (Object::*)(Error *)>(&OpenObject::invokeAutostore));
    EXPECT_TRUE(has<void (Object::*)() const>(&Object::propertyDefsChanged));
    EXPECT_TRUE(has<const ClassInfo *(Object::*)(int) const>(&Object::getClassInfo));
    EXPECT_TRUE((has<LiveProperty *(Object::*)(const String &, int, unsigned int)>(
        &Object::createProperty)));
    EXPECT_TRUE(has<bool (Object::*)() const>(&Object::hasOperators));
}

TEST(LiveObjectsInterface, Factories)
{
    using Object = LiveObject;
    EXPECT_TRUE((has<int (*)(Object &, int)>(&Object::addFactory)));
    EXPECT_TRUE(has<int (*)(const String &)>(&Object::removeFactory));
    EXPECT_TRUE((has<Object *(*)(const String &, int)>(&Object::getFactory)));
    EXPECT_TRUE((has<Object *(*)(int, int)>(&Object::getFactory)));
    EXPECT_TRUE((has<int (*)(Object **, const String &, int)>(&Object::create)));
    EXPECT_TRUE((has<int (*)(Object **, int, int)>(&Object::create)));
    EXPECT_TRUE((has<int (Object::*)(Object **, const String &, int)>(&Object::createLocal)));
}

TEST(LiveObjectsInterface, DispatchById)
{
    using Object = LiveObject;
    EXPECT_TRUE((has<int (Object::*)(int, Variant &, Error *) const>(&Object::get)));
    EXPECT_TRUE((has<int (Object::*)(int, const Variant &, Error *)>(&Object::put)));
    EXPECT_TRUE((has<int (Object::*)(int, const Array &, Variant &, Error *)>(&Object::call)));
    EXPECT_TRUE((has<int (Object::*)(Object &, int, const Array &, Variant &, Error *) const>(
        &Object::apply)));
    EXPECT_TRUE((
        has<int (Object::*)(const String &, int &, InfoType &, int) const>(&Object::getIDForName)));
    EXPECT_TRUE((has<int (Object::*)(const String &, int &, int)>(&Object::createIDForName)));
    EXPECT_TRUE((has<int (Object::*)(const String &, int, int)>(&Object::defineIDForName)));
    EXPECT_TRUE((has<int (Object::*)(int, String &, int) const>(&Object::getNameForID)));
    EXPECT_TRUE(has<InfoType (Object::*)(int)>(&Object::getType));
    EXPECT_TRUE((has<int (Object::*)(SimpleArray &, int) const>(&Object::enumerate)));
    EXPECT_TRUE(has<void (Object::*)(Variant &) const>(&Object::valueOf));
    EXPECT_TRUE(has<void (Object::*)(String &) const>(&Object::toString));
}

TEST(LiveObjectsInterface, DispatchByName)
{
    using Object = LiveObject;
    EXPECT_TRUE((has<int (Object::*)(const String &, Variant &, Error *) const>(&Object::get)));
    EXPECT_TRUE(
        (has<int (Object::*)(const String &, const Variant &, int, Error *)>(&Object::put)));
    EXPECT_TRUE((has<int (Object::*)(const String &, Variant &, Error *)>(&Object::call)));
    EXPECT_TRUE(
        (has<int (Object::*)(const String &, const Array &, Variant &, Error *)>(&Object::call)));
    EXPECT_TRUE((has<int (Object::*)(const String &, const Array &, Error *)>(&Object::call)));
    EXPECT_TRUE((has<int (Object::*)(const String &, Error *)>(&Object::call)));
    EXPECT_TRUE(has<int (Object::*)(int)>(&Object::call));
    EXPECT_TRUE((has<int (Object::*)(int, Variant &)>(&Object::call)));
    EXPECT_TRUE((has<int (Object::*)(int, const Array &)>(&Object::call)));
    EXPECT_TRUE((has<int (Object::*)(const String &, Variant &, Error *)>(&Object::invoke)));
    EXPECT_TRUE(
        (has<int (Object::*)(const String &, const Array &, Variant &, Error *)>(&Object::invoke)));
    EXPECT_TRUE((has<int (Object::*)(const String &, const Array &, Error *)>(&Object::invoke)));
    EXPECT_TRUE((has<int (Object::*)(const String &, Error *)>(&Object::invoke)));
    EXPECT_TRUE(has<bool (Object::*)(const String &) const>(&Object::canInvoke));
}

TEST(LiveObjectsInterface, TextForm)
{
    using Object = LiveObject;
    EXPECT_TRUE((has<int (Object::*)(const String &, Error &, int)>(&Object::parse)));
    EXPECT_TRUE((has<int (Object::*)(const String &, int)>(&Object::parse)));
    EXPECT_TRUE((has<int (*)(const String &, Object *&, int)>(&Object::parseNew)));
}

TEST(LiveObjectsInterface, LiveComponent)
{
    using Component = LiveComponent;
    static_assert(std::is_base_of_v<LiveBase, Component> &&
                  !std::is_base_of_v<Broadcaster, Component>);
    EXPECT_TRUE(has<void (Component::*)()>(&Component::reset));
    EXPECT_TRUE(
        (has<int (Component::*)(const LiveObject &, const String &, int &, InfoType &, int) const>(
            &Component::getIDForName)));
    EXPECT_TRUE((has<int (Component::*)(const LiveObject &, int, String &, int) const>(
        &Component::getNameForID)));
    EXPECT_TRUE((has<InfoType (Component::*)(const LiveObject &, int)>(&Component::getType)));
    EXPECT_TRUE(has<bool (Component::*)() const>(&Component::hasOperators));
    EXPECT_TRUE((has<int (Component::*)(const LiveObject &, SimpleArray &, int) const>(
        &Component::enumerate)));
    EXPECT_TRUE((has<const ServiceInfo *(Component::*)(const LiveObject &, int, int) const>(
        &Component::getServiceInfo)));
    EXPECT_TRUE((has<int (Component::*)(const LiveObject &, int, Variant &, Error *) const>(
        &Component::get)));
    EXPECT_TRUE(
        (has<int (Component::*)(LiveObject &, int, const Variant &, Error *)>(&Component::put)));
    EXPECT_TRUE((has<int (Component::*)(LiveObject &, int, const Array &, Variant &, Error *)>(
        &Component::call)));
    EXPECT_TRUE(has<bool (Component::*)(int) const>(&Component::isGeneric));
    EXPECT_TRUE(has<bool (Component::*)() const>(&Component::isIndexable));
    EXPECT_TRUE(
        (has<int (Component::*)(const LiveObject &, unsigned int &) const>(&Component::getLength)));
    EXPECT_TRUE((has<int (Component::*)(LiveObject &, unsigned int)>(&Component::putLength)));
    EXPECT_TRUE(
        (has<int (Component::*)(const LiveObject &, unsigned int, Variant &, Error *) const>(
            &Component::getByIndex)));
    EXPECT_TRUE((has<int (Component::*)(LiveObject &, unsigned int, const Variant &, Error *)>(
        &Component::putByIndex)));
    EXPECT_TRUE((has<int (Component::*)(LiveObject &, unsigned int)>(&Component::deleteByIndex)));
}

TEST(LiveObjectsInterface, Collections)
{
    using Collection = LiveCollection;
    static_assert(std::is_base_of_v<LiveObject, Collection> &&
                  std::is_base_of_v<Collection, LiveArray>);
    static_assert(std::is_constructible_v<OpenArray, const char *, int, bool> &&
                  std::is_constructible_v<OpenArray, const Array &, const char *, int, bool>);
    EXPECT_TRUE(has<int (*)()>(&Collection::getInterfaceID));
    EXPECT_TRUE(has<int (Collection::*)() const>(&Collection::getLengthID));
    EXPECT_TRUE(has<bool (Collection::*)() const>(&Collection::isReadOnly));
    EXPECT_TRUE(has<unsigned int (Collection::*)() const>(&Collection::length));
    EXPECT_TRUE(has<int (Collection::*)(unsigned int &) const>(&Collection::getLength));
    EXPECT_TRUE(has<int (Collection::*)(unsigned int)>(&Collection::putLength));
    EXPECT_TRUE((
        has<int (Collection::*)(unsigned int, Variant &, Error *) const>(&Collection::getByIndex)));
    EXPECT_TRUE((
        has<int (Collection::*)(unsigned int, const Variant &, Error *)>(&Collection::putByIndex)));
    EXPECT_TRUE(has<int (Collection::*)(unsigned int)>(&Collection::deleteByIndex));
    EXPECT_TRUE(has<int (*)()>(&LiveArray::getInterfaceID));
    EXPECT_TRUE(has<Array &(LiveArray::*)()>(&LiveArray::getArray));
    EXPECT_TRUE(has<const Array &(LiveArray::*)() const>(&LiveArray::getArray));
}

TEST(LiveObjectsInterface, AHostsClassIsReadWrittenAndCalled)
{
    InitTerm::init();
    {
        auto *lamp = new Lamp;
        Variant value;
        EXPECT_EQ(0, lamp->get("power", value, nullptr));
        EXPECT_EQ(60, value.getInteger());
        EXPECT_EQ(0, lamp->put("power", 40, -1, nullptr));
        Array args;
        args[0] = 15;
        EXPECT_EQ(0, lamp->call("dim", args, value, nullptr));
        EXPECT_EQ(25, value.getInteger());
        EXPECT_EQ(static_cast<LiveObject *>(lamp), lamp->getAs(fourCharCode(" obj")));
        lamp->release();
    }
    InitTerm::exit();
}
