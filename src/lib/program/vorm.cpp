// vorm.cpp: construction, reset and copy of Vorm<T>, and the freedom degree of a variable.
#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"

#include <string>
#include <type_traits>
#include <utility>

namespace latopt {

template <class T>
Vorm<T>::Vorm()
    : ltu(lrtu.left), rtu(lrtu.right), At(std::string(",")), Ag(std::string(",")), Au(std::string(","))
{
    resetVorm(false);
}

template <class T>
Vorm<T>::Vorm(const Vorm& other) : Vorm()
{
    _assign(other);
}

template <class T>
Vorm<T>::Vorm(Vorm&& other)
    : optFile(std::move(other.optFile)), solFile(std::move(other.solFile)), dt(std::move(other.dt)),
      kt(std::move(other.kt)), lrtu(other.lrtu), ltu(lrtu.left), rtu(lrtu.right), At(std::move(other.At)),
      tu(other.tu), atu(std::move(other.atu)), bg(std::move(other.bg)), lu(std::move(other.lu)),
      ru(std::move(other.ru)), Ag(std::move(other.Ag)), Au(std::move(other.Au)), dx(std::move(other.dx)),
      lx(std::move(other.lx)), rx(std::move(other.rx)), freedomDegrees(std::move(other.freedomDegrees)),
      stars(std::move(other.stars)), constantVariables(std::move(other.constantVariables)),
      swappedHalfFreeVariables(std::move(other.swappedHalfFreeVariables)),
      finiteTargetsOnly(other.finiteTargetsOnly), slackInequationCount(other.slackInequationCount),
      slackTargetVariableCount(other.slackTargetVariableCount),
      pendingSolutionWrite(other.pendingSolutionWrite), pendingSolutionStats(other.pendingSolutionStats),
      slackified(other.slackified)
{
}

template <class T>
Vorm<T>& Vorm<T>::operator=(const Vorm& other)
{
    return _assign(other);
}

template <class T>
Vorm<T>& Vorm<T>::operator=(Vorm&& other)
{
    if (this == &other) return *this;
    optFile = std::move(other.optFile);
    solFile = std::move(other.solFile);
    dt = std::move(other.dt);
    kt = std::move(other.kt);
    ltu = other.ltu;
    rtu = other.rtu;
    At = std::move(other.At);
    tu = other.tu;
    atu = std::move(other.atu);
    bg = std::move(other.bg);
    lu = std::move(other.lu);
    ru = std::move(other.ru);
    Ag = std::move(other.Ag);
    Au = std::move(other.Au);
    dx = std::move(other.dx);
    lx = std::move(other.lx);
    rx = std::move(other.rx);
    freedomDegrees = std::move(other.freedomDegrees);
    stars = std::move(other.stars);
    constantVariables = std::move(other.constantVariables);
    swappedHalfFreeVariables = std::move(other.swappedHalfFreeVariables);
    copyFlags(other);
    return *this;
}

template <class T>
template <class U>
void Vorm<T>::copyFlags(const Vorm<U>& other)
{
    finiteTargetsOnly = other.finiteTargetsOnly;
    slackInequationCount = other.slackInequationCount;
    slackTargetVariableCount = other.slackTargetVariableCount;
    pendingSolutionWrite = other.pendingSolutionWrite;
    pendingSolutionStats = other.pendingSolutionStats;
    slackified = other.slackified;
}

template <class T>
void Vorm<T>::resetVorm(bool keepFileNames)
{
    if (!keepFileNames) {
        optFile.clear();
        solFile.clear();
    }
    resetTargets();
    bg.setDimension(0);
    lu.setDimension(0);
    ru.setDimension(0);
    dx.setDimension(0);
    lx.setDimension(0);
    rx.setDimension(0);
    freedomDegrees.setDimension(0);
    // An empty matrix has no columns either: the reader's column checks let it pass.
    Ag.setDimensions(0, 0);
    Au.setDimensions(0, 0);
    stars.setDimension(0);
    constantVariables.setDimension(0);
    swappedHalfFreeVariables.setDimension(0);
    slackInequationCount = 0;
    slackTargetVariableCount = 0;
    pendingSolutionWrite = false;
    pendingSolutionStats = false;
    slackified = false;
}

template <class T>
void Vorm<T>::resetTargets()
{
    dt.setDimension(0);
    kt.setDimension(0);
    At.setDimensions(0, 0);
    atu.setDimension(0);
    ltu = -Constant<T>::INF();
    rtu = Constant<T>::INF();
    tu = 0;
    finiteTargetsOnly = true;
}

template <class T>
template <class U>
Vorm<T>& Vorm<T>::_assign(const Vorm<U>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    // Upward nothing can be lost that matters, and a copy up must never fail.
    constexpr bool faithful = std::is_same_v<U, QQ> && !std::is_same_v<T, QQ>;
    optFile = other.optFile;
    solFile = other.solFile;
    // The data of the program decide every verdict: on the way down each value must come back
    // within 10^-9 (a 25-digit integer does not), or the copy throws PrecisionException and the
    // caller stays exact. Within one number type these are plain copies.
    Precision::conv(other.dt, dt, faithful);
    Precision::conv(other.kt, kt, faithful);
    Precision::conv(other.ltu, ltu, faithful);
    Precision::conv(other.rtu, rtu, faithful);
    Precision::conv(other.At, At, faithful);
    tu = other.tu;
    Precision::conv(other.atu, atu, faithful);
    Precision::conv(other.bg, bg, faithful);
    Precision::conv(other.lu, lu, faithful);
    Precision::conv(other.ru, ru, faithful);
    Precision::conv(other.Ag, Ag, faithful);
    Precision::conv(other.Au, Au, faithful);
    Precision::conv(other.dx, dx, faithful);
    Precision::conv(other.lx, lx, faithful);
    Precision::conv(other.rx, rx, faithful);
    freedomDegrees = other.freedomDegrees;
    stars._assign(other.stars);
    constantVariables._assign(other.constantVariables);
    swappedHalfFreeVariables = other.swappedHalfFreeVariables;
    copyFlags(other);
    return *this;
}

template <class T>
FreedomDegree Vorm<T>::evaluateFreedomDegree(const T& left, const T& right)
{
    const int rightFree = right == Constant<T>::INF() ? 1 : 0;
    const int leftFree = left == -Constant<T>::INF() ? 1 : 0;
    return static_cast<FreedomDegree>(2 * rightFree + leftFree);
}

template <class T>
void Vorm<T>::toggleFractionTruncate(bool on)
{
    Precision::toggleFractionTruncate(on);
}

// The closed set of program types; target.cpp and opt_reader.cpp instantiate their own members.
template class Vorm<long double>;
template class Vorm<QQ>;
template Vorm<long double>& Vorm<long double>::_assign(const Vorm<long double>&);
template Vorm<long double>& Vorm<long double>::_assign(const Vorm<QQ>&);
template Vorm<QQ>& Vorm<QQ>::_assign(const Vorm<long double>&);
template Vorm<QQ>& Vorm<QQ>::_assign(const Vorm<QQ>&);

} // namespace latopt
