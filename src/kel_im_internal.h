// The file functions of kel_im that are not exported: the load pipeline, repairs of decoded pages,
// and the encoders below the dispatching one.
#pragma once

#include "im.h"
#include "kel_define.h"

/// Where a source lies: `operType`.
enum { kFromMemory = 0, kFromPath = 1 };

/// Loads pages of a file or of a memory block into a new array of records; results as in
/// kel_ImageFileOper.h, and -1 for an `operType` above 1.
/// @param single  the first page alone; otherwise `*imageNo` selects
/// @param imageNo in: the selection; out: the records
int Kel_Im_LoadReadFile2Buffer(const char* fileName, unsigned char* buffer, int bufferLen,
                               int operType, bool single, tagImage** arr, int* imageNo,
                               bool limited, int limitWidth, int limitHeight);

/// Turns a page selection (not 0: first * 10000 + last) into 0-based bounds; 0 selects the first
/// ten.
/// @return 0; 1 malformed; 2 beyond the file; -1 more than 10 pages
int kel_CalLoadImagePageNo(int imageNo, int imageCount, int* first, int* last);

/// The size limit that the in-out arguments of the single-image loaders carry.
/// @return 0
int kel_SetLimitSize(int flag, int width, int height, tagLimitSize* limit);

/// Reads the resolutions of the page read last into the texts of a record, in dots per inch.
void kel_GetFileAttributes(imFile* file, tagImage* image);

/// Closes the file and sets it to null; for a memory source gives back the block and the module.
void kel_ReleaseIM_MemoryFile(imFile*& file, imBinMemoryFileName& memFile, int oldModule,
                              int operType);

/// Bytes of a file's head that the test for a top-down BMP wants.
constexpr int kBmpHeadBytes = 56;

/// Turns an image upside down, in rows of width bytes, if `header` (kBmpHeadBytes) is that of a
/// top-down BMP. Returns 0.
int CaliBMPDIBDirect(unsigned char* header, imImage* image);

/// The repairs of a page from a file (`operType` not 0) or from memory: top-down BMP, size limit,
/// CMYK and palettes to RGB.
/// @return 0; 1, with `*image` null, for CMYK samples wider than a byte
int FixImImageBug2Input(const char* fileName, unsigned char* buffer, int bufferLen, int operType,
                        imImage** image, bool limited, int limitWidth, int limitHeight);

/// Encoders of channel images; outputs as Kel_Convert2ImgFileBuffer(). They return 0.
int KC_ConverRaw2BMP(unsigned char* data, int width, int height, int channels, unsigned char** dst,
                     int* length, float xDpi, float yDpi, void* reserved, int cprType);
int KC_ConverRaw2TIFF(unsigned char* data, int width, int height, int channels, unsigned char** dst,
                      int* length, float xDpi, float yDpi, void* reserved, int cprType);

/// Sets the resolution of a file being written, when both are above 0 and the format carries them.
/// Returns 0.
int kel_SetDpiInfoToImageFile(const char* format, float xDpi, float yDpi, imFile* file);

/// Position in the file being written; 0, with a line on the standard output, when it has none.
int kel_GetoFileTell(imFile* file);
