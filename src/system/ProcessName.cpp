// Process ids from /proc directory names, and names from command-line bytes.
#include "system/ProcessName.h"

#include <cstdio>

namespace orvik {
namespace detail {

bool pidFromDirectoryName(char const* text, int32_t* pid) {
    if (text[0] == '\0')
        return false;
    int32_t value = 0;
    for (; *text != '\0'; ++text) {
        if (*text < '0' || *text > '9')
            return false;
        int32_t const digit = *text - '0';
        if (value > (INT32_MAX - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    *pid = value;
    return true;
}

void nameFromCommandLine(char* text, std::size_t length, char const* directory) {
    if (length > kCommandLineLimit)
        length = kCommandLineLimit;
    if (length == 0) {
        std::snprintf(text, kProcessNameSize, "[%.*s]", int(kCommandLineLimit), directory);
        return;
    }
    for (std::size_t i = 0; i < length; ++i)
        if (text[i] == '\0')
            text[i] = ' ';
    if (text[length - 1] == ' ')
        --length;
    text[length] = '\0';
}

} // namespace detail
} // namespace orvik
