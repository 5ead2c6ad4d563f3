// found_vectors.h: a small embedded program and the vectors found in its lattice, read back in
// program terms, for the tests of the backups and of the restart.
#pragma once

#include "arith/qq.h"
#include "lattice/lattice.h"

#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace latopt::test {

using Point = std::vector<long>;

// x1, x2, x3 in [0, 3] with 2 <= x1 + x2 + x3 <= 6 and no targets: each feasible x is a solution.
// (The tests of the equation stage add equations and a target.)
inline bool feasible(const Point& x)
{
    return x[0] + x[1] + x[2] >= 2 && x[0] + x[1] + x[2] <= 6;
}

// The program prepared, not yet embedded, with no limit on the number of solutions (the default,
// one, would end the run at the first). targets and equations are the blocks dt At and Ag bg.
template <class L>
std::unique_ptr<L> preparedSmallProgram(const char* targets = "[ ] [ ]", const char* equations = "[ ] [ ]")
{
    auto lattice = std::make_unique<L>();
    Vorm<QQ> read;
    std::istringstream(std::string(targets) + " " + equations +
                       " [ [ 1 1 1 ] ] [ 2 ] [ 6 ] [ 0 0 0 ] [ 0 0 0 ] [ 3 3 3 ]") >>
        read;
    lattice->unprepared._assign(read);
    lattice->prepareVormByUnprepared(false, false);
    lattice->params.sol = 0L;
    return lattice;
}

// The lattice of the program.
template <class L>
std::unique_ptr<L> embeddedSmallProgram(const char* targets = "[ ] [ ]", const char* equations = "[ ] [ ]")
{
    auto lattice = preparedSmallProgram<L>(targets, equations);
    lattice->opt2lat();
    return lattice;
}

template <class R1, class R2>
Vector<R1> latticeVector(const Lattice<R1, R2>& lattice, const Point& x)
{
    Vector<R1> opt(3), v;
    for (long j = 1; j <= 3; ++j)
        opt[j] = R1(x[j - 1]);
    lattice.opt2lat(opt, v, false);
    return v;
}

// Each point offered to the gate as found at second i, its position from 1.
template <class R1, class R2>
void offerAll(Lattice<R1, R2>& lattice, const std::vector<Point>& points)
{
    for (size_t i = 0; i < points.size(); ++i)
        lattice.checkSolution(latticeVector(lattice, points[i]), false, static_cast<long>(i) + 1, false);
}

template <class R1>
std::string text(const Vector<R1>& v)
{
    std::ostringstream stream;
    for (long i = 1; i <= v.dimension(); ++i) {
        QQ q;
        Precision::conv(v[i], q, false);
        stream << q << " ";
    }
    return stream.str();
}

// "x @ seconds" of each solution.
template <class R1, class R2>
std::multiset<std::string> solutionPoints(const Lattice<R1, R2>& lattice)
{
    std::multiset<std::string> points;
    for (long i = 1; i <= lattice.solutions.dimension(); ++i) {
        Vector<R1> x;
        lattice.lat2opt(lattice.solutions[i], x, true, false);
        points.insert(text(x) + "@ " + std::to_string(lattice.solutions[i].secondsUntilDiscovered));
    }
    return points;
}

// The solutions expected from offerAll: each distinct point that passes, at its first time.
template <class Passes>
std::multiset<std::string> expectedPoints(const std::vector<Point>& points, Passes passes)
{
    std::map<Point, long> first;
    for (size_t i = 0; i < points.size(); ++i)
        if (passes(points[i])) first.emplace(points[i], static_cast<long>(i) + 1);
    std::multiset<std::string> result;
    for (const auto& [x, time] : first)
        result.insert(std::to_string(x[0]) + " " + std::to_string(x[1]) + " " + std::to_string(x[2]) + " @ " +
                      std::to_string(time));
    return result;
}

} // namespace latopt::test
