// The incremental message-authentication interface.
#ifndef ORVIK_UTILITIES_CRYPTO_AUTHENTICATION_CONTEXT_H
#define ORVIK_UTILITIES_CRYPTO_AUTHENTICATION_CONTEXT_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// A keyed code over bytes fed in any number of runs. Calling order: initialize with the
/// key, hash any number of times, getHash; then reset for the next message under the same
/// key, or initialize for a new key.
///
/// An object keeps no process-wide state: one thread at a time per object, any number of
/// objects in parallel.
class ORVIK_API AuthenticationContext {
public:
    /// Nothing to set up; the derived class holds the state.
    AuthenticationContext();
    /// Virtual, so a derived context can be deleted through this interface.
    virtual ~AuthenticationContext();

    /// Sets the key (keyLength bytes) and the returned length (0: the complete length) and
    /// starts a first message; 0 on success.
    virtual int initialize(unsigned char const* key, unsigned long keyLength,
                           unsigned long returnedLength) = 0;
    /// Forgets the key; the context may then only be destroyed.
    virtual void destroy() = 0;
    /// Starts a new message under the same key; 0 on success.
    virtual int reset() = 0;
    /// Absorbs length bytes; data may be null when length is 0.
    virtual void hash(unsigned char const* data, unsigned long length) = 0;
    /// Finalises and writes the code: min(getReturnedHashLength(), getCompleteHashLength())
    /// bytes.
    virtual void getHash(unsigned char* code) = 0;
    /// The full length of the code in bytes (the underlying digest's length).
    virtual uint32_t getCompleteHashLength() const = 0;
    /// The length asked for at initialize (the complete length for 0).
    virtual uint32_t getReturnedHashLength() const = 0;
};

#endif
