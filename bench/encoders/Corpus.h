// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

// Text to convert: words of a language in an order that no branch predictor learns.
namespace bench {

struct Corpus
{
    const char *name;
    std::string utf8;
    std::vector<unsigned short> units;

    const char16_t *text() const { return reinterpret_cast<const char16_t *>(units.data()); }
    int byteCount() const { return static_cast<int>(utf8.size()); }
    int unitCount() const { return static_cast<int>(units.size()); }
};

// About `bytes` bytes of UTF-8, never cut within a character.
const Corpus &asciiCorpus(int bytes);
const Corpus &europeanCorpus(int bytes); // French, German, Polish, Greek and Russian sentences
const Corpus &latinCorpus(int bytes);    // only what the Latin-1 and Mac Roman sets hold
const Corpus &asianCorpus(int bytes);    // Chinese, Japanese and Korean
const Corpus &emojiCorpus(int bytes);    // one word in two is an emoji

} // namespace bench
