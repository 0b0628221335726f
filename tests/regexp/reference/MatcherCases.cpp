// SPDX-License-Identifier: MIT
#include "regexp/reference/Cases.h"
#include "regexp/reference/Matcher.h"

namespace Tavrin::test::reference {

namespace {

using namespace std::string_view_literals;

constexpr Case rows[] = {
    // Where a search may begin
    {"NegativeStart", u"a", u"a", "none", 0, -1},
    {"StartAtTheEnd", u"", u"abc", "none", 0, 3},
    {"StartPastTheEnd", u"", u"abc", "none", 0, 4},
    {"StartWithin", u"a", u"aaa", "1-2", 0, 1},
    {"EmptySubject", u"", u"", "0-0"},
    {"EmptySubjectFromOne", u"", u"", "none", 0, 1},
    {"EmptySubjectAndALetter", u"a", u"", "none"},
    {"EndIsReachedFromAnEarlierStart", u"$", u"abc", "3-3"},
    {"EndIsReachedFromTheLastUnit", u"$", u"abc", "3-3", 0, 2},

    // Lines
    {"BolAtZeroOnly", u"^b", u"a\nb", "none"},
    {"BolBehindEachLineEnd", u"^b", u"a\nb", "2-3", multiLine},
    {"BolBehindCarriageReturn", u"^b", u"a\rb", "2-3", multiLine},
    {"BolBehindLineSeparator", u"^b", u"a\u2028b", "2-3", multiLine},
    {"BolBehindParagraphSeparator", u"^b", u"a\u2029b", "2-3", multiLine},
    {"BolNotBehindNextLine", u"^b", u"a\u0085b", "none", multiLine},
    {"BolLooksAtTheSubjectNotTheStart", u"^b", u"ab", "none", 0, 1},
    {"EolAtTheEndOnly", u"a$", u"a\n", "none"},
    {"EolBeforeEachLineEnd", u"a$", u"a\n", "0-1", multiLine},
    {"EolBeforeCarriageReturn", u"a$", u"a\r", "0-1", multiLine},
    {"EolBeforeSeparators", u"a$", u"ab a\u2029", "3-4", multiLine},

    // Single units
    {"DotNotLineFeed", u".", u"\n", "none"},
    {"DotCarriageReturn", u".", u"\r", "0-1"},
    {"DotSeparators", u"..", u"\u2028\u2029", "0-2"},
    {"DotMultiLineIsTheSame", u".", u"\n", "none", multiLine},
    {"DotHalfOfAPair", u"^.$", u"\xD83D\xDE00", "none"},
    {"TextUnderIgnoreCase", u"aBc", u"AbC", "0-3", ignoreCase},
    {"TextUnderIgnoreCaseAboveAscii", u"\u00E4\u03B1", u"\u00C4\u0391", "0-2", ignoreCase},
    {"LongSIsNotS", u"s", u"\u017F", "none", ignoreCase},
    {"FinalSigmaIsNotSigma", u"\u03C3", u"\u03C2", "none", ignoreCase},
    {"CapitalSigmaIsSigma", u"\u03C3", u"\u03A3", "0-1", ignoreCase},
    {"KelvinSignIsK", u"k", u"\u212A", "0-1", ignoreCase},
    {"CaseIsHeededWithoutTheFlag", u"a", u"A", "none"},
    {"SetUnderIgnoreCaseByUpper", u"[A-Z]", u"a", "0-1", ignoreCase},
    {"SetUnderIgnoreCaseByLower", u"[a-z]", u"A", "0-1", ignoreCase},
    {"SetNegatedUnderIgnoreCase", u"[^A-Z]", u"a", "none", ignoreCase},
    {"SetOfLettersHoldsLongSByItsUpper", u"[A-Z]", u"\u017F", "0-1", ignoreCase},
    {"WordShorthandHoldsLongSUnderIgnoreCase", u"\\w", u"\u017F", "0-1", ignoreCase},
    {"NotWordShorthandRejectsLongSUnderIgnoreCase", u"\\W", u"\u017F", "none", ignoreCase},
    {"NotWordInAClassHoldsLongSUnderIgnoreCase", u"[\\W]", u"\u017F", "0-1", ignoreCase},
    {"NotWordInAClassRejectsWordUnits", u"[\\W]", u"k", "none", ignoreCase},
    {"SetOfATitleCaseUnitFindsOnlyItsCases", u"[\u01C5]", u"\u01C5", "none", ignoreCase},
    {"SetAtTheEnd", u"a[^b]", u"a", "none"},

    // Word boundaries
    {"BoundaryAtAWord", u"\\bb", u"a b", "2-3"},
    {"NoBoundaryWithin", u"\\Bb", u"b ab", "3-4"},
    {"BoundaryAtTheStart", u"\\b", u"a", "0-0"},
    {"NoBoundaryAtTheStartOfBlanks", u"\\B", u" a", "0-0"},
    {"BoundaryAtTheEndBehindABlank", u" \\b", u"a ", "1-2"},
    {"NoBoundaryAtTheEndBehindAWord", u"a\\B", u"a", "0-1"},
    {"BothHoldAtTheEnd", u"\\b\\B", u"ab", "2-2"},
    {"BothHoldInTheEmptySubject", u"\\b\\B", u"", "0-0"},
    {"BoundaryIsAscii", u"\\b", u"\u00E4\u00E4", "2-2"},
    {"BoundaryKnowsTheUnderscore", u"_\\b", u"_a_-", "2-3"},

    // Back references
    {"BackReference", u"(ab)\\1", u"ababab", "0-4 0-2"},
    {"BackReferenceToAnUnsetGroup", u"\\1(a)", u"a", "0-1 0-1"},
    {"BackReferenceToAnUnsetGroupAtTheEnd", u"a(b)*\\1", u"a", "0-1 -"},
    {"BackReferenceToAnEmptyGroupAtTheEnd", u"a()\\1", u"a", "0-1 1-1"},
    {"BackReferenceAtTheEnd", u"(a)\\1", u"a", "none"},
    {"BackReferenceCutShort", u"(ab)\\1", u"aba", "none"},
    {"BackReferenceUnderIgnoreCase", u"(ab)\\1", u"aBAb", "0-4 0-2", ignoreCase},
    {"BackReferenceInItsOwnGroup", u"(a\\1)", u"aa", "0-1 0-1"},
    {"BackReferenceInARepeatedGroup", u"(?:(a)|b\\1)+", u"abaa", "0-4 3-4"},

    // Quantifiers
    {"StarTakesAll", u"a*", u"aaa", "0-3"},
    {"StarTakesNothing", u"a*", u"b", "0-0"},
    {"StarGivesBack", u"a*ab", u"aaab", "0-4"},
    {"LazyStarTakesWhatItMust", u"a*?b", u"aab", "0-3"},
    {"LazyStarAlone", u"a*?", u"aa", "0-0"},
    {"LazyPlusUpToTheEnd", u"^a+?$", u"aaa", "0-3"},
    {"LazyCount", u"^a{2,3}?$", u"aaa", "0-3"},
    {"LazyCountTooShort", u"^a{2,3}?$", u"aaaa", "none"},
    {"NoRoundStartsAtTheEnd", u"(a*)+", u"", "none"},
    {"NoRoundStartsAtTheEndOptional", u"b(?:a?){1}", u"b", "none"},
    {"StarOfAGroupAtTheEnd", u"(a*)*", u"", "0-0 -"},
    {"StarOfAStar", u"(a*)*", u"aab", "0-2 2-2"},
    {"EmptyRoundSettles", u"(?:a*)+b", u"aab", "0-3"},
    {"LazyOptionalTakesARound", u"^(?:a|ab)??b$", u"ab", "0-2"},
    {"FixedCountNeverRetries", u"^(?:a|ab){1}c$", u"abc", "none"},
    {"FixedCountOfAStarNeverRetries", u"^(?:a*){1}a$", u"aa", "none"},
    {"OptionalGroupRetriesItsChoice", u"^(?:a|ab)?c$", u"abc", "0-3"},
    {"RoundsKeepTheCapturesOfEarlierRounds", u"(?:(a)|(b))*", u"ab", "0-2 0-1 1-2"},
    {"FailedRoundRestoresTheCaptures", u"(?:(a)b)*", u"abac", "0-2 0-1"},
    {"FailedFirstRoundKeepsItsCapture", u"(?:(a)b)*a", u"ac", "0-1 0-1"},
    {"ChoicesAreSharedByAllRounds", u"^(?:a|ab)*c$", u"aababc", "none"},
    {"RoundsWithoutWorkBehindAFailedRound", u"(?:a|b)*bc", u"abbc", "2-4"},
    {"CountOfAGroup", u"^(?:ab){2}$", u"abab", "0-4"},
    {"StarOfAPlainGroupKeepsTheGroupsBefore", u"(a)(b)(?:c)*", u"ab", "0-2 0-1 1-2"},

    // Groups
    {"GroupRetries", u"^(a*)ab$", u"aab", "0-3 0-1"},
    {"GroupIsRetriedAsAWhole", u"^(a*ab)$", u"aab", "0-3 0-3"},
    {"PlainGroupForgetsTheGroupBefore", u"^(x)(?:a*)ab$", u"xaab", "0-4 -"},
    {"FailedAlternativeRestoresTheCaptures", u"(a)b|c", u"ac", "1-2 -"},
    {"BranchesDoNotForgetCaptures", u"(a)b|ac", u"ac", "0-2 0-1"},

    // Alternatives
    {"FirstBranchThatMatches", u"a|ab", u"ab", "0-1"},
    {"NextBranchWhenTheRestFails", u"(?:a|ab)c", u"abc", "0-3"},
    {"UnsetGroupOfTheOtherBranch", u"(a)|b", u"b", "0-1 -"},
    {"BranchWithAChoiceIsRetriedBeforeTheNext", u"(?:a*ab|a)$", u"aab", "0-3"},
    {"NestedAlternatives", u"^(?:(?:a|b)c|d)$", u"bc", "0-2"},

    {"LastBranchWithAChoiceIsNotPassed", u"(?(?(?a)|cc+)1*)){0}", u"", "none"},

    // Every position is a candidate
    {"CandidateBehindAnEmptyRun", u"c*b{2}", u"bcbb", "1-4"},
    {"CandidateBehindAnEmptyRunAndAChoice", u"b*c?a", u"cba", "1-3"},
    {"CandidateBehindAnEmptyGroup", u"(n*).a+", u"bba", "1-3 1-1"},
    {"CandidateBehindARunOfASet", u"[a-z]+\\s?o", u"e\nfo", "2-4"},

    // Lookahead
    {"Ahead", u"a(?=b)", u"acab", "2-3"},
    {"AheadConsumesNothing", u"(?=ab)a", u"ab", "0-1"},
    {"AheadKeepsCaptures", u"(?=(a))ab", u"ab", "0-2 0-1"},
    {"AheadNeverRetries", u"(?=a*ab)", u"aab", "none"},
    {"AheadWithBranches", u"(?=a|b)b", u"b", "0-1"},
    {"AheadIsAtomic", u"(?=(a+))a*b\\1", u"baaabac", "3-6 3-4"},
    {"NotAhead", u"a(?!b)", u"abac", "2-3"},
    {"NotAheadAtTheEnd", u"a(?!b)", u"aba", "2-3"},
    {"NotAheadLeavesNoCaptureWhenItHolds", u"(?!(b)c)bd", u"bd", "0-2 -"},
    {"NotAheadOfNothing", u"(?!)", u"a", "none"},
    {"AheadOfNothing", u"(?=)", u"a", "0-0"},
    {"FailedAheadForgetsLaterGroups", u"(?=(a)b)|ac", u"ac", "0-2 -"},
    {"NestedNotAhead", u"(?!(?!a))a", u"ba", "1-2"},
    {"QuantifiedAhead", u"(?=(a))*ab", u"ab", "0-2 0-1"},

    // Searches that would go round for ever
    {"OptionalGroupOfBranches", u"(?:a|b)?c", u"b", "none"},
    {"StarOfBranches", u"(?:a|b)*c", u"b", "none"},
    {"LazyStarOfAnOptional", u"(?:b?)*?x", u"cb", "none"},
    {"OptionalGroupOfBranchesFurtherOn", u"(?:a|b)?c", u"bc", "0-2"},
    {"StarOfBranchesFurtherOn", u"(?:a|b)*c", u"bxbc", "2-4"},
};

} // namespace

std::span<const Case> matcherCases()
{
    return rows;
}

} // namespace Tavrin::test::reference
