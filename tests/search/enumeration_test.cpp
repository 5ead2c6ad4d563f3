#include "search/enumeration.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "lattice/found_vectors.h"
#include "lattice/lll_contract.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <type_traits>
#include <vector>

namespace latopt {
namespace {

namespace contract = lll_contract;

using contract::Types;

template <class T>
class Enumeration : public ::testing::Test {
};
using LatticeTypes = contract::AllLatticeTypes;
TYPED_TEST_SUITE(Enumeration, LatticeTypes);

long long integer(const QQ& x)
{
    return static_cast<long long>(x.toDblRounded());
}

// The squared lengths of all nonzero lattice vectors (v and -v each) of length^2 <= radius2, by
// brute force over the box |x_i| <= sqrt(radius2 (G^-1)_ii), G the Gram matrix, that holds them.
std::vector<long long> lengthsWithin(const contract::Rows& b, long long radius2)
{
    const size_t d = b.size();
    contract::IntRows gram(d, std::vector<ZZ>(2 * d, ZZ(0)));
    for (size_t i = 0; i < d; ++i) {
        gram[i][d + i] = ZZ(1);
        for (size_t j = 0; j < d; ++j)
            for (size_t c = 0; c < b[i].size(); ++c)
                gram[i][j] = gram[i][j] + b[i][c].signedInteger() * b[j][c].signedInteger();
    }
    contract::bareissJordan(gram, d);
    std::vector<long long> box(d), x(d);
    for (size_t i = 0; i < d; ++i) {
        const long double inverse = QQ(gram[i][d + i], gram[i][i]).toDblRounded();
        box[i] = static_cast<long long>(std::floor(std::sqrt(radius2 * inverse) + 1e-6L));
        x[i] = -box[i];
    }
    std::vector<long long> lengths;
    for (;;) {
        long long length = 0;
        for (size_t c = 0; c < b[0].size(); ++c) {
            long long entry = 0;
            for (size_t i = 0; i < d; ++i)
                entry += x[i] * integer(b[i][c]);
            length += entry * entry;
        }
        if (length > 0 && length <= radius2) lengths.push_back(length);
        size_t i = 0;
        while (i < d && x[i] == box[i])
            x[i] = -box[i], ++i;
        if (i == d) return lengths;
        ++x[i];
    }
}

// A lattice of the basis, reduced by lll, without a program (nothing offered), enumerated without
// pruning.
template <class R1, class R2>
void reduce(Lattice<R1, R2>& lattice)
{
    lattice.offerCandidates = false;
    lattice.params.eprune = 0L;
    lattice.lllStepBudget = 1L << 40;
    lattice.lll(1, 0, 0);
}

// |sum x_i b_i|^2 of coefficients over rows 1.., exactly.
template <class R1, class R2>
QQ combinationLength(const Lattice<R1, R2>& lattice, const Vector<R1>& x)
{
    const contract::Rows b = contract::exactMatrix(lattice.B);
    QQ length(0);
    for (long c = 0; c < lattice.dimN; ++c) {
        QQ entry(0);
        for (long i = 0; i < x.dimension(); ++i)
            entry += contract::exactValue(x[i + 1]) * b[i][c];
        length += entry * entry;
    }
    return length;
}

// On the whole basis of random lattices the enumeration below twice |b_1|^2 finds a vector as
// short as the shortest one brute force finds; the ball of a radius that some vector reaches (its
// rim included) holds exactly the vectors brute force counts, each sign pair once; a stop ends it
// at the first leaf; linear pruning reaches no more than that, and says so when it cut.
TYPED_TEST(Enumeration, FindsTheShortestVectorAndEveryVectorOfTheBall)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const long largest = std::is_same_v<R2, QQ> ? 7 : 10;
    for (long round = 0; round < test::rounds(8); ++round) {
        const long d = 4 + round % (largest - 3);
        const Matrix<QQ> input = contract::uniformBasis(random, d, d, 5);
        const Matrix<R1> basis(input);
        Lattice<R1, R2> lattice(&basis);
        reduce(lattice);
        const contract::Rows rows = contract::exactMatrix(lattice.B);
        SCOPED_TRACE(input.toString());
        const long long first = integer(combinationLength(lattice, Vector<R1>("[ 1 ]")));
        const std::vector<long long> lengths = lengthsWithin(rows, first);
        const long long shortest = *std::min_element(lengths.begin(), lengths.end());
        const auto block = enumerateBlock(lattice, 1, d, R2(2 * first), true, nullptr);
        ASSERT_EQ(block.coefficients.dimension(), d);
        EXPECT_EQ(combinationLength(lattice, block.coefficients), QQ(shortest));
        EXPECT_TRUE(block.complete);

        const long long radius2 = integer(combinationLength(lattice, Vector<R1>("[ 0 1 ]")));
        const size_t count = lengthsWithin(rows, radius2).size();
        const auto ball = enumerateBall(lattice, R2(radius2), nullptr);
        EXPECT_EQ(2 * ball.leaves, static_cast<long>(count));
        EXPECT_TRUE(ball.complete);
        const auto stopped = enumerateBall(lattice, R2(radius2), [] { return true; });
        EXPECT_EQ(stopped.leaves, 1);
        EXPECT_FALSE(stopped.complete);
        lattice.params.eprune = 1L;
        const auto pruned = enumerateBall(lattice, R2(radius2), nullptr);
        EXPECT_LE(2 * pruned.leaves, static_cast<long>(count));
        if (2 * pruned.leaves < static_cast<long>(count)) {
            EXPECT_FALSE(pruned.complete);
        }
    }
}

// The ball of the box of a small program, offered to the gate: every feasible point becomes a
// solution.
TYPED_TEST(Enumeration, BallOfTheBoxOffersEveryFeasiblePoint)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    auto lattice = test::embeddedSmallProgram<Lattice<R1, R2>>();
    lattice->params.eprune = 0L;
    R1 radius2(0);
    for (long i = 1; i <= lattice->dimN; ++i)
        radius2 += std::max(lattice->lTrimmed[i] * lattice->lTrimmed[i],
                            lattice->rTrimmed[i] * lattice->rTrimmed[i]);
    R2 radius;
    Precision::conv(radius2, radius, false);
    const auto ball = enumerateBall(*lattice, radius, nullptr);
    EXPECT_TRUE(ball.complete);
    long feasible = 0;
    for (long a = 0; a <= 3; ++a)
        for (long b = 0; b <= 3; ++b)
            for (long c = 0; c <= 3; ++c)
                feasible += test::feasible({a, b, c}) ? 1 : 0;
    EXPECT_EQ(lattice->solutions.dimension(), feasible);
}

// The first of the exact B_1..B_d that differs (beyond the relative tolerance) got smaller: an
// insertion at row j keeps the rows before it and shrinks B_j, and so does a swap of the reduction.
bool profileFalls(const std::vector<QQ>& before, const std::vector<QQ>& after, const QQ& tolerance)
{
    for (size_t i = 0; i < before.size(); ++i)
        if (after[i] < before[i] - tolerance * before[i] || after[i] > before[i] + tolerance * before[i])
            return after[i] < before[i];
    return true;
}

// Tours, with and without deep insertion, keep the lattice (U = TT[1] integral and unimodular,
// U B_in = B_out), never make the first B_j that they change larger, leave a basis the checkpoint
// accepts as it is, and with one block over the whole basis make b_1 a shortest vector.
TYPED_TEST(Enumeration, TourKeepsTheLatticeAndShortensTheFirstRowItChanges)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const long d = std::is_same_v<R2, QQ> ? 7 : 10;
    for (long round = 0; round < test::rounds(4); ++round) {
        const Matrix<QQ> input = contract::knapsackBasis(random, d, 10 + 10 * (round % 3));
        SCOPED_TRACE(input.toString());
        const Matrix<R1> basis(input);
        Lattice<R1, R2> lattice(&basis);
        lattice.params.consistency = true;
        lattice.params.deep = round % 2 == 1;
        reduce(lattice);
        for (long beta : {3L, d}) {
            lattice.params.beta = beta;
            const std::vector<QQ> before = contract::gramSchmidt(contract::exactMatrix(lattice.B)).norm;
            bkzTour(lattice, nullptr);
            const std::vector<QQ> after = contract::gramSchmidt(contract::exactMatrix(lattice.B)).norm;
            EXPECT_TRUE(profileFalls(before, after, QQ(std::is_same_v<R2, QQ> ? 0 : 1) / QQ(1000000)));
            const contract::Rows u = contract::exactMatrix(lattice.TT[1]);
            EXPECT_TRUE(
                contract::transformHolds(contract::exactMatrix(input), contract::exactMatrix(lattice.B), &u));
            if (beta == d) {
                const std::vector<long long> lengths =
                    lengthsWithin(contract::exactMatrix(lattice.B), integer(after[0]));
                EXPECT_EQ(after[0], QQ(*std::min_element(lengths.begin(), lengths.end())));
            }
        }
        const Matrix<R1> reduced = lattice.B;
        lattice.checkFixByTransformation(false, true);
        EXPECT_FALSE(lattice.rollbackEnabled);
        EXPECT_TRUE(contract::exactMatrix(lattice.B) == contract::exactMatrix(reduced));
    }
}

// b_1 = (10, 0, 0) is a shortest vector, so block 1..3 has nothing below B_1 = 100, while the
// projection (0, 8, 4) of b_3 - b_2 improves B_2 = 900 to 80: with deep it goes in at row 2 within
// that first block, so a tour stopped before block 2 has it only with deep.
TYPED_TEST(Enumeration, DeepInsertionImprovesALaterRowOfTheBlock)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    const Matrix<QQ> input("[[10 0 0] [5 30 0] [0 38 4]]");
    for (const bool deep : {false, true}) {
        const Matrix<R1> basis(input);
        Lattice<R1, R2> lattice(&basis);
        lattice.offerCandidates = false;
        lattice.params.consistency = true;
        lattice.params.eprune = 0L;
        lattice.params.deep = deep;
        long calls = 0;
        EXPECT_EQ(bkzTour(
                      lattice, [&calls] { return ++calls > 1; }, 3),
                  deep);
        const std::vector<QQ> norms = contract::gramSchmidt(contract::exactMatrix(lattice.B)).norm;
        EXPECT_EQ(norms[0], QQ(100));
        EXPECT_EQ(norms[1], QQ(deep ? 80 : 900));
        const contract::Rows u = contract::exactMatrix(lattice.TT[1]);
        EXPECT_TRUE(
            contract::transformHolds(contract::exactMatrix(input), contract::exactMatrix(lattice.B), &u));
    }
}

} // namespace
} // namespace latopt
