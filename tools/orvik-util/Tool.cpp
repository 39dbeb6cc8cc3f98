// Shared helpers of the subcommands.
#include "Tool.h"

#include <orvik_utilities/net/IpAddress.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace tool {

namespace {

void report(char const* format, va_list arguments) {
    std::fflush(stdout);
    std::fputs("orvik-util: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
}

} // namespace

int fail(int status, char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(format, arguments);
    va_end(arguments);
    return status;
}

int usage(char const* subcommand, char const* format, ...) {
    std::fflush(stdout);
    std::fprintf(stderr, "orvik-util: %s: ", subcommand);
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, " (see 'orvik-util %s --help')\n", subcommand);
    return kUsage;
}

int readChunks(char const* path,
               std::function<void(unsigned char const*, std::size_t)> const& consume) {
    bool standardInput = path == nullptr || std::strcmp(path, "-") == 0;
    int fd = standardInput ? STDIN_FILENO : open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno;
    static unsigned char buffer[kChunk];
    int error = 0;
    for (;;) {
        ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            error = errno;
            break;
        }
        if (got == 0)
            break;
        consume(buffer, static_cast<std::size_t>(got));
    }
    if (!standardInput)
        close(fd);
    return error;
}

char const* displayName(char const* path) { return path == nullptr ? "-" : path; }

bool parseInt(char const* text, int32_t minimum, int32_t maximum, int32_t& value) {
    int32_t status = -1;
    int32_t read = validRangeValueOf32(&status, text, minimum, maximum);
    if (status != 0)
        return false;
    value = read;
    return true;
}

String dotted(uint32_t word) {
    IpAddress address;
    address.setV4IpAddrAsBinaryUInt32(word);
    String text;
    address.getIpAddrAsString(text);
    return text;
}

void printHex(unsigned char const* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        std::printf("%02x", bytes[i]);
}

int parseOptions(char const* subcommand, int argc, char** argv, Option const* options,
                 std::size_t count, std::function<bool(int, char const*)> const& handle) {
    std::vector<struct option> longOptions;
    std::string shortOptions = "+:";
    for (std::size_t i = 0; i < count; ++i) {
        longOptions.push_back({options[i].name,
                               options[i].hasArgument ? required_argument : no_argument, nullptr,
                               options[i].key});
        if (options[i].key < 128) {
            shortOptions += static_cast<char>(options[i].key);
            if (options[i].hasArgument)
                shortOptions += ':';
        }
    }
    longOptions.push_back({nullptr, 0, nullptr, 0});
    opterr = 0;
    optind = 1;
    for (;;) {
        int key = getopt_long(argc, argv, shortOptions.c_str(), longOptions.data(), nullptr);
        if (key == -1)
            return optind;
        if (key == '?') {
            usage(subcommand, "unknown option '%s'", argv[optind - 1]);
            return -1;
        }
        if (key == ':') {
            usage(subcommand, "option '%s' needs a value", argv[optind - 1]);
            return -1;
        }
        if (!handle(key, optarg))
            return -1;
    }
}

} // namespace tool
