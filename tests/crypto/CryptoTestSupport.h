// Messages, digests and the OpenSSL oracle shared by the hash and HMAC tests.
#ifndef ORVIK_TESTS_CRYPTO_CRYPTO_TEST_SUPPORT_H
#define ORVIK_TESTS_CRYPTO_CRYPTO_TEST_SUPPORT_H

#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if ORVIK_TEST_WITH_OPENSSL
#include <openssl/evp.h>
#include <openssl/hmac.h>
#endif

namespace crypto_test {

using Bytes = std::vector<unsigned char>;

enum class Algorithm { Md5, Sha1 };
constexpr Algorithm kAlgorithms[] = {Algorithm::Md5, Algorithm::Sha1};

inline char const* name(Algorithm algorithm) {
    return algorithm == Algorithm::Md5 ? "MD5" : "SHA-1";
}

inline std::unique_ptr<HashContext> makeHash(Algorithm algorithm) {
    if (algorithm == Algorithm::Md5)
        return std::make_unique<Md5HashContext>();
    return std::make_unique<Sha1HashContext>();
}

// mt19937's raw output is fixed by the standard, so both targets build the same bytes.
inline Bytes message(std::size_t length, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes bytes(length);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(rng() >> 24);
    return bytes;
}

inline Bytes bytesOf(std::string const& text) { return Bytes(text.begin(), text.end()); }

inline std::string hex(unsigned char const* bytes, std::size_t length) {
    static char const digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

inline std::string hex(Bytes const& bytes) { return hex(bytes.data(), bytes.size()); }

// Feeds data in pieces cut at random points (empty pieces included).
template <typename Context>
void hashInPieces(Context& context, Bytes const& data, std::mt19937& rng) {
    std::size_t done = 0;
    while (done < data.size()) {
        std::size_t const piece = rng() % (data.size() - done + 1);
        context.hash(data.data() + done, piece);
        done += piece;
    }
}

// FNV-1a over every digest of a grid: the device build, which has no oracle, compares it
// with the value the native build checked digest by digest against OpenSSL.
struct Fingerprint {
    uint64_t value = 14695981039346656037ull;
    void add(Bytes const& bytes) {
        for (unsigned char byte : bytes)
            value = (value ^ byte) * 1099511628211ull;
    }
};

#if ORVIK_TEST_WITH_OPENSSL
inline EVP_MD const* evp(Algorithm algorithm) {
    return algorithm == Algorithm::Md5 ? EVP_md5() : EVP_sha1();
}

inline Bytes opensslDigest(Algorithm algorithm, Bytes const& data) {
    Bytes digest(EVP_MAX_MD_SIZE);
    unsigned int length = 0;
    EVP_Digest(data.data(), data.size(), digest.data(), &length, evp(algorithm), nullptr);
    digest.resize(length);
    return digest;
}

// HMAC() takes a null key as "keep the previous key", so an empty key still gets a pointer.
inline Bytes opensslHmac(Algorithm algorithm, Bytes const& key, Bytes const& data) {
    static unsigned char const none = 0;
    Bytes code(EVP_MAX_MD_SIZE);
    unsigned int length = 0;
    HMAC(evp(algorithm), key.empty() ? &none : key.data(), static_cast<int>(key.size()),
         data.data(), data.size(), code.data(), &length);
    code.resize(length);
    return code;
}
#endif

} // namespace crypto_test

#endif
