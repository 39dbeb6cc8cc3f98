// The watchdog service's datagram and the client's socket path.
#ifndef ORVIK_UTILITIES_SYSTEM_WATCHDOG_MESSAGE_H
#define ORVIK_UTILITIES_SYSTEM_WATCHDOG_MESSAGE_H

#include <cstddef>
#include <cstdint>

namespace orvik {
namespace detail {

constexpr std::size_t kWatchdogMessageSize = 76;
constexpr std::size_t kUnixPathSize = 108; // sun_path, terminator included

enum WatchdogCommand : uint32_t {
    WD_CMD_REGISTER = 1,
    WD_CMD_UNREGISTER = 2,
    WD_CMD_FEED = 3,
    WD_CMD_CONFIG = 4
};

// cmd, pid and value at offsets 0, 4, 8 in host byte order, then name cut to 63 characters
// and zero-terminated in 64 bytes; every byte not set is zero. A null name is "".
void buildWatchdogMessage(unsigned char (&message)[kWatchdogMessageSize], uint32_t cmd, int32_t pid,
                          uint32_t value, char const* name);

// "<service>_<name>" into path; false, path untouched, when name is null or the result
// would not fit the socket path with its terminator.
bool watchdogClientPath(char (&path)[kUnixPathSize], char const* service, char const* name);

} // namespace detail
} // namespace orvik

#endif
