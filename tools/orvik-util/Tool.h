// What every subcommand of orvik-util shares: exit codes, the one-line error report, the
// chunked reader and the small argument parsers.
#ifndef ORVIK_UTIL_TOOL_H
#define ORVIK_UTIL_TOOL_H

#include <orvik_utilities/text/String.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace tool {

enum Exit { kOk = 0, kFailed = 1, kUsage = 2 };

/// "orvik-util: <message>" on standard error; returns status so handlers can `return fail(...)`.
int fail(int status, char const* format, ...) __attribute__((format(printf, 2, 3)));
/// A usage error of subcommand: the message and a pointer to its --help.
int usage(char const* subcommand, char const* format, ...) __attribute__((format(printf, 2, 3)));

/// Feeds the file (or standard input for "-" or null) to consume in pieces of at most
/// kChunk bytes, so any size takes the same memory. 0, or the errno of the failed open/read.
constexpr std::size_t kChunk = 64 * 1024;
int readChunks(char const* path,
               std::function<void(unsigned char const*, std::size_t)> const& consume);
/// The name to show for a path in messages and digest lines.
char const* displayName(char const* path);

/// Whole decimal text in minimum..maximum, by the library's canonical-decimal check.
bool parseInt(char const* text, int32_t minimum, int32_t maximum, int32_t& value);
/// Dotted text of a host-order IPv4 word.
String dotted(uint32_t word);
/// Lower-case hexadecimal of count bytes.
void printHex(unsigned char const* bytes, std::size_t count);

/// Subcommand options: a getopt_long pass over argv[1..] that stops at the first operand.
/// Unknown options and missing option arguments become usage errors of subcommand.
struct Option {
    char const* name;
    bool hasArgument;
    int key;
};
/// Calls handle(key, argument) for each option; returns the index of the first operand, or
/// -1 after reporting a usage error (handle reports its own and returns false).
int parseOptions(char const* subcommand, int argc, char** argv, Option const* options,
                 std::size_t count, std::function<bool(int, char const*)> const& handle);

} // namespace tool

// One function per subcommand; argv[0] is the subcommand's name.
int runIp(int argc, char** argv);
int runCfg(int argc, char** argv);
int runParams(int argc, char** argv);
int runBase64(int argc, char** argv);
int runHexdump(int argc, char** argv);
int runMd5(int argc, char** argv);
int runSha1(int argc, char** argv);
int runHmac(int argc, char** argv);
int runPs(int argc, char** argv);
int runIface(int argc, char** argv);
int runLed(int argc, char** argv);
int runRssi(int argc, char** argv);
int runModel(int argc, char** argv);
int runWatchdog(int argc, char** argv);
int runLoglevel(int argc, char** argv);
int runPing(int argc, char** argv);
int runRawping(int argc, char** argv);
int runSummary(int argc, char** argv);

#endif
