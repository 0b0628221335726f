// SPDX-License-Identifier: MIT
// A manager that rows were registered with one at a time.
#include <tavrin/LivePropertyManager.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "live/PropertyManagerSupport.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::describe;
using test::findID;
using test::findName;
using test::FoundID;
using test::FoundName;
using test::listAll;
using test::listedIDs;
using test::noID;
using test::noName;

namespace {

constexpr int otherLanguage = 0x20000;

constexpr LivePropertyInfo endRow{nullptr, 0, 0, nullptr};

class DynamicPropertyManagerTest : public test::LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        manager = new LivePropertyManager;
    }
    void TearDown() override
    {
        delete manager;
        LibraryTest::TearDown();
    }

    void add(const char *name, int id, int flags, const char *description = nullptr)
    {
        manager->registerProperty(name, id, flags, description);
    }
    std::vector<int> sortedList(int flags = listAll)
    {
        std::vector<int> ids = listedIDs(*manager, flags);
        std::sort(ids.begin(), ids.end());
        return ids;
    }

    LivePropertyManager *manager = nullptr;
};

TEST_F(DynamicPropertyManagerTest, TheFirstRowJoinsThoseOfTheTable)
{
    constexpr LivePropertyInfo rows[] = {
        {"a", 1, kInfoReadOnly, "string\tThe first."}, {"b", 2, kInfoReadWrite, nullptr}, endRow};
    manager->registerProperties(rows);
    add("c", 3, kInfoMethod);
    EXPECT_EQ(findID(*manager, "a"), (FoundID{0, 1, kInfoReadOnly}));
    EXPECT_EQ(findID(*manager, "b"), (FoundID{0, 2, kInfoReadWrite}));
    EXPECT_EQ(findID(*manager, "c"), (FoundID{0, 3, kInfoMethod}));
    EXPECT_EQ(sortedList(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(describe(manager->getServiceInfo(1, kDefaultLanguage)),
              "a 1 1 The first.| -> string(0)");
}

TEST_F(DynamicPropertyManagerTest, AWholeTableIsAdded)
{
    constexpr LivePropertyInfo rows[] = {{"b", 2, kInfoReadWrite, nullptr}, endRow};
    add("a", 1, kInfoReadOnly);
    manager->registerProperties(rows);
    manager->registerProperties(nullptr);
    EXPECT_EQ(sortedList(), (std::vector<int>{1, 2}));
    EXPECT_EQ(findID(*manager, "a").id, 1);
    EXPECT_EQ(findID(*manager, "b").id, 2);
}

TEST_F(DynamicPropertyManagerTest, ARowIsRegisteredByItsFields)
{
    manager->registerProperty(LivePropertyInfo{"a", 1, kInfoMethod, "bool\tText."});
    EXPECT_EQ(describe(manager->getServiceInfo("a", kDefaultLanguage)),
              "a 1 5 Text.| -> boolean(0)");
}

TEST_F(DynamicPropertyManagerTest, ItsTextsAreCopies)
{
    char name[] = "name", description[] = "string\tText.";
    add(name, 1, kInfoReadOnly, description);
    name[0] = description[0] = description[7] = 'X';
    EXPECT_EQ(describe(manager->getServiceInfo("name", kDefaultLanguage)),
              "name 1 1 Text.| -> string(0)");
    EXPECT_EQ(findName(*manager, 1), (FoundName{0, "name"}));
}

TEST_F(DynamicPropertyManagerTest, UnknownNamesAndIDsAreUndefined)
{
    add("a", 1, kInfoReadOnly);
    EXPECT_EQ(findID(*manager, "b"), noID);
    EXPECT_EQ(findID(*manager, "A"), noID);
    EXPECT_EQ(findName(*manager, 2), noName);
    EXPECT_EQ(manager->getType(2), kInfoNone);
    EXPECT_EQ(manager->getType(1), kInfoReadOnly);
    EXPECT_EQ(describe(manager->getServiceInfo("b", kDefaultLanguage)), "none");
    EXPECT_EQ(describe(manager->getServiceInfo(2, kDefaultLanguage)), "none");
    EXPECT_EQ(describe(manager->getConstructor(kDefaultLanguage)), "none");
}

TEST_F(DynamicPropertyManagerTest, AnEmptyNameHasNoIDAndIsTheConstructor)
{
    add("", 7, kInfoReadOnly | kCaselessLanguage, "Foo\tMakes one.,a:string");
    EXPECT_EQ(findID(*manager, "", kCaselessLanguage), noID);
    EXPECT_EQ(findName(*manager, 7, kCaselessLanguage), (FoundName{0, ""}));
    EXPECT_EQ(describe(manager->getConstructor(kCaselessLanguage)),
              "Foo 0 5 Makes one.| -> Foo(1)");
    EXPECT_EQ(describe(manager->getConstructor(kDefaultLanguage)), "Foo 0 5 Makes one.| -> Foo(1)")
        << "it fits any language";
}

TEST_F(DynamicPropertyManagerTest, TheCaselessLanguageAloneIgnoresCase)
{
    add("Length", 1, kInfoReadOnly);
    EXPECT_EQ(findID(*manager, "length", kCaselessLanguage).id, 1);
    EXPECT_EQ(findID(*manager, "length", kCaselessLanguage | kDefaultLanguage), noID);
    EXPECT_EQ(findID(*manager, "length"), noID);
}

struct LanguageCase
{
    const char *name;
    int rowFlags;
    int flags;
    bool isFound;
};

TEST_F(DynamicPropertyManagerTest, ANameIsRefusedWhenItSharesSomeOfTheFlagsOnly)
{
    constexpr LanguageCase cases[] = {
        {"all languages", kInfoReadOnly, kDefaultLanguage, true},
        {"the same", kInfoReadOnly | kDefaultLanguage, kDefaultLanguage, true},
        {"none shared", kInfoReadOnly | kDefaultLanguage, otherLanguage, true},
        {"no language asked", kInfoReadOnly | kDefaultLanguage, 0, true},
        {"one of two asked", kInfoReadOnly | kDefaultLanguage, kDefaultLanguage | otherLanguage,
         false},
        {"more than asked", kInfoReadOnly | kUsedLanguages, kDefaultLanguage, true},
        {"all of two", kInfoReadOnly | kUsedLanguages, kDefaultLanguage | otherLanguage, true},
        {"a shared bit of the type", kInfoReadOnly | kDefaultLanguage, kDefaultLanguage | 1, false},
        {"a bit of the type alone", kInfoReadOnly, kDefaultLanguage | 1, false},
        {"listing bits", kInfoReadOnly | kDefaultLanguage, kDefaultLanguage | kListMethods, true},
    };
    for (const LanguageCase &row : cases) {
        LivePropertyManager fresh;
        fresh.registerProperty("a", 1, row.rowFlags, "string");
        EXPECT_EQ(findID(fresh, "a", row.flags),
                  (row.isFound ? FoundID{0, 1, kInfoReadOnly} : noID))
            << row.name;
        EXPECT_EQ(describe(fresh.getServiceInfo("a", row.flags)),
                  row.isFound ? "a 1 1 | -> string(0)" : "none")
            << row.name;
    }
}

TEST_F(DynamicPropertyManagerTest, TheNameOfAnIDHasToFitTheLanguage)
{
    add("a", 1, kInfoReadOnly | kCaselessLanguage, "string");
    EXPECT_EQ(findName(*manager, 1, kCaselessLanguage), (FoundName{0, "a"}));
    EXPECT_EQ(findName(*manager, 1, kUsedLanguages), (FoundName{0, "a"}));
    EXPECT_EQ(findName(*manager, 1, kDefaultLanguage), noName);
    EXPECT_EQ(describe(manager->getServiceInfo(1, kDefaultLanguage)), "none");
    EXPECT_EQ(describe(manager->getServiceInfo(1, kUsedLanguages)), "a 1 1 | -> string(0)");
}

TEST_F(DynamicPropertyManagerTest, OfSeveralNamesOfAnIDTheFirstFittingOneOfTheTableOfNamesCounts)
{
    // Names of one letter stand in the table of 16 buckets by that letter, from A at 1 on.
    add("c", 1, kInfoReadOnly);
    add("b", 1, kInfoReadOnly);
    add("a", 1, kInfoReadOnly | kCaselessLanguage);
    EXPECT_EQ(findName(*manager, 1, kCaselessLanguage), (FoundName{0, "a"}));
    EXPECT_EQ(findName(*manager, 1, kDefaultLanguage), (FoundName{0, "b"}));
    add("b", 2, kInfoReadOnly);
    EXPECT_EQ(findName(*manager, 1, kDefaultLanguage), (FoundName{0, "c"}));
    add("c", 2, kInfoReadOnly);
    EXPECT_EQ(findName(*manager, 1, kDefaultLanguage), noName);
    EXPECT_EQ(findName(*manager, 2, kDefaultLanguage), (FoundName{0, "b"}));
}

TEST_F(DynamicPropertyManagerTest, SeveralNamesOfAnIDThatDoNotFitGiveNone)
{
    add("a", 1, kInfoReadOnly | kCaselessLanguage);
    add("b", 1, kInfoReadOnly | kCaselessLanguage);
    EXPECT_EQ(findName(*manager, 1, kDefaultLanguage), noName);
}

TEST_F(DynamicPropertyManagerTest, ANameThatIsRegisteredAgainMovesAndItsFirstIDStays)
{
    add("a", 1, kInfoReadOnly, "string\tFirst.");
    add("a", 2, kInfoMethod, "bool\tSecond.");
    EXPECT_EQ(findID(*manager, "a"), (FoundID{0, 2, kInfoMethod}));
    EXPECT_EQ(manager->getType(1), kInfoReadOnly);
    EXPECT_EQ(findName(*manager, 1), noName);
    EXPECT_EQ(findName(*manager, 2), (FoundName{0, "a"}));
    EXPECT_EQ(sortedList(), (std::vector<int>{1, 2}));
    EXPECT_EQ(describe(manager->getServiceInfo("a", kDefaultLanguage)),
              "a 2 5 Second.| -> boolean(0)");
    EXPECT_EQ(describe(manager->getServiceInfo(1, kDefaultLanguage)), "none");
}

TEST_F(DynamicPropertyManagerTest, AKnownIDKeepsItsTypeAndDescription)
{
    add("a", 1, kInfoReadOnly, "string\tFirst.");
    add("a", 1, kInfoMethod, "bool\tSecond.");
    EXPECT_EQ(findID(*manager, "a"), (FoundID{0, 1, kInfoReadOnly}));
    EXPECT_EQ(describe(manager->getServiceInfo("a", kDefaultLanguage)),
              "a 1 1 Second.| -> boolean(0)")
        << "the name has the description of its last registration";
    EXPECT_EQ(describe(manager->getServiceInfo(1, kDefaultLanguage)), "a 1 1 First.| -> string(0)")
        << "the id has that of its first";
    EXPECT_EQ(findName(*manager, 1), (FoundName{0, "a"}));
}

TEST_F(DynamicPropertyManagerTest, ADescriptionOutlivesTheRegistrationThatReplacesItsName)
{
    add("a", 1, kInfoReadOnly, "string\tA description of some length, which takes a block.");
    add("b", 1, kInfoReadOnly, "string\tAnother description, with a block of its own.");
    add("a", 2, kInfoReadOnly, nullptr);
    add("b", 2, kInfoReadOnly, nullptr);
    add("c", 1, kInfoReadOnly, nullptr);
    EXPECT_EQ(describe(manager->getServiceInfo(1, kDefaultLanguage)),
              "c 1 1 A description of some length| -> string(1)");
}

TEST_F(DynamicPropertyManagerTest, AnIDOfTwoLanguagesIsEnumeratedInBoth)
{
    add("a", 1, kInfoReadOnly | kDefaultLanguage);
    EXPECT_EQ(sortedList(kListReadOnly | kCaselessLanguage), std::vector<int>());
    add("b", 1, kInfoReadOnly | kCaselessLanguage);
    EXPECT_EQ(sortedList(kListReadOnly | kCaselessLanguage), std::vector<int>{1});
    EXPECT_EQ(sortedList(kListReadOnly | kDefaultLanguage), std::vector<int>{1});
    EXPECT_EQ(sortedList(kListReadOnly | otherLanguage), std::vector<int>());
    EXPECT_EQ(sortedList(kListReadOnly), std::vector<int>());
}

TEST_F(DynamicPropertyManagerTest, OnlyTheLanguagesOfAKnownIDAreJoined)
{
    add("a", 1, kInfoReadOnly);
    add("b", 1, kInfoMethod | kPropertyUnlisted | kPropertyPrivate);
    EXPECT_EQ(sortedList(kListReadOnly), std::vector<int>{1});
}

TEST_F(DynamicPropertyManagerTest, EnumeratesByTypeAndExclusionAsATableDoes)
{
    add("a", 11, kInfoReadOnly);
    add("b", 12, kInfoReadWrite);
    add("c", 15, kInfoMethod);
    add("d", 16, kInfoReadWriteMethod);
    add("e", 17, kInfoReadOnlyMethod);
    add("f", 20, kInfoReadWriteMethod | kPropertyUnlisted);
    add("g", 21, kInfoReadWriteMethod | kPropertyPrivate);
    EXPECT_EQ(sortedList(0), (std::vector<int>{16, 17}));
    EXPECT_EQ(sortedList(kListReadOnly), (std::vector<int>{11, 16, 17}));
    EXPECT_EQ(sortedList(kListReadWrite), (std::vector<int>{12, 16, 17}));
    EXPECT_EQ(sortedList(kListMethods), (std::vector<int>{15, 16, 17}));
    EXPECT_EQ(sortedList(kListUnlisted), (std::vector<int>{16, 17, 20}));
    EXPECT_EQ(sortedList(kListPrivate), (std::vector<int>{16, 17, 21}));
}

TEST_F(DynamicPropertyManagerTest, EnumerationAppendsInTheOrderOfTheTableOfIDs)
{
    for (int id : {33, 2, 1, -1})
        add(nullptr, id, kInfoReadOnly);
    SimpleArray ids;
    ids.append(1);
    EXPECT_EQ(manager->enumerate(ids, kListReadOnly), 0);
    // 32 buckets; 33 and 1 share one, where the later stands first; -1 is in the last.
    EXPECT_EQ(test::idsOf(ids), (std::vector<int>{1, 1, 33, 2, -1}));
    EXPECT_EQ(ids.indexOf(-1), 4);
}

TEST_F(DynamicPropertyManagerTest, ANullNameRegistersTheIDAlone)
{
    add(nullptr, 1, kInfoMethod, "string");
    EXPECT_EQ(manager->getType(1), kInfoMethod);
    EXPECT_EQ(findName(*manager, 1), noName);
    EXPECT_EQ(findID(*manager, ""), noID);
    EXPECT_EQ(describe(manager->getServiceInfo(1, kDefaultLanguage)), "none");
    EXPECT_EQ(sortedList(), std::vector<int>{1});
}

TEST_F(DynamicPropertyManagerTest, AnOperatorIDGivesItOperators)
{
    add("a", 1, kInfoMethod);
    EXPECT_FALSE(manager->hasOperators());
    add("-", lastOperatorID, kInfoMethod);
    EXPECT_TRUE(manager->hasOperators());
    add("-", 1, kInfoMethod);
    EXPECT_TRUE(manager->hasOperators());
}

TEST_F(DynamicPropertyManagerTest, TheOperatorsOfItsTableStay)
{
    constexpr LivePropertyInfo rows[] = {{"+", firstOperatorID, kInfoMethod, nullptr}, endRow};
    LivePropertyManager fromTable(rows);
    fromTable.registerProperty("a", 1, kInfoMethod, nullptr);
    EXPECT_TRUE(fromTable.hasOperators());
    manager->registerProperties(rows);
    EXPECT_FALSE(manager->hasOperators()) << "a table that replaced another";
    add("a", 1, kInfoMethod);
    EXPECT_TRUE(manager->hasOperators()) << "its rows were registered";
}

TEST_F(DynamicPropertyManagerTest, HoldsThousandsOfRows)
{
    constexpr int count = 5000;
    for (int id = 0; id < count; ++id)
        add(("name" + std::to_string(id)).c_str(), id, kInfoReadWrite);
    for (int id = 0; id < count; ++id) {
        const std::string name = "name" + std::to_string(id);
        ASSERT_EQ(findID(*manager, name.c_str()), (FoundID{0, id, kInfoReadWrite})) << name;
        ASSERT_EQ(findName(*manager, id), (FoundName{0, name}));
    }
    EXPECT_EQ(sortedList().size(), std::size_t{count});
}

} // namespace
