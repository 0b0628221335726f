// SPDX-License-Identifier: MIT
// Bytes through every encoder. The first byte of an input names the encoder, the second one the
// size of the pieces; the others are the text, as bytes and then as units.
//
// What has to hold: counts stay within what was offered, codes are the known ones, pieces give what
// the whole gives, strings hold what the encoder makes, and text that decoded without an error
// comes back from its bytes.
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

struct Subject
{
    const char *name;
    bool isBuiltIn;  // and so converts by pieces; the system's code pages want all at once
    bool isFaithful; // bytes that decode are the bytes of the text
};

constexpr Subject subjects[] = {
    {"UTF-8", true, true},     {"US-ASCII", true, true},   {"BINARY", true, true},
    {"CP1252", true, true},    {"ISO-8859-1", true, true}, {"MAC-ROMAN", true, true},
    {"UCS2", true, true},      {"UCS2BE", true, true},     {"UCS4", true, false},
    {"UCS4BE", true, false},   {"CP1251", false, true},    {"CP1255", false, false},
    {"CP932", false, false},   {"CP936", false, false},    {"CP949", false, false},
    {"CP950", false, false},   {"CP1361", false, false},   {"CP51932", false, false},
    {"CP51949", false, false}, {"CP54936", false, false},  {"CP65001", false, false},
    {"CP65000", false, false}, {"CP50220", false, false},  {"CP50225", false, false},
    {"CP37", false, false},    {"CP709", false, false},
};

bool isKnownCode(int code)
{
    return code == 0 || code == 37 || code == 38 || code == 44;
}

// Exactly so many elements, so that a sanitizer sees the first one beyond.
template <class Element>
std::unique_ptr<Element[]> blockOf(int count)
{
    return std::make_unique<Element[]>(static_cast<std::size_t>(count));
}

template <class Unit>
struct Converted
{
    std::basic_string<Unit> text;
    int consumed;
    int code;
};

// One call, and what has to hold for each.
template <class To, class From, class Convert>
Converted<To> convertOnce(const From *src, int srcLen, int room, bool continued, Convert convert)
{
    const auto source = blockOf<From>(srcLen);
    std::copy_n(src, srcLen, source.get());
    const auto target = blockOf<To>(room);
    int consumed = srcLen;
    int produced = room;
    const int code = convert(source.get(), consumed, target.get(), produced, continued);
    fuzz::require(isKnownCode(code), "the code is a known one");
    fuzz::require(consumed >= 0 && consumed <= srcLen, "no more is consumed than there is");
    fuzz::require(produced >= 0 && produced <= room, "no more is produced than there is room");
    if (consumed == 0 && code == 37 && produced == room)
        produced = 0; // nothing was done, and the room is as it was
    return {{target.get(), target.get() + produced}, consumed, code};
}

// Pieces that end where the room does.
template <class To, class From, class Convert>
Converted<To> convertByPieces(const From *src, int srcLen, int room, Convert convert)
{
    Converted<To> whole{};
    while (whole.consumed < srcLen) {
        const Converted<To> piece = convertOnce<To>(src + whole.consumed, srcLen - whole.consumed,
                                                    room, whole.consumed > 0, convert);
        whole.text += piece.text;
        whole.consumed += piece.consumed;
        // Single bytes that are replaced do not end a conversion.
        whole.code = piece.code != 0 ? piece.code : whole.code;
        if (piece.consumed == 0)
            break;
    }
    return whole;
}

class Run
{
public:
    Run(const Subject &subjectToTry, const Encoder &encoderToTry, int pieceRoom)
        : subject(subjectToTry), encoder(encoderToTry), room(pieceRoom)
    {}

    void decode(std::string_view bytes) const
    {
        const auto byteCount = static_cast<int>(bytes.size());
        int unitCount = -1;
        const int lengthCode = encoder.getUnicodeLength(bytes.data(), byteCount, unitCount);
        fuzz::require(isKnownCode(lengthCode), "the code of the length is a known one");
        String text("before");
        const int code = text.decode(bytes.data(), byteCount, &encoder);
        if (byteCount == 0)
            return fuzz::require(code == 0 && text.length() == 0, "no bytes are no text");
        if (lengthCode != 0) {
            fuzz::require(code == lengthCode, "a refused length refuses the text");
            return fuzz::require(text == "before", "a refused text leaves the string alone");
        }
        const auto convert = [&](const char *src, int &srcLen, char16_t *dst, int &dstLen,
                                 bool continued) {
            return encoder.toUnicode(src, srcLen, reinterpret_cast<unsigned short *>(dst), dstLen,
                                     continued);
        };
        const auto all = convertOnce<char16_t>(bytes.data(), byteCount, unitCount, false, convert);
        if (unitCount > 0)
            fuzz::require(unitsOf(text) == all.text && code == all.code,
                          "a string holds what the encoder makes");
        if (subject.isBuiltIn && all.consumed == byteCount)
            fuzz::require(convertByPieces<char16_t>(bytes.data(), byteCount, room, convert).text ==
                              all.text,
                          "pieces give what the whole gives");
        if (code == 0 && all.consumed == byteCount)
            comesBack(text, bytes);
    }

    void encode(std::u16string_view units) const
    {
        const auto unitCount = static_cast<int>(units.size());
        String text;
        text.append(reinterpret_cast<const unsigned short *>(units.data()), unitCount);
        const char *bytes = nullptr;
        int byteCount = -1;
        const int code = text.encode(bytes, byteCount, &encoder);
        fuzz::require(isKnownCode(code), "the code of an encoding is a known one");
        fuzz::require(bytes[byteCount] == '\0', "bytes end with a 0");
        const std::string result(bytes, static_cast<std::size_t>(byteCount));
        if (!subject.isBuiltIn || code == 37 || code == 38)
            return;
        const auto convert = [&](const char16_t *src, int &srcLen, char *dst, int &dstLen,
                                 bool continued) {
            return encoder.toMBCS(reinterpret_cast<const unsigned short *>(src), srcLen, dst,
                                  dstLen, continued);
        };
        fuzz::require(convertByPieces<char>(units.data(), unitCount, room, convert).text == result,
                      "pieces give what the whole gives");
    }

private:
    static std::u16string unitsOf(const String &text)
    {
        return {text.wstr(), text.wstr() + text.length()};
    }

    // Whether a surrogate stands in UTF-8 by itself, as three bytes.
    bool hasWrittenSurrogate(std::string_view bytes) const
    {
        if (subject.name != std::string_view("UTF-8"))
            return false;
        for (std::size_t at = 0; at + 1 < bytes.size(); ++at)
            if (bytes[at] == '\xED' && static_cast<unsigned char>(bytes[at + 1]) >= 0xA0)
                return true;
        return false;
    }

    void comesBack(const String &text, std::string_view bytes) const
    {
        // UTF-8 lets lone surrogates in, but not out, and two of them may make a pair.
        if (hasWrittenSurrogate(bytes))
            return;
        const char *encoded = nullptr;
        int length = -1;
        if (text.encode(encoded, length, &encoder) == 0 && subject.isFaithful)
            fuzz::require(bytes == std::string_view(encoded, static_cast<std::size_t>(length)),
                          "bytes come back from their text");
    }

    const Subject &subject;
    const Encoder &encoder;
    int room;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    fuzz::ByteScript script(data, size);
    const Subject &subject = subjects[script.below(std::size(subjects))];
    // The longest character takes four bytes.
    const int room = 4 + script.below(100);
    std::string bytes;
    while (!script.isOver())
        bytes += static_cast<char>(script.byte());
    const Encoder *encoder = Encoder::get(subject.name);
    fuzz::require(encoder != nullptr, "the encoder is there");
    const Run run(subject, *encoder, room);
    run.decode(bytes);
    std::u16string units;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[at]) << 8 |
                                       static_cast<unsigned char>(bytes[at + 1]));
    run.encode(units);
    return 0;
}
