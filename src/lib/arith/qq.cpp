// qq.cpp: QQ construction, normal form, arithmetic and comparison; the QQ constants and the QQ
// members of Math and Precision. Text forms, powers, roots and rounding are in qq_text.cpp.
//
// Two ways to every arithmetic result. The limb algorithms follow the mixed form step by step in ZZ
// and are the reference. For finite operands whose fields have at most WORD_PATH_LIMBS limbs each,
// the machine-word paths compute the same exact value in binary words (qq_word.h) and write it in
// normal form. The normal form is unique, so the two ways give equal fields; the word paths only
// save the decimal divisions and the allocations. Everything the limb algorithms stop on or throw
// for (infinities, a zero divisor, a zero denominator, a ZZ sign set) stays with them, and so does
// the truncating product, whose result depends on its intermediate terms.
#include "arith/qq.h"

#include "arith/precision.h"
#include "arith/qq_word.h"
#include "base/exceptions.h"
#include "base/log.h"

#include <utility>

namespace latopt {

bool QQ::enableTruncate = false;
bool QQ::enableFastPaths = true;

namespace {

using word::Natural;

// A finite QQ in words.
struct WordQQ {
    bool positive;
    Natural ganze;
    Natural zaehler;
    Natural nenner;
};

// False when q is out of the word paths' reach: infinite, a ZZ sign set, a field too long, a zero
// denominator.
bool load(QQ const& q, WordQQ& x)
{
    if (q.isInf || !q.ganze.isPositive || !q.zaehler.isPositive || !q.nenner.isPositive) return false;
    if (!word::fromZZ(q.ganze, x.ganze, QQ::WORD_PATH_LIMBS) ||
        !word::fromZZ(q.zaehler, x.zaehler, QQ::WORD_PATH_LIMBS) ||
        !word::fromZZ(q.nenner, x.nenner, QQ::WORD_PATH_LIMBS))
        return false;
    x.positive = q.isPositive;
    return !x.nenner.isZero();
}

// Writes a result that is already in normal form (zaehler < nenner, reduced, 0/1 for no fraction).
void store(QQ& r, bool positive, Natural const& ganze, Natural const& zaehler, Natural const& nenner)
{
    r.isInf = false;
    word::toZZ(ganze, r.ganze);
    word::toZZ(zaehler, r.zaehler);
    word::toZZ(nenner, r.nenner);
    r.isPositive = positive || (ganze.isZero() && zaehler.isZero());
}

Natural const& wordOne()
{
    static const Natural one = [] {
        Natural x;
        x.set(1);
        return x;
    }();
    return one;
}

// f / d with 0 < f < d: divides both by their greatest common divisor.
void reduce(Natural& f, Natural& d)
{
    if (d.isOne() || f.isOne()) return;
    Natural g;
    word::gcd(f, d, g);
    if (g.isOne()) return;
    word::divexact(f, g, f);
    word::divexact(d, g, d);
}

// r = a + b (subtract false) or a - b (true) in words. False when an operand is out of reach.
bool wordAddSub(QQ& r, QQ const& a, QQ const& b, bool subtract)
{
    if (!QQ::enableFastPaths) return false;
    WordQQ x;
    WordQQ y;
    if (!load(a, x) || !load(b, y)) return false;
    const bool positiveB = y.positive != subtract;
    // 1. Both fractions over the least common denominator D = c1 * N2, where d = ggt(N1, N2),
    //    c1 = N1 / d and c2 = N2 / d: numerators A = Z1 * c2 and B = Z2 * c1.
    Natural common;
    Natural cofactor1;
    Natural cofactor2;
    Natural scaled1;
    Natural scaled2;
    Natural lcd;
    Natural const* numerator1 = &x.zaehler;
    Natural const* numerator2 = &y.zaehler;
    Natural const* denominator = &x.nenner;
    Natural const* factor1 = &wordOne();
    Natural const* factor2 = &wordOne();
    Natural const* divisor = &x.nenner;
    if (word::compare(x.nenner, y.nenner) != 0) {
        word::gcd(x.nenner, y.nenner, common);
        factor1 = &x.nenner;
        factor2 = &y.nenner;
        if (!common.isOne()) {
            word::divexact(x.nenner, common, cofactor1);
            word::divexact(y.nenner, common, cofactor2);
            factor1 = &cofactor1;
            factor2 = &cofactor2;
        }
        word::mul(x.zaehler, *factor2, scaled1);
        word::mul(y.zaehler, *factor1, scaled2);
        word::mul(*factor1, y.nenner, lcd);
        numerator1 = &scaled1;
        numerator2 = &scaled2;
        denominator = &lcd;
        divisor = &common;
    }
    // 2. Signed sum of the fractions, T / D, and of the integer parts, G.
    Natural fraction;
    bool fractionPositive = x.positive;
    if (x.positive == positiveB) {
        word::add(*numerator1, *numerator2, fraction);
    } else if (word::compare(*numerator1, *numerator2) >= 0) {
        word::sub(*numerator1, *numerator2, fraction);
    } else {
        word::sub(*numerator2, *numerator1, fraction);
        fractionPositive = positiveB;
    }
    Natural ganze;
    bool ganzePositive = x.positive;
    if (x.positive == positiveB) {
        word::add(x.ganze, y.ganze, ganze);
    } else if (word::compare(x.ganze, y.ganze) >= 0) {
        word::sub(x.ganze, y.ganze, ganze);
    } else {
        word::sub(y.ganze, x.ganze, ganze);
        ganzePositive = positiveB;
    }
    // 3. Reduce T / D. Since ggt(c1, c2) = 1, ggt(T, c1) = ggt(Z1, c1) and ggt(T, c2) = ggt(Z2, c2);
    //    when both are 1 (always so for operands in lowest terms) no prime of c1 * c2 divides T, and
    //    ggt(T, D) = ggt(T, d), a divisor no longer than the operands. Otherwise the full ggt(T, D).
    Natural nenner = *denominator;
    if (!fraction.isZero()) {
        auto coprime = [](Natural const& p, Natural const& q) {
            if (q.isOne() || p.isOne()) return true;
            Natural g;
            word::gcd(p, q, g);
            return g.isOne();
        };
        Natural g;
        if (coprime(x.zaehler, *factor1) && coprime(y.zaehler, *factor2))
            word::gcd(fraction, *divisor, g);
        else
            word::gcd(fraction, nenner, g);
        if (!g.isOne()) {
            word::divexact(fraction, g, fraction);
            word::divexact(nenner, g, nenner);
        }
    }
    // 4. The whole part of T / D joins G; what is left is rest / D with rest < D, still reduced.
    Natural whole;
    Natural rest;
    word::divmod(fraction, nenner, whole, rest);
    if (!whole.isZero()) {
        if (ganze.isZero()) {
            word::add(ganze, whole, ganze);
            ganzePositive = fractionPositive;
        } else if (ganzePositive == fractionPositive) {
            word::add(ganze, whole, ganze);
        } else if (word::compare(ganze, whole) >= 0) {
            word::sub(ganze, whole, ganze);
        } else {
            word::sub(whole, ganze, ganze);
            ganzePositive = fractionPositive;
        }
    }
    // 5. Into the mixed form: a fraction against the sign of G borrows one from G.
    if (rest.isZero()) {
        store(r, ganzePositive, ganze, rest, wordOne());
        return true;
    }
    bool positive = ganzePositive;
    if (ganze.isZero()) {
        positive = fractionPositive;
    } else if (ganzePositive != fractionPositive) {
        word::sub(ganze, wordOne(), ganze);
        word::sub(nenner, rest, rest);
    }
    store(r, positive, ganze, rest, nenner);
    return true;
}

// p = g * n + z, the numerator of the improper fraction.
void improper(WordQQ const& x, Natural& p)
{
    if (x.ganze.isZero()) {
        p = x.zaehler;
        return;
    }
    word::mul(x.ganze, x.nenner, p);
    word::add(p, x.zaehler, p);
}

// r = a * b (divide false) or a / b (true) in words. False when an operand is out of reach or the
// divisor is zero (the limb algorithm throws for it).
bool wordMulDiv(QQ& r, QQ const& a, QQ const& b, bool divide)
{
    if (!QQ::enableFastPaths) return false;
    WordQQ x;
    WordQQ y;
    if (!load(a, x) || !load(b, y)) return false;
    // 1. Improper fractions A / Ad and B / Bd, the divisor turned over.
    Natural numerator1;
    Natural numerator2;
    improper(x, numerator1);
    improper(y, numerator2);
    if (divide && numerator2.isZero()) return false;
    Natural& A = numerator1;
    Natural& Ad = x.nenner;
    Natural& B = divide ? y.nenner : numerator2;
    Natural& Bd = divide ? numerator2 : y.nenner;
    if (A.isZero() || B.isZero()) {
        store(r, true, Natural(), Natural(), wordOne());
        return true;
    }
    // 2. Cancel across (A with Bd, B with Ad) and, for operands not in lowest terms, within
    //    (A with Ad, B with Bd). What is left has no common factor: the product is reduced.
    auto cancel = [](Natural& p, Natural& q) {
        if (p.isOne() || q.isOne()) return;
        Natural g;
        word::gcd(p, q, g);
        if (g.isOne()) return;
        word::divexact(p, g, p);
        word::divexact(q, g, q);
    };
    cancel(A, Bd);
    cancel(B, Ad);
    cancel(A, Ad);
    cancel(B, Bd);
    Natural numerator;
    Natural denominator;
    word::mul(A, B, numerator);
    word::mul(Ad, Bd, denominator);
    // 3. Split into the mixed form.
    Natural ganze;
    Natural zaehler;
    word::divmod(numerator, denominator, ganze, zaehler);
    store(r, x.positive == y.positive, ganze, zaehler, zaehler.isZero() ? wordOne() : denominator);
    return true;
}

// -1, 0, 1 for Z1 / N1 against Z2 / N2 by cross products; 2 when out of reach.
int wordCompareFractions(QQ const& a, QQ const& b)
{
    Natural z1;
    Natural n1;
    Natural z2;
    Natural n2;
    if (!a.zaehler.isPositive || !a.nenner.isPositive || !b.zaehler.isPositive || !b.nenner.isPositive ||
        !word::fromZZ(a.zaehler, z1, QQ::WORD_PATH_LIMBS) ||
        !word::fromZZ(a.nenner, n1, QQ::WORD_PATH_LIMBS) ||
        !word::fromZZ(b.zaehler, z2, QQ::WORD_PATH_LIMBS) ||
        !word::fromZZ(b.nenner, n2, QQ::WORD_PATH_LIMBS) || n1.isZero() || n2.isZero())
        return 2;
    Natural left;
    Natural right;
    word::mul(z1, n2, left);
    word::mul(z2, n1, right);
    return word::compare(left, right);
}

// g = ggt(a, b) of non-negative values: Euclid in limbs while an operand is too long for words.
void ggtMagnitudes(ZZ const& a, ZZ const& b, ZZ& g)
{
    ZZ x = a;
    ZZ y = b;
    x.isPositive = y.isPositive = true;
    Natural wx;
    Natural wy;
    while (true) {
        if (y.isZero()) {
            g = x;
            return;
        }
        if (QQ::enableFastPaths && word::fromZZ(x, wx, QQ::WORD_PATH_LIMBS) &&
            word::fromZZ(y, wy, QQ::WORD_PATH_LIMBS)) {
            Natural wg;
            word::gcd(wx, wy, wg);
            word::toZZ(wg, g);
            return;
        }
        ZZ remainder;
        ZZ quotient;
        ZZ::div(x, y, quotient, remainder);
        x = std::move(y);
        y = std::move(remainder);
    }
}

// The normal zero for a zero in any form (no limbs, sign set).
void normaliseZero(ZZ& z)
{
    if (z.MN != 1 || !z.isPositive) z = 0;
}

} // namespace

QQ::QQ(int const& x) : QQ(static_cast<long long>(x))
{
}

QQ::QQ(long const& x) : QQ(static_cast<long long>(x))
{
}

QQ::QQ(long long const& x)
{
    *this = x;
}

QQ::QQ(char const* s)
{
    *this = s;
}

QQ::QQ(ZZ const& z)
{
    *this = z;
}

QQ::QQ(ZZ&& z)
{
    *this = std::move(z);
}

QQ::QQ(ZZ const& z, ZZ const& n) : zaehler(z), nenner(n)
{
    if (!zaehler.isPositive) {
        isPositive = !isPositive;
        zaehler.isPositive = true;
    }
    if (!nenner.isPositive) {
        isPositive = !isPositive;
        nenner.isPositive = true;
    }
    kuerzen();
}

QQ::QQ(ZZ&& z, ZZ&& n) : zaehler(std::move(z)), nenner(std::move(n))
{
    if (!zaehler.isPositive) {
        isPositive = !isPositive;
        zaehler.isPositive = true;
    }
    if (!nenner.isPositive) {
        isPositive = !isPositive;
        nenner.isPositive = true;
    }
    kuerzen();
}

QQ& QQ::operator=(long long const& x)
{
    isInf = false;
    isPositive = x >= 0;
    ganze = x;
    ganze.isPositive = true;
    zaehler = 0;
    nenner = 1;
    return *this;
}

QQ& QQ::operator=(ZZ const& z)
{
    const bool positive = z.isPositive || z.isZero();
    ganze = z;
    ganze.isPositive = true;
    if (ganze.isZero()) normaliseZero(ganze);
    isInf = false;
    isPositive = positive;
    zaehler = 0;
    nenner = 1;
    return *this;
}

QQ& QQ::operator=(ZZ&& z)
{
    const bool positive = z.isPositive || z.isZero();
    ganze = std::move(z);
    ganze.isPositive = true;
    if (ganze.isZero()) normaliseZero(ganze);
    isInf = false;
    isPositive = positive;
    zaehler = 0;
    nenner = 1;
    return *this;
}

QQ& QQ::kuerzen()
{
    // 1. The three ZZ carry magnitudes; a sign set in one of them is a defect upstream.
    if (!ganze.isPositive || !zaehler.isPositive || !nenner.isPositive)
        fatal("A ganze / zaehler / nenner sign has been set, though it should not be used");
    if (isInf) return *this;
    // 2. No fraction: 0/1, and a zero is positive.
    if (zaehler.isZero()) {
        normaliseZero(zaehler);
        nenner = 1;
        if (ganze.isZero()) {
            normaliseZero(ganze);
            isPositive = true;
        }
        return *this;
    }
    // 3. The whole part of zaehler / nenner moves into ganze, then the fraction is reduced by the
    //    greatest common divisor (ggt(0, n) = n leaves 0/1).
    Natural z;
    Natural n;
    if (enableFastPaths && word::fromZZ(zaehler, z, WORD_PATH_LIMBS) &&
        word::fromZZ(nenner, n, WORD_PATH_LIMBS) && !n.isZero()) {
        Natural whole;
        Natural rest;
        word::divmod(z, n, whole, rest);
        if (!whole.isZero()) {
            Natural g;
            if (word::fromZZ(ganze, g, WORD_PATH_LIMBS)) {
                word::add(g, whole, g);
                word::toZZ(g, ganze);
            } else {
                ZZ wholeLimbs;
                word::toZZ(whole, wholeLimbs);
                ZZ::add(ganze, wholeLimbs, ganze);
            }
        }
        if (rest.isZero()) {
            zaehler = 0;
            nenner = 1;
            return *this;
        }
        reduce(rest, n);
        word::toZZ(rest, zaehler);
        word::toZZ(n, nenner);
        return *this;
    }
    ZZ whole;
    ZZ rest;
    ZZ::div(zaehler, nenner, whole, rest);
    ZZ::add(ganze, whole, ganze);
    zaehler = std::move(rest);
    ZZ g;
    ggtMagnitudes(zaehler, nenner, g);
    ZZ::div(zaehler, g, zaehler, zaehler);
    ZZ::div(nenner, g, nenner, nenner);
    return *this;
}

QQ& QQ::initInf(bool positive)
{
    isInf = true;
    isPositive = positive;
    ganze = 1;
    zaehler = 0;
    nenner = 1;
    return *this;
}

ZZ QQ::signedInteger() const
{
    ZZ result = ganze;
    result.isPositive = isPositive || result.isZero();
    return result;
}

ZZ QQ::signedNumerator() const
{
    ZZ result = zaehler;
    result.isPositive = isPositive || result.isZero();
    return result;
}

QQ QQ::getIntegerMakingFactor() const
{
    if (isInf) return QQ(1);
    return QQ(nenner);
}

bool QQ::isNormal() const
{
    auto normalZZ = [](ZZ const& z) {
        if (!z.isPositive || z.MN < 1) return false;
        for (long i = 1; i <= z.MN; ++i)
            if (z.limbs()[i] < 0 || z.limbs()[i] >= ZZ::BASE) return false;
        return z.MN == 1 || z.limbs()[z.MN] != 0;
    };
    if (!normalZZ(ganze) || !normalZZ(zaehler) || !normalZZ(nenner)) return false;
    if (isInf) return ganze == 1 && zaehler.isZero() && nenner == 1;
    if (zaehler.isZero()) return nenner == 1 && (isPositive || !ganze.isZero());
    return zaehler < nenner && Math::ggt(zaehler, nenner) == 1;
}

void QQ::com_denom(ZZ& a_z, ZZ& b_z, ZZ& d, QQ const& a, QQ const& b)
{
    if (&a_z == &b_z || &a_z == &d || &b_z == &d) fatal("QQ: The ZZs have the same address");
    if (a.isInf || b.isInf)
        fatal("a_z, b_z can not be set to ZZ::INF -- isInf is logic only available in QQ class");
    ZZ lcd = Math::kgv(a.nenner, b.nenner);
    ZZ factor;
    ZZ scaledA;
    ZZ scaledB;
    ZZ::div(lcd, a.nenner, factor, factor);
    ZZ::mul(factor, a.zaehler, scaledA);
    ZZ::div(lcd, b.nenner, factor, factor);
    ZZ::mul(factor, b.zaehler, scaledB);
    a_z = std::move(scaledA);
    b_z = std::move(scaledB);
    d = std::move(lcd);
}

void QQ::add(QQ& r, QQ const& a, QQ const& b)
{
    if (wordAddSub(r, a, b, false)) return;
    // 1. A result that is an operand works on a copy of it.
    if (&r == &a) {
        const QQ copy(a);
        add(r, copy, b);
        return;
    }
    if (&r == &b) {
        const QQ copy(b);
        add(r, a, copy);
        return;
    }
    // 2. Signs: a - |b| or b - |a|.
    if (a.isPositive && !b.isPositive) {
        sub(r, a, -b);
        return;
    }
    if (!a.isPositive) {
        sub(r, b, -a);
        return;
    }
    // 3. Both positive; an infinity absorbs.
    if (a.isInf) {
        r = a;
        return;
    }
    if (b.isInf) {
        r = b;
        return;
    }
    // 4. Fractions over a common denominator, integer parts apart.
    r.isInf = false;
    r.isPositive = true;
    ZZ x;
    ZZ y;
    com_denom(x, y, r.nenner, a, b);
    ZZ::add(x, y, r.zaehler);
    ZZ::add(a.ganze, b.ganze, r.ganze);
    r.kuerzen();
}

void QQ::sub(QQ& r, QQ const& a, QQ const& b)
{
    if (wordAddSub(r, a, b, true)) return;
    // 1. A result that is an operand works on a copy of it.
    if (&r == &a) {
        const QQ copy(a);
        sub(r, copy, b);
        return;
    }
    if (&r == &b) {
        const QQ copy(b);
        sub(r, a, copy);
        return;
    }
    // 2., 3. Signs: -(|a| + b) or a + |b|.
    if (!a.isPositive) {
        add(r, -a, b);
        negate(r, r);
        return;
    }
    if (!b.isPositive) {
        add(r, a, -b);
        return;
    }
    // 4. Both positive, infinities.
    if (a.isInf) {
        if (b.isInf) fatal("INF - INF is not defined");
        r = a;
        return;
    }
    if (b.isInf) {
        negate(r, b);
        return;
    }
    // 5. Both finite: signed differences of the fractions and of the integer parts.
    r.isInf = false;
    ZZ x;
    ZZ y;
    com_denom(x, y, r.nenner, a, b);
    ZZ::sub(x, y, r.zaehler);
    ZZ::sub(a.ganze, b.ganze, r.ganze);
    // 6. When they pull apart, the integer part goes into the fraction.
    if (r.ganze.isPositive != r.zaehler.isPositive) {
        ZZ scaled;
        ZZ::mul(r.ganze, r.nenner, scaled);
        ZZ::add(scaled, r.zaehler, r.zaehler);
        r.ganze = 0;
        r.isPositive = r.zaehler.isPositive;
    } else {
        r.isPositive = r.ganze.isPositive;
    }
    r.ganze.isPositive = true;
    r.zaehler.isPositive = true;
    // 7.
    r.kuerzen();
}

void QQ::mul(QQ& r, QQ const& a, QQ const& b)
{
    if (!enableTruncate && wordMulDiv(r, a, b, false)) return;
    // 1. A result that is an operand works on a copy of it.
    if (&r == &a) {
        const QQ copy(a);
        mul(r, copy, b);
        return;
    }
    if (&r == &b) {
        const QQ copy(b);
        mul(r, a, copy);
        return;
    }
    // 2., 3. Infinities: a zero factor is undefined, otherwise the signs multiply.
    if (a.isInf) {
        if (b.isZero()) fatal("qq: INF * 0 is not defined!");
        r = a;
        if (!b.isPositive) r.isPositive = !r.isPositive;
        return;
    }
    if (b.isInf) {
        if (a.isZero()) fatal("qq: 0 * INF is not defined!");
        r = b;
        if (!a.isPositive) r.isPositive = !r.isPositive;
        return;
    }
    // 4. (x1 + y1/n1)(x2 + y2/n2) as four terms.
    const ZZ x1 = a.signedInteger();
    const ZZ x2 = b.signedInteger();
    const ZZ y1 = a.signedNumerator();
    const ZZ y2 = b.signedNumerator();
    const QQ t0(x1 * x2);
    QQ t1(x1 * y2, b.nenner);
    QQ t2(x2 * y1, a.nenner);
    QQ t3(y1 * y2, a.nenner * b.nenner);
    // 5. The truncating mode cuts the fractional terms, never the integer product.
    if (enableTruncate) {
        t1.truncate(Const::DBL_DIGITS());
        t2.truncate(Const::DBL_DIGITS());
        t3.truncate(Const::DBL_DIGITS());
    }
    // 6.
    add(r, t0, t1);
    add(r, r, t2);
    add(r, r, t3);
    r.kuerzen();
}

void QQ::div(QQ& r, QQ const& a, QQ const& b)
{
    if (wordMulDiv(r, a, b, true)) return;
    // 1. A result that is an operand works on a copy of it.
    if (&r == &a) {
        const QQ copy(a);
        div(r, copy, b);
        return;
    }
    if (&r == &b) {
        const QQ copy(b);
        div(r, a, copy);
        return;
    }
    // 2.-5. Infinities and zero divisors.
    if (a.isInf && b.isInf) fatal("QQ: +-INF / +-INF is not defined");
    if (a.isInf) {
        if (b.isZero()) throw PrecisionException("QQ: division by zero3");
        r = a;
        if (!b.isPositive) r.isPositive = !r.isPositive;
        return;
    }
    if (b.isInf) {
        r = 0;
        return;
    }
    if (b.isZero()) throw PrecisionException("QQ: division by zero3");
    // 6. a / (t / n2) with t = x2 * n2 + y2, the divisor as an improper fraction.
    const ZZ x1 = a.signedInteger();
    const ZZ y1 = a.signedNumerator();
    const ZZ t = b.signedInteger() * b.nenner + b.signedNumerator();
    add(r, QQ(x1 * b.nenner, t), QQ(y1 * b.nenner, a.nenner * t));
    r.kuerzen();
}

void QQ::negate(QQ& r, QQ const& a)
{
    const bool zero = a.isZero();
    if (&r != &a) r = a;
    // A negated zero is positive (also one that came in with its sign set).
    r.isPositive = zero ? true : !r.isPositive;
}

int QQ::compare(QQ const& a, QQ const& b)
{
    // 1.-3. Identity, signs, infinities.
    if (&a == &b) return 0;
    if (a.isPositive != b.isPositive) return a.isPositive ? 1 : -1;
    if (a.isInf && b.isInf) return 0;
    if (a.isInf) return a.isPositive ? 1 : -1;
    if (b.isInf) return b.isPositive ? -1 : 1;
    // 4. Integer parts.
    int result = a.ganze.compare(b.ganze);
    if (result != 0) return a.isPositive ? result : -result;
    // 5. Fractions over a common denominator; cross products give the same order.
    result = enableFastPaths ? wordCompareFractions(a, b) : 2;
    if (result == 2) {
        ZZ x;
        ZZ y;
        ZZ d;
        com_denom(x, y, d, a, b);
        result = x.compare(y);
    }
    return a.isPositive ? result : -result;
}

QQ operator+(QQ const& a, QQ const& b)
{
    QQ r;
    QQ::add(r, a, b);
    return r;
}

QQ operator-(QQ const& a, QQ const& b)
{
    QQ r;
    QQ::sub(r, a, b);
    return r;
}

QQ operator*(QQ const& a, QQ const& b)
{
    QQ r;
    QQ::mul(r, a, b);
    return r;
}

QQ operator/(QQ const& a, QQ const& b)
{
    QQ r;
    QQ::div(r, a, b);
    return r;
}

QQ operator/(long double const& a, QQ const& b)
{
    QQ r;
    QQ::div(r, QQ(a), b);
    return r;
}

QQ operator-(QQ const& a)
{
    QQ r;
    QQ::negate(r, a);
    return r;
}

QQ& operator+=(QQ& a, QQ const& b)
{
    QQ::add(a, a, b);
    return a;
}

QQ& operator-=(QQ& a, QQ const& b)
{
    QQ::sub(a, a, b);
    return a;
}

QQ& operator*=(QQ& a, QQ const& b)
{
    QQ::mul(a, a, b);
    return a;
}

QQ& operator/=(QQ& a, QQ const& b)
{
    QQ::div(a, a, b);
    return a;
}

QQ Constant<QQ>::ZERO()
{
    static const QQ value(0);
    return value;
}

QQ Constant<QQ>::ONE()
{
    static const QQ value(1);
    return value;
}

QQ Constant<QQ>::TWO()
{
    static const QQ value(2);
    return value;
}

QQ Constant<QQ>::THREE()
{
    static const QQ value(3);
    return value;
}

QQ Constant<QQ>::TEN()
{
    static const QQ value(10);
    return value;
}

QQ Constant<QQ>::HALF()
{
    static const QQ value = ONE() / TWO();
    return value;
}

QQ Constant<QQ>::EPSILON()
{
    static const QQ value = ONE() / QQ(static_cast<long long>(Const::DOUBLE_OVERFLOW()));
    return value;
}

QQ Constant<QQ>::DELTA()
{
    static const QQ value = ONE() - EPSILON();
    return value;
}

QQ Constant<QQ>::INF()
{
    static const QQ value(Constant<long double>::INF());
    return value;
}

QQ Constant<QQ>::SCALE_LIMIT_DEFAULT()
{
    static const QQ value(1000);
    return value;
}

template <>
QQ Math::abs<QQ>(const QQ& x)
{
    QQ result(x);
    result.isPositive = true;
    return result;
}

template <>
bool Math::equalsEpsilonZero<QQ>(const QQ& x)
{
    // |x| <= EPSILON, read as x <= EPSILON for a positive x and x >= -EPSILON otherwise, so that
    // nothing is copied.
    static const QQ epsilon = Constant<QQ>::EPSILON();
    static const QQ negativeEpsilon = -Constant<QQ>::EPSILON();
    if (x.isInf) return false;
    return x.isPositive ? QQ::compare(x, epsilon) <= 0 : QQ::compare(x, negativeEpsilon) >= 0;
}

QQ Math::ggt(const QQ& a, const QQ& b)
{
    QQ x = abs(a);
    QQ y = abs(b);
    const QQ zero(0);
    while (QQ::compare(y, zero) != 0) {
        QQ remainder = x - floor(x / y) * y;
        x = std::move(y);
        y = std::move(remainder);
    }
    return x;
}

QQ Math::kgv(const QQ& a, const QQ& b)
{
    return (a * b) / ggt(a, b);
}

bool Precision::equalsZero(QQ const& x, bool useEpsilon)
{
    static const QQ zero = Constant<QQ>::ZERO();
    if (useEpsilon) return Math::equalsEpsilonZero(x);
    return QQ::compare(x, zero) == 0;
}

} // namespace latopt
