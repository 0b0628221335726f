// SPDX-License-Identifier: MIT
// A manager over a table in place: which row of several answers, and what it answers.
#include <tavrin/LivePropertyManager.h>

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

using StaticPropertyManagerTest = test::LibraryTest;

constexpr int otherLanguage = 0x20000;

constexpr LivePropertyInfo endRow{nullptr, 0, 0, nullptr};

constexpr LivePropertyInfo documentRows[] = {
    {"size", 1, kInfoReadOnly, "number\tThe size.\tThe size in bytes."},
    {"title", 2, kInfoReadWrite, "string\tThe title."},
    {"clear", 3, kInfoMethod, "undefined\tEmpties it."},
    {"zoom", 4, kInfoReadWriteMethod, nullptr},
    {"length", 5, kInfoReadOnlyMethod, ""},
    endRow,
};

TEST_F(StaticPropertyManagerTest, FindsTheIDAndTypeOfEachName)
{
    const LivePropertyManager manager(documentRows);
    EXPECT_EQ(findID(manager, "size"), (FoundID{0, 1, kInfoReadOnly}));
    EXPECT_EQ(findID(manager, "title"), (FoundID{0, 2, kInfoReadWrite}));
    EXPECT_EQ(findID(manager, "clear"), (FoundID{0, 3, kInfoMethod}));
    EXPECT_EQ(findID(manager, "zoom"), (FoundID{0, 4, kInfoReadWriteMethod}));
    EXPECT_EQ(findID(manager, "length"), (FoundID{0, 5, kInfoReadOnlyMethod}));
}

TEST_F(StaticPropertyManagerTest, AnUnknownNameGivesTwoAndNoID)
{
    const LivePropertyManager manager(documentRows);
    for (const char *name : {"sizes", "siz", "x", "Size"})
        EXPECT_EQ(findID(manager, name), noID) << name;
}

TEST_F(StaticPropertyManagerTest, AnEmptyNameHasNoID)
{
    constexpr LivePropertyInfo rows[] = {{"", 7, kInfoMethod, "Foo"}, endRow};
    EXPECT_EQ(findID(LivePropertyManager(rows), ""), noID);
    EXPECT_EQ(findID(LivePropertyManager(rows), "", kCaselessLanguage), noID);
}

TEST_F(StaticPropertyManagerTest, AnEmptyTableKnowsNothing)
{
    constexpr LivePropertyInfo rows[] = {endRow};
    const LivePropertyManager empty(rows), none(nullptr), fresh;
    for (const LivePropertyManager *manager : {&empty, &none, &fresh}) {
        EXPECT_EQ(findID(*manager, "size"), noID);
        EXPECT_EQ(findName(*manager, 0), noName);
        EXPECT_EQ(manager->getType(0), kInfoNone);
        EXPECT_EQ(listedIDs(*manager, listAll), std::vector<int>());
        EXPECT_EQ(manager->getConstructor(kDefaultLanguage), nullptr);
        EXPECT_EQ(manager->getServiceInfo("size", kDefaultLanguage), nullptr);
        EXPECT_EQ(manager->getServiceInfo(0, kDefaultLanguage), nullptr);
        EXPECT_FALSE(manager->hasOperators());
    }
}

TEST_F(StaticPropertyManagerTest, TheCaselessLanguageAloneIgnoresCase)
{
    constexpr LivePropertyInfo rows[] = {{"Length", 1, kInfoReadOnly, nullptr}, endRow};
    const LivePropertyManager manager(rows);
    const FoundID found{0, 1, kInfoReadOnly};
    EXPECT_EQ(findID(manager, "length", kCaselessLanguage), found);
    EXPECT_EQ(findID(manager, "LENGTH", kCaselessLanguage | kListMethods | 1), found);
    EXPECT_EQ(findID(manager, "length", kDefaultLanguage), noID);
    EXPECT_EQ(findID(manager, "length", kCaselessLanguage | kDefaultLanguage), noID);
    EXPECT_EQ(findID(manager, "Length", kUsedLanguages), found);
    EXPECT_EQ(findID(manager, "Length", 0), found) << "a row without languages is valid in all";
}

TEST_F(StaticPropertyManagerTest, CaseIsThatOfTheStringClassAlsoOutsideAscii)
{
    constexpr LivePropertyInfo rows[] = {
        {"\xE9t\xE9", 1, kInfoReadOnly, nullptr}, // e with acute
        {"\xFF", 2, kInfoReadOnly, nullptr},      // y with diaeresis, whose upper case is U+0178
        {"\xB5m", 3, kInfoReadOnly, nullptr},     // the micro sign, whose upper case is U+039C
        {"size", 4, kInfoReadOnly, nullptr},      // long s, U+017F, has the upper case S
        {"a", 5, kInfoReadOnly, nullptr},         {"b", 6, kInfoReadOnly, nullptr},
        {"c", 7, kInfoReadOnly, nullptr},         endRow,
    };
    const LivePropertyManager manager(rows);
    const auto idOf = [&](const unsigned short *name) {
        return findID(manager, String(name), kCaselessLanguage).id;
    };
    constexpr unsigned short ete[] = {0xC9, 'T', 0xE9, 0}, yDiaeresis[] = {0x178, 0},
                             micrometer[] = {0x39C, 'M', 0}, longS[] = {0x17F, 'i', 'z', 'e', 0};
    EXPECT_EQ(idOf(ete), 1);
    EXPECT_EQ(idOf(yDiaeresis), 2);
    EXPECT_EQ(idOf(micrometer), 3);
    EXPECT_EQ(idOf(longS), 4);
    EXPECT_EQ(findID(manager, String(ete)), noID);
    EXPECT_EQ(findID(manager, "\xE9t\xE9").id, 1);
}

TEST_F(StaticPropertyManagerTest, TheScanGoesOnPastARowThatTheLanguageExcludes)
{
    constexpr LivePropertyInfo rows[] = {
        {"name", 1, kInfoReadOnly | kCaselessLanguage, nullptr},
        {"name", 2, kInfoMethod, nullptr},
        {"name", 3, kInfoReadWrite | kCaselessLanguage, nullptr},
        endRow,
    };
    const LivePropertyManager manager(rows);
    EXPECT_EQ(findID(manager, "name", kDefaultLanguage), (FoundID{0, 2, kInfoMethod}));
    EXPECT_EQ(findID(manager, "NAME", kCaselessLanguage), (FoundID{0, 1, kInfoReadOnly}));
    EXPECT_EQ(findID(manager, "name", otherLanguage), (FoundID{0, 2, kInfoMethod}));
}

TEST_F(StaticPropertyManagerTest, ANameOfOtherLanguagesOnlyIsUnknown)
{
    constexpr LivePropertyInfo rows[] = {
        {"name", 1, kInfoReadOnly | kCaselessLanguage | otherLanguage, nullptr}, endRow};
    const LivePropertyManager manager(rows);
    EXPECT_EQ(findID(manager, "name", kDefaultLanguage), noID);
    EXPECT_EQ(findID(manager, "name", kDefaultLanguage | otherLanguage).id, 1);
    EXPECT_EQ(findID(manager, "name", 0), noID);
}

TEST_F(StaticPropertyManagerTest, OfTwoFittingRowsTheFirstCounts)
{
    constexpr LivePropertyInfo rows[] = {{"name", 1, kInfoReadOnly, nullptr},
                                         {"Name", 2, kInfoMethod, nullptr},
                                         {"name", 3, kInfoMethod, nullptr},
                                         endRow};
    const LivePropertyManager manager(rows);
    EXPECT_EQ(findID(manager, "name").id, 1);
    EXPECT_EQ(findID(manager, "Name").id, 2);
    EXPECT_EQ(findID(manager, "Name", kCaselessLanguage).id, 1);
}

TEST_F(StaticPropertyManagerTest, ANameWithAZeroUnitIsNotTheTextBeforeIt)
{
    String name("size");
    name.append('\0');
    EXPECT_EQ(findID(LivePropertyManager(documentRows), name), noID);
    EXPECT_EQ(findID(LivePropertyManager(documentRows), name, kCaselessLanguage), noID);
}

TEST_F(StaticPropertyManagerTest, GivesTheNameOfAnID)
{
    const LivePropertyManager manager(documentRows);
    EXPECT_EQ(findName(manager, 3), (FoundName{0, "clear"}));
    EXPECT_EQ(findName(manager, 6), noName);
    EXPECT_EQ(findName(manager, -1), noName);
}

TEST_F(StaticPropertyManagerTest, TheNameOfAnIDIsThatOfItsFirstRowOnly)
{
    constexpr LivePropertyInfo rows[] = {{"first", 1, kInfoMethod | kCaselessLanguage, nullptr},
                                         {"second", 1, kInfoReadOnly, nullptr},
                                         endRow};
    const LivePropertyManager manager(rows);
    EXPECT_EQ(findName(manager, 1, kCaselessLanguage), (FoundName{0, "first"}));
    EXPECT_EQ(findName(manager, 1, kDefaultLanguage), noName);
    EXPECT_EQ(describe(manager.getServiceInfo(1, kDefaultLanguage)), "none");
    EXPECT_EQ(manager.getType(1), kInfoMethod) << "languages play no part";
}

TEST_F(StaticPropertyManagerTest, AnEmptyRowNameIsAnEmptyNameWithoutAnError)
{
    constexpr LivePropertyInfo rows[] = {{"", 7, kInfoMethod, "Foo"}, endRow};
    EXPECT_EQ(findName(LivePropertyManager(rows), 7), (FoundName{0, ""}));
}

TEST_F(StaticPropertyManagerTest, GivesTheTypeOfAnID)
{
    const LivePropertyManager manager(documentRows);
    EXPECT_EQ(manager.getType(4), kInfoReadWriteMethod);
    EXPECT_EQ(manager.getType(0), kInfoNone);
}

struct ListCase
{
    const char *name;
    int flags;
    std::vector<int> ids;
};

TEST_F(StaticPropertyManagerTest, EnumeratesByTypeExclusionAndLanguage)
{
    constexpr LivePropertyInfo rows[] = {
        {"a", 11, kInfoReadOnly, nullptr},
        {"b", 12, kInfoReadWrite, nullptr},
        {"c", 15, kInfoMethod, nullptr},
        {"d", 16, kInfoReadWriteMethod, nullptr},
        {"e", 17, kInfoReadOnlyMethod, nullptr},
        {"f", 20, kInfoReadWriteMethod | kPropertyUnlisted, nullptr},
        {"g", 21, kInfoReadWriteMethod | kPropertyPrivate, nullptr},
        {"h", 22, kInfoReadWriteMethod | kPropertyPrivate | kPropertyUnlisted, nullptr},
        {"i", 30, kInfoReadWriteMethod | kCaselessLanguage, nullptr},
        {"j", 31, kInfoReadWriteMethod | kDefaultLanguage, nullptr},
        {"k", 40, 0, nullptr},
        {"l", 41, 3, nullptr},
        {"m", 42, 15, nullptr},
        {"", 50, kInfoMethod, nullptr},
        {"a", 11, kInfoReadOnly, nullptr},
        endRow,
    };
    const ListCase cases[] = {
        {"no bits", 0, {16, 17, 40, 41, 42}},
        {"read-only", kListReadOnly, {11, 16, 17, 40, 41, 42, 11}},
        {"read-write", kListReadWrite, {12, 16, 17, 40, 41, 42}},
        {"methods", kListMethods, {15, 16, 17, 40, 41, 42, 50}},
        {"properties", kListReadOnly | kListReadWrite, {11, 12, 16, 17, 40, 41, 42, 11}},
        {"unlisted", kListUnlisted, {16, 17, 20, 40, 41, 42}},
        {"private", kListPrivate, {16, 17, 21, 40, 41, 42}},
        {"unlisted and private", kListUnlisted | kListPrivate, {16, 17, 20, 21, 22, 40, 41, 42}},
        {"default language", kDefaultLanguage, {16, 17, 31, 40, 41, 42}},
        {"caseless language", kCaselessLanguage, {16, 17, 30, 40, 41, 42}},
        {"used languages", kUsedLanguages, {16, 17, 30, 31, 40, 41, 42}},
    };
    const LivePropertyManager manager(rows);
    for (const ListCase &row : cases)
        EXPECT_EQ(listedIDs(manager, row.flags), row.ids) << row.name;
}

TEST_F(StaticPropertyManagerTest, EnumerationAppendsAndNeverAsksWhatIsThere)
{
    SimpleArray ids;
    ids.append(1);
    const LivePropertyManager manager(documentRows);
    EXPECT_EQ(manager.enumerate(ids, kListReadOnly), 0);
    EXPECT_EQ(manager.enumerate(ids, kListReadOnly), 0);
    EXPECT_EQ(test::idsOf(ids), (std::vector<int>{1, 1, 4, 5, 1, 4, 5}));
}

TEST_F(StaticPropertyManagerTest, EnumerationKeepsTheSignOfIDs)
{
    constexpr LivePropertyInfo rows[] = {{"a", -5, kInfoReadWrite, nullptr}, endRow};
    SimpleArray ids;
    LivePropertyManager(rows).enumerate(ids, kListReadWrite);
    EXPECT_EQ(ids.indexOf(-5), 0);
}

TEST_F(StaticPropertyManagerTest, OfTheFittingConstructorsTheLastOneCounts)
{
    constexpr LivePropertyInfo rows[] = {
        {"", 1, kInfoMethod, "First\tThe first."},
        {"", 2, kInfoMethod, "Second\tThe second.,width:number"},
        {"", 3, kInfoMethod | kCaselessLanguage, "Third\tThe third."},
        {"x", 4, kInfoMethod, "Fourth"},
        endRow,
    };
    const LivePropertyManager manager(rows);
    EXPECT_EQ(describe(manager.getConstructor(kDefaultLanguage)),
              "Second 0 5 The second.| -> Second(1)");
    EXPECT_EQ(describe(manager.getConstructor(kCaselessLanguage)),
              "Third 0 5 The third.| -> Third(0)");
}

TEST_F(StaticPropertyManagerTest, AConstructorIsCalledAfterItsType)
{
    const auto constructorOf = [](const char *description) {
        const LivePropertyInfo rows[] = {{"", 9, kInfoReadOnly, description}, endRow};
        return describe(LivePropertyManager(rows).getConstructor(kDefaultLanguage));
    };
    EXPECT_EQ(constructorOf("Foo;1\tMakes one."), "Foo 0 5 Makes one.| -> Foo(0)");
    EXPECT_EQ(constructorOf("object"), "Object 0 5 | -> Object(0)");
    EXPECT_EQ(constructorOf("width:number"), "any 0 5 | -> any(1)");
    EXPECT_EQ(constructorOf(nullptr), "any 0 5 | -> any(0)");
}

TEST_F(StaticPropertyManagerTest, ATableWithoutAConstructorInTheLanguageHasNone)
{
    constexpr LivePropertyInfo rows[] = {{"", 1, kInfoMethod | kCaselessLanguage, "Foo"}, endRow};
    EXPECT_EQ(LivePropertyManager(rows).getConstructor(kDefaultLanguage), nullptr);
    EXPECT_EQ(LivePropertyManager(documentRows).getConstructor(kDefaultLanguage), nullptr);
}

TEST_F(StaticPropertyManagerTest, DescribesAServiceByName)
{
    const LivePropertyManager manager(documentRows);
    EXPECT_EQ(describe(manager.getServiceInfo("size", kDefaultLanguage)),
              "size 1 1 The size.|The size in bytes. -> number(0)");
    EXPECT_EQ(describe(manager.getServiceInfo("zoom", kDefaultLanguage)), "zoom 4 6 | -> any(0)");
    EXPECT_EQ(describe(manager.getServiceInfo("none", kDefaultLanguage)), "none");
    EXPECT_EQ(describe(manager.getServiceInfo("SIZE", kCaselessLanguage)), "none")
        << "case matters in every language";
}

TEST_F(StaticPropertyManagerTest, AServiceByNameIsTheFirstRowThatTheLanguageFits)
{
    constexpr LivePropertyInfo rows[] = {{"a", 1, kInfoMethod | kCaselessLanguage, "bool"},
                                         {"a", 2, kInfoReadOnly, "string"},
                                         {"", 3, kInfoMethod, "Foo"},
                                         endRow};
    const LivePropertyManager manager(rows);
    EXPECT_EQ(describe(manager.getServiceInfo("a", kDefaultLanguage)), "a 2 1 | -> string(0)");
    EXPECT_EQ(describe(manager.getServiceInfo("a", kCaselessLanguage)), "a 1 5 | -> boolean(0)");
    EXPECT_EQ(describe(manager.getServiceInfo("", kDefaultLanguage)), " 3 5 | -> Foo(0)");
}

TEST_F(StaticPropertyManagerTest, DescribesAServiceByID)
{
    const LivePropertyManager manager(documentRows);
    EXPECT_EQ(describe(manager.getServiceInfo(2, kDefaultLanguage)),
              "title 2 2 The title.| -> string(0)");
    EXPECT_EQ(describe(manager.getServiceInfo(99, kDefaultLanguage)), "none");
}

struct OperatorCase
{
    const char *name;
    int id;
    bool isOperator;
};

TEST_F(StaticPropertyManagerTest, HasOperatorsWhenARowHasOneOfTheirIDs)
{
    constexpr OperatorCase cases[] = {
        {"below", 0x1FF100FF, false}, {"first", 0x1FF10100, true}, {"last", 0x1FF10118, true},
        {"above", 0x1FF10119, false}, {"other", 1, false},
    };
    for (const OperatorCase &row : cases) {
        const LivePropertyInfo rows[] = {
            {"a", 1, kInfoMethod, nullptr}, {"+", row.id, kInfoMethod, nullptr}, endRow};
        EXPECT_EQ(LivePropertyManager(rows).hasOperators(), row.isOperator) << row.name;
    }
}

TEST_F(StaticPropertyManagerTest, AnotherTableTakesThePlaceOfTheFirst)
{
    constexpr LivePropertyInfo others[] = {{"size", 9, kInfoMethod, nullptr}, endRow};
    LivePropertyManager manager(documentRows);
    EXPECT_EQ(findID(manager, "title").id, 2);
    manager.registerProperties(others);
    EXPECT_EQ(findID(manager, "size"), (FoundID{0, 9, kInfoMethod}));
    EXPECT_EQ(findID(manager, "title"), noID);
    EXPECT_EQ(listedIDs(manager, listAll), std::vector<int>{9});
    manager.registerProperties(nullptr);
    EXPECT_EQ(findID(manager, "size"), noID);
    manager.registerProperties(documentRows);
    EXPECT_EQ(findID(manager, "length").id, 5);
}

TEST_F(StaticPropertyManagerTest, AnotherTableIsNotSearchedForOperators)
{
    constexpr LivePropertyInfo operators[] = {{"+", firstOperatorID, kInfoMethod, nullptr}, endRow};
    LivePropertyManager without(documentRows), with(operators);
    without.registerProperties(operators);
    with.registerProperties(documentRows);
    EXPECT_FALSE(without.hasOperators());
    EXPECT_TRUE(with.hasOperators());
}

} // namespace
