#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// The entry of every benchmark program: takes our own "--tasks=N" (the size of the generated store) out
// of the arguments, then hands the rest to the library and runs the benchmarks. Returns the exit status.
inline int runBenchmarkMain(int argc, char** argv, int& taskCount)
{
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--tasks=", 8) == 0) {
            char* end = nullptr;
            const long n = std::strtol(argv[i] + 8, &end, 10);
            if (argv[i][8] == '\0' || *end != '\0' || n < 1 || n > 10'000'000) {
                std::fprintf(stderr, "%s: --tasks takes a number from 1 to 10000000\n", argv[0]);
                return 2;
            }
            taskCount = int(n);
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
