// LED event lines and signal bars, seen through an overriding setLed and through the event
// file in a private mount namespace. The last readings are process-wide: bars run in a child.
#include <orvik_utilities/system/LedControl.h>

#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "system/LedEvent.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <climits>

namespace {

using namespace orvik_test;
using orvik_sandbox::kLedEventFile;

// An unknown state wins over an unknown led; a refused line leaves the buffer alone.
TEST(LedControlTest, EventLinesNameTheLedAndStateAndThresholdsSplitTheBar) {
    using namespace orvik::detail;
    char line[32];
    for (int led = 0; led < 11; ++led) {
        ASSERT_EQ(formatLedEvent(line, led, led % 4), 0);
        EXPECT_EQ(line, std::string(orvik_sandbox::kLedNames[led]) + " " +
                            orvik_sandbox::kLedStates[led % 4]);
    }
    int const refused[][3] = {{11, 0, -1}, {-1, 3, -1}, {0, 4, -2}, {5, -1, -2}, {11, 4, -2}};
    for (auto const& row : refused)
        EXPECT_EQ(formatLedEvent(line, row[0], row[1]), row[2]) << row[0];
    EXPECT_STREQ(line, "onbrd slow");
    // reading, WWAN segments, WLAN segments: both sides of every threshold
    int32_t const rows[][3] = {{INT32_MIN, 0, 0}, {-111, 0, 0}, {-110, 1, 0}, {-98, 1, 0},
                               {-97, 2, 0},       {-91, 2, 0},  {-90, 2, 1},  {-82, 2, 1},
                               {-81, 3, 1},       {-80, 3, 2},  {-71, 3, 2},  {-70, 3, 3},
                               {-64, 3, 3},       {-63, 4, 3},  {-61, 4, 3},  {-60, 4, 4}};
    for (auto const& row : rows)
        EXPECT_TRUE(wwanSegments(row[0]) == row[1] && wlanSegments(row[0]) == row[2]) << row[0];
}

// Notes each bar segment written ("0+": LED_SIG0 on) and fails every write, which must not
// stop the reading being kept.
struct RecordingLeds : LedControl {
    int setLed(LedName led, LedState state) override {
        seen += std::to_string(led - LED_SIG0) + (state == LED_ON ? "+" : "-");
        return -3;
    }
    std::string seen;
};

TEST(LedControlTest, BarsChangeOnlyWithTheReadingAndGoThroughSetLed) {
    EXPECT_EQ(
        runInChild([] {
            RecordingLeds leds, other; // the last readings are shared by every object
            for (long rssi : {0L, -98L, -98L, -97L, -63L, -111L})
                leds.displayWwanRssi(rssi);
            other.displayWwanRssi(-111);
            // Within 2 of the last WLAN reading (0 at first) nothing changes; the
            // difference is exact, also between the extremes.
            for (long rssi : {2L, -2L, -75L, -73L, -72L, -61L, LONG_MIN, LONG_MAX, LONG_MAX - 1})
                leds.displayWlanRssi(rssi);
            return leds.seen + "|" + other.seen;
        }).output,
        "0+1-2-3-0+1+2-3-0+1+2+3+0-1-2-3-0+1+2-3-0+1+2-3-0+1+2+3-0-1-2-3-0+1+2+3+|");
}

using LedControlEnvTest = MountNamespaceTest;

TEST_F(LedControlEnvTest, EachLineIsWrittenAloneAndFailuresAreTold) {
    ASSERT_TRUE(ns->privateDir(orvik_sandbox::kLedDirectory)) << ns->error();
    ASSERT_TRUE(writeFile(kLedEventFile, "a longer earlier line"));
    LedControl leds;
    EXPECT_EQ(leds.setLed(LED_PWR, LED_SLOW), 0);
    EXPECT_EQ(leds.setLed(LED_ONBRD, LED_FAST) + leds.setLed(LED_PWR, LedState(4)), -2);
    EXPECT_EQ(readFile(kLedEventFile), "onbrd fast"); // the file is opened anew for every line
    ASSERT_TRUE(unlink(kLedEventFile) == 0 && mkdir(kLedEventFile, 0755) == 0);
    EXPECT_EQ(leds.setLed(LED_GPS, LED_ON), -3); // a directory does not open for writing
    ASSERT_TRUE(rmdir(kLedEventFile) == 0 && writeFile(kLedEventFile, ""));
    ASSERT_TRUE(ns->bind("/dev/full", kLedEventFile)) << ns->error(); // refuses every write
    EXPECT_EQ(leds.setLed(LED_VPN, LED_OFF), -4);
}

} // namespace
