// driver.cpp: a minimal search for solutions of a program, written against the installed engine.
// Usage: latopt-driver PROG.opt [ROUNDS]. It reads the program exactly, embeds it in a lattice and
// then runs rounds: LLL until every row has passed its exchange test (each row the reduction
// touches goes through the candidate gate), the reduced rows offered to the gate once more, and a
// restart on a regenerated, shuffled lattice. A better target or a solution found by the gate
// restarts the lattice too. The run ends on a solution or after ROUNDS rounds (default 20); the
// gate has written PROG.sol, and the solutions are printed. In long double first, and again in
// exact arithmetic when a value leaves the trusted range.
#include <latopt/arith/qq.h>
#include <latopt/base/exceptions.h>
#include <latopt/lattice/lattice.h>
#include <latopt/lattice/lll_to_the_end.h>
#include <latopt/program/vorm.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <string>

using namespace latopt;

template <class T>
void search(const std::string& optFile, long rounds)
{
    Vorm<QQ> program;
    program.optFile = optFile;
    program.readOptFile();
    auto lattice = std::make_unique<Lattice<T, T>>();
    lattice->setFileNames(optFile); // PROG.sol beside PROG.opt
    lattice->unprepared._assign(program);
    lattice->unprepared.optFile = lattice->optFile;
    lattice->unprepared.solFile = lattice->solFile;
    lattice->params.hostedRun.value = true; // the end of the run sets runEnded instead of a SIGTERM
    lattice->prepareVormByUnprepared(true, true);
    lattice->opt2lat();
    lattice->pendingSolutionWrite = true; // the gate writes what it accepts to PROG.sol
    // The embedding may have found solutions already (a program with equations): written now.
    if (lattice->solutions.dimension() > 0 || lattice->bestTarget.dimension() > 0)
        lattice->persistConsistent();
    std::mt19937 random(1);
    bool shuffle = false;
    for (long round = 1; !lattice->runEnded; ++round) {
        try {
            // After a restart of our own the regenerated lattice is shuffled, so that the next
            // reduction takes another path.
            for (long i = lattice->dimB; shuffle && i >= 2; --i)
                lattice->swapVectors(i, 1 + static_cast<long>(random() % i), false);
            shuffle = false;
            if (lllToTheEnd(*lattice, 0, 1000, nullptr)) {
                for (long i = 1; i <= lattice->dimB; ++i)
                    lattice->checkSolution(lattice->B[i], true, 0, false);
            }
            const bool done = lattice->solutions.dimension() > 0 || round >= rounds;
            // Writes the files; then ends the run, or regenerates and throws RestartException.
            shuffle = true;
            if (!lattice->runEnded) lattice->restartOrTerminate(done);
        } catch (const RestartException&) {
            // A regenerated lattice: by us, or by the gate after a better target.
        }
    }
    std::cout << lattice->solutions.dimension() << " solution(s)" << lattice->outputOptStarSolutions()
              << "\n";
}

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "Usage: latopt-driver PROG.opt [ROUNDS]\n";
        return 1;
    }
    const long rounds = argc > 2 ? std::atol(argv[2]) : 20;
    try {
        search<long double>(argv[1], rounds);
    } catch (const PrecisionException&) {
        search<QQ>(argv[1], rounds);
    }
    return 0;
}
