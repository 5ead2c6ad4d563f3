// lat_file.cpp: the .lat file, a snapshot of a lattice for a later run or a reader: the basis
// and what is needed to interpret it. Nothing in the engine reads it. See lattice.h.
#include "lattice/lattice.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/log.h"
#include "lattice/protected_file.h"

#include <ctime>
#include <sstream>
#include <string>

namespace latopt {

template <class R1, class R2>
std::string Lattice<R1, R2>::latFileText() const
{
    // The basis in the coordinates of the embedding.
    // In long double a negative factor leaves signed zeros behind, which would print as "-0".
    Matrix<R1> plain = removeTranslationAndScaling(B);
    for (long i = 1; i <= plain.rowCount; ++i)
        for (long j = 1; j <= plain.colCount; ++j)
            if (plain[i][j] == Constant<R1>::ZERO()) plain[i][j] = Constant<R1>::ZERO();
    // The leading empty line and the comment that names the blocks, then one item per line, empty lines
    // between the groups. Long doubles in 17 significant digits: integers of 10^17 and more print rounded,
    // which is accepted, as nothing reads the numbers back into a computation.
    std::ostringstream text;
    DBL_OSTREAM_PREC(text);
    text << "\n// B -- l, r -- c, R -- lx, rx -- tu, lrtu\n";
    plain.serialize(text);
    text << "\n\n";
    l.serialize(text);
    text << "\n";
    r.serialize(text);
    text << "\n\n";
    c.serialize(text);
    text << "\n" << R << "\n\n";
    unprepared.lx.serialize(text);
    text << "\n";
    unprepared.rx.serialize(text);
    text << "\n\n" << unprepared.tu << "\n";
    unprepared.lrtu.serialize(text);
    text << "\n\n" << static_cast<long>(std::time(nullptr)) - statistics.startTime << "\n";
    return text.str();
}

template <class R1, class R2>
void Lattice<R1, R2>::writeLatFile() const
{
    // 1. The snapshot goes with the solution file only.
    if (!this->pendingSolutionWrite) return;
    // 2. Without a name nothing can be written.
    if (latFile.empty()) {
        warning("latFile is not set - lattice write not possible");
        return;
    }
    // 3. The whole text before the file is touched.
    const std::string text = latFileText();
    // 4.-6. The file replaced whole, with SIGINT and SIGTERM held back until it is complete.
    const SignalHold hold;
    if (latWriteProbe != nullptr) latWriteProbe();
    replaceFile(latFile, text);
}

#define LATOPT_LAT_FILE_MEMBERS(R1, R2)                                                                      \
    template std::string Lattice<R1, R2>::latFileText() const;                                               \
    template void Lattice<R1, R2>::writeLatFile() const;
LATOPT_LAT_FILE_MEMBERS(long double, long double)
LATOPT_LAT_FILE_MEMBERS(long double, QQ)
LATOPT_LAT_FILE_MEMBERS(QQ, long double)
LATOPT_LAT_FILE_MEMBERS(QQ, QQ)
#undef LATOPT_LAT_FILE_MEMBERS

} // namespace latopt
