// star.cpp: TimeVector, TargetVector and Star for long double and QQ: the record, its text line,
// its order and the removal of duplicates. See star.h.
#include "program/star.h"

#include "program/print_time.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "base/serializable.h"
#include "base/stream.h"
#include "base/string.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <istream>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace latopt {

namespace {

// White space around the fields of a record.
const std::string RECORD_SEPARATORS = " \t\r\n";

// The largest decimal exponent a record's number may carry. Every long double, denormals
// included, is written with an exponent within it; beyond it a number is malformed.
constexpr long MAX_DECIMAL_EXPONENT = 5000;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isWhiteSpace(int c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// The digits of text from position, as many as there are; position moves behind them.
std::string takeDigits(const std::string& text, size_t& position)
{
    const size_t start = position;
    while (position < text.size() && isDigit(text[position]))
        ++position;
    return text.substr(start, position - start);
}

bool allZero(const std::string& digits)
{
    return digits.find_first_not_of('0') == std::string::npos;
}

// a < b for two digit strings read as integers, leading zeros allowed.
bool digitsLess(const std::string& a, const std::string& b)
{
    const size_t aStart = std::min(a.find_first_not_of('0'), a.size());
    const size_t bStart = std::min(b.find_first_not_of('0'), b.size());
    const size_t aLength = a.size() - aStart;
    const size_t bLength = b.size() - bStart;
    if (aLength != bLength) return aLength < bLength;
    return a.compare(aStart, aLength, b, bStart, bLength) < 0;
}

// "1" followed by count zeros: 10^count in text.
std::string powerOfTenText(long count)
{
    return "1" + std::string(static_cast<size_t>(count), '0');
}

// The parts of a number token of a record. Accepted, after an optional sign "+" or "-": "inf";
// an integer "17"; a fraction "3/4" (nonzero denominator); a mixed number "2:3/4" (a proper
// fraction, numerator without leading zero); a decimal "2.5", "2,5", ".5" or "2."; each of the
// last four with an exponent "e" or "E", an optional sign and at most MAX_DECIMAL_EXPONENT
// ("1.23457e+06"). Anything else throws GeneralException.
struct NumberToken {
    bool negative = false;
    bool infinite = false;
    bool decimal = false;       // integer digits, a point or comma, fraction digits
    bool streamForm = false;    // as a long double is written: no fraction, no comma
    size_t mantissaStart = 0;   // behind the sign
    size_t mantissaEnd = 0;     // before the exponent
    std::string integerDigits;  // of a decimal
    std::string fractionDigits; // of a decimal
    long exponent = 0;
};

NumberToken checkNumberToken(const std::string& token)
{
    if (token.empty()) throw GeneralException("Star: number expected");
    NumberToken number;
    size_t position = 0;
    if (token[position] == '+' || token[position] == '-') {
        number.negative = token[position] == '-';
        ++position;
    }
    number.mantissaStart = position;
    // 1. Infinity.
    if (token.compare(position, std::string::npos, "inf") == 0) {
        number.infinite = true;
        number.streamForm = true;
        return number;
    }
    // 2. The mantissa: integer digits, then a fraction, a mixed number or decimal digits.
    number.integerDigits = takeDigits(token, position);
    number.streamForm = true;
    if (position < token.size() && (token[position] == '/' || token[position] == ':')) {
        number.streamForm = false;
        const bool mixed = token[position] == ':';
        ++position;
        std::string numeratorDigits;
        if (mixed) {
            numeratorDigits = takeDigits(token, position);
            if (position >= token.size() || token[position] != '/')
                throw GeneralException("Star: malformed number");
            ++position;
        }
        const std::string denominatorDigits = takeDigits(token, position);
        if (number.integerDigits.empty() || denominatorDigits.empty() || allZero(denominatorDigits))
            throw GeneralException("Star: malformed number");
        // The parser's mixed form needs a proper fraction whose numerator has no leading zero.
        if (mixed && (numeratorDigits.empty() || numeratorDigits[0] == '0' ||
                      !digitsLess(numeratorDigits, denominatorDigits)))
            throw GeneralException("Star: malformed number");
    } else if (position < token.size() && (token[position] == '.' || token[position] == ',')) {
        number.decimal = true;
        number.streamForm = token[position] == '.';
        ++position;
        number.fractionDigits = takeDigits(token, position);
        if (number.integerDigits.empty() && number.fractionDigits.empty())
            throw GeneralException("Star: malformed number");
    } else if (number.integerDigits.empty()) {
        throw GeneralException("Star: malformed number");
    }
    number.mantissaEnd = position;
    // 3. The exponent.
    if (position < token.size() && (token[position] == 'e' || token[position] == 'E')) {
        ++position;
        bool exponentNegative = false;
        if (position < token.size() && (token[position] == '+' || token[position] == '-')) {
            exponentNegative = token[position] == '-';
            ++position;
        }
        const std::string exponentDigits = takeDigits(token, position);
        if (exponentDigits.empty()) throw GeneralException("Star: malformed number");
        for (const char digit : exponentDigits) {
            number.exponent = number.exponent * 10 + (digit - '0');
            if (number.exponent > MAX_DECIMAL_EXPONENT) throw GeneralException("Star: number out of range");
        }
        if (exponentNegative) number.exponent = -number.exponent;
    }
    if (position != token.size()) throw GeneralException("Star: malformed number");
    return number;
}

// The exact value, built through the QQ text parser: the shape is checked, so the parser meets
// only forms it takes without stopping, and a decimal or an exponent becomes an integer or a
// fraction over a power of ten, read as such. (The parser's own decimal branch would read
// "0.1000000001" as 0.11.)
QQ exactValue(const std::string& token, const NumberToken& number)
{
    if (number.infinite) return QQ(token.c_str());
    QQ value;
    if (number.streamForm && !number.decimal && number.exponent == 0 && number.integerDigits.size() <= 18) {
        // The common case, an integer of at most 18 digits, fits a machine word.
        long long magnitude = 0;
        for (const char digit : number.integerDigits)
            magnitude = magnitude * 10 + (digit - '0');
        value = magnitude;
    } else if (number.decimal) {
        // Its digits times 10^(exponent - digits behind the point).
        const long shift = number.exponent - static_cast<long>(number.fractionDigits.size());
        const std::string digits = number.integerDigits + number.fractionDigits;
        const std::string text = shift >= 0 ? digits + std::string(static_cast<size_t>(shift), '0')
                                            : digits + "/" + powerOfTenText(-shift);
        value = text.c_str();
    } else {
        value = token.substr(number.mantissaStart, number.mantissaEnd - number.mantissaStart).c_str();
        if (number.exponent > 0) value *= QQ(powerOfTenText(number.exponent).c_str());
        if (number.exponent < 0) value /= QQ(powerOfTenText(-number.exponent).c_str());
    }
    // A zero stays positive.
    if (number.negative) QQ::negate(value, value);
    return value;
}

// A number token into a record's number. QQ: exact. long double: a token of the form in which
// long doubles are written is read as the platform reads a long double (strtold, correctly
// rounded), so a written value reads back as written; a fraction or a comma goes through QQ and
// the precision layer. A value beyond the range of long double is malformed.
void assignNumber(const std::string& token, QQ& target)
{
    target = exactValue(token, checkNumberToken(token));
}

void assignNumber(const std::string& token, long double& target)
{
    const NumberToken number = checkNumberToken(token);
    if (!number.streamForm) {
        Precision::conv(exactValue(token, number), target, false);
        return;
    }
    errno = 0;
    char* end = nullptr;
    const long double value = std::strtold(token.c_str(), &end);
    if (end != token.c_str() + token.size()) throw GeneralException("Star: malformed number");
    if (errno == ERANGE && std::isinf(value)) throw GeneralException("Star: number out of range");
    target = value;
}

// The value of a token of digits with an optional sign, as the time of a record.
long parseLongToken(const std::string& token)
{
    const size_t start = !token.empty() && token[0] == '+' ? 1 : 0;
    if (start == 1 && (token.size() < 2 || !isDigit(token[1])))
        throw GeneralException("Star: malformed integer");
    long value = 0;
    const char* first = token.data() + start;
    const char* last = token.data() + token.size();
    const auto [end, error] = std::from_chars(first, last, value);
    if (first == last || error != std::errc() || end != last)
        throw GeneralException("Star: malformed integer");
    return value;
}

// Position of the stream's reading head, without touching its state (tellg would set failbit at
// the end of input); -1 if the stream can't tell.
std::streamoff readingPosition(std::istream& stream)
{
    return stream.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
}

// The reading path of the record: it throws GeneralException where Vector::unserialize and the
// number readers would stop the process, and remembers where the record began, so that reading
// can resume behind a corrupt record.
class RecordReader {
public:
    explicit RecordReader(std::istream& stream) : stream(stream) {}

    // Skips white space and comments; the record begins at the next character.
    void beginRecord()
    {
        skipOverCommentsAndSeparators(stream, RECORD_SEPARATORS, nullptr);
        recordStart = readingPosition(stream);
    }

    // One token after white space and comments: the characters up to white space, "|", "[", "]",
    // the start of a comment, or the end of input.
    std::string readToken()
    {
        skipOverCommentsAndSeparators(stream, RECORD_SEPARATORS, nullptr);
        std::string token;
        for (;;) {
            const int next = stream.peek();
            if (next == std::char_traits<char>::eof() || isWhiteSpace(next) || next == '|' || next == '[' ||
                next == ']')
                break;
            stream.get();
            if (next == '/') {
                const int behind = stream.peek();
                if (behind == '/' || behind == '*') {
                    stream.unget();
                    break;
                }
            }
            token += static_cast<char>(next);
        }
        return token;
    }

    template <class T>
    void readNumber(T& target)
    {
        assignNumber(readToken(), target);
    }

    long readLong() { return parseLongToken(readToken()); }

    // The bracketed vector, as Vector::unserialize reads it: the sign of an entry is taken here and
    // nothing is skipped between it and the number. Text that doesn't begin with "[" leaves the
    // vector empty and the stream on that character, unless the vector is required.
    template <class T>
    void readVector(Vector<T>& vector, bool required)
    {
        vector.setDimension(0, true);
        if (stream.fail()) throw ReadException("Vector: bad stream");
        char next;
        skipOverCommentsAndSeparators(stream, RECORD_SEPARATORS, &next);
        if (next != '[') {
            if (required) throw GeneralException("Star: no vector found");
            return;
        }
        stream.get();
        skipOverCommentsAndSeparators(stream, RECORD_SEPARATORS, &next);
        if (next == ']') {
            stream.get();
            return;
        }
        for (long i = 1;; ++i) {
            vector.setDimension(i, true);
            const char sign = next;
            if (sign == '-') stream.get();
            T& entry = vector[i];
            assignNumber(readToken(), entry);
            if (sign == '-') entry = -entry;
            skipOverCommentsAndSeparators(stream, RECORD_SEPARATORS, &next);
            if (next == ']') {
                stream.get();
                return;
            }
        }
    }

    // After a failure: the stream is cleared and stands at the start of the line behind the
    // record's first line. A record cut short is thus followed by whatever its next line holds,
    // a record or not; the lines of a corrupt record that spans several are read as records of
    // their own, and each costs at most itself.
    void resume()
    {
        stream.clear();
        if (recordStart >= 0) stream.rdbuf()->pubseekpos(recordStart, std::ios_base::in);
        stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }

private:
    std::istream& stream;
    std::streamoff recordStart = -1; // where the record's x begins; -1: the stream can't tell
};

// Saturating value * 10 + character - '0' of a version component: components beyond 18 digits
// stay at the limit instead of overflowing.
long long versionStep(long long value, unsigned char character)
{
    constexpr long long LIMIT = std::numeric_limits<long long>::max() / 16;
    const long long next = value * 10 + static_cast<long long>(character) - 48;
    return std::clamp(next, -LIMIT, LIMIT);
}

long long versionComponent(const std::string& text, size_t& position)
{
    long long value = 0;
    while (position < text.size() && text[position] != '.') {
        value = versionStep(value, static_cast<unsigned char>(text[position]));
        ++position;
    }
    if (position < text.size()) ++position; // the "."
    return value;
}

// The grid on which removeStarDublettes files the records (see there): a cell is 1/1024 wide and
// the edges are shifted by 0.318309886 of a cell, so that integers and short decimals lie far from
// them.
constexpr long GRID_SCALE_BITS = 10;
static_assert(DUPLICATE_GRID_SCALE == 1L << GRID_SCALE_BITS);
// A record with more components near a cell edge than this is compared with every kept record.
constexpr size_t MAX_AMBIGUOUS_COMPONENTS = 12;

std::uint64_t mixHash(std::uint64_t x)
{
    // splitmix64's finaliser
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

// Where one component lies on the grid: the hash of its cell and, when it lies so close to an edge
// that a tolerantly equal value may lie beyond it, the hash of the cell beyond.
struct GridPlace {
    std::uint64_t cell = 0;
    std::uint64_t neighbour = 0;
    bool nearEdge = false;
};

std::uint64_t cellHash(long long index)
{
    return mixHash(static_cast<std::uint64_t>(index));
}

// Long doubles of magnitude 2^35 or more are 2^-29 or more apart, wider than the tolerance: such
// a value (and an infinity) equals only itself and is filed under its exact value. Below 2^35
// the cell is floor(1024 v + shift); 1024 v is exact and the sum rounds by at most 2^-63 of
// itself, so a value within the tolerance of v lies within margin of it on the grid.
GridPlace gridPlace(const long double& v)
{
    static const long double BIG = ldexpl(1.0L, 35);
    static const long double SHIFT = std::strtold(DUPLICATE_GRID_SHIFT, nullptr);
    static const long double TOLERANCE =
        ldexpl(Constant<long double>::EPSILON(), GRID_SCALE_BITS) * (1.0L + 1e-12L);
    GridPlace place;
    if (!(fabsl(v) < BIG)) {
        if (std::isnan(v)) {
            place.cell = 0x6e616eULL;
        } else if (std::isinf(v)) {
            place.cell = v > 0 ? 0x696e66ULL : 0x2d696e66ULL;
        } else {
            int exponent = 0;
            const long double mantissa = frexpl(fabsl(v), &exponent);
            const auto bits = static_cast<std::uint64_t>(ldexpl(mantissa, 64));
            place.cell = mixHash(bits ^ mixHash(static_cast<std::uint64_t>(exponent) * 2 + (v < 0 ? 1 : 0)));
        }
        return place;
    }
    const long double t = ldexpl(v, GRID_SCALE_BITS) + SHIFT;
    const long double cell = floorl(t);
    const long double fraction = t - cell;
    const long double margin = TOLERANCE + ldexpl(ldexpl(fabsl(v), GRID_SCALE_BITS) + 1026.0L, -61);
    const auto index = static_cast<long long>(cell);
    place.cell = cellHash(index);
    if (fraction <= margin) {
        place.nearEdge = true;
        place.neighbour = cellHash(index - 1);
    } else if (1.0L - fraction <= margin) {
        place.nearEdge = true;
        place.neighbour = cellHash(index + 1);
    }
    return place;
}

// The cell 1024 n + c of an exact value, 0 <= c < 1024: the sign and the limbs of n from the
// highest nonzero one down, then c.
std::uint64_t cellHash(const ZZ& n, long c)
{
    const long long* limbs = n.limbs();
    long top = n.MN;
    while (top >= 1 && limbs[top] == 0)
        --top;
    std::uint64_t hash = top == 0 || n.isPositive ? 0x2bULL : 0x2dULL;
    for (long i = top; i >= 1; --i)
        hash = mixHash(hash ^ static_cast<std::uint64_t>(limbs[i]));
    return mixHash(hash ^ mixHash(static_cast<std::uint64_t>(c)));
}

// Exact, in integers: with v = n + f, n = floor(v) and 0 <= f < 1, the cell floor(1024 v + shift)
// is 1024 n + c with c = floor(1024 f + shift), and a value within 10^-9 of v lies within
// 1024/10^9 of 1024 v + shift. An integer has f = 0, and its place on the grid is the shift
// itself, far from both edges. An infinity equals only itself.
GridPlace gridPlace(const QQ& v)
{
    static const QQ SHIFT(DUPLICATE_GRID_SHIFT);
    static const ZZ SCALE(DUPLICATE_GRID_SCALE);
    static const ZZ TOLERANCE_DENOMINATOR = Constant<QQ>::EPSILON().nenner; // EPSILON is 1/10^9
    GridPlace place;
    if (v.isInf) {
        place.cell = v.isPositive ? 0x696e66ULL : 0x2d696e66ULL;
        return place;
    }
    // 1. n and f = p / d.
    ZZ n = v.signedInteger();
    if (v.zaehler.isZero()) {
        place.cell = cellHash(n, 0);
        return place;
    }
    const ZZ& d = v.nenner;
    ZZ p = v.zaehler;
    if (!v.isPositive) {
        n -= Constant<ZZ>::ONE();
        p = d - v.zaehler;
    }
    // 2. 1024 f + shift = a / b: c = a div b in 0..1024, and r / b its fraction.
    const ZZ a = SCALE * p * SHIFT.nenner + SHIFT.zaehler * d;
    const ZZ b = d * SHIFT.nenner;
    ZZ quotient, r;
    ZZ::div(a, b, quotient, r);
    long c = quotient.MN >= 1 ? static_cast<long>(quotient.limbs()[1]) : 0;
    if (c == DUPLICATE_GRID_SCALE) {
        n += Constant<ZZ>::ONE();
        c = 0;
    }
    place.cell = cellHash(n, c);
    // 3. Near an edge: the fraction r / b, or its distance to 1, is at most 1024 / 10^9.
    const ZZ bound = SCALE * b;
    if (r * TOLERANCE_DENOMINATOR <= bound) {
        place.nearEdge = true;
        place.neighbour =
            c > 0 ? cellHash(n, c - 1) : cellHash(n - Constant<ZZ>::ONE(), DUPLICATE_GRID_SCALE - 1);
    } else if ((b - r) * TOLERANCE_DENOMINATOR <= bound) {
        place.nearEdge = true;
        place.neighbour =
            c < DUPLICATE_GRID_SCALE - 1 ? cellHash(n, c + 1) : cellHash(n + Constant<ZZ>::ONE(), 0);
    }
    return place;
}

std::uint64_t componentHash(long index, std::uint64_t cell)
{
    return mixHash(cell ^ mixHash(static_cast<std::uint64_t>(index)));
}

// The texts of two vectors (Serializable::toString) compared as strings, without writing them
// whole: both begin with "[ " and go on with each entry followed by a blank, then "]". An entry's
// text holds no blank, so the first entry whose text with its blank differs (or the "]" of the
// shorter vector) decides as the whole texts would, and the entries behind it are never written.
template <class T>
int compareVectorTexts(const Vector<T>& a, const Vector<T>& b)
{
    std::ostringstream left, right;
    DBL_OSTREAM_PREC(left);
    DBL_OSTREAM_PREC(right);
    for (long i = 1;; ++i) {
        left.str("");
        right.str("");
        if (i <= a.MN)
            left << a.data[i] << ' ';
        else
            left << ']';
        if (i <= b.MN)
            right << b.data[i] << ' ';
        else
            right << ']';
        const int order = left.str().compare(right.str());
        if (order != 0) return order;
        if (i > a.MN) return 0;
    }
}

} // namespace

// TimeVector

template <class T>
TimeVector<T>::TimeVector(const Vector<T>& vector, long secondsUntilDiscovered)
    : Vector<T>(vector), secondsUntilDiscovered(secondsUntilDiscovered)
{
}

template <class T>
TimeVector<T>::TimeVector(Vector<T>&& vector, long secondsUntilDiscovered)
    : Vector<T>(std::move(vector)), secondsUntilDiscovered(secondsUntilDiscovered)
{
}

template <class T>
template <class U>
TimeVector<T>& TimeVector<T>::_assign(const TimeVector<U>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    // The vector itself is what a verdict is about: on the way down to long double it must arrive
    // within 10^-9 or the copy fails with PrecisionException, and the caller stays exact.
    constexpr bool comingDown = std::is_same_v<U, QQ> && !std::is_same_v<T, QQ>;
    Precision::conv(static_cast<const Vector<U>&>(other), static_cast<Vector<T>&>(*this), comingDown);
    secondsUntilDiscovered = other.secondsUntilDiscovered;
    isNew = other.isNew;
    return *this;
}

template <class T>
void TimeVector<T>::resetAllMembers()
{
    Vector<T>::resetAllMembers();
    secondsUntilDiscovered = -1;
    isNew = true;
}

// TargetVector

template <class T>
TargetVector<T>::TargetVector()
    : slackNorm(-Constant<T>::ONE()), targetNorm(Constant<T>::INF()), targetValue(Constant<T>::INF())
{
}

template <class T>
template <class U>
TargetVector<T>& TargetVector<T>::_assign(const TargetVector<U>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    TimeVector<T>::_assign(static_cast<const TimeVector<U>&>(other));
    Precision::conv(other.slackNorm, slackNorm, this->throwOnLoss, this->allowPostCommaLoss);
    Precision::conv(other.targetNorm, targetNorm, this->throwOnLoss, this->allowPostCommaLoss);
    Precision::conv(other.targetValue, targetValue, this->throwOnLoss, this->allowPostCommaLoss);
    return *this;
}

template <class T>
void TargetVector<T>::printSums(std::ostream& stream) const
{
    stream << "T(bestTarget) = " << targetValue << ", S(bestTarget) = " << slackNorm;
    if (!(targetValue == Constant<T>::INF())) {
        stream << " -- { ";
        printTime(stream, this->secondsUntilDiscovered);
        stream << " }";
    }
}

// Star

template <class T>
Star<T>::Star() : slackNorm(Constant<T>::ZERO()), targetNorm(Constant<T>::ZERO())
{
}

template <class T>
Star<T>::Star(Vector<T>&& x, Vector<T>&& targetValues, T&& targetNorm, T&& slackNorm,
              const long& secondsUntilDiscovered, std::string params, std::string version)
    : TimeVector<T>(std::move(x), secondsUntilDiscovered), targetValues(std::move(targetValues)),
      slackNorm(std::move(slackNorm)), targetNorm(std::move(targetNorm)), params(std::move(params)),
      version(std::move(version))
{
}

template <class T>
template <class U>
Star<T>& Star<T>::_assign(const Star<U>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    TimeVector<T>::_assign(static_cast<const TimeVector<U>&>(other));
    // The figures are for the reader and are recomputed where they count: they round, never throw.
    Precision::conv(other.targetValues, targetValues, false);
    Precision::conv(other.slackNorm, slackNorm, false);
    Precision::conv(other.targetNorm, targetNorm, false);
    params = other.params;
    version = other.version;
    return *this;
}

template <class T>
std::string Star<T>::toString() const
{
    // x with 17 significant digits; everything else on the line's own stream, whose default
    // format gives a long double 6 significant digits.
    std::ostringstream line;
    line << Serializable::toString() << " | " << targetNorm << " | ";
    targetValues.serialize(line);
    line << " | " << slackNorm << " | " << this->secondsUntilDiscovered << " | " << params;
    if (!version.empty()) line << " | " << version;
    return line.str();
}

template <class T>
bool Star<T>::fromStream(std::stringstream& ss)
{
    RecordReader reader(ss);
    try {
        // 1., 2. Comments may stand before the record; x must be there.
        reader.beginRecord();
        reader.readVector(*this, true);
        // 3. A bare vector is a short record, unless it is empty: that is no solution at all.
        if (!skipOverPipeSeparators(ss)) {
            params.clear();
            version.clear();
            return this->MN == 0;
        }
        // 4. The four fields up to the params; a missing "|" between them goes unnoticed.
        reader.readNumber(targetNorm);
        skipOverPipeSeparators(ss);
        reader.readVector(targetValues, false);
        skipOverPipeSeparators(ss);
        reader.readNumber(slackNorm);
        skipOverPipeSeparators(ss);
        this->secondsUntilDiscovered = reader.readLong();
        // 5. The rest of the line. The skip in front of it passes a line end, so empty params take
        //    the next line; the skip behind it passes the line end and the comments that follow.
        skipOverPipeSeparators(ss);
        skipOverCommentsAndSeparators(ss, RECORD_SEPARATORS, nullptr);
        std::string rest;
        std::getline(ss, rest);
        skipOverCommentsAndSeparators(ss, RECORD_SEPARATORS, nullptr);
        // 6. params and version; with three pieces or more the version stays as it was.
        const Array<String> pieces = String(rest).explode('|');
        if (pieces.MN >= 1) params = pieces[1].trim();
        if (pieces.MN == 2) version = pieces[2].trim();
        return true;
    } catch (const GeneralException&) {
        // 7. An unusable record; reading goes on behind it.
        this->setDimension(0, true);
        reader.resume();
        return true;
    }
}

template <class T>
bool Star<T>::operator<(const Star& other) const
{
    // 1., 2. The norms, ascending.
    if (targetNorm < other.targetNorm) return true;
    if (other.targetNorm < targetNorm) return false;
    if (slackNorm < other.slackNorm) return true;
    if (other.slackNorm < slackNorm) return false;
    // 3. The time, ascending, unknown (-1) last.
    const long seconds = this->secondsUntilDiscovered;
    const long otherSeconds = other.secondsUntilDiscovered;
    if (seconds != otherSeconds) {
        if (seconds == -1) return false;
        if (otherSeconds == -1) return true;
        return seconds < otherSeconds;
    }
    // 4. The newer version first.
    const char versionOrder = compareVersion(version, other.version);
    if (versionOrder > 0) return true;
    if (versionOrder < 0) return false;
    // 5. A lower text of x decides; 6. otherwise, a higher text included, the params decide.
    if (compareVectorTexts(*this, other) < 0) return true;
    return params < other.params;
}

template <class T>
char Star<T>::compareVersion(std::string a, std::string b)
{
    if (a.empty() && b.empty()) return 0;
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() || j < b.size()) {
        const long long left = versionComponent(a, i);
        const long long right = versionComponent(b, j);
        if (left > right) return 1;
        if (left < right) return -1;
    }
    return 0;
}

// The pairwise walk over i < j keeps a record exactly when no earlier kept record equals it, and
// the first kept record that equals a removed one absorbs it (isNew). The same result comes here
// without comparing all pairs: each kept record is filed under a key of its x (and its params,
// when they count), and a record is compared only with the records filed under the keys that a
// tolerantly equal x can have, in ascending order, the first equal one absorbing it.
// Key: each component lies in a cell of the grid of gridPlace; an equal component lies in the same
// cell unless the component is within the tolerance (and rounding) of an edge, and then possibly in
// the cell beyond: a record with m such components is looked up under 2^m keys (with more than
// MAX_AMBIGUOUS_COMPONENTS it is compared with all kept records). Values too large for the
// tolerance to matter, and infinities, are keyed by their exact value. A key is only ever a
// filter: every candidate is confirmed by Vector::operator== and the params.
template <class T>
void Star<T>::removeStarDublettes(Array<Star<T>>& stars, bool compareParams)
{
    const long count = stars.MN;
    if (count < 2) return;
    // 1. Records of another dimension than the first stop the process, as the walk does when it
    //    compares the first record with them.
    for (long k = 2; k <= count; ++k)
        if (stars.data[k].MN != stars.data[1].MN)
            (void)(static_cast<const Vector<T>&>(stars.data[1]) ==
                   static_cast<const Vector<T>&>(stars.data[k]));
    // 2. Walk in order; the grid is computed exactly whatever the truncation mode of the run.
    TruncateGuard exact(false);
    std::unordered_map<std::uint64_t, std::vector<long>> filed;
    filed.reserve(static_cast<size_t>(count));
    std::vector<long> kept;
    std::vector<bool> removed(static_cast<size_t>(count) + 1, false);
    std::vector<std::uint64_t> flips;
    std::vector<long> candidates;
    for (long r = 1; r <= count; ++r) {
        Star<T>& record = stars.data[r];
        // 2a. The key of the record's own cells, and the changes to it for the cells beyond.
        std::uint64_t key = compareParams ? mixHash(std::hash<std::string>{}(record.params)) : 0;
        flips.clear();
        for (long i = 1; i <= record.MN; ++i) {
            const GridPlace place = gridPlace(record.data[i]);
            const std::uint64_t own = componentHash(i, place.cell);
            key ^= own;
            if (place.nearEdge) flips.push_back(own ^ componentHash(i, place.neighbour));
        }
        // 2b. The kept records under any of those keys, in ascending order.
        candidates.clear();
        if (flips.size() <= MAX_AMBIGUOUS_COMPONENTS) {
            for (std::uint64_t mask = 0; mask < (std::uint64_t{1} << flips.size()); ++mask) {
                std::uint64_t lookup = key;
                for (size_t b = 0; b < flips.size(); ++b)
                    if ((mask >> b) & 1U) lookup ^= flips[b];
                const auto found = filed.find(lookup);
                if (found != filed.end())
                    candidates.insert(candidates.end(), found->second.begin(), found->second.end());
            }
            if (flips.size() > 0) {
                std::sort(candidates.begin(), candidates.end());
                candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
            }
        } else {
            candidates = kept;
        }
        // 2c. The first equal one absorbs the record; without one the record is kept and filed.
        long absorber = 0;
        for (const long candidate : candidates) {
            const Star<T>& other = stars.data[candidate];
            if (static_cast<const Vector<T>&>(other) == static_cast<const Vector<T>&>(record) &&
                (!compareParams || other.params == record.params)) {
                absorber = candidate;
                break;
            }
        }
        if (absorber != 0) {
            stars.data[absorber].isNew = stars.data[absorber].isNew && record.isNew;
            removed[static_cast<size_t>(r)] = true;
        } else {
            filed[key].push_back(r);
            kept.push_back(r);
        }
    }
    // 3. The kept records move down in their order.
    long place = 0;
    for (long r = 1; r <= count; ++r) {
        if (removed[static_cast<size_t>(r)]) continue;
        ++place;
        if (place != r) stars.data[place] = std::move(stars.data[r]);
    }
    stars.setDimension(place, false);
}

// The closed set: long double and QQ, with the assignments across them in all four pairs.
#define LATOPT_RECORD_ASSIGN(Record, To, From) template Record<To>& Record<To>::_assign(const Record<From>&);
#define LATOPT_RECORD(Record)                                                                                \
    template class Record<long double>;                                                                      \
    template class Record<QQ>;                                                                               \
    LATOPT_RECORD_ASSIGN(Record, long double, long double)                                                   \
    LATOPT_RECORD_ASSIGN(Record, long double, QQ)                                                            \
    LATOPT_RECORD_ASSIGN(Record, QQ, long double)                                                            \
    LATOPT_RECORD_ASSIGN(Record, QQ, QQ)
LATOPT_RECORD(TimeVector)
LATOPT_RECORD(TargetVector)
LATOPT_RECORD(Star)
#undef LATOPT_RECORD
#undef LATOPT_RECORD_ASSIGN

} // namespace latopt
