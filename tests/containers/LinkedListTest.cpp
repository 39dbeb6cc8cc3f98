// The intrusive list: additions in place, refusals, deletion and iterators, read through a
// manager that sees the last element and the count.
#include <orvik_utilities/containers/LinkedList.h>

#include <gtest/gtest.h>

#include <string>

namespace {

int destroyed = 0;

struct Item : LinkedListElement<Item> {
    explicit Item(char itemName) : name(itemName) {}
    ~Item() override { ++destroyed; }
    char name;
};

// Reads the last element and the count, which have no accessors: the names front to back,
// or "broken" when the two directions or the count disagree.
struct List : LinkedListManager<Item> {
    std::string names() const {
        std::string forwards, backwards;
        LinkedListIterator<Item> ahead(firstElmt()), behind(last);
        while (Item* item = ahead.next())
            forwards += item->name;
        while (Item* item = behind.prev())
            backwards.insert(0, 1, item->name);
        return forwards == backwards && forwards.size() == count ? forwards : "broken";
    }
};

// Elements go at the end or in front of a member; linked elements, strangers and null are
// refused without change; clearing and destruction delete every element. hasNext looks one
// element ahead, so on the last element it is false yet next() still gives it; copies of
// elements start unlinked and assignment keeps each element's place.
TEST(LinkedListTest, AddsRefusesDeletesIteratesAndCopies) {
    destroyed = 0;
    {
        List list, other;
        Item *a = new Item('a'), *b = new Item('b'), *x = new Item('x'), stranger('s');
        EXPECT_TRUE(list.add(a) && list.add(b) && list.add(new Item('c'), a) &&
                    list.add(new Item('d'), b) && list.add(new Item('e'), nullptr) &&
                    other.add(new Item('k')) && other.add(new Item('l')));
        EXPECT_FALSE(list.add(nullptr) || list.add(nullptr, a) || list.add(b, a) ||
                     list.add(list.firstElmt(), nullptr) || list.add(x, &stranger) ||
                     list.add(other.firstElmt(), nullptr));
        EXPECT_EQ(list.names() + other.names(), "cadbekl");
        EXPECT_TRUE(x->getNext() == nullptr && stranger.getPrev() == nullptr);
        delete x;
        list.clear();
        EXPECT_EQ(destroyed, 6);
        EXPECT_TRUE(list.add(new Item('f')) && list.add(new Item('g'), list.firstElmt()));
        LinkedListIterator<Item> it(list.firstElmt());
        AbstractIterator<Item>& abstract = it;
        EXPECT_TRUE(abstract.hasNext() && !it.hasPrev() && abstract.next()->name == 'g');
        EXPECT_TRUE(!it.hasNext() && it.hasPrev());
        EXPECT_EQ(static_cast<Item const*>(it.prev())->getNext(), nullptr);
        EXPECT_TRUE(it.next() == list.firstElmt() && it.next()->name == 'f');
        EXPECT_TRUE(it.next() == nullptr && it.prev() == nullptr && !it.hasNext() && !it.hasPrev());
        Item copy(*list.firstElmt());
        EXPECT_EQ(copy.getPrev(), nullptr);
        *list.firstElmt() = Item('z');
        EXPECT_EQ(list.names(), "zf");
    }
    EXPECT_EQ(destroyed, 13); // and the copy and the temporary
}

} // namespace
