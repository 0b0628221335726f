// SPDX-License-Identifier: MIT
// Names, ids and types.
#include <string>
#include <vector>

#include <tavrin/LiveObject.h>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::Ear;
using test::make;
using test::Plain;
using test::Ruler;
using test::Veil;

namespace {

using LiveObjectNameTest = test::LibraryTest;

struct Found
{
    int code;
    int id;
    InfoType type;

    bool operator==(const Found &) const = default;
};

void PrintTo(const Found &found, std::ostream *out)
{
    *out << "code " << found.code << ", id " << found.id << ", type " << found.type;
}

Found find(const LiveObject &object, const char *name, int flags = kDefaultLanguage)
{
    Found found{-1, -1, kInfoMethod};
    found.code = object.getIDForName(name, found.id, found.type, flags);
    return found;
}

String nameOf(const LiveObject &object, int id, int expectedCode = 0)
{
    String name = "before";
    EXPECT_EQ(object.getNameForID(id, name, kDefaultLanguage), expectedCode);
    return name;
}

const Found nothing{2, 0, kInfoNone};

// A component that answers every name with the same code and type.
struct Answering : LiveComponent
{
    Answering(int answer, int answeredID, InfoType answeredType)
        : code(answer), id(answeredID), type(answeredType)
    {}
    int getIDForName(const LiveObject &, const String &, int &outID, InfoType &outType,
                     int) const override
    {
        outID = id;
        outType = type;
        return code;
    }
    int getNameForID(const LiveObject &, int wanted, String &name, int) const override
    {
        name = "named";
        return wanted == id ? code : 2;
    }
    int code, id;
    InfoType type;
};

} // namespace

// --- From name to id -----------------------------------------------------------------------------

TEST_F(LiveObjectNameTest, AsksTheDynamicPropertiesThenTheTableThenTheComponents)
{
    const auto document = make<Document>();
    const auto ruler = make<Ruler>();
    document->addComponent(*ruler);
    EXPECT_EQ(find(*document, "size"), (Found{0, Document::sizeID, kInfoReadWrite}));
    EXPECT_EQ(find(*document, "title"), (Found{0, Document::titleID, kInfoReadOnly}));
    EXPECT_EQ(find(*document, "extent"), (Found{0, Ruler::lengthID, kInfoReadOnly}));
    EXPECT_EQ(find(*document, "nothing"), nothing);

    EXPECT_EQ(document->defineIDForName("size", 500, kInfoMethod), 0);
    EXPECT_EQ(find(*document, "size"), (Found{0, 500, kInfoMethod}));
    EXPECT_EQ(document->defineIDForName("extent", 501, kInfoReadWrite), 0);
    EXPECT_EQ(find(*document, "extent"), (Found{0, 501, kInfoReadWrite}));
}

TEST_F(LiveObjectNameTest, TellsCaseUnlessTheLanguageDoesNot)
{
    const auto document = make<Document>();
    document->defineIDForName("Own", 500, kInfoReadWrite);
    EXPECT_EQ(find(*document, "SIZE"), nothing);
    EXPECT_EQ(find(*document, "SIZE", kCaselessLanguage).id, Document::sizeID);
    EXPECT_EQ(find(*document, "own"), nothing);
    EXPECT_EQ(find(*document, "own", kCaselessLanguage).id, 500);
    EXPECT_EQ(find(*document, "own", kUsedLanguages).id, 500);
}

// Names of some lengths are found by other ways than the rest.
TEST_F(LiveObjectNameTest, FindsNamesOfAnyLengthInATable)
{
    constexpr int longest = 70;
    std::vector<std::string> names;
    std::vector<LivePropertyInfo> rows;
    for (int length = 1; length <= longest; ++length)
        names.push_back(std::string("abcdefghijklmnopqrstuvwxyz0123456789"
                                    "abcdefghijklmnopqrstuvwxyz0123456789",
                                    static_cast<std::size_t>(length)));
    for (int length = 1; length <= longest; ++length)
        rows.push_back({names[static_cast<std::size_t>(length - 1)].c_str(), length,
                        kInfoReadWrite | kDefaultLanguage, nullptr});
    rows.push_back({nullptr, 0, 0, nullptr});
    const LivePropertyManager manager(rows.data());
    const auto object = make<Plain>();
    object->setPropertyManager(&manager);
    for (int length = 1; length <= longest; ++length) {
        const std::string &name = names[static_cast<std::size_t>(length - 1)];
        const Found found{0, length, kInfoReadWrite};
        EXPECT_EQ(find(*object, name.c_str()), found) << name;
        EXPECT_EQ(find(*object, name.c_str(), 0x20000), nothing) << name;
        for (std::size_t at = 0; at < name.size(); ++at) {
            std::string other = name;
            other[at] = '-';
            EXPECT_EQ(find(*object, other.c_str()), nothing) << other;
            other[at] = static_cast<char>(name[at] ^ 0x20);
            EXPECT_EQ(find(*object, other.c_str()), nothing) << other;
        }
    }
}

TEST_F(LiveObjectNameTest, ComponentsThatWereAddedLaterComeFirst)
{
    const auto object = make<Plain>();
    const auto first = make<Answering>(0, 1, kInfoReadOnly);
    const auto second = make<Answering>(0, 2, kInfoReadWrite);
    object->addComponent(*first);
    object->addComponent(*second);
    EXPECT_EQ(find(*object, "any"), (Found{0, 2, kInfoReadWrite}));
    object->removeComponent(*second);
    EXPECT_EQ(find(*object, "any"), (Found{0, 1, kInfoReadOnly}));
}

TEST_F(LiveObjectNameTest, AnyCodeOfAComponentBut2EndsTheSearch)
{
    const auto object = make<Plain>();
    const auto first = make<Answering>(0, 1, kInfoReadOnly);
    object->addComponent(*first);
    const auto unknowing = make<Answering>(2, 9, kInfoMethod);
    object->addComponent(*unknowing);
    EXPECT_EQ(find(*object, "any"), (Found{0, 1, kInfoReadOnly}));
    const auto refusing = make<Answering>(57, 9, kInfoMethod);
    object->addComponent(*refusing);
    EXPECT_EQ(find(*object, "any"), (Found{57, 0, kInfoNone}));
    const auto hiding = make<Answering>(0, 9, kInfoHidden);
    object->addComponent(*hiding);
    EXPECT_EQ(find(*object, "any"), nothing);
}

TEST_F(LiveObjectNameTest, AnEmptyNameIsNoRowOfTheTable)
{
    static constexpr LivePropertyInfo rows[] = {{"", 7, kInfoMethod, "object"},
                                                {nullptr, 0, 0, nullptr}};
    const LivePropertyManager manager(rows);
    const auto object = make<Plain>();
    object->setPropertyManager(&manager);
    EXPECT_EQ(find(*object, ""), nothing);
    EXPECT_EQ(object->defineIDForName("", 5, kInfoReadWrite), 0);
    EXPECT_EQ(find(*object, ""), (Found{0, 5, kInfoReadWrite}));
}

TEST_F(LiveObjectNameTest, AComponentMayThrow)
{
    struct Throwing : LiveComponent
    {
        int getIDForName(const LiveObject &, const String &, int &, InfoType &, int) const override
        {
            throw std::runtime_error("no");
        }
        int getNameForID(const LiveObject &, int, String &, int) const override
        {
            throw std::bad_alloc();
        }
        InfoType getType(const LiveObject &, int) override { throw 5; }
    };
    const auto object = make<Plain>();
    const auto throwing = make<Throwing>();
    object->addComponent(*throwing);
    EXPECT_EQ(find(*object, "x"), (Found{-29, 0, kInfoNone}));
    EXPECT_EQ(nameOf(*object, 5, -28), "");
    EXPECT_EQ(object->getType(5), kInfoNone);
    EXPECT_EQ(object->getComponent(5, nullptr), nullptr);
}

// --- By message ----------------------------------------------------------------------------------

TEST_F(LiveObjectNameTest, AListenerMayKnowTheName)
{
    const auto object = make<Plain>();
    Ear ear = test::liveEar([&](LiveMessage &message) {
        EXPECT_EQ(message.getThis(), object.get());
        EXPECT_EQ(message.getData()->getString(), "far");
        EXPECT_EQ(message.getLanguage(), kCaselessLanguage);
        EXPECT_EQ(message.getExtError(), nullptr);
        message.getPropertyID() = 77;
        *message.getData() = 0x32;
        return true;
    });
    object->addListener(ear, askID);
    EXPECT_EQ(find(*object, "far", kCaselessLanguage), (Found{0, 77, kInfoReadWrite}));
    EXPECT_EQ(find(*object, "far"), (Found{0, 77, kInfoReadWrite}));
    EXPECT_EQ(ear.heard.size(), 1U);
    const LiveProperty *property = object->findProperty(77);
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(property->getFlags(), 0x400022U);
    EXPECT_EQ(property->getIndex(), 0);
}

TEST_F(LiveObjectNameTest, AListenerThatDoesNotKnowTheNameGivesNothing)
{
    const auto object = make<Plain>();
    bool answer = false;
    int code = 0;
    Ear ear = test::liveEar([&](LiveMessage &message) {
        message.getError() = code;
        return answer;
    });
    object->addListener(ear, askID);
    EXPECT_EQ(find(*object, "far"), nothing);
    answer = true;
    code = 2;
    EXPECT_EQ(find(*object, "far"), nothing);
    code = 57;
    EXPECT_EQ(find(*object, "far"), (Found{57, 0, kInfoNone}));
    EXPECT_EQ(ear.heard.size(), 3U);
}

TEST_F(LiveObjectNameTest, OnlyADynamicObjectAsksItsListeners)
{
    const auto object = make<Plain>("Plain", false);
    Ear ear = test::liveEar([](LiveMessage &) { return true; });
    object->addListener(ear, askID);
    EXPECT_EQ(find(*object, "far"), nothing);
    EXPECT_TRUE(ear.heard.empty());
}

TEST_F(LiveObjectNameTest, AnOperatorOfAListenerMakesAnObjectWithOperators)
{
    const auto object = make<Plain>();
    Ear ear = test::liveEar([](LiveMessage &message) {
        message.getPropertyID() = firstOperatorID;
        *message.getData() = static_cast<int>(kInfoMethod);
        return true;
    });
    object->addListener(ear, askID);
    EXPECT_EQ(find(*object, "~"), (Found{0, firstOperatorID, kInfoMethod}));
    EXPECT_TRUE(object->hasOperators());
    EXPECT_EQ(object->findProperty(firstOperatorID)->getFlags(), 0x600025U);
}

TEST_F(LiveObjectNameTest, AListenerMayInvalidateAndDropTheObject)
{
    auto *object = new Plain;
    Ear ear = test::liveEar([&](LiveMessage &message) {
        object->invalidate();
        object->release();
        message.getPropertyID() = 77;
        *message.getData() = static_cast<int>(kInfoReadWrite);
        return true;
    });
    object->addListener(ear, askID);
    EXPECT_EQ(find(*object, "far"), (Found{0, 77, kInfoReadWrite}));
    EXPECT_EQ(Plain::living, 0);
}

// --- New names -----------------------------------------------------------------------------------

TEST_F(LiveObjectNameTest, ANewNameGetsANewId)
{
    const auto object = make<Plain>();
    const int next = LiveBase::getNextID() + 1;
    int id = 0;
    EXPECT_EQ(object->createIDForName("x", id, kInfoReadWrite), 0);
    EXPECT_EQ(id, next);
    EXPECT_EQ(find(*object, "x"), (Found{0, id, kInfoReadWrite}));
    EXPECT_EQ(object->createIDForName("x", id, kInfoReadWrite), 40);
    EXPECT_EQ(id, next + 1);
}

TEST_F(LiveObjectNameTest, OnlyADynamicObjectTakesNewNames)
{
    const auto object = make<Plain>("Plain", false);
    int id = 0;
    EXPECT_EQ(object->defineIDForName("x", 5, kInfoReadWrite), 55);
    EXPECT_EQ(object->createIDForName("x", id, kInfoReadWrite), 55);
}

TEST_F(LiveObjectNameTest, ANameIsDeclaredOnce)
{
    const auto document = make<Document>();
    EXPECT_EQ(document->defineIDForName("x", 5, kInfoReadWrite), 0);
    EXPECT_EQ(document->defineIDForName("x", 6, kInfoReadWrite), 40);
    EXPECT_EQ(document->defineIDForName("X", 7, kInfoReadWrite), 0);
    EXPECT_EQ(document->defineIDForName("x", 8, kInfoReadWrite | kCaselessLanguage), 40);
    EXPECT_EQ(document->defineIDForName("size", 9, kInfoReadWrite), 0);
}

TEST_F(LiveObjectNameTest, ANewOperatorMakesAnObjectWithOperators)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->defineIDForName("+", lastOperatorID + 1, kInfoMethod), 0);
    EXPECT_FALSE(object->hasOperators());
    EXPECT_EQ(object->defineIDForName("-", lastOperatorID, kInfoMethod), 0);
    EXPECT_TRUE(object->hasOperators());
}

TEST_F(LiveObjectNameTest, AFactoryOfPropertiesMayFail)
{
    struct Barren : LiveObject
    {
        Barren() : LiveObject("Barren", true) {}
        LiveProperty *createProperty(const String &, int, unsigned) override { return nullptr; }
    };
    const auto object = make<Barren>();
    EXPECT_EQ(object->defineIDForName("x", 5, 0), -28);
    Ear ear = test::liveEar([](LiveMessage &) { return true; });
    object->addListener(ear, askID);
    EXPECT_EQ(find(*object, "x"), (Found{-28, 0, kInfoNone}));
}

// --- From id to name and type --------------------------------------------------------------------

TEST_F(LiveObjectNameTest, FindsNamesInTheSameOrder)
{
    const auto document = make<Document>();
    const auto ruler = make<Ruler>();
    const auto answering = make<Answering>(0, 900, kInfoReadOnly);
    document->addComponent(*ruler);
    document->addComponent(*answering);
    EXPECT_EQ(nameOf(*document, functionID), "Document");
    EXPECT_EQ(nameOf(*document, Document::sizeID), "size");
    EXPECT_EQ(nameOf(*document, Ruler::unitID), "unit");
    EXPECT_EQ(nameOf(*document, 900), "named");
    EXPECT_EQ(nameOf(*document, 901, 2), "");
    document->defineIDForName("mine", Document::sizeID, kInfoReadWrite);
    EXPECT_EQ(nameOf(*document, Document::sizeID), "mine");
}

TEST_F(LiveObjectNameTest, FindsTypesInTheSameOrder)
{
    const auto document = make<Document>();
    const auto ruler = make<Ruler>();
    document->addComponent(*ruler);
    EXPECT_EQ(document->getType(functionID), kInfoMethod);
    EXPECT_EQ(document->getType(Document::titleID), kInfoReadOnly);
    EXPECT_EQ(document->getType(Ruler::gridID), kInfoReadWriteMethod);
    EXPECT_EQ(document->getType(900), kInfoNone);
    document->defineIDForName("mine", Document::titleID, kInfoMethod | kPropertyUnlisted);
    EXPECT_EQ(document->getType(Document::titleID), kInfoMethod);
}

TEST_F(LiveObjectNameTest, AHiddenIdHasNoType)
{
    const auto object = make<Plain>();
    const auto ruler = make<Ruler>();
    const auto veil = make<Veil>(kInfoHidden);
    object->addComponent(*ruler);
    EXPECT_EQ(object->getType(Ruler::unitID), kInfoReadWrite);
    object->addComponent(*veil);
    EXPECT_EQ(object->getType(Ruler::unitID), kInfoNone);
    veil->type = kInfoNone;
    EXPECT_EQ(object->getType(Ruler::unitID), kInfoReadWrite);
}
