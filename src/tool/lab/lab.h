// lab.h: latopt-lab, the developer's window on the linear algebra of the engine. A command is a
// function plus a row in a table: each command file contributes its rows through one function
// (eliminationCommands, lqCommands, ...), and main concatenates the lists, parses the command
// line and runs the row it names.
// Operands come from standard input in the text forms of vectors "[ 1 2/3 -4 ]" and matrices
// "[ [ 1 2 ] [ 3 4 ] ]", read exactly as QQ; each result goes to standard output on a line of its
// own, in exact QQ text, and nothing else does. With --ld a command computes in long double: each
// operand entry becomes the long double nearest to it, and each result entry is written in its
// 17 significant digits as a plain decimal ("0.33333333333333331", no exponent), which the
// readers of the text forms take.
// Bad input ends the process with one line "latopt-lab: <what is wrong>" on standard error and
// status 1 (fail). The fatal paths of the library keep their own texts ("*** FAIL: ...").
#pragma once

#include "arith/qq.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace latopt::lab {

// "latopt-lab: " message and a line feed on standard error, then exit(1).
[[noreturn]] void fail(const std::string& message);

// One run of a command: its input, its output and the options of its command line.
class LabIo {
public:
    LabIo(std::string command, std::istream& in, std::ostream& out,
          std::map<std::string, std::string> options);

    const std::string command; // the command's name, for messages
    const std::map<std::string, std::string>
        options; // "--restart=3" is options["restart"] == "3"; --ld is not kept

    // The next operand, a matrix or a vector; name ("A", "b") says which one in messages. A
    // missing operand, text that is not of that form, a word that is not a number, rows of
    // different lengths or an empty matrix fail (a number text the number reader refuses stops
    // there, with its own message). Converted to T as described above.
    template <class T>
    Matrix<T> matrix(const std::string& name);
    template <class T>
    Vector<T> vector(const std::string& name);
    // Fails unless only white space is left on the input.
    void end();
    // The next line of the input, for commands that answer line by line; false at its end.
    bool line(std::string& text);

    // The value of an integer option (--name=K), or fallback when it isn't given; a value that is
    // not an integer fails.
    long integerOption(const std::string& name, long fallback) const;

    // One result per line: a matrix on one line "[ [ 1 2 ] [ 3 4 ] ]", a vector, a number, an
    // integer (a rank), a list of indices (pivot columns), a word ("true", "none").
    template <class T>
    void write(const Matrix<T>& A);
    template <class T>
    void write(const Vector<T>& v);
    void write(const QQ& x);
    void write(long double x);
    void write(long x);
    void write(const Array<long>& indices); // "[ 1 3 ]"
    void write(const std::string& word);
    void write(const char* word) { write(std::string(word)); }
    void write(bool truth);

private:
    std::istream& in;
    std::ostream& out;
};

// A row of the command table. exact runs the command in QQ, standard with --ld in long double.
struct LabCommand {
    std::string name;                 // "rref"
    std::string operands;             // what comes on standard input, for --help: "A then b"
    std::string results;              // what is written, for --help: "R, pivot columns, Tr, rank"
    std::vector<std::string> options; // further options the command takes, as shown in --help: "--restart=K"
    void (*exact)(LabIo& io);
    void (*standard)(LabIo& io);
};

// The rows of each command file.
std::vector<LabCommand>
eliminationCommands();                // lab_elimination.cpp: rref, det, unimod, gauss, rsolve, lsolve
std::vector<LabCommand> lqCommands(); // lab_lq.cpp: elim, lqr, lqf
// lab_program.cpp: prep. Its option "P.opt", a word without "--", is the file named on the command
// line, kept as options["file"].
std::vector<LabCommand> programCommands();
std::vector<LabCommand> searchCommands(); // lab_search.cpp: reduce

} // namespace latopt::lab
