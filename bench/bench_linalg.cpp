// bench_linalg.cpp: the dense kernels of Vector and Matrix against the plain loop over
// std::vector<long double> that computes the same product in the same order: dot product,
// matrix times vector, matrix times matrix, at n = 20, 50, 100. Vector and Matrix run in long
// double and in QQ, the latter once with small integers and once with 20-digit decimal fractions
// (20 significant digits over a power of ten up to 10^20). At the end a table gives each time as a
// ratio to the plain loop; the CPU time of the fastest repetition counts, so that other load on
// the machine weighs less.
#include "arith/qq.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using latopt::Matrix;
using latopt::QQ;
using latopt::Vector;
using latopt::ZZ;

enum class Entries { SMALL_INTEGERS, LONG_FRACTIONS };

std::mt19937_64& generator()
{
    static std::mt19937_64 random(20261121);
    return random;
}

long double randomStandard()
{
    std::uniform_int_distribution<long> numerator(-500, 500);
    return static_cast<long double>(numerator(generator())) / 7.0L;
}

QQ randomExact(Entries entries)
{
    std::mt19937_64& random = generator();
    if (entries == Entries::SMALL_INTEGERS) return QQ(std::uniform_int_distribution<long>(-50, 50)(random));
    std::string digits = std::uniform_int_distribution<int>(0, 1)(random) ? "-" : "";
    digits += static_cast<char>('1' + std::uniform_int_distribution<int>(0, 8)(random));
    for (int i = 1; i < 20; ++i)
        digits += static_cast<char>('0' + std::uniform_int_distribution<int>(0, 9)(random));
    ZZ numerator;
    numerator = digits.c_str();
    ZZ denominator;
    denominator = ("1" + std::string(std::uniform_int_distribution<int>(10, 20)(random), '0')).c_str();
    return QQ(numerator, denominator);
}

template <class T>
T randomEntry(Entries entries);
template <>
long double randomEntry<long double>(Entries)
{
    return randomStandard();
}
template <>
QQ randomEntry<QQ>(Entries entries)
{
    return randomExact(entries);
}

template <class T>
Vector<T> randomVector(long n, Entries entries)
{
    Vector<T> v(n);
    for (long i = 1; i <= n; ++i)
        v[i] = randomEntry<T>(entries);
    return v;
}

template <class T>
Matrix<T> randomMatrix(long n, Entries entries)
{
    Matrix<T> m(n, n);
    for (long i = 1; i <= n; ++i)
        m[i] = randomVector<T>(n, entries);
    return m;
}

std::vector<long double> plainVector(std::size_t n)
{
    std::vector<long double> v(n);
    for (long double& x : v)
        x = randomStandard();
    return v;
}

// The plain loops, each out of line like the library's products, so that the benchmark loop
// around them (DoNotOptimize keeps its argument in memory) doesn't reach into their sums.

__attribute__((noinline)) long double plainDotProduct(const std::vector<long double>& a,
                                                      const std::vector<long double>& b)
{
    long double sum = 0;
    for (std::size_t k = 0; k < a.size(); ++k)
        sum += a[k] * b[k];
    return sum;
}

__attribute__((noinline)) std::vector<long double> plainMatVecProduct(const std::vector<long double>& A,
                                                                      const std::vector<long double>& x)
{
    const std::size_t n = x.size();
    std::vector<long double> y(n);
    for (std::size_t i = 0; i < n; ++i) {
        long double sum = 0;
        for (std::size_t k = 0; k < n; ++k)
            sum += A[i * n + k] * x[k];
        y[i] = sum;
    }
    return y;
}

__attribute__((noinline)) std::vector<long double>
plainMatMatProduct(const std::vector<long double>& A, const std::vector<long double>& B, std::size_t n)
{
    std::vector<long double> C(n * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = 0; k < n; ++k) {
            const long double factor = A[i * n + k];
            for (std::size_t j = 0; j < n; ++j)
                C[i * n + j] += factor * B[k * n + j];
        }
    return C;
}

void plainDot(benchmark::State& state)
{
    const std::size_t n = state.range(0);
    const std::vector<long double> a = plainVector(n);
    const std::vector<long double> b = plainVector(n);
    for (auto _ : state) {
        long double sum = plainDotProduct(a, b);
        benchmark::DoNotOptimize(sum);
    }
}

void plainMatVec(benchmark::State& state)
{
    const std::size_t n = state.range(0);
    const std::vector<long double> A = plainVector(n * n);
    const std::vector<long double> x = plainVector(n);
    for (auto _ : state) {
        std::vector<long double> y = plainMatVecProduct(A, x);
        benchmark::DoNotOptimize(y.data());
    }
}

void plainMatMat(benchmark::State& state)
{
    const std::size_t n = state.range(0);
    const std::vector<long double> A = plainVector(n * n);
    const std::vector<long double> B = plainVector(n * n);
    for (auto _ : state) {
        std::vector<long double> C = plainMatMatProduct(A, B, n);
        benchmark::DoNotOptimize(C.data());
    }
}

// The same products through Vector and Matrix.

template <class T, Entries E>
void vectorDot(benchmark::State& state)
{
    const long n = state.range(0);
    const Vector<T> a = randomVector<T>(n, E);
    const Vector<T> b = randomVector<T>(n, E);
    for (auto _ : state) {
        T sum = a * b;
        benchmark::DoNotOptimize(sum);
    }
}

template <class T, Entries E>
void matrixVector(benchmark::State& state)
{
    const long n = state.range(0);
    const Matrix<T> A = randomMatrix<T>(n, E);
    const Vector<T> x = randomVector<T>(n, E);
    for (auto _ : state) {
        Vector<T> y = A * x;
        benchmark::DoNotOptimize(y.data);
    }
}

template <class T, Entries E>
void matrixMatrix(benchmark::State& state)
{
    const long n = state.range(0);
    const Matrix<T> A = randomMatrix<T>(n, E);
    const Matrix<T> B = randomMatrix<T>(n, E);
    for (auto _ : state) {
        Matrix<T> C = A * B;
        benchmark::DoNotOptimize(C.data);
    }
}

constexpr Entries SMALL = Entries::SMALL_INTEGERS;
constexpr Entries LONG = Entries::LONG_FRACTIONS;

// Names: <product>/<kind>/<n>; kinds: plain, ld, qq_small, qq_long.
#define LATOPT_SIZES ->Arg(20)->Arg(50)->Arg(100)
#define LATOPT_FAST LATOPT_SIZES->Repetitions(5)->ReportAggregatesOnly(false)
BENCHMARK(plainDot)->Name("dot/plain") LATOPT_FAST;
BENCHMARK(vectorDot<long double, SMALL>)->Name("dot/ld") LATOPT_FAST;
BENCHMARK(vectorDot<QQ, SMALL>)->Name("dot/qq_small") LATOPT_SIZES;
BENCHMARK(vectorDot<QQ, LONG>)->Name("dot/qq_long") LATOPT_SIZES;
BENCHMARK(plainMatVec)->Name("matvec/plain") LATOPT_FAST;
BENCHMARK(matrixVector<long double, SMALL>)->Name("matvec/ld") LATOPT_FAST;
BENCHMARK(matrixVector<QQ, SMALL>)->Name("matvec/qq_small") LATOPT_SIZES;
BENCHMARK(matrixVector<QQ, LONG>)->Name("matvec/qq_long") LATOPT_SIZES;
BENCHMARK(plainMatMat)->Name("matmat/plain") LATOPT_FAST;
BENCHMARK(matrixMatrix<long double, SMALL>)->Name("matmat/ld") LATOPT_FAST;
BENCHMARK(matrixMatrix<QQ, SMALL>)->Name("matmat/qq_small") LATOPT_SIZES->Unit(benchmark::kMicrosecond);
BENCHMARK(matrixMatrix<QQ, LONG>)->Name("matmat/qq_long") LATOPT_SIZES->Unit(benchmark::kMillisecond);
#undef LATOPT_FAST
#undef LATOPT_SIZES

// Keeps the fastest CPU time per iteration, in nanoseconds, of each benchmark name.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> fastest;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
            const double nanoseconds =
                run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            // "dot/ld" and "20", without the repetitions suffix.
            const std::string name = run.run_name.function_name + "/" + run.run_name.args;
            auto found = fastest.find(name);
            if (found == fastest.end() || nanoseconds < found->second) fastest[name] = nanoseconds;
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

void printRatioTable(const RatioReporter& reporter)
{
    auto time = [&](const std::string& product, const std::string& kind, int n) {
        auto found = reporter.fastest.find(product + "/" + kind + "/" + std::to_string(n));
        return found == reporter.fastest.end() ? -1.0 : found->second;
    };
    std::printf("\nRatio to the plain std::vector<long double> loop (fastest repetition, CPU time)\n\n");
    std::printf("| product | n | plain loop | Vector/Matrix long double | QQ small integers | QQ 20-digit "
                "fractions |\n");
    std::printf("|---|---:|---:|---:|---:|---:|\n");
    for (const char* product : {"dot", "matvec", "matmat"}) {
        for (int n : {20, 50, 100}) {
            const double plain = time(product, "plain", n);
            std::printf("| %s | %d | %.0f ns |", product, n, plain);
            for (const char* kind : {"ld", "qq_small", "qq_long"}) {
                const double t = time(product, kind, n);
                if (t < 0 || plain <= 0)
                    std::printf(" - |");
                else
                    std::printf(" %.2fx |", t / plain);
            }
            std::printf("\n");
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    printRatioTable(reporter);
    return 0;
}
