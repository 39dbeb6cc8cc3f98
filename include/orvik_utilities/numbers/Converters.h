// Small converters and validators: hexadecimal words and dumps, powers of two, dial
// strings, date and time texts, dotted IPv4 text.
#ifndef ORVIK_UTILITIES_NUMBERS_CONVERTERS_H
#define ORVIK_UTILITIES_NUMBERS_CONVERTERS_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

// No state: every function here may be called from any thread.
extern "C" {

/// Entry i is the two lowercase hexadecimal digits of i and a NUL ("00" .. "ff").
ORVIK_API extern char const binToHexLut[256][3];

/// Writes "0x" and the word's four bytes in the device's memory order (least significant
/// first: 0x12345678 gives "0x78563412") and a NUL: 11 bytes.
ORVIK_API void convBinToHex(uint32_t word, char* output);

/// The buffer size dataChunk2String needs: for positive multiples of 4, lines * (11 *
/// lineLength / 4 + 2) + 1. Other line lengths count the words the dump really puts on a
/// line (one for lineLength <= 0), so the size always covers the dump; dataLength <= 0
/// gives 2. A size beyond 2^31-1 gives -1.
ORVIK_API int32_t nbrOfChars_forDataChunk2String(int32_t dataLength, int32_t lineLength);

/// Dumps dataLength bytes as hexadecimal words ("0x00010203 "), a '\n' after each word that
/// reaches lineLength bytes on its line, then '\n' and a NUL. A length that is not a
/// multiple of 4 dumps the missing bytes of the last word as zeros; nothing past dataLength
/// is read. dataLength <= 0 writes "\n".
ORVIK_API void dataChunk2String(uint32_t const* data, char* output, int32_t dataLength,
                                int32_t lineLength);

/// The smallest power of two >= value; 0 gives 1, and values above 2^31 give 0.
ORVIK_API uint32_t nextHigherPowerOf2(uint32_t value);

/// 0 when every character is '0'-'9', 'A'-'Z', '*', '#' or '?' ("" included), -1 otherwise
/// or for null.
ORVIK_API int e164Number(char const* text);

/// 0 when text reads as scanf "%d-%d-%dT%d:%d:%d" (text after it ignored) with year
/// 1999-2035, month 1-12, day 1-31, hour 0-23, minute and second 0-59; else -1. Numbers
/// beyond 32 bits saturate, as on the device. Null gives -1.
ORVIK_API int validateTimeString(char const* text);
/// As validateTimeString for "%d:%d:%d" (hour, minute, second).
ORVIK_API int validateTime(char const* text);
/// As validateTimeString for "%d-%d-%d" (year, month, day); no month lengths.
ORVIK_API int validateDate(char const* text);

/// Reads "%lu.%lu.%lu.%lu" (32-bit parts, saturating as on the device) into
/// a<<24 + b<<16 + c<<8 + d, 32-bit; 0 on success, else -1 with *result unchanged. Null
/// text or result gives -1.
ORVIK_API int convIPStr2IPUl(char const* text, uint32_t* result);

/// Writes the address's bytes in the device's memory order (least significant first) as
/// "%d.%d.%d.%d": 0x0101a8c0 gives "192.168.1.1". Needs 16 bytes; returns 0.
ORVIK_API int convIPUL2IPStr(uint32_t address, char* output);
}

#endif
