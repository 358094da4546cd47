#include "server/registrar.h"

#include "module/error.h"

#include <objbase.h>

namespace Mardu {

/// The interface of the platform's registrar, in slot order.
struct IRegistrar : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR key, LPCOLESTR item) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegisterSz(LPCOLESTR file, LPCOLESTR id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregisterSz(LPCOLESTR file, LPCOLESTR id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileRegister(LPCOLESTR file) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileUnregister(LPCOLESTR file) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringRegister(LPCOLESTR data) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringUnregister(LPCOLESTR data) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegister(LPCOLESTR file, UINT id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregister(LPCOLESTR file, UINT id, LPCOLESTR type) = 0;

protected:
    ~IRegistrar() = default;
};

namespace {

constexpr CLSID registrarClass = {
    0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
constexpr IID registrarInterface = {
    0x44EC053B, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
constexpr wchar_t scriptType[] = L"REGISTRY";

} // namespace

Registrar::Registrar()
{
    CheckHResult(CoCreateInstance(registrarClass, nullptr, CLSCTX_INPROC_SERVER, registrarInterface,
                                  reinterpret_cast<void**>(registrar_.GetAddressOf())));
}

Registrar::~Registrar() = default;

void Registrar::AddReplacement(const wchar_t* name, const std::wstring& value)
{
    CheckHResult(registrar_->AddReplacement(name, value.c_str()));
}

void Registrar::Register(const std::wstring& module, UINT script)
{
    CheckHResult(registrar_->ResourceRegister(module.c_str(), script, scriptType));
}

void Registrar::Unregister(const std::wstring& module, UINT script)
{
    CheckHResult(registrar_->ResourceUnregister(module.c_str(), script, scriptType));
}

std::wstring QuotedForScript(const std::wstring& value)
{
    std::wstring quoted;
    for (const wchar_t c : value)
        quoted.append(c == L'\'' ? 2 : 1, c);
    return quoted;
}

} // namespace Mardu
