// A supervised daemon: configuration, logging at the configured level, watchdog
// registration and feeding, and a clean stop on SIGTERM.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/system/LogInit.h>
#include <orvik_utilities/system/Watchdog.h>

#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <ctime>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int) { stopRequested = 1; }

// Sleeps the interval; a signal ends the sleep early so that SIGTERM is seen at once.
void sleepFor(long seconds) {
    timespec interval{seconds, 0};
    nanosleep(&interval, nullptr);
}

} // namespace

int main(int argc, char** argv) {
    char const* configFile = argc > 1 ? argv[1] : "/etc/orvik-supervised-daemon.cfg";
    ConfigReader config;
    if (!config.initialize(String(configFile), 16))
        std::fprintf(stderr, "orvik-supervised-daemon: %s unreadable, running on defaults\n",
                     configFile);
    // syslog keeps the identity pointer for the life of the process: a static copy holds it.
    static String name;
    name = config.getValue(String("name"), String("orvik-supervised-daemon"));
    long interval = config.getValueAsInt(String("feed_interval"), 5);
    long timeout = config.getValueAsInt(String("watchdog_timeout"), 30);
    long ticks = config.getValueAsInt(String("max_ticks"), 0);
    if (interval < 1)
        interval = 1;

    sorrelLogInit(name.buffer());

    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);

    // The watchdog service restarts the daemon when the feeds stop for longer than the
    // registered value; the value's meaning is the service's.
    if (kx_watchdog_register(static_cast<unsigned int>(timeout), 0, name.buffer()) == 0)
        syslog(LOG_WARNING, "watchdog service not reached; running unsupervised");
    syslog(LOG_NOTICE, "started, feeding every %ld s", interval);
    std::printf("%s: started, pid %d\n", name.buffer(), static_cast<int>(getpid()));
    std::fflush(stdout);

    for (long tick = 1; !stopRequested && (ticks == 0 || tick <= ticks); ++tick) {
        kx_watchdog_feed(0);
        syslog(LOG_DEBUG, "tick %ld", tick);
        sleepFor(interval);
    }

    kx_watchdog_unregister(0);
    syslog(LOG_NOTICE, "stopped");
    std::printf("%s: stopped\n", name.buffer());
    return 0;
}
