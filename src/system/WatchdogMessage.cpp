// The watchdog service's 76-byte datagram and the client's socket path.
#include "system/WatchdogMessage.h"

#include <cstring>

namespace orvik {
namespace detail {

namespace {
constexpr std::size_t kCmdOffset = 0;
constexpr std::size_t kPidOffset = 4;
constexpr std::size_t kValueOffset = 8;
constexpr std::size_t kNameOffset = 12;
constexpr std::size_t kNameSize = 64;
static_assert(kNameOffset + kNameSize == kWatchdogMessageSize, "the service reads 76 bytes");
} // namespace

void buildWatchdogMessage(unsigned char (&message)[kWatchdogMessageSize], uint32_t cmd, int32_t pid,
                          uint32_t value, char const* name) {
    std::memset(message, 0, sizeof message);
    std::memcpy(message + kCmdOffset, &cmd, sizeof cmd);
    std::memcpy(message + kPidOffset, &pid, sizeof pid);
    std::memcpy(message + kValueOffset, &value, sizeof value);
    if (name != nullptr)
        std::memcpy(message + kNameOffset, name, strnlen(name, kNameSize - 1));
}

bool watchdogClientPath(char (&path)[kUnixPathSize], char const* service, char const* name) {
    if (name == nullptr)
        return false;
    std::size_t const serviceLength = std::strlen(service);
    std::size_t const nameLength = std::strlen(name);
    // A cut path could name another client's socket, which the bind would first remove.
    if (serviceLength + 1 + nameLength >= kUnixPathSize)
        return false;
    std::memcpy(path, service, serviceLength);
    path[serviceLength] = '_';
    std::memcpy(path + serviceLength + 1, name, nameLength + 1);
    return true;
}

} // namespace detail
} // namespace orvik
