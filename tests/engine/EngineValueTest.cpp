// SPDX-License-Identifier: MIT
// Values on their way from the application to a script, and back.
#include <limits>

#include <tavrin/RegExp.h>

#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

class EngineValue : public ScriptTest
{
protected:
    // What a value is to the script.
    std::string seen(const Variant &value, const char *expression)
    {
        EXPECT_EQ(engine().setGlobal("value", value), 0);
        return tell(expression);
    }
    Variant roundTrip(const Variant &value)
    {
        EXPECT_EQ(engine().setGlobal("value", value), 0);
        return run("value");
    }
};

TEST_F(EngineValue, PlainKindsKeepTheirKind)
{
    EXPECT_EQ(seen(Variant(), "typeof value"), "undefined");
    Variant null;
    null.setNull();
    EXPECT_EQ(seen(null, "String(value === null)"), "true");
    EXPECT_EQ(seen(true, "String(value === true)"), "true");
    EXPECT_EQ(seen(0.5, "String(value === 0.5)"), "true");
    EXPECT_EQ(seen("text", "typeof value + value.length"), "string4");
    EXPECT_EQ(roundTrip(Variant()).getType(), kUndefined);
    EXPECT_EQ(roundTrip(null).getType(), kNull);
    EXPECT_EQ(roundTrip(false).getType(), kBoolean);
    EXPECT_EQ(roundTrip("").getType(), kString);
}

TEST_F(EngineValue, NumbersKeepEveryBitThatCounts)
{
    using Limits = std::numeric_limits<double>;
    for (const double number : {0.0, 1.0, -1.0, 0.1, 4294967296.5, Limits::max(),
                                Limits::denorm_min(), Limits::infinity(), -Limits::infinity()})
        EXPECT_EQ(roundTrip(number).getDouble(), number);
    EXPECT_TRUE(roundTrip(Limits::quiet_NaN()).isNaN());
    EXPECT_TRUE(roundTrip(-0.0).isMinus0());
    EXPECT_EQ(seen(-0.0, "String(1 / value)"), "-Infinity");
}

TEST_F(EngineValue, TextsKeepEveryUnit)
{
    for (unsigned unit = 0; unit <= 0xFFFF; unit += 13) {
        String text("<");
        text.append(static_cast<unsigned short>(unit));
        text += ">";
        EXPECT_EQ(roundTrip(text).getString(), text) << unit;
    }
    const String mixed = u"\0a\x00e9\xd800\xdc00\xdc00\xd800z\xffff"_ts;
    EXPECT_EQ(roundTrip(mixed).getString(), mixed);
    EXPECT_EQ(seen(mixed, "value.length"), std::to_string(mixed.length()));
    EXPECT_EQ(seen(mixed, "value.charCodeAt(3).toString(16)"), "d800");
}

TEST_F(EngineValue, CharactersBeyondTheUnitsOfAScriptBecomePairs)
{
    EXPECT_EQ(run(u"'\xd83d\xde00'"_ts).getString(), u"\xd83d\xde00"_ts);
    EXPECT_EQ(tell(u"'\xd83d\xde00'.length"_ts), "2");
    EXPECT_EQ(run("String.fromCharCode(0xd83d) + String.fromCharCode(0xde00)").getString(),
              u"\xd83d\xde00"_ts);
}

TEST_F(EngineValue, ALoneHalfOfAPairInTheSourceStays)
{
    const String text = run(u"'\xd83d'"_ts).getString();
    EXPECT_EQ(text.length(), 1);
    EXPECT_EQ(text.wstr()[0], 0xd83d);
}

TEST_F(EngineValue, ArraysAreCopiedWithTheirHolesAndNests)
{
    Array inner;
    inner += "deep";
    Array outer(5);
    outer[1] = 7;
    outer[3] = inner;
    EXPECT_EQ(seen(outer, "JSON.stringify(value)"), R"([null,7,null,["deep"],null])");
    EXPECT_EQ(seen(outer, "Array.isArray(value)"), "true");
    const Variant back = roundTrip(outer);
    ASSERT_EQ(back.getType(), kArray);
    EXPECT_EQ(back.getArray()->length(), 5u);
    EXPECT_FALSE(back.getArray()->isDefined(0));
    EXPECT_EQ((*back.getArray())[3].getArray()->get(0)->getString(), "deep");
}

TEST_F(EngineValue, ALongArrayWithFewElementsCostsLittle)
{
    const Variant value = run("var a = []; a[4000000000] = 'far'; a[2] = 'near'; a");
    ASSERT_EQ(value.getType(), kArray);
    EXPECT_EQ(value.getArray()->length(), 4000000001u);
    EXPECT_EQ((*value.getArray())[4000000000u].getString(), "far");
    EXPECT_EQ((*value.getArray())[2].getString(), "near");
}

TEST_F(EngineValue, AnArrayInsideItselfCannotBeConverted)
{
    EXPECT_EQ(fail("var a = []; a[0] = a; a"), "44: Cannot convert");
    EXPECT_EQ(tell("var deep = []; for (var i = 0; i < 100; ++i) deep = [deep]; deep; 'fine'"),
              "fine");
}

TEST_F(EngineValue, PointsAndRectanglesAreObjectsOfTheirClass)
{
    EXPECT_EQ(seen(Point(1.5, -2), "value.x + ',' + value.y + ',' + (value instanceof Point)"),
              "1.5,-2,true");
    EXPECT_EQ(seen(Point(1.5, -2), "String(value)"), "1:-2");
    EXPECT_EQ(seen(Rect(1, 2, 3, 4), "[value.left, value.top, value.right, value.bottom].join()"),
              "1,2,3,4");
    EXPECT_EQ(seen(Rect(1, 2, 3, 4), "String(value)"), "1:2-3:4");
    EXPECT_EQ(*roundTrip(Point(1.5, -2)).getPoint(), Point(1.5, -2));
    EXPECT_EQ(*roundTrip(Rect(1, 2, 3, 4)).getRect(), Rect(1, 2, 3, 4));
    EXPECT_EQ(*run("new Point(3, 4)").getPoint(), Point(3, 4));
    EXPECT_EQ(*run("Rect(0, 0, '7', 9)").getRect(), Rect(0, 0, 7, 9));
    EXPECT_EQ(*run("var p = new Point; p.x = 8; p").getPoint(), Point(8, 0));
}

TEST_F(EngineValue, LiveObjectsComeBackAsThemselves)
{
    const auto box = make<Box>();
    const Variant back = roundTrip(*box);
    EXPECT_EQ(back.getType(), kLiveObject);
    EXPECT_EQ(back.getLiveObject(), box.get());
    Array list;
    list += *box;
    EXPECT_EQ(roundTrip(list).getArray()->get(0)->getLiveObject(), box.get());
}

TEST_F(EngineValue, FunctionsAndPlainObjectsAreScriptObjects)
{
    const Variant object =
        run("var thing = {a: 1, toString: function () { return 'thing!'; }}; thing");
    EXPECT_EQ(object.getType(), kObject);
    EXPECT_EQ(utf8(object.toString()), "thing!");
    EXPECT_EQ(object.getTavrinscriptEngine(), &engine());
    EXPECT_TRUE(object.isValidObject());
    EXPECT_EQ(seen(object, "String(value === thing)"), "true");
    EXPECT_EQ(run("thing").getJSObject(), object.getJSObject());
    EXPECT_EQ(run("(function () {})").getType(), kObject);
    EXPECT_EQ(run("new Date(5)").getDouble(), 5);
    EXPECT_EQ(run("Math.max").getType(), kObject);
    EXPECT_EQ(run("new Error('boo')").getType(), kObject);
}

TEST_F(EngineValue, BoxedValuesShowWhatIsInThem)
{
    const Variant boxed = run("new Number(7)");
    ASSERT_EQ(boxed.getType(), kObject);
    EXPECT_EQ(boxed.getDouble(), 7);
    EXPECT_EQ(run("new String('s')").toString(), "s");
}

TEST_F(EngineValue, FunctionsOfTheApplicationComeBackAsTheSameFunction)
{
    engine().setFunction("nothing", [](const Array &, Variant &, Error *) { return 0; });
    EXPECT_EQ(seen(run("nothing"), "String(value === nothing)"), "true");
    const auto box = make<Box>();
    engine().setGlobal("box", *box);
    EXPECT_EQ(seen(run("box.grow"), "String(value === box.grow)"), "true");
    EXPECT_EQ(tell("box.grow(1)"), "2");
}

TEST_F(EngineValue, ASymbolCannotBeConverted)
{
    EXPECT_EQ(fail("Symbol('s')"), "44: Cannot convert");
}

TEST_F(EngineValue, AnObjectThatIsNotMadeYetIsMadeWithItsIdAndData)
{
    struct Data : Root
    {};
    Data data;
    Variant unassigned(77, "Thing", &data);
    const Variant back = roundTrip(unassigned);
    ASSERT_EQ(back.getType(), kObject);
    ASSERT_NE(back.getJSObject(), nullptr);
    EXPECT_EQ(back.getInteger(), 77);
    EXPECT_EQ(back.getObjectData(), &data);
    EXPECT_EQ(run("value").getJSObject(), back.getJSObject());
}

TEST_F(EngineValue, AnObjectOfAnotherEngineCannotBeConverted)
{
    TvScript::Engine other;
    Variant object;
    EXPECT_EQ(other.evaluate("({})", "other.js", object), 0);
    Error error;
    EXPECT_EQ(engine().setGlobal("foreign", object, &error), 44);
    EXPECT_EQ(describe(error), "44: Cannot convert");
}

TEST_F(EngineValue, PropertiesOfAScriptObjectMoveThroughATable)
{
    Variant object = run("var o = {a: 1, b: 'x'}; o");
    THashTable<Variant> table;
    EXPECT_EQ(object.getObjectProperties(table, 0, nullptr), 0);
    EXPECT_EQ(table.length(), 2);
    EXPECT_EQ(table.find("b", false)->getString(), "x");
    table.find("a", false)->setDouble(5);
    EXPECT_EQ(object.setObjectProperties(table, nullptr), 0);
    EXPECT_EQ(tell("o.a"), "5");
    Variant::eraseProperties(table);
    const Variant hostile = run("({get a() { throw new Error('no'); }})");
    Error error;
    EXPECT_EQ(hostile.getObjectProperties(table, 0, &error), 54);
    EXPECT_EQ(describe(error), "54: Uncaught JavaScript exception: Error: no @test.js:1");
    Variant::eraseProperties(table);
}

TEST_F(EngineValue, AGetterThatThrowsWhileAnArrayIsReadIsAnError)
{
    EXPECT_EQ(
        fail("var a = [1]; Object.defineProperty(a, '0', {get: function () { throw 'no'; }}); a"),
        "54: Uncaught JavaScript exception: no");
}

TEST_F(EngineValue, RegularExpressionsGoBothWays)
{
    EXPECT_EQ(seen(RegExp("a+", RegExp::ignoreCase), "String(value) + value.test('xAAx')"),
              "/a+/itrue");
    const Variant value = run("/a+b/im");
    EXPECT_EQ(value.getDataType(), kRegExp);
    ASSERT_NE(value.getRegExp(), nullptr);
    EXPECT_EQ(value.getRegExp()->getPattern(), "a+b");
    EXPECT_EQ(value.getRegExp()->getFlags(), RegExp::ignoreCase | RegExp::multiLine);
    EXPECT_EQ(seen(value, "String(value)"), "/a+b/im");
}

} // namespace
} // namespace Tavrin::test
