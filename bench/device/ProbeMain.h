// The command line every device-cost probe shares: "prog list" prints one line per case,
// "CASE PEER_CASE_OR_- DESCRIPTION"; "prog CASE N" runs the case N times.
#ifndef ORVIK_UTILITIES_BENCH_PROBE_MAIN_H
#define ORVIK_UTILITIES_BENCH_PROBE_MAIN_H

#include <cstdio>
#include <cstdlib>
#include <cstring>

struct ProbeCase {
    char const* name;
    char const* peer; // "-" when the case has no peer
    char const* description;
    void (*run)(unsigned long repetitions);
};

template <std::size_t N> int probeMain(int argc, char** argv, ProbeCase const (&cases)[N]) {
    if (argc == 2 && std::strcmp(argv[1], "list") == 0) {
        for (ProbeCase const& c : cases)
            std::printf("%s %s %s\n", c.name, c.peer, c.description);
        return 0;
    }
    if (argc == 3) {
        for (ProbeCase const& c : cases) {
            if (std::strcmp(argv[1], c.name) == 0) {
                c.run(std::strtoul(argv[2], nullptr, 10));
                return 0;
            }
        }
    }
    std::fprintf(stderr, "usage: %s list | %s CASE N\n", argv[0], argv[0]);
    return 2;
}

#endif
