// The library's own printf-style engine (integers, characters, strings, pointers) and
// the ASCII case-insensitive comparisons.
#ifndef ORVIK_UTILITIES_TEXT_FORMAT_H
#define ORVIK_UTILITIES_TEXT_FORMAT_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdarg>
#include <cstdint>

// No state: every function here may be called from any thread.
extern "C" {

/// Formats into dest, storing output characters skip, skip+1, ... while one byte of
/// size stays free for the terminator; returns the number stored. A null dest, size 0
/// or a negative skip returns 0 and writes nothing. 'l' and 'p' arguments are 32 bits.
ORVIK_API int snxprintf(char* dest, int32_t skip, uint32_t size, char const* format, ...)
    ORVIK_PRINTF_LIKE(4, 5);

/// As snxprintf, with the arguments in a va_list.
ORVIK_API int vsnxprintf(char* dest, int32_t skip, uint32_t size, char const* format, va_list args)
    ORVIK_PRINTF_LIKE(4, 0);

/// Length of the complete output of format with its arguments; stores nothing.
ORVIK_API int strlenf(char const* format, ...) ORVIK_PRINTF_LIKE(1, 2);

/// As strlenf, with the arguments in a va_list.
ORVIK_API int vstrlenf(char const* format, va_list args) ORVIK_PRINTF_LIKE(1, 0);

/// Compares two NUL-terminated strings folding only 'A'-'Z'; returns exactly -1, 0 or 1.
/// Neither pointer may be null.
ORVIK_API int stricmp(char const* a, char const* b);

/// As stricmp over at most count characters; a count of 0 gives 0.
ORVIK_API int strnicmp(char const* a, char const* b, uint32_t count);
}

#endif
