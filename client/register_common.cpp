#include "client/commands.h"
#include "client/failure.h"
#include "client/print.h"
#include "client/text.h"

#include <CLI/CLI.hpp>

#include <windows.h>

#include <oleauto.h>
#include <wrl/client.h>

#include <array>
#include <string>

// mingw-w64's headers leave these two out.
STDAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* file, OLECHAR* helpFolder);
STDAPI UnRegisterTypeLibForUser(REFGUID library, WORD major, WORD minor, LCID locale, SYSKIND system);

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Microsoft::WRL::ComPtr;

struct RegistrationOptions
{
    std::string file;
    bool isForUser = false;
    bool isRemoval = false;
};

/// The common type library of an installation lies beside this program.
std::wstring FileBesideProgram()
{
    std::array<wchar_t, 32768> path;
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length == path.size())
        ThrowLastError("find this program's folder");
    const std::wstring program(path.data(), length);
    return program.substr(0, program.find_last_of(L"\\/") + 1) + L"SentelCommon.tlb";
}

void Unregister(ITypeLib& library, bool isForUser)
{
    TLIBATTR* attributes = nullptr;
    Check(library.GetLibAttr(&attributes), "read the type library");
    const auto unregister = isForUser ? UnRegisterTypeLibForUser : UnRegisterTypeLib;
    const HRESULT result = unregister(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum,
                                      attributes->lcid, attributes->syskind);
    library.ReleaseTLibAttr(attributes);
    Check(result, "unregister the common type library");
}

void RegisterCommon(const RegistrationOptions& options)
{
    std::wstring file = options.file.empty() ? FileBesideProgram() : Wide(options.file);
    const std::string whose = options.isForUser ? " for this user" : " for all users";
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library), "read the type library '" + Utf8(file) + "'");
    if (options.isRemoval) {
        Unregister(*library.Get(), options.isForUser);
        Print("unregistered the common type library" + whose + "\n");
        return;
    }
    const auto registerLibrary = options.isForUser ? RegisterTypeLibForUser : RegisterTypeLib;
    Check(registerLibrary(library.Get(), file.data(), nullptr), "register the common type library");
    Print("registered the common type library '" + Utf8(file) + "'" + whose + "\n");
}

} // namespace

Action SetUpRegisterCommon(CLI::App& options)
{
    const auto target = std::make_shared<RegistrationOptions>();
    options.add_option("FILE", target->file,
                       "The library; SentelCommon.tlb beside this program when left out");
    options.add_flag("--user", target->isForUser, "For this user only, which needs no administrator rights");
    options.add_flag("--unregister", target->isRemoval, "Remove the registration");
    return [target] { RegisterCommon(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
