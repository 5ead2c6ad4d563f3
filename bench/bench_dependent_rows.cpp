// bench_dependent_rows.cpp: eliminateDependentRows on 50 x 100 integer matrices (entries -50..50,
// fixed seed) with 10 dependent rows, in long double and in QQ. 40 rows are random; of the 10
// others, 5 are integer combinations of two or three of them (such a row simply goes) and 5 are
// rows v whose double 2 v stands among the 40 (coordinate 1/2: a Euclid on the two rows leaves v).
// All 50 rows are shuffled. Each iteration copies the matrix and eliminates; the result must have
// the 40 rows of the rank, or the benchmark reports an error. Target: at most 0.5 s per matrix.
#include "arith/qq.h"
#include "linalg/matrix.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using latopt::Matrix;
using latopt::QQ;

constexpr long ROWS = 50, COLS = 100, DEPENDENT = 10;

Matrix<QQ> matrixWithDependentRows()
{
    std::mt19937_64 random(20261121);
    std::uniform_int_distribution<long> entry(-50, 50), coefficient(-3, 3);
    std::vector<std::vector<long>> rows(ROWS - DEPENDENT, std::vector<long>(COLS));
    for (auto& row : rows)
        for (long& x : row)
            x = entry(random);
    const long independent = ROWS - DEPENDENT;
    for (long k = 0; k < DEPENDENT / 2; ++k) {
        // An integer combination of three of the random rows that are not doubled.
        std::vector<long> sum(COLS, 0);
        for (int term = 0; term < 3; ++term) {
            const std::vector<long>& other = rows[DEPENDENT / 2 + random() % (independent - DEPENDENT / 2)];
            const long factor = coefficient(random);
            for (long j = 0; j < COLS; ++j)
                sum[j] += factor * other[j];
        }
        rows.push_back(sum);
        // v, with 2 v in place of a random row.
        const std::vector<long> v = rows[k];
        rows.push_back(v);
        for (long& x : rows[k])
            x *= 2;
    }
    std::shuffle(rows.begin(), rows.end(), random);
    Matrix<QQ> A(ROWS, COLS);
    for (long i = 1; i <= ROWS; ++i)
        for (long j = 1; j <= COLS; ++j)
            A[i][j] = QQ(rows[i - 1][j - 1]);
    return A;
}

template <class T>
void eliminateDependentRows(benchmark::State& state)
{
    const Matrix<T> A(matrixWithDependentRows());
    for (auto _ : state) {
        Matrix<T> B(A);
        B.eliminateDependentRows();
        if (B.rowCount != ROWS - DEPENDENT) {
            state.SkipWithError("the result does not have the rank's number of rows");
            break;
        }
        benchmark::DoNotOptimize(B.rowData);
    }
}

BENCHMARK(eliminateDependentRows<long double>)
    ->Name("eliminateDependentRows/long double/50x100")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(eliminateDependentRows<QQ>)
    ->Name("eliminateDependentRows/QQ/50x100")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
