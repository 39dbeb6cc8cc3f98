// Intrusive doubly linked list: elements carry their links, the manager owns the elements.
#ifndef ORVIK_UTILITIES_CONTAINERS_LINKEDLIST_H
#define ORVIK_UTILITIES_CONTAINERS_LINKEDLIST_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

template <typename T> class LinkedListManager;

/// Base of an element type T (class T : public LinkedListElement<T>). A new element, and a
/// copy of one, is unlinked; destroying an element clears its links without unlinking it
/// from its neighbours, so only its manager destroys a linked element.
template <typename T> class ORVIK_API LinkedListElement {
public:
    /// An unlinked element.
    LinkedListElement() : next(nullptr), prev(nullptr) {}
    /// An unlinked element: the copy gets none of the original's links.
    LinkedListElement(LinkedListElement const&) : next(nullptr), prev(nullptr) {}
    /// Assignment copies nothing of the links: each element keeps its place.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment,cert-oop54-cpp): copies nothing
    LinkedListElement& operator=(LinkedListElement const&) { return *this; }
    /// Clears the links only; the neighbours still point here (see the class).
    virtual ~LinkedListElement() {
        next = nullptr;
        prev = nullptr;
    }

    /// The following element; null at the end of the list and while unlinked.
    T* getNext() { return next; }
    /// The following element, for a constant element.
    T* getNext() const { return next; }
    /// The preceding element; null at the front of the list and while unlinked.
    T* getPrev() { return prev; }

private:
    friend class LinkedListManager<T>;

    T* next;
    T* prev;
};

/// An iterator that hands out elements one at a time.
template <typename T> class ORVIK_API AbstractIterator {
public:
    virtual ~AbstractIterator() {}
    /// True while another element can be handed out (see each iterator for its exact rule).
    virtual bool hasNext() const = 0;
    /// The next element, or null once exhausted.
    virtual T* next() = 0;
};

/// Walks a list forwards with next() or backwards with prev() from a start element.
template <typename T> class ORVIK_API LinkedListIterator : public AbstractIterator<T> {
public:
    /// current := start (usually the manager's firstElmt(); null gives an exhausted iterator).
    explicit LinkedListIterator(T* start) : current(start) {}
    ~LinkedListIterator() override { current = nullptr; }

    /// True when the current element has a following one: false on a one-element list
    /// although next() still returns that element once.
    bool hasNext() const override { return current != nullptr && current->getNext() != nullptr; }
    /// The current element, moving to its successor; null, without moving, once exhausted.
    T* next() override {
        T* const element = current;
        if (element != nullptr)
            current = element->getNext();
        return element;
    }
    /// True when the current element has a preceding one.
    virtual bool hasPrev() const { return current != nullptr && current->getPrev() != nullptr; }
    /// The current element, moving to its predecessor; null, without moving, once exhausted.
    virtual T* prev() {
        T* const element = current;
        if (element != nullptr)
            current = element->getPrev();
        return element;
    }

protected:
    /// The element next() or prev() hands out next; null once exhausted.
    T* current;
};

/// Holds the ends of a list and owns its elements: clear() and the destructor delete each
/// element through its virtual destructor, so elements are allocated one by one with new.
/// A list only grows until it is cleared; single elements are never removed. Not copyable;
/// one thread at a time, like every object of the library.
///
/// @code
/// struct Route : LinkedListElement<Route> { int metric = 0; };
/// LinkedListManager<Route> routes;
/// routes.add(new (std::nothrow) Route);            // false for null: nothing to free
/// LinkedListIterator<Route> it(routes.firstElmt());
/// while (Route* r = it.next())
///     use(r->metric);
/// @endcode
template <typename T> class ORVIK_API LinkedListManager {
public:
    /// An empty list.
    LinkedListManager() : first(nullptr), last(nullptr), count(0) {}
    LinkedListManager(LinkedListManager const&) = delete;
    LinkedListManager& operator=(LinkedListManager const&) = delete;
    /// Deletes every element.
    virtual ~LinkedListManager() { clear(); }

    /// The first element; null for an empty list.
    T* firstElmt() { return first; }
    /// The first element, for a constant list.
    T* firstElmt() const { return first; }

    /// Appends element, which must be unlinked (its links are not examined), and takes
    /// ownership. True; false only for a null element.
    bool add(T* element) {
        if (element == nullptr)
            return false;
        LinkedListElement<T>* const links = element;
        if (last != nullptr) {
            link(last)->next = element;
            links->prev = last;
        } else {
            first = element;
            links->prev = nullptr;
        }
        links->next = nullptr;
        last = element;
        ++count;
        return true;
    }

    /// Inserts element directly in front of before, or appends it when before is null, and
    /// takes ownership. False, nothing changed, when element is null or still linked, or
    /// when before has no predecessor and is not this list's first element. A before with
    /// a predecessor is trusted to belong to this list.
    bool add(T* element, T* before) {
        if (element == nullptr)
            return false;
        LinkedListElement<T>* const links = element;
        if (links->next != nullptr || links->prev != nullptr)
            return false;
        if (before == nullptr)
            return add(element);
        LinkedListElement<T>* const beforeLinks = before;
        if (beforeLinks->prev != nullptr) {
            links->prev = beforeLinks->prev;
            links->next = before;
            beforeLinks->prev = element;
            link(links->prev)->next = element;
        } else if (before == first) {
            links->next = before;
            beforeLinks->prev = element;
            first = element;
        } else {
            return false;
        }
        ++count;
        return true;
    }

    /// Deletes every element and empties the list.
    void clear() {
        LinkedListIterator<T> elements(first);
        while (T* element = elements.next()) {
            delete element;
            --count;
        }
        first = nullptr;
        last = nullptr;
    }

protected:
    /// The first element; null for an empty list.
    T* first;
    /// The last element; null for an empty list.
    T* last;
    /// Elements added and not yet deleted (32 bits on every host).
    uint32_t count;

private:
    static LinkedListElement<T>* link(T* element) { return element; }
};

#endif
