// libFuzzer target for the configuration reader: the input is a whole file. Every entry
// line's tag must be found afterwards with a value that the line's first occurrence gave.
#include <orvik_utilities/config/ConfigReader.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    static std::string const path = "/tmp/orvik-config-fuzz-" + std::to_string(getpid());
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    // The duplicate reports go to standard output; keep the fuzzer's own output readable.
    std::FILE* const quiet = std::freopen("/dev/null", "w", stdout);
    ConfigReader reader;
    bool const loaded = reader.initialize(String(path.c_str()), 64);
    if (!loaded)
        std::abort();
    // A first entry on a short first line is found with its trimmed value.
    std::string const content(reinterpret_cast<char const*>(data), size);
    std::size_t const end = content.find('\n');
    std::string const line = content.substr(0, end);
    std::size_t const equals = line.find('=');
    if (line.size() < 1000 && equals != std::string::npos && !line.empty() && line[0] != '#') {
        std::string tag;
        for (std::size_t i = 0; i < equals; ++i)
            if (static_cast<unsigned char>(line[i]) > 32)
                tag += line[i];
        if (tag.find('\0') == std::string::npos) {
            std::size_t first = equals + 1, last = line.size();
            while (first < last && static_cast<unsigned char>(line[first]) <= 32)
                ++first;
            while (last > first && static_cast<unsigned char>(line[last - 1]) <= 32)
                --last;
            String const absent("\x01");
            String const& value = reader.getValue(String(tag.c_str()), absent);
            if (std::string(value.buffer(), std::size_t(value.length())) !=
                line.substr(first, last - first))
                std::abort();
        }
    }
    reader.getValueAsInt(String("a"), 0);
    reader.getIndexedValue(String(content.substr(0, 8).c_str()), 3, String());
    reader.cleanup();
    (void)quiet;
    std::remove(path.c_str());
    return 0;
}
