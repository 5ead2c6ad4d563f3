// lll_to_the_end.h: LLL until every row has passed its exchange test, the loop every caller of
// the reduction needs (one call of lll stops after its budget of exchange tests).
#pragma once

#include "lattice/lattice.h"

#include <functional>

namespace latopt {

// lll(1, m, m) on rows 1..m (m 0: dimB), in calls of at most budget exchange tests each, until
// rows 1..m-1 carry EXCHANGE_TESTED or a call makes no test (it has reached dependent rows, which
// the reduction leaves behind the others). Between two calls it ends early when stop() says so
// (a null stop never does) or the run has ended. True when it went to the end. Every row lll
// touches is offered to the gate, which may throw RestartException: it passes to the caller.
template <class R1, class R2>
bool lllToTheEnd(Lattice<R1, R2>& lattice, long m, long budget, const std::function<bool()>& stop);

} // namespace latopt
