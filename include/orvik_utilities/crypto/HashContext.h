// The incremental message-digest interface that MD5, SHA-1 and HMAC share.
#ifndef ORVIK_UTILITIES_CRYPTO_HASH_CONTEXT_H
#define ORVIK_UTILITIES_CRYPTO_HASH_CONTEXT_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// A digest computed over bytes fed in any number of runs. Calling order: initialize, hash
/// any number of times, then getHash or getCompleteHash; a new message starts with
/// initialize. Finalising leaves the padded state: a second finalisation is no digest.
///
/// What every context of this interface shares (Md5HashContext, Sha1HashContext): no heap
/// use and no process-wide state (one thread at a time per object, any number of objects
/// in parallel); messages of any length up to 2^61 bytes; getHash writes the first 1 to
/// getCompleteHashLength() bytes, as chosen at initialize; finalising pads through the
/// virtual hash (no reset), so a derived class that overrides hash sees the padding too.
///
/// @code
/// Sha1HashContext sha1;
/// unsigned char digest[20];
/// sha1.initialize(0);                              // 0: the complete length
/// sha1.hash(data, length);                         // any number of runs
/// sha1.getHash(digest);
/// @endcode
class ORVIK_API HashContext {
public:
    /// Nothing to set up; the derived class holds the state.
    HashContext();
    /// Virtual, so a derived context can be deleted through this interface.
    virtual ~HashContext();

    /// Starts a new message; returnedLength is what getHash writes (0 or too large: the
    /// complete length). Returns 0, or non-zero when the context cannot start.
    virtual int initialize(unsigned long returnedLength) = 0;
    /// Wipes the state; the context must be initialised again before it hashes.
    virtual void destroy() = 0;
    /// Absorbs length bytes; data may be null when length is 0.
    virtual void hash(unsigned char const* data, unsigned long length) = 0;
    /// The number of bytes getHash writes.
    virtual uint32_t getReturnedHashLength() const = 0;
    /// Finalises and writes the first getReturnedHashLength() bytes of the digest.
    virtual void getHash(unsigned char* digest) = 0;
    /// The full digest length of the algorithm, in every state.
    virtual uint32_t getCompleteHashLength() const = 0;
    /// Finalises and writes the whole digest.
    virtual void getCompleteHash(unsigned char* digest) = 0;
    /// Hashes a published test vector through the virtual operations: 0 passed, -1 failed.
    /// Loses the message in progress and leaves an empty message at the complete length.
    virtual int test() = 0;
};

#endif
