#include "run_page.h"

#include <algorithm>

#include "kel_ImageBasicProcess.h"
#include "page_work.h"
#include "page_writer.h"

namespace kelpage {
namespace {

constexpr kelSize kPictureSize{900, 1200};
constexpr int kPictureQuality = 80;

/// A page that fits a picture of a report.
Page pictureOf(const Page& page) {
    const double scale = std::min({1.0, static_cast<double>(kPictureSize.width) / page.size.width,
                                   static_cast<double>(kPictureSize.height) / page.size.height});
    if (scale >= 1.0) return copyOf(page);
    Page small = makePage({std::max(1, static_cast<int>(page.size.width * scale)),
                           std::max(1, static_cast<int>(page.size.height * scale))},
                          page.channels);
    KelResizeImage(page.samples.get(), page.size, small.samples.get(), small.size, page.channels,
                   KEL_RESIZE_AREA);
    return small;
}

void writePage(const Page& page, const fs::path& file, Compression compression, int quality) {
    PageWriter writer(file, quality);
    writer.add(page, compression);
    writer.finish();
}

}  // namespace

const char* const kSealSuffix = "-seal";

std::string pictureName(const std::string& name, Picture picture) {
    constexpr const char* kEnds[] = {"-before.jpg", "-after.jpg", "-binary.jpg", "-seal.jpg"};
    return name + kEnds[static_cast<size_t>(picture)];
}

std::vector<Picture> picturesOf(const PageResult& result, bool hasSeals) {
    if (result.fate == Fate::failed) return {};
    std::vector<Picture> pictures = {Picture::before, Picture::after, Picture::binary};
    if (hasSeals && result.channels == 3) pictures.push_back(Picture::seal);
    return pictures;
}

RunPageResult PageRunner::take(const PlannedPage& page) const {
    RunPageResult made;
    try {
        const std::string key = keyOf(page);
        const RecordEntry* const earlier = record_.find(page.name);
        if (options_.resumes && earlier != nullptr && earlier->key == key &&
            isWhole(*earlier, page.name))
            return {earlier->result, true};
        make(page, key, made.result);
        return made;
    } catch (const std::exception& error) {
        made.result.reason = reasonOf(error);
        if (const auto* const ours = dynamic_cast<const FileError*>(&error))
            made.result.code = ours->code();
    } catch (...) {
        made.result.reason = "unexpected failure";
    }
    discard(page.name);
    made.result.fate = Fate::failed;
    made.result.outputs.clear();
    return made;
}

std::string PageRunner::keyOf(const PlannedPage& page) const {
    std::error_code error;
    return fs::absolute(page.file, error).string() + "\npage " + std::to_string(page.number) +
           "\n" + stampOf(page.file) + "\n" + options_.text;
}

/// True when all files that were made are still there.
bool PageRunner::isWhole(const RecordEntry& entry, const std::string& name) const {
    std::error_code error;
    for (const Written& output : entry.result.outputs)
        if (fs::file_size(output_.path() / output.name, error) != output.bytes || error)
            return false;
    if (report_ != nullptr)
        for (const Picture picture : picturesOf(entry.result, options_.road.seal.has_value()))
            if (!fs::exists(report_->path() / pictureName(name, picture), error)) return false;
    return true;
}

void PageRunner::make(const PlannedPage& page, const std::string& key, PageResult& result) const {
    StepClock clock(result);
    const RoadPage made = takeAlong(page.file, page.number, options_.road, clock, result);
    if (result.fate == Fate::blank && options_.dropsBlank) result.fate = Fate::dropped;
    clock.run(Step::save, [&] { write(made, page.name, result); });
    if (report_ != nullptr) clock.run(Step::pictures, [&] { draw(made, page.name, result); });
    clock.run(Step::save, [&] { place(page.name, result); });
    record_.add(page.name, {key, result});
}

/// Everything is written aside before anything takes its place.
void PageRunner::write(const RoadPage& made, const std::string& name, PageResult& result) const {
    if (result.fate == Fate::dropped) return;
    const auto add = [&](const Page& page, const std::string& file, Compression compression) {
        const fs::path aside = output_.aside(file);
        writePage(page, aside, compression, options_.quality);
        result.outputs.push_back({file, fs::file_size(aside)});
    };
    add(made.binary, name + ".tif", Compression::ccittFax4);
    if (options_.colourFormat != "none")
        add(made.colour, name + "." + options_.colourFormat, Compression::usual);
    if (made.seal.samples) add(made.seal, name + kSealSuffix + ".tif", Compression::ccittFax4);
}

void PageRunner::draw(const RoadPage& made, const std::string& name,
                      const PageResult& result) const {
    const Page* const pages[] = {&made.asLoaded(), &made.colour, &made.binary, &made.seal};
    for (const Picture picture : picturesOf(result, options_.road.seal.has_value()))
        writePage(pictureOf(*pages[static_cast<size_t>(picture)]),
                  report_->aside(pictureName(name, picture)), Compression::usual, kPictureQuality);
}

/// What a page that failed has left aside: the room may be what the next one needs.
void PageRunner::discard(const std::string& name) const {
    for (const std::string& end :
         {std::string(".tif"), "." + options_.colourFormat, kSealSuffix + std::string(".tif")})
        output_.discard(name + end);
    if (report_ == nullptr) return;
    for (const Picture picture : {Picture::before, Picture::after, Picture::binary, Picture::seal})
        report_->discard(pictureName(name, picture));
}

void PageRunner::place(const std::string& name, const PageResult& result) const {
    record_.begin(name);
    for (const Written& output : result.outputs)
        output_.place(output.name);
    if (const RecordEntry* const earlier = record_.find(name))
        for (const Written& old : earlier->result.outputs)
            if (std::none_of(result.outputs.begin(), result.outputs.end(),
                             [&](const Written& output) { return output.name == old.name; }))
                output_.remove(old.name);
    if (report_ == nullptr) return;
    for (const Picture picture : picturesOf(result, options_.road.seal.has_value()))
        report_->place(pictureName(name, picture));
}

}  // namespace kelpage
