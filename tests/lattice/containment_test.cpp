#include "lattice/lattice.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "lattice/lll_contract.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace latopt {
namespace {

template <class Types>
class Containment : public ::testing::Test {
};
using LatticeTypes = ::testing::Types<std::pair<long double, long double>, std::pair<QQ, QQ>>;
TYPED_TEST_SUITE(Containment, LatticeTypes);

// x b exactly, in QQ.
Vector<QQ> combination(const std::vector<QQ>& x, const Matrix<QQ>& b)
{
    Vector<QQ> v(b.colCount);
    for (long i = 1; i <= b.rowCount; ++i)
        for (long j = 1; j <= b.colCount; ++j)
            v[j] += x[i - 1] * b[i][j];
    return v;
}

// Entry by entry, without the tolerance of Vector's ==.
template <class T>
bool identical(const Vector<T>& a, const Vector<QQ>& b)
{
    bool same = a.dimension() == b.dimension();
    for (long j = 1; same && j <= a.dimension(); ++j)
        same = lll_contract::exactValue(a[j]) == b[j];
    return same;
}

// On seeded bases (square, more columns than rows, knapsack, q-ary, a fourth row = row 1 + 2 row 2):
// integer combinations are contained and proved is exactly them; half of row 1 added, or a shift
// by 1 in a column the others determine (knapsack: column 1; q-ary: the last, modulo q), is
// refused; 10^-12 added is refused or proved as the lattice vector itself.
TYPED_TEST(Containment, ProvesExactlyTheIntegerCombinations)
{
    using R1 = typename TypeParam::first_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    Matrix<QQ> dependent = lll_contract::uniformBasis(random, 4, 4, 6);
    for (long j = 1; j <= 4; ++j)
        dependent[4][j] = dependent[1][j] + QQ(2) * dependent[2][j];
    const std::vector<std::pair<Matrix<QQ>, long>> shapes = {{lll_contract::uniformBasis(random, 3, 3, 6), 0},
                                                             {lll_contract::uniformBasis(random, 3, 5, 6), 0},
                                                             {lll_contract::knapsackBasis(random, 4, 20), 1},
                                                             {lll_contract::qaryBasis(random, 6, 3, 101), 6},
                                                             {dependent, 0}};
    for (const auto& [b, shiftColumn] : shapes) {
        const Matrix<R1> basis(b);
        Lattice<R1, typename TypeParam::second_type> lattice(&basis);
        for (long round = 1; round <= test::rounds(5); ++round) {
            std::vector<QQ> x;
            for (long i = 1; i <= b.rowCount; ++i)
                x.emplace_back(static_cast<long>(random() % 9) - 4);
            const Vector<QQ> v = combination(x, b);
            SCOPED_TRACE(testing::Message() << "v " << v);
            Vector<R1> proved, near(v);
            ASSERT_TRUE(lattice.containsVector(Vector<R1>(v), proved));
            EXPECT_TRUE(identical(proved, v)) << proved;
            x[0] += QQ("1/2");
            EXPECT_FALSE(lattice.containsVector(Vector<R1>(combination(x, b)), proved));
            if (shiftColumn != 0) {
                Vector<QQ> shifted = v;
                shifted[shiftColumn] += QQ(1);
                EXPECT_FALSE(lattice.containsVector(Vector<R1>(shifted), proved));
            }
            Precision::conv(v[2] + QQ("1/1000000000000"), near[2], false);
            if (lattice.containsVector(near, proved)) {
                EXPECT_TRUE(identical(proved, v)) << proved;
            }
        }
    }
}

// The proof runs on data frozen from B_save: a reduction of B changes nothing, nor does another
// B_save of the same size; a new basis through setDims (here by a reset) is frozen anew.
TYPED_TEST(Containment, FrozenDataOutliveReductionUntilDimensionsChange)
{
    using R1 = typename TypeParam::first_type;
    std::mt19937_64 random(test::testSeed());
    const Matrix<QQ> b = lll_contract::knapsackBasis(random, 5, 20);
    Matrix<QQ> doubled = b;
    for (long i = 1; i <= b.rowCount; ++i)
        doubled[i] = b[i] + b[i];
    const Matrix<R1> basis(b), doubledBasis(doubled);
    Lattice<R1, typename TypeParam::second_type> lattice(&basis);
    lattice.offerCandidates = false;
    lattice.lllStepBudget = 100000;
    lattice.lll(1, 0, 0);
    ASSERT_FALSE(lattice.B == basis) << "the reduction must move B";
    const std::vector<QQ> odd = {QQ(1), QQ(0), QQ(-3), QQ(2), QQ(1)};
    const Vector<R1> v(combination(odd, b));
    Vector<R1> proved;
    EXPECT_TRUE(lattice.containsVector(v, proved));
    lattice.B_save = lattice.B = doubledBasis;
    EXPECT_TRUE(lattice.containsVector(v, proved)) << "frozen data of the first basis";
    lattice.resetLattice(&doubledBasis, true);
    EXPECT_FALSE(lattice.containsVector(v, proved));
    EXPECT_TRUE(lattice.containsVector(Vector<R1>(combination(odd, doubled)), proved));
    // Beyond the integers a long double holds, the proof reports the overflow (after its retry
    // with exact Gram-Schmidt data) instead of answering; in QQ it answers exactly.
    const std::vector<QQ> huge = {QQ("100000000000000"), QQ(0), QQ(-3), QQ(2), QQ(1)};
    const Vector<QQ> far = combination(huge, doubled);
    try {
        EXPECT_TRUE(lattice.containsVector(Vector<R1>(far), proved) && identical(proved, far));
    } catch (const PreCommaPrecisionException&) {
        EXPECT_FALSE((std::is_same_v<R1, QQ>));
    }
}

} // namespace
} // namespace latopt
