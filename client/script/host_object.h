#pragma once

#include "client/foundation/com_object.h"
#include "client/foundation/component_errors.h"
#include "client/script/script_events.h"
#include "client/script/variant.h"

#include <list>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// What scripts know as WScript: the members of the platform's script host that scripts
/// about images need, so that they run in both.
class HostObject final : public ComObject<IDispatch>
{
public:
    /// host lives until Close.
    explicit HostObject(ScriptHost& host) : host_(host) {}

    /// Ends all handling of events.
    void Close() { events_.clear(); }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) override;
    STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* bad) override;

private:
    using Arguments = std::vector<Variant>;

    /// A script that is to end leaves by an error, which nobody is told of.
    void CheckGoing() const;

    void Echo(const Arguments& texts, VARIANT* result);
    void Sleep(const Arguments& milliseconds, VARIANT* result);
    void Quit(const Arguments& code, VARIANT* result);
    void CreateObject(const Arguments& nameAndPrefix, VARIANT* result);
    void ConnectObject(const Arguments& objectAndPrefix, VARIANT* result);
    void DisconnectObject(const Arguments& object, VARIANT* result);

    struct Member
    {
        const wchar_t* name;
        std::size_t fewest;
        std::size_t most;
        void (HostObject::*call)(const Arguments& arguments, VARIANT* result);
    };
    static const Member members_[];

    ScriptHost& host_;
    std::list<ScriptEvents> events_;
};

} // namespace Mardu::Sentel::Tavlo::Client
