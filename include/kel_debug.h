/// @file kel_debug.h
/// Build switch of the debug image writers.
///
/// With `KEL_DEBUG_OUTPUT` defined, as it is unless a build defines `KEL_NO_DEBUG_OUTPUT`, the
/// calls that show intermediate images write them to files in the working directory.
#ifndef KEL_DEBUG_H
#define KEL_DEBUG_H

#if !defined(KEL_NO_DEBUG_OUTPUT) && !defined(KEL_DEBUG_OUTPUT)
#define KEL_DEBUG_OUTPUT 1
#endif

#endif  // KEL_DEBUG_H
