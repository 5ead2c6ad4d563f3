// solution_check.cpp: the proof of stored solutions against the program (Vorm<T>::checkStar,
// checkStars) and the report of what passed (outputOptStarSolutions), with printTime.
// Nothing in a solution file is trusted: a record passes only if it meets the bounds, the
// equations and the inequations, and its target values and norms are then recomputed. Every
// verdict must be exact: in long double, a value that the check uses or forms beyond the trusted
// range (Precision::overflows) throws PrecisionException, and the caller redoes the check in QQ.
#include "program/print_time.h"
#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/const.h"
#include "base/exceptions.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

#include <cmath>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

namespace latopt {

namespace {

// The goal marks of the report, in UTF-8: U+2192 (towards a finite goal), U+2191 (maximised),
// U+2193 (minimised).
constexpr const char* GOAL_FINITE = "\xE2\x86\x92";
constexpr const char* GOAL_UP = "\xE2\x86\x91";
constexpr const char* GOAL_DOWN = "\xE2\x86\x93";

// A long double beyond the trusted range can't carry an exact verdict: the check must be redone
// in QQ. Overflows itself throws FatalPrecisionException beyond 10^18. Exact numbers pass.
void guard(const long double& value)
{
    // Nearly every value is within the range: one comparison settles it, and the full test
    // (infinities, NaN, the fatal range) runs for the rest only.
    static const long double trusted = Const::DOUBLE_OVERFLOW();
    if (fabsl(value) <= trusted) return;
    if (Precision::overflows(value))
        throw PrecisionException("Solution check: value beyond the trusted range");
}

void guard(const QQ&)
{
}

// A times x, as Matrix::operator* computes it (each entry from zero, products added in index
// order), with every entry of A it multiplies, every product and every running sum guarded.
// Shapes that don't fit stop the process with the product's own message.
template <class T>
Vector<T> guardedProduct(const Matrix<T>& A, const Vector<T>& x)
{
    if (A.colCount != x.dimension()) return A * x;
    Vector<T> result(A.rowCount);
    for (long i = 1; i <= A.rowCount; ++i) {
        const Vector<T>& row = A[i];
        if (row.dimension() != x.dimension()) return A * x;
        T sum = Constant<T>::ZERO();
        for (long j = 1; j <= row.dimension(); ++j) {
            guard(row[j]);
            const T product = row[j] * x[j];
            guard(product);
            sum += product;
            guard(sum);
        }
        result[i] = sum;
    }
    return result;
}

} // namespace

template <class T>
bool Vorm<T>::checkStar(Star<T>& star)
{
    const Vector<T>& x = star;
    // The values of x are used by every test below.
    for (long j = 1; j <= x.dimension(); ++j)
        guard(x[j]);
    // 1., 2. The bounds of the variables, exactly.
    if (!(x >= lx)) return false;
    if (!(x <= rx)) return false;
    // 3. The equations, within the tolerance of Vector::operator==.
    if (Ag.rowCount > 0 && !(guardedProduct(Ag, x) == bg)) return false;
    // 4. The inequations, exactly.
    if (Au.rowCount > 0) {
        const Vector<T> values = guardedProduct(Au, x);
        if (!(values >= lu) || !(values <= ru)) return false;
    }
    // 5. Without targets the figures of the record stay as they are.
    if (At.rowCount == 0) return true;
    // 6., 7. The figures, computed first, so that a throw leaves the record as it was.
    Vector<T> targetValues = guardedProduct(At, x);
    T slackNorm;
    const T targetNorm = computeTargetNorm(targetValues, x, slackNorm);
    guard(targetNorm);
    guard(slackNorm);
    star.targetValues = std::move(targetValues);
    star.targetNorm = targetNorm;
    star.slackNorm = slackNorm;
    // 8.
    return true;
}

template <class T>
bool Vorm<T>::checkStar(long index)
{
    const bool passed = checkStar(stars[index]);
    // The records above move down one place.
    if (!passed) stars.removeComponent(index);
    return passed;
}

template <class T>
bool Vorm<T>::checkStars()
{
    // The result is that of checking index 1, 2, ... in turn and removing each failing record at
    // once: the index moves on after a removal too, so the record that takes the freed place
    // stays unchecked in this pass (of two bad records in a row, the second survives until the
    // next). The survivors are gathered in one pass instead, keeping the work linear: kept counts
    // the records in place, and a record right after a failing one is kept unchecked.
    const long count = stars.dimension();
    long kept = 0;
    bool allPassed = true;
    bool afterRemoval = false;
    const auto keep = [&](long index) {
        if (++kept != index) stars[kept] = std::move(stars[index]);
    };
    long index = 1;
    try {
        for (; index <= count; ++index) {
            if (!afterRemoval && !checkStar(stars[index])) {
                allPassed = false;
                afterRemoval = true;
                continue;
            }
            afterRemoval = false;
            keep(index);
        }
    } catch (...) {
        // The records not reached yet move down as a removal would have moved them.
        for (; index <= count; ++index)
            keep(index);
        stars.setDimension(kept, false);
        throw;
    }
    stars.setDimension(kept, false);
    return allPassed;
}

template <class T>
std::string Vorm<T>::outputOptStarSolutions() const
{
    std::string text = "\n";
    for (long i = 1; i <= stars.dimension(); ++i) {
        if (i > 1) text += "\n---\n\n";
        text += outputOptStarSolution(i);
    }
    return text;
}

template <class T>
std::string Vorm<T>::outputOptStarSolution(long index) const
{
    const Star<T>& star = stars[index];
    // Numbers in the stream's default format.
    std::ostringstream text;
    // 1., 2. The solution and an empty line.
    text << "x = ";
    static_cast<const Vector<T>&>(star).serialize(text);
    text << "\n\n";
    // 3. A record without figures ends here.
    if (star.slackNorm == -Constant<T>::ONE()) return text.str();
    // 4. Each target's value with its goal.
    text << "Target values: [ ";
    for (long i = 1; i <= dt.dimension(); ++i) {
        text << star.targetValues[i];
        if (dt[i] == Constant<T>::INF())
            text << GOAL_UP;
        else if (dt[i] == -Constant<T>::INF())
            text << GOAL_DOWN;
        else
            text << GOAL_FINITE << dt[i];
        text << " ";
    }
    text << "]\n";
    // 5., 6. The norms.
    text << "Target Norm: " << star.targetNorm << "\n";
    text << "Slack Norm: " << star.slackNorm << "\n";
    // 7. The time of discovery, if known.
    if (star.secondsUntilDiscovered != -1) {
        text << "Found after: ";
        printTime(text, star.secondsUntilDiscovered);
        text << "\n";
    }
    return text.str();
}

void printTime(std::ostream& stream, long long seconds)
{
    // 1. Unknown.
    if (seconds == -1) {
        stream << -1 << " sec(s)";
        return;
    }
    // 2. Hours, minutes and seconds. The parts are whole numbers and are written as such, also
    //    where the stream's format would give a long double in exponent form.
    const long double total = static_cast<long double>(seconds);
    const long double hours = floorl(total / 3600);
    const long double rest = total - 3600 * hours;
    const long double minutes = floorl(rest / 60);
    const long double secs = ceill(rest - 60 * minutes);
    const auto whole = [](long double value) { return static_cast<long long>(value); };
    const auto twoDigits = [&](long double value) {
        if (value < 10) stream << "0";
        stream << whole(value);
    };
    // 3.-5.
    if (hours > 0) {
        stream << whole(hours) << ":";
        twoDigits(minutes);
        stream << ":";
        twoDigits(secs);
        stream << " hour(s):min(s):sec(s) == " << seconds << " secs";
    } else if (minutes > 0) {
        stream << whole(minutes) << ":";
        twoDigits(secs);
        stream << " min(s):sec(s) == " << seconds << " secs";
    } else {
        stream << whole(secs) << " sec(s)";
    }
}

#define LATOPT_SOLUTION_CHECK_MEMBERS(T)                                                                     \
    template bool Vorm<T>::checkStar(Star<T>&);                                                              \
    template bool Vorm<T>::checkStar(long);                                                                  \
    template bool Vorm<T>::checkStars();                                                                     \
    template std::string Vorm<T>::outputOptStarSolutions() const;                                            \
    template std::string Vorm<T>::outputOptStarSolution(long) const;
LATOPT_SOLUTION_CHECK_MEMBERS(long double)
LATOPT_SOLUTION_CHECK_MEMBERS(QQ)
#undef LATOPT_SOLUTION_CHECK_MEMBERS

} // namespace latopt
