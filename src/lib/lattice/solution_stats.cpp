// The closing statistics of a search (Lattice::solutionStats); the tool itself doesn't print them.
#include "lattice/lattice.h"

#include "program/print_time.h"

#include <algorithm>
#include <sstream>

namespace latopt {

template <class R1, class R2>
std::string Lattice<R1, R2>::solutionStats() const
{
    std::ostringstream text;
    if (unprepared.dt.dimension() > 0) {
        text << "\n";
        bestTarget.printSums(text);
        text << "\n";
    }
    const long found = solutions.dimension();
    if (params.bench.value == 0 && found > 0)
        text << "\n"
             << "Solutions found: " << found << "\n";
    if (found > 0) {
        text << "\n"
             << "{ The first solution/s was/were found after: ";
        for (long i = 1; i <= std::min(found, 3L); ++i) {
            printTime(text, solutions[i].secondsUntilDiscovered);
            text << " ";
        }
        text << "}"
             << "\n";
    }
    return text.str();
}

template std::string Lattice<long double, long double>::solutionStats() const;
template std::string Lattice<long double, QQ>::solutionStats() const;
template std::string Lattice<QQ, long double>::solutionStats() const;
template std::string Lattice<QQ, QQ>::solutionStats() const;

} // namespace latopt
