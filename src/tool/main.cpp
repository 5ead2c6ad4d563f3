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

    std::cout << proveSolutionFile(argv[1]) << LF();
    return 0;
}
