#include "base/stream.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <locale>

namespace latopt {

namespace {

constexpr std::istream::int_type EOF_VALUE = std::istream::traits_type::eof();

// The next character as the out-parameters report it: 255 at end of input.
char peeked(std::istream& stream)
{
    const std::istream::int_type value = stream.peek();
    return value == EOF_VALUE ? END_OF_INPUT : static_cast<char>(value);
}

} // namespace

char* strstring(char* haystack, const std::string& needle)
{
    return std::strstr(haystack, needle.c_str());
}

bool peekNextCharacter(std::istream& stream, char& next)
{
    next = peeked(stream);
    return static_cast<unsigned char>(next) != 255;
}

bool skipOverComments(std::istream& stream, char& next)
{
    // 1. Only a "/" can begin a comment.
    next = peeked(stream);
    if (next != '/') return false;
    // 2. Block comment: scan to the first "*/"; a "*" that isn't followed by "/" stays part of
    //    the scan, so that "**/" closes as well. The scans peek before they take, so that end of
    //    input ends them without setting failbit.
    stream.get();
    next = peeked(stream);
    if (next == '*') {
        stream.get();
        while (stream.peek() != EOF_VALUE) {
            const char taken = static_cast<char>(stream.get());
            if (taken == '*' && stream.peek() == '/') {
                stream.get();
                break;
            }
        }
        next = peeked(stream);
        return true;
    }
    // 3. Line comment: the line feed stays in the stream.
    if (next == '/') {
        while (stream.peek() != EOF_VALUE && stream.peek() != '\n')
            stream.get();
        next = peeked(stream);
        return true;
    }
    // 4. A lone "/": give it back (putback also clears an eofbit that the peek may have set).
    stream.putback('/');
    next = peeked(stream);
    return false;
}

bool skipOverSeparators(std::istream& stream, const std::string& separators, bool all, char* next)
{
    bool taken = false;
    for (;;) {
        const std::istream::int_type value = stream.peek();
        if (value == EOF_VALUE || separators.find(static_cast<char>(value)) == std::string::npos) break;
        stream.get();
        if (!all) {
            taken = true;
            break;
        }
    }
    if (next != nullptr) *next = peeked(stream);
    return taken;
}

bool skipOverCommentsAndSeparators(std::istream& stream, const std::string& separators, char* next)
{
    char peek;
    skipOverSeparators(stream, separators, true, nullptr);
    while (skipOverComments(stream, peek))
        skipOverSeparators(stream, separators, true, nullptr);
    if (next != nullptr) *next = peeked(stream);
    return false;
}

bool skipOverPipeSeparators(std::istream& stream)
{
    char next;
    skipOverCommentsAndSeparators(stream, " \t\r\n", &next);
    if (next != '|') return false;
    stream.get();
    return true;
}

bool integerText(const std::ostream& format, long double value, std::string& text)
{
    // Below 10^precision the general format writes an integer as its digits, without a point or
    // an exponent (a precision of 0 counts as 1); a negative zero keeps its sign, so it takes the
    // stream's way.
    constexpr std::streamsize MAX_DIGITS = 18; // every integer below 10^18 fits a long long
    const std::ios_base::fmtflags flags = format.flags();
    if ((flags & (std::ios_base::floatfield | std::ios_base::showpos | std::ios_base::showpoint)) != 0 ||
        format.width() != 0)
        return false;
    const std::streamsize digits = std::min(std::max<std::streamsize>(format.precision(), 1), MAX_DIGITS);
    static const long double POWERS[] = {1e0L,  1e1L,  1e2L,  1e3L,  1e4L,  1e5L,  1e6L,  1e7L,  1e8L, 1e9L,
                                         1e10L, 1e11L, 1e12L, 1e13L, 1e14L, 1e15L, 1e16L, 1e17L, 1e18L};
    if (!(fabsl(value) < POWERS[digits]) || value != truncl(value) || (value == 0 && std::signbit(value)))
        return false;
    if (format.getloc() != std::locale::classic()) return false;
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<long long>(value)).ptr;
    text.assign(buffer, end);
    return true;
}

} // namespace latopt
