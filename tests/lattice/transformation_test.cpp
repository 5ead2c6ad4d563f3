#include "lattice/lattice.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "lattice/lll_contract.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>

namespace latopt {
namespace {

namespace contract = lll_contract;

template <class A, class B>
bool same(const Matrix<A>& a, const Matrix<B>& b)
{
    return contract::exactMatrix(a) == contract::exactMatrix(b);
}

// The whole stack applied to B_save in QQ, apart from the code under test, then trimmed.
template <class R1, class R2>
Matrix<R1> expectedBasis(const Lattice<R1, R2>& lattice)
{
    Matrix<QQ> product(lattice.B_save);
    for (long i = 1; i <= lattice.TT.dimension(); ++i)
        product = Matrix<QQ>(lattice.TT[i]) * product;
    return lattice.applyScalingAndTranslation(Matrix<R1>(product));
}

// Budgeted reduction calls, each followed by checkpoint(), until every row has passed its
// exchange test; false if that takes more than 400 calls.
template <class R1, class R2>
bool reduce(
    Lattice<R1, R2>& lattice, const std::function<void()>& checkpoint = [] {})
{
    lattice.offerCandidates = false;
    for (long call = 0; call < 400; ++call) {
        lattice.lllStepBudget = 7;
        lattice.lll(1, 0, 0);
        checkpoint();
        const short* words = lattice.rowState.data;
        if (std::all_of(words + 1, words + lattice.dimB + 1,
                        [](short w) { return (w & Lattice<R1, R2>::EXCHANGE_TESTED) != 0; }))
            return true;
    }
    return false;
}

std::string thrownText(const std::function<void()>& action)
{
    try {
        action();
    } catch (const PrecisionException& e) {
        return e.what();
    }
    return "(nothing thrown)";
}

template <class T>
class TransformationCheckpoint : public ::testing::Test {
};
using LatticeTypes =
    ::testing::Types<std::pair<long double, long double>, std::pair<QQ, long double>, std::pair<QQ, QQ>>;
TYPED_TEST_SUITE(TransformationCheckpoint, LatticeTypes);

// A reduction of a trimmed basis in short calls with consistency, a checkpoint after each: B is
// always the trimmed product of the stack and B_save, the stack one matrix, B_save the untrimmed
// B (so that the matrix is the identity); the basis that comes out spans the lattice that went in.
TYPED_TEST(TransformationCheckpoint, EveryCheckpointKeepsBTheProductOfStackAndSave)
{
    using R1 = typename TypeParam::first_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(2); ++round) {
        for (const Matrix<QQ>& input :
             {contract::uniformBasis(random, 6, 8, 10), contract::knapsackBasis(random, 6, 24)}) {
            const Matrix<R1> basis(input);
            Lattice<R1, typename TypeParam::second_type> lattice(&basis);
            lattice.params.consistency = true;
            lattice.setTrimming(true, false);
            lattice.scale(1, R1(2));
            long checkpoints = 0;
            EXPECT_TRUE(reduce(lattice, [&] {
                lattice.checkFixByTransformation(false, ++checkpoints % 2 == 0);
                EXPECT_EQ(lattice.TT.dimension(), 1);
                EXPECT_TRUE(same(lattice.B, expectedBasis(lattice)));
                EXPECT_TRUE(same(lattice.B_save, lattice.removeTranslationAndScaling(lattice.B)));
            }));
            EXPECT_TRUE(contract::transformHolds(contract::exactMatrix(input),
                                                 contract::exactMatrix(lattice.B_save), nullptr));
        }
    }
}

// Faults. With consistency: a row of B changed behind the stack is repaired by the product, a top
// that is not unimodular throws. Without: a basis the stack can't explain (a row off the lattice,
// rows of a sublattice) is rolled back to B_save and consistency goes on until the next
// successful checkpoint.
TYPED_TEST(TransformationCheckpoint, FaultsAreRepairedRolledBackOrThrown)
{
    using R1 = typename TypeParam::first_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const Matrix<R1> basis(contract::uniformBasis(random, 5, 7, 8));
    auto forgotten = [](const auto& lattice) {
        return std::all_of(lattice.rowState.data + 1, lattice.rowState.data + lattice.dimB + 1,
                           [](short w) { return w == 0; });
    };
    for (int fault = 0; fault < 3; ++fault) {
        auto lattice = std::make_unique<Lattice<R1, typename TypeParam::second_type>>(&basis);
        lattice->params.consistency = fault == 0;
        ASSERT_TRUE(reduce(*lattice));
        const Matrix<R1> reduced = lattice->B;
        ASSERT_FALSE(same(reduced, basis));
        if (fault < 2)
            lattice->B[2][3] += R1(1);
        else
            lattice->B[2] += lattice->B[2];
        lattice->checkFixByTransformation(false, true);
        EXPECT_TRUE(forgotten(*lattice));
        if (fault == 0) {
            EXPECT_TRUE(same(lattice->B, reduced));
            lattice->TT[1][1] += lattice->TT[1][1];
            EXPECT_EQ(thrownText([&] { lattice->checkFixByTransformation(false, true); }),
                      "unimodular error");
            continue;
        }
        EXPECT_TRUE(same(lattice->B, basis));
        EXPECT_TRUE(lattice->params.consistency.value && lattice->rollbackEnabled);
        EXPECT_TRUE(reduce(*lattice));
        lattice->checkFixByTransformation(false, true);
        EXPECT_FALSE(lattice->params.consistency.value || lattice->rollbackEnabled);
        EXPECT_TRUE(same(lattice->B, reduced));
    }
}

// With aardal the stack grows only when its top leaves the trusted range of a long double, and B
// stays the product of the whole stack (not of the top alone) with B_save. B_save is a random R
// behind a unimodular mask V with entries in (10^9, 3 10^9]; the top is set to V^-1 and B to R,
// the state a reduction that found R leaves.
TEST(TransformationStack, AardalCheckpointPushesOnlyAnOverflowingTop)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const long d = 6;
    std::uniform_int_distribution<long long> large(1000000001LL, 3000000000LL);
    for (long round = 0; round < test::rounds(3); ++round) {
        Matrix<QQ> mask(d, d), inverse(d, d);
        for (long i = 1; i <= d; ++i)
            mask[i][i] = inverse[i][i] = QQ(1);
        for (long i = 1; i <= d; i += 2) {
            mask[i][i + 1] = QQ(large(random));
            inverse[i][i + 1] = -mask[i][i + 1];
        }
        const Matrix<QQ> inner = contract::uniformBasis(random, d, d + 1, 10);
        const Matrix<long double> basis(mask * inner);
        Lattice<long double, long double> lattice(&basis);
        lattice.params.consistency = true;
        lattice.TT[1] = Matrix<long double>(inverse);
        lattice.B = Matrix<long double>(inner);
        lattice.checkFixByTransformation(true, true);
        ASSERT_EQ(lattice.TT.dimension(), 2);
        EXPECT_TRUE(same(lattice.B_save, basis) && same(lattice.B, inner));
        // Row moves after the push go on the new top; the next checkpoint applies both matrices
        // and, its top within range, pushes none.
        lattice.swapVectors(1, d, false);
        lattice.swapVectors(2, 3, false);
        const Matrix<long double> moved = lattice.B;
        lattice.checkFixByTransformation(true, false);
        EXPECT_EQ(lattice.TT.dimension(), 2);
        EXPECT_TRUE(same(lattice.B, moved) && same(lattice.B, expectedBasis(lattice)));
        EXPECT_TRUE(same(lattice.applyTransformationTo(lattice.B_save), lattice.B));
    }
}

// applyTransformationTo applies the first matrix first, each next one on the left; a push onto
// an identity adds none; an empty basis passes; the messages of values beyond the trusted
// range of a long double.
TEST(TransformationStack, ApplyMultipliesEachNextMatrixOnTheLeft)
{
    const Matrix<QQ> basis("[ [ 1 0 ] [ 0 1 ] ]"), first("[ [ 1 1 ] [ 0 1 ] ]"),
        second("[ [ 1 0 ] [ 2 1 ] ]");
    Lattice<QQ, QQ> lattice(&basis);
    lattice.TT[1] = first;
    lattice.resetTransformationStack(true);
    lattice.resetTransformationStack(true);
    ASSERT_EQ(lattice.TT.dimension(), 2);
    lattice.TT[2] = second;
    const Matrix<QQ> M("[ [ 3 -1 ] [ 4 5 ] ]");
    EXPECT_TRUE(same(lattice.applyTransformationTo(M), second * (first * M)));
    Lattice<QQ, QQ> empty; // nothing to check, nothing to roll back
    empty.params.consistency = true;
    EXPECT_NO_THROW(empty.checkFixByTransformation(false, true));
    EXPECT_FALSE(second * (first * M) == first * (second * M));
    lattice.resetTransformationStack(false);
    EXPECT_EQ(lattice.TT.dimension(), 1);

    const Matrix<long double> large("[ [ 40000 0 ] [ 0 1 ] ]");
    Lattice<long double, long double> machine(&large);
    machine.TT[1] = Matrix<long double>("[ [ 30000 1 ] [ 1 0 ] ]");
    machine.params.consistency = true;
    EXPECT_EQ(thrownText([&] { machine.applyTransformationTo(large); }),
              "Overflow when applying transformation");
    EXPECT_EQ(thrownText([&] { machine.checkFixByTransformation(true, true); }), "transformation overflow");
    machine.B[1][1] = 2e9L;
    EXPECT_EQ(thrownText([&] { machine.checkFixByTransformation(true, true); }), "base matrix overflow");
}

TEST(TransformationStackDeathTest, TwentyMatricesAtMost)
{
    const Matrix<QQ> basis("[ [ 1 0 ] [ 0 1 ] ]");
    Lattice<QQ, QQ> lattice(&basis);
    auto pushOnChangedTop = [&lattice] {
        lattice.TT[lattice.TT.dimension()][1][2] = QQ(1);
        lattice.resetTransformationStack(true);
    };
    for (long matrices = 2; matrices <= 20; ++matrices)
        pushOnChangedTop();
    EXPECT_EQ(lattice.TT.dimension(), 20);
    EXPECT_EXIT(pushOnChangedTop(), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: TT.MN > T_MAT_NBR\n");
    EXPECT_EXIT(lattice.checkFixByTransformation(false, true), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: In the non-aardal case TT.MN should always be == 1\n");
}

} // namespace
} // namespace latopt
