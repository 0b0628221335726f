// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>
#include <new>

#include <gtest/gtest.h>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "encoders/HostEncoder.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/TestAllocator.h"

namespace Tavrin::test {
namespace {

using EncoderMemoryTest = LibraryTest;

std::string bytesOf(const String &text, const Encoder &encoder)
{
    const char *bytes = nullptr;
    int length = 0;
    text.encode(bytes, length, &encoder);
    return {bytes, static_cast<std::size_t>(length)};
}

TEST_F(EncoderMemoryTest, DecodingKeepsTheStringWhenItFails)
{
    underMemoryFailure([] { return String("before"); },
                       [](String &text) {
                           text.decode("\xE2\x82\xAC and much more than before", -1,
                                       &Encoder::getUtf8());
                       },
                       [](const String &text, bool failed) {
                           EXPECT_EQ(text.length(), failed ? 6 : 27);
                           EXPECT_EQ(text.wstr()[0], failed ? u'b' : u'\u20AC');
                       });
}

TEST_F(EncoderMemoryTest, DecodingFromItsOwnTextKeepsTheStringWhenItFails)
{
    underMemoryFailure(
        [] { return String("abcdefghijklmnopqrstuvwxyz"); },
        [](String &text) {
            text.decode(reinterpret_cast<const char *>(text.wstr()), 52, &Encoder::getBinary());
        },
        [](const String &text, bool failed) { EXPECT_EQ(text.length(), failed ? 26 : 52); });
}

TEST_F(EncoderMemoryTest, ChunkedDecodingHoldsAPartOfTheTextWhenItFails)
{
    HostEncoder encoder("CHUNKED");
    encoder.onUnicode = [](const char *src, int &srcLen, unsigned short *dst, int &dstLen, bool) {
        srcLen = dstLen = std::min(srcLen, dstLen);
        std::copy_n(src, srcLen, dst);
        return 0;
    };
    const std::string bytes(10000, 'x');
    underMemoryFailure([] { return String("before"); },
                       [&](String &text) { text.decode(bytes.data(), 10000, &encoder); },
                       [](const String &text, bool failed) {
                           EXPECT_EQ(text.length() == 10000, !failed);
                           EXPECT_EQ(text.length() % 2048, failed ? 0 : 10000 % 2048);
                       });
}

TEST_F(EncoderMemoryTest, EncodingGivesTheWholeTextOrThrows)
{
    underMemoryFailure(
        [] {
            // Each attempt begins with a small buffer.
            String().encode(nullptr);
            return String("a text that is longer than the buffer of the last one");
        },
        [](String &text) { EXPECT_EQ(bytesOf(text, Encoder::getUtf8()).size(), 53U); },
        [](const String &, bool) { EXPECT_EQ(bytesOf(String("x"), Encoder::getUtf8()), "x"); },
        Allocates::perhaps);
}

TEST_F(EncoderMemoryTest, ConstructionGivesTheWholeTextOrThrows)
{
    const unsigned int utf32[] = {'a', 0x20AC, 'b', 0};
    underMemoryFailure(
        [] { return String(); },
        [&](String &text) {
            text = String("caf\xC3\xA9, and more of it", &Encoder::getUtf8());
            text += String(utf32);
            text += String(utf32, 2);
        },
        [](const String &text, bool failed) { EXPECT_EQ(text.length() == 25, !failed); });
}

TEST_F(EncoderMemoryTest, TextOf32BitsKeepsTheStringWhenItFails)
{
    unsigned int utf32[40] = {};
    std::fill_n(utf32, 39, 0x20ACU);
    underMemoryFailure([] { return String("before"); }, [&](String &text) { text = utf32; },
                       [](const String &text, bool failed) {
                           EXPECT_EQ(text.length(), failed ? 6 : 39);
                           EXPECT_EQ(text.wstr()[0], failed ? u'b' : u'\u20AC');
                       });
    underMemoryFailure(
        [] { return String("before"); }, [&](String &text) { text.decode(utf32); },
        [](const String &text, bool failed) { EXPECT_EQ(text.length(), failed ? 6 : 39); });
}

TEST_F(EncoderMemoryTest, EveryFormOfEncodingGivesTheWholeTextOrThrows)
{
    const String text("a text that is longer than the buffer of the last one");
    const auto smallBuffer = [] {
        String().encode(nullptr);
        return 0;
    };
    const auto nextIsFine = [&](int, bool) {
        EXPECT_EQ(bytesOf(text, Encoder::getUtf8())[0], 'a');
    };
    underMemoryFailure(
        smallBuffer, [&](int &) { EXPECT_EQ(text.encode(&Encoder::getAscii())[52], 'e'); },
        nextIsFine, Allocates::perhaps);
    underMemoryFailure(
        smallBuffer, [&](int &) { EXPECT_EQ(text.encodeUtf32()[52], unsigned{'e'}); }, nextIsFine,
        Allocates::perhaps);
    const Encoder &codePage = *Encoder::get("CP1251");
    underMemoryFailure(
        smallBuffer, [&](int &) { EXPECT_EQ(bytesOf(text, codePage).size(), 53U); }, nextIsFine,
        Allocates::perhaps);
}

TEST_F(EncoderMemoryTest, NamesAreGivenWholeOrNotAtAll)
{
    for (const char *name : {"UTF-8", "US", "BINARY", "CP1251"}) {
        const Encoder &encoder = *Encoder::get(name);
        underMemoryFailure(
            [] { return String("before"); }, [&](String &names) { encoder.getNames(names); },
            [](const String &names, bool failed) { EXPECT_EQ(names == "before", failed); },
            Allocates::perhaps);
    }
}

// The registry keeps what it is given until exit, so these count for themselves: they refuse the
// n-th request, look at what is left, and end the library.
template <class Operation, class Check>
void underFailureInASession(Operation operation, Check check)
{
    TestAllocator &allocator = TestAllocator::shared();
    bool failed = true;
    for (int request = 1; failed; ++request) {
        SCOPED_TRACE(request);
        ASSERT_LT(request, 1000);
        LibrarySession session;
        const WithoutBlockCache cacheOff;
        failed = false;
        allocator.failRequests(request, TestAllocator::forever);
        try {
            operation();
        } catch (const std::bad_alloc &) {
            failed = true;
        }
        allocator.stopFailing();
        check(failed);
    }
}

TEST(EncoderRegistryMemory, RefusedAddChangesNothingAndOwnsNothing)
{
    int deleted = 0;
    HostEncoder *encoder = nullptr;
    bool isOwned = false;
    underFailureInASession(
        [&] {
            encoder = nullptr;
            isOwned = false;
            auto own = std::make_unique<HostEncoder>("UTF-8,NEW,US", &deleted);
            encoder = own.get();
            Encoder::add(*own);
            isOwned = true;
            static_cast<void>(own.release());
        },
        [&](bool failed) {
            EXPECT_EQ(failed, !isOwned);
            EXPECT_EQ(Encoder::get("NEW"), failed ? nullptr : encoder);
            EXPECT_EQ(Encoder::get("UTF-8") == &Encoder::getUtf8(), failed);
            EXPECT_EQ(Encoder::get("US") == &Encoder::getAscii(), failed);
            EXPECT_EQ(Encoder::get("UTF8"), &Encoder::getUtf8());
        });
}

TEST(EncoderRegistryMemory, RefusedAliasChangesNothingAndOwnsNothing)
{
    underFailureInASession(
        [] {
            auto own = std::make_unique<HostEncoder>("NEW");
            EXPECT_TRUE(Encoder::addAlias(*own, "LATIN1"));
            static_cast<void>(own.release());
        },
        [](bool failed) {
            EXPECT_EQ(Encoder::get("NEW") == nullptr, failed);
            EXPECT_EQ(Encoder::get("LATIN1") == Encoder::get("ISO-8859-1"), failed);
        });
}

TEST(EncoderRegistryMemory, RefusedAliasOfANameChangesNothing)
{
    underFailureInASession([] { EXPECT_TRUE(Encoder::addAlias("UTF-8", "LATIN1")); },
                           [](bool failed) {
                               EXPECT_EQ(Encoder::get("LATIN1") == Encoder::get("ISO-8859-1"),
                                         failed);
                           });
}

TEST(EncoderRegistryMemory, RefusedAnswerToARuleIsRegisteredLater)
{
    const Encoder *answer = nullptr;
    underFailureInASession(
        [&] {
            auto own = std::make_unique<HostEncoder>("RULER");
            own->onFind = [](const String &) { return &Encoder::getAscii(); };
            answer = nullptr;
            Encoder::add(*own);
            static_cast<void>(own.release());
            const unsigned short name[] = {u'n', u'e', u'w', 0};
            answer = Encoder::get(name);
        },
        [&](bool failed) {
            EXPECT_EQ(answer == nullptr, failed);
            const bool hasRuler = Encoder::get("RULER") != nullptr;
            EXPECT_EQ(Encoder::get("NEW"), hasRuler ? &Encoder::getAscii() : nullptr);
        });
}

TEST(EncoderRegistryMemory, RefusedCodePageIsMadeLater)
{
    const Encoder *found = nullptr;
    underFailureInASession([&] { found = Encoder::get("CP1251"); },
                           [&](bool failed) {
                               const Encoder *encoder = Encoder::get("CP1251");
                               ASSERT_NE(encoder, nullptr);
                               EXPECT_TRUE(failed || encoder == found);
                               EXPECT_EQ(namesOf(encoder), "MS-CYRL,CP1251,WINDOWS-1251");
                           });
}

TEST(EncoderRegistryMemory, RefusedReplacementKeepsTheOldEncoder)
{
    HostEncoder *old = nullptr;
    underFailureInASession(
        [&] {
            auto first = std::make_unique<HostEncoder>("A,B");
            old = nullptr;
            Encoder::add(*first);
            old = first.release();
            auto second = std::make_unique<HostEncoder>("A,B,C");
            Encoder::add(*second);
            static_cast<void>(second.release());
        },
        [&](bool failed) {
            EXPECT_EQ(Encoder::get("A") == old, failed);
            EXPECT_EQ(Encoder::get("A"), Encoder::get("B"));
            EXPECT_EQ(Encoder::get("C") == nullptr, failed);
        });
}

TEST(EncoderRegistryMemory, RefusedSystemEncoderIsFoundLater)
{
    underFailureInASession([] { EXPECT_EQ(&Encoder::getSystem(), &Encoder::getUtf8()); },
                           [](bool) { EXPECT_EQ(&Encoder::getDefault(), &Encoder::getUtf8()); });
}

} // namespace
} // namespace Tavrin::test
