// market_split.h: market split instances (Cornuejols and Dawande) from a seed, as .opt text, and
// their feasibility by brute force. An instance has m equations over n = 10 (m - 1) variables in
// {0, 1}, coefficients uniform in [0, 99], and each right side the row sum halved and rounded
// down. Most instances have no 0-1 solution; the brute force tells which do. Header-only and free
// of the library, so that the tests and the benchmarks share it.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace latopt::test {

struct MarketSplit {
    std::vector<std::vector<long>> a; // m rows of n coefficients
    std::vector<long> b;              // right sides

    long equations() const { return static_cast<long>(a.size()); }
    long variables() const { return a.empty() ? 0 : static_cast<long>(a[0].size()); }

    // Whether x (0-1, n entries) meets every equation.
    bool solves(const std::vector<long>& x) const
    {
        if (static_cast<long>(x.size()) != variables()) return false;
        for (size_t i = 0; i < a.size(); ++i) {
            long sum = 0;
            for (size_t j = 0; j < x.size(); ++j) {
                if (x[j] != 0 && x[j] != 1) return false;
                sum += a[i][j] * x[j];
            }
            if (sum != b[i]) return false;
        }
        return true;
    }

    // The program: no targets, the equations, no inequations, every variable an integer in [0, 1].
    std::string text() const
    {
        auto row = [](const std::vector<long>& v) {
            std::string s = "[ ";
            for (long e : v)
                s += std::to_string(e) + " ";
            return s + "]";
        };
        std::string rows = "[\n";
        for (const auto& r : a)
            rows += row(r) + "\n";
        const auto n = static_cast<size_t>(variables());
        return "// market split, " + std::to_string(equations()) + " equations\n[ ]\n[ ]\n" + rows + "]\n" +
               row(b) + "\n[ ]\n[ ]\n[ ]\n" + row(std::vector<long>(n, 0)) + "\n" +
               row(std::vector<long>(n, 0)) + "\n" + row(std::vector<long>(n, 1)) + "\n";
    }

    // A 0-1 solution, or none: meet in the middle over the two halves of the variables, each half
    // walked in Gray-code order (one column added or removed per step). 2^(n/2) sums are kept, so
    // n up to about 40 is quick.
    std::optional<std::vector<long>> solution() const
    {
        const long n = variables();
        const long half = n / 2;
        using Sums = std::vector<long>;
        struct Hash {
            size_t operator()(const Sums& s) const
            {
                size_t h = 0;
                for (long v : s)
                    h = h * 1000003U + static_cast<size_t>(v);
                return h;
            }
        };
        // Every subset of the columns first .. first + count - 1 with its sums, in Gray-code order.
        auto walk = [&](long first, long count, auto&& visit) {
            Sums sums(a.size(), 0);
            std::uint64_t mask = 0;
            visit(sums, mask);
            for (std::uint64_t step = 1; step < (std::uint64_t{1} << count); ++step) {
                const long bit = std::countr_zero(step);
                mask ^= std::uint64_t{1} << bit;
                const long sign = (mask >> bit & 1) != 0 ? 1 : -1;
                for (size_t i = 0; i < a.size(); ++i)
                    sums[i] += sign * a[i][static_cast<size_t>(first + bit)];
                visit(sums, mask);
            }
        };
        std::unordered_map<Sums, std::uint64_t, Hash> left;
        walk(0, half, [&](const Sums& sums, std::uint64_t mask) { left.emplace(sums, mask); });
        std::optional<std::vector<long>> found;
        walk(half, n - half, [&](const Sums& sums, std::uint64_t mask) {
            if (found) return;
            Sums rest(a.size());
            for (size_t i = 0; i < a.size(); ++i)
                rest[i] = b[i] - sums[i];
            const auto match = left.find(rest);
            if (match == left.end()) return;
            std::vector<long> x(static_cast<size_t>(n), 0);
            for (long j = 0; j < half; ++j)
                x[static_cast<size_t>(j)] = static_cast<long>(match->second >> j & 1);
            for (long j = half; j < n; ++j)
                x[static_cast<size_t>(j)] = static_cast<long>(mask >> (j - half) & 1);
            found = x;
        });
        return found;
    }
};

// The instance of m equations (m >= 2) drawn from seed. Coefficients are the generator's output
// modulo 100, which is the same on every platform (unlike the standard distributions).
inline MarketSplit marketSplit(long m, std::uint64_t seed)
{
    std::mt19937_64 random(seed);
    MarketSplit instance;
    const long n = 10 * (m - 1);
    for (long i = 0; i < m; ++i) {
        std::vector<long> row;
        long sum = 0;
        for (long j = 0; j < n; ++j) {
            row.push_back(static_cast<long>(random() % 100));
            sum += row.back();
        }
        instance.a.push_back(row);
        instance.b.push_back(sum / 2);
    }
    return instance;
}

} // namespace latopt::test
