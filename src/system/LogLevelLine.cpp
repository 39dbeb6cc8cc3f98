#include "system/LogLevelLine.h"

#include <cstdlib>
#include <cstring>

namespace orvik {
namespace detail {

namespace {
constexpr long kQuietest = 0;
constexpr long kLoudest = 7; // LOG_DEBUG: the mask is only defined for 0..7

char const* skipSpaces(char const* p) {
    while (*p == ' ')
        ++p;
    return p;
}
} // namespace

bool levelFromLine(char const* line, char const* name, int32_t* level) {
    char const* p = std::strstr(line, name);
    if (p == nullptr)
        return false;
    // Tokens are separated by spaces only, so the line end stays inside the last token.
    p = skipSpaces(p);
    while (*p != '\0' && *p != ' ')
        ++p;
    p = skipSpaces(p);
    long value = *p == '\0' ? kQuietest : std::strtol(p, nullptr, 10);
    if (value < kQuietest)
        value = kQuietest;
    if (value > kLoudest)
        value = kLoudest;
    *level = static_cast<int32_t>(value);
    return true;
}

} // namespace detail
} // namespace orvik
