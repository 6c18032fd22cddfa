// Saving a toolkit record to a file.
#include <cstring>

#include "im_handles.h"
#include "kel_im.h"

using namespace kel::detail;

int im_SaveImage(imImage* image, const char* fileName, const char* format, int cprType) {
    int error = IM_ERR_NONE;
    const ImFileHandle file(imFileNew(fileName, format, &error));
    if (file == nullptr) {
        PrintError(error);
        return error;
    }
    if (cprType == 1) imFileSetInfo(file.get(), "RLE");
    if (cprType == 2 && std::strcmp(format, "TIFF") == 0) imFileSetInfo(file.get(), "CCITTFAX4");
    error = imFileSaveImage(file.get(), image);
    if (error == IM_ERR_NONE) error = imFileFinish(file.get());
    if (error != IM_ERR_NONE) PrintError(error);
    return error;
}
