// SPDX-License-Identifier: MIT
// Formats. A format is run with the arguments that it asks for, which a small reader of formats
// finds out; widths are cut to what a test machine can hold. The input is the format, behind eight
// bytes for the arguments.
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include <tavrin/String.h>

#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

constexpr int mostWidth = 3000;

// One conversion of the input as a format of its own, and the kind of its argument.
struct Piece
{
    std::string format;
    int stars = 0;
    bool isLong = false;
    char conversion = 0;
};

class Reader
{
public:
    explicit Reader(const std::string &format) : format(format) {}

    bool isOver() const { return at == format.size(); }

    Piece next()
    {
        Piece piece;
        if (format[at] != '%') {
            const std::size_t end = std::min(format.find('%', at), format.size());
            piece.format = format.substr(at, end - at);
            at = end;
            return piece;
        }
        piece.format += format[at++];
        while (!isOver() && (format[at] == '-' || format[at] == '+'))
            piece.format += format[at++];
        if (!isOver() && format[at] == '0')
            piece.format += format[at++];
        readNumber(piece);
        if (!isOver() && format[at] == '.') {
            piece.format += format[at++];
            readNumber(piece);
        }
        if (!isOver() && std::strchr("lLhH", format[at]) != nullptr) {
            piece.isLong = format[at] == 'l';
            piece.format += format[at++];
        }
        if (!isOver()) {
            piece.conversion = format[at];
            piece.format += format[at++];
        }
        return piece;
    }

private:
    void readNumber(Piece &piece)
    {
        if (!isOver() && format[at] == '*') {
            piece.format += format[at++];
            ++piece.stars;
            return;
        }
        int number = 0;
        const std::size_t first = at;
        for (; !isOver() && format[at] >= '0' && format[at] <= '9'; ++at)
            number = std::min(number * 10 + (format[at] - '0'), mostWidth);
        if (at != first)
            piece.format += std::to_string(number);
    }

    const std::string &format;
    std::size_t at = 0;
};

template <class... Values>
void print(const Piece &piece, int number, Values... values)
{
    static const String sharer("a text that others share");
    String text(sharer);
    switch (piece.stars) {
    case 0:
        text.print(piece.format.c_str(), values...);
        break;
    case 1:
        text.print(piece.format.c_str(), number % mostWidth, values...);
        break;
    default:
        text.print(piece.format.c_str(), number % mostWidth, number % 77, values...);
        break;
    }
    fuzz::require(text.wstr()[text.length()] == 0, "a 0 stands behind the text");
    fuzz::require(sharer == "a text that others share", "sharers stay");
}

void printPiece(const Piece &piece, std::uint64_t bits)
{
    const int number = static_cast<int>(static_cast<std::uint32_t>(bits));
    double real = 0;
    std::memcpy(&real, &bits, sizeof real);
    const char bytes[] = {static_cast<char>(bits), static_cast<char>(bits >> 8), 'x', 0};
    const unsigned short units[] = {static_cast<unsigned short>(bits),
                                    static_cast<unsigned short>(bits >> 16), 'x', 0};
    const bool isNull = bits % 16 == 0;
    if (piece.conversion == 0 || std::strchr("dDuUoOxXbBcC", piece.conversion) != nullptr)
        print(piece, number, number);
    else if (std::strchr("eEfFgGnN", piece.conversion) != nullptr)
        print(piece, number, real);
    else if (piece.conversion == 's' && piece.isLong)
        print(piece, number, isNull ? nullptr : &units[0]);
    else if (piece.conversion == 's')
        print(piece, number, isNull ? nullptr : &bytes[0]);
    else if (piece.conversion == 'p' || piece.conversion == 'P')
        print(piece, number, static_cast<const void *>(units));
    else
        print(piece, number);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    std::uint64_t bits = 0;
    if (size < sizeof bits)
        return 0;
    std::memcpy(&bits, data, sizeof bits);
    const std::string format(reinterpret_cast<const char *>(data) + sizeof bits,
                             size - sizeof bits);
    Reader reader(format);
    while (!reader.isOver()) {
        printPiece(reader.next(), bits);
        bits = bits * 6364136223846793005U + 1442695040888963407U;
    }
    return 0;
}
