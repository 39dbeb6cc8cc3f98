// A small daemon for the sandbox's checks: each word on its command line makes it use one
// of the library's device services the way a daemon does, and print what it saw.
#include <orvik_utilities/net/RawPing.h>
#include <orvik_utilities/system/IpInterfaceStatus.h>
#include <orvik_utilities/system/KelvoInformation.h>
#include <orvik_utilities/system/LedControl.h>
#include <orvik_utilities/system/LogInit.h>
#include <orvik_utilities/system/ProcessControl.h>
#include <orvik_utilities/system/Watchdog.h>

#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        char const* const word = argv[i];
        if (std::strcmp(word, "model") == 0) {
            KelvoInformation info;
            bool const found = info.setup();
            std::printf("model %d %d\n", found ? 1 : 0, int(info.getModel()));
        } else if (std::strcmp(word, "log") == 0) {
            sorrelLogInit("probed");
            syslog(LOG_ERR, "probe %s", "started");
        } else if (std::strcmp(word, "watchdog") == 0) {
            kx_watchdog_register(5, 0, "probed");
            kx_watchdog_feed(0);
        } else if (std::strcmp(word, "leds") == 0) {
            LedControl leds;
            leds.setLed(LED_READY, LED_SLOW);
            leds.displayWwanRssi(-80);
        } else if (std::strcmp(word, "uplink") == 0) {
            std::printf("uplink %d\n", IpInterfaceStatus().haveNetworkConnectivity() ? 1 : 0);
        } else if (std::strcmp(word, "carrier") == 0) {
            std::printf("carrier %d\n", IpInterfaceStatus().isInterfaceLinkUp("wan0") ? 1 : 0);
        } else if (std::strcmp(word, "far") == 0) {
            std::printf("far %d\n", rawping("wan0", "192.0.2.1", "10.0.0.1"));
        } else if (std::strcmp(word, "processes") == 0) {
            ProcessControl table;
            table.refresh(false);
            std::printf("processes %d\n", table.getNumberOfProcessesByName("sleep 77"));
        } else if (std::strcmp(word, "ticks") == 0) {
            // Debug lines for a while: they appear once a reload raises the level.
            sorrelLogInit("probed");
            std::printf("ticking\n");
            std::fflush(stdout);
            for (int tick = 0; tick < 100; ++tick) {
                syslog(LOG_DEBUG, "tick %d", tick);
                usleep(50000);
            }
        } else {
            std::fprintf(stderr, "unknown word %s\n", word);
            return 2;
        }
        std::fflush(stdout);
    }
    return 0;
}
