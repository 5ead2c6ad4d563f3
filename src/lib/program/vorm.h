// vorm.h: Vorm<T>, the integer optimization program as data. Find an integer-scaled x of
// dimension n with
//   lx[j] <= x[j] <= rx[j], variable j having dx[j] decimal places,
//   Ag x = bg,
//   lu[i] <= (Au x)[i] <= ru[i],
// and the targets (At x)[i] as good as possible: minimised where dt[i] is -INF, maximised where it
// is +INF, brought near dt[i] where it is finite. The target sum T(x) = sum_i sign(i) (At x)[i],
// sign(i) = -1 where dt[i] is +INF and +1 otherwise, is smaller for a better x; ltu, rtu bound it.
// Built for long double and QQ; other types do not link. The .opt reader exists for Vorm<QQ>
// only: a file is read in exact arithmetic, a Vorm<long double> is made from it by _assign.
// Invariants after the reader: dim dt = dim kt = rows At; dim bg = rows Ag; dim lu = dim ru =
// rows Au; dim lx = dim rx = dim dx = dim freedomDegrees = n; every non-empty matrix has n
// columns; no matrix entry and no entry of bg is infinite; lu[i] <= ru[i]; lx[j] <= rx[j].
// Faults in a file and inconsistencies of the program are fatal (fatal(), "*** FAIL: ");
// _assign from QQ to long double may throw PrecisionException, leaving the copy half written.
// All members are owned by value. ltu and rtu are references into lrtu, so that they follow
// every copy; a Vorm is copied through _assign, never member-wise by the compiler.
#pragma once

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/array.h"
#include "base/map.h"
#include "base/serializable.h"
#include "base/serializable_array.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"
#include "program/freedom_degree.h"
#include "program/star.h"

#include <istream>
#include <string>

namespace latopt {

template <class T>
class Vorm {
public:
    std::string optFile;         // path of the .opt file
    std::string solFile;         // path of the .sol file
    Vector<T> dt;                // desired target values, one per row of At; may be +INF or -INF
    Vector<T> kt;                // known target values; dim dt; a copy of dt unless the file gives them
    SerializablePair<T, T> lrtu; // (ltu, rtu): bounds on the target sum; (-INF, +INF) after a reset
    T& ltu;                      // lrtu.left
    T& rtu;                      // lrtu.right
    Matrix<T> At;                // target matrix: a row per target, a column per variable
    long tu = 0;                 // 1 once ltu, rtu hold real bounds (initOrAdaptTargetBnds), else 0
    Vector<T> atu;               // sum_i sign(i) At[i], so that atu * x is the target sum
    Vector<T> bg;                // right sides of the equations; finite
    Vector<T> lu;                // left bounds of the inequations; may be -INF
    Vector<T> ru;                // right bounds of the inequations; may be +INF
    Matrix<T> Ag;                // equation matrix
    Matrix<T> Au;                // inequation matrix
    Vector<T> dx;                // decimal places: x[j] is a multiple of 10^-dx[j]
    Vector<T> lx;                // left bounds of the variables (may be -INF); later the offsets
    Vector<T> rx;                // right bounds of the variables; may be +INF
    SerializableArray<FreedomDegree> freedomDegrees; // per variable, fixed when derived
    ConversionArray<Star<T>> stars;                  // the solutions, in the order stored
    Map<long, T> constantVariables;        // (index in the file's numbering, fixed value), ascending
    Vector<long> swappedHalfFreeVariables; // indices of the variables whose sign was flipped
    bool finiteTargetsOnly = true;         // no entry of dt is +INF or -INF
    long slackInequationCount = 0;         // slack variables (and equations) added for inequations
    long slackTargetVariableCount = 0;     // slack variables added for finite targets, two per target
    bool pendingSolutionWrite = false;     // solutions are to be written to the .sol file
    bool pendingSolutionStats = false;     // statistics of found solutions are to be printed
    bool slackified = false;               // the slack passes have run

    // Vectors with the separator " ", matrices with ","; then resetVorm(false).
    Vorm();
    Vorm(const Vorm& other);
    Vorm(Vorm&& other);
    Vorm& operator=(const Vorm& other);
    Vorm& operator=(Vorm&& other);
    virtual ~Vorm() = default;

    // Empties every member; the file names stay if keepFileNames.
    void resetVorm(bool keepFileNames);
    // Empties dt, kt, At, atu; ltu = -INF, rtu = +INF, tu = 0, finiteTargetsOnly = true.
    void resetTargets();
    // Copies every member, numbers through Precision::conv; vectors and matrices bring their
    // separators and flags. From QQ to long double each array converts with its own
    // throwOnLoss and allowPostCommaLoss, and ltu, rtu must cross faithfully (else
    // PrecisionException). Self-assignment does nothing.
    template <class U>
    Vorm& _assign(const Vorm<U>& other);

    // 2 * (right == +INF) + (left == -INF), compared exactly.
    static FreedomDegree evaluateFreedomDegree(const T& left, const T& right);
    // Sets QQ::enableTruncate, the truncating mode of QQ products and zero tests.
    static void toggleFractionTruncate(bool on);

    // Reads the file named optFile: resetVorm(true), operator>>, then finiteTargetsOnly from dt.
    // A file that can't be opened is fatal. Vorm<QQ> only (opt_reader.cpp).
    void readOptFile();

    // Target evaluation (target.cpp).
    // -1 if dt[i] is +INF, else 1.
    T targetSummationSign(long i) const;
    // targetValues[i] for a -INF target, -targetValues[i] for +INF. A finite target sets
    // finiteTarget and gives targetValues[i]; in a slackified program it is fatal.
    T targetComponentDeviation(const Vector<T>& targetValues, long i, bool& finiteTarget) const;
    // The target norm of a candidate, its target values given; slackNorm receives the deviation
    // from the finite targets (or, slackified, the slack of the replaced targets).
    T computeTargetNorm(const Vector<T>& targetValues, const Vector<T>& x, T& slackNorm) const;
    // -bg[row] + sum_{j = 1..columns} Ag[row][j] * x[j].
    T computeSlackValue(long row, const Vector<T>& x, long columns) const;
    // sum_i |targetValues[i]|; every dt[i] must be infinite by now, else fatal.
    T sumTargetAbsValues(const Vector<T>& targetValues) const;
    // Lowers ltu to the least possible sum and rtu to bound - targetStep(); true if either moved
    // (tu = 1).
    bool initOrAdaptTargetBnds(const Vector<T>& targetValues, const T& bound);
    // Widens ltu, and rtu while tu is 0, by the target sums at the corners lx and rx.
    void adaptTargetBoundsByXBounds();

    // Preparation (preparation.cpp). Every rewrite keeps the set of feasible x, read back through
    // constantVariables, swappedHalfFreeVariables, the offsets lx, the slack columns and the units
    // 10^-dx; At, Ag and Au keep dim rx columns throughout. Notes go to standard output only when
    // verbose. Unfulfillable data stop fatally ("... --> NO SOLUTIONS!"); in long double a value
    // beyond the trusted range throws PrecisionException with the pass's text, the program then
    // half rewritten (the caller redoes the work in QQ from the program it copied).
    //
    // The slack stage, run once on the program as read: removeBoundlessInequations,
    // detectFakeInequations, slackifyHalfFreeInequations, simplifySlackTargets and
    // initTargetCoefficients unless slackified is already set; then, with applyKnownBounds,
    // applyKnownTargetBounds and adaptTargetBoundsByXBounds; slackified becomes true.
    void slackStage(bool applyKnownBounds, bool verbose);
    // On a copy of the slackified program: removeConstantVariables, applyPrecision,
    // removeFloatingPointEntries, removeDependentEquations (with equations),
    // detectSwappedHalfFreeVariables, validateAndSharpenInEquations(true), then (false),
    // initTargetCoefficients, zerofyFiniteLowerVariableBounds.
    void prepareVorm(bool verbose);
    // Appends a variable: its freedom degree, lx = left, rx = right, dx = step; At, Ag and Au get
    // a zero column.
    void extendXBounds(const T& left, const T& right, const T& step);
    // "Optimization program: Targets = .., Equations = .., Inequations = .., Variables = .." on
    // standard output, counting the slack equations as the inequations they came from.
    void printOptInfos() const;
    // Drops the inequations -INF <= a x <= +INF.
    void removeBoundlessInequations(bool verbose);
    // Moves each inequation with lu = ru to a new last equation; lu = ru = +-INF is fatal.
    void detectFakeInequations(bool verbose);
    // a x <= r becomes -a x >= -r; then a x >= l becomes the equation K a x - s = K l with a new
    // slack s >= 0, K the factor that makes K a x and K l integers on the grid of the variables.
    void slackifyHalfFreeInequations();
    // A target near d becomes K a x + s1 - s2 = K d with two slacks >= 0 and the target
    // (s1 + s2) / K, minimised; the replaced targets gather at the end of the target list.
    void simplifySlackTargets();
    // atu = sum_i sign(i) At[i] ("atu overflow").
    void initTargetCoefficients();
    // With every kt finite: initOrAdaptTargetBnds(kt, targetStep() + sum_i sign(i) kt[i]).
    void applyKnownTargetBounds();
    // Takes out the variables with lx = rx (BOUNDED) into constantVariables, moving their part
    // into bg, lu, ru, ltu, rtu.
    void removeConstantVariables();
    // Removes dependent rows of [bg | Ag] keeping their integer row span (eliminateDependentRows).
    void removeDependentEquations(bool verbose);
    // x -> -x for each variable with lx = -INF and finite rx, which then is RIGHT_FREE.
    void detectSwappedHalfFreeVariables(bool verbose);
    // The interval of each row of Au (true) or Ag (false) over the box lx, rx: an equation outside
    // it, or an inequation that can't meet it, is fatal; inequation bounds shrink to it.
    void validateAndSharpenInEquations(bool inequations);
    // Shifts every variable with finite lx to start at 0; lx stays as the offset to add back.
    void zerofyFiniteLowerVariableBounds();

    // Integer normalisation (normalisation.cpp).
    // 10^dx[j]; a dx that is negative or not an integer is fatal, naming the file.
    T decimalFactor(long j) const;
    // Whether c is a multiple of 10^-dx[j] (preparation.cpp).
    bool isOnGrid(const T& c, long j) const;
    // The step of the target sum over the grid of the variables: 1/K, K the least factor that
    // makes every At[i][j] 10^-dx[j] an integer (columns beyond dx count with dx 0); 1 for integer
    // data. For a program in the units of its file (the unprepared one, where the target bounds
    // are learnt): after applyPrecision the columns are in grid units already while dx stays.
    // In long double a K beyond the trusted range throws ("target step overflow").
    T targetStep() const;
    // Variables into units of 10^-dx (columns divided by 10^dx, bounds multiplied), then every
    // finite rx floored and lx ceiled.
    void applyPrecision();
    // Integer coefficients: one factor for all targets (and dt, kt, ltu, rtu), one per equation
    // (with bg), one per inequation (its bounds then rounded inward).
    void removeFloatingPointEntries();
    // The least common multiple of the variable widths rx (lx shifted out), and unless
    // variablesOnly of the inequation widths and of rtu - ltu; may raise an artificial rx and
    // lower ltu to make it smaller. A zero inequation width is fatal ("ineq bounds error1").
    T computeBoundsKgV(bool variablesOnly);
    // The multiple over the finite variable widths, starting from kgv (accumulate false: only the
    // artificial rx of RIGHT_FREE and FREE variables are widened); may change rx.
    T computeXBoundsKgV(T kgv, bool accumulate);
    // Lowers left (to a width right - left that is an integer) so that kgv(kgv, right - left) is
    // smallest, within 10^4 steps; returns the final right - left.
    T decreaseLeftTargetBoundUntilKgvIsMinimal(const T& kgv, const T& right, T& left) const;

    // Solution check and report (solution_check.cpp).
    // Proves star against this program: bounds, equations, inequations; with targets it then
    // sets targetValues, targetNorm and slackNorm. False on the first failing test, the record
    // unchanged. In long double a value beyond the trusted range throws PrecisionException.
    bool checkStar(Star<T>& star);
    // checkStar(stars[index]); a failing record is removed.
    bool checkStar(long index);
    // checkStar(index) for index 1, 2, ... while index <= the count; the and of the results.
    bool checkStars();
    // The report of all records: a line feed, then the records divided by "\n---\n\n".
    std::string outputOptStarSolutions() const;
    // The report of stars[index]: x, and unless slackNorm is -1 the target values with their
    // goals, the norms and the time of discovery.
    std::string outputOptStarSolution(long index) const;

private:
    // The flags and counts of the program, which every copy and move takes over as they are.
    template <class U>
    void copyFlags(const Vorm<U>& other);
};

template <>
void Vorm<QQ>::readOptFile();

// Parses and validates a whole .opt text into program, which the caller has reset. Every
// structural fault is fatal, with the first failing check's text.
std::istream& operator>>(std::istream& in, Vorm<QQ>& program);

} // namespace latopt
