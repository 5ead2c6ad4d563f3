// coords.cpp: the solve caches and the coordinates computation of a lattice. See coords.h.
#include "lattice/coords.h"

#include "arith/qq.h"

namespace latopt {

template <class R1>
void ComputeCoordsSolveCache<R1>::clear()
{
    A.setDimensions(0, A.colCount, false);
    echelon.setDimensions(0, echelon.colCount, false);
}

template class ComputeCoordsSolveCache<long double>;
template class ComputeCoordsSolveCache<QQ>;

} // namespace latopt
