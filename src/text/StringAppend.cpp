// SPDX-License-Identifier: MIT
// Concatenation. A sum is sized once and filled from both sides. An append grows the block of a
// sole owner in powers of two, so that units appended one by one cost amortised O(1), and may read
// from the very text that it extends. Pinned by tests/text/StringAppendTest.cpp.
#include <tavrin/String.h>

#include "text/StringBlocks.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;

namespace {

int sumOfLengths(int first, int second)
{
    return detail::checkedLength(std::int64_t{first} + second);
}

// A record with the text of `head` and room for `more` units behind it, which the caller fills.
StringBuffer *makeHead(UnitView head, int more)
{
    StringBuffer *record = detail::makeBuffer(sumOfLengths(head.length, more));
    detail::copyUnits(record->text, head.units, head.length);
    return record;
}

// The common sum, short and with the block at hand; else null.
StringBuffer *takeSum(UnitView head, UnitView tail)
{
    const std::int64_t length = std::int64_t{head.length} + tail.length;
    if (length > detail::longestCached)
        return nullptr;
    StringBuffer *record = detail::takeBuffer(static_cast<int>(length));
    if (record == nullptr)
        return nullptr;
    detail::copyFewUnits(record->text, head.units, head.length);
    detail::copyFewUnits(record->text + head.length, tail.units, tail.length);
    return record;
}

StringBuffer *makeSum(UnitView head, UnitView tail)
{
    StringBuffer *record = makeHead(head, tail.length);
    detail::copyUnits(record->text + head.length, tail.units, tail.length);
    return record;
}

} // namespace

inline String String::plus(const UnitView &tail) const
{
    if (tail.length > 0)
        if (StringBuffer *sum = takeSum(StringAccess::view(*this), tail)) [[likely]]
            return String(sum);
    return plusAny(tail);
}

// Apart from the common sum, which so needs no frame.
[[gnu::noinline]] String String::plusAny(const UnitView &tail) const
{
    if (tail.length == 0)
        return *this;
    return String(makeSum(StringAccess::view(*this), tail));
}

String String::operator+(const String &x) const
{
    return plus(StringAccess::view(x));
}

String String::operator+(unsigned short unit) const
{
    return plus({&unit, 1});
}

String String::operator+(const unsigned short *x) const
{
    return plus({x, detail::lengthOrZero(x)});
}

String String::operator+(const char *x) const
{
    const int count = detail::lengthOrZero(x);
    if (count == 0)
        return *this;
    StringBuffer *sum = makeHead(StringAccess::view(*this), count);
    detail::widen(x, sum->text + length(), count);
    return String(sum);
}

String &String::append(const String &x)
{
    return appendUnits(StringAccess::view(x));
}

String &String::append(const unsigned short *units, int count)
{
    if (units == nullptr)
        return *this;
    return appendUnits({units, count < 0 ? detail::lengthOf(units) : count});
}

String &String::append(const char *bytes, int count)
{
    if (bytes == nullptr)
        return *this;
    const int added = count < 0 ? detail::lengthOrZero(bytes) : count;
    if (added == 0)
        return *this;
    const int end = length();
    const int newLength = sumOfLengths(end, added);
    if (holds(bytes)) {
        // Bytes of this very text: widen them before it moves.
        StringBuffer *wide = makeHead(StringAccess::view(*this), added);
        detail::widen(bytes, wide->text + end, added);
        adopt(wide);
        return *this;
    }
    adjust(newLength);
    detail::widen(bytes, buffer->text + end, added);
    return *this;
}

String &String::appendUnits(const UnitView &added)
{
    if (added.length == 0)
        return *this;
    const int end = buffer->length;
    const int newLength = sumOfLengths(end, added.length);
    if (buffer->isShared()) {
        adopt(makeSum(StringAccess::view(*this), added));
        return *this;
    }
    const unsigned short *source = added.units;
    const bool isOwnText = holds(source);
    const std::ptrdiff_t offset = isOwnText ? source - buffer->text : 0;
    if (!buffer->keepsBlockFor(newLength)) {
        resize(newLength);
        if (isOwnText)
            source = buffer->text + offset;
    }
    // A run of the own text may end with the 0 unit that the first new unit overwrites.
    if (isOwnText)
        detail::moveUnits(buffer->text + end, source, added.length);
    else
        detail::copyUnits(buffer->text + end, source, added.length);
    buffer->length = newLength;
    buffer->text[newLength] = 0;
    return *this;
}

String &String::appendSlowly(unsigned short unit)
{
    const int end = buffer->length;
    adjust(sumOfLengths(end, 1));
    buffer->text[end] = unit;
    return *this;
}

} // namespace Tavrin
