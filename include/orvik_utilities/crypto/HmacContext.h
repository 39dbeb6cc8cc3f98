// HMAC (RFC 2104) over any HashContext with a 64-byte block, optionally truncated.
#ifndef ORVIK_UTILITIES_CRYPTO_HMAC_CONTEXT_H
#define ORVIK_UTILITIES_CRYPTO_HMAC_CONTEXT_H

/// @file

#include <orvik_utilities/crypto/AuthenticationContext.h>
#include <orvik_utilities/crypto/HashContext.h>
#include <orvik_utilities/export.h>

#include <cstdint>

/// HMAC-MD5, HMAC-SHA-1 or HMAC over any hash whose digest fits the 64-byte block. The
/// HashContext is borrowed: the caller keeps it alive, unused by others, and deletes it.
class ORVIK_API HmacContext : public AuthenticationContext {
public:
    /// Keeps hash (not owned); returned length := its complete length. The key blocks start
    /// zeroed: initialize before use.
    explicit HmacContext(HashContext* hash);
    /// Wipes the key blocks; the hash is left alone.
    ~HmacContext() override;

    /// Keys over 64 bytes are hashed first; returnedLength 0 means the complete length, any
    /// other value is kept unbounded (beyond 32 bits: 0xFFFFFFFF). Returns reset()'s status,
    /// or -1 (nothing changed) when the hash's digest is empty or longer than 64 bytes.
    int initialize(unsigned char const* key, unsigned long keyLength,
                   unsigned long returnedLength) override;
    /// Forgets the hash (null) and zeroes both key blocks.
    void destroy() override;
    /// Starts the hash on the inner key block: 0, or the hash's non-zero initialize status.
    int reset() override;
    /// Absorbs length bytes of the message; data may be null when length is 0.
    void hash(unsigned char const* data, unsigned long length) override;
    /// Writes min(returned, complete length) bytes of the code and leaves the hash
    /// finalised; writes nothing for a hash whose digest is longer than 64 bytes.
    void getHash(unsigned char* code) override;
    /// The hash's complete length (16 for MD5, 20 for SHA-1).
    uint32_t getCompleteHashLength() const override;
    /// The length as requested, which may exceed the complete length.
    uint32_t getReturnedHashLength() const override;

private:
    HashContext* hashContext;
    unsigned char innerKeyBlock[64];
    unsigned char outerKeyBlock[64];
    uint32_t returnedHashLength;
};

#endif
