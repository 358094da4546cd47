#include "client/script/script_events.h"

#include "client/foundation/com_object.h"
#include "client/foundation/failure.h"
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
tavlo::com_ptr<ITypeInfo> Implemented(ITypeInfo& type, INT wanted)
{
    const TypeFacts facts = FactsOf(type);
    if (facts.kind != TKIND_COCLASS)
        return {};
    for (UINT i = 0; i < facts.implemented; ++i) {
        INT flags = 0;
        HREFTYPE reference = 0;
        tavlo::com_ptr<ITypeInfo> implemented;
        Check(type.GetImplTypeFlags(i, &flags), purpose);
        if (flags != wanted)
            continue;
        Check(type.GetRefTypeOfImplType(i, &reference), purpose);
        Check(type.GetRefTypeInfo(reference, implemented.put()), purpose);
        return implemented;
    }
    return {};
}

/// The default source of the class whose default interface the object shows.
tavlo::com_ptr<ITypeInfo> DefaultSourceOf(IDispatch& object)
{
    tavlo::com_ptr<ITypeInfo> own;
    Check(object.GetTypeInfo(0, LOCALE_USER_DEFAULT, own.put()), purpose);
    const IID shown = FactsOf(*own.get()).identifier;
    tavlo::com_ptr<ITypeLib> library;
    UINT index = 0;
    Check(own->GetContainingTypeLib(library.put(), &index), purpose);
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        tavlo::com_ptr<ITypeInfo> type;
        Check(library->GetTypeInfo(i, type.put()), purpose);
        const tavlo::com_ptr<ITypeInfo> interface_ = Implemented(*type.get(), IMPLTYPEFLAG_FDEFAULT);
        if (!interface_ || !IsEqualIID(FactsOf(*interface_.get()).identifier, shown))
            continue;
        const tavlo::com_ptr<ITypeInfo> source =
            Implemented(*type.get(), IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
        if (source)
            return source;
    }
    throw Failure(E_NOINTERFACE, purpose, "its class has none");
}

/// Passes an object's events on to the script.
class Sink final : public ComObject<IDispatch>
{
public:
    Sink(ScriptHost& host, tavlo::com_ptr<ITypeInfo> events, std::wstring prefix)
        : host_(&host),
          events_(std::move(events)),
          identifier_(FactsOf(*events_.get()).identifier),
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
    tavlo::com_ptr<ScriptHost> host_;
    tavlo::com_ptr<ITypeInfo> events_;
    IID identifier_;
    std::wstring prefix_;
};

} // namespace

ScriptEvents::ScriptEvents(ScriptHost& host, tavlo::com_ptr<IDispatch> source, std::wstring prefix)
    : source_(std::move(source))
{
    const tavlo::com_ptr<ITypeInfo> events = DefaultSourceOf(*source_.get());
    tavlo::com_ptr<IConnectionPointContainer> container;
    Check(source_->QueryInterface(IID_PPV_ARGS(container.put())), purpose);
    Check(container->FindConnectionPoint(FactsOf(*events.get()).identifier, point_.put()), purpose);
    const tavlo::com_ptr<Sink> sink(new Sink(host, events, std::move(prefix)));
    Check(point_->Advise(sink.get(), &cookie_), purpose);
}

ScriptEvents::~ScriptEvents()
{
    point_->Unadvise(cookie_);
}

} // namespace Mardu::Sentel::Tavlo::Client
