// basis_text.cpp: the reader and the writer of basis_text.h.
#include "basis_text.h"

#include <cctype>
#include <vector>

namespace latopt::reduce {
namespace {

// The tokens of the text: "[", "]" and the runs of other characters between them and white space.
struct Token {
    std::string text;
    long line = 1;
};

std::vector<Token> tokens(std::istream& in)
{
    std::vector<Token> result;
    long line = 1;
    bool inWord = false;
    for (int c = in.get(); c != EOF; c = in.get()) {
        if (c == '[' || c == ']' || std::isspace(c) != 0) {
            inWord = false;
            if (c == '[' || c == ']') result.push_back({std::string(1, static_cast<char>(c)), line});
            if (c == '\n') ++line;
            continue;
        }
        if (!inWord) result.push_back({"", line});
        result.back().text += static_cast<char>(c);
        inWord = true;
    }
    return result;
}

bool isInteger(const std::string& text)
{
    const size_t digits = text[0] == '-' || text[0] == '+' ? 1 : 0;
    if (digits == text.size()) return false;
    for (size_t i = digits; i < text.size(); ++i)
        if (std::isdigit(static_cast<unsigned char>(text[i])) == 0) return false;
    return true;
}

std::string entries(size_t count)
{
    return std::to_string(count) + (count == 1 ? " entry" : " entries");
}

std::string at(long line)
{
    return "line " + std::to_string(line) + ": ";
}

} // namespace

std::string readBasis(std::istream& in, Matrix<QQ>& basis)
{
    const std::vector<Token> text = tokens(in);
    if (text.empty()) return "empty input: no basis";
    if (text[0].text != "[")
        return at(text[0].line) + "a basis begins with \"[\", not \"" + text[0].text + "\"";
    std::vector<std::vector<QQ>> rows;
    size_t i = 1;
    for (;;) {
        if (i == text.size()) return "the text ends inside the basis (a \"]\" is missing)";
        if (text[i].text == "]") break;
        if (text[i].text != "[") return at(text[i].line) + "\"" + text[i].text + "\" stands outside a row";
        const long line = text[i].line;
        rows.emplace_back();
        for (++i; i < text.size() && text[i].text != "]"; ++i) {
            if (text[i].text == "[") return at(text[i].line) + "a \"[\" inside a row";
            if (!isInteger(text[i].text))
                return at(text[i].line) + "\"" + text[i].text + "\" is not an integer";
            const std::string& digits = text[i].text;
            rows.back().emplace_back(digits[0] == '+' ? digits.c_str() + 1 : digits.c_str());
        }
        if (i == text.size())
            return "the text ends inside row " + std::to_string(rows.size()) + " (a \"]\" is missing)";
        ++i;
        if (rows.back().empty()) return at(line) + "row " + std::to_string(rows.size()) + " is empty";
        if (rows.back().size() != rows[0].size())
            return at(line) + "row " + std::to_string(rows.size()) + " has " + entries(rows.back().size()) +
                   ", row 1 has " + entries(rows[0].size());
    }
    if (i + 1 < text.size())
        return at(text[i + 1].line) + "text after the basis: \"" + text[i + 1].text + "\"";
    if (rows.empty()) return "the basis has no rows";
    basis.setDimensions(static_cast<long>(rows.size()), static_cast<long>(rows[0].size()));
    for (size_t r = 0; r < rows.size(); ++r)
        for (size_t c = 0; c < rows[r].size(); ++c)
            basis[static_cast<long>(r + 1)][static_cast<long>(c + 1)] = std::move(rows[r][c]);
    return "";
}

void writeBasis(std::ostream& out, const Matrix<QQ>& basis)
{
    out << "[";
    for (long i = 1; i <= basis.rowCount; ++i) {
        out << "[";
        for (long j = 1; j <= basis.colCount; ++j)
            out << (j > 1 ? " " : "") << basis[i][j];
        out << "]\n";
    }
    out << "]\n";
}

} // namespace latopt::reduce
