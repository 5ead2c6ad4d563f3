#include "ylattice.h"

#include "base/log.h"

#include <iostream>

namespace latopt {

template <class T>
YLattice<T>::YLattice() : standard(nullptr), backup(nullptr), extra(nullptr)
{
}

template <class T>
long YLattice<T>::verbosity() const
{
    return useXtraPrecision ? extra.params.verb.value : standard.params.verb.value;
}

template <class T>
void YLattice<T>::setFileNames(const std::string& name)
{
    standard.setFileNames(name);
}

template <class T>
void YLattice<T>::readOptFile()
{
    // Equality on purpose: this step's lines appear at verb 2 only.
    if (verbosity() == 2)
        std::cout << BEGINL() << " "
                  << "Reading opt file ..." << LF();
    switchToXtraLatPrecision();
    extra.readOptFile();
    tryComingDown();
    if (verbosity() == 2) std::cout << ENDL(true);
}

template <class T>
void YLattice<T>::switchToXtraLatPrecision()
{
    if (useXtraPrecision) return;
    if (standard.params.verb.value >= 2)
        std::cout << BEGINL() << " "
                  << "Switching to extended precision" << ENDL(false);
    extra._assign(standard, false);
    useXtraPrecision = true;
}

template <class T>
void YLattice<T>::switchToStandardLatPrecision()
{
    if (!useXtraPrecision) return;
    // Converts every exact value; a value that can't come down faithfully throws from here.
    standard._assign(extra, false);
    useXtraPrecision = false;
    if (standard.params.verb.value >= 2)
        std::cout << BEGINL() << " "
                  << "Using standard precision" << ENDL(false);
}

template <class T>
void YLattice<T>::tryComingDown()
{
    try {
        switchToStandardLatPrecision();
    } catch (const PrecisionException&) {
        // The run stays in extra precision; the next guarded step tries again.
    }
}

template <class T>
template <class StandardStep, class ExtraStep>
auto YLattice<T>::guarded(StandardStep standardStep, ExtraStep extraStep)
{
    // 1. Already in extra precision: run there, then try to come down.
    if (useXtraPrecision) {
        auto result = extraStep(extra);
        tryComingDown();
        return result;
    }
    // 2. Standard precision on a state that the backup can restore.
    const unsigned long depth = THREAD_DEPTH;
    backup._assign(standard, false);
    try {
        return standardStep(standard);
    } catch (const PrecisionException&) {
        // 3. Forget the aborted attempt, its state and its log levels, and redo it exactly.
        standard._assign(backup, false);
        switchToXtraLatPrecision();
        THREAD_DEPTH = depth;
        auto result = extraStep(extra);
        tryComingDown();
        return result;
    }
}

template <class T>
bool YLattice<T>::readStarsFromSolFile(bool stopAtFirst)
{
    return guarded([stopAtFirst](auto& lattice) { return lattice.readStarsFromSolFile(stopAtFirst); });
}

template <class T>
bool YLattice<T>::checkStars()
{
    // A fallback restores the backup, so the exact pass starts again from the first record.
    return guarded([](auto& lattice) { return lattice.checkStars(); });
}

template <class T>
void YLattice<T>::writeSolFile(bool keepStars)
{
    guarded([keepStars](auto& lattice) {
        lattice.writeSolFile(keepStars);
        return true;
    });
}

template <class T>
std::string YLattice<T>::outputOptStarSolutions()
{
    return guarded([](auto& lattice) { return lattice.outputOptStarSolutions(); });
}

template <class T>
void YLattice<T>::sortStars(bool compareParams)
{
    auto sortAndDeduplicate = [compareParams](auto& lattice) {
        lattice.stars.heapSort();
        using Record = std::remove_reference_t<decltype(lattice.stars[0])>;
        Record::removeStarDublettes(lattice.stars, compareParams);
    };
    if (useXtraPrecision)
        sortAndDeduplicate(extra);
    else
        sortAndDeduplicate(standard);
}

template <class T>
void YLattice<T>::setPendingSolutionWrite(bool pending)
{
    if (useXtraPrecision)
        extra.pendingSolutionWrite = pending;
    else
        standard.pendingSolutionWrite = pending;
}

template class YLattice<long double>;

std::string proveSolutionFile(const std::string& name)
{
    // The standard, the backup and the extra lattice, built in that order on this stack.
    YLattice<long double> run;
    run.setFileNames(name);
    run.readOptFile();
    // Stored records are always parsed exactly first.
    run.switchToXtraLatPrecision();
    run.readStarsFromSolFile(false);
    try {
        run.switchToStandardLatPrecision();
    } catch (const PrecisionException&) {
        // The records can't come down faithfully: the run goes on in extra precision.
    }
    run.checkStars();
    run.sortStars(true);
    run.setPendingSolutionWrite(true);
    run.writeSolFile(true);
    run.sortStars(false);
    return run.outputOptStarSolutions();
}

} // namespace latopt
