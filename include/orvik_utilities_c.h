/* The library's plain-named functions for programs written in C (C11 or later); the same
 * declarations compile as C++. */
#ifndef ORVIK_UTILITIES_C_H
#define ORVIK_UTILITIES_C_H

/* Each function behaves exactly as the contract in its C++ header says (named above each
 * group); the types are the exported definitions' own, so on the device long is 32 bits and
 * char is unsigned here as there. Link with -lorvik_utilities (the C++ runtime comes with
 * it). */

#include <orvik_utilities/export.h>

#include <stdarg.h>
#include <stdint.h>

#ifdef __cplusplus
/* In C++ the declarations below must agree with the C++ headers', or this header does not
 * compile. */
#include <orvik_utilities/numbers/Converters.h>
#include <orvik_utilities/numbers/IntegerText.h>
#include <orvik_utilities/system/LogInit.h>
#include <orvik_utilities/system/Watchdog.h>
#include <orvik_utilities/text/Format.h>
extern "C" {
#endif

/* Formatting engine and case comparisons: <orvik_utilities/text/Format.h>. */
ORVIK_API int snxprintf(char* dest, int32_t skip, uint32_t size, char const* format, ...)
    ORVIK_PRINTF_LIKE(4, 5);
ORVIK_API int vsnxprintf(char* dest, int32_t skip, uint32_t size, char const* format, va_list args)
    ORVIK_PRINTF_LIKE(4, 0);
ORVIK_API int strlenf(char const* format, ...) ORVIK_PRINTF_LIKE(1, 2);
ORVIK_API int vstrlenf(char const* format, va_list args) ORVIK_PRINTF_LIKE(1, 0);
ORVIK_API int stricmp(char const* a, char const* b);
ORVIK_API int strnicmp(char const* a, char const* b, uint32_t count);

/* Integer text with radix letters, and the validators: <orvik_utilities/numbers/IntegerText.h>. */
ORVIK_API void reverse(char* text);
ORVIK_API char* i32toa(int32_t value, char* buffer, int radix);
ORVIK_API char* u_i32toa(uint32_t value, char* buffer, int radix);
ORVIK_API char* i16toa(int16_t value, char* buffer, int radix);
ORVIK_API char* u_i16toa(uint16_t value, char* buffer, int radix);
ORVIK_API int32_t valueOf32(char const* text);
ORVIK_API uint32_t u_valueOf32(char const* text);
ORVIK_API int16_t valueOf16(char const* text);
ORVIK_API uint16_t u_valueOf16(char const* text);
ORVIK_API int32_t validValueOf32(int32_t* status, char const* text);
ORVIK_API int16_t validValueOf16(int32_t* status, char const* text);
ORVIK_API uint32_t u_validValueOf32(int32_t* status, char const* text);
ORVIK_API uint16_t u_validValueOf16(int32_t* status, char const* text);
ORVIK_API int32_t validRangeValueOf32(int32_t* status, char const* text, int32_t minimum,
                                      int32_t maximum);
ORVIK_API int16_t validRangeValueOf16(int32_t* status, char const* text, int16_t minimum,
                                      int16_t maximum);
ORVIK_API uint32_t u_validRangeValueOf32(int32_t* status, char const* text, uint32_t minimum,
                                         uint32_t maximum);
ORVIK_API uint16_t u_validRangeValueOf16(int32_t* status, char const* text, uint16_t minimum,
                                         uint16_t maximum);

/* Converters and validators: <orvik_utilities/numbers/Converters.h>. */
ORVIK_API extern char const binToHexLut[256][3];
ORVIK_API void convBinToHex(uint32_t word, char* output);
ORVIK_API int32_t nbrOfChars_forDataChunk2String(int32_t dataLength, int32_t lineLength);
ORVIK_API void dataChunk2String(uint32_t const* data, char* output, int32_t dataLength,
                                int32_t lineLength);
ORVIK_API uint32_t nextHigherPowerOf2(uint32_t value);
ORVIK_API int e164Number(char const* text);
ORVIK_API int validateTimeString(char const* text);
ORVIK_API int validateTime(char const* text);
ORVIK_API int validateDate(char const* text);
ORVIK_API int convIPStr2IPUl(char const* text, uint32_t* result);
ORVIK_API int convIPUL2IPStr(uint32_t address, char* output);

/* Syslog set-up: <orvik_utilities/system/LogInit.h>. */
ORVIK_API void sorrelLogInit(char const* name);

/* Watchdog client: <orvik_utilities/system/Watchdog.h>. kx_watchdog_init has a C++ name
 * only; kx_watchdog_register makes the client socket itself. */
ORVIK_API int kx_watchdog_register(unsigned int value, int pid, char const* name);
ORVIK_API int kx_watchdog_feed(int pid);
ORVIK_API void kx_watchdog_config(char const* name);
ORVIK_API int kx_watchdog_unregister(int pid);

#ifdef __cplusplus
}
#endif

#endif
