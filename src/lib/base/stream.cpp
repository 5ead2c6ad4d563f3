#include "base/stream.h"

#include <cstring>

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

} // namespace latopt
