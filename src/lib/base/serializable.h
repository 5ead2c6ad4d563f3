// serializable.h: Serializable, the one interface of all text forms, and the Pair records.
// toString() gives the text of serialize() on a stream set up by DBL_OSTREAM_PREC: long doubles in
// 17 significant digits.
#pragma once

#include "base/log.h"

#include <istream>
#include <ostream>
#include <sstream>
#include <string>

namespace latopt {

class Serializable {
public:
    virtual ~Serializable() = default;
    virtual void serialize(std::ostream& stream) const = 0;
    virtual void unserialize(std::istream& stream) = 0;

    std::string toString() const
    {
        std::ostringstream stream;
        DBL_OSTREAM_PREC(stream);
        serialize(stream);
        return stream.str();
    }
};

inline std::ostream& operator<<(std::ostream& stream, const Serializable& object)
{
    object.serialize(stream);
    return stream;
}

template <class L, class R>
class Pair {
public:
    L left{};
    R right{};

    Pair() = default;
    Pair(const L& left, const R& right) : left(left), right(right) {}
    virtual ~Pair() = default;
};

// Text form "(left, right)"; the reader takes one character, left, one character, right, one
// character, each by a formatted read, and doesn't check which characters it took.
template <class L, class R>
class SerializablePair : public Pair<L, R>, public Serializable {
public:
    using Pair<L, R>::Pair;

    void serialize(std::ostream& stream) const override
    {
        stream << "(" << this->left << ", " << this->right << ")";
    }
    void unserialize(std::istream& stream) override
    {
        char mark;
        stream >> mark >> this->left >> mark >> this->right >> mark;
    }
};

// Ordered by right alone: the element of arrays sorted by a value that carry an index as left.
template <class L, class R>
class RightOrderPair : public SerializablePair<L, R> {
public:
    using SerializablePair<L, R>::SerializablePair;

    bool operator<(const RightOrderPair& other) const { return this->right < other.right; }
    bool operator==(const RightOrderPair& other) const { return this->right == other.right; }
};

template <class L, class R>
std::istream& operator>>(std::istream& stream, SerializablePair<L, R>& pair)
{
    pair.unserialize(stream);
    return stream;
}

} // namespace latopt
