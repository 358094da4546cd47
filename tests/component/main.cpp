#include "tests/component/component_test.h"

#include <cstdio>

std::wstring TakeErrorDescription()
{
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK)
        return {};
    BSTR description = nullptr;
    info->GetDescription(&description);
    const std::wstring text(description, SysStringLen(description));
    SysFreeString(description);
    return text;
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const int result = RUN_ALL_TESTS();
    // A worker of the last test's image may still be on its way out of the DLL, and
    // tearing down the process around it is not what is tested here. Nor is leaving the
    // apartment while a call of another process ends, for which Wine can wait for ever.
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(result));
    return result;
}
