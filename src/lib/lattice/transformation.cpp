// transformation.cpp: the transformation stack TT and its checkpoint (checkFixByTransformation,
// applyTransformationTo, resetTransformationStack). See lattice.h.
// Invariant between checkpoints: the untrimmed B is TT[MN] ... TT[2] TT[1] B_save, the first
// matrix of the stack applied first. Under the parameter consistency the reduction repeats its
// row operations on the top matrix, which keeps the invariant; without it the top is rebuilt at
// the checkpoint from the rows of B. In long double every product of the stack is formed exactly
// (in 128-bit integers) or not trusted at all.
#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lattice.h"

#include <iostream>
#include <string>

namespace latopt {

namespace {

// The most matrices the stack holds.
constexpr long T_MAT_NBR = 20;

__extension__ typedef __int128 Int128;

// Whether every entry of m is an integer below 2^63 in magnitude.
bool hasWordEntries(const Matrix<long double>& m)
{
    for (long i = 1; i <= m.rowCount; ++i)
        for (long j = 1; j <= m[i].dimension(); ++j) {
            const long double x = m[i][j];
            if (!(fabsl(x) < 0x1p63L) || x != truncl(x)) return false;
        }
    return true;
}

// a * b, of which every entry is trusted, else PrecisionException(text). A long double product
// never fails by itself: its terms may round while the result looks harmless. So integer
// operands are multiplied in 128 bits, exactly, and an entry that leaves the trusted range
// (Precision::overflows) or the 128 bits is refused; other operands are multiplied as they
// stand and only the range of the result is tested.
Matrix<long double> trustedProduct(const Matrix<long double>& a, const Matrix<long double>& b,
                                   const std::string& text)
{
    if (a.colCount != b.rowCount || !hasWordEntries(a) || !hasWordEntries(b)) {
        Matrix<long double> product = a * b;
        if (product.hasOverflowEntry()) throw PrecisionException(text);
        return product;
    }
    Matrix<long double> product(a.rowCount, b.colCount);
    for (long i = 1; i <= a.rowCount; ++i)
        for (long j = 1; j <= b.colCount; ++j) {
            Int128 sum = 0;
            for (long k = 1; k <= a.colCount; ++k) {
                const auto left = static_cast<long long>(a[i][k]);
                if (left == 0) continue;
                const Int128 term = static_cast<Int128>(left) * static_cast<long long>(b[k][j]);
                if (__builtin_add_overflow(sum, term, &sum)) throw PrecisionException(text);
            }
            const Int128 limit = static_cast<Int128>(1) << 64;
            if (sum >= limit || sum <= -limit) throw PrecisionException(text);
            product[i][j] = static_cast<long double>(sum);
            if (Precision::overflows(product[i][j])) throw PrecisionException(text);
        }
    return product;
}

// In QQ every product is exact.
Matrix<QQ> trustedProduct(const Matrix<QQ>& a, const Matrix<QQ>& b, const std::string& text)
{
    (void)text;
    return a * b;
}

// TT[to] ... TT[from] M, each next matrix on the left, every product trusted.
template <class R1>
Matrix<R1> stackProduct(const SerializableArray<Matrix<R1>>& stack, long from, long to, const Matrix<R1>& M,
                        const std::string& text)
{
    Matrix<R1> product = M;
    for (long i = from; i <= to; ++i)
        product = trustedProduct(stack[i], product, text);
    return product;
}

// Entries that are zero within the tolerance become exact zeros.
template <class R1>
void snapZeros(Matrix<R1>& m)
{
    for (long i = 1; i <= m.rowCount; ++i)
        for (long j = 1; j <= m[i].dimension(); ++j)
            if (Precision::equalsZero(m[i][j], true)) m[i][j] = Constant<R1>::ZERO();
}

// Same shape and every entry exactly equal (Matrix::operator== tolerates 10^-9).
template <class R1>
bool exactlyEqual(const Matrix<R1>& a, const Matrix<R1>& b)
{
    if (a.rowCount != b.rowCount || a.colCount != b.colCount) return false;
    for (long i = 1; i <= a.rowCount; ++i) {
        if (a[i].dimension() != b[i].dimension()) return false;
        for (long j = 1; j <= a[i].dimension(); ++j)
            if (!(a[i][j] == b[i][j])) return false;
    }
    return true;
}

// m becomes the n by n identity.
template <class R1>
void makeIdentity(Matrix<R1>& m, long n)
{
    m.setDimensions(n, n, false);
    for (long i = 1; i <= n; ++i) {
        m[i].makeZero();
        m[i][i] = Constant<R1>::ONE();
    }
}

template <class R1>
bool isIdentity(const Matrix<R1>& m)
{
    if (m.rowCount != m.colCount) return false;
    for (long i = 1; i <= m.rowCount; ++i)
        if (m[i].dimension() != m.colCount || !m[i].isUnit(i)) return false;
    return true;
}

} // namespace

template <class R1, class R2>
Matrix<R1> Lattice<R1, R2>::applyTransformationTo(const Matrix<R1>& M) const
{
    return stackProduct(TT, 1, TT.dimension(), M, "Overflow when applying transformation");
}

template <class R1, class R2>
void Lattice<R1, R2>::resetTransformationStack(bool push)
{
    // 1. A push onto an identity wastes no matrix: the top stays and is made exact.
    long size = 1;
    if (push) {
        size = TT.dimension();
        if (size < 1 || !isIdentity(TT[size])) {
            if (size >= T_MAT_NBR) fatal("TT.MN > T_MAT_NBR");
            ++size;
        }
    }
    // 2. The new size keeps the matrices below; the top is a fresh identity. A stack that crosses
    //    to long double must arrive whole.
    TT.setDimension(size, false);
    makeIdentity(TT[size], dimB);
    TT.throwOnLoss = true;
}

template <class R1, class R2>
void Lattice<R1, R2>::checkFixByTransformation(bool aardal, bool keepLatFile)
{
    // Row state words, the current solve cache and the row images all describe B; they go
    // whenever B is about to change.
    auto forgetRows = [this]() {
        for (long i = 0; i <= dimB; ++i)
            rowState[i] = 0;
        coords.currentCache.clear();
        invalidateRowImages();
    };
    const std::string overflowText = "transformation overflow";
    const long top = TT.dimension();
    // The basis the top matrix acts on: the lower matrices of the stack applied to B_save.
    auto topBase = [&]() { return stackProduct(TT, 1, top - 1, B_save, overflowText); };

    // 1. Progress.
    if (params.verb.value == 2)
        std::cout << BEGINL() << " Lattice consistency checking / fixing ..." << ENDL();
    // 2. Without aardal every checkpoint folds the stack into B_save: it never has a second matrix.
    if (!aardal && top != 1) fatal("In the non-aardal case TT.MN should always be == 1");
    // 3. A basis beyond the trusted range can't be checked in long double at all.
    if (B.hasOverflowEntry()) throw PrecisionException("base matrix overflow");
    // 4. The untrimmed basis and the top of the stack.
    const Matrix<R1> U = removeTranslationAndScaling(B);
    Matrix<R1>& T = TT[top];

    // The way back when the transformation can't be trusted: B returns to where the top matrix
    // began (B_save for a single matrix), and consistency stays on until the next successful
    // checkpoint, so that the next transformation is maintained row by row instead of rebuilt.
    auto rollback = [&]() {
        const bool single = top == 1;
        const Matrix<R1> base = single ? B_save : topBase();
        // 1. The basis as the top matrix found it.
        B = applyScalingAndTranslation(base);
        // 2. Nothing derived from B stays.
        forgetRows();
        // 3. The saved cache is over B_save, which is the basis again only for a single matrix.
        if (single && !coords.savedCache.empty())
            coords.currentCache = coords.savedCache;
        else
            coords.currentCache.clear();
        // 4. The top starts afresh.
        makeIdentity(T, dimB);
        // 5. Consistency on, remembered as the rollback's doing.
        rollbackEnabled = true;
        params.consistency = true;
    };

    // 5. A maintained top is cleaned of rounding dust. An unmaintained one is rebuilt: row i of
    //    U in coordinates over the basis the top acts on. A row without them can't be explained
    //    by the stack.
    if (params.consistency.value) {
        snapZeros(T);
    } else {
        T.setDimensions(U.rowCount, T.colCount, true);
        if (top == 1) {
            for (long i = 1; i <= U.rowCount; ++i)
                if (!coords.lsolve(T[i], U[i], true, false)) return rollback();
        } else {
            ComputeCoordsSolveCache<R1> cache;
            cache.A = topBase().transpose();
            for (long i = 1; i <= U.rowCount; ++i) {
                if (!cache.solve(T[i], U[i])) return rollback();
                T[i].makeInteger();
                if (!(cache.A * T[i] == U[i])) return rollback();
            }
        }
    }
    // 6. The top must be unimodular. A maintained one that isn't means the arithmetic failed, which
    //    only the exact run can repair; a rebuilt one is given up. (The empty matrix of a basis
    //    without rows has determinant one.)
    R1 determinant;
    if (T.rowCount != T.colCount || (T.rowCount > 0 && !T.unimodularCheck(determinant))) {
        if (params.consistency.value) throw PrecisionException("unimodular error");
        return rollback();
    }
    // 7. A consistency that a rollback switched on ends with this success.
    if (rollbackEnabled) {
        rollbackEnabled = false;
        params.consistency = false;
    }
    // 8. The exact basis: the whole stack applied to B_save.
    Matrix<R1> W = stackProduct(TT, 1, top, B_save, overflowText);
    snapZeros(W);
    // 9. Where the product differs from B, it wins; everything derived from B goes first.
    const Matrix<R1> trimmed = applyScalingAndTranslation(W);
    if (!exactlyEqual(W, U) || !exactlyEqual(trimmed, B)) forgetRows();
    // 10. The checkpoint. Without aardal the stack is folded into B_save, whose solve cache is
    //     the current one (which step 9 emptied unless B is unchanged). With aardal the stack stays
    //     and grows only when its top would leave the trusted range.
    if (!aardal) {
        resetTransformationStack(false);
        B_save = W;
        if (coords.currentCache.empty())
            coords.savedCache.clear();
        else
            coords.savedCache = coords.currentCache;
    } else if (T.hasOverflowEntry()) {
        resetTransformationStack(true);
    }
    // 11. B from the exact product.
    B = trimmed;
    // 12. The snapshot.
    if (!keepLatFile) writeLatFile();
}

#define LATOPT_TRANSFORMATION_MEMBERS(R1, R2)                                                                \
    template Matrix<R1> Lattice<R1, R2>::applyTransformationTo(const Matrix<R1>&) const;                     \
    template void Lattice<R1, R2>::resetTransformationStack(bool);                                           \
    template void Lattice<R1, R2>::checkFixByTransformation(bool, bool);
LATOPT_TRANSFORMATION_MEMBERS(long double, long double)
LATOPT_TRANSFORMATION_MEMBERS(long double, QQ)
LATOPT_TRANSFORMATION_MEMBERS(QQ, long double)
LATOPT_TRANSFORMATION_MEMBERS(QQ, QQ)
#undef LATOPT_TRANSFORMATION_MEMBERS

} // namespace latopt
