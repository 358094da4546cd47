#include "module/automation.h"

#include "SentelCommon.h"

#include "module/error.h"
#include "module/module_lock.h"

#include <array>
#include <cstring>
#include <map>
#include <mutex>

namespace Mardu {
namespace {

struct LessGuid
{
    bool operator()(const GUID& a, const GUID& b) const noexcept
    {
        return std::memcmp(&a, &b, sizeof(GUID)) < 0;
    }
};

std::mutex cacheMutex;
std::map<GUID, ComPtr<ITypeInfo>, LessGuid> cache;

ComPtr<ITypeLib> LoadOwnLibrary()
{
    std::array<wchar_t, 32768> path;
    const DWORD length = GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length == path.size())
        ThrowLastError("The module's path is not known");
    ComPtr<ITypeLib> library;
    CheckHResult(LoadTypeLibEx(path.data(), REGKIND_NONE, &library));
    return library;
}

ComPtr<ITypeLib> Load(TypeLibrary library)
{
    if (library == TypeLibrary::Tavlo)
        return LoadOwnLibrary();
    ComPtr<ITypeLib> common;
    CheckHResult(LoadRegTypeLib(LIBID_CommonSentelLib, 1, 0, LOCALE_NEUTRAL, &common));
    return common;
}

} // namespace

ComPtr<ITypeInfo> TypeInfoOf(TypeLibrary library, REFIID iid)
{
    const std::lock_guard lock(cacheMutex);
    ComPtr<ITypeInfo>& info = cache[iid];
    if (info == nullptr)
        CheckHResult(Load(library)->GetTypeInfoOfGuid(iid, &info));
    return info;
}

void ReleaseTypeInfos() noexcept
{
    const std::lock_guard lock(cacheMutex);
    cache.clear();
}

void AbandonTypeInfos() noexcept
{
    for (auto& [iid, info] : cache)
        static_cast<void>(info.Detach());
}

HRESULT DispatchTypeInfo(TypeLibrary library, REFIID iid, UINT index, ITypeInfo** ppTypeInfo) noexcept
{
    if (ppTypeInfo == nullptr)
        return E_POINTER;
    *ppTypeInfo = nullptr;
    if (index != 0)
        return DISP_E_BADINDEX;
    return Guarded([&] { *ppTypeInfo = TypeInfoOf(library, iid).Detach(); });
}

HRESULT DispatchIdsOfNames(TypeLibrary library, REFIID iid, REFIID reserved, LPOLESTR* names, UINT count,
                           DISPID* ids) noexcept
{
    if (!IsEqualIID(reserved, IID_NULL))
        return DISP_E_UNKNOWNINTERFACE;
    // The type description does not look.
    if (names == nullptr || ids == nullptr)
        return E_POINTER;
    return Guarded([&] { return TypeInfoOf(library, iid)->GetIDsOfNames(names, count, ids); });
}

HRESULT DispatchInvoke(TypeLibrary library, REFIID iid, void* object, DISPID member, REFIID reserved,
                       WORD flags, DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                       UINT* badArgument) noexcept
{
    if (!IsEqualIID(reserved, IID_NULL))
        return DISP_E_UNKNOWNINTERFACE;
    return Guarded([&] {
        return TypeInfoOf(library, iid)
            ->Invoke(object, member, flags, parameters, result, exception, badArgument);
    });
}

} // namespace Mardu
