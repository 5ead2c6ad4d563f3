// basis_text.h: the integer basis as latopt-reduce reads and writes it, in fplll's text form.
// Input: "[" then one "[" ... "]" per row, then "]"; entries are integers (an optional sign and
// decimal digits), separated by white space; white space and line breaks are free everywhere
// ("[[1 2] [3 4]]", "[ [ 1 2 ]\n[ 3 4 ] ]"). Every row has the same length, at least one entry.
// Output: "[[1 2]", a line feed, "[3 4]", a line feed, "]" and a line feed; integers in full.
// Bad text is no exception: readBasis returns the problem as a message and the caller stops.
#pragma once

#include "arith/qq.h"
#include "linalg/matrix.h"

#include <istream>
#include <ostream>
#include <string>

namespace latopt::reduce {

// Reads the whole stream into basis (exact integers). Returns "" on success, else what is wrong,
// with the line where it was found.
std::string readBasis(std::istream& in, Matrix<QQ>& basis);

// Writes the rows of an integer matrix in the output form.
void writeBasis(std::ostream& out, const Matrix<QQ>& basis);

} // namespace latopt::reduce
