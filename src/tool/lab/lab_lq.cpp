// lab_lq.cpp: the commands of latopt-lab on dependent rows and LQ factorisations: elim, lqr, lqf.
// Each reads its matrix, calls the routine of Matrix<T> and writes what it delivers.
#include "lab.h"

#include "arith/precision.h"
#include "base/exceptions.h"

#include <string>

namespace latopt::lab {

namespace {

// The matrix after eliminateDependentRows: independent rows with the integer span of A. The
// entries must be integers (in --ld the routine gives up, with status 1, where its integers would
// leave the range a long double holds exactly).
template <class T>
void elim(LabIo& io)
{
    const Matrix<QQ> exact = io.matrix<QQ>("A");
    io.end();
    for (long i = 1; i <= exact.rowCount; ++i)
        for (long j = 1; j <= exact.colCount; ++j)
            if (exact[i][j].isInf || !exact[i][j].zaehler.isZero())
                fail("A: elim needs integer entries (row " + std::to_string(i) + ", column " +
                     std::to_string(j) + ")");
    Matrix<T> A;
    try {
        Precision::conv(exact, A, true);
    } catch (const PrecisionException&) {
        fail("A: an entry is not representable in long double (--ld)");
    }
    A.eliminateDependentRows();
    io.write(A);
}

// L, Q, d of the modified Gram-Schmidt and its result: 0, or the first dependent row (L, Q and d
// are complete before it). With --restart=K the factorisation runs once from row 1 and then again
// from row K on the stages the first run kept; the second run is written.
template <class T>
void lqr(LabIo& io)
{
    const Matrix<T> B = io.matrix<T>("B");
    io.end();
    const long restart = io.integerOption("restart", 1);
    if (restart < 1 || restart > B.rowCount)
        fail("--restart=" + std::to_string(restart) + " must lie in 1.." + std::to_string(B.rowCount) +
             ", the rows of B");
    Matrix<T> L;
    Matrix<T> Q;
    Array<Matrix<T>> P;
    Vector<T> d;
    long dependent = B.lq_reduced(L, Q, P, d, 1, 0);
    if (restart > 1) {
        if (dependent != 0 && restart > dependent)
            fail("--restart=" + std::to_string(restart) + " lies beyond row " + std::to_string(dependent) +
                 ", the first dependent row, where the first run stopped");
        dependent = B.lq_reduced(L, Q, P, d, restart, 0);
    }
    io.write(L);
    io.write(Q);
    io.write(d);
    io.write(dependent);
}

// L and Q of the Householder factorisation (B = L Q, the rows of Q orthonormal) and the rank.
template <class T>
void lqf(LabIo& io)
{
    const Matrix<T> B = io.matrix<T>("B");
    io.end();
    Matrix<T> L;
    Matrix<T> Q;
    Array<Matrix<T>> P;
    const long rank = B.lq_full(L, Q, P, 1, 0);
    io.write(L);
    io.write(Q);
    io.write(rank);
}

} // namespace

std::vector<LabCommand> lqCommands()
{
    return {
        {"elim",
         "A (integers)",
         "A without dependent rows, the integer row span kept",
         {},
         elim<QQ>,
         elim<long double>},
        {"lqr",
         "B",
         "L, Q, d with B = L * Q (modified Gram-Schmidt), then 0 or the first dependent row",
         {"--restart=K"},
         lqr<QQ>,
         lqr<long double>},
        {"lqf",
         "B",
         "L, Q with B = L * Q (Householder, Q orthonormal), the rank",
         {},
         lqf<QQ>,
         lqf<long double>},
    };
}

} // namespace latopt::lab
