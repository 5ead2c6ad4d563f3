// star.h: the solution records. TimeVector<T> is a vector with the time of its discovery,
// TargetVector<T> a found lattice vector with its norms, Star<T> one solution of the program:
// the vector x (the Star itself), the target values at x, its norms and the provenance of the
// run that found it. Built for long double and QQ; other types do not link.
// A Star has a one-line text form, the line of a .sol file:
//   x | targetNorm | targetValues | slackNorm | secondsUntilDiscovered | params [| version]
// e.g. "[ 1 0 1 ] | 3 | [ 3 ] | 0 | 17 | --beta=20 --sol=1 | 2.2.3". x is written with 17
// significant digits (DBL_OSTREAM_PREC); the norms and target values go to the line's own stream,
// which for long double keeps its default of 6 significant digits: the figures of a file are for
// the reader and are recomputed where it counts.
// Reading never stops the process: a record with malformed text (a text where a number belongs,
// a missing bracket) is unusable, comes back with x of dimension 0, and the stream is left at
// the start of the next line. Numbers are read as whole tokens, exponents included, and are
// exact: "1.23457e+06" is 1234570 in QQ.
// Conversions between the number types go through Precision::conv and may throw
// PrecisionException from QQ to long double.
#pragma once

#include "base/array.h"
#include "linalg/vector.h"

#include <sstream>
#include <string>

namespace latopt {

// The grid on which Star::removeStarDublettes files records: cells 1/DUPLICATE_GRID_SCALE wide,
// the edges shifted by DUPLICATE_GRID_SHIFT of a cell (see star.cpp). Public so that tests can
// aim at the edges.
inline constexpr long DUPLICATE_GRID_SCALE = 1024;
inline constexpr const char* DUPLICATE_GRID_SHIFT = "0.318309886";

template <class T>
class TimeVector : public Vector<T> {
public:
    long secondsUntilDiscovered = -1; // seconds from the start of the run; -1: unknown
    bool isNew = true;                // false for a record that came out of a solution file

    TimeVector() = default;
    // The vector with its time.
    TimeVector(const Vector<T>& vector, long secondsUntilDiscovered);
    TimeVector(Vector<T>&& vector, long secondsUntilDiscovered);
    TimeVector(const TimeVector&) = default;
    TimeVector(TimeVector&&) noexcept = default;
    TimeVector& operator=(const TimeVector&) = default;
    TimeVector& operator=(TimeVector&&) noexcept = default;
    ~TimeVector() override = default;

    // Entries through Precision::conv with this vector's flags, then the time and isNew.
    // Self-assignment does nothing.
    template <class U>
    TimeVector& _assign(const TimeVector<U>& other);

    // Dimension 0, time unknown, new.
    void resetAllMembers() override;
};

template <class T>
class TargetVector : public TimeVector<T> {
public:
    T slackNorm;   // default -1
    T targetNorm;  // default INF
    T targetValue; // default INF

    TargetVector();
    TargetVector(const TargetVector&) = default;
    TargetVector(TargetVector&&) noexcept = default;
    TargetVector& operator=(const TargetVector&) = default;
    TargetVector& operator=(TargetVector&&) noexcept = default;
    ~TargetVector() override = default;

    // The TimeVector part, then the three numbers through Precision::conv with this vector's
    // throwOnLoss and allowPostCommaLoss. Self-assignment does nothing.
    template <class U>
    TargetVector& _assign(const TargetVector<U>& other);

    // "T(bestTarget) = <targetValue>, S(bestTarget) = <slackNorm>", and for a reached target
    // (not +INF) " -- { <time of discovery> }": the figures of a search's best vector.
    void printSums(std::ostream& stream) const;
};

template <class T>
class Star : public TimeVector<T> {
public:
    // The version this writer puts into the records it makes.
    static constexpr const char* CURRENT_VERSION = "2.2.3";

    Vector<T> targetValues; // the value of each target at x
    T slackNorm;            // default 0
    T targetNorm;           // default 0
    std::string params;     // the run's parameters as Params::serialize gives them
    std::string version;    // the writer's version, dotted numbers; empty: unknown

    Star();
    // Moves the vectors and norms in.
    Star(Vector<T>&& x, Vector<T>&& targetValues, T&& targetNorm, T&& slackNorm,
         const long& secondsUntilDiscovered, std::string params, std::string version);
    Star(const Star&) = default;
    Star(Star&&) noexcept = default;
    Star& operator=(const Star&) = default;
    Star& operator=(Star&&) noexcept = default;
    ~Star() override = default;

    // Member-wise from a Star of either number type: vectors and norms through Precision::conv
    // (the norms with this record's throwOnLoss and allowPostCommaLoss), isNew and the strings
    // as they are. QQ to long double may throw PrecisionException. Self-assignment does nothing.
    template <class U>
    Star& _assign(const Star<U>& other);

    // The text line, without line end: x, targetNorm, targetValues, slackNorm,
    // secondsUntilDiscovered, params, and version if it isn't empty, divided by " | ".
    std::string toString() const;
    // Reads one record. Comments may stand before the record and before each of the first five
    // fields; only the params column is tied to its line. Returns false for a short record (a
    // bare vector without "|": params and version become empty, the other fields stay), true
    // for a complete record and for an unusable one (x of dimension 0). With three or more "|"
    // pieces in the rest of the line, or fewer than two, version keeps its value; with none,
    // params keeps its value too.
    bool fromStream(std::stringstream& ss);

    // Ascending targetNorm, then slackNorm, then secondsUntilDiscovered with -1 last, then the
    // newer version first, then the text of x, and params last: a is before b when its text of
    // x is lower, and otherwise when its params are lower. (Not a strict weak order: two records
    // can each be before the other. heapSort copes.)
    bool operator<(const Star& other) const;

    // 1 if a is the newer version, -1 if b is, 0 if equal. Components are the texts between the
    // dots, each valued digit by digit as value * 10 + character - '0' without a check for
    // digits; a string at its end gives 0 for every further component.
    static char compareVersion(std::string a, std::string b);

    // Removes every record whose x equals (tolerantly, Vector::operator==) that of an earlier
    // surviving record, and whose params are equal too when compareParams. The survivor keeps
    // isNew only if every record it absorbed was new as well. Survivors keep their order.
    // Records of different dimensions stop the process as their comparison would.
    static void removeStarDublettes(Array<Star<T>>& stars, bool compareParams);
};

} // namespace latopt
