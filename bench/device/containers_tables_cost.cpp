// Device cost of the hash tables' lookups against std::unordered_map on the same keys.
// `containers_tables_cost list` names the cases; `containers_tables_cost CASE N` runs one
// case N times.
#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/INUInt32HashTable.h>

#include "ProbeMain.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

// 1,000 keys: the counting tool's two runs differ by 1,000 lookups, so each key is looked
// up exactly once more in the longer run, whatever the start.
constexpr unsigned kKeys = 1000;

void* volatile gSink;
int gValue;

// Tags shaped like a configuration file's: a word and an index (as the host benchmark).
std::vector<std::string> makeKeys() {
    std::vector<std::string> keys;
    for (unsigned i = 0; i < kKeys; ++i)
        keys.push_back((i % 3 == 0   ? "route"
                        : i % 3 == 1 ? "wlan.ssid"
                                     : "wwan.apn.") +
                       std::to_string(i));
    return keys;
}

uint32_t numberKey(unsigned i) { return i * 2654435761u; }

void stringTable(unsigned long n) {
    std::vector<std::string> const keys = makeKeys();
    INStringHashTable table(1024);
    for (std::string const& key : keys)
        table.addEntry(key.c_str(), const_cast<char*>(key.c_str()));
    for (unsigned long i = 0; i < n; ++i) {
        void* value = nullptr;
        table.getValueFromKey(keys[i % kKeys].c_str(), &value);
        gSink = value;
    }
}

void stringMap(unsigned long n) {
    std::vector<std::string> const keys = makeKeys();
    std::unordered_map<std::string, void*> map;
    for (std::string const& key : keys)
        map.emplace(key, const_cast<char*>(key.c_str()));
    for (unsigned long i = 0; i < n; ++i)
        gSink = map.find(keys[i % kKeys])->second;
}

void numberTable(unsigned long n) {
    INUInt32HashTable table(1024, HashFunctionType{});
    for (unsigned i = 0; i < kKeys; ++i)
        table.addEntry(numberKey(i), &gValue);
    for (unsigned long i = 0; i < n; ++i) {
        void* value = nullptr;
        table.getValueFromKey(numberKey(static_cast<unsigned>(i % kKeys)), &value);
        gSink = value;
    }
}

void numberMap(unsigned long n) {
    std::unordered_map<uint32_t, void*> map;
    for (unsigned i = 0; i < kKeys; ++i)
        map.emplace(numberKey(i), &gValue);
    for (unsigned long i = 0; i < n; ++i)
        gSink = map.find(numberKey(static_cast<unsigned>(i % kKeys)))->second;
}

ProbeCase const kCases[] = {
    {"string_table_lookup", "string_map_find",
     "INStringHashTable::getValueFromKey, 1,000 keys in 1,024 buckets", stringTable},
    {"string_map_find", "-", "std::unordered_map<std::string, void*>::find, the same keys",
     stringMap},
    {"number_table_lookup", "number_map_find",
     "INUInt32HashTable::getValueFromKey, 1,000 keys in 1,024 buckets", numberTable},
    {"number_map_find", "-", "std::unordered_map<uint32_t, void*>::find, the same keys", numberMap},
};

} // namespace

int main(int argc, char** argv) { return probeMain(argc, argv, kCases); }
