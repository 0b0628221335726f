// SPDX-License-Identifier: MIT
// The classes of LiveObject::addFactory as constructors.
#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

class ClassScript : public ScriptTest
{
protected:
    void SetUp() override
    {
        ScriptTest::SetUp();
        const auto prototype = make<Box>();
        LiveObject::addFactory(*prototype, kDefaultLanguage);
    }
    void TearDown() override
    {
        LiveObject::removeFactory("Box");
        ScriptTest::TearDown();
    }
};

TEST_F(ClassScript, NewMakesAnObjectOfTheClass)
{
    EXPECT_EQ(tell("var box = new Box; box.width"), "1");
    EXPECT_EQ(tell("(box instanceof Box) + ',' + (box.constructor === Box) + ',' + Box.name"),
              "true,true,Box");
    EXPECT_EQ(tell("({}) instanceof Box"), "false");
}

TEST_F(ClassScript, TheConstructorInitializesTheObjectWithItsArguments)
{
    EXPECT_EQ(tell("new Box(12).width"), "12");
    EXPECT_EQ(fail("new Box('wide')"), "47: Data type mismatch @test.js:1");
    EXPECT_EQ(Box::living(), 1);
}

TEST_F(ClassScript, AClassTakesNew)
{
    EXPECT_EQ(fail("Box(1)"),
              "54: Uncaught JavaScript exception: TypeError: Box is a class: it takes "
              "new @test.js:1");
}

TEST_F(ClassScript, ObjectsOfTheApplicationAreInstancesToo)
{
    const auto box = make<Box>();
    engine().setGlobal("box", *box);
    EXPECT_EQ(tell("box instanceof Box"), "true");
}

TEST_F(ClassScript, APrototypeTakesNewMethods)
{
    run("Box.prototype.twice = function () { return this.width * 2; }");
    EXPECT_EQ(tell("new Box(4).twice()"), "8");
    EXPECT_EQ(tell("'twice' in new Box"), "true");
}

TEST_F(ClassScript, APrototypeTakesAccessors)
{
    run("Object.defineProperty(Box.prototype, 'half', {"
        " get: function () { return this.width / 2; },"
        " set: function (half) { this.width = half * 2; }});");
    EXPECT_EQ(tell("var box = new Box(12); box.half += 1; box.half + ' ' + box.width"), "7 14");
}

TEST_F(ClassScript, AnObjectGoesWhenTheScriptLetsItGo)
{
    run("for (var i = 0; i < 100; ++i) new Box(i); i = null");
    EXPECT_EQ(Box::living(), 1);
    run("var kept = {box: new Box}; kept.self = kept");
    EXPECT_EQ(Box::living(), 2);
    run("kept = null");
    engine().collectGarbage();
    EXPECT_EQ(Box::living(), 1);
    LiveObject *prototype = LiveObject::getFactory("Box", -1);
    EXPECT_EQ(prototype->getRefCount(), 1);
}

TEST_F(ClassScript, AClassThatIsRegisteredLaterIsKnownToTheNextText)
{
    EXPECT_EQ(tell("typeof Crate"), "undefined");
    const auto crate = make<Box>("Crate");
    LiveObject::addFactory(*crate, 2);
    EXPECT_EQ(tell("typeof Crate"), "function");
    EXPECT_EQ(tell("String(new Crate)"), "[object Crate]");
    LiveObject::removeFactory("Crate");
    EXPECT_EQ(fail("new Crate"), "22: Crate does not have a constructor @test.js:1");
}

TEST_F(ClassScript, ANameThatAScriptPutsTogetherIsAddedByHand)
{
    EXPECT_EQ(tell("typeof this['B' + 'ox']"), "undefined");
    EXPECT_EQ(engine().addClass("Box"), 0);
    EXPECT_EQ(tell("typeof this['B' + 'ox']"), "function");
    Error error;
    EXPECT_EQ(engine().addClass("Unknown", &error), 22);
    EXPECT_EQ(describe(error), "22: Unknown does not have a constructor");
}

TEST_F(ClassScript, AClassDoesNotReplaceWhatIsThere)
{
    const auto other = make<Box>("Object");
    LiveObject::addFactory(*other, 1);
    EXPECT_EQ(tell("typeof Object.keys"), "function");
    LiveObject::removeFactory("Object");
    run("var Mine = 7");
    const auto mine = make<Box>("Mine");
    LiveObject::addFactory(*mine, 1);
    EXPECT_EQ(tell("Mine"), "7");
    LiveObject::removeFactory("Mine");
}

TEST_F(ClassScript, ACollectionCanBeConstructed)
{
    const auto prototype = make<LiveArray>("List", 0, false);
    struct Maker : LiveArray
    {
        Maker() : LiveArray("Many", 0, false) {}
        using LiveArray::call;
        int call(int id, const Array &args, Variant &result, Error *error) override
        {
            if (id != constructorID)
                return LiveArray::call(id, args, result, error);
            const auto made = InterfacePtr<LiveObject>::adopt(new Maker);
            result.setLiveObject(made.get(), 0);
            return 0;
        }
    };
    const auto maker = make<Maker>();
    LiveObject::addFactory(*maker, 1);
    EXPECT_EQ(tell("var many = new Many; many[2] = 5; many.length + many.map(String).join()"),
              "3undefined,undefined,5");
    LiveObject::removeFactory("Many");
}

} // namespace
} // namespace Tavrin::test
