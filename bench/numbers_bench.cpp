// Base64 against OpenSSL's EVP encoder and decoder, and integer rendering against snprintf.
#include <orvik_utilities/numbers/Base64.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include <benchmark/benchmark.h>

#include <openssl/evp.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> randomBytes(std::size_t size) {
    std::vector<unsigned char> bytes(size);
    std::mt19937 rng(1u);
    for (auto& b : bytes)
        b = static_cast<unsigned char>(rng());
    return bytes;
}

void throughput(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

// Arguments: the byte count and the line length (0: no line breaks).
void base64Encode(benchmark::State& state) {
    auto const data = randomBytes(static_cast<std::size_t>(state.range(0)));
    auto const line = static_cast<unsigned long>(state.range(1));
    String text;
    for (auto _ : state) {
        Base64::encode(data.data(), data.size(), line, text);
        benchmark::DoNotOptimize(text.buffer());
    }
    throughput(state, data.size());
}

void opensslEncodeBlock(benchmark::State& state) {
    auto const data = randomBytes(static_cast<std::size_t>(state.range(0)));
    std::vector<unsigned char> text(data.size() / 3 * 4 + 8);
    for (auto _ : state) {
        EVP_EncodeBlock(text.data(), data.data(), static_cast<int>(data.size()));
        benchmark::DoNotOptimize(text.data());
    }
    throughput(state, data.size());
}

void base64Decode(benchmark::State& state) {
    auto const data = randomBytes(static_cast<std::size_t>(state.range(0)));
    String text;
    Base64::encode(data.data(), data.size(), static_cast<unsigned long>(state.range(1)), text);
    std::vector<unsigned char> out(data.size());
    for (auto _ : state) {
        unsigned long length = out.size();
        Base64::decode(text, out.data(), length);
        benchmark::DoNotOptimize(out.data());
    }
    throughput(state, data.size());
}

void opensslDecodeBlock(benchmark::State& state) {
    auto const data = randomBytes(static_cast<std::size_t>(state.range(0)));
    String text;
    Base64::encode(data.data(), data.size(), 0, text);
    std::vector<unsigned char> out(data.size() + 3);
    auto const* in = reinterpret_cast<unsigned char const*>(text.buffer());
    for (auto _ : state) {
        EVP_DecodeBlock(out.data(), in, static_cast<int>(text.length()));
        benchmark::DoNotOptimize(out.data());
    }
    throughput(state, data.size());
}

// OpenSSL's streaming encoder and decoder, the peers of the runs with line breaks: it writes
// its fixed 64-character lines where ours are 76 characters long.

void opensslEncodeUpdate(benchmark::State& state) {
    auto const data = randomBytes(static_cast<std::size_t>(state.range(0)));
    std::vector<unsigned char> text(data.size() / 3 * 4 + data.size() / 48 + 80);
    EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
    for (auto _ : state) {
        int written = 0;
        int last = 0;
        EVP_EncodeInit(context);
        EVP_EncodeUpdate(context, text.data(), &written, data.data(),
                         static_cast<int>(data.size()));
        EVP_EncodeFinal(context, text.data() + written, &last);
        benchmark::DoNotOptimize(text.data());
    }
    EVP_ENCODE_CTX_free(context);
    throughput(state, data.size());
}

void opensslDecodeUpdate(benchmark::State& state) {
    auto const data = randomBytes(static_cast<std::size_t>(state.range(0)));
    String text;
    Base64::encode(data.data(), data.size(), 76, text);
    std::vector<unsigned char> out(data.size() + 80);
    auto const* in = reinterpret_cast<unsigned char const*>(text.buffer());
    EVP_ENCODE_CTX* context = EVP_ENCODE_CTX_new();
    for (auto _ : state) {
        int written = 0;
        int last = 0;
        EVP_DecodeInit(context);
        EVP_DecodeUpdate(context, out.data(), &written, in, static_cast<int>(text.length()));
        EVP_DecodeFinal(context, out.data() + written, &last);
        benchmark::DoNotOptimize(out.data());
    }
    EVP_ENCODE_CTX_free(context);
    throughput(state, data.size());
}

// Values spread over every decimal length, as a daemon's counters and ids are.
std::vector<uint32_t> spreadValues() {
    std::vector<uint32_t> values(1024);
    std::mt19937 rng(2u);
    for (auto& v : values)
        v = static_cast<uint32_t>(rng()) >> (rng() % 32);
    return values;
}

void integerToText(benchmark::State& state) {
    auto const values = spreadValues();
    char text[34];
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(i32toa(static_cast<int32_t>(values[i++ & 1023]), text, 10));
        benchmark::ClobberMemory();
    }
}

void unsignedToText(benchmark::State& state) {
    auto const values = spreadValues();
    char text[34];
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(u_i32toa(values[i++ & 1023], text, 10));
        benchmark::ClobberMemory();
    }
}

void snprintfLong(benchmark::State& state) {
    auto const values = spreadValues();
    char text[34];
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(
            text, sizeof text, "%ld", static_cast<long>(static_cast<int32_t>(values[i++ & 1023]))));
        benchmark::ClobberMemory();
    }
}

} // namespace

BENCHMARK(base64Encode)->ArgsProduct({{1 << 10, 1 << 20}, {0, 76}});
BENCHMARK(opensslEncodeBlock)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(base64Decode)->ArgsProduct({{1 << 10, 1 << 20}, {0, 76}});
BENCHMARK(opensslDecodeBlock)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(opensslEncodeUpdate)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(opensslDecodeUpdate)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(integerToText);
BENCHMARK(unsignedToText);
BENCHMARK(snprintfLong);
