/*
 * What the benchmark programs are made of. Each part adds its benchmarks to those that are run.
 */
#ifndef BENCH_BENCHMARKS_H
#define BENCH_BENCHMARKS_H

namespace bench
{

/* Each program has its own. */
void addBenchmarks();

void addFloorBenchmarks();
void addHostileBenchmarks();

} // namespace bench

#endif
