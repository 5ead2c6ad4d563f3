// matrix.cpp: Matrix<T> for long double and QQ.
#include "linalg/matrix.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "base/stream.h"
#include "linalg/kernel.h"

#include <sstream>
#include <utility>

namespace latopt {

namespace {

// White space between rows and around the brackets.
const std::string TEXT_SEPARATORS = " \t\r\n";

std::string withBlank(const std::string& separators)
{
    return separators.find(' ') == std::string::npos ? separators + ' ' : separators;
}

} // namespace

template <class T>
Matrix<T>::Matrix(const std::string& separators, bool allowComments, bool lineBased)
    : rowCount(this->MN), rowData(this->data), separators(withBlank(separators)),
      allowComments(allowComments), lineBased(lineBased)
{
}

template <class T>
Matrix<T>::Matrix(long rows, long cols) : Matrix()
{
    setDimensions(rows, cols, false);
}

template <class T>
Matrix<T>::Matrix(const char* text) : Matrix()
{
    *this = text;
}

template <class T>
Matrix<T>::Matrix(const Matrix& other)
    : ConversionArray<Vector<T>>(other), Serializable(other), rowCount(this->MN), colCount(other.colCount),
      rowData(this->data), separators(other.separators), allowComments(other.allowComments),
      lineBased(other.lineBased)
{
}

template <class T>
Matrix<T>::Matrix(Matrix&& other) noexcept
    : ConversionArray<Vector<T>>(std::move(other)), Serializable(other), rowCount(this->MN),
      colCount(std::exchange(other.colCount, 0)), rowData(this->data), separators(other.separators),
      allowComments(other.allowComments), lineBased(other.lineBased)
{
}

template <class T>
Matrix<T>& Matrix<T>::operator=(const Matrix& other)
{
    if (this == &other) return *this;
    Array<Vector<T>>::operator=(other);
    colCount = other.colCount;
    separators = other.separators;
    allowComments = other.allowComments;
    lineBased = other.lineBased;
    return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator=(Matrix&& other) noexcept
{
    if (this == &other) return *this;
    // The rows change hands; rowCount and rowData of both sides are aliases and follow.
    Array<Vector<T>>::operator=(std::move(other));
    colCount = std::exchange(other.colCount, 0);
    separators = other.separators;
    allowComments = other.allowComments;
    lineBased = other.lineBased;
    return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator=(const char* text)
{
    std::istringstream stream(text);
    unserialize(stream);
    return *this;
}

template <class T>
template <class U>
Matrix<T>::Matrix(const Matrix<U>& other) : Matrix()
{
    *this = other;
}

template <class T>
template <class U>
Matrix<T>& Matrix<T>::operator=(const Matrix<U>& other)
{
    return _assign(other);
}

template <class T>
template <class U>
Matrix<T>& Matrix<T>::_assign(const Matrix<U>& other)
{
    // Rows are replaced whole, so the row array is resized without touching the rows.
    Array<Vector<T>>::setDimension(other.rowCount, false);
    colCount = other.colCount;
    for (long i = 1; i <= rowCount; ++i)
        Precision::conv(other.rowData[i], rowData[i], this->throwOnLoss, this->allowPostCommaLoss);
    separators = other.separators;
    allowComments = other.allowComments;
    lineBased = other.lineBased;
    return *this;
}

template <class T>
void Matrix<T>::setDimension(long rows, bool keep)
{
    setDimensions(rows, colCount, keep);
}

template <class T>
void Matrix<T>::setDimensions(long rows, long cols, bool keep)
{
    if (rows < 0 || cols < 0) fatal("Matrix: invalid size");
    Array<Vector<T>>::setDimension(rows, keep);
    colCount = cols;
    for (long i = 1; i <= rowCount; ++i) {
        Vector<T>& row = rowData[i];
        const long old = row.MN;
        if (old == cols) continue;
        row.setDimension(cols, false);
        for (long j = old + 1; j <= cols; ++j)
            row.data[j] = Constant<T>::ZERO();
    }
}

template <class T>
void Matrix<T>::swapRows(long i, long j)
{
    if (i < 0 || i > rowCount || j < 0 || j > rowCount) fatal("Matrix: row swap index out of range");
    if (i != j) std::swap(rowData[i], rowData[j]);
}

template <class T>
void Matrix<T>::removeRow(long i)
{
    if (i < 0) fatal("Invalid row index!");
    if (rowCount == 0) return;
    // The removed row travels up behind the last one and keeps its storage for later growth.
    for (long k = i; k < rowCount; ++k)
        std::swap(rowData[k], rowData[k + 1]);
    Array<Vector<T>>::setDimension(rowCount - 1, false);
}

template <class T>
Matrix<T> Matrix<T>::rows(long a, long b) const
{
    Matrix result;
    result.setDimensions(b - a + 1, 0, false);
    for (long i = a; i <= b; ++i)
        result.rowData[i - a + 1] = (*this)[i];
    result.colCount = colCount;
    return result;
}

template <class T>
Matrix<T> Matrix<T>::cols(long a, long b) const
{
    Matrix result;
    result.setDimensions(rowCount, b - a + 1, false);
    for (long i = 1; i <= rowCount; ++i) {
        const Vector<T>& row = rowData[i];
        T* target = result.rowData[i].data;
        for (long j = a; j <= b; ++j)
            target[j - a + 1] = row[j];
    }
    return result;
}

template <class T>
Matrix<T> Matrix<T>::transpose() const
{
    Matrix result;
    result.setDimensions(colCount, rowCount, false);
    for (long i = 1; i <= rowCount; ++i) {
        const Vector<T>& row = rowData[i];
        for (long j = 1; j <= colCount; ++j)
            result.rowData[j].data[i] = row[j];
    }
    return result;
}

template <class T>
void Matrix<T>::makeEqual(const T& x, long r, long c)
{
    if (r == 0) r = rowCount;
    if (c == 0) c = r;
    setDimensions(r, c, false);
    for (long i = 1; i <= rowCount; ++i) {
        T* row = rowData[i].data;
        for (long j = 1; j <= colCount; ++j)
            row[j] = x;
    }
}

template <class T>
void Matrix<T>::makeZero(long r, long c)
{
    makeEqual(Constant<T>::ZERO(), r, c);
}

template <class T>
Vector<T> Matrix<T>::operator*(const Vector<T>& v) const
{
    if (colCount != v.MN) fatal("Matrix: mat-vec multiplication dimension mismatch");
    Vector<T> result;
    result.setDimension(rowCount, false);
    kernel::Scratch<T> scratch;
    for (long i = 1; i <= rowCount; ++i) {
        const Vector<T>& row = rowData[i];
        // A short row read from text is the dot product's mismatch.
        if (row.MN != colCount) fatal("Vector: dimension mismatch8");
        kernel::dot(result.data[i], row.data, v.data, colCount, scratch);
    }
    return result;
}

template <class T>
Vector<T> operator*(const Vector<T>& v, const Matrix<T>& m)
{
    if (v.MN != m.rowCount) fatal("vector-matrix dimension mismatch");
    Vector<T> result(m.colCount);
    kernel::Scratch<T> scratch;
    // The result is fresh storage: no entry of v or m lies in it.
    T* __restrict__ r = result.data;
    for (long i = 1; i <= m.rowCount; ++i) {
        const Vector<T>& row = m.rowData[i];
        if (row.MN != m.colCount) fatal("Vector: dimension mismatch1");
        const T& factor = v.data[i];
        const T* entries = row.data;
        for (long j = 1; j <= m.colCount; ++j)
            kernel::addProduct(r[j], factor, entries[j], scratch);
    }
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator*(const Matrix& b) const
{
    if (colCount != b.rowCount) fatal("Matrix: dimension mismatch6");
    for (long i = 1; i <= rowCount; ++i)
        if (rowData[i].MN != colCount) fatal("Matrix: dimension mismatch6");
    for (long k = 1; k <= b.rowCount; ++k)
        if (b.rowData[k].MN != b.colCount) fatal("Matrix: dimension mismatch6");
    // Row i of the result gathers row k of b scaled by a[i][k], k ascending: every entry is still
    // the sum over k in ascending order from zero, while the inner loop runs along two rows.
    Matrix result(rowCount, b.colCount);
    kernel::Scratch<T> scratch;
    const long n = b.colCount;
    for (long i = 1; i <= rowCount; ++i) {
        // The result is fresh storage: no entry of either factor lies in it.
        T* __restrict__ target = result.rowData[i].data;
        const T* left = rowData[i].data;
        for (long k = 1; k <= colCount; ++k) {
            const T& factor = left[k];
            const T* right = b.rowData[k].data;
            for (long j = 1; j <= n; ++j)
                kernel::addProduct(target[j], factor, right[j], scratch);
        }
    }
    return result;
}

template <class T>
Matrix<T>& Matrix<T>::operator*=(const Matrix& b)
{
    if (colCount != b.rowCount) fatal("Matrix: dimension mismatch3");
    Matrix product = *this * b;
    // The product's rows move in; this matrix keeps its separators and conversion flags.
    Array<Vector<T>>::operator=(std::move(product));
    colCount = product.colCount;
    return *this;
}

template <class T>
bool Matrix<T>::operator==(const Matrix& b) const
{
    if (this == &b) return true;
    if (rowCount != b.rowCount || colCount != b.colCount) return false;
    for (long i = 1; i <= rowCount; ++i) {
        if (rowData[i].MN != b.rowData[i].MN) return false;
        if (!(rowData[i] == b.rowData[i])) return false;
    }
    return true;
}

template <class T>
bool Matrix<T>::hasOverflowEntry() const
{
    for (long i = 1; i <= rowCount; ++i)
        if (rowData[i].hasOverflowEntry()) return true;
    return false;
}

// An exact number has no trusted range to leave.
template <>
bool Matrix<QQ>::hasOverflowEntry() const
{
    return false;
}

template <class T>
void Matrix<T>::serialize(std::ostream& stream) const
{
    stream << "[" << std::endl;
    for (long i = 1; i <= rowCount; ++i) {
        rowData[i].serialize(stream);
        stream << std::endl;
    }
    stream << "]";
}

template <class T>
void Matrix<T>::unserialize(std::istream& stream)
{
    // 1. Start empty.
    setDimensions(0, 0, false);
    // 2. Unlike a vector, a bad stream here is fatal.
    if (stream.fail()) fatal("Matrix: bad stream");
    // 3. Text that doesn't open with "[" is no matrix: leave it in the stream.
    char next;
    skipOverCommentsAndSeparators(stream, TEXT_SEPARATORS, &next);
    if (next != '[') return;
    // 4. "[" and a "]" right behind it: the empty matrix.
    stream.get();
    skipOverCommentsAndSeparators(stream, TEXT_SEPARATORS, &next);
    if (next == ']') {
        stream.get();
    } else {
        // 5. One row per round, each read by the row itself. Anything but a row where a row
        //    must stand is bad input: the row reader would take nothing from it and the loop
        //    would never end.
        for (long i = 1;; ++i) {
            setDimensions(i, colCount, true);
            if (next != '[') fatal("Matrix: bad input");
            rowData[i].unserialize(stream);
            if (stream.fail()) fatal("Matrix: bad input");
            // 6. The first row that has entries fixes the column count; a longer row later is
            //    fatal, a shorter one is kept as read.
            const long length = rowData[i].MN;
            if (length > colCount) {
                if (colCount != 0) fatal("Matrix row dimension mismatch");
                setDimensions(i, length, true);
            }
            skipOverCommentsAndSeparators(stream, TEXT_SEPARATORS, &next);
            if (next == ']') {
                stream.get();
                break;
            }
        }
    }
    // 7. Rows without entries make no matrix.
    if (colCount == 0) setDimensions(0, 0, false);
}

// The closed set of entry types, and the conversions between them.
template class Matrix<long double>;
template class Matrix<QQ>;
template Matrix<long double>::Matrix(const Matrix<QQ>&);
template Matrix<QQ>::Matrix(const Matrix<long double>&);
template Matrix<long double>& Matrix<long double>::operator=(const Matrix<QQ>&);
template Matrix<QQ>& Matrix<QQ>::operator=(const Matrix<long double>&);
template Matrix<long double>& Matrix<long double>::_assign(const Matrix<QQ>&);
template Matrix<QQ>& Matrix<QQ>::_assign(const Matrix<long double>&);
template Vector<long double> operator*(const Vector<long double>&, const Matrix<long double>&);
template Vector<QQ> operator*(const Vector<QQ>&, const Matrix<QQ>&);

} // namespace latopt
