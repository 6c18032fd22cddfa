// Pictures of labels.
#include <algorithm>
#include <cstring>
#include <vector>

#include "cv_handles.h"
#include "kel_ConnectArea_internal.h"
#include "kel_ImageFileOper.h"
#include "kel_cv.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

const kelRGB caShowColor[6] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255},
                               {255, 255, 0}, {0, 255, 255}, {255, 0, 255}};

int KC_DrawCALabelBuf(unsigned char* image, int w, int h, int channels, int* labelBuf,
                      char* fileName) {
    const size_t plane = planeBytes(w, h, 3).value_or(0) / 3;
    std::vector<unsigned char> picture(3 * plane);
    if (plane > 0 && (channels == 1 || channels == 3))
        for (size_t c = 0; c < 3; ++c)
            std::memcpy(&picture[c * plane], image + (channels == 3 ? c * plane : 0), plane);
    for (size_t i = 0; i < plane; ++i) {
        if (labelBuf[i] < 1) continue;
        const kelRGB color = caShowColor[labelBuf[i] % 6];
        picture[i] = color.r;
        picture[plane + i] = color.g;
        picture[2 * plane + i] = color.b;
    }
    Kel_SaveImage_DT(picture.data(), w, h, 3, fileName, 0);
    return 0;
}

int KC_DrawCALabelBuf(int* labelBuf, int w, int h, char* /*fileName*/) {
    const size_t plane = planeBytes(w, h, 3).value_or(0) / 3;
    if (plane == 0) return 0;
    std::vector<unsigned char> picture(3 * plane);
    for (size_t i = 0; i < plane; ++i)
        if (labelBuf[i] > 0) picture[i] = static_cast<unsigned char>((labelBuf[i] & 127) + 128);
    const IplImageHandle image = makeIplImage(w, h, 3);
    return KelPutIplImage_ca(image.get(), picture.data());
}

int KelPutIplImage_ca(IplImage* image, unsigned char* planar) {
    return KelPutIplImage(image, planar);
}

int KelGetIplImage_ca(IplImage* image, unsigned char* planar) {
    return KelGetIplImage(image, planar);
}
