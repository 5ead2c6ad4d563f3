// array.h: Array<T>, the growable array of the whole system, indexed from 1.
// Element 0 is a spare slot that is always allocated, so that 1-based index arithmetic needs no
// subtraction; indices 0..MN are valid, any other is fatal ("Array: index out of range").
// Elements are owned by value: default constructed when storage is allocated, kept when the
// dimension shrinks (memory is never given back), copied by assignment when storage grows.
// ConversionArray<T> adds the copy across element types; SerializableArray<T> (serializable_array.h)
// adds the bracket text form.
#pragma once

#include "base/log.h"

#include <type_traits>
#include <utility>

namespace latopt {

template <class T>
class Constant;
class Precision;

template <class T>
class Array {
public:
    long MN = 0; // dimension: the number of elements, valid indices 1..MN
    // capacity + 1 elements; data[0] holds no element of the array. Allocated on first use, so
    // that an array that is never touched costs no allocation (mutable for operator[](0)).
    mutable T* data = nullptr;
    long capacity = 0;        // allocated places beyond the spare slot
    bool throwOnLoss = false; // how values enter when assigned from the other number type
    bool allowPostCommaLoss = false;

    Array() = default;
    explicit Array(long dimension) { setDimension(dimension, false); }
    Array(const Array& other) { copyFrom(other); }
    Array(Array&& other) noexcept
    {
        steal(other);
        throwOnLoss = other.throwOnLoss;
        allowPostCommaLoss = other.allowPostCommaLoss;
    }
    Array& operator=(const Array& other)
    {
        if (this != &other) copyFrom(other);
        return *this;
    }
    // Steals data, dimension and capacity; the conversion flags stay those of this array, so
    // that a member the owner marked for faithful conversion keeps its mark.
    Array& operator=(Array&& other) noexcept
    {
        if (this != &other) {
            delete[] data;
            steal(other);
        }
        return *this;
    }

    virtual void resetAllMembers() { setDimension(0, false); }
    virtual ~Array() { delete[] data; }

    // Sets the number of elements. Growth beyond the capacity allocates n + 100 places when
    // reserve (more growth follows), else n + 1; shrinking keeps the elements above n.
    virtual void setDimension(long dimension, bool reserve = false)
    {
        if (dimension < 0) fatal("array: dimension < 0");
        if (dimension <= MN || dimension <= capacity) {
            ensureSpareSlot();
            MN = dimension;
            return;
        }
        reallocate(reserve ? dimension + 100 : dimension + 1);
        MN = dimension;
    }
    virtual bool isInitialized() const { return MN > 0; }
    // Makes room for at least places elements without changing the dimension, so that a run of
    // appends costs one reallocation instead of one per append.
    void reserve(long places)
    {
        if (places > capacity) reallocate(places);
    }

    T& operator[](long index) const
    {
        if (index < 0 || index > MN) fatal("Array: index out of range");
        ensureSpareSlot();
        return data[index];
    }
    long dimension() const { return MN; }

    // Sets the dimension (0 keeps it) and zeroes elements 1..dimension.
    void makeZero(long dimension = 0)
    {
        if (dimension != 0) setDimension(dimension, false);
        for (long i = 1; i <= MN; ++i)
            data[i] = Constant<T>::ZERO();
    }
    // Zeroes elements first..last; either bound 0 means the whole array.
    void zerofy(long first = 0, long last = 0)
    {
        if (first == 0 || last == 0) {
            first = 1;
            last = MN;
        }
        for (long i = first; i <= last; ++i)
            (*this)[i] = Constant<T>::ZERO();
    }
    bool isZero() const
    {
        for (long i = 1; i <= MN; ++i)
            if (!(data[i] == Constant<T>::ZERO())) return false;
        return true;
    }

    // Stores value at index (0..MN + 1) and moves the elements from index upward one place up.
    void insertComponent(long index, const T& value)
    {
        if (index < 0 || index > MN + 1) fatal("insertComponent: invalid index");
        setDimension(MN + 1, true);
        for (long i = MN; i > index; --i)
            data[i] = std::move(data[i - 1]);
        data[index] = value;
    }
    // Moves the elements above index (0..MN) one place down and shrinks by one.
    void removeComponent(long index)
    {
        if (index < 0 || index > MN) fatal("Array: index out of range");
        for (long i = index; i < MN; ++i)
            data[i] = std::move(data[i + 1]);
        if (MN > 0) setDimension(MN - 1, false);
    }
    // Drops the first count elements by moving the rest down; count <= 0 does nothing.
    void lshift(long count)
    {
        if (count <= 0) return;
        if (count > MN) count = MN;
        for (long i = 1; i + count <= MN; ++i)
            data[i] = std::move(data[i + count]);
        setDimension(MN - count, false);
    }
    void pushBack(const T& value)
    {
        setDimension(MN + 1, true);
        data[MN] = value;
    }

    // Exchanges two elements through one function-local scratch element per element type.
    void swapComponents(const long& a, const long& b)
    {
        if (a == b) return;
        if (a < 0 || a > MN || b < 0 || b > MN) fatal("Array: swap index out of range");
        static T scratch;
        scratch = std::move(data[a]);
        data[a] = std::move(data[b]);
        data[b] = std::move(scratch);
    }

    // Sorts ascending under operator< of T by an in-place binary heap over 1..MN. Not stable.
    // When owner and swapCallback are both given, (owner->*swapCallback)(i + adjustment,
    // j + adjustment) is called right before each swap of elements i and j, so that a parallel
    // structure can follow the sort.
    template <class Owner = Array>
    void heapSort(Owner* owner = nullptr, void (Owner::*swapCallback)(long, long) = nullptr,
                  long adjustment = 0)
    {
        if (MN < 2) return;
        auto swapTracked = [&](long i, long j) {
            if (owner != nullptr && swapCallback != nullptr)
                (owner->*swapCallback)(i + adjustment, j + adjustment);
            swapComponents(i, j);
        };
        for (long parent = MN / 2; parent >= 1; --parent)
            siftDown(parent, MN, swapTracked);
        for (long last = MN; last >= 2; --last) {
            swapTracked(1, last);
            siftDown(1, last - 1, swapTracked);
        }
    }

protected:
    void copyFrom(const Array& other)
    {
        if (other.MN > capacity)
            reallocate(other.MN + 1, false);
        else
            ensureSpareSlot();
        if (other.data != nullptr)
            for (long i = 0; i <= other.MN; ++i)
                data[i] = other.data[i];
        MN = other.MN;
        throwOnLoss = other.throwOnLoss;
        allowPostCommaLoss = other.allowPostCommaLoss;
    }

private:
    void steal(Array& other) noexcept
    {
        data = std::exchange(other.data, nullptr);
        MN = std::exchange(other.MN, 0);
        capacity = std::exchange(other.capacity, 0);
    }
    // Element 0 exists as soon as an array is used, also at dimension 0.
    void ensureSpareSlot() const
    {
        if (data == nullptr) data = new T[1](); // capacity 0: the spare slot alone
    }
    void reallocate(long newCapacity, bool keep = true)
    {
        T* fresh = new T[newCapacity + 1](); // value-initialized: numbers start at 0
        if (keep && data != nullptr)
            for (long i = 0; i <= MN; ++i)
                fresh[i] = std::move(data[i]);
        delete[] data;
        data = fresh;
        capacity = newCapacity;
    }
    template <class Swap>
    void siftDown(long parent, long last, Swap& swapTracked)
    {
        for (long child = 2 * parent; child <= last; child = 2 * parent) {
            if (child < last && data[child] < data[child + 1]) ++child;
            if (!(data[parent] < data[child])) return;
            swapTracked(parent, child);
            parent = child;
        }
    }
};

// Array with the copy from an array of another element type (templated _assign, through the
// precision layer): the flags throwOnLoss and allowPostCommaLoss govern that crossing.
template <class T>
class ConversionArray : public Array<T> {
public:
    using Array<T>::Array;

    // Fills this array from one of another element type: elements 1..MN each through
    // Precision::conv (arith/precision.h, which the calling unit includes) with this array's
    // throwOnLoss as the probe flag and allowPostCommaLoss as the fourth argument. The same
    // element type is a plain copy of the elements. May throw PrecisionException.
    template <class S, class Conversion = Precision>
    ConversionArray& _assign(const Array<S>& other)
    {
        if constexpr (std::is_same_v<S, T>) {
            if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
            this->setDimension(other.MN, false);
            for (long i = 1; i <= other.MN; ++i)
                this->data[i] = other.data[i];
        } else {
            this->setDimension(other.MN, false);
            for (long i = 1; i <= other.MN; ++i)
                Conversion::conv(other.data[i], this->data[i], this->throwOnLoss, this->allowPostCommaLoss);
        }
        return *this;
    }
};

} // namespace latopt
