// A second network namespace beside the test's own: a host at the other end of a veth
// link (a router, a target). A child process holds it; the namespace, with the interfaces
// moved into it, disappears when the object is destroyed or the test program dies.
#ifndef ORVIK_TESTS_SUPPORT_PEER_NAMESPACE_H
#define ORVIK_TESTS_SUPPORT_PEER_NAMESPACE_H

#include <sys/types.h>

#include <string>

namespace orvik_test {

class PeerNamespace {
public:
    // Made from the calling thread's namespace; ready() false (and reason()) on failure.
    PeerNamespace();
    ~PeerNamespace();
    PeerNamespace(PeerNamespace const&) = delete;
    PeerNamespace& operator=(PeerNamespace const&) = delete;

    bool ready() const { return holder > 0; }
    std::string const& reason() const { return why; }

    // Moves interface from the calling thread's namespace into this one.
    bool adopt(std::string const& interface);
    // Runs "sh -c command" inside; false (and reason()) unless it exits with 0.
    bool run(std::string const& command);
    // A socket made inside (it stays there wherever it is used), or -1.
    int openSocket(int domain, int type, int protocol);
    // A packet socket inside that sees every frame on interface (ETH_P_ALL), or -1.
    int openCapture(std::string const& interface);

private:
    // Runs body with the calling thread inside, then brings it back.
    template <typename Body> bool inside(Body body);

    pid_t holder = -1;
    int release = -1; // closing it lets the holder exit
    std::string path;
    std::string why;
};

} // namespace orvik_test

#endif
