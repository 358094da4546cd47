// The entry points of the DLL that the component runtime and regsvr32 call.
#include "module/automation.h"
#include "module/error.h"
#include "module/module_lock.h"
#include "server/tavlo_module.h"

#include <windows.h>

using Mardu::Sentel::Tavlo::CTavloModule;

extern "C" {

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds)
{
    if (reason == DLL_PROCESS_ATTACH)
        return SUCCEEDED(Mardu::Guarded([] { CTavloModule::Initialise(); }));
    if (reason == DLL_PROCESS_DETACH)
        processEnds == nullptr ? CTavloModule::Terminate() : Mardu::AbandonTypeInfos();
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    CTavloModule* module = CTavloModule::Instance();
    return module != nullptr ? module->GetClassObject(clsid, iid, result) : E_UNEXPECTED;
}

STDAPI DllCanUnloadNow()
{
    return Mardu::ModuleLockCount() == 0 ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer()
{
    CTavloModule* module = CTavloModule::Instance();
    return module != nullptr ? Mardu::Guarded([&] { module->RegisterServer(); }) : E_UNEXPECTED;
}

STDAPI DllUnregisterServer()
{
    CTavloModule* module = CTavloModule::Instance();
    return module != nullptr ? Mardu::Guarded([&] { module->UnregisterServer(); }) : E_UNEXPECTED;
}

} // extern "C"
