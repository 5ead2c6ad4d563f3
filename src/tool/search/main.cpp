// main.cpp: latopt-search, the search for solutions of a program. It reads PROG.opt, takes the
// search parameters from the command line in their text form ("--name=value", read by the
// parameter table itself; a switch may stand without a value), continues from the records of
// PROG.sol (unless bench > 0), embeds the program and runs the search driver until an end
// criterion holds. Then PROG.sol is proved and reported as `latopt PROG.sol` does, followed by
// the statistics of the search; status 0. A search that enumerated the whole box without finding
// anything says "No solution exists.". The search runs in long double; when a value leaves the
// trusted range it runs again in exact arithmetic, from the files written so far.
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lattice.h"
#include "params/params.h"
#include "program/vorm.h"
#include "search/driver.h"
#include "ylattice.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace latopt {
namespace {

const char* const USAGE = "Usage: latopt-search PROG.opt [--name=value ...]";

// One line "latopt-search: <message>" on standard error, status 1.
[[noreturn]] void refuse(const std::string& message)
{
    std::cerr << "latopt-search: " << message << "\n";
    std::exit(1);
}

struct CommandLine {
    std::string optFile;
    std::string parameters; // the parameters as one row of their text form
};

// The program file and the parameter row. A switch named without a value ("--deep") is set
// ("--deep=1"); every other token goes to the table's reader as it stands, which refuses a token
// without "=" and a name it doesn't know.
CommandLine readCommandLine(int argc, char** argv, Params& table)
{
    CommandLine line;
    for (int i = 1; i < argc; ++i) {
        std::string token = argv[i];
        if (token.rfind("--", 0) != 0) {
            if (!line.optFile.empty()) refuse("more than one program file: " + token);
            line.optFile = token;
            continue;
        }
        const long entry = table.registry.indexOf(token.substr(2));
        if (token.find('=') == std::string::npos && entry != 0 && table.registry[entry].right->isBoolean())
            token += "=1";
        line.parameters += token + " ";
    }
    return line;
}

// The tokens one by one through the table's reader. A value the parameter's type can't take
// whole ("--beta=abc", "--sol=1.5") is malformed like a token without "=": the reader alone
// would keep what it could read of it (0, 1) silently.
void applyParameters(Params& params, const std::string& row)
{
    std::istringstream stream(row);
    for (std::string token; stream >> token;) {
        std::istringstream one(token);
        params.unserialize(one);
        const long entry = params.registry.indexOf(token.substr(2, token.find('=') - 2));
        if (entry != 0 && !params.registry[entry].right->holdsWellFormedText())
            fatal("Malformed parameter: " + token.substr(2));
    }
}

// Every parameter with its default and its help text, in the order of the table.
void printHelp(Params& table)
{
    std::cout << USAGE << "\n\nParameters (default after \"=\"):\n";
    for (long i = 1; i <= table.names.dimension(); ++i) {
        const ParamInfo& parameter = *table.registry[table.registry.indexOf(table.names[i])].right;
        std::cout << "  --" << parameter.name << "=" << parameter.defaultValue << "\n      "
                  << parameter.description << "\n";
    }
}

const char* endText(SearchEnd end)
{
    switch (end) {
    case SearchEnd::SOLUTIONS:
        return "the solutions asked for (sol) were found";
    case SearchEnd::ITERATIONS:
        return "the iterations asked for (iters) were made";
    case SearchEnd::TIME:
        return "the time asked for (rtime) has passed";
    case SearchEnd::NORMS:
        return "a solution met snorm / tnorm";
    case SearchEnd::SIGNAL:
        return "a signal (SIGINT / SIGTERM)";
    case SearchEnd::EXHAUSTED:
        return "the whole box was enumerated";
    }
    return "";
}

struct Outcome {
    SearchEnd end = SearchEnd::SIGNAL;
    bool foundNothing = true; // no solution, no best target, no record
    std::string statistics;   // the lattice's solutionStats
    long iterations = 0;
};

// One search in the number type T: the program read exactly and embedded, the records of its
// .sol file taken over, then the driver.
template <class T>
Outcome search(const CommandLine& line)
{
    Vorm<QQ> program;
    program.optFile = line.optFile;
    program.readOptFile();
    auto lattice = std::make_unique<Lattice<T, T>>();
    lattice->setFileNames(line.optFile);
    lattice->unprepared._assign(program);
    lattice->unprepared.optFile = lattice->optFile;
    lattice->unprepared.solFile = lattice->solFile;
    applyParameters(lattice->params, line.parameters);
    // The figures of the search are printed after the report, not by the engine at the end.
    lattice->pendingSolutionStats = false;
    lattice->prepareVormByUnprepared(true, true);
    lattice->opt2lat();
    // The records are read after the embedding, which rebuilds the program (and its records) from
    // the unprepared one; until then nothing is written, so the file stays as it was.
    if (!(lattice->params.bench.value > 0)) lattice->readStarsFromSolFile(false);
    lattice->pendingSolutionWrite = true;
    // Solutions the embedding accepted (with equations) are written now, with the records.
    if (lattice->solutions.dimension() > 0 || lattice->bestTarget.dimension() > 0)
        lattice->persistConsistent();
    Outcome outcome;
    outcome.end = SearchDriver<T, T>(*lattice).run();
    outcome.foundNothing = lattice->solutions.dimension() == 0 && lattice->bestTarget.dimension() == 0 &&
                           lattice->stars.dimension() == 0;
    outcome.statistics = lattice->solutionStats();
    outcome.iterations = Lattice<T, T>::statistics.iterations;
    return outcome;
}

} // namespace
} // namespace latopt

int main(int argc, char** argv)
{
    using namespace latopt;
    ExtendedParams<long double> table;
    const CommandLine line = readCommandLine(argc, argv, table);
    applyParameters(table, line.parameters);
    if (table.help.value) {
        printHelp(table);
        return 0;
    }
    if (line.optFile.empty()) refuse("no program file given (" + std::string(USAGE) + ")");
    if (!std::ifstream(line.optFile)) refuse("cannot read the program file " + line.optFile);

    installSearchSignalHandlers();
    const auto start = std::chrono::steady_clock::now();
    Outcome outcome;
    try {
        outcome = search<long double>(line);
    } catch (const PrecisionException& exception) {
        if (table.verb.value >= 1)
            std::cout << BEGINL() << " Exact redo: " << exception.what() << ENDL(false);
        outcome = search<QQ>(line);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    if (outcome.end == SearchEnd::EXHAUSTED && outcome.foundNothing)
        std::cout << "No solution exists." << LF();
    else
        std::cout << proveSolutionFile(line.optFile) << LF();
    std::cout << outcome.statistics << LF();
    std::cout << "Iterations: " << outcome.iterations << LF();
    std::cout << "Seconds: " << std::fixed << std::setprecision(3) << seconds << LF();
    std::cout << "End: " << endText(outcome.end) << LF();
    return 0;
}
