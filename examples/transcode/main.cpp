// SPDX-License-Identifier: MIT
// Takes a text file from one encoding to another, and says on the way what stands in it.
//   transcode from to input output [word]
// With a word it also shows the lines that hold it, in any case.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

namespace {

constexpr int linesShown = 5;
constexpr std::size_t lettersShown = 8;
constexpr unsigned short lineEnd = '\n';

struct Job
{
    const char *from;
    const char *to;
    const char *input;
    const char *output;
    const char *word; // may be null
};

// For the terminal, which takes UTF-8.
std::string shown(const String &text)
{
    return text.encode(&Encoder::getUtf8());
}

// In the words of the library, which may be the user's language.
std::string wordingOf(int code)
{
    String message;
    TvGetErrorMsg(code, message);
    return shown(message);
}

String textOf(unsigned short unit)
{
    String text;
    text = unit;
    return text;
}

const Encoder *encoderCalled(const char *name)
{
    const Encoder *encoder = Encoder::get(name);
    if (encoder == nullptr)
        std::fprintf(stderr, "transcode: no encoding is called %s\n", name);
    return encoder;
}

bool read(const Job &job, const Encoder &encoder, String &text)
{
    std::ifstream file(job.input, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "transcode: cannot read %s\n", job.input);
        return false;
    }
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    const int code = text.decode(bytes.data(), static_cast<int>(bytes.size()), &encoder);
    if (code != 0) {
        std::fprintf(stderr, "transcode: %s is not %s: %s\n", job.input, job.from,
                     wordingOf(code).c_str());
        return false;
    }
    std::printf("%zu bytes of %s are %d code units.\n", bytes.size(), job.from, text.length());
    return true;
}

String lineAround(const String &text, int place)
{
    int begin = place;
    while (begin > 0 && text[begin - 1] != lineEnd)
        --begin;
    const int end = text.find(lineEnd, place);
    return text.substr(begin, end < 0 ? -1 : end - begin);
}

void search(const String &text, const char *word)
{
    String pattern(word, &Encoder::getUtf8());
    pattern.toLower();
    String lower(text);
    lower.toLower();
    int count = 0;
    for (int place = lower.find(pattern); place >= 0; ++count) {
        if (count < linesShown)
            std::printf("    %s\n", shown(lineAround(text, place)).c_str());
        const int end = lower.find(lineEnd, place);
        place = end < 0 ? -1 : lower.find(pattern, end);
    }
    std::printf("%d lines hold \"%s\".\n", count, shown(pattern).c_str());
}

// How often each unit beyond ASCII stands in the text.
std::vector<int> countsOf(const String &text)
{
    std::vector<int> counts(0x10000);
    for (int at = 0; at < text.length(); ++at)
        ++counts[text[at]];
    std::fill_n(counts.begin(), 0x80, 0);
    return counts;
}

void showLetters(const std::vector<int> &counts)
{
    std::vector<unsigned short> letters;
    for (unsigned unit = 0; unit < counts.size(); ++unit)
        if (counts[unit] > 0)
            letters.push_back(static_cast<unsigned short>(unit));
    std::stable_sort(
        letters.begin(), letters.end(),
        [&](unsigned short left, unsigned short right) { return counts[left] > counts[right]; });
    std::printf("%zu characters beyond ASCII, these most often:\n", letters.size());
    letters.resize(std::min(letters.size(), lettersShown));
    for (const unsigned short letter : letters)
        std::printf("    %s  U+%04X %9d\n", shown(textOf(letter)).c_str(), letter, counts[letter]);
}

// The characters that the encoding does not hold.
String missingFrom(const Encoder &encoder, const std::vector<int> &counts)
{
    String missing;
    const char *bytes = nullptr;
    int length = 0;
    for (unsigned unit = 0x80; unit < counts.size(); ++unit) {
        if (counts[unit] == 0)
            continue;
        const auto letter = static_cast<unsigned short>(unit);
        const int code = textOf(letter).encode(bytes, length, &encoder);
        if (code != 0 || (length == 1 && bytes[0] == '?'))
            missing += letter;
    }
    return missing;
}

bool write(const Job &job, const Encoder &encoder, const String &text)
{
    const char *bytes = nullptr;
    int length = 0;
    const int code = text.encode(bytes, length, &encoder);
    std::ofstream file(job.output, std::ios::binary);
    file.write(bytes, length);
    if (!file.flush()) {
        std::fprintf(stderr, "transcode: cannot write %s\n", job.output);
        return false;
    }
    std::printf("They are %d bytes of %s in %s.\n", length, job.to, job.output);
    if (code != 0)
        std::printf("Not all of it is there: %s.\n", wordingOf(code).c_str());
    String again;
    again.decode(bytes, length, &encoder);
    std::printf("Read back, it is %s text.\n", again == text ? "the same" : "another");
    return true;
}

bool transcode(const Job &job)
{
    const Encoder *from = encoderCalled(job.from);
    const Encoder *to = encoderCalled(job.to);
    String text;
    if (from == nullptr || to == nullptr || !read(job, *from, text))
        return false;
    if (job.word != nullptr)
        search(text, job.word);
    const std::vector<int> counts = countsOf(text);
    showLetters(counts);
    const String missing = missingFrom(*to, counts);
    if (missing.length() > 0)
        std::printf("%s has no %s\n", job.to, shown(missing).c_str());
    return write(job, *to, text);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 5 && argc != 6) {
        std::fprintf(stderr, "usage: transcode from to input output [word]\n");
        return 2;
    }
    InitTerm::init();
    const bool succeeded =
        transcode({argv[1], argv[2], argv[3], argv[4], argc == 6 ? argv[5] : nullptr});
    InitTerm::exit();
    return succeeded ? 0 : 1;
}
