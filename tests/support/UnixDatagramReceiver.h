// A real AF_UNIX datagram endpoint that a test reads, as a system service would.
#ifndef ORVIK_TESTS_SUPPORT_UNIX_DATAGRAM_RECEIVER_H
#define ORVIK_TESTS_SUPPORT_UNIX_DATAGRAM_RECEIVER_H

#include <string>
#include <vector>

namespace orvik_test {

struct Datagram {
    std::string bytes;
    // The sender's bound path; "" for an unbound sender.
    std::string sender;
};

// Bound at path on construction (which reports a failure when it cannot bind); closed on
// destruction. The socket file is left where it is: it belongs on a test tmpfs.
class UnixDatagramReceiver {
public:
    explicit UnixDatagramReceiver(std::string const& path);
    ~UnixDatagramReceiver();
    UnixDatagramReceiver(UnixDatagramReceiver const&) = delete;
    UnixDatagramReceiver& operator=(UnixDatagramReceiver const&) = delete;

    bool bound() const { return fd >= 0; }
    // Every datagram queued now, oldest first; never waits. Senders block when about ten
    // datagrams wait unread (net.unix.max_dgram_qlen), so drain between bursts.
    std::vector<Datagram> drain();

private:
    int fd = -1;
};

} // namespace orvik_test

#endif
