#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/qq.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

std::string optPath(const std::string& name)
{
    return std::string(LATOPT_TEST_DATA) + "/opt/" + name;
}

// The exact standard error of a fatal stop, as an anchored extended regular expression.
std::string failRegex(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return "^\n\\*\\*\\* FAIL: " + escaped + "\n$";
}

void readFile(const std::string& name)
{
    Vorm<QQ> program;
    program.optFile = optPath(name);
    program.readOptFile();
}

Vorm<QQ> readValid(const std::string& name)
{
    Vorm<QQ> program;
    program.optFile = optPath(name);
    program.solFile = "kept.sol";
    program.readOptFile();
    return program;
}

std::string text(const Serializable& object)
{
    return object.toString();
}

// ---- Every check of the reader, each from a file that is valid but for one fault. ----

struct Fault {
    const char* file;
    const char* message;
};

void PrintTo(const Fault& fault, std::ostream* stream)
{
    *stream << fault.file;
}

class OptReaderDeathTest : public testing::TestWithParam<Fault> {};

TEST_P(OptReaderDeathTest, StopsWithTheTextOfTheFirstFailingCheck)
{
    const Fault& fault = GetParam();
    EXPECT_EXIT(readFile(fault.file), testing::ExitedWithCode(1), failRegex(fault.message));
}

INSTANTIATE_TEST_SUITE_P(
    TargetBlocks, OptReaderDeathTest,
    testing::Values(
        Fault{"fault_kt_dimension.opt", "The dimensions of the target properties (kt, dt) differ (2, 1)"},
        Fault{"fault_at_rows.opt", "The row count of At (2) differs with the dimension of dt (1)"},
        Fault{"fault_inf_at.opt", "+-inf not allowed in At"}));

INSTANTIATE_TEST_SUITE_P(
    EquationBlocks, OptReaderDeathTest,
    testing::Values(Fault{"fault_ag_rows.opt",
                          "The row count of Ag (1) differs with the dimension of bg (2)"},
                    Fault{"fault_ag_columns.opt", "The column count of Ag (3) is not right ( != 2 )"},
                    Fault{"fault_inf_bg.opt", "+-inf not allowed in bg"},
                    Fault{"fault_inf_ag.opt", "+-inf not allowed in Ag"}));

INSTANTIATE_TEST_SUITE_P(
    InequationBlocks, OptReaderDeathTest,
    testing::Values(Fault{"fault_au_columns.opt", "The column count of Au (3) is not right ( != 2 )"},
                    Fault{"fault_inf_au.opt", "+-inf not allowed in Au"},
                    Fault{"fault_au_rows.opt",
                          "The row count of Au ( 1) differs with the dimension of lu / ru ( 2)"},
                    Fault{"fault_lu_ru_dimensions.opt", "The dimensions of lu (1) and ru (2) differ"},
                    Fault{"fault_ru_below_lu.opt", "ru has to be >= lu in each of its components"},
                    Fault{"fault_useless_inequation.opt", "Useless inequation -inf <= ... <= inf found"}));

INSTANTIATE_TEST_SUITE_P(
    VariableBlocks, OptReaderDeathTest,
    testing::Values(Fault{"fault_no_variables.opt", "Dimension error -- n == 0"},
                    // At the end of input every further block is empty.
                    Fault{"fault_empty.opt", "Dimension error -- n == 0"},
                    Fault{"fault_ends_after_au.opt", "recheck sdim case and the usage of n (eg. in opt2lat)"},
                    Fault{"fault_rx_short.opt", "recheck sdim case and the usage of n (eg. in opt2lat)"},
                    Fault{"fault_rx_empty.opt", "recheck sdim case and the usage of n (eg. in opt2lat)"},
                    Fault{"fault_rx_long.opt", "The dimension of rx has to be > 0 and < A_{t,u,g}.MN"},
                    Fault{"fault_variable_dimensions.opt",
                          "The dimensions of the solution properties (lx, rx, dx) differ (2, 2, 1)"},
                    Fault{"fault_rx_below_lx.opt", "rx has to be >= lx in each of its components"}));

// Two faults in one file: the check that runs first wins.
INSTANTIATE_TEST_SUITE_P(CheckOrder, OptReaderDeathTest,
                         testing::Values(Fault{"order_inf_at_before_bad_rx.opt", "+-inf not allowed in At"},
                                         Fault{"order_bg_before_ag_in_row.opt", "+-inf not allowed in bg"},
                                         Fault{"order_ag_row_before_next_bg.opt", "+-inf not allowed in Ag"},
                                         Fault{"order_useless_before_unordered.opt",
                                               "Useless inequation -inf <= ... <= inf found"}));

TEST(OptReaderFileDeathTest, MissingFileStopsWithItsName)
{
    const std::string missing = optPath("no_such_file.opt");
    EXPECT_EXIT(readFile("no_such_file.opt"), testing::ExitedWithCode(1),
                failRegex("Could not read opt file: " + missing));
}

// ---- Valid files. ----

TEST(OptReaderValidFiles, ExampleOfTheFormat)
{
    const Vorm<QQ> program = readValid("example.opt");
    EXPECT_EQ(program.optFile, optPath("example.opt"));
    EXPECT_EQ(program.solFile, "kept.sol");
    EXPECT_EQ(text(program.dt), "[ -inf ]");
    EXPECT_EQ(text(program.kt), "[ -inf ]");
    EXPECT_EQ(text(program.At), "[\n[ 1 2 ]\n]");
    EXPECT_EQ(text(program.Ag), "[\n[ 1 1 ]\n]");
    EXPECT_EQ(text(program.bg), "[ 5 ]");
    EXPECT_EQ(text(program.Au), "[\n[ 1 -1 ]\n]");
    EXPECT_EQ(text(program.lu), "[ 1 ]");
    EXPECT_EQ(text(program.ru), "[ inf ]");
    EXPECT_EQ(text(program.dx), "[ 0 0 ]");
    EXPECT_EQ(text(program.lx), "[ 0 0 ]");
    EXPECT_EQ(text(program.rx), "[ 10 inf ]");
    EXPECT_EQ(text(program.freedomDegrees), "[ 0 2 ]");
    EXPECT_FALSE(program.finiteTargetsOnly);
    EXPECT_FALSE(program.slackified);
    EXPECT_EQ(program.ltu, -Constant<QQ>::INF());
    EXPECT_EQ(program.rtu, Constant<QQ>::INF());
    EXPECT_EQ(program.tu, 0);
    EXPECT_EQ(program.atu.dimension(), 0);
}

TEST(OptReaderValidFiles, KnownTargetValuesAndFractions)
{
    const Vorm<QQ> program = readValid("known_targets.opt");
    EXPECT_EQ(text(program.dt), "[ 3 inf ]");
    EXPECT_EQ(text(program.kt), "[ 7 -2/3 ]");
    EXPECT_EQ(program.At.rowCount, 2);
    EXPECT_EQ(program.At.colCount, 3);
    EXPECT_EQ(program.Ag.rowCount, 0);
    EXPECT_EQ(program.Au.rowCount, 0);
    EXPECT_EQ(text(program.lx), "[ -inf 0 1/2 ]");
    EXPECT_EQ(text(program.rx), "[ 4 inf 2:1/2 ]");
    EXPECT_EQ(text(program.freedomDegrees), "[ 1 2 0 ]");
    EXPECT_FALSE(program.finiteTargetsOnly);
}

TEST(OptReaderValidFiles, ProgramWithoutTargetsTakesItsVariablesFromAu)
{
    const Vorm<QQ> program = readValid("no_targets.opt");
    EXPECT_EQ(program.dt.dimension(), 0);
    EXPECT_EQ(program.kt.dimension(), 0);
    EXPECT_EQ(program.At.rowCount, 0);
    EXPECT_EQ(program.atu.dimension(), 0);
    EXPECT_TRUE(program.finiteTargetsOnly);
    EXPECT_EQ(program.Au.rowCount, 2);
    EXPECT_EQ(text(program.lu), "[ -inf 0 ]");
    EXPECT_EQ(text(program.freedomDegrees), "[ 3 0 ]");
}

TEST(OptReaderValidFiles, CommentsMayStandWhereverSeparatorsMay)
{
    const Vorm<QQ> program = readValid("comments.opt");
    EXPECT_EQ(text(program.dt), "[ 3 ]");
    EXPECT_EQ(text(program.kt), "[ 7 ]");
    EXPECT_EQ(text(program.At), "[\n[ 1 2 ]\n]");
    EXPECT_EQ(program.Ag.rowCount, 0);
    EXPECT_EQ(program.bg.dimension(), 0);
    EXPECT_EQ(text(program.Au), "[\n[ 1 -1 ]\n]");
    EXPECT_EQ(text(program.lu), "[ -inf ]");
    EXPECT_EQ(text(program.ru), "[ 0 ]");
    EXPECT_EQ(text(program.rx), "[ 1 1 ]");
    EXPECT_TRUE(program.finiteTargetsOnly);
}

TEST(OptReaderValidFiles, ReadingAgainReplacesEverythingButTheFileNames)
{
    Vorm<QQ> program = readValid("known_targets.opt");
    program.constantVariables(4) = QQ(9);
    program.stars.setDimension(2);
    program.slackified = true;
    program.ltu = QQ(-3);
    program.optFile = optPath("example.opt");
    program.readOptFile();
    EXPECT_EQ(program.solFile, "kept.sol");
    EXPECT_EQ(text(program.dt), "[ -inf ]");
    EXPECT_EQ(text(program.lu), "[ 1 ]");
    EXPECT_EQ(program.constantVariables.dimension(), 0);
    EXPECT_EQ(program.stars.dimension(), 0);
    EXPECT_FALSE(program.slackified);
    EXPECT_EQ(program.ltu, -Constant<QQ>::INF());
}

// ---- Random programs written in the text form read back unchanged. ----

std::string qqText(const QQ& x)
{
    std::ostringstream stream;
    stream << x;
    return stream.str();
}

std::string randomNumber(std::mt19937_64& random)
{
    std::uniform_int_distribution<long> numerator(-30, 30);
    std::uniform_int_distribution<long> denominator(1, 6);
    return qqText(QQ(ZZ(numerator(random)), ZZ(denominator(random))));
}

TEST(OptReaderRoundTrip, WrittenBlocksReadBackUnchanged)
{
    const char* seedText = std::getenv("LATOPT_TEST_SEED");
    const unsigned long long seed = seedText != nullptr ? std::strtoull(seedText, nullptr, 10) : 20261121ULL;
    SCOPED_TRACE("seed " + std::to_string(seed) + " (LATOPT_TEST_SEED to replay)");
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<int> count(0, 3);
    std::uniform_int_distribution<int> coin(0, 3);
    for (int round = 0; round < 40; ++round) {
        const long n = 1 + count(random);
        const int targets = count(random), equations = count(random);
        const int inequations = targets + equations == 0 ? 1 + count(random) : count(random);
        std::ostringstream file;
        auto vector = [&](int length, auto entry) {
            file << "[ ";
            for (int i = 1; i <= length; ++i)
                file << entry(i) << " ";
            file << "]\n";
        };
        auto matrix = [&](int rows) {
            file << "[\n";
            for (int r = 1; r <= rows; ++r)
                vector(static_cast<int>(n), [&](int) { return randomNumber(random); });
            file << "]\n";
        };
        auto finite = [&](int) { return randomNumber(random); };
        vector(targets, [&](int) -> std::string { return coin(random) == 0 ? finite(0) : "-inf"; });
        if (coin(random) == 0) {
            file << "= ";
            vector(targets, finite);
        }
        matrix(targets);
        matrix(equations);
        vector(equations, finite);
        matrix(inequations);
        // Each inequation gets at least one finite bound, and lu <= ru.
        std::vector<std::string> left(inequations + 1), right(inequations + 1);
        for (int i = 1; i <= inequations; ++i) {
            const QQ a = QQ(randomNumber(random).c_str()), b = QQ(randomNumber(random).c_str());
            left[i] = qqText(a < b ? a : b);
            right[i] = qqText(a < b ? b : a);
            if (coin(random) == 0)
                left[i] = "-inf";
            else if (coin(random) == 0)
                right[i] = "inf";
        }
        vector(inequations, [&](int i) { return left[i]; });
        vector(inequations, [&](int i) { return right[i]; });
        vector(static_cast<int>(n), [&](int) { return std::to_string(count(random)); });
        vector(static_cast<int>(n), [&](int) -> std::string { return coin(random) == 0 ? "-inf" : "-7"; });
        vector(static_cast<int>(n), [&](int) -> std::string { return coin(random) == 0 ? "inf" : "7/2"; });

        std::istringstream in(file.str());
        Vorm<QQ> program;
        in >> program;
        SCOPED_TRACE(file.str());
        std::ostringstream rewritten;
        const Serializable* blocks[] = {&program.dt, &program.At, &program.Ag, &program.bg,
                                        &program.Au, &program.lu, &program.ru};
        for (const Serializable* block : blocks)
            rewritten << block->toString() << "\n";
        rewritten << program.dx.toString() << "\n"
                  << program.lx.toString() << "\n"
                  << program.rx.toString() << "\n";
        std::istringstream again(rewritten.str());
        Vorm<QQ> reread;
        again >> reread;
        EXPECT_EQ(reread.dt.toString(), program.dt.toString());
        EXPECT_EQ(reread.At.toString(), program.At.toString());
        EXPECT_EQ(reread.Ag.toString(), program.Ag.toString());
        EXPECT_EQ(reread.bg.toString(), program.bg.toString());
        EXPECT_EQ(reread.Au.toString(), program.Au.toString());
        EXPECT_EQ(reread.lu.toString(), program.lu.toString());
        EXPECT_EQ(reread.ru.toString(), program.ru.toString());
        EXPECT_EQ(reread.rx.toString(), program.rx.toString());
        EXPECT_EQ(reread.freedomDegrees.toString(), program.freedomDegrees.toString());
        // The dimensions and degrees follow from the data, not from the text's layout.
        EXPECT_EQ(program.lx.dimension(), n);
        EXPECT_EQ(program.kt.dimension(), targets);
        for (long j = 1; j <= n; ++j)
            EXPECT_EQ(program.freedomDegrees[j],
                      2 * (program.rx[j] == Constant<QQ>::INF()) + (program.lx[j] == -Constant<QQ>::INF()));
    }
}

} // namespace
} // namespace latopt
