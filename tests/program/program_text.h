// program_text.h: programs and their blocks as text in the program tests: every member of a Vorm
// for exact comparisons of whole programs (long doubles with 17 significant digits, QQ exactly),
// a program read from .opt text, a block written on one line.
#pragma once

#include "arith/qq.h"
#include "base/log.h"
#include "base/serializable.h"
#include "program/vorm.h"

#include <sstream>
#include <string>
#include <utility>

namespace latopt::testing_support {

template <class T>
std::string describe(const Vorm<T>& p)
{
    std::ostringstream s;
    DBL_OSTREAM_PREC(s);
    s << p.optFile << " | " << p.solFile << "\ndt " << p.dt << "\nkt " << p.kt << "\nlrtu " << p.lrtu
      << " tu " << p.tu << "\natu " << p.atu << "\nbg " << p.bg << "\nlu " << p.lu << "\nru " << p.ru
      << "\ndx " << p.dx << "\nlx " << p.lx << "\nrx " << p.rx << "\nfreedomDegrees " << p.freedomDegrees
      << "\nswapped " << p.swappedHalfFreeVariables;
    for (const auto& [name, matrix] :
         {std::pair{"At", &p.At}, std::pair{"Ag", &p.Ag}, std::pair{"Au", &p.Au}})
        s << "\n"
          << name << " " << matrix->rowCount << "x" << matrix->colCount << " '" << matrix->separators << "' "
          << *matrix;
    for (long i = 1; i <= p.stars.dimension(); ++i)
        s << "\nstar " << p.stars[i].toString() << " new " << p.stars[i].isNew;
    for (long i = 1; i <= p.constantVariables.dimension(); ++i)
        s << "\nconstant " << p.constantVariables[i].left << " " << p.constantVariables[i].right;
    s << "\nfiniteTargetsOnly, pendingSolutionWrite, pendingSolutionStats, slackified " << p.finiteTargetsOnly
      << p.pendingSolutionWrite << p.pendingSolutionStats << p.slackified << "\nslack variables "
      << p.slackInequationCount << " " << p.slackTargetVariableCount;
    return s.str();
}

inline Vorm<QQ> parse(const std::string& text)
{
    Vorm<QQ> program;
    std::istringstream stream(text);
    stream >> program;
    return program;
}

// The text form of a block on one line, white space runs collapsed.
inline std::string written(const Serializable& block)
{
    std::ostringstream s;
    block.serialize(s);
    std::istringstream words(s.str());
    std::string text, word;
    while (words >> word)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

} // namespace latopt::testing_support
