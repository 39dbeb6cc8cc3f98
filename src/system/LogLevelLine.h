// Reading one line of the per-program log-level file.
#ifndef ORVIK_UTILITIES_SYSTEM_LOG_LEVEL_LINE_H
#define ORVIK_UTILITIES_SYSTEM_LOG_LEVEL_LINE_H

#include <cstdint>

namespace orvik {
namespace detail {

// True when line contains name anywhere; level is then the decimal value of the second
// space-separated token counted from where name begins, clamped to 0..7 (0 without one).
bool levelFromLine(char const* line, char const* name, int32_t* level);

} // namespace detail
} // namespace orvik

#endif
