// main.cpp: the tool's entry point. It is given one solution file, whose name ends in ".sol";
// any other command line prints the usage line on standard output and ends with status 1.
#include "base/file.h"
#include "base/log.h"
#include "base/string.h"
#include "ylattice.h"

#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace latopt {

// "Usage: <base name of argv0> *.sol" and a line feed on standard output, then exit(1).
[[noreturn]] void usage(const char* argv0)
{
    std::cout << "Usage: " << File::baseName(argv0 != nullptr ? argv0 : "") << " *.sol" << LF();
    std::exit(1);
}

// Ends the process with status 0: normally (destructors run, streams are flushed), or at once,
// without either.
[[noreturn]] void cleanExit(bool immediately)
{
    if (immediately) _exit(0);
    std::exit(0);
}

} // namespace latopt

int main(int argc, char** argv)
{
    using namespace latopt;
    // Exactly one argument, a name ending in ".sol" (".sol" alone included).
    if (argc != 2) usage(argv[0]);
    if (!String(argv[1]).endsWith(".sol")) usage(argv[0]);

    // The standard, the backup and the extra lattice, built in that order on this stack.
    YLattice<long double> run;
    run.setFileNames(argv[1]);
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
    // Records with equal x but other parameters stay apart in the file ...
    run.sortStars(true);
    run.setPendingSolutionWrite(true);
    run.writeSolFile(true);
    // ... and merge in the report, which shows each solution once.
    run.sortStars(false);
    std::cout << run.outputOptStarSolutions() << LF();
    return 0;
}
