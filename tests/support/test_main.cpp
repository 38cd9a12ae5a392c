// Entry point of every test program. The module's resources are linked into the test program
// itself, so the routines under test load them from the program's own handle.
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
