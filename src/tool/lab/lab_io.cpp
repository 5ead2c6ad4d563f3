// lab_io.cpp: the operands and results of latopt-lab (lab.h). An operand's text is first taken
// apart into brackets and number tokens here, so that a missing operand, a wrong shape or a stray
// word is named in a message of the program's own; the numbers are then read by the matrix and
// vector readers of the library, which every text form of the system goes through.
#include "lab.h"

#include "base/stream.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <utility>

namespace latopt::lab {

namespace {

const std::string WHITE_SPACE = " \t\r\n";

// The nested list an operand's text stands for: a number token, or a bracketed list of items.
struct Item {
    bool isList = false;
    std::string token;      // a number token
    std::vector<Item> list; // the items of a list
};

// The text of a number as the number reader takes it: an optional sign, then digits and "+,-./:",
// or "inf". Anything else (a letter, an exponent, which the reader doesn't take) is no number.
bool isNumberToken(const std::string& token)
{
    std::string body = token;
    if (!body.empty() && body[0] == '-') body.erase(0, 1);
    if (body == "inf") return true;
    bool digit = false;
    for (const char c : body) {
        if (std::isdigit(static_cast<unsigned char>(c)) != 0)
            digit = true;
        else if (std::string("+,-./:").find(c) == std::string::npos)
            return false;
    }
    return digit;
}

// Reads one item from the stream, which stands on its first character: a number token runs to
// the next white space, bracket or comment.
Item readItem(std::istream& in, const std::string& name)
{
    Item item;
    char next;
    skipOverCommentsAndSeparators(in, WHITE_SPACE, &next);
    if (!peekNextCharacter(in, next)) fail(name + ": the text ends inside the operand (a \"]\" is missing)");
    if (next == ']') fail(name + ": unexpected \"]\"");
    if (next != '[') {
        // A "/" belongs to a fraction unless a comment begins there.
        while (peekNextCharacter(in, next) && WHITE_SPACE.find(next) == std::string::npos && next != '[' &&
               next != ']') {
            if (next == '/') {
                in.get();
                const int after = in.peek();
                in.unget();
                if (after == '/' || after == '*') break;
            }
            item.token += static_cast<char>(in.get());
        }
        if (!isNumberToken(item.token)) fail(name + ": \"" + item.token + "\" is not a number");
        return item;
    }
    in.get();
    item.isList = true;
    for (;;) {
        skipOverCommentsAndSeparators(in, WHITE_SPACE, &next);
        if (!peekNextCharacter(in, next))
            fail(name + ": the text ends inside the operand (a \"]\" is missing)");
        if (next == ']') {
            in.get();
            return item;
        }
        item.list.push_back(readItem(in, name));
    }
}

// The next operand's items; fails when the input has no further operand or it doesn't begin with "[".
Item readOperand(std::istream& in, const std::string& name, const char* kind)
{
    char next;
    skipOverCommentsAndSeparators(in, WHITE_SPACE, &next);
    if (!peekNextCharacter(in, next)) fail(name + ": missing operand (" + kind + ")");
    if (next != '[') {
        std::string word;
        while (peekNextCharacter(in, next) && WHITE_SPACE.find(next) == std::string::npos && word.size() < 20)
            word += static_cast<char>(in.get());
        fail(name + ": expected " + kind + ", found \"" + word + "\"");
    }
    return readItem(in, name);
}

// The text of a list of number tokens in the vector form.
std::string vectorText(const Item& row)
{
    std::string text = "[ ";
    for (const Item& entry : row.list)
        text += entry.token + " ";
    return text + "]";
}

// The long double nearest to x, up to a unit or two in the last place: integer part plus the
// quotient of numerator and denominator, each read by strtold. Not Precision::conv: the engine's
// crossing goes through decimal text that keeps the digits of a limb unpadded (0.1000000001
// reads as 0.11), and a tool that compares the routines with outside references must hand them
// the operand it was given.
long double standardValue(const QQ& x)
{
    if (x.isInf) return x.isPositive ? HUGE_VALL : -HUGE_VALL;
    long double value = std::strtold(x.ganze.getStringRepresentation().c_str(), nullptr);
    if (!x.zaehler.isZero())
        value += std::strtold(x.zaehler.getStringRepresentation().c_str(), nullptr) /
                 std::strtold(x.nenner.getStringRepresentation().c_str(), nullptr);
    return x.isPositive ? value : -value;
}

Matrix<QQ> standardOperand(const Matrix<QQ>& exact, QQ*)
{
    return exact;
}

Vector<QQ> standardOperand(const Vector<QQ>& exact, QQ*)
{
    return exact;
}

Matrix<long double> standardOperand(const Matrix<QQ>& exact, long double*)
{
    Matrix<long double> result(exact.rowCount, exact.colCount);
    for (long i = 1; i <= exact.rowCount; ++i)
        for (long j = 1; j <= exact.colCount; ++j)
            result[i][j] = standardValue(exact[i][j]);
    return result;
}

Vector<long double> standardOperand(const Vector<QQ>& exact, long double*)
{
    Vector<long double> result(exact.MN);
    for (long i = 1; i <= exact.MN; ++i)
        result[i] = standardValue(exact[i]);
    return result;
}

// The text of a result entry: QQ's own; a long double in its 17 significant digits, written
// out without an exponent (which the vector reader doesn't take), trailing zeroes dropped.
std::string entryText(const QQ& x)
{
    std::ostringstream text;
    text << x;
    return text.str();
}

std::string entryText(long double x)
{
    if (std::isnan(x)) return "nan";
    if (std::isinf(x)) return x > 0 ? "inf" : "-inf";
    if (x == 0) return "0";
    char buffer[64];
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, fabsl(x), std::chars_format::scientific, 16);
    const std::string scientific(buffer, written.ptr);
    const size_t e = scientific.find('e');
    std::string digits = scientific.substr(0, 1) + scientific.substr(2, e - 2);
    const long point = 1 + std::stol(scientific.substr(e + 1)); // digits before the point
    std::string text;
    if (point <= 0)
        text = "0." + std::string(static_cast<size_t>(-point), '0') + digits;
    else if (point >= static_cast<long>(digits.size()))
        text = digits + std::string(static_cast<size_t>(point) - digits.size(), '0');
    else
        text = digits.substr(0, static_cast<size_t>(point)) + "." + digits.substr(static_cast<size_t>(point));
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    return (x < 0 ? "-" : "") + text;
}

} // namespace

[[noreturn]] void fail(const std::string& message)
{
    std::cout.flush();
    std::cerr << "latopt-lab: " << message << std::endl;
    std::exit(1);
}

LabIo::LabIo(std::string command, std::istream& in, std::ostream& out,
             std::map<std::string, std::string> options)
    : command(std::move(command)), options(std::move(options)), in(in), out(out)
{
}

template <class T>
Matrix<T> LabIo::matrix(const std::string& name)
{
    const Item operand = readOperand(in, name, "a matrix");
    // 1. The shape: a list of rows, each a list of numbers, all of one length.
    if (operand.list.empty()) fail(name + ": the matrix has no rows");
    std::string text = "[ ";
    for (size_t i = 0; i < operand.list.size(); ++i) {
        const Item& row = operand.list[i];
        if (!row.isList) fail(name + ": expected a matrix, found a vector");
        for (const Item& entry : row.list)
            if (entry.isList) fail(name + ": row " + std::to_string(i + 1) + " holds a list, not a number");
        if (row.list.empty()) fail(name + ": row " + std::to_string(i + 1) + " is empty");
        if (row.list.size() != operand.list[0].list.size())
            fail(name + ": rows of different lengths (row 1 has " +
                 std::to_string(operand.list[0].list.size()) + " entries, row " + std::to_string(i + 1) +
                 " has " + std::to_string(row.list.size()) + ")");
        text += vectorText(row) + " ";
    }
    text += "]";
    // 2. The numbers, through the matrix reader.
    Matrix<QQ> exact;
    std::istringstream stream(text);
    exact.unserialize(stream);
    return standardOperand(exact, static_cast<T*>(nullptr));
}

template <class T>
Vector<T> LabIo::vector(const std::string& name)
{
    const Item operand = readOperand(in, name, "a vector");
    for (const Item& entry : operand.list)
        if (entry.isList) fail(name + ": expected a vector, found a matrix");
    Vector<QQ> exact;
    std::istringstream stream(vectorText(operand));
    exact.unserialize(stream);
    return standardOperand(exact, static_cast<T*>(nullptr));
}

void LabIo::end()
{
    char next;
    skipOverCommentsAndSeparators(in, WHITE_SPACE, &next);
    if (peekNextCharacter(in, next)) fail("unexpected text after the operands of " + command);
}

long LabIo::integerOption(const std::string& name, long fallback) const
{
    const auto found = options.find(name);
    if (found == options.end()) return fallback;
    const std::string& text = found->second;
    char* stop = nullptr;
    const long value = std::strtol(text.c_str(), &stop, 10);
    if (text.empty() || *stop != '\0') fail("--" + name + " needs an integer, not \"" + text + "\"");
    return value;
}

template <class T>
void LabIo::write(const Matrix<T>& A)
{
    out << "[ ";
    for (long i = 1; i <= A.rowCount; ++i) {
        out << "[ ";
        for (long j = 1; j <= A.colCount; ++j)
            out << entryText(A[i][j]) << ' ';
        out << "] ";
    }
    out << "]\n";
}

template <class T>
void LabIo::write(const Vector<T>& v)
{
    out << "[ ";
    for (long i = 1; i <= v.MN; ++i)
        out << entryText(v[i]) << ' ';
    out << "]\n";
}

void LabIo::write(const QQ& x)
{
    out << entryText(x) << '\n';
}

void LabIo::write(long double x)
{
    out << entryText(x) << '\n';
}

void LabIo::write(long x)
{
    out << x << '\n';
}

bool LabIo::line(std::string& text)
{
    return static_cast<bool>(std::getline(in, text));
}

void LabIo::write(const std::string& word)
{
    out << word << '\n';
}

void LabIo::write(const Array<long>& indices)
{
    out << "[ ";
    for (long i = 1; i <= indices.MN; ++i)
        out << indices[i] << ' ';
    out << "]\n";
}

void LabIo::write(bool truth)
{
    write(std::string(truth ? "true" : "false"));
}

// The closed set: the operands and results come in the two number types.
template Matrix<QQ> LabIo::matrix<QQ>(const std::string&);
template Matrix<long double> LabIo::matrix<long double>(const std::string&);
template Vector<QQ> LabIo::vector<QQ>(const std::string&);
template Vector<long double> LabIo::vector<long double>(const std::string&);
template void LabIo::write<QQ>(const Matrix<QQ>&);
template void LabIo::write<long double>(const Matrix<long double>&);
template void LabIo::write<QQ>(const Vector<QQ>&);
template void LabIo::write<long double>(const Vector<long double>&);

} // namespace latopt::lab
