#include "lattice/lattice.h"

#include "arith/constant.h"
#include "arith/qq.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace latopt {
namespace {

template <class T>
class TrimmingTest : public ::testing::Test {
protected:
    std::mt19937_64 random{test::testSeed()};

    long integer(long low, long high) { return std::uniform_int_distribution<long>(low, high)(random); }
    // A nonzero factor, a fraction among them.
    T factor()
    {
        const long choice = integer(-3, 3);
        return choice == 0 ? T(1) / T(2) : T(choice);
    }
    // Small entries; the last one a multiple of the constant K: 0, -K, K or 2K.
    Vector<T> vector(long n, const T& constant)
    {
        Vector<T> v(n);
        for (long j = 1; j < n; ++j)
            v[j] = T(integer(-9, 9));
        v[n] = constant * T(integer(-1, 2));
        return v;
    }
    // A lattice of random shape and basis (kept in basis), with finite bounds l <= r, the
    // constant K and a trimming of random factors and translation (also in the last column,
    // which must be ignored), its parameters still off.
    void fill(Lattice<T, T>& lattice, Matrix<T>& basis)
    {
        const long rows = integer(1, 4);
        const long cols = integer(2, 5);
        const T constant(integer(1, 4));
        basis.setDimensions(rows, cols);
        for (long i = 1; i <= rows; ++i)
            basis[i] = vector(cols, constant);
        lattice.resetLattice(&basis, true);
        lattice.inhomogenousConstant = constant;
        for (long j = 1; j <= cols; ++j) {
            lattice.l[j] = T(integer(-9, 0));
            lattice.r[j] = lattice.l[j] + T(integer(0, 9));
            lattice.trimming[j] = factor();
            lattice.trimming.translation[j] = T(integer(-20, 20));
        }
        lattice.scaledInhomogenousConstant = constant * lattice.trimming[cols];
    }
    static void markRows(Lattice<T, T>& lattice)
    {
        for (long i = 1; i <= lattice.dimB; ++i)
            lattice.rowState[i] = 1;
    }
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(TrimmingTest, NumberTypes);

// Under every setting of scale and translate, taken up through setTrimming: removal undoes
// application on B and on vectors, application is linear (the translation follows the
// inhomogenous part, so a vector whose last component is 0 isn't translated), a plain vector
// with the constant K lies within [l, r] exactly when its trimmed form lies within
// [lTrimmed, rTrimmed], and resetTrimming(true, true) brings B and the bounds back.
TYPED_TEST(TrimmingTest, ApplicationAndRemovalAreInverse)
{
    using T = TypeParam;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    for (long round = 1; round <= test::rounds(40); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Lattice<T, T> lattice;
        Matrix<T> basis;
        this->fill(lattice, basis);
        const long n = lattice.dimN;
        const T constant = lattice.inhomogenousConstant;
        const bool scale = round % 2 == 1;
        const bool translate = round % 4 >= 2;
        this->markRows(lattice);
        lattice.setTrimming(scale, translate);
        ASSERT_TRUE(lattice.params.scale.value == scale && lattice.params.translate.value == translate);
        EXPECT_TRUE(lattice.rowState.isZero());
        EXPECT_TRUE(lattice.removeTranslationAndScaling(lattice.B) == basis);
        EXPECT_EQ(lattice.applyScalingAndTranslation(basis).rowCount, basis.rowCount);
        for (long k = 1; k <= 5; ++k) {
            const Vector<T> v = this->vector(n, constant);
            const Vector<T> w = this->vector(n, constant);
            const Vector<T> trimmed = lattice.handleScalingAndTranslation(v, true);
            EXPECT_TRUE(lattice.handleScalingAndTranslation(trimmed, false) == v);
            EXPECT_TRUE(lattice.handleScalingAndTranslation(v + w, true) ==
                        trimmed + lattice.handleScalingAndTranslation(w, true));
            if (!translate || v[n] == Constant<T>::ZERO()) {
                Vector<T> scaled = v;
                if (scale) scaled ^= lattice.trimming;
                EXPECT_TRUE(trimmed == scaled);
            }
            if (!scale || !translate) continue;
            Vector<T> plain = v;
            plain[n] = constant;
            const Vector<T> moved = lattice.handleScalingAndTranslation(plain, true);
            for (long j = 1; j < n; ++j)
                EXPECT_EQ(lattice.l[j] <= plain[j] && plain[j] <= lattice.r[j],
                          lattice.lTrimmed[j] <= moved[j] && moved[j] <= lattice.rTrimmed[j]);
        }
        lattice.resetTrimming(true, true);
        EXPECT_TRUE(lattice.B == basis);
        EXPECT_TRUE(lattice.lTrimmed == lattice.l && lattice.rTrimmed == lattice.r);
        EXPECT_TRUE(lattice.scaledInhomogenousConstant == constant);
    }
}

// The change callbacks act only on a new text while their parameter is off, and then leave B in
// the form the new setting expects: scale resets the factors (B, unscaled, stays), translate
// resets the translation (B loses it). Every row state word goes to 0; the bounds follow.
TYPED_TEST(TrimmingTest, ParameterCallbacksResetTheirPartOfTheTrimming)
{
    using T = TypeParam;
    Lattice<T, T> lattice;
    Matrix<T> basis;
    this->fill(lattice, basis);
    const long n = lattice.dimN;
    lattice.setTrimming(false, true);
    const Matrix<T> translated = lattice.B;
    lattice.trimming.scaleStep.makeOne();
    lattice.trimming.scaleStepCount[n] = 4;
    Trimming<T>::scaleLimit = T(7);
    this->markRows(lattice);

    // The text it already has: nothing happens.
    lattice.params.scale.changeCallback("0");
    EXPECT_FALSE(lattice.rowState.isZero());
    lattice.params.scale.changeCallback("1");
    EXPECT_TRUE(lattice.rowState.isZero());
    EXPECT_TRUE(lattice.B == translated);
    for (long j = 1; j <= n; ++j) {
        EXPECT_TRUE(lattice.trimming[j] == Constant<T>::ONE() &&
                    lattice.trimming.scaleStep[j] == Constant<T>::ZERO());
        EXPECT_EQ(lattice.trimming.scaleStepCount[j], 0);
        const T shift = j < n ? lattice.trimming.translation[j] : Constant<T>::ZERO();
        EXPECT_TRUE(lattice.lTrimmed[j] == lattice.l[j] + shift &&
                    lattice.rTrimmed[j] == lattice.r[j] + shift);
    }
    EXPECT_TRUE(lattice.scaledInhomogenousConstant == lattice.inhomogenousConstant);
    EXPECT_TRUE(Trimming<T>::scaleLimit == Constant<T>::SCALE_LIMIT_DEFAULT());

    // translate is on: its callback does nothing. Off, with scale on: the translation goes.
    lattice.trimming[1] = T(-2);
    lattice.setTrimming(true, true);
    const Matrix<T> trimmed = lattice.B;
    lattice.params.translate.changeCallback("0");
    EXPECT_TRUE(lattice.B == trimmed);
    lattice.setTrimming(true, false);
    lattice.params.translate.changeCallback("1");
    EXPECT_TRUE(lattice.trimming.translation.isZero());
    EXPECT_TRUE(lattice.B == lattice.applyScalingAndTranslation(basis));
    EXPECT_TRUE(lattice.lTrimmed[1] == T(-2) * lattice.r[1] && lattice.rTrimmed[1] == T(-2) * lattice.l[1]);
    EXPECT_TRUE(lattice.removeTranslationAndScaling(lattice.B) == basis);
}

// The state itself: new entries get their defaults also where a shrunken vector held other
// values, lshift drops the first columns of all four vectors, resetScaleStep keeps the factor,
// infinite bounds stay infinite (turned round by a negative factor), and the lattice resizes and
// copies its trimming across number types.
TYPED_TEST(TrimmingTest, StateFollowsTheColumns)
{
    using T = TypeParam;
    Trimming<T> trimming;
    trimming.setDimension(3);
    trimming[3] = T(5);
    trimming.translation[3] = T(6);
    trimming.scaleStep[3] = T(7);
    trimming.scaleStepCount[3] = 8;
    trimming.resetScaleStep(3);
    EXPECT_TRUE(trimming[3] == T(5) && trimming.scaleStep[3] == Constant<T>::ZERO());
    trimming.setDimension(2);
    trimming.setDimension(4);
    for (long j = 3; j <= 4; ++j)
        EXPECT_TRUE(trimming[j] == Constant<T>::ONE() && trimming.translation[j] == Constant<T>::ZERO() &&
                    trimming.scaleStep[j] == Constant<T>::ZERO() && trimming.scaleStepCount[j] == 0);
    trimming[2] = T(9);
    trimming.translation[2] = T(-1);
    trimming.scaleStepCount[2] = 3;
    trimming.lshift(1);
    ASSERT_TRUE(trimming.dimension() == 3 && trimming.translation.dimension() == 3 &&
                trimming.scaleStep.dimension() == 3 && trimming.scaleStepCount.dimension() == 3);
    EXPECT_TRUE(trimming[1] == T(9) && trimming.translation[1] == T(-1) && trimming.scaleStepCount[1] == 3);

    Lattice<T, T> lattice;
    lattice.setDims(2, 3, true);
    ASSERT_EQ(lattice.trimming.dimension(), 3);
    lattice.l[1] = -Constant<T>::INF();
    lattice.trimming[1] = T(-2);
    lattice.trimming.translation[1] = T(3);
    lattice.applyScalingAndTranslationToBnd(1);
    EXPECT_TRUE(lattice.rTrimmed[1] == Constant<T>::INF() && lattice.lTrimmed[1] == T(3));
    Lattice<QQ, long double> copy;
    copy._assign(lattice, false);
    EXPECT_TRUE(copy.trimming == Vector<QQ>("[ -2 1 1 ]") &&
                copy.trimming.translation == Vector<QQ>("[ 3 0 0 ]"));
    EXPECT_EQ(copy.trimming.scaleStepCount.dimension(), 3);
}

} // namespace
} // namespace latopt
