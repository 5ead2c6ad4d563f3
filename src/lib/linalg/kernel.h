// kernel.h: the arithmetic steps of the dense loops of Vector and Matrix, one overload per number
// type, so that a loop is written once for long double and QQ. Each step writes its result into
// a caller-owned object; the QQ overloads work through the three-operand operations and the
// caller's scratch values, so that a loop over QQ entries builds no temporary per entry.
// Internal to the engine's numeric loops (linalg, and the lattice's factorisations): not a header
// for callers of Vector and Matrix.
#pragma once

#include "arith/precision.h"
#include "arith/qq.h"

#include <cmath>

#include <utility>

namespace latopt::kernel {

// Square roots of both types: long double's own, QQ's approximate Newton root.
inline long double squareRoot(const long double& x)
{
    return sqrtl(x);
}
inline QQ squareRoot(const QQ& x)
{
    return sqrt(x);
}

// A value of inexact arithmetic (a Householder factorisation and what is derived from it) cut
// short: QQ is truncated to 18 digits of its denominator and brought back to lowest terms, so that
// the numbers stay short and denominators don't compound from row to row; a long double has
// nothing to cut.
inline void shorten(long double& x)
{
    (void)x;
}
inline void shorten(QQ& x)
{
    Precision::truncateDecimal(x);
    x.kuerzen();
}

// Reusable temporaries of one loop.
template <class T>
struct Scratch {
    T product{};
    T sum{};
};

// r = a + b, r = a - b, r = a * b, r = a / b; r may be a or b.
inline void add(long double& r, const long double& a, const long double& b)
{
    r = a + b;
}
inline void sub(long double& r, const long double& a, const long double& b)
{
    r = a - b;
}
inline void mul(long double& r, const long double& a, const long double& b)
{
    r = a * b;
}
inline void div(long double& r, const long double& a, const long double& b)
{
    r = a / b;
}
inline void negate(long double& r, const long double& a)
{
    r = -a;
}

inline void add(QQ& r, const QQ& a, const QQ& b)
{
    QQ::add(r, a, b);
}
inline void sub(QQ& r, const QQ& a, const QQ& b)
{
    QQ::sub(r, a, b);
}
inline void mul(QQ& r, const QQ& a, const QQ& b)
{
    QQ::mul(r, a, b);
}
inline void div(QQ& r, const QQ& a, const QQ& b)
{
    QQ::div(r, a, b);
}
inline void negate(QQ& r, const QQ& a)
{
    QQ::negate(r, a);
}

// a = a op b without handing the operation an aliased result: QQ's operations copy an operand
// that is also the result, so the result goes to scratch and is swapped into place.
inline void addTo(long double& a, const long double& b, Scratch<long double>&)
{
    a += b;
}
inline void subFrom(long double& a, const long double& b, Scratch<long double>&)
{
    a -= b;
}
inline void mulBy(long double& a, const long double& b, Scratch<long double>&)
{
    a *= b;
}
inline void divBy(long double& a, const long double& b, Scratch<long double>&)
{
    a /= b;
}
// acc = acc + a * b, the product rounded before the sum, as in a plain loop.
inline void addProduct(long double& acc, const long double& a, const long double& b, Scratch<long double>&)
{
    acc += a * b;
}

inline void addTo(QQ& a, const QQ& b, Scratch<QQ>& scratch)
{
    QQ::add(scratch.sum, a, b);
    std::swap(a, scratch.sum);
}
inline void subFrom(QQ& a, const QQ& b, Scratch<QQ>& scratch)
{
    QQ::sub(scratch.sum, a, b);
    std::swap(a, scratch.sum);
}
inline void mulBy(QQ& a, const QQ& b, Scratch<QQ>& scratch)
{
    QQ::mul(scratch.sum, a, b);
    std::swap(a, scratch.sum);
}
inline void divBy(QQ& a, const QQ& b, Scratch<QQ>& scratch)
{
    QQ::div(scratch.sum, a, b);
    std::swap(a, scratch.sum);
}
inline void addProduct(QQ& acc, const QQ& a, const QQ& b, Scratch<QQ>& scratch)
{
    QQ::mul(scratch.product, a, b);
    QQ::add(scratch.sum, acc, scratch.product);
    std::swap(acc, scratch.sum);
}

// result = sum of a[k] * b[k] for k = 1..n, in index order, starting from zero. The sum runs in
// a local, which the compiler may keep in a register: result might alias a or b.
template <class T>
void dot(T& result, const T* a, const T* b, long n, Scratch<T>& scratch)
{
    T acc = Constant<T>::ZERO();
    for (long k = 1; k <= n; ++k)
        addProduct(acc, a[k], b[k], scratch);
    result = std::move(acc);
}

// row[from..n] -= q * pivot[from..n]. The long double loop is the plain one; the QQ loop passes
// over zero entries of the pivot row, whose products change nothing (rows of an elimination's
// transformation stay sparse for long, and a QQ product costs a multiplication and a reduction
// even by zero).
inline void subtractMultiple(long double* row, const long double& q, const long double* pivot, long from,
                             long n, Scratch<long double>&)
{
    for (long j = from; j <= n; ++j)
        row[j] -= q * pivot[j];
}

inline void subtractMultiple(QQ* row, const QQ& q, const QQ* pivot, long from, long n, Scratch<QQ>& scratch)
{
    for (long j = from; j <= n; ++j) {
        if (pivot[j].isZero()) continue;
        mul(scratch.product, q, pivot[j]);
        subFrom(row[j], scratch.product, scratch);
    }
}

} // namespace latopt::kernel
