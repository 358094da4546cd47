// A program that needs the DLL to start, by the import library.
#include <windows.h>

#include <cstdio>

extern "C" DWORD __stdcall ClosePerfMon();

int main()
{
    const DWORD result = ClosePerfMon();
    std::printf("linked: %lu, %s\n", static_cast<unsigned long>(result),
                GetModuleHandleW(L"Tavlo.dll") != nullptr ? "loaded" : "not loaded");
    return 0;
}
