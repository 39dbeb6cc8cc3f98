// One line of the log-level file: the program's name, then its level, clamped to 0..7.
#include "system/LogLevelLine.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace orvik {
namespace detail {

namespace {
constexpr long kQuietest = 0;
constexpr long kLoudest = 7; // LOG_DEBUG: the mask is only defined for 0..7
} // namespace

bool levelFromLine(char const* line, char const* name, int32_t* level) {
    char const* p = std::strstr(line, name);
    if (p == nullptr)
        return false;
    // Tokens are separated by spaces only, so the line end stays inside the last token.
    p += std::strspn(p, " ");
    p += std::strcspn(p, " ");
    p += std::strspn(p, " ");
    char const* const end = p + std::strcspn(p, " ");
    // strtol skips white space itself, but must not run past the second token.
    while (p != end && std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    long value = p == end ? kQuietest : std::strtol(p, nullptr, 10);
    if (value < kQuietest)
        value = kQuietest;
    if (value > kLoudest)
        value = kLoudest;
    *level = static_cast<int32_t>(value);
    return true;
}

} // namespace detail
} // namespace orvik
