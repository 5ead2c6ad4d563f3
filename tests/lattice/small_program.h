// small_program.h: random small integer programs without targets, some with an equation, with
// their feasible points by brute force, for the tests of the candidate gate and of the programs that
// write what it accepts.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace latopt::test {

// A program: variables in [0, width[j]], inequations lower <= a x <= upper, equations g x = gb.
struct SmallProgram {
    std::vector<long> width;
    std::vector<std::vector<long>> a;
    std::vector<long> lower, upper;
    std::vector<std::vector<long>> g;
    std::vector<long> gb;

    static long product(const std::vector<long>& row, const std::vector<long>& x)
    {
        long sum = 0;
        for (size_t j = 0; j < x.size(); ++j)
            sum += row[j] * x[j];
        return sum;
    }
    bool feasible(const std::vector<long>& x) const
    {
        for (size_t i = 0; i < a.size(); ++i)
            if (product(a[i], x) < lower[i] || product(a[i], x) > upper[i]) return false;
        for (size_t i = 0; i < g.size(); ++i)
            if (product(g[i], x) != gb[i]) return false;
        return true;
    }
    // Every point of the box, in lexicographic order.
    std::vector<std::vector<long>> box() const
    {
        std::vector<std::vector<long>> points{{}};
        for (long w : width) {
            std::vector<std::vector<long>> longer;
            for (const auto& p : points)
                for (long value = 0; value <= w; ++value) {
                    longer.push_back(p);
                    longer.back().push_back(value);
                }
            points = longer;
        }
        return points;
    }
    std::string text() const
    {
        auto vector = [](const std::vector<long>& v) {
            std::string s = "[ ";
            for (long e : v)
                s += std::to_string(e) + " ";
            return s + "] ";
        };
        auto matrix = [&vector](const std::vector<std::vector<long>>& m) {
            std::string rows = "[ ";
            for (const auto& row : m)
                rows += vector(row);
            return rows + "] ";
        };
        return "[ ] [ ] " + matrix(g) + vector(gb) + matrix(a) + vector(lower) + vector(upper) +
               vector(std::vector<long>(width.size(), 0)) + vector(std::vector<long>(width.size(), 0)) +
               vector(width);
    }
};

// Each inequation holds at a random point of the box and keeps a range at least 2 wide within
// what its row reaches over the box, with a coefficient +-1 (so that no common divisor narrows
// it): programs that the preparation would reject or turn into equations are not drawn. Every
// other program has an equation through that point, with two variables at least.
inline SmallProgram randomSmallProgram(std::mt19937_64& random)
{
    SmallProgram p;
    const long n = 2 + static_cast<long>(random() % 3);
    std::vector<long> point;
    for (long j = 0; j < n; ++j) {
        p.width.push_back(1 + static_cast<long>(random() % 3));
        point.push_back(static_cast<long>(random() % static_cast<unsigned long>(p.width.back() + 1)));
    }
    const long m = 1 + static_cast<long>(random() % 2);
    while (static_cast<long>(p.a.size()) < m) {
        std::vector<long> row;
        long lowest = 0, highest = 0;
        for (long j = 0; j < n; ++j) {
            row.push_back(static_cast<long>(random() % 7) - 3);
            if (j == 0 && row[0] == 0) row[0] = 1;
            if (j == 0 && (row[0] > 1 || row[0] < -1)) row[0] = row[0] > 0 ? 1 : -1;
            const long reach = row.back() * p.width[static_cast<size_t>(j)];
            (reach < 0 ? lowest : highest) += reach;
        }
        const long sum = SmallProgram::product(row, point);
        const long lower = sum - static_cast<long>(random() % 3);
        const long upper = sum + 1 + static_cast<long>(random() % 3);
        if (std::min(upper, highest) - std::max(lower, lowest) < 1) continue;
        p.a.push_back(row);
        p.lower.push_back(lower);
        p.upper.push_back(upper);
    }
    if (random() % 2 == 0) {
        std::vector<long> row;
        for (long j = 0; j < n; ++j)
            row.push_back(static_cast<long>(random() % 5) - 2);
        row[0] = 1 + static_cast<long>(random() % 2);
        row[1] = row[1] == 0 ? 1 : row[1];
        p.g.push_back(row);
        p.gb.push_back(SmallProgram::product(row, point));
    }
    return p;
}

} // namespace latopt::test
