#include "lattice/lattice.h"

#include "arith/qq.h"
#include "os/signal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace latopt {
namespace {

namespace fs = std::filesystem;

// The directory of a test's files. A death test's child runs the test again from its start: it
// finds the parent's directory in the environment, so that both look at the same files.
constexpr const char* DIRECTORY_VARIABLE = "LATOPT_SOL_FILE_TEST_DIR";

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

class SolFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (const char* inherited = std::getenv(DIRECTORY_VARIABLE)) {
            directory = inherited;
            child = true;
        } else {
            std::string pattern = ::testing::TempDir() + "latopt_sol_XXXXXX";
            ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
            directory = pattern;
            ::setenv(DIRECTORY_VARIABLE, directory.c_str(), 1);
        }
        path = directory + "/prob.sol";
        // x1 + x2 + x3 = 6, 1 <= x1 - x2 <= 4, 0 <= x <= (5, 5, 3), minimise 2 x1 + 3 x2 + x3.
        Vorm<QQ> program;
        std::istringstream("[ -inf ] [ [ 2 3 1 ] ] [ [ 1 1 1 ] ] [ 6 ] [ [ 1 -1 0 ] ] [ 1 ] [ 4 ] [ 0 0 0 ] "
                           "[ 0 0 0 ] [ 5 5 3 ]") >>
            program;
        lattice.Vorm<long double>::_assign(program);
        lattice.setFileNames(path);
    }
    void TearDown() override
    {
        Lattice<long double, long double>::solWriteProbe = nullptr;
        if (child) return;
        ::unsetenv(DIRECTORY_VARIABLE);
        fs::remove_all(directory);
    }

    // Files other than prob.sol: what a write may have left behind.
    long strayFiles() const
    {
        long count = 0;
        for (const auto& entry : fs::directory_iterator(directory))
            count += entry.path().filename() != "prob.sol";
        return count;
    }

    void addStar(const char* x, long double targetNorm, long seconds, const char* params,
                 const char* version = "")
    {
        lattice.stars.setDimension(lattice.stars.dimension() + 1);
        lattice.stars[lattice.stars.dimension()] =
            Star<long double>(Vector<long double>(x), Vector<long double>("[ 9 ]"), std::move(targetNorm),
                              0.5L, seconds, params, version);
    }

    std::string directory;
    std::string path;
    bool child = false;
    Lattice<long double, long double> lattice;
};

using SolFileDeathTest = SolFileTest;

TEST_F(SolFileTest, MissingEmptyOrRecordlessFileGivesNothing)
{
    addStar("[ 3 0 3 ]", 9, 12, "p");
    EXPECT_FALSE(lattice.readStarsFromSolFile(false));
    for (const char* text : {"", "// nothing yet\n\n  /* still\n nothing */\n\t\n",
                             "[ ]\n[ ] | 1 | [ 1 ] | 0 | 3 | q\n", "[ 3 x 3 ]\n// only that\n"}) {
        writeFile(path, text);
        EXPECT_FALSE(lattice.readStarsFromSolFile(false));
        EXPECT_FALSE(lattice.readStarsFromSolFile(true));
    }
    ASSERT_EQ(lattice.stars.dimension(), 1);
}

TEST_F(SolFileTest, ShortRecordsAreCompletedAndReuseTheRecordObject)
{
    writeFile(path, "[ 3 0 3 ]\n"
                    "[ 3 0 3 ] | 1 | [ 1 ] | 0 | 12 | --beta=20 --sol=1 | 2.2.3\n"
                    "// a comment between records\n"
                    "[ 4 1 1 ]\n"
                    "[ 2 0 4 ] | 1 | [ 5 ] | 5 | 7 | p\n"
                    "[ 9 9 9 ]\n");
    addStar("[ 1 1 1 ]", 0, 1, "already there");
    ASSERT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), 6);
    const auto& stars = lattice.stars;
    for (long i = 1; i <= 6; ++i)
        EXPECT_EQ(stars[i].isNew, i == 1);
    // The first short record has no time; its figures come from the program.
    EXPECT_TRUE(stars[2].secondsUntilDiscovered == -1 && stars[2].targetNorm == 9.0L);
    EXPECT_TRUE(stars[2].targetValues == Vector<long double>("[ 9 ]"));
    // A full record is taken as it stands, also one that breaks the bounds: checkStars decides.
    EXPECT_TRUE(stars[3].targetNorm == 1.0L && stars[5].targetNorm == 1.0L);
    // A short record after a full one keeps its time, and loses params and version.
    EXPECT_TRUE(stars[4].secondsUntilDiscovered == 12 && stars[4].targetNorm == 12.0L);
    EXPECT_EQ(stars[4].params + stars[4].version, "");
    // A short record that fails its check is taken with what the object held.
    EXPECT_EQ(stars[6].secondsUntilDiscovered, 7);
    EXPECT_EQ(stars[6].targetNorm + stars[6].slackNorm, 6.0L);

    // Without targets a short record keeps the figures of the record before it.
    lattice.resetTargets();
    lattice.stars.setDimension(0);
    writeFile(path, "[ 3 0 3 ] | 9 | [ 8 ] | 1 | 12 | p\n[ 4 1 1 ]\n");
    ASSERT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(stars.dimension(), 2);
    EXPECT_TRUE(stars[2] == Vector<long double>("[ 4 1 1 ]") &&
                stars[2].targetValues == Vector<long double>("[ 8 ]"));
    EXPECT_EQ(stars[2].targetNorm * 100 + stars[2].slackNorm * 10, 910.0L);
}

// Many records after the ones already held: every record arrives once, in the order of the file,
// however often the room grows on the way; what was held stays in front.
TEST_F(SolFileTest, ManyRecordsAreAppendedInTheOrderOfTheFile)
{
    addStar("[ 3 0 3 ]", 9, 12, "held");
    std::string text;
    constexpr long COUNT = 1000;
    for (long i = 1; i <= COUNT; ++i)
        text += "[ " + std::to_string(i) + " 0 0 ] | 1 | [ 1 ] | 0 | " + std::to_string(i) + " | p" +
                std::to_string(i) + "\n";
    writeFile(path, text);
    EXPECT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), COUNT + 1);
    EXPECT_EQ(lattice.stars[1].params, "held");
    for (long i = 1; i <= COUNT; ++i) {
        const Star<long double>& star = lattice.stars[i + 1];
        ASSERT_EQ(star.dimension(), 3);
        EXPECT_TRUE(star[1] == i && star.secondsUntilDiscovered == i && !star.isNew) << i;
        EXPECT_EQ(star.params, "p" + std::to_string(i));
    }
}

TEST_F(SolFileTest, UnusableRecordIsDroppedAndReadingGoesOn)
{
    writeFile(path, "[ 3 x 3 ] | 9 | [ 9 ] | 0 | 12 | p\n"
                    "[ 4 1 1 ] | 12 | [ 12 ] | 0 | 5 | q\n"
                    "[ 1 2 | 4 | [ 4 ] | 0 | 1 | r\n"
                    "[ 3 0 3 ] | 9 | [ 9 ] | 0 | seven | s\n"
                    "[ 2 1 3 ] | 9 | [ 9 ] | 0 | 3 | t\n");
    EXPECT_TRUE(lattice.readStarsFromSolFile(true));
    EXPECT_EQ(lattice.stars.dimension(), 0);
    ASSERT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), 2);
    EXPECT_EQ(lattice.stars[1].params + lattice.stars[2].params, "qt");
}

TEST_F(SolFileTest, WriterGivesOneLinePerRecordAndKeepsModeAndLinks)
{
    writeFile(path, "old\n");
    ::chmod(path.c_str(), 0640);
    addStar("[ 3 0 3 ]", 9, 12, "--beta=20 --sol=1", "2.2.3");
    addStar("[ 2.5 0.125 -1 ]", 1.0L / 3, -1, "--beta=30");
    addStar("[ 1 1 1 ]", 7, 3, "");
    lattice.pendingSolutionWrite = true;
    lattice.writeSolFile(true);
    // Norms in the line's default format of six digits, x in full; empty params keep their " | ".
    EXPECT_EQ(readFile(path), "[ 3 0 3 ] | 9 | [ 9 ] | 0.5 | 12 | --beta=20 --sol=1 | 2.2.3\n"
                              "[ 2.5 0.125 -1 ] | 0.333333 | [ 9 ] | 0.5 | -1 | --beta=30\n"
                              "[ 1 1 1 ] | 7 | [ 9 ] | 0.5 | 3 | \n");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
    EXPECT_EQ(strayFiles(), 0);
    // What is read back is what was written, but for the rounded norm and the version, which a
    // line without one takes from the line before.
    Lattice<long double, long double> reader;
    reader.setFileNames(path);
    ASSERT_TRUE(reader.readStarsFromSolFile(false));
    ASSERT_EQ(reader.stars.dimension(), 3);
    EXPECT_TRUE(reader.stars[2] == lattice.stars[2]);
    EXPECT_EQ(reader.stars[2].targetNorm, 0.333333L);
    EXPECT_EQ(reader.stars[2].params + reader.stars[2].version, "--beta=302.2.3");

    // A link stays a link; the file it names gets the records.
    const std::string real = directory + "/real.sol";
    fs::rename(path, real);
    fs::create_symlink(real, path);
    lattice.stars.setDimension(1);
    lattice.writeSolFile(true);
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ(readFile(real), "[ 3 0 3 ] | 9 | [ 9 ] | 0.5 | 12 | --beta=20 --sol=1 | 2.2.3\n");
}

TEST_F(SolFileTest, WriterRemovesEmptyFilesAndWritesOnlyWhenPendingAndPossible)
{
    writeFile(path, "old\n");
    lattice.writeSolFile(true);
    EXPECT_EQ(readFile(path), "old\n");
    lattice.pendingSolutionWrite = true;
    for (int pass = 0; pass < 2; ++pass) {
        lattice.writeSolFile(true);
        EXPECT_FALSE(fs::exists(path));
    }

    addStar("[ 3 0 3 ]", 9, 12, "p");
    lattice.solFile.clear();
    ::testing::internal::CaptureStderr();
    lattice.writeSolFile(true);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "\n*** solFile is not set - solution write not possible\n");

    // A place that can't be written: nothing happens, nothing is said, the handlers come back.
    Signal::Handler mine = [](int) {};
    std::signal(SIGINT, mine);
    lattice.setFileNames(directory + "/missing/prob.sol");
    ::testing::internal::CaptureStderr();
    lattice.writeSolFile(true);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(fs::exists(directory + "/missing"));
    EXPECT_EQ(std::signal(SIGINT, SIG_DFL), mine);
    EXPECT_EQ(std::signal(SIGTERM, SIG_DFL), SIG_DFL);
    EXPECT_EQ(strayFiles(), 0);
}

// A write that fails part-way (here at the file size limit, which holds for root too) leaves the
// old file whole and no temporary file behind. The child reports by its exit code.
TEST_F(SolFileDeathTest, FailedWriteLeavesTheOldFile)
{
    writeFile(path, "old\n");
    for (long i = 1; i <= 50; ++i)
        addStar("[ 3 0 3 ]", 9, i, "--beta=20 --sol=1", "2.2.3");
    lattice.pendingSolutionWrite = true;
    const auto writeWithinTheLimit = [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit;
        limit.rlim_cur = limit.rlim_max = 100;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        lattice.writeSolFile(true);
        std::_Exit(readFile(path) == "old\n" && strayFiles() == 0 ? 0 : 1);
    };
    EXPECT_EXIT(writeWithinTheLimit(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(readFile(path), "old\n");
}

// SIGINT or SIGTERM during the write is held back: the file is completed, then SIGTERM ends the
// process.
TEST_F(SolFileDeathTest, SignalDuringTheWriteEndsTheRunAfterTheFileIsComplete)
{
    for (long i = 1; i <= 3; ++i)
        addStar("[ 3 0 3 ]", 9, i, "p");
    lattice.pendingSolutionWrite = true;
    for (int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(Signal::toString(signal));
        writeFile(path, "old\n");
        const auto writeWithSignal = [&] {
            Lattice<long double, long double>::solWriteProbe =
                signal == SIGINT ? +[] { std::raise(SIGINT); } : +[] { std::raise(SIGTERM); };
            lattice.writeSolFile(true);
            std::_Exit(0);
        };
        EXPECT_EXIT(writeWithSignal(), ::testing::KilledBySignal(SIGTERM), "");
        EXPECT_EQ(readFile(path), "[ 3 0 3 ] | 9 | [ 9 ] | 0.5 | 1 | p\n"
                                  "[ 3 0 3 ] | 9 | [ 9 ] | 0.5 | 2 | p\n"
                                  "[ 3 0 3 ] | 9 | [ 9 ] | 0.5 | 3 | p\n");
    }
}

} // namespace
} // namespace latopt
