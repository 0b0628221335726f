// SPDX-License-Identifier: MIT
// Variant beside the value classes that a user would take instead: construct from what is at hand,
// copy, and destroy both.
#include <string>
#include <variant>
#include <vector>

#include <QString>
#include <QVariant>
#include <benchmark/benchmark.h>

#include <tavrin/Array.h>
#include <tavrin/InitTerm.h>
#include <tavrin/Variant.h>

#include "support/CaseName.h"

namespace bench {

namespace {

constexpr int stringUnits = 11;
constexpr int arrayElements = 10;

struct Tavrin
{
    static constexpr const char *name = "tavrin";
    using Value = ::Tavrin::Variant;
    using String = ::Tavrin::String;
    using List = ::Tavrin::Array;
    static String string() { return String("hello world"); }
    static List list()
    {
        List result;
        for (int element = 0; element < arrayElements; ++element)
            result += element;
        return result;
    }
};

// The closed sum type that a C++ program would have in the place of a dynamic value.
struct Standard
{
    static constexpr const char *name = "std";
    struct Object;
    using List = std::vector<double>;
    using String = std::u16string;
    using Value = std::variant<std::monostate, bool, double, String, List>;
    static String string() { return u"hello world"; }
    static List list() { return List(arrayElements, 1); }
};

struct Qt
{
    static constexpr const char *name = "qt";
    using Value = QVariant;
    using String = QString;
    using List = QVariantList;
    static String string() { return QString::fromLatin1("hello world"); }
    static List list()
    {
        List result;
        for (int element = 0; element < arrayElements; ++element)
            result.append(element);
        return result;
    }
};

// What compilers cannot see through: the source and the value, both in memory.
template <class Peer, class Source>
void life(benchmark::State &state, Source source)
{
    for (auto step : state) {
        benchmark::DoNotOptimize(source);
        typename Peer::Value value(source);
        benchmark::DoNotOptimize(value);
        typename Peer::Value copy(value);
        benchmark::DoNotOptimize(copy);
    }
}

template <class Peer>
void numberLife(benchmark::State &state)
{
    life<Peer>(state, 2.5);
}

template <class Peer>
void booleanLife(benchmark::State &state)
{
    life<Peer>(state, true);
}

template <class Peer>
void stringLife(benchmark::State &state)
{
    life<Peer>(state, Peer::string());
}

template <class Peer>
void listLife(benchmark::State &state)
{
    life<Peer>(state, Peer::list());
}

template <auto measure>
void singleThreaded(benchmark::State &state)
{
    ::Tavrin::InitTerm::init();
    measure(state);
    ::Tavrin::InitTerm::exit();
}

template <auto measure>
void multiThreaded(benchmark::State &state)
{
    ::Tavrin::InitTerm::init();
    ::Tavrin::InitTerm::setMT();
    measure(state);
    ::Tavrin::InitTerm::exit();
}

struct Case
{
    const char *name;
    void (*run)(benchmark::State &state);
    std::size_t size;
};

void registerCases(const char *who, std::initializer_list<Case> cases)
{
    for (const Case &row : cases)
        benchmark::RegisterBenchmark(caseName(row.name, who, row.size).c_str(), row.run);
}

template <class Peer>
void registerPlain(const char *number, const char *boolean)
{
    registerCases(Peer::name, {
                                  {number, singleThreaded<numberLife<Peer>>, 1},
                                  {boolean, singleThreaded<booleanLife<Peer>>, 1},
                              });
}

// The target names the peer, so each case has the one peer that it is held against.
template <class Peer>
void registerPayloads()
{
    registerCases(Peer::name, {
                                  {"value-string", singleThreaded<stringLife<Peer>>, stringUnits},
                                  {"value-string-mt", multiThreaded<stringLife<Peer>>, stringUnits},
                                  {"value-array", singleThreaded<listLife<Peer>>, arrayElements},
                                  {"value-array-mt", multiThreaded<listLife<Peer>>, arrayElements},
                              });
}

} // namespace

} // namespace bench

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    bench::registerPlain<bench::Tavrin>("value-number-std", "value-boolean-std");
    bench::registerPlain<bench::Standard>("value-number-std", "value-boolean-std");
    bench::registerPlain<bench::Tavrin>("value-number-qt", "value-boolean-qt");
    bench::registerPlain<bench::Qt>("value-number-qt", "value-boolean-qt");
    bench::registerPayloads<bench::Tavrin>();
    bench::registerPayloads<bench::Qt>();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
