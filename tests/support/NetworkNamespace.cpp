#include "support/NetworkNamespace.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace orvik_test {

NetworkNamespace::NetworkNamespace() {
    if (geteuid() != 0) {
        notRoot = true;
        why = "needs root to create a network namespace";
        return;
    }
    original = open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
    if (original < 0) {
        why = std::string("cannot open /proc/self/ns/net: ") + std::strerror(errno);
        return;
    }
    if (unshare(CLONE_NEWNET) != 0) {
        why = std::string("unshare(CLONE_NEWNET): ") + std::strerror(errno);
        close(original);
        original = -1;
        return;
    }
    inside = true;
}

NetworkNamespace::~NetworkNamespace() {
    if (original < 0)
        return;
    // Leaving drops the thread's reference; the namespace dies with its last one.
    if (setns(original, CLONE_NEWNET) != 0)
        std::fprintf(stderr, "NetworkNamespace: setns back failed: %s\n", std::strerror(errno));
    close(original);
}

bool NetworkNamespace::ip(std::string const& arguments) {
    if (!inside)
        return false;
    // Children start in the namespace of the thread that forks them.
    std::string const command = "ip " + arguments + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        why = command + ": " + std::strerror(errno);
        return false;
    }
    std::string output;
    char chunk[256];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
        output.append(chunk, got);
    int const status = pclose(pipe);
    if (status == 0)
        return true;
    why = command + " failed (status " + std::to_string(status) + "): " + output;
    return false;
}

bool NetworkNamespace::addVethPair(std::string const& name, std::string const& peer) {
    return ip("link add " + name + " type veth peer name " + peer);
}

bool NetworkNamespace::addAddress(std::string const& interface, std::string const& cidr) {
    return ip("address add " + cidr + " dev " + interface);
}

bool NetworkNamespace::setUp(std::string const& interface) {
    return ip("link set " + interface + " up");
}

bool NetworkNamespace::remove(std::string const& interface) {
    return ip("link delete " + interface);
}

unsigned NetworkNamespace::interfaceIndex(std::string const& interface) {
    return if_nametoindex(interface.c_str());
}

} // namespace orvik_test
