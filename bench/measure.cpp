// A sample is a run of calls that lasts a few milliseconds, begun with untimed calls: a contender has to find its own
// data in the cache, not the data of the one before, and where that is about as large as the cache, one call is not
// enough. Contenders that take longer than a sample are called once a round and without those calls, which would gain
// them nothing.
#include "measure.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <utility>

namespace bench
{
namespace
{

constexpr double sampleSeconds = 6e-3;
constexpr std::size_t fewestRounds = 7;
constexpr std::size_t mostRounds = 301;

double threadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double relativeSpread(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const double range = values[values.size() * 3 / 4] - values[values.size() / 4];
    return range / 2 / values[values.size() / 2];
}

class Contender
{
  public:
    Contender(std::string name, Run run) : name_(std::move(name)), run_(std::move(run))
    {
        time(1); // touches all memory for the first time
        const double once = time(1);
        calls_ = unsigned(std::clamp(std::ceil(sampleSeconds / std::max(once, 1e-7)), 1.0, 1e4));
    }

    void sample()
    {
        if (calls_ > 1) {
            time(1 + calls_ / 2);
        }
        samples_.push_back(time(calls_) / calls_);
    }

    const std::vector<double>& samples() const { return samples_; }

  private:
    double time(unsigned calls) const
    {
        bool succeeded = true;
        const double start = threadSeconds();
        for (unsigned call = 0; call < calls; ++call) {
            succeeded &= run_();
            benchmark::ClobberMemory();
        }
        const double end = threadSeconds();
        if (!succeeded) {
            throw ContenderFailed(name_ + " failed");
        }
        return end - start;
    }

    std::string name_;
    Run run_;
    unsigned calls_ = 1;
    std::vector<double> samples_;
};

// A copy of half the bytes that the operation reads and writes: it reads and writes as many in all.
Run memoryCopy(const Operation& operation)
{
    const std::size_t bytes = (operation.sourceBytes + operation.destinationBytes) / 2;
    return [from = allocate(bytes), to = allocate(bytes), bytes] {
        benchmark::DoNotOptimize(std::memcpy(to.get(), from.get(), bytes));
        return true;
    };
}

} // namespace

Measurement measure(const Operation& operation, double seconds)
{
    const bool hasFloor = operation.sourceBytes + operation.destinationBytes > 0;
    std::vector<Contender> contenders; // the floor if there is one, ourselves, the peers
    if (hasFloor) {
        contenders.emplace_back("memory copy", memoryCopy(operation));
    }
    contenders.emplace_back("lx", operation.prepare());
    for (const Peer& peer : operation.peers) {
        contenders.emplace_back(peer.name, peer.prepare());
    }

    const double start = threadSeconds();
    for (std::size_t round = 0; round < mostRounds; ++round) {
        if (round >= fewestRounds && threadSeconds() - start > seconds) {
            break;
        }
        for (Contender& contender : contenders) {
            contender.sample();
        }
    }

    Measurement result;
    const std::vector<double>& own = contenders[hasFloor].samples();
    result.time = median(own);
    result.spread = relativeSpread(own);
    if (hasFloor) {
        const std::vector<double>& floor = contenders.front().samples();
        std::vector<double> ratios(own.size());
        std::transform(own.begin(), own.end(), floor.begin(), ratios.begin(), std::divides<>());
        result.floor = median(floor);
        result.ratioToFloor = median(ratios);
        result.spread = relativeSpread(ratios);
    }
    for (std::size_t index = 0; index < operation.peers.size(); ++index) {
        result.peers.push_back(median(contenders[hasFloor + 1 + index].samples()));
    }
    return result;
}

} // namespace bench
