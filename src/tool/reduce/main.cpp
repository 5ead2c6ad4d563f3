// main.cpp: latopt-reduce [--deep] [--exact] [--transform=FILE] [--budget=N] [FILE], the lattice
// reduction of the engine as a program of its own: reads an integer basis (basis_text.h) from FILE
// or standard input, reduces it with Lattice::lll(1, 0, 0) and writes the reduced basis to standard
// output; with --transform also U, U * B_in = B_out, to FILE.
// Precision ladder: long double lattice and Gram-Schmidt data while the input fits (every entry
// below 10^18); a PrecisionException sends the run, from the input again, to exact lattice data
// with long double Gram-Schmidt data; more than 100 d^2 (1 + log2 max|b|) exchange tests (the
// long double data deciding badly, round and round) or exploding entries (see Limits) send it to
// exact data throughout, with a warning. --exact starts there.
// Bad input and bad options: one line "latopt-reduce: ..." on standard error, status 1.
#include "basis_text.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lattice.h"
#include "linalg/matrix.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <regex>
#include <string>

namespace latopt::reduce {
namespace {

const std::string USAGE = "Usage: latopt-reduce [--deep] [--exact] [--transform=FILE] [--budget=N] [FILE]";

[[noreturn]] void fail(const std::string& message)
{
    std::cout.flush();
    std::cerr << "latopt-reduce: " << message << std::endl;
    failure();
}

void printHelp()
{
    std::cout
        << USAGE << "\n"
        << "Reduces the integer basis in FILE (or on standard input), written as fplll writes it:\n"
        << "  [[1 2 3] [4 5 6]]   one bracketed row per basis vector, white space free\n"
        << "and writes the reduced basis in the same form, one row per line, integers in full.\n"
        << "The result B_out = U B_in (U integral, det U = +-1) is size-reduced (|mu| <= 1/2) and\n"
        << "satisfies Lovasz's condition with delta = 0.999999999 for consecutive rows, or with --deep\n"
        << "the deep-insertion condition for the positions 2 <= j < k (row 1 stays as it is).\n"
        << "Rows that depend on the others end behind the independent ones, with a warning.\n"
        << "Options:\n"
        << "  --deep, --deep=N     deep insertion (N >= 1; --deep=0 is the plain exchange)\n"
        << "  --exact              exact arithmetic throughout (slower; otherwise long double first)\n"
        << "  --transform=FILE     also write U with U * B_in = B_out to FILE\n"
        << "  --delta=0.999999999  the exchange factor; no other value is supported\n"
        << "  --budget=N           a single reduction call with N exchange tests at most, instead of\n"
        << "                       reducing to the end; the result may be partly reduced\n"
        << "  --help               this text\n";
}

struct Options {
    bool deep = false;
    bool exact = false;
    std::string transformFile; // empty: no transform
    long budget = 0;           // 0: reduce to the end
    std::string inputFile;     // empty: standard input
};

long positiveNumber(const std::string& argument, const std::string& text, bool zeroAllowed)
{
    if (!std::regex_match(text, std::regex("[0-9]{1,15}")) || (!zeroAllowed && std::stol(text) == 0))
        fail("\"" + argument + "\": " + (zeroAllowed ? "a whole number" : "a whole number >= 1") +
             " is needed (" + USAGE + ")");
    return std::stol(text);
}

Options parseOptions(int argc, char** argv)
{
    Options options;
    bool haveFile = false;
    for (int k = 1; k < argc; ++k) {
        const std::string argument = argv[k];
        const size_t equals = argument.find('=');
        const std::string key = argument.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
        const bool hasValue = equals != std::string::npos;
        if (argument == "--help" || argument == "-h") {
            printHelp();
            std::exit(0);
        } else if (key == "--deep") {
            options.deep = !hasValue || positiveNumber(argument, value, true) >= 1;
        } else if (argument == "--exact") {
            options.exact = true;
        } else if (key == "--transform" && hasValue && !value.empty()) {
            options.transformFile = value;
        } else if (key == "--budget" && hasValue) {
            options.budget = positiveNumber(argument, value, false);
        } else if (key == "--delta" && hasValue) {
            if (!std::regex_match(value, std::regex("0?\\.9999999990*")))
                fail("\"" + argument + "\": only the exchange factor 0.999999999 is supported");
        } else if (argument.rfind("-", 0) == 0 && argument != "-") {
            fail("unknown option \"" + argument + "\" (" + USAGE + ")");
        } else {
            if (haveFile) fail("more than one input file (" + USAGE + ")");
            haveFile = true;
            if (argument != "-") options.inputFile = argument;
        }
    }
    return options;
}

// The reduced basis and U of one run, exactly.
struct Result {
    Matrix<QQ> basis;
    Matrix<QQ> transform;
    bool dependent = false; // the reduction stopped at a row that depends on the rows before it
};

// An integer long double, exactly (below 10^18 in magnitude, as the reduction keeps them).
Matrix<QQ> exactly(const Matrix<long double>& m)
{
    Matrix<QQ> result(m.rowCount, m.colCount);
    char number[64];
    for (long i = 1; i <= m.rowCount; ++i)
        for (long j = 1; j <= m.colCount; ++j) {
            std::snprintf(number, sizeof number, "%.0Lf", m[i][j]);
            result[i][j] = QQ(number);
        }
    return result;
}

Matrix<QQ> exactly(const Matrix<QQ>& m)
{
    return m;
}

// What a run with long double Gram-Schmidt data may do before it counts as lost: the exchange
// tests (100 d^2 (1 + log2 max|b|)) and the decimal digits of an entry of B. A correct reduction
// never gets near the second: every basis it passes through has rows of at most 2^d times the
// longest input row, so only decisions taken on rounded data gone wrong make the entries explode.
struct Limits {
    long tests = 0;  // 0: none (the exact run, and --budget)
    long digits = 0; // 0: none
};

// Thrown when a run in long double Gram-Schmidt data passes its limits.
struct Lost {
    std::string reason;
};

long digitsOf(const QQ& x)
{
    return x.ganze.digits();
}

long digitsOf(long double x)
{
    return x == 0 ? 1 : 1 + static_cast<long>(std::log10(std::fabs(x)));
}

template <class R1>
long maxDigits(const Matrix<R1>& m)
{
    long digits = 0;
    for (long i = 1; i <= m.rowCount; ++i)
        for (long j = 1; j <= m.colCount; ++j)
            digits = std::max(digits, digitsOf(m[i][j]));
    return digits;
}

// Reduces input in Lattice<R1, R2>: lll(1, 0, 0) until every row has passed its exchange test, or
// until a call makes no test (the rows behind are dependent), or once with options.budget.
template <class R1, class R2>
Result reduceIn(const Matrix<R1>& input, const Options& options, const Limits& limits)
{
    using L = Lattice<R1, R2>;
    L lattice(&input);
    lattice.offerCandidates = false;
    lattice.params.deep = options.deep;
    lattice.params.consistency = !options.transformFile.empty();
    const long d = lattice.dimB;
    // Far above any run, and small enough that the reduction may double it.
    const long unlimited = 1L << 40;
    const auto allTested = [&lattice, d] {
        for (long k = 1; k <= d; ++k)
            if ((lattice.rowState[k] & L::EXCHANGE_TESTED) == 0) return false;
        return true;
    };
    Result result;
    if (options.budget > 0) {
        lattice.lllStepBudget = options.budget;
        lattice.lll(1, 0, 0);
    } else {
        while (!allTested()) {
            const long before = lattice.exchangeTestCount;
            lattice.lllStepBudget = limits.tests > 0 ? limits.tests - before + 1 : unlimited;
            lattice.lll(1, 0, 0);
            if (limits.tests > 0 && lattice.exchangeTestCount > limits.tests)
                throw Lost{"more than " + std::to_string(limits.tests) + " exchange tests"};
            if (limits.digits > 0 && maxDigits(lattice.B) > limits.digits)
                throw Lost{"basis entries of more than " + std::to_string(limits.digits) + " digits"};
            if (lattice.exchangeTestCount == before) {
                result.dependent = true;
                break;
            }
        }
    }
    result.basis = exactly(lattice.B);
    if (!options.transformFile.empty()) result.transform = exactly(lattice.TT[1]);
    return result;
}

Limits limitsOf(const Matrix<QQ>& input)
{
    const long d = input.rowCount;
    const long digits = maxDigits(input);
    const long bits = static_cast<long>(std::ceil(digits * std::log2(10.0)));
    // 2^d times the longest row, with room to spare: d / 3 + digits + log10(n) + 10 digits.
    return {100 * d * d * (1 + bits), d / 3 + digits + 12};
}

// Every entry below 10^18 in magnitude: the long double lattice holds the input exactly.
std::optional<Matrix<long double>> inLongDouble(const Matrix<QQ>& input)
{
    Matrix<long double> result(input.rowCount, input.colCount);
    for (long i = 1; i <= input.rowCount; ++i)
        for (long j = 1; j <= input.colCount; ++j) {
            if (input[i][j].ganze.digits() > 18) return std::nullopt;
            result[i][j] =
                std::strtold(input[i][j].signedInteger().getStringRepresentation().c_str(), nullptr);
        }
    return result;
}

Result reduceBasis(const Matrix<QQ>& input, const Options& options)
{
    if (!options.exact) {
        const Limits limits = options.budget > 0 ? Limits{} : limitsOf(input);
        try {
            try {
                if (std::optional<Matrix<long double>> start = inLongDouble(input))
                    return reduceIn<long double, long double>(*start, options, limits);
            } catch (const PrecisionException&) {
                // A long double entry left the trusted range: exact lattice data from here.
            }
            return reduceIn<QQ, long double>(input, options, limits);
        } catch (const Lost& lost) {
            warning("latopt-reduce: " + lost.reason +
                    " with long double Gram-Schmidt data; reducing again in exact arithmetic");
        } catch (const PrecisionException& exception) {
            warning(std::string("latopt-reduce: ") + exception.what() +
                    "; reducing again in exact arithmetic");
        }
    }
    return reduceIn<QQ, QQ>(input, options, Limits{});
}

} // namespace
} // namespace latopt::reduce

int main(int argc, char** argv)
{
    using namespace latopt;
    using namespace latopt::reduce;
    const Options options = parseOptions(argc, argv);
    const std::string source = options.inputFile.empty() ? "standard input" : options.inputFile;
    Matrix<QQ> input;
    std::string problem;
    if (options.inputFile.empty()) {
        problem = readBasis(std::cin, input);
    } else {
        std::ifstream file(options.inputFile);
        if (!file) fail(source + ": cannot be read (" + std::strerror(errno) + ")");
        problem = readBasis(file, input);
        if (file.bad()) problem = "cannot be read (" + std::string(std::strerror(errno)) + ")";
    }
    if (!problem.empty()) fail(source + ": " + problem);

    const Result result = reduceBasis(input, options);
    if (result.dependent)
        warning("latopt-reduce: " + source +
                ": the basis has dependent rows; they end behind the independent ones");
    if (!options.transformFile.empty()) {
        std::ofstream file(options.transformFile);
        if (file) writeBasis(file, result.transform);
        if (!file) fail(options.transformFile + ": cannot be written (" + std::strerror(errno) + ")");
    }
    writeBasis(std::cout, result.basis);
    std::cout.flush();
    return 0;
}
