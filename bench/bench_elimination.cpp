// bench_elimination.cpp: the elimination routines of Matrix, each side by side with the same
// elimination written directly on std::vector, in one run:
//   - rref in QQ (row_echelon_form(Tr, true) on a copy) of 30 x 30 and 60 x 60 integer matrices
//     with 3-digit entries (-999..999), against GMP's mpq_class: the same pivot order, the same
//     update of Tr, the reduced form with unit pivots, step by step in rationals (the library
//     runs an integer matrix fraction-free, to the same result). Targets: 0.3 s at 30, 3 s at 60,
//     and at most 5 times the time of mpq_class.
//   - rref and gauss in long double at n = 100, against a plain loop over std::vector<long double>
//     with the same pivoting rule (and the same update of Tr for rref; partial pivoting LU split
//     into L and U for gauss). Target: at most 1.5 times the plain loop.
// Before its timed loop each pair checks once that both sides give the same result (exactly in
// QQ, within 10^-9 in long double), else the benchmark reports an error. At the end a table gives
// the times and ratios; the CPU time of the fastest repetition counts, so that other load on the
// machine weighs less.
#include "arith/qq.h"
#include "base/array.h"
#include "linalg/matrix.h"

#include <benchmark/benchmark.h>
#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using latopt::Array;
using latopt::Matrix;
using latopt::QQ;

// ---- Inputs ------------------------------------------------------------------------------------

// n x n integers in -999..999, the same for every run.
std::vector<std::vector<long>> randomIntegers(long n)
{
    std::mt19937_64 random(20261121ULL + static_cast<unsigned long long>(n));
    std::uniform_int_distribution<long> entry(-999, 999);
    std::vector<std::vector<long>> rows(n, std::vector<long>(n));
    for (auto& row : rows)
        for (long& x : row)
            x = entry(random);
    return rows;
}

// n x n values k / 7 with k in -500..500, row-major, the same for every run.
std::vector<long double> randomStandard(long n)
{
    std::mt19937_64 random(20261123ULL + static_cast<unsigned long long>(n));
    std::uniform_int_distribution<long> numerator(-500, 500);
    std::vector<long double> values(n * n);
    for (long double& x : values)
        x = static_cast<long double>(numerator(random)) / 7.0L;
    return values;
}

template <class T>
Matrix<T> toMatrix(long n, auto entry)
{
    Matrix<T> A(n, n);
    for (long i = 1; i <= n; ++i)
        for (long j = 1; j <= n; ++j)
            A[i][j] = entry(i - 1, j - 1);
    return A;
}

// ---- rref with mpq_class -----------------------------------------------------------------------

using MpqRows = std::vector<std::vector<mpq_class>>;

// The reduced row echelon form of A in place, Tr with Tr * A (as it was) = R, the rank with the
// sign of the row exchanges: row_echelon_form(Tr, true) step by step, indices from 0. The pivot
// row has the smallest leading column, among those the greatest absolute entry, a better row
// being exchanged at once into the place of the best so far; zero entries of the pivot row are
// passed over in the row updates.
long mpqRref(MpqRows& A, MpqRows& Tr)
{
    const std::size_t m = A.size();
    const std::size_t n = m == 0 ? 0 : A[0].size();
    Tr.assign(m, std::vector<mpq_class>(m));
    for (std::size_t i = 0; i < m; ++i)
        Tr[i][i] = 1;
    long sign = 1;
    long rank = 0;
    std::size_t start = 0;
    mpq_class q;
    mpq_class product;
    auto subtractMultiple = [&](std::vector<mpq_class>& row, const std::vector<mpq_class>& pivot,
                                std::size_t from, std::size_t to) {
        for (std::size_t j = from; j < to; ++j) {
            if (sgn(pivot[j]) == 0) continue;
            product = q * pivot[j];
            row[j] -= product;
        }
    };
    for (std::size_t k = 0; k < m; ++k) {
        std::size_t best = m;
        std::size_t column = n;
        for (std::size_t i = k; i < m; ++i) {
            std::size_t leading = start;
            while (leading < n && sgn(A[i][leading]) == 0)
                ++leading;
            if (leading == n) continue;
            if (leading < column) {
                best = i;
                column = leading;
            } else if (leading == column && cmp(abs(A[i][column]), abs(A[best][column])) > 0) {
                std::swap(A[i], A[best]);
                std::swap(Tr[i], Tr[best]);
                sign = -sign;
            }
        }
        if (best == m) return sign * rank;
        if (best != k) {
            std::swap(A[best], A[k]);
            std::swap(Tr[best], Tr[k]);
            sign = -sign;
        }
        std::vector<mpq_class>& pivotRow = A[k];
        std::vector<mpq_class>& pivotTr = Tr[k];
        for (std::size_t i = k + 1; i < m; ++i) {
            if (sgn(A[i][column]) == 0) continue;
            q = A[i][column] / pivotRow[column];
            subtractMultiple(A[i], pivotRow, column + 1, n);
            A[i][column] = 0;
            subtractMultiple(Tr[i], pivotTr, 0, m);
        }
        const mpq_class pivot = pivotRow[column];
        for (std::size_t j = column + 1; j < n; ++j)
            if (sgn(pivotRow[j]) != 0) pivotRow[j] /= pivot;
        pivotRow[column] = 1;
        for (std::size_t j = 0; j < m; ++j)
            if (sgn(pivotTr[j]) != 0) pivotTr[j] /= pivot;
        for (std::size_t i = 0; i < k; ++i) {
            if (sgn(A[i][column]) == 0) continue;
            q = A[i][column];
            subtractMultiple(A[i], pivotRow, column + 1, n);
            A[i][column] = 0;
            subtractMultiple(Tr[i], pivotTr, 0, m);
        }
        ++rank;
        start = column + 1;
    }
    return sign * rank;
}

// Whether the QQ matrix equals the mpq_class rows entry by entry (through the text n/d).
bool sameEntries(const Matrix<QQ>& M, const MpqRows& rows)
{
    if (M.rowCount != static_cast<long>(rows.size())) return false;
    for (long i = 1; i <= M.rowCount; ++i) {
        if (M.colCount != static_cast<long>(rows[i - 1].size())) return false;
        for (long j = 1; j <= M.colCount; ++j)
            if (M[i][j] != QQ(rows[i - 1][j - 1].get_str().c_str())) return false;
    }
    return true;
}

void rrefQQ(benchmark::State& state)
{
    const long n = state.range(0);
    const std::vector<std::vector<long>> entries = randomIntegers(n);
    const Matrix<QQ> A = toMatrix<QQ>(n, [&](long i, long j) { return QQ(entries[i][j]); });
    {
        Matrix<QQ> R(A);
        Matrix<QQ> Tr;
        const long result = R.row_echelon_form(Tr, true);
        MpqRows rows(n, std::vector<mpq_class>(n));
        for (long i = 0; i < n; ++i)
            for (long j = 0; j < n; ++j)
                rows[i][j] = entries[i][j];
        MpqRows rowsTr;
        if (mpqRref(rows, rowsTr) != result || !sameEntries(R, rows) || !sameEntries(Tr, rowsTr)) {
            state.SkipWithError("QQ and mpq_class give different reduced forms");
            return;
        }
    }
    for (auto _ : state) {
        Matrix<QQ> R(A);
        Matrix<QQ> Tr;
        long result = R.row_echelon_form(Tr, true);
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(R.rowData);
    }
}

void rrefMpq(benchmark::State& state)
{
    const long n = state.range(0);
    const std::vector<std::vector<long>> entries = randomIntegers(n);
    MpqRows A(n, std::vector<mpq_class>(n));
    for (long i = 0; i < n; ++i)
        for (long j = 0; j < n; ++j)
            A[i][j] = entries[i][j];
    for (auto _ : state) {
        MpqRows R(A);
        MpqRows Tr;
        long result = mpqRref(R, Tr);
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(R.data());
    }
}

// ---- rref and gauss with plain long double loops -----------------------------------------------

constexpr long double EPSILON = 1e-9L; // the zero test of the library in long double
constexpr long double OVERFLOW_LIMIT = 1e9L;

bool isZero(long double x)
{
    return fabsl(x) <= EPSILON;
}

void checkMultiplier(long double q)
{
    if (fabsl(q) > OVERFLOW_LIMIT) throw std::overflow_error("multiplier beyond 10^9");
}

// The reduced row echelon form of the row-major n x n matrix A in place and Tr, as mpqRref with
// the library's zero test and overflow checks; out of line like the library routine.
__attribute__((noinline)) long plainRref(std::vector<long double>& A, std::vector<long double>& Tr,
                                         std::size_t n)
{
    Tr.assign(n * n, 0.0L);
    for (std::size_t i = 0; i < n; ++i)
        Tr[i * n + i] = 1.0L;
    auto swapRows = [&](std::size_t a, std::size_t b) {
        std::swap_ranges(A.begin() + a * n, A.begin() + (a + 1) * n, A.begin() + b * n);
        std::swap_ranges(Tr.begin() + a * n, Tr.begin() + (a + 1) * n, Tr.begin() + b * n);
    };
    long sign = 1;
    long rank = 0;
    std::size_t start = 0;
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t best = n;
        std::size_t column = n;
        for (std::size_t i = k; i < n; ++i) {
            std::size_t leading = start;
            while (leading < n && isZero(A[i * n + leading]))
                ++leading;
            if (leading == n) continue;
            if (leading < column) {
                best = i;
                column = leading;
            } else if (leading == column && fabsl(A[i * n + column]) > fabsl(A[best * n + column])) {
                swapRows(i, best);
                sign = -sign;
            }
        }
        if (best == n) return sign * rank;
        if (best != k) {
            swapRows(best, k);
            sign = -sign;
        }
        long double* pivotRow = &A[k * n];
        long double* pivotTr = &Tr[k * n];
        for (std::size_t i = k + 1; i < n; ++i) {
            long double* row = &A[i * n];
            if (isZero(row[column])) continue;
            const long double q = row[column] / pivotRow[column];
            checkMultiplier(q);
            for (std::size_t j = column + 1; j < n; ++j)
                row[j] -= q * pivotRow[j];
            row[column] = 0.0L;
            long double* rowTr = &Tr[i * n];
            for (std::size_t j = 0; j < n; ++j)
                rowTr[j] -= q * pivotTr[j];
        }
        const long double pivot = pivotRow[column];
        checkMultiplier(pivot);
        for (std::size_t j = column + 1; j < n; ++j)
            pivotRow[j] /= pivot;
        pivotRow[column] = 1.0L;
        for (std::size_t j = 0; j < n; ++j)
            pivotTr[j] /= pivot;
        for (std::size_t i = 0; i < k; ++i) {
            long double* row = &A[i * n];
            if (isZero(row[column])) continue;
            const long double q = row[column];
            checkMultiplier(q);
            for (std::size_t j = column + 1; j < n; ++j)
                row[j] -= q * pivotRow[j];
            row[column] = 0.0L;
            long double* rowTr = &Tr[i * n];
            for (std::size_t j = 0; j < n; ++j)
                rowTr[j] -= q * pivotTr[j];
        }
        ++rank;
        start = column + 1;
    }
    return sign * rank;
}

struct PlainLU {
    std::vector<long double> L, U; // row-major n x n
    std::vector<std::size_t> permutation;
    long rank = 0;
};

// P A = L U with partial pivoting as gauss does it: the strictly greatest absolute entry of the
// column (the earliest on a tie), a column without a pivot passed over and zeroed from the
// diagonal down, multipliers kept below the diagonal; then split into unit lower L and upper U.
__attribute__((noinline)) PlainLU plainGauss(const std::vector<long double>& A, std::size_t n)
{
    PlainLU f;
    f.L = A;
    f.U.assign(n * n, 0.0L);
    f.permutation.resize(n);
    for (std::size_t i = 0; i < n; ++i)
        f.permutation[i] = i;
    f.rank = static_cast<long>(n);
    std::vector<long double>& L = f.L;
    for (std::size_t j = 0; j < n; ++j) {
        long double maximum = 0.0L;
        std::size_t pivotRow = n;
        for (std::size_t i = j; i < n; ++i)
            if (fabsl(L[i * n + j]) > maximum) {
                maximum = fabsl(L[i * n + j]);
                pivotRow = i;
            }
        if (pivotRow == n || isZero(maximum)) {
            --f.rank;
            for (std::size_t i = j; i < n; ++i)
                L[i * n + j] = 0.0L;
            continue;
        }
        std::swap_ranges(L.begin() + pivotRow * n, L.begin() + (pivotRow + 1) * n, L.begin() + j * n);
        std::swap(f.permutation[pivotRow], f.permutation[j]);
        const long double* pivot = &L[j * n];
        for (std::size_t i = j + 1; i < n; ++i) {
            long double* row = &L[i * n];
            if (row[j] == 0.0L) continue;
            const long double multiplier = row[j] / pivot[j];
            row[j] = multiplier;
            for (std::size_t c = j + 1; c < n; ++c)
                row[c] -= multiplier * pivot[c];
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t c = i; c < n; ++c) {
            f.U[i * n + c] = L[i * n + c];
            L[i * n + c] = 0.0L;
        }
        L[i * n + i] = 1.0L;
    }
    return f;
}

// The greatest |M[i][j] - values[i][j]|.
long double maxDifference(const Matrix<long double>& M, const std::vector<long double>& values)
{
    const long n = M.rowCount;
    long double worst = 0.0L;
    for (long i = 1; i <= n; ++i)
        for (long j = 1; j <= n; ++j)
            worst = std::max(worst, fabsl(M[i][j] - values[(i - 1) * n + (j - 1)]));
    return worst;
}

void rrefLongDouble(benchmark::State& state)
{
    const long n = state.range(0);
    const std::vector<long double> values = randomStandard(n);
    const Matrix<long double> A = toMatrix<long double>(n, [&](long i, long j) { return values[i * n + j]; });
    {
        Matrix<long double> R(A);
        Matrix<long double> Tr;
        const long result = R.row_echelon_form(Tr, true);
        std::vector<long double> plain(values);
        std::vector<long double> plainTr;
        const long plainResult = plainRref(plain, plainTr, n);
        const long double difference = std::max(maxDifference(R, plain), maxDifference(Tr, plainTr));
        state.counters["difference"] = static_cast<double>(difference);
        if (result != plainResult || difference > EPSILON) {
            state.SkipWithError("Matrix and the plain loop give different reduced forms");
            return;
        }
    }
    for (auto _ : state) {
        Matrix<long double> R(A);
        Matrix<long double> Tr;
        long result = R.row_echelon_form(Tr, true);
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(R.rowData);
    }
}

void rrefPlain(benchmark::State& state)
{
    const long n = state.range(0);
    const std::vector<long double> values = randomStandard(n);
    for (auto _ : state) {
        std::vector<long double> R(values);
        std::vector<long double> Tr;
        long result = plainRref(R, Tr, n);
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(R.data());
    }
}

void gaussLongDouble(benchmark::State& state)
{
    const long n = state.range(0);
    const std::vector<long double> values = randomStandard(n);
    const Matrix<long double> A = toMatrix<long double>(n, [&](long i, long j) { return values[i * n + j]; });
    {
        Matrix<long double> L;
        Matrix<long double> U;
        Array<long> permutation;
        const long rank = A.gauss(L, U, permutation);
        const PlainLU plain = plainGauss(values, n);
        const long double difference = std::max(maxDifference(L, plain.L), maxDifference(U, plain.U));
        state.counters["difference"] = static_cast<double>(difference);
        bool samePermutation = true;
        for (long i = 1; i <= n; ++i)
            samePermutation =
                samePermutation && permutation[i] == static_cast<long>(plain.permutation[i - 1]) + 1;
        if (rank != plain.rank || !samePermutation || difference > EPSILON) {
            state.SkipWithError("Matrix and the plain loop give different factors");
            return;
        }
    }
    for (auto _ : state) {
        Matrix<long double> L;
        Matrix<long double> U;
        Array<long> permutation;
        long rank = A.gauss(L, U, permutation);
        benchmark::DoNotOptimize(rank);
        benchmark::DoNotOptimize(U.rowData);
    }
}

void gaussPlain(benchmark::State& state)
{
    const long n = state.range(0);
    const std::vector<long double> values = randomStandard(n);
    for (auto _ : state) {
        PlainLU factors = plainGauss(values, n);
        benchmark::DoNotOptimize(factors.U.data());
    }
}

// Names: <routine>/<side>/<n>.
BENCHMARK(rrefQQ)->Name("rref/qq")->Arg(30)->Arg(60)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(rrefMpq)->Name("rref/mpq")->Arg(30)->Arg(60)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(rrefLongDouble)->Name("rref/ld")->Arg(100)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(rrefPlain)->Name("rref/plain")->Arg(100)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(gaussLongDouble)->Name("gauss/ld")->Arg(100)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(gaussPlain)->Name("gauss/plain")->Arg(100)->Unit(benchmark::kMillisecond)->Repetitions(5);

// Keeps the fastest CPU time per iteration, in seconds, of each benchmark name.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> fastest;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
            const double seconds = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            // "rref/qq" and "30", without the repetitions suffix.
            const std::string name = run.run_name.function_name + "/" + run.run_name.args;
            auto found = fastest.find(name);
            if (found == fastest.end() || seconds < found->second) fastest[name] = seconds;
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

void printTable(const RatioReporter& reporter)
{
    auto time = [&](const std::string& name) {
        auto found = reporter.fastest.find(name);
        return found == reporter.fastest.end() ? -1.0 : found->second;
    };
    std::printf("\nFastest repetition, CPU time; ratio = library / reference\n\n");
    std::printf("| routine | n | library | reference | ratio | target |\n");
    std::printf("|---|---:|---:|---:|---:|---|\n");
    struct Row {
        const char* routine;
        const char* library;
        const char* reference;
        int n;
        const char* target;
    };
    for (const Row& row :
         {Row{"rref QQ / mpq_class", "rref/qq", "rref/mpq", 30, "<= 0.3 s, ratio <= 5"},
          Row{"rref QQ / mpq_class", "rref/qq", "rref/mpq", 60, "<= 3 s, ratio <= 5"},
          Row{"rref long double / plain", "rref/ld", "rref/plain", 100, "ratio <= 1.5"},
          Row{"gauss long double / plain", "gauss/ld", "gauss/plain", 100, "ratio <= 1.5"}}) {
        const std::string n = std::to_string(row.n);
        const double library = time(std::string(row.library) + "/" + n);
        const double reference = time(std::string(row.reference) + "/" + n);
        if (library < 0 || reference <= 0) {
            std::printf("| %s | %d | - | - | - | %s |\n", row.routine, row.n, row.target);
            continue;
        }
        std::printf("| %s | %d | %.4g s | %.4g s | %.2fx | %s |\n", row.routine, row.n, library, reference,
                    library / reference, row.target);
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
    printTable(reporter);
    return 0;
}
