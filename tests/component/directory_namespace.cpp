#include "tests/component/directory_namespace.h"

#include "module/error.h"

#include <winternl.h>

#include <map>

using namespace Mardu;
using Mardu::Sentel::Tavlo::PrivateNamespaceApi;

// The platform has these, but its headers lack them.
extern "C" {
NTSTATUS NTAPI NtCreateDirectoryObject(HANDLE* directory, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes);
NTSTATUS NTAPI NtOpenDirectoryObject(HANDLE* directory, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes);
}

namespace {

constexpr ACCESS_MASK directoryAllAccess = 0x000F000F;

// The view stays until the process ends, since a process-wide namespace closes after
// everything else.
UniqueHandle countsSection;
NamespaceCounts* counts = nullptr;

/// Creates or opens the directory of an alias; null and a last error on failure.
HANDLE CallForDirectory(decltype(NtOpenDirectoryObject)* function, const std::wstring& alias, ULONG flags)
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    std::wstring path = L"\\Sessions\\" + std::to_wstring(session) + L"\\BaseNamedObjects\\" + alias;
    UNICODE_STRING name = {static_cast<USHORT>(path.size() * sizeof(wchar_t)),
                           static_cast<USHORT>((path.size() + 1) * sizeof(wchar_t)), path.data()};
    OBJECT_ATTRIBUTES attributes = {};
    attributes.Length = sizeof(attributes);
    attributes.ObjectName = &name;
    attributes.Attributes = OBJ_CASE_INSENSITIVE | flags;

    HANDLE directory = nullptr;
    const NTSTATUS status = function(&directory, directoryAllAccess, &attributes);
    if (status < 0) {
        SetLastError(RtlNtStatusToDosError(status));
        return nullptr;
    }
    return directory;
}

void Enter() noexcept
{
    const LONG inside = InterlockedIncrement(&counts->inside);
    for (LONG most = counts->mostInside; inside > most; most = counts->mostInside)
        InterlockedCompareExchange(&counts->mostInside, inside, most);
}

HANDLE WINAPI CreateBoundary(LPCWSTR, ULONG)
{
    InterlockedIncrement(&counts->boundaries);
    return &counts;
}

void WINAPI DeleteBoundary(HANDLE)
{
    InterlockedDecrement(&counts->boundaries);
    InterlockedExchange(&counts->lastBoundary, counts->closed);
}

BOOL WINAPI AddSid(HANDLE*, PSID)
{
    return TRUE;
}

HANDLE WINAPI OpenNamespace(LPVOID, LPCWSTR alias)
{
    Enter();
    HANDLE directory = CallForDirectory(NtOpenDirectoryObject, alias, 0);
    if (directory != nullptr) {
        InterlockedIncrement(&counts->opened);
        InterlockedDecrement(&counts->inside);
    }
    return directory;
}

HANDLE WINAPI CreateNamespace(LPSECURITY_ATTRIBUTES, LPVOID, LPCWSTR alias)
{
    HANDLE directory = CallForDirectory(NtCreateDirectoryObject, alias, 0);
    InterlockedIncrement(directory != nullptr ? &counts->created : &counts->refused);
    InterlockedDecrement(&counts->inside);
    return directory;
}

BOOLEAN WINAPI CloseNamespace(HANDLE directory, ULONG flags)
{
    CloseHandle(directory);
    InterlockedOr(&counts->closedFlags, static_cast<LONG>(flags));
    InterlockedIncrement(&counts->closed);
    return TRUE;
}

std::map<std::string, void*> foundFunctions;
decltype(GetProcAddress)* originalLookUp = nullptr;

FARPROC WINAPI LookUp(HMODULE library, LPCSTR name)
{
    const auto found = foundFunctions.find(name);
    return found != foundFunctions.end() ? reinterpret_cast<FARPROC>(found->second)
                                         : originalLookUp(library, name);
}

} // namespace

NamespaceCounts& CountInto(const std::wstring& name)
{
    countsSection.reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                           sizeof(NamespaceCounts), name.c_str()));
    if (countsSection == nullptr)
        ThrowLastError("Making the counts failed");
    counts = static_cast<NamespaceCounts*>(MapViewOfFile(countsSection.get(), FILE_MAP_WRITE, 0, 0, 0));
    if (counts == nullptr)
        ThrowLastError("Mapping the counts failed");
    return *counts;
}

PrivateNamespaceApi DirectoryNamespaceApi() noexcept
{
    return {CreateBoundary, DeleteBoundary, AddSid, CreateNamespace, OpenNamespace, CloseNamespace};
}

UniqueHandle OpenOrMakeDirectory(const std::wstring& alias)
{
    UniqueHandle directory(CallForDirectory(NtCreateDirectoryObject, alias, OBJ_OPENIF));
    if (directory == nullptr)
        ThrowLastError("Making the directory failed");
    return directory;
}

FoundNamespaceFunctions::FoundNamespaceFunctions(const PrivateNamespaceApi& api)
    : replaced_("GetProcAddress", LookUp)
{
    originalLookUp = replaced_.Original();
    foundFunctions = {
        {"CreateBoundaryDescriptorW", reinterpret_cast<void*>(api.createBoundaryDescriptor)},
        {"DeleteBoundaryDescriptor", reinterpret_cast<void*>(api.deleteBoundaryDescriptor)},
        {"AddSIDToBoundaryDescriptor", reinterpret_cast<void*>(api.addSidToBoundaryDescriptor)},
        {"CreatePrivateNamespaceW", reinterpret_cast<void*>(api.createPrivateNamespace)},
        {"OpenPrivateNamespaceW", reinterpret_cast<void*>(api.openPrivateNamespace)},
        {"ClosePrivateNamespace", reinterpret_cast<void*>(api.closePrivateNamespace)},
    };
}
