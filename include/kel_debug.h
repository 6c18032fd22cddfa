/// @file kel_debug.h
/// Build switch of the debug image writers.
///
/// With `KEL_DEBUG_OUTPUT` defined, as it is unless a build defines `KEL_NO_DEBUG_OUTPUT`, the
/// calls that show intermediate images write them to files in the working directory.
#ifndef KEL_DEBUG_H
#define KEL_DEBUG_H

#if !defined(KEL_NO_DEBUG_OUTPUT) && !defined(KEL_DEBUG_OUTPUT)
#define KEL_DEBUG_OUTPUT 1  ///< debug images are written
#endif

#include "kel_define.h"

/// The debug output channel: takes one line of text. The library calls it where a toolkit error is
/// to be told. This one writes the line to the standard error stream; a host that defines a
/// function of this name itself gets the lines instead. Called on the thread of the failing call.
extern "C" KEL_API void OutputDebugStringA(const char* text);

#endif  // KEL_DEBUG_H
