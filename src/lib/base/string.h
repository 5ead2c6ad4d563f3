// string.h: String, std::string with the few text operations the system needs. It adds no data,
// so it converts freely to and from std::string. Every operation is const and returns a new
// value. Regular expressions are those of the standard library (ECMAScript grammar).
#pragma once

#include "base/array.h"

#include <regex>
#include <string>

namespace latopt {

class String : public std::string {
public:
    // Blank, tab, line feed, carriage return, form feed, vertical tab.
    static constexpr const char* WHITE_SPACE = " \t\n\r\f\v";

    String() = default;
    String(const std::string& text) : std::string(text) {}
    String(std::string&& text) : std::string(std::move(text)) {}
    String(const char* text) : std::string(text) {}
    String(const String&) = default;
    String(String&&) = default;
    String& operator=(const String&) = default;
    String& operator=(String&&) = default;

    // All non-overlapping occurrences of from, left to right, the search going on behind each
    // inserted text; an empty from leaves the text as it is.
    String replaceAll(const std::string& from, const std::string& to) const;
    String replaceRegex(const std::string& regex, const std::string& to) const;
    // True if the expression is found anywhere in the text; groups go to result when given.
    // result refers into this text and is valid as long as it is.
    bool matches(const std::string& regex, bool caseSensitive = true, std::smatch* result = nullptr) const;
    bool matchesCaseInsensitive(const std::string& regex, std::smatch* result = nullptr) const;
    String rtrim(const char* chars = WHITE_SPACE) const;
    String ltrim(const char* chars = WHITE_SPACE) const;
    String trim(const char* chars = WHITE_SPACE) const;
    // An empty suffix ends every text.
    bool endsWith(const std::string& suffix) const;
    String toLower() const;
    String toUpper() const;

    // The pieces between the separators, as std::getline takes them: a separator at the end
    // gives no empty last piece, and an empty text gives no pieces.
    Array<String> explode(char separator) const;
    // The pieces between the matches of the expression (regex token iterator, index -1).
    Array<String> explode(const String& regex) const;
};

// The empty text, for the arrays' zero tests.
template <>
class Constant<String> {
public:
    static String ZERO() { return String(); }
    static String EMPTY() { return String(); }
};

} // namespace latopt
