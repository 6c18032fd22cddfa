// kelpage run: pages along the whole road, from scans to clean files.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <thread>

#include "commands.h"
#include "page_options.h"
#include "plain_text.h"
#include "progress.h"
#include "run_jobs.h"
#include "run_page.h"
#include "run_report.h"
#include "seal_of_page.h"

namespace kelpage {
namespace {

struct Arguments {
    std::vector<std::string> inputs;
    std::string output, report;
    std::string limit = "4096x4096", seal, sealColour = "red";
    MethodOptions method;
    RunPageOptions page;
    double blankPercent = 0.02;
    int threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    bool keepsSkew = false, isJson = false;
};

const std::map<std::string, EdgeWork> kEdges = {
    {"none", EdgeWork::none}, {"paint", EdgeWork::paint}, {"clear", EdgeWork::clear}};

/// The standard output for this command alone: what the library prints goes to standard error.
class OwnOutput {
  public:
    OwnOutput() : kept_((std::fflush(stdout), dup(STDOUT_FILENO))), lines_(fdopen(kept_, "w")) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    OwnOutput(const OwnOutput&) = delete;
    OwnOutput& operator=(const OwnOutput&) = delete;
    ~OwnOutput() {
        std::fflush(stdout);
        std::fflush(lines_);
        dup2(kept_, STDOUT_FILENO);
        std::fclose(lines_);
    }

    void print(const std::string& line) {
        std::fprintf(lines_, "%s\n", line.c_str());
        if (std::fflush(lines_) != 0) isWhole_ = false;
    }

    /// Whether every line went out.
    bool isWhole() const { return isWhole_; }

  private:
    int kept_;
    std::FILE* lines_;
    bool isWhole_ = true;
};

std::string degrees(double angle) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f degrees", angle);
    return text;
}

/// What was done to a page, in a line.
std::string lineOf(const PlannedPage& page, const RunPageResult& run) {
    const PageResult& result = run.result;
    std::string line = page.title() + ": ";
    if (run.isResumed) line += "done earlier; ";
    if (result.fate == Fate::blank) line += "blank; ";
    if (result.fate == Fate::dropped) return line + "blank, dropped";
    if (result.isTurned) line += "turned by " + degrees(-result.skew) + ", ";
    line += "level: " + result.level + ", " + std::to_string(result.spots) +
            (result.spots == 1 ? " spot" : " spots") + " removed";
    if (result.holes > 0)
        line += ", " + std::to_string(result.holes) + (result.holes == 1 ? " hole" : " holes") +
                " filled";
    for (size_t i = 0; i < result.outputs.size(); ++i)
        line += (i == 0 ? " -> " : ", ") + result.outputs[i].name;
    return line;
}

void reportFailure(const PlannedPage& page, const PageResult& result) {
    reportError(page.path(), result.reason + " (" + nameOf(result.failedAt) + ", code " +
                                 std::to_string(result.code) + ")");
}

/// "3.2 pages/s, 9 s left".
std::string paceText(size_t done, size_t resumed, size_t count, double seconds) {
    const size_t own = done - resumed;
    if (own == 0 || seconds <= 0.0) return "";
    const double pace = static_cast<double>(own) / seconds;
    char text[64];
    std::snprintf(text, sizeof text, "%.1f pages/s, %.0f s left", pace,
                  static_cast<double>(count - done) / pace);
    return text;
}

/// Takes all pages along, and tells each one.
void takeAll(const Arguments& arguments, const PageRunner& runner, RunSummary& summary,
             OwnOutput& out) {
    const auto start = std::chrono::steady_clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    summary.results.resize(summary.plan.size());
    Progress progress(summary.plan.size());
    size_t resumed = 0;
    Jobs jobs;
    jobs.count = summary.plan.size();
    jobs.threads = arguments.threads;
    jobs.work = [&](size_t i) { summary.results[i] = runner.take(summary.plan[i]); };
    jobs.tell = [&](size_t i) {
        const PlannedPage& page = summary.plan[i];
        const RunPageResult& run = summary.results[i];
        resumed += run.isResumed ? 1 : 0;
        progress.clear();
        if (run.result.fate == Fate::failed) reportFailure(page, run.result);
        if (arguments.isJson)
            out.print(
                jsonOf(run.result, page.file.string(), page.number, page.name, run.isResumed));
        else if (run.result.fate != Fate::failed)
            out.print(inOneLine(lineOf(page, run)));
    };
    jobs.show = [&](size_t done) {
        progress.step();
        progress.show(paceText(done, resumed, jobs.count, elapsed()));
    };
    progress.show("");
    const Interruption interruption;
    summary.results.resize(runJobs(jobs));
    summary.seconds = elapsed();
}

std::string contentsOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// All that the results of a page depend on besides the page.
std::string optionText(const Arguments& a) {
    const Settings& m = a.page.road.method;
    std::ostringstream text;
    text.precision(17);
    text << KELPAGE_VERSION << " method " << m.method << ' ' << m.thres << ' ' << m.blockSize << ' '
         << m.param1 << ' ' << m.ratio << ' ' << m.lowRatio << ' ' << m.highRatio << " limit "
         << a.limit << " skew " << !a.keepsSkew << ' ' << a.page.road.search.range << ' '
         << a.page.road.search.accuracy << " edges " << static_cast<int>(a.page.road.edges)
         << " least " << a.page.road.least.value_or(0) << " holes " << a.page.road.holes
         << " blank " << a.blankPercent << ' ' << a.page.dropsBlank << " colour "
         << a.page.colourFormat << ' ' << a.page.quality << " seal ";
    if (!a.seal.empty()) text << a.sealColour << ' ' << digestOf(contentsOf(a.seal));
    if (!a.report.empty()) text << " report " << fs::absolute(a.report).lexically_normal().string();
    return text.str();
}

/// Fills in what follows from the options, and refuses what does not fit.
void settle(Arguments& a) {
    requireSearch(a.page.road.search);
    a.page.road.method = settingsOf(a.method);
    a.page.road.limit = a.limit == "none" ? kelSize{0, 0} : limitOf(a.limit);
    a.page.road.isDeskewed = !a.keepsSkew;
    a.page.road.blankInk = a.blankPercent / 100.0;
    try {
        if (!a.seal.empty()) a.page.road.seal = sealSettings(a.seal, a.sealColour);
    } catch (const FileError& error) {
        throw CLI::ValidationError("--seal", a.seal + ": " + error.what());
    }
    if (a.output.empty()) throw CLI::ValidationError("--output", "must name a folder");
    const auto isOutput = [&](const std::string& path) {
        std::error_code error;
        return fs::absolute(path, error).lexically_normal() ==
                   fs::absolute(a.output).lexically_normal() ||
               fs::equivalent(path, a.output, error);
    };
    for (const std::string& input : a.inputs)
        if (isOutput(input)) throw CLI::ValidationError("--output", "must not be an input as well");
    if (!a.report.empty() && isOutput(a.report))
        throw CLI::ValidationError("--report", "must be another folder than that of --output");
    for (const auto& [option, folder] : {std::pair{"--output", a.output}, {"--report", a.report}})
        if (OutputFolder::isOwn(folder))
            throw CLI::ValidationError(option, "must not lie in a folder that runs keep");
    a.page.text = optionText(a);
}

int finish(const Arguments& arguments, const RunSummary& summary, const OutputFolder* report,
           OwnOutput& out) {
    int status = summary.count(Fate::failed) > 0 ? 1 : 0;
    const auto say = [&](const std::string& line) {
        if (arguments.isJson)
            std::cerr << line << std::endl;
        else
            out.print(line);
    };
    say(summary.text());
    try {
        if (report != nullptr) say(writeRunReport(*report, arguments.output, summary).string());
    } catch (const FileError& error) {
        reportError(arguments.report, error.what());
        status = 1;
    }
    if (out.isWhole()) return status;
    reportError("standard output", "cannot be written");
    return 1;
}

int runAll(const Arguments& arguments) {
    const Inputs inputs = collectFiles(arguments.inputs);
    OwnOutput out;
    RunSummary summary;
    summary.plan = planPages(inputs.files, {kSealSuffix});
    summary.threads = arguments.threads;
    summary.hasSeals = arguments.page.road.seal.has_value();
    std::vector<fs::path> kept = inputs.files;
    if (!arguments.seal.empty()) kept.emplace_back(arguments.seal);
    const Protected protectedFiles(kept);
    fs::path atFault = arguments.output;
    int status = inputs.failures > 0 ? 1 : 0;
    try {
        const OutputFolder output(arguments.output, protectedFiles);
        RunRecord record(output.recordFile());
        std::optional<OutputFolder> report;
        atFault = arguments.report;
        if (!arguments.report.empty()) report.emplace(arguments.report, protectedFiles);
        const OutputFolder* const reportFolder = report ? &*report : nullptr;
        takeAll(arguments, PageRunner(arguments.page, output, reportFolder, record), summary, out);
        status = std::max(status, finish(arguments, summary, reportFolder, out));
    } catch (const FileError& error) {
        reportError(atFault, error.what());
        return 1;
    }
    return status;
}

int run(const Arguments& arguments) {
    const int status = runAll(arguments);
    if (const int signal = Interruption::signal()) {
        std::cerr << "kelpage: interrupted; --resume goes on from here" << std::endl;
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    return status;
}

void addPageOptions(CLI::App& command, Arguments& a) {
    command.add_option("-l,--limit", a.limit, "Scale larger pages down to fit WxH, or none")
        ->capture_default_str();
    addMethodOptions(command, a.method);
    addSkewOptions(command, a.page.road.search);
    command.add_flag("--no-deskew", a.keepsSkew, "Leave pages turned as they are");
    command
        .add_option("-e,--edges", a.page.road.edges,
                    "Dark edges of the scanner: none, paint them over, or clear: also clear what "
                    "touches the border in black and white (paint)")
        ->transform(CLI::CheckedTransformer(kEdges))
        ->type_name("WORK");
    command.add_flag("--holes", a.page.road.holes, "Fill the dark holes of binders");
    command
        .add_option("--least", a.page.road.least,
                    "Areas of ink with fewer pixels are spots (10 at 300 dpi)")
        ->check(CLI::Range(1, 1000000));
    command.add_option("--seal", a.seal,
                       "Separate coloured seals by this configuration file: into a file of their "
                       "own, and out of the page in black and white");
    command.add_option("--seal-colour", a.sealColour, "The block to use: red or blue")
        ->check(CLI::IsMember({"red", "blue"}))
        ->capture_default_str();
    command
        .add_option("--blank-ink", a.blankPercent,
                    "A page is blank with less ink, in percent, within its margins")
        ->check(realRange(0.0, 100.0))
        ->capture_default_str();
    command.add_flag("--drop-blank", a.page.dropsBlank, "Write no files for blank pages");
}

void addFileOptions(CLI::App& command, Arguments& a) {
    command.add_option("INPUT", a.inputs, "Image files, also of several pages, or folders of them")
        ->required();
    command.add_option("-o,--output", a.output, "Folder for the files")->required();
    command.add_option("-f,--colour-format", a.page.colourFormat, "jpg, png or none")
        ->check(CLI::IsMember({"jpg", "png", "none"}))
        ->capture_default_str();
    command.add_option("-q,--quality", a.page.quality, "Quality of JPEG")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    command.add_option("-j,--jobs", a.threads, "Pages at once")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    command.add_option("--report", a.report,
                       "Folder for an HTML page with each page before and after; it links "
                       "methods/index.html there, if that is a sheet");
    command.add_flag("--json", a.isJson, "One line of JSON for each page on standard output");
    command.add_flag("--resume", a.page.resumes,
                     "Skip pages that an earlier run has done with the same options");
}

}  // namespace

void addRun(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "run",
        "Take pages along the whole road: upright, without dark edges and spots, into a TIFF file "
        "in black and white (group 4) and a colour file each");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, *arguments);
    addPageOptions(*command, *arguments);
    command->callback([arguments, &status] {
        settle(*arguments);
        status = run(*arguments);
    });
}

}  // namespace kelpage
