// SPDX-License-Identifier: MIT
#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::Ear;
using test::idsIn;
using test::make;
using test::Plain;
using test::Ruler;

namespace {

using LiveObjectEnumerateTest = test::LibraryTest;
using IDs = std::vector<int>;

constexpr int everyKind = kListReadWrite | kListReadOnly | kListMethods | kDefaultLanguage;

IDs listed(const LiveObject &object, int flags = everyKind)
{
    SimpleArray ids;
    EXPECT_EQ(object.enumerate(ids, flags), 0);
    return idsIn(ids);
}

// A component that lists these ids.
struct Lister : LiveComponent
{
    explicit Lister(IDs which) : ids(std::move(which)) {}
    int enumerate(const LiveObject &, SimpleArray &out, int) const override
    {
        for (const int id : ids)
            out.append(id);
        return code;
    }
    IDs ids;
    int code = 0;
};

// A component that hides one id.
struct Hider : LiveComponent
{
    explicit Hider(int which) : id(which) {}
    InfoType getType(const LiveObject &, int asked) override
    {
        return asked == id ? kInfoHidden : kInfoNone;
    }
    int id;
};

} // namespace

TEST_F(LiveObjectEnumerateTest, ListsDynamicPropertiesInTheOrderOfTheirMaking)
{
    const auto object = make<Plain>();
    for (const int id : {9, 3, 7, 5})
        object->defineIDForName(String("p") + static_cast<char>('a' + id), id, kInfoReadWrite);
    object->findProperty(7);
    object->findProperty(9);
    EXPECT_EQ(listed(*object), (IDs{9, 3, 7, 5}));
    object->deleteID(3);
    object->defineIDForName("late", 3, kInfoReadWrite);
    EXPECT_EQ(listed(*object), (IDs{9, 7, 5, 3}));
}

TEST_F(LiveObjectEnumerateTest, FiltersDynamicPropertiesByTheirFlags)
{
    struct Row
    {
        const char *name;
        int flags;
        int needed; // the bit that lists it
    };
    const Row rows[] = {
        {"plain", kInfoReadWrite, kListReadWrite},
        {"read-only type", kInfoReadOnly, kListReadWrite},
        {"method", kInfoMethod, kListReadWrite},
        {"listed read-only", kInfoReadWrite | kPropertyListedReadOnly, kListReadOnly},
        {"unlisted", kInfoReadWrite | kPropertyUnlisted, kListUnlisted},
        {"unlisted read-only", kInfoReadWrite | kPropertyUnlisted | kPropertyListedReadOnly,
         kListUnlisted},
        {"private", kInfoReadWrite | kPropertyPrivate, kListReadWrite},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto object = make<Plain>();
        object->defineIDForName("x", 5, row.flags);
        EXPECT_EQ(listed(*object, row.needed), IDs{5});
        EXPECT_EQ(listed(*object, ~row.needed), IDs{});
    }
}

TEST_F(LiveObjectEnumerateTest, AddsTheTableTheComponentsAndEveryIdOnce)
{
    const auto document = make<Document>();
    const auto first = make<Lister>(IDs{50, Document::sizeID, 51, 50});
    const auto second = make<Lister>(IDs{51, 52});
    document->addComponent(*first);
    document->addComponent(*second);
    document->defineIDForName("own", 60, kInfoReadWrite);
    document->defineIDForName("shadow", Document::titleID, kInfoReadWrite);
    EXPECT_EQ(listed(*document), (IDs{60, Document::titleID, Document::sizeID, Document::clearID,
                                      Document::scaleID, Document::throwID, Document::exhaustID,
                                      Document::layersID, Document::plusID, 51, 52, 50}));
}

TEST_F(LiveObjectEnumerateTest, FiltersTheTableByKind)
{
    const auto document = make<Document>();
    EXPECT_EQ(listed(*document, kListReadOnly | kDefaultLanguage),
              (IDs{Document::titleID, Document::throwID, Document::exhaustID, Document::layersID}));
}

TEST_F(LiveObjectEnumerateTest, KeepsWhatTheListHasAlready)
{
    const auto object = make<Plain>();
    object->defineIDForName("x", 5, kInfoReadWrite);
    object->defineIDForName("y", 6, kInfoReadWrite);
    SimpleArray ids;
    ids.append(6);
    ids.append(99);
    EXPECT_EQ(object->enumerate(ids, everyKind), 0);
    EXPECT_EQ(idsIn(ids), (IDs{6, 99, 5}));
}

TEST_F(LiveObjectEnumerateTest, AComponentRemovesWhatItHides)
{
    const auto document = make<Document>();
    const auto hider = make<Hider>(Document::clearID);
    const auto ruler = make<Ruler>();
    document->addComponent(*hider);
    document->addComponent(*ruler);
    const IDs ids = listed(*document);
    EXPECT_EQ(std::count(ids.begin(), ids.end(), Document::clearID), 0);
    EXPECT_EQ(std::count(ids.begin(), ids.end(), Ruler::unitID), 1);
}

TEST_F(LiveObjectEnumerateTest, ListsThousandsWithoutDoubles)
{
    const auto object = make<Plain>();
    IDs many;
    for (int id = 0; id < 3000; ++id)
        many.push_back(id % 2000 - 5);
    const auto lister = make<Lister>(many);
    object->addComponent(*lister);
    for (int id = 0; id < 100; ++id) {
        String name;
        name.print("p%d", id);
        object->defineIDForName(name, id * 3, kInfoReadWrite);
    }
    IDs ids = listed(*object);
    EXPECT_EQ(ids.size(), 2000U);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(std::unique(ids.begin(), ids.end()), ids.end());
}

TEST_F(LiveObjectEnumerateTest, ListenersMayAddIds)
{
    const auto object = make<Plain>();
    object->defineIDForName("x", 5, kInfoReadWrite);
    Ear ear = test::liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getLanguage(), everyKind);
        EXPECT_EQ(message.getPropertyID(), 0);
        EXPECT_EQ(message.getThis(), object.get());
        message.getEnumIDs()->append(8);
        message.getEnumIDs()->append(5);
        message.getEnumIDs()->append(8);
        return true;
    });
    object->addListener(ear, askIDs);
    EXPECT_EQ(listed(*object), (IDs{5, 8}));
    EXPECT_EQ(ear.heard, IDs{askIDs});
}

TEST_F(LiveObjectEnumerateTest, AnswersTheErrorOfAListenerOrAComponent)
{
    const auto object = make<Plain>();
    Ear ear = test::liveEar([](LiveMessage &message) {
        message.getError() = 57;
        return false;
    });
    object->addListener(ear, askIDs);
    SimpleArray ids;
    EXPECT_EQ(object->enumerate(ids, everyKind), 57);
    const auto lister = make<Lister>(IDs{1});
    lister->code = 58;
    object->addComponent(*lister);
    EXPECT_EQ(object->enumerate(ids, everyKind), 58);
    EXPECT_EQ(idsIn(ids), IDs{1});
}
