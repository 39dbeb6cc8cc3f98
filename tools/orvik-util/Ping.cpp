// ping: echo requests with round-trip times through PingClient, falling back to the kernel's
// unprivileged ICMP datagram socket where raw sockets are not allowed.
#include <orvik_utilities/net/PingClient.h>

#include "Tool.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr int kIcmpEchoRequest = 8;
constexpr int kIcmpEchoReply = 0;

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Waits for the socket to become readable, at most until deadline; false on timeout.
bool waitReadable(int fd, double deadline) {
    double left = deadline - now();
    if (left <= 0)
        return false;
    pollfd entry{fd, POLLIN, 0};
    int ready = poll(&entry, 1, static_cast<int>(left * 1000) + 1);
    return ready > 0;
}

struct Options {
    int32_t count = 4;
    int32_t wait = 1;
    char const* interface = nullptr;
    char const* source = nullptr;
    char const* host = nullptr;
};

// One way of sending a request and waiting for its reply: 0 reply, 1 not sent (errno set),
// 2 no reply in time, 3 receiving failed.
class Prober {
public:
    virtual ~Prober() = default;
    virtual int probe(Options const& options, double deadline) = 0;
};

// The library's client, with its socket visible so the wait can sleep in poll.
class RawProber : public Prober, private PingClient {
public:
    int probe(Options const& options, double deadline) override {
        int sent = options.interface != nullptr
                       ? sendPingFromInterface(options.host, options.interface)
                       : sendSimplePing(options.host, options.source);
        if (sent != 0)
            return 1;
        for (;;) {
            int result = checkPingResponse();
            if (result != 2)
                return result == 0 ? 0 : 3;
            if (!waitReadable(socketFd, deadline))
                return 2;
        }
    }
};

// IPPROTO_ICMP datagram socket: the kernel owns the identifier and the IP header and hands
// back only replies to this socket.
class DatagramProber : public Prober {
public:
    explicit DatagramProber(int socketFd) : fd(socketFd) {}
    ~DatagramProber() override { close(fd); }

    int probe(Options const&, double deadline) override {
        unsigned char request[8] = {kIcmpEchoRequest, 0, 0, 0, 0, 0, 0, 0};
        ++sequence;
        request[6] = static_cast<unsigned char>(sequence >> 8);
        request[7] = static_cast<unsigned char>(sequence);
        unsigned short words[4];
        std::memcpy(words, request, sizeof request);
        unsigned short sum = PingClient().checksum(words, sizeof request);
        std::memcpy(request + 2, &sum, sizeof sum);
        if (sendto(fd, request, sizeof request, 0, reinterpret_cast<sockaddr const*>(&target),
                   sizeof target) != static_cast<ssize_t>(sizeof request))
            return 1;
        for (;;) {
            if (!waitReadable(fd, deadline))
                return 2;
            unsigned char reply[128];
            ssize_t got = recv(fd, reply, sizeof reply, MSG_DONTWAIT);
            if (got < 0 && (errno == EAGAIN || errno == EINTR))
                continue;
            if (got < 0)
                return 3;
            if (got >= 8 && reply[0] == kIcmpEchoReply &&
                static_cast<unsigned>((reply[6] << 8) | reply[7]) == (sequence & 0xFFFFu))
                return 0;
        }
    }

    sockaddr_in target{};

private:
    int fd;
    unsigned sequence = 0;
};

bool resolve(char const* host, sockaddr_in& address) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0 || found == nullptr)
        return false;
    std::memcpy(&address, found->ai_addr, sizeof address);
    freeaddrinfo(found);
    return true;
}

// EPERM/EACCES without CAP_NET_RAW: raw sockets are refused, whatever the address.
bool rawSocketsAllowed() {
    int fd = socket(AF_INET, SOCK_RAW, IPPROTO_ICMP);
    if (fd >= 0) {
        close(fd);
        return true;
    }
    return errno != EPERM && errno != EACCES;
}

// The kernel allows this socket only to groups in net.ipv4.ping_group_range.
int datagramFallback(Options const& options, sockaddr_in const& target, Prober*& prober) {
    int fd = socket(AF_INET, SOCK_DGRAM, IPPROTO_ICMP);
    if (fd < 0)
        return tool::fail(tool::kFailed, "ping needs CAP_NET_RAW: run as root or grant the "
                                         "capability (or allow your group in "
                                         "net.ipv4.ping_group_range)");
    if (options.interface != nullptr &&
        setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, options.interface,
                   static_cast<socklen_t>(std::strlen(options.interface) + 1)) != 0) {
        int error = errno;
        close(fd);
        return tool::fail(tool::kFailed, "cannot send through %s without CAP_NET_RAW: %s",
                          options.interface, std::strerror(error));
    }
    if (options.source != nullptr) {
        sockaddr_in source{};
        source.sin_family = AF_INET;
        if (inet_pton(AF_INET, options.source, &source.sin_addr) != 1 ||
            bind(fd, reinterpret_cast<sockaddr const*>(&source), sizeof source) != 0) {
            int error = errno;
            close(fd);
            return tool::fail(tool::kFailed, "cannot send from %s: %s", options.source,
                              std::strerror(error));
        }
    }
    tool::fail(tool::kOk, "ping has no CAP_NET_RAW: using an unprivileged ICMP datagram socket");
    auto* datagram = new DatagramProber(fd);
    datagram->target = target;
    prober = datagram;
    return tool::kOk;
}

int parse(int argc, char** argv, Options& options) {
    tool::Option const table[] = {{"count", true, 'c'},
                                  {"timeout", true, 'W'},
                                  {"interface", true, 'I'},
                                  {"source", true, 'S'}};
    int first = tool::parseOptions("ping", argc, argv, table, 4, [&](int key, char const* value) {
        if (key == 'c' && !tool::parseInt(value, 1, 1000000, options.count))
            return tool::usage("ping", "COUNT '%s' is not a number from 1", value), false;
        if (key == 'W' && !tool::parseInt(value, 1, 3600, options.wait))
            return tool::usage("ping", "SECONDS '%s' is not a number from 1 to 3600", value), false;
        if (key == 'I')
            options.interface = value;
        if (key == 'S')
            options.source = value;
        return true;
    });
    if (first < 0)
        return tool::kUsage;
    if (argc - first != 1)
        return tool::usage("ping", "needs one HOST");
    if (options.interface != nullptr && options.source != nullptr)
        return tool::usage("ping", "takes -I or -S, not both");
    in_addr ignored{};
    if (options.source != nullptr && inet_pton(AF_INET, options.source, &ignored) != 1)
        return tool::usage("ping", "SOURCE '%s' is not a dotted IPv4 address", options.source);
    options.host = argv[first];
    return tool::kOk;
}

struct Tally {
    int32_t sent = 0;
    int received = 0;
    double minimum = 0, maximum = 0, total = 0;
};

// Sends the requests one a second and prints each answer; stops at the first request that
// cannot be sent or received, with that failure's exit status.
int probeAll(Options const& options, Prober& prober, char const* dotted, Tally& tally) {
    int status = tool::kOk;
    for (; tally.sent < options.count; ++tally.sent) {
        double start = now();
        int result = prober.probe(options, start + options.wait);
        double milliseconds = (now() - start) * 1000;
        if (result == 1 || result == 3) {
            int error = errno;
            std::printf("seq=%d %s\n", tally.sent + 1, result == 1 ? "not sent" : "receive failed");
            status = tool::fail(tool::kFailed, "cannot %s %s: %s",
                                result == 1 ? "send to" : "receive from", options.host,
                                std::strerror(error));
            tally.sent += result == 3 ? 1 : 0;
            break;
        }
        if (result == 0) {
            std::printf("reply from %s: seq=%d time=%.3f ms\n", dotted, tally.sent + 1,
                        milliseconds);
            tally.minimum =
                tally.received == 0 || milliseconds < tally.minimum ? milliseconds : tally.minimum;
            tally.maximum = milliseconds > tally.maximum ? milliseconds : tally.maximum;
            tally.total += milliseconds;
            ++tally.received;
        } else {
            std::printf("seq=%d no reply within %d s\n", tally.sent + 1, options.wait);
        }
        std::fflush(stdout);
        double pause = start + 1 - now();
        if (tally.sent + 1 < options.count && pause > 0)
            usleep(static_cast<useconds_t>(pause * 1e6));
    }
    return status;
}

void printStatistics(char const* host, Tally const& tally) {
    std::printf("--- %s ping statistics ---\n", host);
    std::printf("%d packets transmitted, %d received, %d%% packet loss\n", tally.sent,
                tally.received,
                tally.sent > 0 ? (tally.sent - tally.received) * 100 / tally.sent : 0);
    if (tally.received > 0)
        std::printf("rtt min/avg/max = %.3f/%.3f/%.3f ms\n", tally.minimum,
                    tally.total / tally.received, tally.maximum);
}

} // namespace

int runPing(int argc, char** argv) {
    Options options;
    int status = parse(argc, argv, options);
    if (status != tool::kOk)
        return status;
    if (options.interface != nullptr && if_nametoindex(options.interface) == 0)
        return tool::fail(tool::kFailed, "no interface '%s': list them with 'ip link'",
                          options.interface);
    sockaddr_in target{};
    if (!resolve(options.host, target))
        return tool::fail(tool::kFailed, "cannot resolve '%s': check the name", options.host);
    // The client takes its identifier from rand(); seeded here so that two pings at once
    // do not take each other's replies.
    std::srand(static_cast<unsigned>(std::time(nullptr)) ^ static_cast<unsigned>(getpid()));
    Prober* prober = nullptr;
    bool raw = rawSocketsAllowed();
    if (raw)
        prober = new RawProber;
    else if ((status = datagramFallback(options, target, prober)) != tool::kOk)
        return status;

    char dotted[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &target.sin_addr, dotted, sizeof dotted);
    std::printf("PING %s (%s): %s socket\n", options.host, dotted, raw ? "raw" : "datagram");
    Tally tally;
    status = probeAll(options, *prober, dotted, tally);
    delete prober;
    printStatistics(options.host, tally);
    if (status != tool::kOk)
        return status;
    if (tally.received == 0)
        return tool::fail(tool::kFailed, "no reply from %s: is the host up and the route right?",
                          options.host);
    return tool::kOk;
}
