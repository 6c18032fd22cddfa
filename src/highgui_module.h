// The private module that reaches OpenCV's file and window calls.
//
// Those parts of OpenCV pull in more than a hundred shared libraries and cost a host some 150 ms at
// every start, so libKelImageLib does not link them. The module is loaded when a call first needs
// it, and stays loaded.
#pragma once

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace kel::detail {

/// An image and the title of its window.
struct ShownImage {
    const char* title;
    cv::Mat image;
};

/// What the module offers; its one exported symbol is a function that returns this table.
struct HighguiModule {
    int version;  ///< kHighguiModuleVersion of the build

    /// `cv::imread`; an empty matrix when nothing was read, whatever the reason.
    cv::Mat (*read)(const std::string& name, int flags);

    /// `cv::imwrite` without parameters. OpenCV's errors pass through.
    bool (*write)(const std::string& name, const cv::Mat& image);

    /// Shows each image in a window until a key is pressed; false where there is no display.
    bool (*showUntilKey)(const std::vector<ShownImage>& images);
};

constexpr int kHighguiModuleVersion = 2;
constexpr const char* kHighguiModuleEntry = "kelHighguiModule";

/// The module, or null where it is missing or belongs to another build.
const HighguiModule* highguiModule();

/// Reads an image file; an empty matrix when nothing was read or the module is missing.
cv::Mat readImageFile(const std::string& name, int flags);

/// Writes an image file. Where the module is missing a line on standard error says so.
void writeImageFile(const std::string& name, const cv::Mat& image);

/// Shows each image in a window until a key is pressed. Without a display or the module a line on
/// standard error says so, and nothing is shown.
void showUntilKey(const std::vector<ShownImage>& images);

/// A file name as a string. A null name ends in std::logic_error with the text that hosts know.
std::string fileName(const char* name);

}  // namespace kel::detail
