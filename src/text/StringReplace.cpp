// SPDX-License-Identifier: MIT
// Replacing. One match is a splice. For all matches there are two ways, with the same result as
// replacing one after the other and searching on behind the inserted text: in place from front to
// back while the text does not grow and is not shared, since the writing end then never passes the
// reading one; otherwise the matches are counted and a record of the final size is filled once.
// Pinned by tests/text/StringReplaceTest.cpp.
#include <tavrin/String.h>

#include <algorithm>

#include "text/StringBlocks.h"
#include "text/UnitScan.h"
#include "text/WideText.h"

namespace Tavrin {

using detail::StringAccess;
using detail::UnitView;
using detail::WideText;

namespace {

// The matches of a pattern that do not overlap, from a first one on. The first ones are kept, so
// that a second walk finds them without a search.
class Matches
{
public:
    Matches(UnitView text, UnitView pattern, int start) : text(text), pattern(pattern)
    {
        // The sum of both could be too large.
        if (start <= text.length - pattern.length)
            kept = findFrom(std::max(start, 0), positions, room);
    }

    bool isEmpty() const { return kept == 0; }
    int first() const { return positions[0]; }
    int count() const
    {
        return forEach([](int) {});
    }

    // Calls `visit` with each position, and returns how many there are.
    template <class Visit>
    int forEach(Visit visit) const
    {
        for (int index = 0; index < kept; ++index)
            visit(positions[index]);
        if (kept < room)
            return kept;
        int total = kept;
        int last = positions[kept - 1];
        constexpr int few = 64;
        int more[few];
        for (int found = few; found == few; total += found) {
            found = findFrom(last + pattern.length, more, few);
            for (int index = 0; index < found; ++index)
                visit(last = more[index]);
        }
        return total;
    }

private:
    int findFrom(int from, int *to, int most) const
    {
        const int found = detail::findAllUnits(text.units + from, text.length - from, pattern.units,
                                               pattern.length, to, most);
        for (int index = 0; index < found; ++index)
            to[index] += from;
        return found;
    }

    static constexpr int room = 1024;

    UnitView text;
    UnitView pattern;
    int kept = 0;
    int positions[room];
};

// Copies the text with every match replaced. `to` may be the text itself when the replacement is
// not longer than the pattern.
template <class Copy>
int replaceMatches(const Matches &matches, UnitView text, int matchLength, UnitView with,
                   unsigned short *to, int &newLength, Copy copy)
{
    int read = 0;
    int write = 0;
    const auto keepUpTo = [&](int end) {
        copy(to + write, text.units + read, end - read);
        write += end - read;
    };
    const int count = matches.forEach([&](int at) {
        keepUpTo(at);
        detail::copyUnits(to + write, with.units, with.length);
        write += with.length;
        read = at + matchLength;
    });
    keepUpTo(text.length);
    newLength = write;
    return count;
}

UnitView viewOf(const String &text)
{
    return StringAccess::view(text);
}

UnitView viewOf(const unsigned short *text)
{
    return {text, detail::lengthOrZero(text)};
}

UnitView viewOf(const unsigned short &unit)
{
    return {&unit, 1};
}

} // namespace

int String::replaceUnits(const UnitView &from, const UnitView &to, int start)
{
    // D-037: start does not matter to an empty `from`.
    const int at =
        from.length == 0 ? 0 : detail::findForward(StringAccess::view(*this), from, start);
    if (at >= 0)
        splice(at, from.length, to);
    return at;
}

int String::replaceAllUnits(const UnitView &from, const UnitView &to, int start)
{
    if (from.length == 0)
        return 0;
    const UnitView text = StringAccess::view(*this);
    const Matches matches(text, from, start);
    if (matches.isEmpty())
        return 0;
    int newLength = 0;
    if (to.length <= from.length && !buffer->isShared()) {
        if (holds(from.units) || holds(to.units)) {
            const String keptFrom = StringAccess::make(from);
            const String keptTo = StringAccess::make(to);
            return replaceAllUnits(StringAccess::view(keptFrom), StringAccess::view(keptTo),
                                   matches.first());
        }
        const int count = replaceMatches(matches, text, from.length, to, buffer->text, newLength,
                                         [](auto... run) { detail::moveUnits(run...); });
        adjust(newLength);
        return count;
    }
    const int count = matches.count();
    const std::int64_t growth = std::int64_t{to.length} - from.length;
    newLength = detail::checkedLength(text.length + count * growth);
    if (newLength == 0) {
        erase();
        return count;
    }
    StringBuffer *fresh = detail::makeBuffer(newLength);
    fresh->capacityWord |= buffer->capacityWord & StringBuffer::pinnedFlag;
    replaceMatches(matches, text, from.length, to, fresh->text, newLength,
                   [](auto... run) { detail::copyUnits(run...); });
    adopt(fresh);
    return count;
}

int String::replace(const String &from, const String &to, int start)
{
    return replaceUnits(viewOf(from), viewOf(to), start);
}

int String::replace(const String &from, const char *to, int start)
{
    return replaceUnits(viewOf(from), WideText(to).view(), start);
}

int String::replace(const String &from, const unsigned short *to, int start)
{
    return replaceUnits(viewOf(from), viewOf(to), start);
}

int String::replace(const char *from, const char *to, int start)
{
    return replaceUnits(WideText(from).view(), WideText(to).view(), start);
}

int String::replace(const char *from, const String &to, int start)
{
    return replaceUnits(WideText(from).view(), viewOf(to), start);
}

int String::replace(const unsigned short *from, const unsigned short *to, int start)
{
    return replaceUnits(viewOf(from), viewOf(to), start);
}

int String::replace(const unsigned short *from, const String &to, int start)
{
    return replaceUnits(viewOf(from), viewOf(to), start);
}

int String::replace(unsigned short from, unsigned short to, int start)
{
    return replaceUnits(viewOf(from), viewOf(to), start);
}

int String::replaceAll(const String &from, const String &to, int start)
{
    return replaceAllUnits(viewOf(from), viewOf(to), start);
}

int String::replaceAll(const String &from, const char *to, int start)
{
    return replaceAllUnits(viewOf(from), WideText(to).view(), start);
}

int String::replaceAll(const String &from, const unsigned short *to, int start)
{
    return replaceAllUnits(viewOf(from), viewOf(to), start);
}

int String::replaceAll(const char *from, const char *to, int start)
{
    return replaceAllUnits(WideText(from).view(), WideText(to).view(), start);
}

int String::replaceAll(const char *from, const String &to, int start)
{
    return replaceAllUnits(WideText(from).view(), viewOf(to), start);
}

int String::replaceAll(const unsigned short *from, const unsigned short *to, int start)
{
    return replaceAllUnits(viewOf(from), viewOf(to), start);
}

int String::replaceAll(const unsigned short *from, const String &to, int start)
{
    return replaceAllUnits(viewOf(from), viewOf(to), start);
}

// Unit for unit, in one pass.
int String::replaceAll(unsigned short from, unsigned short to, int start)
{
    const int first = find(from, start);
    if (first < 0)
        return 0;
    unique();
    int count = 0;
    for (unsigned short *unit = buffer->text + first; unit != buffer->text + buffer->length;
         ++unit) {
        const bool matches = *unit == from;
        count += matches ? 1 : 0;
        *unit = matches ? to : *unit;
    }
    return count;
}

} // namespace Tavrin
