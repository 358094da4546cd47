#include "client/registration/user_classes.h"

#include "client/foundation/failure.h"

#include <array>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::string_view purpose = "register for this user";
constexpr wchar_t classesPath[] = L"Software\\Classes";

/// The platform's registrar of scripts, by which the component registers itself.
constexpr CLSID registrarClass = {
    0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};

void CheckError(LSTATUS error)
{
    if (error != ERROR_SUCCESS)
        ThrowError(static_cast<DWORD>(error), purpose);
}

} // namespace

UserClasses::UserClasses()
{
    // It is a class of the machine: it is looked up while those can be seen.
    Check(CoCreateInstance(registrarClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(registrar_.put())),
          purpose);
    HKEY classes = nullptr;
    CheckError(RegCreateKeyExW(HKEY_CURRENT_USER, classesPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                               &classes, nullptr));
    const LSTATUS error = RegOverridePredefKey(HKEY_CLASSES_ROOT, classes);
    RegCloseKey(classes);
    CheckError(error);
}

UserClasses::~UserClasses()
{
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
}

std::optional<UserClasses> RedirectFor(bool isForUser)
{
    return isForUser ? std::optional<UserClasses>(std::in_place) : std::nullopt;
}

bool IsClassesKey(const std::wstring& key, bool isForUser)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(isForUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                      (std::wstring(classesPath) + L'\\' + key).c_str(), 0, KEY_QUERY_VALUE,
                      &opened) != ERROR_SUCCESS)
        return false;
    RegCloseKey(opened);
    return true;
}

std::wstring ClassesValue(const std::wstring& key, bool isForUser)
{
    std::array<wchar_t, 32768> value;
    auto bytes = static_cast<DWORD>(sizeof(value));
    const std::wstring path = std::wstring(classesPath) + L'\\' + key;
    const LSTATUS error = RegGetValueW(isForUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, path.c_str(),
                                       nullptr, RRF_RT_REG_SZ, nullptr, value.data(), &bytes);
    return error == ERROR_SUCCESS ? std::wstring(value.data()) : std::wstring();
}

void CheckRegistration(HRESULT result, std::string_view what, bool isForUser)
{
    const bool isDenied = result == E_ACCESSDENIED || result == TYPE_E_REGISTRYACCESS;
    if (isDenied && !isForUser)
        throw Failure(result, what, "that needs an administrator's rights; --user does not");
    Check(result, what);
}

} // namespace Mardu::Sentel::Tavlo::Client
