#include "shared/sections/section.h"

#include "module/error.h"

#include <objbase.h>

#include <array>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The longest name that the platform's own strings hold.
constexpr size_t longestName = 32767;

std::wstring NewGuidText()
{
    GUID guid = {};
    CheckHResult(CoCreateGuid(&guid));
    std::array<wchar_t, 48> text;
    if (StringFromGUID2(guid, text.data(), static_cast<int>(text.size())) == 0)
        ThrowLastError("StringFromGUID2 failed");
    return text.data();
}

} // namespace

std::wstring PrefixedName(const std::wstring& prefix, const std::wstring& name)
{
    return prefix.empty() ? name : prefix + L'\\' + name;
}

NewSection CreateSection(const std::wstring& prefix, std::int64_t bytes)
{
    NewSection section{NewGuidText(), nullptr};

    // A DACL that is present and null grants everyone everything.
    SECURITY_DESCRIPTOR descriptor = {};
    if (InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) == FALSE)
        ThrowLastError("InitializeSecurityDescriptor failed");
    if (SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE) == FALSE)
        ThrowLastError("SetSecurityDescriptorDacl failed");
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, TRUE};

    section.mapping.reset(CreateFileMappingW(INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE,
                                             static_cast<DWORD>(bytes >> 32), static_cast<DWORD>(bytes),
                                             PrefixedName(prefix, section.name).c_str()));
    if (section.mapping == nullptr)
        ThrowLastError("Creating the section failed");
    return section;
}

UniqueHandle TryOpenSection(const std::wstring& name) noexcept
{
    // The platform would cut such a name, and open the section of what is left of it.
    const bool isTooLong = name.size() > longestName;
    if (isTooLong || name.find(L'\0') != std::wstring::npos) {
        SetLastError(isTooLong ? ERROR_FILENAME_EXCED_RANGE : ERROR_INVALID_NAME);
        return nullptr;
    }
    return UniqueHandle(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, name.c_str()));
}

UniqueHandle OpenSection(const std::wstring& name)
{
    UniqueHandle mapping = TryOpenSection(name);
    if (mapping == nullptr)
        ThrowLastError("Opening the section failed");
    return mapping;
}

UniqueView MapWholeSection(HANDLE mapping)
{
    UniqueView view(MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
    if (view == nullptr)
        ThrowLastError("Mapping the section failed");
    return view;
}

} // namespace Mardu::Sentel::Tavlo
