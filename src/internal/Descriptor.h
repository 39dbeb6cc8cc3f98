// Ownership of one file descriptor: opened close-on-exec, closed exactly once.
#ifndef ORVIK_UTILITIES_INTERNAL_DESCRIPTOR_H
#define ORVIK_UTILITIES_INTERNAL_DESCRIPTOR_H

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvik {
namespace detail {

// Closes fd if it is open and marks it closed. Never retried: Linux releases the number
// even when close reports EINTR, and a retry could close a descriptor another thread has
// just been given.
inline void closeDescriptor(int& fd) noexcept {
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

// Owns one descriptor (or none, -1) and closes it when it goes; moves hand it on.
class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int opened) noexcept : fd(opened) {}
    ~Descriptor() { closeDescriptor(fd); }

    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    Descriptor(Descriptor&& other) noexcept : fd(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            closeDescriptor(fd);
            fd = other.release();
        }
        return *this;
    }

    int get() const noexcept { return fd; }
    bool isOpen() const noexcept { return fd >= 0; }
    void reset() noexcept { closeDescriptor(fd); }
    // Gives up ownership, for descriptors kept in fields of the interface's own layout.
    int release() noexcept {
        int const kept = fd;
        fd = -1;
        return kept;
    }

private:
    int fd = -1;
};

// Every descriptor the library opens is close-on-exec: a host program that starts another
// program must not hand it the library's sockets.
inline Descriptor openSocket(int domain, int type, int protocol) noexcept {
    return Descriptor(::socket(domain, type | SOCK_CLOEXEC, protocol));
}

inline Descriptor openFile(char const* path, int flags) noexcept {
    return Descriptor(::open(path, flags | O_CLOEXEC));
}

} // namespace detail
} // namespace orvik

#endif
