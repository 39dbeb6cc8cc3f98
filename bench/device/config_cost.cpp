// Device cost of the configuration reader's lookups against std::unordered_map: by tag, and
// by indexed tag (the peer formats the tag with snprintf, then finds it).
// `config_cost list` names the cases; `config_cost CASE N` runs one case N times.
#include <orvik_utilities/config/ConfigReader.h>

#include "ProbeMain.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

// 1,000 tags: the counting tool's two runs differ by 1,000 lookups, so each tag is looked
// up exactly once more in the longer run.
constexpr unsigned kTags = 1000;

unsigned volatile gSink;

std::string valueOf(unsigned i) {
    return "10." + std::to_string(i % 256) + ".0.1 dev eth" + std::to_string(i % 4);
}

// The file the reader loads, as the host benchmark writes it; removed once loaded.
bool loadReader(ConfigReader& reader) {
    char path[] = "/tmp/config_cost.XXXXXX";
    int const fd = mkstemp(path);
    if (fd < 0)
        return false;
    std::FILE* out = fdopen(fd, "w");
    for (unsigned i = 0; i < kTags; ++i)
        std::fprintf(out, "route%u = %s\n", i, valueOf(i).c_str());
    std::fclose(out);
    bool const loaded = reader.initialize(String(path), kTags);
    unlink(path);
    return loaded;
}

std::unordered_map<std::string, std::string> loadMap() {
    std::unordered_map<std::string, std::string> map;
    for (unsigned i = 0; i < kTags; ++i)
        map.emplace("route" + std::to_string(i), valueOf(i));
    return map;
}

void readerGetValue(unsigned long n) {
    ConfigReader reader;
    if (!loadReader(reader))
        std::exit(1); // armcount reports the failed run
    std::vector<String> tags;
    for (unsigned i = 0; i < kTags; ++i)
        tags.push_back(String("route") + String::stringOf(static_cast<long>(i)));
    String const none;
    for (unsigned long i = 0; i < n; ++i)
        gSink = static_cast<unsigned>(reader.getValue(tags[i % kTags], none).length());
}

void mapFind(unsigned long n) {
    auto const map = loadMap();
    std::vector<std::string> tags;
    for (unsigned i = 0; i < kTags; ++i)
        tags.push_back("route" + std::to_string(i));
    for (unsigned long i = 0; i < n; ++i)
        gSink = static_cast<unsigned>(map.find(tags[i % kTags])->second.size());
}

void readerGetIndexedValue(unsigned long n) {
    ConfigReader reader;
    if (!loadReader(reader))
        std::exit(1); // armcount reports the failed run
    String const pattern("route%lu"), none;
    for (unsigned long i = 0; i < n; ++i)
        gSink = static_cast<unsigned>(reader.getIndexedValue(pattern, i % kTags, none).length());
}

void snprintfMapFind(unsigned long n) {
    auto const map = loadMap();
    for (unsigned long i = 0; i < n; ++i) {
        char tag[32];
        std::snprintf(tag, sizeof tag, "route%lu", i % kTags);
        gSink = static_cast<unsigned>(map.find(tag)->second.size());
    }
}

ProbeCase const kCases[] = {
    {"reader_get_value", "map_find", "ConfigReader::getValue, 1,000 tags", readerGetValue},
    {"map_find", "-", "std::unordered_map<std::string, std::string>::find, the same tags", mapFind},
    {"reader_get_indexed_value", "snprintf_map_find",
     "ConfigReader::getIndexedValue \"route%lu\", 1,000 tags", readerGetIndexedValue},
    {"snprintf_map_find", "-", "snprintf \"route%lu\" then unordered_map::find", snprintfMapFind},
};

} // namespace

int main(int argc, char** argv) { return probeMain(argc, argv, kCases); }
