#include "client/registration/common_library.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/registration/registration_step.h"
#include "client/registration/user_classes.h"

#include <windows.h>

#include <oleauto.h>
#include <tavlo/com.hpp>

#include <array>
#include <cwchar>
#include <memory>
#include <optional>

// mingw-w64's headers leave these two out.
STDAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* file, OLECHAR* helpFolder);
STDAPI UnRegisterTypeLibForUser(REFGUID library, WORD major, WORD minor, LCID locale, SYSKIND system);

namespace Mardu::Sentel::Tavlo::Client {
namespace {

tavlo::com_ptr<ITypeLib> Load(const std::wstring& file)
{
    tavlo::com_ptr<ITypeLib> library;
    Check(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.put()),
          "read the type library '" + ToUtf8(file) + "'");
    return library;
}

struct AttributesReleaser
{
    ITypeLib* library;
    void operator()(TLIBATTR* attributes) const noexcept { library->ReleaseTLibAttr(attributes); }
};
using Attributes = std::unique_ptr<TLIBATTR, AttributesReleaser>;

Attributes AttributesOf(ITypeLib& library)
{
    TLIBATTR* attributes = nullptr;
    Check(library.GetLibAttr(&attributes), "read the type library");
    return Attributes(attributes, {&library});
}

/// As registrations need it, which are read in other folders.
std::wstring FullPath(const std::wstring& file)
{
    std::array<wchar_t, 32768> path;
    const DWORD length =
        GetFullPathNameW(file.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
    if (length == 0 || length >= path.size())
        ThrowLastError("find '" + ToUtf8(file) + "'");
    return {path.data(), length};
}

/// The file that is registered as this library for this user or for all; empty when there is none.
std::wstring RegisteredFile(const TLIBATTR& library, bool isForUser)
{
    std::array<wchar_t, 40> identifier;
    StringFromGUID2(library.guid, identifier.data(), static_cast<int>(identifier.size()));
    std::array<wchar_t, 64> version;
    std::swprintf(version.data(), version.size(), L"%x.%x\\%x\\%ls", library.wMajorVerNum,
                  library.wMinorVerNum, static_cast<unsigned>(library.lcid),
                  library.syskind == SYS_WIN64 ? L"win64" : L"win32");
    return ClassesValue(std::wstring(L"TypeLib\\") + identifier.data() + L'\\' + version.data(), isForUser);
}

struct FileCloser
{
    void operator()(HANDLE file) const noexcept { CloseHandle(file); }
};

/// What tells a file from every other one; nothing when it cannot be had.
std::optional<std::array<DWORD, 3>> IdentityOf(const std::wstring& file)
{
    const HANDLE opened = CreateFileW(file.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return std::nullopt;
    const std::unique_ptr<void, FileCloser> owner(opened);
    BY_HANDLE_FILE_INFORMATION information = {};
    if (GetFileInformationByHandle(opened, &information) == FALSE)
        return std::nullopt;
    return std::array{information.dwVolumeSerialNumber, information.nFileIndexHigh,
                      information.nFileIndexLow};
}

/// By whatever names; a file that is no more is told by its name.
bool IsSameFile(const std::wstring& a, const std::wstring& b)
{
    const auto identity = IdentityOf(a);
    return (identity && identity == IdentityOf(b)) || _wcsicmp(a.c_str(), b.c_str()) == 0;
}

/// Whether a file has this very library.
bool Holds(const std::wstring& file, const TLIBATTR& library)
{
    tavlo::com_ptr<ITypeLib> found;
    TLIBATTR* attributes = nullptr;
    if (FAILED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, found.put())) ||
        FAILED(found->GetLibAttr(&attributes)))
        return false;
    const Attributes owner(attributes, {found.get()});
    return IsEqualGUID(attributes->guid, library.guid) && attributes->wMajorVerNum == library.wMajorVerNum &&
           attributes->wMinorVerNum == library.wMinorVerNum;
}

} // namespace

void RegisterCommonLibrary(std::wstring file, OtherLibrary other, bool isForUser, const Console& console)
{
    const tavlo::com_ptr<ITypeLib> library = Load(file);
    file = FullPath(file);
    const Attributes attributes = AttributesOf(*library.get());
    const std::wstring registered = RegisteredFile(*attributes, isForUser);
    if (other == OtherLibrary::Keep && !IsSameFile(registered, file) && Holds(registered, *attributes)) {
        TellStep(console, StepResult::Kept, commonLibrary, ToUtf8(registered), isForUser);
        return;
    }
    {
        const std::optional<UserClasses> redirection = RedirectFor(isForUser);
        const auto registerLibrary = isForUser ? RegisterTypeLibForUser : RegisterTypeLib;
        const HRESULT result = registerLibrary(library.get(), file.data(), nullptr);
        CheckRegistration(result, "register the common type library", isForUser);
    }
    TellStep(console, StepResult::Registered, commonLibrary, ToUtf8(file), isForUser);
}

void UnregisterCommonLibrary(const std::wstring& file, OtherLibrary other, bool isForUser,
                             const Console& console)
{
    const tavlo::com_ptr<ITypeLib> library = Load(file);
    const Attributes attributes = AttributesOf(*library.get());
    const std::wstring registered = RegisteredFile(*attributes, isForUser);
    if (registered.empty()) {
        TellStep(console, StepResult::NotRegistered, commonLibrary, {}, isForUser);
        return;
    }
    if (other == OtherLibrary::Keep && !IsSameFile(registered, file)) {
        TellStep(console, StepResult::Kept, commonLibrary, ToUtf8(registered), isForUser);
        return;
    }
    {
        const std::optional<UserClasses> redirection = RedirectFor(isForUser);
        const auto unregister = isForUser ? UnRegisterTypeLibForUser : UnRegisterTypeLib;
        const HRESULT result = unregister(attributes->guid, attributes->wMajorVerNum,
                                          attributes->wMinorVerNum, attributes->lcid, attributes->syskind);
        CheckRegistration(result, "unregister the common type library", isForUser);
    }
    TellStep(console, StepResult::Unregistered, commonLibrary, {}, isForUser);
}

std::wstring ProgramFolder()
{
    std::array<wchar_t, 32768> path;
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length == path.size())
        ThrowLastError("find this program's folder");
    const std::wstring program(path.data(), length);
    return program.substr(0, program.find_last_of(L"\\/") + 1);
}

} // namespace Mardu::Sentel::Tavlo::Client
