#include "client/registration/common_library.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/registration/registration_step.h"
#include "client/registration/user_classes.h"

#include <windows.h>

#include <oleauto.h>
#include <tavlo/com.hpp>

#include <array>
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

bool IsRegistered(const TLIBATTR& library, bool isForUser)
{
    std::array<wchar_t, 40> identifier;
    StringFromGUID2(library.guid, identifier.data(), static_cast<int>(identifier.size()));
    return IsClassesKey(std::wstring(L"TypeLib\\") + identifier.data(), isForUser);
}

} // namespace

void RegisterCommonLibrary(std::wstring file, bool isForUser, const Console& console)
{
    const tavlo::com_ptr<ITypeLib> library = Load(file);
    {
        const std::optional<UserClasses> redirection = RedirectFor(isForUser);
        const auto registerLibrary = isForUser ? RegisterTypeLibForUser : RegisterTypeLib;
        const HRESULT result = registerLibrary(library.get(), file.data(), nullptr);
        CheckRegistration(result, "register the common type library", isForUser);
    }
    TellStep(console, StepResult::Registered, commonLibrary, ToUtf8(file), isForUser);
}

void UnregisterCommonLibrary(const std::wstring& file, bool isForUser, const Console& console)
{
    const tavlo::com_ptr<ITypeLib> library = Load(file);
    const Attributes attributes = AttributesOf(*library.get());
    if (!IsRegistered(*attributes, isForUser)) {
        TellStep(console, StepResult::NotRegistered, commonLibrary, {}, isForUser);
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
