/// @file kel_introduct.h
/// The library's version and its release notes.
#ifndef KEL_INTRODUCT_H
#define KEL_INTRODUCT_H

#include "kel_define.h"

/// Writes the version as text, terminated: the library's own, "-CV-" and OpenCV's, "-im-" and the
/// toolkit's, "-" and the number of the toolkit's build. A null pointer is ignored.
/// @param buffer at least 27 bytes
KEL_API void kel_GetKelImageLibVersion(char* buffer);

/// Writes the release notes, in Chinese and as UTF-8, to "KelImageLib.readme.VERSION.txt" in the
/// working directory, and the file's name to standard output. Not to be called twice at once in
/// one directory.
/// @return what closing the file gave: 0, or EOF where the file cannot be created or written
KEL_API int kel_GenerateKelImageLibReadme();

#endif  // KEL_INTRODUCT_H
