// sol_file.cpp: the .sol file of a lattice's program, one Star line per solution. The reader
// appends what it finds to stars; the writer replaces the file whole. See lattice.h.
#include "lattice/lattice.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/protected_file.h"

#include <cstdio>
#include <sstream>
#include <string>

namespace latopt {

namespace {

// The whole content of a file opened for reading; reading stops at the first error.
std::string readWhole(FILE* file)
{
    std::string content;
    char buffer[65536];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0)
        content.append(buffer, count);
    return content;
}

// Appends a copy of star. The room grows by doubling, so that a file of n records costs O(n)
// element moves, not O(n^2).
template <class T>
void appendStar(Array<Star<T>>& stars, const Star<T>& star)
{
    const long count = stars.dimension() + 1;
    if (count > stars.capacity) stars.reserve(2 * count);
    stars.setDimension(count, false);
    stars[count] = star;
}

} // namespace

template <class R1, class R2>
bool Lattice<R1, R2>::readStarsFromSolFile(bool stopAtFirst)
{
    // 1. A missing file is the first run's normal case.
    FILE* file = std::fopen(this->solFile.c_str(), "r");
    if (file == nullptr) return false;
    // 2. The whole file into a stream; an empty one gives nothing.
    std::stringstream stream(readWhole(file));
    std::fclose(file);
    if (stream.str().empty()) return false;
    // 3. Record by record into one object, reused on purpose: a short record keeps what the
    //    record before it left in the fields it doesn't have.
    Star<R1> star;
    bool taken = false;
    while (stream.good()) {
        const std::streampos before = stream.tellg();
        try {
            const bool complete = star.fromStream(stream);
            // An empty x is no solution: never checked, never taken.
            if (star.dimension() > 0) {
                // A short record gets its figures from the program; whether it holds is decided
                // later, by checkStars.
                if (!complete) this->checkStar(star);
                if (stopAtFirst) return true;
                star.isNew = false;
                appendStar(this->stars, star);
                taken = true;
            }
        } catch (const PrecisionException&) {
            throw;
        } catch (const GeneralException&) {
            // The record is dropped; reading goes on.
        }
        // A reader that neither moved nor ended would loop for ever.
        if (stream.good() && stream.tellg() == before) break;
    }
    // 4. Whether anything was taken.
    return taken;
}

template <class R1, class R2>
void Lattice<R1, R2>::writeSolFile(bool keepStars)
{
    // 1. Only while solutions are to be persisted.
    if (!this->pendingSolutionWrite) return;
    // 2. The found vectors join the records.
    if (!keepStars) sol2star();
    // 3. Without a name nothing can be written.
    if (this->solFile.empty()) {
        warning("solFile is not set - solution write not possible");
        return;
    }
    // 4. From here on SIGINT and SIGTERM are only noted.
    const SignalHold hold;
    // 5.-7. The lines, each ended by a line feed.
    std::ostringstream text;
    DBL_OSTREAM_PREC(text);
    for (long i = 1; i <= this->stars.dimension(); ++i)
        text << this->stars[i].toString() << "\n";
    if (solWriteProbe != nullptr) solWriteProbe();
    // 8. No line: a program without solutions has no file. Otherwise the file is replaced whole.
    if (text.str().empty())
        removeWritableFile(this->solFile);
    else
        replaceFile(this->solFile, text.str());
    // 9. The old handlers come back as hold ends; a signal that came meanwhile ends the run then.
}

#define LATOPT_SOL_FILE_MEMBERS(R1, R2)                                                                      \
    template bool Lattice<R1, R2>::readStarsFromSolFile(bool);                                               \
    template void Lattice<R1, R2>::writeSolFile(bool);
LATOPT_SOL_FILE_MEMBERS(long double, long double)
LATOPT_SOL_FILE_MEMBERS(long double, QQ)
LATOPT_SOL_FILE_MEMBERS(QQ, long double)
LATOPT_SOL_FILE_MEMBERS(QQ, QQ)
#undef LATOPT_SOL_FILE_MEMBERS

} // namespace latopt
