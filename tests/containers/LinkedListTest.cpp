// Intrusive list templates: order both ways, insertion and its refusals, ownership.
#include <orvik_utilities/containers/LinkedList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

int destroyed = 0;

struct Item : LinkedListElement<Item> {
    explicit Item(char itemName) : name(itemName) {}
    ~Item() override { ++destroyed; }
    char name;
};

// Reads the manager's last element and count, which have no accessors of their own, and
// checks that both directions agree: returns the names front to back.
struct List : LinkedListManager<Item> {
    std::string names() const {
        std::string forwards, backwards;
        LinkedListIterator<Item> ahead(firstElmt()), behind(last);
        while (Item* item = ahead.next())
            forwards += item->name;
        while (Item* item = behind.prev())
            backwards += item->name;
        std::reverse(backwards.begin(), backwards.end());
        return forwards == backwards && forwards.size() == count ? forwards : "broken";
    }
};

TEST(LinkedListTest, AppendedElementsIterateInOrderBothWays) {
    EXPECT_EQ(sizeof(LinkedListIterator<Item>), 2 * sizeof(void*));
    List list;
    Item* p = new Item('p');
    EXPECT_TRUE(list.add(p) && list.add(new Item('q')) && list.add(new Item('r')));
    EXPECT_EQ(list.names(), "pqr");
    EXPECT_EQ(p->getPrev(), nullptr);
    EXPECT_EQ(static_cast<Item const*>(p)->getNext()->name, 'q');
    LinkedListIterator<Item> it(p);
    EXPECT_TRUE(it.hasNext());
    EXPECT_FALSE(it.hasPrev());
    it.next();
    EXPECT_TRUE(it.hasNext() && it.hasPrev());
    it.next();
    EXPECT_FALSE(it.hasNext());
    EXPECT_EQ(it.next()->name, 'r');
    EXPECT_EQ(it.next(), nullptr);
    EXPECT_EQ(it.prev(), nullptr);
    EXPECT_FALSE(it.hasNext() || it.hasPrev());
}

TEST(LinkedListTest, InsertsInFrontOfTheGivenElementOrAppends) {
    char const* const orders[] = {"xab", "axb", "abx"};
    for (int before = 0; before < 3; ++before) {
        List list;
        Item* items[] = {new Item('a'), new Item('b'), nullptr};
        list.add(items[0]);
        list.add(items[1]);
        EXPECT_TRUE(list.add(new Item('x'), items[before]));
        EXPECT_EQ(list.names(), orders[before]);
    }
}

TEST(LinkedListTest, RefusesLinkedElementsAndStrangersWithoutChange) {
    List list, other;
    Item* a = new Item('a');
    Item* b = new Item('b');
    list.add(a);
    list.add(b);
    Item* linked = new Item('l');
    other.add(new Item('k'));
    other.add(linked);
    Item stranger('s');
    Item* x = new Item('x');
    EXPECT_FALSE(list.add(nullptr));
    EXPECT_FALSE(list.add(nullptr, a));
    EXPECT_FALSE(list.add(linked, b));
    EXPECT_FALSE(list.add(linked, nullptr));
    EXPECT_FALSE(list.add(other.firstElmt(), nullptr));
    EXPECT_FALSE(list.add(x, &stranger));
    EXPECT_EQ(list.names(), "ab");
    EXPECT_EQ(other.names(), "kl");
    EXPECT_TRUE(x->getNext() == nullptr && stranger.getPrev() == nullptr);
    delete x;
}

TEST(LinkedListTest, ClearAndDestructionDeleteEveryElement) {
    destroyed = 0;
    {
        List list;
        list.clear();
        for (char c : std::string("abcd"))
            list.add(new Item(c));
        list.clear();
        EXPECT_EQ(destroyed, 4);
        EXPECT_EQ(list.firstElmt(), nullptr);
        EXPECT_EQ(list.names(), "");
        list.add(new Item('e'));
        list.add(new Item('f'), list.firstElmt());
        EXPECT_EQ(list.names(), "fe");
    }
    EXPECT_EQ(destroyed, 6);
}

TEST(LinkedListTest, OneElementIteratorSaysNoNextYetGivesTheElement) {
    List list;
    list.add(new Item('o'));
    LinkedListIterator<Item> it(list.firstElmt());
    AbstractIterator<Item>& abstract = it;
    EXPECT_FALSE(abstract.hasNext());
    EXPECT_EQ(abstract.next(), list.firstElmt());
    EXPECT_EQ(abstract.next(), nullptr);
    // Copies of elements start unlinked, and assignment keeps each element's place.
    Item copy(*list.firstElmt());
    EXPECT_EQ(copy.getPrev(), nullptr);
    list.add(new Item('p'));
    *list.firstElmt() = Item('z');
    EXPECT_EQ(list.names(), "zp");
}

} // namespace
