#include "module/automation.h"

#include "SentelCommon.h"

#include "module/critical_section.h"
#include "module/error.h"
#include "module/module_lock.h"

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

/// Made at the first use: nothing of it can fail when the module is loaded.
struct Cache
{
    CriticalSection lock;
    std::map<GUID, ComPtr<ITypeInfo>, LessGuid> infos;
};

Cache& Loaded()
{
    static Cache cache;
    return cache;
}

ComPtr<ITypeLib> LoadOwnLibrary()
{
    ComPtr<ITypeLib> library;
    CheckHResult(LoadTypeLibEx(ThisModulePath().c_str(), REGKIND_NONE, &library));
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
    Cache& cache = Loaded();
    const std::lock_guard lock(cache.lock);
    ComPtr<ITypeInfo>& info = cache.infos[iid];
    if (info == nullptr)
        CheckHResult(Load(library)->GetTypeInfoOfGuid(iid, &info));
    return info;
}

void ReleaseTypeInfos() noexcept
{
    Cache& cache = Loaded();
    const std::lock_guard lock(cache.lock);
    cache.infos.clear();
}

void AbandonTypeInfos() noexcept
{
    for (auto& [iid, info] : Loaded().infos)
        static_cast<void>(info.Detach());
}

HRESULT AutomationTypeInfo(TypeLibrary library, REFIID iid, UINT index, ITypeInfo** ppTypeInfo) noexcept
{
    if (ppTypeInfo == nullptr)
        return E_POINTER;
    *ppTypeInfo = nullptr;
    if (index != 0)
        return DISP_E_BADINDEX;
    return Guarded([&] { *ppTypeInfo = TypeInfoOf(library, iid).Detach(); });
}

HRESULT AutomationIdsOfNames(TypeLibrary library, REFIID iid, REFIID reserved, LPOLESTR* names, UINT count,
                             DISPID* ids) noexcept
{
    if (!IsEqualIID(reserved, IID_NULL))
        return DISP_E_UNKNOWNINTERFACE;
    // The type description does not look.
    if (names == nullptr || ids == nullptr)
        return E_POINTER;
    return Guarded([&] { return TypeInfoOf(library, iid)->GetIDsOfNames(names, count, ids); });
}

HRESULT AutomationInvoke(TypeLibrary library, REFIID iid, void* object, DISPID member, REFIID reserved,
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
