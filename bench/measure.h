// Times one operation beside its floor and its peers.
//
// The machine may be busy with other work, and its clock may change. So the contenders take turns, round after round:
// within a round they are milliseconds apart and see the same machine. Time is the thread's own CPU time, which leaves
// out the moments in which other threads have the processor. What counts is the median over the rounds.
#ifndef LX_BENCH_MEASURE_H
#define LX_BENCH_MEASURE_H

#include "operation.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench
{

// Medians; times are seconds per call.
struct Measurement {
    double time = 0;
    std::optional<double> floor;
    std::optional<double> ratioToFloor; // median of the rounds' ratios: steadier than the ratio of the medians
    double spread = 0;                  // half the range of the middle half of those ratios (or times), relative
    std::vector<double> peers;          // as in Operation::peers
};

class ContenderFailed : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// `seconds` is the CPU time to spend on the rounds. Throws ContenderFailed.
Measurement measure(const Operation& operation, double seconds);

} // namespace bench

#endif
