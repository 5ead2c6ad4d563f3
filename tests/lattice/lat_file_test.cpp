#include "lattice/lattice.h"

#include "arith/constant.h"
#include "os/signal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace latopt {
namespace {

namespace fs = std::filesystem;
using L = Lattice<long double, long double>;

// The directory of a test's files; a death test's child finds the parent's in the environment.
constexpr const char* DIRECTORY_VARIABLE = "LATOPT_LAT_FILE_TEST_DIR";

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A trimmed lattice whose members the test sets as the embedding would: basis, bounds, column
// factors and R, the unprepared program's bounds and target bounds; the run started 5000 s ago.
class LatFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (const char* inherited = std::getenv(DIRECTORY_VARIABLE)) {
            directory = inherited;
            child = true;
        } else {
            std::string pattern = ::testing::TempDir() + "latopt_lat_XXXXXX";
            ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
            directory = pattern;
            ::setenv(DIRECTORY_VARIABLE, directory.c_str(), 1);
        }
        lattice.setFileNames(directory + "/prob.sol");
        const Matrix<long double> basis("[ [ 1 0 2 ] [ 0 3 -2 ] ]");
        lattice.resetLattice(&basis, false);
        lattice.inhomogenousConstant = 2;
        lattice.l = Vector<long double>("[ -1 0 2 ]");
        lattice.r = Vector<long double>("[ 1 6 2 ]");
        lattice.c = Vector<long double>("[ 3 1 1 ]");
        lattice.R = 1.0L / 3;
        static_cast<Vector<long double>&>(lattice.trimming) = Vector<long double>("[ 2 -1 4 ]");
        lattice.trimming.translation = Vector<long double>("[ 5 7 0 ]");
        lattice.scaledInhomogenousConstant = 8;
        lattice.setTrimming(true, true);
        lattice.unprepared.lx = Vector<long double>("[ 0 -inf ]");
        lattice.unprepared.rx = Vector<long double>("[ 2.5 inf ]");
        lattice.unprepared.tu = 1;
        lattice.unprepared.ltu = -4;
        lattice.unprepared.rtu = 1e20L;
        savedStart = L::statistics.startTime;
        L::statistics.startTime = static_cast<long>(std::time(nullptr)) - 5000;
    }
    void TearDown() override
    {
        L::statistics.startTime = savedStart;
        L::latWriteProbe = nullptr;
        if (child) return;
        ::unsetenv(DIRECTORY_VARIABLE);
        fs::remove_all(directory);
    }

    // The whole file, written 5000 or 5001 seconds after the start; no "-0" from the factor -1.
    static std::string expected(long seconds)
    {
        return "\n// B -- l, r -- c, R -- lx, rx -- tu, lrtu\n"
               "[\n[ 1 0 2 ]\n[ 0 3 -2 ]\n]\n\n"
               "[ -1 0 2 ]\n[ 1 6 2 ]\n\n"
               "[ 3 1 1 ]\n0.33333333333333333\n\n"
               "[ 0 -inf ]\n[ 2.5 inf ]\n\n"
               "1\n(-4, 1e+20)\n\n" +
               std::to_string(seconds) + "\n";
    }
    static bool isSnapshot(const std::string& text)
    {
        return text == expected(5000) || text == expected(5001);
    }

    std::string directory;
    bool child = false;
    long savedStart = 0;
    L lattice;
};

using LatFileDeathTest = LatFileTest;

// The snapshot holds B without its trimming, each item on its line; an old file is replaced.
// Nothing is written unless a solution write is pending, nor without a file name, which is warned
// about.
TEST_F(LatFileTest, SnapshotOfTheUntrimmedLatticeWhileAWriteIsPending)
{
    ASSERT_FALSE(lattice.B == lattice.B_save);
    lattice.writeLatFile();
    EXPECT_FALSE(fs::exists(lattice.latFile));

    lattice.pendingSolutionWrite = true;
    std::ofstream(lattice.latFile) << "an older and much longer snapshot\n" << std::string(500, 'x');
    lattice.writeLatFile();
    EXPECT_TRUE(isSnapshot(readFile(lattice.latFile))) << readFile(lattice.latFile);
    EXPECT_EQ(std::distance(fs::directory_iterator(directory), fs::directory_iterator()), 1);

    const std::string path = lattice.latFile;
    fs::remove(path);
    lattice.latFile.clear();
    ::testing::internal::CaptureStderr();
    lattice.writeLatFile();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "\n*** latFile is not set - lattice write not possible\n");
    EXPECT_FALSE(fs::exists(path));
}

// SIGINT or SIGTERM during the write is held back: the file is completed, then SIGTERM ends the
// process.
TEST_F(LatFileDeathTest, SignalDuringTheWriteEndsTheRunAfterTheFileIsComplete)
{
    lattice.pendingSolutionWrite = true;
    for (int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(Signal::toString(signal));
        fs::remove(lattice.latFile);
        const auto writeWithSignal = [&] {
            L::latWriteProbe = signal == SIGINT ? +[] { std::raise(SIGINT); } : +[] { std::raise(SIGTERM); };
            lattice.writeLatFile();
            std::_Exit(0);
        };
        EXPECT_EXIT(writeWithSignal(), ::testing::KilledBySignal(SIGTERM), "");
        EXPECT_TRUE(isSnapshot(readFile(lattice.latFile)));
    }
}

} // namespace
} // namespace latopt
