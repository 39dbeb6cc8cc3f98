// The formatting engine against glibc's snprintf, counting and storing, on daemon-style formats.
#include <orvik_utilities/text/Format.h>

#include <benchmark/benchmark.h>

#include <cstdarg>
#include <cstdio>

namespace {

enum class Kind { EngineCount, LibcCount, EngineStore, LibcStore };

char gOut[64];
int gNumber = 123456;
int gSmall = 42;
unsigned long gOctets[4] = {192, 168, 1, 254};
unsigned gWord = 0xDEADBEEFu;
char const* gName = "eth0";
char const* gTag = "route3";
char const* gValue = "10.0.0.1";
long gLine = 42;

// Both sides pay the same va_list hand-over, so the difference is the formatting itself.
__attribute__((format(printf, 2, 3))) int call(Kind kind, char const* format, ...) {
    va_list args;
    va_start(args, format);
    int result = 0;
    switch (kind) {
    case Kind::EngineCount:
        result = vstrlenf(format, args);
        break;
    case Kind::LibcCount:
        result = std::vsnprintf(nullptr, 0, format, args);
        break;
    case Kind::EngineStore:
        result = vsnxprintf(gOut, 0, sizeof gOut, format, args);
        break;
    case Kind::LibcStore:
        result = std::vsnprintf(gOut, sizeof gOut, format, args);
        break;
    }
    va_end(args);
    return result;
}

void decimal(benchmark::State& state, Kind kind) {
    for (auto _ : state)
        benchmark::DoNotOptimize(call(kind, "%d", gNumber));
}

void dottedQuad(benchmark::State& state, Kind kind) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            call(kind, "%lu.%lu.%lu.%lu", gOctets[0], gOctets[1], gOctets[2], gOctets[3]));
}

void zeroPadded(benchmark::State& state, Kind kind) {
    for (auto _ : state)
        benchmark::DoNotOptimize(call(kind, "%05d", gSmall));
}

void leftString(benchmark::State& state, Kind kind) {
    for (auto _ : state)
        benchmark::DoNotOptimize(call(kind, "%-8s|", gName));
}

void alternateHex(benchmark::State& state, Kind kind) {
    for (auto _ : state)
        benchmark::DoNotOptimize(call(kind, "%#x", gWord));
}

void configLine(benchmark::State& state, Kind kind) {
    for (auto _ : state)
        benchmark::DoNotOptimize(call(kind, "cfg: %s=%s line %ld", gTag, gValue, gLine));
}

} // namespace

BENCHMARK_CAPTURE(decimal, engine_count, Kind::EngineCount);
BENCHMARK_CAPTURE(decimal, glibc_count, Kind::LibcCount);
BENCHMARK_CAPTURE(decimal, engine_store, Kind::EngineStore);
BENCHMARK_CAPTURE(decimal, glibc_store, Kind::LibcStore);
BENCHMARK_CAPTURE(dottedQuad, engine_count, Kind::EngineCount);
BENCHMARK_CAPTURE(dottedQuad, glibc_count, Kind::LibcCount);
BENCHMARK_CAPTURE(dottedQuad, engine_store, Kind::EngineStore);
BENCHMARK_CAPTURE(dottedQuad, glibc_store, Kind::LibcStore);
BENCHMARK_CAPTURE(zeroPadded, engine_count, Kind::EngineCount);
BENCHMARK_CAPTURE(zeroPadded, glibc_count, Kind::LibcCount);
BENCHMARK_CAPTURE(zeroPadded, engine_store, Kind::EngineStore);
BENCHMARK_CAPTURE(zeroPadded, glibc_store, Kind::LibcStore);
BENCHMARK_CAPTURE(leftString, engine_count, Kind::EngineCount);
BENCHMARK_CAPTURE(leftString, glibc_count, Kind::LibcCount);
BENCHMARK_CAPTURE(leftString, engine_store, Kind::EngineStore);
BENCHMARK_CAPTURE(leftString, glibc_store, Kind::LibcStore);
BENCHMARK_CAPTURE(alternateHex, engine_count, Kind::EngineCount);
BENCHMARK_CAPTURE(alternateHex, glibc_count, Kind::LibcCount);
BENCHMARK_CAPTURE(alternateHex, engine_store, Kind::EngineStore);
BENCHMARK_CAPTURE(alternateHex, glibc_store, Kind::LibcStore);
BENCHMARK_CAPTURE(configLine, engine_count, Kind::EngineCount);
BENCHMARK_CAPTURE(configLine, glibc_count, Kind::LibcCount);
BENCHMARK_CAPTURE(configLine, engine_store, Kind::EngineStore);
BENCHMARK_CAPTURE(configLine, glibc_store, Kind::LibcStore);
