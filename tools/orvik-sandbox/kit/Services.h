// The device's services at their fixed paths, inside a private mount namespace: the
// syslog and watchdog sockets, the LED event FIFO, the level file, the system summary and
// the uplink status file, with readers for what the daemons send them.
#ifndef ORVIK_SANDBOX_KIT_SERVICES_H
#define ORVIK_SANDBOX_KIT_SERVICES_H

#include "Namespaces.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvik_sandbox {

constexpr char kSyslogSocket[] = "/dev/log";
constexpr char kWatchdogSocket[] = "/tmp/.watchdog_api";
constexpr char kLedDirectory[] = "/sys/devices/system/leds/leds0";
constexpr char kLedEventFile[] = "/sys/devices/system/leds/leds0/event";
constexpr char kLevelFile[] = "/etc/log/log.cfg";
constexpr char kSummaryFile[] = "/proc/sysinfo/summary";
constexpr char kUplinkDirectory[] = "/tmp/status/linkGroupManager/hotLink.0";
constexpr char kUplinkFile[] = "/tmp/status/linkGroupManager/hotLink.0/name";

struct Datagram {
    std::string bytes;
    std::string sender; // the sender's bound path, "" when unbound
};

// An AF_UNIX datagram socket bound at a path, read as a system service reads it. The socket
// file stays where it is: it belongs on a private tmpfs.
class DatagramSocket {
public:
    DatagramSocket() = default;
    ~DatagramSocket();
    DatagramSocket(DatagramSocket const&) = delete;
    DatagramSocket& operator=(DatagramSocket const&) = delete;

    bool bind(std::string const& path, std::string* why);
    bool bound() const { return fd >= 0; }
    int descriptor() const { return fd; }
    // Every datagram queued now, oldest first. Senders block when about ten datagrams wait
    // unread (net.unix.max_dgram_qlen), so drain between bursts.
    std::vector<Datagram> drain();
    // Waits up to timeoutMs until at least count datagrams have come (those drained
    // included), and returns them all.
    std::vector<Datagram> receive(std::size_t count, int timeoutMs = 2000);

private:
    int fd = -1;
};

// One line as the C library's syslog sends it: "<facility|priority>Mmm dd hh:mm:ss
// ident[pid]: text".
struct SyslogLine {
    int facility = -1; // LOG_USER is 8
    int priority = -1; // 0 (LOG_EMERG) .. 7 (LOG_DEBUG)
    std::string ident;
    long pid = -1;
    std::string text;
    std::string raw;
};
SyslogLine parseSyslog(std::string const& raw);
char const* facilityName(int facility);
char const* priorityName(int priority);

// The 76-byte watchdog datagram: command, pid and value as little-endian words, then the
// client's name zero-padded to 64 bytes.
struct WatchdogMessage {
    bool whole = false; // exactly 76 bytes
    uint32_t command = 0;
    int32_t pid = 0;
    uint32_t value = 0; // the timeout, for a registration
    std::string name;
    std::string sender;
};
constexpr std::size_t kWatchdogMessageSize = 76;
WatchdogMessage decodeWatchdog(Datagram const& datagram);
// "register", "unregister", "feed", "config", or the number.
std::string watchdogCommandName(uint32_t command);

// The LED event file: one write per event, "<led> <state>" without a newline, so events
// read together run into each other ("sig0 ononbrd fast").
struct LedEvent {
    std::string led;
    std::string state;
};
extern char const* const kLedNames[11];
extern char const* const kLedStates[4];
// The events in text, and in *rest what is left over (an unknown or cut event).
std::vector<LedEvent> parseLedEvents(std::string const& text, std::string* rest);

// /dev shadowed (its devices stay usable) and a receiver bound at /dev/log.
bool serveSyslog(MountNamespace& ns, DatagramSocket& socket, std::string* why);
// A tmpfs over /tmp (shadow: host entries stay visible) and the service at its socket.
bool serveWatchdog(MountNamespace& ns, bool shadowTmp, DatagramSocket& socket, std::string* why);
// The event file as a FIFO opened for reading and writing (so it never reports end of
// file when a writer closes), non-blocking; returns its descriptor or -1.
int serveLeds(MountNamespace& ns, std::string* why);
// A private /etc/log holding the level file, with text in it ("" leaves no file).
bool provideLevelFile(MountNamespace& ns, std::string const& text, std::string* why);
// A system summary at its path, over a shadow of /proc: a picture of /proc taken now, for a
// process that needs no live process table (the sandbox instead answers opens of the path).
bool provideSummary(MountNamespace& ns, std::string const& text, std::string* why);
// The summary a device of this product type shows; "" names no product.
std::string summaryText(std::string const& model);
// "PROGRAM LEVEL" lines of the level file.
std::string levelLine(std::string const& program, int level);
// Makes or removes the uplink status file (its directories stay).
bool setUplink(bool up, std::string* why);
bool uplinkPresent();

} // namespace orvik_sandbox

#endif
