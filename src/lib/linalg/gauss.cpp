// gauss.cpp: the factorisation P A = L U with row pivoting (gauss) and the solving of linear
// systems with its factors (computeCoords, rsolve, lsolve), for long double and QQ; see matrix.h.
#include "linalg/matrix.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "linalg/kernel.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace latopt {

namespace {

// The zero test of every decision here: exact in QQ (while truncation is off, which the engine
// never switches on), within EPSILON in long double, where the flag is ignored. A tolerance in
// QQ would skip a pivot of 10^-10 and take an inconsistent system for a solved one.
template <class T>
bool isZero(const T& x)
{
    return Precision::equalsZero(x, QQ::enableTruncate);
}

// |x|, into a caller-owned object.
void absInto(long double& r, const long double& x)
{
    r = fabsl(x);
}

void absInto(QQ& r, const QQ& x)
{
    r = x;
    if (!r.isZero()) r.isPositive = true;
}

} // namespace

template <class T>
long Matrix<T>::gauss(Matrix<T>& L, Matrix<T>& U, Array<long>& permutation) const
{
    const long m = rowCount;
    const long n = colCount;
    kernel::Scratch<T> scratch;
    // 1. L starts as a copy of this matrix and is eliminated in place; U is the n x n zero matrix.
    long rank = n;
    const long limit = std::min(m, n);
    L = *this;
    U.setDimensions(n, n);
    for (long i = 1; i <= n; ++i)
        for (long j = 1; j <= n; ++j)
            U.rowData[i].data[j] = Constant<T>::ZERO();
    permutation.setDimension(m);
    for (long i = 1; i <= m; ++i)
        permutation[i] = i;
    T maximum;
    T candidate;
    T multiplier;
    for (long j = 1; j <= n; ++j) {
        // 2. The pivot: the strictly greatest absolute value of column j in rows j..m, the
        //    earliest row winning a tie.
        maximum = Constant<T>::ZERO();
        long pivotRow = 0;
        for (long i = j; i <= m; ++i) {
            absInto(candidate, L.rowData[i].data[j]);
            if (candidate > maximum) {
                std::swap(maximum, candidate);
                pivotRow = i;
            }
        }
        // 3. No pivot: the column is passed over. Its entries from the diagonal down become exact
        //    zeros, so that no tiny value survives as a multiplier or as a diagonal entry of U
        //    that back substitution would divide by.
        if (pivotRow == 0 || isZero(maximum)) {
            --rank;
            for (long i = j; i <= m; ++i)
                L.rowData[i].data[j] = Constant<T>::ZERO();
            continue;
        }
        // 4. The pivot row moves to row j; each row below keeps its multiplier in column j and
        //    loses that multiple of the pivot row right of it. Rows with an exact zero there have
        //    nothing to lose.
        L.swapRows(pivotRow, j);
        std::swap(permutation[pivotRow], permutation[j]);
        const T* pivot = L.rowData[j].data;
        for (long i = j + 1; i <= m; ++i) {
            T* row = L.rowData[i].data;
            if (row[j] == Constant<T>::ZERO()) continue;
            kernel::div(multiplier, row[j], pivot[j]);
            row[j] = multiplier;
            kernel::subtractMultiple(row, multiplier, pivot, j + 1, n, scratch);
        }
    }
    // 5. The entries on and above the diagonal move to U; L keeps the multiplier below it and
    //    ones on it.
    for (long i = 1; i <= limit; ++i) {
        T* row = L.rowData[i].data;
        for (long c = i; c <= n; ++c) {
            std::swap(U.rowData[i].data[c], row[c]);
            row[c] = Constant<T>::ZERO();
        }
        row[i] = Constant<T>::ONE();
    }
    // 6. Each skipped column lowered the rank, and at most one pivot stands in each row.
    if (rank > limit) fatal("gauss: rang too big");
    return rank;
}

template <class T>
char Matrix<T>::computeCoords(const Matrix<T>& L, const Matrix<T>& U, const Array<long>& permutation,
                              const Vector<T>& y, Vector<T>& x, bool freeToZero, bool toInteger)
{
    const long m = L.rowCount;
    const long n = U.colCount;
    const long limit = std::min(m, n);
    if (y.MN != m || permutation.MN != m) fatal("computeCoords: dimension mismatch");
    kernel::Scratch<T> scratch;
    char status = 1;
    // 1. x = 0; z is y in the row order of the factors.
    x.setDimension(n);
    for (long j = 1; j <= n; ++j)
        x[j] = Constant<T>::ZERO();
    Vector<T> permuted(m);
    for (long i = 1; i <= m; ++i)
        permuted[i] = y[permutation[i]];
    Vector<T> z(permuted);
    // 2. Forward substitution with the unit lower factor: z = L^-1 z on the first limit rows.
    for (long i = 2; i <= limit; ++i) {
        const T* row = L.rowData[i].data;
        for (long l = 1; l < i; ++l)
            if (!(row[l] == Constant<T>::ZERO())) {
                kernel::mul(scratch.product, row[l], z[l]);
                kernel::subFrom(z[i], scratch.product, scratch);
            }
    }
    // 3. Back substitution with U from the last column. A column without a pivot sets its
    //    variable to 0; unless freeToZero, its row must then be satisfied already. The rows of a
    //    column beyond the row count are no equations: their variables are free.
    T residual;
    for (long j = n; j >= 1; --j) {
        if (j > limit) continue;
        const T* row = U.rowData[j].data;
        residual = z[j];
        for (long c = j + 1; c <= n; ++c)
            if (!(row[c] == Constant<T>::ZERO())) {
                kernel::mul(scratch.product, row[c], x[c]);
                kernel::subFrom(residual, scratch.product, scratch);
            }
        if (row[j] == Constant<T>::ZERO()) {
            if (!freeToZero && !isZero(residual)) status = -1;
            continue;
        }
        kernel::div(x[j], residual, row[j]);
    }
    // 4. Integer values, if asked for; the check below tells whether they still solve.
    if (toInteger)
        for (long j = 1; j <= n; ++j)
            x[j] = round(x[j]);
    // 5. L U x must give the permuted y: exactly in QQ, within EPSILON in long double. An
    //    inconsistent row found above keeps its own status.
    const Vector<T> product = L * (U * x);
    for (long i = 1; i <= m && status == 1; ++i) {
        kernel::sub(residual, product[i], permuted[i]);
        if (!isZero(residual)) status = -2;
    }
    return status;
}

template <class T>
bool Matrix<T>::rsolve(const Vector<T>& b, Vector<T>& x, bool toInteger) const
{
    Matrix<T> L;
    Matrix<T> U;
    Array<long> permutation;
    gauss(L, U, permutation);
    return computeCoords(L, U, permutation, b, x, false, toInteger) == 1;
}

template <class T>
bool Matrix<T>::lsolve(const Vector<T>& b, Vector<T>& x, bool toInteger) const
{
    return transpose().rsolve(b, x, toInteger);
}

// The members defined here, for both number types.
#define LATOPT_GAUSS_MEMBERS(T)                                                                              \
    template long Matrix<T>::gauss(Matrix<T>&, Matrix<T>&, Array<long>&) const;                              \
    template char Matrix<T>::computeCoords(const Matrix<T>&, const Matrix<T>&, const Array<long>&,           \
                                           const Vector<T>&, Vector<T>&, bool, bool);                        \
    template bool Matrix<T>::rsolve(const Vector<T>&, Vector<T>&, bool) const;                               \
    template bool Matrix<T>::lsolve(const Vector<T>&, Vector<T>&, bool) const;
LATOPT_GAUSS_MEMBERS(long double)
LATOPT_GAUSS_MEMBERS(QQ)
#undef LATOPT_GAUSS_MEMBERS

} // namespace latopt
