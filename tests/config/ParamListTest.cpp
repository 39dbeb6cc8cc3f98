// ParamList: ordering, the string form and its tolerant reader, round trips of random lists
// over every non-NUL byte, and random damage to valid forms.
#include <orvik_utilities/config/ParamList.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

String str(std::string const& s) {
    String out;
    out.concat(s.data(), long(s.size()));
    return out;
}

std::string std_(String const& s) { return std::string(s.buffer(), std::size_t(s.length())); }

// The entries in list order, read from the form by an independent parser of the writer's
// output.
Entries entriesOf(ParamList const& list) {
    Entries out;
    std::string const f = std_(list.getTagValueString());
    auto unescape = [](std::string const& t) {
        std::string r;
        for (std::size_t i = 0; i < t.size(); ++i) {
            if (t[i] == '%') {
                r += char(std::stoi(t.substr(i + 1, 2), nullptr, 16));
                i += 2;
            } else {
                r += t[i];
            }
        }
        return r;
    };
    std::size_t pos = 0;
    while (pos < f.size()) {
        std::size_t const gt = f.find('>', pos);
        std::string const tag = f.substr(pos + 1, gt - pos - 1);
        std::size_t const lt = f.find('<', gt);
        out.emplace_back(unescape(tag), unescape(f.substr(gt + 1, lt - gt - 1)));
        pos = lt + 2 + tag.size() + 1;
    }
    return out;
}

Entries parsed(std::string const& form) {
    ParamList list;
    list.setTagValueString(str(form));
    return entriesOf(list);
}

TEST(ParamListTest, KeepsTagsSortedAndUnique) {
    ParamList list;
    EXPECT_EQ(std_(list.getTagValueString()), "");
    for (char const* tag : {"b", "a", "c"})
        list.setTagValue(String(tag), String("1"));
    EXPECT_EQ(std_(list.getTagValueString()), "<a>1</a><b>1</b><c>1</c>");
    list.setTagValue(String("B"), String("2"));
    list.setTagValue(String("a"), String("3"));
    list.setTagValue(String(""), String("e"));
    EXPECT_EQ(std_(list.getTagValueString()), "<>e</><B>2</B><a>3</a><b>1</b><c>1</c>");
    String value("untouched");
    EXPECT_TRUE(list.getTagValue(String("a"), value));
    EXPECT_EQ(std_(value), "3");
    EXPECT_FALSE(list.getTagValue(String("aa"), value));
    EXPECT_FALSE(list.getTagValue(String("A"), value));
    EXPECT_FALSE(list.getTagValue(String("d"), value));
    EXPECT_EQ(std_(value), "3");
    EXPECT_TRUE(list.getTagValue(String(""), value));
    EXPECT_EQ(std_(value), "e");

    ParamList example;
    example.setTagValue(String("name"), String("a<b"));
    example.setTagValue(String("mode"), String("50%"));
    EXPECT_EQ(std_(example.getTagValueString()), "<mode>50%25</mode><name>a%3cb</name>");
}

TEST(ParamListTest, UnsignedValuesAndTheCachedForm) {
    ParamList list;
    list.setTagValue(String("max"), 4294967295ul);
    list.setTagValue(String("zero"), 0ul);
    String const& form = list.getTagValueString();
    EXPECT_EQ(std_(form), "<max>4294967295</max><zero>0</zero>");
    EXPECT_EQ(&list.getTagValueString(), &form);
    unsigned long value = 7;
    EXPECT_TRUE(list.getTagValue(String("max"), value));
    EXPECT_EQ(value, 4294967295ul);
    EXPECT_FALSE(list.getTagValue(String("min"), value));
    EXPECT_EQ(value, 4294967295ul);
    list.setTagValue(String("hex"), String("FFh"));
    EXPECT_TRUE(list.getTagValue(String("hex"), value));
    EXPECT_EQ(value, 255u);
    EXPECT_EQ(std_(list.getTagValueString()), "<hex>FFh</hex><max>4294967295</max><zero>0</zero>");
    if (sizeof(unsigned long) > 4) {
        list.setTagValue(String("wide"), static_cast<unsigned long>(0x100000005ull));
        EXPECT_TRUE(list.getTagValue(String("wide"), value));
        EXPECT_EQ(value, 5u);
    }
}

TEST(ParamListTest, ReaderSkipsWhatIsNotAnElement) {
    struct Case {
        char const* form;
        Entries expected;
    } const cases[] = {
        {"junk<a>1</a>more<b>2</b>tail", {{"a", "1"}, {"b", "2"}}},
        {"<a>1</b>", {}},
        {"<a><b>1</b></a>", {}},
        {"<a>1</a><a>2</a>", {{"a", "2"}}},
        {"<a>%3C%3e</a>", {{"a", "<>"}}},
        {"<>v</", {}},
        {"<>v</>", {{"", "v"}}},
        {"<a>x/y</a>", {{"a", "x/y"}}},
        {"<a>1</b><c>2</c>", {{"c", "2"}}},
        {"<a>1</a", {}},
        {"<a>1", {}},
        {"<a", {}},
        {"<%3c>%3e</%3c>", {{"<", ">"}}},
        {"<a%>1</a%>", {{"a%", "1"}}},
        // A '%' without two hexadecimal digits stays, with what follows it.
        {"<a>50%</a><b>%4</b><c>%zz%</c><d>%g1</d>", {{"a", "50%"}, {"b", "%4"}, {"c", "%zz%"},
                                                     {"d", "%g1"}}},
        // A decoded '%' is not decoded again; "%00" is a NUL byte.
        {"<a>%2541</a><b>x%00y</b>", {{"a", "%41"}, {"b", std::string("x\0y", 3)}}},
        {"<b>2</b><a>1</a>", {{"a", "1"}, {"b", "2"}}},
    };
    for (auto const& c : cases)
        EXPECT_EQ(parsed(c.form), c.expected) << c.form;
    ParamList list;
    list.setTagValue(String("old"), String("x"));
    list.setTagValueString(String("<new>y</new>"));
    EXPECT_EQ(std_(list.getTagValueString()), "<new>y</new>");
}

std::string randomText(std::mt19937& rng) {
    static char const special[] = "%<>/";
    std::string t;
    for (auto n = rng() % 6; n > 0; --n)
        t += rng() % 3 ? special[rng() % 4] : char(1 + rng() % 255);
    return t;
}

TEST(ParamListTest, RandomListsRoundTripThroughTheirForm) {
    std::mt19937 rng(21);
    for (int round = 0; round < 400; ++round) {
        std::map<std::string, std::string> model;
        ParamList list;
        for (auto n = rng() % 12; n > 0; --n) {
            std::string const tag = randomText(rng), value = randomText(rng);
            model[tag] = value;
            list.setTagValue(str(tag), str(value));
        }
        Entries const expected(model.begin(), model.end());
        String const form = list.getTagValueString();
        ASSERT_EQ(entriesOf(list), expected);
        ParamList back;
        back.setTagValueString(form);
        ASSERT_EQ(entriesOf(back), expected) << std_(form);
        ASSERT_EQ(std_(back.getTagValueString()), std_(form));
        for (auto const& [tag, value] : model) {
            String got;
            ASSERT_TRUE(back.getTagValue(str(tag), got));
            ASSERT_EQ(std_(got), value);
        }
    }
}

// Damage anywhere: the reader ends, takes only well-formed elements, and its result is
// stable under another round trip. Junk without '<' and complete elements with a wrong
// closing tag cost no neighbour.
TEST(ParamListTest, DamagedFormsNeverCrashOrInventEntries) {
    std::mt19937 rng(8);
    char const pieces[] = "<>/%ab3";
    for (int round = 0; round < 3000; ++round) {
        ParamList list;
        for (auto n = 1 + rng() % 6; n > 0; --n)
            list.setTagValue(str(randomText(rng)), str(randomText(rng)));
        std::string form = std_(list.getTagValueString());
        for (auto k = 1 + rng() % 3; k > 0; --k) {
            auto const at = rng() % (form.size() + 1);
            switch (rng() % 3) {
            case 0:
                if (at < form.size())
                    form.erase(at, 1);
                break;
            case 1:
                form.insert(at, 1, pieces[rng() % (sizeof pieces - 1)]);
                break;
            default:
                if (at < form.size())
                    form[at] = pieces[rng() % (sizeof pieces - 1)];
            }
        }
        ParamList damaged;
        damaged.setTagValueString(str(form));
        std::string const again = std_(damaged.getTagValueString());
        ParamList twice;
        twice.setTagValueString(str(again));
        ASSERT_EQ(std_(twice.getTagValueString()), again) << form;
        std::size_t closings = 0;
        for (std::size_t at = form.find("</"); at != std::string::npos; at = form.find("</", at + 1))
            ++closings;
        ASSERT_LE(entriesOf(damaged).size(), closings) << form;
    }
    Entries const good{{"a", "1"}, {"b", "2"}, {"c", "3"}};
    EXPECT_EQ(parsed("x<a>1</a>no tag here/<b>2</b><q>z</r><c>3</c>>"), good);
}

TEST(ParamListTest, AssignmentGivesAnEqualList) {
    ParamList source;
    source.setTagValue(String("k2"), String("v2"));
    source.setTagValue(String("k1"), String("v1"));
    ParamList target;
    target.setTagValue(String("k1"), String("old"));
    target.setTagValue(String("k9"), String("gone"));
    EXPECT_EQ(std_(target.getTagValueString()), "<k1>old</k1><k9>gone</k9>");
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(std_(target.getTagValueString()), "<k1>v1</k1><k2>v2</k2>");
    target = target;
    EXPECT_EQ(std_(target.getTagValueString()), "<k1>v1</k1><k2>v2</k2>");
    ParamList empty;
    target = empty;
    EXPECT_EQ(std_(target.getTagValueString()), "");

    ParamList::TagValuePair a;
    a.tag = "t";
    a.value = "v";
    ParamList::TagValuePair b(a);
    EXPECT_EQ(b.getNext(), nullptr);
    EXPECT_EQ(std_(b.tag) + std_(b.value), "tv");
    ParamList::TagValuePair c;
    c = b;
    EXPECT_EQ(std_(c.tag) + std_(c.value), "tv");
}

// Out of memory at any point: entries are left out or the form is not kept, never half
// made, and nothing leaks.
TEST(ParamListTest, AllocationFailuresLeaveAConsistentList) {
    int const injected = orvik_test::sweepAllocationFailures([](auto& fault, bool& hit) {
        ParamList list;
        fault.arm();
        list.setTagValueString(String("<b>2</b><a>%3c</a><c>3</c>"));
        list.setTagValue(String("d"), 4ul);
        String const form = list.getTagValueString();
        ParamList copy;
        copy = list;
        hit = fault.disarm();
        std::string const f = std_(list.getTagValueString());
        for (auto const& entry : entriesOf(copy)) {
            String value;
            EXPECT_TRUE(list.getTagValue(str(entry.first), value) && std_(value) == entry.second);
        }
        EXPECT_TRUE(form.length() == 0 || std_(form) == f);
        ParamList back;
        back.setTagValueString(str(f));
        EXPECT_EQ(std_(back.getTagValueString()), f);
    });
    EXPECT_GT(injected, 5);
}

} // namespace
