// Skew by exhaustive search: projections at a series of angles, and pages turned by OpenCV.
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "cv_handles.h"
#include "kel_CalAngle.h"
#include "kel_CalAngle_internal.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "kernels/row_kernels.h"
#include "kernels/run_labels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

constexpr double kPi = 3.141592653589;

/// The runs of samples of one value in a plane, row by row.
class PlaneRuns {
  public:
    PlaneRuns(const unsigned char* image, kelSize size, bool white) {
        if (isEmpty(size)) return;
        const ConstPlaneView plane = constPlaneOf(image, size, 0);
        const auto width = static_cast<size_t>(size.width);
        const auto pack = white ? rowKernels().area.packFull : rowKernels().packNonZero;
        std::vector<uint64_t> words((width + 63) / 64);
        for (int y = 0; y < size.height; ++y) {
            size_t most = pack(plane.row(y), words.data(), width);
            if (!white) {
                most += 1;
                for (uint64_t& word : words)
                    word = ~word;
                if (width % 64 != 0) words.back() &= (uint64_t{1} << width % 64) - 1;
            }
            const size_t before = runs_.size();
            runs_.resize(before + most);
            const Run* const end =
                extractRuns(words.data(), words.size(), size.width, runs_.data() + before);
            runs_.resize(static_cast<size_t>(end - runs_.data()));
            rowEnds_.push_back(runs_.size());
        }
    }

    /// Calls visit(y, run) for every run.
    template <class Visit>
    void forEach(const Visit& visit) const {
        size_t i = 0;
        for (size_t y = 0; y < rowEnds_.size(); ++y)
            for (; i < rowEnds_[y]; ++i)
                visit(static_cast<int>(y), runs_[i]);
    }

  private:
    std::vector<Run> runs_;
    std::vector<size_t> rowEnds_;
};

/// The projection of runs onto an axis, and its score.
class Wave {
  public:
    explicit Wave(int count) : bins_(static_cast<size_t>(count)) {}

    int size() const { return static_cast<int>(bins_.size()); }

    void add(int bin, int count) {
        if (bin >= 0 && bin < size()) bins_[static_cast<size_t>(bin)] += count;
    }

    /// Adds pixels first to last; binOf rises or falls with the pixel, so that equal bins at the
    /// ends are one bin.
    template <class BinOf>
    void addRun(int first, int last, const BinOf& binOf) {
        const int bin = binOf(first);
        if (bin == binOf(last)) return add(bin, last - first + 1);
        for (int x = first; x <= last; ++x)
            add(binOf(x), 1);
    }

    /// Smooths the bins and takes the sum of the squares, which wrap, of their differences.
    double score() {
        KelConvolveWave(bins_.data(), size(), 1, 2);
        double sum = 0.0;
        for (size_t i = 0; i + 1 < bins_.size(); ++i) {
            const int32_t step = wrapSub(bins_[i + 1], bins_[i]);
            sum += wrapMul(step, step);
        }
        return sum;
    }

    void clear() { bins_.assign(bins_.size(), 0); }

  private:
    std::vector<int> bins_;
};

/// The opposite angles theta and -theta of one search.
class AnglePair {
  public:
    AnglePair(const PlaneRuns& runs, kelSize size, int binCount)
        : runs_(runs), size_(size), up_(binCount), down_(binCount) {}

    void project(double theta) {
        up_.clear();
        down_.clear();
        if (!std::isfinite(theta)) return;  // of a range that isn't
        const double sine = std::sin(theta), cosine = std::cos(theta);
        const int centreX = size_.width / 2, centreY = size_.height / 2;
        slopes_.resize(static_cast<size_t>(std::max(size_.width, 0)));
        for (int x = 0; x < size_.width; ++x)
            slopes_[static_cast<size_t>(x)] = (x - centreX) * sine;
        const int half = up_.size() / 2;
        runs_.forEach([&](int y, Run run) {
            const double down = (y - centreY) * cosine;
            const double* const slope = slopes_.data();
            up_.addRun(run.begin, run.end - 1,
                       [&](int x) { return static_cast<int>(slope[x] + down + half); });
            down_.addRun(run.begin, run.end - 1,
                         [&](int x) { return static_cast<int>(-slope[x] + down + half); });
        });
    }

    double upScore() { return up_.score(); }
    double downScore() { return down_.score(); }

  private:
    const PlaneRuns& runs_;
    kelSize size_;
    Wave up_, down_;
    std::vector<double> slopes_;
};

double levelScore(const PlaneRuns& runs, kelSize size, int binCount) {
    Wave wave(binCount);
    const int top = binCount / 2 - size.height / 2;
    runs.forEach([&](int y, Run run) { wave.add(top + y, run.end - run.begin); });
    return wave.score();
}

}  // namespace

int KelDetectAngle(unsigned char* image, kelSize size, int polarity, double* angle, double range,
                   int steps) {
    const PlaneRuns runs(image, size, polarity > 0);
    const int binCount = binsAtAnyAngle(size.width, size.height);
    const double step = kPi * (range / 180.0) / steps;
    double best = levelScore(runs, size, binCount), bestAngle = 0.0;
    AnglePair pair(runs, size, binCount);
    double theta = 0.0;
    for (int i = 0; i < steps; ++i) {
        theta += step;
        pair.project(theta);
        const double up = pair.upScore(), down = pair.downScore();
        // The opposite angle counts only where this one is not the better of the two.
        const double winner = up > down ? up : down;
        if (winner > best) {
            best = winner;
            bestAngle = up > down ? theta : -theta;
        }
    }
    *angle = bestAngle / kPi * 180.0;
    return 0;
}

int KelDetectDocAngle(IplImage* image, double* angle, double initialAngle, int halfDegrees,
                      double threshold) {
    IplImageHandle converted;
    if (image->nChannels == 3) {
        converted = makeIplImage(image->width, image->height, 1);
        cvCvtColor(image, converted.get(), CV_BGR2GRAY);
    }
    IplImage* const grey = converted ? converted.get() : image;
    const IplImageHandle turned = makeIplImage(image->width, image->height, 1);
    const auto* const samples = reinterpret_cast<const unsigned char*>(turned->imageData);
    const auto width = static_cast<size_t>(turned->width);
    double best = 0.0, result = initialAngle;
    const int64_t halfSteps = std::abs(int64_t{halfDegrees});
    for (int64_t i = -halfSteps; i < halfSteps; ++i) {
        const double degrees = static_cast<double>(i) * 0.5;
        KelGetQuadrangleSubPix(grey, turned.get(), degrees);
        cvThreshold(turned.get(), turned.get(), threshold, 255.0, CV_THRESH_BINARY_INV);
        double score = 0.0, above = 0.0;
        for (int y = 0; y < turned->height; ++y) {
            const auto ink = static_cast<double>(rowKernels().enhance.countEqual(
                samples + ptrdiff_t{y} * turned->widthStep, width, 255));
            if (y > 0) score += (ink - above) * (ink - above);
            above = ink;
        }
        if (score > best) {
            best = score;
            result = degrees;
        }
    }
    *angle = result;
    return 0;
}
