#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // Death tests fork; "threadsafe" re-executes the binary, which stays correct with the
    // process-wide state (log depth, statics) that the library keeps.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
