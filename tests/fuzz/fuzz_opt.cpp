// fuzz_opt.cpp: the .opt reader on arbitrary bytes, read into a fresh Vorm<QQ> as readOptFile
// does. A fatal stop is the reader's normal answer to a malformed program. Findings, besides
// crashes, hangs, leaks and undefined behaviour: a program that passed the reader but breaks one
// of the invariants the reader promises, and a copy down to long double and back up (the tool's
// way) that changes a dimension, an infinity or a freedom degree.
#include "fuzz_support.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "program/vorm.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>

LATOPT_FUZZ_FATAL_IS_NORMAL

namespace {

using latopt::Constant;
using latopt::Matrix;
using latopt::QQ;
using latopt::Vector;
using latopt::Vorm;
using latopt::fuzz::finding;

template <class T>
bool isInfinite(const T& x)
{
    return x == Constant<T>::INF() || x == -Constant<T>::INF();
}

void checkInvariants(const Vorm<QQ>& program)
{
    const long n = program.rx.dimension();
    if (n == 0) finding("reader: a program without variables");
    if (program.kt.dimension() != program.dt.dimension() || program.At.rowCount != program.dt.dimension())
        finding("reader: targets of different counts");
    if (program.Ag.rowCount != program.bg.dimension()) finding("reader: equations of different counts");
    if (program.Au.rowCount != program.lu.dimension() || program.lu.dimension() != program.ru.dimension())
        finding("reader: inequations of different counts");
    if (program.lx.dimension() != n || program.dx.dimension() != n || program.freedomDegrees.dimension() != n)
        finding("reader: variables of different counts");
    for (const Matrix<QQ>* matrix : {&program.At, &program.Ag, &program.Au}) {
        if (matrix->rowCount > 0 && matrix->colCount != n) finding("reader: a matrix of another width");
        for (long i = 1; i <= matrix->rowCount; ++i)
            if ((*matrix)[i].hasInfiniteEntry()) finding("reader: an infinite matrix entry");
    }
    if (program.bg.hasInfiniteEntry()) finding("reader: an infinite right side");
    for (long i = 1; i <= program.lu.dimension(); ++i)
        if (program.ru[i] < program.lu[i] || (isInfinite(program.lu[i]) && program.lu[i] == -program.ru[i]))
            finding("reader: an inequation without order or without bound");
    for (long j = 1; j <= n; ++j) {
        if (program.rx[j] < program.lx[j]) finding("reader: variable bounds out of order");
        if (program.freedomDegrees[j] != Vorm<QQ>::evaluateFreedomDegree(program.lx[j], program.rx[j]))
            finding("reader: a wrong freedom degree");
    }
    if (program.slackified) finding("reader: a slackified program");
}

template <class T, class U>
bool sameShape(const Vector<T>& a, const Vector<U>& b)
{
    if (a.dimension() != b.dimension()) return false;
    for (long i = 1; i <= a.dimension(); ++i)
        if (isInfinite(a[i]) != isInfinite(b[i])) return false;
    return true;
}

void checkCopyAcrossPrecisions(const Vorm<QQ>& program)
{
    Vorm<long double> standard;
    try {
        standard._assign(program);
    } catch (const latopt::PrecisionException&) {
        // A value that can't come down faithfully keeps the run exact: a normal outcome.
        return;
    }
    Vorm<QQ> back;
    back._assign(standard);
    for (const auto& [a, b] : {std::pair{&program.dt, &back.dt}, std::pair{&program.kt, &back.kt},
                               std::pair{&program.lu, &back.lu}, std::pair{&program.ru, &back.ru},
                               std::pair{&program.lx, &back.lx}, std::pair{&program.rx, &back.rx}})
        if (!sameShape(*a, *b)) finding("_assign: a vector changed its dimension or its infinities");
    if (back.At.rowCount != program.At.rowCount || back.Ag.colCount != program.Ag.colCount ||
        back.Au.rowCount != program.Au.rowCount)
        finding("_assign: a matrix changed its shape");
    if (back.freedomDegrees.toString() != program.freedomDegrees.toString())
        finding("_assign: freedom degrees changed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    latopt::fuzz::tolerateFatal([&] {
        std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
        Vorm<QQ> program;
        in >> program;
        checkInvariants(program);
        checkCopyAcrossPrecisions(program);
    });
    return 0;
}
