// bench_embedding.cpp: the lattice of a program and the vector maps on it. The program (fixed
// seed) has 100 integer variables in [-5, 5], one target to be minimised and 50 two-sided
// inequations with entries -9..9 and bounds a x0 -+ w around a point x0 of the box, w in 1..20,
// so that it has no equations after preparation and embeds. One iteration of the preparation
// benchmark reads nothing: it fills a fresh lattice from the program, runs the slack stage and the
// preparation, and embeds (target: at most 50 ms in long double). The map benchmarks take x0 to
// its lattice vector (opt2lat) or that vector back (lat2opt), in long double (target: at most
// 20 us each); a wrong round trip reports an error.
#include "arith/qq.h"
#include "lattice/lattice.h"
#include "program/vorm.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using latopt::Lattice;
using latopt::QQ;
using latopt::Vector;
using latopt::Vorm;

constexpr long VARIABLES = 100, INEQUATIONS = 50;

struct BenchProgram {
    Vorm<QQ> program;
    std::vector<long> x0;
};

// A vector or matrix row in the text form of the .opt file.
std::string vectorText(const std::vector<long>& values)
{
    std::string text = "[ ";
    for (const long value : values)
        text += std::to_string(value) + " ";
    return text + "]";
}

BenchProgram benchProgram()
{
    std::mt19937_64 random(20261123);
    std::uniform_int_distribution<long> entry(-9, 9), point(-4, 4), width(1, 20);
    BenchProgram result;
    for (long j = 0; j < VARIABLES; ++j)
        result.x0.push_back(point(random));
    std::vector<long> target(VARIABLES);
    for (long& a : target)
        a = entry(random);
    std::string au = "[ ", lu, ru;
    std::vector<long> lower, upper;
    for (long i = 0; i < INEQUATIONS; ++i) {
        std::vector<long> row(VARIABLES);
        long value = 0;
        for (long j = 0; j < VARIABLES; ++j) {
            row[j] = entry(random);
            value += row[j] * result.x0[j];
        }
        const long w = width(random);
        lower.push_back(value - w);
        upper.push_back(value + w);
        au += vectorText(row) + " ";
    }
    au += "]";
    const std::string text =
        "[ -inf ] [ " + vectorText(target) + " ] [ ] [ ] " + au + " " + vectorText(lower) + " " +
        vectorText(upper) + " " + vectorText(std::vector<long>(VARIABLES, 0)) + " " +
        vectorText(std::vector<long>(VARIABLES, -5)) + " " + vectorText(std::vector<long>(VARIABLES, 5));
    std::istringstream stream(text);
    stream >> result.program;
    return result;
}

template <class T>
std::unique_ptr<Lattice<T, T>> embedded(const Vorm<QQ>& program)
{
    auto lattice = std::make_unique<Lattice<T, T>>();
    lattice->unprepared._assign(program);
    lattice->prepareVormByUnprepared(false, true);
    lattice->opt2lat();
    return lattice;
}

template <class T>
void prepareAndEmbed(benchmark::State& state)
{
    const BenchProgram bench = benchProgram();
    for (auto _ : state) {
        const auto lattice = embedded<T>(bench.program);
        // A column per inequation and variable, and the marker (no target bounds: no target column).
        if (lattice->dimN != VARIABLES + INEQUATIONS + 1) {
            state.SkipWithError("the lattice does not have a column per quantity");
            break;
        }
        benchmark::DoNotOptimize(lattice->B.rowData);
    }
}

Vector<long double> pointOf(const BenchProgram& bench)
{
    Vector<long double> x(VARIABLES);
    for (long j = 1; j <= VARIABLES; ++j)
        x[j] = static_cast<long double>(bench.x0[j - 1]);
    return x;
}

void mapOptToLat(benchmark::State& state)
{
    const BenchProgram bench = benchProgram();
    const auto lattice = embedded<long double>(bench.program);
    const Vector<long double> x = pointOf(bench);
    Vector<long double> v, back;
    for (auto _ : state) {
        lattice->opt2lat(x, v, false);
        benchmark::DoNotOptimize(v.data);
    }
    if (lattice->lat2opt(v, back, true, false) != 1 || !(back == x))
        state.SkipWithError("x0 did not come back");
}

void mapLatToOpt(benchmark::State& state)
{
    const BenchProgram bench = benchProgram();
    const auto lattice = embedded<long double>(bench.program);
    const Vector<long double> x = pointOf(bench);
    Vector<long double> v, back;
    lattice->opt2lat(x, v, false);
    short status = 0;
    for (auto _ : state) {
        status = lattice->lat2opt(v, back, true, false);
        benchmark::DoNotOptimize(back.data);
    }
    if (status != 1 || !(back == x)) state.SkipWithError("x0 did not come back");
}

BENCHMARK(prepareAndEmbed<long double>)
    ->Name("prepareAndEmbed/long double/100 variables, 50 inequations")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(prepareAndEmbed<QQ>)
    ->Name("prepareAndEmbed/QQ/100 variables, 50 inequations")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(mapOptToLat)
    ->Name("opt2lat/long double/100 variables")
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(mapLatToOpt)
    ->Name("lat2opt/long double/100 variables")
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
