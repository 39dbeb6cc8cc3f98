// md5, sha1: digests of files, in md5sum's and sha1sum's shape.
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "Tool.h"

#include <cstdio>
#include <cstring>

namespace {

int digestFiles(HashContext& context, char const* name, int argc, char** argv) {
    if (argc > 1 && argv[1][0] == '-' && argv[1][1] != '\0')
        return tool::usage(name, "unknown option '%s'", argv[1]);
    int status = tool::kOk;
    int files = argc > 1 ? argc - 1 : 1;
    for (int i = 0; i < files; ++i) {
        char const* path = argc > 1 ? argv[i + 1] : nullptr;
        context.initialize(0);
        int error = tool::readChunks(path, [&](unsigned char const* bytes, std::size_t count) {
            context.hash(bytes, count);
        });
        if (error != 0) {
            // As md5sum: report, go on with the other files, fail at the end.
            tool::fail(tool::kFailed, "cannot read %s: %s", tool::displayName(path),
                       std::strerror(error));
            status = tool::kFailed;
            continue;
        }
        unsigned char digest[20];
        context.getCompleteHash(digest);
        tool::printHex(digest, context.getCompleteHashLength());
        std::printf("  %s\n", tool::displayName(path));
    }
    return status;
}

} // namespace

int runMd5(int argc, char** argv) {
    Md5HashContext context;
    return digestFiles(context, "md5", argc, argv);
}

int runSha1(int argc, char** argv) {
    Sha1HashContext context;
    return digestFiles(context, "sha1", argc, argv);
}
