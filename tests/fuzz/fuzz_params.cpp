// fuzz_params.cpp: the parameter reader on arbitrary bytes, as a record's params column carries a
// row, read into the settings of a lattice of each number type. A fatal stop ("Malformed
// parameter: ", "Unknown parameter: ", a number text that stops) is the reader's normal answer.
// Findings besides crashes, hangs, leaks and undefined behaviour: a written row that, read into
// settings at their defaults, is written differently. (The first written form of an arbitrary row
// may lose settings: one given an empty value holds none and isn't written.)
#include "fuzz_support.h"

#include "arith/qq.h"
#include "params/params.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

LATOPT_FUZZ_FATAL_IS_NORMAL

namespace {

using latopt::ExtendedParams;
using latopt::fuzz::finding;

// Each setting holds a kernel semaphore: the objects are made once and reset for every input. An
// empty row empties names, so the order of registration is restored too.
template <class R2>
struct Settings {
    ExtendedParams<R2> defaults;
    ExtendedParams<R2> params;

    ExtendedParams<R2>& fresh()
    {
        params = defaults;
        params.names = defaults.names;
        return params;
    }
};

template <class R2>
std::string written(const ExtendedParams<R2>& params)
{
    std::ostringstream out;
    params.serialize(out);
    return out.str();
}

// The row read into settings at their defaults, written.
template <class R2>
std::string readIntoDefaults(Settings<R2>& settings, const std::string& row)
{
    std::istringstream in(row);
    settings.fresh().unserialize(in);
    return written(settings.params);
}

template <class R2>
void readAndReread(const std::string& row)
{
    static Settings<R2> settings;
    const std::string first = readIntoDefaults(settings, readIntoDefaults(settings, row));
    if (readIntoDefaults(settings, first) != first) finding("params: a written row reads back differently");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string row(reinterpret_cast<const char*>(data), size);
    latopt::fuzz::tolerateFatal([&] { readAndReread<long double>(row); });
    latopt::fuzz::tolerateFatal([&] { readAndReread<latopt::QQ>(row); });
    return 0;
}
