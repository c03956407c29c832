// Hands measurements to Google Benchmark as counters, and prints them as the table that README.md explains.
#ifndef LX_BENCH_REPORT_H
#define LX_BENCH_REPORT_H

#include "measure.h"

#include <benchmark/benchmark.h>

namespace bench
{

void setCounters(benchmark::State& state, const Operation& operation, const Measurement& measurement);

// One row per benchmark; with repetitions also one of their medians.
class TableReporter : public benchmark::BenchmarkReporter
{
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
};

} // namespace bench

#endif
