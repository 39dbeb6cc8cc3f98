// The interface's own constructor and destructor (the one home of its vtable), and the
// self-test the hashes share.
#include <orvik_utilities/crypto/HashContext.h>

#include "crypto/HashBlocks.h"

#include <cstring>

HashContext::HashContext() = default;

HashContext::~HashContext() = default;

int orvik::detail::testWithAbc(HashContext& context, unsigned char const* expected,
                               uint32_t length) {
    unsigned char digest[kHashBlockLength] = {};
    context.initialize(0);
    context.hash(reinterpret_cast<unsigned char const*>("abc"), 3);
    context.getHash(digest);
    uint32_t compared = context.getCompleteHashLength();
    if (compared > length)
        compared = length;
    int const result = std::memcmp(digest, expected, compared) == 0 ? 0 : -1;
    context.initialize(0);
    return result;
}
