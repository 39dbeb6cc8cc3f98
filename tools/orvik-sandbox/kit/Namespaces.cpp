#include "Namespaces.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace orvik_sandbox {

std::string errnoText(std::string const& what) { return what + ": " + std::strerror(errno); }

bool shell(std::string const& command, std::string* why) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        *why = errnoText(command);
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
    *why = command + " failed (status " + std::to_string(status) + "): " + output;
    return false;
}

bool writeFile(std::string const& path, std::string const& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    return bool(out);
}

std::string readFile(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return "<unreadable>";
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool readable(int fd, int timeoutMs) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting = {fd, POLLIN, 0};
        int const ready = poll(&waiting, 1, left.count() > 0 ? int(left.count()) : 0);
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

bool awaitCarrier(std::string const& interface, int timeoutMs) {
    // Subscribed before the first look, so that no change falls between the two.
    int const events = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl local;
    std::memset(&local, 0, sizeof local);
    local.nl_family = AF_NETLINK;
    local.nl_groups = RTMGRP_LINK;
    if (events >= 0)
        bind(events, reinterpret_cast<sockaddr*>(&local), sizeof local);
    int const query = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request;
    std::memset(&request, 0, sizeof request);
    std::strncpy(request.ifr_name, interface.c_str(), IFNAMSIZ - 1);
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    bool running = false;
    for (;;) {
        running = ioctl(query, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING);
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (running || left.count() <= 0)
            break;
        readable(events, int(left.count()));
        char discard[4096];
        while (events >= 0 && recv(events, discard, sizeof discard, MSG_DONTWAIT) > 0) {
        }
    }
    if (events >= 0)
        close(events);
    if (query >= 0)
        close(query);
    return running;
}

namespace {

std::string parentOf(std::string const& path) {
    std::size_t const slash = path.find_last_of('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

bool exists(std::string const& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

struct Entry {
    std::string name;
    unsigned char type;
};

// Entries of the current directory (d_type, or lstat where the file system gives none).
std::vector<Entry> entriesHere() {
    std::vector<Entry> entries;
    DIR* dir = opendir(".");
    if (dir == nullptr)
        return entries;
    while (dirent* entry = readdir(dir)) {
        std::string const name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        unsigned char type = entry->d_type;
        struct stat info;
        if (type == DT_UNKNOWN && lstat(name.c_str(), &info) == 0)
            type = S_ISDIR(info.st_mode) ? DT_DIR : S_ISLNK(info.st_mode) ? DT_LNK : DT_REG;
        entries.push_back({name, type});
    }
    closedir(dir);
    return entries;
}

} // namespace

MountNamespace::MountNamespace() {
    originalNamespace = open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC);
    originalDirectory = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (originalNamespace < 0 || originalDirectory < 0) {
        problem = errnoText("cannot hold on to the original mount namespace");
        return;
    }
    if (unshare(CLONE_NEWNS) != 0) {
        refused = errno == EPERM;
        problem = errnoText("unshare(CLONE_NEWNS) (needs CAP_SYS_ADMIN)");
        return;
    }
    unshared = true;
    // Without this, mounts below a shared mount would appear on the host too.
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        problem = errnoText("making / private");
}

MountNamespace::~MountNamespace() {
    for (auto it = mounts.rbegin(); it != mounts.rend(); ++it)
        umount2(it->c_str(), MNT_DETACH);
    if (unshared && setns(originalNamespace, CLONE_NEWNS) != 0)
        std::fprintf(stderr, "%s\n",
                     errnoText("returning to the original mount namespace").c_str());
    // setns moves the working directory to the root of the namespace joined.
    if (originalDirectory >= 0 && fchdir(originalDirectory) != 0)
        std::fprintf(stderr, "%s\n", errnoText("returning to the working directory").c_str());
    if (originalNamespace >= 0)
        close(originalNamespace);
    if (originalDirectory >= 0)
        close(originalDirectory);
}

bool MountNamespace::mountOver(char const* source, std::string const& target, char const* type,
                               unsigned long flags) {
    if (!unshared)
        return false;
    if (mount(source, target.c_str(), type, flags, nullptr) != 0) {
        problem = errnoText("mounting " + std::string(source) + " over " + target);
        return false;
    }
    mounts.push_back(target);
    return true;
}

bool MountNamespace::tmpfs(std::string const& dir) {
    if (!mountOver("tmpfs", dir, "tmpfs", 0))
        return false;
    privateDirs.insert(dir);
    return true;
}

bool MountNamespace::mountNew(char const* type, std::string const& dir) {
    return mountOver(type, dir, type, MS_NOSUID | MS_NODEV | MS_NOEXEC);
}

bool MountNamespace::shadow(std::string const& dir) {
    // The working directory keeps the original in reach once the tmpfs hides it, also for
    // /proc, through which no other path could lead back.
    if (!unshared || chdir(dir.c_str()) != 0) {
        problem = errnoText("entering " + dir);
        return false;
    }
    std::vector<Entry> const entries = entriesHere();
    bool const covered = tmpfs(dir);
    for (Entry const& entry : entries) {
        if (!covered)
            break;
        std::string const target = dir + "/" + entry.name;
        if (entry.type == DT_LNK) {
            char link[4096];
            ssize_t const length = readlink(entry.name.c_str(), link, sizeof link - 1);
            if (length >= 0)
                (void)symlink(std::string(link, std::size_t(length)).c_str(), target.c_str());
            continue;
        }
        int const made = entry.type == DT_DIR
                             ? mkdir(target.c_str(), 0755)
                             : close(open(target.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
        // Entries may vanish meanwhile (process directories in /proc): best effort.
        if (made == 0)
            mount(entry.name.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
    }
    if (fchdir(originalDirectory) != 0 && covered) {
        problem = errnoText("returning to the working directory");
        return false;
    }
    return covered;
}

bool MountNamespace::privateDir(std::string const& path) {
    if (privateDirs.count(path) != 0)
        return true;
    if (exists(path))
        return tmpfs(path);
    std::string const parent = parentOf(path);
    bool const parentReady =
        privateDirs.count(parent) != 0 || (exists(parent) ? shadow(parent) : privateDir(parent));
    if (!parentReady)
        return false;
    if (mkdir(path.c_str(), 0755) != 0) {
        problem = errnoText("making " + path);
        return false;
    }
    privateDirs.insert(path);
    return true;
}

void MountNamespace::stay() {
    mounts.clear();
    unshared = false;
    for (int* fd : {&originalNamespace, &originalDirectory}) {
        if (*fd >= 0)
            close(*fd);
        *fd = -1;
    }
}

bool MountNamespace::bind(std::string const& source, std::string const& target) {
    return mountOver(source.c_str(), target, nullptr, MS_BIND | MS_REC);
}

NetworkNamespace::NetworkNamespace() {
    int const own = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    if (own < 0) {
        problem = errnoText("cannot open /proc/thread-self/ns/net");
        return;
    }
    if (unshare(CLONE_NEWNET) != 0) {
        refused = errno == EPERM;
        problem = errnoText("unshare(CLONE_NEWNET) (needs CAP_SYS_ADMIN)");
        close(own);
        return;
    }
    original = own;
}

NetworkNamespace::~NetworkNamespace() {
    if (original < 0)
        return;
    // Leaving drops the thread's reference; the namespace dies with its last one.
    if (setns(original, CLONE_NEWNET) != 0)
        std::fprintf(stderr, "%s\n", errnoText("returning to the network namespace").c_str());
    close(original);
}

void NetworkNamespace::stay() {
    if (original >= 0)
        close(original);
    original = -1;
}

bool NetworkNamespace::ip(std::string const& arguments) {
    // Children start in the namespace of the thread that forks them.
    return entered() && shell("ip " + arguments, &problem);
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

PeerHost::PeerHost() {
    int ready[2];
    int hold[2];
    if (pipe2(ready, O_CLOEXEC) != 0) {
        problem = errnoText("pipe");
        return;
    }
    if (pipe2(hold, O_CLOEXEC) != 0) {
        problem = errnoText("pipe");
        close(ready[0]);
        close(ready[1]);
        return;
    }
    pid_t const child = fork();
    if (child == 0) {
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
        problem = errnoText("fork");
        close(release);
        release = -1;
        return;
    }
    holder = child;
    if (!made) {
        problem = "the peer host could not unshare its network namespace";
        close(release);
        release = -1;
        waitpid(child, nullptr, 0);
        holder = -1;
    }
}

PeerHost::~PeerHost() {
    if (release >= 0)
        close(release);
    if (holder > 0)
        waitpid(holder, nullptr, 0);
}

bool PeerHost::run(std::string const& command) {
    return ready() && shell("nsenter --net=/proc/" + std::to_string(holder) + "/ns/net sh -c '" +
                                command + "'",
                            &problem);
}

bool PeerHost::adopt(std::string const& interface) {
    return ready() &&
           shell("ip link set " + interface + " netns " + std::to_string(holder), &problem);
}

template <typename Body> bool PeerHost::inside(Body body) {
    int const own = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    int const peer =
        open(("/proc/" + std::to_string(holder) + "/ns/net").c_str(), O_RDONLY | O_CLOEXEC);
    bool const entered = own >= 0 && peer >= 0 && setns(peer, CLONE_NEWNET) == 0;
    if (entered) {
        body();
        if (setns(own, CLONE_NEWNET) != 0)
            std::fprintf(stderr, "%s\n", errnoText("leaving a peer host").c_str());
    } else {
        problem = errnoText("cannot enter the peer host");
    }
    if (own >= 0)
        close(own);
    if (peer >= 0)
        close(peer);
    return entered;
}

bool PeerHost::awaitCarrier(std::string const& interface, int timeoutMs) {
    bool running = false;
    inside([&] { running = orvik_sandbox::awaitCarrier(interface, timeoutMs); });
    return running;
}

int PeerHost::openSocket(int domain, int type, int protocol) {
    int made = -1;
    inside([&] { made = socket(domain, type | SOCK_CLOEXEC, protocol); });
    return made;
}

int PeerHost::openCapture(std::string const& interface) {
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
            problem = errnoText("no capture socket on " + interface);
            close(capture);
            capture = -1;
        }
    });
    return capture;
}

std::vector<std::vector<unsigned char>> frames(int capture) {
    std::vector<std::vector<unsigned char>> got;
    unsigned char frame[2048];
    ssize_t length;
    while ((length = recv(capture, frame, sizeof frame, MSG_DONTWAIT)) >= 0)
        got.emplace_back(frame, frame + length);
    return got;
}

namespace {

bool isEchoRequest(std::vector<unsigned char> const& frame) {
    std::size_t const ipHeader = 4u * (frame.size() > 14 ? frame[14] & 0x0Fu : 0u);
    return frame.size() >= 42 && frame[12] == 0x08 && frame[13] == 0x00 && frame[23] == 1 &&
           frame.size() > 14 + ipHeader && frame[14 + ipHeader] == 8;
}

} // namespace

std::vector<std::vector<unsigned char>> echoRequests(int capture, std::size_t count,
                                                     int timeoutMs) {
    std::vector<std::vector<unsigned char>> requests;
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        for (auto const& frame : frames(capture))
            if (isEchoRequest(frame))
                requests.emplace_back(frame.begin() + 14, frame.end());
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (requests.size() >= count || left.count() <= 0 || !readable(capture, int(left.count())))
            return requests;
    }
}

} // namespace orvik_sandbox
