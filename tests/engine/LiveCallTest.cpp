// SPDX-License-Identifier: MIT
// How scripts call methods of live objects, and the objects themselves.
#include <vector>

#include "engine/ScriptTest.h"

#include "support/MemoryFailure.h"

namespace Tavrin::test {
namespace {

using LiveCallScript = BoxScriptTest;

TEST_F(LiveCallScript, MethodsReceiveTheirArgumentsAndGiveResults)
{
    EXPECT_EQ(tell("box.grow(2) + box.grow(3)"), "9");
    EXPECT_EQ(tell("box.echo(1, 'a', null, undefined, true).length"), "5");
    EXPECT_EQ(tell("box.echo().length"), "0");
    EXPECT_EQ(tell("box.echo.apply(box, [7, 8])[1]"), "8");
}

// The list of the arguments serves many calls.
TEST_F(LiveCallScript, ArgumentsThatTheApplicationKeepsStayAsTheyAre)
{
    std::vector<Array> kept;
    engine().setFunction("keep", [&kept](const Array &args, Variant &result, Error *) {
        kept.push_back(args);
        result = int(args.length());
        return 0;
    });
    EXPECT_EQ(tell("[keep(1, 'a', box), keep(2), keep(), keep(3, 'b', [4]), keep(5)].join()"),
              "3,1,0,3,1");
    ASSERT_EQ(kept.size(), 5u);
    EXPECT_EQ(kept[0][0].getDouble(), 1);
    EXPECT_EQ(kept[0][1].getString(), "a");
    EXPECT_EQ(kept[0][2].getLiveObject(), box.get());
    EXPECT_EQ(kept[1].length(), 1u);
    EXPECT_EQ(kept[1][0].getDouble(), 2);
    EXPECT_EQ(kept[2].length(), 0u);
    EXPECT_EQ(kept[3][1].getString(), "b");
    EXPECT_EQ((*kept[3][2].getArray())[0].getDouble(), 4);
    EXPECT_EQ(kept[4][0].getDouble(), 5);
}

TEST_F(LiveCallScript, ArgumentsAreLetGoAfterTheCall)
{
    run("box.echo(new Date, 'text', [1], box); box.echo(1)");
    run("(function () { var other = {}; box.echo(other, other); })()");
    const int held = engine().heldObjects();
    endEngine();
    EXPECT_EQ(held, 1);
    EXPECT_EQ(box->getRefCount(), 1);
}

TEST_F(LiveCallScript, ACallMayHaveManyArguments)
{
    const char *script = "var list = []; for (var i = 0; i < 500; ++i) list.push(i);"
                         "for (var i = 0; i < 3; ++i) list = box.echo.apply(box, list);"
                         "list.length + ' ' + list[499] + ' ' + box.echo(7)[0]";
    EXPECT_EQ(tell(script), "500 499 7");
}

TEST_F(LiveCallScript, ACallInACallHasArgumentsOfItsOwn)
{
    engine().setFunction("apply", [](const Array &args, Variant &result, Error *error) {
        const double before = args[1].getDouble();
        if (const int code = TvScript::Engine::call(args[0], Array() += before, result, error))
            return code;
        result = result.getDouble() + args[1].getDouble() - before;
        return 0;
    });
    EXPECT_EQ(tell("function down(n) { return n > 0 ? apply(down, n - 1) + 1 : 0; } down(20)"),
              "20");
}

TEST_F(LiveCallScript, ACallWithANumberAllocatesNothing)
{
    run("function callMany(n) { for (var i = 0; i < n; ++i) box.grow(0); } callMany(10)");
    const WithoutBlockCache cacheOff;
    EXPECT_EQ(allocationsOf("callMany(1000)"), allocationsOf("callMany(2000)"));
}

TEST_F(LiveCallScript, AMethodIsTheSameFunctionForAllObjectsOfAClass)
{
    const auto other = make<Box>();
    engine().setGlobal("other", *other);
    EXPECT_EQ(tell("box.grow === box.grow && box.grow === other.grow"), "true");
    EXPECT_EQ(tell("typeof box.grow + ' ' + box.grow.name"), "function grow");
    EXPECT_EQ(tell("box.grow.call(other, 5)"), "6");
    EXPECT_EQ(other->width, 6);
}

TEST_F(LiveCallScript, AMethodRefusesObjectsOfOtherClasses)
{
    const auto other = make<Box>("Crate");
    engine().setGlobal("other", *other);
    EXPECT_EQ(fail("box.grow.call(other, 5)").substr(0, 3), "24:");
    EXPECT_EQ(fail("box.grow.call({}, 5)").substr(0, 3), "26:");
    EXPECT_EQ(fail("var grow = box.grow; grow(1)").substr(0, 3), "26:");
    EXPECT_EQ(other->width, 1);
}

TEST_F(LiveCallScript, AMethodOfAnotherClassRunsIfItsObjectSaysSo)
{
    struct Generic : LiveComponent
    {
        Generic()
        {
            static constexpr LivePropertyInfo rows[] = {{"title", 700, kInfoMethod, "string"},
                                                        {nullptr, 0, 0, nullptr}};
            static const LivePropertyManager manager(rows);
            setPropertyManager(&manager);
        }
        bool isGeneric(int) const override { return generic; }
        int call(LiveObject &object, int, const Array &, Variant &result, Error *) override
        {
            result = object.getClassName();
            return 0;
        }
        bool generic = true;
    };
    const auto component = make<Generic>();
    box->addComponent(*component);
    const auto other = make<Box>("Crate");
    engine().setGlobal("other", *other);
    EXPECT_EQ(tell("box.title.call(other)"), "Crate");
    component->generic = false;
    EXPECT_EQ(fail("box.title.call(other)").substr(0, 3), "26:");
}

TEST_F(LiveCallScript, AMethodThatVanishedBetweenLookUpAndCallIsAnError)
{
    struct Callable : LiveProperty
    {
        using LiveProperty::LiveProperty;
        int call(const Array &, Variant &result) override
        {
            result = "called";
            return 0;
        }
    };
    struct Changing : Box
    {
        Changing() : Box("Changing") {}
        LiveProperty *createProperty(const String &name, int id, unsigned int flags) override
        {
            return new Callable(*this, name, id, flags);
        }
    };
    const auto changing = make<Changing>();
    int id = 0;
    changing->createIDForName("go", id, kInfoMethod);
    engine().setGlobal("changing", *changing);
    EXPECT_EQ(tell("var go = changing.go; changing.go()"), "called");
    changing->deleteDynamicProperties(true);
    EXPECT_EQ(fail("\n\ngo.call(changing)"),
              "55: Object does not support the property or method 'go' @test.js:3");
    changing->createIDForName("go", id, kInfoMethod);
    EXPECT_EQ(tell("go.call(changing)"), "called");
}

TEST_F(LiveCallScript, AnUnknownMethodIsATypeError)
{
    EXPECT_EQ(tell("try { box.vanish() } catch (e) { String(e instanceof TypeError) }"), "true");
}

TEST_F(LiveCallScript, CodesOfMethodsBecomeExceptions)
{
    EXPECT_EQ(fail("box.fail(52)"), "52: I/O error @test.js:1");
    EXPECT_EQ(fail("box.fail(1234)"), "1234: fail @test.js:1");
}

TEST_F(LiveCallScript, AnExceptionOfTheApplicationIsAnErrorOfTheScript)
{
    EXPECT_EQ(tell("try { box.raise() } catch (e) { String(e.number) }"), "-29");
    EXPECT_EQ(tell("box.grow(1)"), "2");
}

TEST_F(LiveCallScript, AnObjectWithTheFunctionIdCanBeCalled)
{
    struct Adder : LiveObject
    {
        Adder() : LiveObject("Adder", true)
        {
            static constexpr LivePropertyInfo rows[] = {{"call", functionID, kInfoMethod, "number"},
                                                        {nullptr, 0, 0, nullptr}};
            static const LivePropertyManager manager(rows);
            setPropertyManager(&manager);
        }
        int call(int id, const Array &args, Variant &result, Error *error) override
        {
            if (id != functionID)
                return LiveObject::call(id, args, result, error);
            result = args[0].getDouble() + args[1].getDouble();
            return 0;
        }
    };
    const auto adder = make<Adder>();
    engine().setGlobal("add", *adder);
    EXPECT_EQ(tell("add(2, 3)"), "5");
    EXPECT_EQ(tell("typeof add + ' ' + typeof box"), "function object");
    EXPECT_EQ(tell("[1, 2].map(add).join()"), "1,3");
    adder->invalidate();
    EXPECT_EQ(fail("add(1, 1)"), "45: Object is invalid @test.js:1");
    EXPECT_EQ(fail("box()").substr(0, 3), "54:");
}

TEST_F(LiveCallScript, AMethodMayDropItsOwnObject)
{
    struct Holder : Box
    {
        Holder() : Box("Holder") {}
        using Box::call;
        int call(int id, const Array &args, Variant &result, Error *error) override
        {
            if (id != growID)
                return Box::call(id, args, result, error);
            engine->setGlobal("holder", Variant());
            engine->collectGarbage();
            return 0;
        }
        TvScript::Engine *engine = nullptr;
    };
    auto holder = make<Holder>();
    holder->engine = &engine();
    engine().setGlobal("holder", *holder);
    holder.reset();
    const int before = Box::living();
    EXPECT_FALSE(run("holder.grow()").isDefined());
    EXPECT_EQ(Box::living(), before - 1);
}

} // namespace
} // namespace Tavrin::test
