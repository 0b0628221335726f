// SPDX-License-Identifier: MIT
// String beside the 16-bit strings that a user would take instead. Every case is written once; the
// adapters below say what each operation is called.
#include <algorithm>
#include <cwctype>
#include <random>
#include <string>

#include <QString>
#include <benchmark/benchmark.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <tavrin/InitTerm.h>
#include <tavrin/String.h>

#include "support/CaseName.h"

namespace bench {

namespace {

using Units = std::u16string;

struct Tavrin
{
    using String = ::Tavrin::String;
    static constexpr const char *name = "tavrin";
    static String make(const Units &units)
    {
        return String(reinterpret_cast<const unsigned short *>(units.data()),
                      static_cast<int>(units.size()));
    }
    static String part(const String &string, int start, int count)
    {
        return string.substr(start, count);
    }
    static void append(String &string, char16_t unit)
    {
        string.append(static_cast<unsigned short>(unit));
    }
    static int find(const String &string, const String &sought) { return string.find(sought); }
    static int compareCaseBlind(const String &a, const String &b) { return a.ucmp(b); }
    static String upper(const String &string)
    {
        String result = string;
        result.toUpper();
        return result;
    }
};

struct Standard
{
    using String = std::u16string;
    static constexpr const char *name = "std";
    static String make(const Units &units) { return String(units.data(), units.size()); }
    static String part(const String &string, int start, int count)
    {
        return string.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(count));
    }
    static void append(String &string, char16_t unit) { string.push_back(unit); }
    static int find(const String &string, const String &sought)
    {
        return static_cast<int>(string.find(sought));
    }
    static char16_t upperOf(char16_t unit) { return static_cast<char16_t>(std::towupper(unit)); }
    static int compareCaseBlind(const String &a, const String &b)
    {
        const std::size_t common = std::min(a.size(), b.size());
        for (std::size_t at = 0; at < common; ++at)
            if (const int difference = upperOf(a[at]) - upperOf(b[at]))
                return difference;
        return static_cast<int>(a.size()) - static_cast<int>(b.size());
    }
    static String upper(const String &string)
    {
        String result = string;
        for (char16_t &unit : result)
            unit = upperOf(unit);
        return result;
    }
};

struct Qt
{
    using String = QString;
    static constexpr const char *name = "qt";
    static String make(const Units &units)
    {
        return String(reinterpret_cast<const QChar *>(units.data()),
                      static_cast<qsizetype>(units.size()));
    }
    static String part(const String &string, int start, int count)
    {
        return string.mid(start, count);
    }
    static void append(String &string, char16_t unit) { string.append(QChar(unit)); }
    static int find(const String &string, const String &sought)
    {
        return static_cast<int>(string.indexOf(sought));
    }
    static int compareCaseBlind(const String &a, const String &b)
    {
        return a.compare(b, ::Qt::CaseInsensitive);
    }
    static String upper(const String &string) { return string.toUpper(); }
};

struct Icu
{
    using String = icu::UnicodeString;
    static constexpr const char *name = "icu";
    static String make(const Units &units)
    {
        return String(units.data(), static_cast<int>(units.size()));
    }
    static String part(const String &string, int start, int count)
    {
        return String(string, start, count);
    }
    static void append(String &string, char16_t unit) { string.append(unit); }
    static int find(const String &string, const String &sought) { return string.indexOf(sought); }
    static int compareCaseBlind(const String &a, const String &b)
    {
        return a.caseCompare(b, U_FOLD_CASE_DEFAULT);
    }
    static String upper(const String &string)
    {
        String result = string;
        result.toUpper(icu::Locale::getRoot());
        return result;
    }
};

// Letters, with a blank for every eighth unit or so.
Units prose(std::size_t length)
{
    constexpr char16_t letters[] = u"abcdefghijklmnopqrstuvwxyz    ";
    std::mt19937 random(4);
    std::uniform_int_distribution<std::size_t> at(0, std::size(letters) - 2);
    Units units(length, u' ');
    for (char16_t &unit : units)
        unit = letters[at(random)];
    return units;
}

// The same with every other letter in upper case.
Units mixedCase(std::size_t length)
{
    Units units = prose(length);
    for (std::size_t at = 0; at < length; at += 2)
        units[at] = Standard::upperOf(units[at]);
    return units;
}

// Each keeps its operand out of the optimiser's sight, so that all of the operation is done.

template <class Peer>
void copy(benchmark::State &state, std::size_t length)
{
    typename Peer::String source = Peer::make(prose(length));
    for (auto step : state) {
        benchmark::DoNotOptimize(source);
        typename Peer::String result = source;
        benchmark::DoNotOptimize(result);
    }
}

template <class Peer>
void make(benchmark::State &state, std::size_t length)
{
    Units units = prose(length);
    for (auto step : state) {
        benchmark::DoNotOptimize(units);
        typename Peer::String result = Peer::make(units);
        benchmark::DoNotOptimize(result);
    }
}

template <class Peer>
void concatenate(benchmark::State &state, std::size_t length)
{
    typename Peer::String a = Peer::make(prose(length));
    typename Peer::String b = Peer::make(mixedCase(length));
    for (auto step : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        typename Peer::String result = a + b;
        benchmark::DoNotOptimize(result);
    }
}

template <class Peer>
void part(benchmark::State &state, std::size_t length)
{
    typename Peer::String source = Peer::make(prose(length * 3));
    for (auto step : state) {
        benchmark::DoNotOptimize(source);
        typename Peer::String result =
            Peer::part(source, static_cast<int>(length), static_cast<int>(length));
        benchmark::DoNotOptimize(result);
    }
}

template <class Peer>
void append(benchmark::State &state, std::size_t length)
{
    const Units units = prose(length);
    for (auto step : state) {
        typename Peer::String result;
        for (char16_t unit : units) {
            Peer::append(result, unit);
            benchmark::DoNotOptimize(result);
        }
    }
}

template <class Peer>
void equal(benchmark::State &state, std::size_t length)
{
    typename Peer::String a = Peer::make(prose(length));
    typename Peer::String b = Peer::make(prose(length));
    for (auto step : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        bool result = a == b;
        benchmark::DoNotOptimize(result);
    }
}

// The text ends with what is sought.
template <class Peer>
void find(benchmark::State &state, std::size_t length)
{
    const Units sought = u"crwth";
    typename Peer::String text = Peer::make(prose(length - sought.size()) + sought);
    typename Peer::String key = Peer::make(sought);
    if (Peer::find(text, key) != static_cast<int>(length - sought.size()))
        state.SkipWithError("found elsewhere");
    for (auto step : state) {
        benchmark::DoNotOptimize(text);
        int result = Peer::find(text, key);
        benchmark::DoNotOptimize(result);
    }
}

template <class Peer>
void compareCaseBlind(benchmark::State &state, std::size_t length)
{
    typename Peer::String a = Peer::make(prose(length));
    typename Peer::String b = Peer::make(mixedCase(length));
    if (Peer::compareCaseBlind(a, b) != 0)
        state.SkipWithError("not equal");
    for (auto step : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        int result = Peer::compareCaseBlind(a, b);
        benchmark::DoNotOptimize(result);
    }
}

template <class Peer>
void upper(benchmark::State &state, std::size_t length)
{
    typename Peer::String source = Peer::make(prose(length));
    for (auto step : state) {
        benchmark::DoNotOptimize(source);
        typename Peer::String result = Peer::upper(source);
        benchmark::DoNotOptimize(result);
    }
}

// The library is up around each measurement, because only its exit leaves multi-threaded operation.
template <auto measure>
void singleThreaded(benchmark::State &state, std::size_t length)
{
    ::Tavrin::InitTerm::init();
    measure(state, length);
    ::Tavrin::InitTerm::exit();
}

template <auto measure>
void multiThreaded(benchmark::State &state, std::size_t length)
{
    ::Tavrin::InitTerm::init();
    ::Tavrin::InitTerm::setMT();
    measure(state, length);
    ::Tavrin::InitTerm::exit();
}

template <class Peer>
void registerString()
{
    struct Case
    {
        const char *name;
        void (*run)(benchmark::State &state, std::size_t length);
        std::size_t sizes[3];
    };
    constexpr Case cases[] = {
        {"string-copy", singleThreaded<copy<Peer>>, {10, 100, 1000}},
        {"string-copy-mt", multiThreaded<copy<Peer>>, {10, 100, 1000}},
        {"string-make", singleThreaded<make<Peer>>, {5, 20, 200}},
        {"string-concatenate", singleThreaded<concatenate<Peer>>, {10, 50, 500}},
        {"string-substr", singleThreaded<part<Peer>>, {10, 40, 400}},
        {"string-append", singleThreaded<append<Peer>>, {100, 1000, 10000}},
        {"string-equal", singleThreaded<equal<Peer>>, {10, 100, 1000}},
        {"string-find", singleThreaded<find<Peer>>, {1000, 10000, 100000}},
        {"string-case-blind", singleThreaded<compareCaseBlind<Peer>>, {10, 100, 1000}},
        {"string-upper", singleThreaded<upper<Peer>>, {10, 100, 1000}},
    };
    for (const Case &row : cases)
        for (std::size_t size : row.sizes)
            benchmark::RegisterBenchmark(caseName(row.name, Peer::name, size).c_str(), row.run,
                                         size);
}

} // namespace

} // namespace bench

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    bench::registerString<bench::Tavrin>();
    bench::registerString<bench::Standard>();
    bench::registerString<bench::Qt>();
    bench::registerString<bench::Icu>();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
