// String search and case-insensitive equality against std::string and the C library.
#include <orvik_utilities/text/String.h>

#include <benchmark/benchmark.h>

#include <string.h> // strcasestr (GNU)
#include <strings.h>

#include <cctype>
#include <cstddef>
#include <cstring>
#include <random>
#include <string>

namespace {

constexpr std::size_t kTextSize = 4096;
constexpr std::size_t kNearStart = 16;
char const kNeedle[] = "gateway=10.0.0.1";

enum Placement : int64_t { kFound = 0, kAbsent = 1 };

// Configuration-like filler: lower-case words and separators, never containing the needle.
std::string filler(std::size_t size) {
    std::mt19937 random(7u);
    std::string text;
    while (text.size() < size) {
        std::size_t word = 2 + random() % 8;
        for (std::size_t i = 0; i < word; ++i)
            text += static_cast<char>('a' + random() % 26);
        text += "= .\n"[random() % 4];
    }
    text.resize(size);
    return text;
}

// The needle once, near the end the search starts from its far side: close to the end
// for forward searches, close to the start for backward ones.
std::string haystack(benchmark::State const& state, bool forward) {
    std::string text = filler(kTextSize);
    if (state.range(0) == kFound) {
        std::size_t at = forward ? kTextSize - kNearStart - sizeof kNeedle : kNearStart;
        text.replace(at, sizeof kNeedle - 1, kNeedle);
    }
    return text;
}

void indexOfString(benchmark::State& state) {
    String text(haystack(state, true).c_str()), needle(kNeedle);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(needle));
}

void stdFind(benchmark::State& state) {
    std::string text = haystack(state, true), needle(kNeedle);
    benchmark::DoNotOptimize(text.data());
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(needle));
}

void lastIndexOfString(benchmark::State& state) {
    String text(haystack(state, false).c_str()), needle(kNeedle);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.lastIndexOf(needle));
}

void stdRfind(benchmark::State& state) {
    std::string text = haystack(state, false), needle(kNeedle);
    benchmark::DoNotOptimize(text.data());
    for (auto _ : state)
        benchmark::DoNotOptimize(text.rfind(needle));
}

void indexOfIgnoreCase(benchmark::State& state) {
    String text(haystack(state, true).c_str()), needle("GATEWAY=10.0.0.1");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOfIgnoreCase(needle));
}

void strcasestrSearch(benchmark::State& state) {
    std::string text = haystack(state, true);
    for (auto _ : state)
        benchmark::DoNotOptimize(strcasestr(text.c_str(), "GATEWAY=10.0.0.1"));
}

// Two texts equal but for the case of every letter.
std::string upper(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

void equalsIgnoreCase(benchmark::State& state) {
    std::string lower = filler(static_cast<std::size_t>(state.range(0)));
    String a(lower.c_str()), b(upper(lower).c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(a.equalsIgnoreCase(b));
}

void strcasecmpEquality(benchmark::State& state) {
    std::string a = filler(static_cast<std::size_t>(state.range(0))), b = upper(a);
    for (auto _ : state)
        benchmark::DoNotOptimize(strcasecmp(a.c_str(), b.c_str()) == 0);
}

} // namespace

// Arg 0: needle present near the far end, 1: absent.
BENCHMARK(indexOfString)->Arg(kFound)->Arg(kAbsent);
BENCHMARK(stdFind)->Arg(kFound)->Arg(kAbsent);
BENCHMARK(lastIndexOfString)->Arg(kFound)->Arg(kAbsent);
BENCHMARK(stdRfind)->Arg(kFound)->Arg(kAbsent);
BENCHMARK(indexOfIgnoreCase)->Arg(kFound)->Arg(kAbsent);
BENCHMARK(strcasestrSearch)->Arg(kFound)->Arg(kAbsent);
BENCHMARK(equalsIgnoreCase)->Arg(64)->Arg(4096);
BENCHMARK(strcasecmpEquality)->Arg(64)->Arg(4096);
