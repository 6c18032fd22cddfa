#include "run_report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <numeric>

#include "plain_text.h"

namespace kelpage {
namespace {

constexpr const char* kColours[kSteps] = {"#4e79a7", "#f28e2b", "#e15759", "#76b7b2", "#59a14f",
                                          "#edc948", "#b07aa1", "#ff9da7", "#9c755f", "#bab0ac"};

const char* const kStyle = R"(
  body { font: 15px/1.45 system-ui, sans-serif; margin: 0; background: #eef0f2; color: #1c2329; }
  header { background: #22303c; color: #fff; padding: 1.2rem 2rem; }
  h1 { margin: 0 0 .8rem; font-size: 1.4rem; font-weight: 600; }
  header a { color: #9fd0ff; }
  .totals { display: flex; flex-wrap: wrap; gap: .6rem 2.2rem; margin: 0; }
  .totals div { display: flex; flex-direction: column-reverse; }
  .totals dt { opacity: .75; font-size: .85rem; }
  .totals dd { margin: 0; font-size: 1.35rem; font-variant-numeric: tabular-nums; }
  section, article { margin: 1.2rem 2rem; background: #fff; border: 1px solid #d7dce0;
                     border-radius: 6px; padding: 1rem 1.2rem; }
  article { display: grid; grid-template-columns: 21rem repeat(auto-fit, minmax(11rem, 1fr));
            gap: 1rem; }
  article.failed, section.failed { border-left: 5px solid #c0392b; }
  article.blank, article.dropped { border-left: 5px solid #edc948; }
  h2 { font-size: 1.05rem; margin: 0 0 .5rem; overflow-wrap: anywhere; }
  table { border-collapse: collapse; font-size: .87rem; }
  td, th { padding: .1rem .8rem .1rem 0; text-align: left; vertical-align: top; }
  th { font-weight: 400; color: #66727c; white-space: nowrap; }
  .bar { display: flex; height: 14px; margin-top: .6rem; border-radius: 3px; overflow: hidden;
         min-width: 2px; }
  .key { display: inline-block; white-space: nowrap; margin-right: 1.3rem; font-size: .9rem; }
  .key i { display: inline-block; width: .8rem; height: .8rem; border-radius: 2px;
           margin-right: .4rem; vertical-align: -1px; }
  figure { margin: 0; }
  figure a { display: flex; justify-content: center; background: #c9d0d6; border-radius: 4px;
             border: 1px solid #b8c0c7; }
  img { max-width: 100%; max-height: 22rem; display: block; }
  figcaption { font-size: .87rem; color: #515d67; padding-top: .3rem; }
  @media (max-width: 46rem) { article { grid-template-columns: 1fr 1fr; } }
)";

std::string formatted(const char* format, double value) {
    char text[40];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string sizeText(uintmax_t bytes) {
    const auto value = static_cast<double>(bytes);
    return bytes < 1000000 ? formatted("%.1f\u00a0kB", value / 1e3)
                           : formatted("%.1f\u00a0MB", value / 1e6);
}

std::string shareText(double share) {
    return formatted("%.2f %%", 100.0 * share);
}

/// The parts of a bar, each as wide as its share of the time.
std::string barOf(const StepTimes& times, double widthPercent) {
    std::string html =
        "<div class=\"bar\" style=\"width:" + formatted("%.2f", widthPercent) + "%\">";
    const double all = std::accumulate(times.begin(), times.end(), 0.0);
    for (size_t i = 0; i < kSteps; ++i) {
        if (times[i] <= 0.0) continue;
        html += "<span style=\"width:" + formatted("%.2f", 100.0 * times[i] / all) +
                "%;background:" + kColours[i] + "\" title=\"" + nameOf(static_cast<Step>(i)) + " " +
                formatted("%.1f ms", times[i]) + "\"></span>";
    }
    return html + "</div>\n";
}

std::string row(const std::string& name, const std::string& html) {
    return "<tr><th>" + name + "</th><td>" + html + "</td></tr>\n";
}

class Writer {
  public:
    Writer(const OutputFolder& folder, const fs::path& output, const RunSummary& summary)
        : folder_(folder), output_(output), summary_(summary) {
        for (const RunPageResult& page : summary.results)
            slowest_ = std::max(slowest_, page.result.milliseconds());
    }

    std::string html() const {
        std::string text =
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta name=\"viewport\" content=\"width=device-width\">\n"
            "<title>KelImageLib: a run of pages</title>\n<style>" +
            std::string(kStyle) + "</style>\n</head>\n<body>\n" + header() + failures() + legend();
        for (size_t i = 0; i < summary_.results.size(); ++i)
            text += article(summary_.plan[i], summary_.results[i]);
        return text + "</body>\n</html>\n";
    }

  private:
    std::string header() const {
        std::string text = "<header>\n<h1>The road of " + std::to_string(summary_.plan.size()) +
                           (summary_.plan.size() == 1 ? " page" : " pages") +
                           "</h1>\n<dl class=\"totals\">\n";
        const auto add = [&](const std::string& name, const std::string& value) {
            text += "<div><dt>" + name + "</dt><dd>" + value + "</dd></div>\n";
        };
        for (const Fate fate : {Fate::done, Fate::blank, Fate::dropped, Fate::failed})
            add(fate == Fate::dropped ? "blank, dropped" : nameOf(fate),
                std::to_string(summary_.count(fate)));
        if (summary_.resumedCount() > 0)
            add("of them earlier", std::to_string(summary_.resumedCount()));
        if (summary_.results.size() < summary_.plan.size())
            add("not reached", std::to_string(summary_.plan.size() - summary_.results.size()));
        add("time", formatted("%.2f s", summary_.seconds));
        add("pages a second", formatted("%.2f", summary_.pagesPerSecond()));
        add("at once", std::to_string(summary_.threads));
        uintmax_t bytes = 0;
        for (const RunPageResult& page : summary_.results)
            for (const Written& file : page.result.outputs)
                bytes += file.bytes;
        add("written", sizeText(bytes));
        text += "</dl>\n";
        std::error_code error;
        if (fs::exists(folder_.path() / "methods" / "index.html", error))
            text += "<p><a href=\"methods/index.html\">Pages by every binarization method</a></p>";
        return text + "</header>\n";
    }

    std::string failures() const {
        if (summary_.count(Fate::failed) == 0) return "";
        std::string text =
            "<section class=\"failed\"><h2>Failed</h2>\n<table><tr><th>page</th><th>step</th>"
            "<th>code</th><th>reason</th></tr>\n";
        for (size_t i = 0; i < summary_.results.size(); ++i) {
            const PageResult& page = summary_.results[i].result;
            if (page.fate == Fate::failed)
                text += "<tr><td>" + escapedForHtml(summary_.plan[i].title()) + "</td><td>" +
                        nameOf(page.failedAt) + "</td><td>" + std::to_string(page.code) +
                        "</td><td>" + escapedForHtml(page.reason) + "</td></tr>\n";
        }
        return text + "</table></section>\n";
    }

    /// The steps with their colours, and the time that all pages together spent in each.
    std::string legend() const {
        StepTimes sums{};
        for (const RunPageResult& page : summary_.results)
            for (size_t i = 0; i < kSteps; ++i)
                sums[i] += page.result.times[i];
        const double all = std::accumulate(sums.begin(), sums.end(), 0.0);
        std::string text = "<section><h2>Time by step</h2>\n";
        for (size_t i = 0; i < kSteps; ++i)
            if (sums[i] > 0.0)
                text += std::string("<span class=\"key\"><i style=\"background:") + kColours[i] +
                        "\"></i>" + nameOf(static_cast<Step>(i)) + " " +
                        formatted("%.0f ms", sums[i]) +
                        formatted(" (%.0f %%)", 100 * sums[i] / all) + "</span>\n";
        if (all > 0.0) text += barOf(sums, 100.0);
        return text + "</section>\n";
    }

    std::string article(const PlannedPage& page, const RunPageResult& run) const {
        const PageResult& result = run.result;
        std::string text = std::string("<article class=\"") + nameOf(result.fate) +
                           "\">\n<div><h2>" + escapedForHtml(page.title()) + "</h2>\n<table>\n" +
                           facts(run) + "</table>\n";
        if (result.fate != Fate::failed)
            text += barOf(result.times, 100.0 * result.milliseconds() / slowest_);
        text += "</div>\n";
        constexpr const char* kTitles[] = {"before", "after", "black and white", "seal"};
        for (const Picture picture : picturesOf(result, summary_.hasSeals)) {
            const std::string link = escapedForLink(pictureName(page.name, picture));
            const std::string title = kTitles[static_cast<size_t>(picture)];
            text += "<figure><a href=\"" + link + "\">";
            text += "<img loading=\"lazy\" src=\"" + link + "\" alt=\"";
            text += escapedForHtml(page.title()) + ", " + title + "\"></a>";
            text += "<figcaption>" + title + "</figcaption></figure>\n";
        }
        return text + "</article>\n";
    }

    std::string facts(const RunPageResult& run) const {
        const PageResult& result = run.result;
        if (result.fate == Fate::failed)
            return row("failed", escapedForHtml(result.reason)) +
                   row("step", nameOf(result.failedAt)) + row("code", std::to_string(result.code));
        std::string text;
        if (result.fate == Fate::blank) text += row("fate", "blank");
        if (result.fate == Fate::dropped) text += row("fate", "blank, dropped");
        text += row("size", std::to_string(result.size.width) + " \u00d7 " +
                                std::to_string(result.size.height) +
                                (result.channels == 3 ? ", colour" : ", grey"));
        text += row("skew", formatted("%.2f\u00b0", result.skew) +
                                (result.isTurned ? ", turned upright" : ""));
        text += row("level", escapedForHtml(result.level));
        text += row("spots removed", std::to_string(result.spots));
        if (result.edges > 0.0) text += row("edges", shareText(result.edges) + " painted over");
        if (result.holes > 0) text += row("holes filled", std::to_string(result.holes));
        if (result.seal > 0.0) text += row("seal", shareText(result.seal));
        text += row("ink", shareText(result.ink));
        text += row("time", formatted("%.1f ms", result.milliseconds()) +
                                (run.isResumed ? ", in an earlier run" : ""));
        if (!result.outputs.empty()) text += row("files", links(result.outputs));
        return text;
    }

    std::string links(const std::vector<Written>& files) const {
        std::string text;
        for (const Written& file : files) {
            const fs::path path =
                fs::absolute(output_ / file.name)
                    .lexically_normal()
                    .lexically_relative(fs::absolute(folder_.path()).lexically_normal());
            text += (text.empty() ? "" : "<br>") + std::string("<a href=\"") +
                    escapedForLink(path.string()) + "\">" + escapedForHtml(file.name) +
                    "</a>&ensp;" + sizeText(file.bytes);
        }
        return text;
    }

    const OutputFolder& folder_;
    const fs::path& output_;
    const RunSummary& summary_;
    double slowest_ = 1e-9;
};

}  // namespace

size_t RunSummary::count(Fate fate) const {
    return static_cast<size_t>(
        std::count_if(results.begin(), results.end(),
                      [&](const RunPageResult& page) { return page.result.fate == fate; }));
}

size_t RunSummary::resumedCount() const {
    return static_cast<size_t>(std::count_if(
        results.begin(), results.end(), [](const RunPageResult& page) { return page.isResumed; }));
}

double RunSummary::pagesPerSecond() const {
    return seconds > 0.0 ? static_cast<double>(results.size() - resumedCount()) / seconds : 0.0;
}

std::string RunSummary::text() const {
    std::string text = std::to_string(results.size()) + (results.size() == 1 ? " page" : " pages") +
                       formatted(" in %.1f s", seconds) +
                       formatted(" (%.1f pages/s): ", pagesPerSecond()) +
                       std::to_string(count(Fate::done)) + " done";
    const auto add = [&](size_t count, const char* what) {
        if (count > 0) text += ", " + std::to_string(count) + what;
    };
    add(count(Fate::blank), " blank");
    add(count(Fate::dropped), " blank and dropped");
    add(count(Fate::failed), " failed");
    add(resumedCount(), " of them by an earlier run");
    return text;
}

fs::path writeRunReport(const OutputFolder& folder, const fs::path& output,
                        const RunSummary& summary) {
    const std::string name = "index.html";
    std::ofstream file(folder.aside(name), std::ios::binary);
    file << Writer(folder, output, summary).html();
    file.close();
    if (!file) throw FileError(name + " cannot be written");
    folder.place(name);
    return fs::absolute(folder.path() / name).lexically_normal();
}

}  // namespace kelpage
