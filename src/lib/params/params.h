// params.h: Params, the table of all settings of one lattice, and ExtendedParams<R2>, which adds
// the two settings whose values have the number type R2 of the lattice's Gram-Schmidt data.
// Each setting is a Param member (param.h) with its name, default and help text; the constructor
// registers the named ones, in a fixed order, in names (the order) and registry (name to
// member). The registry points into this object: a copy builds its own and then assigns.
// Text form: the non-empty "--name=value" forms of the registered settings in the order of
// registration, each followed by a blank, right-trimmed: with the defaults of Params
//   "--help=0 --verb=0 --consistency=0 --eenum=1 --beta=20 ... --sol=1 --bench=0"
// This is what a solution record carries as its provenance. The reader takes such a row in any
// order, a repeated name overwriting; a token without "=" ("Malformed parameter: ") and a name
// that isn't registered ("Unknown parameter: ") are fatal.
// Built for R2 = long double and QQ; other types do not link. Every setting holds a Lock, so a
// Params object costs some two dozen kernel semaphores.
#pragma once

#include "base/array.h"
#include "base/map.h"
#include "base/serializable.h"
#include "params/param.h"

#include <istream>
#include <ostream>
#include <string>

namespace latopt {

template <class R1, class R2>
class Lattice;

class Params : public Serializable {
public:
    std::string separators = ",";
    Array<std::string> names;  // the registered names, in the order of registration
    Hash<ParamInfo*> registry; // name -> the member of this object that has it

    Param<bool> help;
    Param<bool> hostedRun; // set by a host of the engine; unnamed and unregistered, so never written
    Param<bool> consistency;
    Param<long> beta;
    Param<long> eprune;
    Param<long> btime;
    Param<bool> pair;
    Param<bool> sieve;
    Param<bool> scale;
    Param<bool> translate;
    Param<bool> sample;
    Param<bool> reinsert;
    Param<bool> variate;
    Param<bool> deep;
    Param<bool> eenum;
    Param<unsigned long> pairLimit;
    Param<unsigned long> collectLimit;
    Param<unsigned long> sampleLimit;
    Param<long> sol;
    Param<long> iters;
    Param<long> verb;
    MutexParam<long> rtime; // read by the thread that ends a run by time
    Param<float> bench;

    // The whole table at its defaults.
    Params();
    // A registry of its own, then the values and texts of other.
    Params(const Params& other);
    Params& operator=(const Params& other) { return _assign(other); }
    ~Params() override = default;

    // Member-wise: value and text of each setting; names, registry, help texts and change
    // callbacks stay. No change callback runs.
    Params& _assign(const Params& other);

    void serialize(std::ostream& stream) const override;
    // Reads one row up to a line feed or the end of the stream. A row that begins (after blanks
    // and tabs) with another white-space character is empty: it empties names, so that nothing is
    // written any more, and leaves the values as they are.
    void unserialize(std::istream& stream) override;
};

template <class R2>
class ExtendedParams : public Params {
public:
    Param<R2> snorm; // slack norm at which a run ends; -1: none
    Param<R2> tnorm; // target norm at which a run ends; -inf: none

    ExtendedParams();
    // The settings of lattice: also installs a change callback on consistency which, handed a
    // text that differs from the parameter's while its value is false, resets lattice's
    // transformation stack to one identity of dimB rows and marks it for faithful conversion.
    // A change through operator= writes the text first and so passes by. The callbacks of scale
    // and translate act alike, handed a new text while their value is false: scale takes the
    // trimming off lattice's basis, resets the scale factors (with the scaled constant and the
    // scale limit), recomputes the bounds and trims again; translate resets the translation so
    // (Lattice::resetTrimming(false, true)). Lattice::setTrimming changes both settings safely.
    // Defined with Lattice.
    template <class R1>
    explicit ExtendedParams(Lattice<R1, R2>& lattice);
    // A copy is bound to no lattice: its callbacks do nothing.
    ExtendedParams(const ExtendedParams& other);
    ExtendedParams& operator=(const ExtendedParams& other) { return _assign(other); }

    // Params::_assign, then snorm and tnorm through Precision::conv (without probe) when R3
    // differs from R2.
    template <class R3>
    ExtendedParams& _assign(const ExtendedParams<R3>& other);
};

} // namespace latopt
