// candidate_check.cpp: the gate between a lattice vector and an accepted solution. A vector is
// oriented, untrimmed, proved a member of the lattice (and replaced by the exact lattice vector
// the proof produced, so that nothing merely close to the lattice goes on), measured against the
// bounds, mapped to the program and judged by its targets; the best ones are kept, accepted
// solutions are written to the .sol file with a checkpoint of the transformation stack, and an
// improvement or the last solution asked for leads to a restart or the end of the run.
// The run statistics count new best targets in a, found solutions in b and the first vector near
// feasibility in c, except while found vectors are being restored into a new lattice: those were
// counted when they were first found.
#include "arith/constant.h"
#include "arith/qq.h"
#include "base/log.h"
#include "lattice/lattice.h"
#include "program/freedom_degree.h"

namespace latopt {
namespace {

// The plain vector of a time vector whose entries and time are set.
template <class R1>
void setTimed(TimeVector<R1>& target, const Vector<R1>& v, long time)
{
    static_cast<Vector<R1>&>(target) = v;
    target.secondsUntilDiscovered = time;
}

} // namespace

template <class R1, class R2>
long Lattice<R1, R2>::checkSolution(const Vector<R1>& v, bool trimmed, long time, bool duringBackup)
{
    // 1. Without bounds to test against, nothing can be judged.
    if (checkVectorsState == 0) fatal("checkSolution: You should set the check vectors!");
    // 2. An empty vector is nothing.
    if (v.dimension() < 1) return 0;
    // 3.-4. The lattice holds v and -v alike: the one with the marker of the constant's sign
    //    (a zero marker has none) goes on, untrimmed.
    Vector<R1> u = inhomogenousComponentHasRightSign(v, trimmed) ? v : -v;
    if (trimmed) u = handleScalingAndTranslation(u, false);
    // 5. Only a proved lattice vector goes on, and it goes on as the exact vector the proof gave.
    Vector<R1> proved;
    if (!containsVector(u, proved)) return CHECK_NOT_IN_LATTICE;
    u = std::move(proved);
    // 6. Material for the recombining searches. Its deviation serves step 7 as well.
    HeuristicDeviation<R1> deviation;
    const bool collecting = params.pair.value || params.sieve.value;
    if (collecting) {
        deviation = computeHeuristicDeviation(u, false);
        if (collect(HeuristicVector<R1, R2>(TimeVector<R1>(u, statistics.elapsedSeconds()), deviation),
                    nullptr, nullptr))
            ++collectedCount;
    }
    // 7. The bounds; a vector outside them may still be the nearest to feasibility.
    if (!withinBounds(u)) {
        checkInhomogenous(u, time, collecting ? &deviation : nullptr);
        return 0;
    }
    // In the phase before the full embedding the vector is only recorded: moving bounds or
    // restarting from that lattice would learn nothing, as a restart discards it.
    if (checkVectorsState == 1) {
        checkInhomogenous(u, time);
        return CHECK_IN_BOUNDS;
    }
    return judgeInBounds(u, time, duringBackup);
}

template <class R1, class R2>
bool Lattice<R1, R2>::withinBounds(const Vector<R1>& u) const
{
    // 1. The marker.
    if (u[dimN] < l[dimN] || r[dimN] < u[dimN]) return false;
    // 2. The variables, as their degrees of freedom allow.
    const long n = this->freedomDegrees.dimension();
    for (long i = 1; i <= n; ++i) {
        const long col = dimN - n + i - 1;
        const FreedomDegree degree = this->freedomDegrees[i];
        if (degree == FREE) continue;
        if (u[col] < l[col] && degree != LEFT_FREE) return false;
        if (r[col] < u[col] && degree != RIGHT_FREE) return false;
    }
    // 3. The columns in front of the variables; the target sum's column is left to checkTarget
    //    once the target sum has bounds.
    const long first = checkVectorsState == 1 ? 1 : 1 + (targetColumn ? 1 : 0);
    for (long col = dimN - n - 1; col >= first; --col)
        if (u[col] < l[col] || r[col] < u[col]) return false;
    return true;
}

template <class R1, class R2>
long Lattice<R1, R2>::judgeInBounds(const Vector<R1>& u, long time, bool duringBackup)
{
    long bits = CHECK_IN_BOUNDS;
    bool improved = false;
    TargetVector<R1> t;
    if (unprepared.dt.dimension() >= 1) {
        // 8. A program with targets: the targets judge.
        const long judged = checkTarget(u, t, time, duringBackup);
        improved = (judged & CHECK_BOUND_CHANGED) != 0;
        bits = judged | CHECK_IN_BOUNDS | (improved ? CHECK_ACCEPTABLE : 0);
    } else {
        // 9. Without targets every vector in the bounds is acceptable; it may narrow the bounds of
        //    half-free variables.
        Vector<R1> x;
        if (lat2opt(u, x, true, false) == 1) improved = adaptHalfFreeXBounds(x);
        if (improved) bits |= CHECK_BOUND_CHANGED;
        setTimed(t, u, time);
        bits |= CHECK_ACCEPTABLE;
    }
    // 10. An acceptable vector that meets the norms asked for is a solution.
    if ((bits & CHECK_ACCEPTABLE) != 0) {
        if (fulfillsSolutionNorms(t)) {
            foundSolution(t, time);
            const long wanted = params.sol.value;
            if (wanted >= 1 && solutions.dimension() >= wanted) {
                bits |= CHECK_SOLUTIONS_REACHED;
                restartOrTerminate(true);
            } else {
                bits |= CHECK_FOUND;
            }
            // foundSolution has written the file and made its checkpoint.
            if (!improved && this->pendingSolutionWrite) return bits;
        } else if (!improved && this->pendingSolutionWrite) {
            writeSolFile(false);
            return bits;
        }
    }
    // 11. Moved bounds make a new lattice worth building.
    if (improved) restartOrTerminate(false);
    return bits;
}

template <class R1, class R2>
long Lattice<R1, R2>::checkTarget(const Vector<R1>& v, TargetVector<R1>& t, long time, bool duringBackup)
{
    // 1. The best target itself is nothing new.
    if (bestTarget.dimension() > 0 && bestTarget == v) return CHECK_IN_BOUNDS;
    // 2.-3. The target norm of the program's x.
    Vector<R1> x;
    if (lat2opt(v, x, true, true) == 0) fatal("is not within lattice1");
    const Vector<R1> a = unprepared.At * x;
    R1 slack = Constant<R1>::ZERO();
    const R1 norm = unprepared.computeTargetNorm(a, x, slack);
    // 4. Worse than the best: rejected; equal norms are further solutions of the same quality.
    if (bestTarget.dimension() > 0 && bestTarget.targetNorm < norm) return CHECK_IN_BOUNDS;
    // 5. The candidate with its figures.
    setTimed(t, v, time != 0 ? time : statistics.elapsedSeconds());
    t.targetNorm = norm;
    t.slackNorm = slack;
    // 6.-7. Half-free bounds may close in; a strictly better norm is a new best target, whose
    //    value tightens the target bounds.
    long result = adaptHalfFreeXBounds(x) ? CHECK_BOUND_CHANGED : CHECK_ACCEPTABLE;
    if (norm < bestTarget.targetNorm) {
        if (!statistics.restoring) ++statistics.a;
        bestTarget = t;
        bestTarget.targetValue = unprepared.atu * x;
        result = CHECK_BOUND_CHANGED;
        unprepared.initOrAdaptTargetBnds(a, bestTarget.targetValue);
    }
    // 8. A restored vector was judged before: it can't move anything now.
    if (duringBackup) {
        result = CHECK_ACCEPTABLE;
        if (bestTarget.targetValue <= unprepared.ltu)
            fatal("This case should not happen between a backup / restore!");
    }
    return result;
}

template <class R1, class R2>
bool Lattice<R1, R2>::adaptHalfFreeXBounds(const Vector<R1>& x)
{
    bool changed = false;
    for (long i = 1; i <= x.dimension() && i <= unprepared.freedomDegrees.dimension(); ++i) {
        const FreedomDegree degree = unprepared.freedomDegrees[i];
        const bool leftFree = degree == LEFT_FREE || degree == FREE;
        const bool rightFree = degree == RIGHT_FREE || degree == FREE;
        if (leftFree && (x[i] < unprepared.lx[i] || unprepared.lx[i] == -Constant<R1>::INF())) {
            unprepared.lx[i] = x[i];
            changed = true;
        }
        if (rightFree && (unprepared.rx[i] < x[i] || unprepared.rx[i] == Constant<R1>::INF())) {
            unprepared.rx[i] = x[i];
            changed = true;
        }
    }
    if (changed) unprepared.adaptTargetBoundsByXBounds();
    return changed;
}

template <class R1, class R2>
bool Lattice<R1, R2>::fulfillsSolutionNorms(const TargetVector<R1>& t) const
{
    // snorm counts as set unless it is minus infinity (its default, -1, is set); tnorm is unset at
    // minus infinity.
    if (unprepared.dt.dimension() == 0) return true;
    if (unprepared.finiteTargetsOnly && t.slackNorm == Constant<R1>::ZERO()) return true;
    const R2 unset = -Constant<R2>::INF();
    const R2& snorm = params.snorm.value;
    const R2& tnorm = params.tnorm.value;
    const bool snormSet = !(snorm == unset);
    const bool tnormSet = !(tnorm == unset);
    R2 slackNorm;
    R2 targetNorm;
    Precision::conv(t.slackNorm, slackNorm, false);
    Precision::conv(t.targetNorm, targetNorm, false);
    if (snormSet && tnormSet) return !(tnorm < targetNorm) && !(snorm < slackNorm);
    if (snormSet) return !(snorm < slackNorm);
    if (tnormSet) return !(tnorm < targetNorm);
    return false;
}

template <class R1, class R2>
void Lattice<R1, R2>::foundSolution(const TargetVector<R1>& t, long time)
{
    // 1.-2. The solution with its time of discovery.
    TargetVector<R1> found = t;
    found.secondsUntilDiscovered = time != 0 ? time : statistics.elapsedSeconds();
    // 3. A solution is stored once, with its first time of discovery: one that comes back (a
    //    restored record after the new embedding found the same point again) keeps the earlier.
    for (long i = 1; i <= solutions.dimension(); ++i) {
        if (!(solutions[i] == found)) continue;
        if (found.secondsUntilDiscovered < solutions[i].secondsUntilDiscovered)
            solutions[i].secondsUntilDiscovered = found.secondsUntilDiscovered;
        return;
    }
    // 4. Stored and counted.
    const long count = solutions.dimension() + 1;
    solutions.setDimension(count, false);
    solutions[count] = std::move(found);
    ++acceptedCount;
    if (!statistics.restoring) ++statistics.b;
    // 5. A host reads the count and the records.
    if (params.hostedRun.value) {
        vars.set(MMV_SOLUTION_COUNT, std::to_string(count));
        vars.set(MMV_SOLUTIONS, this->outputOptStarSolutions());
    }
    // 6. On disk, and a checkpoint of the basis.
    writeSolFile(false);
    checkFixByTransformation(false, false);
}

template <class R1, class R2>
bool Lattice<R1, R2>::checkInhomogenous(const Vector<R1>& v, long time)
{
    return checkInhomogenous(v, time, nullptr);
}

template <class R1, class R2>
bool Lattice<R1, R2>::checkInhomogenous(const Vector<R1>& v, long time, const HeuristicDeviation<R1>* known)
{
    // 1. Nothing new.
    if (bestVector.dimension() > 0 && static_cast<const Vector<R1>&>(bestVector) == v) return true;
    // 2. Only a vector with the constant's marker (in size) is of the inhomogenous kind.
    const R1 marker = v[dimN] < Constant<R1>::ZERO() ? -v[dimN] : v[dimN];
    if (!(Constant<R1>::EPSILON() < marker) || r[dimN] < marker || marker < l[dimN]) return false;
    // 3.-6. The nearest to feasibility is kept; a tie replaces the vector only.
    const HeuristicDeviation<R1> deviation = known != nullptr ? *known : computeHeuristicDeviation(v, false);
    if (bestVector.dimension() == 0 || deviation < bestVector.deviation) {
        if (bestVector.dimension() == 0 && !statistics.restoring) ++statistics.c;
        setTimed(bestVector, v, time != 0 ? time : statistics.elapsedSeconds());
        bestVector.deviation = deviation;
    } else if (deviation == bestVector.deviation) {
        static_cast<Vector<R1>&>(bestVector) = v;
    } else {
        return false;
    }
    // 7. The sieve feeds on the best vectors.
    if (params.sieve.value) bestVectors.insert(bestVector);
    return true;
}

template <class R1, class R2>
void Lattice<R1, R2>::persistConsistent()
{
    writeSolFile(false);
    checkFixByTransformation(false, false);
}

#define LATOPT_CANDIDATE_CHECK(R1, R2)                                                                       \
    template long Lattice<R1, R2>::checkSolution(const Vector<R1>&, bool, long, bool);                       \
    template bool Lattice<R1, R2>::withinBounds(const Vector<R1>&) const;                                    \
    template long Lattice<R1, R2>::judgeInBounds(const Vector<R1>&, long, bool);                             \
    template long Lattice<R1, R2>::checkTarget(const Vector<R1>&, TargetVector<R1>&, long, bool);            \
    template bool Lattice<R1, R2>::adaptHalfFreeXBounds(const Vector<R1>&);                                  \
    template bool Lattice<R1, R2>::fulfillsSolutionNorms(const TargetVector<R1>&) const;                     \
    template void Lattice<R1, R2>::foundSolution(const TargetVector<R1>&, long);                             \
    template bool Lattice<R1, R2>::checkInhomogenous(const Vector<R1>&, long);                               \
    template bool Lattice<R1, R2>::checkInhomogenous(const Vector<R1>&, long,                                \
                                                     const HeuristicDeviation<R1>*);                         \
    template void Lattice<R1, R2>::persistConsistent();
LATOPT_CANDIDATE_CHECK(long double, long double)
LATOPT_CANDIDATE_CHECK(long double, QQ)
LATOPT_CANDIDATE_CHECK(QQ, long double)
LATOPT_CANDIDATE_CHECK(QQ, QQ)
#undef LATOPT_CANDIDATE_CHECK

} // namespace latopt
