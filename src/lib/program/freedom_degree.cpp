// freedom_degree.cpp: the numeric text form of FreedomDegree.
#include "program/freedom_degree.h"

namespace latopt {

std::ostream& operator<<(std::ostream& stream, FreedomDegree degree)
{
    return stream << static_cast<int>(degree);
}

std::istream& operator>>(std::istream& stream, FreedomDegree& degree)
{
    long value;
    if (!(stream >> value)) return stream;
    if (value < BOUNDED || value > FREE) {
        stream.setstate(std::ios_base::failbit);
        return stream;
    }
    degree = static_cast<FreedomDegree>(value);
    return stream;
}

} // namespace latopt
