// SPDX-License-Identifier: MIT
#include <tavrin/Encoder.h>

#include <memory>
#include <type_traits>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/InitTerm.h>

#include "encoders/HostEncoder.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/VirtualSlot.h"

namespace Tavrin::test {
namespace {

using EncoderTest = LibraryTest;
using EncoderThreadTest = MultiThreadedLibraryTest;

TEST_F(EncoderTest, OperationsThatAnEncoderDoesNotHaveGiveMinus33)
{
    const HostEncoder encoder("HOST");
    int consumed = 3;
    int produced = 4;
    unsigned short unit = 0;
    char byte = 0;
    EXPECT_EQ(encoder.toUnicode("abc", consumed, &unit, produced, false), -33);
    EXPECT_EQ(encoder.toMBCS(&unit, consumed, &byte, produced, false), -33);
    EXPECT_EQ(consumed, 3);
    EXPECT_EQ(produced, 4);
}

TEST_F(EncoderTest, LengthsThatAnEncoderDoesNotKnowAreMinus1)
{
    const HostEncoder encoder("HOST");
    const unsigned short unit = u'a';
    int length = 7;
    EXPECT_EQ(encoder.getUnicodeLength("abc", 3, length), 0);
    EXPECT_EQ(length, -1);
    length = 7;
    EXPECT_EQ(encoder.getMBCSLength(&unit, 1, length), 0);
    EXPECT_EQ(length, -1);
}

TEST_F(EncoderTest, NoEncoderIsFoundByRuleUnlessASubclassKnowsOne)
{
    const HostEncoder encoder("HOST");
    EXPECT_EQ(encoder.find("HOST"), nullptr);
}

TEST_F(EncoderTest, MappingIsTheFieldAndZeroAtFirst)
{
    HostEncoder encoder("HOST");
    EXPECT_EQ(encoder.getMapping(), 0);
    encoder.setMapping(3);
    EXPECT_EQ(encoder.getMapping(), 3);
}

#if defined(TAVRIN_HAS_VIRTUAL_SLOTS)
TEST_F(EncoderTest, VirtualOperationsStandInTheirOrder)
{
    EXPECT_EQ(virtualSlot(&Encoder::getNames), 2U);
    EXPECT_EQ(virtualSlot(&Encoder::find), 3U);
    EXPECT_EQ(virtualSlot(&Encoder::getUnicodeLength), 4U);
    EXPECT_EQ(virtualSlot(&Encoder::getMBCSLength), 5U);
    EXPECT_EQ(virtualSlot(&Encoder::toUnicode), 6U);
    EXPECT_EQ(virtualSlot(&Encoder::toMBCS), 7U);
}
#endif

TEST_F(EncoderTest, SpellingsOfANameFindTheSameEncoder)
{
    const Encoder *utf8 = Encoder::get("UTF-8");
    EXPECT_EQ(utf8, &Encoder::getUtf8());
    for (const char *name : {"utf_8", "Utf-8", "x-utf-8", "X_UTF_8", "utf8"})
        EXPECT_EQ(Encoder::get(name), utf8) << name;
    const unsigned short wide[] = {'u', 't', 'f', '8', 0};
    EXPECT_EQ(Encoder::get(wide), utf8);
}

TEST_F(EncoderTest, UnknownNameGivesNull)
{
    for (const char *name : {"no such encoding", "CP", "CPX", "WINDOWS-", "WINDOWS-X1", ",", "-",
                             "UTF-8 ", " UTF-8", "CP0", "WINDOWS-00"})
        EXPECT_EQ(Encoder::get(name), nullptr) << name;
}

TEST_F(EncoderTest, FixedEncodersAreTheRegisteredOnes)
{
    EXPECT_EQ(&Encoder::getAscii(), Encoder::get("US-ASCII"));
    EXPECT_EQ(&Encoder::getBinary(), Encoder::get("BINARY"));
    EXPECT_EQ(&Encoder::getUtf8(), Encoder::get("UTF-8"));
    EXPECT_EQ(&Encoder::getUtf32(), Encoder::get("UCS4"));
}

TEST_F(EncoderTest, EmptyNameGivesTheDefaultAndAddsNothing)
{
    EXPECT_EQ(Encoder::get(""), &Encoder::getDefault());
    EXPECT_EQ(Encoder::get("x-"), &Encoder::getDefault());
    EXPECT_EQ(Encoder::get(static_cast<const char *>(nullptr)), &Encoder::getDefault());
    EXPECT_EQ(Encoder::get(static_cast<const unsigned short *>(nullptr)), &Encoder::getDefault());

    // An encoder of the host's own, which the registry must not come to own or to know.
    const HostEncoder own("OWN");
    Encoder::setDefault(own);
    EXPECT_EQ(Encoder::get(""), &own);
    EXPECT_EQ(Encoder::get("OWN"), nullptr);
    Encoder::setDefault(Encoder::getUtf8());
}

TEST_F(EncoderTest, AddedEncoderIsFoundByAllItsNames)
{
    auto *encoder = new HostEncoder("First,second_name,x-third, Fourth");
    Encoder::add(*encoder);
    for (const char *name : {"FIRST", "second-name", "third", "x-third", "fourth"})
        EXPECT_EQ(Encoder::get(name), encoder) << name;
}

TEST_F(EncoderTest, EmptyNamesInAListAreNobodys)
{
    auto *encoder = new HostEncoder(",One,,Two, ,");
    Encoder::add(*encoder);
    EXPECT_EQ(Encoder::get("ONE"), encoder);
    EXPECT_EQ(Encoder::get("TWO"), encoder);
    EXPECT_EQ(Encoder::get(""), &Encoder::getDefault());
}

TEST_F(EncoderTest, EncoderIsOwnedUntilExitAndDeletedOnce)
{
    int deleted = 0;
    auto *encoder = new HostEncoder("HOST,TOO", &deleted);
    Encoder::add(*encoder);
    Encoder::add(*encoder);
    EXPECT_TRUE(Encoder::addAlias(*encoder, "MORE"));
    EXPECT_EQ(deleted, 0);
    endLibrary();
    EXPECT_EQ(deleted, 1);
}

TEST_F(EncoderTest, NameGoesToWhoeverTookItLast)
{
    auto *first = new HostEncoder("A,B");
    auto *second = new HostEncoder("B,C");
    Encoder::add(*first);
    Encoder::add(*second);
    EXPECT_EQ(Encoder::get("A"), first);
    EXPECT_EQ(Encoder::get("B"), second);
    Encoder::add(*first);
    EXPECT_EQ(Encoder::get("B"), first);
    EXPECT_EQ(Encoder::get("C"), second);
}

TEST_F(EncoderTest, EncoderThatLosesItsLastNameIsReplacedAsTheDefault)
{
    auto *old = new HostEncoder("A,B");
    auto *successor = new HostEncoder("A,B,C");
    Encoder::add(*old);
    Encoder::setDefault(*old);
    Encoder::add(*successor);
    EXPECT_EQ(&Encoder::getDefault(), successor);
}

TEST_F(EncoderTest, EncoderThatKeepsANameStaysTheDefault)
{
    auto *old = new HostEncoder("A,B");
    Encoder::add(*old);
    Encoder::setDefault(*old);
    Encoder::add(*new HostEncoder("A"));
    EXPECT_EQ(&Encoder::getDefault(), old);
}

TEST_F(EncoderTest, ReplacedEncoderLivesOnUntilExit)
{
    int deleted = 0;
    auto *old = new HostEncoder("A", &deleted);
    Encoder::add(*old);
    Encoder::add(*new HostEncoder("A", &deleted));
    EXPECT_EQ(deleted, 0);
    EXPECT_EQ(namesOf(old), "A");
    endLibrary();
    EXPECT_EQ(deleted, 2);
}

TEST_F(EncoderTest, ReplacedEncoderIsNotAskedForRules)
{
    int asked = 0;
    auto *old = new HostEncoder("A");
    old->onFind = [&](const String &) {
        ++asked;
        return nullptr;
    };
    Encoder::add(*old);
    EXPECT_EQ(Encoder::get("unknown"), nullptr);
    EXPECT_EQ(asked, 1);
    Encoder::add(*new HostEncoder("A"));
    EXPECT_EQ(Encoder::get("unknown"), nullptr);
    EXPECT_EQ(asked, 1);
}

TEST_F(EncoderTest, ReplacedEncoderCanBeAddedAgain)
{
    int deleted = 0;
    auto *old = new HostEncoder("A", &deleted);
    auto *successor = new HostEncoder("A", &deleted);
    Encoder::add(*old);
    Encoder::add(*successor);
    Encoder::add(*old);
    EXPECT_EQ(Encoder::get("A"), old);
    EXPECT_TRUE(Encoder::addAlias(*successor, "B"));
    EXPECT_EQ(Encoder::get("A"), successor);
    EXPECT_EQ(Encoder::get("B"), successor);
    endLibrary();
    EXPECT_EQ(deleted, 2);
}

constexpr char asciiNames[] = "US-ASCII,ASCII,ISO646-US,ISO_646.IRV:1991,ISO-IR-6,ANSI_X3.4-1968,"
                              "CP367,IBM367,US,ISO646.1991-IRV";

TEST_F(EncoderTest, EncoderThatTakesAllNamesOfAFixedOneBecomesIt)
{
    const Encoder &builtIn = Encoder::getAscii();
    auto *ascii = new HostEncoder(asciiNames);
    Encoder::add(*ascii);
    EXPECT_EQ(&Encoder::getAscii(), ascii);
    auto *binary = new HostEncoder("BINARY");
    Encoder::add(*binary);
    EXPECT_EQ(&Encoder::getBinary(), binary);
    endLibrary();
    EXPECT_EQ(&Encoder::getAscii(), &builtIn);
}

TEST_F(EncoderTest, Utf8AndUtf32StayWhatTheyWere)
{
    const Encoder &utf8 = Encoder::getUtf8();
    const Encoder &utf32 = Encoder::getUtf32();
    Encoder::add(*new HostEncoder(namesOf(&utf8)));
    Encoder::add(*new HostEncoder(namesOf(&utf32)));
    EXPECT_NE(Encoder::get("UTF-8"), &utf8);
    EXPECT_EQ(&Encoder::getUtf8(), &utf8);
    EXPECT_EQ(&Encoder::getUtf32(), &utf32);
    EXPECT_EQ(utf8.getMapping(), 0);
}

TEST_F(EncoderTest, EncoderThatTakesAllNamesOfTheSystemsBecomesIt)
{
    EXPECT_EQ(&Encoder::getSystem(), &Encoder::getUtf8());
    auto *encoder = new HostEncoder(namesOf(&Encoder::getUtf8()));
    Encoder::add(*encoder);
    EXPECT_EQ(&Encoder::getSystem(), encoder);
}

TEST_F(EncoderTest, AliasRegistersTheEncoderWithItsOwnNames)
{
    auto *encoder = new HostEncoder("A,B");
    EXPECT_TRUE(Encoder::addAlias(*encoder, "other_name"));
    EXPECT_EQ(Encoder::get("A"), encoder);
    EXPECT_EQ(Encoder::get("Other-Name"), encoder);
}

TEST_F(EncoderTest, AliasOfARegisteredEncoderLeavesItsNamesAlone)
{
    auto *first = new HostEncoder("A,B");
    auto *second = new HostEncoder("B");
    Encoder::add(*first);
    Encoder::add(*second);
    EXPECT_TRUE(Encoder::addAlias(*first, "C"));
    EXPECT_EQ(Encoder::get("B"), second);
}

TEST_F(EncoderTest, AliasTakesANameAwayAndReplacesAnEncoderWithoutOthers)
{
    int deleted = 0;
    auto *old = new HostEncoder("A", &deleted);
    auto *successor = new HostEncoder("B", &deleted);
    Encoder::add(*old);
    Encoder::add(*successor);
    Encoder::setDefault(*old);
    EXPECT_TRUE(Encoder::addAlias("B", "A"));
    EXPECT_EQ(Encoder::get("A"), successor);
    EXPECT_EQ(&Encoder::getDefault(), successor);
    EXPECT_EQ(deleted, 0);
    endLibrary();
    EXPECT_EQ(deleted, 2);
}

TEST_F(EncoderTest, AliasNeedsANameAndAnEncoder)
{
    const char *null = nullptr;
    EXPECT_FALSE(Encoder::addAlias(Encoder::getUtf8(), null));
    EXPECT_FALSE(Encoder::addAlias(Encoder::getUtf8(), ""));
    EXPECT_FALSE(Encoder::addAlias("UTF-8", null));
    EXPECT_FALSE(Encoder::addAlias("UTF-8", ""));
    EXPECT_FALSE(Encoder::addAlias("no such encoding", "A"));
    EXPECT_FALSE(Encoder::addAlias(null, "A"));
    EXPECT_FALSE(Encoder::addAlias("", "A"));
    EXPECT_EQ(Encoder::get("A"), nullptr);
}

TEST_F(EncoderTest, AliasOfTheEmptyNameDoesNotRegisterTheDefault)
{
    const HostEncoder own("OWN");
    Encoder::setDefault(own);
    for (const char *name : {"", "x-", "X_"})
        EXPECT_FALSE(Encoder::addAlias(name, "A")) << name;
    EXPECT_EQ(Encoder::get("A"), nullptr);
    EXPECT_EQ(Encoder::get("OWN"), nullptr);
    Encoder::setDefault(Encoder::getUtf8());
}

TEST_F(EncoderTest, AliasMayNameACodePageThatWasNeverAskedFor)
{
    EXPECT_TRUE(Encoder::addAlias("CP1251", "MY-CYRILLIC"));
    EXPECT_EQ(Encoder::get("my_cyrillic"), Encoder::get("CP1251"));
}

TEST_F(EncoderTest, AliasKeepsItsPrefixAndIsFoundBehindASecondOne)
{
    EXPECT_TRUE(Encoder::addAlias(Encoder::getUtf8(), "x-mine"));
    EXPECT_EQ(Encoder::get("x-mine"), nullptr);
    EXPECT_EQ(Encoder::get("mine"), nullptr);
    EXPECT_EQ(Encoder::get("x-x-mine"), &Encoder::getUtf8());
}

TEST_F(EncoderTest, EncodersAreAskedForRulesInTheOrderOfTheirRegistration)
{
    std::string order;
    const auto encoderThatLogs = [&](char letter) {
        auto *encoder = new HostEncoder(std::string(1, letter));
        encoder->onFind = [&order, letter](const String &name) {
            EXPECT_TRUE(name == "WANTED-NAME");
            order += letter;
            return nullptr;
        };
        return encoder;
    };
    Encoder::add(*encoderThatLogs('P'));
    Encoder::add(*encoderThatLogs('Q'));
    Encoder::add(*encoderThatLogs('R'));
    EXPECT_EQ(Encoder::get("x-wanted_name"), nullptr);
    EXPECT_EQ(order, "PQR");
}

TEST_F(EncoderTest, FirstAnswerToARuleIsRegisteredUnderTheName)
{
    int asked = 0;
    auto *answer = new HostEncoder("ANSWER");
    auto *rule = new HostEncoder("RULE");
    rule->onFind = [&](const String &name) -> const Encoder * {
        ++asked;
        return name == "WANTED" ? answer : nullptr;
    };
    auto *later = new HostEncoder("LATER");
    later->onFind = [&](const String &name) -> const Encoder * {
        EXPECT_FALSE(name == "WANTED");
        return nullptr;
    };
    Encoder::add(*rule);
    Encoder::add(*later);
    EXPECT_EQ(Encoder::get("ANSWER"), nullptr);
    EXPECT_EQ(Encoder::get("wanted"), answer);
    EXPECT_EQ(Encoder::get("wanted"), answer);
    EXPECT_EQ(Encoder::get("ANSWER"), answer);
    EXPECT_EQ(asked, 2);
}

TEST_F(EncoderTest, RuleMayAnswerWithTheEncoderItself)
{
    auto *rule = new HostEncoder("RULE");
    rule->onFind = [=](const String &name) { return name.find("RULE") == 0 ? rule : nullptr; };
    Encoder::add(*rule);
    EXPECT_EQ(Encoder::get("rule-42"), rule);
    EXPECT_EQ(Encoder::get("other"), nullptr);
}

TEST_F(EncoderTest, RuleMayUseTheRegistryWhileItIsAsked)
{
    auto *rule = new HostEncoder("RULE");
    rule->onFind = [](const String &name) -> const Encoder * {
        if (!(name == "WANTED"))
            return nullptr;
        Encoder::add(*new HostEncoder("MEANWHILE"));
        EXPECT_TRUE(Encoder::addAlias("UTF-8", "WANTED-TOO"));
        EXPECT_EQ(Encoder::get("something else"), nullptr);
        return Encoder::get("MEANWHILE");
    };
    Encoder::add(*rule);
    EXPECT_EQ(namesOf(Encoder::get("wanted")), "MEANWHILE");
    EXPECT_EQ(Encoder::get("wanted-too"), &Encoder::getUtf8());
}

TEST_F(EncoderTest, DestructorsMayUseTheRegistryAtExit)
{
    const Encoder *found = &Encoder::getUtf8();
    bool isDeleted = false;
    auto *encoder = new HostEncoder("HOST");
    encoder->onDelete = [&] {
        found = Encoder::get("HOST");
        EXPECT_EQ(Encoder::getAscii().getMapping(), 1);
        EXPECT_EQ(&Encoder::getDefault(), &Encoder::getAscii());
        isDeleted = true;
    };
    Encoder::add(*encoder);
    endLibrary();
    EXPECT_TRUE(isDeleted);
    EXPECT_EQ(found, nullptr);
}

TEST_F(EncoderTest, SystemEncoderIsUtf8)
{
    EXPECT_EQ(&Encoder::getSystem(), &Encoder::getUtf8());
    EXPECT_EQ(&Encoder::getSystem(), &Encoder::getSystem());
}

TEST_F(EncoderTest, SystemEncoderIsLookedUpByItsName)
{
    auto *encoder = new HostEncoder("UTF-8");
    Encoder::add(*encoder);
    EXPECT_EQ(&Encoder::getSystem(), encoder);
}

TEST_F(EncoderTest, DefaultIsTheSystemsUntilItIsSet)
{
    EXPECT_EQ(Context::get().encoder, nullptr);
    EXPECT_EQ(&Encoder::getDefault(), &Encoder::getSystem());
    EXPECT_EQ(Context::get().encoder, &Encoder::getSystem());
    Encoder::setDefault(Encoder::getBinary());
    EXPECT_EQ(&Encoder::getDefault(), &Encoder::getBinary());
    EXPECT_EQ(Context::get().encoder, &Encoder::getBinary());
}

TEST_F(EncoderTest, FindingTheSystemEncoderKeepsTheDefault)
{
    Encoder::setDefault(Encoder::getBinary());
    EXPECT_EQ(&Encoder::getSystem(), &Encoder::getUtf8());
    EXPECT_EQ(&Encoder::getDefault(), &Encoder::getBinary());
}

TEST_F(EncoderTest, ANewStartKnowsNothingOfTheLastOne)
{
    Encoder::add(*new HostEncoder("HOST"));
    Encoder::setDefault(Encoder::getBinary());
    endLibrary();
    const LibrarySession again;
    EXPECT_EQ(Encoder::get("HOST"), nullptr);
    EXPECT_EQ(&Encoder::getDefault(), &Encoder::getSystem());
}

void expectNoRegistry()
{
    EXPECT_EQ(Encoder::get("UTF-8"), nullptr);
    EXPECT_EQ(Encoder::get(""), nullptr);
    EXPECT_FALSE(Encoder::addAlias("UTF-8", "A"));
    EXPECT_FALSE(Encoder::addAlias(Encoder::getUtf8(), "A"));
    Encoder::add(Encoder::getUtf8());
    Encoder::setDefault(Encoder::getUtf8());
    EXPECT_EQ(&Encoder::getDefault(), &Encoder::getAscii());
    EXPECT_EQ(&Encoder::getSystem(), &Encoder::getAscii());
    EXPECT_EQ(Encoder::getAscii().getMapping(), 1);
    EXPECT_EQ(Encoder::getBinary().getMapping(), 1);
    EXPECT_EQ(Encoder::getUtf8().getMapping(), 0);
    EXPECT_EQ(Encoder::getUtf32().getMapping(), 4);
}

TEST(EncoderOutsideTheLibrary, OnlyTheFixedEncodersAreThere)
{
    ASSERT_FALSE(InitTerm::isInitialized());
    expectNoRegistry();
    {
        const LibrarySession session;
    }
    expectNoRegistry();
}

TEST_F(EncoderThreadTest, DefaultIsTheThreadsOwn)
{
    Encoder::setDefault(Encoder::getBinary());
    runOnThread([] {
        EXPECT_EQ(&Encoder::getDefault(), &Encoder::getSystem());
        Encoder::setDefault(Encoder::getAscii());
    });
    EXPECT_EQ(&Encoder::getDefault(), &Encoder::getBinary());
}

TEST_F(EncoderThreadTest, DefaultOfAnotherThreadOutlivesItsReplacement)
{
    auto *old = new HostEncoder("A");
    Encoder::add(*old);
    Encoder::setDefault(*old);
    runOnThread([] { Encoder::add(*new HostEncoder("A")); });
    EXPECT_NE(Encoder::get("A"), old);
    EXPECT_EQ(&Encoder::getDefault(), old);
    EXPECT_EQ(namesOf(&Encoder::getDefault()), "A");
}

TEST_F(EncoderThreadTest, NamesAreFoundWhileOthersAreReplaced)
{
    runOnThreads(4, [](int index) {
        for (int round = 0; round < 200; ++round) {
            if (index == 0)
                Encoder::add(*new HostEncoder("A,B"));
            const bool isKnown =
                Encoder::get(round % 2 == 0 ? "CP1251" : "WINDOWS-1253") != nullptr;
            EXPECT_TRUE(isKnown);
            const Encoder *encoder = Encoder::get("A");
            EXPECT_EQ(namesOf(encoder), encoder != nullptr ? "A,B" : "null");
            EXPECT_EQ(&Encoder::getSystem(), &Encoder::getUtf8());
            EXPECT_EQ(Encoder::get("utf-8"), &Encoder::getUtf8());
        }
    });
}

TEST_F(EncoderThreadTest, OneCodePageGetsOneEncoderOnAllThreads)
{
    const Encoder *found[4] = {};
    runOnThreads(4, [&](int index) { found[index] = Encoder::get("CP1257"); });
    for (const Encoder *encoder : found)
        EXPECT_EQ(encoder, Encoder::get("CP1257"));
}

TEST(EncoderTraits, EncodersAreNotCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<HostEncoder>);
    EXPECT_FALSE(std::is_copy_assignable_v<HostEncoder>);
}

} // namespace
} // namespace Tavrin::test
