// The table is printed from the counters alone, so that rows of aggregates need nothing of their own. A peer's counter
// bears its name behind a prefix that tells whether it does the same job.
#include "report.h"

#include <cstdio>
#include <iostream>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace bench
{
namespace
{

constexpr const char* timeName = "ns/px";
constexpr const char* floorName = "floor ns/px";
constexpr const char* ratioName = "ratio to floor";
constexpr const char* spreadName = "spread";
constexpr const char* goalName = "goal ratio";
constexpr std::string_view peerPrefix = "ns/px of ";
constexpr std::string_view rougherPrefix = "ns/px of ~";

using Counters = benchmark::UserCounters;

std::optional<double> valueOf(const Counters& counters, const char* name)
{
    const auto found = counters.find(name);
    return found == counters.end() ? std::nullopt : std::optional<double>(found->second.value);
}

struct BestPeer {
    std::string name;
    double time = std::numeric_limits<double>::infinity();
};

BestPeer bestPeer(const Counters& counters, bool rougher)
{
    BestPeer best;
    for (const auto& [name, counter] : counters) {
        if (!name.starts_with(peerPrefix) || name.starts_with(rougherPrefix) != rougher) {
            continue;
        }
        if (counter.value < best.time) {
            best = {name.substr(peerPrefix.size()), counter.value};
        }
    }
    return best;
}

template <typename... Arguments>
std::string text(const char* format, Arguments... arguments)
{
    std::string result(std::size_t(std::snprintf(nullptr, 0, format, arguments...)), ' ');
    std::snprintf(result.data(), result.size() + 1, format, arguments...);
    return result;
}

std::string goalText(std::optional<double> goal, std::optional<double> ratio)
{
    if (!goal || !ratio) {
        return text("%13s", "");
    }
    return text("%7.2f %-5s", *goal, *ratio <= *goal ? "met" : "-");
}

std::string peerText(const BestPeer& peer, double time)
{
    if (peer.name.empty()) {
        return text("%32s", "");
    }
    return text("  %8.4f %6.3f %-15s", peer.time, time / peer.time, peer.name.c_str());
}

void printRow(std::ostream& out, const std::string& name, const Counters& counters)
{
    const double time = valueOf(counters, timeName).value_or(0);
    const double spread = valueOf(counters, spreadName).value_or(0) * 100;
    const auto floor = valueOf(counters, floorName);
    const auto ratio = valueOf(counters, ratioName);
    const auto bytes = valueOf(counters, "bytes_per_second");

    std::string row = text("%-42s %8.4f ", name.c_str(), time);
    row += bytes ? text("%7.1f ", *bytes * 1e-9) : text("%7s ", "");
    row += floor && ratio ? text("%8.4f %7.2f ", *floor, *ratio) : text("%16s ", "");
    row += text("%5.1f ", spread) + goalText(valueOf(counters, goalName), ratio);
    row += peerText(bestPeer(counters, false), time) + peerText(bestPeer(counters, true), time);
    row.erase(row.find_last_not_of(' ') + 1);
    out << row << std::endl;
}

} // namespace

void setCounters(benchmark::State& state, const Operation& operation, const Measurement& measurement)
{
    const auto set = [&](const std::string& name, double value) { state.counters[name] = value; };
    const double nanoseconds = 1e9 / operation.pixels;
    set(timeName, measurement.time * nanoseconds);
    set(spreadName, measurement.spread);
    if (measurement.floor) {
        set(floorName, *measurement.floor * nanoseconds);
        set(ratioName, *measurement.ratioToFloor);
    }
    if (operation.goal.time > 0) {
        set(goalName, operation.goal.ratio());
    }
    for (std::size_t index = 0; index < operation.peers.size(); ++index) {
        const Peer& peer = operation.peers[index];
        const std::string_view prefix = peer.job == Job::Same ? peerPrefix : rougherPrefix;
        set(std::string(prefix) + peer.name, measurement.peers[index] * nanoseconds);
    }
}

bool TableReporter::ReportContext(const Context& context)
{
    PrintBasicContext(&GetErrorStream(), context);
    GetOutputStream() << text("%-42s %8s %7s %8s %7s %5s %-13s  %8s %6s %-15s  %8s %6s %s\n", "operation", "ns/px",
                              "GB/s", "floor", "ratio", "+-%", "   goal", "peer", "ratio", "name", "~peer", "ratio",
                              "name");
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs)
{
    std::ostream& out = GetOutputStream();
    for (const Run& run : runs) {
        if (run.error_occurred) {
            out << run.run_name.function_name << ": " << run.error_message << std::endl;
            continue;
        }
        const bool single = run.run_type == Run::RT_Iteration;
        if (!single && run.aggregate_name != "median") {
            continue;
        }
        printRow(out, run.run_name.function_name + (single ? "" : " (median)"), run.counters);
    }
}

} // namespace bench
