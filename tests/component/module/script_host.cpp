#include "tests/component/module/script_host.h"

#include <ocidl.h>

#include <algorithm>

namespace {

std::wstring TakeText(BSTR text)
{
    const std::wstring taken(text, SysStringLen(text));
    SysFreeString(text);
    return taken;
}

IID IdentifierOf(ITypeInfo* info)
{
    TYPEATTR* attributes = nullptr;
    EXPECT_HR(S_OK, info->GetTypeAttr(&attributes));
    const IID iid = attributes->guid;
    info->ReleaseTypeAttr(attributes);
    return iid;
}

/// What a class implements with these flags; null when it implements nothing so.
ComPtr<ITypeInfo> Implemented(ITypeInfo* coclass, INT wanted)
{
    TYPEATTR* attributes = nullptr;
    EXPECT_HR(S_OK, coclass->GetTypeAttr(&attributes));
    const WORD count = attributes->typekind == TKIND_COCLASS ? attributes->cImplTypes : WORD{0};
    coclass->ReleaseTypeAttr(attributes);
    for (UINT i = 0; i < count; ++i) {
        INT flags = 0;
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> implemented;
        EXPECT_HR(S_OK, coclass->GetImplTypeFlags(i, &flags));
        EXPECT_HR(S_OK, coclass->GetRefTypeOfImplType(i, &reference));
        EXPECT_HR(S_OK, coclass->GetRefTypeInfo(reference, &implemented));
        if (flags == wanted)
            return implemented;
    }
    return nullptr;
}

/// The default source of the class whose default interface the object shows.
ComPtr<ITypeInfo> DefaultSourceOf(IDispatch* object)
{
    ComPtr<ITypeInfo> own;
    EXPECT_HR(S_OK, object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &own));
    ComPtr<ITypeLib> library;
    UINT index = 0;
    EXPECT_HR(S_OK, own->GetContainingTypeLib(&library, &index));
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> candidate;
        EXPECT_HR(S_OK, library->GetTypeInfo(i, &candidate));
        const auto shown = Implemented(candidate.Get(), IMPLTYPEFLAG_FDEFAULT);
        if (shown != nullptr && IsEqualIID(IdentifierOf(shown.Get()), IdentifierOf(own.Get())))
            return Implemented(candidate.Get(), IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
    }
    return nullptr;
}

class Sink final : public ClientObject<IDispatch>
{
public:
    Sink(ComPtr<ITypeInfo> source, std::map<std::wstring, ScriptEvents::EventHandler> handlers)
        : source_(std::move(source)), iid_(IdentifierOf(source_.Get())), handlers_(std::move(handlers))
    {
    }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

    STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                        UINT*) override
    {
        BSTR name = nullptr;
        UINT count = 0;
        EXPECT_HR(S_OK, source_->GetNames(member, &name, 1, &count));
        const auto handler = handlers_.find(TakeText(name));
        if (handler == handlers_.end())
            return DISP_E_MEMBERNOTFOUND;
        std::vector<Variant> arguments;
        for (UINT i = parameters->cArgs; i-- > 0;)
            arguments.push_back(Variant::CopyOf(parameters->rgvarg[i]));
        handler->second(arguments);
        return S_OK;
    }

protected:
    IUnknown* Find(REFIID iid) override { return IsEqualIID(iid, iid_) ? this : ClientObject::Find(iid); }

private:
    const ComPtr<ITypeInfo> source_;
    const IID iid_;
    const std::map<std::wstring, ScriptEvents::EventHandler> handlers_;
};

} // namespace

Variant::Variant(long number) : Variant()
{
    value_.vt = VT_I4;
    value_.lVal = number;
}

Variant::Variant(double number) : Variant()
{
    value_.vt = VT_R8;
    value_.dblVal = number;
}

Variant::Variant(const wchar_t* text) : Variant()
{
    value_.vt = VT_BSTR;
    value_.bstrVal = SysAllocString(text);
}

Variant::Variant(IDispatch* object) : Variant()
{
    value_.vt = VT_DISPATCH;
    value_.pdispVal = object;
    if (object != nullptr)
        object->AddRef();
}

Variant::Variant(IUnknown* object) : Variant()
{
    value_.vt = VT_UNKNOWN;
    value_.punkVal = object;
    if (object != nullptr)
        object->AddRef();
}

Variant::Variant(const Variant& other) : Variant()
{
    EXPECT_HR(S_OK, VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)));
}

Variant& Variant::operator=(Variant other) noexcept
{
    std::swap(value_, other.value_);
    return *this;
}

Variant Variant::Missing()
{
    Variant missing;
    missing.value_.vt = VT_ERROR;
    missing.value_.scode = DISP_E_PARAMNOTFOUND;
    return missing;
}

Variant Variant::CopyOf(const VARIANT& value)
{
    Variant copy;
    EXPECT_HR(S_OK, VariantCopy(&copy.value_, const_cast<VARIANT*>(&value)));
    return copy;
}

double Variant::Number() const
{
    Variant number;
    EXPECT_HR(S_OK, VariantChangeType(&number.value_, const_cast<VARIANT*>(&value_), 0, VT_R8));
    return number.value_.dblVal;
}

ComPtr<IDispatch> Variant::Object() const
{
    return value_.vt == VT_DISPATCH ? value_.pdispVal : nullptr;
}

ScriptObject::ScriptObject(const wchar_t* programId)
{
    CLSID clsid = {};
    EXPECT_HR(S_OK, CLSIDFromProgID(programId, &clsid));
    object_ = Create<IDispatch>(clsid);
}

Outcome ScriptObject::Call(const std::wstring& name, std::vector<Variant> arguments) const
{
    return InvokeByName(name, DISPATCH_METHOD, std::move(arguments));
}

Outcome ScriptObject::Get(const std::wstring& name, std::vector<Variant> arguments) const
{
    return InvokeByName(name, DISPATCH_PROPERTYGET, std::move(arguments));
}

Outcome ScriptObject::Put(const std::wstring& name, std::vector<Variant> arguments) const
{
    return InvokeByName(name, DISPATCH_PROPERTYPUT, std::move(arguments));
}

Outcome ScriptObject::InvokeByName(const std::wstring& name, WORD flags, std::vector<Variant> arguments) const
{
    std::wstring writable = name;
    LPOLESTR names = writable.data();
    DISPID member = DISPID_UNKNOWN;
    Outcome outcome;
    outcome.hr = object_->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &member);
    return SUCCEEDED(outcome.hr) ? Invoke(member, flags, std::move(arguments)) : outcome;
}

Outcome ScriptObject::Invoke(DISPID member, WORD flags, std::vector<Variant> arguments) const
{
    std::vector<VARIANTARG> reversed;
    for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument)
        reversed.push_back(argument->Get());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    if (flags == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    Outcome outcome;
    EXCEPINFO exception = {};
    UINT bad = 0;
    outcome.hr = object_->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                 outcome.result.Place(), &exception, &bad);
    outcome.code = outcome.hr == DISP_E_EXCEPTION ? exception.scode : outcome.hr;
    outcome.description = TakeText(exception.bstrDescription);
    outcome.source = TakeText(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    return outcome;
}

std::wstring ScriptObject::TypeName() const
{
    ComPtr<ITypeInfo> info;
    EXPECT_HR(S_OK, object_->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
    BSTR name = nullptr;
    EXPECT_HR(S_OK, info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr));
    return TakeText(name);
}

ScriptEvents::ScriptEvents(const ScriptObject& source, std::map<std::wstring, EventHandler> handlers)
{
    const ComPtr<ITypeInfo> events = DefaultSourceOf(source.Dispatch());
    if (events == nullptr) {
        ADD_FAILURE() << "the object has no source of events";
        return;
    }
    ComPtr<IConnectionPointContainer> container;
    EXPECT_HR(S_OK, source.Dispatch()->QueryInterface(IID_PPV_ARGS(&container)));
    EXPECT_HR(S_OK, container->FindConnectionPoint(IdentifierOf(events.Get()), &point_));
    EXPECT_HR(S_OK, point_->Advise(New<Sink>(events, std::move(handlers)).Get(), &cookie_));
}

ScriptEvents::~ScriptEvents()
{
    if (point_ != nullptr) {
        EXPECT_HR(S_OK, point_->Unadvise(cookie_));
    }
}
