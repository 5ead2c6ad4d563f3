// qq_text.cpp: the text forms of QQ (parser, scientific notation, stream operators) and its
// functions beyond arithmetic: truncate, floor, ceil, round, pow, root, sqrt.
#include "arith/qq.h"

#include "arith/precision.h"
#include "base/log.h"
#include "base/stream.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <istream>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

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

// The number of decimal zeroes at the low end of a nonzero x.
long trailingDecimalZeroes(ZZ const& x)
{
    long count = 0;
    long limb = 1;
    while (x.limbs()[limb] == 0) {
        count += ZZ::LIMB_DIGITS;
        ++limb;
    }
    for (long long value = x.limbs()[limb]; value % 10 == 0; value /= 10)
        ++count;
    return count;
}

// The normal form of (positive ? 1 : -1) * (integer + digits / 10^exponent), where digits has no
// decimal zero at its low end and fewer than exponent digits. Then ggt(digits, 10^exponent) is
// 2^c or 5^c; with f the factor and g the other one, c = min(v_f(digits), exponent) is the number
// of decimal zeroes at the low end of digits * g^exponent (digits has no factor g), and
// digits / f^c = digits * g^c / 10^c, 10^exponent / f^c = g^c * 10^(exponent - c). Products and
// shifts instead of a Euclid keep long decimals fast.
QQ decimalValue(ZZ&& integer, ZZ&& digits, long exponent, bool positive)
{
    QQ value;
    value.ganze = std::move(integer);
    value.isPositive = positive || (value.ganze.isZero() && digits.isZero());
    if (digits.isZero()) return value;
    const long long lowest = digits.limbs()[1];
    const long factor = lowest % 2 == 0 ? 2 : lowest % 5 == 0 ? 5 : 1;
    ZZ power(1);
    if (factor != 1) {
        const ZZ other(factor == 2 ? 5 : 2);
        const long bound = std::min(exponent, 4 * digits.digits()); // f^bound > digits
        ZZ::pow(other, ZZ(bound), power);
        const long c = trailingDecimalZeroes(digits * power);
        ZZ::pow(other, ZZ(c), power);
        ZZ::mul(digits, power, digits);
        digits.decimal_rshift(static_cast<unsigned long>(c));
        power.decimal_lshift(exponent - c);
    } else {
        power = powerOfTen(exponent);
    }
    value.zaehler = std::move(digits);
    value.nenner = std::move(power);
    return value;
}

// Number text nests: behind a decimal point and behind a mixed number's colon stands a number text
// of its own, read by the same rules (of which only the integer part counts behind a point). The
// reader records each such level on the way in, parses the innermost number (an integer, an
// infinity or a fraction), and applies the levels on the way out, so that no input, however deep
// its nesting, costs stack. The checks keep the order of a reading level by level: those on a
// level's own text on the way in, those on the value of its inner text on the way out.
struct NumberLevel {
    size_t frontStart; // the integer part is text[frontStart, separator)
    size_t separator;  // ".", "," or ":"
    bool positive;     // the sign read at this level
    size_t zeroes;     // a decimal's "0" characters right behind the point
};

// White space and the sign of the number text at start; start moves behind them.
bool readSign(std::string const& text, size_t& start)
{
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start])))
        ++start;
    bool positive = true;
    if (start < text.size() && text[start] == '+') {
        ++start;
    } else if (start < text.size() && text[start] == '-') {
        ++start;
        positive = false;
    }
    if (start >= text.size()) fatal("QQ: parse error1");
    return positive;
}

// The innermost number: an integer or an infinity when separator is npos, else a fraction.
QQ parseInnermost(std::string const& text, size_t start, size_t separator, bool positive)
{
    QQ value;
    if (separator == std::string::npos) {
        if (text[start] == 'i') {
            if (start + 1 >= text.size() || text[start + 1] != 'n') fatal("QQ: parse error2");
            if (start + 2 >= text.size() || text[start + 2] != 'f') fatal("QQ: parse error3");
            return value.initInf(positive);
        }
        value.ganze = readMagnitude(text.substr(start), positive);
        value.isPositive = positive || value.ganze.isZero();
        return value;
    }
    ZZ denominator = readMagnitude(text.substr(separator + 1), positive);
    if (denominator.isZero()) fatal("QQ: division by zero1");
    value.zaehler = readMagnitude(text.substr(start, separator - start), positive);
    value.nenner = std::move(denominator);
    value.isPositive = positive;
    return value.kuerzen();
}

// A decimal level around the value of its inner text: the inner integer part, without the zeroes
// at its low end, is the numerator over 10^(zeroes + its digits).
void applyDecimal(std::string const& text, NumberLevel const& level, QQ& value)
{
    bool positive = level.positive;
    ZZ integer = readMagnitude(text.substr(level.frontStart, level.separator - level.frontStart), positive);
    ZZ digits = std::move(value.ganze);
    digits.removeZeroTrailer();
    const long exponent = static_cast<long>(level.zeroes) + digits.digits();
    value = decimalValue(std::move(integer), std::move(digits), exponent, positive);
}

// A mixed number's level around the value of its inner text, which must be a positive proper
// fraction. That value is in normal form, so the sum needs no reduction: only a zero's sign.
void applyMixed(std::string const& text, NumberLevel const& level, QQ& value)
{
    bool positive = level.positive;
    ZZ integer = readMagnitude(text.substr(level.frontStart, level.separator - level.frontStart), positive);
    if (!value.isPositive) fatal("QQ: malformed number1");
    if (!value.ganze.isZero()) fatal("QQ: malformed number2");
    value.ganze = std::move(integer);
    value.isPositive = positive || (value.ganze.isZero() && value.zaehler.isZero());
}

// Steps 3 to 8 of the parse on text without an exponent.
QQ parseWithoutExponent(std::string const& text)
{
    std::vector<NumberLevel> levels;
    size_t start = 0;
    while (true) {
        const bool positive = readSign(text, start);
        const size_t separator = text.find_first_of(",./:", start);
        if (separator == std::string::npos || text[separator] == '/') {
            QQ value = parseInnermost(text, start, separator, positive);
            for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
                if (text[level->separator] == ':')
                    applyMixed(text, *level, value);
                else
                    applyDecimal(text, *level, value);
            }
            return value;
        }
        NumberLevel level{start, separator, positive, 0};
        start = separator + 1;
        if (text[separator] == ':') {
            if (start < text.size() && text[start] == '0') fatal("QQ: malformed number1");
        } else {
            while (start < text.size() && text[start] == '0')
                ++start;
            level.zeroes = start - separator - 1;
        }
        levels.push_back(level);
    }
}

} // namespace

QQ& QQ::operator=(char const* s)
{
    // 1., 2. White space, then the exponent multiplied out, on a private copy.
    while (*s != '\0' && std::isspace(static_cast<unsigned char>(*s)))
        ++s;
    const std::string text = eliminateScientificNotation(s);
    return *this = parseWithoutExponent(text);
}

std::string QQ::eliminateScientificNotation(char const* s)
{
    while (*s != '\0' && std::isspace(static_cast<unsigned char>(*s)))
        ++s;
    const std::string text(s);
    size_t exponentAt = text.find_first_of("eE");
    if (exponentAt == std::string::npos) return text;
    // The text behind an exponent letter may carry an exponent itself: m0 e m1 e ... e mk is
    // m0 * 10^(m1 * 10^(... mk)). The parts are read front to back, then multiplied out from the
    // last one, in a loop rather than one nested reading per letter.
    std::vector<QQ> mantissas;
    size_t partStart = 0;
    while (exponentAt != std::string::npos) {
        mantissas.emplace_back(text.substr(partStart, exponentAt - partStart).c_str());
        partStart = exponentAt + 1;
        exponentAt = text.find_first_of("eE", partStart);
    }
    QQ exponent(text.substr(partStart).c_str());
    for (size_t i = mantissas.size() - 1; i > 0; --i)
        exponent = mantissas[i] * pow(Constant<QQ>::TEN(), exponent);
    std::ostringstream out;
    out << mantissas[0] * pow(Constant<QQ>::TEN(), exponent);
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
