// triangular_coords.cpp: coordinates in a basis that is triangular up to order.
#include "lattice/triangular_coords.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/const.h"

#include <cmath>

namespace latopt {
namespace {

// Halves away from zero; within the range of long long without a library call, which counts here,
// as every offered vector is proved so.
long double nearestInteger(const long double& x)
{
    if (fabsl(x) < 4.0e18L)
        return static_cast<long double>(static_cast<long long>(x + (x < 0 ? -0.5L : 0.5L)));
    return roundl(x);
}
QQ nearestInteger(const QQ& x)
{
    return round(x);
}

// Whether x is an integer that long double holds exactly, with room for the sums of such; QQ is
// exact at any size.
bool exactRange(const long double& x)
{
    static const long double LIMIT = Const::DOUBLE_FATAL_OVERFLOW();
    return fabsl(x) <= LIMIT;
}
bool exactRange(const QQ& x)
{
    (void)x;
    return true;
}

} // namespace

template <class R>
void TriangularCoordinates<R>::clear()
{
    columns = 0;
    order.clear();
    pivot.clear();
    earlierRows.clear();
    rowEntries.clear();
}

template <class R>
bool TriangularCoordinates<R>::build(const Matrix<R>& basis)
{
    clear();
    const long rows = basis.rowCount;
    columns = basis.colCount;
    // 1. The nonzero entries, by row and by column, and how many rows not yet ordered hold each
    //    column.
    rowEntries.assign(static_cast<size_t>(rows + 1), {});
    std::vector<std::vector<Entry>> columnEntries(static_cast<size_t>(columns + 1));
    std::vector<long> remaining(static_cast<size_t>(columns + 1), 0);
    for (long i = 1; i <= rows; ++i)
        for (long j = 1; j <= columns; ++j)
            if (!(basis[i][j] == Constant<R>::ZERO())) {
                if (!exactRange(basis[i][j])) return clearAndFail();
                rowEntries[static_cast<size_t>(i)].push_back({j, basis[i][j]});
                columnEntries[static_cast<size_t>(j)].push_back({i, basis[i][j]});
                ++remaining[static_cast<size_t>(j)];
            }
    // 2. A column that a single unordered row holds gives that row its pivot; the row leaves the
    //    count of its other columns, which may single out the next ones.
    std::vector<bool> ordered(static_cast<size_t>(rows + 1), false);
    std::vector<long> singles;
    for (long j = 1; j <= columns; ++j)
        if (remaining[static_cast<size_t>(j)] == 1) singles.push_back(j);
    while (!singles.empty()) {
        const long j = singles.back();
        singles.pop_back();
        if (remaining[static_cast<size_t>(j)] != 1) continue;
        long row = 0;
        for (const Entry& entry : columnEntries[static_cast<size_t>(j)])
            if (!ordered[static_cast<size_t>(entry.index)]) row = entry.index;
        ordered[static_cast<size_t>(row)] = true;
        order.push_back(row);
        pivot.push_back(j);
        for (const Entry& entry : rowEntries[static_cast<size_t>(row)])
            if (--remaining[static_cast<size_t>(entry.index)] == 1) singles.push_back(entry.index);
    }
    if (static_cast<long>(order.size()) != rows || rows == 0) return clearAndFail();
    // 3. For each pivot, the entries of its column in the rows ordered before it; its own entry
    //    first.
    std::vector<long> position(static_cast<size_t>(rows + 1));
    for (size_t k = 0; k < order.size(); ++k)
        position[static_cast<size_t>(order[k])] = static_cast<long>(k);
    earlierRows.assign(order.size(), {});
    for (size_t k = 0; k < order.size(); ++k) {
        std::vector<Entry>& list = earlierRows[k];
        for (const Entry& entry : columnEntries[static_cast<size_t>(pivot[k])])
            if (entry.index == order[k])
                list.insert(list.begin(), entry);
            else
                list.push_back(entry);
        for (const Entry& entry : list)
            if (entry.index != order[k] && position[static_cast<size_t>(entry.index)] > static_cast<long>(k))
                return clearAndFail();
    }
    return true;
}

template <class R>
bool TriangularCoordinates<R>::clearAndFail()
{
    clear();
    return false;
}

template <class R>
bool TriangularCoordinates<R>::prove(const Vector<R>& v, Vector<R>& proved) const
{
    if (!available() || v.dimension() != columns) return false;
    // 1. The coordinates, pivot by pivot, each rounded to the integer it must be.
    std::vector<R>& coordinate = scratch;
    coordinate.assign(rowEntries.size(), Constant<R>::ZERO());
    R residual;
    for (size_t k = 0; k < order.size(); ++k) {
        const std::vector<Entry>& list = earlierRows[k];
        residual = v[pivot[k]];
        for (size_t e = 1; e < list.size(); ++e)
            residual -= coordinate[static_cast<size_t>(list[e].index)] * list[e].value;
        coordinate[static_cast<size_t>(order[k])] = nearestInteger(residual / list[0].value);
        if (!exactRange(coordinate[static_cast<size_t>(order[k])])) return false;
    }
    // 2. Their combination, exact while every product and sum stays in range.
    proved.setDimension(columns);
    proved.makeZero();
    R term;
    for (size_t row = 1; row < rowEntries.size(); ++row) {
        const R& z = coordinate[row];
        if (z == Constant<R>::ZERO()) continue;
        for (const Entry& entry : rowEntries[row]) {
            term = z * entry.value;
            proved[entry.index] += term;
            if (!exactRange(term) || !exactRange(proved[entry.index])) return false;
        }
    }
    return proved == v;
}

template class TriangularCoordinates<long double>;
template class TriangularCoordinates<QQ>;

} // namespace latopt
