#pragma once

#include "module/class_factory.h"
#include "module/critical_section.h"

#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// One creatable class of the component.
struct ClassEntry
{
    const CLSID* clsid;
    UINT script; ///< the REGISTRY resource that registers it
    InstanceCreator create;
    std::atomic<ClassFactory*> factory = nullptr; ///< cached; owned by the module
};

/// The classes in the order in which they are registered and unregistered.
std::span<ClassEntry> ClassTable() noexcept;

/// A hook of (un)registration that has no object of its own; an HRESULT.
using RegistrationHook = HRESULT (*)();

struct RegistrationHooks
{
    RegistrationHook onRegister = nullptr;
    RegistrationHook onUnregister = nullptr;
};

/// The component as a server: its classes, their registration, its type library.
class CTavloModule
{
public:
    /// The module's only instance; null before the DLL is initialised.
    static CTavloModule* Instance() noexcept;
    static void Initialise();
    static void Terminate() noexcept;

    /// Installed once, by a static initialiser, before any registration. Those before.
    static RegistrationHooks SetPerformanceHooks(RegistrationHooks hooks) noexcept;

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** result) noexcept;

    /// Writes the registry entries of the component, its classes and its type library.
    /// Stops at the first failing step and leaves the earlier ones; throws its error.
    void RegisterServer();

    /// Removes what RegisterServer wrote, in the same way.
    void UnregisterServer();

private:
    ClassFactory* FactoryOf(ClassEntry& entry);

    CriticalSection lock_;
    std::vector<std::unique_ptr<ClassFactory>> factories_;
};

} // namespace Mardu::Sentel::Tavlo
