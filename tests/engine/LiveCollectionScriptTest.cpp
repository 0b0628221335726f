// SPDX-License-Identifier: MIT
// How scripts use the elements of collections.
#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

class LiveCollectionScript : public ScriptTest
{
protected:
    void SetUp() override
    {
        ScriptTest::SetUp();
        Array elements;
        elements += 10;
        elements += "two";
        elements += true;
        list = make<LiveArray>(elements, "List", 0, false);
        engine().setGlobal("list", *list);
    }
    void TearDown() override
    {
        list.reset();
        ScriptTest::TearDown();
    }

    InterfacePtr<LiveArray> list;
};

// A collection of squares that cannot be changed; there are 5.
struct Squares : LiveCollection
{
    Squares() : LiveCollection("Squares", 0, true) {}
    int getLength(unsigned int &length) const override
    {
        length = 5;
        return 0;
    }
    int getByIndex(unsigned int index, Variant &out, Error *error) const override
    {
        out.erase();
        if (index >= 5)
            return setError(41, static_cast<int>(index), error, true);
        out = index * index;
        return 0;
    }
};

TEST_F(LiveCollectionScript, ElementsAreReadByIndexAndByItsText)
{
    EXPECT_EQ(tell("list[0] + list['1'] + list[2]"), "10twotrue");
    EXPECT_EQ(tell("list.length"), "3");
    EXPECT_EQ(tell("typeof list[3]"), "undefined");
}

TEST_F(LiveCollectionScript, ElementsAreWrittenAndTheLengthFollows)
{
    run("list[5] = 'six'; list[0] += 1");
    EXPECT_EQ(tell("list.length + ':' + list[0] + ':' + list[4]"), "6:11:undefined");
    run("list.length = 1");
    EXPECT_EQ(list->length(), 1u);
    EXPECT_EQ(tell("list.length"), "1");
}

TEST_F(LiveCollectionScript, InTellsWhichElementsThereAre)
{
    EXPECT_EQ(tell("(2 in list) + ',' + (3 in list) + ',' + ('length' in list)"),
              "true,false,true");
}

TEST_F(LiveCollectionScript, NumbersThatAreNoIndexAreNames)
{
    EXPECT_EQ(tell("typeof list[-1] + typeof list[1.5] + typeof list[4294967295]"),
              "undefinedundefinedundefined");
    EXPECT_EQ(tell("list[-1] = 'x'; list['-1'] + list.length"), "x3");
    EXPECT_EQ(tell("typeof list['01']"), "undefined");
}

TEST_F(LiveCollectionScript, ReadingPastTheEndIsTheObjectsDecision)
{
    const auto squares = make<Squares>();
    engine().setGlobal("squares", *squares);
    EXPECT_EQ(tell("squares[4]"), "16");
    EXPECT_EQ(fail("squares[5]"), "41: [5l] is out of range @test.js:1");
    EXPECT_EQ(tell("try { squares[5] } catch (e) { String(e instanceof RangeError) }"), "true");
}

TEST_F(LiveCollectionScript, AReadOnlyCollectionRefusesChanges)
{
    const auto squares = make<Squares>();
    engine().setGlobal("squares", *squares);
    EXPECT_EQ(fail("squares[0] = 1").substr(0, 3), "46:");
    EXPECT_EQ(fail("squares.length = 1").substr(0, 3), "46:");
    EXPECT_EQ(fail("delete squares[0]").substr(0, 3), "46:");
}

TEST_F(LiveCollectionScript, EnumerationBeginsWithTheIndexes)
{
    EXPECT_EQ(tell("var seen = []; for (var i in list) seen.push(i); seen.join()"), "0,1,2,length");
    run("list.colour = 'red'");
    EXPECT_EQ(tell("Object.keys(list).join()"), "0,1,2,colour,length");
    run("list.length = 1");
    EXPECT_EQ(tell("Object.keys(list).join()"), "0,colour,length");
}

TEST_F(LiveCollectionScript, DescriptorsTellOfElements)
{
    const auto squares = make<Squares>();
    engine().setGlobal("squares", *squares);
    run(tellTraits);
    EXPECT_EQ(tell("tell(list, 1)"), "two,true,true,true");
    EXPECT_EQ(tell("tell(squares, '4')"), "16,false,true,false");
    EXPECT_EQ(tell("tell(list, 3) + ',' + tell(squares, 'length')"),
              "undefined,5,false,true,false");
    EXPECT_EQ(tell("list.hasOwnProperty(2) + ',' + list.hasOwnProperty(3)"), "true,false");
}

TEST_F(LiveCollectionScript, ReadingMethodsOfArraysWorkOnCollections)
{
    const auto squares = make<Squares>();
    engine().setGlobal("squares", *squares);
    EXPECT_EQ(tell("squares.map(function (x) { return x + 1 }).join()"), "1,2,5,10,17");
    EXPECT_EQ(tell("squares.filter(function (x) { return x % 2 }).length"), "2");
    EXPECT_EQ(tell("squares.reduce(function (sum, x) { return sum + x })"), "30");
    EXPECT_EQ(tell("squares.indexOf(9) + squares.slice(1, 3).join()"), "31,4");
    EXPECT_EQ(
        tell("var all = ''; squares.forEach(function (x, i) { all += i + '=' + x + ' ' }); all"),
        "0=0 1=1 2=4 3=9 4=16 ");
}

TEST_F(LiveCollectionScript, ListenersServeElements)
{
    struct Server : Listener
    {
        bool notify(Message &message) override
        {
            auto &live = static_cast<LiveMessage &>(message);
            if (live.getID() == askGetLength)
                *live.getData() = 3u;
            else if (live.getID() == askGetIndex)
                *live.getData() = live.getPropertyID() * 100;
            else if (live.getID() == askDeleteIndex)
                deleted = live.getPropertyID();
            return true;
        }
        int deleted = -1;
    };
    const auto remote = make<LiveCollection>("Remote", 0, false);
    Server server;
    for (const int id : {askGetLength, askGetIndex, askPutIndex, askDeleteIndex})
        remote->addListener(server, id);
    engine().setGlobal("remote", *remote);
    EXPECT_EQ(tell("remote.length + remote[2]"), "203");
    EXPECT_EQ(tell("delete remote[1]"), "true");
    EXPECT_EQ(server.deleted, 1);
    remote->removeListener(server, Broadcaster::allMessages);
}

TEST_F(LiveCollectionScript, TheTextIsThatOfTheCollection)
{
    EXPECT_EQ(tell("String(list)"), "10,two,true");
}

TEST_F(LiveCollectionScript, AnInvalidCollectionRefusesItsElements)
{
    list->invalidate();
    for (const char *use : {"list[0]", "list[0] = 1", "0 in list", "delete list[0]", "list.length",
                            "for (var i in list);", "list.map(String)"})
        EXPECT_EQ(fail(use), "45: Object is invalid @test.js:1") << use;
}

} // namespace
} // namespace Tavrin::test
