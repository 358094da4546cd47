#include "module/automation.h"

#include "SentelCommon.h"

#include "module/critical_section.h"
#include "module/error.h"
#include "module/held_interface.h"
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
    std::map<GUID, HeldInterface<ITypeInfo>, LessGuid> infos;
};

Cache& Loaded()
{
    static Cache cache;
    return cache;
}

HeldInterface<ITypeInfo> Find(Cache& cache, REFIID iid)
{
    const std::lock_guard lock(cache.lock);
    const auto found = cache.infos.find(iid);
    return found != cache.infos.end() ? found->second : nullptr;
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
    HeldInterface<ITypeInfo> held = Find(cache, iid);
    if (held == nullptr) {
        // Foreign code, which takes its time: without the lock. Of two threads the first one counts.
        held = Hold<ITypeInfo>(nullptr);
        CheckHResult(Load(library)->GetTypeInfoOfGuid(iid, held->GetAddressOf()));
        const std::lock_guard lock(cache.lock);
        held = cache.infos.try_emplace(iid, held).first->second;
    }
    return *held;
}

void ReleaseTypeInfos() noexcept
{
    Cache& cache = Loaded();
    decltype(cache.infos) dropped;
    const std::lock_guard lock(cache.lock);
    dropped.swap(cache.infos);
}

void AbandonTypeInfos() noexcept
{
    for (auto& [iid, info] : Loaded().infos)
        static_cast<void>(info->Detach());
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
