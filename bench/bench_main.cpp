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
#include <regex>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "kernels/row_kernels.h"

namespace bench {
namespace {

/// Rows bound by memory vary by this much from run to run; a bar counts as missed beyond it.
constexpr double kNoise = 0.03;

/// A row that has been measured; its buffers are gone.
struct Line {
    Row row;
    double ours = 0.0, peer = 0.0;  ///< ms
};

std::vector<Row>& table() {
    static std::vector<Row> rows;
    return rows;
}

std::string nameOf(const Row& row, size_t number, bool ours) {
    return std::to_string(number) + (ours ? " ours: " : " peer: ") + row.operation + " | " +
           row.page;
}

/// Whether `--benchmark_filter` lets a row pass: a part of "operation | page" matches, or with a
/// '-' in front none does.
bool isChosen(const Row& row) {
    std::string filter = benchmark::GetBenchmarkFilter();
    if (filter.empty() || filter == "all") return true;
    const bool without = filter[0] == '-';
    if (without) filter.erase(0, 1);
    return std::regex_search(row.operation + " | " + row.page, std::regex(filter)) != without;
}

/// Keeps the fastest repetition of each benchmark, and shows how far the run is on a terminal.
class FastestReporter : public benchmark::BenchmarkReporter {
  public:
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
            std::fprintf(stderr, "\r\033[K    %zu measured, ours and peers\r", done_);
    }

    double ms(const std::string& name) const {
        const auto found = fastest_.find(name);
        return found == fastest_.end() ? 0.0 : found->second;
    }

  private:
    std::map<std::string, double> fastest_;
    size_t done_ = 0;
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
    for (const Row& row : table()) {
        row.ours();
        row.peer();
        if (row.equal()) continue;
        std::fprintf(stderr, "%s on %s: the result is wrong\n", row.operation.c_str(),
                     row.page.c_str());
        good = false;
    }
    return good;
}

/// Checks and measures the rows of a subject, and gives their buffers back.
bool measure(void (*addRows)(), std::vector<Line>& lines, FastestReporter& reporter) {
    addRows();
    if (!checkRows()) return false;
    const size_t first = lines.size();
    for (const Row& row : table()) {
        for (const bool ours : {true, false})
            benchmark::RegisterBenchmark(
                nameOf(row, lines.size(), ours).c_str(),
                [call = ours ? row.ours : row.peer](benchmark::State& state) {
                    for (auto _ : state)
                        call();
                })
                ->Unit(benchmark::kMillisecond);
        lines.push_back({{row.operation, row.page, {}, row.peerName, {}, row.bar, {}}});
    }
    if (!table().empty()) benchmark::RunSpecifiedBenchmarks(&reporter, "all");
    benchmark::ClearRegisteredBenchmarks();
    table().clear();
    for (size_t i = first; i < lines.size(); ++i) {
        lines[i].ours = reporter.ms(nameOf(lines[i].row, i, true));
        lines[i].peer = reporter.ms(nameOf(lines[i].row, i, false));
    }
    return true;
}

void printTable(const std::vector<Line>& lines) {
    std::printf("%s, %s, commit %s, OpenCV %s, kernels %s, one thread\n\n", processorName().c_str(),
                "g++ " __VERSION__, KEL_COMMIT, CV_VERSION, kel::detail::rowKernels().level);
    std::printf("| operation | page | ours ms | peer | peer ms | ratio | bar |\n");
    std::printf("|---|---|---|---|---|---|---|\n");
    for (const Line& line : lines) {
        const Row& row = line.row;
        const double ratio = line.ours / line.peer;
        std::printf("| %s | %s | %.3f | %s | %.3f | %.2f | %.2f%s |\n", row.operation.c_str(),
                    row.page.c_str(), line.ours, row.peerName.c_str(), line.peer, ratio, row.bar,
                    ratio > row.bar * (1 + kNoise) ? " MISSED" : "");
    }
    std::printf(
        "\nStarting a process: %.2f ms alone, %.2f ms with the library (bar: 20 ms more)\n\n",
        startMs(false), startMs(true));
}

}  // namespace

void addRow(Row row) {
    if (isChosen(row)) table().push_back(std::move(row));
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
    std::vector<Line> lines;
    FastestReporter reporter;
    for (auto* const addRows :
         {addCopyRows, addBridgeRows, addImBridgeRows, addImFileRows, addFileRows, addBinarizeRows,
          addEnhanceRows, addImProcessRows, addLevelRows, addAnalysisRows, addAreaRows,
          addGeometryRows, addColourRows})
        if (!measure(addRows, lines, reporter)) return 1;
    printTable(lines);
    printTeamTable();
    printMemoryTable();
    printLoadMemoryTable();
    return 0;
}

}  // namespace bench

int main(int argc, char** argv) {
    return bench::runAll(argc, argv);
}
