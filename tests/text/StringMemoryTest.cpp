// SPDX-License-Identifier: MIT
// Every operation that may ask for memory, run out of it at each request in turn: the string is as
// before then, its sharers never change, and nothing leaks.
#include <tavrin/String.h>

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::Allocates;
using test::patternOf;
using test::underMemoryFailure;
using test::Units;
using test::unitsOf;

using StringMemoryTest = test::LibraryTest;
using StringMemoryMultiThreadedTest = test::MultiThreadedLibraryTest;

namespace {

struct Operation
{
    const char *name;
    void (*run)(String &text);
};

const std::u16string longUnits = patternOf(700);
const std::string longBytes(longUnits.begin(), longUnits.end());

const Operation operations[] = {
    {"construction from bytes", [](String &text) { text = String("new text"); }},
    {"construction from long bytes", [](String &text) { text = String(longBytes.c_str()); }},
    {"construction from units", [](String &text) { text = String(Units(longUnits).data()); }},
    {"construction with a length", [](String &text) { text = String(Units(u"units"), 3); }},
    {"copy of a pinned text",
     [](String &text) {
         String pinned(text);
         pinned.makeUnique();
         text = pinned;
     }},
    {"assignment of a char", [](String &text) { text = 'c'; }},
    {"assignment of a unit", [](String &text) { text = static_cast<unsigned short>(1); }},
    {"assignment of bytes", [](String &text) { text = longBytes.c_str(); }},
    {"assignment of units", [](String &text) { text = Units(longUnits).data(); }},
    {"assignment of a part", [](String &text) { text = text.wstr() + 1; }},
    {"sum with a text", [](String &text) { text = text + text; }},
    {"sum with a char", [](String &text) { text = text + 'c'; }},
    {"sum with a unit", [](String &text) { text = text + static_cast<unsigned short>(1); }},
    {"sum with bytes", [](String &text) { text = text + longBytes.c_str(); }},
    {"sum with units", [](String &text) { text = text + Units(longUnits).data(); }},
    {"append of a text", [](String &text) { text += text; }},
    {"append of a char", [](String &text) { text += 'c'; }},
    {"append of a unit", [](String &text) { text += static_cast<unsigned short>(1); }},
    {"append of bytes", [](String &text) { text += longBytes.c_str(); }},
    {"append of units", [](String &text) { text += Units(longUnits).data(); }},
    {"append of bytes with a length", [](String &text) { text.append("more bytes", 4); }},
    {"append of a part of itself", [](String &text) { text.append(text.wstr() + 1, 2); }},
    {"append of its own bytes",
     [](String &text) { text.append(reinterpret_cast<const char *>(text.wstr()), 4); }},
    {"insert of a text", [](String &text) { text.insert(text, 1); }},
    {"insert of a char", [](String &text) { text.insert('c', 1); }},
    {"insert of a unit", [](String &text) { text.insert(static_cast<unsigned short>(1), 0); }},
    {"insert of bytes", [](String &text) { text.insert(longBytes.c_str(), 2); }},
    {"insert of units", [](String &text) { text.insert(Units(longUnits).data(), 2); }},
    {"insert of a part of itself", [](String &text) { text.insert(text.wstr() + 1, 0); }},
    {"insert behind the end", [](String &text) { text.insert(longBytes.c_str(), 100000); }},
    {"erase of a part", [](String &text) { text.erase(1, 2); }},
    {"erase up to the end", [](String &text) { text.erase(2, -1); }},
    {"erase of everything", [](String &text) { text.erase(0, -1); }},
    {"erase", [](String &text) { text.erase(); }},
    {"clear", [](String &text) { text.clear(); }},
    {"set", [](String &text) { text.set(1, 'X'); }},
    {"setup", [](String &text) { text.setup('x', 900); }},
    {"init",
     [](String &text) {
         text.init(900);
         text.setup('x', 900);
     }},
    {"adjust to less", [](String &text) { text.adjust(2); }},
    {"adjust to more",
     [](String &text) {
         const int end = text.length();
         text.adjust(end + 900);
         for (int at = end; at < text.length(); ++at)
             text.set(at, 'x');
     }},
    {"adjust to nothing", [](String &text) { text.adjust(0); }},
    {"move", [](String &text) { text = String(std::move(text)); }},
    {"makeUnique", [](String &text) { text.makeUnique(); }},
    {"substr", [](String &text) { text = text.substr(1, 2); }},
    {"find of long bytes", [](String &text) { text.find(longBytes.c_str()); }},
    {"find of units",
     [](String &text) {
         text.find(Units(longUnits).data(), -1, true);
         text.find('x', 0, true);
         text.find(text);
     }},
    {"findAny of long bytes", [](String &text) { text.findAny(longBytes.c_str()); }},
    {"replace by more", [](String &text) { text.replace(text.substr(1, 1), longBytes.c_str()); }},
    {"replace by less", [](String &text) { text.replace(text.substr(1, 2), ""); }},
    {"replace of bytes by a text", [](String &text) { text.replace("#", text); }},
    {"replace of units by units",
     [](String &text) { text.replace(Units(u"#").data(), Units(longUnits).data()); }},
    {"replace of a unit", [](String &text) { text.replace('#', 'h'); }},
    {"replace at the front", [](String &text) { text.replace("", "front"); }},
    {"replace by itself", [](String &text) { text.replace(text.wstr() + 1, text); }},
    {"replaceAll by more", [](String &text) { text.replaceAll("\"", "quote"); }},
    {"replaceAll by less", [](String &text) { text.replaceAll("\"#", "q"); }},
    {"replaceAll of bytes by a text", [](String &text) { text.replaceAll("#", text); }},
    {"replaceAll of a text by bytes",
     [](String &text) { text.replaceAll(text.substr(1, 1), longBytes.c_str()); }},
    {"replaceAll of units by units",
     [](String &text) { text.replaceAll(Units(u"#").data(), Units(u"hash").data()); }},
    {"replaceAll of long bytes", [](String &text) { text.replaceAll(longBytes.c_str(), "x"); }},
    {"replaceAll by nothing", [](String &text) { text.replaceAll(text, ""); }},
    {"replaceAll by itself", [](String &text) { text.replaceAll(text.wstr() + 1, text); }},
    {"replaceAll of itself", [](String &text) { text.replaceAll(text, text); }},
    {"replaceAll of units", [](String &text) { text.replaceAll('"', 'q'); }},
    {"split in the middle", [](String &text) { text.split('#'); }},
    {"split at a text", [](String &text) { text.split(text.substr(2, 1)); }},
    {"split at a unit", [](String &text) { text.split(static_cast<unsigned short>('#')); }},
    {"split at units", [](String &text) { text.split(Units(u"#").data()); }},
    {"split without a match", [](String &text) { text.split(longBytes.c_str()); }},
    {"split of a blank front", [](String &text) { text.split('!'); }},
    {"strip", [](String &text) { text.strip(); }},
    {"toLower", [](String &text) { text.toLower(); }},
    {"toUpper", [](String &text) { text.toUpper(); }},
    {"toMixed", [](String &text) { text.toMixed(); }},
    {"parse",
     [](String &text) {
         int pos = 0;
         text.parse(text, pos);
     }},
    {"parse of the front", [](String &text) { text.parse(text); }},
    {"escape", [](String &text) { text = text.escape(true); }},
    {"encodeURI", [](String &text) { text.encodeURI(""); }},
    {"encodeURI with units", [](String &text) { text.encodeURI(Units(u"!#").data()); }},
    {"decodeURI",
     [](String &text) {
         String encoded(text);
         encoded.append("%41%C3%A9%FF");
         if (encoded.decodeURI())
             text = encoded;
     }},
    {"convertLF",
     [](String &text) {
         String lines(text);
         lines.replaceAll('#', '\n');
         lines.convertLF(String::kCRLF);
         text = lines;
     }},
    {"print", [](String &text) { text.print("%d %ls", 5, text.wstr()); }},
    {"print of units", [](String &text) { text.print(Units(u"%700d").data(), 5); }},
    {"print of bytes", [](String &text) { text.print("%s", longBytes.c_str()); }},
    {"print with a long format", [](String &text) { text.print(longBytes.c_str()); }},
    {"print of nothing", [](String &text) { text.print(""); }},
    {"construction from a view", [](String &text) { text = std::u16string_view(longUnits); }},
    {"comparison",
     [](String &text) {
         text.ucmp(longBytes.c_str());
         text.nucmp(Units(longUnits).data(), 100);
         text.ncmp(longBytes.c_str(), 100);
         text.cmp(String::emptyString());
     }},
};

struct Objects
{
    String text;
    String sharer;
};

enum class Sharing
{
    soleOwner,
    shared,
    pinned,
};

Objects makeObjects(const std::u16string &units, Sharing sharing)
{
    Objects objects;
    objects.text = Units(units).data();
    if (sharing == Sharing::shared)
        objects.sharer = objects.text;
    if (sharing == Sharing::pinned)
        objects.text.makeUnique();
    return objects;
}

void expectSurvival(const Operation &operation, const std::u16string &units, Sharing sharing)
{
    SCOPED_TRACE(testing::Message() << operation.name << " on " << units.size() << " units, "
                                    << static_cast<int>(sharing));
    Objects done = makeObjects(units, sharing);
    operation.run(done.text);
    const std::u16string expected = unitsOf(done.text);
    underMemoryFailure([&] { return makeObjects(units, sharing); },
                       [&](Objects &objects) { operation.run(objects.text); },
                       [&](const Objects &objects, bool failed) {
                           EXPECT_EQ(unitsOf(objects.text), failed ? units : expected);
                           EXPECT_TRUE(test::isTerminated(objects.text));
                           if (sharing == Sharing::shared) {
                               EXPECT_EQ(unitsOf(objects.sharer), units);
                           }
                       },
                       Allocates::perhaps);
}

void expectAllSurvive()
{
    const std::u16string texts[] = {patternOf(5), patternOf(15), patternOf(127), patternOf(5000),
                                    u" blank at both ends !\"# \t"};
    for (const Operation &operation : operations)
        for (const std::u16string &units : texts)
            for (const Sharing sharing : {Sharing::soleOwner, Sharing::shared, Sharing::pinned})
                expectSurvival(operation, units, sharing);
}

} // namespace

TEST_F(StringMemoryTest, AnOperationThatRunsOutOfMemoryLeavesTheTextAsItWas)
{
    expectAllSurvive();
}

TEST_F(StringMemoryMultiThreadedTest, TheSameInMultiThreadedOperation)
{
    expectAllSurvive();
}

TEST_F(StringMemoryTest, EmptyTextsSurviveToo)
{
    for (const Operation &operation : operations)
        if (std::string_view(operation.name).find("part") == std::string_view::npos &&
            std::string_view(operation.name).find("own") == std::string_view::npos)
            expectSurvival(operation, u"", Sharing::soleOwner);
}

TEST_F(StringMemoryTest, ConstructionAsksForMemoryOnce)
{
    underMemoryFailure(
        [] { return String(); }, [](String &text) { text = String("abc"); },
        [](const String &text, bool failed) { EXPECT_EQ(text, failed ? "" : "abc"); });
}
