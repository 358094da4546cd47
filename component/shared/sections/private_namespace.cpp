#include "shared/sections/private_namespace.h"

#include "module/error.h"

#include <sddl.h>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo {
namespace {

struct LibraryCloser
{
    void operator()(HMODULE library) const noexcept { FreeLibrary(library); }
};

template <class Function>
bool LookUp(HMODULE library, const char* name, Function& function) noexcept
{
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    return function != nullptr;
}

/// Ownership of a mutex for a while. A wait that ends as abandoned is ownership too, so
/// a mutex may be owned twice and is released as often.
class MutexOwnership
{
public:
    explicit MutexOwnership(const PrivateNamespaceParameters& parameters)
        : parameters_(parameters), mutex_(CreateMutexW(nullptr, FALSE, parameters.mutexName.c_str()))
    {
        if (mutex_ == nullptr)
            ThrowLastError("Creating mutex failed");
    }

    ~MutexOwnership()
    {
        // Callers read the last error of what they did under the mutex.
        const DWORD lastError = GetLastError();
        for (; owned_ > 0; --owned_)
            ReleaseMutex(mutex_.get());
        mutex_.reset();
        SetLastError(lastError);
    }

    MutexOwnership(const MutexOwnership&) = delete;
    MutexOwnership& operator=(const MutexOwnership&) = delete;

    /// True when the mutex is acquired, false for a result that no wait should have.
    bool Acquire()
    {
        for (int abandoned = 0; abandoned < 2; ++abandoned) {
            const DWORD result = parameters_.wait(mutex_.get(), parameters_.mutexTimeout);
            switch (result) {
            case WAIT_OBJECT_0:
                ++owned_;
                return true;
            case WAIT_TIMEOUT:
                throw std::runtime_error(
                    "CreateOrOpenPrivateNamespace failed : Could not take the ownership of the "
                    "Mutex before timeout.");
            case WAIT_FAILED:
                ThrowLastError("CreateOrOpenPrivateNamespace failed");
            case WAIT_ABANDONED:
                ++owned_;
                break;
            default:
                return false;
            }
        }
        throw std::runtime_error("CreateOrOpenPrivateNamespace failed : Mutex wait abandoned twice");
    }

private:
    const PrivateNamespaceParameters& parameters_;
    UniqueHandle mutex_;
    int owned_ = 0;
};

const std::optional<PrivateNamespaceApi>& PlatformApi()
{
    static const std::optional<PrivateNamespaceApi> api = PrivateNamespaceApi::FromKernel32();
    return api;
}

const PrivateNamespace& ProcessNamespace(const PrivateNamespaceApi& api)
{
    static const PrivateNamespace instance(api);
    return instance;
}

} // namespace

std::optional<PrivateNamespaceApi> PrivateNamespaceApi::FromKernel32()
{
    const std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryCloser> library(
        LoadLibraryW(L"Kernel32.dll"));
    if (library == nullptr)
        ThrowLastError("LoadLibrary failed");
    PrivateNamespaceApi api = {};
    const bool complete =
        LookUp(library.get(), "CreateBoundaryDescriptorW", api.createBoundaryDescriptor) &&
        LookUp(library.get(), "DeleteBoundaryDescriptor", api.deleteBoundaryDescriptor) &&
        LookUp(library.get(), "AddSIDToBoundaryDescriptor", api.addSidToBoundaryDescriptor) &&
        LookUp(library.get(), "CreatePrivateNamespaceW", api.createPrivateNamespace) &&
        LookUp(library.get(), "OpenPrivateNamespaceW", api.openPrivateNamespace) &&
        LookUp(library.get(), "ClosePrivateNamespace", api.closePrivateNamespace);
    return complete ? std::optional(api) : std::nullopt;
}

PrivateNamespace::PrivateNamespace(const PrivateNamespaceApi& api,
                                   const PrivateNamespaceParameters& parameters)
    : api_(api),
      boundary_(nullptr, BoundaryDeleter{api.deleteBoundaryDescriptor}),
      handle_(nullptr, NamespaceCloser{api.closePrivateNamespace})
{
    CreateBoundary(parameters);
    ConvertSecurity(parameters);
    OpenOrCreate(parameters);
    name_ = parameters.alias;
}

void PrivateNamespace::CreateBoundary(const PrivateNamespaceParameters& parameters)
{
    boundary_.reset(api_.createBoundaryDescriptor(parameters.boundaryName.c_str(), 0));
    if (boundary_ == nullptr)
        ThrowLastError("CreateBoundaryDescriptor failed");

    auto size = static_cast<DWORD>(sid_.size());
    if (CreateWellKnownSid(parameters.sid, nullptr, sid_.data(), &size) == FALSE)
        ThrowLastError("CreateWellKnownSid failed");

    // The call may put another descriptor in the place of the one it is given.
    HANDLE boundary = boundary_.release();
    const BOOL added = api_.addSidToBoundaryDescriptor(&boundary, sid_.data());
    const DWORD lastError = GetLastError();
    boundary_.reset(boundary);
    if (added == FALSE)
        throw win32_error("AddSIDToBoundaryDescriptor failed", lastError);
}

void PrivateNamespace::ConvertSecurity(const PrivateNamespaceParameters& parameters)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(parameters.security.c_str(), SDDL_REVISION_1,
                                                             &descriptor, nullptr) == FALSE)
        ThrowLastError("ConvertStringSecurityDescriptorToSecurityDescriptor failed");
    security_.reset(descriptor);
    attributes_ = {sizeof(attributes_), security_.get(), FALSE};
}

void PrivateNamespace::OpenOrCreate(const PrivateNamespaceParameters& parameters)
{
    {
        MutexOwnership mutex(parameters);
        if (mutex.Acquire()) {
            const wchar_t* alias = parameters.alias.c_str();
            handle_.reset(api_.openPrivateNamespace(boundary_.get(), alias));
            if (handle_ == nullptr)
                handle_.reset(api_.createPrivateNamespace(&attributes_, boundary_.get(), alias));
        }
    }
    if (handle_ == nullptr)
        ThrowLastError("CreatePrivateNamespace failed");
}

const std::wstring& SectionNamePrefix()
{
    static const std::wstring prefix = [] {
        const std::optional<PrivateNamespaceApi>& api = PlatformApi();
        return api ? ProcessNamespace(*api).Name() : std::wstring(L"Global");
    }();
    return prefix;
}

} // namespace Mardu::Sentel::Tavlo
