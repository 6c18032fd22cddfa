// Resizing and rotation beside OpenCV on one thread, and what a team of two brings.
#include <opencv2/imgproc/imgproc_c.h>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"
#include "kernels/row_kernels.h"
#include "parallel.h"

namespace bench {
namespace {

/// One image in both forms: planes for us, pixels for OpenCV.
struct Picture {
    Picture(kelSize s, int planes, const Bytes& content)
        : size(s), channels(planes), samples(content), pixels(s.height, s.width, CV_8UC(planes)) {
        IplImage header = cvIplImage(pixels);
        KelPutIplImage(&header, samples.data());
    }
    Picture(kelSize s, int planes)
        : Picture(s, planes, Bytes(size_t(s.width) * size_t(s.height) * size_t(planes))) {}

    /// OpenCV's pixels as planes.
    Bytes planes() const {
        Bytes out(samples.size());
        IplImage header = cvIplImage(pixels);
        KelGetIplImage(&header, out.data());
        return out;
    }

    kelSize size;
    int channels;
    Bytes samples;
    cv::Mat pixels;
};

using PicturePtr = std::shared_ptr<Picture>;

PicturePtr pictureOf(const PageSet& page, int channels) {
    return std::make_shared<Picture>(page.size, channels, channels == 1 ? page.grey : page.colour);
}

void resize(Picture& from, Picture& to, int method) {
    KelResizeImage(from.samples.data(), from.size, to.samples.data(), to.size, from.channels,
                   method);
}

/// The same by the plain level of the row kernels, for the checks.
Bytes plainly(Picture& from, kelSize to, int method) {
    Picture result(to, from.channels);
    kel::detail::limitCpuLevel(kel::detail::CpuLevel::plain);
    resize(from, result, method);
    kel::detail::limitCpuLevel(kel::detail::CpuLevel::best);
    return result.samples;
}

struct Scale {
    const char* name;
    int percent;
};

void addResizeRows(const PageSet& page, int channels, Scale scale) {
    const PicturePtr from = pictureOf(page, channels);
    const kelSize size{page.size.width * scale.percent / 100,
                       page.size.height * scale.percent / 100};
    const std::string name = page.name + (channels == 1 ? " grey to " : " colour to ") + scale.name;
    const auto add = [&](const char* operation, int method, const char* peer, int interpolation,
                         double bar) {
        const auto ours = std::make_shared<Picture>(size, channels);
        const auto theirs = std::make_shared<Picture>(size, channels);
        addRow({operation, name, [=] { resize(*from, *ours, method); }, peer,
                [=] {
                    cv::resize(from->pixels, theirs->pixels, theirs->pixels.size(), 0, 0,
                               interpolation);
                },
                bar,
                [=] {
                    return ours->samples ==
                           (method > 4 ? plainly(*from, size, method) : theirs->planes());
                }});
    };
    add("KelResizeImage 8, nearest", 8, "OpenCV nearest", cv::INTER_NEAREST, 1.0);
    add("KelResizeImage 6, average", 6, "OpenCV area", cv::INTER_AREA, 1.0);
    add("KelResizeImage 7, least", 7, "OpenCV area", cv::INTER_AREA, 1.0);
    add("KelResizeImage 5, bilinear", 5, "OpenCV linear", cv::INTER_LINEAR, 1.5);
    add("KelResizeImage 0", 0, "OpenCV linear", cv::INTER_LINEAR, 1.2);
    add("KelResizeImage 1", 1, "OpenCV nearest", cv::INTER_NEAREST, 1.2);
    add("KelResizeImage 3", 3, "OpenCV area", cv::INTER_AREA, 1.2);
    add("KelResizeImage 4", 4, "OpenCV cubic", cv::INTER_CUBIC, 1.2);
}

void addTurnRows(const PageSet& page, int channels) {
    const PicturePtr from = pictureOf(page, channels);
    const int w = page.size.width, h = page.size.height;
    const std::string name = page.name + (channels == 1 ? " grey" : " colour");
    const auto add = [&](const char* operation, int code, double bar, auto turn) {
        const kelSize size = code == cv::ROTATE_180 ? page.size : kelSize{h, w};
        const auto ours = std::make_shared<Picture>(size, channels);
        const auto theirs = std::make_shared<Picture>(size, channels);
        addRow({operation, name, [=] { turn(from->samples, ours->samples); }, "OpenCV rotate",
                [=] { cv::rotate(from->pixels, theirs->pixels, code); }, bar,
                [=] { return ours->samples == theirs->planes(); }});
    };
    add("kel_RotateImage90", cv::ROTATE_90_CLOCKWISE, 0.7, [=](Bytes& src, Bytes& dst) {
        kel_RotateImage90(src.data(), w, h, channels, dst.data(), h, w);
    });
    add("kel_RotateImage270", cv::ROTATE_90_COUNTERCLOCKWISE, 0.7, [=](Bytes& src, Bytes& dst) {
        kel_RotateImage270(src.data(), w, h, channels, dst.data(), h, w);
    });
    add("kel_RotateImage180", cv::ROTATE_180, 0.5, [=](Bytes& src, Bytes& dst) {
        kel_RotateImage180(src.data(), dst.data(), {w, h}, channels);
    });
    add("KelRotate180", cv::ROTATE_180, 0.5, [=](Bytes& src, Bytes& dst) {
        KelRotate180(src.data(), dst.data(), {w, h}, channels);
    });

    const auto ours = std::make_shared<Picture>(page.size, channels);
    const auto theirs = std::make_shared<Picture>(page.size, channels);
    addRow({"KelRotateImageLittleAngle", name,
            [=] {
                KelRotateImageLittleAngle(from->samples.data(), ours->samples.data(), page.size,
                                          channels, 2.3);
            },
            "OpenCV cvGetQuadrangleSubPix",
            [=] {
                IplImage src = cvIplImage(from->pixels), dst = cvIplImage(theirs->pixels);
                const double r = 2.3 * 3.141592653589793 / 180.0;
                const auto c = static_cast<float>(std::cos(r)), s = static_cast<float>(std::sin(r));
                float m[] = {c, s, float(w) * 0.5F, -s, c, float(h) * 0.5F};
                const CvMat matrix = cvMat(2, 3, CV_32FC1, m);
                cvGetQuadrangleSubPix(&src, &dst, &matrix);
            },
            1.2, [=] { return ours->samples == theirs->planes(); }});
}

}  // namespace

void addGeometryRows() {
    kel::detail::forceTeamSize(1);
    for (const PageSet& page : pages())
        for (int channels : {1, 3}) {
            for (const Scale scale : {Scale{"0.8", 80}, {"half", 50}, {"0.3", 30}})
                addResizeRows(page, channels, scale);
            addTurnRows(page, channels);
        }
    addResizeRows(pages()[0], 1, {"1.6", 160});
    for (int channels : {1, 3}) {
        const PageSet& page = pages().back();
        const PicturePtr from = pictureOf(page, channels);
        const auto to = std::make_shared<Picture>(
            kelSize{page.size.width * 4 / 5, page.size.height * 4 / 5}, channels);
        for (int method : {5, 6, 7, 8})
            addTeamRow("KelResizeImage " + std::to_string(method) + ", " + page.name +
                           (channels == 1 ? " grey" : " colour") + " to 0.8",
                       [=] { resize(*from, *to, method); });
    }
}

}  // namespace bench
