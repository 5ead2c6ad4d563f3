// vector.h: Vector<T>, the mathematical vector of the engine: a dense 1-based sequence of numbers
// with component-wise arithmetic, a dot product, tolerant equality and the text form "[ 1 2 ]".
// Built for long double and QQ, which carry the whole interface, and for long, which has only
// storage and the text form (its other members do not link). Entries are data[1..MN] of the
// array; the loops of the arithmetic run over that storage directly.
// Equality is tolerant, in QQ too: entries are equal when they are equal or differ by at most
// EPSILON = 10^-9. The orderings <= and >= are exact. Every binary operation needs equal
// dimensions and ends the process with its own numbered message otherwise; malformed text ends
// it too, and only a stream that is already bad on entry to the reader throws (ReadException).
#pragma once

#include "base/serializable_array.h"

#include <istream>
#include <ostream>
#include <string>

namespace latopt {

template <class T>
class Vector : public SerializableArray<T> {
public:
    // Empty; separator " ", both serialization flags set.
    Vector();
    // dimension entries, all zero.
    explicit Vector(long dimension);
    // Parses text in the text form.
    explicit Vector(const char* text);
    Vector(const Vector& other) = default;
    Vector(Vector&& other) noexcept = default;
    Vector& operator=(const Vector& other) = default;
    Vector& operator=(Vector&& other) noexcept = default;
    ~Vector() override = default;

    // Entries converted from the other number type through Precision::conv with this vector's
    // throwOnLoss and allowPostCommaLoss; the separators and serialization flags are copied.
    // May throw PrecisionException (QQ to long double); the vector is then half written.
    template <class U>
    explicit Vector(const Vector<U>& other);
    template <class U>
    Vector& operator=(const Vector<U>& other);
    template <class U>
    Vector& _assign(const Vector<U>& other);

    void setDimension(long dimension, bool reserve = false) override;

    // Component-wise, in place. /= tests no divisor: long double gives IEEE results, QQ throws
    // PrecisionException on a zero. ^= is the Hadamard product.
    Vector& operator+=(const Vector& v);
    Vector& operator-=(const Vector& v);
    Vector& operator^=(const Vector& v);
    Vector& operator/=(const Vector& v);
    Vector operator+(const Vector& v) const;
    Vector operator-(const Vector& v) const;
    Vector operator-() const;
    // Dot product: zero, then each product added in index order 1..dim.
    T operator*(const Vector& v) const;

    // Every entry equal, or differing by at most EPSILON. The same object is equal to itself.
    bool operator==(const Vector& v) const;
    // Every entry in that relation, exactly; empty vectors are in both relations.
    bool operator>=(const Vector& v) const;
    bool operator<=(const Vector& v) const;

    // Entry k is 1 and every other entry 0, within EPSILON. k outside 0..dim is fatal.
    bool isUnit(long k) const;
    // First index of an entry that is nonzero by Precision::equalsZero(x, QQ::enableTruncate)
    // (exact while truncation is off), -1 if there is none.
    long leadingIndex() const;
    // Every entry rounded to the nearest integer, halves away from zero.
    Vector& makeInteger();
    // n != 0: n entries (old values dropped); every entry becomes one.
    Vector& makeOne(long n = 0);
    // Some entry beyond the trusted range of a long double (Precision::overflows, which may
    // throw FatalPrecisionException). Always false for QQ.
    bool hasOverflowEntry() const;
    // Some entry is +INF or -INF.
    bool hasInfiniteEntry() const;
    // Largest absolute value; zero for the empty vector.
    T supNorm() const;

    // "[ " then every entry followed by a blank, then "]"; entries in the stream's format.
    void serialize(std::ostream& stream) const override;
    // Reads the text form; text that doesn't begin with "[" leaves the vector empty and the
    // stream on that character. "inf" and "-inf" are read here, and the sign of every entry is
    // taken here, so the number reader sees unsigned text.
    void unserialize(std::istream& stream) override;
};

// Row vector times matrix and the matrix are in matrix.h.

} // namespace latopt
