// Device cost of the formatting engine against glibc's snprintf on the same formats.
// `text_cost list` names the cases; `text_cost CASE N` runs one case N times.
#include <orvik_utilities/text/Format.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

char volatile gSink;
char gOut[64];

// A cycle of eight values of every length, so that any run of a multiple of eight calls
// does the same work; the counting tool's two runs differ by 1,000 calls.
int const kNumbers[8] = {7, -42, 1234, 98765, -1234567, 12345678, 2147483647, -305419896};
unsigned const kWords[8] = {0u, 0xAu, 0xBEEFu, 0x1234u, 0xDEADBEEFu, 0x7FFFFFFFu, 0x10u, 0xFFu};
char const* const kNames[8] = {"eth0", "br-lan", "wlan0", "ppp0", "lo", "eth1.100", "wwan0", ""};

void sink() { gSink = gOut[0]; }

struct Case {
    char const* name;
    char const* peer;
    char const* description;
    void (*run)(unsigned i);
};

Case const kCases[] = {
    {"snxprintf_d", "snprintf_d", "snxprintf \"%d\", values of 1 to 10 digits",
     [](unsigned i) { snxprintf(gOut, 0, sizeof gOut, "%d", kNumbers[i % 8]); }},
    {"snprintf_d", "-", "glibc snprintf \"%d\", the same values",
     [](unsigned i) { std::snprintf(gOut, sizeof gOut, "%d", kNumbers[i % 8]); }},
    {"snxprintf_08x", "snprintf_08x", "snxprintf \"%08x\"",
     [](unsigned i) { snxprintf(gOut, 0, sizeof gOut, "%08x", kWords[i % 8]); }},
    {"snprintf_08x", "-", "glibc snprintf \"%08x\"",
     [](unsigned i) { std::snprintf(gOut, sizeof gOut, "%08x", kWords[i % 8]); }},
    {"snxprintf_s", "snprintf_s", "snxprintf \"if %-8s|\"",
     [](unsigned i) { snxprintf(gOut, 0, sizeof gOut, "if %-8s|", kNames[i % 8]); }},
    {"snprintf_s", "-", "glibc snprintf \"if %-8s|\"",
     [](unsigned i) { std::snprintf(gOut, sizeof gOut, "if %-8s|", kNames[i % 8]); }},
    {"snxprintf_line", "snprintf_line", "snxprintf \"%s=%u line %ld\"",
     [](unsigned i) {
         snxprintf(gOut, 0, sizeof gOut, "%s=%u line %ld", kNames[i % 8], kWords[i % 8],
                   static_cast<long>(kNumbers[i % 8]));
     }},
    {"snprintf_line", "-", "glibc snprintf \"%s=%u line %ld\"",
     [](unsigned i) {
         std::snprintf(gOut, sizeof gOut, "%s=%u line %ld", kNames[i % 8], kWords[i % 8],
                       static_cast<long>(kNumbers[i % 8]));
     }},
    {"strlenf_d", "snprintf_null_d", "strlenf \"%d\" (counting only)",
     [](unsigned i) { gSink = static_cast<char>(strlenf("%d", kNumbers[i % 8])); }},
    {"snprintf_null_d", "-", "glibc snprintf(nullptr, 0, \"%d\")",
     [](unsigned i) {
         gSink = static_cast<char>(std::snprintf(nullptr, 0, "%d", kNumbers[i % 8]));
     }},
};

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "list") == 0) {
        for (Case const& c : kCases)
            std::printf("%s %s %s\n", c.name, c.peer, c.description);
        return 0;
    }
    if (argc != 3)
        return 2;
    for (Case const& c : kCases) {
        if (std::strcmp(argv[1], c.name) != 0)
            continue;
        unsigned long const n = std::strtoul(argv[2], nullptr, 10);
        for (unsigned long i = 0; i < n; ++i) {
            c.run(static_cast<unsigned>(i));
            sink();
        }
        return 0;
    }
    return 2;
}
