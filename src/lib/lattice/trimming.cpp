// trimming.cpp: Trimming<T>, and the members of Lattice<R1, R2> that apply the trimming to
// vectors, to B and to the bounds, reset it and change its parameters. See trimming.h and
// lattice.h.
#include "lattice/trimming.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "lattice/lattice.h"

#include <utility>

namespace latopt {

// Trimming

template <class T>
T Trimming<T>::scaleLimit = Constant<T>::SCALE_LIMIT_DEFAULT();

template <class T>
void Trimming<T>::setDimension(long dimension, bool reserve)
{
    const long old = this->dimension();
    Vector<T>::setDimension(dimension, reserve);
    translation.setDimension(dimension, reserve);
    scaleStep.setDimension(dimension, reserve);
    scaleStepCount.setDimension(dimension, reserve);
    // A grown array shows what its storage held before: the new entries are set explicitly.
    for (long i = old + 1; i <= dimension; ++i) {
        (*this)[i] = Constant<T>::ONE();
        translation[i] = Constant<T>::ZERO();
        scaleStep[i] = Constant<T>::ZERO();
        scaleStepCount[i] = 0;
    }
}

template <class T>
void Trimming<T>::resetScaleStep(long i)
{
    scaleStep[i] = Constant<T>::ZERO();
    scaleStepCount[i] = 0;
}

template <class T>
void Trimming<T>::resetScaling()
{
    for (long i = 1; i <= this->dimension(); ++i)
        resetScaleStep(i);
    for (long i = 1; i <= this->dimension(); ++i)
        (*this)[i] = Constant<T>::ONE();
}

template <class T>
void Trimming<T>::lshift(long n)
{
    // The scale factors last: their shift shrinks through setDimension, which is this class's
    // and cuts the other three, so they must have shifted by then.
    translation.lshift(n);
    scaleStep.lshift(n);
    scaleStepCount.lshift(n);
    Vector<T>::lshift(n);
}

template <class T>
template <class U>
Trimming<T>& Trimming<T>::_assign(const Trimming<U>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    Precision::conv(static_cast<const Vector<U>&>(other), static_cast<Vector<T>&>(*this), false);
    Precision::conv(other.translation, translation, false);
    Precision::conv(other.scaleStep, scaleStep, false);
    scaleStepCount = other.scaleStepCount;
    return *this;
}

// Lattice

template <class R1, class R2>
Vector<R1> Lattice<R1, R2>::handleScalingAndTranslation(const Vector<R1>& v, bool apply) const
{
    const bool scale = params.scale.value;
    const bool translate = params.translate.value;
    // 1. A copy, in the form of v.
    Vector<R1> result = v;
    // 2. Applying: scale first.
    if (scale && apply) result ^= trimming;
    // 3. The translation, in proportion to the inhomogenous component. Removal takes it off in
    //    trimmed coordinates, before the scale. Column dimN stays unshifted (see lattice.h).
    if (translate && !Precision::equalsZero(v[dimN], true)) {
        const R1& constant = (!scale || apply) ? inhomogenousConstant : scaledInhomogenousConstant;
        const R1 fraction = v[dimN] / constant;
        for (long i = 1; i < dimN; ++i) {
            if (apply)
                result[i] += fraction * trimming.translation[i];
            else
                result[i] -= fraction * trimming.translation[i];
        }
    }
    // 4. Removing: unscale last.
    if (scale && !apply) result /= trimming;
    return result;
}

template <class R1, class R2>
Matrix<R1> Lattice<R1, R2>::applyScalingAndTranslation(const Matrix<R1>& M) const
{
    Matrix<R1> result = M;
    for (long i = 1; i <= M.rowCount; ++i)
        result[i] = handleScalingAndTranslation(M[i], true);
    return result;
}

template <class R1, class R2>
Matrix<R1> Lattice<R1, R2>::removeTranslationAndScaling(const Matrix<R1>& M) const
{
    Matrix<R1> result = M;
    for (long i = 1; i <= M.rowCount; ++i)
        result[i] = handleScalingAndTranslation(M[i], false);
    return result;
}

template <class R1, class R2>
void Lattice<R1, R2>::applyScalingAndTranslationAndInvalidate()
{
    B = applyScalingAndTranslation(B);
    rowState.makeZero();
}

template <class R1, class R2>
void Lattice<R1, R2>::removeTranslationAndScalingAndInvalidate()
{
    B = removeTranslationAndScaling(B);
    rowState.makeZero();
}

template <class R1, class R2>
void Lattice<R1, R2>::applyScalingAndTranslationToBnd(long i)
{
    // 1.-2. Both bounds, scaled and shifted whatever the parameters say (the last column not
    //       shifted, as its vectors aren't); infinite bounds stay infinite.
    const R1 shift = i < dimN ? trimming.translation[i] : Constant<R1>::ZERO();
    lTrimmed[i] = l[i] * trimming[i] + shift;
    rTrimmed[i] = r[i] * trimming[i] + shift;
    // 3. A negative factor turns the interval round.
    if (trimming[i] < Constant<R1>::ZERO()) std::swap(lTrimmed[i], rTrimmed[i]);
}

template <class R1, class R2>
void Lattice<R1, R2>::resetTrimming(bool resetScale, bool resetTranslation)
{
    // 1. B untrimmed, under the present trimming.
    removeTranslationAndScalingAndInvalidate();
    // 2. The scale factors, with what depends on them.
    if (resetScale) {
        trimming.resetScaling();
        scaledInhomogenousConstant = inhomogenousConstant;
        Trimming<R1>::scaleLimit = Constant<R1>::SCALE_LIMIT_DEFAULT();
    }
    // 3. The translation.
    if (resetTranslation) trimming.translation.makeZero();
    // 4. The bounds under the new trimming.
    for (long i = 1; i <= dimN; ++i)
        applyScalingAndTranslationToBnd(i);
    // 5. B trimmed again.
    applyScalingAndTranslationAndInvalidate();
}

template <class R1, class R2>
void Lattice<R1, R2>::setTrimming(bool scale, bool translate)
{
    // 1. B untrimmed under the old settings.
    removeTranslationAndScalingAndInvalidate();
    // 2. The new settings; their change callbacks see their own text and pass by.
    params.scale = scale;
    params.translate = translate;
    // 3. The bounds, which don't depend on the settings, are brought up to date all the same.
    for (long i = 1; i <= dimN; ++i)
        applyScalingAndTranslationToBnd(i);
    // 4. B trimmed under the new settings.
    applyScalingAndTranslationAndInvalidate();
}

// The closed set of trimming types, and the Lattice members defined here.
template class Trimming<long double>;
template class Trimming<QQ>;
template Trimming<long double>& Trimming<long double>::_assign(const Trimming<long double>&);
template Trimming<long double>& Trimming<long double>::_assign(const Trimming<QQ>&);
template Trimming<QQ>& Trimming<QQ>::_assign(const Trimming<long double>&);
template Trimming<QQ>& Trimming<QQ>::_assign(const Trimming<QQ>&);

#define LATOPT_TRIMMING_MEMBERS(R1, R2)                                                                      \
    template Vector<R1> Lattice<R1, R2>::handleScalingAndTranslation(const Vector<R1>&, bool) const;         \
    template Matrix<R1> Lattice<R1, R2>::applyScalingAndTranslation(const Matrix<R1>&) const;                \
    template Matrix<R1> Lattice<R1, R2>::removeTranslationAndScaling(const Matrix<R1>&) const;               \
    template void Lattice<R1, R2>::applyScalingAndTranslationAndInvalidate();                                \
    template void Lattice<R1, R2>::removeTranslationAndScalingAndInvalidate();                               \
    template void Lattice<R1, R2>::applyScalingAndTranslationToBnd(long);                                    \
    template void Lattice<R1, R2>::resetTrimming(bool, bool);                                                \
    template void Lattice<R1, R2>::setTrimming(bool, bool);
LATOPT_TRIMMING_MEMBERS(long double, long double)
LATOPT_TRIMMING_MEMBERS(long double, QQ)
LATOPT_TRIMMING_MEMBERS(QQ, long double)
LATOPT_TRIMMING_MEMBERS(QQ, QQ)
#undef LATOPT_TRIMMING_MEMBERS

} // namespace latopt
