#include "program/vorm.h"

#include "arith/qq.h"
#include "program/program_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

using testing_support::describe;

std::string optPath(const std::string& name)
{
    return std::string(LATOPT_TEST_DATA) + "/opt/" + name;
}

// The exact standard error of a fatal stop, as an anchored extended regular expression.
std::string failRegex(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return "^\n\\*\\*\\* FAIL: " + escaped + "\n$";
}

Vorm<QQ> read(const std::string& name)
{
    Vorm<QQ> program;
    program.optFile = optPath(name);
    program.solFile = "kept.sol";
    program.readOptFile();
    return program;
}

// Every check of the reader, each from a file that is valid but for one fault: the files
// tests/data/opt/fault_*.opt (and order_*.opt, two faults of which the earlier check wins) begin
// with the line "// FAIL: <text>", the exact text of the stop they must cause.

std::vector<std::string> filesOf(std::initializer_list<const char*> prefixes)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(optPath("")))
        for (const char* prefix : prefixes)
            if (entry.path().filename().string().rfind(prefix, 0) == 0)
                names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string expectedStop(const std::string& name)
{
    std::ifstream file(optPath(name));
    std::string line;
    std::getline(file, line);
    return line.rfind("// FAIL: ", 0) == 0 ? line.substr(9) : "(no expected text in " + name + ")";
}

class OptReaderDeathTest : public testing::TestWithParam<std::string> {};

TEST_P(OptReaderDeathTest, StopsWithTheTextOfTheFirstFailingCheck)
{
    EXPECT_EXIT(read(GetParam()), testing::ExitedWithCode(1), failRegex(expectedStop(GetParam())));
}

std::string stem(const testing::TestParamInfo<std::string>& info)
{
    return info.param.substr(0, info.param.size() - 4);
}

INSTANTIATE_TEST_SUITE_P(Files, OptReaderDeathTest, testing::ValuesIn(filesOf({"fault_", "order_"})), stem);

TEST(OptReaderFaultFiles, CoverEveryReachableCheck)
{
    // 18 texts: all checks but the column count of At, which n is taken from whenever At has rows.
    std::set<std::string> texts;
    for (const std::string& name : filesOf({"fault_"}))
        texts.insert(expectedStop(name));
    EXPECT_EQ(texts.size(), 18u);
}

TEST(OptReaderFileDeathTest, MissingFileStopsWithItsName)
{
    EXPECT_EXIT(read("no_such_file.opt"), testing::ExitedWithCode(1),
                failRegex("Could not read opt file: " + optPath("no_such_file.opt")));
}

// Valid files: the example of the format, known target values, no targets, comments everywhere.
// <name>.expected holds the whole program as read.

TEST(OptReaderValidFiles, ReadAsExpected)
{
    for (const std::string name : {"example", "known_targets", "no_targets", "comments"}) {
        SCOPED_TRACE(name);
        Vorm<QQ> program = read(name + ".opt");
        EXPECT_EQ(program.optFile, optPath(name + ".opt"));
        program.optFile.clear();
        std::ifstream file(optPath(name + ".expected"));
        std::stringstream expected;
        expected << file.rdbuf();
        EXPECT_EQ(describe(program) + "\n", expected.str());
    }
}

TEST(OptReaderValidFiles, ReadingAgainReplacesEverythingButTheFileNames)
{
    Vorm<QQ> program = read("known_targets.opt");
    program.constantVariables(4) = QQ(9);
    program.stars.setDimension(2);
    program.slackified = true;
    program.ltu = QQ(-3);
    program.optFile = optPath("example.opt");
    program.readOptFile();
    EXPECT_EQ(describe(program), describe(read("example.opt")));
}

} // namespace
} // namespace latopt
