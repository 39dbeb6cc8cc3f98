// SHA-1 (FIPS 180-1, RFC 3174) behind the HashContext interface.
#ifndef ORVIK_UTILITIES_CRYPTO_SHA1_HASH_CONTEXT_H
#define ORVIK_UTILITIES_CRYPTO_SHA1_HASH_CONTEXT_H

/// @file

#include <orvik_utilities/crypto/HashContext.h>
#include <orvik_utilities/export.h>

#include <cstdint>

/// SHA-1: a 20-byte digest, with everything HashContext says all its contexts share.
class ORVIK_API Sha1HashContext : public HashContext {
public:
    /// A wiped context (zero state, returned length 20): initialize before hashing.
    Sha1HashContext();
    /// Wipes the state.
    ~Sha1HashContext() override;

    /// Returned length := returnedLength if it lies in 1..20, else 20; always 0.
    int initialize(unsigned long returnedLength) override;
    /// Zeroes the state, the count and the block buffer; returned length 20.
    void destroy() override;
    /// Absorbs length bytes; data may be null when length is 0.
    void hash(unsigned char const* data, unsigned long length) override;
    /// The length chosen at initialize (20 after construction or destroy).
    uint32_t getReturnedHashLength() const override;
    /// Finalises and writes the first returned-length bytes.
    void getHash(unsigned char* digest) override;
    /// 20.
    uint32_t getCompleteHashLength() const override;
    /// Finalises and writes all 20 bytes.
    void getCompleteHash(unsigned char* digest) override;
    /// The digest of "abc": 0 or -1; leaves an empty message, returned length 20.
    int test() override;

    /// SHA-1's compression function over one 64-byte block (any alignment).
    void sha1Transform(unsigned char const* block);

private:
    uint32_t state[5];
    uint32_t count[2];
    unsigned char buffer[64];
    uint32_t returnedHashLength;
};

#endif
