// program_text.h: every member of a Vorm as text, for exact comparisons of whole programs in the
// program tests. Long doubles are written with 17 significant digits, QQ exactly.
#pragma once

#include "base/log.h"
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

} // namespace latopt::testing_support
