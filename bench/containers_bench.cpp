// Containers against the standard library: string-table lookups against
// std::unordered_map, and number-bag churn against a std::set free list.
#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/NumberBag.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::size_t kKeys = 1000;
constexpr uint32_t kNumbers = 65536;

// Tags shaped like a configuration file's: a word and an index.
std::vector<std::string> makeKeys() {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < kKeys; ++i)
        keys.push_back((i % 3 == 0   ? "route"
                        : i % 3 == 1 ? "wlan.ssid"
                                     : "wwan.apn.") +
                       std::to_string(i));
    return keys;
}

void stringTableLookup(benchmark::State& state) {
    std::vector<std::string> const keys = makeKeys();
    INStringHashTable table(1024);
    for (std::string const& key : keys)
        table.addEntry(key.c_str(), const_cast<char*>(key.c_str()));
    std::size_t i = 0;
    for (auto _ : state) {
        void* value = nullptr;
        benchmark::DoNotOptimize(table.getValueFromKey(keys[i].c_str(), &value));
        benchmark::DoNotOptimize(value);
        i = i + 1 == kKeys ? 0 : i + 1;
    }
}

void unorderedMapLookup(benchmark::State& state) {
    std::vector<std::string> const keys = makeKeys();
    std::unordered_map<std::string, void*> map;
    for (std::string const& key : keys)
        map.emplace(key, const_cast<char*>(key.c_str()));
    std::size_t i = 0;
    for (auto _ : state) {
        auto found = map.find(keys[i]);
        benchmark::DoNotOptimize(found);
        i = i + 1 == kKeys ? 0 : i + 1;
    }
}

// The same churn for both pools: half the numbers taken at random, then each step gives
// back a random taken number and takes one (lowest-first or round-robin).
class Churn {
public:
    Churn() : random(7) {}
    uint32_t pickTaken() {
        std::size_t const at = random() % taken.size();
        uint32_t const n = taken[at];
        taken[at] = taken.back();
        taken.pop_back();
        return n;
    }
    std::vector<uint32_t> halfAtRandom() {
        std::vector<uint32_t> all(kNumbers);
        for (uint32_t n = 0; n < kNumbers; ++n)
            all[n] = n;
        std::shuffle(all.begin(), all.end(), random);
        all.resize(kNumbers / 2);
        return all;
    }
    std::mt19937 random;
    std::vector<uint32_t> taken;
};

template <bool roundRobin> void numberBagChurn(benchmark::State& state) {
    NumberBag bag(0, kNumbers - 1);
    Churn churn;
    churn.taken = churn.halfAtRandom();
    for (uint32_t n : churn.taken)
        bag.getNumber(static_cast<unsigned long>(n));
    unsigned long cursor = 0;
    for (auto _ : state) {
        bag.returnNumber(churn.pickTaken());
        bool const ok = roundRobin ? bag.getNumberRoundRobin(&cursor) : bag.getNumber(&cursor);
        benchmark::DoNotOptimize(ok);
        churn.taken.push_back(static_cast<uint32_t>(cursor));
    }
}

template <bool roundRobin> void setFreeListChurn(benchmark::State& state) {
    std::set<uint32_t> free;
    Churn churn;
    churn.taken = churn.halfAtRandom();
    std::vector<bool> isTaken(kNumbers);
    for (uint32_t n : churn.taken)
        isTaken[n] = true;
    for (uint32_t n = 0; n < kNumbers; ++n) {
        if (!isTaken[n])
            free.insert(n);
    }
    uint32_t cursor = 0;
    for (auto _ : state) {
        free.insert(churn.pickTaken());
        auto it = roundRobin ? free.upper_bound(cursor) : free.begin();
        if (it == free.end())
            it = free.begin();
        cursor = *it;
        free.erase(it);
        churn.taken.push_back(cursor);
    }
}

} // namespace

BENCHMARK(stringTableLookup);
BENCHMARK(unorderedMapLookup);
BENCHMARK(numberBagChurn<false>)->Name("numberBagLowestFirstChurn");
BENCHMARK(setFreeListChurn<false>)->Name("setFreeListLowestFirstChurn");
BENCHMARK(numberBagChurn<true>)->Name("numberBagRoundRobinChurn");
BENCHMARK(setFreeListChurn<true>)->Name("setFreeListRoundRobinChurn");
