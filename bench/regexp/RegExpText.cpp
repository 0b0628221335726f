// SPDX-License-Identifier: MIT
#include "regexp/RegExpText.h"

#include <iterator>
#include <random>

namespace bench {

namespace {

constexpr std::size_t lineLength = 60;

const char *const rareWords[] = {"needle", "swimming", "going", "foo", "555-1234", "alpha",
                                 "golf",   "juliet",   "of of", "a a", "delta",    "312-77"};

std::string word(std::mt19937 &random)
{
    std::string letters;
    for (auto left = 2 + random() % 9; left > 0; --left)
        letters += static_cast<char>('a' + random() % 26);
    return letters;
}

} // namespace

std::string textOfLength(std::size_t length)
{
    std::mt19937 random(11);
    std::string text;
    std::size_t lineBegin = 0;
    while (text.size() < length) {
        text += random() % 40 == 0 ? rareWords[random() % std::size(rareWords)] : word(random);
        if (text.size() - lineBegin > lineLength) {
            text += '\n';
            lineBegin = text.size();
        } else {
            text += ' ';
        }
    }
    text.resize(length, '.');
    return text;
}

std::vector<std::string> shortSubjects(std::size_t count)
{
    const std::string text = textOfLength(count * 2 * lineLength);
    std::vector<std::string> subjects;
    for (std::size_t at = 0; subjects.size() < count;) {
        const std::size_t end = text.find('\n', at);
        subjects.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return subjects;
}

} // namespace bench
