// latopt-reduce end to end: its output, read back, satisfies the reduction contract (exact checker,
// lattice/lll_contract.h) on seeded random bases in every mode; bad input and options end with
// one clear line and status 1.
#include "lattice/lll_contract.h"
#include "tool/tool_run.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

using lll_contract::Rows;
using testing_tool::ToolRun;

std::string fplllText(const Matrix<QQ>& basis)
{
    std::ostringstream text;
    text << "[";
    for (long i = 1; i <= basis.rowCount; ++i) {
        text << "[";
        for (long j = 1; j <= basis.colCount; ++j)
            text << basis[i][j] << (j < basis.colCount ? " " : "]\n");
    }
    text << "]\n";
    return text.str();
}

// The output form, strictly: "[[", rows of integers each closed by "]" and a line feed, "]\n".
Rows readRows(const std::string& text)
{
    Rows rows;
    EXPECT_EQ(text.substr(0, 1), "[") << text;
    EXPECT_EQ(text.substr(text.size() < 2 ? 0 : text.size() - 2), "]\n") << text;
    std::istringstream lines(text.substr(1, text.size() < 3 ? 0 : text.size() - 3));
    std::string line;
    while (std::getline(lines, line)) {
        EXPECT_TRUE(line.size() >= 2 && line.front() == '[' && line.back() == ']') << line;
        std::istringstream numbers(line.substr(1, line.size() - 2));
        rows.emplace_back();
        for (std::string number; numbers >> number;) {
            EXPECT_EQ(number.find_first_not_of("-0123456789"), std::string::npos) << number;
            rows.back().emplace_back(number.c_str());
        }
    }
    return rows;
}

class LatoptReduce : public testing_tool::ToolSandbox {
protected:
    ToolRun reduce(std::vector<std::string> arguments, const std::string& input)
    {
        arguments.insert(arguments.begin(), "latopt-reduce");
        return testing_tool::runBinary(LATOPT_REDUCE_BINARY, arguments, directory, &input);
    }
};

TEST_F(LatoptReduce, OutputSatisfiesTheContractInEveryMode)
{
    const unsigned long long seed = test::testSeed();
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(1); ++round) {
        // Long double, long double with a 100-bit start (exact lattice data), and square q-ary.
        const std::vector<Matrix<QQ>> bases = {
            lll_contract::knapsackBasis(random, 10, 30), lll_contract::knapsackBasis(random, 8, 100),
            lll_contract::qaryBasis(random, 12, 6, 33554393), lll_contract::uniformBasis(random, 7, 9, 12)};
        for (const Matrix<QQ>& basis : bases) {
            const Rows in = lll_contract::exactMatrix(basis);
            for (const std::vector<std::string>& mode : std::vector<std::vector<std::string>>{
                     {}, {"--deep"}, {"--exact"}, {"--deep=3", "--exact"}}) {
                const bool exact = !mode.empty() && mode.back() == "--exact",
                           deep = !mode.empty() && mode[0] != "--exact";
                std::vector<std::string> arguments = mode;
                arguments.push_back("--transform=u.txt");
                const ToolRun run = reduce(arguments, fplllText(basis));
                ASSERT_EQ(run.status, 0) << run.err;
                const Rows u = readRows(read("u.txt"));
                lll_contract::Options options;
                options.tolerant = !exact;
                options.deep = deep;
                EXPECT_TRUE(lll_contract::lllContract(in, readRows(run.out), &u, options))
                    << "mode " << testing::PrintToString(mode) << "\n"
                    << fplllText(basis) << test::seedTrace(seed);
            }
        }
    }
}

TEST_F(LatoptReduce, DependentInputWarnsAndKeepsItsLattice)
{
    write("basis.txt", "[[2 4] [3 6]\n [1 1]]");
    const ToolRun run = reduce({"--transform=u.txt", "basis.txt"}, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.err.find("basis.txt: the basis has dependent rows"), std::string::npos) << run.err;
    const Rows in = {{QQ(2), QQ(4)}, {QQ(3), QQ(6)}, {QQ(1), QQ(1)}}, u = readRows(read("u.txt"));
    const Rows out = readRows(run.out);
    EXPECT_TRUE(lll_contract::transformHolds(in, out, &u, true));
    EXPECT_TRUE(lll_contract::reducedHolds(in, out, lll_contract::Options{true, false, 2}));
}

TEST_F(LatoptReduce, BudgetStopsEarlyInTheSameLattice)
{
    std::mt19937_64 random(test::testSeed());
    const Matrix<QQ> basis = lll_contract::knapsackBasis(random, 12, 30);
    const ToolRun run = reduce({"--budget=1"}, fplllText(basis));
    ASSERT_EQ(run.status, 0) << run.err;
    const Rows out = readRows(run.out);
    EXPECT_TRUE(lll_contract::transformHolds(lll_contract::exactMatrix(basis), out, nullptr));
    EXPECT_FALSE(lll_contract::reducedHolds({}, out, lll_contract::Options{true, false, 0}));
}

TEST_F(LatoptReduce, BadInputAndOptionsStopWithOneLine)
{
    const std::string usage =
        "Usage: latopt-reduce [--deep] [--exact] [--transform=FILE] [--budget=N] [FILE]";
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "standard input: empty input: no basis"},
        {{"-", "--stdin"}, "unknown option \"--stdin\" (" + usage + ")"},
        {{"a", "b"}, "more than one input file (" + usage + ")"},
        {{"missing.txt"}, "missing.txt: cannot be read (No such file or directory)"},
        {{"--delta=0.99"}, "\"--delta=0.99\": only the exchange factor 0.999999999 is supported"},
        {{"--budget=0"}, "\"--budget=0\": a whole number >= 1 is needed (" + usage + ")"},
    };
    for (const auto& [arguments, message] : cases) {
        const ToolRun run = reduce(arguments, " \n");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "latopt-reduce: " + message + "\n");
        EXPECT_EQ(run.out, "");
    }
    const std::vector<std::pair<std::string, std::string>> texts = {
        {"[[1 2]\n [3 x4]]", "line 2: \"x4\" is not an integer"},
        {"[[1 2] [3.5 4]]", "line 1: \"3.5\" is not an integer"},
        {"[[1 2]\n\n[3]]", "line 3: row 2 has 1 entry, row 1 has 2 entries"},
        {"[[1 2] [3 4]", "the text ends inside the basis (a \"]\" is missing)"},
        {"[[1 2]] [[3 4]]", "line 1: text after the basis: \"[\""},
        {"1 2", "line 1: a basis begins with \"[\", not \"1\""},
        {"[]", "the basis has no rows"},
    };
    for (const auto& [text, message] : texts) {
        write("basis.txt", text);
        const ToolRun run = reduce({"basis.txt"}, "");
        EXPECT_EQ(run.status, 1) << text;
        EXPECT_EQ(run.err, "latopt-reduce: basis.txt: " + message + "\n");
    }
    // The forms that are fine: fplll's, the engine's spaced one, and --help.
    EXPECT_EQ(reduce({}, "[ [ 0 1 ]\n[ 1 0 ] ]").out, "[[0 1]\n[1 0]\n]\n");
    EXPECT_EQ(reduce({"--delta=.999999999"}, "[[1 0][0 1]]").out, "[[1 0]\n[0 1]\n]\n");
    const ToolRun help = reduce({"--help"}, "");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind(usage + "\n", 0), 0u);
}

} // namespace
} // namespace latopt
