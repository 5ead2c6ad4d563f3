// elimination.cpp: row echelon forms with their row transformation, the kernel basis and the
// particular solution built on the reduced form, the determinant and the unimodularity test of
// Matrix<T>, for long double and QQ; see matrix.h.
#include "linalg/matrix.h"

#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "linalg/kernel.h"

#include <cmath>
#include <type_traits>
#include <utility>
#include <vector>

namespace latopt {

namespace {

// The decisions after the pivot search: exact in QQ (while truncation is off, which the engine
// never switches on), within EPSILON in long double, where the flag is ignored. A tolerance in
// QQ would call [[10^10, 1], [1, 0]] singular.
template <class T>
bool isZero(const T& x)
{
    return Precision::equalsZero(x, QQ::enableTruncate);
}

// A multiplier or pivot beyond the trusted range of a long double; an exact number has none.
bool overflows(const long double& x)
{
    return Precision::overflows(x);
}

bool overflows(const QQ&)
{
    return false;
}

// |a| > |b|, without copies of QQ values.
bool absGreater(const long double& a, const long double& b)
{
    return fabsl(a) > fabsl(b);
}

bool absGreater(const QQ& a, const QQ& b)
{
    const bool aNegative = !a.isPositive && !a.isZero();
    const bool bNegative = !b.isPositive && !b.isZero();
    if (aNegative == bNegative) return aNegative ? QQ::compare(a, b) < 0 : QQ::compare(a, b) > 0;
    // Opposite signs: compare a with -b.
    return aNegative ? QQ::compare(-a, b) > 0 : QQ::compare(a, -b) > 0;
}

// row[from..n] /= p, passing over zeros in QQ as above.
void divideBy(long double* row, const long double& p, long from, long n, kernel::Scratch<long double>&)
{
    for (long j = from; j <= n; ++j)
        row[j] /= p;
}

void divideBy(QQ* row, const QQ& p, long from, long n, kernel::Scratch<QQ>& scratch)
{
    for (long j = from; j <= n; ++j)
        if (!row[j].isZero()) kernel::divBy(row[j], p, scratch);
}

// The column of the first entry of row[from..n] that isn't zero by the pivot test, or n + 1.
template <class T>
long leadingColumn(const T* row, long from, long n)
{
    for (long j = from; j <= n; ++j)
        if (!Precision::equalsZero(row[j], false)) return j;
    return n + 1;
}

// M becomes the rows x cols zero matrix (makeZero would read a count of 0 as "as it is").
template <class T>
void setZero(Matrix<T>& M, long rows, long cols)
{
    M.setDimensions(rows, cols);
    for (long i = 1; i <= rows; ++i)
        for (long j = 1; j <= cols; ++j)
            M.rowData[i].data[j] = Constant<T>::ZERO();
}

// ---- Fraction-free elimination of integer matrices in QQ ----------------------------------------
// Row operations in QQ on entries that grow to hundreds of digits spend their time reducing
// fractions. On a matrix of integers the same elimination runs fraction-free instead: row i of
// [A | Tr] is kept as an integer row B_i = d L_i, where L_i is the row the elimination in QQ would
// hold and d the pivot of B of the last step (1 before the first). A step with pivot p = B_k[c]
// sets every other row it works on to B_i = (p B_i - B_i[c] B_k) / d, which is p L_i after the
// step in QQ, and d = p; the pivot row, untouched, is p times its normalised self. The division is
// exact, each entry being a minor of [A | I]. A factor common to all rows changes neither a zero
// test nor a comparison of absolute values, so the pivots, the exchanges and the sign are those of
// the elimination in QQ, and each entry, divided by its row's factor once at the end, equals its
// entry there. In the unreduced form the rows above the pivot are not worked on: a pivot row
// keeps the factor of its own step.

// Every entry an integer (no infinity), and the arithmetic exact: the truncating mode rounds
// products, which only the elimination in QQ reproduces.
bool fractionFreeApplies(const Matrix<QQ>& A)
{
    if (QQ::enableTruncate) return false;
    for (long i = 1; i <= A.rowCount; ++i) {
        const QQ* row = A.rowData[i].data;
        for (long j = 1; j <= A.colCount; ++j)
            if (row[j].isInf || !row[j].zaehler.isZero()) return false;
    }
    return true;
}

// |a| > |b|.
bool magnitudeGreater(const ZZ& a, const ZZ& b)
{
    ZZ x(a);
    ZZ y(b);
    x.isPositive = true;
    y.isPositive = true;
    return x.compare(y) > 0;
}

// row_echelon_form for a matrix on which fractionFreeApplies, with the same results.
long fractionFreeEchelon(Matrix<QQ>& A, Matrix<QQ>& Tr, bool reduced)
{
    const long m = A.rowCount;
    const long n = A.colCount;
    const long width = n + m;
    // B[i] (i = 1..m) is row i of [A | I]: A in columns 0..n-1, Tr in n..n+m-1.
    std::vector<std::vector<ZZ>> B(m + 1);
    for (long i = 1; i <= m; ++i) {
        B[i].resize(width);
        const QQ* row = A.rowData[i].data;
        for (long j = 1; j <= n; ++j)
            if (!row[j].isZero()) B[i][j - 1] = row[j].signedInteger();
        B[i][n + i - 1] = 1;
    }
    std::vector<ZZ> factor(m + 1);
    std::vector<long> pivotColumns(m + 1, 0);
    ZZ d(1);
    ZZ p;
    ZZ multiplier;
    ZZ t;
    ZZ u;
    ZZ remainder;
    long sign = 1;
    long rank = 0;
    long start = 0;
    // row = (p row - row[column] pivotRow) / d; row[column] becomes zero.
    auto eliminate = [&](std::vector<ZZ>& row, const std::vector<ZZ>& pivotRow, long column) {
        std::swap(multiplier, row[column]);
        row[column] = 0;
        const bool scaled = !(p.compare(d) == 0);
        const bool subtracts = !multiplier.isZero();
        if (!scaled && !subtracts) return;
        for (long j = 0; j < width; ++j) {
            if (j == column) continue;
            const bool own = !row[j].isZero();
            const bool other = subtracts && !pivotRow[j].isZero();
            if (!other && (!own || !scaled)) continue;
            if (own)
                ZZ::mul(p, row[j], t);
            else
                t = 0;
            if (other) {
                ZZ::mul(multiplier, pivotRow[j], u);
                ZZ::sub(t, u, t);
            }
            if (d.compare(ZZ(1)) == 0) {
                std::swap(row[j], t);
                continue;
            }
            ZZ::div(t, d, row[j], remainder);
            if (!remainder.isZero())
                fatal("row_echelon_form: an inexact division in the fraction-free elimination");
        }
    };
    for (long k = 1; k <= m; ++k) {
        // The pivot row, as in row_echelon_form.
        long best = 0;
        long column = n;
        for (long i = k; i <= m; ++i) {
            long leading = start;
            while (leading < n && B[i][leading].isZero())
                ++leading;
            if (leading == n) continue;
            if (leading < column) {
                best = i;
                column = leading;
            } else if (leading == column && magnitudeGreater(B[i][column], B[best][column])) {
                std::swap(B[i], B[best]);
                sign = -sign;
            }
        }
        if (best == 0) break;
        if (best != k) {
            std::swap(B[best], B[k]);
            sign = -sign;
        }
        p = B[k][column];
        factor[k] = d;
        for (long i = k + 1; i <= m; ++i)
            eliminate(B[i], B[k], column);
        if (reduced)
            for (long i = 1; i < k; ++i) {
                eliminate(B[i], B[k], column);
                if (B[i][pivotColumns[i]].isZero()) fatal("This should not happen -- check it");
            }
        d = p;
        pivotColumns[k] = column;
        ++rank;
        start = column + 1;
    }
    // Each entry over its row's factor: d for every row of the reduced form and for the rows after
    // the rank, the factor of its step for a pivot row of the unreduced form.
    setZero(Tr, m, m);
    for (long i = 1; i <= m; ++i) {
        const ZZ& divisor = reduced || i > rank ? d : factor[i];
        QQ* row = A.rowData[i].data;
        QQ* rowTr = Tr.rowData[i].data;
        for (long j = 0; j < width; ++j) {
            QQ& entry = j < n ? row[j + 1] : rowTr[j - n + 1];
            if (B[i][j].isZero())
                entry = QQ();
            else
                entry = QQ(std::move(B[i][j]), ZZ(divisor));
        }
    }
    return sign * rank;
}

} // namespace

template <class T>
long Matrix<T>::row_echelon_form(Matrix<T>& Tr, bool reduced)
{
    if constexpr (std::is_same_v<T, QQ>)
        if (fractionFreeApplies(*this)) return fractionFreeEchelon(*this, Tr, reduced);
    const long m = rowCount;
    const long n = colCount;
    kernel::Scratch<T> scratch;
    T q;
    // 1. Tr starts as the identity; sign counts every row exchange.
    setZero(Tr, m, m);
    for (long i = 1; i <= m; ++i)
        Tr[i][i] = Constant<T>::ONE();
    long sign = 1;
    long rank = 0;
    Array<long> pivotColumns(m);
    // Columns before the last pivot column are zero in rows k..m (eliminated, or passed over as
    // zero), so the search for a row's leading entry starts behind it.
    long start = 1;
    for (long k = 1; k <= m; ++k) {
        // 2. The pivot row: the smallest leading column, among rows with that column the greatest
        //    absolute entry. A better row of the same column is exchanged at once into the place
        //    of the best one so far. Unlike the classic form of this search, that exchange counts
        //    for the sign too, so that the sign of the result is the sign of det(Tr).
        long best = 0;
        long column = n + 1;
        for (long i = k; i <= m; ++i) {
            const long leading = leadingColumn(rowData[i].data, start, n);
            if (leading > n) continue;
            if (leading < column) {
                best = i;
                column = leading;
            } else if (leading == column && absGreater(rowData[i][column], rowData[best][column])) {
                swapRows(i, best);
                Tr.swapRows(i, best);
                sign = -sign;
            }
        }
        // 3. No nonzero entry is left.
        if (best == 0) return sign * rank;
        // 4. The pivot row moves to row k.
        if (best != k) {
            swapRows(best, k);
            Tr.swapRows(best, k);
            sign = -sign;
        }
        T* pivotRow = rowData[k].data;
        const T* pivotTr = Tr.rowData[k].data;
        // 5. Below the pivot: the pivot column becomes an exact zero, the rest of each row and
        //    the row of Tr take the same multiple of the pivot row. Rows with a zero there are
        //    left alone.
        for (long i = k + 1; i <= m; ++i) {
            T* row = rowData[i].data;
            if (Precision::equalsZero(row[column], false)) continue;
            kernel::div(q, row[column], pivotRow[column]);
            if (overflows(q)) throw PrecisionException("q overflow");
            kernel::subtractMultiple(row, q, pivotRow, column + 1, n, scratch);
            row[column] = Constant<T>::ZERO();
            kernel::subtractMultiple(Tr.rowData[i].data, q, pivotTr, 1, m, scratch);
        }
        // 6. The reduced form: the pivot becomes 1, then the entries above it are eliminated the
        //    same way. A row above is a pivot row with its leading 1 left of this column, so it
        //    cannot become zero; if it does, the elimination has gone wrong.
        if (reduced) {
            const T pivot = pivotRow[column];
            if (overflows(pivot)) throw PrecisionException("q2 overflow");
            divideBy(pivotRow, pivot, column + 1, n, scratch);
            pivotRow[column] = Constant<T>::ONE();
            divideBy(Tr.rowData[k].data, pivot, 1, m, scratch);
            for (long i = 1; i < k; ++i) {
                T* row = rowData[i].data;
                if (Precision::equalsZero(row[column], false)) continue;
                q = row[column];
                if (overflows(q)) throw PrecisionException("q overflow");
                kernel::subtractMultiple(row, q, pivotRow, column + 1, n, scratch);
                row[column] = Constant<T>::ZERO();
                kernel::subtractMultiple(Tr.rowData[i].data, q, pivotTr, 1, m, scratch);
                // Only columns right of this one changed, so the row is zero iff its own pivot is.
                if (Precision::equalsZero(row[pivotColumns[i]], false))
                    fatal("This should not happen -- check it");
            }
        }
        // 7. One more pivot.
        pivotColumns[k] = column;
        ++rank;
        start = column + 1;
    }
    return sign * rank;
}

template <class T>
long Matrix<T>::normierte_zeilenstufenform(Matrix<T>& Tr, Matrix<T>& Nr, Array<long>& pivotColumns)
{
    const long result = row_echelon_form(Tr, true);
    const long rank = result < 0 ? -result : result;
    const long n = colCount;
    // The pivot columns, one for each of the first rank rows, which are the nonzero ones.
    pivotColumns.setDimension(rank);
    Array<bool> isPivot;
    isPivot.setDimension(n);
    for (long j = 1; j <= n; ++j)
        isPivot[j] = false;
    for (long i = 1; i <= rank; ++i) {
        pivotColumns[i] = leadingColumn(rowData[i].data, 1, n);
        isPivot[pivotColumns[i]] = true;
    }
    // The kernel basis: for free column f the vector with 1 at f and -R[i][f] at pivot column i.
    setZero(Nr, n - rank, n);
    long row = 0;
    for (long f = 1; f <= n; ++f) {
        if (isPivot[f]) continue;
        ++row;
        Nr[row][f] = Constant<T>::ONE();
        for (long i = 1; i <= rank; ++i)
            kernel::negate(Nr[row][pivotColumns[i]], rowData[i][f]);
    }
    return result;
}

template <class T>
bool Matrix<T>::computeX0(Vector<T>& x, const Array<long>& pivotColumns, const Vector<T>& b) const
{
    const Vector<T> y = (*this) * b;
    const long rank = pivotColumns.MN;
    // Rows of the reduced form after the rank are zero: the right side must be zero there too.
    for (long i = rank + 1; i <= y.MN; ++i)
        if (!isZero(y[i])) return false;
    for (long j = 1; j <= x.MN; ++j)
        x[j] = Constant<T>::ZERO();
    for (long i = 1; i <= rank; ++i) {
        if (pivotColumns[i] < 1 || pivotColumns[i] > x.MN)
            fatal("computeX0: pivot column beyond the solution vector");
        x[pivotColumns[i]] = y[i];
    }
    return true;
}

template <class T>
bool Matrix<T>::solve(Matrix<T>& Tr, Matrix<T>& Nr, Array<long>& pivotColumns, Vector<T>& x,
                      const Vector<T>& b) const
{
    Matrix<T> R(*this);
    R.normierte_zeilenstufenform(Tr, Nr, pivotColumns);
    x.setDimension(colCount);
    return Tr.computeX0(x, pivotColumns, b);
}

template <class T>
bool Matrix<T>::solve(Matrix<T>& Tr, Vector<T>& x, const Vector<T>& b) const
{
    Matrix<T> Nr;
    Array<long> pivotColumns;
    return solve(Tr, Nr, pivotColumns, x, b);
}

template <class T>
T Matrix<T>::determinant() const
{
    // 1. Square only.
    if (rowCount != colCount) fatal("Matrix: a non-quadratic matrix determinant is not defined");
    // 2. The echelon form of a copy: the sign of its result (which counts every exchange) times
    //    the diagonal. Below full rank the result is an exact zero, also where rounding in long
    //    double leaves a tiny last pivot on the diagonal.
    Matrix<T> R(*this);
    Matrix<T> Tr;
    const long result = R.row_echelon_form(Tr, false);
    const long rank = result < 0 ? -result : result;
    if (result == 0 || rank < rowCount) return Constant<T>::ZERO();
    kernel::Scratch<T> scratch;
    T value = result < 0 ? -Constant<T>::ONE() : Constant<T>::ONE();
    for (long i = 1; i <= rowCount; ++i)
        kernel::mulBy(value, R[i][i], scratch);
    return value;
}

namespace {

// | |d| - 1 | <= 1/10.
template <class T>
bool isNearUnit(const T& d)
{
    static const T TENTH = Constant<T>::ONE() / T(10);
    return Math::abs(T(Math::abs(d) - Constant<T>::ONE())) <= TENTH;
}

// Sorts the rows by squared norm, ascending or descending, by exchanges: for each i, each later
// row j whose norm is smaller (ascending) or greater (descending) than that of row i now takes
// its place.
template <class T>
void sortRowsByNorm(Matrix<T>& A, bool ascending)
{
    Array<T> norms;
    norms.setDimension(A.rowCount);
    for (long i = 1; i <= A.rowCount; ++i)
        norms[i] = A[i] * A[i];
    for (long i = 1; i <= A.rowCount; ++i)
        for (long j = i + 1; j <= A.rowCount; ++j)
            if (ascending ? norms[i] > norms[j] : norms[i] < norms[j]) {
                A.swapRows(i, j);
                std::swap(norms[i], norms[j]);
            }
}

} // namespace

namespace {

// The determinant of a long double matrix of integers below 2^53, exactly (through QQ, where the
// elimination of integers is fraction-free): elimination in long double leaves the last pivot of
// a unimodular matrix at 1 / (the product of the others), which falls below the zero tolerance
// already for ten rows with entries of two digits, and the rank, and with it the determinant,
// comes out short. False for other matrices.
bool exactIntegerDeterminant(const Matrix<long double>& A, long double& determinant)
{
    for (long i = 1; i <= A.rowCount; ++i)
        for (long j = 1; j <= A.colCount; ++j) {
            const long double x = A[i][j];
            if (!(fabsl(x) < 0x1p53L) || x != truncl(x)) return false;
        }
    determinant = Matrix<QQ>(A).determinant().toDblRounded();
    return true;
}

bool exactIntegerDeterminant(const Matrix<QQ>& A, QQ& determinant)
{
    (void)A;
    (void)determinant;
    return false;
}

} // namespace

template <class T>
bool Matrix<T>::unimodularCheck(T& determinant) const
{
    // 0. A matrix of integers in long double: exactly.
    if (exactIntegerDeterminant(*this, determinant)) return isNearUnit(determinant);
    // 1. The rows as they stand.
    determinant = this->determinant();
    if (isNearUnit(determinant)) return true;
    // 2., 3. Other orders of elimination may round differently in long double; in QQ they find
    //    the same value.
    Matrix<T> sorted(*this);
    sortRowsByNorm(sorted, true);
    determinant = sorted.determinant();
    if (isNearUnit(determinant)) return true;
    sortRowsByNorm(sorted, false);
    determinant = sorted.determinant();
    return isNearUnit(determinant);
}

// The members defined here, for both number types.
#define LATOPT_ELIMINATION_MEMBERS(T)                                                                        \
    template long Matrix<T>::row_echelon_form(Matrix<T>&, bool);                                             \
    template long Matrix<T>::normierte_zeilenstufenform(Matrix<T>&, Matrix<T>&, Array<long>&);               \
    template bool Matrix<T>::computeX0(Vector<T>&, const Array<long>&, const Vector<T>&) const;              \
    template bool Matrix<T>::solve(Matrix<T>&, Matrix<T>&, Array<long>&, Vector<T>&, const Vector<T>&)       \
        const;                                                                                               \
    template bool Matrix<T>::solve(Matrix<T>&, Vector<T>&, const Vector<T>&) const;                          \
    template T Matrix<T>::determinant() const;                                                               \
    template bool Matrix<T>::unimodularCheck(T&) const;
LATOPT_ELIMINATION_MEMBERS(long double)
LATOPT_ELIMINATION_MEMBERS(QQ)
#undef LATOPT_ELIMINATION_MEMBERS

} // namespace latopt
