#include "support/PeerNamespace.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orvik_test {

PeerNamespace::PeerNamespace() {
    int ready[2];
    int hold[2];
    if (pipe2(ready, O_CLOEXEC) != 0) {
        why = std::string("pipe: ") + std::strerror(errno);
        return;
    }
    if (pipe2(hold, O_CLOEXEC) != 0) {
        why = std::string("pipe: ") + std::strerror(errno);
        close(ready[0]);
        close(ready[1]);
        return;
    }
    pid_t const child = fork();
    if (child == 0) {
        // Dies with the test program, so a crashed test leaves no namespace behind.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // Only its own two pipe ends: a holder that kept another holder's release end open
        // would keep that one alive past its destructor.
        for (int fd = 3; fd < 1024; ++fd)
            if (fd != ready[1] && fd != hold[0])
                close(fd);
        char const status = unshare(CLONE_NEWNET) == 0 ? 'y' : 'n';
        if (write(ready[1], &status, 1) != 1)
            _exit(1);
        char ignored;
        while (read(hold[0], &ignored, 1) > 0) {
        }
        _exit(0);
    }
    close(ready[1]);
    close(hold[0]);
    char status = 'n';
    bool const made = child > 0 && read(ready[0], &status, 1) == 1 && status == 'y';
    close(ready[0]);
    release = hold[1];
    if (child < 0) {
        why = std::string("fork: ") + std::strerror(errno);
        return;
    }
    holder = child;
    if (!made) {
        why = "the child could not unshare its network namespace";
        close(release);
        release = -1;
        waitpid(child, nullptr, 0);
        holder = -1;
        return;
    }
    path = "/proc/" + std::to_string(child) + "/ns/net";
}

PeerNamespace::~PeerNamespace() {
    if (release >= 0)
        close(release);
    release = -1;
    if (holder > 0)
        waitpid(holder, nullptr, 0);
}

// The command's own output goes to the test's output, where a failure's reason shows.
static bool shell(std::string const& line, std::string* why) {
    int const status = std::system(line.c_str());
    if (status == 0)
        return true;
    *why = line + " failed (status " + std::to_string(status) + ")";
    return false;
}

bool PeerNamespace::run(std::string const& command) {
    return ready() && shell("nsenter --net=" + path + " sh -c '" + command + "'", &why);
}

bool PeerNamespace::adopt(std::string const& interface) {
    return ready() &&
           shell("ip link set " + interface + " netns " + std::to_string(holder), &why);
}

template <typename Body> bool PeerNamespace::inside(Body body) {
    int const own = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    int const peer = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    bool entered = own >= 0 && peer >= 0 && setns(peer, CLONE_NEWNET) == 0;
    if (entered) {
        body();
        if (setns(own, CLONE_NEWNET) != 0)
            std::fprintf(stderr, "PeerNamespace: setns back failed: %s\n", std::strerror(errno));
    } else {
        why = std::string("cannot enter ") + path + ": " + std::strerror(errno);
    }
    if (own >= 0)
        close(own);
    if (peer >= 0)
        close(peer);
    return entered;
}

int PeerNamespace::openSocket(int domain, int type, int protocol) {
    int made = -1;
    inside([&] { made = socket(domain, type | SOCK_CLOEXEC, protocol); });
    return made;
}

int PeerNamespace::openCapture(std::string const& interface) {
    int capture = -1;
    inside([&] {
        sockaddr_ll at;
        std::memset(&at, 0, sizeof at);
        at.sll_family = AF_PACKET;
        at.sll_protocol = htons(ETH_P_ALL);
        at.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
        capture = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
        if (capture >= 0 && (at.sll_ifindex == 0 ||
                             bind(capture, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0)) {
            why = "no capture socket on " + interface + ": " + std::strerror(errno);
            close(capture);
            capture = -1;
        }
    });
    return capture;
}

} // namespace orvik_test
