// SPDX-License-Identifier: MIT
// The registry of classes that scripts can construct.
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using LiveObjectFactoryTest = test::LibraryTest;
using LiveObjectFactoryThreadTest = test::MultiThreadedLibraryTest;

constexpr int scripts = 1;
constexpr int tools = 2;

Owned<Plain> prototype(const char *className, int id = 0)
{
    auto object = make<Plain>(className);
    object->setObjectID(id);
    return object;
}

template <class Key>
Owned<LiveObject> created(const Key &key, int flags, int expectedCode = 0)
{
    auto *out = reinterpret_cast<LiveObject *>(1);
    EXPECT_EQ(LiveObject::create(&out, key, flags), expectedCode);
    return Owned<LiveObject>::adopt(out);
}

} // namespace

TEST_F(LiveObjectFactoryTest, FindsAClassByNameAndById)
{
    const auto page = prototype("Page", 77);
    EXPECT_EQ(LiveObject::addFactory(*page, scripts), 0);
    EXPECT_EQ(page->getRefCount(), 2);
    EXPECT_EQ(LiveObject::getFactory("Page", scripts), page.get());
    EXPECT_EQ(LiveObject::getFactory(77, scripts), page.get());
    EXPECT_EQ(page->getRefCount(), 2);
    EXPECT_EQ(LiveObject::getFactory("page", scripts), nullptr);
    EXPECT_EQ(LiveObject::getFactory(78, scripts), nullptr);
    EXPECT_EQ(LiveObject::removeFactory("Page"), 0);
    EXPECT_EQ(LiveObject::getFactory("Page", scripts), nullptr);
    EXPECT_EQ(LiveObject::getFactory(77, scripts), nullptr);
    EXPECT_EQ(page->getRefCount(), 1);
    EXPECT_EQ(LiveObject::removeFactory("Page"), 0);
}

TEST_F(LiveObjectFactoryTest, NeedsAFlagInCommon)
{
    const auto page = prototype("Page", 77);
    LiveObject::addFactory(*page, scripts);
    EXPECT_EQ(LiveObject::getFactory("Page", tools), nullptr);
    EXPECT_EQ(LiveObject::getFactory(77, 0), nullptr);
    EXPECT_EQ(LiveObject::getFactory("Page", scripts | tools), page.get());
    EXPECT_FALSE(created(String("Page"), tools, 22));
    EXPECT_TRUE(created(String("Page"), scripts | tools));
}

TEST_F(LiveObjectFactoryTest, CreatesClonesOfThePrototype)
{
    const auto page = prototype("Page", 77);
    page->put("size", 4, kInfoReadWrite);
    LiveObject::addFactory(*page, scripts);
    for (const auto &object : {created(String("Page"), scripts), created(77, scripts)}) {
        ASSERT_TRUE(object);
        EXPECT_NE(object.get(), page.get());
        EXPECT_EQ(object->getClassName(), "Page");
        Variant out;
        EXPECT_EQ(object->get("size", out), 0);
        EXPECT_EQ(out, Variant(4));
    }
    EXPECT_FALSE(created(String("Sheet"), scripts, 22));
    EXPECT_FALSE(created(78, scripts, 22));
    page->invalidate();
    EXPECT_FALSE(created(77, scripts, 45));
}

TEST_F(LiveObjectFactoryTest, APrototypeMayCloneItselfInItsOwnWay)
{
    struct Failing : Plain
    {
        Failing() : Plain("Failing") {}
        int clone(LiveObject **, bool isDeep) const override
        {
            EXPECT_TRUE(isDeep);
            if (throws)
                throw std::runtime_error("no");
            return 57;
        }
        bool throws = false;
    };
    const auto failing = make<Failing>();
    LiveObject::addFactory(*failing, scripts);
    EXPECT_FALSE(created(String("Failing"), scripts, 57));
    failing->throws = true;
    EXPECT_FALSE(created(String("Failing"), scripts, -29));
}

TEST_F(LiveObjectFactoryTest, ANewClassOfANameReplacesTheOldOneInBothTables)
{
    const auto first = prototype("Page", 77), second = prototype("Page", 78);
    LiveObject::addFactory(*first, scripts);
    LiveObject::addFactory(*second, scripts);
    EXPECT_EQ(first->getRefCount(), 1);
    EXPECT_EQ(LiveObject::getFactory("Page", scripts), second.get());
    EXPECT_EQ(LiveObject::getFactory(77, scripts), nullptr);
    EXPECT_EQ(LiveObject::getFactory(78, scripts), second.get());
}

TEST_F(LiveObjectFactoryTest, TheSameClassMayBeAddedAgain)
{
    const auto page = prototype("Page", 77);
    LiveObject::addFactory(*page, scripts);
    LiveObject::addFactory(*page, tools);
    EXPECT_EQ(page->getRefCount(), 2);
    EXPECT_EQ(LiveObject::getFactory(77, tools), page.get());
    EXPECT_EQ(LiveObject::getFactory(77, scripts), nullptr);
}

TEST_F(LiveObjectFactoryTest, ClassesMayShareAnId)
{
    const auto page = prototype("Page", 77), sheet = prototype("Sheet", 77);
    LiveObject::addFactory(*page, scripts);
    LiveObject::addFactory(*sheet, scripts);
    EXPECT_EQ(LiveObject::getFactory(77, scripts), sheet.get());
    LiveObject::removeFactory("Page");
    EXPECT_EQ(LiveObject::getFactory(77, scripts), sheet.get());
    LiveObject::removeFactory("Sheet");
    EXPECT_EQ(LiveObject::getFactory(77, scripts), nullptr);
}

TEST_F(LiveObjectFactoryTest, KnowsAPrototypeByTheIdThatItHadThen)
{
    const auto page = prototype("Page", 77);
    LiveObject::addFactory(*page, scripts);
    page->setObjectID(78);
    EXPECT_EQ(LiveObject::getFactory(77, scripts), page.get());
    EXPECT_EQ(LiveObject::getFactory(78, scripts), nullptr);
    LiveObject::removeFactory("Page");
    EXPECT_EQ(LiveObject::getFactory(77, scripts), nullptr);
}

TEST_F(LiveObjectFactoryTest, AnObjectCreatesItsLocalObjectsFromTheRegistry)
{
    const auto page = prototype("Page"), object = prototype("Book");
    LiveObject::addFactory(*page, scripts);
    LiveObject *out = nullptr;
    EXPECT_EQ(object->createLocal(&out, "Page", scripts), 0);
    ASSERT_NE(out, nullptr);
    out->release();
    EXPECT_EQ(object->createLocal(&out, "Sheet", scripts), 22);
    EXPECT_EQ(out, nullptr);
}

TEST_F(LiveObjectFactoryTest, GivesItsClassesUpWithTheLibrary)
{
    auto *page = new Plain("Page");
    auto *sheet = new Plain("Sheet");
    page->setObjectID(77);
    LiveObject::addFactory(*page, scripts);
    LiveObject::addFactory(*sheet, scripts);
    page->release();
    sheet->release();
    EXPECT_EQ(Plain::living, 2);
    endLibrary();
    EXPECT_EQ(Plain::living, 0);
}

TEST_F(LiveObjectFactoryTest, AClassThatDiesWithTheLibraryMayRegisterAnother)
{
    struct Heir : Plain
    {
        Heir() : Plain("Heir") {}
        ~Heir() override
        {
            auto *next = new Plain("Next");
            next->setObjectID(5);
            LiveObject::addFactory(*next, scripts);
            next->release();
        }
    };
    auto *heir = new Heir;
    LiveObject::addFactory(*heir, scripts);
    heir->release();
    endLibrary();
    EXPECT_EQ(Plain::living, 0);
}

// One thread replaces the class that others are creating objects of.
TEST_F(LiveObjectFactoryThreadTest, ClassesMayBeReplacedWhileObjectsAreCreated)
{
    test::runOnThreads(4, [](int thread) {
        for (int round = 0; round < 500; ++round) {
            if (thread == 0) {
                const auto page = make<LiveObject>("Page", true);
                page->createLock();
                page->setObjectID(round + 1);
                ASSERT_EQ(LiveObject::addFactory(*page, scripts), 0);
                if (round % 10 == 9)
                    LiveObject::removeFactory("Page");
            } else {
                LiveObject *out = nullptr;
                const int code = LiveObject::create(&out, "Page", scripts);
                ASSERT_TRUE(code == 0 || code == 22);
                if (out != nullptr)
                    out->release();
            }
        }
    });
    LiveObject::removeFactory("Page");
}
