// SPDX-License-Identifier: MIT
// Classes whose properties and methods are bound to fields and functions.
#include <tavrin/Bind.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include <tavrin/LiveCollection.h>
#include <tavrin/SimpleArray.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"
#include "support/TestAllocator.h"
#include "support/ValueText.h"

using namespace Tavrin;
using test::arrayOfValues;
using test::fullText;
using test::idsIn;
using test::make;
using test::Owned;

namespace {

using BindTest = test::LibraryTest;

// Every kind of field, and functions in place of one.
class Layer : public Bound<Layer>
{
public:
    explicit Layer(const char *className = "Layer", bool isDynamic = false)
        : Bound(className, isDynamic)
    {}

    String name = u"Background";
    int depth = 8;
    double opacity = 100;
    float weight = 1;
    unsigned char level = 3;
    std::int64_t serial = 1;
    bool isVisible = true;
    Variant note;
    Array tags;
    Point origin;
    Rect bounds;
    InterfacePtr<Layer> mask;
    std::optional<int> page;
    const int version = 2;
    int secret = 7;

    int getArea() const { return area; }
    void setArea(int given) { area = given; }
    std::u16string_view getTitle() const { return title; }
    Outcome<> setTitle(std::u16string_view given, Error *error)
    {
        if (given.empty() && error != nullptr)
            error->push(1, "a layer needs a title", nullptr, true);
        if (given.size() < 2)
            return Failed{41};
        title = given;
        return {};
    }
    Outcome<double> getRatio() const
    {
        if (area == 0)
            return Failed{23};
        return depth / static_cast<double>(area);
    }
    Layer *getParent() const { return parent; }
    void setParent(Layer *given) { parent = given; }

    static constexpr Member members[] = {
        {"name", property<&Layer::name>, "string\tThe name."},
        {"depth", property<&Layer::depth>, "int\tBits of a pixel."},
        {"opacity", property<&Layer::opacity>.between(0, 100), "number;0;100\tIn percent."},
        {"weight", property<&Layer::weight>},
        {"level", property<&Layer::level>},
        {"serial", property<&Layer::serial>},
        {"isVisible", property<&Layer::isVisible>},
        {"note", property<&Layer::note>},
        {"tags", property<&Layer::tags>},
        {"origin", property<&Layer::origin>},
        {"bounds", property<&Layer::bounds>},
        {"mask", property<&Layer::mask>, "Layer\tThe mask."},
        {"page", property<&Layer::page>},
        {"version", property<&Layer::version>},
        {"secret", readOnly<&Layer::secret>},
        {"area", property<&Layer::getArea, &Layer::setArea>.between(-5, 1000)},
        {"title", property<&Layer::getTitle, &Layer::setTitle>, "string\tThe title."},
        {"ratio", property<&Layer::getRatio>},
        {"parent", property<&Layer::getParent, &Layer::setParent>},
        {"hidden", property<&Layer::secret>, nullptr, 0, kPropertyUnlisted},
    };

    int area = 4;
    String title = u"Title";
    Layer *parent = nullptr;
};

double factorOf(const Layer &layer, double by)
{
    return layer.opacity * by;
}
void reset(Layer &layer) noexcept
{
    layer.depth = 0;
}

// Methods of all shapes.
class Tool : public Bound<Tool, Layer>
{
public:
    Tool() : Bound("Tool") {}

    void clear() { depth = 0; }
    int add(int first, int second) const { return first + second; }
    String repeat(const String &text, unsigned count) const noexcept
    {
        String all;
        for (; count > 0; --count)
            all += text;
        return all;
    }
    String greet(String who, std::u16string_view how, bool isLoud)
    {
        who = String(how) + " " + who;
        return isLoud ? who + "!" : who;
    }
    double sum(const BasicArray &all) const
    {
        double total = 0;
        for (unsigned at = 0; at < all.length(); ++at)
            total += all[at].getDouble();
        return total;
    }
    Outcome<String> open(std::u16string_view path, const BasicArray &all, Error *error)
    {
        if (path == u"none")
            return Failed{48};
        if (path == u"quiet")
            return Failed{0};
        if (path == u"worded" && error != nullptr)
            error->push(48, "the file is gone", nullptr, false);
        if (path == u"worded")
            return Failed{48};
        return String(path) + String(Variant(static_cast<int>(all.length())).getString());
    }
    Outcome<> save(std::optional<String> path)
    {
        if (!path)
            return Failed{50};
        name = *path;
        return {};
    }
    std::optional<int> find(std::optional<int> what) { return what; }
    int countTags(const Array &of) const { return static_cast<int>(of.length()); }
    Variant same(const Variant &value) const { return value; }
    const char *kind() { return "tool"; }
    void join(Layer &other, InterfacePtr<Layer> third)
    {
        other.depth = 99;
        mask = std::move(third);
    }
    String nameOf(const Layer *layer) const { return layer != nullptr ? layer->name : u"nobody"; }
    InterfacePtr<Layer> makeLayer() { return make<Layer>(); }
    Tool &self() { return *this; }
    LiveObject *nothing() { return nullptr; }
    int half(int by) { return depth / by; }
    void fail(std::u16string_view how)
    {
        if (how == u"memory")
            throw std::bad_alloc();
        if (how == u"number")
            throw 5;
        throw std::runtime_error("no paper");
    }
    int getThrow() const { throw std::runtime_error("no paper"); }
    void setThrow(int) { throw std::bad_alloc(); }
    int plus(const Variant &other, bool isRight)
    {
        return isRight ? -depth : depth + other.getInteger();
    }
    Variant layerAt(std::optional<unsigned> index)
    {
        return index ? Variant(*index) : Variant(tags);
    }

    static constexpr Member members[] = {
        {"clear", method<&Tool::clear>},
        {"add", method<&Tool::add>, "int\tAdds.,first:int\tOne.,second:int\tAnother."},
        {"repeat", method<&Tool::repeat>.defaults(2)},
        {"greet", method<&Tool::greet>.defaults(u"world", u"Hello", true)},
        {"sum", method<&Tool::sum>},
        {"open", method<&Tool::open>, "string\tOpens.,path:string\tWhere."},
        {"save", method<&Tool::save>},
        {"find", method<&Tool::find>},
        {"countTags", method<&Tool::countTags>},
        {"same", method<&Tool::same>},
        {"kind", method<&Tool::kind>},
        {"join", method<&Tool::join>, "undefined\tJoins.,other:Layer,third:Layer"},
        {"nameOf", method<&Tool::nameOf>, "string\tIts name.,layer:Layer"},
        {"makeLayer", method<&Tool::makeLayer>},
        {"self", method<&Tool::self>},
        {"nothing", method<&Tool::nothing>},
        {"half", method<&Tool::half>.defaults(2)},
        {"fail", method<&Tool::fail>},
        {"throws", property<&Tool::getThrow, &Tool::setThrow>},
        {"+", method<&Tool::plus>, nullptr, operatorID("+")},
        {"layers", property<&Layer::tags> | method<&Tool::layerAt>},
        {"only", readOnly<&Layer::tags> | method<&Tool::layerAt>},
        {"factor", method<&factorOf>, "number,by:number"},
        {"reset", method<&::reset>, nullptr, fourCharCode("rset")},
        {"depth", readOnly<&Tool::depth>},
    };
};

// A class that scripts construct, with a default for its second argument.
class Brush : public Bound<Brush>
{
public:
    Brush() : Bound("Brush", true) {}

    Outcome<> start(std::u16string_view givenName, int givenSize)
    {
        if (givenSize > 100)
            return Failed{41};
        name = givenName;
        size = givenSize;
        return {};
    }

    String name = u"round";
    int size = 1;
    int uses = 0;

    static constexpr Member members[] = {
        {"", method<&Brush::start>.defaults(5), "Brush\tMakes a brush.,name:string,size:int"},
        {"name", property<&Brush::name>},
        {"size", property<&Brush::size>},
        {"uses", readOnly<&Brush::uses>},
    };
};

class Pages : public Bound<Pages, LiveArray>
{
public:
    Pages() : Bound("Pages", 0, false) {}

    int turned = 0;

    static constexpr Member members[] = {{"turned", property<&Pages::turned>}};
};

class Gauge : public Bound<Gauge>
{
public:
    Gauge() : Bound("Gauge") {}
    double value = 0;
    static constexpr Member members[] = {{"value", property<&Gauge::value>}};
};

class Sheet : public Bound<Sheet>
{
public:
    explicit Sheet(int given) : Bound("Sheet"), size(given) {}
    int size;
    static constexpr Member members[] = {{"size", property<&Sheet::size>}};
};

// What an operation has answered: the result, or the texts of the error.
std::string told(int code, const Variant &out, const Error &error)
{
    if (code == 0)
        return test::described(out);
    EXPECT_FALSE(out.isDefined());
    EXPECT_EQ(error.getCode(), code);
    return test::bytesOf(fullText(error));
}
std::string read(const LiveObject &object, const char *name)
{
    Variant out = "before";
    Error error;
    const int code = object.get(name, out, &error);
    return told(code, out, error);
}
std::string write(LiveObject &object, const char *name, const Variant &value)
{
    Error error;
    const int code = object.put(name, value, LiveObject::onlyKnown, &error);
    return told(code, Variant(), error);
}
template <class... Values>
std::string tell(LiveObject &object, const char *name, const Values &...values)
{
    Variant result = "before";
    Error error;
    const int code = object.call(name, arrayOfValues(values...), result, &error);
    return told(code, result, error);
}

const char *const done = "undefined";

} // namespace

TEST_F(BindTest, FieldsAndFunctionsAreProperties)
{
    const auto layer = make<Layer>();
    struct Row
    {
        const char *name;
        const char *before;
        Variant value;
        const char *after;
    };
    const Row rows[] = {
        {"name", "string Background", "Ink", "string Ink"},
        {"depth", "number 8", -16, "number -16"},
        {"opacity", "number 100", 12.5, "number 12.5"},
        {"weight", "number 1", 0.25, "number 0.25"},
        {"level", "number 3", 255, "number 255"},
        {"serial", "number 1", -9007199254740992.0, "number -9007199254740992"},
        {"isVisible", "boolean true", false, "boolean false"},
        {"note", "undefined", "any", "string any"},
        {"tags", "array []", arrayOfValues(1, 2), "array [1,2]"},
        {"origin", "point 0:0", Point(1, 2), "point 1:2"},
        {"bounds", "rect 0:0-0:0", Rect(1, 2, 3, 4), "rect 1:2-3:4"},
        {"mask", "null", Variant(layer.get()), "live object [object Layer]"},
        {"page", "undefined", 5, "number 5"},
        {"area", "number 4", -5, "number -5"},
        {"title", "string Title", "New", "string New"},
        {"parent", "null", Variant(layer.get()), "live object [object Layer]"},
        {"hidden", "number 7", 8, "number 8"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read(*layer, row.name), row.before);
        EXPECT_EQ(write(*layer, row.name, row.value), done);
        EXPECT_EQ(read(*layer, row.name), row.after);
    }
    EXPECT_EQ(write(*layer, "mask", Variant(static_cast<LiveObject *>(nullptr))), done);
    EXPECT_FALSE(layer->mask);
    EXPECT_EQ(write(*layer, "page", Variant()), done);
    EXPECT_FALSE(layer->page);
}

// D-350
TEST_F(BindTest, ValuesOfOtherKindsAreRefused)
{
    const auto layer = make<Layer>();
    const Variant live(layer.get());
    const auto brush = make<Brush>();
    const String longText("0123456789012345678901234567890123456789x");
    struct Row
    {
        const char *name;
        Variant value;
        const char *text;
    };
    const Row rows[] = {
        {"name", 5, "Data type mismatch: name = 5. Expected: string"},
        {"name", true, "Data type mismatch: name = true. Expected: string"},
        {"depth", "12", "Data type mismatch: depth = \"12\". Expected: integer"},
        {"depth", 1.5, "Data type mismatch: depth = 1.5. Expected: integer"},
        {"depth", NAN, "Data type mismatch: depth = NaN. Expected: integer"},
        {"depth", Variant(), "Data type mismatch: depth = undefined. Expected: integer"},
        {"depth", 2147483648.0,
         "depth = 2147483648 is out of range. Expected: integer -2147483648..2147483647"},
        {"depth", std::numeric_limits<double>::infinity(),
         "depth = Infinity is out of range. Expected: integer -2147483648..2147483647"},
        {"level", 256, "level = 256 is out of range. Expected: integer 0..255"},
        {"level", -1, "level = -1 is out of range. Expected: integer 0..255"},
        {"serial", 9007199254740994.0,
         "serial = 9007199254740994 is out of range. Expected: integer "
         "-9007199254740992..9007199254740992"},
        {"weight", 1e39,
         "weight = 1e+39 is out of range. Expected: number "
         "-3.40282346638529e+38..3.40282346638529e+38"},
        {"opacity", "red", "Data type mismatch: opacity = \"red\". Expected: number 0..100"},
        {"opacity", 100.5, "opacity = 100.5 is out of range. Expected: number 0..100"},
        {"opacity", NAN, "opacity = NaN is out of range. Expected: number 0..100"},
        {"isVisible", 1, "Data type mismatch: isVisible = 1. Expected: boolean"},
        {"tags", "x", "Data type mismatch: tags = \"x\". Expected: array"},
        {"tags", live, "Data type mismatch: tags = [object Layer]. Expected: array"},
        {"origin", arrayOfValues(1), "Data type mismatch: origin = array. Expected: point"},
        {"bounds", Point(1, 2), "Data type mismatch: bounds = 1:2. Expected: rect"},
        {"mask", Variant(brush.get()),
         "Data type mismatch: mask = [object Brush]. Expected: Layer or null"},
        {"mask", longText,
         "Data type mismatch: mask = \"0123456789012345678901234567890123456789...\". "
         "Expected: Layer or null"},
        {"page", "x", "Data type mismatch: page = \"x\". Expected: integer"},
        {"area", -6, "area = -6 is out of range. Expected: integer -5..1000"},
        {"area", false, "Data type mismatch: area = false. Expected: integer -5..1000"},
        {"parent", 1, "Data type mismatch: parent = 1. Expected: object or null"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const std::string before = read(*layer, row.name);
        EXPECT_EQ(write(*layer, row.name, row.value), row.text);
        EXPECT_EQ(read(*layer, row.name), before);
    }
}

TEST_F(BindTest, ANumberWithoutLimitsTakesAllNumbers)
{
    const auto gauge = make<Gauge>();
    EXPECT_EQ(write(*gauge, "value", NAN), done);
    EXPECT_EQ(read(*gauge, "value"), "number NaN");
    EXPECT_EQ(write(*gauge, "value", std::numeric_limits<double>::infinity()), done);
    EXPECT_EQ(read(*gauge, "value"), "number Infinity");
    EXPECT_EQ(write(*gauge, "value", -0.0), done);
}

TEST_F(BindTest, ConstantsAndReadOnlyFieldsAreNotWritten)
{
    const auto layer = make<Layer>();
    for (const char *name : {"version", "secret", "ratio"}) {
        const std::string before = read(*layer, name);
        EXPECT_EQ(write(*layer, name, 9), std::string(name) + " is read only");
        EXPECT_EQ(read(*layer, name), before);
    }
    Error error;
    EXPECT_EQ(layer->put(Layer::idOf("secret"), 9, &error), 46);
    EXPECT_EQ(fullText(error), "secret is read only");
    EXPECT_EQ(layer->put(Layer::idOf("secret"), 9, nullptr), 46);
}

TEST_F(BindTest, FunctionsOfPropertiesAnswerCodes)
{
    const auto layer = make<Layer>();
    EXPECT_EQ(write(*layer, "title", "x"), "title = \"x\" is out of range");
    EXPECT_EQ(layer->put(Layer::idOf("title"), "x", nullptr), 41);
    Error error;
    EXPECT_EQ(layer->put(Layer::idOf("title"), "", &error), 41);
    EXPECT_EQ(fullText(error), "a layer needs a title") << "whoever speaks first";
    EXPECT_EQ(read(*layer, "title"), "string Title");
    layer->area = 0;
    EXPECT_EQ(read(*layer, "ratio"), "ratio does not have a value");
    layer->area = 16;
    EXPECT_EQ(read(*layer, "ratio"), "number 0.5");
}

TEST_F(BindTest, FunctionsAreMethods)
{
    const auto tool = make<Tool>();
    const auto layer = make<Layer>();
    EXPECT_EQ(tell(*tool, "clear"), done);
    EXPECT_EQ(tool->depth, 0);
    EXPECT_EQ(tell(*tool, "add", 1, 2), "number 3");
    EXPECT_EQ(tell(*tool, "add", 1, 2, "more"), "number 3");
    EXPECT_EQ(tell(*tool, "countTags", arrayOfValues(1, 2, 3)), "number 3");
    EXPECT_EQ(tell(*tool, "same", "text"), "string text");
    EXPECT_EQ(tell(*tool, "same"), "undefined");
    EXPECT_EQ(tell(*tool, "kind"), "string tool");
    EXPECT_EQ(tell(*tool, "factor", 0.5), "number 50");
    tool->depth = 3;
    EXPECT_EQ(tell(*tool, "reset"), done);
    EXPECT_EQ(tool->depth, 0);
    EXPECT_EQ(tell(*tool, "self"), "live object [object Tool]");
    EXPECT_EQ(tell(*tool, "nothing"), "null");
    EXPECT_EQ(tell(*tool, "makeLayer"), "live object [object Layer]");
    EXPECT_EQ(tell(*tool, "join", Variant(layer.get()), Variant(tool.get())), done);
    EXPECT_EQ(layer->depth, 99);
    EXPECT_EQ(tool->mask.get(), tool.get());
    tool->mask.reset();
    EXPECT_EQ(tell(*tool, "nameOf", Variant(layer.get())), "string Background");
    EXPECT_EQ(tell(*tool, "nameOf", Variant(static_cast<LiveObject *>(nullptr))), "string nobody");
}

// D-351
TEST_F(BindTest, ArgumentsThatAreLeftOutHaveDefaults)
{
    const auto tool = make<Tool>();
    EXPECT_EQ(tell(*tool, "repeat", "ab"), "string abab");
    EXPECT_EQ(tell(*tool, "repeat", "ab", 3), "string ababab");
    EXPECT_EQ(tell(*tool, "repeat", "ab", Variant()), "string abab");
    EXPECT_EQ(tell(*tool, "greet"), "string Hello world!");
    EXPECT_EQ(tell(*tool, "greet", "you"), "string Hello you!");
    EXPECT_EQ(tell(*tool, "greet", "you", "Hi"), "string Hi you!");
    EXPECT_EQ(tell(*tool, "greet", "you", "Hi", false), "string Hi you");
    tool->depth = 9;
    EXPECT_EQ(tell(*tool, "half"), "number 4");
    EXPECT_EQ(tell(*tool, "find"), "undefined");
    EXPECT_EQ(tell(*tool, "find", 5), "number 5");
    EXPECT_EQ(tell(*tool, "find", "x"), "Bad argument find(arg1 = \"x\"). Expected: integer");
    EXPECT_EQ(tell(*tool, "save", "file"), done);
    EXPECT_EQ(tool->name, "file");
    EXPECT_EQ(tell(*tool, "save"), "I/O device is not open");
}

TEST_F(BindTest, ArgumentsAreChecked)
{
    const auto tool = make<Tool>();
    EXPECT_EQ(tell(*tool, "add"), "Bad argument list: add(first = undefined). Expected: integer");
    EXPECT_EQ(tell(*tool, "add", 1),
              "Bad argument list: add(second = undefined). Expected: integer");
    EXPECT_EQ(tell(*tool, "add", 1, "x"), "Bad argument add(second = \"x\"). Expected: integer");
    EXPECT_EQ(tell(*tool, "add", "y", "x"), "Bad argument add(first = \"y\"). Expected: integer");
    EXPECT_EQ(tell(*tool, "add", 1, 1e10), "add(second = 10000000000) is out of range. "
                                           "Expected: integer -2147483648..2147483647");
    EXPECT_EQ(tell(*tool, "repeat", 5), "Bad argument repeat(arg1 = 5). Expected: string");
    EXPECT_EQ(tell(*tool, "repeat"),
              "Bad argument list: repeat(arg1 = undefined). Expected: string");
    EXPECT_EQ(tell(*tool, "join", 5), "Bad argument join(other = 5). Expected: Layer");
    EXPECT_EQ(tell(*tool, "join"), "Bad argument list: join(other = undefined). Expected: Layer");
    EXPECT_EQ(tell(*tool, "join", Variant(tool.get()), 5),
              "Bad argument join(third = 5). Expected: Layer or null");
    Variant result;
    EXPECT_EQ(tool->call("add", arrayOfValues(1), result, nullptr), 20);
}

TEST_F(BindTest, AFunctionMayTakeAllArgumentsAndTheError)
{
    const auto tool = make<Tool>();
    EXPECT_EQ(tell(*tool, "sum"), "number 0");
    EXPECT_EQ(tell(*tool, "sum", 1, 2, 3), "number 6");
    EXPECT_EQ(tell(*tool, "open", "a", 1), "string a2");
    EXPECT_EQ(tell(*tool, "open", "none"), "File or folder does not exist");
    EXPECT_EQ(tell(*tool, "open", "quiet"), "undefined");
    EXPECT_EQ(tell(*tool, "open", "worded"), "the file is gone");
}

TEST_F(BindTest, PropertiesMayBeCalled)
{
    const auto tool = make<Tool>();
    for (const char *name : {"layers", "only"}) {
        EXPECT_EQ(tell(*tool, name), "array []");
        EXPECT_EQ(tell(*tool, name, 3), "number 3");
        EXPECT_EQ(read(*tool, name), "array []");
    }
    EXPECT_EQ(tool->getType(Tool::idOf("layers")), kInfoReadWriteMethod);
    EXPECT_EQ(tool->getType(Tool::idOf("only")), kInfoReadOnlyMethod);
    EXPECT_EQ(write(*tool, "layers", arrayOfValues(7)), done);
    EXPECT_EQ(read(*tool, "only"), "array [7]");
}

TEST_F(BindTest, WhatARowCannotDoIsAnsweredByTheBase)
{
    const auto tool = make<Tool>();
    Variant out = "before";
    Error error;
    EXPECT_EQ(tool->get(Tool::idOf("add"), out, &error), 2);
    EXPECT_EQ(fullText(error), "add is undefined");
    error.erase();
    EXPECT_EQ(tool->put(Tool::idOf("add"), 5, &error), 2);
    EXPECT_EQ(fullText(error), "add is undefined");
    error.erase();
    EXPECT_EQ(tool->call(Tool::idOf("throws"), Array(), out, &error), 24);
    EXPECT_EQ(fullText(error), "throws is not a function");
    error.erase();
    EXPECT_EQ(tool->get(12345, out, &error), 2);
    EXPECT_EQ(tool->get(0, out, nullptr), 2);
    EXPECT_EQ(tool->get(-1, out, nullptr), 2);
}

TEST_F(BindTest, RowsAreATable)
{
    const auto layer = make<Layer>();
    EXPECT_EQ(Layer::idOf("name"), 1);
    EXPECT_EQ(Layer::idOf("hidden"), 20);
    static_assert(Layer::idOf("depth") == 2);
    EXPECT_THROW(Layer::idOf("nobody"), const char *);
    SimpleArray ids;
    ASSERT_EQ(layer->enumerate(ids, kDefaultLanguage | kListReadOnly), 0);
    EXPECT_EQ(idsIn(ids), (std::vector<int>{14, 15, 18}));
    ids.erase();
    layer->enumerate(ids, kDefaultLanguage | kListReadWrite | kListReadOnly | kListMethods);
    EXPECT_EQ(ids.length(), 19) << "all but the unlisted one";
    String name;
    EXPECT_EQ(layer->getNameForID(16, name, kDefaultLanguage), 0);
    EXPECT_EQ(name, "area");
    EXPECT_EQ(layer->getType(14), kInfoReadOnly);
    EXPECT_EQ(layer->getType(16), kInfoReadWrite);
    EXPECT_FALSE(layer->hasOperators());
    const auto info = InterfacePtr<const ServiceInfo>::adopt(
        layer->getPropertyManager()->getServiceInfo(Layer::idOf("opacity"), kDefaultLanguage));
    info->getDescription(false, name);
    EXPECT_EQ(name, "In percent.");
}

TEST_F(BindTest, ADerivedClassHasTheRowsOfBoth)
{
    const auto tool = make<Tool>();
    EXPECT_EQ(Tool::idOf("clear"), 21);
    EXPECT_EQ(Layer::idOf("depth"), 2);
    EXPECT_EQ(read(*tool, "name"), "string Background");
    EXPECT_EQ(write(*tool, "name", "x"), done);
    EXPECT_EQ(tool->name, "x");
    EXPECT_EQ(write(*tool, "name", 5), "Data type mismatch: name = 5. Expected: string");
    EXPECT_EQ(write(*tool, "depth", 5), "depth is read only") << "the name is that of the tool";
    EXPECT_EQ(tool->put(Layer::idOf("depth"), 5, nullptr), 0) << "the id is that of the layer";
    EXPECT_EQ(read(*tool, "depth"), "number 5");
    SimpleArray ids;
    tool->enumerate(ids, kDefaultLanguage | kListReadWrite | kListReadOnly | kListMethods);
    EXPECT_EQ(ids.length(), 25 + 19);
}

TEST_F(BindTest, RowsMayHaveIdsOfTheirOwn)
{
    const auto tool = make<Tool>();
    EXPECT_EQ(Tool::idOf("reset"), fourCharCode("rset"));
    tool->depth = 5;
    EXPECT_EQ(tool->call(fourCharCode("rset")), 0);
    EXPECT_EQ(tool->depth, 0);
    EXPECT_EQ(tool->call(Tool::idOf("depth") - 1), 24) << "the place of the row is no id";
    String name;
    EXPECT_EQ(tool->getNameForID(fourCharCode("rset"), name, kDefaultLanguage), 0);
    EXPECT_EQ(name, "reset");
}

TEST_F(BindTest, OperatorsAreRowsWithTheirIds)
{
    const auto tool = make<Tool>();
    EXPECT_TRUE(tool->hasOperators());
    static_assert(operatorID("+") == 0x1FF10107);
    static_assert(operatorID("~") == 0x1FF10100 && operatorID("===") == 0x1FF10114);
    tool->depth = 5;
    Variant result;
    EXPECT_EQ(tool->call(operatorID("+"), arrayOfValues(2, false), result, nullptr), 0);
    EXPECT_EQ(result, Variant(7));
    EXPECT_EQ(tool->call(operatorID("+"), arrayOfValues(2, true), result, nullptr), 0);
    EXPECT_EQ(result, Variant(-5));
    EXPECT_EQ(tool->call(operatorID("-"), arrayOfValues(2, true), result, nullptr), 24);
}

TEST_F(BindTest, MethodsApplyToOtherObjectsOfTheClass)
{
    const auto tool = make<Tool>();
    const auto other = make<Tool>();
    const auto brush = make<Brush>();
    tool->depth = other->depth = 8;
    Variant result;
    EXPECT_EQ(tool->apply(*other, Tool::idOf("clear"), Array(), result, nullptr), 0);
    EXPECT_EQ(tool->depth, 8);
    EXPECT_EQ(other->depth, 0);
    Error error;
    result = "before";
    EXPECT_EQ(tool->apply(*brush, Tool::idOf("clear"), Array(), result, &error), 26);
    EXPECT_FALSE(result.isDefined());
    EXPECT_EQ(fullText(error), "clear cannot work with instances of this class");
    EXPECT_EQ(tool->apply(*other, Tool::idOf("throws"), Array(), result, nullptr), 24);
    EXPECT_EQ(tool->apply(*other, Tool::idOf("half"), arrayOfValues("x"), result, nullptr), 19);
}

TEST_F(BindTest, AnInvalidObjectAnswersNothing)
{
    const auto tool = make<Tool>();
    tool->invalidate();
    EXPECT_EQ(read(*tool, "name"), "Object is invalid");
    Variant result;
    Error error;
    EXPECT_EQ(tool->get(Layer::idOf("name"), result, &error), 45);
    EXPECT_EQ(tool->put(Layer::idOf("name"), "x", nullptr), 45);
    EXPECT_EQ(tool->call(Tool::idOf("clear"), Array(), result, nullptr), 45);
    EXPECT_EQ(tool->apply(*tool, Tool::idOf("clear"), Array(), result, nullptr), 45);
    EXPECT_EQ(tool->call(constructorID), 45);
    LiveObject *copy = nullptr;
    EXPECT_EQ(tool->clone(&copy, true), 45);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(tool->name, "Background");
    tool->revalidate();
    EXPECT_EQ(read(*tool, "name"), "string Background");
}

TEST_F(BindTest, NoExceptionGetsOut)
{
    const auto tool = make<Tool>();
    EXPECT_EQ(tell(*tool, "fail", "paper"), "Uncaught exception no paper");
    EXPECT_EQ(tell(*tool, "fail", "memory"), "Out of memory");
    EXPECT_EQ(tell(*tool, "fail", "number"), "Uncaught exception ");
    EXPECT_EQ(read(*tool, "throws"), "Uncaught exception no paper");
    EXPECT_EQ(write(*tool, "throws", 1), "Out of memory");
    Variant result;
    EXPECT_EQ(tool->call(Tool::idOf("fail"), arrayOfValues("paper"), result, nullptr), -29);
    EXPECT_EQ(tool->get(Tool::idOf("throws"), result, nullptr), -29);
    EXPECT_EQ(tool->put(Tool::idOf("throws"), 1, nullptr), -28);
}

TEST_F(BindTest, ScriptsConstructTheClass)
{
    constexpr int everyScript = 1;
    ASSERT_EQ(Brush::addFactory(everyScript), 0);
    LiveObject *made = nullptr;
    ASSERT_EQ(LiveObject::create(&made, "Brush", everyScript), 0);
    const auto brush = Owned<LiveObject>::adopt(made);
    EXPECT_NE(dynamic_cast<Brush *>(made), nullptr);
    Error error;
    EXPECT_EQ(brush->initialize(arrayOfValues("flat"), &error), 0);
    EXPECT_EQ(read(*brush, "name"), "string flat");
    EXPECT_EQ(read(*brush, "size"), "number 5");
    EXPECT_EQ(brush->initialize(arrayOfValues("flat", 50), &error), 0);
    EXPECT_EQ(brush->initialize(arrayOfValues(7), &error), 19);
    EXPECT_EQ(fullText(error), "Bad argument Brush(name = 7). Expected: string");
    error.erase();
    EXPECT_EQ(brush->initialize(arrayOfValues("flat", 101), &error), 41);
    EXPECT_EQ(fullText(error), "{LiveObject(\"Brush\").property(0x1ff00000)} is out of range");
    const auto info = InterfacePtr<const ServiceInfo>::adopt(
        brush->getPropertyManager()->getConstructor(kDefaultLanguage));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->getParamCount(), 2);
    LiveObject::removeFactory("Brush");
    EXPECT_EQ(make<Tool>()->initialize(Array(), nullptr), 0) << "without such a row";
}

TEST_F(BindTest, AConstructorIsNoMemberToScripts)
{
    const auto brush = make<Brush>();
    EXPECT_EQ(Brush::idOf(""), 1);
    Variant out;
    EXPECT_EQ(brush->get(Brush::idOf(""), out, nullptr), 2);
    EXPECT_EQ(brush->getType(Brush::idOf("")), kInfoNone);
    EXPECT_EQ(brush->call(constructorID, Array(), out, nullptr), 0);
    EXPECT_NE(dynamic_cast<Brush *>(out.getLiveObject()), nullptr);
}

// D-352
TEST_F(BindTest, ACloneHasThePropertiesThatCanBeWritten)
{
    const auto brush = make<Brush>();
    brush->name = "flat";
    brush->size = 12;
    brush->uses = 3;
    brush->put("extra", 5, kInfoReadWrite);
    LiveObject *made = nullptr;
    ASSERT_EQ(brush->clone(&made, true), 0);
    const auto copy = Owned<LiveObject>::adopt(made);
    EXPECT_EQ(read(*copy, "name"), "string flat");
    EXPECT_EQ(read(*copy, "size"), "number 12");
    EXPECT_EQ(read(*copy, "uses"), "number 0");
    EXPECT_EQ(read(*copy, "extra"), "number 5");

    const auto tool = make<Tool>();
    tool->name = "x";
    EXPECT_EQ(tool->clone(&made, false), -29) << "a property of it fails";
    EXPECT_EQ(made, nullptr);
}

TEST_F(BindTest, ACloneOfAClassWithoutADefaultConstructorIsAPlainObject)
{
    const auto sheet = make<Sheet>(5);
    LiveObject *made = nullptr;
    ASSERT_EQ(sheet->clone(&made, true), 0);
    EXPECT_EQ(made->getClassName(), "Sheet");
    EXPECT_EQ(read(*made, "size"), "size is undefined");
    made->release();
}

TEST_F(BindTest, ACollectionMayBeBound)
{
    const auto pages = make<Pages>();
    EXPECT_EQ(write(*pages, "turned", 3), done);
    EXPECT_EQ(read(*pages, "turned"), "number 3");
    EXPECT_EQ(write(*pages, "length", 2), done);
    EXPECT_EQ(read(*pages, "length"), "number 2");
    EXPECT_EQ(pages->putByIndex(1, 5, nullptr), 0);
}

TEST_F(BindTest, DynamicPropertiesAndComponentsGoOn)
{
    const auto layer = make<Layer>("Layer", true);
    layer->put("extra", 5, kInfoReadWrite);
    EXPECT_EQ(read(*layer, "extra"), "number 5");
    const auto ruler = make<test::Ruler>();
    layer->addComponent(*ruler);
    EXPECT_EQ(read(*layer, "unit"), "string mm");
    EXPECT_EQ(write(*layer, "unit", "cm"), done);
    EXPECT_EQ(tell(*layer, "measure", 1, 2), "number 2");
}

TEST_F(BindTest, AWriteIsAutostored)
{
    const auto owner = make<Layer>();
    const auto mask = make<Layer>();
    mask->setAutostore(owner.get(), Layer::idOf("note"));
    EXPECT_EQ(write(*mask, "depth", "x"), "Data type mismatch: depth = \"x\". Expected: integer");
    EXPECT_FALSE(owner->note.isDefined());
    EXPECT_EQ(write(*mask, "depth", 4), done);
    EXPECT_EQ(owner->note.getLiveObject(), mask.get());
    owner->note.erase();
}

TEST_F(BindTest, NothingIsAllocatedByACall)
{
    const auto tool = make<Tool>();
    tool->name = "a name";
    const Array numbers = arrayOfValues(1, 2);
    const Array text = arrayOfValues("worded");
    Variant out;
    Variant result;
    const Variant given("another name");
    const auto run = [&] {
        EXPECT_EQ(tool->get(Layer::idOf("name"), out, nullptr), 0);
        EXPECT_EQ(tool->get(Layer::idOf("opacity"), out, nullptr), 0);
        EXPECT_EQ(tool->put(Layer::idOf("name"), given, nullptr), 0);
        EXPECT_EQ(tool->put(Layer::idOf("opacity"), 5, nullptr), 0);
        EXPECT_EQ(tool->put(Layer::idOf("opacity"), given, nullptr), 47);
        EXPECT_EQ(tool->call(Tool::idOf("add"), numbers, result, nullptr), 0);
        EXPECT_EQ(tool->call(Tool::idOf("open"), text, result, nullptr), 48);
        EXPECT_EQ(tool->call(Tool::idOf("fail"), numbers, result, nullptr), 19);
    };
    run();
    Heap::setCacheSize(0);
    const auto before = test::TestAllocator::shared().allocations();
    run();
    EXPECT_EQ(test::TestAllocator::shared().allocations(), before);
}

TEST_F(BindTest, WithoutMemoryTheCodeIsLeft)
{
    const auto tool = make<Tool>();
    Heap::setCacheSize(0);
    Error error;
    test::TestAllocator::shared().failRequests(1, test::TestAllocator::forever);
    const int code = tool->put(Layer::idOf("opacity"), "x", &error);
    test::TestAllocator::shared().stopFailing();
    EXPECT_EQ(code, -28);
    EXPECT_EQ(error.getCode(), -28);
    EXPECT_EQ(tool->opacity, 100);
    tool->put(Layer::idOf("opacity"), 5, nullptr);
    EXPECT_EQ(tool->opacity, 5);
}
