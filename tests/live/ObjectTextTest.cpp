// SPDX-License-Identifier: MIT
// Objects as text: LiveObject::parse and parseNew, and the literals that Array::parse reads.
#include <tavrin/LiveObject.h>

#include <chrono>
#include <random>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "live/ObjectTextModel.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::fullText;
using test::make;
using test::Owned;
using test::Plain;

namespace {

using ObjectTextTest = test::LibraryTest;

constexpr int anyClass = -1;

// All pairs of an object as one text, in the order of their making: a=1;b=x;
String pairsOf(const LiveObject &object)
{
    SimpleArray ids;
    object.enumerate(ids, kListReadWrite | kDefaultLanguage);
    String all;
    for (const std::int64_t id : std::as_const(ids)) {
        String name;
        Variant value;
        object.getNameForID(static_cast<int>(id), name, kDefaultLanguage);
        object.get(static_cast<int>(id), value, nullptr);
        all += name + "=";
        if (const LiveObject *nested = value.getLiveObject())
            all += nested->getClassName() + "{" + pairsOf(*nested) + "}";
        else
            all += value.getString();
        all += ";";
    }
    return all;
}

// The pairs of the object that the text makes, or the message.
String parsed(const String &text)
{
    const auto object = make<Plain>();
    Error error;
    if (object->parse(text, error, anyClass) != 0)
        return fullText(error);
    EXPECT_EQ(error.getError(), nullptr);
    return pairsOf(*object);
}

Owned<LiveObject> newFrom(const String &text, int expectedCode = 0)
{
    auto *out = reinterpret_cast<LiveObject *>(1);
    EXPECT_EQ(LiveObject::parseNew(text, out, anyClass), expectedCode);
    return Owned<LiveObject>::adopt(out);
}

String elementsOf(const char *text, bool expected = true)
{
    Array array;
    EXPECT_EQ(array.parse(text, anyClass), expected);
    String all;
    array.toString(all);
    return all;
}

// Registers a class for the length of a test.
struct Registered
{
    explicit Registered(const char *className) : prototype(make<Plain>(className))
    {
        LiveObject::addFactory(*prototype, 1);
    }
    ~Registered() { LiveObject::removeFactory(prototype->getClassName()); }
    Owned<Plain> prototype;
};

String repeated(const char *piece, int count)
{
    String text;
    for (int number = 0; number < count; ++number)
        text += piece;
    return text;
}

} // namespace

// --- What is read --------------------------------------------------------------------------------

TEST_F(ObjectTextTest, ReadsPairs)
{
    struct Row
    {
        const char *text;
        const char *pairs;
    };
    const Row rows[] = {
        {"{a:1,b:'x'}", "a=1;b=x;"},
        {"a:1,b:'x'", "a=1;b=x;"},
        {"{}", ""},
        {" { } ", ""},
        {"\r\n\t{ a : 1 , b : 2 }\n", "a=1;b=2;"},
        {"{\"a b\":1,'c:d':2}", "a b=1;c:d=2;"},
        {"{_a$1:1}", "_a$1=1;"},
        {"{a:\"x\\ty\"}", "a=x\ty;"},
        {"{a:null,b:true,c:false}", "a=null;b=true;c=false;"},
        {"{a:-1.5e3,b:0x10,c:+7}", "a=-1500;b=16;c=7;"},
        {"{a:word}", "a=NaN;"},
        {"{a:two words }", "a=NaN;"},
        {"{a: 12 }", "a=12;"},
        {"{a:,b:1}", "a=0;b=1;"},
        {"{a:1,a:2}", "a=2;"},
        {"{a:[1,'two',[true,null]]}", "a=[1,two,[true,null]];"},
        {"{a:[]}", "a=[];"},
        {"{a:[ ],b:[ [ ] ]}", "a=[];b=[[]];"},
        {"{a:{b:1}}", "a=Object{b=1;};"},
        {"{a:Object{b:1},c:2}", "a=Object{b=1;};c=2;"},
        {"{a:Object {b:{c:{}}}}", "a=Object{b=Object{c=Object{};};};"},
        {"{a:'x' b:'y'}", "a=x;b=y;"},
        {"{a:'x''b':2}", "a=x;b=2;"},
        {"{a:[1]b:{c:2}d:3}", "a=[1];b=Object{c=2;};d=3;"},
        {"{a:1 b:2}", "a=NaN;"},
        {"{a:['x' 'y']}", "a=[x,y];"},
        {"{a:1,}", "a=1;"},
        {"a:1,", "a=1;"},
        {"{a:[1,]}", "a=[1];"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parsed(row.text), row.pairs);
    }
}

TEST_F(ObjectTextTest, ReadsNumbersAsNumbersAndStringsAsStrings)
{
    const auto object = make<Plain>();
    ASSERT_EQ(object->parse("{a:12,b:'12',c:x,d:{}}", anyClass), 0);
    Variant out;
    object->get("a", out);
    EXPECT_EQ(out.getType(), kNumber);
    object->get("b", out);
    EXPECT_EQ(out.getType(), kString);
    object->get("c", out);
    EXPECT_TRUE(out.isNaN());
    object->get("d", out);
    EXPECT_EQ(out.getType(), kLiveObject);
}

TEST_F(ObjectTextTest, PutsKnownNamesAndMakesUnknownOnes)
{
    const auto document = make<Document>();
    EXPECT_EQ(document->parse("{size:7,colour:'red'}", anyClass), 0);
    EXPECT_EQ(document->size, 7);
    int id;
    InfoType type;
    EXPECT_EQ(document->getIDForName("colour", id, type, kDefaultLanguage), 0);
    EXPECT_EQ(document->findProperty(id)->getFlags(), static_cast<unsigned>(kInfoReadWrite));
}

TEST_F(ObjectTextTest, MakesObjectsOfRegisteredClasses)
{
    const Registered page("Page");
    page.prototype->put("size", 4, kInfoReadWrite);
    EXPECT_EQ(parsed("{a:Page{x:1}}"), "a=Page{size=4;x=1;};");
}

TEST_F(ObjectTextTest, AnObjectMakesItsLocalObjectsItself)
{
    struct Book : Plain
    {
        using Plain::Plain;
        int createLocal(LiveObject **out, const String &wanted, int flags) override
        {
            EXPECT_EQ(flags, 5);
            if (wanted == "Refused") {
                *out = nullptr;
                return -28;
            }
            *out = new Book("Chapter");
            return 0;
        }
    };
    const auto book = make<Book>("Book");
    EXPECT_EQ(book->parse("{a:Any{b:{}},c:[{}]}", 5), 0);
    EXPECT_EQ(pairsOf(*book), "a=Chapter{b=Chapter{};};c=[[object Chapter]];");
    Error error;
    EXPECT_EQ(book->parse("{a:Refused{}}", error, 5), -28);
}

// --- Faults --------------------------------------------------------------------------------------

TEST_F(ObjectTextTest, NamesWhatIsWrong)
{
    struct Row
    {
        const char *text;
        int code;
        const char *message;
        int line, offset;
    };
    const Row rows[] = {
        {"", 8, "Syntax error", 1, 0},
        {"  \n ", 8, "Syntax error", 2, 4},
        {"{", 25, "Expected: }", 1, 1},
        {"{a:1", 25, "Expected: }", 1, 4},
        {"{a", 25, "Expected: :", 1, 2},
        {"a", 25, "Expected: :", 1, 1},
        {"{a 1}", 25, "Expected: :", 1, 3},
        {"{a:", 8, "Syntax error", 1, 3},
        {"{a:}", 8, "Syntax error", 1, 3},
        {"{a:]", 8, "Syntax error", 1, 3},
        {"{,}", 8, "Syntax error", 1, 1},
        {"{1:2}", 8, "Syntax error", 1, 1},
        {"123", 8, "Syntax error", 1, 0},
        {"}", 8, "Syntax error", 1, 0},
        {"{a:1}}", 8, "Syntax error", 1, 5},
        {"{a:1} b", 8, "Syntax error", 1, 6},
        {"a:1}", 25, "Expected: ,", 1, 3},
        {"{a:'x' 5}", 25, "Expected: ,", 1, 7},
        {"{a:'x", 8, "Syntax error", 1, 3},
        {"{\"a", 8, "Syntax error", 1, 1},
        {"{a:'it''s'}", 25, "Expected: :", 1, 10},
        {"{a:[1", 25, "Expected: ]", 1, 5},
        {"{a:[1,", 25, "Expected: ]", 1, 6},
        {"{a:[", 25, "Expected: ]", 1, 4},
        {"{a:[1}", 25, "Expected: ,", 1, 5},
        {"{a:[}]}", 8, "Syntax error", 1, 4},
        {"{a:\n\n{b:1\r\nc:2", 25, "Expected: }", 4, 14},
        {"{a:Sheet{}}", 21, "Sheet is not an object", 1, 9},
        {"{a:[Sheet {}]}", 21, "Sheet is not an object", 1, 11},
        {"Sheet{a:1}", 25, "Expected: :", 1, 5},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const auto object = make<Plain>();
        Error error;
        EXPECT_EQ(object->parse(row.text, error, anyClass), row.code);
        ASSERT_NE(error.getError(), nullptr);
        EXPECT_EQ(error.getCode(), row.code);
        EXPECT_EQ(fullText(error), row.message);
        EXPECT_EQ(error.getError()->getSource(), row.text);
        EXPECT_EQ(error.getError()->getLine(), row.line);
        EXPECT_EQ(error.getError()->getOffset(), row.offset);
        EXPECT_EQ(error.getError()->getColumn(), -1);
        EXPECT_EQ(error.getError()->getLength(), 0);
        EXPECT_EQ(object->parse(row.text, anyClass), row.code);
    }
}

TEST_F(ObjectTextTest, KeepsThePairsBeforeTheFault)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->parse("{a:1,b:[2,c:3}", anyClass), 25);
    EXPECT_EQ(pairsOf(*object), "a=1;");
}

TEST_F(ObjectTextTest, SaysWhatTheObjectRefuses)
{
    const auto document = make<Document>("Document", false);
    Error readOnly, unknown, range;
    EXPECT_EQ(document->parse("{title:'x'}", readOnly, anyClass), 2);
    EXPECT_EQ(fullText(readOnly), "title is undefined");
    EXPECT_EQ(document->parse("{colour:1}", unknown, anyClass), 55);
    EXPECT_EQ(fullText(unknown), "Object does not support the property or method 'colour'");
    EXPECT_EQ(document->parse("{size:5000}", range, anyClass), 41);
    EXPECT_EQ(fullText(range), "size is out of range");
    document->invalidate();
    Error invalid;
    EXPECT_EQ(document->parse("{size:1}", invalid, anyClass), 45);
    EXPECT_EQ(fullText(invalid), "Object is invalid");
}

TEST_F(ObjectTextTest, AHandlerThatThrowsGivesACode)
{
    const auto document = make<Document>();
    Error error;
    EXPECT_EQ(document->parse("{size:1,throws:2}", error, anyClass), -29);
    EXPECT_EQ(fullText(error), "Uncaught exception no paper");
    EXPECT_EQ(document->size, 1);
    EXPECT_EQ(document->parse("{exhausts:2}", anyClass), -28);
}

TEST_F(ObjectTextTest, AHandlerMayDropTheObject)
{
    struct Dropping : Plain
    {
        int put(int, const Variant &, Error *) override
        {
            if (!isDropped)
                release();
            isDropped = true;
            return 0;
        }
        using LiveObject::put;
        bool isDropped = false;
    };
    EXPECT_EQ((new Dropping)->parse("{a:1,b:2}", anyClass), 0);
    EXPECT_EQ(Plain::living, 0);
}

// Texts of random pieces, read by the plain rules.
TEST_F(ObjectTextTest, ReadsRandomTextsByTheRules)
{
    const char *const pieces[] = {"{",       "}",     "[",    "]",  ":",   ",",   "'x'",
                                  "\"y\"",   "'",     "a",    "b:", "c:1", " ",   "\n",
                                  "Object{", "Page{", "null", "12", "{d:", "[1,", "\\"};
    std::mt19937 random(1);
    for (int round = 0; round < 20'000; ++round) {
        String text;
        for (auto count = random() % 12; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        ASSERT_EQ(test::objectTextGap(text), "") << text;
    }
}

// --- Depth and length ----------------------------------------------------------------------------

// D-244
TEST_F(ObjectTextTest, ObjectsNestAThousandDeep)
{
    const auto nest = [](int depth) { return repeated("{a:", depth) + "1" + repeated("}", depth); };
    const auto object = make<Plain>();
    EXPECT_EQ(object->parse(nest(1000), anyClass), 0);
    Error error;
    EXPECT_EQ(object->parse(nest(1001), error, anyClass), 8);
    EXPECT_EQ(fullText(error), "Syntax error");
    EXPECT_EQ(error.getError()->getOffset(), 3001);
    EXPECT_EQ(object->parse(repeated("{a:", 1000), anyClass), 8);
    EXPECT_EQ(object->parse(repeated("{a:", 1'000'000), anyClass), 8);
    EXPECT_EQ(object->parse(nest(1'000'000), anyClass), 8);
    EXPECT_EQ(object->parse(repeated("{a:[", 1'000'000), anyClass), 8);
}

TEST_F(ObjectTextTest, TheDepthCountsWhatIsOpen)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->parse(String("{a:[") + repeated("{},", 3000) + "{}]}", anyClass), 0);
    EXPECT_EQ(newFrom(String("[") + repeated("{},", 3000) + "]", 22), nullptr);
}

TEST_F(ObjectTextTest, ArraysNestAHundredThousandDeep)
{
    const auto object = make<Plain>();
    EXPECT_EQ(object->parse(String("{a:") + repeated("[", 100'000) + repeated("]", 100'000) + "}",
                            anyClass),
              0);
    EXPECT_EQ(object->parse(String("{a:") + repeated("[", 100'000), anyClass), 25);
}

TEST_F(ObjectTextTest, TakesTimeInProportionToItsLength)
{
    const auto secondsFor = [](int count) {
        const String text = String("{a:[") + repeated("x       ,", count) + "1]}";
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(make<Plain>()->parse(text, anyClass), 0);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    secondsFor(1000);
    EXPECT_LT(secondsFor(40'000), secondsFor(4'000) * 100 + 0.05);
}

// --- New objects ---------------------------------------------------------------------------------

TEST_F(ObjectTextTest, MakesANewObject)
{
    const Registered page("Page");
    struct Row
    {
        const char *text;
        const char *className;
        const char *pairs;
    };
    const Row rows[] = {
        {"a:1,b:2", "Object", "a=1;b=2;"},   {"{a:1}", "Object", "a=1;"},
        {"Object{a:1}", "Object", "a=1;"},   {" Page { a:1 } ", "Page", "a=1;"},
        {"a:Page{}", "Object", "a=Page{};"}, {"{}", "Object", ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const auto object = newFrom(row.text);
        ASSERT_TRUE(object);
        EXPECT_EQ(object->getRefCount(), 1);
        EXPECT_EQ(object->getClassName(), row.className);
        EXPECT_EQ(object->getFlags() & 1, 1U);
        EXPECT_EQ(pairsOf(*object), row.pairs);
    }
}

TEST_F(ObjectTextTest, MakesNothingFromATextWithoutBraceAndColon)
{
    EXPECT_FALSE(newFrom(""));
    EXPECT_FALSE(newFrom("Page"));
    EXPECT_FALSE(newFrom("[1,2]"));
}

TEST_F(ObjectTextTest, MakesNothingFromATextWithAFault)
{
    EXPECT_FALSE(newFrom("Sheet{a:1}", 22));
    EXPECT_FALSE(newFrom("{a:Sheet{}}", 21));
    EXPECT_FALSE(newFrom("[{a:1}]", 22));
    EXPECT_FALSE(newFrom("{a:1", 25));
    EXPECT_FALSE(newFrom("a:1}", 25));
    EXPECT_FALSE(newFrom("a:{", 25));
    EXPECT_FALSE(newFrom(":", 8));
    EXPECT_FALSE(newFrom("{a:1} x", 8));
    EXPECT_FALSE(newFrom("5 {", 22));
}

TEST_F(ObjectTextTest, NeedsAClassWithAFlagInCommon)
{
    const Registered page("Page");
    LiveObject *out = nullptr;
    EXPECT_EQ(LiveObject::parseNew("Page{}", out, 2), 22);
    EXPECT_EQ(LiveObject::parseNew("Page{}", out, 1), 0);
    ASSERT_NE(out, nullptr);
    out->release();
}

// --- Literals of arrays --------------------------------------------------------------------------

TEST_F(ObjectTextTest, AnArrayReadsTheSameValues)
{
    const Registered page("Page");
    EXPECT_EQ(elementsOf("1,'two',[3]"), "1,two,[3]");
    EXPECT_EQ(elementsOf("{a:1},Page{},5"), "[object Object],[object Page],5");
    EXPECT_EQ(elementsOf("[{a:1}]"), "[[object Object]]");
    EXPECT_EQ(elementsOf("'a' 'b'"), "a,b");
    EXPECT_EQ(elementsOf("1,2,"), "1,2");
}

TEST_F(ObjectTextTest, AnArrayStopsAtAFaultAndKeepsTheElementsBefore)
{
    EXPECT_EQ(elementsOf("", false), "");
    EXPECT_EQ(elementsOf("]", false), "");
    EXPECT_EQ(elementsOf("}", false), "");
    EXPECT_EQ(elementsOf("1,]", false), "1");
    EXPECT_EQ(elementsOf("1,Sheet{}", false), "1");
    EXPECT_EQ(elementsOf("1,{a:", false), "1");
    EXPECT_EQ(elementsOf("1]", false), "1");
}
