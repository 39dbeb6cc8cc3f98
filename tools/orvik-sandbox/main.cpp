// orvik-sandbox [OPTIONS] -- COMMAND [ARGS...]: runs COMMAND in private mount, network, PID
// and UTS namespaces that hold the device's world, shows what it does to that world, and
// leaves nothing behind. Its exit status is COMMAND's.
#include "DeviceNetwork.h"
#include "Events.h"
#include "Namespaces.h"
#include "Services.h"
#include "SummaryOpens.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace orvik_sandbox;

namespace {

constexpr int kSetupFailed = 125; // as env(1) and timeout(1): the tool failed, not COMMAND
constexpr int kNoPrivilege = 2;

struct Options {
    std::string model = "TQ5851";
    std::map<std::string, int> levels;
    bool signalReload = false;
    bool uplink = false;
    NetworkOptions network;
    int watchdogTimeout = 0;
    std::string eventsFile;
    std::string control;
    bool quiet = false;
    bool interactive = false;
    std::vector<std::string> command;
};

[[noreturn]] void usage(char const* problem) {
    std::fprintf(stderr,
                 "orvik-sandbox: %s\n"
                 "usage: orvik-sandbox [OPTIONS] -- COMMAND [ARGS...]\n"
                 "       orvik-sandbox --send NAME WORDS...\n"
                 "see orvik-sandbox(1)\n",
                 problem);
    std::exit(kSetupFailed);
}

int level(std::string const& text) {
    static char const* const names[] = {"emerg",   "alert",  "crit", "err",
                                        "warning", "notice", "info", "debug"};
    for (int i = 0; i < 8; ++i)
        if (text == names[i] || text == std::to_string(i))
            return i;
    return -1;
}

// "20%" or "20"; "50ms" or "50".
int amount(std::string const& text, char const* unit, int most) {
    char* end = nullptr;
    long const value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || value < 0 || value > most ||
        (*end != '\0' && std::strcmp(end, unit) != 0))
        usage(("not a number of " + std::string(unit) + ": " + text).c_str());
    return int(value);
}

// PROGRAM=LEVEL, the level a number 0-7 or a priority name.
void addLevel(Options& options, std::string const& setting) {
    std::size_t const equals = setting.find('=');
    if (equals == 0 || equals == std::string::npos ||
        setting.find_first_of(" \t\n") != std::string::npos ||
        level(setting.substr(equals + 1)) < 0)
        usage(("--log-level wants PROGRAM=LEVEL (0-7 or a priority name): " + setting).c_str());
    options.levels[setting.substr(0, equals)] = level(setting.substr(equals + 1));
}

void dropCarrier(Options& options, std::string const& name) {
    if (name == "wan0")
        options.network.wanCarrier = false;
    else if (name == "lan0")
        options.network.lanCarrier = false;
    else
        usage(("--no-carrier takes wan0 or lan0, not " + name).c_str());
}

[[noreturn]] void printHelp() {
    std::printf("usage: orvik-sandbox [OPTIONS] -- COMMAND [ARGS...]\n"
                "       orvik-sandbox --send NAME WORDS...\n"
                "options: --model NAME|none  --log-level PROGRAM=LEVEL  --signal-reload\n"
                "         --uplink  --no-carrier wan0|lan0  --loss N%%  --delay Nms\n"
                "         --watchdog-timeout S  --events FILE  --control NAME\n"
                "         --interactive  --quiet\n");
    std::exit(0);
}

Options parse(int argc, char** argv) {
    Options options;
    int i = 1;
    auto value = [&](char const* name) -> std::string {
        if (i + 1 >= argc)
            usage((std::string(name) + " needs a value").c_str());
        return argv[++i];
    };
    for (; i < argc; ++i) {
        std::string const option = argv[i];
        if (option == "--") {
            ++i;
            break;
        }
        if (option == "--model")
            options.model = value("--model");
        else if (option == "--log-level")
            addLevel(options, value("--log-level"));
        else if (option == "--signal-reload")
            options.signalReload = true;
        else if (option == "--uplink")
            options.uplink = true;
        else if (option == "--no-carrier")
            dropCarrier(options, value("--no-carrier"));
        else if (option == "--loss")
            options.network.lossPercent = amount(value("--loss"), "%", 100);
        else if (option == "--delay")
            options.network.delayMs = amount(value("--delay"), "ms", 60000);
        else if (option == "--watchdog-timeout")
            options.watchdogTimeout = amount(value("--watchdog-timeout"), "s", 86400);
        else if (option == "--events")
            options.eventsFile = value("--events");
        else if (option == "--control")
            options.control = value("--control");
        else if (option == "--quiet" || option == "-q")
            options.quiet = true;
        else if (option == "--interactive")
            options.interactive = true;
        else if (option == "--help" || option == "-h")
            printHelp();
        else if (!option.empty() && option[0] == '-')
            usage(("unknown option " + option).c_str());
        else
            break;
    }
    for (; i < argc; ++i)
        options.command.push_back(argv[i]);
    if (options.command.empty())
        usage("no COMMAND given");
    if (options.model == "none")
        options.model.clear();
    return options;
}

// The control socket's abstract address (no file anywhere).
sockaddr_un controlAddress(std::string const& name, socklen_t* length) {
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    std::size_t const size = std::min(name.size(), sizeof address.sun_path - 1);
    std::memcpy(address.sun_path + 1, name.data(), size);
    *length = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + size);
    return address;
}

int sendControl(std::string const& name, std::vector<std::string> const& words) {
    socklen_t length;
    sockaddr_un const address = controlAddress(name, &length);
    int const fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr const*>(&address), length) != 0) {
        std::fprintf(stderr, "orvik-sandbox: no sandbox listens as %s: %s\n", name.c_str(),
                     std::strerror(errno));
        return 1;
    }
    std::string line;
    for (std::string const& word : words)
        line += (line.empty() ? "" : " ") + word;
    line += "\n";
    if (write(fd, line.data(), line.size()) != ssize_t(line.size()))
        return 1;
    shutdown(fd, SHUT_WR);
    std::string reply;
    char chunk[256];
    ssize_t got;
    while ((got = read(fd, chunk, sizeof chunk)) > 0)
        reply.append(chunk, std::size_t(got));
    close(fd);
    std::fputs(reply.c_str(), stdout);
    return reply.compare(0, 2, "ok") == 0 ? 0 : 1;
}

bool hasCapability(int capability) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (syscall(SYS_capget, &header, data) != 0)
        return false;
    return (data[capability / 32].effective >> (capability % 32)) & 1u;
}

[[noreturn]] void refuse(std::string const& what) {
    std::fprintf(stderr, "orvik-sandbox: %s\n", what.c_str());
    std::exit(kNoPrivilege);
}

// Root (or the two capabilities) runs as is; anyone else gets a user namespace where the
// kernel allows unprivileged ones, with their own user as root in it.
void acquirePrivileges() {
    bool const admin = hasCapability(CAP_SYS_ADMIN);
    bool const netAdmin = hasCapability(CAP_NET_ADMIN);
    if (admin && netAdmin)
        return;
    if (geteuid() == 0)
        refuse(std::string("needs ") + (admin ? "" : "CAP_SYS_ADMIN (namespaces and mounts)") +
               (admin || netAdmin ? "" : " and ") +
               (netAdmin ? "" : "CAP_NET_ADMIN (interfaces and routes)") +
               ", which this root process lacks");
    uid_t const uid = geteuid();
    gid_t const gid = getegid();
    if (unshare(CLONE_NEWUSER) != 0)
        refuse("needs CAP_SYS_ADMIN and CAP_NET_ADMIN (run it as root), or unprivileged user "
               "namespaces, which this kernel refuses: " +
               errnoText("unshare(CLONE_NEWUSER)"));
    if (!writeFile("/proc/self/setgroups", "deny") ||
        !writeFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1\n") ||
        !writeFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1\n"))
        refuse("needs root: cannot map this user to root in a user namespace: " +
               errnoText("writing the id maps"));
}

void step(bool done, std::string const& what) {
    if (done)
        return;
    std::fprintf(stderr, "orvik-sandbox: %s\n", what.c_str());
    // Without permission it is a privilege the caller lacks, not a fault of the tool.
    std::exit(what.find("Operation not permitted") != std::string::npos ? kNoPrivilege
                                                                        : kSetupFailed);
}

volatile sig_atomic_t commandPid = 0;

void forward(int signal) {
    if (commandPid > 0)
        kill(commandPid, signal);
}

// Passes the usual signals on to child until it ends, then ends with its status (128 plus
// the signal number when a signal ended it). Expects every signal blocked.
[[noreturn]] void passOn(pid_t child) {
    commandPid = child;
    struct sigaction handler = {};
    handler.sa_handler = forward;
    for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2})
        sigaction(signal, &handler, nullptr);
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_UNBLOCK, &all, nullptr);
    for (;;) {
        int status = 0;
        pid_t const ended = wait(&status);
        if (ended < 0 && errno == ECHILD)
            _exit(kSetupFailed);
        if (ended == child)
            _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    }
}

// Process 1 of the PID namespace: a fresh /proc, then COMMAND, whose end ends everything
// in the namespace. Its exit status is COMMAND's.
[[noreturn]] void runInit(Options const& options, int channel, bool keys) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        std::fprintf(stderr, "orvik-sandbox: %s\n", errnoText("a /proc of its own").c_str());
        _exit(kSetupFailed);
    }
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    pid_t const child = fork();
    if (child == 0) {
        sigprocmask(SIG_UNBLOCK, &all, nullptr);
        std::string why;
        int const listener = installOpenFilter(&why);
        if (listener < 0) {
            // No filter (an emulator, an old kernel): a picture of /proc taken now, with the
            // summary in it, in a mount namespace of COMMAND's own.
            MountNamespace picture;
            if (picture.entered() && provideSummary(picture, summaryText(options.model), &why))
                picture.stay();
        }
        char const note = listener >= 0 ? 'y' : 'n';
        iovec part = {const_cast<char*>(&note), 1};
        alignas(cmsghdr) char room[CMSG_SPACE(sizeof(int))] = {};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        if (listener >= 0) {
            message.msg_control = room;
            message.msg_controllen = sizeof room;
            cmsghdr* header = CMSG_FIRSTHDR(&message);
            header->cmsg_level = SOL_SOCKET;
            header->cmsg_type = SCM_RIGHTS;
            header->cmsg_len = CMSG_LEN(sizeof(int));
            std::memcpy(CMSG_DATA(header), &listener, sizeof(int));
        }
        sendmsg(channel, &message, MSG_NOSIGNAL);
        close(channel);
        if (listener >= 0)
            close(listener);
        if (keys) { // the sandbox reads the terminal's keys
            int const nothing = open("/dev/null", O_RDONLY);
            dup2(nothing, STDIN_FILENO);
            close(nothing);
        }
        std::vector<char*> argv;
        for (std::string const& word : options.command)
            argv.push_back(const_cast<char*>(word.c_str()));
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        int const failure = errno;
        std::fprintf(stderr, "orvik-sandbox: cannot run %s: %s\n", argv[0], std::strerror(failure));
        _exit(failure == ENOENT ? 127 : 126);
    }
    close(channel);
    passOn(child);
}

// The PID namespace is entered in a child of its own, so that this process can still start
// others after process 1 has ended (a namespace without process 1 takes no more), and
// emulators that refuse namespace flags to clone still run the sandbox.
[[noreturn]] void runRelay(Options const& options, int channel, bool keys) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    if (unshare(CLONE_NEWPID) != 0) {
        std::fprintf(stderr, "orvik-sandbox: %s\n", errnoText("unshare(CLONE_NEWPID)").c_str());
        _exit(errno == EPERM ? kNoPrivilege : kSetupFailed);
    }
    pid_t const first = fork();
    if (first == 0)
        runInit(options, channel, keys);
    close(channel);
    passOn(first);
}

struct WatchdogClient {
    int pid = 0;
    std::string name;
    std::chrono::steady_clock::time_point fed;
    bool silent = false;
};

class Sandbox {
public:
    Sandbox(Options given, Events& out) : options(std::move(given)), events(out) {}
    int run();

private:
    void setUp();
    void startCommand();
    void onSyslog();
    void onWatchdog();
    void onLeds();
    void onControl();
    void onKey();
    void onChannel();
    void openControl();
    void takeKeys();
    void blockSignals();
    bool pollOnce(); // false when poll itself fails
    int reap();      // COMMAND's exit status once it ended, else -1
    void checkWatchdogs();
    std::string command(std::string const& line);
    void writeLevels();
    void toggleUplink(int want); // 0 off, 1 on, -1 toggle

    Options options;
    Events& events;
    std::unique_ptr<MountNamespace> mounts;
    std::unique_ptr<NetworkNamespace> network;
    std::unique_ptr<DeviceNetwork> device;
    std::unique_ptr<SummaryOpens> summary;
    std::map<std::string, int> levels;
    DatagramSocket syslog;
    DatagramSocket watchdog;
    std::map<std::string, WatchdogClient> clients; // by sender path
    std::string ledPending;
    int leds = -1;
    int control = -1;
    int signals = -1;
    int channel = -1; // from the child about to run COMMAND
    pid_t relay = -1; // the parent of process 1 of the sandbox's PID namespace
    bool keys = false;
    termios savedTerminal = {};
};

void Sandbox::setUp() {
    std::string why;
    mounts = std::make_unique<MountNamespace>();
    step(mounts->entered(), mounts->error());
    network = std::make_unique<NetworkNamespace>();
    step(network->entered(), network->error());
    step(unshare(CLONE_NEWUTS) == 0, errnoText("unshare(CLONE_NEWUTS)"));
    step(sethostname("orvik-device", 12) == 0, errnoText("sethostname"));
    // A sysfs of the new network namespace: /sys/class/net lists the device's interfaces.
    step(mounts->mountNew("sysfs", "/sys"), mounts->error());
    leds = serveLeds(*mounts, &why);
    step(leds >= 0, why);
    step(serveSyslog(*mounts, syslog, &why), why);
    step(serveWatchdog(*mounts, true, watchdog, &why), why);
    levels = options.levels;
    std::string text;
    for (auto const& entry : levels)
        text += levelLine(entry.first, entry.second);
    step(provideLevelFile(*mounts, text, &why), why);
    step(setUplink(options.uplink, &why), why);
    device = std::make_unique<DeviceNetwork>(*network, options.network);
    std::string problem = device->error();
    if (problem.find("qdisc kind is unknown") != std::string::npos)
        problem = "--loss and --delay need the kernel's netem queueing discipline (sch_netem), "
                  "which this kernel lacks";
    step(device->ready(), problem);
    summary = std::make_unique<SummaryOpens>(summaryText(options.model));
}

void Sandbox::startCommand() {
    int pair[2];
    step(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, pair) == 0, errnoText("socketpair"));
    relay = fork();
    step(relay >= 0, errnoText("fork"));
    if (relay == 0) {
        close(pair[0]);
        runRelay(options, pair[1], keys);
    }
    close(pair[1]);
    channel = pair[0];
    events.emit("start", {{"pid", std::to_string(relay)},
                          {"control", options.control},
                          {"model", options.model.empty() ? "none" : options.model},
                          {"uplink", options.uplink ? "up" : "down"}});
}

void Sandbox::writeLevels() {
    std::string text;
    for (auto const& entry : levels)
        text += levelLine(entry.first, entry.second);
    writeFile(kLevelFile, text);
}

void Sandbox::toggleUplink(int want) {
    bool const up = want < 0 ? !uplinkPresent() : want == 1;
    std::string why;
    if (setUplink(up, &why))
        events.uplink(up);
}

std::string Sandbox::command(std::string const& line) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < line.size();) {
        std::size_t const end = line.find_first_of(" \t\r\n", at);
        if (end != at)
            words.push_back(line.substr(at, end - at));
        at = end == std::string::npos ? line.size() : end + 1;
    }
    if (words.size() == 2 && words[0] == "uplink" &&
        (words[1] == "on" || words[1] == "off" || words[1] == "toggle")) {
        toggleUplink(words[1] == "on" ? 1 : words[1] == "off" ? 0 : -1);
        return std::string("ok uplink ") + (uplinkPresent() ? "up" : "down") + "\n";
    }
    if (words.size() == 2 && words[0] == "log-level") {
        std::size_t const equals = words[1].find('=');
        int const value = equals == std::string::npos ? -1 : level(words[1].substr(equals + 1));
        if (equals == 0 || value < 0)
            return "error: log-level wants PROGRAM=LEVEL\n";
        std::string const program = words[1].substr(0, equals);
        levels[program] = value;
        writeLevels();
        events.emit("log-level", {{"program", program}, {"level", std::to_string(value)}});
        if (options.signalReload && kill(relay, SIGUSR1) == 0)
            events.emit("reload", {{"signal", "SIGUSR1"}});
        return "ok\n";
    }
    if (words.size() == 1 && words[0] == "reload") {
        kill(relay, SIGUSR1);
        events.emit("reload", {{"signal", "SIGUSR1"}});
        return "ok\n";
    }
    return "error: commands are: uplink on|off|toggle, log-level PROGRAM=LEVEL, reload\n";
}

void Sandbox::onSyslog() {
    for (Datagram const& datagram : syslog.drain()) {
        SyslogLine const line = parseSyslog(datagram.bytes);
        if (line.facility < 0) {
            events.emit("syslog", {{"raw", datagram.bytes}});
            continue;
        }
        Fields fields = {{"facility", facilityName(line.facility)},
                         {"priority", priorityName(line.priority)},
                         {"ident", line.ident}};
        if (line.pid >= 0)
            fields.push_back({"pid", std::to_string(line.pid)});
        fields.push_back({"text", line.text});
        events.emit("syslog", fields);
    }
}

void Sandbox::onWatchdog() {
    auto const now = std::chrono::steady_clock::now();
    for (Datagram const& datagram : watchdog.drain()) {
        WatchdogMessage const message = decodeWatchdog(datagram);
        // Only a registration names its client; the others come from its socket.
        auto const known = clients.find(message.sender);
        std::string const name =
            !message.name.empty() || known == clients.end() ? message.name : known->second.name;
        Fields fields = {{"command", watchdogCommandName(message.command)},
                         {"client", name},
                         {"pid", std::to_string(message.pid)},
                         {"timeout", std::to_string(message.value)},
                         {"sender", message.sender}};
        if (!message.whole)
            fields.push_back({"bytes", std::to_string(datagram.bytes.size())});
        events.emit("watchdog", fields);
        WatchdogClient& client = clients[message.sender];
        if (message.command == 1) {
            client.name = message.name;
            client.pid = message.pid;
        }
        if (message.command == 2)
            clients.erase(message.sender);
        else if (message.command == 1 || message.command == 3) {
            client.fed = now;
            client.silent = false;
        } else if (client.name.empty() && client.pid == 0)
            clients.erase(message.sender); // a configuration alone is no client yet
    }
}

void Sandbox::checkWatchdogs() {
    if (options.watchdogTimeout <= 0)
        return;
    auto const now = std::chrono::steady_clock::now();
    for (auto& entry : clients) {
        WatchdogClient& client = entry.second;
        if (!client.silent && now - client.fed >= std::chrono::seconds(options.watchdogTimeout)) {
            client.silent = true;
            events.emit("watchdog-silent", {{"client", client.name},
                                            {"pid", std::to_string(client.pid)},
                                            {"seconds", std::to_string(options.watchdogTimeout)}});
        }
    }
}

void Sandbox::onLeds() {
    char chunk[512];
    ssize_t got;
    while ((got = read(leds, chunk, sizeof chunk)) > 0)
        ledPending.append(chunk, std::size_t(got));
    std::string rest;
    for (LedEvent const& event : parseLedEvents(ledPending, &rest))
        events.led(event.led, event.state);
    if (!rest.empty() && rest.size() >= 12) { // no event starts that way
        events.emit("led", {{"unknown", rest}});
        rest.clear();
    }
    ledPending = rest;
}

void Sandbox::onControl() {
    int const client = accept4(control, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0)
        return;
    // A short request; a client that sends nothing in a second gets nothing.
    std::string line;
    char chunk[256];
    while (line.find('\n') == std::string::npos && line.size() < 4096 && readable(client, 1000)) {
        ssize_t const got = read(client, chunk, sizeof chunk);
        if (got <= 0)
            break;
        line.append(chunk, std::size_t(got));
    }
    std::string const reply = command(line.substr(0, line.find('\n')));
    ssize_t const written = write(client, reply.data(), reply.size());
    (void)written;
    close(client);
}

void Sandbox::onKey() {
    char key = 0;
    if (read(STDIN_FILENO, &key, 1) == 1 && (key == 'u' || key == 'U'))
        toggleUplink(-1);
}

// Bound before the network namespace changes: abstract names belong to a namespace, and
// this one should be reachable from the host. Nothing of it stays on disk.
void Sandbox::openControl() {
    std::string name = options.control;
    if (name.empty())
        name = "orvik-sandbox." + std::to_string(getpid());
    options.control = name;
    socklen_t length;
    sockaddr_un const address = controlAddress(name, &length);
    control = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    step(control >= 0 && bind(control, reinterpret_cast<sockaddr const*>(&address), length) == 0 &&
             listen(control, 4) == 0,
         errnoText("control socket @" + name));
}

// On a terminal, single key presses (the uplink toggle) reach the sandbox unechoed.
void Sandbox::takeKeys() {
    keys = !options.interactive && isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
    if (keys && tcgetattr(STDIN_FILENO, &savedTerminal) == 0) {
        termios raw = savedTerminal;
        raw.c_lflag &= ~tcflag_t(ICANON | ECHO);
        raw.c_cc[VMIN] = 1;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    } else
        keys = false;
}

void Sandbox::blockSignals() {
    sigset_t handled;
    sigemptyset(&handled);
    for (int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGPIPE})
        sigaddset(&handled, signal);
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    signals = signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK);
}

// The child about to run COMMAND sends the seccomp listener for the summary, or a bare
// byte where no filter could be installed.
void Sandbox::onChannel() {
    char note = 0;
    alignas(cmsghdr) char room[CMSG_SPACE(sizeof(int))] = {};
    iovec part = {&note, 1};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = room;
    message.msg_controllen = sizeof room;
    if (recvmsg(channel, &message, MSG_CMSG_CLOEXEC) == 1) {
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        if (header != nullptr && header->cmsg_type == SCM_RIGHTS) {
            int listener;
            std::memcpy(&listener, CMSG_DATA(header), sizeof listener);
            summary->listen(listener);
        } else
            events.emit("warning", {{"text", "no seccomp filter: /proc is a picture of "
                                             "the start, with the summary in it"}});
    }
    close(channel);
    channel = -1;
}

bool Sandbox::pollOnce() {
    std::vector<pollfd> watched = {{signals, POLLIN, 0},
                                   {syslog.descriptor(), POLLIN, 0},
                                   {watchdog.descriptor(), POLLIN, 0},
                                   {leds, POLLIN, 0},
                                   {control, POLLIN, 0},
                                   {channel, POLLIN, 0},
                                   {summary->descriptor(), POLLIN, 0},
                                   {keys ? STDIN_FILENO : -1, POLLIN, 0}};
    int const timeout = options.watchdogTimeout > 0 && !clients.empty() ? 200 : -1;
    if (poll(watched.data(), watched.size(), timeout) < 0)
        return errno == EINTR;
    if (watched[6].revents & POLLIN) {
        int pid = 0;
        if (summary->answer(&pid))
            events.emit("summary", {{"reader", std::to_string(pid)}});
    } else if (watched[6].revents & (POLLHUP | POLLERR))
        summary->listen(-1); // every process under the filter has gone
    if (watched[1].revents & POLLIN)
        onSyslog();
    if (watched[2].revents & POLLIN)
        onWatchdog();
    if (watched[3].revents & POLLIN)
        onLeds();
    if (watched[4].revents & POLLIN)
        onControl();
    if (watched[7].revents & POLLIN)
        onKey();
    if (watched[5].revents & (POLLIN | POLLHUP))
        onChannel();
    return true;
}

// Ended children are collected; other signals go on to COMMAND through the relay.
int Sandbox::reap() {
    int exitStatus = -1;
    signalfd_siginfo info;
    while (read(signals, &info, sizeof info) == ssize_t(sizeof info)) {
        if (info.ssi_signo == SIGCHLD) {
            int status = 0;
            while (pid_t const ended = waitpid(-1, &status, WNOHANG)) {
                if (ended < 0)
                    break;
                if (ended == relay)
                    exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
        } else if (info.ssi_signo != SIGPIPE && relay > 0)
            kill(relay, int(info.ssi_signo));
    }
    return exitStatus;
}

int Sandbox::run() {
    openControl();
    acquirePrivileges();
    setUp();
    takeKeys();
    blockSignals();
    startCommand();
    if (options.uplink)
        events.uplink(true);

    int exitStatus = -1;
    while (exitStatus < 0) {
        if (!pollOnce())
            break;
        checkWatchdogs();
        exitStatus = reap();
    }
    // Whatever COMMAND left queued is still shown.
    onSyslog();
    onWatchdog();
    onLeds();
    events.emit("exit", {{"status", std::to_string(exitStatus)}});
    events.finish();
    if (keys)
        tcsetattr(STDIN_FILENO, TCSANOW, &savedTerminal);
    close(leds);
    close(control);
    // Everything ends with this process; there is nothing to return to.
    mounts->stay();
    network->stay();
    return exitStatus;
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strcmp(argv[1], "--send") == 0)
        return sendControl(argv[2], std::vector<std::string>(argv + 3, argv + argc));
    Options const options = parse(argc, argv);
    int eventsFile = -1;
    if (!options.eventsFile.empty()) {
        eventsFile =
            open(options.eventsFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (eventsFile < 0) {
            std::fprintf(stderr, "orvik-sandbox: %s\n", errnoText(options.eventsFile).c_str());
            return kSetupFailed;
        }
    }
    Events events(eventsFile, !options.quiet, !options.quiet && isatty(STDERR_FILENO));
    Sandbox sandbox(options, events);
    int const status = sandbox.run();
    if (eventsFile >= 0)
        close(eventsFile);
    return status;
}
