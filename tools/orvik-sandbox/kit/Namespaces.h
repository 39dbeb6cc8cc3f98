// Private mount and network namespaces and the helper processes that hold peer hosts: the
// ground on which the sandbox and the kernel-facing tests build the device's world.
#ifndef ORVIK_SANDBOX_KIT_NAMESPACES_H
#define ORVIK_SANDBOX_KIT_NAMESPACES_H

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

namespace orvik_sandbox {

// "what: <strerror(errno)>".
std::string errnoText(std::string const& what);

// Runs "sh -c command" in the calling thread's namespaces. On a non-zero exit, *why gets
// the command, its status and its output.
bool shell(std::string const& command, std::string* why);

// Writes text to path (created or truncated); false when it cannot.
bool writeFile(std::string const& path, std::string const& text);
// The whole content of path, or "<unreadable>".
std::string readFile(std::string const& path);

// Entering unshares the mount namespace of the calling process and makes every mount in it
// private, so nothing done here reaches the host. Destruction unmounts what was mounted
// (newest first) and rejoins the original namespace and working directory; the private
// namespace dies with its mounts once no process uses it. Forked children inherit it.
class MountNamespace {
public:
    MountNamespace();
    ~MountNamespace();
    MountNamespace(MountNamespace const&) = delete;
    MountNamespace& operator=(MountNamespace const&) = delete;

    bool entered() const { return unshared && problem.empty(); }
    // Why the last step failed (or why the namespace could not be entered).
    std::string const& error() const { return problem; }
    // The namespace was refused for want of privilege rather than through a fault.
    bool permissionMissing() const { return refused; }

    // A fresh, empty tmpfs over the existing directory dir.
    bool tmpfs(std::string const& dir);
    // A tmpfs over dir that still shows dir's entries (bound back in, symlinks copied), so
    // new entries made there stay in this namespace.
    bool shadow(std::string const& dir);
    // A private directory at path, empty unless this namespace already made it private: a
    // tmpfs over it when it exists, otherwise made inside a shadow of its parent.
    bool privateDir(std::string const& path);
    // source (file or directory tree) seen at target, which must exist.
    bool bind(std::string const& source, std::string const& target);
    // A new instance of a kernel file system (sysfs, proc) over dir.
    bool mountNew(char const* type, std::string const& dir);
    // The process stays in the namespace until it ends (where it may not return, as from
    // inside a user namespace of its own).
    void stay();

private:
    bool mountOver(char const* source, std::string const& target, char const* type,
                   unsigned long flags);

    std::string problem;
    bool refused = false;
    bool unshared = false;
    int originalNamespace = -1;
    int originalDirectory = -1;
    std::vector<std::string> mounts;
    std::set<std::string> privateDirs;
};

// The calling thread enters a fresh network namespace (only a loopback interface, down) and
// returns to its own on destruction. The kernel removes the namespace and its interfaces
// once the last thread or child has left it, also after a crash.
class NetworkNamespace {
public:
    NetworkNamespace();
    ~NetworkNamespace();
    NetworkNamespace(NetworkNamespace const&) = delete;
    NetworkNamespace& operator=(NetworkNamespace const&) = delete;

    bool entered() const { return original >= 0; }
    bool permissionMissing() const { return refused; }
    std::string const& error() const { return problem; }

    // "ip <arguments>" inside; false (and error()) on a non-zero exit.
    bool ip(std::string const& arguments);
    // The two ends of a virtual Ethernet link (there is no dummy driver everywhere).
    bool addVethPair(std::string const& name, std::string const& peer);
    // "10.1.2.3/24" on the interface.
    bool addAddress(std::string const& interface, std::string const& cidr);
    bool setUp(std::string const& interface);
    bool remove(std::string const& interface);
    // The thread stays in the namespace until the process ends.
    void stay();

private:
    int original = -1;
    bool refused = false;
    std::string problem;
};

// Another host: a network namespace beside the caller's, held by a child process that dies
// with its creator (a crash included), taking the namespace and the interfaces in it along.
class PeerHost {
public:
    PeerHost();
    ~PeerHost();
    PeerHost(PeerHost const&) = delete;
    PeerHost& operator=(PeerHost const&) = delete;

    bool ready() const { return holder > 0; }
    std::string const& error() const { return problem; }
    pid_t pid() const { return holder; }

    // Moves interface from the calling thread's namespace into this host.
    bool adopt(std::string const& interface);
    // "sh -c command" inside; false (and error()) unless it exits with 0.
    bool run(std::string const& command);
    // A socket made inside (it stays there wherever it is used), or -1.
    int openSocket(int domain, int type, int protocol);
    // A packet socket inside seeing every frame on interface, or -1.
    int openCapture(std::string const& interface);
    // awaitCarrier inside.
    bool awaitCarrier(std::string const& interface, int timeoutMs);

private:
    template <typename Body> bool inside(Body body);

    pid_t holder = -1;
    int release = -1; // closing it lets the holder exit
    std::string problem;
};

// The frames queued on a capture socket now, whole, oldest first.
std::vector<std::vector<unsigned char>> frames(int capture);
// The echo requests (ICMP type 8, from the IP header on) among the frames a capture socket
// receives, waiting up to timeoutMs for the first count of them (0: what is there now).
std::vector<std::vector<unsigned char>> echoRequests(int capture, std::size_t count = 0,
                                                     int timeoutMs = 2000);

// Waits up to timeoutMs for fd to become readable.
bool readable(int fd, int timeoutMs);

// Waits up to timeoutMs until interface (in the calling thread's network namespace) has a
// carrier: the kernel notes a peer's state change a little later, not at once.
bool awaitCarrier(std::string const& interface, int timeoutMs);

} // namespace orvik_sandbox

#endif
