// opt_reader.cpp: the .opt reader, the one gate through which a program enters the system.
// A file is eleven bracketed blocks in a fixed order, told apart by position alone:
//   dt [= kt] At Ag bg Au lu ru dx lx rx
// Vectors and matrices read themselves (Vector<QQ>, Matrix<QQ>): a block that doesn't begin with
// "[" is left empty and consumes nothing, as is every block at the end of input, so a missing
// block shows up in the checks below, which run in a fixed order as soon as their data is there.
// Each failing check is fatal with its own text; nothing is repaired.
#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/qq.h"
#include "base/log.h"
#include "base/stream.h"

#include <fstream>
#include <string>

namespace latopt {

namespace {

// White space between blocks.
const std::string BLOCK_SEPARATORS = " \t\r\n";

std::string decimal(long value)
{
    return std::to_string(value);
}

bool isInfinite(const QQ& x)
{
    return Math::abs(x) == Constant<QQ>::INF();
}

// The number of variables: the column count of the first of At, Au, Ag that has rows.
long variableCount(const Vorm<QQ>& program)
{
    if (program.At.rowCount > 0) return program.At.colCount;
    if (program.Au.rowCount > 0) return program.Au.colCount;
    return program.Ag.colCount;
}

// A matrix with columns must have n of them; one without columns (empty) passes.
void checkColumnCount(const Matrix<QQ>& matrix, const char* name, long n)
{
    if (matrix.colCount > 0 && matrix.colCount != n)
        fatal(std::string("The column count of ") + name + " (" + decimal(matrix.colCount) +
              ") is not right ( != " + decimal(n) + " )");
}

// At the end of input a second look at the stream sets failbit on top of eofbit (the stream's
// sentry does that), and the block readers would take that for a broken stream. Nothing is left
// to read then: the next reader gets a clean end of input, finds no "[" and leaves its block
// empty, so that the checks decide what a missing block means.
void clearEndOfInput(std::istream& in)
{
    if (in.eof() && !in.bad()) in.clear();
}

// Reads the next block, a Vector<QQ> or a Matrix<QQ>.
template <class Block>
void readBlock(std::istream& in, Block& block)
{
    clearEndOfInput(in);
    block.unserialize(in);
}

} // namespace

template <>
void Vorm<QQ>::readOptFile()
{
    // 1. Open.
    std::ifstream in(optFile);
    if (!in.is_open()) fatal("Could not read opt file: " + optFile);
    // 2. Start empty; the file names stay.
    resetVorm(true);
    // 3. Read and validate.
    in >> *this;
    in.close();
    // 4. A target that is minimised or maximised makes the targets not all finite.
    finiteTargetsOnly = true;
    for (long i = 1; i <= dt.dimension(); ++i)
        if (isInfinite(dt[i])) {
            finiteTargetsOnly = false;
            break;
        }
}

std::istream& operator>>(std::istream& in, Vorm<QQ>& program)
{
    char next;
    // 1. The desired target values, then a look at what follows.
    readBlock(in, program.dt);
    clearEndOfInput(in);
    skipOverCommentsAndSeparators(in, BLOCK_SEPARATORS, &next);
    // 2. "= kt" gives the known target values; without it they are those of dt.
    if (next == '=') {
        in.get();
        readBlock(in, program.kt);
        if (program.kt.dimension() != program.dt.dimension())
            fatal("The dimensions of the target properties (kt, dt) differ (" +
                  decimal(program.kt.dimension()) + ", " + decimal(program.dt.dimension()) + ")");
        skipOverCommentsAndSeparators(in, BLOCK_SEPARATORS, &next);
    } else {
        program.kt = program.dt;
    }
    // 3. Targets.
    readBlock(in, program.At);
    if (program.At.rowCount != program.dt.dimension())
        fatal("The row count of At (" + decimal(program.At.rowCount) +
              ") differs with the dimension of dt (" + decimal(program.dt.dimension()) + ")");
    // 4. Equations.
    readBlock(in, program.Ag);
    readBlock(in, program.bg);
    if (program.Ag.rowCount != program.bg.dimension())
        fatal("The row count of Ag (" + decimal(program.Ag.rowCount) +
              ") differs with the dimension of bg (" + decimal(program.bg.dimension()) + ")");
    // 5. Inequations.
    readBlock(in, program.Au);
    // 6. The number of variables.
    const long n = variableCount(program);
    if (n == 0) fatal("Dimension error -- n == 0");
    // 7. Every matrix with columns has n of them.
    checkColumnCount(program.At, "At", n);
    checkColumnCount(program.Ag, "Ag", n);
    checkColumnCount(program.Au, "Au", n);
    // 8. No infinity in the matrices and in the right sides of the equations. A row read from
    //    text may be shorter than the column count; its own entries are what is there.
    for (long i = 1; i <= program.At.rowCount; ++i)
        if (program.At[i].hasInfiniteEntry()) fatal("+-inf not allowed in At");
    for (long i = 1; i <= program.Ag.rowCount; ++i) {
        if (isInfinite(program.bg[i])) fatal("+-inf not allowed in bg");
        if (program.Ag[i].hasInfiniteEntry()) fatal("+-inf not allowed in Ag");
    }
    for (long i = 1; i <= program.Au.rowCount; ++i)
        if (program.Au[i].hasInfiniteEntry()) fatal("+-inf not allowed in Au");
    // 9. The bounds of the inequations. The spacing of the first text is as it has always been.
    readBlock(in, program.lu);
    if (program.Au.rowCount != program.lu.dimension())
        fatal("The row count of Au ( " + decimal(program.Au.rowCount) +
              ") differs with the dimension of lu / ru ( " + decimal(program.lu.dimension()) + ")");
    readBlock(in, program.ru);
    if (program.lu.dimension() != program.ru.dimension())
        fatal("The dimensions of lu (" + decimal(program.lu.dimension()) + ") and ru (" +
              decimal(program.ru.dimension()) + ") differ");
    // 10. Each inequation in order: ordered bounds, and at least one of them finite.
    const QQ& infinity = Constant<QQ>::INF();
    for (long i = 1; i <= program.lu.dimension(); ++i) {
        if (!(program.lu[i] <= program.ru[i])) fatal("ru has to be >= lu in each of its components");
        if (program.lu[i] == -infinity && program.ru[i] == infinity)
            fatal("Useless inequation -inf <= ... <= inf found");
    }
    // 11. The variables.
    readBlock(in, program.dx);
    readBlock(in, program.lx);
    readBlock(in, program.rx);
    // 12. rx must have exactly n entries; the second text says "<" although n itself is the only
    //     dimension accepted, and stays as it has always been.
    if (program.rx.dimension() < n) fatal("recheck sdim case and the usage of n (eg. in opt2lat)");
    if (program.rx.dimension() == 0 || program.rx.dimension() > n)
        fatal("The dimension of rx has to be > 0 and < A_{t,u,g}.MN");
    // 13.
    if (program.lx.dimension() != program.rx.dimension() || program.rx.dimension() != program.dx.dimension())
        fatal("The dimensions of the solution properties (lx, rx, dx) differ (" +
              decimal(program.lx.dimension()) + ", " + decimal(program.rx.dimension()) + ", " +
              decimal(program.dx.dimension()) + ")");
    // 14. Each variable in order: ordered bounds.
    for (long j = 1; j <= program.rx.dimension(); ++j)
        if (!(program.rx[j] >= program.lx[j])) fatal("rx has to be >= lx in each of its components");
    // 15. How each variable is bounded.
    program.freedomDegrees.setDimension(program.lx.dimension());
    for (long j = 1; j <= program.lx.dimension(); ++j)
        program.freedomDegrees[j] = Vorm<QQ>::evaluateFreedomDegree(program.lx[j], program.rx[j]);
    // 16. Not slackified yet.
    program.slackified = false;
    return in;
}

} // namespace latopt
