// ylattice.h: YLattice<T>, the run of the tool: three lattices and the protocol that decides in
// which precision each step is carried out.
// Every guarded step runs first on the standard lattice (long double) after a copy of it went to
// the backup. When the step raises PrecisionException, the backup is restored, the state goes up
// into the extra lattice (exact QQ), the step is repeated there and the state comes down again.
// Nobody above this class sees which precision did the work. A downward copy that fails leaves
// the run in extra precision (useXtraPrecision stays true); the next guarded step then runs there
// and tries the way down again at its end. Any other exception passes unchanged.
// Built for T = long double only. The object is meant to live on main's stack.
#pragma once

#include "arith/qq.h"
#include "lattice/lattice.h"

#include <string>

namespace latopt {

template <class T>
class YLattice {
public:
    Lattice<T, T> standard; // the current lattice unless useXtraPrecision
    Lattice<T, T> backup;   // a copy of standard, taken before each guarded step
    Lattice<QQ, T> extra;   // the current lattice while useXtraPrecision
    bool useXtraPrecision = false;

    YLattice();
    // Destroys the extra, the backup and the standard lattice, in that order.
    virtual ~YLattice() = default;
    YLattice(const YLattice&) = delete;
    YLattice& operator=(const YLattice&) = delete;

    // The file names of the run, set on the standard lattice; the others get them by copy.
    void setFileNames(const std::string& name);
    // Reads the program, always in exact arithmetic, then comes down if it can.
    void readOptFile();
    void switchToXtraLatPrecision();
    // May throw PrecisionException; useXtraPrecision then stays true.
    void switchToStandardLatPrecision();

    // The guarded steps.
    bool readStarsFromSolFile(bool stopAtFirst);
    // The whole pass over the records is guarded: after a fallback it restarts from the first
    // record in exact arithmetic.
    bool checkStars();
    void writeSolFile(bool keepStars);
    std::string outputOptStarSolutions();

    // Heap sort of the current lattice's records, then removal of their duplicates.
    void sortStars(bool compareParams);
    void setPendingSolutionWrite(bool pending);

private:
    // Runs standardStep(standard) under the protocol, or extraStep(extra) when the run is (or
    // falls back) in extra precision. Both steps return a value of the same type.
    template <class StandardStep, class ExtraStep>
    auto guarded(StandardStep standardStep, ExtraStep extraStep);
    template <class Step>
    auto guarded(Step step)
    {
        return guarded(step, step);
    }
    // switchToStandardLatPrecision, swallowing PrecisionException.
    void tryComingDown();
    long verbosity() const;
};

// The run of the tool on a solution file (or any file of the program's name): the program read, the
// stored records parsed exactly, proved, sorted, written back and merged; returns the report of
// the solutions. Records with equal x but other parameters stay apart in the file, and merge in
// the report, which shows each solution once.
std::string proveSolutionFile(const std::string& name);

} // namespace latopt
