// libFuzzer target for Base64: any text decodes to the byte count its alphabet characters
// imply, a buffer one byte short is refused after filling it, and encoding the bytes with
// any line length decodes back to them.
#include <orvik_utilities/numbers/Base64.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

bool inAlphabet(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    if (size == 0)
        return 0;
    unsigned long const lineLength = data[0];
    String text;
    text.concat(reinterpret_cast<char const*>(data + 1), static_cast<long>(size - 1));

    unsigned long k = 0;
    for (std::size_t i = 1; i < size; ++i)
        k += inAlphabet(data[i]);
    unsigned long const expected = k / 4 * 3 + (k % 4 > 1 ? k % 4 - 1 : 0);

    // Exactly sized heap buffers, so the sanitizers see any write past the capacity.
    std::vector<unsigned char> bytes(expected);
    unsigned long length = expected;
    if (Base64::decode(text, bytes.data(), length) != 0 || length != expected)
        std::abort();
    if (expected > 0) {
        std::vector<unsigned char> shorter(expected - 1);
        unsigned long capacity = expected - 1;
        if (Base64::decode(text, shorter.data(), capacity) != -1 || capacity != expected - 1 ||
            (expected > 1 && std::memcmp(shorter.data(), bytes.data(), expected - 1) != 0))
            std::abort();
    }

    String encoded;
    if (Base64::encode(bytes.data(), expected, lineLength, encoded) != 0)
        std::abort();
    std::vector<unsigned char> again(expected + 1);
    unsigned long againLength = expected + 1;
    if (Base64::decode(encoded, again.data(), againLength) != 0 || againLength != expected ||
        (expected > 0 && std::memcmp(again.data(), bytes.data(), expected) != 0))
        std::abort();
    return 0;
}
