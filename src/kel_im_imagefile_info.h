// Reports on an open image file: as text to the standard output, and as XML. And the text form of
// an attribute's value.
#pragma once

#include "im.h"

/// The longest XML report, which fits a buffer of 1024 bytes. Pages beyond it are left out.
constexpr int kMostReportChars = 1022;

/// Prints a report. An image that can't be looked at prints its error, closes the file and sets it
/// to null.
void PrintImageInfo(imFile*& file);

/// Writes an XML report and prints it. The text has no terminator: a zero stands one byte beyond
/// its end, and the byte between stays as it was. Errors as PrintImageInfo(), with `rlt` untouched.
void kel_GenerateIMFileInfo(imFile*& file, char* rlt);

/// The first element as text, in a buffer of this thread that the next call overwrites; types
/// without a form leave the text of the last call.
char* AttribData2Str(const void* data, int data_type);

/// Scales a number of bytes down to the unit that is returned: "b", "Kb" or "Mb".
const char* GetSizeDesc(double* size);

/// 1 when one of the first `count` bytes is 0, else 0.
int FindZero(unsigned char* data, int count);

/// Bytes of a file; 0 if it can't be opened.
int FileSize(const char* fileName);
