// random_entries.h: seeded random vectors and matrices for the linalg tests, and the comparison
// that is exact in QQ and relative in long double.
#pragma once

#include "arith/qq.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>
#include <sstream>
#include <string>

namespace latopt::testing_support {

using test::rounds;
using test::seedTrace;
using test::testSeed;

// Small fractions p/q with |p| <= 50 and 1 <= q <= 12, in either number type; nonzero on request.
inline void randomEntry(std::mt19937_64& random, QQ& x, bool nonzero = false)
{
    std::uniform_int_distribution<long> numerator(-50, 50);
    std::uniform_int_distribution<long> denominator(1, 12);
    long p;
    do
        p = numerator(random);
    while (nonzero && p == 0);
    x = QQ(ZZ(p), ZZ(denominator(random)));
}

inline void randomEntry(std::mt19937_64& random, long double& x, bool nonzero = false)
{
    QQ exact;
    randomEntry(random, exact, nonzero);
    x = exact.toDbl(false, false);
}

template <class T>
Vector<T> randomVector(std::mt19937_64& random, long dimension, bool nonzero = false)
{
    Vector<T> v(dimension);
    for (long i = 1; i <= dimension; ++i)
        randomEntry(random, v[i], nonzero);
    return v;
}

template <class T>
Matrix<T> randomMatrix(std::mt19937_64& random, long rows, long cols)
{
    Matrix<T> m(rows, cols);
    for (long i = 1; i <= rows; ++i)
        for (long j = 1; j <= cols; ++j)
            randomEntry(random, m[i][j]);
    return m;
}

// Exact in QQ; in long double within a relative tolerance of the larger magnitude (10^-12 for
// identities that round differently on each side, looser for eliminations).
inline ::testing::AssertionResult same(const QQ& a, const QQ& b, long double = 0)
{
    if (a == b) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << a << " != " << b;
}

inline ::testing::AssertionResult same(long double a, long double b, long double tolerance = 1e-12L)
{
    const long double scale = std::max(1.0L, std::max(fabsl(a), fabsl(b)));
    if (fabsl(a - b) <= tolerance * scale) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << static_cast<double>(a) << " != " << static_cast<double>(b);
}

template <class T>
::testing::AssertionResult same(const Vector<T>& a, const Vector<T>& b, long double tolerance = 1e-12L)
{
    if (a.MN != b.MN) return ::testing::AssertionFailure() << "dimensions " << a.MN << " and " << b.MN;
    for (long i = 1; i <= a.MN; ++i) {
        ::testing::AssertionResult entry = same(a[i], b[i], tolerance);
        if (!entry) return entry << " at entry " << i;
    }
    return ::testing::AssertionSuccess();
}

template <class T>
::testing::AssertionResult same(const Matrix<T>& a, const Matrix<T>& b, long double tolerance = 1e-12L)
{
    if (a.rowCount != b.rowCount || a.colCount != b.colCount)
        return ::testing::AssertionFailure()
               << "shapes " << a.rowCount << "x" << a.colCount << " and " << b.rowCount << "x" << b.colCount;
    for (long i = 1; i <= a.rowCount; ++i) {
        ::testing::AssertionResult row = same(a[i], b[i], tolerance);
        if (!row) return row << " in row " << i;
    }
    return ::testing::AssertionSuccess();
}

template <class T>
Matrix<T> identity(long n)
{
    Matrix<T> m(n, n);
    for (long i = 1; i <= n; ++i)
        m[i][i] = Constant<T>::ONE();
    return m;
}

// The action ends the process with "*** FAIL: message" on stderr and exit code 1.
inline void expectFail(const std::function<void()>& action, const std::string& message)
{
    SCOPED_TRACE(message);
    EXPECT_EXIT(action(), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: " + message + "\n");
}

// The text form that serialize writes.
template <class S>
std::string written(const S& value)
{
    std::ostringstream stream;
    value.serialize(stream);
    return stream.str();
}

} // namespace latopt::testing_support
