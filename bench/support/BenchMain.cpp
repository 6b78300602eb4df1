// The shared main of every area's benchmark program: starts the scene-graph system, runs the
// selected benchmarks with the console table, then prints the registered summary reports.

#include "support/BenchSupport.h"

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSGExt/skOpenSGExt.h>

#include <benchmark/benchmark.h>

#include <set>
#include <vector>

namespace skbench {

namespace {

std::vector<Report> &reports()
{
    static std::vector<Report> r;
    return r;
}

std::vector<std::function<void()>> &cleanups()
{
    static std::vector<std::function<void()>> c;
    return c;
}

class SummaryReporter : public benchmark::ConsoleReporter
{
  public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With repetitions the median stands for the benchmark; otherwise its single run.
        for(const Run &r : runs)
        {
            if(r.error_occurred)
                continue;
            const std::string name = r.run_name.str();
            const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            if(r.run_type == Run::RT_Aggregate && !median)
                continue;
            if(!median && (_fromMedian.count(name) || r.iterations == 0))
                continue;
            _results.seconds[name] =
                r.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(r.time_unit);
            _results.cpuSeconds[name] =
                r.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(r.time_unit);
            auto items = r.counters.find("items_per_second");
            if(items != r.counters.end())
                _results.itemsPerSecond[name] = items->second.value;
            auto bytes = r.counters.find("bytes_per_second");
            if(bytes != r.counters.end())
                _results.bytesPerSecond[name] = bytes->second.value;
            if(median)
                _fromMedian.insert(name);
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for(const Report &report : reports())
            report(GetOutputStream(), _results);
    }

  private:
    Results               _results;
    std::set<std::string> _fromMedian;
};

} // namespace

double Results::ratio(const std::string &a, const std::string &b) const
{
    auto ia = seconds.find(a), ib = seconds.find(b);
    if(ia == seconds.end() || ib == seconds.end() || ib->second <= 0)
        return 0;
    return ia->second / ib->second;
}

bool addReport(Report report)
{
    reports().push_back(std::move(report));
    return true;
}

bool addCleanup(std::function<void()> cleanup)
{
    cleanups().push_back(std::move(cleanup));
    return true;
}

} // namespace skbench

int main(int argc, char **argv)
{
    skOpenSGExt::init();
    osg::osgInit(0, NULL);
    benchmark::Initialize(&argc, argv);
    skbench::SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    for(const auto &cleanup : skbench::cleanups())
        cleanup();
    osg::osgExit();
    return 0;
}
