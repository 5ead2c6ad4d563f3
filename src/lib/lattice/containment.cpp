// containment.cpp: the membership proof on frozen data of B_save.
#include "lattice/containment.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "lattice/lattice.h"

namespace latopt {

template <class R1, class R2>
template <class S1, class S2>
ContainmentVerification<R1, R2>&
ContainmentVerification<R1, R2>::_assign(const ContainmentVerification<S1, S2>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    initialized = other.initialized;
    basis = other.basis;
    transposed = other.transposed;
    echelon = other.echelon;
    transformation = other.transformation;
    pivots = other.pivots;
    gsVectors = other.gsVectors;
    gsNorm = other.gsNorm;
    coords = other.coords;
    return *this;
}

#define LATOPT_CONTAINMENT(R1, R2)                                                                           \
    template class ContainmentVerification<R1, R2>;                                                          \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<long double, long double>&);                                           \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<long double, QQ>&);                                                    \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<QQ, long double>&);                                                    \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<QQ, QQ>&);
LATOPT_CONTAINMENT(long double, long double)
LATOPT_CONTAINMENT(long double, QQ)
LATOPT_CONTAINMENT(QQ, long double)
LATOPT_CONTAINMENT(QQ, QQ)
#undef LATOPT_CONTAINMENT

} // namespace latopt
