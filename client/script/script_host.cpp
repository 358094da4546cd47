#include "client/script/script_host.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/script/variant.h"

#include <sstream>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// The texts of an exception, which are freed.
ScriptError Take(EXCEPINFO& exception)
{
    if (exception.pfnDeferredFillIn != nullptr)
        exception.pfnDeferredFillIn(&exception);
    ScriptError error;
    error.description = ToUtf8(TakeText(exception.bstrDescription));
    error.source = ToUtf8(TakeText(exception.bstrSource));
    SysFreeString(exception.bstrHelpFile);
    error.code = exception.scode != 0 ? exception.scode : E_FAIL;
    if (error.description.empty())
        error.description = SystemText(error.code);
    return error;
}

} // namespace

std::string ScriptError::Text() const
{
    std::ostringstream text;
    if (line > 0)
        text << "line " << line << ", column " << column << ": ";
    text << description << " (";
    if (!source.empty())
        text << source << ", ";
    text << ResultText(code) << ")";
    return text.str();
}

ScriptHost::ScriptHost(const wchar_t* language)
{
    const std::string purpose = "start the script engine " + ToUtf8(language);
    CLSID engine;
    if (FAILED(CLSIDFromProgID(language, &engine)))
        throw Failure(REGDB_E_CLASSNOTREG, purpose, "it is not installed");
    Check(CoCreateInstance(engine, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(engine_.put())), purpose);
}

void ScriptHost::Add(const std::wstring& name, IDispatch& object)
{
    items_[name] = tavlo::com_ptr<IDispatch>(&object);
}

void ScriptHost::Run(const std::wstring& source)
{
    constexpr std::string_view purpose = "start the script";
    tavlo::com_ptr<IActiveScriptParse> parser;
    Check(engine_->QueryInterface(IID_PPV_ARGS(parser.put())), purpose);
    Check(parser->InitNew(), purpose);
    Check(engine_->SetScriptSite(this), purpose);
    isRunning_ = true;
    for (const auto& [name, object] : items_)
        Check(engine_->AddNamedItem(name.c_str(), SCRIPTITEM_ISVISIBLE), purpose);

    EXCEPINFO exception = {};
    HRESULT result = parser->ParseScriptText(source.c_str(), nullptr, nullptr, nullptr, 0, 0,
                                             SCRIPTTEXT_ISVISIBLE, nullptr, &exception);
    if (SUCCEEDED(result))
        result = engine_->SetScriptState(SCRIPTSTATE_CONNECTED);
    // What the script itself has done wrong is known from OnScriptError.
    if (FAILED(result) && !IsEnding())
        Check(result, "run the script");
}

void ScriptHost::Call(const std::wstring& function, DISPPARAMS& arguments)
{
    tavlo::com_ptr<IDispatch> script;
    DISPID member = DISPID_UNKNOWN;
    std::wstring name = function;
    LPOLESTR names = name.data();
    if (IsEnding() || !engine_ || FAILED(engine_->GetScriptDispatch(nullptr, script.put())) ||
        FAILED(script->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &member)))
        return;
    Variant result;
    EXCEPINFO exception = {};
    const HRESULT hr = script->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &arguments,
                                      result.Place(), &exception, nullptr);
    if (FAILED(hr) && !IsEnding()) {
        if (hr != DISP_E_EXCEPTION)
            exception.scode = hr;
        ScriptError error = Take(exception);
        error.description = ToUtf8(function) + ": " + error.description;
        Report(std::move(error));
    }
}

void ScriptHost::Wait(DWORD milliseconds)
{
    const ULONGLONG start = GetTickCount64();
    for (;;) {
        const ULONGLONG passed = GetTickCount64() - start;
        const DWORD left = passed >= milliseconds ? 0 : milliseconds - static_cast<DWORD>(passed);
        const DWORD came = MsgWaitForMultipleObjectsEx(0, nullptr, left, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        if (came != WAIT_OBJECT_0 || left == 0 || IsEnding())
            return;
    }
}

void ScriptHost::Quit(LONG code)
{
    if (!quit_)
        quit_ = code;
}

void ScriptHost::Close()
{
    if (isRunning_)
        engine_->Close();
    engine_ = {};
    items_.clear();
}

void ScriptHost::Report(ScriptError error)
{
    if (!IsEnding())
        error_ = std::move(error);
}

STDMETHODIMP ScriptHost::GetLCID(LCID*)
{
    return E_NOTIMPL; // the user's
}

STDMETHODIMP ScriptHost::GetItemInfo(LPCOLESTR name, DWORD wanted, IUnknown** object, ITypeInfo** type)
{
    if ((wanted & SCRIPTINFO_ITYPEINFO) != 0 && type != nullptr)
        *type = nullptr;
    if ((wanted & SCRIPTINFO_IUNKNOWN) == 0 || object == nullptr)
        return S_OK;
    *object = nullptr;
    const auto item = items_.find(name);
    return item == items_.end() ? TYPE_E_ELEMENTNOTFOUND : item->second->QueryInterface(IID_PPV_ARGS(object));
}

STDMETHODIMP ScriptHost::GetDocVersionString(BSTR*)
{
    return E_NOTIMPL;
}

STDMETHODIMP ScriptHost::OnScriptTerminate(const VARIANT*, const EXCEPINFO*)
{
    return S_OK;
}

STDMETHODIMP ScriptHost::OnStateChange(SCRIPTSTATE)
{
    return S_OK;
}

STDMETHODIMP ScriptHost::OnScriptError(IActiveScriptError* error)
{
    EXCEPINFO exception = {};
    ScriptError taken;
    if (SUCCEEDED(error->GetExceptionInfo(&exception)))
        taken = Take(exception);
    DWORD context = 0;
    ULONG line = 0;
    LONG column = 0;
    if (SUCCEEDED(error->GetSourcePosition(&context, &line, &column))) {
        taken.line = line + 1;
        taken.column = static_cast<std::uint32_t>(column) + 1;
    }
    Report(std::move(taken));
    return S_OK;
}

STDMETHODIMP ScriptHost::GetWindow(HWND* window)
{
    *window = nullptr;
    return S_OK;
}

STDMETHODIMP ScriptHost::EnableModeless(BOOL)
{
    return S_OK;
}

} // namespace Mardu::Sentel::Tavlo::Client
