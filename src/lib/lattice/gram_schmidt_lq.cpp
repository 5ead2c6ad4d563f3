// gram_schmidt_lq.cpp: the Gram-Schmidt data of the basis through the Householder factorisation
// B = L Q (Matrix::lq_full), with the orthogonal rows themselves in gsVectors. Used outside the
// reduction, where the rows b*_k are needed (the coordinates through the orthogonal system, the
// containment test). See lattice.h.
#include "lattice/lattice.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "linalg/kernel.h"

#include <algorithm>
#include <cmath>

namespace latopt {

namespace {

using kernel::shorten;
using kernel::squareRoot;

// Whether lq_full can restart at row kk from the reflectors P and the rows of L that an earlier
// call left: the reflectors of steps 1..min(kk - 1, cols - 1), each a row of cols - i + 2
// entries, and the rows 1..kk-1 of L at the present column count.
template <class R2>
bool canRestart(const Array<Matrix<R2>>& P, const Matrix<R2>& L, long kk, long cols)
{
    const long kept = std::min(kk - 1, cols - 1);
    if (L.rowCount < kk - 1 || L.colCount != cols || P.MN < kept) return false;
    for (long i = 1; i <= kept; ++i)
        if (P[i].rowCount != 1 || P[i].colCount != cols - i + 2) return false;
    return true;
}

} // namespace

template <class R1, class R2>
long Lattice<R1, R2>::compute_gs_lq(long k1, long k2, bool fail)
{
    static const R2 EPSILON = Constant<R2>::EPSILON();
    static constexpr short MASK = GS_CURRENT | GS_FACTORISED | GS_VECTORS_CURRENT;
    if (k2 == 0) k2 = dimB;
    // 1. Rows that carry the whole mask are done.
    while (k1 <= k2 && (rowState[k1] & MASK) == MASK)
        ++k1;
    if (k1 > k2) return 0;
    // 2. The factorisation of rows k1..k2, restarted from the stored reflectors of the rows
    //    before k1 (they are unchanged, their words say so). Its Q is rebuilt from the
    //    reflectors alone, so it goes to a local matrix: gsVectors holds the scaled and signed
    //    rows of earlier calls, and other routines write there too. Should the stored stages
    //    not fit (the columns changed under unchanged words), all rows are redone.
    if (k1 > 1 && !canRestart(gsFullStages, gsLowerFull, k1, dimN)) k1 = 1;
    Matrix<R2> Q;
    B.lq_full(gsLowerFull, Q, gsFullStages, k1, k2);
    gsVectors.setDimensions(std::min(dimB, dimN), dimN, true);
    // 3. No more than dimN rows can be independent.
    const long last = std::min(k2, dimN);
    long result = 0;
    // 4. Row by row: mu from the factor, gsNorm as the squared length of b_k less its parts
    //    along the earlier b*_i, and b*_k as the unit row of Q scaled to sqrt(gsNorm).
    for (long k = k1; k <= last; ++k) {
        rowNorm[k] = B[k] * B[k];
        R2& norm = gsNorm[k];
        Precision::conv(rowNorm[k], norm, false);
        Vector<R2>& muRow = mu[k];
        for (long i = 1; i < k; ++i) {
            muRow[i] = gsLowerFull[k][i] / gsLowerFull[i][i];
            shorten(muRow[i]);
            norm -= gsNorm[i] * muRow[i] * muRow[i];
        }
        shorten(norm);
        if (norm <= EPSILON) {
            result = k;
            break;
        }
        // The diagonal entry of L is the signed length of b*_k along Q[k]: a negative one turns
        // the row round, so that b*_k points the way of the basis row.
        R2 length = squareRoot(norm);
        if (gsLowerFull[k][k] < Constant<R2>::ZERO()) length = -length;
        Vector<R2>& orthogonal = gsVectors[k];
        shorten(length);
        for (long j = 1; j <= dimN; ++j) {
            orthogonal[j] = Q[k][j] * length;
            shorten(orthogonal[j]);
        }
        muRow[k] = Constant<R2>::ONE();
        for (long i = k + 1; i <= dimB; ++i)
            muRow[i] = Constant<R2>::ZERO();
        rowState[k] |= MASK;
    }
    // 5.-6. Rows beyond dimN that were asked for can't be independent, though nothing was
    //       computed for them: the first of them is reported.
    if (result == 0 && k2 > dimN) result = last + 1;
    // 7. The caller may ask for a stop.
    if (result != 0 && fail) fatal("Linear dependency detected - remove first!");
    return result;
}

#define LATOPT_GS_LQ_MEMBERS(R1, R2) template long Lattice<R1, R2>::compute_gs_lq(long, long, bool);
LATOPT_GS_LQ_MEMBERS(long double, long double)
LATOPT_GS_LQ_MEMBERS(long double, QQ)
LATOPT_GS_LQ_MEMBERS(QQ, long double)
LATOPT_GS_LQ_MEMBERS(QQ, QQ)
#undef LATOPT_GS_LQ_MEMBERS

} // namespace latopt
