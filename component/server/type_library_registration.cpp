#include "server/type_library_registration.h"

#include "module/com_ptr.h"
#include "module/error.h"

#include <oleauto.h>
#include <windows.h>
#include <winternl.h>

#include <array>
#include <cwchar>
#include <memory>
#include <string_view>
#include <type_traits>

namespace Mardu {
namespace {

using RegisterTypeLibFunction = decltype(&RegisterTypeLib);
using UnRegisterTypeLibFunction = decltype(&UnRegisterTypeLib);

template <class Function>
Function FunctionOf(const wchar_t* library, const char* name)
{
    const HMODULE module = GetModuleHandleW(library);
    const auto found = module != nullptr ? GetProcAddress(module, name) : nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

struct KeyCloser
{
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};

/// The kernel's name of the key that HKEY_CLASSES_ROOT stands for; empty when unknown.
std::wstring ClassesRootName()
{
    // Under an empty name the predefined handle itself may come back, which the kernel
    // does not know; a lone backslash opens the key anew.
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, L"\\", 0, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS &&
        RegOpenKeyExW(HKEY_CLASSES_ROOT, nullptr, 0, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS)
        return {};
    const std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser> key(opened);

    using QueryKey = LONG(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);
    constexpr int keyNameInformation = 3;
    const auto queryKey = FunctionOf<QueryKey>(L"ntdll.dll", "NtQueryKey");
    struct
    {
        ULONG bytes;
        std::array<wchar_t, 1024> name;
    } information = {};
    ULONG length = 0;
    if (queryKey == nullptr ||
        queryKey(key.get(), keyNameInformation, &information, sizeof(information), &length) < 0)
        return {};
    return {information.name.data(), information.bytes / sizeof(wchar_t)};
}

ComPtr<ITypeLib> Load(const std::wstring& module)
{
    ComPtr<ITypeLib> library;
    CheckHResult(LoadTypeLibEx(module.c_str(), REGKIND_NONE, &library));
    return library;
}

struct LibraryAttributes
{
    explicit LibraryAttributes(ITypeLib* typeLib) : library(typeLib)
    {
        CheckHResult(library->GetLibAttr(&attributes));
    }
    ~LibraryAttributes() { library->ReleaseTLibAttr(attributes); }
    LibraryAttributes(const LibraryAttributes&) = delete;
    LibraryAttributes& operator=(const LibraryAttributes&) = delete;

    ITypeLib* library;
    TLIBATTR* attributes = nullptr;
};

} // namespace

bool IsPerUserRegistration()
{
    constexpr std::wstring_view users = L"\\REGISTRY\\USER\\";
    const std::wstring name = ClassesRootName();
    return name.size() > users.size() && _wcsnicmp(name.c_str(), users.data(), users.size()) == 0;
}

void RegisterTypeLibrary(const std::wstring& module)
{
    RegisterTypeLibFunction registerLibrary = &RegisterTypeLib;
    if (IsPerUserRegistration()) {
        if (const auto forUser =
                FunctionOf<RegisterTypeLibFunction>(L"oleaut32.dll", "RegisterTypeLibForUser"))
            registerLibrary = forUser;
    }
    std::wstring path = module;
    CheckHResult(registerLibrary(Load(module).Get(), path.data(), nullptr));
}

void UnregisterTypeLibrary(const std::wstring& module)
{
    UnRegisterTypeLibFunction unregisterLibrary = &UnRegisterTypeLib;
    if (IsPerUserRegistration()) {
        if (const auto forUser =
                FunctionOf<UnRegisterTypeLibFunction>(L"oleaut32.dll", "UnRegisterTypeLibForUser"))
            unregisterLibrary = forUser;
    }
    const ComPtr<ITypeLib> library = Load(module);
    const LibraryAttributes held(library.Get());
    const TLIBATTR& attributes = *held.attributes;
    CheckHResult(unregisterLibrary(attributes.guid, attributes.wMajorVerNum, attributes.wMinorVerNum,
                                   attributes.lcid, attributes.syskind));
}

} // namespace Mardu
