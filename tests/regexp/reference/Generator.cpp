// SPDX-License-Identifier: MIT
#include "regexp/reference/Generator.h"

#include <algorithm>

#include "regexp/reference/Matcher.h"

namespace Tavrin::test::reference {

namespace {

using namespace std::string_view_literals;

constexpr int deepestGroup = 3;
constexpr std::u16string_view noiseUnits = u"abc()()||[]{}*+?.^$\\\\-,:=!0123dDwWsSbBcxuonrt\u017F";
// Units that case mapping, lines and word boundaries treat in a way of their own.
constexpr std::u16string_view oddUnits = u" _0189\n\r\b\t\u2028\u00A0\u00E4\u00C4\u017F\u212A\u01C5"
                                         u"\uFFFF\0"sv;

const std::vector<std::u16string_view> words = {
    u"a",         u"ab",     u"aaaaaaaaaaaaaaaaaaaaaaaa",
    u"foo",       u"foobar", u"barfoo",
    u"king",      u"sing",   u"singing",
    u"ing",       u"the",    u"then",
    u"there",     u"other",  u"abababababababababab",
    u"12",        u"345",    u"555-1234",
    u"5551",      u"_x",     u"Stra\u00DFe",
    u"\u017Fing", u"THE",    u"Foo"};
const std::vector<std::u16string_view> gaps = {u" ",  u" ", u" ",  u"  ", u"\n",
                                               u"\t", u"-", u", ", u""};

} // namespace

int Generator::below(int bound)
{
    return static_cast<int>(random() % static_cast<unsigned>(bound));
}

char16_t Generator::oneOf(std::u16string_view units)
{
    return units[static_cast<std::size_t>(below(static_cast<int>(units.size())))];
}

std::u16string_view Generator::oneOf(const std::vector<std::u16string_view> &texts)
{
    return texts[static_cast<std::size_t>(below(static_cast<int>(texts.size())))];
}

int Generator::flags()
{
    return (oneIn(3) ? ignoreCase : 0) | (oneIn(3) ? multiLine : 0);
}

int Generator::start(int length)
{
    return oneIn(8) ? below(length + 3) - 1 : 0;
}

std::u16string Generator::pattern()
{
    if (oneIn(20))
        return noise();
    std::u16string text = alternatives(0);
    return oneIn(8) ? spoilt(std::move(text)) : text;
}

std::u16string Generator::subject()
{
    std::u16string text;
    for (int left = below(oneIn(8) ? 14 : 7); left > 0; --left) {
        char16_t unit = oneIn(12) ? oneOf(oddUnits) : oneOf(letters);
        if (oneIn(8) && unit >= 'a' && unit <= 'z')
            unit = static_cast<char16_t>(unit - 'a' + 'A');
        text += unit;
    }
    return text;
}

std::u16string Generator::alternatives(int depth)
{
    std::u16string text;
    for (int more = oneIn(3) ? 1 + below(2) : 0; more > 0; --more) {
        if (!oneIn(8))
            text += sequence(depth);
        text += u'|';
    }
    if (!oneIn(10))
        text += sequence(depth);
    return text;
}

std::u16string Generator::sequence(int depth)
{
    std::u16string text;
    for (int left = 1 + below(depth == 0 ? 4 : 3); left > 0; --left) {
        text += atom(depth);
        if (oneIn(3))
            text += quantifier();
    }
    return text;
}

std::u16string Generator::atom(int depth)
{
    const int choice = below(20);
    if (choice < 6 && depth < deepestGroup)
        return group(depth);
    switch (choice) {
    case 6:
        return u".";
    case 7:
        return characterClass();
    case 8:
        return escape();
    case 9:
        return std::u16string{u'\\', oneOf(u"1112")};
    case 10:
        return std::u16string(oneOf({u"^", u"$", u"\\b", u"\\B"}));
    case 11:
        return std::u16string{oneOf(letters), oneOf(letters)};
    default:
        return std::u16string(1, oneIn(40) ? oneOf(u")]},:=!-") : oneOf(letters));
    }
}

std::u16string Generator::group(int depth)
{
    const std::u16string_view opening =
        oneOf({u"(", u"(", u"(", u"(?:", u"(?:", u"(?:", u"(?=", u"(?!", oneIn(8) ? u"(?" : u"("});
    return std::u16string(opening) + (oneIn(20) ? u"" : alternatives(depth + 1)) + u")";
}

std::u16string Generator::characterClass()
{
    std::u16string text = oneIn(3) ? u"[^" : u"[";
    for (int left = below(4); left > 0; --left)
        text += classElement();
    return text + u"]";
}

std::u16string Generator::classElement()
{
    switch (below(8)) {
    case 0:
        return escape();
    case 1: {
        char16_t first = oneOf(letters);
        char16_t last = oneOf(letters);
        if (first > last && !oneIn(20))
            std::swap(first, last);
        return std::u16string{first, u'-', last};
    }
    case 2:
        return std::u16string(oneOf({u"-", u"^", u".", u"(", u"|", u"A-Z", u"\\d-", u"a-\\d"}));
    default:
        return std::u16string(1, oneOf(letters));
    }
}

std::u16string Generator::escape()
{
    return std::u16string(oneOf({u"\\w",   u"\\W",     u"\\s",    u"\\S", u"\\d",  u"\\D",   u"\\n",
                                 u"\\x61", u"\\u0062", u"\\o141", u"\\0", u"\\12", u"\\101", u"\\x",
                                 u"\\u00", u"\\cA",    u"\\b",    u"\\*", u"\\\\", u"\\z"}));
}

std::u16string Generator::quantifier()
{
    std::u16string text;
    switch (below(6)) {
    case 0:
    case 1:
        text = u"*";
        break;
    case 2:
        text = u"+";
        break;
    case 3:
        text = u"?";
        break;
    default:
        text = u"{" + number();
        if (!oneIn(3))
            text += u"," + (oneIn(3) ? u"" : number());
        text += u"}";
    }
    return oneIn(3) ? text + u"?" : text;
}

std::u16string Generator::number()
{
    return oneIn(40) ? std::u16string(oneOf({u"", u"12", u"2147483648", u"\\x32"}))
                     : std::u16string(1, oneOf(u"0112234"));
}

std::u16string Generator::spoilt(std::u16string text)
{
    for (int left = 1 + below(3); left > 0; --left) {
        const auto at = static_cast<std::size_t>(below(static_cast<int>(text.size()) + 1));
        if (oneIn(2) && at < text.size())
            text.erase(at, 1);
        else
            text.insert(at, 1, oneOf(noiseUnits));
    }
    return text;
}

std::u16string Generator::noise()
{
    std::u16string text;
    for (int left = below(10); left > 0; --left)
        text += oneOf(noiseUnits);
    return text;
}

std::u16string Generator::wordSubject(int longest)
{
    std::u16string text;
    const auto length = static_cast<std::size_t>(below(longest + 1));
    // Some subjects repeat few words, so that references and long runs have something to find.
    const std::u16string_view usual = oneOf(words);
    while (text.size() < length) {
        text += oneIn(3) ? usual : oneOf(words);
        text += oneOf(gaps);
    }
    text.resize(length);
    return text;
}

std::u16string Generator::partOfAWord()
{
    const std::u16string_view word = oneOf(words);
    const auto length = static_cast<int>(word.size());
    const int first = oneIn(3) ? below(length) : 0;
    const int count = oneIn(3) ? 1 + below(length - first) : length - first;
    return std::u16string(
        word.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(count)));
}

std::u16string Generator::wordPattern()
{
    return oneIn(4) ? wordAlternatives(0) : wordAtom(0) + (oneIn(4) ? u"" : wordAlternatives(1));
}

std::u16string Generator::wordAlternatives(int depth)
{
    std::u16string text;
    for (int branches = oneIn(3) ? 2 + below(9) : 1; branches > 0; --branches) {
        for (int atoms = 1 + below(3); atoms > 0; --atoms)
            text += wordAtom(depth);
        if (branches > 1)
            text += u'|';
    }
    return text;
}

std::u16string Generator::wordAtom(int depth)
{
    std::u16string text;
    switch (below(depth < 2 ? 12 : 8)) {
    case 0:
    case 1:
    case 2:
        return partOfAWord();
    case 3:
    case 4:
        text = oneOf({u"\\w", u"[a-z]", u"[^a]", u"\\d", u".", u"\\S", u"[a-f\\d]", u"[^\\n]",
                      u"[A-Z]", u"a", u"\\W"});
        break;
    case 5:
        text = u"\\s";
        break;
    case 6:
        return std::u16string(oneOf({u"\\b", u"\\B", u"^", u"$", u"\\b"}));
    case 7:
        return oneIn(2) ? u"\\1" : u"-";
    case 8:
        text = u"(?:" + wordAlternatives(depth + 1) + u")";
        break;
    case 9:
        return (oneIn(2) ? u"(?=" : u"(?!") + wordAlternatives(depth + 1) + u")";
    default:
        text = u"(" + wordAlternatives(depth + 1) + u")";
    }
    return oneIn(3) ? text : text + quantifier();
}

std::u16string Sequences::text() const
{
    std::u16string joined;
    for (const std::size_t digit : digits)
        joined += pieces[digit];
    return joined;
}

bool Sequences::next()
{
    for (std::size_t &digit : digits) {
        if (++digit < pieces.size())
            return true;
        digit = 0;
    }
    return false;
}

std::vector<std::u16string> allTexts(const std::vector<std::u16string> &pieces, int longest)
{
    std::vector<std::u16string> texts;
    for (int length = 0; length <= longest; ++length) {
        Sequences sequences(pieces, length);
        do
            texts.push_back(sequences.text());
        while (sequences.next());
    }
    return texts;
}

} // namespace Tavrin::test::reference
