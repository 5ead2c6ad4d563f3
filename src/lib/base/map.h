// map.h: Map<K, V>, a small map kept as an array of (key, value) pairs, and Hash<V>, the map by
// text whose new values start at zero.
// Entries stay in the order of creation, from index 1; keys are unique. Lookups walk the entries
// linearly: maps hold a few dozen entries (parameters, named variables). Reading an absent key
// creates its entry, with the value of a default element.
// Instances: Map<long, R>, Hash<ParamInfo*>, MutexVars<K> (os/mutex.h). Hash<V> needs Constant<V>
// (arith/constant.h and the number types) for a value type that isn't a pointer; a pointer's zero
// is null.
// No locks: the structure of a map must be complete before other threads read it.
#pragma once

#include "base/array.h"
#include "base/serializable.h"

#include <string>
#include <type_traits>

namespace latopt {

template <class T>
class Constant;

template <class K, class V>
class Map : public ConversionArray<Pair<K, V>> {
public:
    using ConversionArray<Pair<K, V>>::ConversionArray;

    // The value of key. An absent key gets a new last entry (the map grows by one, without
    // reserve), whose value is in the state of a default element.
    V& operator()(const K& key)
    {
        for (long i = 1; i <= this->MN; ++i)
            if (this->data[i].left == key) return this->data[i].right;
        this->setDimension(this->MN + 1, false);
        Pair<K, V>& entry = this->data[this->MN];
        entry.left = key;
        // The place may have held an entry before the map shrank: its old value must not show.
        resetToDefault(entry.right);
        return entry.right;
    }

    // The index of key's entry, 0 when key is absent; creates nothing.
    long indexOf(const K& key) const
    {
        for (long i = 1; i <= this->MN; ++i)
            if (this->data[i].left == key) return i;
        return 0;
    }

private:
    // A value with its own way of being emptied (a locked value) keeps its object; any other value
    // is replaced by a default one.
    static void resetToDefault(V& value)
    {
        if constexpr (requires { value.emptify(); })
            value.emptify();
        else
            value = V();
    }
};

// Map by text; every entry that the map grows by gets the value zero.
template <class V>
class Hash : public Map<std::string, V> {
public:
    using Map<std::string, V>::Map;

    void setDimension(long dimension, bool reserve = false) override
    {
        const long oldDimension = this->MN;
        Map<std::string, V>::setDimension(dimension, reserve);
        for (long i = oldDimension + 1; i <= this->MN; ++i)
            this->data[i].right = zero();
    }

private:
    static V zero()
    {
        if constexpr (std::is_pointer_v<V>)
            return nullptr;
        else
            return Constant<V>::ZERO();
    }
};

} // namespace latopt
