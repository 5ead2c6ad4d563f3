// stream.h: the helpers with which every text reader of the system skips comments and
// separators. Comments are "//" up to (not including) the line feed, and "/*" up to the first
// "*/". Every helper that has a character out-parameter leaves in it the character that is next
// in the stream, without consuming it; at end of input that is the character 255.
// A comment that is still open at end of input ends there: the scan stops, reports the comment
// as taken, and the reader goes on as it would after any comment.
#pragma once

#include <istream>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>

namespace latopt {

// The character the out-parameters hold at end of input.
inline constexpr char END_OF_INPUT = static_cast<char>(255);

// strstr with a std::string needle: pointer to its first occurrence in haystack, or null.
char* strstring(char* haystack, const std::string& needle);

// Peeks into next; false at end of input (or on a byte 255, which reads the same).
bool peekNextCharacter(std::istream& stream, char& next);

// Takes one comment if the stream stands on one; true if it did. On "/" that doesn't begin a
// comment nothing is consumed.
bool skipOverComments(std::istream& stream, char& next);

// all: takes every character in separators and returns false. Otherwise takes at most one
// and returns true if it took one. next may be null.
bool skipOverSeparators(std::istream& stream, const std::string& separators, bool all, char* next);

// Takes all separators, then comments each followed by all separators, until no comment is left.
// Always returns false: callers can't learn from it whether anything was skipped. next may be null.
bool skipOverCommentsAndSeparators(std::istream& stream, const std::string& separators, char* next);

// Skips comments and white space, then takes a "|" if one stands there; true if it did.
bool skipOverPipeSeparators(std::istream& stream);

// The text that a stream formatted as format would write for value with operator<<. A long double
// that is an integer below 10^precision in magnitude, with the default float field, locale and
// width and without showpos or showpoint, is its digits: those are written without a stream,
// which saves the stream's construction.
bool integerText(const std::ostream& format, long double value, std::string& text);
template <class T>
std::string formattedText(const std::ostream& format, const T& value)
{
    std::string text;
    if constexpr (std::is_same_v<T, long double>) {
        if (integerText(format, value, text)) return text;
    }
    std::ostringstream stream;
    stream.copyfmt(format);
    stream << value;
    return stream.str();
}

} // namespace latopt
