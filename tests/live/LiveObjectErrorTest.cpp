// SPDX-License-Identifier: MIT
// How errors name properties, and how they are worded.
#include <tavrin/LiveObject.h>

#include <functional>
#include <new>
#include <stdexcept>

#include <gtest/gtest.h>

#include "live/Hosts.h"
#include "support/LibraryTest.h"

using namespace Tavrin;
using test::Document;
using test::fullText;
using test::make;
using test::Plain;

namespace {

using LiveObjectErrorTest = test::LibraryTest;

String propertyText(const LiveBase &object, int id, bool isIndex = false)
{
    String text = "before";
    EXPECT_EQ(object.getPropertyText(text, id, isIndex), 0);
    return text;
}

} // namespace

TEST_F(LiveObjectErrorTest, NamesPropertiesByTheirIds)
{
    struct Row
    {
        const char *name;
        int id;
        const char *text;
    };
    const Row rows[] = {
        {"a row of the table", Document::sizeID, "size"},
        {"the object itself", functionID, "Document()"},
        {"zero", 0, "{LiveObject(\"Document\").property(0)}"},
        {"a small number", 99, "{LiveObject(\"Document\").property(99)}"},
        {"the greatest small number", 9999, "{LiveObject(\"Document\").property(9999)}"},
        {"one more", 10000, "{LiveObject(\"Document\").property(0x00002710)}"},
        {"the least small number", -9999, "{LiveObject(\"Document\").property(-9999)}"},
        {"one less", -10000, "{LiveObject(\"Document\").property('\xFF\xFF\xD8\xF0')}"},
        {"four characters", 0x54455354, "{LiveObject(\"Document\").property('TEST')}"},
        {"the least characters", 0x20202020, "{LiveObject(\"Document\").property('    ')}"},
        {"below them", 0x1F202020, "{LiveObject(\"Document\").property(0x1f202020)}"},
        {"no characters", 0x01020304, "{LiveObject(\"Document\").property(0x01020304)}"},
    };
    const auto document = make<Document>();
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(propertyText(*document, row.id), row.text);
    }
    EXPECT_EQ(propertyText(*make<Plain>("Foo"), 5), "{LiveObject(\"Foo\").property(5)}");
}

// D-246
TEST_F(LiveObjectErrorTest, NamesOperatorsByTheirPlaces)
{
    const char *const texts[] = {"~",   "!", "*",  "/",  "%",          "+",  "-",   "<<", ">>",
                                 "<<<", "<", "<=", "in", "instanceof", "==", "===", "&",  "|",
                                 "^",   "",  "",   "",   "",           "",   ""};
    const auto document = make<Plain>();
    int id = firstOperatorID;
    for (const char *text : texts)
        EXPECT_EQ(propertyText(*document, id++), String("operator \"") + text + "\"()");
    EXPECT_EQ(id, lastOperatorID + 1);
}

// D-241
TEST_F(LiveObjectErrorTest, NamesIndexesByTheFormatterOfStrings)
{
    const auto document = make<Document>();
    EXPECT_EQ(propertyText(*document, 5, true), "[5l]");
    EXPECT_EQ(propertyText(*document, 70000, true), "[4464l]");
    EXPECT_EQ(propertyText(*document, functionID, true), "[0l]");
}

TEST_F(LiveObjectErrorTest, AComponentKnowsNoNamesByItself)
{
    const auto ruler = make<test::Ruler>();
    EXPECT_EQ(propertyText(*ruler, test::Ruler::unitID), "");
    EXPECT_EQ(propertyText(*ruler, functionID), "LiveObject()");
    EXPECT_EQ(propertyText(*ruler, firstOperatorID), "operator \"~\"()");
    EXPECT_EQ(propertyText(*ruler, 7, true), "[7l]");
}

TEST_F(LiveObjectErrorTest, WordsAnErrorAboutATextOrAProperty)
{
    const auto document = make<Document>();
    const String about = "size";
    String out;
    EXPECT_EQ(document->getErrorText(out, 2, &about), 0);
    EXPECT_EQ(out, "size is undefined");
    EXPECT_EQ(document->getErrorText(out, 2, nullptr), 0);
    EXPECT_EQ(out, "is undefined");
    EXPECT_EQ(document->getErrorText(out, 46, Document::titleID, false), 0);
    EXPECT_EQ(out, "title is read only");
    EXPECT_EQ(document->getErrorText(out, 41, 3, true), 0);
    EXPECT_EQ(out, "[3l] is out of range");
    EXPECT_EQ(document->getErrorText(out, 9999, Document::titleID, false), 0);
    EXPECT_EQ(out, "Error #title");
}

TEST_F(LiveObjectErrorTest, PushesTheNameOfTheProperty)
{
    const auto document = make<Document>();
    Error error;
    EXPECT_EQ(document->setError(46, Document::titleID, &error, false), 46);
    EXPECT_EQ(error.getCode(), 46);
    EXPECT_EQ(fullText(error), "title is read only");
}

TEST_F(LiveObjectErrorTest, KeepsWhatTheErrorSaysAlready)
{
    const auto document = make<Document>();
    Error error(19, "factor", true);
    EXPECT_EQ(document->setError(46, Document::titleID, &error, false), 46);
    EXPECT_EQ(fullText(error), "Bad argument factor");
}

TEST_F(LiveObjectErrorTest, PushesOnARecordOfCode0)
{
    const auto document = make<Document>();
    Error error(0, "note", false);
    document->setError(46, Document::titleID, &error, false);
    EXPECT_EQ(fullText(error), "title is read only\n- note");
}

TEST_F(LiveObjectErrorTest, PushesNothingForSuccessOrWithoutAnError)
{
    const auto document = make<Document>();
    Error error;
    EXPECT_EQ(document->setError(0, Document::titleID, &error, false), 0);
    EXPECT_EQ(error.getError(), nullptr);
    EXPECT_EQ(document->setError(46, Document::titleID, nullptr, false), 46);
}

// D-249
TEST_F(LiveObjectErrorTest, AnErrorTakesTheSentenceOfTheObject)
{
    const auto document = make<Document>();
    Error error;
    error.push(46, *document, Document::titleID, false, nullptr);
    EXPECT_EQ(fullText(error), "title is read only is read only");
    error.push(41, *document, 2, true, nullptr);
    EXPECT_EQ(fullText(error),
              "[2l] is out of range is out of range\n- title is read only is read only");
}

TEST_F(LiveObjectErrorTest, AHostMayFindBetterWords)
{
    struct Speaker : LiveObject
    {
        Speaker() : LiveObject("Speaker", true) {}
        int getErrorText(String &out, int, int, bool) const override
        {
            out = "Sorry";
            return 0;
        }
        using LiveObject::getErrorText;
    };
    const auto speaker = make<Speaker>();
    Error error;
    error.push(1, *speaker, 5, false, nullptr);
    EXPECT_EQ(fullText(error), "Sorry");
}

namespace {

// Does as it is told while it words an error.
struct Worder : LiveObject
{
    Worder() : LiveObject("Worder", true) {}
    int getErrorText(String &out, int, int, bool) const override
    {
        ++calls;
        out = "words";
        return work();
    }
    using LiveObject::getErrorText;

    std::function<int()> work = [] { return 0; };
    mutable int calls = 0;
};

} // namespace

TEST_F(LiveObjectErrorTest, AnObjectThatThrowsWhileItWordsAnErrorGivesTheFixedOne)
{
    const auto worder = make<Worder>();
    Error error(2, "x", true);
    worder->work = []() -> int { throw std::runtime_error("no words"); };
    error.push(46, *worder, 5, false, nullptr);
    EXPECT_EQ(fullText(error), "Uncaught Exception");
    EXPECT_EQ(error.getCode(), -29);
}

TEST_F(LiveObjectErrorTest, AnObjectWithoutMemoryForItsWordsGivesTheFixedErrorOfThat)
{
    const std::function<int()> failures[] = {[]() -> int { throw std::bad_alloc(); },
                                             [] { return -28; }};
    for (const auto &failure : failures) {
        const auto worder = make<Worder>();
        worder->work = failure;
        Error error(2, "x", true);
        error.push(46, *worder, 5, false, nullptr);
        EXPECT_EQ(fullText(error), "Out of memory");
        EXPECT_EQ(error.getCode(), -28);
    }
}

TEST_F(LiveObjectErrorTest, AnObjectIsNotAskedForWordsThatAFixedErrorIgnores)
{
    const auto worder = make<Worder>();
    worder->work = []() -> int { throw std::bad_alloc(); };
    Error error;
    error.push(46, *worder, 5, false, nullptr);
    error.push(46, *worder, 5, false, nullptr);
    EXPECT_EQ(worder->calls, 1);
}

TEST_F(LiveObjectErrorTest, AnObjectMayPushToTheErrorThatItWords)
{
    const auto worder = make<Worder>();
    Error error;
    worder->work = [&] {
        error.push(3, nullptr);
        return 0;
    };
    error.push(46, *worder, 5, false, nullptr);
    EXPECT_EQ(fullText(error), "words is read only\n- Cannot assign value");
}
