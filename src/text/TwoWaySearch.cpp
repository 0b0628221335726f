// SPDX-License-Identifier: MIT
// Two-way string matching, after M. Crochemore and D. Perrin, "Two-way string-matching", Journal of
// the ACM 38 (1991).
//
// The pattern is cut in two at a critical position: there the shortest repetition that fits around
// the cut is as long as the period of the whole pattern. Each candidate is compared from the cut to
// the right, then from the cut to the left. A mismatch on the right allows a shift by as many units
// as matched there; one on the left allows a shift by the period. A pattern that repeats itself
// remembers what the shift by a period leaves matched, so that no unit of text is compared twice on
// the right.
//
// The cut is the start of the greater-indexed of two suffixes: the greatest in the order of units
// and the greatest in the reverse order. A search from the end is the same over reverse iterators.
// tests/text/UnitScanTest.cpp compares with the plain search over all short texts and patterns.

#include "text/TwoWaySearch.h"

#include <algorithm>
#include <iterator>

namespace Tavrin::detail {
namespace {

struct Cut
{
    int start;
    int period;
};

// The start of the greatest suffix, and the period of that suffix.
template <class Iterator, class Less>
Cut greatestSuffix(Iterator pattern, int m, Less isLess)
{
    Cut best = {0, 1};
    int rival = 1;
    int matched = 0;
    while (rival + matched < m) {
        const unsigned short own = pattern[best.start + matched];
        const unsigned short other = pattern[rival + matched];
        if (own == other) {
            if (++matched == best.period) {
                rival += best.period;
                matched = 0;
            }
        } else if (isLess(other, own)) {
            rival += matched + 1;
            matched = 0;
            best.period = rival - best.start;
        } else {
            best = {rival, 1};
            ++rival;
            matched = 0;
        }
    }
    return best;
}

template <class Iterator>
Cut criticalCut(Iterator pattern, int m)
{
    const Cut upward = greatestSuffix(pattern, m, std::less<unsigned short>());
    const Cut downward = greatestSuffix(pattern, m, std::greater<unsigned short>());
    return upward.start > downward.start ? upward : downward;
}

template <class Iterator>
int search(Iterator text, int n, Iterator pattern, int m)
{
    Cut cut = criticalCut(pattern, m);
    const bool repeats = std::equal(pattern, pattern + cut.start, pattern + cut.period);
    if (!repeats)
        cut.period = std::max(cut.start, m - cut.start) + 1;
    // The units at the front of the pattern that are known to match.
    int remembered = 0;
    for (int at = 0; at <= n - m;) {
        int right = std::max(cut.start, remembered);
        while (right < m && pattern[right] == text[at + right])
            ++right;
        if (right < m) {
            at += right - cut.start + 1;
            remembered = 0;
            continue;
        }
        int left = cut.start;
        while (left > remembered && pattern[left - 1] == text[at + left - 1])
            --left;
        if (left <= remembered)
            return at;
        at += cut.period;
        remembered = repeats ? m - cut.period : 0;
    }
    return -1;
}

} // namespace

int twoWaySearch(const unsigned short *text, int n, const unsigned short *pattern, int m) noexcept
{
    return search(text, n, pattern, m);
}

int twoWaySearchReverse(const unsigned short *text, int n, const unsigned short *pattern,
                        int m) noexcept
{
    const int fromEnd =
        search(std::make_reverse_iterator(text + n), n, std::make_reverse_iterator(pattern + m), m);
    return fromEnd < 0 ? -1 : n - fromEnd - m;
}

} // namespace Tavrin::detail
