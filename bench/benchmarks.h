/*
 * What the benchmark program is made of. Each adds its benchmarks to those that are run.
 */
#ifndef BENCH_BENCHMARKS_H
#define BENCH_BENCHMARKS_H

namespace bench
{

void addDocumentBenchmarks();
void addLoadBenchmarks();
void addHostileBenchmarks();

} // namespace bench

#endif
