#pragma once

#include "client/foundation/component_errors.h"

#include <ocidl.h>

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

class ScriptHost;

/// A script's functions handle an object's events as long as this object lives: the event
/// OnImageUpdate is handled by Image_OnImageUpdate when the prefix is "Image_". What
/// events there are is found in the object's type library.
class ScriptEvents
{
public:
    /// host outlives this object.
    ScriptEvents(ScriptHost& host, tavlo::com_ptr<IDispatch> source, std::wstring prefix);
    ~ScriptEvents();
    ScriptEvents(const ScriptEvents&) = delete;
    ScriptEvents& operator=(const ScriptEvents&) = delete;

    IDispatch* Source() const noexcept { return source_.get(); }

private:
    tavlo::com_ptr<IDispatch> source_;
    tavlo::com_ptr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

} // namespace Mardu::Sentel::Tavlo::Client
