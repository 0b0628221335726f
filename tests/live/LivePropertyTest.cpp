// SPDX-License-Identifier: MIT
// One dynamic property by itself. What objects do with it stands in the tests of LiveObject.
#include <tavrin/LivePropertyManager.h>

#include <cstddef>
#include <memory>

#include <gtest/gtest.h>

#include <tavrin/Array.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;

namespace {

using LivePropertyTest = test::LibraryTest;

// A property remembers its owner and asks nothing of it, so storage will do.
LiveObject &anyObject()
{
    alignas(std::max_align_t) static std::byte storage[1];
    return reinterpret_cast<LiveObject &>(storage);
}

class Property : public LiveProperty
{
public:
    explicit Property(unsigned int flags) : LiveProperty(anyObject(), "name", 7, flags) {}
    using LiveProperty::getValue;
};

double numberOf(const LiveProperty &property)
{
    Variant value("before");
    EXPECT_EQ(property.get(value), 0);
    return value.getDouble();
}

TEST_F(LivePropertyTest, BeginsWithoutAValueAndOutsideOfAnyList)
{
    const Property property(kInfoReadWrite | kPropertyPermanent);
    EXPECT_EQ(&property.getOwner(), &anyObject());
    EXPECT_EQ(property.getNext(), nullptr);
    EXPECT_EQ(property.getName(), "name");
    EXPECT_EQ(property.getID(), 7);
    EXPECT_EQ(property.getIndex(), 0);
    EXPECT_EQ(property.getFlags(), unsigned{kInfoReadWrite | kPropertyPermanent});
    Variant value(1);
    EXPECT_EQ(property.get(value), 0);
    EXPECT_FALSE(value.isDefined());
}

struct TypeCase
{
    unsigned int flags;
    InfoType type;
    bool takesOnePut;
};

TEST_F(LivePropertyTest, AnyOddTypeTakesOneValueAndOthersAllOfThem)
{
    constexpr TypeCase cases[] = {
        {0, kInfoReadWrite, false},
        {kInfoReadOnly, kInfoReadOnly, true},
        {kInfoReadWrite, kInfoReadWrite, false},
        {3, InfoType{3}, true},
        {kInfoMethod, kInfoMethod, true},
        {kInfoReadWriteMethod, kInfoReadWriteMethod, false},
        {kInfoReadOnlyMethod, kInfoReadOnlyMethod, true},
        {15, InfoType{15}, true},
        {kPropertyUnlisted | kDefaultLanguage, kInfoReadWrite, false},
        {kInfoReadOnly | kPropertyFirstPut, kInfoReadOnly, true},
    };
    for (const TypeCase &row : cases) {
        Property property(row.flags);
        EXPECT_EQ(property.getType(), row.type) << row.flags;
        EXPECT_EQ((property.getFlags() & kPropertyFirstPut) != 0, row.takesOnePut) << row.flags;
        EXPECT_EQ(property.put(1), 0) << row.flags;
        EXPECT_EQ(property.put(2), row.takesOnePut ? 46 : 0) << row.flags;
        EXPECT_EQ(property.put(3), row.takesOnePut ? 46 : 0) << row.flags;
        EXPECT_EQ(numberOf(property), row.takesOnePut ? 1 : 3) << row.flags;
        EXPECT_EQ(property.getFlags() & kPropertyFirstPut, 0u) << row.flags;
        EXPECT_EQ(property.getType(), row.type) << row.flags;
    }
}

TEST_F(LivePropertyTest, AnOpenFirstWriteOfAReadWritePropertyIsClosedByIt)
{
    Property property(kInfoReadWrite | kPropertyFirstPut);
    EXPECT_EQ(property.put(1), 0);
    EXPECT_EQ(property.getFlags(), unsigned{kInfoReadWrite});
    EXPECT_EQ(property.put(2), 0);
}

TEST_F(LivePropertyTest, AValueCannotBeCalled)
{
    Property property(kInfoMethod);
    Variant result("before");
    EXPECT_EQ(property.call(Array(), result), 24);
    EXPECT_FALSE(result.isDefined());
}

TEST_F(LivePropertyTest, AreComparedByTheirValues)
{
    Property one(kInfoReadWrite), two(kInfoReadWrite), text(kInfoReadWrite);
    one.put(1);
    two.put(2);
    text.put("1");
    EXPECT_TRUE(one == one);
    EXPECT_FALSE(one == two);
    EXPECT_FALSE(one == text);
    EXPECT_LT(one.compare(two), 0);
    EXPECT_GT(two.compare(one), 0);
    EXPECT_EQ(one.compare(one), 0);
    two.put(1);
    EXPECT_TRUE(one == two);
}

// A host's property that counts its calls and doubles what it reads.
class HostProperty : public Property
{
public:
    using Property::Property;

    int get(Variant &out) const override
    {
        out = 2 * getValue().getDouble();
        return 0;
    }
    int call(const Array &arguments, Variant &result) override
    {
        result = arguments.length();
        getValue() = ++calls;
        return 0;
    }

private:
    int calls = 0;
};

TEST_F(LivePropertyTest, AHostMayDeriveFromIt)
{
    HostProperty host(kInfoReadWriteMethod);
    LiveProperty &property = host;
    Variant result;
    EXPECT_EQ(property.put(4), 0);
    EXPECT_EQ(numberOf(property), 8);
    EXPECT_EQ(property.call(Array(), result), 0);
    EXPECT_EQ(numberOf(property), 2);
}

TEST_F(LivePropertyTest, PutTakesItsOwnValue)
{
    Property property(kInfoReadWrite);
    property.put("a text that is long enough to take a block of its own");
    EXPECT_EQ(property.put(property.getValue()), 0);
    Variant value;
    property.get(value);
    EXPECT_EQ(value.getString(), "a text that is long enough to take a block of its own");
}

TEST_F(LivePropertyTest, WithoutMemoryItIsNotMade)
{
    using Made = std::unique_ptr<Property>;
    test::underMemoryFailure([] { return Made(); },
                             [](Made &made) { made = std::make_unique<Property>(kInfoReadOnly); },
                             [](Made &made, bool failed) { EXPECT_EQ(made == nullptr, failed); });
}

#ifdef TAVRIN_HAS_VIRTUAL_SLOTS
TEST(LivePropertySlots, StandInTheirFixedOrder)
{
    using test::virtualSlot;
    EXPECT_EQ(virtualSlot(&LiveProperty::operator==), 2u);
    EXPECT_EQ(virtualSlot(&LiveProperty::compare), 3u);
    EXPECT_EQ(virtualSlot(&LiveProperty::get), 4u);
    EXPECT_EQ(virtualSlot(&LiveProperty::put), 5u);
    EXPECT_EQ(virtualSlot(&LiveProperty::call), 6u);
}
#endif

} // namespace
