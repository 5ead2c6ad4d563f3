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
            const long factor = integer(-3, 3); // nonzero, a fraction among them
            lattice.trimming[j] = factor == 0 ? T(1) / T(2) : T(factor);
            lattice.trimming.translation[j] = T(integer(-20, 20));
        }
        lattice.scaledInhomogenousConstant = constant * lattice.trimming[cols];
    }
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(TrimmingTest, NumberTypes);

// Under every setting of scale and translate, taken up through setTrimming: removal undoes
// application on B and on vectors, application is linear (the translation follows the
// inhomogenous part: none for a last component 0, the other way for -K), a plain vector
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
        lattice.rowState[1] = 1;
        lattice.setTrimming(scale, translate);
        ASSERT_TRUE(lattice.params.scale.value == scale && lattice.params.translate.value == translate);
        EXPECT_TRUE(lattice.rowState.isZero() && lattice.removeTranslationAndScaling(lattice.B) == basis);
        for (long k = 1; k <= 5; ++k) {
            const Vector<T> v = this->vector(n, constant);
            const Vector<T> w = this->vector(n, constant);
            const Vector<T> trimmed = lattice.handleScalingAndTranslation(v, true);
            EXPECT_TRUE(lattice.handleScalingAndTranslation(trimmed, false) == v);
            EXPECT_TRUE(lattice.handleScalingAndTranslation(v + w, true) ==
                        trimmed + lattice.handleScalingAndTranslation(w, true));
            if (!scale || !translate) continue;
            Vector<T> plain = v;
            plain[n] = constant;
            const Vector<T> moved = lattice.handleScalingAndTranslation(plain, true);
            for (long j = 1; j < n; ++j)
                EXPECT_EQ(lattice.l[j] <= plain[j] && plain[j] <= lattice.r[j],
                          lattice.lTrimmed[j] <= moved[j] && moved[j] <= lattice.rTrimmed[j]);
        }
        lattice.resetTrimming(true, true);
        EXPECT_TRUE(lattice.B == basis && lattice.lTrimmed == lattice.l && lattice.rTrimmed == lattice.r);
    }
}

// The change callbacks act only on a new text while their parameter is off, and then leave B as
// the new setting expects: scale resets the factors (B, unscaled, stays), translate resets the
// translation (B loses it); the row states go to 0 and the bounds follow.
TYPED_TEST(TrimmingTest, ParameterCallbacksResetTheirPartOfTheTrimming)
{
    using T = TypeParam;
    Lattice<T, T> lattice;
    Matrix<T> basis;
    this->fill(lattice, basis);
    lattice.setTrimming(false, true);
    const Matrix<T> translated = lattice.B;
    lattice.trimming.scaleStep.makeOne();
    Trimming<T>::scaleLimit = T(7);
    lattice.rowState[1] = 1;
    lattice.params.scale.changeCallback("0");
    EXPECT_FALSE(lattice.rowState.isZero());
    lattice.params.scale.changeCallback("1");
    EXPECT_TRUE(lattice.rowState.isZero() && lattice.B == translated);
    EXPECT_TRUE(lattice.trimming == Vector<T>().makeOne(lattice.dimN) && lattice.trimming.scaleStep.isZero());
    EXPECT_TRUE(lattice.lTrimmed[1] == lattice.l[1] + lattice.trimming.translation[1]);
    EXPECT_TRUE(lattice.scaledInhomogenousConstant == lattice.inhomogenousConstant);
    EXPECT_TRUE(Trimming<T>::scaleLimit == Constant<T>::SCALE_LIMIT_DEFAULT());

    lattice.trimming[1] = T(-2);
    lattice.setTrimming(true, true);
    const Matrix<T> trimmed = lattice.B;
    lattice.params.translate.changeCallback("0");
    EXPECT_TRUE(lattice.B == trimmed);
    lattice.setTrimming(true, false);
    lattice.params.translate.changeCallback("1");
    EXPECT_TRUE(lattice.trimming.translation.isZero() &&
                lattice.B == lattice.applyScalingAndTranslation(basis));
    EXPECT_TRUE(lattice.lTrimmed[1] == T(-2) * lattice.r[1] && lattice.rTrimmed[1] == T(-2) * lattice.l[1]);
}

// New columns get the defaults also where a shrunken vector held other values; lshift moves all
// four vectors (the factors' own shrinking must not cut the others first); an infinite bound
// stays infinite, turned round by a negative factor; a copy across number types keeps it all.
TYPED_TEST(TrimmingTest, StateFollowsTheColumns)
{
    using T = TypeParam;
    Lattice<T, T> lattice;
    lattice.setDims(1, 3, true);
    Trimming<T>& trimming = lattice.trimming;
    trimming[3] = trimming.translation[3] = trimming.scaleStep[3] = T(5);
    trimming.setDimension(2);
    trimming.setDimension(3);
    EXPECT_TRUE(trimming == Vector<T>("[ 1 1 1 ]") && trimming.translation.isZero() &&
                trimming.scaleStep.isZero());
    trimming[2] = T(-2);
    trimming.translation[2] = T(3);
    trimming.scaleStepCount[2] = 4;
    lattice.l[2] = -Constant<T>::INF();
    lattice.applyScalingAndTranslationToBnd(2);
    EXPECT_TRUE(lattice.rTrimmed[2] == Constant<T>::INF() && lattice.lTrimmed[2] == T(3));
    Lattice<QQ, long double> copy;
    copy._assign(lattice, false);
    copy.trimming.lshift(1);
    ASSERT_TRUE(copy.trimming.translation.dimension() == 2 && copy.trimming.scaleStep.dimension() == 2);
    EXPECT_TRUE(copy.trimming == Vector<QQ>("[ -2 1 ]") &&
                copy.trimming.translation == Vector<QQ>("[ 3 0 ]"));
    EXPECT_EQ(copy.trimming.scaleStepCount[1], 4);
}

} // namespace
} // namespace latopt
