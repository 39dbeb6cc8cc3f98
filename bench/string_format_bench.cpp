// String::format and String::concatf against the usual std::string idiom: size with
// vsnprintf(nullptr, 0, ...), resize, then vsnprintf into the string.
#include <orvik_utilities/text/String.h>

#include <benchmark/benchmark.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

unsigned long gOctets[4] = {192, 168, 1, 254};
unsigned long gRoute = 17;
char const* gTag = "route3";
char const* gValue = "10.0.0.1";
long gLine = 42;

char const kPrefix[] = "log: ";
constexpr long kPrefixLength = sizeof kPrefix - 1;
constexpr long kRoom = 64; // more than any case needs, prefix included

// Writes the formatted text at position at, the string cut or grown to fit it exactly.
__attribute__((format(printf, 3, 4))) void stdPrintf(std::string& s, std::size_t at,
                                                     char const* format, ...) {
    va_list args;
    va_list again;
    va_start(args, format);
    va_copy(again, args);
    int const n = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    if (n >= 0) {
        s.resize(at + static_cast<std::size_t>(n));
        std::vsnprintf(&s[at], static_cast<std::size_t>(n) + 1, format, again);
    }
    va_end(again);
}

// Each case writes one daemon-style line three ways with the same arguments.
struct DottedQuad {
    static void format(String& s) {
        s.format("%lu.%lu.%lu.%lu", gOctets[0], gOctets[1], gOctets[2], gOctets[3]);
    }
    static void concatf(String& s) {
        s.concatf("%lu.%lu.%lu.%lu", gOctets[0], gOctets[1], gOctets[2], gOctets[3]);
    }
    static void peer(std::string& s, std::size_t at) {
        stdPrintf(s, at, "%lu.%lu.%lu.%lu", gOctets[0], gOctets[1], gOctets[2], gOctets[3]);
    }
};

struct RouteName {
    static void format(String& s) { s.format("route%lu", gRoute); }
    static void concatf(String& s) { s.concatf("route%lu", gRoute); }
    static void peer(std::string& s, std::size_t at) { stdPrintf(s, at, "route%lu", gRoute); }
};

struct ConfigLine {
    static void format(String& s) { s.format("cfg: %s=%s line %ld", gTag, gValue, gLine); }
    static void concatf(String& s) { s.concatf("cfg: %s=%s line %ld", gTag, gValue, gLine); }
    static void peer(std::string& s, std::size_t at) {
        stdPrintf(s, at, "cfg: %s=%s line %ld", gTag, gValue, gLine);
    }
};

// Into a string that is reused and already has room: no allocation on either side.
template <typename Case> void formatInPlace(benchmark::State& state) {
    String s("", kRoom);
    for (auto _ : state) {
        Case::format(s);
        benchmark::DoNotOptimize(s.buffer());
    }
}

template <typename Case> void stdFormatInPlace(benchmark::State& state) {
    std::string s;
    s.reserve(kRoom);
    for (auto _ : state) {
        Case::peer(s, 0);
        benchmark::DoNotOptimize(s.data());
    }
}

// A new string each time, allocation and release included.
template <typename Case> void formatFresh(benchmark::State& state) {
    for (auto _ : state) {
        String s;
        Case::format(s);
        benchmark::DoNotOptimize(s.buffer());
    }
}

template <typename Case> void stdFormatFresh(benchmark::State& state) {
    for (auto _ : state) {
        std::string s;
        Case::peer(s, 0);
        benchmark::DoNotOptimize(s.data());
    }
}

// Appending after a prefix, cut back to the prefix each time so the room never runs out.
template <typename Case> void concatfInPlace(benchmark::State& state) {
    String s(kPrefix, kRoom);
    for (auto _ : state) {
        s.deleteRegion(kPrefixLength);
        Case::concatf(s);
        benchmark::DoNotOptimize(s.buffer());
    }
}

template <typename Case> void stdAppendInPlace(benchmark::State& state) {
    std::string s(kPrefix);
    s.reserve(kRoom);
    for (auto _ : state) {
        s.resize(kPrefixLength);
        Case::peer(s, s.size());
        benchmark::DoNotOptimize(s.data());
    }
}

} // namespace

BENCHMARK_TEMPLATE(formatInPlace, DottedQuad);
BENCHMARK_TEMPLATE(stdFormatInPlace, DottedQuad);
BENCHMARK_TEMPLATE(formatInPlace, RouteName);
BENCHMARK_TEMPLATE(stdFormatInPlace, RouteName);
BENCHMARK_TEMPLATE(formatInPlace, ConfigLine);
BENCHMARK_TEMPLATE(stdFormatInPlace, ConfigLine);
BENCHMARK_TEMPLATE(formatFresh, DottedQuad);
BENCHMARK_TEMPLATE(stdFormatFresh, DottedQuad);
BENCHMARK_TEMPLATE(formatFresh, RouteName);
BENCHMARK_TEMPLATE(stdFormatFresh, RouteName);
BENCHMARK_TEMPLATE(formatFresh, ConfigLine);
BENCHMARK_TEMPLATE(stdFormatFresh, ConfigLine);
BENCHMARK_TEMPLATE(concatfInPlace, DottedQuad);
BENCHMARK_TEMPLATE(stdAppendInPlace, DottedQuad);
BENCHMARK_TEMPLATE(concatfInPlace, RouteName);
BENCHMARK_TEMPLATE(stdAppendInPlace, RouteName);
BENCHMARK_TEMPLATE(concatfInPlace, ConfigLine);
BENCHMARK_TEMPLATE(stdAppendInPlace, ConfigLine);
