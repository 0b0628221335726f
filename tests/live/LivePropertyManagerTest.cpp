// SPDX-License-Identifier: MIT
// What holds for a manager in both of its forms: its life beside that of the library, memory that
// runs out, threads, and classes that derive from it.
#include <tavrin/LivePropertyManager.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "live/PropertyManagerSupport.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;
using test::describe;
using test::findID;
using test::findName;
using test::FoundID;
using test::FoundName;
using test::LibrarySession;
using test::listAll;
using test::listedIDs;
using test::noID;
using test::Service;
using test::TestAllocator;
using test::underMemoryFailure;

namespace {

using LivePropertyManagerTest = test::LibraryTest;
using LivePropertyManagerThreadTest = test::MultiThreadedLibraryTest;

using ManagerPtr = std::unique_ptr<LivePropertyManager>;

constexpr LivePropertyInfo endRow{nullptr, 0, 0, nullptr};

// Enough rows for an index.
constexpr LivePropertyInfo rows[] = {
    {"size", 1, kInfoReadOnly, "number\tThe size."},
    {"title", 2, kInfoReadWrite, "string\tThe title."},
    {"clear", 3, kInfoMethod, "undefined\tEmpties it."},
    {"zoom", 4, kInfoReadWriteMethod, nullptr},
    {"length", 5, kInfoReadOnlyMethod, nullptr},
    {"a name that is long enough to take a block of its own", 6, kInfoReadOnly, "string"},
    {"", 7, kInfoMethod, "Document\tMakes one."},
    {"last", 8, kInfoReadWrite, "Document,of:Document"},
    endRow,
};

LivePropertyManager &staticManager()
{
    static LivePropertyManager manager(rows);
    return manager;
}

void expectRows(const LivePropertyManager &manager)
{
    EXPECT_EQ(findID(manager, "length"), (FoundID{0, 5, kInfoReadOnlyMethod}));
    EXPECT_EQ(findID(manager, "LAST", kCaselessLanguage), (FoundID{0, 8, kInfoReadWrite}));
    EXPECT_EQ(findID(manager, "none"), noID);
    EXPECT_EQ(findName(manager, 2), (FoundName{0, "title"}));
    EXPECT_EQ(manager.getType(3), kInfoMethod);
}

TEST(LivePropertyManagerLife, AManagerWorksBeforeBetweenAndAfterTheSessionsOfTheLibrary)
{
    LivePropertyManager manager(rows);
    EXPECT_EQ(manager.getType(3), kInfoMethod) << "without a heap";
    for (const auto mode :
         {LibrarySession::Mode::singleThreaded, LibrarySession::Mode::multiThreaded}) {
        LibrarySession session(mode);
        expectRows(manager);
        expectRows(staticManager());
        session.end(); // reports what is left
        EXPECT_EQ(manager.getType(3), kInfoMethod);
    }
}

TEST(LivePropertyManagerLife, ManagersMayDieInAnyOrderBesideTheLibrary)
{
    std::optional<LivePropertyManager> first(rows), second(rows), third(rows), fourth(rows);
    LibrarySession session;
    for (const auto *manager : {&first, &second, &third, &fourth})
        expectRows(**manager);
    second.reset();
    first.reset();
    expectRows(*third);
    third.reset();
    session.end();
    fourth.reset();
}

TEST_F(LivePropertyManagerTest, AStaticManagerAsksForNoMemoryUntilALookup)
{
    const std::int64_t before = TestAllocator::shared().allocations();
    {
        LivePropertyManager manager(rows);
        manager.registerProperties(rows);
        EXPECT_FALSE(manager.hasOperators());
        EXPECT_EQ(TestAllocator::shared().allocations(), before);
    }
    EXPECT_EQ(TestAllocator::shared().allocations(), before);
}

TEST_F(LivePropertyManagerTest, ATableOfAFewRowsNeverAsksForMemory)
{
    constexpr LivePropertyInfo few[] = {
        {"a", 1, kInfoReadOnly, nullptr}, {"b", 2, kInfoReadOnly, nullptr}, endRow};
    const LivePropertyManager manager(few);
    const String name("b");
    const std::int64_t before = TestAllocator::shared().allocations();
    EXPECT_EQ(findID(manager, name).id, 2);
    EXPECT_EQ(TestAllocator::shared().allocations(), before);
}

// Lookups answer the same whether there is memory for an index or not.
TEST_F(LivePropertyManagerTest, LookupsDoNotNeedMemory)
{
    const String length("length"), last("LAST"), none("none");
    underMemoryFailure([] { return std::make_unique<LivePropertyManager>(rows); },
                       [&](ManagerPtr &manager) {
                           EXPECT_EQ(findID(*manager, length).id, 5);
                           EXPECT_EQ(findID(*manager, last, kCaselessLanguage).id, 8);
                           EXPECT_EQ(findID(*manager, none), noID);
                           EXPECT_EQ(manager->getType(3), kInfoMethod);
                       },
                       [](ManagerPtr &manager, bool failed) {
                           EXPECT_FALSE(failed);
                           expectRows(*manager);
                       });
}

TEST_F(LivePropertyManagerTest, ANameThatCannotBeStoredIsEmptyAndTheCodeTellsSo)
{
    struct Answer
    {
        LivePropertyManager manager{rows};
        String name{"before"};
        int code = 0;
    };
    using AnswerPtr = std::unique_ptr<Answer>;
    underMemoryFailure(
        [] { return std::make_unique<Answer>(); },
        [](AnswerPtr &answer) { answer->code = answer->manager.getNameForID(6, answer->name, 0); },
        [](AnswerPtr &answer, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_TRUE(answer->code == 0 || answer->code == -28) << answer->code;
            EXPECT_EQ(answer->name, answer->code == 0 ? rows[5].name : "");
        });
}

// Adds a copy of the table, row by row.
void fill(LivePropertyManager &manager)
{
    for (const LivePropertyInfo *row = rows; row->name != nullptr; ++row)
        manager.registerProperty(*row);
}

TEST_F(LivePropertyManagerTest, TheNameOfAnIDWithSeveralNamesMayNotBeFoundWithoutMemory)
{
    struct Answer
    {
        LivePropertyManager manager;
        String name{"before"};
        int code = 0;
    };
    using AnswerPtr = std::unique_ptr<Answer>;
    underMemoryFailure(
        [] {
            auto answer = std::make_unique<Answer>();
            fill(answer->manager);
            answer->manager.registerProperty("a", 1, kInfoReadOnly, "string");
            return answer;
        },
        [](AnswerPtr &answer) { answer->code = answer->manager.getNameForID(1, answer->name, 0); },
        [](AnswerPtr &answer, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_TRUE(answer->code == 0 || answer->code == -28) << answer->code;
            EXPECT_EQ(answer->name.length() > 0, answer->code == 0);
            const Service service = Service::adopt(answer->manager.getServiceInfo(1, 0));
            EXPECT_TRUE(service);
        });
}

class ManagerForms : public test::LibraryTest, public ::testing::WithParamInterface<bool>
{
protected:
    // Static or dynamic, with the rows of the table.
    static std::unique_ptr<LivePropertyManager> make()
    {
        if (!GetParam())
            return std::make_unique<LivePropertyManager>(rows);
        auto manager = std::make_unique<LivePropertyManager>();
        fill(*manager);
        return manager;
    }
};

INSTANTIATE_TEST_SUITE_P(Forms, ManagerForms, ::testing::Bool(),
                         [](const auto &info) { return info.param ? "Dynamic" : "Static"; });

TEST_P(ManagerForms, BothAnswerTheSame)
{
    const auto manager = make();
    expectRows(*manager);
    EXPECT_EQ(describe(manager->getConstructor(kDefaultLanguage)),
              "Document 0 5 Makes one.| -> Document(0)");
    EXPECT_EQ(describe(manager->getServiceInfo("last", kDefaultLanguage)),
              "last 8 2 | -> Document(1)");
    EXPECT_EQ(describe(manager->getServiceInfo(8, kDefaultLanguage)), "last 8 2 | -> Document(1)");
    EXPECT_EQ(listedIDs(*manager, listAll).size(), 8u);
}

TEST_P(ManagerForms, AListThatCannotGrowStaysAsItWas)
{
    struct Answer
    {
        std::unique_ptr<LivePropertyManager> manager;
        SimpleArray ids;
        int code = 0;
    };
    underMemoryFailure(
        [] {
            Answer answer{make(), {}, 0};
            answer.ids.append(77);
            return answer;
        },
        [](Answer &answer) { answer.code = answer.manager->enumerate(answer.ids, listAll); },
        [](Answer &answer, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_TRUE(answer.code == 0 || answer.code == -28) << answer.code;
            EXPECT_EQ(answer.ids.length(), answer.code == 0 ? 9 : 1);
            EXPECT_EQ(answer.ids[0], 77);
        });
}

struct RecordCase
{
    const char *name;
    const ServiceInfo *(*get)(const LivePropertyManager &manager, const String &name);
};

TEST_P(ManagerForms, ARecordThatCannotBeMadeIsNull)
{
    constexpr RecordCase cases[] = {
        {"constructor", [](const LivePropertyManager &manager,
                           const String &) { return manager.getConstructor(kDefaultLanguage); }},
        {"by name",
         [](const LivePropertyManager &manager, const String &name) {
             return manager.getServiceInfo(name, kDefaultLanguage);
         }},
        {"by id", [](const LivePropertyManager &manager,
                     const String &) { return manager.getServiceInfo(6, kDefaultLanguage); }},
    };
    const String name("last");
    for (const RecordCase &row : cases) {
        SCOPED_TRACE(row.name);
        bool wasNull = false;
        underMemoryFailure([] { return make(); },
                           [&](ManagerPtr &manager) {
                               const Service service = Service::adopt(row.get(*manager, name));
                               wasNull |= !service;
                           },
                           [&](ManagerPtr &manager, bool) {
                               const Service service = Service::adopt(row.get(*manager, name));
                               EXPECT_TRUE(service);
                           });
        EXPECT_TRUE(wasNull);
    }
}

// A row is there whole, or not at all, and whatever was there before stays.
TEST_F(LivePropertyManagerTest, ARegistrationWithoutMemoryIsLeftOut)
{
    constexpr LivePropertyInfo news[] = {
        {"an entirely new name that takes a block of memory", 90, kInfoMethod, "bool\tNew."},
        {"size", 91, kInfoMethod, "bool\tA known name."},
        {"an alias that is long enough to take a block of memory", 2, kInfoMethod | 0x10000, ""},
        {"-", firstOperatorID, kInfoMethod, nullptr},
    };
    for (const LivePropertyInfo &row : news) {
        SCOPED_TRACE(row.name);
        underMemoryFailure(
            [] {
                auto manager = std::make_unique<LivePropertyManager>();
                fill(*manager);
                return manager;
            },
            [&](ManagerPtr &manager) { manager->registerProperty(row); },
            [&](ManagerPtr &manager, bool failed) {
                EXPECT_FALSE(failed);
                expectRows(*manager);
                const FoundID found = findID(*manager, row.name);
                const bool isStored = found.id == row.id;
                EXPECT_EQ(manager->hasOperators(), isStored && isOperatorID(row.id));
                if (row.id >= 90) {
                    EXPECT_EQ(manager->getType(row.id), isStored ? kInfoMethod : kInfoNone);
                }
                EXPECT_EQ(listedIDs(*manager, listAll).size(), isStored && row.id >= 90 ? 9u : 8u);
                if (!isStored && row.id == 91) {
                    EXPECT_EQ(found.id, 1);
                }
                const FoundName first = findName(*manager, 1);
                EXPECT_EQ(first.name, row.id == 91 && isStored ? "" : "size");
            });
    }
}

TEST_F(LivePropertyManagerTest, AManagerThatCannotBecomeDynamicStaysStatic)
{
    underMemoryFailure([] { return std::make_unique<LivePropertyManager>(rows); },
                       [](ManagerPtr &manager) { manager->registerProperty("new", 90, 5, "bool"); },
                       [](ManagerPtr &manager, bool failed) {
                           EXPECT_FALSE(failed);
                           expectRows(*manager);
                           const bool isStored = findID(*manager, "new").code == 0;
                           EXPECT_EQ(listedIDs(*manager, listAll).size(), isStored ? 9u : 8u);
                           manager->registerProperty("new", 90, 5, "bool");
                           EXPECT_EQ(findID(*manager, "new").id, 90);
                       });
}

TEST(LivePropertyManagerLife, RegistrationOutsideASessionIsLeftOut)
{
    LivePropertyManager manager(rows);
    manager.registerProperty("new", 90, kInfoMethod, "bool");
    LibrarySession session;
    EXPECT_EQ(findID(manager, "new"), noID);
    expectRows(manager);
}

// All threads meet at the first lookup.
TEST_F(LivePropertyManagerThreadTest, ThreadsMayLookUpAtTheSameTime)
{
    for (int round = 0; round < 50; ++round) {
        const LivePropertyManager manager(rows), other(rows);
        test::runOnThreads(8, [&](int) {
            for (int turn = 0; turn < 20; ++turn) {
                expectRows(manager);
                expectRows(other);
                expectRows(staticManager());
            }
        });
    }
}

TEST_F(LivePropertyManagerThreadTest, ThreadsMayReadADynamicManagerAtTheSameTime)
{
    LivePropertyManager manager;
    fill(manager);
    manager.registerProperty("alias", 1, kInfoReadOnly, nullptr);
    test::runOnThreads(8, [&](int) {
        for (int turn = 0; turn < 100; ++turn) {
            expectRows(manager);
            EXPECT_EQ(findName(manager, 1).code, 0);
            EXPECT_EQ(listedIDs(manager, listAll).size(), 8u);
        }
    });
}

TEST_F(LivePropertyManagerThreadTest, HasALockOfItsOwnForItsCallers)
{
    LivePropertyManager manager(rows);
    manager.createLock();
    manager.lock();
    expectRows(manager);
    manager.unlock();
}

// A host's manager that adds a name of its own.
class HostManager : public LivePropertyManager
{
public:
    using LivePropertyManager::LivePropertyManager;

    int getIDForName(const String &name, int &id, InfoType &type, int flags) const override
    {
        if (name != "mine")
            return LivePropertyManager::getIDForName(name, id, type, flags);
        id = 99;
        type = kInfoMethod;
        return 0;
    }
    InfoType getType(int id) override
    {
        return id == 99 ? kInfoMethod : LivePropertyManager::getType(id);
    }
};

TEST_F(LivePropertyManagerTest, AHostMayDeriveFromIt)
{
    const HostManager own(rows);
    const LivePropertyManager &manager = own;
    EXPECT_EQ(findID(manager, "mine"), (FoundID{0, 99, kInfoMethod}));
    EXPECT_EQ(manager.getType(99), kInfoMethod);
    EXPECT_EQ(manager.getType(98), kInfoNone);
    expectRows(manager);
}

#ifdef TAVRIN_HAS_VIRTUAL_SLOTS
TEST(LivePropertyManagerSlots, StandInTheirFixedOrder)
{
    using Manager = LivePropertyManager;
    using test::virtualSlot;
    using ByName = const ServiceInfo *(Manager::*)(const String &, int) const;
    using ByID = const ServiceInfo *(Manager::*)(int, int) const;
    using OfType = InfoType (Manager::*)(int);
    EXPECT_EQ(virtualSlot(&Manager::getIDForName), 2u);
    EXPECT_EQ(virtualSlot(&Manager::getNameForID), 3u);
    EXPECT_EQ(virtualSlot<OfType>(&Manager::getType), 4u);
    EXPECT_EQ(virtualSlot(&Manager::enumerate), 5u);
    EXPECT_EQ(virtualSlot(&Manager::getConstructor), 6u);
    EXPECT_EQ(virtualSlot<ByName>(&Manager::getServiceInfo), 7u);
    EXPECT_EQ(virtualSlot<ByID>(&Manager::getServiceInfo), 8u);
}
#endif

} // namespace
