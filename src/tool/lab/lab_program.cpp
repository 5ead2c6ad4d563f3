// lab_program.cpp: the commands of latopt-lab on programs: prep, the preparation of a .opt file,
// embed, the lattice of a program, and map, the vector maps between a program and its lattice.
#include "lab.h"

#include "lattice/lattice.h"
#include "program/vorm.h"

#include <memory>
#include <sstream>
#include <string>

namespace latopt::lab {

namespace {

// What LabIo::write writes for value, without the line end.
template <class V>
std::string text(const V& value)
{
    std::istringstream none;
    std::ostringstream line;
    LabIo local("prep", none, line, {});
    local.write(value);
    std::string written = line.str();
    written.pop_back();
    return written;
}

// Reads the file named on the command line, runs the slack stage and prepareVorm in T and writes
// the prepared program as .opt blocks (dt, "= kt", At, Ag, bg, Au, lu, ru, dx, lx, rx), then what
// undoes the preparation: the removed constants (index in the file's numbering = value), the
// variables whose sign was swapped, the offsets to add back (lx, -inf for a variable not shifted)
// and the slack variables added, in the prepared numbering. Unfulfillable programs stop with the
// routines' own texts.
template <class T>
void prep(LabIo& io)
{
    const auto file = io.options.find("file");
    if (file == io.options.end()) fail("prep: no .opt file given");
    Vorm<QQ> read;
    read.optFile = file->second;
    read.readOptFile();
    Vorm<T> program;
    program._assign(read);
    program.slackStage(false, false);
    program.prepareVorm(false);

    io.write(program.dt);
    io.write("= " + text(program.kt));
    io.write(program.At);
    io.write(program.Ag);
    io.write(program.bg);
    io.write(program.Au);
    io.write(program.lu);
    io.write(program.ru);
    io.write(program.dx);
    io.write(program.lx);
    io.write(program.rx);

    std::ostringstream constants;
    constants << "constants [ ";
    for (long i = 1; i <= program.constantVariables.dimension(); ++i)
        constants << program.constantVariables[i].left << "=" << text(program.constantVariables[i].right)
                  << " ";
    io.write(constants.str() + "]");
    io.write("swapped " + text(static_cast<const Array<long>&>(program.swappedHalfFreeVariables)));
    io.write("offsets " + text(program.lx));
    Array<long> slacks;
    const long n = program.rx.dimension();
    for (long j = n - program.slackInequationCount - program.slackTargetVariableCount + 1; j <= n; ++j)
        slacks.pushBack(j);
    io.write("slacks " + text(slacks));
}

// The .opt file named on the command line, read exactly.
Vorm<QQ> readProgram(const LabIo& io)
{
    const auto file = io.options.find("file");
    if (file == io.options.end()) fail(io.command + ": no .opt file given");
    Vorm<QQ> read;
    read.optFile = file->second;
    read.readOptFile();
    return read;
}

// The lattice of program in T: the slack stage forced on unprepared, the copy prepared, opt2lat.
// Nothing here offers candidate vectors to a search: the lattice is only built. (The embedding of
// equations proves their solvability with a solution, which the gate accepts; no solution ends
// this run, which is hosted, not a search.)
template <class T>
std::unique_ptr<Lattice<T, T>> embedded(const Vorm<QQ>& program)
{
    auto lattice = std::make_unique<Lattice<T, T>>();
    lattice->params.hostedRun = true;
    lattice->params.sol = 0L;
    lattice->unprepared._assign(program);
    lattice->prepareVormByUnprepared(false, true);
    lattice->opt2lat();
    return lattice;
}

// Embeds the program named on the command line and writes the lattice in the layout of the .lat
// file (the writer's own text) on standard output.
template <class T>
void embed(LabIo& io)
{
    const auto lattice = embedded<T>(readProgram(io));
    std::string snapshot = lattice->latFileText();
    snapshot.pop_back(); // write ends the line
    io.write(snapshot);
}

// Embeds the program named on the command line, then answers each line of standard input: "opt
// [ x ]", x a vector of the file's variables, with "lat [ v ]", its untrimmed lattice vector;
// "lat [ v ]", v a lattice vector, with "opt [ x ] S", its program vector (constants in place,
// no slacks) and the status S of lat2opt (1: the marker has the size of the constant, else -1).
// Empty lines are skipped; anything else fails.
template <class T>
void map(LabIo& io)
{
    const Vorm<QQ> program = readProgram(io);
    const auto lattice = embedded<T>(program);
    const long variables = program.rx.dimension();
    std::ostringstream unused;
    std::string line;
    while (io.line(line)) {
        std::istringstream words(line);
        std::string kind;
        if (!(words >> kind)) continue;
        if (kind != "opt" && kind != "lat") fail("map: a line starts with \"" + kind + "\", not opt or lat");
        LabIo operand("map", words, unused, {});
        const Vector<T> given = operand.vector<T>(kind == "opt" ? "x" : "v");
        operand.end();
        if (kind == "opt") {
            if (given.dimension() != variables)
                fail("map: x has " + std::to_string(given.dimension()) + " entries, the program " +
                     std::to_string(variables) + " variables");
            Vector<T> v;
            lattice->opt2lat(given, v, false);
            io.write("lat " + text(v));
        } else {
            if (given.dimension() != lattice->dimN)
                fail("map: v has " + std::to_string(given.dimension()) + " entries, the lattice " +
                     std::to_string(lattice->dimN) + " columns");
            Vector<T> x;
            const short status = lattice->lat2opt(given, x, true, false);
            io.write("opt " + text(x) + " " + std::to_string(status));
        }
    }
}

} // namespace

std::vector<LabCommand> programCommands()
{
    return {
        {"prep",
         "the .opt file named on the command line",
         "the prepared program as .opt blocks, then constants, swapped, offsets, slacks",
         {"P.opt"},
         prep<QQ>,
         prep<long double>},
        {"embed",
         "the .opt file named on the command line",
         "the lattice of the prepared program in the layout of the .lat file",
         {"P.opt"},
         embed<QQ>,
         embed<long double>},
        {"map",
         "the .opt file named on the command line; lines \"opt [ x ]\" or \"lat [ v ]\"",
         "per line \"lat [ v ]\" (the lattice vector of x) or \"opt [ x ] S\" (x of v, status S)",
         {"P.opt"},
         map<QQ>,
         map<long double>},
    };
}

} // namespace latopt::lab
