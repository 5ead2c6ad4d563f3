// backup.cpp: the found vectors carried across a change of the lattice. Before the change the
// best vectors (bestVector, the solutions, bestTarget), the program's records and the collection
// sets are taken out in a form that survives it; afterwards they are put back through the
// candidate gate (the sets through collect), so that a vector which no longer holds under the new
// bounds falls away by itself. The forms (BackupType): the vector cut or padded to dimN; the
// vector without its first entries; its coordinates in B; the program's x. See lattice.h.
#include "arith/constant.h"
#include "arith/qq.h"
#include "lattice/lattice.h"

#include <vector>

namespace latopt {
namespace {

// v cut or padded with zeros to n entries (an Array that grows shows its old storage, so the new
// entries are zeroed here).
template <class R1>
void resizeWithZeros(Vector<R1>& v, long n)
{
    const long old = v.dimension();
    v.setDimension(n, false);
    for (long i = old + 1; i <= n; ++i)
        v[i] = Constant<R1>::ZERO();
}

// v without its first shift entries, for a lattice whose leading columns are dropped. Fails when
// shift is negative or leaves nothing.
template <class R1>
bool leftShift(Vector<R1>& v, long shift)
{
    if (shift < 0 || shift >= v.dimension()) return false;
    v.lshift(shift);
    return true;
}

// The form of the untrimmed lattice vector v that survives a change of the given type, in out;
// false when v has no such form (no coordinates in B, nothing left after the shift, a marker
// that isn't the constant's). Coordinates may throw PrecisionException from an inconsistent
// transformation stack.
template <class R1, class R2>
bool backupForm(Lattice<R1, R2>& lattice, typename Lattice<R1, R2>::BackupType type, const Vector<R1>& v,
                Vector<R1>& out, long shift)
{
    using L = Lattice<R1, R2>;
    switch (type) {
    case L::BACKUP_PADDED:
        out = v;
        resizeWithZeros(out, lattice.dimN);
        return true;
    case L::BACKUP_LSHIFT:
        out = v;
        return leftShift(out, shift);
    case L::BACKUP_COORDINATES:
        return lattice.coords.compute(v, out, false);
    case L::BACKUP_PROGRAM:
        return lattice.lat2opt(v, out, true, false) == 1;
    }
    return false;
}

// The untrimmed lattice vector of a backed-up form in the current lattice. basis is the
// untrimmed B, read for coordinates only.
template <class R1, class R2>
Vector<R1> restoredForm(const Lattice<R1, R2>& lattice, typename Lattice<R1, R2>::BackupType type,
                        const Vector<R1>& form, const Matrix<R1>& basis)
{
    using L = Lattice<R1, R2>;
    if (type == L::BACKUP_COORDINATES) {
        Vector<R1> coordinates = form;
        resizeWithZeros(coordinates, lattice.dimB);
        return coordinates * basis;
    }
    if (type == L::BACKUP_PROGRAM) {
        Vector<R1> v;
        lattice.opt2lat(form, v, false);
        return v;
    }
    return form;
}

// Sets a flag for the lifetime of a scope and puts its old value back, also when an exception
// (a PrecisionException of the gate) leaves the scope.
class FlagScope {
public:
    explicit FlagScope(bool& flag) : flag(flag), previous(flag) { flag = true; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;
    ~FlagScope() { flag = previous; }

private:
    bool& flag;
    bool previous;
};

} // namespace

template <class R1, class R2>
void Lattice<R1, R2>::backupAndResetBestSieveVectors(BackupType type, Array<Star<R1>>& stars,
                                                     Array<TimeVector<R1>>& vectors, CollectionSet& set1,
                                                     CollectionSet& set2, long shift)
{
    // 1. The program's records are stated in program variables and survive any change: they are
    //    only held aside.
    for (long i = 1; i <= this->stars.dimension(); ++i)
        stars.pushBack(this->stars[i]);
    this->stars.setDimension(0, false);
    // 2. The found vectors in their surviving form, each with its time: bestVector, bestTarget,
    //    then the solutions. (bestTarget, restored first, is accepted again as a solution where
    //    it was one; its twin in the list then meets it as nothing new.)
    std::vector<const TimeVector<R1>*> walk{&bestVector, &bestTarget};
    for (long i = 1; i <= solutions.dimension(); ++i)
        walk.push_back(&solutions[i]);
    for (const TimeVector<R1>* pointer : walk) {
        const TimeVector<R1>& found = *pointer;
        if (found.dimension() == 0) continue;
        Vector<R1> form;
        if (!backupForm(*this, type, found, form, shift)) continue;
        TimeVector<R1> entry(std::move(form), found.secondsUntilDiscovered);
        entry.isNew = found.isNew;
        vectors.pushBack(entry);
    }
    // 3. The lattice forgets them; bestTarget with its norms, so that the first restored vector
    //    is measured against nothing.
    bestVector.resetAllMembers();
    bestTarget = TargetVector<R1>();
    solutions.setDimension(0, false);
    // 4. The collection sets in the same form. They are emptied for every type: their elements
    //    are vectors of the old lattice with deviations against its bounds, which a restored
    //    vector can't be compared with (a new dimension), and which would keep the re-evaluated
    //    copy out as a duplicate.
    backupCollectionSet(type, goodVectors, set1, shift);
    backupCollectionSet(type, bestVectors, set2, shift);
    goodVectors.clear();
    bestVectors.clear();
}

template <class R1, class R2>
void Lattice<R1, R2>::backupCollectionSet(BackupType type, const CollectionSet& from, CollectionSet& into,
                                          long shift)
{
    // Each element converted like the found vectors, with its time and (stale) deviation; what
    // doesn't convert is lost.
    for (const Element<HeuristicVector<R1, R2>>* element = from.first; element != nullptr;
         element = element->next) {
        Vector<R1> form;
        if (!backupForm(*this, type, *element, form, shift)) continue;
        HeuristicVector<R1, R2> converted = *element;
        static_cast<Vector<R1>&>(converted) = std::move(form);
        into.insert(converted);
    }
}

template <class R1, class R2>
void Lattice<R1, R2>::restoreBestSieveBackups(Array<Star<R1>>& stars, Array<TimeVector<R1>>& vectors,
                                              CollectionSet& set1, CollectionSet& set2, BackupType type)
{
    // 1. The records come back as they were.
    for (long i = 1; i <= stars.dimension(); ++i)
        this->stars.pushBack(stars[i]);
    // 2. Nothing else to restore: no check runs.
    if (vectors.dimension() == 0 && set1.isEmpty() && set2.isEmpty()) return;
    // 3. While the vectors come back they are not counted again as new finds.
    const FlagScope restoring(statistics.restoring);
    // 4. Each found vector rebuilt in the current lattice and judged again by the gate, which
    //    puts it back into bestVector, bestTarget or solutions if it still holds.
    Matrix<R1> basis;
    if (type == BACKUP_COORDINATES) basis = removeTranslationAndScaling(B);
    for (long i = 1; i <= vectors.dimension(); ++i) {
        const Vector<R1> v = restoredForm(*this, type, vectors[i], basis);
        checkSolution(v, false, vectors[i].secondsUntilDiscovered, true);
    }
    // 5. The collection sets, through collect.
    restoreCollectionSet(basis, set1, goodVectors, type);
    restoreCollectionSet(basis, set2, bestVectors, type);
}

template <class R1, class R2>
void Lattice<R1, R2>::restoreCollectionSet(Matrix<R1>& basis, CollectionSet& from, CollectionSet& into,
                                           BackupType type)
{
    // A vector of the kind into holds goes there, one of the other kind to the lattice's own set of
    // its kind; a set that isn't the lattice's takes both kinds. The deviation is computed anew
    // against the current bounds; membership isn't proved again (the vectors came from the
    // lattice, and a set only feeds the search, it accepts nothing).
    CollectionSet* homogenous = &into == &bestVectors ? nullptr : &into;
    CollectionSet* inhomogenous = &into == &goodVectors ? nullptr : &into;
    for (const Element<HeuristicVector<R1, R2>>* element = from.first; element != nullptr;
         element = element->next) {
        const TimeVector<R1> v(restoredForm(*this, type, *element, basis), element->secondsUntilDiscovered);
        collect(v, homogenous, inhomogenous);
    }
}

#define LATOPT_BACKUP_MEMBERS(R1, R2)                                                                        \
    template void Lattice<R1, R2>::backupAndResetBestSieveVectors(                                           \
        BackupType, Array<Star<R1>>&, Array<TimeVector<R1>>&, CollectionSet&, CollectionSet&, long);         \
    template void Lattice<R1, R2>::backupCollectionSet(BackupType, const CollectionSet&, CollectionSet&,     \
                                                       long);                                                \
    template void Lattice<R1, R2>::restoreBestSieveBackups(Array<Star<R1>>&, Array<TimeVector<R1>>&,         \
                                                           CollectionSet&, CollectionSet&, BackupType);      \
    template void Lattice<R1, R2>::restoreCollectionSet(Matrix<R1>&, CollectionSet&, CollectionSet&,         \
                                                        BackupType);
LATOPT_BACKUP_MEMBERS(long double, long double)
LATOPT_BACKUP_MEMBERS(long double, QQ)
LATOPT_BACKUP_MEMBERS(QQ, long double)
LATOPT_BACKUP_MEMBERS(QQ, QQ)
#undef LATOPT_BACKUP_MEMBERS

} // namespace latopt
