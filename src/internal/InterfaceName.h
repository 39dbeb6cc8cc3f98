// Naming a network interface to the kernel: the name rule, interface requests, device binding.
#ifndef ORVIK_UTILITIES_INTERNAL_INTERFACE_NAME_H
#define ORVIK_UTILITIES_INTERNAL_INTERFACE_NAME_H

#include <net/if.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace orvik {
namespace detail {

// The kernel keeps names in IFNAMSIZ bytes with the terminator, and cuts a longer name
// short; refusing it keeps a request from reaching a different interface.
constexpr std::size_t kInterfaceNameLimit = IFNAMSIZ - 1;

// SO_BINDTODEVICE takes a zeroed field of this size, whatever the name's length.
constexpr std::size_t kDeviceFieldSize = 32;

inline bool interfaceNameFits(char const* name) noexcept {
    return name != nullptr && strnlen(name, IFNAMSIZ) <= kInterfaceNameLimit;
}

// A zeroed request naming the interface; false (request zeroed) when the name does not fit.
inline bool fillInterfaceRequest(ifreq& request, char const* name) noexcept {
    std::memset(&request, 0, sizeof request);
    if (!interfaceNameFits(name))
        return false;
    std::memcpy(request.ifr_name, name, std::strlen(name));
    return true;
}

// A zeroed request for the interface with this index (SIOCGIFNAME fills in its name).
inline void fillInterfaceRequest(ifreq& request, int index) noexcept {
    std::memset(&request, 0, sizeof request);
    request.ifr_ifindex = index;
}

// Binds the socket to the named interface; false with errno set when the kernel refuses,
// false with errno EINVAL when the name does not fit.
inline bool bindToDevice(int fd, char const* name) noexcept {
    if (!interfaceNameFits(name)) {
        errno = EINVAL;
        return false;
    }
    char field[kDeviceFieldSize] = {};
    std::memcpy(field, name, std::strlen(name));
    return setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, field, sizeof field) == 0;
}

} // namespace detail
} // namespace orvik

#endif
