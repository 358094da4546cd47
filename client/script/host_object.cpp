#include "client/script/host_object.h"

#include "client/command_line/print.h"
#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/script/script_host.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

bool IsSameName(const wchar_t* a, const wchar_t* b)
{
    return CompareStringOrdinal(a, -1, b, -1, TRUE) == CSTR_EQUAL;
}

void Fill(EXCEPINFO* exception, const Failure& failure)
{
    if (exception == nullptr)
        return;
    *exception = {};
    exception->bstrSource = SysAllocString(L"tavlo");
    exception->bstrDescription = SysAllocString(ToUtf16(failure.what()).c_str());
    exception->scode = failure.Result();
}

} // namespace

const HostObject::Member HostObject::members_[] = {
    {L"Echo", 0, std::numeric_limits<std::size_t>::max(), &HostObject::Echo},
    {L"Sleep", 1, 1, &HostObject::Sleep},
    {L"Quit", 0, 1, &HostObject::Quit},
    {L"CreateObject", 1, 2, &HostObject::CreateObject},
    {L"ConnectObject", 2, 2, &HostObject::ConnectObject},
    {L"DisconnectObject", 1, 1, &HostObject::DisconnectObject},
};

STDMETHODIMP HostObject::GetTypeInfoCount(UINT* count)
{
    *count = 0;
    return S_OK;
}

STDMETHODIMP HostObject::GetTypeInfo(UINT, LCID, ITypeInfo**)
{
    return E_NOTIMPL;
}

STDMETHODIMP HostObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* found)
{
    std::fill_n(found, count, DISPID_UNKNOWN);
    for (std::size_t i = 0; count == 1 && i < std::size(members_); ++i) {
        if (IsSameName(names[0], members_[i].name)) {
            *found = static_cast<DISPID>(i + 1);
            return S_OK;
        }
    }
    return DISP_E_UNKNOWNNAME;
}

STDMETHODIMP HostObject::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                VARIANT* result, EXCEPINFO* exception, UINT*)
{
    if (member < 1 || static_cast<std::size_t>(member) > std::size(members_) ||
        (flags & DISPATCH_METHOD) == 0)
        return DISP_E_MEMBERNOTFOUND;
    const Member& called = members_[member - 1];
    if (parameters->cArgs < called.fewest || parameters->cArgs > called.most)
        return DISP_E_BADPARAMCOUNT;
    try {
        CheckGoing();
        Arguments arguments;
        for (UINT i = parameters->cArgs; i-- > 0;)
            arguments.push_back(Variant::CopyOf(parameters->rgvarg[i]));
        (this->*called.call)(arguments, result);
        CheckGoing();
        return S_OK;
    } catch (const Failure& failure) {
        Fill(exception, failure);
        return DISP_E_EXCEPTION;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}

void HostObject::CheckGoing() const
{
    if (host_.IsEnding())
        throw Failure(E_ABORT, "go on with the script");
}

void HostObject::Echo(const Arguments& texts, VARIANT*)
{
    std::wstring line;
    for (const Variant& text : texts)
        line += (&text == &texts.front() ? L"" : L" ") + text.Text();
    Print(ToUtf8(line) + "\n");
}

void HostObject::Sleep(const Arguments& milliseconds, VARIANT*)
{
    host_.Wait(static_cast<DWORD>(std::max(milliseconds[0].Number(), LONG{0})));
}

void HostObject::Quit(const Arguments& code, VARIANT*)
{
    host_.Quit(code.empty() ? 0 : code[0].Number());
}

void HostObject::CreateObject(const Arguments& nameAndPrefix, VARIANT* result)
{
    const std::wstring name = nameAndPrefix[0].Text();
    const std::string purpose = "create the object '" + ToUtf8(name) + "'";
    CLSID identifier;
    Check(CLSIDFromProgID(name.c_str(), &identifier), purpose);
    tavlo::com_ptr<IDispatch> object;
    Check(CoCreateInstance(identifier, nullptr, CLSCTX_SERVER, IID_PPV_ARGS(object.put())), purpose);
    if (nameAndPrefix.size() > 1)
        events_.emplace_back(host_, object, nameAndPrefix[1].Text());
    if (result != nullptr) {
        VariantInit(result);
        result->vt = VT_DISPATCH;
        result->pdispVal = object.get();
        result->pdispVal->AddRef();
    }
}

void HostObject::ConnectObject(const Arguments& objectAndPrefix, VARIANT*)
{
    events_.emplace_back(host_, objectAndPrefix[0].Object(), objectAndPrefix[1].Text());
}

void HostObject::DisconnectObject(const Arguments& object, VARIANT*)
{
    const tavlo::com_ptr<IDispatch> source = object[0].Object();
    events_.remove_if([&](const ScriptEvents& events) { return events.Source() == source.get(); });
}

} // namespace Mardu::Sentel::Tavlo::Client
