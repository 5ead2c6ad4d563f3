// lll_contract.h: an exact checker of what a reduced basis must satisfy, for the tests of the
// reduction and of latopt-reduce, and seeded generators of the usual test bases.
// The checker keeps its own exact textbook Gram-Schmidt (the integral recurrence over Gram
// determinants, in ZZ), apart from the engine's, so that a fault there cannot hide itself.
// Contract for B_out reduced from B_in, d rows, B_i = |b*_i|^2, delta = 999999999/10^9:
//   (U) B_out = U B_in with U integral and det U = +-1; same shape; no zero row.
//   (S) |mu_kj| <= 1/2 for all j < k.
//   (L) without deep: B_k + mu_{k,k-1}^2 B_{k-1} >= delta B_{k-1} for 2 <= k <= d.
//   (D) with deep: sum_{i=j..k} mu_ki^2 B_i >= delta B_j for 2 <= j < k, 3 <= k <= d (mu_kk = 1);
//       position 1 is never an insertion target, so b_1 comes out as it went in.
// The tolerant mode, for a reduction whose Gram-Schmidt data are long double, allows
// |mu| <= 1/2 + 10^-6 and compares with delta - 10^-6; the Gram-Schmidt here stays exact.
// Matrices are 0-based std::vector rows of QQ; Matrix<long double> and Matrix<QQ> (1-based)
// convert exactly through exactMatrix.
#pragma once

#include "arith/qq.h"
#include "linalg/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt::lll_contract {

// The number types of one lattice instantiation, for typed tests.
template <class A, class B>
struct Types {
    using R1 = A;
    using R2 = B;
};
using AllLatticeTypes = ::testing::Types<Types<long double, long double>, Types<QQ, long double>,
                                         Types<long double, QQ>, Types<QQ, QQ>>;

using Rows = std::vector<std::vector<QQ>>;

struct Options {
    bool tolerant = false; // long double Gram-Schmidt: the relaxed bounds above
    bool deep = false;     // (D) instead of (L)
    // Rows of B_out to hold to (S), (L), (D); 0: all. For input with dependent rows, whose
    // independent rows come first and the rest are left as they are.
    std::size_t independentRows = 0;
};

// ---- Exact conversions ------------------------------------------------------------------------

// A finite long double exactly: its 64-bit significand times a power of two.
inline QQ exactValue(long double x)
{
    if (x == std::trunc(x) && std::fabs(x) < 9.0e18L) return QQ(static_cast<long long>(x));
    int exponent = 0;
    const long double fraction = std::frexp(std::fabs(x), &exponent); // in [1/2, 1)
    const auto significand = static_cast<unsigned long long>(std::ldexp(fraction, 64));
    QQ value = QQ(static_cast<long long>(significand >> 32)) * QQ(4294967296LL) +
               QQ(static_cast<long long>(significand & 0xffffffffULL));
    const int shift = exponent - 64;
    ZZ power;
    ZZ::pow(ZZ(2), ZZ(shift < 0 ? -shift : shift), power);
    value = shift < 0 ? value / QQ(power) : value * QQ(power);
    return x < 0 ? -value : value;
}

inline QQ exactValue(const QQ& x)
{
    return x;
}

template <class T>
Rows exactMatrix(const Matrix<T>& m)
{
    Rows rows(static_cast<std::size_t>(m.rowCount));
    for (long i = 1; i <= m.rowCount; ++i)
        for (long j = 1; j <= m[i].MN; ++j)
            rows[static_cast<std::size_t>(i - 1)].push_back(exactValue(m[i][j]));
    return rows;
}

// ---- Exact linear algebra ---------------------------------------------------------------------

inline bool isInteger(const QQ& x)
{
    return !x.isInf && x.zaehler.isZero();
}

// Integer matrices for the transform: fraction-free elimination keeps every entry a minor, so the
// numbers stay as short as Cramer's rule allows and no fraction is ever reduced.
using IntRows = std::vector<std::vector<ZZ>>;

// Fraction-free echelon form (Bareiss) of a copy of a: the pivot columns, one per independent row.
inline std::vector<std::size_t> pivotColumns(IntRows a)
{
    std::vector<std::size_t> pivots;
    ZZ previous(1);
    const std::size_t cols = a.empty() ? 0 : a[0].size();
    for (std::size_t c = 0, r = 0; c < cols && r < a.size(); ++c) {
        std::size_t p = r;
        while (p < a.size() && a[p][c].isZero())
            ++p;
        if (p == a.size()) continue;
        std::swap(a[p], a[r]);
        for (std::size_t i = r + 1; i < a.size(); ++i) {
            for (std::size_t j = c + 1; j < cols; ++j)
                a[i][j] = (a[r][c] * a[i][j] - a[i][c] * a[r][j]) / previous;
            a[i][c] = ZZ(0);
        }
        previous = a[r][c];
        pivots.push_back(c);
        ++r;
    }
    return pivots;
}

// Fraction-free Gauss-Jordan on a = [A | R], A the leading n x n block: returns det A; then, for
// a regular A, every a[i][i] is the same D = +-det A and the columns after n hold D A^-1 R.
inline ZZ bareissJordan(IntRows& a, std::size_t n)
{
    ZZ previous(1);
    bool negative = false;
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t p = k;
        while (p < n && a[p][k].isZero())
            ++p;
        if (p == n) return ZZ(0);
        if (p != k) {
            std::swap(a[p], a[k]);
            negative = !negative;
        }
        for (std::size_t i = 0; i < n; ++i) {
            if (i == k) continue;
            for (std::size_t j = 0; j < a[i].size(); ++j)
                if (j != k && (j > k || j == i)) // columns before k hold only their diagonal
                    a[i][j] = (a[k][k] * a[i][j] - a[i][k] * a[k][j]) / previous;
            a[i][k] = ZZ(0);
        }
        previous = a[k][k];
    }
    return negative ? -previous : previous;
}

// Gram-Schmidt data of the rows b_1..b_d (0-based here): norm[k] = B_k, mu[k][j] for j < k, from
// the integral form of the recurrence: with D_k the Gram determinant of the first k rows and
// lambda_kj = D_j mu_kj, both integers, every division below is exact.
// Rows from the first one whose B is zero on are left out: rank is the count before it.
struct GramSchmidt {
    std::vector<QQ> norm;
    Rows mu;
    std::size_t rank = 0;
};

inline GramSchmidt gramSchmidt(const Rows& b)
{
    const std::size_t d = b.size();
    GramSchmidt gs;
    gs.mu.assign(d, std::vector<QQ>(d));
    gs.norm.assign(d, QQ(0));
    IntRows rows(d), lambda(d, std::vector<ZZ>(d));
    for (std::size_t k = 0; k < d; ++k)
        for (const QQ& x : b[k])
            rows[k].push_back(x.signedInteger());
    std::vector<ZZ> gramDet(d + 1, ZZ(1)); // gramDet[k] = D_k, D_0 = 1
    for (std::size_t k = 0; k < d; ++k) {
        for (std::size_t j = 0; j <= k; ++j) {
            ZZ u(0);
            for (std::size_t c = 0; c < rows[k].size(); ++c)
                u = u + rows[k][c] * rows[j][c];
            for (std::size_t i = 0; i < j; ++i)
                u = (gramDet[i + 1] * u - lambda[k][i] * lambda[j][i]) / gramDet[i];
            lambda[k][j] = u;
        }
        gramDet[k + 1] = lambda[k][k];
        if (gramDet[k + 1].isZero()) break;
        gs.norm[k] = QQ(gramDet[k + 1], gramDet[k]);
        for (std::size_t j = 0; j < k; ++j)
            gs.mu[k][j] = QQ(lambda[k][j], gramDet[j + 1]);
        gs.mu[k][k] = QQ(1);
        gs.rank = k + 1;
    }
    return gs;
}

inline std::string approx(const QQ& x)
{
    std::ostringstream text;
    text.precision(12);
    text << x.toDbl(false, true);
    return text.str();
}

// ---- The contract -----------------------------------------------------------------------------

// (U) with a given U, or, without one (u null), with U solved from U S_in = S_out, S the columns of
// B_in (and B_out) at d independent columns of B_in; that needs independent input rows.
// |det U| = 1 is tested as |det S_out| = |det S_in|, which U S_in = S_out makes equivalent (with
// dependent input rows on U itself). zeroRowsAllowed: for dependent input, whose surplus rows a
// reduction may bring down to zero.
inline testing::AssertionResult transformHolds(const Rows& in, const Rows& out, const Rows* u,
                                               bool zeroRowsAllowed = false)
{
    const std::size_t d = in.size(), n = in.empty() ? 0 : in[0].size();
    if (out.size() != d)
        return testing::AssertionFailure() << "(U) " << out.size() << " rows out, " << d << " in";
    IntRows intIn(d), intOut(d);
    for (std::size_t k = 0; k < d; ++k) {
        if (out[k].size() != n || in[k].size() != n)
            return testing::AssertionFailure() << "(U) row " << k + 1 << " has another length";
        bool zero = true;
        for (std::size_t j = 0; j < n; ++j) {
            if (!isInteger(in[k][j]) || !isInteger(out[k][j]))
                return testing::AssertionFailure()
                       << "(U) entry [" << k + 1 << "][" << j + 1 << "] is no integer";
            intIn[k].push_back(in[k][j].signedInteger());
            intOut[k].push_back(out[k][j].signedInteger());
            zero = zero && out[k][j].isZero();
        }
        if (zero && !zeroRowsAllowed)
            return testing::AssertionFailure() << "(U) row " << k + 1 << " of the output is zero";
    }
    std::vector<std::size_t> columns = pivotColumns(intIn);
    const bool dependent = columns.size() < d;
    if (dependent && u == nullptr)
        return testing::AssertionFailure() << "(U) input rows are dependent: give U";
    columns.resize(d); // with dependent rows only the given U is read, and its own determinant
    // [S_in^T | S_out^T]: its solution is U^T.
    IntRows system(d), outSquare(d);
    for (std::size_t i = 0; i < d; ++i)
        for (std::size_t j = 0; j < 2 * d; ++j)
            system[i].push_back(j < d ? intIn[j][columns[i]] : intOut[j - d][columns[i]]);
    for (std::size_t i = 0; i < d; ++i)
        for (std::size_t j = 0; j < d; ++j)
            outSquare[i].push_back(intOut[i][columns[j]]);
    const ZZ detIn = dependent ? ZZ(1) : bareissJordan(system, d);
    ZZ detOut = dependent ? ZZ(0) : bareissJordan(outSquare, d);
    IntRows intU(d, std::vector<ZZ>(d));
    for (std::size_t i = 0; i < d; ++i)
        for (std::size_t j = 0; j < d; ++j) {
            if (u != nullptr) {
                if ((*u).size() != d || (*u)[i].size() != d)
                    return testing::AssertionFailure() << "(U) U is not " << d << " x " << d;
                if (!isInteger((*u)[i][j]))
                    return testing::AssertionFailure()
                           << "(U) U[" << i + 1 << "][" << j + 1 << "] = " << (*u)[i][j] << " is no integer";
                intU[i][j] = (*u)[i][j].signedInteger();
            } else {
                ZZ quotient, remainder;
                ZZ::div(system[j][d + i], system[j][j], quotient, remainder);
                if (!remainder.isZero())
                    return testing::AssertionFailure()
                           << "(U) B_out row " << i + 1 << " is not in the lattice of B_in";
                intU[i][j] = quotient;
            }
        }
    for (std::size_t i = 0; i < d; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            ZZ sum(0);
            for (std::size_t k = 0; k < d; ++k)
                sum = sum + intU[i][k] * intIn[k][j];
            if (sum != intOut[i][j])
                return testing::AssertionFailure()
                       << "(U) (U B_in)[" << i + 1 << "][" << j + 1 << "] = " << sum.getStringRepresentation()
                       << " but B_out has " << intOut[i][j].getStringRepresentation();
        }
    if (dependent) detOut = bareissJordan(intU, d);
    if (detOut != detIn && detOut != -detIn)
        return testing::AssertionFailure() << "(U) |det U| = |" << detOut.getStringRepresentation() << " / "
                                           << detIn.getStringRepresentation() << "| is not 1";
    return testing::AssertionSuccess();
}

// (S) and (L) or (D) on the rows of out, which must be integers (transformHolds checks them).
inline testing::AssertionResult reducedHolds(const Rows& in, const Rows& out, const Options& options)
{
    const QQ slack = options.tolerant ? QQ(ZZ(1), ZZ(1000000)) : QQ(0);
    const QQ eta = Constant<QQ>::HALF() + slack;
    const QQ delta = Constant<QQ>::DELTA() - slack;
    const GramSchmidt gs = gramSchmidt(out);
    const std::size_t d = options.independentRows != 0 ? options.independentRows : out.size();
    if (gs.rank < d)
        return testing::AssertionFailure() << "row " << gs.rank + 1 << " depends on the rows before it";
    for (std::size_t k = 1; k < d; ++k)
        for (std::size_t j = 0; j < k; ++j)
            if (Math::abs(gs.mu[k][j]) > eta)
                return testing::AssertionFailure() << "(S) |mu[" << k + 1 << "][" << j + 1
                                                   << "]| = " << approx(Math::abs(gs.mu[k][j])) << " > 1/2";
    if (!options.deep) {
        for (std::size_t k = 1; k < d; ++k) {
            const QQ left = gs.norm[k] + gs.mu[k][k - 1] * gs.mu[k][k - 1] * gs.norm[k - 1];
            if (left < delta * gs.norm[k - 1])
                return testing::AssertionFailure()
                       << "(L) at k = " << k + 1 << ": B_k + mu^2 B_{k-1} = " << approx(left)
                       << " < delta B_{k-1} = " << approx(delta * gs.norm[k - 1]);
        }
        return testing::AssertionSuccess();
    }
    if (!in.empty() && !out.empty() && in[0] != out[0])
        return testing::AssertionFailure() << "(D) row 1 changed under deep insertion";
    for (std::size_t k = 2; k < d; ++k) {
        QQ sum = gs.norm[k]; // sum over i = j..k of mu_ki^2 B_i, j descending
        for (std::size_t j = k - 1; j >= 1; --j) {
            sum += gs.mu[k][j] * gs.mu[k][j] * gs.norm[j];
            if (sum < delta * gs.norm[j])
                return testing::AssertionFailure()
                       << "(D) at k = " << k + 1 << ", j = " << j + 1 << ": sum = " << approx(sum)
                       << " < delta B_j = " << approx(delta * gs.norm[j]);
        }
    }
    return testing::AssertionSuccess();
}

// The whole contract; u may be null (then U is solved for).
inline testing::AssertionResult lllContract(const Rows& in, const Rows& out, const Rows* u,
                                            const Options& options)
{
    if (in.empty()) return testing::AssertionFailure() << "empty input basis";
    testing::AssertionResult transform = transformHolds(in, out, u);
    if (!transform) return transform;
    return reducedHolds(in, out, options);
}

template <class T1, class T2>
testing::AssertionResult lllContract(const Matrix<T1>& in, const Matrix<T2>& out, const Options& options)
{
    return lllContract(exactMatrix(in), exactMatrix(out), nullptr, options);
}

template <class T1, class T2, class T3>
testing::AssertionResult lllContract(const Matrix<T1>& in, const Matrix<T2>& out, const Matrix<T3>& u,
                                     const Options& options)
{
    const Rows exactU = exactMatrix(u);
    return lllContract(exactMatrix(in), exactMatrix(out), &exactU, options);
}

// ---- Seeded test bases ------------------------------------------------------------------------

// Uniform in [0, 2^bits).
inline QQ randomBits(std::mt19937_64& random, long bits)
{
    QQ value;
    for (long done = 0; done < bits; done += 30) {
        const long chunk = std::min(30L, bits - done);
        value = value * QQ(1LL << chunk) + QQ(static_cast<long long>(random() >> (64 - chunk)));
    }
    return value;
}

// Knapsack (fplll latticegen "r d bits"): d rows of d + 1 entries, row i = [x_i, e_i] with x_i
// uniform of the given bits.
inline Matrix<QQ> knapsackBasis(std::mt19937_64& random, long d, long bits)
{
    Matrix<QQ> b(d, d + 1);
    for (long i = 1; i <= d; ++i) {
        b[i][1] = randomBits(random, bits);
        b[i][i + 1] = QQ(1);
    }
    return b;
}

// q-ary (fplll latticegen "q d k ..."): d x d, rows 1..d-k = [I | H] with H uniform mod q,
// rows d-k+1..d = [0 | q I].
inline Matrix<QQ> qaryBasis(std::mt19937_64& random, long d, long k, long long q)
{
    Matrix<QQ> b(d, d);
    std::uniform_int_distribution<long long> entry(0, q - 1);
    for (long i = 1; i <= d; ++i) {
        if (i <= d - k) {
            b[i][i] = QQ(1);
            for (long j = d - k + 1; j <= d; ++j)
                b[i][j] = QQ(entry(random));
        } else {
            b[i][i] = QQ(q);
        }
    }
    return b;
}

// d x n entries uniform in [-2^bits, 2^bits]; with n >= d independent rows but with tiny chance.
inline Matrix<QQ> uniformBasis(std::mt19937_64& random, long d, long n, long bits)
{
    Matrix<QQ> b(d, n);
    std::uniform_int_distribution<long long> entry(-(1LL << bits), 1LL << bits);
    for (long i = 1; i <= d; ++i)
        for (long j = 1; j <= n; ++j)
            b[i][j] = QQ(entry(random));
    return b;
}

} // namespace latopt::lll_contract
