#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "program/program_text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <utility>

namespace latopt {
namespace {

using testing_support::describe;

template <class T>
class VormTyped : public testing::Test {
};
using NumberTypes = testing::Types<long double, QQ>;
TYPED_TEST_SUITE(VormTyped, NumberTypes);

// Reads each block from the text after it.
template <class... Rest>
void read(Serializable& block, const char* text, Rest&&... rest)
{
    std::istringstream stream(text);
    block.unserialize(stream);
    if constexpr (sizeof...(rest) > 0) read(rest...);
}

// Every member away from its reset state; in long double all values are exact.
template <class T>
void fill(Vorm<T>& p)
{
    p.optFile = "a.opt";
    p.solFile = "a.sol";
    read(p.dt, "[ -inf inf ]", p.kt, "[ 4 -inf ]", p.At, "[ [ 1 2 ] [ 0 -1 ] ]", p.atu, "[ 1 3 ]", p.bg,
         "[ 5 ]", p.lu, "[ -inf ]", p.ru, "[ 1.75 ]", p.Ag, "[ [ 1 1 ] ]", p.Au, "[ [ 1 -1 ] ]", p.dx,
         "[ 0 2 ]", p.lx, "[ -inf 0 ]", p.rx, "[ 10 inf ]", p.freedomDegrees, "[ 1 2 ]",
         p.swappedHalfFreeVariables, "[ 2 ]");
    p.ltu = T(-3L);
    p.rtu = T(12L);
    p.tu = 1;
    p.stars.setDimension(1);
    std::stringstream line("[ 1 -0.5 ] | 3 | [ 3 inf ] | 0.25 | 17 | --beta=20 | 2.2.3");
    p.stars[1].fromStream(line);
    p.stars[1].isNew = false;
    p.constantVariables(3) = T(-5L) / T(2L);
    p.constantVariables(1) = -Constant<T>::INF();
    p.finiteTargetsOnly = false;
    p.slackInequationCount = 1;
    p.slackTargetVariableCount = 2;
    p.pendingSolutionWrite = p.pendingSolutionStats = p.slackified = true;
}

TYPED_TEST(VormTyped, ResetKeepsTheFileNamesOnRequestAndNothingElse)
{
    using T = TypeParam;
    const Vorm<T> fresh;
    Vorm<T> expected;
    expected.optFile = "a.opt";
    expected.solFile = "a.sol";
    Vorm<T> program;
    fill(program);
    program.resetVorm(true);
    EXPECT_EQ(describe(program), describe(expected));
    fill(program);
    program.resetVorm(false);
    EXPECT_EQ(describe(program), describe(fresh));
    // resetTargets leaves the rest alone; without targets all targets are finite.
    fill(program);
    program.resetTargets();
    EXPECT_TRUE(program.finiteTargetsOnly);
    EXPECT_EQ(program.At.rowCount + program.atu.dimension() + program.dt.dimension(), 0);
    EXPECT_EQ(program.ltu, -Constant<T>::INF());
    EXPECT_EQ(program.bg.dimension(), 1);
}

TEST(VormAssign, ExactProgramSurvivesTheWayDownAndBack)
{
    Vorm<QQ> exact;
    fill(exact);
    Vorm<long double> standard;
    standard._assign(exact);
    // The infinities arrive as those of long double, everything else as filled in long double.
    Vorm<long double> filled;
    fill(filled);
    EXPECT_EQ(describe(standard), describe(filled));
    EXPECT_EQ(standard.constantVariables[2].right, -Constant<long double>::INF());
    Vorm<QQ> back;
    back._assign(standard);
    EXPECT_EQ(describe(back), describe(exact));
    // An empty program crosses as one, bounds at infinity included.
    standard._assign(Vorm<QQ>());
    EXPECT_EQ(describe(standard), describe(Vorm<long double>()));
}

TEST(VormAssign, BoundOnTheTargetSumMustCrossFaithfully)
{
    Vorm<QQ> exact;
    exact.rtu = QQ("1/3");
    Vorm<long double> standard;
    EXPECT_THROW(standard._assign(exact), PrecisionException);
    // Array data may be rounded: its conversion flags are off.
    exact.rtu = QQ(5);
    read(exact.lu, "[ 1/3 ]");
    standard._assign(exact);
    EXPECT_NEAR(static_cast<double>(standard.lu[1]), 1.0 / 3.0, 1e-15);
    // Upward nothing throws.
    standard.rtu = 0.1L;
    EXPECT_NO_THROW(exact._assign(standard));
    EXPECT_EQ(exact.rtu, QQ("1/10"));
}

TEST(VormAssign, CopiesKeepTheirOwnBounds)
{
    Vorm<QQ> program;
    fill(program);
    const std::string filled = describe(program);
    program._assign(program);
    EXPECT_EQ(describe(program), filled);
    Vorm<QQ> copy(program);
    program.ltu = QQ(-100);
    EXPECT_EQ(copy.ltu, QQ(-3));
    EXPECT_EQ(&copy.rtu, &copy.lrtu.right);
    Vorm<QQ> moved(std::move(copy));
    EXPECT_EQ(&moved.ltu, &moved.lrtu.left);
    Vorm<QQ> assigned;
    assigned = std::move(moved);
    EXPECT_EQ(describe(assigned), filled);
    assigned = program;
    EXPECT_EQ(assigned.ltu, QQ(-100));
}

TEST(FreedomDegreeText, NumbersZeroToThreeAndNothingElse)
{
    SerializableArray<FreedomDegree> degrees;
    read(degrees, "[ 3 0 2 1 ]");
    EXPECT_EQ(degrees.toString(), "[ 3 0 2 1 ]");
    EXPECT_EQ(degrees[1], FREE);
    for (const char* bad : {"4", "-1", "x"}) {
        FreedomDegree degree = RIGHT_FREE;
        std::istringstream single(bad);
        single >> degree;
        EXPECT_TRUE(single.fail()) << bad;
        EXPECT_EQ(degree, RIGHT_FREE) << bad;
    }
}

} // namespace
} // namespace latopt
