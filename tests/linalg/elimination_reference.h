// elimination_reference.h: independent references for the elimination tests: the reduced row
// echelon form by the plainest Gauss-Jordan in QQ (first nonzero entry as pivot; the form is
// unique, so any pivot order must agree with it), the determinant by cofactor expansion, and
// random exact matrices of a chosen rank with their values in either number type.
#pragma once

#include "arith/math.h"
#include "arith/qq.h"
#include "linalg/matrix.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace latopt::testing_support {

struct ReferenceForm {
    Matrix<QQ> R;
    std::vector<long> pivots; // the pivot column of each nonzero row
};

inline ReferenceForm referenceRref(Matrix<QQ> A)
{
    ReferenceForm result;
    long r = 0;
    for (long c = 1; c <= A.colCount && r < A.rowCount; ++c) {
        long p = r + 1;
        while (p <= A.rowCount && A[p][c].isZero())
            ++p;
        if (p > A.rowCount) continue;
        ++r;
        std::swap(A[p], A[r]);
        const QQ pivot = A[r][c];
        for (long j = 1; j <= A.colCount; ++j)
            A[r][j] = A[r][j] / pivot;
        for (long i = 1; i <= A.rowCount; ++i) {
            if (i == r || A[i][c].isZero()) continue;
            const QQ factor = A[i][c];
            for (long j = 1; j <= A.colCount; ++j)
                A[i][j] = A[i][j] - factor * A[r][j];
        }
        result.pivots.push_back(c);
    }
    result.R = A;
    return result;
}

inline long referenceRank(const Matrix<QQ>& A)
{
    return static_cast<long>(referenceRref(A).pivots.size());
}

// Laplace expansion along the first row, in either number type.
template <class T>
T cofactorDeterminant(const Matrix<T>& A)
{
    const long n = A.rowCount;
    if (n == 0) return Constant<T>::ONE();
    T sum = Constant<T>::ZERO();
    for (long j = 1; j <= n; ++j) {
        Matrix<T> minor(n - 1, n - 1);
        for (long i = 2; i <= n; ++i)
            for (long c = 1, k = 1; c <= n; ++c)
                if (c != j) minor[i - 1][k++] = A[i][c];
        const T term = A[1][j] * cofactorDeterminant(minor);
        sum = (j % 2 == 1) ? sum + term : sum - term;
    }
    return sum;
}

// The value of an exact number in T: itself, or the long double nearest to it (within a unit or
// two in the last place), computed apart from the engine's crossing through decimal text.
inline QQ toNumber(const QQ& x, QQ*)
{
    return x;
}

inline long double toNumber(const QQ& x, long double*)
{
    long double value = std::strtold(x.ganze.getStringRepresentation().c_str(), nullptr);
    if (!x.zaehler.isZero())
        value += std::strtold(x.zaehler.getStringRepresentation().c_str(), nullptr) /
                 std::strtold(x.nenner.getStringRepresentation().c_str(), nullptr);
    return x.isPositive ? value : -value;
}

template <class T>
Matrix<T> toNumbers(const Matrix<QQ>& A)
{
    Matrix<T> result(A.rowCount, A.colCount);
    for (long i = 1; i <= A.rowCount; ++i)
        for (long j = 1; j <= A.colCount; ++j)
            result[i][j] = toNumber(A[i][j], static_cast<T*>(nullptr));
    return result;
}

template <class T>
Vector<T> toNumbers(const Vector<QQ>& v)
{
    Vector<T> result(v.MN);
    for (long i = 1; i <= v.MN; ++i)
        result[i] = toNumber(v[i], static_cast<T*>(nullptr));
    return result;
}

// Random exact entries p/q, |p| <= 20: q in 1..9, or for long double tests q in {1, 2, 4, 8}, so
// that every entry, and every sum of products of them, is exact in binary and a rank deficiency
// survives the conversion.
template <class T>
QQ randomExactEntry(std::mt19937_64& random)
{
    constexpr bool DYADIC = std::is_same_v<T, long double>;
    std::uniform_int_distribution<long> numerator(-20, 20);
    std::uniform_int_distribution<long> denominator(DYADIC ? 0 : 1, DYADIC ? 3 : 9);
    const long q = denominator(random);
    return QQ(ZZ(numerator(random)), ZZ(DYADIC ? 1L << q : q));
}

template <class T>
Vector<QQ> randomExactVector(std::mt19937_64& random, long n)
{
    Vector<QQ> v(n);
    for (long i = 1; i <= n; ++i)
        v[i] = randomExactEntry<T>(random);
    return v;
}

template <class T>
Matrix<QQ> randomExactMatrix(std::mt19937_64& random, long m, long n)
{
    Matrix<QQ> A(m, n);
    for (long i = 1; i <= m; ++i)
        A[i] = randomExactVector<T>(random, n);
    return A;
}

// An m x n matrix of rank at most r >= 1 (the product of m x r and r x n); with r >= min(m, n)
// almost always of full rank. Exact: a test converts it with toNumbers and keeps this one as the
// references' input.
template <class T>
Matrix<QQ> randomMatrixOfRank(std::mt19937_64& random, long m, long n, long r)
{
    if (r >= std::min(m, n)) return randomExactMatrix<T>(random, m, n);
    return randomExactMatrix<T>(random, m, r) * randomExactMatrix<T>(random, r, n);
}

// A multiplied by the least common multiple of its denominators: an integer matrix of the same
// rank, echelon form and kernel (exact QQ elimination takes another way on integer matrices).
inline Matrix<QQ> integerMultiple(const Matrix<QQ>& A)
{
    ZZ multiple(1);
    for (long i = 1; i <= A.rowCount; ++i)
        for (long j = 1; j <= A.colCount; ++j)
            multiple = Math::kgv(multiple, A[i][j].nenner);
    Matrix<QQ> B(A);
    for (long i = 1; i <= A.rowCount; ++i)
        for (long j = 1; j <= A.colCount; ++j)
            B[i][j] = A[i][j] * QQ(multiple);
    return B;
}

} // namespace latopt::testing_support
