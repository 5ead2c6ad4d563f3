// trimming.h: Trimming<T>, the trimming state of a lattice: a scale factor and a translation per
// column of the basis, which move the box of allowed lattice coordinates towards the origin, so
// that short vectors of the trimmed lattice lie near the centre of the box.
// The vector itself holds the scale factors (scale[i] for column i); translation is the shift of
// column i for a vector whose inhomogenous component is the lattice's constant, proportional to
// that component otherwise. scaleStep and scaleStepCount record the search drivers' last scale
// step per column; the engine only keeps them. All four have one entry per column (dimN).
// The Lattice members that apply and remove the trimming are in trimming.cpp (declared in
// lattice.h). Built for long double and QQ; other types do not link.
#pragma once

#include "linalg/vector.h"

namespace latopt {

template <class T>
class Trimming : public Vector<T> {
public:
    Vector<T> translation;       // per column, for the inhomogenous part equal to the constant; 0
    Vector<T> scaleStep;         // size of the last scale step per column; 0
    Vector<long> scaleStepCount; // steps made per column; 0
    // The limit of the scale factors for the search drivers; one per number type.
    static T scaleLimit;

    Trimming() = default;
    Trimming(const Trimming&) = default;
    Trimming& operator=(const Trimming&) = default;
    ~Trimming() override = default;

    // All four vectors get dimension entries; only the entries beyond the old dimension are set:
    // scale 1, translation 0, scaleStep 0, scaleStepCount 0. reserve as for Array.
    void setDimension(long dimension, bool reserve = false) override;
    // scaleStep[i] = 0, scaleStepCount[i] = 0; the factor stays.
    void resetScaleStep(long i);
    // resetScaleStep for every column, then every scale factor 1.
    void resetScaling();
    // Drops the first n entries of all four vectors (n <= 0: nothing).
    void lshift(long n);
    // Every entry through Precision::conv (no probe) from the other number type.
    template <class U>
    Trimming& _assign(const Trimming<U>& other);
};

} // namespace latopt
