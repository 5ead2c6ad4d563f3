// freedom_degree.h: FreedomDegree, how a variable of a program is bounded, in two bits:
// bit 0 says the left bound is -INF, bit 1 that the right bound is +INF.
// Text form: the number 0..3, as SerializableArray<FreedomDegree> writes and reads it
// ("[ 0 2 3 ]"). Reading anything else sets the stream's failbit and leaves the value as it was.
#pragma once

#include <istream>
#include <ostream>

namespace latopt {

enum FreedomDegree : unsigned char {
    BOUNDED = 0,    // both bounds finite
    LEFT_FREE = 1,  // lx is -INF, rx finite
    RIGHT_FREE = 2, // lx finite, rx is +INF
    FREE = 3        // lx is -INF, rx is +INF
};

std::ostream& operator<<(std::ostream& stream, FreedomDegree degree);
std::istream& operator>>(std::istream& stream, FreedomDegree& degree);

} // namespace latopt
