// HMAC (RFC 2104): H((K' ^ opad) || H((K' ^ ipad) || message)), with a 64-byte block.
#include <orvik_utilities/crypto/HmacContext.h>

#include "crypto/HashBlocks.h"

#include <climits>
#include <cstring>

using orvik::detail::kHashBlockLength;

namespace {

// The key blocks and the inner digest live in 64-byte arrays: a hash whose digest does
// not fit one cannot key this construction.
bool fitsBlock(uint32_t digestLength) {
    return digestLength != 0 && digestLength <= kHashBlockLength;
}

} // namespace

HmacContext::HmacContext(HashContext* hash)
    : hashContext(hash), returnedHashLength(hash->getCompleteHashLength()) {
    std::memset(innerKeyBlock, 0, sizeof innerKeyBlock);
    std::memset(outerKeyBlock, 0, sizeof outerKeyBlock);
}

HmacContext::~HmacContext() { destroy(); }

int HmacContext::initialize(unsigned char const* key, unsigned long keyLength,
                            unsigned long returnedLength) {
    uint32_t const completeLength = hashContext->getCompleteHashLength();
    if (!fitsBlock(completeLength))
        return -1;
    if (returnedLength == 0)
        returnedHashLength = completeLength;
    else
        returnedHashLength =
            returnedLength > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(returnedLength);

    std::memset(innerKeyBlock, 0, sizeof innerKeyBlock);
    if (keyLength > kHashBlockLength) {
        hashContext->initialize(0);
        hashContext->hash(key, keyLength);
        hashContext->getHash(innerKeyBlock);
    } else if (keyLength != 0) {
        std::memcpy(innerKeyBlock, key, keyLength);
    }
    for (uint32_t i = 0; i < kHashBlockLength; ++i) {
        outerKeyBlock[i] = static_cast<unsigned char>(innerKeyBlock[i] ^ 0x5cu);
        innerKeyBlock[i] = static_cast<unsigned char>(innerKeyBlock[i] ^ 0x36u);
    }
    return reset();
}

void HmacContext::destroy() {
    hashContext = nullptr;
    orvik::detail::wipe(innerKeyBlock, sizeof innerKeyBlock);
    orvik::detail::wipe(outerKeyBlock, sizeof outerKeyBlock);
}

int HmacContext::reset() {
    int const status = hashContext->initialize(0);
    if (status != 0)
        return status;
    hashContext->hash(innerKeyBlock, sizeof innerKeyBlock);
    return 0;
}

void HmacContext::hash(unsigned char const* data, unsigned long length) {
    hashContext->hash(data, length);
}

void HmacContext::getHash(unsigned char* code) {
    uint32_t const completeLength = hashContext->getCompleteHashLength();
    if (!fitsBlock(completeLength))
        return;
    unsigned char innerDigest[kHashBlockLength];
    hashContext->getHash(innerDigest);
    hashContext->initialize(returnedHashLength);
    hashContext->hash(outerKeyBlock, sizeof outerKeyBlock);
    hashContext->hash(innerDigest, completeLength);
    hashContext->getHash(code);
}

uint32_t HmacContext::getCompleteHashLength() const { return hashContext->getCompleteHashLength(); }

uint32_t HmacContext::getReturnedHashLength() const { return returnedHashLength; }
