// String storage against std::string: copying, and building a text one byte at a time.
#include <orvik_utilities/text/String.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

void stringCopy(benchmark::State& state) {
    std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    String original(text.c_str());
    for (auto _ : state) {
        String copy(original);
        benchmark::DoNotOptimize(copy.buffer());
    }
}

void stdStringCopy(benchmark::State& state) {
    std::string original(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        std::string copy(original);
        benchmark::DoNotOptimize(copy.data());
    }
}

void stringAppendBytes(benchmark::State& state) {
    long const size = static_cast<long>(state.range(0));
    for (auto _ : state) {
        String text;
        for (long i = 0; i < size; ++i)
            text += static_cast<char>('a' + (i & 15));
        benchmark::DoNotOptimize(text.buffer());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void stdStringAppendBytes(benchmark::State& state) {
    long const size = static_cast<long>(state.range(0));
    for (auto _ : state) {
        std::string text;
        for (long i = 0; i < size; ++i)
            text += static_cast<char>('a' + (i & 15));
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(stringCopy)->Arg(16)->Arg(256)->Arg(4096);
BENCHMARK(stdStringCopy)->Arg(16)->Arg(256)->Arg(4096);
BENCHMARK(stringAppendBytes)->Arg(256)->Arg(4096)->Arg(64 << 10)->Arg(1 << 20);
BENCHMARK(stdStringAppendBytes)->Arg(256)->Arg(4096)->Arg(64 << 10)->Arg(1 << 20);
