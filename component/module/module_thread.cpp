#include "module/module_thread.h"

#include "module/error.h"
#include "module/module_lock.h"

#include <objbase.h>
#include <process.h>

#include <memory>

namespace Mardu {
namespace {

using Work = std::function<void()>;

/// Everything the thread does with objects, so that none is left when it exits.
void RunInMultithreadedApartment(std::unique_ptr<Work> work) noexcept
{
    const HRESULT joined = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    try {
        (*work)();
        work.reset();
    } catch (...) {
        // There is nobody to tell.
        work.reset();
    }
    if (SUCCEEDED(joined))
        CoUninitialize();
}

unsigned __stdcall Enter(void* argument)
{
    RunInMultithreadedApartment(std::unique_ptr<Work>(static_cast<Work*>(argument)));
    const HMODULE module = ThisModule();
    UnlockModule();
    FreeLibraryAndExitThread(module, 0);
}

/// A reference to the module that the new thread gives back.
class ModuleReference
{
public:
    ModuleReference()
    {
        if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Enter),
                               &module_) == FALSE)
            ThrowLastError("GetModuleHandleEx failed");
        LockModule();
    }

    ~ModuleReference()
    {
        if (module_ == nullptr)
            return;
        UnlockModule();
        FreeLibrary(module_);
    }

    ModuleReference(const ModuleReference&) = delete;
    ModuleReference& operator=(const ModuleReference&) = delete;

    void GoesToThread() noexcept { module_ = nullptr; }

private:
    HMODULE module_ = nullptr;
};

} // namespace

UniqueHandle StartModuleThread(std::function<void()> work)
{
    auto argument = std::make_unique<Work>(std::move(work));
    ModuleReference reference;
    UniqueHandle thread(
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Enter, argument.get(), 0, nullptr)));
    if (thread == nullptr)
        ThrowLastError("Starting a thread failed");
    static_cast<void>(argument.release());
    reference.GoesToThread();
    return thread;
}

} // namespace Mardu
