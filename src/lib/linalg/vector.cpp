// vector.cpp: Vector<T> for long double and QQ (whole interface) and long (storage and text form).
#include "linalg/vector.h"

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "base/stream.h"
#include "linalg/kernel.h"

#include <sstream>

namespace latopt {

namespace {

// White space between entries and around the brackets.
const std::string TEXT_SEPARATORS = " \t\r\n";

} // namespace

template <class T>
Vector<T>::Vector() : SerializableArray<T>(" ", true, true)
{
}

template <class T>
Vector<T>::Vector(long dimension) : Vector()
{
    this->makeZero(dimension);
}

template <class T>
Vector<T>::Vector(const char* text) : Vector()
{
    std::istringstream stream(text);
    unserialize(stream);
}

template <class T>
template <class U>
Vector<T>::Vector(const Vector<U>& other) : Vector()
{
    *this = other;
}

template <class T>
template <class U>
Vector<T>& Vector<T>::operator=(const Vector<U>& other)
{
    return _assign(other);
}

template <class T>
template <class U>
Vector<T>& Vector<T>::_assign(const Vector<U>& other)
{
    ConversionArray<T>::_assign(other);
    this->separators = other.separators;
    this->allowComments = other.allowComments;
    this->lineBased = other.lineBased;
    return *this;
}

template <class T>
void Vector<T>::setDimension(long dimension, bool reserve)
{
    Array<T>::setDimension(dimension, reserve);
}

template <class T>
Vector<T>& Vector<T>::operator+=(const Vector& v)
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch1");
    kernel::Scratch<T> scratch;
    T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::addTo(a[i], b[i], scratch);
    return *this;
}

template <class T>
Vector<T>& Vector<T>::operator-=(const Vector& v)
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch2");
    kernel::Scratch<T> scratch;
    T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::subFrom(a[i], b[i], scratch);
    return *this;
}

template <class T>
Vector<T>& Vector<T>::operator^=(const Vector& v)
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch3");
    kernel::Scratch<T> scratch;
    T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::mulBy(a[i], b[i], scratch);
    return *this;
}

template <class T>
Vector<T>& Vector<T>::operator/=(const Vector& v)
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch4");
    kernel::Scratch<T> scratch;
    T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::divBy(a[i], b[i], scratch);
    return *this;
}

// The binary operators copy the left operand, separators and flags included, and work on the
// copy in place.
template <class T>
Vector<T> Vector<T>::operator+(const Vector& v) const
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch5");
    Vector result(*this);
    kernel::Scratch<T> scratch;
    T* r = result.data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::addTo(r[i], b[i], scratch);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator-(const Vector& v) const
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch6");
    Vector result(*this);
    kernel::Scratch<T> scratch;
    T* r = result.data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::subFrom(r[i], b[i], scratch);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator-() const
{
    Vector result;
    result.setDimension(this->MN, false);
    T* r = result.data;
    const T* a = this->data;
    for (long i = 1; i <= this->MN; ++i)
        kernel::negate(r[i], a[i]);
    return result;
}

template <class T>
T Vector<T>::operator*(const Vector& v) const
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch8");
    kernel::Scratch<T> scratch;
    T result;
    kernel::dot(result, this->data, v.data, this->MN, scratch);
    return result;
}

template <class T>
bool Vector<T>::operator==(const Vector& v) const
{
    if (this == &v) return true;
    if (this->MN != v.MN) fatal("Vector: dimension mismatch9");
    kernel::Scratch<T> scratch;
    const T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i) {
        if (a[i] == b[i]) continue;
        // Infinities of the same sign were equal above; any other pair with an infinity gives an
        // infinite (never a NaN, never INF - INF) difference.
        kernel::sub(scratch.sum, a[i], b[i]);
        if (!Precision::equalsZero(scratch.sum, true)) return false;
    }
    return true;
}

template <class T>
bool Vector<T>::operator>=(const Vector& v) const
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch10");
    const T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        if (!(a[i] >= b[i])) return false;
    return true;
}

template <class T>
bool Vector<T>::operator<=(const Vector& v) const
{
    if (this->MN != v.MN) fatal("Vector: dimension mismatch11");
    const T* a = this->data;
    const T* b = v.data;
    for (long i = 1; i <= this->MN; ++i)
        if (!(a[i] <= b[i])) return false;
    return true;
}

template <class T>
bool Vector<T>::isUnit(long k) const
{
    // 1. Entry k first, through the checked index.
    T difference;
    kernel::sub(difference, (*this)[k], Constant<T>::ONE());
    if (!Precision::equalsZero(difference, true)) return false;
    // 2. Then the entries before it and behind it.
    const T* a = this->data;
    for (long i = 1; i < k; ++i)
        if (!Precision::equalsZero(a[i], true)) return false;
    for (long i = k + 1; i <= this->MN; ++i)
        if (!Precision::equalsZero(a[i], true)) return false;
    return true;
}

template <class T>
long Vector<T>::leadingIndex() const
{
    const T* a = this->data;
    for (long i = 1; i <= this->MN; ++i)
        if (!Precision::equalsZero(a[i], QQ::enableTruncate)) return i;
    return -1;
}

template <class T>
Vector<T>& Vector<T>::makeInteger()
{
    T* a = this->data;
    for (long i = 1; i <= this->MN; ++i)
        a[i] = round(a[i]);
    return *this;
}

template <class T>
Vector<T>& Vector<T>::makeOne(long n)
{
    if (n != 0) setDimension(n, false);
    T* a = this->data;
    for (long i = 1; i <= this->MN; ++i)
        a[i] = Constant<T>::ONE();
    return *this;
}

template <class T>
bool Vector<T>::hasOverflowEntry() const
{
    const T* a = this->data;
    for (long i = 1; i <= this->MN; ++i)
        if (Precision::overflows(a[i])) return true;
    return false;
}

// An exact number has no trusted range to leave.
template <>
bool Vector<QQ>::hasOverflowEntry() const
{
    return false;
}

template <class T>
bool Vector<T>::hasInfiniteEntry() const
{
    const T INF = Constant<T>::INF();
    const T* a = this->data;
    for (long i = 1; i <= this->MN; ++i)
        if (Math::abs(a[i]) == INF) return true;
    return false;
}

template <class T>
T Vector<T>::supNorm() const
{
    T norm = Constant<T>::ZERO();
    const T* a = this->data;
    for (long i = 1; i <= this->MN; ++i) {
        T magnitude = Math::abs(a[i]);
        if (magnitude > norm) norm = std::move(magnitude);
    }
    return norm;
}

template <class T>
void Vector<T>::serialize(std::ostream& stream) const
{
    stream << "[ ";
    for (long i = 1; i <= this->MN; ++i)
        stream << this->data[i] << ' ';
    stream << "]";
}

template <class T>
void Vector<T>::unserialize(std::istream& stream)
{
    // 1. Start empty.
    setDimension(0, true);
    // 2. Only a stream that is bad on entry is reported by exception.
    if (stream.fail()) throw ReadException("Vector: bad stream");
    // 3. Text that doesn't open with "[" is no vector: leave it in the stream.
    char next;
    skipOverCommentsAndSeparators(stream, TEXT_SEPARATORS, &next);
    if (next != '[') return;
    // 4. "[" and a "]" right behind it: the empty vector.
    stream.get();
    skipOverCommentsAndSeparators(stream, TEXT_SEPARATORS, &next);
    if (next == ']') {
        stream.get();
        return;
    }
    // 5. One entry per round. The sign is taken here, so that "inf" and every number reader
    //    see unsigned text; nothing is skipped between the sign and the entry.
    for (long i = 1;; ++i) {
        setDimension(i, true);
        T& entry = this->data[i];
        const char sign = next;
        if (sign == '-') {
            stream.get();
            peekNextCharacter(stream, next);
        }
        if (next == 'i') {
            stream.get();
            peekNextCharacter(stream, next);
            if (next != 'n') fatal("Vector: bad input2");
            stream.get();
            peekNextCharacter(stream, next);
            if (next != 'f') fatal("Vector: bad input3");
            stream.get();
            entry = Constant<T>::INF();
        } else if (!(stream >> entry)) {
            fatal("Vector: bad input");
        }
        if (sign == '-') entry = -entry;
        skipOverCommentsAndSeparators(stream, TEXT_SEPARATORS, &next);
        if (next == ']') {
            stream.get();
            return;
        }
    }
}

// The closed set: long double and QQ with the whole interface, the conversions between them,
// and long with storage and the text form only.
template class Vector<long double>;
template class Vector<QQ>;
template Vector<long double>::Vector(const Vector<QQ>&);
template Vector<QQ>::Vector(const Vector<long double>&);
template Vector<long double>& Vector<long double>::operator=(const Vector<QQ>&);
template Vector<QQ>& Vector<QQ>::operator=(const Vector<long double>&);
template Vector<long double>& Vector<long double>::_assign(const Vector<QQ>&);
template Vector<QQ>& Vector<QQ>::_assign(const Vector<long double>&);

template Vector<long>::Vector();
template Vector<long>::Vector(long);
template Vector<long>::Vector(const char*);
template void Vector<long>::setDimension(long, bool);
template void Vector<long>::serialize(std::ostream&) const;
template void Vector<long>::unserialize(std::istream&);

} // namespace latopt
