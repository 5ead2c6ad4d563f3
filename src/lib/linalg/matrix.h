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
