/// @file kel_ImageFileOper.h
/// Image files and whole files in memory: loading into channel images, saving, encoding.
///
/// Formats by name: BMP, JPEG, JP2, TIFF, PCX, PNG, GIF, RAS, SGI, LED, TGA, RAW (saving only),
/// PNM, ICO. On loading the content decides. All functions may run on several threads at once.
///
/// **Results of the loaders**
///
/// | result | meaning | outputs |
/// |---|---|---|
/// | 0 | success | set |
/// | -2 | no memory block, or an empty one | untouched |
/// | -3 | no path | untouched |
/// | -4 | a size limit below 2 | untouched |
/// | 1 | the source can't be opened | untouched |
/// | 3 | page range malformed or beyond the file | untouched |
/// | 4 | page range of more than 10 pages | untouched |
/// | 5 | a page can't be decoded | single: untouched; several: null and 0 |
/// | 6 | CMYK with samples wider than a byte | the same |
/// | 7 | neither 1 nor 3 planes, samples without a size, or no memory | the same |
///
/// Pages come as grey or binary (1 channel) or RGB (3); palettes and CMYK are converted to RGB.
#ifndef KEL_IMAGEFILEOPER_H
#define KEL_IMAGEFILEOPER_H

#include "kel_define.h"

/// The most pages that one call loads.
#define KEL_LOADIMG_MULT_MAXNO 10

/// Loads the first page of a file.
///
/// The outputs are read first, for the size limit: with `*channels` -10 and both sizes at least 1,
/// that size; with -100, none; with any other value 4096 by 4096. A larger page is scaled down,
/// its aspect ratio kept.
/// @param dst a new buffer for Kel_ReleaseImage(): width * height * channels bytes. Of samples
///            wider than a byte only that front part arrives
/// @return see above
KEL_API int Kel_LoadImageFile2Buffer(const char* fileName, unsigned char** dst, int* width,
                                     int* height, int* channels);

/// The same with the attributes of the page.
/// @param format      at least 12 bytes
/// @param compression at least 32 bytes: the compression's name; for JPEG the quality as digits
/// @param cprRate     that quality as a number, 0 for all others
/// @param xResolution,yResolution dots per inch, 0 where the file has none
KEL_API int Kel_LoadImageFile2BufferRParam(const char* fileName, unsigned char** dst, int* width,
                                           int* height, int* channels, char* format,
                                           char* compression, int* cprRate, double* xResolution,
                                           double* yResolution);

/// Loads several pages of a file, within 4096 by 4096 each.
/// @param arr     an array of records for Kel_ReleaseImageArr()
/// @param imageNo in: first * 10000 + last, counted from 1 (a single page 5 is 50005), or 0 for
///                all, of which the first 10 come; out: the number of records
KEL_API int Kel_LoadImageFiles2Buffer_Mult(const char* fileName, tagImage** arr, int* imageNo);

/// Kel_LoadImageFile2Buffer() from a block of memory that holds a whole file, which is copied.
KEL_API int Kel_ReadImageFile2Buffer(unsigned char* buffer, int bufferLen, unsigned char** dst,
                                     int* width, int* height, int* channels);
/// Kel_LoadImageFile2BufferRParam() from such a block.
KEL_API int Kel_ReadImageFile2BufferRParam(unsigned char* buffer, int bufferLen,
                                           unsigned char** dst, int* width, int* height,
                                           int* channels, char* format, char* compression,
                                           int* cprRate, double* xResolution, double* yResolution);
/// Kel_LoadImageFiles2Buffer_Mult() from such a block.
KEL_API int Kel_ReadImageFile2Buffer_Mult(unsigned char* buffer, int bufferLen, tagImage** arr,
                                          int* imageNo);

/// The format's name for a file name by its last 3 or 4 letters, all in capitals or all small; also
/// "KRN", "AVI", "ECW" and "WMV", which nothing here can write.
/// @param format at least 5 bytes; set on success only
/// @return 0; 1 for a name that is too short, 2 for one without an extension of 3 or 4 letters, 3
///         for an unknown extension
KEL_API int KelCalImageFormatInName(char* fileName, char* format);

/// Saves a channel image to a file of the named format (canonical name in capitals).
///
/// `cprType`: 1 run-length (BMP, PCX, TIFF, RAS, SGI, TGA; colour BMP turns grey), 2 CCITT group 4
/// of a binary image (TIFF), 3 none (TIFF); any other value none.
/// @param channels 1 for grey, any other value for RGB
/// @return 0; the toolkit's error code (imErrorCode), told on the debug output as well; -5 for a
///         `cprType` that the format doesn't have
KEL_API int Kel_SaveImage(unsigned char* data, int width, int height, int channels,
                          const char* fileName, const char* format, int cprType);

/// Saves a channel image to a file; its extension, in letters of either case, tells the format.
/// @return as Kel_SaveImage(), or -1 for null pointers, sizes below 1 or channels neither 1 nor 3;
///         -2 for a name of fewer than 5 letters; -3 without an extension of 3 or 4 letters; -4 for
///         an unknown one, with a line on the standard error stream
KEL_API int Kel_SaveImage_DT(unsigned char* data, int width, int height, int channels,
                             const char* fileName, int cprType);

/// Saves the samples of a record; KelCalImageFormatInName() tells the format.
/// @return as Kel_SaveImage(), or the code of KelCalImageFormatInName() negated
KEL_API int KelSaveKelImage(char* path, tagImage* image);

/// Kel_SaveImage_DT() with no special compression.
KEL_API int KelSaveUserImage(const char* name, unsigned char* data, int width, int height,
                             int channels);

/// Encodes a channel image as a whole file in memory, without resolution and with JPEG quality 90.
///
/// `*dst` receives a new block for Kel_ReleaseImage(), one zero byte longer than the `*length`
/// bytes of the file. When encoding fails, both stay as they were and the result is 0 all the same:
/// clear them before the call.
/// @param format exactly "BMP", "JPEG" or "TIFF"
/// @param cprType 1: run-length (BMP, where colour turns grey, and TIFF); 2: CCITT group 4 (TIFF);
///                ignored elsewhere
/// @return 0; -1 for null `data` or `format`, sizes below 1 or channels neither 1 nor 3; -2 for any
///         other format
KEL_API int Kel_Convert2ImgFileBuffer(unsigned char* data, int width, int height, int channels,
                                      const char* format, unsigned char** dst, int* length,
                                      int cprType);

/// The same with a resolution in dots per inch, written when both are above 0, and the JPEG quality
/// (1 to 100).
/// @param reserved not read
KEL_API int Kel_Convert2ImgFileBuffer_Params(unsigned char* data, int width, int height,
                                             int channels, const char* format, unsigned char** dst,
                                             int* length, float xDpi, float yDpi, int quality,
                                             void* reserved, int cprType);

#endif
