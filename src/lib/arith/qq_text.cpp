// qq_text.cpp: the text forms of QQ (parser, scientific notation, stream operators) and its
// functions beyond arithmetic: truncate, floor, ceil, round, pow, root, sqrt.
#include "arith/qq.h"

#include "arith/precision.h"
#include "base/log.h"
#include "base/stream.h"

#include <cctype>
#include <cstring>
#include <istream>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

namespace latopt {

namespace {

// The ZZ reading of text (every non-digit dropped) as a magnitude; a minus sign read by ZZ flips
// positive instead of staying in the field.
ZZ readMagnitude(std::string const& text, bool& positive)
{
    ZZ value;
    value = text.c_str();
    if (!value.isPositive) {
        positive = !positive;
        value.isPositive = true;
    }
    return value;
}

// 10^exponent
ZZ powerOfTen(long exponent)
{
    ZZ result;
    ZZ::pow(Constant<ZZ>::TEN(), ZZ(exponent), result);
    return result;
}

} // namespace

QQ& QQ::operator=(char const* s)
{
    // 1., 2. White space, then the exponent multiplied out, on a private copy.
    while (*s != '\0' && std::isspace(static_cast<unsigned char>(*s)))
        ++s;
    const std::string text = eliminateScientificNotation(s);
    // 3. The sign.
    size_t start = 0;
    bool positive = true;
    if (start < text.size() && text[start] == '+') {
        ++start;
    } else if (start < text.size() && text[start] == '-') {
        ++start;
        positive = false;
    }
    if (start >= text.size()) fatal("QQ: parse error1");
    // 4. The first separator selects the form.
    const size_t separator = text.find_first_of(",./:", start);
    const std::string front =
        text.substr(start, separator == std::string::npos ? std::string::npos : separator - start);
    // 5. Integer or infinity.
    if (separator == std::string::npos) {
        if (front[0] == 'i') {
            if (front.size() < 2 || front[1] != 'n') fatal("QQ: parse error2");
            if (front.size() < 3 || front[2] != 'f') fatal("QQ: parse error3");
            return initInf(positive);
        }
        ganze = readMagnitude(front, positive);
        zaehler = 0;
        nenner = 1;
        isInf = false;
        isPositive = positive || ganze.isZero();
        return *this;
    }
    const std::string behind = text.substr(separator + 1);
    // 6. Fraction.
    if (text[separator] == '/') {
        ZZ denominator = readMagnitude(behind, positive);
        if (denominator.isZero()) fatal("QQ: division by zero1");
        isInf = false;
        ganze = 0;
        zaehler = readMagnitude(front, positive);
        nenner = std::move(denominator);
        isPositive = positive;
        return kuerzen();
    }
    // 7. Decimal: the zeroes right behind the point count as k, the rest is read as a number whose
    //    integer part, with its trailing zeroes removed, is the numerator over 10^(k + its digits).
    if (text[separator] == '.' || text[separator] == ',') {
        ZZ integer = readMagnitude(front, positive);
        size_t position = 0;
        while (position < behind.size() && behind[position] == '0')
            ++position;
        QQ rest(behind.substr(position).c_str());
        rest.ganze.removeZeroTrailer();
        const ZZ denominator = powerOfTen(static_cast<long>(position) + rest.ganze.digits());
        isInf = false;
        ganze = std::move(integer);
        zaehler = std::move(rest.ganze);
        nenner = denominator;
        isPositive = positive;
        return kuerzen();
    }
    // 8. Mixed number: a pure, positive fraction must follow the colon.
    ZZ integer = readMagnitude(front, positive);
    if (!behind.empty() && behind[0] == '0') fatal("QQ: malformed number1");
    QQ fraction(behind.c_str());
    if (!fraction.isPositive) fatal("QQ: malformed number1");
    if (!fraction.ganze.isZero()) fatal("QQ: malformed number2");
    isInf = false;
    ganze = std::move(integer);
    zaehler = std::move(fraction.zaehler);
    nenner = std::move(fraction.nenner);
    isPositive = positive;
    return kuerzen();
}

std::string QQ::eliminateScientificNotation(char const* s)
{
    while (*s != '\0' && std::isspace(static_cast<unsigned char>(*s)))
        ++s;
    const std::string text(s);
    const size_t exponentAt = text.find_first_of("eE");
    if (exponentAt == std::string::npos) return text;
    const QQ mantissa(text.substr(0, exponentAt).c_str());
    const QQ exponent(text.substr(exponentAt + 1).c_str());
    std::ostringstream out;
    out << mantissa * pow(Constant<QQ>::TEN(), exponent);
    return out.str();
}

std::ostream& operator<<(std::ostream& stream, QQ const& q)
{
    if (q.isInf) return stream << (q.isPositive ? "inf" : "-inf");
    const bool hasGanze = !q.ganze.isZero();
    const bool hasZaehler = !q.zaehler.isZero();
    if (!hasGanze && !hasZaehler) return stream << "0";
    std::string text;
    if (!q.isPositive) text += '-';
    if (hasGanze) text += q.ganze.getStringRepresentation();
    if (hasGanze && hasZaehler) text += ':';
    if (hasZaehler) text += q.zaehler.getStringRepresentation();
    if (q.nenner.compare(Constant<ZZ>::ONE()) != 0) {
        text += '/';
        text += q.nenner.getStringRepresentation();
    }
    return stream << text;
}

std::istream& operator>>(std::istream& stream, QQ& q)
{
    // 1. Comments and white space.
    skipOverCommentsAndSeparators(stream, " \t\r\n", nullptr);
    // 2. The characters of a number.
    std::string token;
    int next = stream.peek();
    while (next != std::char_traits<char>::eof() &&
           (std::isdigit(next) || (next != '\0' && std::strchr("+,-./:", next) != nullptr))) {
        token += static_cast<char>(stream.get());
        next = stream.peek();
    }
    // 3. An "inf", taken letter by letter; a broken one stays consumed as far as it went.
    if (next == 'i') {
        stream.get();
        if (stream.peek() == 'n') {
            stream.get();
            if (stream.peek() == 'f') {
                stream.get();
                token += "inf";
            }
        }
    }
    // 4.
    q = token.c_str();
    return stream;
}

QQ& QQ::truncate(unsigned long digits)
{
    // 1., 2. Nothing to do within the budget; otherwise s digits go.
    const long denominatorDigits = nenner.digits();
    if (denominatorDigits <= static_cast<long>(digits)) return *this;
    const long s = denominatorDigits - static_cast<long>(digits);
    // 3. A numerator that is shorter than the cut drops the fraction. The value may become zero,
    //    which is positive like every zero.
    if (zaehler.digits() <= s) {
        zaehler = 0;
        nenner = 1;
        if (ganze.isZero()) isPositive = true;
        return *this;
    }
    // 4. Both shortened alike.
    zaehler.decimal_rshift(static_cast<unsigned long>(s));
    nenner.decimal_rshift(static_cast<unsigned long>(s));
    return *this;
}

QQ floor(QQ const& q)
{
    if (q.isInf) return q;
    if (q.zaehler.isZero()) return QQ(q.signedInteger());
    if (q.isPositive) return QQ(q.ganze);
    return -(QQ(q.ganze) + Constant<QQ>::ONE());
}

QQ ceil(QQ const& q)
{
    if (q.isInf) return q;
    if (q.zaehler.isZero()) return QQ(q.signedInteger());
    if (q.isPositive) return QQ(q.ganze) + Constant<QQ>::ONE();
    return -QQ(q.ganze);
}

QQ round(QQ const& q)
{
    if (q.isInf) return q;
    if (q <= Constant<QQ>::ZERO()) return ceil(q - Constant<QQ>::HALF());
    return floor(q + Constant<QQ>::HALF());
}

QQ pow(QQ const& a, QQ const& b)
{
    // 1. A negative exponent: the reciprocal.
    if (!b.isPositive) {
        QQ result = Constant<QQ>::ONE() / pow(a, -b);
        return result.kuerzen();
    }
    // 2. An infinite exponent: 0, a itself or an infinity, by |a| against 1.
    if (b.isInf) {
        const int order = QQ::compare(Math::abs(a), Constant<QQ>::ONE());
        if (order < 0) return Constant<QQ>::ZERO();
        if (order == 0) return a;
        QQ result = Constant<QQ>::INF();
        result.isPositive = a.isPositive;
        return result;
    }
    const ZZ& e = b.ganze;
    const ZZ& f = b.zaehler;
    // An infinite base: 1 for a zero exponent, else an infinity whose sign follows the odd
    // powers of a negative base (an even root of -INF is as undefined as that of any negative).
    if (a.isInf) {
        if (b.isZero()) return Constant<QQ>::ONE();
        QQ result = Constant<QQ>::INF();
        if (!a.isPositive) {
            if ((b.nenner % Constant<ZZ>::TWO()).isZero()) fatal("QQ: complex roots are not implemented");
            const ZZ numerator = e * b.nenner + f;
            result.isPositive = (numerator % Constant<ZZ>::TWO()).isZero();
        }
        return result;
    }
    // 3. N / D = a as an improper fraction; b = e + f / n.
    const ZZ N = a.signedInteger() * a.nenner + a.signedNumerator();
    const ZZ& D = a.nenner;
    ZZ numeratorPower;
    ZZ denominatorPower;
    ZZ::pow(N, e, numeratorPower);
    ZZ::pow(D, e, denominatorPower);
    QQ result(numeratorPower, denominatorPower);
    ZZ::pow(N, f, numeratorPower);
    ZZ::pow(D, f, denominatorPower);
    QQ numeratorRoot;
    QQ denominatorRoot;
    QQ::root(numeratorRoot, QQ(numeratorPower), b.nenner);
    QQ::root(denominatorRoot, QQ(denominatorPower), b.nenner);
    result = result * numeratorRoot / denominatorRoot;
    return result.kuerzen();
}

void QQ::root(QQ& r, QQ const& a, ZZ const& n)
{
    // 1. A result that is the operand works on a copy of it.
    if (&r == &a) {
        const QQ copy(a);
        root(r, copy, n);
        return;
    }
    // 2.-6. Degenerate orders, negative radicands, reciprocal orders, infinities.
    if (n.isZero()) fatal("QQ: zero-th roots are not defined");
    if (n.compare(Constant<ZZ>::ONE()) == 0) {
        r = a;
        return;
    }
    if (!a.isPositive) {
        if ((n % Constant<ZZ>::TWO()).isZero()) fatal("QQ: complex roots are not implemented");
        root(r, -a, n);
        negate(r, r);
        return;
    }
    if (!n.isPositive) {
        if (a.isZero()) fatal("QQ: division by zero");
        root(r, Constant<QQ>::ONE() / a, -n);
        return;
    }
    if (a.isInf) {
        r = a;
        return;
    }
    // 7. Start above the root; the precision (8 bits wide) starts at DBL_DIGITS.
    const QQ order(n);
    const QQ orderLessOne(n - Constant<ZZ>::ONE());
    QQ x = (a + Constant<QQ>::ONE()) / order;
    unsigned char precision = Const::DBL_DIGITS();
    QQ y;
    // 8. Newton steps on iterates truncated to precision digits, until a step stays within EPSILON
    //    and so does the power of the new iterate; a step that stalls short of that raises the
    //    precision.
    while (true) {
        x.truncate(precision);
        QQ power = pow(x, orderLessOne);
        power.truncate(precision);
        y = x - (power * x - a) / (power * order);
        if (Math::equalsEpsilonZero(y - x)) {
            if (Math::equalsEpsilonZero(pow(y, order) - a)) break;
            ++precision;
        }
        x = y;
    }
    // 9. A reduced, truncated, positive result.
    y.truncate(Const::DBL_DIGITS());
    y.kuerzen();
    if (!y.isPositive) negate(y, y);
    r = std::move(y);
}

QQ sqrt(QQ const& a)
{
    QQ r;
    QQ::root(r, a, Constant<ZZ>::TWO());
    return r;
}

} // namespace latopt
