// lab_search.cpp: the command reduce of latopt-lab, a reduction of a program's lattice with every
// row it touches offered to the candidate gate, as a search would run it: the solutions found go
// to the program's .sol file (the records already there are kept), and the counts of the gate are
// written on standard output.
#include "lab.h"

#include "base/exceptions.h"
#include "lattice/lattice.h"
#include "lattice/lll_to_the_end.h"
#include "program/vorm.h"

#include <memory>
#include <string>
#include <type_traits>

namespace latopt::lab {

namespace {

// The gate's counts after a run.
struct GateCounts {
    long offered = 0;
    long collected = 0;
    long accepted = 0;
    long solutions = 0;
};

// Reduces until every row has passed its exchange test, or a call makes no test (dependent rows
// at the end); a regeneration of the lattice after an improvement starts the reduction again.
// The run ends as soon as the gate has ended it (the solutions asked for are found): the
// reduction stops at its next row, and nothing more is offered.
template <class R1, class R2>
void reduceWithOffers(Lattice<R1, R2>& lattice)
{
    for (;;) {
        try {
            lllToTheEnd(lattice, 0, 1L << 40, nullptr);
            return;
        } catch (const RestartException&) {
            if (lattice.runEnded) return;
        }
    }
}

// One run in the number type T: the program embedded with its files named after it, the records
// of its .sol file read, then the reduction with offers.
template <class T>
GateCounts run(LabIo& io, const std::string& file)
{
    Vorm<QQ> program;
    program.optFile = file;
    program.readOptFile();
    auto lattice = std::make_unique<Lattice<T, T>>();
    lattice->setFileNames(file);
    lattice->unprepared._assign(program);
    lattice->unprepared.optFile = lattice->optFile;
    lattice->unprepared.solFile = lattice->solFile;
    // A hosted run ends by a mark in the run's variables, not by a signal to the process.
    lattice->params.hostedRun = true;
    if (io.options.count("sol") != 0) lattice->params.sol = io.integerOption("sol", 1);
    lattice->offerCandidates = io.integerOption("offers", 1) != 0;
    lattice->params.deep = io.integerOption("deep", 0) != 0;
    lattice->prepareVormByUnprepared(false, true);
    lattice->opt2lat();
    lattice->readStarsFromSolFile(false);
    lattice->pendingSolutionWrite = true;
    // The gate may have accepted solutions while the lattice was built (with equations, the
    // vectors found in the first stage are carried into the lattice of the program and judged
    // there); nothing was written then, so they are written now, with the records of the file.
    if (lattice->solutions.dimension() > 0) lattice->persistConsistent();
    if (!lattice->runEnded) reduceWithOffers(*lattice);
    return {lattice->offeredCount, lattice->collectedCount, lattice->acceptedCount,
            lattice->solutions.dimension()};
}

// Runs in T; a long double run whose precision fails is done again exactly.
template <class T>
void reduce(LabIo& io)
{
    const auto file = io.options.find("file");
    if (file == io.options.end()) fail("reduce: no .opt file given");
    GateCounts counts;
    try {
        counts = run<T>(io, file->second);
    } catch (const PrecisionException& exception) {
        if constexpr (std::is_same_v<T, QQ>) throw;
        io.write("exact redo: " + std::string(exception.what()));
        counts = run<QQ>(io, file->second);
    }
    io.write("offered " + std::to_string(counts.offered));
    io.write("collected " + std::to_string(counts.collected));
    io.write("accepted " + std::to_string(counts.accepted));
    io.write("solutions " + std::to_string(counts.solutions));
}

} // namespace

std::vector<LabCommand> searchCommands()
{
    return {
        {"reduce",
         "the .opt file named on the command line; nothing on standard input",
         "offered, collected and accepted candidates and the solutions of the run, one count per line; "
         "the solutions go to the program's .sol file; --deep=1 reduces with deep insertion",
         {"P.opt", "--sol=N", "--offers=0", "--deep=1"},
         reduce<QQ>,
         reduce<long double>},
    };
}

} // namespace latopt::lab
