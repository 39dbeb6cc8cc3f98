// MD5, SHA-1 and HMAC against OpenSSL's libcrypto in one run, with the ratios of medians
// printed at the end (above 1: ours is faster).
//
// The scalar SHA-1 comparison needs an OpenSSL without its SHA, AVX2, AVX and SSSE3 code:
// libcrypto reads OPENSSL_ia32cap once, when it is loaded, so a second copy is loaded
// into its own link namespace after the mask is set. The linked copy stays unmasked.
#include <orvik_utilities/crypto/HmacContext.h>
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kLongMessage = 1 << 20;
constexpr std::size_t kShortMessage = 64;
// CPUID.1 ECX bits AVX (60) and SSSE3 (41); CPUID.7 EBX bits SHA (29) and AVX2 (5).
char const kScalarMask[] = "~0x1000020000000000:~0x20000020";

std::vector<unsigned char> const& data() {
    static std::vector<unsigned char> const bytes = [] {
        std::vector<unsigned char> filled(kLongMessage);
        for (std::size_t i = 0; i < filled.size(); ++i)
            filled[i] = static_cast<unsigned char>(i * 131u + (i >> 9));
        return filled;
    }();
    return bytes;
}

unsigned char const kKey[20] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                11, 12, 13, 14, 15, 16, 17, 18, 19, 20};

// The digest calls of one libcrypto copy.
struct Digests {
    EVP_MD_CTX* (*newContext)();
    void (*freeContext)(EVP_MD_CTX*);
    EVP_MD const* (*md5)();
    EVP_MD const* (*sha1)();
    int (*init)(EVP_MD_CTX*, EVP_MD const*, ENGINE*);
    int (*update)(EVP_MD_CTX*, void const*, std::size_t);
    int (*final)(EVP_MD_CTX*, unsigned char*, unsigned int*);
};

Digests const kLinked = {EVP_MD_CTX_new,    EVP_MD_CTX_free,  EVP_md5,           EVP_sha1,
                         EVP_DigestInit_ex, EVP_DigestUpdate, EVP_DigestFinal_ex};
Digests scalar = {};

template <typename Function> bool find(void* library, char const* symbol, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, symbol));
    return function != nullptr;
}

bool loadScalarCopy() {
    setenv("OPENSSL_ia32cap", kScalarMask, 1);
    void* library = dlmopen(LM_ID_NEWLM, "libcrypto.so.3", RTLD_NOW | RTLD_LOCAL);
    unsetenv("OPENSSL_ia32cap");
    return library != nullptr && find(library, "EVP_MD_CTX_new", scalar.newContext) &&
           find(library, "EVP_MD_CTX_free", scalar.freeContext) &&
           find(library, "EVP_md5", scalar.md5) && find(library, "EVP_sha1", scalar.sha1) &&
           find(library, "EVP_DigestInit_ex", scalar.init) &&
           find(library, "EVP_DigestUpdate", scalar.update) &&
           find(library, "EVP_DigestFinal_ex", scalar.final);
}

template <typename Context> void ours(benchmark::State& state) {
    Context context;
    unsigned char digest[20];
    for (auto _ : state) {
        context.initialize(0);
        context.hash(data().data(), data().size());
        context.getHash(digest);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(data().size()));
}

void openssl(benchmark::State& state, Digests const* copy, bool sha1) {
    EVP_MD_CTX* context = copy->newContext();
    EVP_MD const* md = sha1 ? copy->sha1() : copy->md5();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    for (auto _ : state) {
        copy->init(context, md, nullptr);
        copy->update(context, data().data(), data().size());
        copy->final(context, digest, &length);
        benchmark::DoNotOptimize(digest);
    }
    copy->freeContext(context);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(data().size()));
}

// One code per iteration over a 64-byte message with a 20-byte key: reset, hash, getHash.
template <typename Context> void oursHmac(benchmark::State& state) {
    Context hash;
    HmacContext hmac(&hash);
    hmac.initialize(kKey, sizeof kKey, 0);
    unsigned char code[20];
    for (auto _ : state) {
        hmac.reset();
        hmac.hash(data().data(), kShortMessage);
        hmac.getHash(code);
        benchmark::DoNotOptimize(code);
    }
}

void opensslHmac(benchmark::State& state, bool sha1) {
    EVP_MD const* md = sha1 ? EVP_sha1() : EVP_md5();
    unsigned char code[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    for (auto _ : state) {
        HMAC(md, kKey, sizeof kKey, data().data(), kShortMessage, code, &length);
        benchmark::DoNotOptimize(code);
    }
}

// Keeps the median of every aggregated benchmark to print the ratios at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                medians[run.run_name.function_name] = run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> medians;
};

} // namespace

int main(int argc, char** argv) {
    bool const haveScalar = loadScalarCopy();
    benchmark::RegisterBenchmark("md5/ours", ours<Md5HashContext>);
    benchmark::RegisterBenchmark("md5/openssl", openssl, &kLinked, false);
    benchmark::RegisterBenchmark("sha1/ours", ours<Sha1HashContext>);
    benchmark::RegisterBenchmark("sha1/openssl", openssl, &kLinked, true);
    if (haveScalar)
        benchmark::RegisterBenchmark("sha1/openssl_scalar", openssl, &scalar, true);
    else
        std::fprintf(stderr, "no second libcrypto copy: %s\n", dlerror());
    benchmark::RegisterBenchmark("hmac_md5/ours", oursHmac<Md5HashContext>);
    benchmark::RegisterBenchmark("hmac_md5/openssl", opensslHmac, false);
    benchmark::RegisterBenchmark("hmac_sha1/ours", oursHmac<Sha1HashContext>);
    benchmark::RegisterBenchmark("hmac_sha1/openssl", opensslHmac, true);

    // Medians need repetitions; the defaults below are overridden by the command line.
    std::vector<char*> arguments(argv, argv + argc);
    std::string repetitions = "--benchmark_repetitions=9";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    arguments.insert(arguments.begin() + 1, {repetitions.data(), aggregates.data()});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\nratio of medians of CPU time, OpenSSL / our time (above 1: ours is faster)\n");
    auto const& m = reporter.medians;
    for (auto const& [name, peer] : {std::pair<char const*, char const*>{"md5", "md5/openssl"},
                                     {"sha1", "sha1/openssl"},
                                     {"sha1", "sha1/openssl_scalar"},
                                     {"hmac_md5", "hmac_md5/openssl"},
                                     {"hmac_sha1", "hmac_sha1/openssl"}}) {
        std::string const own = std::string(name) + "/ours";
        if (m.count(own) != 0 && m.count(peer) != 0)
            std::printf("  %-20s vs %-20s %.3f\n", own.c_str(), peer, m.at(peer) / m.at(own));
    }
    benchmark::Shutdown();
    return 0;
}
