// lab_program.cpp: the command of latopt-lab on programs: prep, the preparation of a .opt file.
#include "lab.h"

#include "program/vorm.h"

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
    };
}

} // namespace latopt::lab
