#include "lattice/lattice.h"

#include "arith/qq.h"
#include "lattice/lll_contract.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

namespace latopt {
namespace {

using lll_contract::IntRows;

template <class Types>
class Containment : public ::testing::Test {
};
using LatticeTypes = ::testing::Types<std::pair<long double, long double>, std::pair<QQ, QQ>>;
TYPED_TEST_SUITE(Containment, LatticeTypes);

template <class T>
Vector<T> toType(const Vector<QQ>& v)
{
    Vector<T> result(v.dimension());
    for (long j = 1; j <= v.dimension(); ++j)
        Precision::conv(v[j], result[j], false);
    return result;
}

// Entry by entry, without the tolerance of Vector's ==.
template <class T>
bool identical(const Vector<T>& a, const Vector<QQ>& b)
{
    if (a.dimension() != b.dimension()) return false;
    for (long j = 1; j <= a.dimension(); ++j)
        if (!(lll_contract::exactValue(a[j]) == b[j])) return false;
    return true;
}

Vector<QQ> combination(const std::vector<long>& x, const Matrix<QQ>& b)
{
    Vector<QQ> v(b.colCount);
    for (long i = 1; i <= b.rowCount; ++i)
        for (long j = 1; j <= b.colCount; ++j)
            v[j] += QQ(x[i - 1]) * b[i][j];
    return v;
}

// Exact membership, apart from the engine: the first rank rows of b are independent and span the
// lattice; v is in it when the square system at their pivot columns (fraction-free) has an
// integral solution that reproduces every column.
bool inLattice(const Matrix<QQ>& b, long rank, const Vector<QQ>& v)
{
    IntRows rows(rank);
    for (long i = 0; i < rank; ++i)
        for (long j = 1; j <= b.colCount; ++j)
            rows[i].push_back(b[i + 1][j].signedInteger());
    for (long j = 1; j <= v.dimension(); ++j)
        if (!lll_contract::isInteger(v[j])) return false;
    const std::vector<std::size_t> pivots = lll_contract::pivotColumns(rows);
    IntRows system(rank);
    for (long i = 0; i < rank; ++i) {
        for (long k = 0; k < rank; ++k)
            system[i].push_back(rows[k][pivots[i]]);
        system[i].push_back(v[static_cast<long>(pivots[i]) + 1].signedInteger());
    }
    lll_contract::bareissJordan(system, rank);
    std::vector<ZZ> x(rank);
    for (long k = 0; k < rank; ++k) {
        ZZ remainder;
        ZZ::div(system[k][rank], system[k][k], x[k], remainder);
        if (!remainder.isZero()) return false;
    }
    for (long j = 0; j < v.dimension(); ++j) {
        ZZ sum(0);
        for (long k = 0; k < rank; ++k)
            sum = sum + x[k] * rows[k][j];
        if (!(QQ(sum) == v[j + 1])) return false;
    }
    return true;
}

struct Shape {
    Matrix<QQ> basis;
    long rank;
};

// Square, more columns than rows, knapsack, q-ary, and one row that depends on the others.
std::vector<Shape> shapes(std::mt19937_64& random)
{
    std::vector<Shape> result;
    result.push_back({lll_contract::uniformBasis(random, 3, 3, 6), 3});
    result.push_back({lll_contract::uniformBasis(random, 3, 5, 6), 3});
    result.push_back({lll_contract::knapsackBasis(random, 4, 20), 4});
    result.push_back({lll_contract::qaryBasis(random, 6, 3, 101), 6});
    Matrix<QQ> dependent = lll_contract::uniformBasis(random, 4, 4, 6);
    for (long j = 1; j <= 4; ++j)
        dependent[4][j] = dependent[1][j] + QQ(2) * dependent[2][j];
    result.push_back({dependent, 3});
    return result;
}

// Against the exact oracle: integer combinations are contained and proved is exactly them; a
// combination moved by a small integer in one coordinate is contained just when the oracle says
// so; half a basis row off is refused; 10^-12 off is refused or proved as the lattice vector.
TYPED_TEST(Containment, MembershipMatchesAnExactOracle)
{
    using R1 = typename TypeParam::first_type;
    using R2 = typename TypeParam::second_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> coefficient(-4, 4), shift(-2, 2);
    for (const Shape& shape : shapes(random)) {
        const Matrix<QQ>& b = shape.basis;
        const Matrix<R1> basis(b);
        Lattice<R1, R2> lattice(&basis);
        SCOPED_TRACE(testing::Message() << b.rowCount << " x " << b.colCount << ", rank " << shape.rank);
        for (long round = 1; round <= test::rounds(5); ++round) {
            std::vector<long> x(b.rowCount);
            for (long& xi : x)
                xi = coefficient(random);
            const Vector<QQ> v = combination(x, b);
            Vector<R1> proved;
            ASSERT_TRUE(lattice.containsVector(toType<R1>(v), proved)) << v;
            EXPECT_TRUE(identical(proved, v)) << proved;

            Vector<QQ> moved = v;
            const long j = 1 + static_cast<long>(random() % b.colCount);
            moved[j] += QQ(shift(random) | 1);
            const bool inside = inLattice(b, shape.rank, moved);
            EXPECT_EQ(lattice.containsVector(toType<R1>(moved), proved), inside) << moved;
            if (inside) {
                EXPECT_TRUE(identical(proved, moved));
            }

            Vector<QQ> half = v;
            const long k = 1 + static_cast<long>(random() % shape.rank);
            for (long c = 1; c <= b.colCount; ++c)
                half[c] += b[k][c] / QQ(2);
            ASSERT_FALSE(inLattice(b, shape.rank, half));
            EXPECT_FALSE(lattice.containsVector(toType<R1>(half), proved)) << half;

            Vector<R1> near = toType<R1>(v);
            Precision::conv(QQ("1/1000000000000") + v[j], near[j], false);
            if (lattice.containsVector(near, proved)) {
                EXPECT_TRUE(identical(proved, v)) << proved;
            }
        }
    }
}

// The proof runs on data frozen from B_save: a reduction of B changes nothing, nor does a new
// B_save of the same size; a new basis through setDims (here by a reset) is frozen anew.
TYPED_TEST(Containment, FrozenDataOutliveReductionUntilDimensionsChange)
{
    using R1 = typename TypeParam::first_type;
    using R2 = typename TypeParam::second_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const Matrix<QQ> b = lll_contract::knapsackBasis(random, 5, 20);
    const Matrix<R1> basis(b);
    Lattice<R1, R2> lattice(&basis);
    lattice.offerCandidates = false;
    lattice.lllStepBudget = 100000;
    lattice.lll(1, 0, 0);
    ASSERT_FALSE(lattice.B == basis) << "the reduction must move B";
    Matrix<QQ> doubled = b;
    for (long i = 1; i <= b.rowCount; ++i)
        for (long j = 1; j <= b.colCount; ++j)
            doubled[i][j] *= QQ(2);
    const std::vector<long> odd = {1, 0, -3, 2, 1};
    const Vector<R1> v = toType<R1>(combination(odd, b));
    Vector<R1> proved;
    EXPECT_TRUE(lattice.containsVector(v, proved));
    lattice.B_save = Matrix<R1>(doubled);
    lattice.B = Matrix<R1>(doubled);
    EXPECT_TRUE(lattice.containsVector(v, proved)) << "frozen data of the first basis";
    const Matrix<R1> doubledBasis(doubled);
    lattice.resetLattice(&doubledBasis, true);
    EXPECT_FALSE(lattice.containsVector(v, proved));
    EXPECT_TRUE(lattice.containsVector(toType<R1>(combination(odd, doubled)), proved));
}

} // namespace
} // namespace latopt
