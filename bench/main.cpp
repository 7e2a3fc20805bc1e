// PROGRAM FOLDER [OPTION...]: a benchmark program; the documents are in the folder, the options are
// those of Google Benchmark. Results go to standard error and, with --benchmark_out, to a file;
// standard output is what the measured libraries print on, and goes nowhere.

#include "bench/benchmarks.h"
#include "bench/documents.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <iostream>

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc != 2 || !bench::openDocuments(argv[1])) {
        fputs("usage: PROGRAM FOLDER [OPTION...], the folder as write_documents left it\n", stderr);
        return 2;
    }
    if (freopen("/dev/null", "w", stdout) == nullptr) {
        return 2;
    }
    bench::addBenchmarks();

    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    return benchmark::RunSpecifiedBenchmarks(&reporter) > 0 ? 0 : 1;
}
