// Uplink checker: probes a target through one interface every few seconds with rawping and
// shows the answer on the ready LED (steady: answered, fast blinking: not).
#include <orvik_utilities/net/RawPing.h>
#include <orvik_utilities/numbers/IntegerText.h>
#include <orvik_utilities/system/LedControl.h>

#include <syslog.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int) { stopRequested = 1; }

int usage() {
    std::fprintf(stderr, "usage: orvik-uplink-check [-i SECONDS] [-n COUNT] DEVICE TARGET "
                         "[GATEWAY]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    int32_t interval = 5;
    int32_t count = 0;
    int first = 1;
    for (; first + 1 < argc && argv[first][0] == '-'; first += 2) {
        int32_t status = -1;
        int32_t value = validRangeValueOf32(&status, argv[first + 1], 0, 86400);
        if (status != 0)
            return usage();
        if (std::strcmp(argv[first], "-i") == 0)
            interval = value;
        else if (std::strcmp(argv[first], "-n") == 0)
            count = value;
        else
            return usage();
    }
    if (argc - first < 2 || argc - first > 3)
        return usage();
    char const* device = argv[first];
    char const* target = argv[first + 1];
    char const* gateway = argc - first == 3 ? argv[first + 2] : nullptr;

    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    // rawping explains its failures in syslog; a person at the console sees them too.
    openlog("orvik-uplink-check", LOG_PID | LOG_PERROR, LOG_USER);

    LedControl leds;
    int answered = 0;
    for (int32_t probe = 1; !stopRequested && (count == 0 || probe <= count); ++probe) {
        int up = rawping(device, target, gateway);
        answered += up;
        int led = leds.setLed(LED_READY, up ? LED_ON : LED_FAST);
        std::printf("%s via %s: %s%s\n", target, device, up ? "up" : "down",
                    led == 0 ? "" : " (LEDs not reachable)");
        std::fflush(stdout);
        if (count == 0 || probe < count) {
            timespec pause{interval, 0};
            nanosleep(&pause, nullptr);
        }
    }
    leds.setLed(LED_READY, LED_OFF);
    closelog();
    return answered > 0 ? 0 : 1;
}
