/* A C program using the plain-named functions through <orvik_utilities_c.h>; exits 0 when
 * every answer is the one the C++ contracts give. */
#include <orvik_utilities_c.h>

#include <stdio.h>
#include <string.h>

static int failures;

static void expectText(char const* what, char const* got, char const* expected) {
    if (got == NULL || strcmp(got, expected) != 0) {
        printf("%s: got \"%s\", expected \"%s\"\n", what, got ? got : "(null)", expected);
        ++failures;
    }
}

static void expectNumber(char const* what, long got, long expected) {
    if (got != expected) {
        printf("%s: got %ld, expected %ld\n", what, got, expected);
        ++failures;
    }
}

static int formatInto(char* dest, uint32_t size, char const* format, ...) {
    va_list args;
    va_start(args, format);
    int const stored = vsnxprintf(dest, 0, size, format, args);
    va_end(args);
    return stored;
}

int main(void) {
    char text[64];
    int32_t status = 7;
    uint32_t address = 0;

    /* The formatting engine: 'l' is 32 bits on every host. */
    expectNumber("snxprintf count", snxprintf(text, 2, sizeof text, "%s-%ld", "ab", -5L), 3);
    expectText("snxprintf skip", text, "--5");
    expectNumber("strlenf", strlenf("%08x|%-3c|", 0xbeefu, 'z'), 13);
    expectNumber("vsnxprintf cut", formatInto(text, 4, "%d", 123456), 3);
    expectText("vsnxprintf text", text, "123");
    expectNumber("stricmp", stricmp("MTU", "mtu"), 0);
    expectNumber("strnicmp", strnicmp("eth0", "ETH1", 3), 0);

    /* Radix letters, and the validators a daemon checks a setting with. */
    expectText("i32toa hex", i32toa(1500, text, 16), "5DCh");
    expectNumber("valueOf32 hex", valueOf32("5dch"), 1500);
    expectNumber("valueOf32 0x is not hex", valueOf32("0x10"), 7210);
    expectNumber("valueOf32 never refuses", valueOf32("1500 bytes"), 149898033);
    expectNumber("validRange accepted", validRangeValueOf32(&status, "1500", 68, 9000), 1500);
    expectNumber("validRange status", status, 0);
    validRangeValueOf32(&status, "1500 bytes", 68, 9000);
    expectNumber("validRange refuses units", status, -1);
    u_validValueOf16(&status, "65536");
    expectNumber("u_validValueOf16 refuses 65536", status, -1);

    /* Converters. */
    expectNumber("convIPStr2IPUl", convIPStr2IPUl("192.168.1.1", &address), 0);
    expectNumber("address word", (long)address, (long)0xc0a80101u);
    expectNumber("convIPUL2IPStr", convIPUL2IPStr(0x0101a8c0u, text), 0);
    expectText("dotted", text, "192.168.1.1");
    expectText("binToHexLut", binToHexLut[0xdc], "dc");
    expectNumber("nextHigherPowerOf2", (long)nextHigherPowerOf2(1500), 2048);
    expectNumber("e164Number", e164Number("+49"), -1);
    expectNumber("validateDate", validateDate("2024-02-30"), 0);

    /* The watchdog without a socket: feed and unregister send nothing and answer 0. */
    expectNumber("kx_watchdog_feed", kx_watchdog_feed(0), 0);
    expectNumber("kx_watchdog_unregister", kx_watchdog_unregister(0), 0);
    /* Linked, not called: these touch the host's syslog, log-level file and sockets. */
    void (*volatile logInit)(char const*) = sorrelLogInit;
    int (*volatile registerClient)(unsigned int, int, char const*) = kx_watchdog_register;
    void (*volatile configure)(char const*) = kx_watchdog_config;
    expectNumber("linked", logInit != NULL && registerClient != NULL && configure != NULL, 1);

    if (failures == 0)
        printf("C consumer: all answers as documented\n");
    return failures == 0 ? 0 : 1;
}
