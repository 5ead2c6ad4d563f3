// log.h: the log tree, the fatal exit and the number format of text that must read back.
// Progress is written as an indented tree: BEGINL() opens a level and returns the prefix of its
// line, LF() ends a line, ENDL() closes a level and returns the line feed it still owes. The state
// (THREAD_DEPTH and two flags per level) is process-wide and unlocked; levels are limited to 128,
// and reaching the limit is fatal.
// Fatal errors go to standard error as "\n*** FAIL: <message>\n" and end the process through
// failure(), the single exit of every fatal path; warnings have the same form with "*** ".
#pragma once

#include <iosfwd>
#include <string>

namespace latopt {

inline constexpr unsigned long MAX_THREAD_DEPTH = 128;

extern unsigned long THREAD_DEPTH;          // current indentation level of the log tree
extern bool LINE_OPEN[MAX_THREAD_DEPTH];    // the level's line was begun and not ended
extern bool SKIP_NEXT_NL[MAX_THREAD_DEPTH]; // the level's line was ended by LF()

std::string BEGINL();
std::string ENDL(bool afterLF = false);
std::string LF();
// Writes text and LF() on standard error; returns the empty text.
std::string PRINT(const std::string& text);

// exit(1). Never returns. Built with LATOPT_FAILURE_THROWS (the fuzz build) it throws
// FailureUnwind instead, so that a fuzz target can take a fatal stop as an ordinary outcome.
[[noreturn]] void failure();
struct FailureUnwind {};
// The fatal form: "\n*** FAIL: " message LF() on standard error, then failure().
[[noreturn]] void fatal(const std::string& message);
// The warning form: "\n*** " message LF() on standard error; the run goes on.
void warning(const std::string& message);

// Clears fixed and scientific and sets the precision to DBL_DIGITS - 1: long doubles are written
// in 17 significant digits. Values that have no more (integers below 10^17, short decimals) read
// back unchanged; a long double needs up to 21 digits, so others read back rounded to 17.
std::ostream& DBL_OSTREAM_PREC(std::ostream& stream);

// Restores THREAD_DEPTH when it leaves scope, also when an exception passes.
class ThreadDepthGuard {
public:
    ThreadDepthGuard() : saved(THREAD_DEPTH) {}
    ~ThreadDepthGuard() { THREAD_DEPTH = saved; }
    ThreadDepthGuard(const ThreadDepthGuard&) = delete;
    ThreadDepthGuard& operator=(const ThreadDepthGuard&) = delete;

private:
    unsigned long saved;
};

} // namespace latopt
