#pragma once

#include "module/handle.h"

#include <windows.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// The platform's entry points for private namespaces, looked up at run time since not
/// every system has them.
struct PrivateNamespaceApi
{
    HANDLE(WINAPI* createBoundaryDescriptor)(LPCWSTR name, ULONG flags);
    void(WINAPI* deleteBoundaryDescriptor)(HANDLE boundary);
    BOOL(WINAPI* addSidToBoundaryDescriptor)(HANDLE* boundary, PSID sid);
    HANDLE(WINAPI* createPrivateNamespace)(LPSECURITY_ATTRIBUTES attributes, LPVOID boundary, LPCWSTR alias);
    HANDLE(WINAPI* openPrivateNamespace)(LPVOID boundary, LPCWSTR alias);
    BOOLEAN(WINAPI* closePrivateNamespace)(HANDLE handle, ULONG flags);

    /// The entry points of Kernel32.dll; nothing unless all six are there.
    static std::optional<PrivateNamespaceApi> FromKernel32();
};

/// What a private namespace is made of. The defaults are the system's own and must be
/// the same in every process that shares images.
struct PrivateNamespaceParameters
{
    std::wstring boundaryName = L"MARDU";
    WELL_KNOWN_SID_TYPE sid = WinWorldSid;
    std::wstring security = L"D:(A;;GA;;;AU)(A;;GA;;;CO)";
    std::wstring alias = L"Tavlo";
    std::wstring mutexName = L"MarduTavloMutex";
    DWORD mutexTimeout = 10000; ///< milliseconds
    std::function<DWORD(HANDLE, DWORD)> wait = WaitForSingleObject;
};

/// The namespace that the sections of all images live in, opened or created under a
/// mutex between processes: of processes that start together one creates it, and the
/// others open what it made. It outlives its creator while any process has it open.
class PrivateNamespace
{
public:
    explicit PrivateNamespace(const PrivateNamespaceApi& api,
                              const PrivateNamespaceParameters& parameters = {});

    const std::wstring& Name() const noexcept { return name_; }

private:
    struct BoundaryDeleter
    {
        decltype(PrivateNamespaceApi::deleteBoundaryDescriptor) function;
        void operator()(void* boundary) const noexcept { function(boundary); }
    };

    struct NamespaceCloser
    {
        decltype(PrivateNamespaceApi::closePrivateNamespace) function;
        void operator()(void* handle) const noexcept { function(handle, 0); }
    };

    void CreateBoundary(const PrivateNamespaceParameters& parameters);
    void ConvertSecurity(const PrivateNamespaceParameters& parameters);
    void OpenOrCreate(const PrivateNamespaceParameters& parameters);

    // Destroyed from the last to the first: handle, security, boundary.
    PrivateNamespaceApi api_;
    std::array<BYTE, SECURITY_MAX_SID_SIZE> sid_ = {};
    std::unique_ptr<void, BoundaryDeleter> boundary_;
    UniqueLocalMemory security_;
    SECURITY_ATTRIBUTES attributes_ = {};
    std::unique_ptr<void, NamespaceCloser> handle_;
    std::wstring name_;
};

/// What precedes the backslash in the names of sections: the private namespace's alias
/// where the platform has private namespaces, else "Global". Computed once per process;
/// a failure throws and is tried again at the next use.
const std::wstring& SectionNamePrefix();

} // namespace Mardu::Sentel::Tavlo
