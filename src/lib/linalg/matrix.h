// matrix.h: Matrix<T>, the dense matrix of the engine: an array of row vectors, so that a row
// swap moves two vectors and a row can be handed out as a Vector<T>. Built for long double and
// QQ; other types do not link. Rows and the entries of a row count from 1.
// Every row holds colCount entries, except a short row read from text (see unserialize). The
// names rowCount and rowData are aliases of the inherited MN and data: they are references to
// this object's own members, so they follow every reallocation of the row array and stay right
// on both sides of a move without being refreshed.
// Shape errors and malformed text end the process with the message of the operation.
#pragma once

#include "arith/constant.h"
#include "base/array.h"
#include "base/serializable.h"
#include "linalg/vector.h"

#include <istream>
#include <ostream>
#include <string>

namespace latopt {

template <class T>
class Matrix : public ConversionArray<Vector<T>>, public Serializable {
public:
    long& rowCount;         // the number of rows: an alias of MN
    long colCount = 0;      // the number of entries in every row
    Vector<T>*& rowData;    // rows 1..rowCount, row 0 the spare: an alias of data
    std::string separators; // kept and copied; a blank is always one of them
    bool allowComments;     // kept and copied, as the flags of a serializable array
    bool lineBased;         // kept and copied

    // Empty; a separator without a blank gets one appended.
    explicit Matrix(const std::string& separators = " ", bool allowComments = false, bool lineBased = false);
    // rows by cols, all zero.
    Matrix(long rows, long cols);
    // Parses text in the text form.
    explicit Matrix(const char* text);
    Matrix(const Matrix& other);
    Matrix(Matrix&& other) noexcept;
    Matrix& operator=(const Matrix& other);
    Matrix& operator=(Matrix&& other) noexcept;
    Matrix& operator=(const char* text);
    ~Matrix() override = default;

    // Rows converted from the other number type through Precision::conv, with this matrix's
    // throwOnLoss as the probe of each row. May throw PrecisionException (QQ to long double);
    // the matrix is then half written.
    template <class U>
    explicit Matrix(const Matrix<U>& other);
    template <class U>
    Matrix& operator=(const Matrix<U>& other);
    template <class U>
    Matrix& _assign(const Matrix<U>& other);

    // The row count, with the present column count.
    void setDimension(long rows, bool keep = false) override;
    bool isInitialized() const override { return rowCount > 0 && colCount > 0; }
    // rows rows of cols entries each; keep is passed to the row array as its reserve flag.
    // Entries a row gains are zero. A negative size is fatal.
    void setDimensions(long rows, long cols, bool keep = false);

    // Exchanges two rows; both indices must lie in 0..rowCount.
    void swapRows(long i, long j);
    // Removes row i (i >= rowCount: the last row); i < 0 is fatal.
    void removeRow(long i);
    // New matrix of rows a..b, all columns; of columns a..b, all rows.
    Matrix rows(long a, long b) const;
    Matrix cols(long a, long b) const;
    Matrix transpose() const;
    // r rows (0: the present count) of c entries (0: r, so square by default), all x.
    void makeEqual(const T& x, long r = 0, long c = 0);
    void makeZero(long r = 0, long c = 0);

    // Matrix times column vector: entry i is row i times v.
    Vector<T> operator*(const Vector<T>& v) const;
    // Entry (i, j) is the sum over k of a[i][k] * b[k][j], from zero, k ascending.
    Matrix operator*(const Matrix& b) const;
    Matrix& operator*=(const Matrix& b);
    // Same shape and every row equal by Vector::operator== (within EPSILON); a different
    // shape is unequal, not an error.
    bool operator==(const Matrix& b) const;

    // Some entry beyond the trusted range of a long double; always false for QQ.
    bool hasOverflowEntry() const;

    // "[" and a line end, each row in the vector form and a line end, "]"; flushed at each end.
    void serialize(std::ostream& stream) const override;
    // Reads the text form; the first row fixes the column count, a longer row is fatal and a
    // shorter one is kept as it is. Text that doesn't begin with "[" leaves the matrix empty.
    void unserialize(std::istream& stream) override;

    // ---- Elimination and solving (elimination.cpp, gauss.cpp) ------------------------------
    // Zero tests: the pivot search of row_echelon_form takes an entry for zero by
    // Precision::equalsZero(x, false); every other decision (a column without a pivot in gauss, an
    // inconsistent right side, a residual) by Precision::equalsZero(x, QQ::enableTruncate). So in
    // QQ all of them are exact (the engine never sets enableTruncate), and in long double all are
    // |x| <= EPSILON: a tiny pivot counts as zero there.
    //
    // Brings this matrix into row echelon form in place (reduced: the reduced form, each pivot 1
    // and alone in its column) and sets Tr (rows x rows) so that Tr times the matrix as it was
    // gives the result. Returns the rank, negated when the number of row exchanges is odd, so
    // that its sign is that of det(Tr). In long double a multiplier beyond the trusted range
    // throws PrecisionException("q overflow"), a pivot beyond it "q2 overflow" (reduced only).
    long row_echelon_form(Matrix<T>& Tr, bool reduced);
    // The reduced form with unit pivots (row_echelon_form(Tr, true), whose result it returns);
    // pivotColumns[i] is the column of the first nonzero entry of row i, for the rank many
    // nonzero rows; Nr has one row per non-pivot column f: 1 at f, -R[i][f] at pivotColumns[i],
    // zero elsewhere, a basis of the kernel of the matrix as it was.
    long normierte_zeilenstufenform(Matrix<T>& Tr, Matrix<T>& Nr, Array<long>& pivotColumns);
    // Called on the Tr of normierte_zeilenstufenform: y = Tr * b. An entry of y after the rank
    // (pivotColumns.MN) that is not zero means A x = b has no solution: false, x unchanged.
    // Otherwise x (kept at its dimension, which must reach every pivot column) becomes zero with
    // x[pivotColumns[i]] = y[i], a solution with every free variable 0: true.
    bool computeX0(Vector<T>& x, const Array<long>& pivotColumns, const Vector<T>& b) const;
    // Solves A x = b, A this matrix (left unchanged): normierte_zeilenstufenform on a copy, x
    // sized to the column count, computeX0. Returns whether a solution exists.
    bool solve(Matrix<T>& Tr, Matrix<T>& Nr, Array<long>& pivotColumns, Vector<T>& x,
               const Vector<T>& b) const;
    bool solve(Matrix<T>& Tr, Vector<T>& x, const Vector<T>& b) const;
    // P A = L U with row pivoting (the greatest absolute entry of the column, the earliest on a
    // tie): permutation[i] is the row of A that stands at row i (P has a 1 at (i, permutation[i])),
    // L (rows x cols) is unit lower triangular, U (cols x cols) upper triangular. A column
    // without a pivot is skipped: its entries of L from the diagonal down become exact zeros and
    // U keeps a zero diagonal entry there. Returns the number of pivots, each on the
    // diagonal of U: the rank when the columns are independent (a square invertible matrix, a
    // basis transposed), else possibly less, as a column without a pivot leaves its row unused
    // ([[0, 1], [0, 0]] gives 0); computeCoords may then refuse a consistent system.
    long gauss(Matrix<T>& L, Matrix<T>& U, Array<long>& permutation) const;
    // Solves A x = y with the factors of gauss: x sized to the column count, a variable with a
    // zero diagonal entry of U set to 0. Returns 1 when L U x equals the permuted y (exactly in
    // QQ, within EPSILON in long double); -1 when a row without a pivot is inconsistent (not
    // tested with freeToZero); -2 when the product misses y otherwise (also after toInteger, which
    // rounds every x[j] to the nearest integer before the check). x then holds the values found.
    static char computeCoords(const Matrix<T>& L, const Matrix<T>& U, const Array<long>& permutation,
                              const Vector<T>& y, Vector<T>& x, bool freeToZero, bool toInteger);
    // A x = b through gauss and computeCoords; true when the status is 1.
    bool rsolve(const Vector<T>& b, Vector<T>& x, bool toInteger) const;
    // x A = b: rsolve on the transpose.
    bool lsolve(const Vector<T>& b, Vector<T>& x, bool toInteger) const;
    // Through row_echelon_form on a copy: the sign of its result times the diagonal; exact zero
    // for a matrix of lower rank. A matrix that is not square is fatal.
    T determinant() const;
    // Whether the determinant (set in determinant) is within 0.1 of plus or minus one; tried
    // on the rows as they stand, then sorted by ascending and by descending squared norm, which
    // in long double may round differently. A matrix that is not square is fatal.
    bool unimodularCheck(T& determinant) const;

    // ---- LQ factorisations (lq.cpp) ---------------------------------------------------------
    // Both factor rows 1..end of this matrix B (end 0: every row) as B = L * Q, in the number type
    // U of their outputs; built for the four pairs of long double and QQ. Both restart at row
    // kk > 1 from what an earlier call on the same rows 1..kk-1 left in L, Q, d and P, so that
    // after a change of rows kk..end only those rows are redone. kk < 1, end beyond the rows,
    // end < kk and a restart without the earlier results are fatal, each with the routine's name.
    //
    // Modified Gram-Schmidt, exact in QQ: L (end x end) unit lower triangular, L[j][k] the
    // coefficient of Q[k] in row j; Q (end x cols) orthogonal rows, not normalised;
    // d[k] = <Q[k], Q[k]>. P[k] is stage k: rows k..end less their components along Q[1..k-1],
    // row j at index j - k + 1. Returns 0 when the rows are independent, else the first k whose
    // d[k] is zero by Precision::equalsZero(x, true); L, Q and d are then complete before row k.
    template <class U>
    long lq_reduced(Matrix<U>& L, Matrix<U>& Q, Array<Matrix<U>>& P, Vector<U>& d, long kk, long end) const;
    // Householder: L (end x cols) lower triangular, Q (cols x cols) with orthonormal rows (the
    // identity when no reflector runs); P[k] holds the reflector of step k = 1..min(end, cols - 1)
    // as the row [ beta u_1 .. u_m ], H_k = I - beta u u^T acting on columns k..cols, applied as a
    // rank-1 update. Returns the rank: min(end, cols) less the diagonal entries of L that are zero
    // by Precision::equalsZero(x, true). In QQ too only approximate: the norm is an inexact
    // square root and every updated entry is truncated (Precision::truncateDecimal).
    template <class U>
    long lq_full(Matrix<U>& L, Matrix<U>& Q, Array<Matrix<U>>& P, long kk, long end) const;
    // H (m x m, m = cols - k + 1) = I - beta u u^T, the reflector that takes entries k..cols of
    // row k onto a multiple of the first unit vector: u = that part of the row with its norm added
    // to the first entry (with the entry's sign), beta = 1 / (norm * (|first| + norm)). The
    // identity when the norm is at most EPSILON. k outside 1..min(rows, cols) is fatal.
    void lq_ps_matrix(Matrix<T>& H, long k) const;

    // ---- Dependent rows (dependent_rows.cpp) ------------------------------------------------
    // Removes rows until the rest are linearly independent, keeping the integer row span exactly.
    // The first row that depends on the rows before it, and its coordinates, are found exactly by
    // fraction-free elimination over ZZ (QQ rows with fractions are scaled to integers for it).
    // Integer coordinates: the row goes (it moves to the end, which moves up the last row). Else
    // a Euclid (zerofyRow) on the row and those its coordinates use leaves one of them zero, the
    // others are written back, and the zero one goes the same way. Repeats until no row depends.
    // In long double an entry that is not an integer of at most 10^18, an overflow of the Euclid
    // and the stop "Dependent row could not be eliminated!" throw PrecisionException (the matrix
    // is then partly changed; the caller redoes the work in QQ), where QQ stops fatally.
    void eliminateDependentRows();
    // Row operations on this matrix, mirrored on *transform unless it is null (it must have as
    // many rows), going from the last row and column upward: zerofyColAboveRow on each column,
    // the row it returns swapped into the current row, which then moves up. Returns the first row
    // whose entries are all zero, or 0.
    long zerofyRow(Matrix<T>* transform);
    // A Euclid on column among rows 1..row: the row with the smallest nonzero absolute entry
    // (the earliest among equal ones) is subtracted floor(entry / pivot) times from each other
    // row with a nonzero entry, until one nonzero entry is left; returns its row, or 0 when the
    // column is zero there. Zero is exact in QQ and within EPSILON in long double, where "factor
    // overflow", "row overflow" and "T->row overflow" throw PrecisionException.
    long zerofyColAboveRow(long row, long column, Matrix<T>* transform);
};

// Row vector times matrix: the sum of the rows, row i scaled by v[i].
template <class T>
Vector<T> operator*(const Vector<T>& v, const Matrix<T>& m);

// The empty matrix with the separator ",".
template <class T>
class Constant<Matrix<T>> {
public:
    static Matrix<T> ZERO()
    {
        static const Matrix<T> value(std::string(","));
        return value;
    }
};

} // namespace latopt
