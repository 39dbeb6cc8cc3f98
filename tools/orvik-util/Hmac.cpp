// hmac: HMAC-MD5 or HMAC-SHA-1 of one stream.
#include <orvik_utilities/crypto/HmacContext.h>
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "Tool.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

// Keys longer than a block are hashed by the library; a key file beyond this is a mistake.
constexpr std::size_t kMaxKeyFile = 1024 * 1024;

// A key file is read whole, but a file of over 1 MiB is taken for a mistake.
int readKeyFile(char const* keyFile, std::string& keyBytes) {
    int error = tool::readChunks(keyFile, [&](unsigned char const* bytes, std::size_t count) {
        if (keyBytes.size() <= kMaxKeyFile)
            keyBytes.append(reinterpret_cast<char const*>(bytes), count);
    });
    if (error != 0)
        return tool::fail(tool::kFailed, "cannot read key file %s: %s", keyFile,
                          std::strerror(error));
    if (keyBytes.size() > kMaxKeyFile)
        return tool::fail(tool::kFailed, "key file %s is over 1 MiB: is it the right file?",
                          keyFile);
    return tool::kOk;
}

} // namespace

int runHmac(int argc, char** argv) {
    char const* hash = nullptr;
    char const* key = nullptr;
    char const* keyFile = nullptr;
    int32_t length = 0;
    tool::Option const options[] = {
        {"hash", true, 'a'}, {"key", true, 'k'}, {"key-file", true, 'f'}, {"length", true, 'l'}};
    int first =
        tool::parseOptions("hmac", argc, argv, options, 4, [&](int option, char const* value) {
            if (option == 'a')
                hash = value;
            else if (option == 'k')
                key = value;
            else if (option == 'f')
                keyFile = value;
            else if (!tool::parseInt(value, 1, 20, length))
                return tool::usage("hmac", "LENGTH '%s' is not a number from 1 to 20", value),
                       false;
            return true;
        });
    if (first < 0)
        return tool::kUsage;
    if (hash == nullptr || (std::strcmp(hash, "md5") != 0 && std::strcmp(hash, "sha1") != 0))
        return tool::usage("hmac", "needs --hash md5 or --hash sha1");
    if ((key == nullptr) == (keyFile == nullptr))
        return tool::usage("hmac", "needs exactly one of --key KEY and --key-file FILE");
    if (argc - first > 1)
        return tool::usage("hmac", "takes at most one FILE");
    Md5HashContext md5;
    Sha1HashContext sha1;
    HashContext* digest = hash[0] == 'm' ? static_cast<HashContext*>(&md5) : &sha1;
    if (static_cast<uint32_t>(length) > digest->getCompleteHashLength())
        return tool::usage("hmac", "LENGTH %d is longer than the %u-byte code", length,
                           digest->getCompleteHashLength());

    std::string keyBytes = key != nullptr ? key : "";
    if (keyFile != nullptr) {
        int const status = readKeyFile(keyFile, keyBytes);
        if (status != tool::kOk)
            return status;
    }
    HmacContext context(digest);
    context.initialize(reinterpret_cast<unsigned char const*>(keyBytes.data()), keyBytes.size(),
                       static_cast<unsigned long>(length));
    char const* path = first < argc ? argv[first] : nullptr;
    int error = tool::readChunks(
        path, [&](unsigned char const* bytes, std::size_t count) { context.hash(bytes, count); });
    if (error != 0)
        return tool::fail(tool::kFailed, "cannot read %s: %s", tool::displayName(path),
                          std::strerror(error));
    unsigned char code[20];
    context.getHash(code);
    tool::printHex(code,
                   std::min(context.getReturnedHashLength(), context.getCompleteHashLength()));
    std::printf("  %s\n", tool::displayName(path));
    return tool::kOk;
}
