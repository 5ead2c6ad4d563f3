// serializable_array.h: SerializableArray<T>, the array with the bracket text form
// "[ a b c ]". Elements are divided by the characters of separators (a blank is always one of
// them); the margin inside the brackets is a line feed when separators holds one, else a blank.
// Elements are written with operator<< and read with operator>> (a String element keeps its
// whole text). Separator characters inside an element are escaped with a backslash, except the
// first character of separators, which is never escaped.
// With allowComments, comments and separators between characters are dropped without ending an
// element, so an element then ends only at "]". A text that doesn't begin with "[" is fatal
// ("SerializableArray: no start found"); end of input ends the array as a "]" would.
#pragma once

#include "base/array.h"
#include "base/serializable.h"
#include "base/stream.h"
#include "base/string.h"

#include <istream>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>

namespace latopt {

template <class T>
class SerializableArray : public ConversionArray<T>, public Serializable {
public:
    std::string separators;     // characters that divide elements; always holds a blank
    bool allowComments = false; // comments may stand between elements (and end none)
    bool lineBased = false;     // stored and copied; no effect on the text form

    explicit SerializableArray(const std::string& separators = " ", bool allowComments = false,
                               bool lineBased = false)
        : separators(withBlank(separators)), allowComments(allowComments), lineBased(lineBased)
    {
    }
    SerializableArray(const SerializableArray&) = default;
    SerializableArray(SerializableArray&&) noexcept = default;
    SerializableArray& operator=(const SerializableArray&) = default;
    SerializableArray& operator=(SerializableArray&&) noexcept = default;

    // "[", margin, the elements divided by the first separator, the margin again unless the array
    // is empty, "]".
    void serialize(std::ostream& stream) const override
    {
        const char margin = separators.find('\n') != std::string::npos ? '\n' : ' ';
        stream << "[" << margin;
        for (long i = 1; i <= this->MN; ++i) {
            if (i > 1) stream << separators[0];
            // Long doubles keep the precision the caller set.
            stream << escape(formattedText(stream, this->data[i]));
        }
        if (this->MN > 0) stream << margin;
        stream << "]";
    }

    void unserialize(std::istream& stream) override
    {
        // 1. The text must begin with "[", white space before it aside.
        char next;
        skipOverSeparators(stream, " \t\r\n", true, &next);
        if (next != '[') fatal("SerializableArray: no start found");
        // 2. Start empty behind the "[".
        this->setDimension(0, false);
        stream.get();
        std::string text;
        for (;;) {
            // 3. Skip what may divide elements; in the mode without comments at most one
            //    separator, and a separator taken ends the element (5).
            bool separated;
            if (allowComments)
                separated = skipOverCommentsAndSeparators(stream, separators, &next);
            else
                separated = skipOverSeparators(stream, separators, false, &next);
            // 4., 8. "]" (or end of input) ends the array, after the element that it ends.
            if (next == ']' || stream.peek() == std::istream::traits_type::eof()) {
                if (!text.empty()) pushBackWrapper(unescape(text));
                if (next == ']') stream.get();
                return;
            }
            // 5. A separator ends a non-empty element; before an element it is only skipped.
            if (separated && !text.empty()) {
                pushBackWrapper(unescape(text));
                text.clear();
                continue;
            }
            if (separated) continue;
            // 6. A backslash takes the character behind it as it is, a separator included.
            const char taken = static_cast<char>(stream.get());
            text += taken;
            if (taken == '\\' && stream.peek() != std::istream::traits_type::eof())
                text += static_cast<char>(stream.get());
        }
    }

    // Parses text into a new last element (operator>>; a String takes the text whole).
    void pushBackWrapper(const std::string& text)
    {
        this->setDimension(this->MN + 1, false);
        if constexpr (std::is_same_v<T, String>) {
            this->data[this->MN] = text;
        } else {
            std::istringstream elementStream(text);
            elementStream >> this->data[this->MN];
        }
    }

private:
    static std::string withBlank(const std::string& separators)
    {
        return separators.find(' ') == std::string::npos ? separators + ' ' : separators;
    }
    // Escapes the separators from the second one on; the walk runs up to and including the
    // length, so its last step stands on the terminating zero character.
    std::string escape(const std::string& text) const
    {
        String result(text);
        for (std::size_t i = 1; i <= separators.size(); ++i) {
            const std::string character(1, separators.c_str()[i]);
            result = result.replaceAll(character, "\\" + character);
        }
        return result;
    }
    std::string unescape(const std::string& text) const
    {
        String result(text);
        for (std::size_t i = 1; i <= separators.size(); ++i) {
            const std::string character(1, separators.c_str()[i]);
            result = result.replaceAll("\\" + character, character);
        }
        return result;
    }
};

} // namespace latopt
