// bench_qq.cpp: QQ against GMP's mpq_t, side by side in one run: add, mul and div of operands
// whose numerators and denominators have 5, 20 and 50 decimal digits. Both sides get the same
// 64 operands, canonicalised, and write into one reused result object, so that the times compare
// the arithmetic with its normalisation and not the allocation of results. After the runs the
// ratio table (QQ time / mpq time) is printed.
// Also timed: the limb algorithms alone (QQ::enableFastPaths off), which the word paths replace.
#include "arith/qq.h"

#include <benchmark/benchmark.h>
#include <gmp.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using latopt::QQ;

constexpr int OPERANDS = 64;

std::string randomDigits(std::mt19937_64& engine, int digits)
{
    std::string text(1, static_cast<char>('1' + engine() % 9));
    for (int i = 1; i < digits; ++i)
        text += static_cast<char>('0' + engine() % 10);
    return text;
}

// n/d with exactly `digits` digits each, half of them negative; the same texts for every run.
std::vector<std::string> operandTexts(int digits)
{
    std::mt19937_64 engine(20261122ULL + static_cast<unsigned long long>(digits));
    std::vector<std::string> texts;
    for (int i = 0; i < OPERANDS; ++i)
        texts.push_back(std::string(i % 2 == 0 ? "" : "-") + randomDigits(engine, digits) + "/" +
                        randomDigits(engine, digits));
    return texts;
}

struct MpqOperands {
    mpq_t value[OPERANDS];
    explicit MpqOperands(int digits)
    {
        const std::vector<std::string> texts = operandTexts(digits);
        for (int i = 0; i < OPERANDS; ++i) {
            mpq_init(value[i]);
            mpq_set_str(value[i], texts[i].c_str(), 10);
            mpq_canonicalize(value[i]);
        }
    }
    ~MpqOperands()
    {
        for (auto& v : value)
            mpq_clear(v);
    }
};

std::vector<QQ> qqOperands(int digits)
{
    std::vector<QQ> operands;
    for (std::string const& text : operandTexts(digits))
        operands.emplace_back(text.c_str());
    return operands;
}

enum Operation { ADD, MUL, DIV };
const char* const OPERATION_NAMES[] = {"add", "mul", "div"};

void mpqRun(benchmark::State& state, Operation operation)
{
    const int digits = static_cast<int>(state.range(0));
    MpqOperands operands(digits);
    mpq_t result;
    mpq_init(result);
    int i = 0;
    for (auto _ : state) {
        mpq_srcptr a = operands.value[i % OPERANDS];
        mpq_srcptr b = operands.value[(i + 1) % OPERANDS];
        switch (operation) {
        case ADD:
            mpq_add(result, a, b);
            break;
        case MUL:
            mpq_mul(result, a, b);
            break;
        case DIV:
            mpq_div(result, a, b);
            break;
        }
        benchmark::DoNotOptimize(result);
        ++i;
    }
    mpq_clear(result);
}

void qqRun(benchmark::State& state, Operation operation, bool fastPaths)
{
    const int digits = static_cast<int>(state.range(0));
    const std::vector<QQ> operands = qqOperands(digits);
    QQ result;
    QQ::enableFastPaths = fastPaths;
    int i = 0;
    for (auto _ : state) {
        QQ const& a = operands[i % OPERANDS];
        QQ const& b = operands[(i + 1) % OPERANDS];
        switch (operation) {
        case ADD:
            QQ::add(result, a, b);
            break;
        case MUL:
            QQ::mul(result, a, b);
            break;
        case DIV:
            QQ::div(result, a, b);
            break;
        }
        benchmark::DoNotOptimize(result);
        ++i;
    }
    QQ::enableFastPaths = true;
}

// r = a + b into a new result each time: the allocations of the result's integers included
// (mpq_init / mpq_clear on the GMP side).
void BM_mpq_add_new(benchmark::State& state)
{
    MpqOperands operands(static_cast<int>(state.range(0)));
    int i = 0;
    for (auto _ : state) {
        mpq_t result;
        mpq_init(result);
        mpq_add(result, operands.value[i % OPERANDS], operands.value[(i + 1) % OPERANDS]);
        benchmark::DoNotOptimize(result);
        mpq_clear(result);
        ++i;
    }
}

void BM_QQ_add_new(benchmark::State& state)
{
    const std::vector<QQ> operands = qqOperands(static_cast<int>(state.range(0)));
    int i = 0;
    for (auto _ : state) {
        QQ result = operands[i % OPERANDS] + operands[(i + 1) % OPERANDS];
        benchmark::DoNotOptimize(result);
        ++i;
    }
}

void BM_mpq_add(benchmark::State& state)
{
    mpqRun(state, ADD);
}
void BM_mpq_mul(benchmark::State& state)
{
    mpqRun(state, MUL);
}
void BM_mpq_div(benchmark::State& state)
{
    mpqRun(state, DIV);
}
void BM_QQ_add(benchmark::State& state)
{
    qqRun(state, ADD, true);
}
void BM_QQ_mul(benchmark::State& state)
{
    qqRun(state, MUL, true);
}
void BM_QQ_div(benchmark::State& state)
{
    qqRun(state, DIV, true);
}
void BM_QQ_limbs_add(benchmark::State& state)
{
    qqRun(state, ADD, false);
}
void BM_QQ_limbs_mul(benchmark::State& state)
{
    qqRun(state, MUL, false);
}
void BM_QQ_limbs_div(benchmark::State& state)
{
    qqRun(state, DIV, false);
}

BENCHMARK(BM_mpq_add)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_add)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_mpq_mul)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_mul)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_mpq_div)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_div)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_limbs_add)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_limbs_mul)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_limbs_div)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_mpq_add_new)->Arg(5)->Arg(20)->Arg(50);
BENCHMARK(BM_QQ_add_new)->Arg(5)->Arg(20)->Arg(50);

// Collects the CPU time per iteration of each run, then prints the ratio table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (Run const& run : runs)
            times[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nQQ time / mpq time (CPU time per operation; word paths, and limb algorithms alone)\n");
        std::printf("%-6s %8s %14s %14s %10s %14s\n", "op", "digits", "QQ [ns]", "mpq [ns]", "ratio",
                    "limbs ratio");
        for (int operation = ADD; operation <= DIV; ++operation)
            for (int digits : {5, 20, 50}) {
                const std::string suffix =
                    std::string(OPERATION_NAMES[operation]) + "/" + std::to_string(digits);
                const double qq = time("BM_QQ_" + suffix);
                const double mpq = time("BM_mpq_" + suffix);
                const double limbs = time("BM_QQ_limbs_" + suffix);
                std::printf("%-6s %8d %14.1f %14.1f %10.2f %14.2f\n", OPERATION_NAMES[operation], digits, qq,
                            mpq, mpq > 0 ? qq / mpq : 0.0, mpq > 0 ? limbs / mpq : 0.0);
            }
        for (int digits : {5, 20, 50}) {
            const double qq = time("BM_QQ_add_new/" + std::to_string(digits));
            const double mpq = time("BM_mpq_add_new/" + std::to_string(digits));
            std::printf("%-6s %8d %14.1f %14.1f %10.2f %14s\n", "a+b", digits, qq, mpq,
                        mpq > 0 ? qq / mpq : 0.0, "(new result)");
        }
    }

private:
    // The median of repetitions (--benchmark_repetitions) where there are any, else the one run.
    double time(std::string const& name)
    {
        auto median = times.find(name + "_median");
        return median != times.end() ? median->second : times[name];
    }
    std::map<std::string, double> times;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
