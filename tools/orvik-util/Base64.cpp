// base64: the library's codec over a stream, a chunk at a time.
#include <orvik_utilities/numbers/Base64.h>

#include "Tool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int32_t kDefaultLine = 76;
// A line's worth of input is the unit of each encode call; this keeps it within a chunk.
constexpr int32_t kMaxLine = 65536;

// The library ends its lines in "\r\n"; on a terminal and beside base64(1) a line ends in
// '\n'.
void printLines(String const& text) {
    char const* at = text.buffer();
    char const* end = at + text.length();
    while (at < end) {
        char const* cr =
            static_cast<char const*>(std::memchr(at, '\r', static_cast<std::size_t>(end - at)));
        char const* stop = cr == nullptr ? end : cr;
        std::fwrite(at, 1, static_cast<std::size_t>(stop - at), stdout);
        at = stop == end ? end : stop + 1;
    }
}

bool inAlphabet(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
}

int encode(char const* path, int32_t line) {
    // Each chunk holds whole lines, so the library's breaks fall where one long text would
    // have them.
    std::size_t lineBytes =
        line == 0 ? 3 : 3 * static_cast<std::size_t>(line / 4 > 0 ? line / 4 : 1);
    std::size_t chunk = tool::kChunk / lineBytes * lineBytes;
    std::vector<unsigned char> pending;
    bool failed = false;
    auto flush = [&](std::size_t count) {
        String text;
        if (Base64::encode(pending.data(), count, static_cast<unsigned long>(line), text) != 0)
            failed = true;
        printLines(text);
        pending.erase(pending.begin(), pending.begin() + static_cast<long>(count));
    };
    int error = tool::readChunks(path, [&](unsigned char const* bytes, std::size_t count) {
        pending.insert(pending.end(), bytes, bytes + count);
        while (pending.size() >= chunk && !failed)
            flush(chunk);
    });
    if (error != 0)
        return tool::fail(tool::kFailed, "cannot read %s: %s", tool::displayName(path),
                          std::strerror(error));
    if (!pending.empty() && !failed)
        flush(pending.size());
    if (failed)
        return tool::fail(tool::kFailed, "out of memory encoding %s", tool::displayName(path));
    return tool::kOk;
}

int decode(char const* path) {
    std::string pending;
    std::vector<unsigned char> output;
    auto flush = [&](std::size_t count) {
        output.resize(count / 4 * 3 + 3);
        unsigned long length = output.size();
        Base64::decode(String(pending.c_str(), 0, static_cast<long>(count)), output.data(), length);
        std::fwrite(output.data(), 1, length, stdout);
        pending.erase(0, count);
    };
    int error = tool::readChunks(path, [&](unsigned char const* bytes, std::size_t count) {
        pending.append(reinterpret_cast<char const*>(bytes), count);
        // Cut after a whole number of four-character groups; the rest waits for more text.
        std::size_t symbols = 0;
        std::size_t cut = 0;
        for (std::size_t i = 0; i < pending.size(); ++i)
            if (inAlphabet(pending[i]) && ++symbols % 4 == 0)
                cut = i + 1;
        if (cut > 0)
            flush(cut);
    });
    if (error != 0)
        return tool::fail(tool::kFailed, "cannot read %s: %s", tool::displayName(path),
                          std::strerror(error));
    if (!pending.empty())
        flush(pending.size());
    return tool::kOk;
}

} // namespace

int runBase64(int argc, char** argv) {
    bool decoding = false;
    int32_t line = kDefaultLine;
    tool::Option const options[] = {{"decode", false, 'd'}, {"wrap", true, 'w'}};
    int first =
        tool::parseOptions("base64", argc, argv, options, 2, [&](int key, char const* value) {
            if (key == 'd')
                decoding = true;
            else if (!tool::parseInt(value, 0, kMaxLine, line))
                return tool::usage("base64", "LINE '%s' is not a number from 0 to %d", value,
                                   kMaxLine),
                       false;
            return true;
        });
    if (first < 0)
        return tool::kUsage;
    if (argc - first > 1)
        return tool::usage("base64", "takes at most one FILE");
    char const* path = first < argc ? argv[first] : nullptr;
    return decoding ? decode(path) : encode(path, line);
}
