#include "base/file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <utime.h>

namespace latopt {
namespace {

TEST(FileNames, SplitAtTheLastSlash)
{
    const char* path = "dir/sub/run.sol";
    EXPECT_EQ(File::baseName(path), path + 8);
    EXPECT_STREQ(File::baseName("a/b/"), "");
    EXPECT_STREQ(File::baseName("b"), "b");
    EXPECT_STREQ(File::baseName(""), "");
    EXPECT_EQ(File::dirName(path), "dir/sub/");
    EXPECT_EQ(File::dirName("a/b/"), "a/b/");
    EXPECT_EQ(File::dirName("b"), "");
    EXPECT_EQ(File::dirName("/b"), "/");
}

// A fresh directory with two files whose modification times are set apart.
class FileTimes : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/latopt_file_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory = pattern;
        older = directory + "/older.txt";
        newer = directory + "/newer.txt";
        missing = directory + "/missing.txt";
        std::ofstream(older) << "o\n";
        std::ofstream(newer) << "n\n";
        setTime(older, 1000000000);
        setTime(newer, 1000000100);
    }
    void TearDown() override
    {
        std::remove(older.c_str());
        std::remove(newer.c_str());
        rmdir(directory.c_str());
    }
    static void setTime(const std::string& path, long seconds)
    {
        struct utimbuf times;
        times.actime = times.modtime = seconds;
        ASSERT_EQ(utime(path.c_str(), &times), 0);
    }
    std::string directory, older, newer, missing;
};

// A missing file has time -1: older than any existing file, and not newer than another missing one.
TEST_F(FileTimes, ExistenceTimesAndTheNewerFile)
{
    EXPECT_TRUE(File::fileExists(older));
    EXPECT_FALSE(File::fileExists(missing));
    EXPECT_EQ(File::fileModficationTime(older), 1000000000);
    EXPECT_EQ(File::fileModficationTime(missing), -1);
    EXPECT_TRUE(File::firstFileIsNewer(newer, older));
    EXPECT_FALSE(File::firstFileIsNewer(older, newer));
    EXPECT_FALSE(File::firstFileIsNewer(older, older));
    EXPECT_TRUE(File::firstFileIsNewer(older, missing));
    EXPECT_FALSE(File::firstFileIsNewer(missing, older));
    EXPECT_FALSE(File::firstFileIsNewer(missing, missing));
}

TEST_F(FileTimes, UnreadableFileDoesNotExist)
{
    if (geteuid() == 0) GTEST_SKIP() << "root opens files without read permission";
    ASSERT_EQ(chmod(older.c_str(), 0), 0);
    EXPECT_FALSE(File::fileExists(older));
    EXPECT_EQ(File::fileModficationTime(older), -1);
}

} // namespace
} // namespace latopt
