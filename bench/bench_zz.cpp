// bench_zz: ZZ against GMP's mpz, side by side in one run: multiplication, division, gcd, parsing
// and printing at 10, 100, 1000 and 10000 decimal digits. Both sides get the same values (from
// the same decimal text, fixed seed) and write into result objects kept across iterations. The
// run ends with a table of the ratios ZZ time / GMP time (medians of the repetitions, CPU time, so that
// other load on the machine distorts them less).
//   mul   a * b, both of d digits
//   div   quotient and remainder of a 2d-digit dividend by a d-digit divisor
//   gcd   Math::ggt / mpz_gcd of two d-digit values
//   parse decimal text of d digits into a value
//   print a d-digit value to decimal text
#include "arith/zz.h"

#include <benchmark/benchmark.h>
#include <gmp.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using latopt::Math;
using latopt::ZZ;

const long DIGITS[] = {10, 100, 1000, 10000};
const char* const OPERATIONS[] = {"mul", "div", "gcd", "parse", "print"};

std::string randomDigits(std::mt19937_64& engine, long digits)
{
    std::string text(static_cast<size_t>(digits), '0');
    text[0] = static_cast<char>('1' + engine() % 9);
    for (long i = 1; i < digits; ++i)
        text[static_cast<size_t>(i)] = static_cast<char>('0' + engine() % 10);
    return text;
}

// The same operands as text, ZZ and mpz.
struct Operands {
    std::string aText;
    std::string bText;
    std::string wideText; // 2d digits, the dividend
    ZZ a, b, wide;
    mpz_t ga, gb, gwide;

    explicit Operands(long digits)
    {
        std::mt19937_64 engine(20261121 + static_cast<unsigned long long>(digits));
        aText = randomDigits(engine, digits);
        bText = randomDigits(engine, digits);
        wideText = randomDigits(engine, 2 * digits);
        a = aText.c_str();
        b = bText.c_str();
        wide = wideText.c_str();
        mpz_init_set_str(ga, aText.c_str(), 10);
        mpz_init_set_str(gb, bText.c_str(), 10);
        mpz_init_set_str(gwide, wideText.c_str(), 10);
    }
    ~Operands()
    {
        mpz_clear(ga);
        mpz_clear(gb);
        mpz_clear(gwide);
    }
    Operands(const Operands&) = delete;
    Operands& operator=(const Operands&) = delete;
};

Operands& operands(long digits)
{
    static std::map<long, Operands*> cache;
    Operands*& entry = cache[digits];
    if (entry == nullptr) entry = new Operands(digits); // kept to the end of the process
    return *entry;
}

void zzRun(benchmark::State& state, const std::string& operation, long digits)
{
    Operands& x = operands(digits);
    ZZ c, q, r;
    if (operation == "mul") {
        for (auto _ : state) {
            ZZ::mul(x.a, x.b, c);
            benchmark::DoNotOptimize(c.data);
        }
    } else if (operation == "div") {
        for (auto _ : state) {
            ZZ::div(x.wide, x.b, q, r);
            benchmark::DoNotOptimize(q.data);
            benchmark::DoNotOptimize(r.data);
        }
    } else if (operation == "gcd") {
        for (auto _ : state) {
            c = Math::ggt(x.a, x.b);
            benchmark::DoNotOptimize(c.data);
        }
    } else if (operation == "parse") {
        for (auto _ : state) {
            c = x.aText.c_str();
            benchmark::DoNotOptimize(c.data);
        }
    } else if (operation == "print") {
        for (auto _ : state) {
            std::string text = x.a.getStringRepresentation();
            benchmark::DoNotOptimize(text.data());
        }
    }
}

void gmpRun(benchmark::State& state, const std::string& operation, long digits)
{
    Operands& x = operands(digits);
    mpz_t c, q, r;
    mpz_inits(c, q, r, nullptr);
    std::vector<char> buffer(mpz_sizeinbase(x.ga, 10) + 2);
    if (operation == "mul") {
        for (auto _ : state) {
            mpz_mul(c, x.ga, x.gb);
            benchmark::DoNotOptimize(c);
        }
    } else if (operation == "div") {
        for (auto _ : state) {
            mpz_tdiv_qr(q, r, x.gwide, x.gb);
            benchmark::DoNotOptimize(q);
            benchmark::DoNotOptimize(r);
        }
    } else if (operation == "gcd") {
        for (auto _ : state) {
            mpz_gcd(c, x.ga, x.gb);
            benchmark::DoNotOptimize(c);
        }
    } else if (operation == "parse") {
        for (auto _ : state) {
            mpz_set_str(c, x.aText.c_str(), 10);
            benchmark::DoNotOptimize(c);
        }
    } else if (operation == "print") {
        for (auto _ : state) {
            mpz_get_str(buffer.data(), 10, x.ga);
            benchmark::DoNotOptimize(buffer.data());
        }
    }
    mpz_clears(c, q, r, nullptr);
}

// Both libraries must agree before anything is timed.
bool resultsAgree()
{
    for (long digits : DIGITS) {
        Operands& x = operands(digits);
        ZZ c, q, r;
        mpz_t gc, gq, gr;
        mpz_inits(gc, gq, gr, nullptr);
        auto same = [](const ZZ& z, const mpz_t g) {
            std::vector<char> text(mpz_sizeinbase(g, 10) + 2);
            mpz_get_str(text.data(), 10, g);
            return z.getStringRepresentation() == std::string(text.data());
        };
        ZZ::mul(x.a, x.b, c);
        mpz_mul(gc, x.ga, x.gb);
        bool agree = same(c, gc);
        ZZ::div(x.wide, x.b, q, r);
        mpz_tdiv_qr(gq, gr, x.gwide, x.gb);
        agree = agree && same(q, gq) && same(r, gr);
        c = Math::ggt(x.a, x.b);
        mpz_gcd(gc, x.ga, x.gb);
        agree = agree && same(c, gc);
        mpz_clears(gc, gq, gr, nullptr);
        if (!agree) {
            std::fprintf(stderr, "ZZ and GMP disagree at %ld digits\n", digits);
            return false;
        }
    }
    return true;
}

// Console output as usual, and the median time of each benchmark kept for the table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> medians; // benchmark name -> CPU ns

    void ReportRuns(const std::vector<Run>& reports) override
    {
        for (const Run& run : reports)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                medians[run.run_name.function_name] = run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(reports);
    }
};

std::string name(const char* library, const char* operation, long digits)
{
    return std::string(library) + "/" + operation + "/" + std::to_string(digits);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (!resultsAgree()) return 1;
    for (const char* operation : OPERATIONS) {
        for (long digits : DIGITS) {
            const std::string op = operation;
            benchmark::RegisterBenchmark(name("ZZ", operation, digits).c_str(),
                                         [op, digits](benchmark::State& state) { zzRun(state, op, digits); })
                ->Unit(benchmark::kNanosecond)
                ->Repetitions(3)
                ->ReportAggregatesOnly(true);
            benchmark::RegisterBenchmark(name("GMP", operation, digits).c_str(),
                                         [op, digits](benchmark::State& state) { gmpRun(state, op, digits); })
                ->Unit(benchmark::kNanosecond)
                ->Repetitions(3)
                ->ReportAggregatesOnly(true);
        }
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    // Ratio table: ZZ time / GMP time, medians of three repetitions.
    std::printf("\nZZ time / GMP time (CPU time, median of 3 repetitions; ZZ ns | GMP ns | ratio)\n");
    std::printf("%-8s", "digits");
    for (const char* operation : OPERATIONS)
        std::printf(" | %-28s", operation);
    std::printf("\n");
    for (long digits : DIGITS) {
        std::printf("%-8ld", digits);
        for (const char* operation : OPERATIONS) {
            const auto zz = reporter.medians.find(name("ZZ", operation, digits));
            const auto gmp = reporter.medians.find(name("GMP", operation, digits));
            if (zz == reporter.medians.end() || gmp == reporter.medians.end() || gmp->second <= 0) {
                std::printf(" | %-28s", "-");
                continue;
            }
            char cell[64];
            std::snprintf(cell, sizeof cell, "%.0f | %.0f | %.2f", zz->second, gmp->second,
                          zz->second / gmp->second);
            std::printf(" | %-28s", cell);
        }
        std::printf("\n");
    }
    return 0;
}
