// Image files through OpenCV: the loads and saves of the bridge.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "cv_handles.h"
#include "highgui_module.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"
#include "kel_cv.h"
#include "kel_cv_internal.h"
#include "plane_view.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

/// Hands a decoded image to the caller as a new channel image.
void toChannelImage(const cv::Mat& mat, unsigned char** dst, int* width, int* height,
                    int* channels) {
    IplImage header = cvIplImage(mat);
    const auto bytes = static_cast<size_t>(planeStep({header.width, header.height})) *
                       static_cast<size_t>(header.nChannels);
    SampleBuffer samples(bytes);
    // An image of 2 or 4 channels is not converted; its samples have no meaning, but are ours.
    if (header.nChannels != 1 && header.nChannels != 3) std::memset(samples.data(), 0, bytes);
    KelGetIplImage(&header, samples.data());
    *width = header.width;
    *height = header.height;
    *channels = header.nChannels;
    *dst = samples.release();
}

}  // namespace

int KelLoadUserImage(const char* name, unsigned char** dst, int* width, int* height,
                     int* channels) {
    const cv::Mat mat = readImageFile(fileName(name), 1);
    if (!mat.data) return 1;
    toChannelImage(mat, dst, width, height, channels);
    return 0;
}

int KelLoadImageFiles(const char* name, int* width, int* height, unsigned char** dst, int* channels,
                      int flags) {
    *dst = nullptr;
    *channels = 0;
    const cv::Mat mat = readImageFile(fileName(name), flags);
    if (!mat.data) return -1;
    toChannelImage(mat, dst, width, height, channels);
    return 0;
}

int KelSaveImage(unsigned char* image, int channels, kelSize size, const char* name) {
    cv::Mat mat(size.height, size.width, channels == 3 ? CV_8UC3 : CV_8UC1);
    IplImage header = cvIplImage(mat);
    KelPutIplImage(&header, image);
    writeImageFile(fileName(name), mat);
    return 0;
}

int kel_LoadImageFiles_cv(const char* name, unsigned char** dst, int* width, int* height,
                          int* channels) {
    struct stat status {};
    if (stat(name ? name : "", &status) != 0) {
        std::printf("[Error][%s] is not existed.\n", name ? name : "(null)");
        return 1;
    }
    return KelLoadImageFiles(name, width, height, dst, channels, -1) == 0 ? 0 : 2;
}

void kel_ReleaseImageFiles_cv(unsigned char** buffer) {
    Kel_ReleaseImage(*buffer);
    *buffer = nullptr;
}

void kel_SaveImage_cv(unsigned char* image, int width, int height, int channels, const char* name) {
    const IplImageHandle holder = makeIplImage(width, height, channels);
    KelPutIplImage(holder.get(), image);
    writeImageFile(fileName(name), cv::cvarrToMat(holder.get()));
}
