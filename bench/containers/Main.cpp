// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <tavrin/InitTerm.h>

#include "containers/Cases.h"

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    Tavrin::InitTerm::init();
    bench::registerSparseArrayCases();
    bench::registerHashTableCases();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    Tavrin::InitTerm::exit();
    return 0;
}
