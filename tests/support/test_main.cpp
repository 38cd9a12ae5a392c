// Entry point of every test program. The module's resources are linked into the test
// program itself, so the core routines load them from the program's own handle.
#include <gtest/gtest.h>

#include "module/module_state.h"

int main(int argc, char** argv)
{
    quillet::InitializeModule(GetModuleHandleW(nullptr));
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    quillet::TerminateModule(false);
    return result;
}
