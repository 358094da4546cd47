#include "module/module_lock.h"

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

} // namespace Mardu
