// Operation scripts for the containers, read from bytes and run on the container and on a
// plain model side by side: the unit tests feed seeded bytes, the fuzz target fuzz bytes.
// Each returns "" or the first disagreement.
#ifndef ORVIK_TESTS_CONTAINERS_CONTAINER_SCRIPTS_H
#define ORVIK_TESTS_CONTAINERS_CONTAINER_SCRIPTS_H

#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/INUInt32HashTable.h>
#include <orvik_utilities/containers/LinkedList.h>
#include <orvik_utilities/containers/NumberBag.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orvik_test {

// Once the bytes run out every read gives 0 and done() turns true.
struct ScriptBytes {
    uint8_t const* at;
    uint8_t const* end;
    bool done() const { return at >= end; }
    uint32_t byte() { return at < end ? *at++ : 0; }
    uint32_t word() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return value;
    }
};

inline std::string failure(char const* what, unsigned step) {
    return std::string(what) + " disagrees at step " + std::to_string(step);
}

// The bag as free flags searched number by number: the first free number (or free pair at an
// even offset) from start up to high, then from low up to before start.
struct BagModel {
    uint32_t first, last;
    bool valid;
    std::vector<bool> free;
    BagModel(uint32_t low, uint32_t high)
        : first(low), last(high), valid(low <= high && high - low != UINT32_MAX),
          free(valid ? high - low + 1 : 0, true) {}
    bool isInBag(unsigned long n) { return valid && n >= first && n <= last && free[n - first]; }
    bool search(uint64_t low, uint64_t high, uint64_t start, unsigned width, unsigned long* out) {
        for (uint64_t k = 0; valid && k + low <= high; ++k) {
            uint64_t const at = start + k > high ? start + k - (high - low + 1) : start + k;
            auto const n = static_cast<unsigned long>(at); // in [low, high]: 32 bits
            bool const pair = (n - first) % 2 == 0 && n < high && isInBag(n + 1);
            if (isInBag(n) && (width == 1 || pair)) {
                free[n - first] = free[n + width - 1 - first] = false;
                return *out = n, true;
            }
        }
        return false;
    }
    // Round-robin starts after the cursor (wrapping at 2^32), or at low outside [low, high].
    bool take(unsigned long lo, unsigned long hi, uint32_t start, unsigned width,
              unsigned long* n) {
        uint32_t const low = std::max(static_cast<uint32_t>(lo), first);
        uint32_t const high = std::min(static_cast<uint32_t>(hi), last);
        start = start < low || start > high - (width - 1) ? low : start;
        return high >= low && high - low >= width - 1 && search(low, high, start, width, n);
    }
    using U = unsigned long;
    bool getNumber(U* n) { return take(first, last, first, 1, n); }
    bool getNumber(U n) { return isInBag(n) && take(n, n, uint32_t(n), 1, &n); }
    bool getNumberInRange(U lo, U hi, U* n) { return take(lo, hi, 0u, 1, n); }
    bool getNumberRoundRobin(U* n) { return take(first, last, uint32_t(*n + 1), 1, n); }
    bool getNumberInRangeRoundRobin(U lo, U hi, U* n) {
        return take(lo, hi, uint32_t(*n + 1), 1, n);
    }
    bool getNumberPairInRangeRoundRobin(U lo, U hi, U* n) {
        uint32_t const start = static_cast<uint32_t>(*n + 2);
        return take(lo, hi, start + (start - first) % 2, 2, n);
    }
    bool returnNumber(unsigned long n) {
        if (!valid || n < first || n > last || free[n - first])
            return false;
        return free[n - first] = true;
    }
};

// One step of a script on a bag or its model; n is the cursor and the number taken.
// clang-format off
template <typename Bag> bool bagStep(Bag& bag, uint32_t op, uint32_t a, uint32_t b, unsigned long& n) {
    switch (op % 10) {
    case 0: return bag.getNumber(&n);
    case 1: return bag.getNumber(static_cast<unsigned long>(a));
    case 2: return bag.getNumberInRange(a, b, &n);
    case 3: return bag.getNumberRoundRobin(&n);
    case 4: return bag.getNumberInRangeRoundRobin(a, b, &n);
    case 5: return bag.getNumberPairInRangeRoundRobin(a, b, &n);
    case 6: case 7: return bag.returnNumber(a);
    case 8: return bag.isInBag(a);
    default: return n = a, true;
    }
}
// clang-format on

// Ranges of whole and partial words, at the top and across the middle of the 32-bit space
// (ends adding up to 2^32 - 1), of one number, outside the model (reversed, all 2^32
// numbers) or anywhere; arguments near and past the edges.
inline std::string runNumberBagScript(uint8_t const* bytes, std::size_t length) {
    ScriptBytes in{bytes, bytes + length};
    // clang-format off
    static uint32_t const ranges[][2] = {{0, 9}, {100, 163}, {0, 31}, {0, 32}, {0x7FFFFFFB, 0x80000004},
        {0xFFFFFF00, UINT32_MAX}, {0xFFFFFFE0, UINT32_MAX}, {5, 300}, {7, 7}, {0, 0}, {10, 9},
        {0, UINT32_MAX}, {UINT32_MAX, UINT32_MAX}, {1, 64}, {3, 98}, {2, 9001}};
    // clang-format on
    uint32_t const pick = in.byte() % 17, any = in.word(), count = in.byte() % 600;
    uint32_t const first = pick < 16 ? ranges[pick][0] : any;
    uint32_t const last = pick < 16 ? ranges[pick][1] : first + std::min(count, ~first);
    NumberBag bag(first, last);
    BagModel model(first, last);
    // The large bag starts with about one number in 1,024 free, so that every search
    // crosses long runs of taken words.
    for (uint32_t n = first; pick == 15 && n <= last; ++n) {
        if ((n * 2654435761u) >> 22 != 0 && !(bag.getNumber(n) && model.getNumber(n)))
            return failure("fill", n);
    }
    auto argument = [&in, first, last](uint32_t s) -> uint32_t {
        uint32_t const span = last - first + 1, word = s % 8 < 6 ? 0 : in.word();
        uint32_t const near[] = {first + s / 8, last - s / 8, first - 1, last + 1, 0, UINT32_MAX};
        return s % 8 < 6 ? near[s % 8] : s % 8 == 7 || span == 0 ? word : first + word % span;
    };
    unsigned long cursor = in.word();
    for (unsigned step = 0; !in.done() && step < 4000; ++step) {
        uint32_t const op = in.byte(), a = argument(in.byte()), b = argument(in.byte());
        unsigned long got = cursor, expected = cursor;
        if (bagStep(bag, op, a, b, got) != bagStep(model, op, a, b, expected) || got != expected)
            return failure("operation", step);
        cursor = expected;
        for (uint32_t n : {a, a + 1, b, uint32_t(cursor), uint32_t(cursor + 1), first, last})
            if (bag.isInBag(n) != model.isInBag(n))
                return failure("isInBag", step);
        for (uint64_t n = first; step % 64 == 0 && model.valid && n <= last; ++n)
            if (bag.isInBag(static_cast<unsigned long>(n)) !=
                model.isInBag(static_cast<unsigned long>(n)))
                return failure("isInBag", step);
    }
    return "";
}

inline std::vector<void*>& passed() {
    static std::vector<void*> values;
    return values;
}
inline char const* keyArgument(std::string const& key) { return key.c_str(); }
// On 64-bit hosts the key comes with high bits the table must ignore.
inline unsigned long keyArgument(uint32_t key) {
    return static_cast<unsigned long>(uint64_t{key} * 0x100000001u);
}

// A hash table against (key, value) pairs in insertion order: lookups find the oldest pair of
// a key, walks go bucket by bucket with each chain in insertion order. Each step adds, removes
// or clears, then looks the key up; one step in eight also walks.
template <typename Table, typename Key, typename ReadKey, typename Hash>
std::string runTableScript(uint8_t const* bytes, std::size_t length, ReadKey readKey, Hash hash) {
    static char slots[64];
    ScriptBytes in{bytes, bytes + length};
    uint32_t const pick = in.byte() % 12, sizes[] = {0, 1, 2, 3, 4, 5, 8, 9, 16, 100};
    unsigned long const size = pick < 10 ? sizes[pick] : in.byte();
    uint32_t mask = 1;
    while (mask + 1 < size)
        mask = 2 * mask + 1;
    Table table(size);
    std::vector<std::pair<Key, void*>> pairs;
    for (unsigned step = 0; !in.done() && step < 3000; ++step) {
        uint32_t const op = in.byte() % 16, n = in.byte() % 8;
        Key const key = readKey(in);
        auto const same = [&key](std::pair<Key, void*> const& p) { return p.first == key; };
        auto it = std::find_if(pairs.begin(), pairs.end(), same);
        if (op < 5) {
            pairs.emplace_back(key, &slots[step % 64]);
            if (!table.addEntry(keyArgument(key), pairs.back().second))
                return failure("addEntry", step);
        } else if (op < 8 && table.removeEntry(keyArgument(key)) != (it != pairs.end())) {
            return failure("removeEntry", step);
        } else if (op < 8 && it != pairs.end()) {
            pairs.erase(it);
        } else if (op == 8 && n == 0) {
            table.removeAllEntries();
            pairs.clear();
        }
        it = std::find_if(pairs.begin(), pairs.end(), same);
        void* value = slots;
        std::vector<unsigned long> chains(mask + 1ul);
        for (auto const& p : pairs)
            ++chains[hash(p.first) & mask];
        if (table.getValueFromKey(keyArgument(key), &value) != (it != pairs.end()) ||
            value != (it != pairs.end() ? it->second : slots) ||
            table.calculateHash(keyArgument(key)) != (hash(key) & mask) ||
            table.getNumberOfKeys() != pairs.size() ||
            table.getLongestChain() != *std::max_element(chains.begin(), chains.end()))
            return failure("lookup", step);
        if (op < 14)
            continue;
        std::vector<void*> walk, out(9);
        for (uint32_t b = 0; b <= mask; ++b)
            for (auto const& p : pairs)
                if ((hash(p.first) & mask) == b)
                    walk.push_back(p.second);
        passed().clear();
        table.passAllPointers(nullptr);
        table.passAllPointers([](void* v) { passed().push_back(v); });
        if (passed() != walk || table.getFirstNPointers(n, nullptr) != 0)
            return failure("passAllPointers", step);
        walk.resize(std::min<std::size_t>(walk.size(), n));
        walk.push_back(nullptr);
        out.resize(table.getFirstNPointers(n, out.data()) + 1);
        if (out != walk)
            return failure("getFirstNPointers", step);
    }
    return "";
}

// Keys that collide in small tables, repeat, or sit at the 32-bit top; short strings over a
// few letters, case variants and bytes above 0x7F.
inline std::string runIntegerTableScript(uint8_t const* bytes, std::size_t length) {
    struct Table : INUInt32HashTable {
        explicit Table(unsigned long size) : INUInt32HashTable(size, HASH_FUNCTION_DEFAULT) {}
    };
    auto key = [](ScriptBytes& in) {
        uint32_t const pick = in.byte(), low = pick / 4 % 12;
        return pick % 4 == 3   ? in.word()
               : pick % 4 == 2 ? UINT32_MAX - low % 4
                               : low << 4 * (pick % 2) | 5 * (pick % 2);
    };
    return runTableScript<Table, uint32_t>(bytes, length, key, [](uint32_t k) { return k; });
}
inline std::string runStringTableScript(uint8_t const* bytes, std::size_t length) {
    auto key = [](ScriptBytes& in) {
        // Mostly short keys, which collide; one in five up to 23 bytes long.
        uint32_t const size = in.byte();
        std::string text(size < 200 ? size % 5 : size % 24, ' ');
        for (char& c : text)
            c = "abAk\xE9\x80y\xFF"[in.byte() % 8];
        return text;
    };
    auto hash = [](std::string const& text) {
        uint32_t h = 0;
        for (char c : text)
            h = h ^ (h << 5) ^ static_cast<unsigned char>(c);
        return h;
    };
    return runTableScript<INStringHashTable, std::string>(bytes, length, key, hash);
}

} // namespace orvik_test

#endif
