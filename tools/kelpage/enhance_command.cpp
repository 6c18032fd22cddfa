// kelpage enhance: pages made brighter, clearer or sharper, with a report of before and after.
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "page_files.h"
#include "page_work.h"
#include "report.h"

namespace kelpage {
namespace {

struct Arguments {
    Batch batch;
    std::string report;
    std::optional<int> brightness;
    std::optional<std::pair<int, int>> curve;
    std::optional<double> gamma, sharpen;
    std::optional<std::pair<double, double>> levels;
};

/// One change of a page; `out` has the page's size and planes.
struct Step {
    std::string name;
    std::string detail;
    std::function<void(const Page& in, Page& out)> work;
};

/// Runs an operation on planes of their own.
template <class Work>
std::function<void(const Page&, Page&)> onEachPlane(Work work) {
    return [work](const Page& in, Page& out) {
        for (int c = 0; c < in.channels; ++c) {
            const size_t start = static_cast<size_t>(c) * in.planeBytes();
            work(in.samples.get() + start, out.samples.get() + start, in.size);
        }
    };
}

std::string shortText(double number) {
    std::string text = std::to_string(number);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::vector<Step> stepsOf(const Arguments& a) {
    std::vector<Step> steps;
    if (a.brightness) {
        const int delta = *a.brightness;
        steps.push_back({"brightness", (delta > 0 ? "+" : "") + std::to_string(delta),
                         onEachPlane([delta](auto* in, auto* out, kelSize size) {
                             KelChangeBright(in, out, size, delta);
                         })});
    }
    if (a.curve) {
        const auto [knee, target] = *a.curve;
        steps.push_back({"curve", std::to_string(knee) + " becomes " + std::to_string(target),
                         [knee = knee, target = target](const Page& in, Page& out) {
                             constexpr int curveMode = 1000;  // and the number of planes
                             KelChangeBrightRGB(in.samples.get(), out.samples.get(), in.size,
                                                curveMode + in.channels, knee, target);
                         }});
    }
    if (a.gamma) {
        const double gamma = *a.gamma;
        steps.push_back(
            {"gamma", shortText(gamma), onEachPlane([gamma](auto* in, auto* out, kelSize size) {
                 KelGammaCorrect(in, out, size, gamma);
             })});
    }
    if (a.levels) {
        const auto [low, high] = *a.levels;
        steps.push_back({"levels",
                         "cut " + shortText(100 * low) + " % and " + shortText(100 * high) + " %",
                         [low = low, high = high](const Page& in, Page& out) {
                             KelAutoColorLeversAdjust(in.samples.get(), out.samples.get(), in.size,
                                                      in.channels, ' ', low, high);
                         }});
    }
    if (a.sharpen) {
        const double strength = *a.sharpen;
        steps.push_back({"sharpening", "strength " + shortText(strength),
                         [strength](const Page& in, Page& out) {
                             KelLaplace8(in.samples.get(), out.samples.get(), in.size, in.channels,
                                         strength);
                         }});
    }
    return steps;
}

Page stepped(const Step& step, const Page& page) {
    Page result = makePageLike(page, page.channels);
    step.work(page, result);
    return result;
}

/// Takes a page through the steps; with a report, each of them is shown and timed.
Page enhanced(Page page, const PlannedPage& which, const std::vector<Step>& steps, Report* report) {
    if (report == nullptr) {
        for (const Step& step : steps)
            page = stepped(step, page);
        return page;
    }
    Row row = report->rowFor(which.title(), page);
    row.cells.push_back({report->addPicture(page, which.file, "before"), "before", "", ""});
    for (const Step& step : steps) {
        Page next;
        const std::string time = timed([&] { next = stepped(step, page); });
        const std::string effect = isSame(next, page) ? ": no change" : "";
        page = std::move(next);
        row.cells.push_back({report->addPicture(page, which.file, step.name), "after " + step.name,
                             step.detail + effect, time});
    }
    report->addRow(std::move(row));
    return page;
}

int run(const Arguments& arguments) {
    const std::vector<Step> steps = stepsOf(arguments);
    const Inputs inputs = collectFiles(arguments.batch.inputs);
    std::optional<Report> report;
    try {
        if (!arguments.report.empty()) report.emplace(arguments.report, inputs.files);
        const int status =
            runBatch(arguments.batch, inputs, [&](Page page, const PlannedPage& which) {
                return enhanced(std::move(page), which, steps, report ? &*report : nullptr);
            });
        if (report && report->rowCount() > 0) {
            const fs::path path = report->write("Pages before and after enhancement",
                                                "Each page as loaded, and after every step.");
            std::cout << path.string() << "\n";
        }
        return status;
    } catch (const FileError& error) {
        reportError(arguments.report, error.what());
        return 1;
    }
}

}  // namespace

void addEnhance(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "enhance",
        "Change brightness, levels and sharpness of pages; the steps run in the order below");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->batch);
    command->add_option("-b,--brightness", arguments->brightness, "Added to every sample")
        ->check(CLI::Range(-255, 255));
    command
        ->add_option("-c,--curve", arguments->curve,
                     "Knee and target: the level that is lifted, and what it becomes")
        ->delimiter(',');
    command
        ->add_option("-g,--gamma", arguments->gamma,
                     "Exponent 1/GAMMA; above 1 lifts the mid-tones")
        ->check(realRange(0.01, 100.0));
    command
        ->add_option("-l,--levels", arguments->levels,
                     "Shares of the darkest and brightest samples to cut, such as 0.01,0.01")
        ->delimiter(',')
        ->check(realRange(0.0, 1.0));
    command->add_option("-s,--sharpen", arguments->sharpen, "Strength, such as 0.2")
        ->check(realRange(-250.0, 250.0));
    command->add_option("-r,--report", arguments->report,
                        "Folder for an HTML page that shows each step before and after");
    command->callback([arguments, &status] {
        const Arguments& a = *arguments;
        if (!a.brightness && !a.curve && !a.gamma && !a.levels && !a.sharpen)
            throw CLI::ValidationError("enhance", "needs at least one step");
        if (a.curve && (a.curve->first < 1 || a.curve->first > 254 || a.curve->second > 255 ||
                        a.curve->first >= a.curve->second))
            throw CLI::ValidationError("--curve", "needs 1 <= knee < target <= 255");
        status = run(a);
    });
}

}  // namespace kelpage
