// orvik-util: every service of liborvik_utilities from a shell. The table below is the one
// list of subcommands; the help texts are generated from it.
#include "Tool.h"

#include <cstdio>
#include <cstring>

#ifndef ORVIK_UTIL_VERSION
#define ORVIK_UTIL_VERSION "unknown"
#endif

namespace {

struct Subcommand {
    char const* name;
    char const* synopsis;
    char const* summary;
    char const* details;
    int (*run)(int, char**);
};

constexpr Subcommand kSubcommands[] = {
    {"ip", "ADDRESS[/PREFIX|/MASK] | --default", "address, mask, network and classification",
     "Prints the address, mask, prefix length, network and broadcast address and every\n"
     "classification of the pair, one 'key: value' a line. --default prints the address the\n"
     "library picks as this host's own.",
     runIp},
    {"cfg", "get [--int] FILE TAG [INDEX] | dump FILE", "read a tag=value configuration file",
     "get prints the value of TAG (with INDEX, TAG is a pattern such as 'route%lu'); with --int\n"
     "it prints the value as a number, and fails when the value is not one (decimal, or digits\n"
     "with a radix letter: 5dch, 17o, 101b).\n"
     "dump prints every tag the reader kept as tag=value, in file order, the first entry of a\n"
     "tag winning; the reader's own 'cfg: ' notices appear as it prints them.",
     runCfg},
    {"params", "encode TAG=VALUE... | decode FORM", "parameter list string form",
     "encode prints the one-line string form of the pairs; decode prints one tag=value a line,\n"
     "sorted by tag.",
     runParams},
    {"base64", "[-d] [-w LINE] [FILE]", "Base64 encode or decode (- or none: standard input)",
     "Encodes in lines of LINE characters (default 76, rounded down to a multiple of 4; 0: one\n"
     "line without a break). -d decodes, skipping every character outside the alphabet.",
     runBase64},
    {"hexdump", "[FILE]", "the library's hexadecimal word dump",
     "Prints the bytes as 32-bit words in memory order, 16 bytes a line; a last word of fewer\n"
     "than four bytes is filled with zeros.",
     runHexdump},
    {"md5", "[FILE...]", "MD5 digests, shaped like md5sum", "Prints 'digest  name' per file.",
     runMd5},
    {"sha1", "[FILE...]", "SHA-1 digests, shaped like sha1sum", "Prints 'digest  name' per file.",
     runSha1},
    {"hmac", "--hash md5|sha1 (--key KEY | --key-file F) [--length N] [FILE]",
     "HMAC-MD5 or HMAC-SHA-1 of a file",
     "Prints 'code  name'. --length keeps the first N bytes of the code.", runHmac},
    {"ps", "[NAME]", "the process table",
     "Prints 'pid command line' per process; with NAME only those whose command line begins\n"
     "with NAME (give the program as it was started, for example /usr/sbin/daemond).",
     runPs},
    {"iface", "NAME [up | down | addr A | mask M | txqlen N]", "show or change an interface",
     "Without an action prints state, carrier, address, mask, queue length and whether the\n"
     "device has an active uplink. The actions need CAP_NET_ADMIN.",
     runIface},
    {"led", "NAME STATE", "set a front-panel LED",
     "NAME: pwr ready sig0 sig1 sig2 sig3 gsm wlan vpn gps onbrd.\n"
     "STATE: off on slow fast.",
     runLed},
    {"rssi", "wwan|wlan DBM", "show a signal reading on the signal bar",
     "Prints each LED the bar sets.", runRssi},
    {"model", "", "device model and fitted parts",
     "Prints the model name and code and each fitted part with its type code, or 'unknown'.",
     runModel},
    {"watchdog", "register NAME PID [VALUE] | feed PID | unregister PID | config NAME",
     "messages to the watchdog service",
     "Sends one message to the service socket /tmp/.watchdog_api. VALUE is passed through to\n"
     "the service unchanged (default 0).",
     runWatchdog},
    {"loglevel", "PROGRAM", "log level of a program from /etc/log/log.cfg",
     "Prints the level a program of that name gets at start-up. As at such a start-up, a\n"
     "program missing from the file gets its line 'PROGRAM 0' appended.",
     runLoglevel},
    {"ping", "[-c COUNT] [-W SECONDS] [-I IFACE | -S SOURCE] HOST", "ICMP echo",
     "Sends COUNT (default 4) echo requests a second apart and waits up to SECONDS (default 1)\n"
     "for each reply. Exit 0 when any reply came. Without CAP_NET_RAW it falls back to an\n"
     "unprivileged ICMP datagram socket where net.ipv4.ping_group_range allows it.",
     runPing},
    {"rawping", "DEVICE TARGET [GATEWAY]", "probe a host through one interface",
     "Sends one echo through DEVICE (through GATEWAY's hardware address when TARGET is off\n"
     "DEVICE's subnet), whatever the routing table says. Exit 0 when the reply came. Needs\n"
     "CAP_NET_RAW.",
     runRawping},
};

void printToolHelp(std::FILE* out) {
    std::fprintf(out, "usage: orvik-util [SUBCOMMAND [ARGUMENTS...]]\n"
                      "       orvik-util --help | --version | SUBCOMMAND --help\n\n"
                      "Without a subcommand, prints a summary of this host.\n\n"
                      "subcommands:\n");
    for (auto const& command : kSubcommands)
        std::fprintf(out, "  %-9s %s\n", command.name, command.summary);
    std::fprintf(out, "\nExit status: 0 success, 1 the operation failed, 2 bad usage.\n");
}

void printSubcommandHelp(Subcommand const& command) {
    std::printf("usage: orvik-util %s %s\n\n%s.\n\n%s\n", command.name, command.synopsis,
                command.summary, command.details);
}

bool isHelp(char const* argument) {
    return std::strcmp(argument, "--help") == 0 || std::strcmp(argument, "-h") == 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return runSummary(argc, argv);
    char const* first = argv[1];
    if (isHelp(first)) {
        printToolHelp(stdout);
        return tool::kOk;
    }
    if (std::strcmp(first, "--version") == 0) {
        std::printf("orvik-util %s\n", ORVIK_UTIL_VERSION);
        return tool::kOk;
    }
    for (auto const& command : kSubcommands) {
        if (std::strcmp(first, command.name) != 0)
            continue;
        for (int i = 2; i < argc; ++i) {
            if (std::strcmp(argv[i], "--") == 0)
                break;
            if (isHelp(argv[i])) {
                printSubcommandHelp(command);
                return tool::kOk;
            }
        }
        int status = command.run(argc - 1, argv + 1);
        if (std::fflush(stdout) != 0 && status == tool::kOk)
            return tool::fail(tool::kFailed, "cannot write the output");
        return status;
    }
    return tool::fail(tool::kUsage, "unknown subcommand '%s': see 'orvik-util --help'", first);
}
