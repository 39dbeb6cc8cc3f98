// ParamList's exact form once, then random and damaged forms against a model of the reader.
#include <orvik_utilities/config/ParamList.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <random>

namespace {

using Model = std::map<std::string, std::string>;

String str(std::string const& s) { return String(s.c_str()); } // made here without NUL bytes

std::string std_(String const& s) { return std::string(s.buffer(), std::size_t(s.length())); }

std::string unescape(std::string t) {
    for (std::size_t i = 0; i + 2 < t.size(); ++i)
        if (t[i] == '%' && std::isxdigit(t[i + 1] & 0xFF) && std::isxdigit(t[i + 2] & 0xFF))
            t.replace(i, 3, 1, char(std::stoi(t.substr(i + 1, 2), nullptr, 16)));
    return t;
}

// The reader's "<tag>value</tag>" elements, each tried at the next '<' after the last try.
Model model(std::string const& f) {
    Model m;
    for (std::size_t at = f.find('<'), gt, lt, end; at < f.size(); at = f.find('<', at + 1)) {
        if ((gt = f.find('>', at + 1)) == f.npos || (lt = f.find('<', gt + 1)) == f.npos)
            break;
        std::string const tag = f.substr(at + 1, gt - at - 1);
        at = lt;
        if (f.compare(lt + 1, 1, "/") != 0 || (end = f.find('>', lt + 2)) == f.npos)
            continue;
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
    list.setTagValue(String("hex"), String("FFh"));
    String const& form = list.getTagValueString();
    EXPECT_EQ(std_(form), "<>1</><B>1</B><a>50%25%3c%3e</a><b>1</b><hex>FFh</hex>"
                          "<max>4294967295</max><wide>5</wide>");
    EXPECT_EQ(&list.getTagValueString(), &form);
    unsigned long value = 7;
    EXPECT_TRUE(!list.getTagValue(String("A"), value) && value == 7 &&
                list.getTagValue(String("hex"), value) && value == 255u);
    list.setTagValueString(String("<%39>%30%4a%4A%4f%4F%2g</%39>")); // every digit bound
    EXPECT_EQ(std_(list.getTagValueString()), "<9>0JJOO%252g</9>");
    ParamList::TagValuePair pair, other;
    pair.tag = pair.value = String("1");
    other = ParamList::TagValuePair(pair);
    EXPECT_EQ(std_(other.tag) + std_(other.value), "11");
}

std::string randomText(std::mt19937& rng) {
    std::string t;
    for (auto n = rng() % 6; n > 0; --n)
        t += rng() % 3 ? "%<>/"[rng() % 4] : char(1 + rng() % 255);
    return t;
}

// Random lists' forms, lookups and copies, and their forms run together and damaged.
TEST(ParamListTest, RandomAndDamagedFormsReadAsTheModelSays) {
    std::mt19937 rng(8);
    ParamList copy;
    for (int round = 0; round < 3000; ++round) {
        std::string form;
        for (int half = 0; half < 2; ++half) {
            Model m;
            ParamList list;
            for (auto n = rng() % 8; n > 0; --n) {
                std::string const tag = randomText(rng);
                list.setTagValue(str(tag), str(m[tag] = randomText(rng)));
            }
            ASSERT_EQ(model(std_(list.getTagValueString())), m);
            std::string const probe = randomText(rng);
            String got("kept");
            ASSERT_EQ(list.getTagValue(str(probe), got), m.count(probe) == 1);
            ASSERT_EQ(std_(got), m.count(probe) ? m[probe] : "kept");
            ASSERT_EQ(model(std_((copy = list).getTagValueString())), m);
            form = std_(list.getTagValueString()) + form;
        }
        for (auto k = rng() % 4; k > 0; --k) // a byte inserted, and one removed or not
            form.insert(rng() % (form.size() + 1), 1, "<>/%ab3g0"[rng() % 9]),
                form.erase(rng() % form.size(), rng() % 2);
        copy.setTagValueString(str(form));
        ASSERT_EQ(model(std_(copy.getTagValueString())), model(form)) << form;
    }
}

// Out of memory anywhere: entries are left out or the form is not kept, never half made.
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
        for (auto const& [tag, value] : model(std_(copy.getTagValueString())))
            EXPECT_EQ(model(std_(f))[tag], value);
    });
    EXPECT_GT(injected, 5);
}

} // namespace
