// The watchdog service's client: one process-wide datagram socket and its four requests.
#include <orvik_utilities/system/Watchdog.h>

#include "internal/Descriptor.h"
#include "internal/RetryAfterSignal.h"
#include "system/WatchdogMessage.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace {

using orvik::detail::kUnixPathSize;
using orvik::detail::kWatchdogMessageSize;

constexpr char kServicePath[] = "/tmp/.watchdog_api";
static_assert(sizeof(sockaddr_un::sun_path) == kUnixPathSize, "Linux socket path size");

// One client socket per process, shared by every caller and never closed: the service
// knows a client by it for the life of the process.
int watchdogSocket = -1;
sockaddr_un serviceAddress;
socklen_t serviceAddressLength = 0;

// The length covers the family and the path without its terminator.
socklen_t unixAddress(sockaddr_un* address, char const* path) {
    std::memset(address, 0, sizeof *address);
    address->sun_family = AF_UNIX;
    std::size_t const length = std::strlen(path);
    std::memcpy(address->sun_path, path, length);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
}

int openClient(char const* name) {
    orvik::detail::Descriptor fresh = orvik::detail::openSocket(AF_UNIX, SOCK_DGRAM, 0);
    if (!fresh.isOpen())
        return -1;
    orvik::detail::closeDescriptor(watchdogSocket);
    watchdogSocket = fresh.release();
    serviceAddressLength = unixAddress(&serviceAddress, kServicePath);

    char path[kUnixPathSize];
    if (!orvik::detail::watchdogClientPath(path, kServicePath, name)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    // A client that died without cleaning up leaves its path behind; bind would refuse it.
    unlink(path);
    sockaddr_un client;
    socklen_t const length = unixAddress(&client, path);
    return bind(watchdogSocket, reinterpret_cast<sockaddr const*>(&client), length);
}

bool sendMessage(uint32_t cmd, int32_t pid, uint32_t value, char const* name) {
    unsigned char message[kWatchdogMessageSize];
    orvik::detail::buildWatchdogMessage(message, cmd, pid, value, name);
    ssize_t const sent = orvik::detail::retryAfterSignal([&message] {
        return sendto(watchdogSocket, message, sizeof message, 0,
                      reinterpret_cast<sockaddr const*>(&serviceAddress), serviceAddressLength);
    });
    return sent == static_cast<ssize_t>(sizeof message);
}

int32_t processId(int pid) { return pid != 0 ? pid : getpid(); }

int sendForProcess(uint32_t cmd, int pid) {
    if (watchdogSocket < 0)
        return 0;
    int32_t const id = processId(pid);
    sendMessage(cmd, id, 0, nullptr);
    return id;
}

} // namespace

int kx_watchdog_init(char* name) { return openClient(name); }

extern "C" int kx_watchdog_register(unsigned int value, int pid, char const* name) {
    if (watchdogSocket < 0)
        openClient(name);
    if (watchdogSocket < 0)
        return 0;
    int32_t const id = processId(pid);
    return sendMessage(orvik::detail::WD_CMD_REGISTER, id, value, name) ? id : 0;
}

extern "C" int kx_watchdog_feed(int pid) { return sendForProcess(orvik::detail::WD_CMD_FEED, pid); }

extern "C" int kx_watchdog_unregister(int pid) {
    return sendForProcess(orvik::detail::WD_CMD_UNREGISTER, pid);
}

extern "C" void kx_watchdog_config(char const* name) {
    if (watchdogSocket < 0)
        openClient(name);
    if (watchdogSocket >= 0)
        sendMessage(orvik::detail::WD_CMD_CONFIG, 0, 0, nullptr);
}
