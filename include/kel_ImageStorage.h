/// @file kel_ImageStorage.h
/// Initialising, releasing and unpacking the records and buffers that the library hands out.
///
/// All functions may run at once on different records.
#ifndef KEL_IMAGESTORAGE_H
#define KEL_IMAGESTORAGE_H

#include "kel_define.h"

/// Zeroes the whole record. Nothing is released.
/// @param image not null
KEL_API void KelInitKelImage(tagImage* image);

/// Releases the samples of a record, if any, and zeroes it. The record itself stays the caller's.
/// @param image null is ignored
KEL_API void KelReleaseKelImage(tagImage* image);

/// Releases an array of loaded pages and everything in it, and sets `*arr` to null and `*count` to
/// 0. With `*arr` null or `*count` below 1 nothing happens at all.
/// @param arr   array from a multi-page loader (array `new`)
/// @param count records in the array
KEL_API void KelReleaseImageArrs(tagImage** arr, int* count);

/// The same as KelReleaseImageArrs().
KEL_API void Kel_ReleaseImageArr(tagImage** arr, int* count);

/// Gives back a sample buffer that the library allocated (array `new`). Null is ignored.
KEL_API void Kel_ReleaseImage(unsigned char* image);

/// Turns the first record of a load result into plain outputs.
///
/// `*dst` receives a new buffer of width*height*channels bytes, given back with Kel_ReleaseImage();
/// of samples wider than 8 bits only that front part arrives.
/// @param arr         the load result; at least one record
/// @param count       not read
/// @param wantInfo    1: fill the outputs below as well; otherwise they are untouched and may be
/// null
/// @param format      at least 12 bytes
/// @param compression at least 32 bytes
/// @param cprRate     the decimal integer at the start of the compression text, 0 if there is none
/// @param xResolution horizontal resolution as stored, 0 if there is none
/// @param yResolution the same, vertical
/// @return 0, always
KEL_API int Kel_CopyImageArr2One(tagImage* arr, int count, int wantInfo, unsigned char** dst,
                                 int* width, int* height, int* channels, char* format,
                                 char* compression, int* cprRate, double* xResolution,
                                 double* yResolution);

#endif  // KEL_IMAGESTORAGE_H
