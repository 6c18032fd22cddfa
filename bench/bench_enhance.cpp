// Enhancement beside OpenCV and memcpy.
#include <opencv2/imgproc.hpp>
#if defined(KEL_HAVE_XIMGPROC)
#include <opencv2/ximgproc.hpp>
#endif

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"

namespace bench {
namespace {

using kel::detail::planeMat;

/// One operation on one page: the library's result beside a target for the peer.
struct Bench {
    Bench(std::string title, kelSize s, const Bytes& source, size_t result)
        : page(std::move(title)), size(s), src(source), ours(result), theirs(result) {}

    cv::Mat in(int plane = 0) { return planeMat(src.data() + plane * area(), size); }
    cv::Mat out(int plane = 0) { return planeMat(theirs.data() + plane * area(), size); }
    ptrdiff_t area() const { return ptrdiff_t{size.width} * size.height; }

    std::string page;
    kelSize size;
    Bytes src, ours, theirs;
};

using Shared = std::shared_ptr<Bench>;
using Step = std::function<void(Bench&)>;
using Check = std::function<bool(Bench&)>;

bool sameAsPeer(Bench& b) {
    return b.ours == b.theirs;
}

void add(const Shared& b, const std::string& name, const Step& ours, const std::string& peerName,
         const Step& peer, double bar, const Check& equal) {
    addRow({name, b->page, [=] { ours(*b); }, peerName, [=] { peer(*b); }, bar,
            [=] { return equal(*b); }});
}

/// A peer that copies as many bytes as an operation touches, which is twice what memcpy is told.
Step copyOf(double bytesTouched) {
    auto from = std::make_shared<Bytes>(static_cast<size_t>(bytesTouched / 2), 1);
    auto to = std::make_shared<Bytes>(from->size());
    return [=](Bench&) { std::memcpy(to->data(), from->data(), from->size()); };
}

/// True when each sample is `rule` of the source's sample at the same place.
template <class Rule>
Check eachIs(Rule rule) {
    return [rule](Bench& b) {
        for (size_t i = 0; i < b.ours.size(); ++i)
            if (b.ours[i] != rule(b.src[i])) return false;
        return true;
    };
}

void addPointRows(const PageSet& page) {
    const double n = static_cast<double>(page.area());
    const auto grey =
        std::make_shared<Bench>(page.name + " grey", page.size, page.grey, page.area());
    const Step shift = [](Bench& b) { KelChangeBright(b.src.data(), b.ours.data(), b.size, 30); };
    const Check shifted =
        eachIs([](int v) { return static_cast<unsigned char>(std::min(v + 30, 255)); });
    add(grey, "KelChangeBright", shift, "memcpy", copyOf(2 * n), 1.5, shifted);
    add(
        grey, "KelChangeBright", shift, "OpenCV add",
        [](Bench& b) { cv::add(b.in(), cv::Scalar(30), b.out()); }, 1.0, shifted);

    const auto curve =
        std::make_shared<Bench>(page.name + " grey", page.size, page.grey, page.area());
    cv::Mat table(1, 256, CV_8UC1);
    for (int v = 0; v < 256; ++v)
        table.data[v] = static_cast<unsigned char>(std::pow(v / 255.0, 2.2) * 255.0);
    add(
        curve, "KelAntiGammaCorrect",
        [](Bench& b) { KelAntiGammaCorrect(b.src.data(), b.ours.data(), b.size, 2.2); },
        "OpenCV LUT", [=](Bench& b) { cv::LUT(b.in(), table, b.out()); }, 1.0, sameAsPeer);

    const auto colour =
        std::make_shared<Bench>(page.name + " colour", page.size, page.colour, 3 * page.area());
    add(
        colour, "KelChangeBrightRGB, target means",
        [](Bench& b) { KelChangeBrightRGB(b.src.data(), b.ours.data(), b.size, 180, 190, 170); },
        "OpenCV mean + add",
        [](Bench& b) {
            const double targets[] = {180, 190, 170};
            for (int c = 0; c < 3; ++c)
                cv::add(b.in(c), std::trunc(targets[c] - cv::mean(b.in(c))[0]), b.out(c));
        },
        1.0, sameAsPeer);
    const auto lifted =
        std::make_shared<Bench>(page.name + " colour", page.size, page.colour, 3 * page.area());
    auto merged = std::make_shared<cv::Mat>();
    cv::merge(std::vector<cv::Mat>{lifted->in(2), lifted->in(1), lifted->in(0)}, *merged);
    auto yuv = std::make_shared<cv::Mat>();
    add(
        lifted, "KelChangeBrightRGB, curve",
        [](Bench& b) { KelChangeBrightRGB(b.src.data(), b.ours.data(), b.size, 1003, 80, 140); },
        "OpenCV cvtColor to YUV and back, interleaved",
        [=](Bench&) {
            cv::cvtColor(*merged, *yuv, cv::COLOR_BGR2YUV);
            cv::cvtColor(*yuv, *yuv, cv::COLOR_YUV2BGR);
        },
        4.0, [](Bench& b) {  // one plane through the same curve, for the neutral pixels
            Bytes levels(256), curved(256);
            for (size_t v = 0; v < 256; ++v)
                levels[v] = static_cast<unsigned char>(v);
            KelChangeBrightRGB(levels.data(), curved.data(), {256, 1}, 1001, 80, 140);
            const size_t step = static_cast<size_t>(b.area());
            for (size_t i = 0; i < step; ++i) {
                const int v = b.src[i], got = b.ours[i];
                const bool neutral = b.src[step + i] == v && b.src[2 * step + i] == v;
                if (neutral && std::abs(got - curved[static_cast<size_t>(v)]) > 1) return false;
            }
            return true;
        });
}

void addPairRows(const PageSet& page) {
    const double n = static_cast<double>(page.area());
    const auto b =
        std::make_shared<Bench>(page.name + " colour", page.size, page.colour, 3 * page.area());
    auto mask = std::make_shared<Bytes>(page.grey);
    KelBinarizeThreshold(mask->data(), mask->data(), page.size, 200, 0);
    add(
        b, "KelHadamardImage1, 3 by 1",
        [=](Bench& x) {
            KelHadamardImage1(x.src.data(), 3, mask->data(), 1, x.ours.data(), 3, x.size);
        },
        "memcpy", copyOf(7 * n), 1.5,
        [=](Bench& x) {
            for (size_t i = 0; i < x.ours.size(); ++i)
                if (x.ours[i] != x.src[i] * (*mask)[i % mask->size()] / 255) return false;
            return true;
        });
    const auto whitened =
        std::make_shared<Bench>(page.name + " colour", page.size, page.colour, 3 * page.area());
    add(
        whitened, "KelHadamardImage2, 3 by 1",
        [=](Bench& x) {
            KelHadamardImage2(x.src.data(), 3, mask->data(), 1, x.ours.data(), 3, x.size);
        },
        "memcpy", copyOf(7 * n), 1.5,
        [=](Bench& x) {
            for (size_t i = 0; i < x.ours.size(); ++i)
                if (x.ours[i] != (x.src[i] | (*mask)[i % mask->size()])) return false;
            return true;
        });
    const auto dark =
        std::make_shared<Bench>(page.name + " colour", page.size, page.colour, 3 * page.area());
    add(
        dark, "KelHadamardImage3",
        [=](Bench& x) { KelHadamardImage3(x.src.data(), mask->data(), x.ours.data(), x.size); },
        "memcpy", copyOf(7 * n), 1.5,
        [=](Bench& x) {
            const size_t step = mask->size();
            for (size_t i = 0; i < step; ++i)
                if (x.ours[i] != (x.src[i] | (*mask)[i])) return false;
            return true;
        });
    const auto binary = std::make_shared<Bench>(page.name + " binary", page.size, *mask, 1);
    auto count = std::make_shared<int>(0);
    const Step area = [=](Bench& x) { *count = KelCalArea(x.src.data(), x.size); };
    const Check counted = [=](Bench& x) { return *count == cv::countNonZero(x.in()); };
    add(binary, "KelCalArea", area, "memcpy", copyOf(n), 1.5, counted);
    add(
        binary, "KelCalArea", area, "OpenCV countNonZero",
        [](Bench& x) { x.theirs[0] = static_cast<unsigned char>(cv::countNonZero(x.in())); }, 1.0,
        counted);
}

void addNeighbourRows(const PageSet& page) {
    const auto grey =
        std::make_shared<Bench>(page.name + " grey", page.size, page.grey, page.area());
    const cv::Mat laplace = (cv::Mat_<float>(3, 3) << -1, -1, -1, 7, 1, -1, -2, 0, -1);
    // OpenCV filters in single precision and rounds, so the interior is compared to one level.
    const Check near = [](Bench& b) {
        cv::Mat difference;
        cv::Mat ours = planeMat(b.ours.data(), b.size);
        const cv::Rect interior(1, 1, b.size.width - 2, b.size.height - 2);
        cv::absdiff(ours(interior), b.out()(interior), difference);
        double largest = 0;
        cv::minMaxLoc(difference, nullptr, &largest);
        return largest <= 1;
    };
    add(
        grey, "KelLaplace8",
        [](Bench& b) { KelLaplace8(b.src.data(), b.ours.data(), b.size, 1, 0.3); },
        "OpenCV filter2D",
        [=](Bench& b) {
            cv::Mat kernel = 0.3F * laplace, out = b.out();
            kernel.at<float>(1, 1) = 1;
            cv::filter2D(b.in(), out, -1, kernel);
        },
        1.0, near);
    const auto colour =
        std::make_shared<Bench>(page.name + " colour", page.size, page.colour, 3 * page.area());
    const cv::Mat red = (cv::Mat_<float>(3, 3) << 1, 1, 0, 3, 3, 0, 0, 0, 0) / 8;
    const cv::Mat green = (cv::Mat_<float>(3, 3) << 0, 1, 0, 0, 1, 0, 0, 0, 0) / 2;
    const cv::Mat blue = (cv::Mat_<float>(3, 3) << 3, 3, 0, 1, 1, 0, 0, 0, 0) / 8;
    add(
        colour, "KelCISColorCalibrate",
        [](Bench& b) {
            KelCISColorCalibrate(b.src.data(), b.ours.data(), b.size.width, b.size.height);
        },
        "OpenCV filter2D on each plane",
        [=](Bench& b) {
            const cv::Mat kernels[] = {red, green, blue};
            for (int c = 0; c < 3; ++c) {
                cv::Mat out = b.out(c);
                cv::filter2D(b.in(c), out, -1, kernels[c]);
            }
        },
        1.0, near);
}

void addA4Row(const PageSet& page) {
    const int split = page.size.height / 3, top = split * 101 / 100;
    const int bottom = (page.size.height - split) * 99 / 100;
    const kelSize stacked{page.size.width, top + bottom};
    const auto b = std::make_shared<Bench>(
        page.name + " colour", page.size, page.colour,
        3 * static_cast<size_t>(stacked.width) * static_cast<size_t>(stacked.height));
    add(
        b, "KelCalibrationA4",
        [=](Bench& x) {
            unsigned char* result = nullptr;
            kelSize size{};
            KelCalibrationA4(x.src.data(), x.size, &result, &size, 3, split, 1.01, 0.99);
            x.ours.assign(result, result + x.ours.size());
            Kel_ReleaseImage(result);
        },
        "OpenCV resize on zones of planes, and the same copy",
        [=](Bench& x) {
            Bytes result(x.theirs.size());
            for (int c = 0; c < 3; ++c) {
                const cv::Mat in = x.in(c);
                const ptrdiff_t step = ptrdiff_t{stacked.width} * stacked.height;
                cv::Mat out = planeMat(result.data() + c * step, stacked);
                cv::Mat upper = out.rowRange(0, top), lower = out.rowRange(top, stacked.height);
                cv::resize(in.rowRange(0, split), upper, upper.size());
                cv::resize(in.rowRange(split, in.rows), lower, lower.size());
            }
            x.theirs.assign(result.begin(), result.end());
        },
        1.2, sameAsPeer);
}

void addBinaryRows(const PageSet& page) {
    Bytes ink = page.grey;
    KelBinarizeThreshold(ink.data(), ink.data(), page.size, 150, 1);
    SetBorder(ink.data(), page.size, 1, 0);  // of which the peers think differently
    const auto opened = std::make_shared<Bench>(page.name + " binary", page.size, ink, page.area());
    const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, {5, 5});
    add(
        opened, "KelMorphology, opening 5 by 5",
        [](Bench& b) { KelMorphology(b.src.data(), b.ours.data(), &b.size, 2, 2, 2, 1); },
        "OpenCV morphologyEx",
        [=](Bench& b) {
            cv::Mat out = b.out();
            cv::morphologyEx(b.in(), out, cv::MORPH_OPEN, element);
        },
        1.0, sameAsPeer);
    const auto edges = std::make_shared<Bench>(page.name + " binary", page.size, ink, page.area());
    add(
        edges, "kel_Cal_EdgeImage",
        [](Bench& b) {
            kel_Cal_EdgeImage(b.src.data(), b.size.width, b.size.height, b.ours.data());
        },
        "OpenCV findContours",
        [](Bench& b) {
            std::vector<std::vector<cv::Point>> contours;
            cv::findContours(b.in(), contours, cv::RETR_LIST, cv::CHAIN_APPROX_NONE);
            cv::Mat out = b.out();
            out = cv::Scalar(0);
            for (const auto& contour : contours)
                for (const cv::Point& p : contour)
                    out.at<unsigned char>(p) = 255;
        },
        0.2, sameAsPeer);
    const auto filled = std::make_shared<Bench>(page.name + " binary", page.size, ink, page.area());
    add(
        filled, "KelFillFramework",
        [](Bench& b) {
            KelFillFramework(b.src.data(), b.size.width, b.size.height, b.ours.data());
        },
        "OpenCV dilate",
        [](Bench& b) {
            cv::Mat out = b.out();
            cv::dilate(b.in(), out, cv::Mat());
        },
        1.0, sameAsPeer);
#if defined(KEL_HAVE_XIMGPROC)
    const kelSize quarter{page.size.width / 2, page.size.height / 2};
    const cv::Mat part = planeMat(ink.data(), page.size)(
                             cv::Rect(quarter.width / 2, 0, quarter.width, quarter.height))
                             .clone();
    SetBorder(part.data, quarter, 1, 0);
    const auto thin = std::make_shared<Bench>(page.name + " quarter, binary", quarter,
                                              Bytes(part.datastart, part.dataend), part.total());
    add(
        thin, "KelExtractFrameworkMAT",
        [](Bench& b) {
            KelExtractFrameworkMAT(b.src.data(), b.size.width, b.size.height, b.ours.data());
        },
        "OpenCV ximgproc thinning",
        [](Bench& b) {
            cv::Mat result;
            cv::ximgproc::thinning(b.in(), result, cv::ximgproc::THINNING_ZHANGSUEN);
            result.copyTo(b.out());
        },
        0.2, sameAsPeer);
#endif
}

}  // namespace

void addEnhanceRows() {
    for (const PageSet& page : pages()) {
        addPointRows(page);
        addPairRows(page);
        addNeighbourRows(page);
        addA4Row(page);
        addBinaryRows(page);
    }
}

}  // namespace bench
