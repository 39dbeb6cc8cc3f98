// ParamList: the exact string form once, then random lists over every non-NUL byte, their
// forms run together and damaged, read against a model of the reader's rules.
#include <orvik_utilities/config/ParamList.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <random>
#include <string>

namespace {

using Model = std::map<std::string, std::string>;
std::size_t const npos = std::string::npos;

// Forms, tags and values made here hold no NUL byte.
String str(std::string const& s) { return String(s.c_str()); }

std::string std_(String const& s) { return std::string(s.buffer(), std::size_t(s.length())); }

std::string unescape(std::string const& t) {
    std::string r;
    for (std::size_t i = 0; i < t.size(); ++i) {
        bool const code = t[i] == '%' && i + 2 < t.size() && std::isxdigit(t[i + 1] & 0xFF) &&
                          std::isxdigit(t[i + 2] & 0xFF);
        r += code ? char(std::stoi(t.substr(i + 1, 2), nullptr, 16)) : t[i];
        i += code ? 2 : 0;
    }
    return r;
}

// What the reader makes of a form: "<tag>value</tag>" elements, each tried at the next '<'
// after where the last attempt stopped; the last of equal tags wins.
Model model(String const& form) {
    std::string const f = std_(form);
    Model m;
    for (std::size_t at = f.find('<'); at < f.size(); at = f.find('<', at + 1)) {
        std::size_t const gt = f.find('>', at + 1);
        std::size_t const lt = gt == npos ? npos : f.find('<', gt + 1);
        if (lt == npos)
            break;
        if (lt + 1 < f.size() && f[lt + 1] != '/') {
            at = lt;
            continue;
        }
        std::size_t const end = f.find('>', lt + 2);
        if (end == npos)
            break;
        std::string const tag = f.substr(at + 1, gt - at - 1);
        if (f.compare(lt + 2, end - lt - 2, tag) == 0)
            m[unescape(tag)] = unescape(f.substr(gt + 1, lt - gt - 1));
        at = end;
    }
    return m;
}

TEST(ParamListTest, WritesSortedEscapedElementsAndCachesTheForm) {
    ParamList list;
    for (char const* tag : {"b", "a", "B", "a", ""})
        list.setTagValue(String(tag), String(tag[0] == 'a' ? "50%<>" : "1"));
    list.setTagValue(String("max"), 4294967295ul);
    list.setTagValue(String("wide"), static_cast<unsigned long>(0x100000005ull));
    String const& form = list.getTagValueString();
    EXPECT_EQ(std_(form), "<>1</><B>1</B><a>50%25%3c%3e</a><b>1</b><max>4294967295</max>"
                          "<wide>5</wide>");
    EXPECT_EQ(&list.getTagValueString(), &form);
    unsigned long value = 7;
    list.setTagValue(String("hex"), String("FFh"));
    EXPECT_FALSE(list.getTagValue(String("A"), value));
    EXPECT_TRUE(value == 7 && list.getTagValue(String("hex"), value) && value == 255u);
    list.setTagValueString(String("<%39>%30%4a%4A%4f%4F%2g</%39>")); // every digit bound
    EXPECT_EQ(std_(list.getTagValueString()), "<9>0JJOO%252g</9>");
    ParamList::TagValuePair pair, other;
    pair.tag = String("B");
    pair.value = String("1");
    other = ParamList::TagValuePair(pair);
    EXPECT_EQ(std_(other.tag) + std_(other.value), "B1");
}

std::string randomText(std::mt19937& rng) {
    std::string t;
    for (auto n = rng() % 6; n > 0; --n)
        t += rng() % 3 ? "%<>/"[rng() % 4] : char(1 + rng() % 255);
    return t;
}

// Random lists: the form holds the model, lookups find every entry and nothing else, and a
// copy is equal. Two forms run together out of order, then damaged anywhere: the reader
// takes exactly the well-formed elements, the last of equal tags winning.
TEST(ParamListTest, RandomAndDamagedFormsReadAsTheModelSays) {
    std::mt19937 rng(8);
    ParamList copy;
    for (int round = 0; round < 3000; ++round) {
        std::string form;
        for (int half = 0; half < 2; ++half) {
            Model m;
            ParamList list;
            for (auto n = rng() % 8; n > 0; --n) {
                std::string const tag = randomText(rng), value = randomText(rng);
                m[tag] = value;
                list.setTagValue(str(tag), str(value));
            }
            ASSERT_EQ(model(list.getTagValueString()), m);
            std::string const probe = randomText(rng);
            String got("kept");
            ASSERT_EQ(list.getTagValue(str(probe), got), m.count(probe) == 1);
            ASSERT_EQ(std_(got), m.count(probe) ? m[probe] : "kept");
            ASSERT_EQ(&(copy = copy = list), &copy);
            ASSERT_EQ(model(copy.getTagValueString()), m);
            form = std_(list.getTagValueString()) + form;
        }
        for (auto k = rng() % 4; k > 0; --k) {
            auto const at = rng() % (form.size() + 1);
            char const piece = "<>/%ab3g0"[rng() % 9];
            if (rng() % 2)
                form.insert(at, 1, piece);
            else if (at < form.size())
                rng() % 2 ? void(form.erase(at, 1)) : void(form[at] = piece);
        }
        copy.setTagValueString(str(form));
        ASSERT_EQ(model(copy.getTagValueString()), model(str(form))) << form;
    }
}

// Out of memory at any point: entries are left out or the form is not kept, never half
// made, and nothing leaks.
TEST(ParamListTest, AllocationFailuresLeaveAConsistentList) {
    int const injected = orvik_test::sweepAllocationFailures([](auto& fault, bool& hit) {
        ParamList list, copy;
        String const text("<b>2</b><a>%3c</a><c>3</c>"), d("d"), e("e"), five("5");
        fault.arm();
        list.setTagValueString(text);
        list.setTagValue(d, 4ul);
        list.setTagValue(e, five);
        String const form = list.getTagValueString();
        copy = list;
        hit = fault.disarm();
        String const& f = list.getTagValueString();
        EXPECT_TRUE(form.length() == 0 || std_(form) == std_(f));
        Model all = model(f);
        for (auto const& [tag, value] : model(copy.getTagValueString()))
            EXPECT_EQ(all[tag], value);
    });
    EXPECT_GT(injected, 5);
}

} // namespace
