#include "base/log.h"

#include "base/const.h"

#include <cstdlib>
#include <iostream>

namespace latopt {

unsigned long THREAD_DEPTH = 0;
bool LINE_OPEN[MAX_THREAD_DEPTH] = {};
bool SKIP_NEXT_NL[MAX_THREAD_DEPTH] = {};

std::string BEGINL()
{
    static std::string prefix;
    // 1. A line begun by the enclosing level is cut short.
    prefix.clear();
    if (LINE_OPEN[THREAD_DEPTH]) {
        LINE_OPEN[THREAD_DEPTH] = false;
        prefix = "\n";
    }
    // 2. One bar for the root and one indented bar per open level.
    prefix += "|";
    for (unsigned long level = 0; level < THREAD_DEPTH; ++level)
        prefix += "    |";
    prefix += "->";
    // The level that would reach 128 is fatal; the depth stays below it, since the fatal form's
    // LF() still indexes the flags with it.
    if (THREAD_DEPTH + 1 >= MAX_THREAD_DEPTH) fatal("Maximum thread depth reached");
    ++THREAD_DEPTH;
    LINE_OPEN[THREAD_DEPTH] = true;
    return prefix;
}

std::string ENDL(bool afterLF)
{
    const bool lineEnded = SKIP_NEXT_NL[THREAD_DEPTH];
    std::string result;
    if (LINE_OPEN[THREAD_DEPTH]) {
        LINE_OPEN[THREAD_DEPTH] = false;
        result = "\n";
    }
    // Surplus closes at the root do no harm.
    if (THREAD_DEPTH != 0) {
        SKIP_NEXT_NL[THREAD_DEPTH] = false;
        --THREAD_DEPTH;
    }
    if (afterLF && lineEnded) return "";
    return result;
}

std::string LF()
{
    SKIP_NEXT_NL[THREAD_DEPTH] = true;
    LINE_OPEN[THREAD_DEPTH] = false;
    return "\n";
}

std::string PRINT(const std::string& text)
{
    std::cerr << text << LF();
    return "";
}

void failure()
{
#ifdef LATOPT_FAILURE_THROWS
    throw FailureUnwind();
#else
    std::exit(1);
#endif
}

void fatal(const std::string& message)
{
    std::cerr << ""
              << "\n"
              << ""
              << "*** FAIL: " << message << LF() << "";
    std::cerr.flush();
    failure();
}

void warning(const std::string& message)
{
    std::cerr << ""
              << "\n"
              << ""
              << "*** " << message << LF() << "";
}

std::ostream& DBL_OSTREAM_PREC(std::ostream& stream)
{
    stream.unsetf(std::ios_base::fixed | std::ios_base::scientific);
    stream.precision(Const::DBL_DIGITS() - 1);
    return stream;
}

} // namespace latopt
