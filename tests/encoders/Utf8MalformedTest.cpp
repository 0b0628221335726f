// SPDX-License-Identifier: MIT
// Every sequence of up to four bytes, as far as the rules can tell them apart, by itself and within
// text; and the same question put to the system's own converter.
#include <array>
#include <span>

#include <iconv.h>

#include <gtest/gtest.h>

#include "encoders/Utf8Naive.h"

namespace Tavrin::test {
namespace {

// Both ends of every range in which the rules treat bytes alike, and some from within.
constexpr unsigned char tellingBytes[] = {
    0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC,
    0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF};

using Sequences = std::vector<std::string>;

// All sequences of `length` bytes out of `bytes`.
Sequences sequencesOf(std::span<const unsigned char> bytes, int length)
{
    Sequences sequences = {""};
    for (int count = 0; count < length; ++count) {
        Sequences longer;
        longer.reserve(sequences.size() * bytes.size());
        for (const std::string &sequence : sequences)
            for (const unsigned char byte : bytes)
                longer.push_back(sequence + static_cast<char>(byte));
        sequences = std::move(longer);
    }
    return sequences;
}

std::array<unsigned char, 256> allBytes()
{
    std::array<unsigned char, 256> bytes{};
    for (unsigned value = 0; value < bytes.size(); ++value)
        bytes[value] = static_cast<unsigned char>(value);
    return bytes;
}

// The others add nothing to what shorter sequences show.
bool beginsASequence(const std::string &bytes)
{
    return static_cast<unsigned char>(bytes[0]) >= 0xC0;
}

std::string spelled(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes) {
        text += "0123456789ABCDEF"[static_cast<unsigned char>(byte) >> 4];
        text += "0123456789ABCDEF"[static_cast<unsigned char>(byte) & 15];
        text += ' ';
    }
    return text;
}

TEST(Utf8Malformed, EverySequenceOfUpToTwoBytes)
{
    for (const int length : {1, 2})
        for (const std::string &sequence : sequencesOf(allBytes(), length))
            ASSERT_TRUE(decodesAlike(sequence, 8)) << spelled(sequence);
}

TEST(Utf8Malformed, EverySequenceOfThreeBytesOfAllKinds)
{
    for (const std::string &sequence : sequencesOf(allBytes(), 2)) {
        if (!beginsASequence(sequence))
            continue;
        for (const unsigned char last : tellingBytes)
            ASSERT_TRUE(decodesAlike(sequence + static_cast<char>(last), 8)) << spelled(sequence);
    }
}

TEST(Utf8Malformed, EverySequenceOfFourBytesOfAllKinds)
{
    for (const std::string &sequence : sequencesOf(tellingBytes, 4)) {
        if (!beginsASequence(sequence))
            continue;
        ASSERT_TRUE(decodesAlike(sequence, 8)) << spelled(sequence);
    }
}

// Within text, at the places where blocks begin, end, and are cut.
TEST(Utf8Malformed, EverySequenceWithinBlocks)
{
    const std::string around[] = {std::string(200, 'a'), [] {
                                      std::string text;
                                      while (text.size() < 200)
                                          text += "\xC3\xA9";
                                      return text;
                                  }()};
    const Sequences sequences = sequencesOf(tellingBytes, 3);
    std::size_t turn = 0;
    for (const std::string &sequence : sequences) {
        for (const std::string &text : around) {
            // Two places for each sequence, different ones for its neighbours.
            constexpr std::array<std::size_t, 8> places = {0, 58, 60, 62, 64, 66, 124, 128};
            const std::size_t place = places[turn++ % places.size()];
            std::string bytes = text;
            bytes.insert(place, sequence);
            ASSERT_TRUE(decodesAlike(bytes, 256)) << spelled(sequence) << "at " << place;
        }
    }
}

class Iconv
{
public:
    Iconv(const char *to, const char *from) : handle(iconv_open(to, from)) {}
    ~Iconv() { iconv_close(handle); }
    Iconv(const Iconv &) = delete;
    Iconv &operator=(const Iconv &) = delete;

    // Whether all of the text converts; what came out stands in `result`.
    bool convert(std::string text, std::u16string &result)
    {
        result.assign(text.size() + 4, u'\0');
        char *src = text.data();
        auto *dst = reinterpret_cast<char *>(result.data());
        std::size_t srcLeft = text.size();
        std::size_t dstLeft = result.size() * 2;
        iconv(handle, nullptr, nullptr, nullptr, nullptr);
        const bool isDone = iconv(handle, &src, &srcLeft, &dst, &dstLeft) == 0;
        result.resize(result.size() - dstLeft / 2);
        return isDone && srcLeft == 0;
    }

private:
    iconv_t handle;
};

// This decoder lets lone surrogates pass, the system's does not.
bool holdsSurrogates(const std::u16string &units)
{
    for (std::size_t index = 0; index < units.size(); ++index)
        if (units[index] >= 0xD800 && units[index] <= 0xDFFF)
            return true;
    return false;
}

TEST(Utf8Malformed, AgreesWithIconvOnWhatIsValid)
{
    Iconv iconv("UTF-16LE", "UTF-8");
    int valid = 0;
    int surrogates = 0;
    for (int length = 1; length <= 4; ++length) {
        for (const std::string &sequence : sequencesOf(tellingBytes, length)) {
            std::u16string expected;
            const bool isValid = iconv.convert(sequence, expected);
            const Decoded decoded = decodeBy(detail::decodeUtf8, sequence, 8);
            if (decoded.conversion.code == 0 && !isValid) {
                ASSERT_TRUE(holdsSurrogates(decoded.text)) << spelled(sequence);
                ++surrogates;
                continue;
            }
            ASSERT_EQ(decoded.conversion.code == 0, isValid) << spelled(sequence);
            if (isValid) {
                ASSERT_TRUE(decoded.text == expected) << spelled(sequence);
                ++valid;
            }
        }
    }
    EXPECT_GT(valid, 100);
    EXPECT_GT(surrogates, 4);
}

} // namespace
} // namespace Tavrin::test
