#include "server/tavlo_module.h"

#include "module/automation.h"
#include "module/error.h"
#include "module/module_lock.h"
#include "server/registrar.h"
#include "server/type_library_registration.h"

#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

constexpr wchar_t appId[] = L"{586812E9-A4CD-4CC7-BCB4-FB26B4A11230}";
constexpr UINT appIdScript = 101;

std::optional<CTavloModule> instance;

constinit RegistrationHooks performanceHooks;

/// Registration must not depend on the user's locale.
class SystemThreadLocale
{
public:
    SystemThreadLocale() noexcept : previous_(GetThreadLocale()) { SetThreadLocale(LOCALE_SYSTEM_DEFAULT); }
    ~SystemThreadLocale() { SetThreadLocale(previous_); }
    SystemThreadLocale(const SystemThreadLocale&) = delete;
    SystemThreadLocale& operator=(const SystemThreadLocale&) = delete;

private:
    LCID previous_;
};

} // namespace

CTavloModule* CTavloModule::Instance() noexcept
{
    return instance ? &*instance : nullptr;
}

void CTavloModule::Initialise()
{
    instance.emplace();
}

void CTavloModule::Terminate() noexcept
{
    ReleaseTypeInfos();
    for (ClassEntry& entry : ClassTable())
        entry.factory = nullptr;
    instance.reset();
}

RegistrationHooks CTavloModule::SetPerformanceHooks(RegistrationHooks hooks) noexcept
{
    return std::exchange(performanceHooks, hooks);
}

HRESULT CTavloModule::GetClassObject(REFCLSID clsid, REFIID iid, void** result) noexcept
{
    return Guarded([&]() -> HRESULT {
        for (ClassEntry& entry : ClassTable()) {
            if (IsEqualCLSID(*entry.clsid, clsid))
                return FactoryOf(entry)->QueryInterface(iid, result);
        }
        return CLASS_E_CLASSNOTAVAILABLE;
    });
}

ClassFactory* CTavloModule::FactoryOf(ClassEntry& entry)
{
    if (ClassFactory* cached = entry.factory)
        return cached;
    const std::lock_guard lock(lock_);
    if (ClassFactory* cached = entry.factory)
        return cached;
    factories_.push_back(std::make_unique<ClassFactory>(entry.create));
    entry.factory = factories_.back().get();
    return entry.factory;
}

void CTavloModule::RegisterServer()
{
    const SystemThreadLocale locale;
    const std::wstring module = ThisModulePath();
    Registrar registrar;
    registrar.AddReplacement(L"MODULE", QuotedForScript(module));
    registrar.AddReplacement(L"APPID", appId);
    registrar.Register(module, appIdScript);
    for (const ClassEntry& entry : ClassTable())
        registrar.Register(module, entry.script);
    RegisterTypeLibrary(module);
    if (performanceHooks.onRegister != nullptr)
        CheckHResult(performanceHooks.onRegister());
}

void CTavloModule::UnregisterServer()
{
    const SystemThreadLocale locale;
    if (performanceHooks.onUnregister != nullptr)
        CheckHResult(performanceHooks.onUnregister());
    const std::wstring module = ThisModulePath();
    Registrar registrar;
    registrar.AddReplacement(L"MODULE", QuotedForScript(module));
    registrar.AddReplacement(L"APPID", appId);
    for (const ClassEntry& entry : ClassTable())
        registrar.Unregister(module, entry.script);
    UnregisterTypeLibrary(module);
    registrar.Unregister(module, appIdScript);
}

} // namespace Mardu::Sentel::Tavlo
