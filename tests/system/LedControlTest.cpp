// LED event lines and signal bars, seen through an overriding setLed and through the event
// file (a FIFO read by the test) in a private mount namespace. The last readings are
// process-wide, so display calls run in fresh children.
#include <orvik_utilities/system/LedControl.h>

#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "support/VirtualSlot.h"
#include "system/LedEvent.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>

namespace {

using namespace orvik_test;

std::string const kLeds[] = {"pwr", "ready", "sig0", "sig1", "sig2", "sig3",
                             "gsm", "wlan",  "vpn",  "gps",  "onbrd"};
std::string const kStates[] = {"off", "on", "slow", "fast"};

TEST(LedControlTest, EventLinesNameEveryLedAndStateAndRefuseOthers) {
    char line[32];
    for (int led = 0; led < 11; ++led)
        for (int state = 0; state < 4; ++state) {
            ASSERT_EQ(orvik::detail::formatLedEvent(line, led, state), 0);
            EXPECT_EQ(line, kLeds[led] + " " + kStates[state]);
        }
    std::strcpy(line, "untouched");
    int const refused[][3] = {{11, 0, -1}, {-1, 3, -1}, {0, 4, -2}, {5, -1, -2}, {11, 4, -2}};
    for (auto const& row : refused)
        EXPECT_EQ(orvik::detail::formatLedEvent(line, row[0], row[1]), row[2]) << row[0];
    EXPECT_STREQ(line, "untouched");
    EXPECT_EQ(sizeof(LedControl), sizeof(void*));
    EXPECT_EQ(virtualSlot(&LedControl::setLed), 2);
    EXPECT_EQ(virtualSlot(&LedControl::displayWwanRssi), 3);
    EXPECT_EQ(virtualSlot(&LedControl::displayWlanRssi), 4);
}

TEST(LedControlTest, ThresholdsSplitTheReadingsIntoFourSegments) {
    int32_t const rows[][3] = {{INT32_MIN, 0, 0}, {-111, 0, 0}, {-110, 1, 0}, {-98, 1, 0},
                               {-97, 2, 0},       {-91, 2, 0},  {-90, 2, 1},  {-82, 2, 1},
                               {-81, 3, 1},       {-80, 3, 2},  {-71, 3, 2},  {-70, 3, 3},
                               {-64, 3, 3},       {-63, 4, 3},  {-61, 4, 3},  {-60, 4, 4}};
    for (auto const& row : rows) {
        EXPECT_EQ(orvik::detail::wwanSegments(row[0]), row[1]) << row[0];
        EXPECT_EQ(orvik::detail::wlanSegments(row[0]), row[2]) << row[0];
    }
}

// The lines a bar of lit segments writes: LED_SIG0..LED_SIG3, each on or off.
std::string bar(int lit) {
    std::string lines;
    for (int i = 0; i < 4; ++i)
        lines += "sig" + std::to_string(i) + (i < lit ? " on" : " off");
    return lines;
}

class RecordingLeds : public LedControl {
public:
    int setLed(LedName led, LedState state) override {
        seen += kLeds[led] + " " + kStates[state];
        return 0;
    }
    std::string seen;
};

TEST(LedControlTest, BarsChangeOnlyWithTheReadingAndGoThroughSetLed) {
    ChildRun const run = runInChild([] {
        RecordingLeds leds, other; // the last readings are shared by every object
        for (long rssi : {0L, -98L, -98L, -97L, -63L, -111L})
            leds.displayWwanRssi(rssi);
        other.displayWwanRssi(-111);
        // Readings within 2 of the last WLAN one (0 at first) change nothing; the
        // difference is exact, also between the extremes.
        for (long rssi : {2L, -2L, -75L, -73L, -72L, -61L, LONG_MIN, LONG_MAX, LONG_MAX - 1})
            leds.displayWlanRssi(rssi);
        return leds.seen + "|" + other.seen;
    });
    EXPECT_EQ(run.output,
              bar(1) + bar(2) + bar(4) + bar(0) + bar(2) + bar(2) + bar(3) + bar(0) + bar(4) + "|");
}

constexpr char kEventFile[] = "/sys/devices/system/leds/leds0/event";

class LedControlEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        ASSERT_TRUE(ns->privateDir("/sys/devices/system/leds/leds0")) << ns->error();
    }
};

TEST_F(LedControlEnvTest, EveryLineReachesTheEventFileAsOneWriteWithoutNewline) {
    std::string why;
    int const fifo = orvik_sandbox::serveLeds(*ns, &why); // writers never wait
    ASSERT_GE(fifo, 0) << why;
    LedControl leds;
    EXPECT_EQ(leds.setLed(LED_SIG0, LED_ON), 0);
    EXPECT_EQ(leds.setLed(LED_ONBRD, LED_FAST), 0);
    EXPECT_EQ(leds.setLed(LED_PWR, LedState(4)), -2);
    EXPECT_EQ(runInChild([] {
                  LedControl().displayWwanRssi(-82);
                  LedControl().displayWlanRssi(-82);
                  return std::string();
              }).output,
              "");
    char seen[256] = {};
    ASSERT_TRUE(orvik_sandbox::readable(fifo, 2000));
    EXPECT_GT(read(fifo, seen, sizeof seen - 1), 0);
    EXPECT_EQ(seen, "sig0 ononbrd fast" + bar(2) + bar(1));
    close(fifo);
}

TEST_F(LedControlEnvTest, FailuresAreReportedAndTheReadingIsStillKept) {
    ASSERT_TRUE(writeFile(kEventFile, "a much longer earlier line"));
    EXPECT_EQ(LedControl().setLed(LED_PWR, LED_SLOW), 0);
    EXPECT_EQ(readFile(kEventFile), "pwr slow"); // opened anew and truncated for every line
    ASSERT_EQ(unlink(kEventFile), 0);
    ASSERT_EQ(rmdir("/sys/devices/system/leds/leds0"), 0);
    ChildRun const run = runInChild([] {
        LedControl leds;
        std::string answers = std::to_string(leds.setLed(LED_GPS, LED_ON)) + " ";
        leds.displayWwanRssi(-90); // nowhere to write, yet remembered
        if (mkdir("/sys/devices/system/leds/leds0", 0755) != 0 || !writeFile(kEventFile, ""))
            return std::string("cannot make the event file");
        leds.displayWwanRssi(-90);
        return answers + readFile(kEventFile);
    });
    EXPECT_EQ(run.output, "-3 ");
    // A refused write shows at the flush: /dev/full refuses every one.
    ASSERT_TRUE(ns->bind("/dev/full", kEventFile)) << ns->error();
    EXPECT_EQ(LedControl().setLed(LED_VPN, LED_OFF), -4);
}

} // namespace
