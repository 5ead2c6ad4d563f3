// params.cpp: the table of settings, its text form and its copy.
#include "params/params.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "base/stream.h"
#include "base/string.h"

#include <initializer_list>
#include <string_view>

namespace latopt {

namespace {

// The end of a help text that ends in "--": the related names joined by ", --", then ").".
std::string seeAlso(std::initializer_list<const char*> related)
{
    std::string tail;
    for (const char* name : related) {
        if (!tail.empty()) tail += ", --";
        tail += name;
    }
    return tail + ").";
}

} // namespace

Params::Params()
{
    // The order of the calls is the order of registration, which is the order of the text form.
    help.init(false, "help", "Display this help information.", names, registry);
    verb.init(0, "verb", "To receive (detailed) runtime statistics, set this parameter to 1 or 2.", names,
              registry);
    consistency.init(
        false, "consistency",
        "By setting this switch the lattice transformations are remembered and get used to detect "
        "computing / overflow errors.",
        names, registry);
    eenum.init(
        true, "eenum",
        "Enables the essential enumeration algorithm, which helps to find euclidean short vectors in a "
        "deterministic way (see also: --" +
            seeAlso({"deep", "beta", "btime", "eprune"}),
        names, registry);
    beta.init(20, "beta",
              "The enumeration algorithm operates on blocks of 20 vectors per default, which can be changed "
              "utilizing this parameter (see also: --" +
                  seeAlso({"btime"}),
              names, registry);
    eprune.init(
        3, "eprune",
        "The enumeration trees can be pruned, which will speed up the enumeration. To enable moderate "
        "pruning use 1 - if you prefer more aggressive pruning, then use 2 or 3 (see: also --" +
            seeAlso({"beta"}),
        names, registry);
    // The one tail whose second name goes without dashes.
    btime.init(
        0, "btime",
        "This defines a bound for the maximum time (in seconds) to spent, when ennumerating a block of "
        "lattice vectors (see also: --" +
            std::string("beta") + ", " + "eenum" + ").",
        names, registry);
    deep.init(
        false, "deep",
        "The enumeration algorithm should do some kind of backtracking, when a short vector has been found "
        "- the short vector is not only compared with the basis vector of the current stage, but also with "
        "base vectors, which are stages ahead (see also: --" +
            seeAlso({"eenum"}),
        names, registry);
    collectLimit.init(
        100, "collectLimit",
        "The collection limit defines the maximum size of the set containing the collected, good "
        "vectors. (see also:  --" +
            seeAlso({"pair", "sieve", "sample"}),
        names, registry);
    pair.init(
        true, "pair",
        "This switch enables a heuristic pairwise recombination method, which helps to discover vectors "
        "with small sup-norms and collects these within a set of heuristically good vectors (see also: --" +
            seeAlso({"pairLimit"}),
        names, registry);
    pairLimit.init(
        10, "pairLimit",
        "The pair limit defines the maximum amount of vectors which are chosen from the collection set "
        "for pairing purposes (see also:  --" +
            seeAlso({"pair"}),
        names, registry);
    sieve.init(
        false, "sieve",
        "This switch enables a sieving method on the collection set of heuristically good vectors, which "
        "helps to discover vectors with small sup-norms (see also: --" +
            seeAlso({"collectLimit"}),
        names, registry);
    sample.init(false, "sample",
                "To enable a algorithm, which samples random (but probably short) vectors and collects them  "
                "within the sets containing good vectors (see also: --" +
                    seeAlso({"sampleLimit"}),
                names, registry);
    sampleLimit.init(
        1000, "sampleLimit",
        "The sample limit defines how many vectors should be chosen, when using random sampling (see "
        "also: --" +
            seeAlso({"sample"}),
        names, registry);
    scale.init(false, "scale", "Enables a scaling routine, which trims the lattice towards feasibility.",
               names, registry);
    translate.init(false, "translate",
                   "Enables a translation routine, which trims the lattice towards feasibility.", names,
                   registry);
    reinsert.init(
        true, "reinsert",
        "Enables a routine to re-insert best vectors into the lattice after each progressless iteration.",
        names, registry);
    variate.init(true, "variate",
                 "Enables a variation of lattice base vectors (sorting / shuffling) after each progressless "
                 "iteration.",
                 names, registry);
    rtime.init(0, "rtime", "Terminate the program after the submitted number of seconds has been reached.",
               names, registry);
    iters.init(-1, "iters", "Terminate the program after the submitted number of iterations.", names,
               registry);
    sol.init(1, "sol", "Terminate the program, when the submitted number of solutions has been found.", names,
             registry);
    bench.init(
        0.0f, "bench",
        "A value > 0 enables a benchmark run. The read of the lat / sol file is skipped and the "
        "secondsUntilDiscovered property of best vectors gets multiplied with the value of this parameter.",
        names, registry);
}

Params::Params(const Params& other) : Params()
{
    _assign(other);
}

Params& Params::_assign(const Params& other)
{
    if (this == &other) return *this;
    help = other.help;
    hostedRun = other.hostedRun;
    consistency = other.consistency;
    beta = other.beta;
    eprune = other.eprune;
    btime = other.btime;
    pair = other.pair;
    sieve = other.sieve;
    scale = other.scale;
    translate = other.translate;
    sample = other.sample;
    reinsert = other.reinsert;
    variate = other.variate;
    deep = other.deep;
    eenum = other.eenum;
    pairLimit = other.pairLimit;
    collectLimit = other.collectLimit;
    sampleLimit = other.sampleLimit;
    sol = other.sol;
    iters = other.iters;
    verb = other.verb;
    rtime = other.rtime;
    bench = other.bench;
    return *this;
}

void Params::serialize(std::ostream& stream) const
{
    std::string row;
    for (long i = 1; i <= names.dimension(); ++i) {
        // hostedRun has the empty name; a registry never holds it, but the text form excludes it
        // in any case.
        if (names[i] == hostedRun.name) continue;
        const long entry = registry.indexOf(names[i]);
        if (entry == 0) continue;
        const std::string text = registry[entry].right->toString();
        if (!text.empty()) row += text + " ";
    }
    stream << String(row).rtrim();
}

void Params::unserialize(std::istream& stream)
{
    // 1. Up to the first token.
    char next;
    skipOverCommentsAndSeparators(stream, " \t", &next);
    // 2. An empty row forgets the order of registration; the values stay as they are.
    if (next != END_OF_INPUT && std::string_view(String::WHITE_SPACE).find(next) != std::string_view::npos) {
        names.setDimension(0, false);
        return;
    }
    // 3. Token by token up to the end of the line or of the stream.
    ParamInfo token;
    do {
        token.unserialize(stream);
        ParamInfo* parameter = registry(token.name);
        if (parameter == nullptr) fatal("Unknown parameter: " + token.name);
        parameter->sval.set(token.sval.get());
        parameter->svalChangeCallback();
        skipOverCommentsAndSeparators(stream, " \t", &next);
    } while (stream.peek() != std::istream::traits_type::eof() && next != '\n');
}

// ExtendedParams<R2>

template <class R2>
ExtendedParams<R2>::ExtendedParams()
{
    snorm.init(
        -Constant<R2>::ONE(), "snorm",
        "Terminate the program, when a solution has been found, whose slack norm <= the provided value.",
        names, registry);
    tnorm.init(
        -Constant<R2>::INF(), "tnorm",
        "Terminate the program, when a solution has been found, whose target norm <= the provided value.",
        names, registry);
}

template <class R2>
ExtendedParams<R2>::ExtendedParams(const ExtendedParams& other) : ExtendedParams()
{
    _assign(other);
}

template <class R2>
template <class R3>
ExtendedParams<R2>& ExtendedParams<R2>::_assign(const ExtendedParams<R3>& other)
{
    if (static_cast<const void*>(this) == static_cast<const void*>(&other)) return *this;
    Params::_assign(other);
    Precision::conv(other.snorm, snorm, false);
    Precision::conv(other.tnorm, tnorm, false);
    return *this;
}

// The closed set of number types, see params.h.
template class ExtendedParams<long double>;
template class ExtendedParams<QQ>;

template ExtendedParams<long double>&
ExtendedParams<long double>::_assign(const ExtendedParams<long double>&);
template ExtendedParams<long double>& ExtendedParams<long double>::_assign(const ExtendedParams<QQ>&);
template ExtendedParams<QQ>& ExtendedParams<QQ>::_assign(const ExtendedParams<long double>&);
template ExtendedParams<QQ>& ExtendedParams<QQ>::_assign(const ExtendedParams<QQ>&);

} // namespace latopt
