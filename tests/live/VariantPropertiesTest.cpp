// SPDX-License-Identifier: MIT
// Whole objects as tables of values.
#include <tavrin/Variant.h>

#include <gtest/gtest.h>

#include <tavrin/HashTable.h>

#include "live/Hosts.h"
#include "support/FakeObject.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::fullText;
using test::make;
using test::Plain;

namespace {

using VariantPropertiesTest = test::LibraryTest;

constexpr int listed = kListReadWrite | kDefaultLanguage;

struct Properties : THashTable<Variant>
{
    ~Properties() { Variant::eraseProperties(*this); }
};

} // namespace

TEST_F(VariantPropertiesTest, GetsEachPropertyByName)
{
    const auto object = make<Plain>();
    object->put("a", 1, kInfoReadWrite);
    object->put("b", "two", kInfoReadWrite);
    object->put("hidden", 3, kInfoReadWrite | kPropertyUnlisted);
    Properties all;
    EXPECT_EQ(Variant(*object).getObjectProperties(all, listed, nullptr), 0);
    EXPECT_EQ(all.length(), 2);
    EXPECT_EQ(*all["a"], Variant(1));
    EXPECT_EQ(*all["b"], Variant("two"));
}

TEST_F(VariantPropertiesTest, ReplacesValuesThatAreThere)
{
    const auto object = make<Plain>();
    object->put("a", 1, kInfoReadWrite);
    Properties all;
    const Variant value(*object);
    EXPECT_EQ(value.getObjectProperties(all, listed, nullptr), 0);
    object->put("a", 2, kInfoReadWrite);
    EXPECT_EQ(value.getObjectProperties(all, listed, nullptr), 0);
    EXPECT_EQ(all.length(), 1);
    EXPECT_EQ(*all["a"], Variant(2));
    Variant::eraseProperties(all);
    EXPECT_EQ(all.length(), 0);
}

TEST_F(VariantPropertiesTest, StopsAtTheFirstPropertyThatFails)
{
    struct Failing : Plain
    {
        int get(int id, Variant &out, Error *error) const override
        {
            return id == 6 ? 57 : Plain::get(id, out, error);
        }
        using LiveObject::get;
    };
    const auto object = make<Failing>();
    object->defineIDForName("a", 5, kInfoReadWrite);
    object->defineIDForName("b", 6, kInfoReadWrite);
    object->defineIDForName("c", 7, kInfoReadWrite);
    Properties all;
    Error error;
    EXPECT_EQ(Variant(*object).getObjectProperties(all, listed, &error), 57);
    EXPECT_EQ(fullText(error), "Cannot resolve reference");
    EXPECT_EQ(all.length(), 1);
    EXPECT_EQ(Variant(*object).getObjectProperties(all, listed, nullptr), 57);
    object->invalidate();
    Error invalid;
    EXPECT_EQ(Variant(*object).getObjectProperties(all, listed, &invalid), 45);
    EXPECT_EQ(fullText(invalid), "Object is invalid");
}

TEST_F(VariantPropertiesTest, PutsEachPropertyByName)
{
    const auto source = make<Plain>();
    source->put("size", 7, kInfoReadWrite);
    source->put("own", "x", kInfoReadWrite);
    Properties all;
    Variant(*source).getObjectProperties(all, listed, nullptr);
    const auto document = make<Document>();
    EXPECT_EQ(Variant(*document).setObjectProperties(all, nullptr), 0);
    EXPECT_EQ(document->size, 7);
    Variant out;
    EXPECT_EQ(document->get("own", out), 0);
    EXPECT_EQ(out, Variant("x"));
}

TEST_F(VariantPropertiesTest, ANameWithoutAValueBecomesUndefined)
{
    const auto object = make<Plain>();
    object->put("a", 1, kInfoReadWrite);
    Properties all;
    all.set("a", nullptr, false);
    EXPECT_EQ(Variant(*object).setObjectProperties(all, nullptr), 0);
    Variant out = 2;
    EXPECT_EQ(object->get("a", out), 0);
    EXPECT_FALSE(out.isDefined());
    object->put("a", 3, kInfoReadWrite);
    EXPECT_EQ(Variant(*object).getObjectProperties(all, listed, nullptr), 0);
    EXPECT_EQ(*all["a"], Variant(3));
}

TEST_F(VariantPropertiesTest, StopsAtTheFirstWriteThatFails)
{
    const auto source = make<Plain>();
    source->put("title", "x", kInfoReadWrite);
    Properties all;
    Variant(*source).getObjectProperties(all, listed, nullptr);
    const auto document = make<Document>();
    Error error;
    EXPECT_EQ(Variant(*document).setObjectProperties(all, &error), 46);
    EXPECT_EQ(fullText(error), "title is read only");
}

TEST_F(VariantPropertiesTest, AsksTheScriptObject)
{
    auto &script = *new test::FakeObject;
    Variant wrapper;
    wrapper.setJSObject(script);
    script.propertyCode = 57;
    Properties all;
    EXPECT_EQ(wrapper.getObjectProperties(all, 5, nullptr), 57);
    EXPECT_EQ(script.lastFlags, 5);
    EXPECT_EQ(wrapper.setObjectProperties(all, nullptr), 57);
    EXPECT_EQ(script.propertyCalls, 2);
    wrapper.erase();
}

TEST_F(VariantPropertiesTest, OtherKindsAreNoObjects)
{
    Properties all;
    Variant text = "abc";
    Error got, set;
    EXPECT_EQ(text.getObjectProperties(all, listed, &got), 21);
    EXPECT_EQ(fullText(got), "abc is not an object");
    EXPECT_EQ(text.setObjectProperties(all, &set), 21);
    EXPECT_EQ(fullText(set), "abc is not an object");
    EXPECT_EQ(Variant(5).getObjectProperties(all, listed, nullptr), 21);
    Variant unassigned;
    unassigned.setObject(5, "Foo", nullptr);
    EXPECT_EQ(unassigned.getObjectProperties(all, listed, nullptr), 21);
}
