// set.h: Set<T> and SortedSet<T>, bounded doubly linked sets of vectors, and their node Element<T>.
// A set owns its elements: each is a heap copy of what was inserted, freed when it leaves the set.
// No two elements are equal as vectors. limit bounds the size (0: no limit): a full plain Set
// refuses new elements; a full SortedSet keeps the best limit elements and drops the worst.
// A SortedSet stands by falling deviation: first is the worst element, last the best; elements of
// equal deviation keep the order of arrival, so the later of two ties is the better one.
// The one fatal error is "Set: before_element is not in the given set!".
//
// Requirements on the element type T (the collection sets hold HeuristicVector<R1, R2>):
// - copy constructible;
// - isSameVector(a, b), found by argument-dependent lookup: true when a and b are equal as vectors.
//   The default below uses T's operator==, which for a type derived from Vector<R> is the tolerant
//   vector equality; a type whose operator== means something else overloads isSameVector;
// - a < b: a's deviation is better than b's (HeuristicVector compares its deviations only).
//   Only SortedSet needs it;
// - for Set<T>::_assign(const Set<U>&): either a member T::_assign(const U&), the conversion across
//   number types (which goes through Precision::conv), or a constructor T(const U&).
// No locks: a set belongs to the thread of the search.
#pragma once

#include "base/log.h"

#include <utility>

namespace latopt {

// Equality as vectors, the duplicate test of the sets; overload it for T where operator== differs.
template <class T>
bool isSameVector(const T& a, const T& b)
{
    return a == b;
}

// A list node: the value itself and the links to its neighbours in the set.
template <class T>
class Element : public T {
public:
    Element* previous = nullptr;
    Element* next = nullptr;

    explicit Element(const T& value) : T(value) {}
    explicit Element(T&& value) : T(std::move(value)) {}
    // A node copies the value only; the links belong to the set.
    Element(const Element& other) : T(other) {}
    Element& operator=(const Element& other)
    {
        T::operator=(other);
        return *this;
    }
};

template <class T>
class Set {
public:
    Element<T>* first = nullptr;
    Element<T>* last = nullptr;
    unsigned long limit = 0; // the greatest number of elements; 0: no limit
    unsigned long size = 0;

    Set() = default;
    explicit Set(unsigned long limit) : limit(limit) {}
    Set(const Set& other) { _assign(other); }
    Set(Set&& other) noexcept { steal(other); }
    Set& operator=(const Set& other)
    {
        _assign(other);
        return *this;
    }
    Set& operator=(Set&& other) noexcept
    {
        if (this != &other) {
            clear();
            steal(other);
        }
        return *this;
    }
    virtual ~Set() { clear(); }

    // Appends a copy of value behind last. False, and nothing stored, when the set is full or an
    // element is equal to value as a vector.
    virtual bool insert(const T& value)
    {
        // 1. A full set refuses; it never replaces.
        if (limit != 0 && size == limit) return false;
        // 2. No duplicates as vectors.
        if (contains(value)) return false;
        // 3. Link a copy behind last.
        linkBehindLast(new Element<T>(value));
        ++size;
        return true;
    }

    // Links newElement, a heap node that the set now owns, in front of before, an element of this
    // set, and keeps the limit: when the set was full, the first element is freed. False when that
    // was newElement itself, which is then freed and must not be used any more.
    bool insertBefore(Element<T>& newElement, Element<T>& before)
    {
        if (before.previous == nullptr && &before != first)
            fatal("Set: before_element is not in the given set!");
        newElement.previous = before.previous;
        newElement.next = &before;
        if (before.previous != nullptr)
            before.previous->next = &newElement;
        else
            first = &newElement;
        before.previous = &newElement;
        return keepLimit(&newElement);
    }

    // Replaces the contents by converted copies of the elements of other, in other's order, and
    // copies limit. The elements go in as they are: other already holds no duplicates.
    template <class U>
    void _assign(const Set<U>& other)
    {
        if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return;
        clear();
        for (const Element<U>* element = other.first; element != nullptr; element = element->next)
            linkBehindLast(new Element<T>(convert(static_cast<const U&>(*element))));
        size = other.size;
        limit = other.limit;
    }

    // True when an element is equal to value as a vector.
    bool contains(const T& value) const
    {
        for (const Element<T>* element = first; element != nullptr; element = element->next)
            if (isSameVector(static_cast<const T&>(*element), value)) return true;
        return false;
    }

    // Unlinks element, which must belong to this set, and frees it.
    void remove(Element<T>* element)
    {
        unlink(element);
        delete element;
        --size;
    }

    // Frees all elements; limit stays.
    void clear()
    {
        while (first != nullptr) {
            Element<T>* element = first;
            first = first->next;
            delete element;
        }
        last = nullptr;
        size = 0;
    }

    bool isEmpty() const { return first == nullptr; }

protected:
    void linkBehindLast(Element<T>* element)
    {
        element->previous = last;
        element->next = nullptr;
        if (last != nullptr)
            last->next = element;
        else
            first = element;
        last = element;
    }

    // A new element has just been linked. Counts it; when the set was full before, the first
    // element is freed and the size returns to its old value. False when the freed element was
    // newElement.
    bool keepLimit(Element<T>* newElement)
    {
        const unsigned long oldSize = size++;
        if (limit == 0 || oldSize < limit) return true;
        Element<T>* dropped = first;
        remove(dropped);
        return dropped != newElement;
    }

private:
    void unlink(Element<T>* element)
    {
        if (element->previous != nullptr)
            element->previous->next = element->next;
        else
            first = element->next;
        if (element->next != nullptr)
            element->next->previous = element->previous;
        else
            last = element->previous;
        element->previous = element->next = nullptr;
    }

    void steal(Set& other) noexcept
    {
        first = other.first;
        last = other.last;
        limit = other.limit;
        size = other.size;
        other.first = other.last = nullptr;
        other.size = 0;
    }

    template <class U>
    static T convert(const U& value)
    {
        if constexpr (requires(T & target) { target._assign(value); }) {
            T converted;
            converted._assign(value);
            return converted;
        } else {
            return T(value);
        }
    }
};

template <class T>
class SortedSet : public Set<T> {
public:
    using Set<T>::Set;

    // Stores a copy of value in front of the first element whose deviation is better, so that the
    // order of falling deviation holds. A full set drops its worst element. False, and nothing
    // stored, when an element is equal to value as a vector, however good value's deviation is;
    // also false when value is worse than all elements of a full set.
    bool insert(const T& value) override
    {
        // 1. The first element needs no place to be found. A full set whose worst element is
        //    better than value would drop value at once: no search for duplicates or a place.
        if (this->first == nullptr) return Set<T>::insert(value);
        if (this->limit != 0 && this->size >= this->limit && static_cast<const T&>(*this->first) < value)
            return false;
        // 2. Duplicates are refused before a node is made.
        if (this->contains(value)) return false;
        auto* element = new Element<T>(value);
        // 3. The first better element takes the new one in front of it; equal deviations are
        // passed, so that ties keep the order of arrival.
        for (Element<T>* current = this->first; current != nullptr; current = current->next)
            if (static_cast<const T&>(*current) < static_cast<const T&>(*element))
                return this->insertBefore(*element, *current);
        // 4. Better than all: the new element is the last. A full set drops its first, never the
        // new one here, since the set holds at least one other element.
        this->linkBehindLast(element);
        return this->keepLimit(element);
    }
};

} // namespace latopt
