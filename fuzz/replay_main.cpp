// Runs a fuzz target over every file of the directories given, without libFuzzer.
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

namespace {

bool replayFile(std::string const& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    std::vector<uint8_t> bytes;
    int c;
    while ((c = std::fgetc(file)) != EOF)
        bytes.push_back(static_cast<uint8_t>(c));
    std::fclose(file);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        DIR* dir = opendir(argv[i]);
        if (dir == nullptr) {
            std::fprintf(stderr, "cannot open %s\n", argv[i]);
            return 1;
        }
        while (dirent* entry = readdir(dir)) {
            if (entry->d_name[0] == '.')
                continue;
            if (replayFile(std::string(argv[i]) + "/" + entry->d_name))
                ++replayed;
        }
        closedir(dir);
    }
    std::printf("replayed %d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
