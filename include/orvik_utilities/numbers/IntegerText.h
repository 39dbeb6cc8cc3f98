// 16- and 32-bit integers to text and back, with the radix as a trailing letter
// ("101b", "17o", "FFh"; decimal has none), and checks for canonical decimal text.
#ifndef ORVIK_UTILITIES_NUMBERS_INTEGER_TEXT_H
#define ORVIK_UTILITIES_NUMBERS_INTEGER_TEXT_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

// No state: every function here may be called from any thread.
extern "C" {

/// Reverses a NUL-terminated text in place; null does nothing.
ORVIK_API void reverse(char* text);

/// Writes value in radix 2, 8, 10 or 16 (letter 'b', 'o', none, 'h'; digits 'A'-'F'),
/// negatives only in radix 10 with a '-'. Returns buffer, or null for a null buffer, another
/// radix or a negative value in radix 2, 8, 16 (buffer untouched). Needs 34 bytes.
ORVIK_API char* i32toa(int32_t value, char* buffer, int radix);
/// As i32toa without a sign; 34 bytes.
ORVIK_API char* u_i32toa(uint32_t value, char* buffer, int radix);
/// As i32toa on a 16-bit value; 18 bytes.
ORVIK_API char* i16toa(int16_t value, char* buffer, int radix);
/// As u_i32toa on a 16-bit value; 18 bytes.
ORVIK_API char* u_i16toa(uint16_t value, char* buffer, int radix);

/// Reads number text: a leading '-' negates, a last character above 0x60 is the radix
/// letter ('b' 2, 'o' 8, 'h'/'x' 16, any other 10). Never refuses: every other character
/// counts as a digit by its code, and the sum wraps modulo 2^32. Null or "" gives 0.
/// A text of any length is read whole (digits beyond the 32nd place weigh 0 mod 2^32).
ORVIK_API int32_t valueOf32(char const* text);
/// As valueOf32 with no sign: a '-' counts as a digit (worth -3).
ORVIK_API uint32_t u_valueOf32(char const* text);
/// The low 16 bits of valueOf32, read as signed.
ORVIK_API int16_t valueOf16(char const* text);
/// The low 16 bits of u_valueOf32.
ORVIK_API uint16_t u_valueOf16(char const* text);

/// Returns valueOf32(text); *status (when status is not null) becomes 0 if text is exactly
/// the canonical decimal form of that value, else -1. A null text gives 0 and status -1.
ORVIK_API int32_t validValueOf32(int32_t* status, char const* text);
/// As validValueOf32 for valueOf16 ("32768" is refused, "-32768" accepted).
ORVIK_API int16_t validValueOf16(int32_t* status, char const* text);
/// As validValueOf32 for u_valueOf32 ("-1" is refused).
ORVIK_API uint32_t u_validValueOf32(int32_t* status, char const* text);
/// As validValueOf32 for u_valueOf16.
ORVIK_API uint16_t u_validValueOf16(int32_t* status, char const* text);

/// As validValueOf32, and *status is also -1 outside minimum..maximum (both included).
/// A null status returns 0 at once without reading the text. The value is always returned.
ORVIK_API int32_t validRangeValueOf32(int32_t* status, char const* text, int32_t minimum,
                                      int32_t maximum);
/// As validRangeValueOf32 for validValueOf16, comparing as signed 16-bit.
ORVIK_API int16_t validRangeValueOf16(int32_t* status, char const* text, int16_t minimum,
                                      int16_t maximum);
/// As validRangeValueOf32 for u_validValueOf32, comparing as unsigned.
ORVIK_API uint32_t u_validRangeValueOf32(int32_t* status, char const* text, uint32_t minimum,
                                         uint32_t maximum);
/// As u_validRangeValueOf32 for u_validValueOf16, comparing as unsigned 16-bit.
ORVIK_API uint16_t u_validRangeValueOf16(int32_t* status, char const* text, uint16_t minimum,
                                         uint16_t maximum);
}

#endif
