// search_test.cpp: latopt-search end to end. Knapsacks with a target end at the optimum that a
// brute force finds, with records the tool keeps; market split instances get their solution, or
// a proof that none exists when the brute force finds none; each end criterion ends the run with
// status 0 and a complete .sol file; bad parameters are refused with the table's messages.
#include "market_split.h"
#include "params/params.h"
#include "test_seed.h"
#include "tool/tool_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace latopt::testing_tool {
namespace {

ToolRun runSearch(const std::string& directory, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "latopt-search");
    return runBinary(LATOPT_SEARCH_BINARY, arguments, directory);
}

// The x of each record of a .sol text: the numbers of the first bracket of each line.
std::vector<std::vector<long>> records(const std::string& text)
{
    std::vector<std::vector<long>> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find('[') == std::string::npos) continue;
        std::istringstream words(line.substr(line.find('[') + 1, line.find(']') - line.find('[') - 1));
        found.emplace_back();
        for (long value; words >> value;)
            found.back().push_back(value);
    }
    return found;
}

long dot(const std::vector<long>& a, const std::vector<long>& x)
{
    long sum = 0;
    for (size_t j = 0; j < a.size() && j < x.size(); ++j)
        sum += a[j] * x[j];
    return sum;
}

// A random 0-1 knapsack: maximise v x subject to w x <= capacity, half the total weight.
struct Knapsack {
    std::vector<long> v, w;
    long capacity = 0;

    Knapsack(std::mt19937_64& random, size_t items)
    {
        for (size_t j = 0; j < items; ++j) {
            v.push_back(1 + static_cast<long>(random() % 30));
            w.push_back(1 + static_cast<long>(random() % 20));
            capacity += w.back();
        }
        capacity /= 2;
    }
    // The program; the values with the decimal digits of scale appended (beyond what long double
    // holds exactly when that is long).
    std::string text(const std::string& scale = "") const
    {
        auto row = [](const std::vector<long>& a, const std::string& digits = "") {
            std::string s = "[ ";
            for (long e : a)
                s += std::to_string(e) + digits + " ";
            return s + "]";
        };
        const std::vector<long> zeros(v.size(), 0), ones(v.size(), 1);
        return "[ inf ]\n[ " + row(v, scale) + " ]\n[ ]\n[ ]\n[ " + row(w) + " ]\n[ 0 ]\n[ " +
               std::to_string(capacity) + " ]\n" + row(zeros) + "\n" + row(zeros) + "\n" + row(ones) + "\n";
    }
    long optimum() const
    {
        long best = 0;
        for (unsigned long mask = 0; mask < (1UL << v.size()); ++mask) {
            std::vector<long> x(v.size());
            for (size_t j = 0; j < v.size(); ++j)
                x[j] = static_cast<long>(mask >> j & 1);
            if (dot(w, x) <= capacity) best = std::max(best, dot(v, x));
        }
        return best;
    }
};

class Search : public ToolSandbox {};

// The search ends when nothing better exists, unpruned (eprune 0) or pruned (the pruning eases
// until the box is searched whole): the best record is the optimum, every record is feasible and
// keeps its parameters. Values of 20 digits take the exact redo and reach the same optimum. With
// tnorm at minus the optimum (and snorm 0: its default -1 admits no slack norm) only an optimal
// record counts as a solution, and the run ends on it.
TEST_F(Search, KnapsackEndsAtTheOptimumWithRecordsTheToolKeeps)
{
    const auto seed = test::testSeed();
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(4); ++round) {
        const Knapsack k(random, 6 + static_cast<size_t>(round));
        const bool huge = round == 1;
        const std::string eprune = round % 2 == 0 ? "--eprune=0" : "--eprune=3";
        SCOPED_TRACE(test::seedTrace(seed) + ", round " + std::to_string(round) + "\n" + k.text());
        write("prog.opt", k.text(huge ? "0000000000000000000" : ""));
        std::filesystem::remove(path("prog.sol"));
        const ToolRun search =
            runSearch(directory, {"prog.opt", "--sol=0", eprune, "--rtime=60", "--verb=1"});
        ASSERT_EQ(search.status, 0) << search.err;
        EXPECT_NE(search.out.find("End: the whole box was enumerated"), std::string::npos) << search.out;
        EXPECT_EQ(search.out.find("Exact redo: ") != std::string::npos, huge);
        const std::vector<std::vector<long>> written = records(read("prog.sol"));
        ASSERT_FALSE(written.empty());
        long best = 0;
        for (const std::vector<long>& x : written) {
            EXPECT_LE(dot(k.w, x), k.capacity);
            best = std::max(best, dot(k.v, x));
        }
        // The parameters of the run travel with each record.
        std::istringstream lines(read("prog.sol"));
        for (std::string line; std::getline(lines, line);)
            EXPECT_NE(line.find(" " + eprune + " "), std::string::npos) << line;
        EXPECT_EQ(best, k.optimum());
        EXPECT_EQ(run().status, 0);
        EXPECT_EQ(records(read("prog.sol")).size(), written.size());
        if (huge) continue;
        std::filesystem::remove(path("prog.sol"));
        const std::string tnorm = "--tnorm=" + std::to_string(-k.optimum());
        const ToolRun normed =
            runSearch(directory, {"prog.opt", "--sol=0", "--snorm=0", tnorm, "--rtime=60"});
        EXPECT_NE(normed.out.find("End: a solution met snorm / tnorm"), std::string::npos) << normed.out;
        long normedBest = 0;
        for (const std::vector<long>& x : records(read("prog.sol")))
            normedBest = std::max(normedBest, dot(k.v, x));
        EXPECT_EQ(normedBest, k.optimum());
    }
}

// An assignment of n workers to n jobs at least cost: x_ij in {0, 1}, one job per worker and one
// worker per job (2n equations), the cost minimised. The search ends at the proved optimum, the
// least cost over all permutations.
TEST_F(Search, AssignmentEndsAtTheLeastCostOfAllPermutations)
{
    const auto seed = test::testSeed();
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(3); ++round) {
        const size_t n = 3 + static_cast<size_t>(round % 2);
        std::vector<long> cost;
        for (size_t k = 0; k < n * n; ++k)
            cost.push_back(static_cast<long>(random() % 20));
        std::string equations;
        for (size_t e = 0; e < 2 * n; ++e) {
            equations += "[ ";
            for (size_t i = 0; i < n; ++i)
                for (size_t j = 0; j < n; ++j)
                    equations += (e < n ? i == e : j == e - n) ? "1 " : "0 ";
            equations += "]\n";
        }
        auto row = [](const std::vector<long>& v) {
            std::string text = "[ ";
            for (long e : v)
                text += std::to_string(e) + " ";
            return text + "]\n";
        };
        const std::vector<long> zeros(n * n, 0), ones(n * n, 1);
        write("prog.opt", "[ -inf ]\n[ " + row(cost) + "]\n[\n" + equations + "]\n" +
                              row(std::vector<long>(2 * n, 1)) + "[ ]\n[ ]\n[ ]\n" + row(zeros) + row(zeros) +
                              row(ones));
        std::vector<size_t> permutation(n);
        for (size_t i = 0; i < n; ++i)
            permutation[i] = i;
        long least = -1;
        do {
            long sum = 0;
            for (size_t i = 0; i < n; ++i)
                sum += cost[i * n + permutation[i]];
            least = least < 0 ? sum : std::min(least, sum);
        } while (std::next_permutation(permutation.begin(), permutation.end()));
        SCOPED_TRACE(test::seedTrace(seed) + ", round " + std::to_string(round) + "\n" + read("prog.opt"));
        std::filesystem::remove(path("prog.sol"));
        const ToolRun search = runSearch(directory, {"prog.opt", "--sol=0", "--rtime=60"});
        ASSERT_EQ(search.status, 0) << search.err;
        EXPECT_NE(search.out.find("End: the whole box was enumerated"), std::string::npos) << search.out;
        long best = -1;
        for (const std::vector<long>& x : records(read("prog.sol"))) {
            ASSERT_EQ(x.size(), n * n);
            for (size_t i = 0; i < n; ++i) {
                long inRow = 0, inColumn = 0;
                for (size_t j = 0; j < n; ++j) {
                    inRow += x[i * n + j];
                    inColumn += x[j * n + i];
                }
                EXPECT_EQ(inRow, 1);
                EXPECT_EQ(inColumn, 1);
            }
            best = best < 0 ? dot(cost, x) : std::min(best, dot(cost, x));
        }
        EXPECT_EQ(best, least);
    }
}

// Feasible: the first solution ends the run (sol 1). Infeasible: no record, and the enumeration of
// the box proves it, unless the equations have no integer solution at all, which the embedding
// proves and stops at.
TEST_F(Search, MarketSplitGetsItsSolutionOrAProofOfNone)
{
    for (const long m : {2L, 3L, 4L}) {
        bool feasibleSeen = false, infeasibleSeen = false;
        for (std::uint64_t seed = test::testSeed(); !feasibleSeen || !infeasibleSeen; ++seed) {
            const test::MarketSplit instance = test::marketSplit(m, seed);
            const bool feasible = instance.solution().has_value();
            if (feasible ? std::exchange(feasibleSeen, true) : std::exchange(infeasibleSeen, true)) continue;
            SCOPED_TRACE("m = " + std::to_string(m) + ", " + test::seedTrace(seed));
            write("prog.opt", instance.text());
            std::filesystem::remove(path("prog.sol"));
            const ToolRun search = runSearch(directory, {"prog.opt", "--eprune=0", "--rtime=60"});
            if (!feasible) {
                if (search.status == 0)
                    EXPECT_EQ(search.out.rfind("No solution exists.\n", 0), 0U) << search.out;
                else
                    EXPECT_EQ(search.err, "\n*** FAIL: The equation system has no integer solution :(\n");
                EXPECT_EQ(read("prog.sol"), "<missing>");
                continue;
            }
            ASSERT_EQ(search.status, 0) << search.err;
            EXPECT_NE(search.out.find("End: the solutions asked for (sol) were found"), std::string::npos);
            const std::vector<std::vector<long>> written = records(read("prog.sol"));
            ASSERT_EQ(written.size(), 1U);
            EXPECT_TRUE(instance.solves(written[0]));
            EXPECT_EQ(run().status, 0);
            EXPECT_EQ(records(read("prog.sol")).size(), 1U);
        }
    }
}

// A search with no end of its own (a knapsack of 40 items, pruned enumeration) ends by iters,
// rtime or a signal, with a .sol file that the tool reads whole.
TEST_F(Search, TimeAndSignalEndTheRunWithCompleteFiles)
{
    std::mt19937_64 random(test::testSeed());
    write("prog.opt", Knapsack(random, 40).text());
    const ToolRun counted = runSearch(directory, {"prog.opt", "--sol=0", "--iters=3"});
    ASSERT_EQ(counted.status, 0) << counted.err;
    EXPECT_NE(counted.out.find("Iterations: 3\nSeconds: "), std::string::npos) << counted.out;
    EXPECT_NE(counted.out.find("End: the iterations asked for (iters) were made"), std::string::npos);
    const ToolRun timed = runSearch(directory, {"prog.opt", "--sol=0", "--rtime=1"});
    ASSERT_EQ(timed.status, 0) << timed.err;
    EXPECT_NE(timed.out.find("End: the time asked for (rtime) has passed"), std::string::npos) << timed.out;
    // The signal comes 0.3 s after the first record was written (at most 5 s after the start).
    std::filesystem::remove(path("prog.sol"));
    const std::string script =
        std::string(LATOPT_SEARCH_BINARY) +
        " prog.opt --sol=0 --rtime=30 > out.txt & for i in $(seq 100); do [ -s prog.sol ] "
        "&& break; sleep 0.05; done; sleep 0.3; kill -TERM $!; wait $!";
    const ToolRun signalled = runBinary("/bin/sh", {"sh", "-c", script}, directory);
    EXPECT_EQ(signalled.status, 0) << signalled.err;
    EXPECT_NE(read("out.txt").find("End: a signal (SIGINT / SIGTERM)"), std::string::npos) << read("out.txt");
    const size_t count = records(read("prog.sol")).size();
    EXPECT_GT(count, 0U);
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(records(read("prog.sol")).size(), count);
}

TEST_F(Search, RefusesBadParametersAndListsEveryOne)
{
    write("prog.opt", "[ ]\n[ ]\n[ ]\n[ ]\n[ ]\n[ ]\n[ ]\n[ 0 ]\n[ 0 ]\n[ 1 ]\n");
    const ToolRun malformed = runSearch(directory, {"prog.opt", "--beta"});
    EXPECT_EQ(malformed.status, 1);
    EXPECT_EQ(malformed.err, "\n*** FAIL: Malformed parameter: beta\n");
    // A value the type can't take whole is refused, not read as far as it goes (0, 1).
    for (const char* token : {"--beta=abc", "--sol=1.5", "--rtime=5s"}) {
        const ToolRun refused = runSearch(directory, {"prog.opt", token});
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.err, "\n*** FAIL: Malformed parameter: " + std::string(token + 2) + "\n");
    }
    const ToolRun unknown = runSearch(directory, {"prog.opt", "--gamma=3"});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.err, "\n*** FAIL: Unknown parameter: gamma\n");
    const ToolRun missing = runSearch(directory, {"none.opt"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("none.opt"), std::string::npos);
    const ToolRun help = runSearch(directory, {"--help"});
    EXPECT_EQ(help.status, 0);
    ExtendedParams<long double> table;
    for (long i = 1; i <= table.names.dimension(); ++i) {
        const ParamInfo& parameter = *table.registry[table.registry.indexOf(table.names[i])].right;
        EXPECT_NE(help.out.find("--" + parameter.name + "=" + parameter.defaultValue + "\n      " +
                                parameter.description + "\n"),
                  std::string::npos)
            << parameter.name;
    }
}

} // namespace
} // namespace latopt::testing_tool
