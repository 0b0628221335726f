// SPDX-License-Identifier: MIT
// Trimming and cutting off pieces. What is blank is a matter of unit values alone: 32 and below.
// A piece is complete before the string changes. Pinned by tests/text/StringSplitTest.cpp.
#include <tavrin/String.h>

#include "text/StringBlocks.h"
#include "text/WideText.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;
using detail::WideText;

namespace {

constexpr unsigned short lastBlank = 32;

UnitView stripped(UnitView text)
{
    while (text.length > 0 && text.units[text.length - 1] <= lastBlank)
        --text.length;
    while (text.length > 0 && *text.units <= lastBlank) {
        ++text.units;
        --text.length;
    }
    return text;
}

// D-038: where find would answer 0 for an empty delimiter, there is none.
int findDelimiter(UnitView text, UnitView delimiter)
{
    return delimiter.length == 0 ? -1 : detail::findForward(text, delimiter, 0);
}

} // namespace

void String::strip()
{
    const UnitView kept = stripped(StringAccess::view(*this));
    if (kept.length == buffer->length)
        return;
    if (kept.length > 0 && buffer->isShared())
        return adopt(detail::makeBuffer(kept));
    detail::moveUnits(buffer->text, kept.units, kept.length);
    adjust(kept.length);
}

String String::splitAt(int at, int delimiterLength)
{
    const UnitView piece = stripped({buffer->text, at < 0 ? buffer->length : at});
    String result = piece.length == buffer->length ? *this : StringAccess::make(piece);
    if (at < 0)
        erase();
    else
        erase(0, at + delimiterLength);
    return result;
}

String String::split(const String &delimiter)
{
    const UnitView pattern = StringAccess::view(delimiter);
    return splitAt(findDelimiter(StringAccess::view(*this), pattern), pattern.length);
}

String String::split(unsigned short delimiter)
{
    return splitAt(findDelimiter(StringAccess::view(*this), {&delimiter, 1}), 1);
}

String String::split(const char *delimiter)
{
    const WideText wide(delimiter);
    return splitAt(findDelimiter(StringAccess::view(*this), wide.view()), wide.view().length);
}

String String::split(const unsigned short *delimiter)
{
    const UnitView pattern{delimiter, detail::lengthOrZero(delimiter)};
    return splitAt(findDelimiter(StringAccess::view(*this), pattern), pattern.length);
}

} // namespace Tavrin
