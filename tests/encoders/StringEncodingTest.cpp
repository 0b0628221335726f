// SPDX-License-Identifier: MIT
#include <tavrin/String.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>

#include <gtest/gtest.h>

#include <tavrin/Encoder.h>

#include "encoders/HostEncoder.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TextUnits.h"

namespace Tavrin::test {
namespace {

using StringEncodingTest = LibraryTest;
using StringEncodingThreadTest = MultiThreadedLibraryTest;

struct Encoded
{
    std::string bytes;
    int code;

    bool operator==(const Encoded &) const = default;
};

Encoded encode(const String &text, const Encoder *encoder)
{
    const char *bytes = nullptr;
    int length = -1;
    const int code = text.encode(bytes, length, encoder);
    EXPECT_EQ(String::getEncodedLength(), length);
    EXPECT_EQ(bytes[length], '\0');
    return {{bytes, static_cast<std::size_t>(length)}, code};
}

// An encoder of one byte for each unit that never tells the length, and logs its calls.
struct ChunkedEncoder : HostEncoder
{
    mutable std::string calls; // "1" for a first call, "+" for a continued one
    int stopAt = INT_MAX;      // characters before code 44
    mutable int done = 0;

    ChunkedEncoder() : HostEncoder("CHUNKED")
    {
        onUnicode = [this](const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                           bool continued) { return convert(src, srcLen, dst, dstLen, continued); };
        onMBCS = [this](const unsigned short *src, int &srcLen, char *dst, int &dstLen,
                        bool continued) { return convert(src, srcLen, dst, dstLen, continued); };
    }

    template <class From, class To>
    int convert(const From *src, int &srcLen, To *dst, int &dstLen, bool continued) const
    {
        calls += continued ? '+' : '1';
        int count = std::min(srcLen, dstLen);
        const int code = count > stopAt - done ? 44 : 0;
        count = std::min(count, stopAt - done);
        std::transform(src, src + count, dst, [](From unit) { return static_cast<To>(unit); });
        done += count;
        srcLen = dstLen = count;
        return code;
    }
};

TEST_F(StringEncodingTest, DecodesThroughTheEncoder)
{
    String text("before");
    EXPECT_EQ(text.decode("a\xC3\xA9\xE2\x82\xAC", 6, &Encoder::getUtf8()), 0);
    EXPECT_EQ(unitsOf(text), u"a\u00E9\u20AC");
}

TEST_F(StringEncodingTest, NullBytesAndNoBytesMakeTheStringEmpty)
{
    for (const int count : {-1, 0, 5}) {
        String text("before");
        EXPECT_EQ(text.decode(nullptr, count, nullptr), 0);
        EXPECT_EQ(text.length(), 0);
    }
    String text("before");
    EXPECT_EQ(text.decode("abc", 0, nullptr), 0);
    EXPECT_EQ(text.length(), 0);
    text = "before";
    EXPECT_EQ(text.decode("", -1, nullptr), 0);
    EXPECT_EQ(text.length(), 0);
}

TEST_F(StringEncodingTest, NegativeCountGoesToTheZero)
{
    String text;
    EXPECT_EQ(text.decode("abc\0def", -1, &Encoder::getAscii()), 0);
    EXPECT_EQ(unitsOf(text), u"abc");
    EXPECT_EQ(text.decode("abc\0def", 7, &Encoder::getAscii()), 0);
    EXPECT_EQ(text.length(), 7);
}

TEST_F(StringEncodingTest, NullEncoderIsTheDefaultOne)
{
    Encoder::setDefault(*Encoder::get("CP1252"));
    String text;
    EXPECT_EQ(text.decode("\x80", 1, nullptr), 0);
    EXPECT_EQ(unitsOf(text), u"\u20AC");
    EXPECT_EQ(encode(text, nullptr), (Encoded{"\x80", 0}));
    EXPECT_EQ(unitsOf(String("\x80", nullptr)), u"\u20AC");
}

TEST_F(StringEncodingTest, ConstructionWithAnEncoderDecodes)
{
    EXPECT_EQ(unitsOf(String("\xE9t\xE9", Encoder::get("CP1252"))), u"\u00E9t\u00E9");
    EXPECT_EQ(String(static_cast<const char *>(nullptr), nullptr).length(), 0);
    EXPECT_EQ(String("", &Encoder::getUtf8()).length(), 0);
    EXPECT_EQ(unitsOf(String("ab\xFF", &Encoder::getUtf8())), u"");
}

TEST_F(StringEncodingTest, ConstructionFrom32BitTextDecodes)
{
    const unsigned int text[] = {'a', 0x20AC, 'b', 0, 'c'};
    EXPECT_EQ(unitsOf(String(text)), u"a\u20ACb");
    EXPECT_EQ(unitsOf(String(text, -1)), u"a\u20ACb");
    EXPECT_EQ(unitsOf(String(text, 2)), u"a\u20AC");
    EXPECT_EQ(String(text, 5).length(), 5);
    EXPECT_EQ(String(text, 0).length(), 0);
    EXPECT_EQ(String(text + 3).length(), 0);
    const unsigned int *none = nullptr;
    EXPECT_EQ(String(none).length(), 0);
    EXPECT_EQ(String(none, 3).length(), 0);
}

TEST_F(StringEncodingTest, AssignmentFrom32BitTextDecodes)
{
    const unsigned int text[] = {'a', 0x1F600, 0};
    const unsigned int *none = nullptr;
    String string("before");
    string = text;
    EXPECT_EQ(unitsOf(string), u"a\uF600");
    EXPECT_EQ(string.decode(text + 2), 0);
    EXPECT_EQ(string.length(), 0);
    string = "before";
    EXPECT_EQ(string.decode(none), 0);
    EXPECT_EQ(string.length(), 0);
}

TEST_F(StringEncodingTest, RefusedLengthLeavesTheStringAlone)
{
    String text("before");
    EXPECT_EQ(text.decode("a\xFF", 2, &Encoder::getUtf8()), 37);
    EXPECT_TRUE(text == "before");
}

TEST_F(StringEncodingTest, FailedDecodingLeavesOnlyWhatItProduced)
{
    String text("a longer text than what comes");
    EXPECT_EQ(text.decode("ab\xE2\x28\xA1"
                          "cdef",
                          9, &Encoder::getUtf8()),
              37);
    EXPECT_EQ(unitsOf(text), u"ab\uFFFD");
    EXPECT_EQ(text.decode("ab\xC3", 3, &Encoder::getUtf8()), 38);
    EXPECT_EQ(unitsOf(text), u"ab");
    EXPECT_EQ(text.decode("\xC3", 1, &Encoder::getUtf8()), 38);
    EXPECT_EQ(text.length(), 0);
    EXPECT_EQ(text.decode("abc", 3, Encoder::get("UCS2")), 38 * 0);
    EXPECT_EQ(text.length(), 1);
    EXPECT_EQ(text.decode("a", 1, Encoder::get("UCS2")), 38);
    EXPECT_EQ(text.length(), 0);
}

TEST_F(StringEncodingTest, EncoderThatCannotDecodeGivesMinus33AndNoText)
{
    const HostEncoder encoder("HOST");
    String text("before");
    EXPECT_EQ(text.decode("abc", 3, &encoder), -33);
    EXPECT_EQ(text.length(), 0);
    EXPECT_EQ(encode(String("abc"), &encoder), (Encoded{"", -33}));
    HostEncoder measuring("MEASURING");
    measuring.onUnicodeLength = [](const char *, int srcLen, int &out) {
        out = srcLen;
        return 0;
    };
    measuring.onMBCSLength = [](const unsigned short *, int srcLen, int &out) {
        out = srcLen;
        return 0;
    };
    text = "before";
    EXPECT_EQ(text.decode("abc", 3, &measuring), -33);
    EXPECT_EQ(text.length(), 0);
    EXPECT_EQ(encode(String("abc"), &measuring), (Encoded{"", -33}));
}

TEST_F(StringEncodingTest, UnknownLengthGoesByChunksOf2048)
{
    for (const int length : {1, 2047, 2048, 2049, 4096, 100000}) {
        const std::string bytes(static_cast<std::size_t>(length), 'x');
        const std::string calls =
            "1" + std::string(static_cast<std::size_t>((length - 1) / 2048), '+');
        const ChunkedEncoder encoder;
        String text("before");
        EXPECT_EQ(text.decode(bytes.data(), length, &encoder), 0);
        EXPECT_EQ(unitsOf(text), std::u16string(bytes.begin(), bytes.end()));
        EXPECT_EQ(encoder.calls, calls);
        encoder.calls.clear();
        EXPECT_EQ(encode(text, &encoder), (Encoded{bytes, 0}));
        EXPECT_EQ(encoder.calls, calls);
    }
}

TEST_F(StringEncodingTest, ChunksStopAtACodeWithWhatWasConverted)
{
    ChunkedEncoder encoder;
    encoder.stopAt = 3000;
    const std::string bytes(10000, 'x');
    String text;
    EXPECT_EQ(text.decode(bytes.data(), 10000, &encoder), 44);
    EXPECT_EQ(text.length(), 3000);
    encoder.done = 0;
    EXPECT_EQ(encode(textOf(std::u16string(10000, u'x')), &encoder),
              (Encoded{std::string(3000, 'x'), 44}));
}

TEST_F(StringEncodingTest, ChunksStopWhenNothingIsConsumed)
{
    HostEncoder encoder("STUCK");
    int calls = 0;
    encoder.onUnicode = [&](const char *, int &srcLen, unsigned short *dst, int &dstLen, bool) {
        ++calls;
        srcLen = calls == 1 ? 1 : 0;
        dst[0] = u'x';
        dstLen = 1;
        return 0;
    };
    encoder.onMBCS = [&](const unsigned short *, int &srcLen, char *dst, int &dstLen, bool) {
        ++calls;
        srcLen = calls == 1 ? 1 : 0;
        dst[0] = 'y';
        dstLen = 1;
        return 0;
    };
    String text;
    EXPECT_EQ(text.decode("abc", 3, &encoder), 0);
    EXPECT_EQ(unitsOf(text), u"xx");
    EXPECT_EQ(calls, 2);
    calls = 0;
    EXPECT_EQ(encode(String("abc"), &encoder), (Encoded{"yy", 0}));
    EXPECT_EQ(calls, 2);
}

TEST_F(StringEncodingTest, LengthsThatCannotBeTrueAreCut)
{
    HostEncoder encoder("LIAR");
    encoder.onUnicode = [](const char *, int &srcLen, unsigned short *dst, int &dstLen, bool) {
        std::fill_n(dst, dstLen, u'x');
        srcLen = INT_MAX;
        dstLen = INT_MAX;
        return 0;
    };
    encoder.onMBCS = [](const unsigned short *, int &srcLen, char *dst, int &dstLen, bool) {
        std::fill_n(dst, dstLen, 'x');
        srcLen = INT_MIN;
        dstLen = INT_MIN;
        return 0;
    };
    String text;
    EXPECT_EQ(text.decode("abc", 3, &encoder), 0);
    EXPECT_EQ(text.length(), 2048);
    EXPECT_EQ(encode(String("abc"), &encoder), (Encoded{"", 0}));
    encoder.onUnicodeLength = [](const char *, int, int &out) {
        out = 2;
        return 0;
    };
    EXPECT_EQ(text.decode("abc", 3, &encoder), 0);
    EXPECT_EQ(unitsOf(text), u"xx");
}

TEST_F(StringEncodingTest, EncodesThroughTheEncoder)
{
    const String text = textOf(u"a\u00E9\u20AC\U0001F600");
    EXPECT_EQ(encode(text, &Encoder::getUtf8()),
              (Encoded{"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 0}));
    EXPECT_EQ(encode(text, Encoder::get("CP1252")), (Encoded{"a\xE9\x80??", 37}));
    EXPECT_STREQ(text.encode(&Encoder::getUtf8()), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(String::getEncodedLength(), 10);
}

TEST_F(StringEncodingTest, EmptyStringEncodesToNothing)
{
    EXPECT_EQ(encode(String("abc"), nullptr).bytes, "abc");
    EXPECT_EQ(encode(String(), nullptr), (Encoded{"", 0}));
    EXPECT_STREQ(String().encode(nullptr), "");
    EXPECT_EQ(String().encodeUtf32()[0], 0U);
}

TEST_F(StringEncodingTest, ResultStaysInTheSameBufferWhileItIsBigEnough)
{
    const String text("abcdefgh");
    const char *first = text.encode(&Encoder::getAscii());
    EXPECT_EQ(String("xyz").encode(&Encoder::getAscii()), first);
    EXPECT_STREQ(first, "xyz");
}

TEST_F(StringEncodingTest, FailedEncodingKeepsWhatItConverted)
{
    const std::u16string lead = {u'a', u'b', 0xD83D};
    EXPECT_EQ(encode(textOf(lead), &Encoder::getUtf8()), (Encoded{"ab", 38}));
    const std::u16string pairless = {u'a', u'b', 0xD83D, u'c', u'd'};
    EXPECT_EQ(encode(textOf(pairless), &Encoder::getUtf8()), (Encoded{"ab", 37}));
    const std::u16string trail = {u'a', u'b', 0xDE00, u'c'};
    EXPECT_EQ(encode(textOf(trail), &Encoder::getUtf8()), (Encoded{"ab", 37}));
    const std::u16string alone = {0xD83D, u'c'};
    EXPECT_EQ(encode(textOf(alone), &Encoder::getUtf8()), (Encoded{"", 37}));
}

TEST_F(StringEncodingTest, Utf32EndsWithAZeroCharacterAlsoBehindPairs)
{
    // Leaves other bytes where the terminator will have to stand.
    encode(textOf(std::u16string(100, u'\uFFFF')), &Encoder::getUtf8());
    const unsigned int *text = textOf(u"a\U0001F600\u20AC").encodeUtf32();
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text[1], 0x1F600U);
    EXPECT_EQ(text[2], 0x20ACU);
    EXPECT_EQ(text[3], 0U);
    EXPECT_EQ(String::getEncodedLength(), 12);
}

TEST_F(StringEncodingTest, StringDecodesFromItsOwnText)
{
    String text;
    const char utf8[] = "\xC3\xA9\xE2\x82\xAC!";
    const auto length = static_cast<int>(std::strlen(utf8));
    text.init((length + 1) / 2);
    std::memcpy(const_cast<unsigned short *>(text.wstr()), utf8, static_cast<std::size_t>(length));
    EXPECT_EQ(text.decode(reinterpret_cast<const char *>(text.wstr()), length, &Encoder::getUtf8()),
              0);
    EXPECT_EQ(unitsOf(text), u"\u00E9\u20AC!");
    const ChunkedEncoder chunked;
    text = "ab";
    EXPECT_EQ(text.decode(reinterpret_cast<const char *>(text.wstr()), 4, &chunked), 0);
    EXPECT_EQ(unitsOf(text), (std::u16string{u'a', 0, u'b', 0}));
    String none;
    EXPECT_EQ(none.decode(reinterpret_cast<const char *>(none.wstr()), 2, &Encoder::getAscii()), 0);
    EXPECT_EQ(none.length(), 2);
}

TEST_F(StringEncodingTest, RefusedLengthLeavesTheStringAloneAlsoForItsOwnText)
{
    HostEncoder refusing("REFUSING");
    refusing.onUnicodeLength = [](const char *, int, int &) { return 44; };
    String text("before");
    String pinned(text);
    pinned.makeUnique();
    for (String *string : {&text, &pinned}) {
        const auto *own = reinterpret_cast<const char *>(string->wstr());
        EXPECT_EQ(string->decode(own + 2, 4, &refusing), 44);
        EXPECT_TRUE(*string == "before");
    }
}

TEST_F(StringEncodingTest, StringDecodesWhatItEncodedItself)
{
    String text = textOf(u"\u00E9\u20AC");
    EXPECT_EQ(text.decode(text.encode(&Encoder::getUtf8()), -1, Encoder::get("CP1252")), 0);
    EXPECT_EQ(text.length(), 5);
}

TEST_F(StringEncodingTest, CopiesKeepTheirText)
{
    String text("before");
    const String copy(text);
    EXPECT_EQ(text.decode("now", 3, &Encoder::getAscii()), 0);
    EXPECT_TRUE(copy == "before");
    EXPECT_TRUE(text == "now");
}

TEST_F(StringEncodingTest, PinnedStringStaysPinned)
{
    String text("before");
    text.makeUnique();
    EXPECT_EQ(text.decode("afterwards and longer", -1, &Encoder::getAscii()), 0);
    const String copy(text);
    EXPECT_NE(copy.wstr(), text.wstr());
}

// The encoder is the host's: it may convert other strings while it is at work.
TEST_F(StringEncodingTest, EncoderMayEncodeStringsItself)
{
    for (const bool tellsLength : {false, true}) {
        HostEncoder encoder("NESTED");
        if (tellsLength)
            encoder.onMBCSLength = [](const unsigned short *, int srcLen, int &out) {
                out = 10 * srcLen;
                return 0;
            };
        encoder.onMBCS = [](const unsigned short *src, int &srcLen, char *dst, int &dstLen, bool) {
            dst[0] = '<';
            const String large = textOf(std::u16string(30000, u'n'));
            EXPECT_EQ(encode(large, &Encoder::getUtf8()).bytes.size(), 30000U);
            dst[1] = static_cast<char>(src[0]);
            EXPECT_EQ(encode(String("nested"), &Encoder::getUtf8()).bytes, "nested");
            dst[2] = '>';
            srcLen = 1;
            dstLen = 3;
            return 0;
        };
        EXPECT_EQ(encode(String("abc"), &encoder), (Encoded{tellsLength ? "<a>" : "<a><b><c>", 0}));
        EXPECT_EQ(encode(String("x"), &Encoder::getUtf8()).bytes, "x");
    }
}

TEST_F(StringEncodingTest, ExceptionOfAnEncoderPassesAndLeavesAValidString)
{
    HostEncoder encoder("THROWING");
    encoder.onUnicode = [](const char *, int &, unsigned short *, int &, bool) -> int {
        throw std::runtime_error("from the host");
    };
    encoder.onMBCS = [](const unsigned short *, int &, char *, int &, bool) -> int {
        throw std::runtime_error("from the host");
    };
    const auto lengthOfSource = [](const auto *, int srcLen, int &out) {
        out = srcLen;
        return 0;
    };
    for (const bool tellsLength : {false, true}) {
        if (tellsLength) {
            encoder.onUnicodeLength = lengthOfSource;
            encoder.onMBCSLength = lengthOfSource;
        }
        String text("before");
        EXPECT_THROW(text.decode("abc", 3, &encoder), std::runtime_error);
        EXPECT_EQ(text.length(), 0);
        EXPECT_THROW(encode(String("abc"), &encoder), std::runtime_error);
        EXPECT_EQ(encode(String("abc"), &Encoder::getUtf8()).bytes, "abc");
    }
}

TEST_F(StringEncodingThreadTest, ResultBelongsToTheThread)
{
    const char *bytes = String("mine").encode(&Encoder::getUtf8());
    runOnThread([] {
        EXPECT_EQ(String::getEncodedLength(), 0);
        EXPECT_STREQ(String("theirs, and longer").encode(&Encoder::getUtf8()),
                     "theirs, and longer");
    });
    EXPECT_STREQ(bytes, "mine");
    EXPECT_EQ(String::getEncodedLength(), 4);
}

TEST_F(StringEncodingThreadTest, EncoderMayUseTheRegistryWhileTheLockIsHeld)
{
    HostEncoder encoder("CALLING");
    encoder.onUnicode = [](const char *, int &srcLen, unsigned short *dst, int &dstLen, bool) {
        EXPECT_NE(Encoder::get("CP1251"), nullptr);
        EXPECT_EQ(encode(String("nested"), Encoder::get("UTF-8")).bytes, "nested");
        const ChunkedEncoder chunked;
        String other;
        EXPECT_EQ(other.decode("nested", 6, &chunked), 0);
        dst[0] = u'x';
        srcLen = 1;
        dstLen = 1;
        return 0;
    };
    runOnThreads(3, [&](int) {
        String text;
        EXPECT_EQ(text.decode("abc", 3, &encoder), 0);
        EXPECT_EQ(unitsOf(text), u"xxx");
    });
}

TEST_F(StringEncodingThreadTest, LockIsReleasedWhenAnEncoderThrows)
{
    HostEncoder encoder("THROWING");
    encoder.onUnicode = [](const char *, int &, unsigned short *, int &, bool) -> int {
        throw std::runtime_error("from the host");
    };
    String text;
    EXPECT_THROW(text.decode("abc", 3, &encoder), std::runtime_error);
    runOnThread([] { EXPECT_NE(Encoder::get("utf-8"), nullptr); });
}

// Two threads in the chunks of one encoder that keeps state: the lock lets them in one by one.
TEST_F(StringEncodingThreadTest, ChunkedConversionsDoNotMix)
{
    HostEncoder encoder("STATEFUL");
    int inside = 0;
    int seen = 0;
    encoder.onUnicode = [&](const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                            bool continued) {
        seen = continued ? seen : 0;
        ++inside;
        EXPECT_EQ(inside, 1);
        srcLen = std::min(srcLen, 100);
        std::copy_n(src, srcLen, dst);
        seen += srcLen;
        dstLen = srcLen;
        --inside;
        return 0;
    };
    runOnThreads(4, [&](int index) {
        const std::string bytes(1000, static_cast<char>('a' + index));
        for (int round = 0; round < 20; ++round) {
            String text;
            EXPECT_EQ(text.decode(bytes.data(), 1000, &encoder), 0);
            EXPECT_EQ(unitsOf(text), std::u16string(bytes.begin(), bytes.end()));
        }
    });
    EXPECT_EQ(seen, 1000);
}

} // namespace
} // namespace Tavrin::test
