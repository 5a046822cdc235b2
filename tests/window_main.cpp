// The program of the tests that run the plug-in's windows in the stand-in editor.
#include "tests/support/temp_repository.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>
#include <objbase.h>

int main(int argc, char** argv)
{
    // A crash ends the program at once instead of waiting for someone to close a box.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetConsoleOutputCP(CP_UTF8);
    const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    testing::InitGoogleTest(&argc, argv);
    int result = 0;
    {
        const support::GitIsolation isolation;
        result = RUN_ALL_TESTS();
    }
    if (SUCCEEDED(com))
        CoUninitialize();
    return result;
}
