// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Tavrin::test::reference {

// Makes patterns and subjects over a few letters. Most patterns are well formed; some are spoilt
// afterwards, and a few are nothing but noise. The same seed gives the same sequence.
class Generator
{
public:
    Generator(std::uint64_t seed, std::u16string newLetters)
        : random(seed), letters(std::move(newLetters))
    {}

    std::u16string pattern();
    std::u16string subject();
    // The same of words: long subjects, and patterns of the kind that people search them with.
    std::u16string wordPattern();
    std::u16string wordSubject(int longest);
    // Ignore case and multi-line, each in one of three cases.
    int flags();
    // 0 most of the time.
    int start(int length);

private:
    int below(int bound);
    bool oneIn(int times) { return below(times) == 0; }
    char16_t oneOf(std::u16string_view units);
    std::u16string_view oneOf(const std::vector<std::u16string_view> &texts);

    std::u16string alternatives(int depth);
    std::u16string sequence(int depth);
    std::u16string atom(int depth);
    std::u16string group(int depth);
    std::u16string characterClass();
    std::u16string classElement();
    std::u16string escape();
    std::u16string quantifier();
    std::u16string number();
    std::u16string spoilt(std::u16string text);
    std::u16string noise();
    std::u16string wordAtom(int depth);
    std::u16string wordAlternatives(int depth);
    std::u16string partOfAWord();

    std::mt19937_64 random;
    std::u16string letters;
};

// Every sequence of `length` of the pieces, one after the other.
class Sequences
{
public:
    Sequences(std::vector<std::u16string> newPieces, int length)
        : pieces(std::move(newPieces)), digits(static_cast<std::size_t>(length))
    {}

    std::u16string text() const;
    // False after the last one.
    bool next();

private:
    std::vector<std::u16string> pieces;
    std::vector<std::size_t> digits;
};

// The sequences of up to that many pieces, the shortest first.
std::vector<std::u16string> allTexts(const std::vector<std::u16string> &pieces, int longest);

} // namespace Tavrin::test::reference
