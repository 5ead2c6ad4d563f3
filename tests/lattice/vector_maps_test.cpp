#include "lattice/lattice.h"

#include "arith/qq.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

namespace latopt {
namespace {

using L = Lattice<QQ, QQ>;

// min x1 + x2 with x1 in [0, 2] and x2 in [0, 2] in tenths, -1 <= x1 - x2 <= 1. (The round trip of
// every feasible point of random programs is tested with the embedding.)
std::unique_ptr<L> embeddedExample()
{
    Vorm<QQ> read;
    std::istringstream stream(
        "[ -inf ] [ [ 1 1 ] ] [ ] [ ] [ [ 1 -1 ] ] [ -1 ] [ 1 ] [ 0 1 ] [ 0 0 ] [ 2 2 ]");
    stream >> read;
    auto lattice = std::make_unique<L>();
    lattice->unprepared._assign(read);
    lattice->unprepared.slackStage(false, false);
    static_cast<Vorm<QQ>&>(*lattice)._assign(lattice->unprepared);
    lattice->prepareVorm(false);
    lattice->opt2lat();
    return lattice;
}

TargetVector<QQ> found(const L& lattice, const char* x, long seconds, bool negated = false)
{
    TargetVector<QQ> vector;
    Vector<QQ> v;
    lattice.opt2lat(Vector<QQ>(x), v, false);
    static_cast<Vector<QQ>&>(vector) = negated ? -v : v;
    vector.secondsUntilDiscovered = seconds;
    return vector;
}

TEST(VectorMaps, MarkerOfAnotherSizeGivesStatusMinusOne)
{
    const auto lattice = embeddedExample();
    Vector<QQ> v, x;
    lattice->opt2lat(Vector<QQ>("[ 1 1/2 ]"), v, false);
    for (const QQ& marker : {QQ(0L), QQ(2L), QQ(-2L)}) {
        v[lattice->dimN] = marker;
        EXPECT_EQ(lattice->lat2opt(v, x, true, false), -1) << marker;
    }
}

TEST(VectorMaps, ProgramOfConstantsMapsTheMarkerToThem)
{
    auto lattice = std::make_unique<L>();
    std::istringstream stream("[ -inf ] [ [ 1 1 ] ] [ ] [ ] [ ] [ ] [ ] [ 0 1 ] [ 2 0.5 ] [ 2 0.5 ]");
    stream >> lattice->unprepared;
    lattice->unprepared.slackStage(false, false);
    static_cast<Vorm<QQ>&>(*lattice)._assign(lattice->unprepared);
    lattice->prepareVorm(false);
    lattice->opt2lat();
    ASSERT_EQ(lattice->dimN, 1);
    Vector<QQ> x("[ 7 7 7 ]");
    EXPECT_EQ(lattice->lat2opt(Vector<QQ>("[ 1 ]"), x, true, false), 1);
    EXPECT_EQ(x, Vector<QQ>("[ 2 1/2 ]"));
}

// bestTarget is index 0; a found vector and its negative are the same solution; records sorted by
// target norm, the figures those of the file's program.
TEST(VectorMaps, Sol2starTurnsFoundVectorsIntoSortedDistinctRecords)
{
    const auto lattice = embeddedExample();
    lattice->bestTarget = found(*lattice, "[ 1 1/2 ]", 7);
    lattice->solutions.setDimension(2, false);
    lattice->solutions[1] = found(*lattice, "[ 0 3/10 ]", 9);
    lattice->solutions[2] = found(*lattice, "[ 1 1/2 ]", 7, true);
    lattice->sol2star();
    ASSERT_EQ(lattice->stars.dimension(), 2);
    EXPECT_EQ(static_cast<const Vector<QQ>&>(lattice->stars[1]), Vector<QQ>("[ 0 3/10 ]"));
    EXPECT_EQ(lattice->stars[1].targetNorm, QQ("3/10"));
    EXPECT_EQ(lattice->stars[1].targetValues, Vector<QQ>("[ 3/10 ]"));
    EXPECT_EQ(lattice->stars[1].secondsUntilDiscovered, 9);
    EXPECT_EQ(lattice->stars[1].version, "2.2.3");
    EXPECT_EQ(static_cast<const Vector<QQ>&>(lattice->stars[2]), Vector<QQ>("[ 1 1/2 ]"));
    EXPECT_EQ(lattice->stars[2].targetNorm, QQ("3/2"));
}

// The kernel stage (equation columns first) of x1 + 2 x2 >= 2 and x1 - x2 near 1: the slack of the
// inequation and the pair of the target are filled in from the file's x so that the prepared
// equations hold (their columns are 0); the pair has one zero entry, the first taking the negative
// side; a negative slack (x1 + 2 x2 < 2) is kept.
TEST(VectorMaps, SlackValuesMeetThePreparedEquations)
{
    auto lattice = std::make_unique<L>();
    std::istringstream stream("[ 1 ] [ [ 1 -1 ] ] [ ] [ ] [ [ 1 2 ] ] [ 2 ] [ inf ] [ 0 0 ] [ 0 0 ] [ 3 2 ]");
    stream >> lattice->unprepared;
    lattice->unprepared.slackStage(false, false);
    static_cast<Vorm<QQ>&>(*lattice)._assign(lattice->unprepared);
    lattice->prepareVorm(false);
    lattice->prepareLattice(true);
    ASSERT_EQ(lattice->checkVectorsState, 1);
    ASSERT_EQ(lattice->Ag.rowCount, 2);
    for (long x1 = 0; x1 <= 3; ++x1)
        for (long x2 = 0; x2 <= 2; ++x2) {
            const Vector<QQ> x(("[ " + std::to_string(x1) + " " + std::to_string(x2) + " ]").c_str());
            Vector<QQ> v, back;
            lattice->opt2lat(x, v, false);
            EXPECT_EQ(v[1], QQ(0L)) << x;
            EXPECT_EQ(v[2], QQ(0L)) << x;
            ASSERT_EQ(lattice->lat2opt(v, back, true, true), 1);
            const QQ deviation(x1 - x2 - 1);
            const QQ zero(0L);
            EXPECT_EQ(back, Vector<QQ>(("[ " + std::to_string(x1) + " " + std::to_string(x2) + " " +
                                        std::to_string(x1 + 2 * x2 - 2) + " " +
                                        std::to_string(deviation < zero ? 1 - x1 + x2 : 0) + " " +
                                        std::to_string(deviation < zero ? 0 : x1 - x2 - 1) + " ]")
                                           .c_str()));
        }
}

TEST(VectorMapsDeathTest, UnbuiltLatticeAndWrongMarkerStop)
{
    L empty;
    Vector<QQ> x;
    EXPECT_EXIT(empty.lat2opt(Vector<QQ>("[ 1 ]"), x, true, false), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: lat2opt called with uninitialized check vectors!");
    EXPECT_EXIT(empty.opt2lat(Vector<QQ>("[ 1 ]"), x, false), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: opt2lat called with uninitialized check vectors!");
    const auto lattice = embeddedExample();
    lattice->solutions.setDimension(1, false);
    lattice->solutions[1] = found(*lattice, "[ 1 1/2 ]", 7);
    lattice->solutions[1][lattice->dimN] = QQ(2L);
    EXPECT_EXIT(lattice->sol2star(), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: sol2star: lat2opt can not compute x_opt");
}

} // namespace
} // namespace latopt
