#include "base/string.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace latopt {

String String::replaceAll(const std::string& from, const std::string& to) const
{
    String result(*this);
    if (from.empty()) return result;
    for (size_type position = result.find(from); position != npos;
         position = result.find(from, position + to.size())) {
        result.replace(position, from.size(), to);
    }
    return result;
}

String String::replaceRegex(const std::string& regex, const std::string& to) const
{
    return String(std::regex_replace(static_cast<const std::string&>(*this), std::regex(regex), to));
}

bool String::matches(const std::string& regex, bool caseSensitive, std::smatch* result) const
{
    const std::regex expression(regex, caseSensitive ? std::regex::ECMAScript
                                                     : std::regex::ECMAScript | std::regex::icase);
    const std::string& text = *this;
    if (result != nullptr) return std::regex_search(text, *result, expression);
    return std::regex_search(text, expression);
}

bool String::matchesCaseInsensitive(const std::string& regex, std::smatch* result) const
{
    return matches(regex, false, result);
}

String String::rtrim(const char* chars) const
{
    const size_type last = find_last_not_of(chars);
    return last == npos ? String() : String(substr(0, last + 1));
}

String String::ltrim(const char* chars) const
{
    const size_type first = find_first_not_of(chars);
    return first == npos ? String() : String(substr(first));
}

String String::trim(const char* chars) const
{
    return ltrim(chars).rtrim(chars);
}

bool String::endsWith(const std::string& suffix) const
{
    return suffix.size() <= size() && compare(size() - suffix.size(), suffix.size(), suffix) == 0;
}

String String::toLower() const
{
    String result(*this);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

String String::toUpper() const
{
    String result(*this);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

Array<String> String::explode(char separator) const
{
    Array<String> pieces;
    std::istringstream stream(*this);
    std::string piece;
    while (std::getline(stream, piece, separator))
        pieces.pushBack(String(std::move(piece)));
    return pieces;
}

Array<String> String::explode(const String& regex) const
{
    Array<String> pieces;
    const std::string& text = *this;
    const std::regex expression(regex);
    for (std::sregex_token_iterator piece(text.begin(), text.end(), expression, -1), end; piece != end;
         ++piece)
        pieces.pushBack(String(piece->str()));
    return pieces;
}

} // namespace latopt
