#include "Services.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace orvik_sandbox {

DatagramSocket::~DatagramSocket() {
    if (fd >= 0)
        close(fd);
}

bool DatagramSocket::bind(std::string const& path, std::string* why) {
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        *why = "socket path too long: " + path;
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    int const made = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (made < 0 || ::bind(made, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        *why = errnoText("cannot bind " + path);
        if (made >= 0)
            close(made);
        return false;
    }
    if (fd >= 0)
        close(fd);
    fd = made;
    return true;
}

std::vector<Datagram> DatagramSocket::drain() {
    std::vector<Datagram> received;
    while (fd >= 0) {
        char buffer[4096];
        sockaddr_un from;
        socklen_t fromLength = sizeof from;
        ssize_t const n = recvfrom(fd, buffer, sizeof buffer, MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&from), &fromLength);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            break;
        std::size_t const pathOffset = offsetof(sockaddr_un, sun_path);
        std::string sender;
        if (fromLength > pathOffset)
            sender.assign(from.sun_path, strnlen(from.sun_path, fromLength - pathOffset));
        received.push_back({std::string(buffer, std::size_t(n)), sender});
    }
    return received;
}

std::vector<Datagram> DatagramSocket::receive(std::size_t count, int timeoutMs) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::vector<Datagram> received = drain();
    while (received.size() < count) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !readable(fd, int(left.count())))
            break;
        for (Datagram& datagram : drain())
            received.push_back(std::move(datagram));
    }
    return received;
}

SyslogLine parseSyslog(std::string const& raw) {
    constexpr std::size_t kTimestampLength = 16; // "Nov 23 12:47:00 "
    SyslogLine line;
    line.raw = raw;
    std::size_t const close = raw.find('>');
    std::size_t const identStart = close == std::string::npos ? 0 : close + 1 + kTimestampLength;
    std::size_t const colon = raw.find(": ", identStart);
    if (raw.empty() || raw[0] != '<' || identStart > raw.size() || colon == std::string::npos)
        return line;
    int const value = std::atoi(raw.c_str() + 1);
    line.facility = value & ~7;
    line.priority = value & 7;
    line.ident = raw.substr(identStart, colon - identStart);
    std::size_t const bracket = line.ident.rfind('[');
    if (!line.ident.empty() && line.ident.back() == ']' && bracket != std::string::npos) {
        line.pid = std::atol(line.ident.c_str() + bracket + 1);
        line.ident.erase(bracket);
    }
    line.text = raw.substr(colon + 2);
    while (!line.text.empty() && (line.text.back() == '\0' || line.text.back() == '\n'))
        line.text.pop_back();
    return line;
}

char const* facilityName(int facility) {
    static char const* const names[] = {
        "kern",   "user",   "mail",     "daemon", "auth",   "syslog", "lpr",    "news",
        "uucp",   "cron",   "authpriv", "ftp",    "ntp",    "audit",  "alert",  "clock",
        "local0", "local1", "local2",   "local3", "local4", "local5", "local6", "local7"};
    int const index = facility >> 3;
    return facility >= 0 && index < 24 ? names[index] : "unknown";
}

char const* priorityName(int priority) {
    static char const* const names[] = {"emerg",   "alert",  "crit", "err",
                                        "warning", "notice", "info", "debug"};
    return priority >= 0 && priority < 8 ? names[priority] : "unknown";
}

namespace {

uint32_t littleEndianWord(std::string const& bytes, std::size_t at) {
    uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i)
        word |= uint32_t(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return word;
}

} // namespace

WatchdogMessage decodeWatchdog(Datagram const& datagram) {
    WatchdogMessage message;
    message.sender = datagram.sender;
    std::string const& bytes = datagram.bytes;
    message.whole = bytes.size() == kWatchdogMessageSize;
    if (bytes.size() < 12)
        return message;
    message.command = littleEndianWord(bytes, 0);
    message.pid = int32_t(littleEndianWord(bytes, 4));
    message.value = littleEndianWord(bytes, 8);
    std::string const name = bytes.substr(12, 64);
    message.name = name.substr(0, name.find('\0'));
    return message;
}

std::string watchdogCommandName(uint32_t command) {
    switch (command) {
    case 1:
        return "register";
    case 2:
        return "unregister";
    case 3:
        return "feed";
    case 4:
        return "config";
    default:
        return std::to_string(command);
    }
}

char const* const kLedNames[11] = {"pwr", "ready", "sig0", "sig1", "sig2", "sig3",
                                   "gsm", "wlan",  "vpn",  "gps",  "onbrd"};
char const* const kLedStates[4] = {"off", "on", "slow", "fast"};

namespace {

// The longest of names that text continues with at, or "".
std::string startingAt(std::string const& text, std::size_t at, char const* const* names,
                       std::size_t count) {
    std::string best;
    for (std::size_t i = 0; i < count; ++i)
        if (text.compare(at, std::strlen(names[i]), names[i]) == 0 &&
            std::strlen(names[i]) > best.size())
            best = names[i];
    return best;
}

} // namespace

std::vector<LedEvent> parseLedEvents(std::string const& text, std::string* rest) {
    std::vector<LedEvent> events;
    std::size_t at = 0;
    while (at < text.size()) {
        std::string const led = startingAt(text, at, kLedNames, 11);
        if (led.empty() || at + led.size() >= text.size() || text[at + led.size()] != ' ')
            break;
        std::string const state = startingAt(text, at + led.size() + 1, kLedStates, 4);
        if (state.empty())
            break;
        events.push_back({led, state});
        at += led.size() + 1 + state.size();
    }
    *rest = text.substr(at);
    return events;
}

bool serveSyslog(MountNamespace& ns, DatagramSocket& socket, std::string* why) {
    if (!ns.shadow("/dev")) {
        *why = ns.error();
        return false;
    }
    return socket.bind(kSyslogSocket, why);
}

bool serveWatchdog(MountNamespace& ns, bool shadowTmp, DatagramSocket& socket, std::string* why) {
    if (!(shadowTmp ? ns.shadow("/tmp") : ns.tmpfs("/tmp"))) {
        *why = ns.error();
        return false;
    }
    unlink(kWatchdogSocket); // a shadow shows the host's; this one is the sandbox's
    return socket.bind(kWatchdogSocket, why);
}

int serveLeds(MountNamespace& ns, std::string* why) {
    if (!ns.privateDir(kLedDirectory)) {
        *why = ns.error();
        return -1;
    }
    if (mkfifo(kLedEventFile, 0666) != 0) {
        *why = errnoText(std::string("mkfifo ") + kLedEventFile);
        return -1;
    }
    int const fd = open(kLedEventFile, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        *why = errnoText(std::string("opening ") + kLedEventFile);
    return fd;
}

bool provideLevelFile(MountNamespace& ns, std::string const& text, std::string* why) {
    if (!ns.privateDir("/etc/log")) {
        *why = ns.error();
        return false;
    }
    if (!text.empty() && !writeFile(kLevelFile, text)) {
        *why = errnoText(std::string("writing ") + kLevelFile);
        return false;
    }
    return true;
}

bool provideSummary(MountNamespace& ns, std::string const& text, std::string* why) {
    if (!ns.privateDir("/proc/sysinfo")) {
        *why = ns.error();
        return false;
    }
    if (!writeFile(kSummaryFile, text)) {
        *why = errnoText(std::string("writing ") + kSummaryFile);
        return false;
    }
    return true;
}

std::string summaryText(std::string const& model) {
    std::string text = "Kernel: 4.9.0\nHardware: sandbox\n";
    if (!model.empty())
        text += "Product type: " + model + "\n";
    return text + "Serial number: 0000000000\n";
}

std::string levelLine(std::string const& program, int level) {
    return program + " " + std::to_string(level) + "\n";
}

bool setUplink(bool up, std::string* why) {
    if (!up) {
        if (unlink(kUplinkFile) == 0 || errno == ENOENT)
            return true;
        *why = errnoText(std::string("removing ") + kUplinkFile);
        return false;
    }
    std::string path;
    for (std::size_t slash = 1; slash != std::string::npos;) {
        slash = std::string(kUplinkDirectory).find('/', slash + 1);
        path = std::string(kUplinkDirectory).substr(0, slash);
        if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
            *why = errnoText("making " + path);
            return false;
        }
    }
    if (!writeFile(kUplinkFile, "wan0\n")) {
        *why = errnoText(std::string("writing ") + kUplinkFile);
        return false;
    }
    return true;
}

bool uplinkPresent() {
    struct stat info;
    return stat(kUplinkFile, &info) == 0;
}

} // namespace orvik_sandbox
