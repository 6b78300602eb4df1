#ifndef SKOSG_BENCH_SUPPORT_H
#define SKOSG_BENCH_SUPPORT_H

// One benchmark program per area: its files register benchmarks as usual and add summary reports
// (ratios against the peers measured in the same run), which the shared main prints after the
// table, plus clean-up work to run before the scene-graph system stops.

#include <functional>
#include <map>
#include <ostream>
#include <string>

namespace skbench {

struct Results
{
    // Real time per iteration in seconds (the median where repetitions ran), by run name.
    std::map<std::string, double> seconds;
    // CPU time per iteration in seconds, likewise (the process's where the benchmark asks so).
    std::map<std::string, double> cpuSeconds;
    // items_per_second and bytes_per_second counters, by run name.
    std::map<std::string, double> itemsPerSecond;
    std::map<std::string, double> bytesPerSecond;

    bool has(const std::string &a) const { return seconds.count(a) != 0; }
    // time(a) / time(b), or 0 when either is missing.
    double ratio(const std::string &a, const std::string &b) const;
};

typedef std::function<void(std::ostream &, const Results &)> Report;

// Registered at static-construction time; run in registration order within a file.
bool addReport(Report report);
bool addCleanup(std::function<void()> cleanup);

} // namespace skbench

#define SKBENCH_CONCAT2(a, b) a##b
#define SKBENCH_CONCAT(a, b) SKBENCH_CONCAT2(a, b)
// SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) { ... });
#define SKBENCH_REPORT(...) \
    static const bool SKBENCH_CONCAT(skbenchReport_, __LINE__) = ::skbench::addReport(__VA_ARGS__)
#define SKBENCH_CLEANUP(...) \
    static const bool SKBENCH_CONCAT(skbenchCleanup_, __LINE__) = ::skbench::addCleanup(__VA_ARGS__)

#endif
