// A syslog daemon stand-in: the datagram socket /dev/log inside a private mount namespace.
#ifndef ORVIK_TESTS_SUPPORT_SYSLOG_RECEIVER_H
#define ORVIK_TESTS_SUPPORT_SYSLOG_RECEIVER_H

#include "support/MountNamespace.h"
#include "support/UnixDatagramReceiver.h"

#include <memory>
#include <string>
#include <vector>

namespace orvik_test {

// One message as the C library's syslog sends it: "<facility|priority>Mmm dd hh:mm:ss
// ident[pid]: text".
struct SyslogMessage {
    int facility = -1; // LOG_USER is 8
    int priority = -1; // 0 (LOG_EMERG) .. 7 (LOG_DEBUG)
    std::string ident;
    long pid = -1;
    std::string text;
    std::string raw;
};

// Shadows /dev in ns (its devices stay usable) and binds the receiver at /dev/log there, so
// openlog/syslog of this process and its children reach it.
class SyslogReceiver {
public:
    explicit SyslogReceiver(MountNamespace& ns);
    bool ready() const { return socket && socket->bound(); }
    // Every message queued now, oldest first.
    std::vector<SyslogMessage> drain();

private:
    std::unique_ptr<UnixDatagramReceiver> socket;
};

SyslogMessage parseSyslogMessage(std::string const& raw);

} // namespace orvik_test

#endif
