// The six loaders over the one pipeline.
#include <cstring>
#include <utility>

#include "kel_ImageFileOper.h"
#include "kel_ImageStorage_internal.h"
#include "kel_im_internal.h"
#include "sizes.h"

namespace {

struct Source {
    const char* fileName;
    unsigned char* buffer;
    int bufferLen;
    int operType;
};

struct Outputs {
    unsigned char** dst;
    int *width, *height, *channels;
};

struct InfoOutputs {
    int wantInfo = 0;
    char* format = nullptr;
    char* compression = nullptr;
    int* cprRate = nullptr;
    double* xResolution = nullptr;
    double* yResolution = nullptr;
};

// The outputs carry the size limit on entry.
int loadOne(const Source& source, const Outputs& out, const InfoOutputs& info) {
    tagLimitSize limit;
    kel_SetLimitSize(*out.channels, *out.width, *out.height, &limit);
    tagImage* records = nullptr;
    int count = 0;
    const int result = Kel_Im_LoadReadFile2Buffer(
        source.fileName, source.buffer, source.bufferLen, source.operType, true, &records, &count,
        limit.limitEnabled != 0, limit.width, limit.height);
    if (result != 0) return result;
    if (records->dataType == IM_BYTE) {
        // As Kel_CopyImageArr2One() does it; the record's samples are the copy.
        *out.dst = std::exchange(records->imageData, nullptr);
        tellRecord(*records, info.wantInfo, out.width, out.height, out.channels, info.format,
                   info.compression, info.cprRate, info.xResolution, info.yResolution);
    } else {
        Kel_CopyImageArr2One(records, count, info.wantInfo, out.dst, out.width, out.height,
                             out.channels, info.format, info.compression, info.cprRate,
                             info.xResolution, info.yResolution);
    }
    KelReleaseImageArrs(&records, &count);
    return 0;
}

int loadSeveral(const Source& source, tagImage** arr, int* imageNo) {
    const tagLimitSize limit;
    return Kel_Im_LoadReadFile2Buffer(source.fileName, source.buffer, source.bufferLen,
                                      source.operType, false, arr, imageNo, true, limit.width,
                                      limit.height);
}

}  // namespace

int Kel_LoadImageFile2Buffer(const char* fileName, unsigned char** dst, int* width, int* height,
                             int* channels) {
    return loadOne({fileName, nullptr, 0, kFromPath}, {dst, width, height, channels}, {});
}

int Kel_LoadImageFile2BufferRParam(const char* fileName, unsigned char** dst, int* width,
                                   int* height, int* channels, char* format, char* compression,
                                   int* cprRate, double* xResolution, double* yResolution) {
    return loadOne({fileName, nullptr, 0, kFromPath}, {dst, width, height, channels},
                   {1, format, compression, cprRate, xResolution, yResolution});
}

int Kel_LoadImageFiles2Buffer_Mult(const char* fileName, tagImage** arr, int* imageNo) {
    return loadSeveral({fileName, nullptr, 0, kFromPath}, arr, imageNo);
}

int Kel_ReadImageFile2Buffer(unsigned char* buffer, int bufferLen, unsigned char** dst, int* width,
                             int* height, int* channels) {
    return loadOne({nullptr, buffer, bufferLen, kFromMemory}, {dst, width, height, channels}, {});
}

int Kel_ReadImageFile2BufferRParam(unsigned char* buffer, int bufferLen, unsigned char** dst,
                                   int* width, int* height, int* channels, char* format,
                                   char* compression, int* cprRate, double* xResolution,
                                   double* yResolution) {
    return loadOne({nullptr, buffer, bufferLen, kFromMemory}, {dst, width, height, channels},
                   {1, format, compression, cprRate, xResolution, yResolution});
}

int Kel_ReadImageFile2Buffer_Mult(unsigned char* buffer, int bufferLen, tagImage** arr,
                                  int* imageNo) {
    return loadSeveral({nullptr, buffer, bufferLen, kFromMemory}, arr, imageNo);
}
