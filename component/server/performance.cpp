// The DLL as a performance extension. It defines no performance object, so the table of
// objects has one empty slot and every operation finds nothing to do.
#include "server/tavlo_module.h"

#include <windows.h>

#include <algorithm>

using Mardu::Sentel::Tavlo::CTavloModule;

namespace {

struct PerformanceObject;

// The objects of all source files meet in this section at link time.
__attribute__((section(".perfobj"), used)) PerformanceObject* const objects[] = {nullptr};

bool HasObjects() noexcept
{
    return std::ranges::any_of(objects, [](const PerformanceObject* object) { return object != nullptr; });
}

/// Would write the counters of every object; there is none.
HRESULT Hook()
{
    return HasObjects() ? E_NOTIMPL : S_OK;
}

const bool hooksInstalled = (CTavloModule::SetPerformanceHooks({Hook, Hook}), true);

} // namespace

extern "C" {

DWORD WINAPI OpenPerfMon(LPWSTR)
{
    return ERROR_SUCCESS;
}

DWORD WINAPI CollectPerfMon(LPWSTR, LPVOID*, LPDWORD pBytes, LPDWORD)
{
    if (pBytes != nullptr)
        *pBytes = 0;
    return ERROR_SUCCESS;
}

DWORD WINAPI ClosePerfMon()
{
    return ERROR_SUCCESS;
}

} // extern "C"
