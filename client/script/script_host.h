#pragma once

#include "client/foundation/com_object.h"
#include "client/foundation/component_errors.h"

#include <activscp.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// Where and why a script failed.
struct ScriptError
{
    std::string description;
    std::string source; ///< what has found it, such as the script's engine
    HRESULT code = E_FAIL;
    std::uint32_t line = 0; ///< from 1; 0 when it is not known
    std::uint32_t column = 0;

    /// "line 3, column 5: DESCRIPTION (SOURCE, 0x800A000B)".
    std::string Text() const;
};

/// Runs a script in one of the platform's engines, with objects that the script finds by
/// their names. Lives in a single-threaded apartment, on one thread.
class ScriptHost final : public ComObject<IActiveScriptSite, IActiveScriptSiteWindow>
{
public:
    /// language is the engine's ProgID.
    explicit ScriptHost(const wchar_t* language);

    void Add(const std::wstring& name, IDispatch& object);

    /// Runs the script to its end; Error and Quit tell how that was.
    void Run(const std::wstring& source);

    /// Calls a function of the script, with the arguments of an event. Nothing happens
    /// when the script has none of this name.
    void Call(const std::wstring& function, DISPPARAMS& arguments);

    /// Lets events come for this long, or until the script is to end.
    void Wait(DWORD milliseconds);

    /// The script's own wish to end.
    void Quit(LONG code);

    bool IsEnding() const noexcept { return error_ || quit_; }
    const std::optional<ScriptError>& Error() const noexcept { return error_; }
    std::optional<LONG> QuitCode() const noexcept { return quit_; }

    /// Lets the engine and all objects go.
    void Close();

    STDMETHODIMP GetLCID(LCID* locale) override;
    STDMETHODIMP GetItemInfo(LPCOLESTR name, DWORD wanted, IUnknown** object, ITypeInfo** type) override;
    STDMETHODIMP GetDocVersionString(BSTR* version) override;
    STDMETHODIMP OnScriptTerminate(const VARIANT* result, const EXCEPINFO* exception) override;
    STDMETHODIMP OnStateChange(SCRIPTSTATE state) override;
    STDMETHODIMP OnScriptError(IActiveScriptError* error) override;
    STDMETHODIMP OnEnterScript() override { return S_OK; }
    STDMETHODIMP OnLeaveScript() override { return S_OK; }
    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP EnableModeless(BOOL enable) override;

private:
    /// The first error counts: what follows may be its consequence.
    void Report(ScriptError error);

    tavlo::com_ptr<IActiveScript> engine_;
    bool isRunning_ = false; ///< an engine without a site does not bear to be closed
    std::map<std::wstring, tavlo::com_ptr<IDispatch>> items_;
    std::optional<ScriptError> error_;
    std::optional<LONG> quit_;
};

} // namespace Mardu::Sentel::Tavlo::Client
