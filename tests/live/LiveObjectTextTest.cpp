// SPDX-License-Identifier: MIT
// The text and the value of an object.
#include <tavrin/LiveObject.h>

#include <cmath>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using LiveObjectTextTest = test::LibraryTest;

// An object whose methods "toString" and "valueOf" give what the test says.
struct Speaking : Plain
{
    enum : int
    {
        textID = 1,
        valueID,
    };

    Speaking() : Plain("Speaking") { setPropertyManager(&table()); }
    static const LivePropertyManager &table()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"toString", textID, kInfoMethod, "string"},
            {"valueOf", valueID, kInfoMethod, "any"},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        return manager;
    }
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        ++calls;
        EXPECT_EQ(args.length(), 0U);
        EXPECT_EQ(error, nullptr);
        if (throws)
            throw std::runtime_error("no");
        if (asksItself) {
            String text;
            if (id == textID) {
                LiveObject::toString(text);
                result = text + "!";
            } else {
                LiveObject::valueOf(result);
            }
            return 0;
        }
        result = answer;
        return code;
    }
    using LiveObject::call;

    Variant answer;
    int code = 0;
    int calls = 0;
    bool throws = false;
    bool asksItself = false;
};

String textOf(const LiveObject &object)
{
    String text = "before";
    object.toString(text);
    return text;
}

Variant valueOf(const LiveObject &object)
{
    Variant value = "before";
    object.valueOf(value);
    return value;
}

} // namespace

TEST_F(LiveObjectTextTest, TellsItsClassWithoutAMethod)
{
    EXPECT_EQ(textOf(*make<Plain>("Foo")), "[object Foo]");
    EXPECT_EQ(textOf(*make<Plain>("")), "[object Object]");
}

TEST_F(LiveObjectTextTest, TellsWhatItsMethodGives)
{
    const auto object = make<Speaking>();
    object->answer = 12;
    EXPECT_EQ(textOf(*object), "12");
    object->answer = test::arrayOfValues(1, 2);
    EXPECT_EQ(textOf(*object), "[1,2]");
}

TEST_F(LiveObjectTextTest, TellsItsClassIfTheMethodFailsOrThrows)
{
    const auto object = make<Speaking>();
    object->answer = 12;
    object->code = 57;
    EXPECT_EQ(textOf(*object), "[object Speaking]");
    object->throws = true;
    EXPECT_EQ(textOf(*object), "[object Speaking]");
    object->invalidate();
    EXPECT_EQ(textOf(*object), "[object Speaking]");
}

TEST_F(LiveObjectTextTest, ADynamicPropertyOfThatNameIsCalled)
{
    const auto object = make<Plain>("Foo");
    object->put("toString", "no method", kInfoReadWrite);
    EXPECT_EQ(textOf(*object), "[object Foo]");
}

TEST_F(LiveObjectTextTest, AMethodMayAskForThePlainText)
{
    const auto object = make<Speaking>();
    object->asksItself = true;
    EXPECT_EQ(textOf(*object), "[object Speaking]!");
    EXPECT_EQ(object->calls, 1);
}

TEST_F(LiveObjectTextTest, AMethodMayGiveItsOwnObject)
{
    const auto object = make<Speaking>();
    object->answer = object.get();
    EXPECT_EQ(textOf(*object), "[object Speaking]");
    object->answer.erase();
}

TEST_F(LiveObjectTextTest, MethodsMayGiveEachOther)
{
    const auto a = make<Speaking>(), b = make<Speaking>();
    a->answer = b.get();
    b->answer = a.get();
    EXPECT_EQ(textOf(*a), "[object Speaking]");
    a->answer.erase();
    b->answer.erase();
}

// Each object tells the text of the next one.
TEST_F(LiveObjectTextTest, ALongChainEnds)
{
    Owned<Speaking> first = make<Speaking>();
    first->answer = "end";
    for (int depth = 0; depth < 10'000; ++depth) {
        const auto outer = make<Speaking>();
        outer->answer = first.get();
        first = outer;
    }
    EXPECT_EQ(textOf(*first), "[object Speaking]");
}

TEST_F(LiveObjectTextTest, HasNoValueByItself)
{
    EXPECT_FALSE(valueOf(*make<Plain>()).isDefined());
}

TEST_F(LiveObjectTextTest, HasTheValueThatItWasGiven)
{
    const auto object = make<Plain>();
    *static_cast<Variant *>(object->getAs(asValue)) = 12;
    EXPECT_EQ(valueOf(*object), Variant(12));
    object->invalidate();
    EXPECT_FALSE(valueOf(*object).isDefined());
}

TEST_F(LiveObjectTextTest, HasTheValueThatItsMethodGives)
{
    const auto object = make<Speaking>();
    *static_cast<Variant *>(object->getAs(asValue)) = "own";
    object->answer = 12;
    EXPECT_EQ(valueOf(*object), Variant(12));
    object->asksItself = true;
    EXPECT_EQ(valueOf(*object), Variant("own"));
    object->throws = true;
    EXPECT_FALSE(valueOf(*object).isDefined());
}

TEST_F(LiveObjectTextTest, HasNoValueIfItsMethodFails)
{
    const auto object = make<Speaking>();
    *static_cast<Variant *>(object->getAs(asValue)) = "own";
    for (const int code : {2, 24, 57}) {
        object->code = code;
        EXPECT_FALSE(valueOf(*object).isDefined()) << code;
    }
}

TEST_F(LiveObjectTextTest, IsNoNumberWithoutAValue)
{
    EXPECT_TRUE(std::isnan(Variant(*make<Plain>()).getDouble()));
}
