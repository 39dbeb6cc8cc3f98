// Operation scripts read from bytes (seeded by the unit tests, fuzzed by the fuzz target) and
// run on a container and on its plain model side by side: "" or the first disagreement.
#ifndef ORVIK_TESTS_CONTAINERS_CONTAINER_SCRIPTS_H
#define ORVIK_TESTS_CONTAINERS_CONTAINER_SCRIPTS_H

#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/INUInt32HashTable.h>
#include <orvik_utilities/containers/NumberBag.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orvik_test {

// Once the bytes run out every read gives 0.
struct ScriptBytes {
    uint8_t const *at, *end;
    uint32_t byte() { return at < end ? *at++ : 0; }
    uint32_t word() {
        uint32_t const a = byte(), b = byte(), c = byte();
        return a << 24 | b << 16 | c << 8 | byte();
    }
};

// The bag as free flags. Each search takes the first free number (or free pair at an even
// offset) from start up to high, then from low up to before start; round-robin starts after
// the cursor (wrapping at 2^32), or at low outside [low, high].
struct BagModel {
    using U = unsigned long;
    uint32_t first, last;
    bool valid;
    std::vector<bool> free;
    BagModel(uint32_t low, uint32_t high)
        : first(low), last(high), valid(low <= high && high - low != UINT32_MAX),
          free(valid ? high - low + 1 : 0, true) {}
    bool owns(U n) { return valid && n >= first && n <= last; }
    bool isInBag(U n) { return owns(n) && free[n - first]; }
    bool take(U lo, U hi, uint32_t start, unsigned width, U& out) {
        uint64_t const low = std::max(uint32_t(lo), first), high = std::min(uint32_t(hi), last);
        start = start < low || start + uint64_t{width} - 1 > high ? uint32_t(low) : start;
        for (uint64_t k = 0; valid && high + 1 >= low + width && low + k <= high; ++k) {
            U const n = U(start + k > high ? start + k - (high - low + 1) : start + k);
            if (isInBag(n) && (width == 1 || ((n - first) % 2 == 0 && n < high && isInBag(n + 1))))
                return free[n - first] = free[n + width - 1 - first] = false, out = n, true;
        }
        return false;
    }
    // clang-format off
    // One step of a script, as bagStep below; n is the cursor and the number taken.
    bool step(uint32_t op, uint32_t a, uint32_t b, U& n) {
        U number = a, pair = uint32_t(n + 2) + (uint32_t(n + 2) - first) % 2;
        switch (op % 10) {
        case 0: return take(first, last, first, 1, n);
        case 1: return isInBag(a) && take(a, a, a, 1, number);
        case 2: return take(a, b, 0u, 1, n);
        case 3: return take(first, last, uint32_t(n + 1), 1, n);
        case 4: return take(a, b, uint32_t(n + 1), 1, n);
        case 5: return take(a, b, uint32_t(pair), 2, n);
        case 6: case 7: return owns(a) && !free[a - first] && (free[a - first] = true);
        case 8: return isInBag(a);
        default: return n = a, true;
        }
    }
};

inline bool bagStep(NumberBag& bag, uint32_t op, uint32_t a, uint32_t b, unsigned long& n) {
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

// Ranges of whole and partial words, at the top and across the middle (ends adding up to
// 2^32 - 1), of one number, outside the model or anywhere; arguments near and past the ends.
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
    // The large bag starts with about one number in 1,024 free: searches cross long taken runs.
    for (unsigned long n = first, taken; pick == 15 && n <= last; ++n)
        if ((uint32_t(n) * 2654435761u) >> 22 != 0 &&
            !(bag.getNumber(n) && model.take(n, n, uint32_t(n), 1, taken)))
            return "fill " + std::to_string(uint32_t(n));
    auto argument = [&in, first, last](uint32_t s) -> uint32_t {
        uint32_t const span = last - first + 1, word = s % 8 < 6 ? 0 : in.word();
        uint32_t const near[] = {first + s / 8, last - s / 8, first - 1, last + 1, 0, UINT32_MAX};
        return s % 8 < 6 ? near[s % 8] : s % 8 == 7 || span == 0 ? word : first + word % span;
    };
    unsigned long cursor = in.word();
    for (unsigned step = 0; in.at < in.end && step < 4000; ++step) {
        uint32_t const op = in.byte(), a = argument(in.byte()), b = argument(in.byte());
        unsigned long got = cursor;
        bool same = bagStep(bag, op, a, b, got) == model.step(op, a, b, cursor) && got == cursor;
        for (uint32_t n : {a, a + 1, b, uint32_t(cursor), uint32_t(cursor + 1), first, last})
            same = same && bag.isInBag(n) == model.isInBag(n);
        if (!same)
            return "operation " + std::to_string(step);
    }
    return "";
}

inline char const* keyArgument(std::string const& key) { return key.c_str(); }
// On 64-bit hosts the key comes with high bits the table must ignore.
inline unsigned long keyArgument(uint32_t key) {
    return static_cast<unsigned long>(uint64_t{key} * 0x100000001u);
}

// A table against (key, value) pairs in insertion order: lookups find a key's oldest pair, walks
// go bucket by bucket, each chain in insertion order. One step in eight also walks.
template <typename Table, typename Key, typename ReadKey, typename Hash>
std::string runTableScript(uint8_t const* bytes, std::size_t length, ReadKey readKey, Hash hash) {
    static char slots[64];
    static std::vector<void*> passed;
    ScriptBytes in{bytes, bytes + length};
    uint32_t const pick = in.byte() % 12, sizes[] = {0, 1, 2, 3, 4, 5, 8, 9, 16, 100};
    unsigned long const size = pick < 10 ? sizes[pick] : in.byte();
    uint32_t mask = 1;
    while (mask + 1 < size)
        mask = 2 * mask + 1;
    Table table(size);
    std::vector<std::pair<Key, void*>> pairs;
    for (unsigned step = 0; in.at < in.end && step < 3000; ++step) {
        uint32_t const op = in.byte() % 16, n = in.byte() % 8;
        Key const key = readKey(in);
        auto const same = [&key](std::pair<Key, void*> const& p) { return p.first == key; };
        auto it = std::find_if(pairs.begin(), pairs.end(), same);
        bool ok = true;
        if (op < 5) {
            pairs.emplace_back(key, &slots[step % 64]);
            ok = table.addEntry(keyArgument(key), pairs.back().second);
        } else if (op < 8) {
            ok = table.removeEntry(keyArgument(key)) == (it != pairs.end());
            pairs.erase(it, it + (it != pairs.end()));
        } else if (op == 8 && n == 0) {
            table.removeAllEntries();
            pairs.clear();
        }
        it = std::find_if(pairs.begin(), pairs.end(), same);
        void* value = slots;
        std::vector<std::vector<void*>> buckets(mask + 1ul);
        for (auto const& p : pairs)
            buckets[hash(p.first) & mask].push_back(p.second);
        auto const bySize = [](auto const& x, auto const& y) { return x.size() < y.size(); };
        if (!ok || table.getValueFromKey(keyArgument(key), &value) != (it != pairs.end()) ||
            value != (it != pairs.end() ? it->second : slots) ||
            table.calculateHash(keyArgument(key)) != (hash(key) & mask) ||
            table.getNumberOfKeys() != pairs.size() ||
            table.getLongestChain() !=
                std::max_element(buckets.begin(), buckets.end(), bySize)->size())
            return "step " + std::to_string(step);
        if (op < 14)
            continue;
        std::vector<void*> walk, out(9);
        for (auto const& bucket : buckets)
            walk.insert(walk.end(), bucket.begin(), bucket.end());
        passed.clear();
        table.passAllPointers(nullptr);
        table.passAllPointers([](void* v) { passed.push_back(v); });
        std::size_t const got = table.getFirstNPointers(n, out.data());
        if (passed != walk || table.getFirstNPointers(n, nullptr) != 0 ||
            got != std::min<std::size_t>(walk.size(), n) || out[got] != nullptr ||
            !std::equal(out.begin(), out.begin() + long(got), walk.begin()))
            return "walk " + std::to_string(step);
    }
    return "";
}

// Keys that collide, repeat or sit at the top; short strings of case variants and high bytes.
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
