// SPDX-License-Identifier: MIT
#include "text/UnitScan.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/GuardedRun.h"
#include "text/TwoWaySearch.h"
#include "text/UnicodeTables.h"

namespace {

using namespace Tavrin::detail;
using testing_support::GuardedPage;

using Unit = unsigned short;
using Units = std::vector<Unit>;

// Longer than four of the widest vectors and a rest: every path of a kernel has a length below it.
constexpr int longRun = 90;

int lengthOfRun(const Units &units)
{
    return static_cast<int>(units.size());
}

std::size_t index(int position)
{
    return static_cast<std::size_t>(position);
}

// Units that are all different and differ from 0 in both bytes.
Units distinctUnits(int count)
{
    Units units(index(count));
    for (int at = 0; at < count; ++at)
        units[index(at)] = static_cast<Unit>(0x4101 + at * 0x0101);
    return units;
}

// Two copies of a run, at the start of a page and at the end of one.
class Runs
{
public:
    template <class Element>
    struct Places
    {
        Element *atStart;
        Element *atEnd;
    };

    template <class Element = Unit>
    Places<Element> place(const std::vector<Element> &run)
    {
        const Places<Element> places = {page.atStart<Element>(run.size()),
                                        otherPage.atEnd<Element>(run.size())};
        std::ranges::copy(run, places.atStart);
        std::ranges::copy(run, places.atEnd);
        return places;
    }

private:
    GuardedPage page;
    GuardedPage otherPage;
};

// --- The plainest reading of each routine --------------------------------------------------------

int plainFind(const Units &text, const Units &pattern)
{
    const auto found = std::search(text.begin(), text.end(), pattern.begin(), pattern.end());
    return found == text.end() && !pattern.empty() ? -1 : static_cast<int>(found - text.begin());
}

int plainFindReverse(const Units &text, const Units &pattern)
{
    const auto found = std::find_end(text.begin(), text.end(), pattern.begin(), pattern.end());
    return found == text.end() && !pattern.empty() ? -1 : static_cast<int>(found - text.begin());
}

std::vector<int> plainFindAll(const Units &text, const Units &pattern)
{
    std::vector<int> all;
    auto from = text.begin();
    for (;;) {
        const auto found = std::search(from, text.end(), pattern.begin(), pattern.end());
        if (found == text.end())
            return all;
        all.push_back(static_cast<int>(found - text.begin()));
        from = found + lengthOfRun(pattern);
    }
}

// Random texts, and a pattern for each, of one to four letters.
class RandomTexts
{
public:
    Units next(int longestText, int longestPattern)
    {
        const int letters = 1 + below(4);
        pattern = unitsOf(1 + below(longestPattern), letters);
        return unitsOf(below(longestText), letters);
    }

    Units pattern;

private:
    int below(int limit) { return static_cast<int>(random() % unsigned(limit)); }
    Units unitsOf(int count, int letters)
    {
        Units units(index(count));
        for (Unit &unit : units)
            unit = static_cast<Unit>('a' + below(letters));
        return units;
    }

    std::mt19937 random;
};

int plainCompare(const Units &a, const Units &b, int limit, bool isFolded)
{
    for (int at = 0; at < limit; ++at) {
        const bool endsA = at == lengthOfRun(a);
        const bool endsB = at == lengthOfRun(b);
        if (endsA || endsB)
            return endsA ? (endsB ? 0 : -1) : 1;
        const Unit left = isFolded ? toUpperUnit(a[index(at)]) : a[index(at)];
        const Unit right = isFolded ? toUpperUnit(b[index(at)]) : b[index(at)];
        if (left != right)
            return left - right;
    }
    return 0;
}

// All sequences of at most that length over {first, second}.
std::vector<Units> allTexts(int longest, Unit first, Unit second)
{
    std::vector<Units> texts = {{}};
    for (std::size_t done = 0; lengthOfRun(texts[done]) < longest; ++done) {
        for (const Unit unit : {first, second}) {
            Units longer = texts[done];
            longer.push_back(unit);
            texts.push_back(longer);
        }
    }
    return texts;
}

// --- Every set of routines -----------------------------------------------------------------------

struct NamedSet
{
    const char *name;
    const UnitRoutines *(*routines)() noexcept;
};

const UnitRoutines *activeSet() noexcept
{
    return &activeRoutines;
}

void PrintTo(const NamedSet &set, std::ostream *out)
{
    *out << set.name;
}

class UnitScan : public testing::TestWithParam<NamedSet>
{
protected:
    const UnitRoutines *set = GetParam().routines();
    Runs first;
    Runs second;
};

std::vector<NamedSet> setsOfThisProcessor()
{
    std::vector<NamedSet> sets = {{"portable", portableRoutines}, {"active", activeSet}};
    for (const NamedSet &set : {NamedSet{"sse2", sse2Routines}, NamedSet{"avx2", avx2Routines}})
        if (set.routines() != nullptr)
            sets.push_back(set);
    return sets;
}

INSTANTIATE_TEST_SUITE_P(Sets, UnitScan, testing::ValuesIn(setsOfThisProcessor()),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(UnitScanChoice, TakesTheBestSetOfThisProcessor)
{
    const UnitRoutines *best = avx2Routines();
    if (best == nullptr)
        best = sse2Routines();
    if (best == nullptr)
        best = portableRoutines();
    EXPECT_EQ(activeRoutines.findUnit, best->findUnit);
    EXPECT_EQ(activeRoutines.widen, best->widen);
}

TEST(UnitScanChoice, IsWhatTheCallersGet)
{
    Units text = {'a', 'B', 'c', 'B', 0};
    const Units other = {'A', 'b', 'C', 'b', 0};
    EXPECT_EQ(firstDifference(text.data(), text.data(), 4), 4);
    EXPECT_EQ(firstNarrowDifference(text.data(), "aBx", 3), 2);
    EXPECT_EQ(findUnit(text.data(), 4, 'B'), 1);
    EXPECT_EQ(findUnitReverse(text.data(), 4, 'B'), 3);
    EXPECT_EQ(findUnits(text.data(), 4, text.data() + 2, 2), 2);
    EXPECT_EQ(findUnitsReverse(text.data(), 4, text.data() + 3, 1), 3);
    int positions[2] = {};
    EXPECT_EQ(findAllUnits(text.data(), 4, text.data() + 1, 1, positions, 2), 2);
    EXPECT_EQ(positions[1], 3);
    EXPECT_EQ(findAnyUnit(text.data(), 4, other.data() + 2, 3), -1);
    EXPECT_EQ(firstFoldedDifference(text.data(), other.data(), 4), 4);
    EXPECT_EQ(firstChangedByUpper(text.data(), 4), 0);
    EXPECT_EQ(firstChangedByLower(text.data(), 4), 1);
    EXPECT_EQ(lengthOf(text.data()), 4);
    Units copy(4);
    EXPECT_TRUE(copyUpper(text.data(), copy.data(), 4));
    EXPECT_EQ(copy, (Units{'A', 'B', 'C', 'B'}));
    EXPECT_TRUE(copyLower(text.data(), copy.data(), 4));
    EXPECT_EQ(copy, (Units{'a', 'b', 'c', 'b'}));
    EXPECT_TRUE(upperUnits(text.data(), 4));
    EXPECT_FALSE(upperUnits(text.data(), 4));
    EXPECT_TRUE(lowerUnits(text.data(), 4));
    EXPECT_FALSE(lowerUnits(text.data(), 4));
    widen("xyz\xFF", copy.data(), 4);
    EXPECT_EQ(copy, (Units{'x', 'y', 'z', 0xFF}));
}

TEST_P(UnitScan, TakesALengthBelowOneForAnEmptyRun)
{
    for (const int n : {0, -1, INT_MIN}) {
        EXPECT_LE(set->firstDifference(nullptr, nullptr, n), 0);
        EXPECT_LE(set->firstNarrowDifference(nullptr, nullptr, n), 0);
        EXPECT_LE(set->firstFoldedDifference(nullptr, nullptr, n), 0);
        EXPECT_EQ(set->findUnit(nullptr, n, 'a'), -1);
        EXPECT_EQ(set->findUnitReverse(nullptr, n, 'a'), -1);
        const Unit few[] = {'a', 'b'};
        const Unit many[20] = {};
        EXPECT_EQ(set->findAnyUnit(nullptr, n, few, 2), -1);
        EXPECT_EQ(set->findAnyUnit(nullptr, n, many, 20), -1);
        EXPECT_EQ(set->findAnyUnit(few, 2, nullptr, n), -1);
        EXPECT_EQ(set->findUnits(nullptr, n, few, 1), -1);
        EXPECT_EQ(set->findUnits(nullptr, n, few, 2), -1);
        EXPECT_EQ(set->findUnitsReverse(nullptr, n, few, 1), -1);
        EXPECT_EQ(set->findUnitsReverse(nullptr, n, few, 2), -1);
        EXPECT_EQ(set->findUnits(few, 2, nullptr, n), 0);
        EXPECT_EQ(set->findUnitsReverse(few, 2, nullptr, n), 2);
        EXPECT_EQ(set->findUnitsReverse(nullptr, n, nullptr, 0), 0);
        EXPECT_EQ(set->findAllUnits(nullptr, n, few, 2, nullptr, 1), 0);
        EXPECT_EQ(set->findAllUnits(few, 2, nullptr, n, nullptr, 1), 0);
        EXPECT_EQ(set->findAllUnits(few, 2, few, 2, nullptr, n), 0);
        EXPECT_FALSE(set->copyUpper(nullptr, nullptr, n));
        EXPECT_FALSE(set->copyLower(nullptr, nullptr, n));
        EXPECT_LE(set->firstChangedByUpper(nullptr, n), 0);
        EXPECT_LE(set->firstChangedByLower(nullptr, n), 0);
        set->widen(nullptr, nullptr, n);
    }
}

// --- Equality ------------------------------------------------------------------------------------

TEST_P(UnitScan, FindsEveryDifferenceAtEveryPlace)
{
    for (int n = 1; n <= longRun; ++n) {
        const Units run = distinctUnits(n);
        const auto a = first.place(run);
        const auto b = second.place(run);
        ASSERT_EQ(set->firstDifference(a.atStart, b.atEnd, n), n);
        ASSERT_EQ(set->firstDifference(a.atEnd, b.atStart, n), n);
        for (int at = 0; at < n; ++at) {
            for (const int bit : {0x0001, 0x8000}) {
                b.atEnd[at] = static_cast<Unit>(b.atEnd[at] ^ bit);
                ASSERT_EQ(set->firstDifference(a.atStart, b.atEnd, n), at) << n;
                ASSERT_EQ(set->firstDifference(b.atEnd, a.atEnd, n), at) << n;
                b.atEnd[at] = run[index(at)];
            }
        }
    }
}

TEST_P(UnitScan, GivesTheFirstOfSeveralDifferences)
{
    constexpr int n = 40;
    const auto a = first.place(distinctUnits(n));
    for (int at = 0; at < n; ++at) {
        Units other = distinctUnits(n);
        for (int later = at; later < n; later += 3)
            other[index(later)] = 0;
        const auto b = second.place(other);
        ASSERT_EQ(set->firstDifference(a.atEnd, b.atEnd, n), at);
    }
}

TEST_P(UnitScan, ComparesRunsAtEveryAlignment)
{
    constexpr int n = 70;
    const Units run = distinctUnits(n);
    for (int shiftA = 0; shiftA < 20; ++shiftA) {
        for (int shiftB = 0; shiftB < 20; ++shiftB) {
            Units a(index(shiftA + n));
            std::ranges::copy(run, a.begin() + shiftA);
            Units b(index(shiftB + n));
            std::ranges::copy(run, b.begin() + shiftB);
            ASSERT_EQ(set->firstDifference(a.data() + shiftA, b.data() + shiftB, n), n);
            b.back() = 0;
            ASSERT_EQ(set->firstDifference(a.data() + shiftA, b.data() + shiftB, n), n - 1);
        }
    }
}

TEST_P(UnitScan, ComparesWithBytesAsUnsigned)
{
    for (int n = 1; n <= longRun; ++n) {
        Units run(index(n));
        std::vector<char> bytes(index(n));
        for (int at = 0; at < n; ++at) {
            run[index(at)] = static_cast<Unit>((at * 37 + 100) & 0xFF);
            bytes[index(at)] = static_cast<char>(run[index(at)]);
        }
        const auto a = first.place(run);
        const auto b = second.place(bytes);
        ASSERT_EQ(set->firstNarrowDifference(a.atStart, b.atEnd, n), n);
        ASSERT_EQ(set->firstNarrowDifference(a.atEnd, b.atStart, n), n);
        for (int at = 0; at < n; ++at) {
            for (const int bit : {0x0001, 0x0100, 0x8000}) {
                a.atEnd[at] = static_cast<Unit>(a.atEnd[at] ^ bit);
                ASSERT_EQ(set->firstNarrowDifference(a.atEnd, b.atEnd, n), at) << n;
                a.atEnd[at] = run[index(at)];
            }
        }
    }
}

// --- Search --------------------------------------------------------------------------------------

TEST_P(UnitScan, FindsTheFirstAndTheLastUnit)
{
    for (int n = 1; n <= longRun; ++n) {
        const auto text = first.place(Units(index(n), 'x'));
        for (const Unit *run : {text.atStart, text.atEnd}) {
            ASSERT_EQ(set->findUnit(run, n, 'a'), -1);
            ASSERT_EQ(set->findUnitReverse(run, n, 'a'), -1);
        }
        for (int low = 0; low < n; ++low) {
            for (int high = low; high < n; ++high) {
                text.atEnd[low] = text.atEnd[high] = 'a';
                ASSERT_EQ(set->findUnit(text.atEnd, n, 'a'), low) << n;
                ASSERT_EQ(set->findUnitReverse(text.atEnd, n, 'a'), high) << n;
                text.atEnd[low] = text.atEnd[high] = 'x';
            }
        }
    }
}

TEST_P(UnitScan, LooksAtBothBytesOfAUnit)
{
    const Units text = {0x0061, 0x6100, 0x6161, 0x0000, 0xFFFF};
    for (int at = 0; at < lengthOfRun(text); ++at) {
        ASSERT_EQ(set->findUnit(text.data(), 5, text[index(at)]), at);
        ASSERT_EQ(set->findUnitReverse(text.data(), 5, text[index(at)]), at);
    }
    EXPECT_EQ(set->findUnit(text.data(), 5, 0x0161), -1);
}

TEST_P(UnitScan, FindsEveryShortPatternInEveryShortText)
{
    const std::vector<Units> texts = allTexts(11, 'a', 'b');
    const std::vector<Units> patterns = allTexts(4, 'a', 'b');
    for (const Units &text : texts) {
        const int n = lengthOfRun(text);
        for (const Units &pattern : patterns) {
            const int m = lengthOfRun(pattern);
            ASSERT_EQ(set->findUnits(text.data(), n, pattern.data(), m), plainFind(text, pattern));
            ASSERT_EQ(set->findUnitsReverse(text.data(), n, pattern.data(), m),
                      plainFindReverse(text, pattern));
        }
    }
}

TEST_P(UnitScan, FindsAPatternAtEveryPlaceAndNoOther)
{
    for (int n = 1; n <= longRun; ++n) {
        for (const int m : {1, 2, 3, 5, 8, 17, 40, n - 1, n}) {
            if (m < 1 || m > n)
                continue;
            const Units wanted = distinctUnits(m);
            const auto pattern = second.place(wanted);
            for (int at = 0; at <= n - m; ++at) {
                Units run(index(n), 'x');
                std::ranges::copy(wanted, run.begin() + at);
                const auto text = first.place(run);
                ASSERT_EQ(set->findUnits(text.atStart, n, pattern.atEnd, m), at) << n << ' ' << m;
                ASSERT_EQ(set->findUnits(text.atEnd, n, pattern.atEnd, m), at) << n << ' ' << m;
                ASSERT_EQ(set->findUnitsReverse(text.atStart, n, pattern.atStart, m), at);
                ASSERT_EQ(set->findUnitsReverse(text.atEnd, n, pattern.atStart, m), at);
                text.atEnd[at + m / 2] = 'x';
                ASSERT_EQ(set->findUnits(text.atEnd, n, pattern.atEnd, m), -1);
                ASSERT_EQ(set->findUnitsReverse(text.atEnd, n, pattern.atEnd, m), -1);
            }
        }
    }
}

TEST_P(UnitScan, FindsPatternsInRandomTextsOfFewLetters)
{
    RandomTexts texts;
    for (int round = 0; round < 20000; ++round) {
        const Units text = texts.next(200, 30);
        const Units &pattern = texts.pattern;
        const int n = lengthOfRun(text);
        const int m = lengthOfRun(pattern);
        ASSERT_EQ(set->findUnits(text.data(), n, pattern.data(), m), plainFind(text, pattern));
        ASSERT_EQ(set->findUnitsReverse(text.data(), n, pattern.data(), m),
                  plainFindReverse(text, pattern));
    }
}

TEST_P(UnitScan, CollectsAllOccurrencesThatDoNotOverlap)
{
    RandomTexts texts;
    for (int round = 0; round < 20000; ++round) {
        const Units text = texts.next(200, 8);
        const std::vector<int> all = plainFindAll(text, texts.pattern);
        for (const int room : {0, 1, 2, 7, lengthOfRun(text), lengthOfRun(text) + 1}) {
            std::vector<int> found(index(room));
            const int count =
                set->findAllUnits(text.data(), lengthOfRun(text), texts.pattern.data(),
                                  lengthOfRun(texts.pattern), found.data(), room);
            ASSERT_EQ(count, std::min(room, static_cast<int>(all.size())));
            found.resize(index(count));
            ASSERT_TRUE(std::equal(found.begin(), found.end(), all.begin()));
        }
    }
}

TEST_P(UnitScan, CollectsOccurrencesThatMatchAlmostEverywhere)
{
    // Enough false candidates that the search changes its method on the way.
    for (const int m : {2, 20, 500}) {
        Units pattern(index(m), 'a');
        pattern[index(m / 2)] = 'b';
        Units text(9000, 'a');
        for (const int at : {3000, 3000 + m, 6000, 6001 + m, 9000 - m})
            std::ranges::copy(pattern, text.begin() + at);
        std::vector<int> found(10);
        const int count = set->findAllUnits(text.data(), 9000, pattern.data(), m, found.data(), 10);
        found.resize(index(count));
        EXPECT_EQ(found, plainFindAll(text, pattern)) << m;
        EXPECT_EQ(count, 5);
        EXPECT_EQ(set->findAllUnits(text.data(), 9000, pattern.data(), m, found.data(), 2), 2);
        EXPECT_EQ(found[1], 3000 + m);
    }
}

TEST_P(UnitScan, FindsPatternsThatMatchAlmostEverywhere)
{
    // Enough false candidates that the search changes its method on the way.
    constexpr int n = 5000;
    for (const int m : {20, 500, 2400}) {
        Units pattern(index(m), 'a');
        pattern[index(m / 2)] = 'b';
        Units text(n, 'a');
        text[n / 2] = 'c';
        EXPECT_EQ(set->findUnits(text.data(), n, pattern.data(), m), -1);
        EXPECT_EQ(set->findUnitsReverse(text.data(), n, pattern.data(), m), -1);
        for (const int at : {0, 1, 100, n - m - 1, n - m}) {
            Units holding = text;
            std::ranges::copy(pattern, holding.begin() + at);
            EXPECT_EQ(set->findUnits(holding.data(), n, pattern.data(), m), at) << m;
            EXPECT_EQ(set->findUnitsReverse(holding.data(), n, pattern.data(), m), at) << m;
        }
    }
    for (const int m : {20, 501, 2400}) {
        Units text(n);
        for (int at = 0; at < n; ++at)
            text[index(at)] = at % 2 == 0 ? 'a' : 'b';
        Units pattern(text.begin(), text.begin() + m);
        pattern[index(m / 2)] = 'c';
        EXPECT_EQ(set->findUnits(text.data(), n, pattern.data(), m), -1);
        EXPECT_EQ(set->findUnitsReverse(text.data(), n, pattern.data(), m), -1);
        for (const int at : {0, 1, 100, n - m - 1, n - m}) {
            Units holding = text;
            std::ranges::copy(pattern, holding.begin() + at);
            EXPECT_EQ(set->findUnits(holding.data(), n, pattern.data(), m), at) << m;
            EXPECT_EQ(set->findUnitsReverse(holding.data(), n, pattern.data(), m), at) << m;
        }
    }
}

TEST_P(UnitScan, LosesNoPlaceWhenASearchChangesItsMethod)
{
    // Every other place is a false candidate, so that the change comes within the first thousand.
    constexpr int n = 3000;
    constexpr int m = 20;
    Units text(n);
    for (int at = 0; at < n; ++at)
        text[index(at)] = at % 2 == 0 ? 'a' : 'b';
    Units pattern(text.begin(), text.begin() + m);
    pattern[m / 2] = 'c';
    for (int at = 0; at <= n - m; ++at) {
        Units holding = text;
        std::ranges::copy(pattern, holding.begin() + at);
        ASSERT_EQ(set->findUnits(holding.data(), n, pattern.data(), m), at);
        ASSERT_EQ(set->findUnitsReverse(holding.data(), n, pattern.data(), m), at);
    }
}

TEST_P(UnitScan, SearchesInLinearTimeWhateverThePattern)
{
    // Quadratic, this would take minutes.
    constexpr int n = 4'000'000;
    constexpr int m = n / 2;
    Units text(n);
    for (int at = 0; at < n; ++at)
        text[index(at)] = at % 2 == 0 ? 'a' : 'b';
    Units pattern(text.begin(), text.begin() + m);
    pattern[m / 2] = 'c';
    EXPECT_EQ(set->findUnits(text.data(), n, pattern.data(), m), -1);
    EXPECT_EQ(set->findUnitsReverse(text.data(), n, pattern.data(), m), -1);
}

TEST(TwoWaySearch, FindsEveryShortPatternInEveryShortText)
{
    const std::vector<Units> texts = allTexts(10, 'a', 'b');
    const std::vector<Units> patterns = allTexts(7, 'a', 'b');
    for (const Units &text : texts) {
        const int n = lengthOfRun(text);
        for (const Units &pattern : patterns) {
            const int m = lengthOfRun(pattern);
            if (m == 0)
                continue;
            ASSERT_EQ(twoWaySearch(text.data(), n, pattern.data(), m), plainFind(text, pattern));
            ASSERT_EQ(twoWaySearchReverse(text.data(), n, pattern.data(), m),
                      plainFindReverse(text, pattern));
        }
    }
}

TEST(TwoWaySearch, FindsRepeatingPatternsInRandomTexts)
{
    std::mt19937 random(1991);
    const auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
    for (int round = 0; round < 20000; ++round) {
        Units piece(index(1 + below(6)));
        for (Unit &unit : piece)
            unit = static_cast<Unit>('a' + below(3));
        const auto repeated = [&](int length) {
            Units run(index(length));
            for (int at = 0; at < length; ++at)
                run[index(at)] = piece[index(at) % piece.size()];
            if (length > 0 && below(2) == 0)
                run[index(below(length))] = static_cast<Unit>('a' + below(3));
            return run;
        };
        const Units text = repeated(below(120));
        const Units pattern = repeated(1 + below(40));
        const int n = lengthOfRun(text);
        const int m = lengthOfRun(pattern);
        ASSERT_EQ(twoWaySearch(text.data(), n, pattern.data(), m), plainFind(text, pattern));
        ASSERT_EQ(twoWaySearchReverse(text.data(), n, pattern.data(), m),
                  plainFindReverse(text, pattern));
    }
}

TEST_P(UnitScan, FindsAnyUnitOfASet)
{
    for (const int m : {1, 2, 3, 7, 8, 9, 20}) {
        Units members(index(m));
        for (int member = 0; member < m; ++member)
            members[index(member)] = static_cast<Unit>(0x3041 + member * 0x107);
        const auto wanted = second.place(members);
        for (int n = 1; n <= 50; ++n) {
            // Same low bytes as the members, other high bytes.
            Units run(index(n));
            for (int at = 0; at < n; ++at)
                run[index(at)] = static_cast<Unit>(members[index(at % m)] & 0xFF);
            const auto text = first.place(run);
            ASSERT_EQ(set->findAnyUnit(text.atStart, n, wanted.atEnd, m), -1);
            ASSERT_EQ(set->findAnyUnit(text.atEnd, n, wanted.atStart, m), -1);
            for (int at = 0; at < n; ++at) {
                const Unit member = members[index(at % m)];
                text.atEnd[at] = member;
                text.atEnd[n - 1] = members[0];
                ASSERT_EQ(set->findAnyUnit(text.atEnd, n, wanted.atEnd, m), at) << n << ' ' << m;
                text.atEnd[n - 1] = run.back();
                text.atEnd[at] = run[index(at)];
            }
        }
    }
}

TEST_P(UnitScan, FindsTheUnitZeroAsAnyOther)
{
    const Units text = {'a', 'b', 0, 'c'};
    const Units members = {'x', 0};
    EXPECT_EQ(set->findUnit(text.data(), 4, 0), 2);
    EXPECT_EQ(set->findUnitReverse(text.data(), 4, 0), 2);
    EXPECT_EQ(set->findAnyUnit(text.data(), 4, members.data(), 2), 2);
    EXPECT_EQ(set->findUnits(text.data(), 4, text.data() + 2, 2), 2);
}

// --- Comparison ----------------------------------------------------------------------------------

TEST_P(UnitScan, FoldsEveryUnitAsTheTableDoes)
{
    // Each unit stands among letters that are alike, in every lane in turn, against the units that
    // the arithmetic might take for its other case.
    constexpr int n = 19;
    Units a(n);
    Units b(n);
    for (int at = 0; at < n; ++at) {
        a[index(at)] = static_cast<Unit>('a' + at);
        b[index(at)] = static_cast<Unit>('A' + at);
    }
    for (int value = 0; value < 0x10000; ++value) {
        const auto unit = static_cast<Unit>(value);
        const int at = value % n;
        a[index(at)] = unit;
        const int rivals[] = {value,        toUpperUnit(unit), toLowerUnit(unit), value ^ 0x20,
                              value - 0x20, value + 0x20,      value ^ 0x100,     value + 1,
                              value - 1,    value - 0x50,      value + 0x50,      value ^ 0x8000};
        for (const int rival : rivals) {
            const auto other = static_cast<Unit>(rival);
            b[index(at)] = other;
            const int expected = toUpperUnit(unit) == toUpperUnit(other) ? n : at;
            ASSERT_EQ(set->firstFoldedDifference(a.data(), b.data(), n), expected)
                << std::hex << value << ' ' << rival;
            ASSERT_EQ(set->firstFoldedDifference(b.data(), a.data(), n), expected)
                << std::hex << value << ' ' << rival;
        }
        a[index(at)] = static_cast<Unit>('a' + at);
        b[index(at)] = static_cast<Unit>('A' + at);
    }
}

TEST_P(UnitScan, FoldsEveryPairOfLatinUnits)
{
    constexpr int n = 16;
    Units a(n, 'q');
    Units b(n, 'Q');
    for (int left = 0; left < 0x100; ++left) {
        for (int right = 0; right < 0x100; ++right) {
            a[5] = static_cast<Unit>(left);
            b[5] = static_cast<Unit>(right);
            const int expected = toUpperUnit(a[5]) == toUpperUnit(b[5]) ? n : 5;
            ASSERT_EQ(set->firstFoldedDifference(a.data(), b.data(), n), expected)
                << left << ' ' << right;
        }
    }
}

TEST_P(UnitScan, FindsEveryFoldedDifferenceAtEveryPlace)
{
    const Unit lower[] = {'a', 0x00E9, 0x0101, 0x0451, 0x01C6, 0x4E00};
    const Unit upper[] = {'A', 0x00C9, 0x0100, 0x0401, 0x01C4, 0x4E00};
    for (int n = 1; n <= longRun; ++n) {
        Units a(index(n));
        Units b(index(n));
        for (int at = 0; at < n; ++at) {
            a[index(at)] = lower[at / 8 % 6];
            b[index(at)] = upper[at / 8 % 6];
        }
        const auto left = first.place(a);
        const auto right = second.place(b);
        ASSERT_EQ(set->firstFoldedDifference(left.atStart, right.atEnd, n), n);
        ASSERT_EQ(set->firstFoldedDifference(left.atEnd, right.atStart, n), n);
        for (int at = 0; at < n; ++at) {
            for (const Unit wrong : {Unit{'b'}, Unit{0x0137}}) {
                right.atEnd[at] = wrong;
                ASSERT_EQ(set->firstFoldedDifference(left.atEnd, right.atEnd, n), at) << n;
                right.atEnd[at] = b[index(at)];
            }
        }
    }
}

TEST(UnitScanCompare, GivesTheFirstDifferenceOrTheOrderOfTheEnds)
{
    const std::vector<Units> texts = allTexts(5, 'a', 'B');
    for (const Units &a : texts) {
        for (const Units &b : texts) {
            for (const int limit : {INT_MIN, -1, 0, 1, 2, 3, 5, 6, INT_MAX}) {
                ASSERT_EQ(compareUnits(a.data(), lengthOfRun(a), b.data(), lengthOfRun(b), limit),
                          plainCompare(a, b, limit, false));
                ASSERT_EQ(compareFolded(a.data(), lengthOfRun(a), b.data(), lengthOfRun(b), limit),
                          plainCompare(a, b, limit, true));
            }
        }
    }
}

TEST(UnitScanCompare, GivesTheDifferenceOfUnitsNotASign)
{
    const Unit low[] = {'a', 0x0001};
    const Unit high[] = {'A', 0xFFFF};
    EXPECT_EQ(compareUnits(low, 1, high, 1, INT_MAX), 32);
    EXPECT_EQ(compareFolded(low, 1, high, 1, INT_MAX), 0);
    EXPECT_EQ(compareFolded(low, 2, high, 2, INT_MAX), 1 - 0xFFFF);
    EXPECT_EQ(compareFolded(high, 2, low, 2, INT_MAX), 0xFFFF - 1);
    // Folded: "_" lies behind "A" and before "a".
    const Unit line[] = {'_'};
    EXPECT_EQ(compareFolded(low, 1, line, 1, INT_MAX), 'A' - '_');
}

// --- Case ----------------------------------------------------------------------------------------

TEST_P(UnitScan, MapsEveryUnitAsTheTableDoes)
{
    // Among neighbours that the arithmetic knows, in every lane in turn, and in its own block.
    constexpr int n = 19;
    const Units around(n, 'm');
    Units mapped(n);
    for (int value = 0; value < 0x10000; ++value) {
        const int at = value % n;
        Units text = around;
        text[index(at)] = static_cast<Unit>(value);
        ASSERT_TRUE(set->copyUpper(text.data(), mapped.data(), n));
        ASSERT_EQ(mapped[index(at)], toUpperUnit(text[index(at)])) << std::hex << value;
        ASSERT_EQ(mapped[index((at + 1) % n)], 'M');
        const bool changes = toLowerUnit(text[index(at)]) != value;
        ASSERT_EQ(set->copyLower(text.data(), mapped.data(), n), changes) << std::hex << value;
        ASSERT_EQ(mapped[index(at)], toLowerUnit(text[index(at)])) << std::hex << value;
        ASSERT_EQ(set->firstChangedByLower(text.data(), n), changes ? at : n) << std::hex << value;
        text.assign(n, '-');
        text[index(at)] = static_cast<Unit>(value);
        const bool rises = toUpperUnit(text[index(at)]) != value;
        ASSERT_EQ(set->copyUpper(text.data(), mapped.data(), n), rises) << std::hex << value;
        ASSERT_EQ(set->firstChangedByUpper(text.data(), n), rises ? at : n) << std::hex << value;
    }
}

TEST_P(UnitScan, MapsTheWholeRepertoireInOneRun)
{
    constexpr int n = 0x10000;
    Units text(n);
    for (int value = 0; value < n; ++value)
        text[index(value)] = static_cast<Unit>(value);
    Units upper(n);
    Units lower(n);
    EXPECT_TRUE(set->copyUpper(text.data(), upper.data(), n));
    EXPECT_TRUE(set->copyLower(text.data(), lower.data(), n));
    for (int value = 0; value < n; ++value) {
        ASSERT_EQ(upper[index(value)], toUpperUnit(text[index(value)])) << std::hex << value;
        ASSERT_EQ(lower[index(value)], toLowerUnit(text[index(value)])) << std::hex << value;
    }
    EXPECT_FALSE(set->copyUpper(upper.data(), upper.data(), n));
    EXPECT_FALSE(set->copyLower(lower.data(), lower.data(), n));
    EXPECT_EQ(set->firstChangedByUpper(upper.data(), n), n);
    EXPECT_EQ(set->firstChangedByLower(lower.data(), n), n);
    EXPECT_EQ(set->firstChangedByUpper(text.data(), n), 'a');
    EXPECT_EQ(set->firstChangedByLower(text.data(), n), 'A');
}

TEST_P(UnitScan, MapsInPlaceAndApartAtEveryLength)
{
    // Letters of every kind: arithmetic in ASCII and beyond, looked up, and without case.
    const Unit kinds[] = {'a', 'Z', '7', 0x00E9, 0x00FF, 0x0101, 0x0450, 0x03C2, 0x4E00, 0x01C5};
    for (int n = 1; n <= longRun; ++n) {
        for (int start = 0; start < 10; ++start) {
            Units run(index(n));
            for (int at = 0; at < n; ++at)
                run[index(at)] = kinds[(start + at / 5) % 10];
            Units upper = run;
            Units lower = run;
            std::ranges::transform(run, upper.begin(), toUpperUnit);
            std::ranges::transform(run, lower.begin(), toLowerUnit);
            const auto from = first.place(run);
            const auto to = second.place(Units(index(n), 0xABCD));
            ASSERT_EQ(set->copyUpper(from.atEnd, to.atEnd, n), upper != run);
            ASSERT_TRUE(std::ranges::equal(upper, Units(to.atEnd, to.atEnd + n)));
            ASSERT_EQ(set->copyLower(from.atStart, to.atStart, n), lower != run);
            ASSERT_TRUE(std::ranges::equal(lower, Units(to.atStart, to.atStart + n)));
            ASSERT_EQ(set->copyUpper(from.atEnd, from.atEnd, n), upper != run);
            ASSERT_TRUE(std::ranges::equal(upper, Units(from.atEnd, from.atEnd + n)));
            ASSERT_EQ(set->copyLower(from.atStart, from.atStart, n), lower != run);
            ASSERT_TRUE(std::ranges::equal(lower, Units(from.atStart, from.atStart + n)));
        }
    }
}

TEST_P(UnitScan, WritesNothingBehindTheMappedRun)
{
    for (int n = 0; n <= 40; ++n) {
        const Units from(index(n), 'a');
        Units to(index(n + 3), 0xABCD);
        set->copyUpper(from.data(), to.data(), n);
        ASSERT_EQ(std::ranges::count(to, 0xABCD), 3) << n;
    }
}

TEST_P(UnitScan, FindsTheFirstUnitThatCaseChanges)
{
    for (int n = 1; n <= longRun; ++n) {
        for (const Unit quiet : {Unit{'-'}, Unit{0x4E00}, Unit{0x0138}}) {
            const auto text = first.place(Units(index(n), quiet));
            ASSERT_EQ(set->firstChangedByUpper(text.atStart, n), n);
            ASSERT_EQ(set->firstChangedByLower(text.atEnd, n), n);
            for (int at = 0; at < n; ++at) {
                for (const Unit changing : {Unit{'a'}, Unit{0x00FF}, Unit{0x0451}}) {
                    text.atEnd[at] = changing;
                    text.atEnd[n - 1] = changing;
                    ASSERT_EQ(set->firstChangedByUpper(text.atEnd, n), at) << n;
                    ASSERT_EQ(set->firstChangedByLower(text.atEnd, n), n);
                    text.atEnd[at] = text.atEnd[n - 1] = toUpperUnit(changing);
                    ASSERT_EQ(set->firstChangedByLower(text.atEnd, n), at) << n;
                    ASSERT_EQ(set->firstChangedByUpper(text.atEnd, n), n);
                    text.atEnd[at] = text.atEnd[n - 1] = quiet;
                }
            }
        }
    }
}

// --- Length and width ----------------------------------------------------------------------------

TEST_P(UnitScan, CountsUnitsUpToTheTerminatorOnTheLastPage)
{
    for (int n = 0; n <= 2 * longRun; ++n) {
        Units run(index(n), 0x0100);
        run.push_back(0);
        const auto text = first.place(run);
        ASSERT_EQ(set->lengthOf(text.atStart), n);
        ASSERT_EQ(set->lengthOf(text.atEnd), n);
    }
}

TEST_P(UnitScan, CountsFromEveryAlignmentAndMindsNothingInFront)
{
    for (int start = 1; start <= 40; ++start) {
        for (int n = 0; n <= 70; ++n) {
            Units run(index(start), 0);
            run.insert(run.end(), index(n), 0x00FF);
            run.insert(run.end(), 40, 0);
            ASSERT_EQ(set->lengthOf(run.data() + start), n) << start;
        }
    }
}

TEST_P(UnitScan, WidensBytesWithoutTheirSign)
{
    for (int n = 1; n <= longRun; ++n) {
        std::vector<char> bytes(index(n));
        for (int at = 0; at < n; ++at)
            bytes[index(at)] = static_cast<char>(at * 31 + 0x70);
        const auto from = first.place(bytes);
        const auto to = second.place(Units(index(n), 0xABCD));
        set->widen(from.atEnd, to.atEnd, n);
        set->widen(from.atStart, to.atStart, n);
        for (int at = 0; at < n; ++at) {
            ASSERT_EQ(to.atEnd[at], (at * 31 + 0x70) & 0xFF) << n;
            ASSERT_EQ(to.atStart[at], (at * 31 + 0x70) & 0xFF) << n;
        }
    }
}

} // namespace
