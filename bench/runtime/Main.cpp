// SPDX-License-Identifier: MIT
// The cases are registered in the order in which they may run: those that start threads come last,
// because the C library's malloc takes dearer paths for ever after the first thread.
#include <benchmark/benchmark.h>

#include "runtime/Cases.h"

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    bench::registerHeapCases();
    bench::registerInitTermCases();
    bench::registerHandOverCases();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
