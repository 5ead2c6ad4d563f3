// The tool on files with number tokens of 200,000 characters of every kind that once nested the
// parser deeply or makes it work long: it ends with the program's own message or with the result
// that a short spelling of the same value gives, never with a signal.
#include "tool_run.h"

#include <gtest/gtest.h>

#include <string>

namespace latopt::testing_tool {
namespace {

constexpr size_t LENGTH = 200000;

// x1 + x2 + x3 = 6, 1 <= x1 - x2 <= 4, lx <= x <= rx; minimise 2 x1 + 3 x2 + x3.
std::string program(const std::string& lx1, const std::string& rx1)
{
    return "[ -inf ]\n[\n[ 2 3 1 ]\n]\n[\n[ 1 1 1 ]\n]\n[ 6 ]\n[\n[ 1 -1 0 ]\n]\n[ 1 ]\n[ 4 ]\n[ 0 0 0 "
           "]\n[ " +
           lx1 + " 0 0 ]\n[ " + rx1 + " 5 3 ]\n";
}

const std::string BEST = "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 12 | --beta=20 --sol=1 | 2.2.3\n";

std::string repeated(const std::string& piece, size_t length)
{
    std::string text;
    while (text.size() + piece.size() <= length)
        text += piece;
    return text;
}

class LongTokens : public ToolSandbox {
protected:
    // Runs the tool on the files and again, in a fresh place, on the short spellings; both runs
    // must agree in status, output and the solution file left behind.
    void expectSameRunAs(const std::string& opt, const std::string& sol, const std::string& shortOpt,
                         const std::string& shortSol)
    {
        write("prog.opt", shortOpt);
        write("prog.sol", shortSol);
        const ToolRun expected = run();
        const std::string expectedSol = read("prog.sol");
        write("prog.opt", opt);
        write("prog.sol", sol);
        const ToolRun actual = run();
        EXPECT_EQ(actual.status, 0) << actual.err.substr(0, 200);
        EXPECT_EQ(actual.status, expected.status);
        EXPECT_EQ(actual.err, expected.err);
        EXPECT_EQ(actual.out, expected.out);
        EXPECT_EQ(read("prog.sol"), expectedSol);
    }
    // The program stops with message and leaves the solution file as it was.
    void expectStop(const std::string& opt, const std::string& message)
    {
        write("prog.opt", opt);
        write("prog.sol", BEST);
        const ToolRun actual = run();
        EXPECT_EQ(actual.status, 1);
        EXPECT_EQ(actual.err, "\n*** FAIL: " + message + "\n");
        EXPECT_EQ(read("prog.sol"), BEST);
    }
};

TEST_F(LongTokens, InTheProgramTheyReadAsTheirValueOrStopWithTheMessage)
{
    const struct {
        const char* kind;
        std::string lx1, rx1; // the long spelling
        std::string shortLx1, shortRx1;
    } values[] = {
        {"dots", std::string(LENGTH - 1, '.') + "5", "5", "0", "5"},
        {"commas", "1" + std::string(LENGTH - 2, ',') + "5", "5", "1", "5"},
        {"colons before a fraction", std::string(LENGTH - 3, ':') + "1/2", "5", "1/2", "5"},
        {"zeroes", std::string(LENGTH, '0'), "5", "0", "5"},
        {"digits", "0", std::string(LENGTH, '9'), "0", "99999"},
        {"signs", std::string(LENGTH - 1, '-') + "0", "5", "0", "5"},
        {"decimal", "0.5" + std::string(LENGTH - 3, '0'), "5", "1/2", "5"},
        {"mixture", repeated("1.2/3:4-5,", LENGTH), "5", "1", "5"},
    };
    for (const auto& c : values) {
        SCOPED_TRACE(c.kind);
        expectSameRunAs(program(c.lx1, c.rx1), BEST, program(c.shortLx1, c.shortRx1), BEST);
    }
    const struct {
        const char* kind;
        std::string lx1;
        const char* message;
    } stops[] = {
        {"colon pairs", repeated(":1", LENGTH), "QQ: malformed number2"},
        {"slashes", std::string(LENGTH - 1, '/') + "5", "QQ: parse error1"},
        {"exponent letters", "1" + std::string(LENGTH - 1, 'e'), "QQ: parse error1"},
        {"dots without digits", std::string(LENGTH, '.'), "QQ: parse error1"},
    };
    for (const auto& c : stops) {
        SCOPED_TRACE(c.kind);
        expectStop(program(c.lx1, "5"), c.message);
    }
}

// A record whose x holds such a token is unusable and goes; one that spells 3 at length is the
// best record again, a duplicate.
TEST_F(LongTokens, InASolutionRecordTheyLeaveTheRecordOrItsValue)
{
    const std::string tokens[] = {
        std::string(LENGTH - 1, '.') + "5",  repeated(":1", LENGTH),
        std::string(LENGTH - 1, '/') + "5",  std::string(LENGTH - 1, '-') + "3",
        "1" + std::string(LENGTH - 1, 'e'),  "3e" + std::string(LENGTH - 2, '9'),
        repeated("1.2/3:4-5,", LENGTH),      std::string(LENGTH - 1, '0') + "3",
        "3e" + std::string(LENGTH - 2, '0'), "3." + std::string(LENGTH - 2, '0'),
    };
    const std::string example = program("0", "5");
    for (const std::string& token : tokens) {
        SCOPED_TRACE(token.substr(0, 12));
        expectSameRunAs(example,
                        BEST + "[ " + token + " 0 3 ] | 9 | [ 9 ] | 0 | 12 | --beta=20 --sol=1 | 2.2.3\n",
                        example, BEST);
    }
}

} // namespace
} // namespace latopt::testing_tool
