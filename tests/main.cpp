// The test program of everything that needs no editor window.
#include "tests/support/temp_repository.h"

#include <gtest/gtest.h>
#include <windows.h>

int main(int argc, char** argv)
{
    // A crash ends the program at once instead of waiting for someone to close a box.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetConsoleOutputCP(CP_UTF8);
    testing::InitGoogleTest(&argc, argv);
    const support::GitIsolation isolation;
    return RUN_ALL_TESTS();
}
