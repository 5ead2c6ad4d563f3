// small_program.h: random small integer programs without targets or equations, with their
// feasible points by brute force, for the tests of the candidate gate and of the programs that
// write what it accepts.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace latopt::test {

// A program: variables in [0, width[j]], inequations lower <= a x <= upper.
struct SmallProgram {
    std::vector<long> width;
    std::vector<std::vector<long>> a;
    std::vector<long> lower, upper;

    bool feasible(const std::vector<long>& x) const
    {
        for (size_t i = 0; i < a.size(); ++i) {
            long sum = 0;
            for (size_t j = 0; j < x.size(); ++j)
                sum += a[i][j] * x[j];
            if (sum < lower[i] || sum > upper[i]) return false;
        }
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
        std::string rows = "[ ";
        for (const auto& row : a)
            rows += vector(row);
        return "[ ] [ ] [ ] [ ] " + rows + "] " + vector(lower) + vector(upper) +
               vector(std::vector<long>(width.size(), 0)) + vector(std::vector<long>(width.size(), 0)) +
               vector(width);
    }
};

// Each inequation holds at a random point of the box, with a range at least 2 wide: programs
// that the preparation would reject or turn into equations are not drawn.
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
    for (long i = 0; i < m; ++i) {
        std::vector<long> row;
        long sum = 0;
        for (long j = 0; j < n; ++j) {
            row.push_back(static_cast<long>(random() % 7) - 3);
            sum += row.back() * point[static_cast<size_t>(j)];
        }
        if (row[0] == 0) row[0] = 1, sum += point[0];
        p.a.push_back(row);
        p.lower.push_back(sum - static_cast<long>(random() % 3));
        p.upper.push_back(sum + 1 + static_cast<long>(random() % 3));
    }
    return p;
}

} // namespace latopt::test
