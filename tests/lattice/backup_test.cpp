#include "found_vectors.h"
#include "lattice/lattice.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <random>
#include <tuple>

namespace latopt {
namespace {

template <class L>
class BackupTyped : public testing::Test {
};
using LatticeTypes = testing::Types<Lattice<QQ, QQ>, Lattice<long double, long double>>;
TYPED_TEST_SUITE(BackupTyped, LatticeTypes);

template <class Set>
std::multiset<std::string> contents(const Set& set)
{
    std::multiset<std::string> texts;
    for (auto* element = set.first; element != nullptr; element = element->next)
        texts.insert(test::text(*element));
    return texts;
}

// Without a basis any check would be fatal: backups of every type and setDims run none, and hold
// the program's records aside and put them back.
TEST(BackupEmptyLattice, BackupAndRestoreChangeNothingAndCheckNothing)
{
    using L = Lattice<QQ, QQ>;
    L lattice;
    Star<QQ> star;
    static_cast<Vector<QQ>&>(star) = Vector<QQ>("[ 1 2 ]");
    lattice.stars.pushBack(star);
    for (const auto type : {L::BACKUP_PADDED, L::BACKUP_LSHIFT, L::BACKUP_COORDINATES, L::BACKUP_PROGRAM}) {
        Array<Star<QQ>> stars;
        Array<TimeVector<QQ>> vectors;
        L::CollectionSet set1, set2;
        lattice.backupAndResetBestSieveVectors(type, stars, vectors, set1, set2, 1);
        EXPECT_EQ(std::make_tuple(lattice.stars.dimension(), stars.dimension(), vectors.dimension()),
                  std::make_tuple(0L, 1L, 0L));
        lattice.restoreBestSieveBackups(stars, vectors, set1, set2, type);
        lattice.setDims(0, 0, false);
        ASSERT_EQ(lattice.stars.dimension(), 1);
        EXPECT_EQ(lattice.stars[1].toString(), star.toString());
    }
}

// Random points offered to the gate: the solutions (with their times), the best vector outside
// the bounds, the collection sets and the records come back unchanged from a backup of their
// coordinates after B was reduced, and from setDims, without being counted again as new finds.
// With the bound of x1 tightened between backup and restore, exactly the solutions beyond it go.
TYPED_TEST(BackupTyped, FoundVectorsSurviveAndAreProvedAgain)
{
    using L = TypeParam;
    using R1 = decltype(std::declval<L>().R);
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 1; round <= test::rounds(4); ++round) {
        auto lattice = test::embeddedSmallProgram<L>();
        lattice->params.pair = true; // the gate collects what it is offered
        std::vector<test::Point> points(10);
        for (auto& x : points)
            x = {static_cast<long>(random() % 4), static_cast<long>(random() % 4),
                 static_cast<long>(random() % 4)};
        test::offerAll(*lattice, points);
        for (long i = 2; i <= lattice->dimB; ++i) // the variables' rows, homogenous
            lattice->collect(lattice->B_save[i], nullptr, nullptr);
        Star<R1> star;
        static_cast<Vector<R1>&>(star) = Vector<R1>("[ 1 1 1 ]");
        lattice->stars.pushBack(star);
        const auto expected = test::expectedPoints(points, test::feasible);
        const auto state = [&] {
            return std::vector<std::multiset<std::string>>{
                test::solutionPoints(*lattice),
                contents(lattice->goodVectors),
                contents(lattice->bestVectors),
                {test::text(lattice->bestVector) + "@ " +
                     std::to_string(lattice->bestVector.secondsUntilDiscovered),
                 lattice->stars[1].toString(), std::to_string(lattice->stars.dimension())}};
        };
        const auto before = state();
        ASSERT_EQ(before[0], expected);
        lattice->offerCandidates = false;
        lattice->lll(1, 0, 0);
        Array<Star<R1>> stars;
        Array<TimeVector<R1>> vectors;
        typename L::CollectionSet set1, set2;
        for (const bool tighten : {false, true}) {
            const long counted = L::statistics.b;
            lattice->backupAndResetBestSieveVectors(L::BACKUP_COORDINATES, stars, vectors, set1, set2, 0);
            EXPECT_EQ(lattice->solutions.dimension() + lattice->goodVectors.size, 0);
            const long column = lattice->dimN - lattice->freedomDegrees.dimension(); // that of x1
            if (tighten) lattice->r[column] = test::latticeVector(*lattice, {1, 0, 0})[column];
            lattice->restoreBestSieveBackups(stars, vectors, set1, set2, L::BACKUP_COORDINATES);
            EXPECT_FALSE(L::statistics.restoring);
            EXPECT_EQ(L::statistics.b, counted);
            if (!tighten) {
                EXPECT_EQ(state(), before);
                lattice->setDims(lattice->dimB, lattice->dimN, false);
                EXPECT_EQ(state(), before);
            }
            stars.setDimension(0, false);
            vectors.setDimension(0, false);
            set1.clear();
            set2.clear();
        }
        EXPECT_EQ(test::solutionPoints(*lattice), test::expectedPoints(points, [](const test::Point& x) {
                      return test::feasible(x) && x[0] <= 1;
                  }));
    }
}

// In the stage of the equations (x1 + x2 = 2 added) a point is only recorded, as the best vector.
// The shift that drops the equation column carries it over and proves it again (restoring: not
// counted as a first find again) when it meets the equation; one that breaks it is no vector of
// the shifted lattice any more and is dropped.
TYPED_TEST(BackupTyped, BestVectorCrossesTheShiftOfTheEquationColumns)
{
    using L = TypeParam;
    for (const bool meetsEquation : {true, false}) {
        auto lattice = test::preparedSmallProgram<L>("[ ] [ ]", "[ [ 1 1 0 ] ] [ 2 ]");
        lattice->prepareLattice(true);
        lattice->aardalReduce();
        lattice->bestVector.resetAllMembers(); // whatever the reduction met
        const test::Point x = meetsEquation ? test::Point{1, 1, 3} : test::Point{2, 1, 0};
        lattice->checkSolution(test::latticeVector(*lattice, x), false, 5, false);
        ASSERT_EQ(test::text(lattice->bestVector), test::text(test::latticeVector(*lattice, x)));
        const long firstFinds = L::statistics.c;
        lattice->lshiftLattice(-1);
        ASSERT_EQ(lattice->dimN, 4);
        EXPECT_EQ(test::text(lattice->bestVector) + "@ " +
                      std::to_string(lattice->bestVector.secondsUntilDiscovered),
                  meetsEquation ? test::text(test::latticeVector(*lattice, x)) + "@ 5" : "@ -1");
        EXPECT_EQ(L::statistics.c, firstFinds);
        EXPECT_FALSE(L::statistics.restoring);
    }
}

// A new embedding of the same program, after the basis was reduced, keeps every solution found in
// the old lattice, with and without the stage of an equation.
TYPED_TEST(BackupTyped, SolutionsCrossANewEmbedding)
{
    using L = TypeParam;
    for (const char* equations : {"[ ] [ ]", "[ [ 1 1 0 ] ] [ 2 ]"}) {
        SCOPED_TRACE(equations);
        auto lattice = test::embeddedSmallProgram<L>("[ ] [ ]", equations);
        lattice->params.hostedRun = true;
        test::offerAll(*lattice, {{1, 1, 0}, {2, 0, 3}, {0, 2, 1}, {3, 3, 0}});
        lattice->offerCandidates = false;
        lattice->lll(1, 0, 0);
        const auto before = test::solutionPoints(*lattice);
        lattice->opt2lat();
        const auto after = test::solutionPoints(*lattice);
        EXPECT_TRUE(std::includes(after.begin(), after.end(), before.begin(), before.end()))
            << ::testing::PrintToString(before) << "\n"
            << ::testing::PrintToString(after);
    }
}

} // namespace
} // namespace latopt
