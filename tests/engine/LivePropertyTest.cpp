// SPDX-License-Identifier: MIT
// How scripts read, write, test, delete and list the properties of live objects.
#include "engine/ScriptTest.h"

#include "support/MemoryFailure.h"

namespace Tavrin::test {
namespace {

using LivePropertyScript = BoxScriptTest;

TEST_F(LivePropertyScript, PropertiesAreReadAndWritten)
{
    box->width = 3;
    EXPECT_EQ(tell("box.width + box.area"), "12");
    run("box.width = 4; box.label = 'four'");
    EXPECT_EQ(box->width, 4);
    EXPECT_EQ(box->label, "four");
    EXPECT_EQ(tell("box['wid' + 'th'] += 1"), "5");
}

TEST_F(LivePropertyScript, AnObjectIsTheSameValueEachTime)
{
    const auto other = make<Box>();
    box->any.setLiveObject(*other, 0);
    engine().setGlobal("other", *other);
    EXPECT_EQ(tell("box.any === other && box.any === box.any && other !== box"), "true");
    EXPECT_EQ(engine().heldObjects(), 2);
    box->any.erase();
}

TEST_F(LivePropertyScript, AnUnknownNameReadsAsUndefinedAndBecomesAPropertyWhenWritten)
{
    EXPECT_EQ(tell("typeof box.colour"), "undefined");
    run("box.colour = 'red'");
    EXPECT_EQ(tell("box.colour"), "red");
    Variant value;
    EXPECT_EQ(box->get("colour", value), 0);
    EXPECT_EQ(value.getString(), "red");
}

TEST_F(LivePropertyScript, AFixedObjectTakesNoNewProperty)
{
    const auto fixed = make<Box>("Fixed", false);
    engine().setGlobal("fixed", *fixed);
    EXPECT_EQ(fail("\nfixed.colour = 1"),
              "55: Object does not support the property or method 'colour' @test.js:2");
    EXPECT_EQ(tell("typeof fixed.colour"), "undefined");
}

TEST_F(LivePropertyScript, AReadOnlyPropertyRefusesToBeWritten)
{
    EXPECT_EQ(fail("box.area = 1"), "46: area is read only @test.js:1");
    EXPECT_EQ(fail("'use strict'; box.area = 1"), "46: area is read only @test.js:1");
}

TEST_F(LivePropertyScript, AMethodRefusesToBeReplaced)
{
    EXPECT_EQ(fail("box.grow = 1"),
              "55: Object does not support the property or method 'grow' @test.js:1");
}

TEST_F(LivePropertyScript, AWriteThatTheHandlerRefusesIsAnException)
{
    EXPECT_EQ(fail("box.width = 'wide'"), "47: Data type mismatch @test.js:1");
    EXPECT_EQ(fail("box.width = 5000"), "41: width is out of range @test.js:1");
    EXPECT_EQ(box->width, 1);
}

TEST_F(LivePropertyScript, InTellsWhatTheObjectKnows)
{
    EXPECT_EQ(tell("'width' in box"), "true");
    EXPECT_EQ(tell("'grow' in box"), "true");
    EXPECT_EQ(tell("'colour' in box"), "false");
    EXPECT_EQ(tell("box.colour = 1; 'colour' in box"), "true");
    EXPECT_EQ(tell("'toString' in box"), "true");
    EXPECT_EQ(tell("box.hasOwnProperty('width') + ',' + box.hasOwnProperty('toString')"),
              "true,false");
}

TEST_F(LivePropertyScript, DeleteRemovesDynamicPropertiesOnly)
{
    run("box.colour = 'red'");
    EXPECT_EQ(tell("delete box.colour"), "true");
    EXPECT_EQ(tell("('colour' in box) + ',' + box.colour"), "false,undefined");
    EXPECT_EQ(tell("delete box.never"), "true");
    EXPECT_EQ(tell("delete box.width"), "false");
    EXPECT_EQ(fail("'use strict'; delete box.width").substr(0, 3), "54:");
    EXPECT_EQ(tell("box.width"), "1");
}

TEST_F(LivePropertyScript, APermanentPropertyStays)
{
    int id = 0;
    EXPECT_EQ(box->createIDForName("kept", id, kInfoReadWrite | kPropertyPermanent), 0);
    EXPECT_EQ(tell("delete box.kept"), "false");
    EXPECT_EQ(tell("'kept' in box"), "true");
}

TEST_F(LivePropertyScript, EnumerationGoesInTheOrderOfTheObject)
{
    const std::string names =
        "var names = []; for (var name in box) names.push(name); names.join()";
    EXPECT_EQ(tell(names.c_str()), "width,area,label,any");
    run("box.zebra = 1; box.apple = 2");
    EXPECT_EQ(tell(names.c_str()), "zebra,apple,width,area,label,any");
    run("delete box.zebra");
    EXPECT_EQ(tell(names.c_str()), "apple,width,area,label,any");
    EXPECT_EQ(tell("Object.keys(box).join()"), "apple,width,area,label,any");
}

TEST_F(LivePropertyScript, UnlistedPropertiesAreNotEnumerated)
{
    int id = 0;
    box->createIDForName("secret", id, kInfoReadWrite | kPropertyUnlisted);
    EXPECT_EQ(tell("Object.keys(box).indexOf('secret')"), "-1");
    EXPECT_EQ(tell("'secret' in box"), "true");
}

TEST_F(LivePropertyScript, ADescriptorTellsWhatIsKnownOfAProperty)
{
    run(tellTraits);
    run("box.colour = 'red'");
    int id = 0;
    box->createIDForName("secret", id, kInfoReadWrite | kPropertyUnlisted | kPropertyPermanent);
    EXPECT_EQ(tell("tell(box, 'width')"), "1,true,true,false");
    EXPECT_EQ(tell("tell(box, 'area')"), "1,false,true,false");
    EXPECT_EQ(tell("tell(box, 'colour')"), "red,true,true,true");
    EXPECT_EQ(tell("tell(box, 'secret')"), ",true,false,false");
    EXPECT_EQ(tell("var grow = Object.getOwnPropertyDescriptor(box, 'grow');"
                   "(grow.value === box.grow) + ',' + grow.writable + ',' + grow.enumerable"),
              "true,false,false");
    EXPECT_EQ(tell("tell(box, 'never') + ',' + tell(box, 'toString')"), "undefined,undefined");
    EXPECT_EQ(tell("Reflect.getOwnPropertyDescriptor(box, 'width').value"), "1");
}

TEST_F(LivePropertyScript, DefinePropertyWritesTheValue)
{
    EXPECT_EQ(tell("(Object.defineProperty(box, 'width', {value: 7}) === box) + ',' + box.width"),
              "true,7");
    EXPECT_EQ(tell("Reflect.defineProperty(box, 'colour', {value: 'red', writable: false}) +"
                   " box.colour"),
              "truered");
    EXPECT_EQ(tell("Object.defineProperty(box, 'label', {enumerable: false}); box.label"), "");
    EXPECT_EQ(fail("Object.defineProperty(box, 'area', {value: 7})").substr(0, 3), "46:");
    for (const char *use : {"Object.defineProperty(box, 'x', {get: function () {}})",
                            "Reflect.defineProperty(box, 'x', {set: function () {}})",
                            "Object.defineProperty(box, 'x')"})
        EXPECT_EQ(fail(use).substr(0, 44), "54: Uncaught JavaScript exception: TypeError") << use;
    EXPECT_EQ(tell("Object.defineProperty({}, 'x', {get: function () { return 5; }}).x"), "5");
    EXPECT_EQ(tell("var plain = {}; Reflect.defineProperty(plain, 'y', {value: 6}) && plain.y"),
              "6");
}

TEST_F(LivePropertyScript, DescriptorsOfOtherObjectsAreAsEver)
{
    EXPECT_EQ(tell("JSON.stringify(Object.getOwnPropertyDescriptor([7], 0))"),
              R"({"value":7,"writable":true,"enumerable":true,"configurable":true})");
    EXPECT_EQ(tell("typeof Object.getOwnPropertyDescriptor({get a() {}}, 'a').get"), "function");
    EXPECT_EQ(tell("try { Object.getOwnPropertyDescriptor() } catch (e) { e.name }"), "TypeError");
    EXPECT_EQ(
        tell("var o = Object.create({b: 1}, {a: {value: 1}, c: {value: 2, enumerable: true}});"
             "[o.hasOwnProperty('a'), o.hasOwnProperty('b'), o.propertyIsEnumerable('a'),"
             " o.propertyIsEnumerable('c')].join()"),
        "true,false,false,true");
    EXPECT_EQ(tell("Object.getOwnPropertyDescriptor.name + Object.prototype.hasOwnProperty.length"),
              "getOwnPropertyDescriptor1");
    EXPECT_EQ(tell("Object.keys(Object.prototype).length"), "0");
}

TEST_F(LivePropertyScript, TheFunctionsOfObjectKnowItsProperties)
{
    EXPECT_EQ(tell("var has = Object.prototype.hasOwnProperty, names = [];"
                   "for (var name in box) if (has.call(box, name)) names.push(name);"
                   "names.join() + has.call(box, 'grow') + has.call(box, 'never')"),
              "width,area,label,anytruefalse");
    EXPECT_EQ(tell("[box.propertyIsEnumerable('width'), box.propertyIsEnumerable('grow'),"
                   " box.propertyIsEnumerable('never')].join()"),
              "true,false,false");
}

TEST_F(LivePropertyScript, AccessorsOfThePrototypeWorkOnTheObject)
{
    run("Object.defineProperty(Object.getPrototypeOf(box), 'twice', {configurable: true,"
        " get: function () { return this.width * 2; },"
        " set: function (value) { this.width = value / 2; }});"
        "Object.defineProperty(Object.getPrototypeOf(box), 'self', {get: function () {"
        " return this; }});"
        "Object.defineProperty(Object.getPrototypeOf(box), 'sink', {set: function (value) {"
        " this.label = value; }});");
    EXPECT_EQ(tell("box.width = 4; box.twice"), "8");
    EXPECT_EQ(tell("box.twice = 20; box.width"), "10");
    EXPECT_EQ(tell("box.self === box"), "true");
    EXPECT_EQ(tell("box.self = 1; box.self === box"), "true");
    EXPECT_EQ(fail("'use strict'; box.self = 1").substr(0, 3), "54:");
    EXPECT_EQ(tell("box.sink = 'down'; box.label + box.sink"), "downundefined");
    EXPECT_EQ(tell("Object.keys(box).join()"), "width,area,label,any");
    EXPECT_EQ(fail("\nbox.twice = -2"), "41: width is out of range @test.js:1");
    EXPECT_EQ(tell("Object.getPrototypeOf(box).plain = 1; box.plain = 2;"
                   "box.plain + Object.keys(box)[0]"),
              "2plain");
}

TEST_F(LivePropertyScript, ThePrototypeIsThatOfTheClass)
{
    const auto other = make<Box>();
    engine().setGlobal("other", *other);
    EXPECT_EQ(tell("Object.getPrototypeOf(box) === Object.getPrototypeOf(other)"), "true");
    EXPECT_EQ(tell("box.__proto__ === Object.getPrototypeOf(box)"), "true");
    EXPECT_EQ(tell("Object.prototype.isPrototypeOf(box)"), "true");
    EXPECT_EQ(tell("Object.getPrototypeOf(box).hello = function () { return this.width; };"
                   "other.width = 3; other.hello()"),
              "3");
}

TEST_F(LivePropertyScript, JsonSeesTheProperties)
{
    EXPECT_EQ(tell("JSON.stringify(box)"), R"({"width":1,"area":1,"label":""})");
}

TEST_F(LivePropertyScript, ToStringAndValueOfAreThoseOfTheObject)
{
    EXPECT_EQ(tell("String(box)"), "[object Box]");
    EXPECT_EQ(tell("'' + box"), "[object Box]");
    EXPECT_EQ(tell("box.valueOf() === box"), "true");
    EXPECT_EQ(tell("isNaN(box * 2)"), "true");
    *static_cast<Variant *>(static_cast<LiveObject &>(*box).getAs(asValue)) = 21;
    EXPECT_EQ(tell("box * 2"), "42");
}

TEST_F(LivePropertyScript, NamesAreLookedUpOnceUntilDefinitionsChange)
{
    struct Counting : Box
    {
        Counting() : Box("Counting") {}
        int getIDForName(const String &name, int &id, InfoType &type, int flags) const override
        {
            ++lookups;
            if (name == "renamed" && isRenamed) {
                id = labelID;
                type = kInfoReadWrite;
                return 0;
            }
            return Box::getIDForName(name, id, type, flags);
        }
        mutable int lookups = 0;
        bool isRenamed = false;
    };
    const auto counting = make<Counting>();
    engine().setGlobal("counting", *counting);
    run("for (var i = 0; i < 100; ++i) counting.width = counting.width + 1");
    EXPECT_EQ(counting->lookups, 1);
    counting->propertyDefsChanged();
    run("counting.width; counting.width");
    EXPECT_EQ(counting->lookups, 2);
    counting->isRenamed = true;
    run("counting.renamed = 'x'");
    EXPECT_EQ(counting->label, "x");
}

TEST_F(LivePropertyScript, ANameWhoseIdIsGoneIsLookedUpAgain)
{
    run("box.colour = 'red'; box.colour");
    int id = 0;
    InfoType type = kInfoNone;
    box->getIDForName("colour", id, type, kDefaultLanguage);
    EXPECT_EQ(box->deleteID(id), 0);
    EXPECT_EQ(tell("typeof box.colour"), "undefined");
    run("box.colour = 'blue'");
    EXPECT_EQ(tell("box.colour"), "blue");
    box->deleteDynamicProperties(true);
    EXPECT_EQ(tell("'colour' in box"), "false");
    run("box.colour = 'green'");
    EXPECT_EQ(box->get("colour", box->any), 0);
    EXPECT_EQ(box->any.getString(), "green");
}

TEST_F(LivePropertyScript, AnInvalidObjectRefusesEveryUse)
{
    run("box.colour = 1; var grow = box.grow");
    box->invalidate();
    const std::string refusal = "45: Object is invalid @test.js:1";
    for (const char *use : {"box.width", "box.width = 1", "box.colour", "box.never",
                            "'width' in box", "delete box.colour", "for (var name in box);",
                            "box.grow(1)", "grow.call(box, 1)", "String(box)", "box + 1",
                            "Object.keys(box)", "JSON.stringify(box)", "box.hasOwnProperty('x')"})
        EXPECT_EQ(fail(use), refusal) << use;
    EXPECT_EQ(tell("try { box.width } catch (e) { e.number + ' ' + (e instanceof TypeError) }"),
              "45 true");
    EXPECT_EQ(tell("typeof box"), "object");
    box->revalidate();
    EXPECT_EQ(tell("box.width"), "1");
}

TEST_F(LivePropertyScript, ComponentsAddAndHideProperties)
{
    struct Extra : LiveComponent
    {
        Extra()
        {
            static constexpr LivePropertyInfo rows[] = {
                {"extra", 500, kInfoReadWrite, "number"},
                {"double", 501, kInfoMethod, "number\tTwice.,of:number"},
                {nullptr, 0, 0, nullptr},
            };
            static const LivePropertyManager manager(rows);
            setPropertyManager(&manager);
        }
        int get(const LiveObject &, int, Variant &out, Error *) const override
        {
            out = value;
            return 0;
        }
        int put(LiveObject &, int, const Variant &newValue, Error *) override
        {
            value = newValue;
            return 0;
        }
        int call(LiveObject &, int, const Array &args, Variant &result, Error *) override
        {
            result = args[0].getDouble() * 2;
            return 0;
        }
        InfoType getType(const LiveObject &object, int id) override
        {
            return id == Box::labelID ? kInfoHidden : LiveComponent::getType(object, id);
        }
        Variant value = 7;
    };
    const auto extra = make<Extra>();
    box->addComponent(*extra);
    box->propertyDefsChanged();
    EXPECT_EQ(tell("box.extra += 1; box.double(box.extra)"), "16");
    EXPECT_EQ(tell("Object.keys(box).join()"), "width,area,any,extra");
}

TEST_F(LivePropertyScript, ListenersServePropertiesByMessage)
{
    struct Server : Listener
    {
        bool notify(Message &message) override
        {
            auto &live = static_cast<LiveMessage &>(message);
            switch (message.getID()) {
            case askID:
                if (live.getData()->getString() != "remote")
                    return false;
                live.getPropertyID() = 900;
                *live.getData() = int{kInfoReadWrite};
                return true;
            case askGet:
                *live.getData() = value;
                return true;
            case askPut:
                value = *live.getData();
                return true;
            default:
                return false;
            }
        }
        Variant value = "start";
    };
    Server server;
    for (const int id : {askID, askGet, askPut})
        box->addListener(server, id);
    EXPECT_EQ(tell("box.remote + (box.remote = 'end') + box.remote"), "startendend");
    EXPECT_EQ(server.value.getString(), "end");
    box->removeListener(server, Broadcaster::allMessages);
}

TEST_F(LivePropertyScript, PropertiesThatCanBeCalledReadAsTheirValue)
{
    struct Both : Box
    {
        Both() : Box("Both")
        {
            int id = 0;
            createIDForName("state", id, kInfoReadWriteMethod);
        }
        LiveProperty *createProperty(const String &name, int id, unsigned int flags) override
        {
            struct Callable : LiveProperty
            {
                using LiveProperty::LiveProperty;
                int call(const Array &args, Variant &result) override
                {
                    result = args[0].getDouble() + 1;
                    return 0;
                }
            };
            return new Callable(*this, name, id, flags);
        }
    };
    const auto both = make<Both>();
    engine().setGlobal("both", *both);
    EXPECT_EQ(tell("both.state = 5; both.state"), "5");
    EXPECT_EQ(tell("both.callMethod('state', 41)"), "42");
}

TEST_F(LivePropertyScript, SymbolsBelongToThePrototype)
{
    EXPECT_EQ(tell("typeof box[Symbol.iterator]"), "undefined");
    EXPECT_EQ(fail("box[Symbol('x')] = 1").substr(0, 3), "55:");
    EXPECT_EQ(tell("Symbol.toPrimitive in box"), "false");
}

TEST_F(LivePropertyScript, ANumberIsANameToAnObjectWithoutElements)
{
    run("box[3] = 'three'");
    EXPECT_EQ(tell("box[3] + box['3']"), "threethree");
    EXPECT_EQ(tell("3 in box"), "true");
}

TEST_F(LivePropertyScript, AReadOfANumberAllocatesNothing)
{
    run("function readMany(n) { var sum = 0; for (var i = 0; i < n; ++i) sum += box.width;"
        " return sum; } readMany(10)");
    const WithoutBlockCache cacheOff;
    EXPECT_EQ(allocationsOf("readMany(1000)"), allocationsOf("readMany(2000)"));
}

} // namespace
} // namespace Tavrin::test
