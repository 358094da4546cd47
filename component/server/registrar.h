#pragma once

#include "module/com_ptr.h"

#include <windows.h>

#include <string>

namespace Mardu {

struct IRegistrar;

/// The platform's registrar, which runs registry scripts kept as resources of type
/// REGISTRY. Every method throws when the registrar fails.
class Registrar
{
public:
    Registrar();
    ~Registrar();
    Registrar(const Registrar&) = delete;
    Registrar& operator=(const Registrar&) = delete;

    /// %name% in a script stands for value.
    void AddReplacement(const wchar_t* name, const std::wstring& value);

    void Register(const std::wstring& module, UINT script);
    void Unregister(const std::wstring& module, UINT script);

private:
    ComPtr<IRegistrar> registrar_;
};

/// A value as it stands inside single quotes in a registry script.
std::wstring QuotedForScript(const std::wstring& value);

} // namespace Mardu
