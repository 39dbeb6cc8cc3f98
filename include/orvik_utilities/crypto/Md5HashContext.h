// MD5 (RFC 1321) behind the HashContext interface.
#ifndef ORVIK_UTILITIES_CRYPTO_MD5_HASH_CONTEXT_H
#define ORVIK_UTILITIES_CRYPTO_MD5_HASH_CONTEXT_H

/// @file

#include <orvik_utilities/crypto/HashContext.h>
#include <orvik_utilities/export.h>

#include <cstdint>

/// MD5: a 16-byte digest, with everything HashContext says all its contexts share.
class ORVIK_API Md5HashContext : public HashContext {
public:
    /// A wiped context (zero state, returned length 16): initialize before hashing.
    Md5HashContext();
    /// Wipes the state.
    ~Md5HashContext() override;

    /// Returned length := returnedLength if it lies in 1..16, else 16; always 0.
    int initialize(unsigned long returnedLength) override;
    /// Zeroes the state, the count and the block buffer; returned length 16.
    void destroy() override;
    /// Absorbs length bytes; data may be null when length is 0.
    void hash(unsigned char const* data, unsigned long length) override;
    /// The length chosen at initialize (16 after construction or destroy).
    uint32_t getReturnedHashLength() const override;
    /// Finalises and writes the first returned-length bytes.
    void getHash(unsigned char* digest) override;
    /// 16.
    uint32_t getCompleteHashLength() const override;
    /// Finalises and writes all 16 bytes.
    void getCompleteHash(unsigned char* digest) override;
    /// The digest of "abc": 0 or -1; leaves an empty message, returned length 16.
    int test() override;

    /// MD5's compression function over one 64-byte block (any alignment).
    void md5Transform(unsigned char const* block);

private:
    uint32_t state[4];
    uint32_t count[2];
    unsigned char buffer[64];
    uint32_t returnedHashLength;
};

#endif
