// SPDX-License-Identifier: MIT
// The descriptions of services: how a text becomes types, names and texts.
#include <tavrin/Reflection.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/TextUnits.h"

using namespace Tavrin;
using test::bytesOf;
using test::underMemoryFailure;

namespace {

using TypeInfoTest = test::LibraryTest;

constexpr double infinity = std::numeric_limits<double>::infinity();

template <class Ask>
std::string textOf(Ask ask)
{
    String text("not touched");
    ask(text);
    return bytesOf(text);
}

// Everything that a description says about a parameter, or with -1 about the result.
struct Parsed
{
    explicit Parsed(const String &description, int index = -1)
    {
        TypeInfo *newSetter = this->setter.get();
        type.reset(TypeInfo::parse(description, index, &name, &shortText, &longText, &newSetter));
        setter.reset(newSetter);
    }

    int dataType() const { return type->getDataType(); }
    std::string word() const
    {
        return textOf([this](String &text) { type->getDataTypeAsString(text); });
    }
    std::string dataClass() const
    {
        return textOf([this](String &text) { type->getDataClass(text); });
    }
    std::string description() const
    {
        return textOf([this](String &text) { type->getDescription(text); });
    }
    // "name word short|long", and the word for writing.
    std::string inOneLine() const
    {
        std::string line =
            bytesOf(name) + ' ' + word() + ' ' + bytesOf(shortText) + '|' + bytesOf(longText);
        if (setter != nullptr)
            line += " /" + textOf([this](String &text) { setter->getDataTypeAsString(text); });
        return line;
    }
    // "min..max", and "" without a range.
    std::string range() const
    {
        double min = 5, max = 5;
        const bool hasRange = type->getValidRange(min, max);
        EXPECT_EQ(hasRange, min != -infinity || max != infinity);
        return hasRange ? bytesOf(Variant(min).toString()) + ".." + bytesOf(Variant(max).toString())
                        : "";
    }
    // The kind and the text of the default value; "" without one.
    std::string standard() const
    {
        Variant value("before");
        if (!type->getDefaultValue(value)) {
            EXPECT_FALSE(value.isDefined());
            return "";
        }
        return std::to_string(value.getType()) + ' ' + bytesOf(value.toString());
    }

    std::unique_ptr<SimpleTypeInfo> type;
    std::unique_ptr<TypeInfo> setter;
    String name{"before"};
    String shortText{"before"};
    String longText{"before"};
};

struct WordCase
{
    const char *word;
    int dataType;
    const char *dataClass;
    const char *asString;
};

TEST_F(TypeInfoTest, AWordGivesAType)
{
    constexpr WordCase cases[] = {
        {"undefined", 0, "", "undefined"},
        {"boolean", 2, "", "boolean"},
        {"bool", 2, "", "boolean"},
        {"number", 3, "", "number"},
        {"int", 3, "", "number"},
        {"uint", 3, "", "number"},
        {"string", 4, "", "string"},
        {"object", 5, "", "Object"},
        {"Object", 5, "", "Object"},
        {"any", 126, "", "any"},
        {"Foo", 5, "Foo", "Foo"},
        {"String", 5, "String", "String"},
        {"null", 5, "null", "null"},
        {"array", 5, "array", "array"},
        {"Any", 5, "Any", "Any"},
        {"strings", 5, "strings", "strings"},
        {"Foo.Bar 2", 5, "Foo.Bar 2", "Foo.Bar 2"},
        {"3d", 126, "", "any"},
        {"_Foo", 126, "", "any"},
        {"*", 126, "", "any"},
        {" string ", 4, "", "string"},
        {" Foo ", 5, "Foo", "Foo"},
        {" ", 126, "", "any"},
    };
    for (const WordCase &row : cases) {
        for (const int index : {-1, 0}) {
            // A parameter stands behind the result.
            const Parsed parsed(index < 0 ? String(row.word) : String("any,") + row.word, index);
            EXPECT_EQ(parsed.dataType(), row.dataType) << row.word;
            EXPECT_EQ(parsed.dataClass(), row.dataClass) << row.word;
            EXPECT_EQ(parsed.word(), row.asString) << row.word;
        }
    }
}

TEST_F(TypeInfoTest, ALetterIsOneOfAnyAlphabet)
{
    constexpr unsigned short omega[] = {0x3A9, 'x', 0};
    const Parsed parsed{String(omega)};
    EXPECT_EQ(parsed.dataType(), kObject);
    EXPECT_EQ(parsed.dataClass(), "\xA9x");
}

struct KindCase
{
    int kind;
    const char *word;
};

TEST_F(TypeInfoTest, EachKindOfValueHasAWord)
{
    constexpr KindCase cases[] = {
        {kUndefined, "undefined"},
        {kNull, "null"},
        {kBoolean, "boolean"},
        {kNumber, "number"},
        {kString, "string"},
        {kObject, "Object"},
        {kLiveObject, "Object"},
        {kPoint, "point"},
        {kRect, "rect"},
        {kArray, "array"},
        {kFileSpec, "filespec"},
        {kRegExp, "regexp"},
        {kUnitValue, "unitvalue"},
        {13, "any"},
        {125, "any"},
        {kAnyType, "any"},
        {kNoType, "any"},
        {0xFFFF, "any"},
    };
    for (const KindCase &row : cases)
        EXPECT_STREQ(TypeInfo::convertDataTypeToString(static_cast<VariantType>(row.kind)),
                     row.word);
}

struct SegmentCase
{
    const char *description;
    int index;
    const char *line;
};

TEST_F(TypeInfoTest, ADescriptionIsAListOfSegments)
{
    constexpr const char *convert = "bool\tConvert this instance to a different unit.,"
                                    "unitName:string\tThe unit name.";
    constexpr SegmentCase cases[] = {
        {convert, -1, " boolean Convert this instance to a different unit.|"},
        {convert, 0, "unitName string The unit name.|"},
        {convert, 1, "arg2 any |"},
        {"string\tThe unit name.", -1, " string The unit name.|"},
        {"string\tThe unit name.", 0, "arg1 any |"},
        {"\tWrites ...,data:number\tThe data to write.", -1, " any Writes ...|"},
        {"\tWrites ...,data:number\tThe data to write.", 0, "data number The data to write.|"},
        {"bool\tShort.\tLong.\tAlso.", -1, " boolean Short.|Long.\tAlso."},
        {"bool\t\tLong.", -1, " boolean |Long."},
        {"bool, number\t Blanks stay. ", 0, "arg1 number  Blanks stay. |"},
        {"bool, name : number ", 0, "name number |"},
        {"bool,number,a:string,,Foo", 0, "arg1 number |"},
        {"bool,number,a:string,,Foo", 1, "a string |"},
        {"bool,number,a:string,,Foo", 2, "arg3 any |"},
        {"bool,number,a:string,,Foo", 3, "arg4 Foo |"},
        {"bool,number,a:string,,Foo", 4, "arg5 any |"},
        {"bool,\tOnly a text.", 0, "arg1 any Only a text.|"},
        {"", -1, " any |"},
        {"", 0, "arg1 any |"},
        {",", 0, "arg1 any |"},
        {"bool", 2147483647, "arg2147483648 any |"},
        {"bool,number", -2, " boolean |"},
        {"bool,number", -2147483647 - 1, " boolean |"},
    };
    for (const SegmentCase &row : cases)
        EXPECT_EQ(Parsed(row.description, row.index).inOneLine(), row.line)
            << row.description << " at " << row.index;
}

TEST_F(TypeInfoTest, AFirstSegmentWithANameIsAParameter)
{
    constexpr SegmentCase cases[] = {
        {"x:number;0;100;50\tA percentage", -1, " any |"},
        {"x:number;0;100;50\tA percentage", 0, "x number A percentage|"},
        {"x:number;0;100;50\tA percentage", 1, "arg2 any |"},
        {"x:number,y:string\tText.,bool", 1, "y string Text.|"},
        {"x:number,y:string\tText.,bool", 2, "arg3 boolean |"},
        // At the front, a colon separates nothing.
        {":number,y:string", -1, " number |"},
        {":number,y:string", 0, "y string |"},
        {"bool\tA text: with a colon,y:string", 0, "y string |"},
        {"bool,a:b:c", 0, "a b:c |"},
    };
    for (const SegmentCase &row : cases)
        EXPECT_EQ(Parsed(row.description, row.index).inOneLine(), row.line)
            << row.description << " at " << row.index;
}

TEST_F(TypeInfoTest, NothingAndAnEmptyHeadAreDifferentTypes)
{
    EXPECT_EQ(Parsed("").dataType(), kNoType);
    EXPECT_EQ(Parsed(",bool").dataType(), kNoType);
    EXPECT_EQ(Parsed("bool", 0).dataType(), kNoType);
    EXPECT_EQ(Parsed("bool,", 0).dataType(), kNoType);
    EXPECT_EQ(Parsed("\tText.").dataType(), kAnyType);
    EXPECT_EQ(Parsed(";;;;1").dataType(), kAnyType);
    EXPECT_EQ(Parsed("x:number").dataType(), kAnyType);
    EXPECT_EQ(Parsed("bool,x:", 0).dataType(), kAnyType);
}

TEST_F(TypeInfoTest, AResultMayHaveTwoTypes)
{
    constexpr SegmentCase cases[] = {
        {"number/string\tText.", -1, " number Text.| /string"},
        {"/string", -1, " any | /string"},
        {"number/", -1, " number |"},
        {"number/Foo/Bar", -1, " number | /Foo/Bar"},
        {"number", -1, " number |"},
        {"number/string", -9, " number | /string"},
        {"bool,number/string", 0, "arg1 number/string |"},
        {"bool,x:number/string", 0, "x number/string |"},
        {"x:number/string", -1, " any |"},
    };
    for (const SegmentCase &row : cases)
        EXPECT_EQ(Parsed(row.description, row.index).inOneLine(), row.line)
            << row.description << " at " << row.index;
}

TEST_F(TypeInfoTest, BothTypesOfAResultHaveTheirOwnFields)
{
    const Parsed parsed("number;0;10/string;;;none;list\tText.");
    double min, max;
    EXPECT_EQ(parsed.range(), "0..10");
    EXPECT_FALSE(parsed.setter->getValidRange(min, max));
    EXPECT_FALSE(parsed.type->isCollection());
    EXPECT_TRUE(parsed.setter->isCollection());
    EXPECT_EQ(textOf([&](String &text) { parsed.setter->getDescription(text); }), "Text.");
    Variant standard;
    EXPECT_TRUE(parsed.setter->getDefaultValue(standard));
    EXPECT_EQ(standard.toString(), "none");
}

struct FieldCase
{
    const char *type;
    const char *range;
    const char *standard;
    bool isCollection;
};

TEST_F(TypeInfoTest, ATypeHasARangeADefaultAndACollectionMark)
{
    constexpr FieldCase cases[] = {
        {"number", "", "", false},
        {"number;0;100;50", "0..100", "3 50", false},
        {"number;0", "0..Infinity", "", false},
        {"number;;100", "-Infinity..100", "", false},
        {"number;-1.5;1e2", "-1.5..100", "", false},
        {"number;0x10;Infinity", "16..Infinity", "", false},
        {"number;zero;", "NaN..Infinity", "", false},
        {"number;;;;1", "", "", true},
        {"number;;;;;", "", "", true},
        {"number;;;;", "", "", false},
        {"number;;;; ", "", "", true},
        {"any;;;undefined", "", "0 ", false},
        {"any;;;null", "", "1 null", false},
        {"any;;;false", "", "2 false", false},
        {"any;;;true", "", "2 true", false},
        {"any;;;True", "", "4 True", false},
        {"any;;;0", "", "3 0", false},
        {"any;;;-7", "", "3 -7", false},
        {"any;;;+7", "", "3 7", false},
        {"any;;;9.5", "", "3 9.5", false},
        {"any;;;1 of 3", "", "3 NaN", false},
        {"any;;;-x", "", "3 NaN", false},
        {"any;;;.5", "", "4 .5", false},
        {"any;;; 5", "", "4  5", false},
        {"any;;;(none)", "", "4 (none)", false},
        {"any;;;some text", "", "4 some text", false},
        {"any;1;2;x;y", "1..2", "4 x", true},
    };
    for (const FieldCase &row : cases) {
        for (const int index : {-1, 0}) {
            const Parsed parsed(index < 0 ? String(row.type) : String("any,x:") + row.type, index);
            EXPECT_EQ(parsed.range(), row.range) << row.type;
            if (std::string(row.type) == "any;;;undefined") {
                Variant value(5);
                EXPECT_TRUE(parsed.type->getDefaultValue(value));
                EXPECT_FALSE(value.isDefined());
            } else {
                EXPECT_EQ(parsed.standard(), row.standard) << row.type;
            }
            EXPECT_EQ(parsed.type->isCollection(), row.isCollection) << row.type;
        }
    }
}

TEST_F(TypeInfoTest, TheShortTextDescribesTheType)
{
    EXPECT_EQ(Parsed("bool\tShort.\tLong.").description(), "Short.");
    EXPECT_EQ(Parsed("any,x:bool\tShort.\tLong.", 0).description(), "Short.");
    EXPECT_EQ(Parsed("bool").description(), "");
}

TEST_F(TypeInfoTest, EachPointerMayBeNull)
{
    const std::unique_ptr<TypeInfo> type(
        TypeInfo::parse("number/string\tText.", -1, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(type->getDataType(), kNumber);
}

TEST_F(TypeInfoTest, OneStringMayReceiveAllTexts)
{
    String description("bool,x:string\tShort.\tLong.");
    const std::unique_ptr<TypeInfo> type(
        TypeInfo::parse(description, 0, &description, &description, &description, nullptr));
    EXPECT_EQ(type->getDataType(), kString);
    EXPECT_EQ(description, "Long.");
}

TEST_F(TypeInfoTest, ATypeThatWasNotReadIsAny)
{
    const SimpleTypeInfo type;
    double min, max;
    Variant value(1);
    EXPECT_EQ(type.getDataType(), kNoType);
    EXPECT_EQ(textOf([&](String &text) { type.getDataTypeAsString(text); }), "any");
    EXPECT_EQ(textOf([&](String &text) { type.getDataClass(text); }), "");
    EXPECT_EQ(textOf([&](String &text) { type.getDescription(text); }), "");
    EXPECT_FALSE(type.isCollection());
    EXPECT_FALSE(type.getValidRange(min, max));
    EXPECT_EQ(min, -infinity);
    EXPECT_EQ(max, infinity);
    EXPECT_FALSE(type.getDefaultValue(value));
    EXPECT_FALSE(value.isDefined());
}

TEST_F(TypeInfoTest, ThousandsOfParametersAreReadToTheEnd)
{
    String description("bool");
    for (int index = 0; index < 5000; ++index)
        description += ",x:number;0";
    EXPECT_EQ(Parsed(description, 4999).inOneLine(), "x number |");
    EXPECT_EQ(Parsed(description, 5000).inOneLine(), "arg5001 any |");
}

// What fills a class with many parameters, and takes blocks for all texts.
constexpr const char *longDescription =
    "number;0;9/AClassNameThatTakesABlock;;;a default that takes a block of its own\t"
    "A short text that takes a block of its own.\tA long text that takes a block of its own.,"
    "aNameThatTakesABlockOfItsOwn:AnotherClassName\tA short text of a parameter.";

TEST_F(TypeInfoTest, WithoutMemoryThereIsNoTypeAndNothingIsStored)
{
    struct Answer
    {
        String description{longDescription};
        String name{"before"}, shortText{"before"}, longText{"before"};
        TypeInfo *setter = nullptr;
        std::unique_ptr<TypeInfo> type;
        ~Answer() { delete setter; }
    };
    using AnswerPtr = std::unique_ptr<Answer>;
    for (const int index : {-1, 0}) {
        underMemoryFailure([] { return std::make_unique<Answer>(); },
                           [&](AnswerPtr &answer) {
                               answer->type.reset(TypeInfo::parse(
                                   answer->description, index, &answer->name, &answer->shortText,
                                   &answer->longText, &answer->setter));
                           },
                           [&](AnswerPtr &answer, bool failed) {
                               EXPECT_FALSE(failed);
                               const bool isThere = answer->type != nullptr;
                               EXPECT_EQ(answer->shortText == "before", !isThere);
                               EXPECT_EQ(answer->name == "before", !isThere);
                               EXPECT_EQ(answer->longText == "before", !isThere);
                               EXPECT_EQ(answer->setter != nullptr, isThere && index < 0);
                           });
    }
}

TEST_F(TypeInfoTest, AWordThatCannotBeStoredIsEmpty)
{
    struct Answer
    {
        SimpleTypeInfo type;
        String word{"before"};
    };
    using AnswerPtr = std::unique_ptr<Answer>;
    underMemoryFailure([] { return std::make_unique<Answer>(); },
                       [](AnswerPtr &answer) { answer->type.getDataTypeAsString(answer->word); },
                       [](AnswerPtr &answer, bool failed) {
                           EXPECT_FALSE(failed);
                           EXPECT_TRUE(answer->word == "any" || answer->word == "");
                       },
                       test::Allocates::perhaps);
}

} // namespace
