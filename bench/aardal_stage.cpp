// aardal_stage.cpp: the first stage of the embedding of a program with equations, on market split
// instances (tests/market_split.h: m equations, n = 10 (m - 1) variables in {0, 1}, coefficients
// 0..99 from a seed). Two benchmarks per instance, each starting from a fresh lattice filled with
// the program read beforehand:
//   aardalStage: prepareVormByUnprepared, prepareLattice(true), aardalReduce, lshiftLattice(-1):
//                the basis of the integer solutions of the equations;
//   opt2lat:     prepareVormByUnprepared and the whole opt2lat (the stage, the check for an
//                integer solution, the lattice of the program carried into that basis).
// Both run in long double when a trial run of the instance gets through in long double, else in
// exact lattice data (Lattice<QQ, long double>, as the tool's redo, "QQ (long double failed)");
// up to m = 4 the exact run is timed as well, for comparison. The name says which. A run that
// ends with the wrong shape (rows other than n + 1 - m) reports an error. Target: m = 4, n = 30
// within 1 s.
#include "arith/qq.h"
#include "base/exceptions.h"
#include "lattice/lattice.h"
#include "market_split.h"
#include "program/vorm.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

namespace {

using latopt::Lattice;
using latopt::PrecisionException;
using latopt::QQ;
using latopt::Vorm;

struct Instance {
    long m;
    std::uint64_t seed;
    Vorm<QQ> program;
};

Vorm<QQ> programOf(const latopt::test::MarketSplit& split)
{
    Vorm<QQ> program;
    std::istringstream stream(split.text());
    stream >> program;
    return program;
}

// A fresh lattice in R1 holding the program, not yet prepared.
template <class R1, class R2>
std::unique_ptr<Lattice<R1, R2>> freshLattice(const Instance& instance)
{
    auto lattice = std::make_unique<Lattice<R1, R2>>();
    lattice->unprepared._assign(instance.program);
    return lattice;
}

template <class R1, class R2>
void runStage(Lattice<R1, R2>& lattice)
{
    lattice.prepareVormByUnprepared(false, true);
    lattice.prepareLattice(true);
    benchmark::DoNotOptimize(lattice.aardalReduce());
    lattice.lshiftLattice(-1);
}

template <class R1, class R2>
void runOpt2lat(Lattice<R1, R2>& lattice)
{
    lattice.prepareVormByUnprepared(false, true);
    lattice.opt2lat();
}

// The timed loop: the lattice is built outside the clock, the work inside it.
template <class R1, class R2, bool WHOLE>
void timeRun(benchmark::State& state, const Instance& instance)
{
    const long n = 10 * (instance.m - 1);
    for (auto _ : state) {
        state.PauseTiming();
        auto lattice = freshLattice<R1, R2>(instance);
        state.ResumeTiming();
        if constexpr (WHOLE)
            runOpt2lat(*lattice);
        else
            runStage(*lattice);
        state.PauseTiming();
        if (lattice->dimB != n + 1 - instance.m) state.SkipWithError("the basis has the wrong row count");
        lattice.reset();
        state.ResumeTiming();
    }
    state.counters["m"] = static_cast<double>(instance.m);
    state.counters["n"] = static_cast<double>(n);
}

// Whether the stage and opt2lat get through in long double for this instance.
bool longDoubleHolds(const Instance& instance)
{
    try {
        runStage(*freshLattice<long double, long double>(instance));
        runOpt2lat(*freshLattice<long double, long double>(instance));
        return true;
    } catch (const PrecisionException&) {
        return false;
    }
}

template <class R1, class R2>
void registerPair(const Instance* instance, const std::string& name, const std::string& precision)
{
    benchmark::RegisterBenchmark(("aardalStage/" + name + "/" + precision).c_str(), timeRun<R1, R2, false>,
                                 *instance)
        ->Unit(benchmark::kMillisecond)
        ->MinTime(0.5);
    benchmark::RegisterBenchmark(("opt2lat/" + name + "/" + precision).c_str(), timeRun<R1, R2, true>,
                                 *instance)
        ->Unit(benchmark::kMillisecond)
        ->MinTime(0.5);
}

// Long double where it holds; exact lattice data where it fails, and for comparison up to m = 4
// (beyond, an exact run takes minutes).
void registerInstance(const Instance* instance)
{
    const std::string name = "m=" + std::to_string(instance->m) +
                             " n=" + std::to_string(10 * (instance->m - 1)) +
                             " seed=" + std::to_string(instance->seed);
    const bool standard = longDoubleHolds(*instance);
    if (standard) registerPair<long double, long double>(instance, name, "long double");
    if (!standard)
        registerPair<QQ, long double>(instance, name, "QQ (long double failed)");
    else if (instance->m <= 4)
        registerPair<QQ, long double>(instance, name, "QQ");
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    static std::vector<std::unique_ptr<Instance>> instances;
    for (long m = 2; m <= 6; ++m)
        for (std::uint64_t seed = 1; seed <= 3; ++seed) {
            instances.push_back(
                std::make_unique<Instance>(Instance{m, seed, programOf(latopt::test::marketSplit(m, seed))}));
            registerInstance(instances.back().get());
        }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
