// Owning handles for OpenCV's legacy objects, and matrix headers over planes.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/core.hpp>

#include <memory>

#include "kel_define.h"

namespace kel::detail {

struct IplImageRelease {
    void operator()(IplImage* image) const { cvReleaseImage(&image); }
};

/// An `IplImage` that is released with its handle.
using IplImageHandle = std::unique_ptr<IplImage, IplImageRelease>;

struct CvStorageRelease {
    void operator()(CvMemStorage* storage) const { cvReleaseMemStorage(&storage); }
};

/// The memory that sequences live in.
using CvStorageHandle = std::unique_ptr<CvMemStorage, CvStorageRelease>;

inline IplImageHandle makeIplImage(int width, int height, int channels) {
    // cvCreateImage() itself loses its header when it refuses a size or has no memory for it.
    if (width < 0 || height < 0 || channels < 0)
        CV_Error(cv::Error::BadROISize, "an image cannot be of negative size");
    IplImageHandle image(cvCreateImageHeader(cvSize(width, height), IPL_DEPTH_8U, channels));
    cvCreateData(image.get());
    return image;
}

/// A header over one plane of a channel image; no copy, nothing owned.
inline cv::Mat planeMat(unsigned char* plane, kelSize size) {
    return cv::Mat(size.height, size.width, CV_8UC1, plane, static_cast<size_t>(size.width));
}

/// The same for the legacy calls.
inline CvMat planeHeader(unsigned char* plane, kelSize size) {
    return cvMat(size.height, size.width, CV_8UC1, plane);
}

}  // namespace kel::detail
