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

// The program of the tool's example: three variables, one minimised target, one equation, one
// inequation.
const char* const EXAMPLE_OPT = "[ -inf ] [ [ 2 3 1 ] ] [ [ 1 1 1 ] ] [ 6 ] [ [ 1 -1 0 ] ] [ 1 ] [ 4 ] "
                                "[ 0 0 0 ] [ 0 0 0 ] [ 5 5 3 ]";

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
        Vorm<QQ> program;
        std::istringstream opt(EXAMPLE_OPT);
        opt >> program;
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

    // The files of the directory other than prob.sol: what a write may have left behind.
    int strayFiles() const
    {
        int count = 0;
        for (const auto& entry : fs::directory_iterator(directory))
            if (entry.path().filename() != "prob.sol") ++count;
        return count;
    }

    void addStar(const char* x, long double targetNorm, long double slackNorm, long seconds,
                 const char* params, const char* version)
    {
        lattice.stars.setDimension(lattice.stars.dimension() + 1);
        lattice.stars[lattice.stars.dimension()] =
            Star<long double>(Vector<long double>(x), Vector<long double>("[ 9 ]"), std::move(targetNorm),
                              std::move(slackNorm), seconds, params, version);
    }

    std::string directory;
    std::string path;
    bool child = false;
    Lattice<long double, long double> lattice;
};

using SolFileDeathTest = SolFileTest;

TEST_F(SolFileTest, MissingEmptyOrCommentOnlyFileGivesNoRecord)
{
    addStar("[ 3 0 3 ]", 9, 0, 12, "p", "");
    EXPECT_FALSE(lattice.readStarsFromSolFile(false));
    writeFile(path, "");
    EXPECT_FALSE(lattice.readStarsFromSolFile(false));
    writeFile(path, "// nothing yet\n\n  /* still\n nothing */\n\t\n");
    EXPECT_FALSE(lattice.readStarsFromSolFile(false));
    writeFile(path, "[ ]\n[ ] | 1 | [ 1 ] | 0 | 3 | p\n");
    EXPECT_FALSE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), 1);
    EXPECT_EQ(lattice.stars[1].params, "p");
}

TEST_F(SolFileTest, ShortRecordsAreCompletedAndReuseTheObject)
{
    writeFile(path, "[ 3 0 3 ]\n"
                    "[ 3 0 3 ] | 1 | [ 1 ] | 0 | 12 | --beta=20 --sol=1 | 2.2.3\n"
                    "// a comment between records\n"
                    "[ 4 1 1 ]\n"
                    "[ 2 0 4 ] | 1 | [ 5 ] | 5 | 7 | p\n"
                    "[ 9 9 9 ]\n");
    addStar("[ 1 1 1 ]", 0, 0, 1, "already there", "");
    ASSERT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), 6);
    EXPECT_EQ(lattice.stars[1].params, "already there");
    // The first short record has no time; its figures come from the program.
    const Star<long double>& first = lattice.stars[2];
    EXPECT_EQ(first.secondsUntilDiscovered, -1);
    EXPECT_EQ(first.targetNorm, 9.0L);
    EXPECT_TRUE(first.targetValues == Vector<long double>("[ 9 ]"));
    EXPECT_EQ(first.params, "");
    // A full record is taken as it stands; the check comes later.
    EXPECT_EQ(lattice.stars[3].targetNorm, 1.0L);
    EXPECT_EQ(lattice.stars[3].version, "2.2.3");
    // A short record after a full one keeps its time, and loses params and version.
    const Star<long double>& second = lattice.stars[4];
    EXPECT_EQ(second.secondsUntilDiscovered, 12);
    EXPECT_EQ(second.targetNorm, 12.0L);
    EXPECT_EQ(second.params, "");
    EXPECT_EQ(second.version, "");
    // A full record that breaks the bounds is taken too.
    EXPECT_EQ(lattice.stars[5].targetNorm, 1.0L);
    // A short record that fails its check is taken with the figures the object held.
    const Star<long double>& failing = lattice.stars[6];
    EXPECT_EQ(failing.secondsUntilDiscovered, 7);
    EXPECT_EQ(failing.targetNorm, 1.0L);
    EXPECT_EQ(failing.slackNorm, 5.0L);
    for (long i = 2; i <= 6; ++i)
        EXPECT_FALSE(lattice.stars[i].isNew);
    EXPECT_TRUE(lattice.stars[1].isNew);
}

TEST_F(SolFileTest, WithoutTargetsAShortRecordKeepsThePreviousFigures)
{
    lattice.resetTargets();
    writeFile(path, "[ 3 0 3 ] | 9 | [ 9 ] | 1 | 12 | p\n[ 4 1 1 ]\n");
    ASSERT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), 2);
    const Star<long double>& second = lattice.stars[2];
    EXPECT_TRUE(second == Vector<long double>("[ 4 1 1 ]"));
    EXPECT_TRUE(second.targetValues == Vector<long double>("[ 9 ]"));
    EXPECT_EQ(second.targetNorm, 9.0L);
    EXPECT_EQ(second.slackNorm, 1.0L);
    EXPECT_EQ(second.secondsUntilDiscovered, 12);
}

TEST_F(SolFileTest, UnusableRecordIsDroppedAndReadingGoesOn)
{
    writeFile(path, "[ 3 x 3 ] | 9 | [ 9 ] | 0 | 12 | p\n"
                    "[ 4 1 1 ] | 12 | [ 12 ] | 0 | 5 | q\n"
                    "[ 1 2 | 4 | [ 4 ] | 0 | 1 | r\n"
                    "[ 3 0 3 ] | 9 | [ 9 ] | 0 | seven | s\n"
                    "[ 2 1 3 ] | 9 | [ 9 ] | 0 | 3 | t\n");
    ASSERT_TRUE(lattice.readStarsFromSolFile(false));
    ASSERT_EQ(lattice.stars.dimension(), 2);
    EXPECT_EQ(lattice.stars[1].params, "q");
    EXPECT_EQ(lattice.stars[2].params, "t");
}

TEST_F(SolFileTest, StopAtFirstTakesNothing)
{
    writeFile(path, "[ 3 x 3 ]\n[ 4 1 1 ] | 12 | [ 12 ] | 0 | 5 | q\n");
    EXPECT_TRUE(lattice.readStarsFromSolFile(true));
    EXPECT_EQ(lattice.stars.dimension(), 0);
    writeFile(path, "[ 3 x 3 ]\n// only that\n");
    EXPECT_FALSE(lattice.readStarsFromSolFile(true));
}

TEST_F(SolFileTest, WriterGivesOneLinePerRecordAndReadsBack)
{
    addStar("[ 3 0 3 ]", 9, 0, 12, "--beta=20 --sol=1", "2.2.3");
    addStar("[ 2.5 0.125 -1 ]", 1.0L / 3, 0.5, -1, "--beta=30", "");
    addStar("[ 1 1 1 ]", 7, 0, 3, "", "");
    lattice.pendingSolutionWrite = true;
    lattice.writeSolFile(true);
    // Norms in the line's default format, six digits; x in full. An empty params column still
    // has its " | ".
    EXPECT_EQ(readFile(path), "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 12 | --beta=20 --sol=1 | 2.2.3\n"
                              "[ 2.5 0.125 -1 ] | 0.333333 | [ 9 ] | 0.5 | -1 | --beta=30\n"
                              "[ 1 1 1 ] | 7 | [ 9 ] | 0 | 3 | \n");
    EXPECT_EQ(strayFiles(), 0);
    // What was written is what is read, but for the rounded norm, and the version: a line
    // without one keeps that of the line before, as the reader reuses one record.
    Lattice<long double, long double> reader;
    reader.setFileNames(path);
    ASSERT_TRUE(reader.readStarsFromSolFile(false));
    ASSERT_EQ(reader.stars.dimension(), 3);
    for (long i = 1; i <= 2; ++i) {
        EXPECT_TRUE(reader.stars[i] == lattice.stars[i]);
        EXPECT_EQ(reader.stars[i].params, lattice.stars[i].params);
        EXPECT_EQ(reader.stars[i].version, "2.2.3");
        EXPECT_EQ(reader.stars[i].secondsUntilDiscovered, lattice.stars[i].secondsUntilDiscovered);
    }
    EXPECT_EQ(reader.stars[2].targetNorm, 0.333333L);
}

TEST_F(SolFileTest, WriterKeepsPermissionsAndLinks)
{
    writeFile(path, "old\n");
    ::chmod(path.c_str(), 0640);
    addStar("[ 3 0 3 ]", 9, 0, 12, "p", "");
    lattice.pendingSolutionWrite = true;
    lattice.writeSolFile(true);
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(readFile(path), "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 12 | p\n");

    // A link stays a link; the file it names gets the records.
    const std::string real = directory + "/real.sol";
    fs::rename(path, real);
    fs::create_symlink(real, path);
    lattice.stars[1].params = "linked";
    lattice.writeSolFile(true);
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ(readFile(real), "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 12 | linked\n");
}

TEST_F(SolFileTest, EmptyListRemovesTheFile)
{
    writeFile(path, "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 12 | p\n");
    lattice.pendingSolutionWrite = true;
    lattice.writeSolFile(true);
    EXPECT_FALSE(fs::exists(path));
    // Also when there is no file.
    lattice.writeSolFile(true);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(strayFiles(), 0);
}

TEST_F(SolFileTest, NothingIsWrittenUnlessPendingOrNamed)
{
    writeFile(path, "old\n");
    lattice.writeSolFile(true);
    EXPECT_EQ(readFile(path), "old\n");
    addStar("[ 3 0 3 ]", 9, 0, 12, "p", "");
    lattice.writeSolFile(true);
    EXPECT_EQ(readFile(path), "old\n");

    lattice.pendingSolutionWrite = true;
    lattice.solFile.clear();
    ::testing::internal::CaptureStderr();
    lattice.writeSolFile(true);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "\n*** solFile is not set - solution write not possible\n");
    EXPECT_EQ(readFile(path), "old\n");
}

TEST_F(SolFileTest, UnwritablePlaceIsSilentAndRestoresTheHandlers)
{
    Signal::Handler mine = [](int) {};
    std::signal(SIGINT, mine);
    addStar("[ 3 0 3 ]", 9, 0, 12, "p", "");
    lattice.pendingSolutionWrite = true;
    lattice.setFileNames(directory + "/missing/prob.sol");
    ::testing::internal::CaptureStderr();
    lattice.writeSolFile(true);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(fs::exists(directory + "/missing"));
    EXPECT_EQ(std::signal(SIGINT, SIG_DFL), mine);
    EXPECT_EQ(std::signal(SIGTERM, SIG_DFL), SIG_DFL);
    EXPECT_EQ(static_cast<long>(Signal::signalWhileBlocked), 0);
}

// A write that fails part-way (here: the file size limit, which holds for root too) leaves the
// old file whole and no temporary file behind. The child reports by its exit code.
TEST_F(SolFileDeathTest, FailedWriteLeavesTheOldFile)
{
    writeFile(path, "old\n");
    for (long i = 1; i <= 50; ++i)
        addStar("[ 3 0 3 ]", 9, 0, i, "--beta=20 --sol=1", "2.2.3");
    lattice.pendingSolutionWrite = true;
    const auto writeWithinTheLimit = [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit;
        limit.rlim_cur = 100;
        limit.rlim_max = 100;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        lattice.writeSolFile(true);
        std::_Exit(readFile(path) == "old\n" && strayFiles() == 0 ? 0 : 1);
    };
    EXPECT_EXIT(writeWithinTheLimit(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(readFile(path), "old\n");
}

// SIGINT or SIGTERM that arrives during the write is held back: the file is completed, and then
// SIGTERM ends the process.
TEST_F(SolFileDeathTest, SignalDuringTheWriteEndsTheRunAfterTheFileIsComplete)
{
    for (long i = 1; i <= 3; ++i)
        addStar("[ 3 0 3 ]", 9, 0, i, "p", "");
    const std::string expected = "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 1 | p\n"
                                 "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 2 | p\n"
                                 "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 3 | p\n";
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
        EXPECT_EQ(readFile(path), expected);
    }
}

} // namespace
} // namespace latopt
