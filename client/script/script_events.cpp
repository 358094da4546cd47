#include "client/script/script_events.h"

#include "client/com_object.h"
#include "client/failure.h"
#include "client/script/script_host.h"
#include "client/script/variant.h"

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::string_view purpose = "connect to the object's events";

struct TypeFacts
{
    IID identifier = {};
    TYPEKIND kind = TKIND_ALIAS;
    WORD implemented = 0;
};

TypeFacts FactsOf(ITypeInfo& type)
{
    TYPEATTR* attributes = nullptr;
    Check(type.GetTypeAttr(&attributes), purpose);
    const TypeFacts facts{attributes->guid, attributes->typekind, attributes->cImplTypes};
    type.ReleaseTypeAttr(attributes);
    return facts;
}

/// What a class implements with exactly these flags; null when it implements nothing so.
ComPtr<ITypeInfo> Implemented(ITypeInfo& type, INT wanted)
{
    const TypeFacts facts = FactsOf(type);
    if (facts.kind != TKIND_COCLASS)
        return nullptr;
    for (UINT i = 0; i < facts.implemented; ++i) {
        INT flags = 0;
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> implemented;
        Check(type.GetImplTypeFlags(i, &flags), purpose);
        if (flags != wanted)
            continue;
        Check(type.GetRefTypeOfImplType(i, &reference), purpose);
        Check(type.GetRefTypeInfo(reference, &implemented), purpose);
        return implemented;
    }
    return nullptr;
}

/// The default source of the class whose default interface the object shows.
ComPtr<ITypeInfo> DefaultSourceOf(IDispatch& object)
{
    ComPtr<ITypeInfo> own;
    Check(object.GetTypeInfo(0, LOCALE_USER_DEFAULT, &own), purpose);
    const IID shown = FactsOf(*own.Get()).identifier;
    ComPtr<ITypeLib> library;
    UINT index = 0;
    Check(own->GetContainingTypeLib(&library, &index), purpose);
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> type;
        Check(library->GetTypeInfo(i, &type), purpose);
        const ComPtr<ITypeInfo> interface_ = Implemented(*type.Get(), IMPLTYPEFLAG_FDEFAULT);
        if (interface_.Get() == nullptr || !IsEqualIID(FactsOf(*interface_.Get()).identifier, shown))
            continue;
        const ComPtr<ITypeInfo> source =
            Implemented(*type.Get(), IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
        if (source.Get() != nullptr)
            return source;
    }
    throw Failure(E_NOINTERFACE, purpose, "its class has none");
}

/// Passes an object's events on to the script.
class Sink final : public ComObject<IDispatch>
{
public:
    Sink(ScriptHost& host, ComPtr<ITypeInfo> events, std::wstring prefix)
        : host_(&host),
          events_(std::move(events)),
          identifier_(FactsOf(*events_.Get()).identifier),
          prefix_(std::move(prefix))
    {
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override
    {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

    STDMETHODIMP Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                        UINT*) override
    {
        BSTR name = nullptr;
        UINT count = 0;
        if (FAILED(events_->GetNames(event, &name, 1, &count)))
            return DISP_E_MEMBERNOTFOUND;
        host_->Call(prefix_ + TakeText(name), *arguments);
        return S_OK;
    }

protected:
    void* Find(REFIID iid) override
    {
        return IsEqualIID(iid, identifier_) ? static_cast<IDispatch*>(this) : ComObject::Find(iid);
    }

private:
    ComPtr<ScriptHost> host_;
    ComPtr<ITypeInfo> events_;
    IID identifier_;
    std::wstring prefix_;
};

} // namespace

ScriptEvents::ScriptEvents(ScriptHost& host, ComPtr<IDispatch> source, std::wstring prefix)
    : source_(std::move(source))
{
    const ComPtr<ITypeInfo> events = DefaultSourceOf(*source_.Get());
    ComPtr<IConnectionPointContainer> container;
    Check(source_.As(&container), purpose);
    Check(container->FindConnectionPoint(FactsOf(*events.Get()).identifier, &point_), purpose);
    const ComPtr<Sink> sink(new Sink(host, events, std::move(prefix)));
    Check(point_->Advise(sink.Get(), &cookie_), purpose);
}

ScriptEvents::~ScriptEvents()
{
    point_->Unadvise(cookie_);
}

} // namespace Mardu::Sentel::Tavlo::Client
