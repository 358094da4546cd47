#include "client/commands.h"
#include "client/common_library.h"
#include "client/failure.h"
#include "client/print.h"
#include "client/text.h"
#include "client/user_classes.h"

#include <CLI/CLI.hpp>

#include <array>
#include <memory>
#include <optional>
#include <type_traits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct RegistrationOptions
{
    std::string folder;
    bool isForUser = false;
};

/// A DLL that registers itself.
struct SelfRegistering
{
    const wchar_t* file;
    const char* what;
};

constexpr SelfRegistering component = {L"Tavlo.dll", "the component"};
// Its interfaces are the component's too, whose type library claims some of them: the last
// to register serves them.
constexpr SelfRegistering proxies = {L"TavloPS.dll", "its proxies"};

struct LibraryFreer
{
    void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryFreer>;

/// The folder as registrations need it: in full, with a separator at its end.
std::wstring FullFolder(const std::string& folder)
{
    if (folder.empty())
        return ProgramFolder();
    std::array<wchar_t, 32768> path;
    const DWORD length =
        GetFullPathNameW(Wide(folder).c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
    if (length == 0 || length >= path.size())
        ThrowLastError("find the folder '" + folder + "'");
    std::wstring full(path.data(), length);
    if (!full.ends_with(L'\\'))
        full += L'\\';
    return full;
}

/// Nothing is changed where something is missing.
void RequireFiles(const std::wstring& folder)
{
    for (const wchar_t* file : {component.file, proxies.file, commonLibraryFile}) {
        if (GetFileAttributesW((folder + file).c_str()) == INVALID_FILE_ATTRIBUTES)
            ThrowLastError("find '" + Utf8(folder + file) + "'");
    }
}

/// Calls the DLL's own function, "DllRegisterServer" or "DllUnregisterServer".
void Run(const SelfRegistering& dll, const std::wstring& folder, const char* function,
         const std::string& verb, bool isForUser)
{
    const std::wstring path = folder + dll.file;
    const std::string step = std::string(dll.what) + " '" + Utf8(path) + "'";
    const Library library(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library)
        ThrowLastError(verb + " " + step);
    const auto call = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(library.get(), function)));
    if (call == nullptr)
        ThrowLastError(verb + " " + step);

    {
        const std::optional<UserClasses> redirection = RedirectFor(isForUser);
        CheckRegistration(call(), verb + " " + step, isForUser);
    }
    Print(verb + "ed " + step + ForWhom(isForUser) + "\n");
}

void Register(const RegistrationOptions& options)
{
    const std::wstring folder = FullFolder(options.folder);
    RequireFiles(folder);
    Run(component, folder, "DllRegisterServer", "register", options.isForUser);
    Run(proxies, folder, "DllRegisterServer", "register", options.isForUser);
    RegisterCommonLibrary(folder + commonLibraryFile, options.isForUser);
}

bool IsComponentRegistered(bool isForUser)
{
    std::array<wchar_t, 40> factory;
    StringFromGUID2(CLSID_TavloFactory, factory.data(), static_cast<int>(factory.size()));
    return IsClassesKey(std::wstring(L"CLSID\\") + factory.data(), isForUser);
}

/// The other way round.
void Unregister(const RegistrationOptions& options)
{
    const std::wstring folder = FullFolder(options.folder);
    RequireFiles(folder);
    UnregisterCommonLibrary(folder + commonLibraryFile, options.isForUser);
    if (!IsComponentRegistered(options.isForUser)) {
        Print("the component is not registered" + ForWhom(options.isForUser) + "\n");
        return;
    }
    Run(proxies, folder, "DllUnregisterServer", "unregister", options.isForUser);
    Run(component, folder, "DllUnregisterServer", "unregister", options.isForUser);
}

std::shared_ptr<RegistrationOptions> AddOptions(CLI::App& options)
{
    const auto target = std::make_shared<RegistrationOptions>();
    options.add_flag("--user", target->isForUser, "For this user only, which needs no administrator rights");
    options
        .add_option(
            "--folder", target->folder,
            "Where Tavlo.dll, TavloPS.dll and SentelCommon.tlb are; this program's folder when left out")
        ->type_name("FOLDER");
    return target;
}

} // namespace

Action SetUpRegister(CLI::App& options)
{
    return [target = AddOptions(options)] { Register(*target); };
}

Action SetUpUnregister(CLI::App& options)
{
    return [target = AddOptions(options)] { Unregister(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
