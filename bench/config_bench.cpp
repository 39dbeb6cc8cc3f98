// The configuration reader and the parameter list against the standard library: loading a
// 10,000-line file (std::getline into std::unordered_map), lookups by tag and by indexed tag
// (unordered_map::find, snprintf + find), and the list's string form at two sizes.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/config/ParamList.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

std::string const kFile = "/tmp/orvik-config-bench.cfg";

void writeFile(long lines) {
    std::ofstream out(kFile);
    for (long i = 0; i < lines; ++i)
        out << "route" << i << " = 10." << i % 256 << ".0.1 dev eth" << i % 4 << "\n";
}

std::string trim(std::string const& s) {
    std::size_t first = 0, last = s.size();
    while (first < last && static_cast<unsigned char>(s[first]) <= 32)
        ++first;
    while (last > first && static_cast<unsigned char>(s[last - 1]) <= 32)
        --last;
    return s.substr(first, last - first);
}

void loadConfigReader(benchmark::State& state) {
    long const n = state.range(0);
    writeFile(n);
    std::vector<String> tags;
    for (long i = 0; i < n; ++i)
        tags.push_back(String("route") + String::stringOf(i));
    String const none;
    for (auto _ : state) {
        ConfigReader reader;
        reader.initialize(String(kFile.c_str()), static_cast<unsigned long>(n));
        for (String const& tag : tags)
            benchmark::DoNotOptimize(reader.getValue(tag, none).length());
    }
}

void loadUnorderedMap(benchmark::State& state) {
    long const n = state.range(0);
    writeFile(n);
    std::vector<std::string> tags;
    for (long i = 0; i < n; ++i)
        tags.push_back("route" + std::to_string(i));
    for (auto _ : state) {
        std::unordered_map<std::string, std::string> map;
        map.reserve(static_cast<std::size_t>(n));
        std::ifstream in(kFile);
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#')
                continue;
            std::size_t const eq = line.find('=');
            if (eq == std::string::npos)
                continue;
            std::string tag;
            for (std::size_t i = 0; i < eq; ++i)
                if (static_cast<unsigned char>(line[i]) > 32)
                    tag += line[i];
            map.emplace(std::move(tag), trim(line.substr(eq + 1)));
        }
        for (std::string const& tag : tags)
            benchmark::DoNotOptimize(map.find(tag)->second.size());
    }
}

void lookupConfigReader(benchmark::State& state) {
    long const n = state.range(0);
    writeFile(n);
    ConfigReader reader;
    reader.initialize(String(kFile.c_str()), static_cast<unsigned long>(n));
    std::vector<String> tags;
    for (long i = 0; i < n; ++i)
        tags.push_back(String("route") + String::stringOf(i));
    String const none;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.getValue(tags[i], none).length());
        i = i + 1 == tags.size() ? 0 : i + 1;
    }
}

void lookupUnorderedMap(benchmark::State& state) {
    long const n = state.range(0);
    std::unordered_map<std::string, std::string> map;
    std::vector<std::string> tags;
    for (long i = 0; i < n; ++i) {
        tags.push_back("route" + std::to_string(i));
        map.emplace(tags.back(), "10.1.0.1 dev eth0");
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(tags[i])->second.size());
        i = i + 1 == tags.size() ? 0 : i + 1;
    }
}

void indexedConfigReader(benchmark::State& state) {
    long const n = state.range(0);
    writeFile(n);
    ConfigReader reader;
    reader.initialize(String(kFile.c_str()), static_cast<unsigned long>(n));
    String const pattern("route%lu"), none;
    unsigned long i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.getIndexedValue(pattern, i, none).length());
        i = i + 1 == static_cast<unsigned long>(n) ? 0 : i + 1;
    }
}

void indexedUnorderedMap(benchmark::State& state) {
    long const n = state.range(0);
    std::unordered_map<std::string, std::string> map;
    for (long i = 0; i < n; ++i)
        map.emplace("route" + std::to_string(i), "10.1.0.1 dev eth0");
    unsigned long i = 0;
    for (auto _ : state) {
        char tag[32];
        std::snprintf(tag, sizeof tag, "route%lu", i);
        benchmark::DoNotOptimize(map.find(tag)->second.size());
        i = i + 1 == static_cast<unsigned long>(n) ? 0 : i + 1;
    }
}

void fillList(ParamList& list, long n) {
    for (long i = 0; i < n; ++i)
        list.setTagValue(String("param<") + String::stringOf(i) + ">",
                         String("50% of ") + String::stringOf(i));
}

void paramListGetString(benchmark::State& state) {
    ParamList list;
    fillList(list, state.range(0));
    String const tag("param<0>"), value("x");
    for (auto _ : state) {
        list.setTagValue(tag, value); // invalidates the cached form
        benchmark::DoNotOptimize(list.getTagValueString().length());
    }
}

void paramListSetString(benchmark::State& state) {
    ParamList source;
    fillList(source, state.range(0));
    String const form = source.getTagValueString();
    for (auto _ : state) {
        ParamList list;
        list.setTagValueString(form);
        benchmark::DoNotOptimize(&list);
    }
}

} // namespace

BENCHMARK(loadConfigReader)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(loadUnorderedMap)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(lookupConfigReader)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(lookupUnorderedMap)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(indexedConfigReader)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(indexedUnorderedMap)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(paramListGetString)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(paramListSetString)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
