#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/registration/common_library.h"
#include "client/registration/registration_step.h"
#include "client/registration/user_classes.h"

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
    const Registrable& what;
};

constexpr SelfRegistering componentDll = {L"Tavlo.dll", component};
// Its interfaces are the component's too, whose type library claims some of them: the last
// to register serves them.
constexpr SelfRegistering proxiesDll = {L"TavloPS.dll", proxies};

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
        GetFullPathNameW(ToUtf16(folder).c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
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
    for (const wchar_t* file : {componentDll.file, proxiesDll.file, commonLibraryFile}) {
        if (GetFileAttributesW((folder + file).c_str()) == INVALID_FILE_ATTRIBUTES)
            ThrowLastError("find '" + ToUtf8(folder + file) + "'");
    }
}

/// Calls the DLL's own function.
void Run(const SelfRegistering& dll, const std::wstring& folder, StepResult result, bool isForUser,
         const Console& console)
{
    const bool isRegistration = result == StepResult::Registered;
    const std::wstring path = folder + dll.file;
    const std::string purpose = (isRegistration ? "register " : "unregister ") + std::string(dll.what.text) +
                                " '" + ToUtf8(path) + "'";
    const Library library(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library)
        ThrowLastError(purpose);
    const auto call = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(
        GetProcAddress(library.get(), isRegistration ? "DllRegisterServer" : "DllUnregisterServer")));
    if (call == nullptr)
        ThrowLastError(purpose);

    {
        const std::optional<UserClasses> redirection = RedirectFor(isForUser);
        CheckRegistration(call(), purpose, isForUser);
    }
    TellStep(console, result, dll.what, ToUtf8(path), isForUser);
}

void Register(const RegistrationOptions& options, const Console& console)
{
    const std::wstring folder = FullFolder(options.folder);
    RequireFiles(folder);
    for (const SelfRegistering& dll : {componentDll, proxiesDll})
        Run(dll, folder, StepResult::Registered, options.isForUser, console);
    RegisterCommonLibrary(folder + commonLibraryFile, OtherLibrary::Keep, options.isForUser, console);
}

bool IsComponentRegistered(bool isForUser)
{
    std::array<wchar_t, 40> factory;
    StringFromGUID2(CLSID_TavloFactory, factory.data(), static_cast<int>(factory.size()));
    return IsClassesKey(std::wstring(L"CLSID\\") + factory.data(), isForUser);
}

/// The other way round.
void Unregister(const RegistrationOptions& options, const Console& console)
{
    const std::wstring folder = FullFolder(options.folder);
    RequireFiles(folder);
    UnregisterCommonLibrary(folder + commonLibraryFile, OtherLibrary::Keep, options.isForUser, console);
    if (!IsComponentRegistered(options.isForUser)) {
        TellStep(console, StepResult::NotRegistered, component, {}, options.isForUser);
        return;
    }
    for (const SelfRegistering& dll : {proxiesDll, componentDll})
        Run(dll, folder, StepResult::Unregistered, options.isForUser, console);
}

std::shared_ptr<RegistrationOptions> AddOptions(Options& options)
{
    const auto target = std::make_shared<RegistrationOptions>();
    options.AddFlag("--user", target->isForUser, "For this user only, which needs no administrator rights");
    options.Add({.name = "--folder",
                 .form = "FOLDER",
                 .help = "Where Tavlo.dll, TavloPS.dll and SentelCommon.tlb are; this program's folder when "
                         "left out",
                 .read = StoreIn(target->folder)});
    return target;
}

} // namespace

Action SetUpRegister(Options& options)
{
    return [target = AddOptions(options)](const Console& console) { Register(*target, console); };
}

Action SetUpUnregister(Options& options)
{
    return [target = AddOptions(options)](const Console& console) { Unregister(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
