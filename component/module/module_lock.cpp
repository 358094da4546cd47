#include "module/module_lock.h"

#include "module/error.h"

#include <array>
#include <atomic>

namespace Mardu {
namespace {

std::atomic<LONG> lockCount = 0;

} // namespace

void LockModule() noexcept
{
    ++lockCount;
}

void UnlockModule() noexcept
{
    --lockCount;
}

LONG ModuleLockCount() noexcept
{
    return lockCount;
}

HMODULE ThisModule() noexcept
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&lockCount), &module);
    return module;
}

std::wstring ThisModulePath()
{
    std::array<wchar_t, 32768> path;
    const DWORD length = GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length == path.size())
        ThrowLastError("The module's path is not known");
    return {path.data(), length};
}

} // namespace Mardu
