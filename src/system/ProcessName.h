// The two texts a /proc scan reads: a directory name that is a process id, and the bytes
// of a command line, which become the table's name for the process.
#ifndef ORVIK_UTILITIES_SYSTEM_PROCESS_NAME_H
#define ORVIK_UTILITIES_SYSTEM_PROCESS_NAME_H

#include <cstddef>
#include <cstdint>

namespace orvik {
namespace detail {

// The most bytes of a command line that take part in a name.
constexpr std::size_t kCommandLineLimit = 255;
// Room for any name: 255 bytes, or a directory name of up to 255 in brackets, and the end.
constexpr std::size_t kProcessNameSize = kCommandLineLimit + 3;

// The id that a text of decimal digits spells; false for no digits, anything else or a
// value beyond int32_t.
bool pidFromDirectoryName(char const* text, int32_t* pid);

// text holds length (at most kCommandLineLimit) bytes of a command line. Makes it the
// name: arguments joined by spaces (every zero byte becomes one), the last byte dropped
// when it is then a space, and terminated; with no bytes, "[directory]" instead (the
// directory name cut to kCommandLineLimit). text has kProcessNameSize bytes.
void nameFromCommandLine(char* text, std::size_t length, char const* directory);

} // namespace detail
} // namespace orvik

#endif
