#include "support/UnixDatagramReceiver.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace orvik_test {

UnixDatagramReceiver::UnixDatagramReceiver(std::string const& path) {
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        ADD_FAILURE() << "socket path too long: " << path;
        return;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ADD_FAILURE() << "cannot bind " << path << ": " << std::strerror(errno);
        close(fd);
        fd = -1;
    }
}

UnixDatagramReceiver::~UnixDatagramReceiver() {
    if (fd >= 0)
        close(fd);
}

std::vector<Datagram> UnixDatagramReceiver::drain() {
    std::vector<Datagram> received;
    for (;;) {
        char buffer[4096];
        sockaddr_un from;
        socklen_t fromLength = sizeof from;
        ssize_t const n = recvfrom(fd, buffer, sizeof buffer, MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&from), &fromLength);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return received;
        std::size_t const pathOffset = offsetof(sockaddr_un, sun_path);
        std::string sender;
        if (fromLength > pathOffset)
            sender.assign(from.sun_path, strnlen(from.sun_path, fromLength - pathOffset));
        received.push_back({std::string(buffer, std::size_t(n)), sender});
    }
}

} // namespace orvik_test
