// A private network namespace for one test: the calling thread enters a fresh namespace on
// construction and returns to its own on destruction, also when the test fails. Nothing
// outside sees the interfaces made inside, and the kernel removes the namespace with its
// interfaces once the last thread or child has left it, even after a crash.
#ifndef ORVIK_TESTS_SUPPORT_NETWORK_NAMESPACE_H
#define ORVIK_TESTS_SUPPORT_NETWORK_NAMESPACE_H

#include <string>

namespace orvik_test {

class NetworkNamespace {
public:
    // A new namespace holds only the loopback interface, down and without address.
    NetworkNamespace();
    ~NetworkNamespace();
    NetworkNamespace(NetworkNamespace const&) = delete;
    NetworkNamespace& operator=(NetworkNamespace const&) = delete;

    // True once the thread is inside; otherwise reason() says why not.
    bool entered() const { return inside; }
    // Not root: the test should skip rather than fail.
    bool lacksPrivilege() const { return notRoot; }
    std::string const& reason() const { return why; }

    // Runs "ip <arguments>" inside the namespace; false (and reason() gets its output)
    // when it exits with a non-zero status.
    bool ip(std::string const& arguments);
    // The two ends of a virtual Ethernet link (there is no dummy driver everywhere).
    bool addVethPair(std::string const& name, std::string const& peer);
    // "10.1.2.3/24" on the interface.
    bool addAddress(std::string const& interface, std::string const& cidr);
    bool setUp(std::string const& interface);
    bool remove(std::string const& interface);
    // The kernel's index of the interface, 0 when there is none.
    static unsigned interfaceIndex(std::string const& interface);

private:
    int original = -1;
    bool inside = false;
    bool notRoot = false;
    std::string why;
};

} // namespace orvik_test

// Enters a namespace called name, or skips the test (not root) or fails it (root but the
// namespace cannot be made).
#define ORVIK_ENTER_NETWORK_NAMESPACE(name)                                                    \
    ::orvik_test::NetworkNamespace name;                                                       \
    do {                                                                                       \
        if (!name.entered()) {                                                                 \
            if (name.lacksPrivilege())                                                         \
                GTEST_SKIP() << name.reason();                                                 \
            FAIL() << name.reason();                                                           \
        }                                                                                      \
    } while (false)

#endif
