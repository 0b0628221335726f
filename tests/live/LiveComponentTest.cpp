// SPDX-License-Identifier: MIT
// What a component answers by itself, from its table or without one.
#include <tavrin/LiveComponent.h>

#include <gtest/gtest.h>

#include <tavrin/Reflection.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::fullText;
using test::idsIn;
using test::make;
using test::Owned;
using test::Plain;
using test::Ruler;

namespace {

struct Bare : LiveComponent
{};

class LiveComponentTest : public test::LibraryTest
{
protected:
    void SetUp() override
    {
        test::LibraryTest::SetUp();
        object = make<Plain>("Foo");
        bare = make<Bare>();
        ruler = make<Ruler>();
    }
    void TearDown() override
    {
        object.reset();
        bare.reset();
        ruler.reset();
        test::LibraryTest::TearDown();
    }

    Owned<Plain> object;
    Owned<Bare> bare;
    Owned<Ruler> ruler;
};

} // namespace

TEST_F(LiveComponentTest, AnswersNamesFromItsTable)
{
    int id = 0;
    InfoType type = kInfoNone;
    EXPECT_EQ(ruler->getIDForName(*object, "unit", id, type, kDefaultLanguage), 0);
    EXPECT_EQ(id, Ruler::unitID);
    EXPECT_EQ(type, kInfoReadWrite);
    EXPECT_EQ(ruler->getIDForName(*object, "UNIT", id, type, kCaselessLanguage), 0);
    EXPECT_EQ(ruler->getIDForName(*object, "colour", id, type, kDefaultLanguage), 2);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(type, kInfoNone);
    id = 7;
    EXPECT_EQ(ruler->getIDForName(*object, "", id, type, kDefaultLanguage), 2);
    EXPECT_EQ(id, 0);
    String name;
    EXPECT_EQ(ruler->getNameForID(*object, Ruler::gridID, name, kDefaultLanguage), 0);
    EXPECT_EQ(name, "grid");
    EXPECT_EQ(ruler->getNameForID(*object, 5, name, kDefaultLanguage), 2);
    EXPECT_EQ(name, "");
    EXPECT_EQ(ruler->getType(*object, Ruler::measureID), kInfoMethod);
    EXPECT_EQ(ruler->getType(*object, 5), kInfoNone);
}

TEST_F(LiveComponentTest, ListsAndDescribesItsTable)
{
    SimpleArray ids;
    EXPECT_EQ(ruler->enumerate(*object, ids, kListMethods | kDefaultLanguage), 0);
    EXPECT_EQ(idsIn(ids), (std::vector<int>{Ruler::measureID, Ruler::anywhereID, Ruler::gridID}));
    const ServiceInfo *info = ruler->getServiceInfo(*object, Ruler::unitID, kDefaultLanguage);
    ASSERT_NE(info, nullptr);
    String name;
    info->getName(name);
    EXPECT_EQ(name, "unit");
    info->release();
    EXPECT_EQ(ruler->getServiceInfo(*object, 5, kDefaultLanguage), nullptr);
    EXPECT_FALSE(ruler->hasOperators());
}

TEST_F(LiveComponentTest, KnowsNothingWithoutATable)
{
    int id = 7;
    InfoType type = kInfoMethod;
    EXPECT_EQ(bare->getIDForName(*object, "unit", id, type, kDefaultLanguage), 2);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(type, kInfoNone);
    String name = "before";
    EXPECT_EQ(bare->getNameForID(*object, 5, name, kDefaultLanguage), 2);
    EXPECT_EQ(name, "");
    EXPECT_EQ(bare->getType(*object, 5), kInfoNone);
    SimpleArray ids;
    EXPECT_EQ(bare->enumerate(*object, ids, -1), 0);
    EXPECT_EQ(ids.length(), 0);
    EXPECT_EQ(bare->getServiceInfo(*object, 5, kDefaultLanguage), nullptr);
    EXPECT_FALSE(bare->hasOperators());
    EXPECT_FALSE(bare->isGeneric(5));
    EXPECT_FALSE(bare->isIndexable());
    bare->reset();
}

TEST_F(LiveComponentTest, FailsInTheWordsOfTheObject)
{
    object->defineIDForName("size", 5, kInfoReadWrite);
    Variant out = 1;
    Error got, put, called;
    EXPECT_EQ(bare->get(*object, 5, out, &got), 2);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(got), "size is undefined");
    EXPECT_EQ(bare->put(*object, 6, 1, &put), 2);
    EXPECT_EQ(fullText(put), "{LiveObject(\"Foo\").property(6)} is undefined");
    out = 1;
    EXPECT_EQ(bare->call(*object, 5, Array(), out, &called), 2);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(called), "size is undefined");
}

TEST_F(LiveComponentTest, HasNoElements)
{
    unsigned length = 7;
    EXPECT_EQ(bare->getLength(*object, length), 2);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(bare->putLength(*object, 3), 2);
    EXPECT_EQ(bare->deleteByIndex(*object, 3), 0);
    Variant out = 1;
    Error got, put;
    EXPECT_EQ(bare->getByIndex(*object, 3, out, &got), 41);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(fullText(got), "{LiveObject(\"Foo\").property(3)} is out of range");
    EXPECT_EQ(bare->putByIndex(*object, 3, 1, &put), 41);
    EXPECT_EQ(fullText(put), "{LiveObject(\"Foo\").property(3)} is out of range");
}

TEST_F(LiveComponentTest, ATableThatThrowsGivesACode)
{
    struct Throwing : LivePropertyManager
    {
        int getIDForName(const String &, int &, InfoType &, int) const override { throw 5; }
        int getNameForID(int, String &, int) const override { throw std::bad_alloc(); }
        InfoType getType(int) override { throw 5; }
        int enumerate(SimpleArray &, int) const override { throw 5; }
        const ServiceInfo *getServiceInfo(int, int) const override { throw 5; }
    };
    const Throwing table;
    bare->setPropertyManager(&table);
    int id = 7;
    InfoType type = kInfoReadOnly;
    EXPECT_EQ(bare->getIDForName(*object, "unit", id, type, kDefaultLanguage), -29);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(type, kInfoNone);
    String name = "before";
    EXPECT_EQ(bare->getNameForID(*object, 1, name, kDefaultLanguage), -28);
    EXPECT_EQ(name, "");
    EXPECT_EQ(bare->getType(*object, 1), kInfoNone);
    SimpleArray ids;
    EXPECT_EQ(bare->enumerate(*object, ids, kListReadWrite), -29);
    EXPECT_EQ(bare->getServiceInfo(*object, 1, 0), nullptr);

    object->setPropertyManager(&table);
    EXPECT_EQ(object->getIDForName("unit", id, type, kDefaultLanguage), -29);
    EXPECT_EQ(object->getNameForID(1, name, kDefaultLanguage), -28);
    EXPECT_EQ(object->getType(1), kInfoNone);
    EXPECT_EQ(object->enumerate(ids, kListReadWrite), -29);
    object->setPropertyManager(nullptr);
    bare->setPropertyManager(nullptr);
}
