// SPDX-License-Identifier: MIT
// Regular expressions beside the engines that a user would take instead. All of them look for every
// match of a pattern, one after the other, and have to find as many. Each pattern is a family of
// cases, so that it can be judged beside each kind of peer by itself.
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <QRegularExpression>
#include <QString>
#include <benchmark/benchmark.h>
#include <boost/regex.hpp>
#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>
#include <re2/re2.h>

#include <tavrin/InitTerm.h>
#include <tavrin/RegExp.h>
#include <tavrin/String.h>

#include "regexp/RegExpText.h"
#include "support/CaseName.h"

namespace bench {

namespace {

struct Span
{
    long long start;
    long long end;
};

class Tavrin
{
public:
    static constexpr const char *name = "tavrin";
    using Subject = ::Tavrin::String;

    explicit Tavrin(const std::string &pattern)
        : expression(pattern.c_str(), 0), captures(expression.createCaptureList())
    {}
    ~Tavrin() { delete[] captures; }
    Tavrin(const Tavrin &) = delete;
    Tavrin &operator=(const Tavrin &) = delete;

    static Subject subject(const std::string &text) { return {text.c_str()}; }

    bool find(const Subject &subject, long long from, Span &found)
    {
        if (!expression.match(subject, static_cast<int>(from), *captures))
            return false;
        found = {captures[0].start, captures[0].end};
        return true;
    }

private:
    ::Tavrin::RegExp expression;
    ::Tavrin::Capture *captures;
};

template <bool isJit>
class Pcre
{
public:
    static constexpr const char *name = isJit ? "pcre2-jit" : "pcre2";
    using Subject = std::u16string;

    explicit Pcre(const std::string &pattern)
    {
        const std::u16string units(pattern.begin(), pattern.end());
        int error = 0;
        PCRE2_SIZE offset = 0;
        code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(units.data()), units.size(), 0, &error,
                             &offset, nullptr);
        if (isJit)
            pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
        data = pcre2_match_data_create_from_pattern(code, nullptr);
    }
    ~Pcre()
    {
        pcre2_match_data_free(data);
        pcre2_code_free(code);
    }
    Pcre(const Pcre &) = delete;
    Pcre &operator=(const Pcre &) = delete;

    static Subject subject(const std::string &text) { return {text.begin(), text.end()}; }

    bool find(const Subject &subject, long long from, Span &found)
    {
        const auto *units = reinterpret_cast<PCRE2_SPTR>(subject.data());
        const auto start = static_cast<PCRE2_SIZE>(from);
        const int count =
            isJit ? pcre2_jit_match(code, units, subject.size(), start, 0, data, nullptr)
                  : pcre2_match(code, units, subject.size(), start, PCRE2_NO_JIT, data, nullptr);
        if (count <= 0)
            return false;
        const PCRE2_SIZE *ends = pcre2_get_ovector_pointer(data);
        found = {static_cast<long long>(ends[0]), static_cast<long long>(ends[1])};
        return true;
    }

private:
    pcre2_code *code;
    pcre2_match_data *data;
};

class Qt
{
public:
    static constexpr const char *name = "qt";
    using Subject = QString;

    explicit Qt(const std::string &pattern) : expression(QString::fromStdString(pattern))
    {
        expression.optimize();
    }

    static Subject subject(const std::string &text) { return QString::fromStdString(text); }

    bool find(const Subject &subject, long long from, Span &found)
    {
        const QRegularExpressionMatch match =
            expression.match(subject, from, QRegularExpression::NormalMatch,
                             QRegularExpression::DontCheckSubjectStringMatchOption);
        if (!match.hasMatch())
            return false;
        found = {match.capturedStart(), match.capturedEnd()};
        return true;
    }

private:
    QRegularExpression expression;
};

class Boost
{
public:
    static constexpr const char *name = "boost";
    using Subject = std::wstring;

    explicit Boost(const std::string &pattern) : expression(pattern.begin(), pattern.end()) {}

    static Subject subject(const std::string &text) { return {text.begin(), text.end()}; }

    bool find(const Subject &subject, long long from, Span &found)
    {
        const auto begin = subject.begin() + from;
        const auto flags = from > 0 ? boost::match_prev_avail : boost::match_default;
        if (!boost::regex_search(begin, subject.end(), match, expression,
                                 flags | boost::match_not_dot_newline))
            return false;
        found = {from + match.position(), from + match.position() + match.length()};
        return true;
    }

private:
    boost::wregex expression;
    boost::wsmatch match;
};

class Std
{
public:
    static constexpr const char *name = "std";
    using Subject = std::wstring;

    explicit Std(const std::string &pattern) : expression(pattern.begin(), pattern.end()) {}

    static Subject subject(const std::string &text) { return {text.begin(), text.end()}; }

    bool find(const Subject &subject, long long from, Span &found)
    {
        const auto begin = subject.begin() + from;
        const auto flags =
            from > 0 ? std::regex_constants::match_prev_avail : std::regex_constants::match_default;
        if (!std::regex_search(begin, subject.end(), match, expression, flags))
            return false;
        found = {from + match.position(), from + match.position() + match.length()};
        return true;
    }

private:
    std::wregex expression;
    std::wsmatch match;
};

class Re2
{
public:
    static constexpr const char *name = "re2";
    using Subject = std::string;

    explicit Re2(const std::string &pattern) : expression(pattern, RE2::Latin1) {}

    static Subject subject(const std::string &text) { return text; }

    bool find(const Subject &subject, long long from, Span &found)
    {
        re2::StringPiece match;
        if (!expression.Match(subject, static_cast<std::size_t>(from), subject.size(),
                              RE2::UNANCHORED, &match, 1))
            return false;
        found.start = match.data() - subject.data();
        found.end = found.start + static_cast<long long>(match.size());
        return true;
    }

private:
    RE2 expression;
};

template <class Engine>
long long countMatches(Engine &engine, const typename Engine::Subject &subject, long long length)
{
    long long count = 0;
    Span found{0, 0};
    for (long long from = 0; from < length && engine.find(subject, from, found); ++count)
        from = found.end > from ? found.end : from + 1;
    return count;
}

struct Pattern
{
    const char *name;
    const char *text;
    bool hasReference = false;
};

const Pattern patterns[] = {
    {"literal", "needle"},
    {"suffix", "[a-z]+ing"},
    {"twice", "(\\w+)\\s+\\1", true},
    {"number", "\\d{3}-\\d{4}"},
    {"alternatives", "alpha|bravo|charlie|delta|echo|foxtrot|golf|hotel|india|juliet"},
    {"dots", ".*foo"},
    {"words", "\\b\\w+\\b"},
};

const std::size_t sizes[] = {1 << 9, 1 << 14, 1 << 19, 1 << 23}; // units: 1 KB to 16 MB
constexpr std::size_t judgedSize = 1 << 19;

long long expectedCount(const Pattern &pattern, const std::string &text)
{
    Pcre<true> engine(pattern.text);
    return countMatches(engine, Pcre<true>::subject(text), static_cast<long long>(text.size()));
}

template <class Engine>
void addSearch(const std::string &family, const Pattern &pattern, std::size_t size)
{
    const auto run = [&pattern, size](benchmark::State &state) {
        const std::string text = textOfLength(size);
        const typename Engine::Subject subject = Engine::subject(text);
        Engine engine(pattern.text);
        const long long expected = expectedCount(pattern, text);
        for (auto _ : state)
            if (countMatches(engine, subject, static_cast<long long>(size)) != expected)
                state.SkipWithError("found something else");
    };
    benchmark::RegisterBenchmark(
        caseName("regexp-" + std::string(pattern.name) + family, Engine::name, size).c_str(), run);
}

template <class Engine>
void addShort(const std::string &family)
{
    const auto run = [](benchmark::State &state) {
        std::vector<typename Engine::Subject> subjects;
        for (const std::string &text : shortSubjects(static_cast<std::size_t>(state.range(0))))
            subjects.push_back(Engine::subject(text));
        Engine engine("(\\w+)-(\\d+)");
        Span found{0, 0};
        for (auto _ : state)
            for (const auto &subject : subjects)
                benchmark::DoNotOptimize(engine.find(subject, 0, found));
    };
    benchmark::RegisterBenchmark(("regexp-short" + family + '/' + Engine::name).c_str(), run)
        ->Arg(1000);
}

template <class Engine>
void addCompile(const std::string &family)
{
    const auto run = [](benchmark::State &state) {
        const std::string pattern = "^(\\w+)\\s*=\\s*(\"[^\"]*\"|[a-z0-9]+)(?:;.*)?$";
        for (auto _ : state) {
            Engine engine(pattern);
            benchmark::DoNotOptimize(&engine);
        }
    };
    benchmark::RegisterBenchmark(("regexp-compile" + family + '/' + Engine::name + "/1").c_str(),
                                 run);
}

// One family per kind of peer, which its target names.
void addCases()
{
    for (const Pattern &pattern : patterns) {
        for (const std::size_t size : sizes) {
            addSearch<Tavrin>("-jit", pattern, size);
            addSearch<Pcre<true>>("-jit", pattern, size);
        }
        addSearch<Tavrin>("-interpreted", pattern, judgedSize);
        addSearch<Pcre<false>>("-interpreted", pattern, judgedSize);
        addSearch<Tavrin>("", pattern, judgedSize);
        addSearch<Qt>("", pattern, judgedSize);
        addSearch<Boost>("", pattern, judgedSize);
        addSearch<Std>("", pattern, judgedSize);
        if (!pattern.hasReference) {
            addSearch<Tavrin>("-re2", pattern, judgedSize);
            addSearch<Re2>("-re2", pattern, judgedSize);
        }
    }
    addShort<Tavrin>("-jit");
    addShort<Pcre<true>>("-jit");
    addShort<Tavrin>("-interpreted");
    addShort<Pcre<false>>("-interpreted");
    addShort<Tavrin>("");
    addShort<Qt>("");
    addShort<Boost>("");
    addShort<Std>("");
    addCompile<Tavrin>("-jit");
    addCompile<Pcre<true>>("-jit");
    addCompile<Tavrin>("-interpreted");
    addCompile<Pcre<false>>("-interpreted");
    addCompile<Tavrin>("");
    addCompile<Qt>("");
    addCompile<Boost>("");
    addCompile<Std>("");
}

} // namespace
} // namespace bench

int main(int argc, char **argv)
{
    Tavrin::InitTerm::init();
    bench::addCases();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    Tavrin::InitTerm::exit();
}
