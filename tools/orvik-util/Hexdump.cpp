// hexdump: the library's word dump over a stream.
#include <orvik_utilities/numbers/Converters.h>

#include "Tool.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

constexpr int32_t kLineBytes = 16;
constexpr std::size_t kWords = tool::kChunk / 4;

// Each call of the dump ends in an extra '\n' when its last line is full; between chunks
// that would be a blank line in the middle of the output.
void dump(uint32_t const* words, std::size_t count) {
    int32_t bytes = static_cast<int32_t>(count);
    std::vector<char> text(
        static_cast<std::size_t>(nbrOfChars_forDataChunk2String(bytes, kLineBytes)) + 1);
    dataChunk2String(words, text.data(), bytes, kLineBytes);
    std::size_t length = std::strlen(text.data());
    if (length >= 1 && (length == 1 || text[length - 2] == '\n'))
        --length;
    std::fwrite(text.data(), 1, length, stdout);
}

} // namespace

int runHexdump(int argc, char** argv) {
    if (argc > 2)
        return tool::usage("hexdump", "takes at most one FILE");
    char const* path = argc == 2 ? argv[1] : nullptr;
    // Whole lines per dump call, in a word-aligned buffer: the dump reads 32-bit words.
    static uint32_t words[kWords];
    std::size_t held = 0;
    int error = tool::readChunks(path, [&](unsigned char const* bytes, std::size_t count) {
        while (count > 0) {
            std::size_t take = std::min(count, sizeof words - held);
            std::memcpy(reinterpret_cast<unsigned char*>(words) + held, bytes, take);
            held += take;
            bytes += take;
            count -= take;
            if (held == sizeof words) {
                dump(words, held);
                held = 0;
            }
        }
    });
    if (error != 0)
        return tool::fail(tool::kFailed, "cannot read %s: %s", tool::displayName(path),
                          std::strerror(error));
    if (held > 0) {
        // The last word's missing bytes show as zeros, not as whatever the buffer held.
        std::memset(reinterpret_cast<unsigned char*>(words) + held, 0, sizeof words - held);
        dump(words, held);
    }
    return tool::kOk;
}
