// SPDX-License-Identifier: MIT
// Counts the words of text files: one thread a file, words without regard to case.
//   wordcount file ...
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

namespace {

constexpr int rowsShown = 12;
constexpr int longestBar = 40;

// A word that was seen, in lower case.
struct Tally
{
    String word;
    int count = 1;
};

// Reads one file on a thread of its own.
class Reader : public Thread
{
public:
    explicit Reader(std::string name) : fileName(std::move(name)) {}

    void run() override
    {
        std::ifstream file(fileName);
        readable = file.good();
        for (std::string line; std::getline(file, line); ++lines)
            takeWords(String(line.c_str()));
        done.signal();
    }
    // Reads in the background; at once when the system has no thread left.
    void begin()
    {
        if (getError() == 0)
            start();
        else
            run();
    }
    // Returns when the thread has let go of the library.
    void await()
    {
        done.wait();
        while (getError() == 0 && isActive())
            sleep(1);
    }

    std::string fileName;
    bool readable = false;
    int lines = 0;
    std::vector<String> words;

private:
    void takeWords(String line)
    {
        line.toLower();
        for (int at = 0; at < line.length(); ++at)
            if (!UnicodeUtils::iswalpha(line[at]))
                line.set(at, ' ');
        while (line.length() > 0) {
            String word = line.split(' ');
            if (word.length() > 0)
                words.push_back(std::move(word));
        }
    }

    Event done;
};

std::string plain(const String &text)
{
    std::string bytes;
    for (int at = 0; at < text.length(); ++at)
        bytes += static_cast<char>(text[at]);
    return bytes;
}

// The different words, the most frequent first, then by the alphabet.
std::vector<Tally> tallyOf(std::vector<String> words)
{
    std::sort(words.begin(), words.end(),
              [](const String &left, const String &right) { return left.cmp(right) < 0; });
    std::vector<Tally> tallies;
    for (String &word : words) {
        if (!tallies.empty() && tallies.back().word == word)
            ++tallies.back().count;
        else
            tallies.push_back({std::move(word)});
    }
    std::stable_sort(tallies.begin(), tallies.end(), [](const Tally &left, const Tally &right) {
        return left.count > right.count;
    });
    return tallies;
}

void show(const std::vector<Tally> &tallies)
{
    if (tallies.empty())
        return;
    const int most = tallies.front().count;
    for (int row = 0; row < rowsShown && row < static_cast<int>(tallies.size()); ++row) {
        const Tally &tally = tallies[static_cast<std::size_t>(row)];
        const std::string bar(static_cast<std::size_t>(tally.count * longestBar / most + 1), '#');
        std::printf("%8d  %-14s %s\n", tally.count, plain(tally.word).c_str(), bar.c_str());
    }
    const auto longest =
        std::max_element(tallies.begin(), tallies.end(), [](const Tally &left, const Tally &right) {
            return left.word.length() < right.word.length();
        });
    std::printf("The longest word is \"%s\".\n", plain(longest->word).c_str());
}

// Reads all files at once; the words of all of them, or nothing when one cannot be read.
bool readAll(int count, char **names, std::vector<String> &words)
{
    std::vector<std::unique_ptr<Reader>> readers;
    for (int index = 0; index < count; ++index) {
        readers.push_back(std::make_unique<Reader>(names[index]));
        readers.back()->begin();
    }
    bool allReadable = true;
    int lines = 0;
    for (const auto &reader : readers) {
        reader->await();
        if (!reader->readable)
            std::fprintf(stderr, "wordcount: cannot read %s\n", reader->fileName.c_str());
        allReadable = allReadable && reader->readable;
        lines += reader->lines;
        words.insert(words.end(), reader->words.begin(), reader->words.end());
    }
    if (allReadable)
        std::printf("%d files, %d lines, %zu words\n", count, lines, words.size());
    return allReadable;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: wordcount file ...\n");
        return 2;
    }
    InitTerm::init();
    InitTerm::setMT(); // the readers share the library with this thread
    Thread::getHiResTimer();
    bool succeeded = false;
    {
        std::vector<String> words;
        succeeded = readAll(argc - 1, argv + 1, words);
        if (succeeded) {
            const std::vector<Tally> tallies = tallyOf(std::move(words));
            std::printf("%zu different ones, these most often:\n", tallies.size());
            show(tallies);
            std::printf("Done in %lld ms.\n",
                        static_cast<long long>(Thread::getHiResTimer() / 1000));
        }
    }
    InitTerm::exit();
    return succeeded ? 0 : 1;
}
