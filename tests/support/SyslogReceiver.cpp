#include "support/SyslogReceiver.h"

#include <cstdlib>

namespace orvik_test {

namespace {
constexpr char kLogSocket[] = "/dev/log";
constexpr std::size_t kTimestampLength = 16; // "Nov 23 12:47:00 "
} // namespace

SyslogReceiver::SyslogReceiver(MountNamespace& ns) {
    if (ns.shadow("/dev"))
        socket = std::make_unique<UnixDatagramReceiver>(kLogSocket);
}

std::vector<SyslogMessage> SyslogReceiver::drain() {
    std::vector<SyslogMessage> messages;
    if (socket)
        for (Datagram const& datagram : socket->drain())
            messages.push_back(parseSyslogMessage(datagram.bytes));
    return messages;
}

SyslogMessage parseSyslogMessage(std::string const& raw) {
    SyslogMessage message;
    message.raw = raw;
    std::size_t const close = raw.find('>');
    std::size_t const colon = raw.find("]: ");
    if (raw.empty() || raw[0] != '<' || close == std::string::npos || colon == std::string::npos)
        return message;
    int const value = std::atoi(raw.c_str() + 1);
    message.facility = value & ~7;
    message.priority = value & 7;
    std::size_t const identStart = close + 1 + kTimestampLength;
    std::size_t const bracket = raw.rfind('[', colon);
    if (bracket != std::string::npos && bracket >= identStart) {
        message.ident = raw.substr(identStart, bracket - identStart);
        message.pid = std::atol(raw.c_str() + bracket + 1);
    }
    message.text = raw.substr(colon + 3);
    while (!message.text.empty() && (message.text.back() == '\0' || message.text.back() == '\n'))
        message.text.pop_back();
    return message;
}

} // namespace orvik_test
