// SPDX-License-Identifier: MIT
// Line ends. They are counted by kind in one pass without branches; when there is something to
// change, the length of the result follows from the counts. Pinned by
// tests/text/StringLineEndsTest.cpp.
#include <tavrin/String.h>

#include <algorithm>

#include "text/StringBlocks.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

constexpr unsigned short carriageReturn = '\r';
constexpr unsigned short lineFeed = '\n';
constexpr unsigned short bothEnds[] = {carriageReturn, lineFeed};

struct LineEnds
{
    int pairs = 0; // CR LF
    int returns = 0;
    int feeds = 0;

    int count() const { return pairs + returns + feeds; }
    int units() const { return count() + pairs; }
};

// The 0 unit behind the text is read too.
LineEnds countLineEnds(UnitView text)
{
    constexpr int blockSize = 32768; // whose counts fit 16 bits
    LineEnds ends;
    for (int at = 0; at < text.length; at += blockSize) {
        const int end = std::min(text.length - at, blockSize) + at;
        unsigned short pairs = 0;
        unsigned short returns = 0;
        unsigned short feeds = 0;
        for (int index = at; index < end; ++index) {
            const bool isReturn = text.units[index] == carriageReturn;
            returns = static_cast<unsigned short>(returns + isReturn);
            feeds = static_cast<unsigned short>(feeds + (text.units[index] == lineFeed));
            pairs = static_cast<unsigned short>(pairs +
                                                (isReturn & (text.units[index + 1] == lineFeed)));
        }
        ends.pairs += pairs;
        ends.returns += returns - pairs;
        ends.feeds += feeds - pairs;
    }
    return ends;
}

UnitView spelling(String::CRLFEncoding encoding)
{
    switch (encoding) {
    case String::kCR:
        return {bothEnds, 1};
    case String::kLF:
        return {bothEnds + 1, 1};
    case String::kCRLF:
        break;
    }
    return {bothEnds, 2};
}

bool areAll(const LineEnds &ends, String::CRLFEncoding encoding)
{
    const int count = ends.count();
    switch (encoding) {
    case String::kCR:
        return ends.returns == count;
    case String::kLF:
        return ends.feeds == count;
    case String::kCRLF:
        break;
    }
    return ends.pairs == count;
}

void copyWithEnds(UnitView text, UnitView lineEnd, unsigned short *to)
{
    while (text.length > 0) {
        const int found = detail::findAnyUnit(text.units, text.length, bothEnds, 2);
        const int line = found < 0 ? text.length : found;
        detail::copyUnits(to, text.units, line);
        to += line;
        if (found < 0)
            return;
        detail::copyUnits(to, lineEnd.units, lineEnd.length);
        to += lineEnd.length;
        const bool isPair = text.units[line] == carriageReturn && text.units[line + 1] == lineFeed;
        const int read = line + (isPair ? 2 : 1);
        text = {text.units + read, text.length - read};
    }
}

} // namespace

int String::convertLF(CRLFEncoding encoding)
{
    const UnitView text = StringAccess::view(*this);
    const LineEnds ends = countLineEnds(text);
    if (areAll(ends, encoding))
        return ends.count();
    const UnitView lineEnd = spelling(encoding);
    const std::int64_t length =
        std::int64_t{text.length} - ends.units() + std::int64_t{ends.count()} * lineEnd.length;
    StringBuffer *fresh = detail::makeBuffer(detail::checkedLength(length));
    fresh->capacityWord |= buffer->capacityWord & StringBuffer::pinnedFlag;
    copyWithEnds(text, lineEnd, fresh->text);
    adopt(fresh);
    return ends.count();
}

} // namespace Tavrin
