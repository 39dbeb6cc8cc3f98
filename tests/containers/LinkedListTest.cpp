// Intrusive list templates: order both ways, insertion and its refusals, ownership.
#include <orvik_utilities/containers/LinkedList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>

namespace {

int destroyed = 0;

struct Item : LinkedListElement<Item> {
    explicit Item(char itemName) : name(itemName) {}
    ~Item() override { ++destroyed; }
    char name;
};

// Exposes the manager's ends and count, which have no accessors of their own.
struct List : LinkedListManager<Item> {
    Item* lastElmt() const { return last; }
    uint32_t size() const { return count; }
};

std::string forwards(List const& list) {
    std::string names;
    LinkedListIterator<Item> it(list.firstElmt());
    while (Item* item = it.next())
        names += item->name;
    return names;
}

std::string backwards(List const& list) {
    std::string names;
    LinkedListIterator<Item> it(list.lastElmt());
    while (Item* item = it.prev())
        names += item->name;
    return names;
}

TEST(LinkedListTest, ClassesArePolymorphicWithVirtualDestructors) {
    EXPECT_TRUE(std::has_virtual_destructor<LinkedListElement<Item>>::value);
    EXPECT_TRUE(std::has_virtual_destructor<LinkedListManager<Item>>::value);
    EXPECT_TRUE(std::has_virtual_destructor<AbstractIterator<Item>>::value);
    EXPECT_TRUE((std::is_base_of<AbstractIterator<Item>, LinkedListIterator<Item>>::value));
    EXPECT_EQ(sizeof(LinkedListElement<Item>), 3 * sizeof(void*));
    EXPECT_EQ(sizeof(LinkedListIterator<Item>), 2 * sizeof(void*));
}

TEST(LinkedListTest, AppendedElementsIterateInOrderBothWays) {
    List list;
    Item* p = new Item('p');
    EXPECT_TRUE(list.add(p));
    EXPECT_TRUE(list.add(new Item('q')));
    EXPECT_TRUE(list.add(new Item('r')));
    EXPECT_EQ(forwards(list), "pqr");
    EXPECT_EQ(backwards(list), "rqp");
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(p->getPrev(), nullptr);
    EXPECT_EQ(p->getNext()->getNext(), list.lastElmt());
    Item const* constP = p;
    EXPECT_EQ(constP->getNext(), p->getNext());
    LinkedListIterator<Item> it(p);
    EXPECT_TRUE(it.hasNext());
    EXPECT_FALSE(it.hasPrev());
    it.next();
    EXPECT_TRUE(it.hasPrev());
    it.next();
    EXPECT_FALSE(it.hasNext());
    EXPECT_EQ(it.next()->name, 'r');
    EXPECT_EQ(it.next(), nullptr);
    EXPECT_EQ(it.prev(), nullptr);
    EXPECT_FALSE(it.hasNext());
    EXPECT_FALSE(it.hasPrev());
}

TEST(LinkedListTest, InsertsInFrontOfTheGivenElementOrAppends) {
    struct Row {
        int before; // index into a, b; -1 for null
        char const* order;
    } const rows[] = {{0, "xab"}, {1, "axb"}, {-1, "abx"}};
    for (Row const& row : rows) {
        List list;
        Item* items[] = {new Item('a'), new Item('b')};
        list.add(items[0]);
        list.add(items[1]);
        EXPECT_TRUE(list.add(new Item('x'), row.before < 0 ? nullptr : items[row.before]));
        EXPECT_EQ(forwards(list), row.order);
        std::string reversed(row.order);
        std::reverse(reversed.begin(), reversed.end());
        EXPECT_EQ(backwards(list), reversed);
        EXPECT_EQ(list.size(), 3u);
    }
}

TEST(LinkedListTest, RefusesLinkedElementsAndStrangersWithoutChange) {
    List list, other;
    Item* a = new Item('a');
    Item* b = new Item('b');
    list.add(a);
    list.add(b);
    Item* linked = new Item('l');
    other.add(linked);
    other.add(new Item('m'));
    Item stranger('s');
    Item* x = new Item('x');
    EXPECT_FALSE(list.add(nullptr));
    EXPECT_FALSE(list.add(nullptr, a));
    EXPECT_FALSE(list.add(linked, b));
    EXPECT_FALSE(list.add(x, &stranger));
    // Still linked into another list: refused even where it would be appended.
    EXPECT_FALSE(list.add(other.lastElmt(), nullptr));
    EXPECT_EQ(forwards(list), "ab");
    EXPECT_EQ(backwards(list), "ba");
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(x->getNext(), nullptr);
    EXPECT_EQ(stranger.getPrev(), nullptr);
    delete x;
}

TEST(LinkedListTest, ClearAndDestructionDeleteEveryElement) {
    destroyed = 0;
    {
        List list;
        list.clear();
        EXPECT_EQ(list.firstElmt(), nullptr);
        for (char c : std::string("abcd"))
            list.add(new Item(c));
        list.clear();
        EXPECT_EQ(destroyed, 4);
        EXPECT_EQ(list.firstElmt(), nullptr);
        EXPECT_EQ(list.lastElmt(), nullptr);
        EXPECT_EQ(list.size(), 0u);
        list.add(new Item('e'));
        list.add(new Item('f'), list.firstElmt());
        EXPECT_EQ(forwards(list), "fe");
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
    LinkedListIterator<Item> none(nullptr);
    EXPECT_EQ(none.next(), nullptr);
    EXPECT_EQ(none.prev(), nullptr);
}

TEST(LinkedListTest, CopiesOfElementsStartUnlinked) {
    List list;
    Item* a = new Item('a');
    list.add(a);
    list.add(new Item('b'));
    Item copy(*list.lastElmt());
    EXPECT_EQ(copy.getPrev(), nullptr);
    copy = *a;
    EXPECT_EQ(copy.getNext(), nullptr);
    EXPECT_EQ(copy.name, 'a');
    *a = Item('z');
    EXPECT_EQ(forwards(list), "zb");
}

} // namespace
