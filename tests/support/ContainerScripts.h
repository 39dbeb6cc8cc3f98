// Random operation scripts for the containers, each run against a small reference model.
// A script is read from bytes, so the unit tests (seeded bytes) and the fuzz target (fuzz
// bytes) drive the same code; each returns "" or a description of the first disagreement.
#ifndef ORVIK_TESTS_SUPPORT_CONTAINER_SCRIPTS_H
#define ORVIK_TESTS_SUPPORT_CONTAINER_SCRIPTS_H

#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/INUInt32HashTable.h>
#include <orvik_utilities/containers/NumberBag.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orvik_test {

// Reads the script; once the bytes run out every read gives 0 and done() turns true.
class ScriptBytes {
public:
    ScriptBytes(uint8_t const* bytes, std::size_t length) : at(bytes), end(bytes + length) {}
    bool done() const { return at >= end; }
    uint32_t byte() { return at < end ? *at++ : 0; }
    uint32_t word() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return value;
    }

private:
    uint8_t const* at;
    uint8_t const* end;
};

// Collects the first disagreement between the container and its model.
class Mismatch {
public:
    bool ok() const { return text.empty(); }
    std::string const& what() const { return text; }
    void check(bool agree, char const* operation, unsigned step, unsigned long detail = 0) {
        if (agree || !text.empty())
            return;
        char line[160];
        std::snprintf(line, sizeof line, "step %u: %s disagrees (argument %lu)", step,
                      operation, detail);
        text = line;
    }

private:
    std::string text;
};

// The bag's rules over a std::set of free numbers: lowest first, round-robin after the
// cursor with wrap-around, ranges clamped to the bag's, pairs at even offsets only.
class NumberBagModel {
public:
    NumberBagModel(uint32_t low, uint32_t high) : first(low), last(high) {
        valid = first <= last && !(first == 0 && last == UINT32_MAX);
        for (uint64_t n = first; valid && n <= last; ++n)
            free.insert(static_cast<uint32_t>(n));
    }
    bool isInBag(uint32_t n) const { return free.count(n) != 0; }
    bool take(uint32_t n) { return free.erase(n) != 0; }
    bool giveBack(uint32_t n) {
        return valid && n >= first && n <= last && free.insert(n).second;
    }
    bool lowest(uint32_t& out) { return takeFound(free.begin(), out); }
    bool inRange(uint32_t lo, uint32_t hi, uint32_t& out) {
        uint32_t low, high;
        if (!clamp(lo, hi, low, high))
            return false;
        auto it = free.lower_bound(low);
        return it != free.end() && *it <= high && takeFound(it, out);
    }
    bool roundRobin(uint32_t cursor, uint32_t& out) {
        uint32_t start = cursor + 1;
        if (start < first || start > last)
            start = first;
        auto it = free.lower_bound(start);
        return takeFound(it != free.end() ? it : free.begin(), out);
    }
    bool inRangeRoundRobin(uint32_t lo, uint32_t hi, uint32_t cursor, uint32_t& out) {
        uint32_t low, high;
        if (!clamp(lo, hi, low, high))
            return false;
        uint32_t start = cursor + 1;
        if (start < low || start > high)
            start = low;
        auto it = free.lower_bound(start);
        if (it == free.end() || *it > high)
            it = free.lower_bound(low);
        return it != free.end() && *it <= high && takeFound(it, out);
    }
    bool pairRoundRobin(uint32_t lo, uint32_t hi, uint32_t cursor, uint32_t& out) {
        uint32_t low, high;
        if (!clamp(lo, hi, low, high) || low == high)
            return false;
        if ((low - first) % 2 != 0)
            ++low;
        uint32_t const pairMax = high - 1;
        if (low > pairMax)
            return false;
        uint32_t start = cursor + 2;
        if ((start - first) % 2 != 0)
            ++start;
        if (start < low || start > pairMax)
            start = low;
        if (!freePair(start, pairMax, out) && (start == low || !freePair(low, start - 1, out)))
            return false;
        free.erase(out);
        free.erase(out + 1);
        return true;
    }

    uint32_t const first;
    uint32_t const last;
    bool valid;

private:
    std::set<uint32_t> free;

    bool clamp(uint32_t lo, uint32_t hi, uint32_t& low, uint32_t& high) const {
        low = lo > first ? lo : first;
        high = hi < last ? hi : last;
        return valid && low <= high;
    }
    bool takeFound(std::set<uint32_t>::iterator it, uint32_t& out) {
        if (it == free.end())
            return false;
        out = *it;
        free.erase(it);
        return true;
    }
    // The first aligned free pair beginning in [from, to]; from is at an even offset.
    bool freePair(uint32_t from, uint32_t to, uint32_t& out) const {
        for (uint64_t n = from; n <= to && from <= to; n += 2) {
            if (isInBag(static_cast<uint32_t>(n)) && isInBag(static_cast<uint32_t>(n + 1))) {
                out = static_cast<uint32_t>(n);
                return true;
            }
        }
        return false;
    }
};

namespace detail {

struct BagRange {
    uint32_t first;
    uint32_t last;
};

// Sizes that are and are not multiples of 32, the top of the 32-bit space, one number,
// and the ranges outside the model (reversed, all 2^32 numbers).
inline BagRange bagRange(ScriptBytes& in) {
    static BagRange const ranges[] = {
        {0, 9},          {100, 163},        {0, 31},          {0, 32},
        {1000, 1009},    {0xFFFFFF00, 0xFFFFFFFF}, {0xFFFFFFE0, 0xFFFFFFFF}, {5, 300},
        {7, 7},          {0, 0},            {10, 9},          {0, 0xFFFFFFFF},
        {0xFFFFFFFF, 0xFFFFFFFF}, {1, 64},  {3, 98},
    };
    uint32_t const pick = in.byte() % 16;
    if (pick < 15)
        return ranges[pick];
    uint32_t const first = in.word();
    uint32_t const count = 1 + (in.byte() << 8 | in.byte()) % 600;
    return {first, first > UINT32_MAX - (count - 1) ? UINT32_MAX : first + (count - 1)};
}

// Arguments near and beyond the range's edges, the 32-bit extremes, and anything at all.
inline uint32_t bagArgument(ScriptBytes& in, BagRange const& r) {
    uint32_t const small = in.byte();
    switch (small % 8) {
    case 0:
        return r.first + small / 8;
    case 1:
        return r.last - small / 8;
    case 2:
        return r.first - 1;
    case 3:
        return r.last + 1;
    case 4:
        return small < 128 ? 0 : UINT32_MAX;
    case 5:
        return in.word();
    default: {
        uint32_t const span = r.last - r.first + 1;
        return r.first + (span == 0 ? in.word() : in.word() % span);
    }
    }
}

} // namespace detail

// Operation sequences on one NumberBag against the model; after each step the whole bag
// (or, for large ones, the numbers just touched) must agree on isInBag.
inline std::string runNumberBagScript(uint8_t const* bytes, std::size_t length) {
    ScriptBytes in(bytes, length);
    detail::BagRange const r = detail::bagRange(in);
    NumberBag bag(r.first, r.last);
    NumberBagModel model(r.first, r.last);
    Mismatch mismatch;
    uint32_t cursor = in.word();
    for (unsigned step = 0; !in.done() && step < 4000 && mismatch.ok(); ++step) {
        uint32_t const op = in.byte() % 10;
        uint32_t const a = detail::bagArgument(in, r);
        uint32_t const b = detail::bagArgument(in, r);
        unsigned long got = cursor;
        uint32_t expected = cursor;
        bool gotOk = false;
        bool expectedOk = false;
        switch (op) {
        case 0:
            gotOk = bag.getNumber(&got);
            expectedOk = model.lowest(expected);
            break;
        case 1:
            gotOk = bag.getNumber(static_cast<unsigned long>(a));
            expectedOk = model.isInBag(a) && model.take(a);
            break;
        case 2:
            gotOk = bag.getNumberInRange(a, b, &got);
            expectedOk = model.inRange(a, b, expected);
            break;
        case 3:
            gotOk = bag.getNumberRoundRobin(&got);
            expectedOk = model.roundRobin(cursor, expected);
            break;
        case 4:
            gotOk = bag.getNumberInRangeRoundRobin(a, b, &got);
            expectedOk = model.inRangeRoundRobin(a, b, cursor, expected);
            break;
        case 5:
            gotOk = bag.getNumberPairInRangeRoundRobin(a, b, &got);
            expectedOk = model.pairRoundRobin(a, b, cursor, expected);
            break;
        case 6:
        case 7:
            gotOk = bag.returnNumber(a);
            expectedOk = model.giveBack(a);
            break;
        case 8:
            gotOk = bag.isInBag(a);
            expectedOk = model.isInBag(a);
            break;
        default:
            cursor = a;
            got = expected = a;
            break;
        }
        mismatch.check(gotOk == expectedOk, "result", step, op);
        mismatch.check(got == expected, "number written", step, op);
        cursor = expected;
        for (uint32_t n : {a, a + 1, b, expected, expected + 1, r.first, r.last})
            mismatch.check(bag.isInBag(n) == model.isInBag(n), "isInBag", step, n);
        if (step % 64 == 0 && r.last - r.first < 1024) {
            for (uint64_t n = r.first; n <= r.last; ++n)
                mismatch.check(bag.isInBag(static_cast<unsigned long>(n)) ==
                                   model.isInBag(static_cast<uint32_t>(n)),
                               "isInBag", step, static_cast<unsigned long>(n));
        }
    }
    return mismatch.what();
}

// A hash table's observable state as a list of (key, value) in insertion order: lookups
// find the oldest node of a key, and the table's walk order is bucket by bucket with each
// chain in insertion order.
template <typename Key> class TableModel {
public:
    using Bucket = uint32_t (*)(Key const&, uint32_t mask);
    TableModel(unsigned long size, Bucket bucketFunction) : bucketOf(bucketFunction) {
        while (mask + 1 < size)
            mask = 2 * mask + 1;
    }
    void add(Key key, void* value) { nodes.emplace_back(std::move(key), value); }
    bool find(Key const& key, void*& value) const {
        for (auto const& node : nodes) {
            if (node.first == key) {
                value = node.second;
                return true;
            }
        }
        return false;
    }
    bool remove(Key const& key) {
        for (auto it = nodes.begin(); it != nodes.end(); ++it) {
            if (it->first == key) {
                nodes.erase(it);
                return true;
            }
        }
        return false;
    }
    void clear() { nodes.clear(); }
    std::vector<void*> walk() const {
        std::vector<void*> values;
        for (uint32_t b = 0; b <= mask; ++b) {
            for (auto const& node : nodes) {
                if (bucketOf(node.first, mask) == b)
                    values.push_back(node.second);
            }
        }
        return values;
    }
    unsigned long size() const { return nodes.size(); }
    unsigned long longestChain() const {
        std::vector<unsigned long> lengths(std::size_t{mask} + 1);
        unsigned long longest = 0;
        for (auto const& node : nodes) {
            unsigned long const length = ++lengths[bucketOf(node.first, mask)];
            longest = length > longest ? length : longest;
        }
        return longest;
    }
    uint32_t bucket(Key const& key) const { return bucketOf(key, mask); }

private:
    Bucket bucketOf;
    uint32_t mask = 1;
    std::vector<std::pair<Key, void*>> nodes;
};

inline uint32_t modelIntegerBucket(uint32_t const& key, uint32_t mask) { return key & mask; }

inline uint32_t modelStringBucket(std::string const& key, uint32_t mask) {
    uint32_t h = 0;
    for (char c : key)
        h = h ^ (h << 5) ^ static_cast<unsigned char>(c);
    return h & mask;
}

namespace detail {

// passAllPointers takes a plain function, so the values it passes are gathered here.
inline std::vector<void*>& passedValues() {
    static std::vector<void*> values;
    return values;
}
inline void gatherValue(void* value) { passedValues().push_back(value); }

inline unsigned long tableSize(ScriptBytes& in) {
    static unsigned long const sizes[] = {0, 1, 2, 3, 4, 5, 8, 9, 16, 100};
    uint32_t const pick = in.byte() % 12;
    return pick < 10 ? sizes[pick] : in.byte();
}

// Keys that collide in small tables, repeat, sit at the 32-bit top, or are anything.
inline uint32_t integerKey(ScriptBytes& in) {
    uint32_t const pick = in.byte();
    switch (pick % 4) {
    case 0:
        return pick / 4 % 12;
    case 1:
        return (pick / 4 % 8) << 4 | 5;
    case 2:
        return UINT32_MAX - pick / 4 % 4;
    default:
        return in.word();
    }
}

// Short keys over a few letters, case variants and bytes above 0x7F (signed on x86).
inline std::string stringKey(ScriptBytes& in) {
    static char const letters[] = {'a', 'b', 'A', 'k', '\xE9', '\x80', 'y', '\xFF'};
    uint32_t const length = in.byte() % 5;
    std::string key;
    for (uint32_t i = 0; i < length; ++i)
        key += letters[in.byte() % 8];
    return key;
}

// Runs one table against its model; keyOf reads a key, call(key) forms what the table takes.
template <typename Table, typename Key, typename ReadKey, typename Pass>
std::string runTableScript(ScriptBytes& in, Table& table, TableModel<Key>& model,
                           ReadKey readKey, Pass pass) {
    static char slots[64];
    Mismatch mismatch;
    unsigned serial = 0;
    for (unsigned step = 0; !in.done() && step < 3000 && mismatch.ok(); ++step) {
        uint32_t const op = in.byte() % 16;
        Key const key = readKey(in);
        switch (op) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4: {
            void* const value = &slots[serial++ % 64];
            mismatch.check(pass.add(table, key, value), "addEntry", step, op);
            model.add(key, value);
            break;
        }
        case 5:
        case 6:
        case 7: {
            mismatch.check(pass.remove(table, key) == model.remove(key), "removeEntry", step);
            break;
        }
        case 8: {
            unsigned long const n = in.byte() % (model.size() + 3);
            std::vector<void*> got(n + 1, nullptr);
            unsigned long const written = table.getFirstNPointers(n, got.data());
            std::vector<void*> const all = model.walk();
            mismatch.check(written == (n < all.size() ? n : all.size()), "getFirstNPointers",
                           step, n);
            mismatch.check(got[written] == nullptr, "getFirstNPointers bound", step, n);
            for (unsigned long i = 0; i < written && i < all.size(); ++i)
                mismatch.check(got[i] == all[i], "getFirstNPointers order", step, i);
            break;
        }
        case 9: {
            passedValues().clear();
            table.passAllPointers(gatherValue);
            mismatch.check(passedValues() == model.walk(), "passAllPointers", step);
            break;
        }
        case 10:
            if (in.byte() % 8 == 0) {
                table.removeAllEntries();
                model.clear();
            }
            break;
        default:
            break;
        }
        void* found = &slots[0];
        void* expected = &slots[0];
        bool const present = model.find(key, expected);
        mismatch.check(pass.find(table, key, &found) == present, "getValueFromKey", step);
        mismatch.check(found == expected, "value found", step);
        mismatch.check(pass.hash(table, key) == model.bucket(key), "calculateHash", step);
        mismatch.check(table.getNumberOfKeys() == model.size(), "getNumberOfKeys", step);
        mismatch.check(table.getLongestChain() == model.longestChain(), "getLongestChain", step);
    }
    return mismatch.what();
}

struct IntegerCalls {
    bool add(INUInt32HashTable& t, uint32_t key, void* value) const {
        return t.addEntry(key, value);
    }
    bool remove(INUInt32HashTable& t, uint32_t key) const { return t.removeEntry(key); }
    bool find(INUInt32HashTable& t, uint32_t key, void** value) const {
        return t.getValueFromKey(key, value);
    }
    unsigned long hash(INUInt32HashTable& t, uint32_t key) const { return t.calculateHash(key); }
};

// Each key is handed over in a scratch buffer that is overwritten right after, so a table
// that kept the caller's text instead of its own copy goes wrong.
struct StringCalls {
    bool add(INStringHashTable& t, std::string const& key, void* value) const {
        std::vector<char> scratch(key.begin(), key.end());
        scratch.push_back('\0');
        bool const added = t.addEntry(scratch.data(), value);
        std::memset(scratch.data(), '#', scratch.size());
        return added;
    }
    bool remove(INStringHashTable& t, std::string const& key) const {
        return t.removeEntry(key.c_str());
    }
    bool find(INStringHashTable& t, std::string const& key, void** value) const {
        return t.getValueFromKey(key.c_str(), value);
    }
    unsigned long hash(INStringHashTable& t, std::string const& key) const {
        return t.calculateHash(key.c_str());
    }
};

} // namespace detail

inline std::string runIntegerTableScript(uint8_t const* bytes, std::size_t length) {
    ScriptBytes in(bytes, length);
    unsigned long const size = detail::tableSize(in);
    INUInt32HashTable table(size, HASH_FUNCTION_DEFAULT);
    TableModel<uint32_t> model(size, modelIntegerBucket);
    return detail::runTableScript(in, table, model, detail::integerKey, detail::IntegerCalls{});
}

inline std::string runStringTableScript(uint8_t const* bytes, std::size_t length) {
    ScriptBytes in(bytes, length);
    unsigned long const size = detail::tableSize(in);
    INStringHashTable table(size);
    TableModel<std::string> model(size, modelStringBucket);
    return detail::runTableScript(in, table, model, detail::stringKey, detail::StringCalls{});
}

// Runs script over count byte strings drawn from a fixed seed; "" or the first failure.
template <typename Script>
std::string runSeededScripts(Script script, uint32_t seed, int count, std::size_t length) {
    std::mt19937 random(seed);
    std::vector<uint8_t> bytes(length);
    for (int i = 0; i < count; ++i) {
        for (uint8_t& b : bytes)
            b = static_cast<uint8_t>(random());
        std::string const failure = script(bytes.data(), bytes.size());
        if (!failure.empty())
            return "script " + std::to_string(i) + ", " + failure;
    }
    return "";
}

} // namespace orvik_test

#endif
