// libFuzzer target for what a /proc scan reads: the input is both a directory name (up to
// its first zero byte) and the bytes of a command line (all of it, cut to the read).
#include "system/ProcessName.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    using namespace orvik::detail;
    std::string const directory(reinterpret_cast<char const*>(data),
                                strnlen(reinterpret_cast<char const*>(data), size));

    int32_t pid = -1;
    bool const isPid = pidFromDirectoryName(directory.c_str(), &pid);
    bool const digits =
        !directory.empty() && directory.find_first_not_of("0123456789") == std::string::npos;
    std::string const trimmed =
        directory.substr(std::min(directory.find_first_not_of('0'), directory.size()));
    bool const fits = trimmed.size() < 10 || (trimmed.size() == 10 && trimmed <= "2147483647");
    if (isPid != (digits && fits) ||
        (isPid ? std::to_string(pid) != (trimmed.empty() ? "0" : trimmed) : pid != -1))
        std::abort();

    std::size_t const length = size < kCommandLineLimit ? size : kCommandLineLimit;
    char text[kProcessNameSize];
    std::memset(text, 'X', sizeof text);
    std::memcpy(text, data, length);
    nameFromCommandLine(text, length, directory.c_str());
    std::size_t const nameLength = strnlen(text, sizeof text);
    if (nameLength == sizeof text)
        std::abort();
    if (length == 0)
        return 0;
    // Every byte read is kept, a zero byte as a space, but for one final space.
    if (nameLength != length && nameLength + 1 != length)
        std::abort();
    for (std::size_t i = 0; i < nameLength; ++i)
        if (text[i] != (data[i] == 0 ? ' ' : char(data[i])))
            std::abort();
    if (nameLength + 1 == length && data[length - 1] != 0 && data[length - 1] != ' ')
        std::abort();
    return 0;
}
