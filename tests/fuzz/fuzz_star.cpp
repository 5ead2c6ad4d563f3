// fuzz_star.cpp: the record reader on arbitrary bytes, read as the .sol reader reads a file: one
// Star<QQ> reused until the stream ends, records of dimension 0 dropped. The reader promises never
// to stop the process, so a fatal stop is a finding here. Also findings: a round of the reader that
// takes nothing, a record whose written line doesn't read back to the same line, and a removal of
// duplicates (after heapSort) that differs from the pairwise walk over all i < j. The records are
// then copied down to long double, as the tool does.
#include "fuzz_support.h"

#include "arith/qq.h"
#include "base/array.h"
#include "base/exceptions.h"
#include "program/star.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

using latopt::Array;
using latopt::QQ;
using latopt::Star;
using latopt::Vector;
using latopt::fuzz::finding;

// The pairwise walk is quadratic: only this many records of an input take part.
constexpr std::size_t MAX_COMPARED_RECORDS = 48;

void pairwiseRemoval(std::vector<Star<QQ>>& stars, bool compareParams)
{
    for (std::size_t i = 0; i < stars.size(); ++i) {
        std::size_t j = i + 1;
        while (j < stars.size()) {
            if (static_cast<const Vector<QQ>&>(stars[i]) == static_cast<const Vector<QQ>&>(stars[j]) &&
                (!compareParams || stars[i].params == stars[j].params)) {
                stars[i].isNew = stars[i].isNew && stars[j].isNew;
                stars.erase(stars.begin() + static_cast<long>(j));
            } else {
                ++j;
            }
        }
    }
}

void checkDuplicateRemoval(const std::vector<Star<QQ>>& records, bool compareParams)
{
    if (records.empty()) return;
    // Records of other dimensions stop the process by design: only those of the first one's.
    Array<Star<QQ>> stars;
    for (const Star<QQ>& record : records)
        if (record.MN == records.front().MN && static_cast<std::size_t>(stars.MN) < MAX_COMPARED_RECORDS)
            stars.pushBack(record);
    stars.heapSort();
    std::vector<Star<QQ>> expected;
    for (long k = 1; k <= stars.MN; ++k)
        expected.push_back(stars[k]);
    Star<QQ>::removeStarDublettes(stars, compareParams);
    pairwiseRemoval(expected, compareParams);
    if (static_cast<std::size_t>(stars.MN) != expected.size()) finding("removeStarDublettes: another count");
    for (long k = 1; k <= stars.MN; ++k) {
        const Star<QQ>& kept = stars[k];
        const Star<QQ>& reference = expected[static_cast<std::size_t>(k - 1)];
        if (kept.toString() != reference.toString() || kept.isNew != reference.isNew)
            finding("removeStarDublettes: another record kept");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::stringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    Star<QQ> star;
    std::vector<Star<QQ>> records;
    std::size_t rounds = 0;
    while (stream.good()) {
        if (++rounds > size + 1) finding("fromStream: a round that takes nothing");
        star.fromStream(stream);
        if (star.MN == 0) continue;
        const std::string line = star.toString();
        std::stringstream back(line);
        Star<QQ> again;
        if (!again.fromStream(back) || again.toString() != line)
            finding("toString: the line reads back otherwise");
        star.isNew = rounds % 3 != 0;
        records.push_back(star);
    }
    checkDuplicateRemoval(records, true);
    checkDuplicateRemoval(records, false);
    // A copy down may refuse a value that long double can't hold; the run then stays exact.
    for (const Star<QQ>& record : records) {
        Star<long double> standard;
        try {
            standard._assign(record);
        } catch (const latopt::PrecisionException&) {
            continue;
        }
        (void)standard.toString();
    }
    return 0;
}
