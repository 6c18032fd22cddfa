// Runs every row (ours and peer, interleaved at random by Google Benchmark) and prints the table of
// ratios. Processor time of the fastest repetition counts: other work on the machine only adds to
// it.
#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

#include "bench_rows.h"
#include "kernels/row_kernels.h"

namespace bench {
namespace {

/// Rows bound by memory vary by this much from run to run; a bar counts as missed beyond it.
constexpr double kNoise = 0.03;

std::vector<Row>& table() {
    static std::vector<Row> rows;
    return rows;
}

std::string nameOf(size_t row, bool ours) {
    return std::to_string(row) + (ours ? " ours: " : " peer: ") + rows()[row].operation + " | " +
           rows()[row].page;
}

/// Keeps the fastest repetition of each benchmark, and shows how far the run is on a terminal.
class FastestReporter : public benchmark::BenchmarkReporter {
  public:
    explicit FastestReporter(size_t total) : total_(total) {}

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            const double ms = run.GetAdjustedCPUTime();
            const std::string name = run.run_name.function_name;
            const auto at = fastest_.emplace(name, ms).first;
            at->second = std::min(at->second, ms);
        }
        ++done_;
        if (isatty(STDERR_FILENO))
            std::fprintf(stderr, done_ < total_ ? "\r\033[K    %zu of %zu measured" : "\r\033[K",
                         done_, total_);
    }

    double ms(const std::string& name) const {
        const auto found = fastest_.find(name);
        return found == fastest_.end() ? 0.0 : found->second;
    }

  private:
    std::map<std::string, double> fastest_;
    size_t total_, done_ = 0;
};

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

/// Shortest time of a process that does nothing, with or without the library preloaded.
double startMs(bool withLibrary) {
    char name[] = "true";
    char preload[] = "LD_PRELOAD=" KEL_LIBRARY;
    char* const arguments[] = {name, nullptr};
    char* const environment[] = {withLibrary ? preload : nullptr, nullptr};
    double best = 1e300;
    for (int run = 0; run < 30; ++run) {
        const auto start = std::chrono::steady_clock::now();
        pid_t child = 0;
        if (posix_spawnp(&child, name, nullptr, nullptr, arguments, environment) != 0) return 0.0;
        waitpid(child, nullptr, 0);
        const std::chrono::duration<double, std::milli> spent =
            std::chrono::steady_clock::now() - start;
        best = std::min(best, spent.count());
    }
    return best;
}

bool checkRows() {
    bool good = true;
    for (const Row& row : rows()) {
        row.ours();
        row.peer();
        if (row.equal()) continue;
        std::fprintf(stderr, "%s on %s: the result is wrong\n", row.operation.c_str(),
                     row.page.c_str());
        good = false;
    }
    return good;
}

void printTable(const FastestReporter& results) {
    std::printf("%s, %s, commit %s, OpenCV %s, kernels %s, one thread\n\n", processorName().c_str(),
                "g++ " __VERSION__, KEL_COMMIT, CV_VERSION, kel::detail::rowKernels().level);
    std::printf("| operation | page | ours ms | peer | peer ms | ratio | bar |\n");
    std::printf("|---|---|---|---|---|---|---|\n");
    for (size_t i = 0; i < rows().size(); ++i) {
        const Row& row = rows()[i];
        const double ours = results.ms(nameOf(i, true)), peer = results.ms(nameOf(i, false));
        if (ours == 0.0 || peer == 0.0) continue;  // left out by a filter
        std::printf("| %s | %s | %.3f | %s | %.3f | %.2f | %.2f%s |\n", row.operation.c_str(),
                    row.page.c_str(), ours, row.peerName.c_str(), peer, ours / peer, row.bar,
                    ours / peer > row.bar * (1 + kNoise) ? " MISSED" : "");
    }
    std::printf(
        "\nStarting a process: %.2f ms alone, %.2f ms with the library (bar: 20 ms more)\n\n",
        startMs(false), startMs(true));
}

}  // namespace

void addRow(Row row) {
    table().push_back(std::move(row));
}

const std::vector<Row>& rows() {
    return table();
}

int runAll(int argc, char** argv) {
    // Interleaved repetitions, so that a slow moment of the machine hits both sides alike.
    std::vector<char*> arguments(argv, argv + argc);
    std::string defaults[] = {"--benchmark_repetitions=9", "--benchmark_min_time=0.03",
                              "--benchmark_enable_random_interleaving=true"};
    for (std::string& option : defaults)
        arguments.insert(arguments.begin() + 1, option.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

    cv::setNumThreads(1);
    addCopyRows();
    addBridgeRows();
    addImBridgeRows();
    addImFileRows();
    addFileRows();
    addBinarizeRows();
    addEnhanceRows();
    addImProcessRows();
    addLevelRows();
    addAnalysisRows();
    addAreaRows();
    addGeometryRows();
    addColourRows();
    if (!checkRows()) return 1;
    for (size_t i = 0; i < rows().size(); ++i)
        for (bool ours : {true, false})
            benchmark::RegisterBenchmark(nameOf(i, ours).c_str(), [call = ours ? rows()[i].ours
                                                                               : rows()[i].peer](
                                                                      benchmark::State& state) {
                for (auto _ : state)
                    call();
            })->Unit(benchmark::kMillisecond);
    FastestReporter reporter(2 * rows().size());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printTable(reporter);
    printTeamTable();
    printMemoryTable();
    printLoadMemoryTable();
    return 0;
}

}  // namespace bench

int main(int argc, char** argv) {
    return bench::runAll(argc, argv);
}
