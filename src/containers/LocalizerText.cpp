// SPDX-License-Identifier: MIT
// Keys and escapes of localised texts. Pinned by tests/containers/LocalizerTextTest.cpp.
#include "containers/LocalizerText.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tavrin::detail {

namespace {

constexpr unsigned short backslash = '\\';
constexpr unsigned short caret = '^';

// Symbols that plain ASCII has no sign for, and signs that the files of translators reserve.
struct Escape
{
    unsigned short introducer;
    unsigned short letter;
    unsigned short unit;
};

constexpr Escape escapes[] = {
    {backslash, 'n', 0x0A},                                           // line feed
    {backslash, 'r', 0x0D},                                           // carriage return
    {backslash, 't', 0x09},                                           // tab
    {backslash, 'b', 0x08},                                           // backspace
    {caret, '!', 0xAC},                                               // not sign
    {caret, '#', 0x2318},                                             // place of interest sign
    {caret, 'A', '\''},     {caret, 'B', 0x2022},                     // bullet
    {caret, 'C', 0xA9},                                               // copyright sign
    {caret, 'D', 0xB0},                                               // degree sign
    {caret, 'E', 0xEA},                                               // e with circumflex
    {caret, 'F', '/'},      {caret, 'I', 0x2206},                     // increment
    {caret, 'Q', '"'},      {caret, 'R', 0xAE},                       // registered sign
    {caret, 'S', 0x2211},                                             // n-ary summation
    {caret, 'T', 0x2122},                                             // trade mark sign
    {caret, 'V', '\\'},     {caret, 'b', '|'},    {caret, 'e', 0xE9}, // e with acute
    {caret, 'l', '\\'},     {caret, 'n', 0x0A},   {caret, 'r', 0x0D}, {caret, 't', 0x09},
    {caret, '^', '^'},      {caret, '[', 0x201C}, // left double quotation mark
    {caret, ']', 0x201D},                         // right double quotation mark
    {caret, '{', 0x2018},                         // left single quotation mark
    {caret, '}', 0x2019},                         // right single quotation mark
};

bool isIntroducer(unsigned short unit)
{
    return unit == backslash || unit == caret;
}

// An unknown letter stays, a backslash in front of it goes, a caret stays.
void appendEscape(String &out, unsigned short introducer, unsigned short letter)
{
    const auto *escape = std::ranges::find_if(escapes, [=](const Escape &candidate) {
        return candidate.introducer == introducer && candidate.letter == letter;
    });
    if (escape != std::end(escapes)) {
        out.append(escape->unit);
        return;
    }
    if (introducer == caret)
        out.append(caret);
    out.append(letter);
}

} // namespace

bool isLocalizerKey(const String &text)
{
    return text.ncmp("$$$", 3) == 0;
}

void takeBuiltInText(String &key)
{
    const int sign = key.find('=');
    key.erase(0, sign < 0 ? -1 : sign + 1);
}

void resolveLocalizerEscapes(String &text)
{
    const int first = text.findAny("\\^");
    if (first < 0)
        return;
    const unsigned short *units = text.wstr();
    const int length = text.length();
    String resolved = text.substr(0, first);
    for (int index = first; index < length; ++index) {
        // An introducer that nothing follows stands for itself.
        if (isIntroducer(units[index]) && index + 1 < length) {
            appendEscape(resolved, units[index], units[index + 1]);
            ++index;
        } else {
            resolved.append(units[index]);
        }
    }
    text = std::move(resolved);
}

} // namespace Tavrin::detail
