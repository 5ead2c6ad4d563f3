// triangular_coords.h: TriangularCoordinates, the integer coordinates of a vector in a basis
// that is triangular up to the order of its rows and columns, in time proportional to the nonzero
// entries of the basis. The lattices of programs are of that kind: the marker column is nonzero
// in the inhomogenous row only, and each variable's column in that row and in the variable's own
// row. A vector that is an integer combination of such a basis has exactly one set of
// coordinates, read off the pivot columns one by one; the combination of the rounded
// coordinates, computed exactly from the sparse rows, then either reproduces the vector (the
// tolerant vector comparison) or the vector isn't in the lattice.
// Built for long double and QQ (triangular_coords.cpp); other types do not link.
#pragma once

#include "linalg/matrix.h"
#include "linalg/vector.h"

#include <vector>

namespace latopt {

template <class R>
class TriangularCoordinates {
public:
    // Finds an order of the rows of basis with one pivot column per row such that no row later in
    // the order has a nonzero entry in the pivot column of an earlier one. False, and nothing kept,
    // when there is none (among others when the rows are dependent or a row is zero).
    bool build(const Matrix<R>& basis);
    bool available() const { return !order.empty(); }
    void clear();
    // proved = the combination of the rows with the coordinates of v, rounded to integers; true
    // when proved equals v. False also when an entry leaves the range in which long double
    // integers are exact (10^18); another route must decide then.
    bool prove(const Vector<R>& v, Vector<R>& proved) const;

private:
    bool clearAndFail();

    struct Entry {
        long index; // a row (in a column list) or a column (in a row list)
        R value;
    };
    long columns = 0;
    std::vector<long> order;                     // the rows, in the order of their pivots
    std::vector<long> pivot;                     // the pivot column of each row of order
    std::vector<std::vector<Entry>> earlierRows; // per pivot: the nonzeros of its column in earlier rows
    std::vector<std::vector<Entry>> rowEntries;  // per row (from index 1): its nonzero entries
    mutable std::vector<R> scratch;              // the coordinates of the last prove
};

} // namespace latopt
