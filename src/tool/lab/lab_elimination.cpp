// lab_elimination.cpp: the elimination commands of latopt-lab: rref, det, unimod, gauss, rsolve,
// lsolve. Each reads its operands, calls the routine of Matrix<T> and writes what it returns.
#include "lab.h"

#include <string>

namespace latopt::lab {

namespace {

std::string shape(const char* name, long rows, long cols)
{
    return std::string(name) + " is " + std::to_string(rows) + " x " + std::to_string(cols);
}

template <class T>
Matrix<T> squareMatrix(LabIo& io)
{
    Matrix<T> A = io.matrix<T>("A");
    if (A.rowCount != A.colCount)
        fail(io.command + " needs a square matrix, " + shape("A", A.rowCount, A.colCount));
    return A;
}

// R (the reduced row echelon form), its pivot columns, Tr with Tr A = R, and the rank with the
// sign of the row exchanges.
template <class T>
void rref(LabIo& io)
{
    Matrix<T> R = io.matrix<T>("A");
    io.end();
    Matrix<T> Tr;
    Matrix<T> Nr;
    Array<long> pivotColumns;
    const long rank = R.normierte_zeilenstufenform(Tr, Nr, pivotColumns);
    io.write(R);
    io.write(pivotColumns);
    io.write(Tr);
    io.write(rank);
}

template <class T>
void det(LabIo& io)
{
    const Matrix<T> A = squareMatrix<T>(io);
    io.end();
    io.write(A.determinant());
}

template <class T>
void unimod(LabIo& io)
{
    const Matrix<T> A = squareMatrix<T>(io);
    io.end();
    T determinant;
    io.write(A.unimodularCheck(determinant));
}

// P (the permutation matrix, row i having its 1 in column permutation[i]), L and U: P A = L U.
template <class T>
void gauss(LabIo& io)
{
    const Matrix<T> A = io.matrix<T>("A");
    io.end();
    Matrix<T> L;
    Matrix<T> U;
    Array<long> permutation;
    A.gauss(L, U, permutation);
    Matrix<T> P(A.rowCount, A.rowCount);
    for (long i = 1; i <= A.rowCount; ++i)
        P[i][permutation[i]] = Constant<T>::ONE();
    io.write(P);
    io.write(L);
    io.write(U);
}

// A and b; x with A x = b (left: x A = b), or "none".
template <class T, bool left>
void solveCommand(LabIo& io)
{
    const Matrix<T> A = io.matrix<T>("A");
    const Vector<T> b = io.vector<T>("b");
    io.end();
    const long needed = left ? A.colCount : A.rowCount;
    if (b.MN != needed)
        fail("b has " + std::to_string(b.MN) + " entries, " + shape("A", A.rowCount, A.colCount) + " (" +
             io.command + " needs " + std::to_string(needed) + ")");
    Vector<T> x;
    const bool solved = left ? A.lsolve(b, x, false) : A.rsolve(b, x, false);
    if (solved)
        io.write(x);
    else
        io.write("none");
}

} // namespace

std::vector<LabCommand> eliminationCommands()
{
    return {
        {"rref",
         "A",
         "R (reduced row echelon form), pivot columns, Tr with Tr * A = R, signed rank",
         {},
         rref<QQ>,
         rref<long double>},
        {"det", "A (square)", "the determinant", {}, det<QQ>, det<long double>},
        {"unimod",
         "A (square)",
         "true if the determinant is +-1 (within 0.1), else false",
         {},
         unimod<QQ>,
         unimod<long double>},
        {"gauss", "A", "P, L, U with P * A = L * U", {}, gauss<QQ>, gauss<long double>},
        {"rsolve",
         "A then b",
         "x with A x = b, or none",
         {},
         solveCommand<QQ, false>,
         solveCommand<long double, false>},
        {"lsolve",
         "A then b",
         "x with x A = b, or none",
         {},
         solveCommand<QQ, true>,
         solveCommand<long double, true>},
    };
}

} // namespace latopt::lab
