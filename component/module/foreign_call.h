#pragma once

#include <windows.h>

#include <optional>
#include <type_traits>

namespace Mardu {

/// Whether a structured exception is one that a program raises, such as those of other
/// compilers' C++, and not a fault of the processor, a finding of the system, a message to a debugger,
/// or an exception of this compiler, all of which are for others to handle.
bool IsRaisedBySoftware(DWORD code) noexcept;

/// Runs body(context); the code of the exception raised by software that ended it, if one did. Whatever
/// else it throws or raises goes on.
std::optional<DWORD> RaisedBy(void (*body)(void*), void* context);

/// Throws what stands for such an exception: E_UNEXPECTED, as for any that the component does not know.
[[noreturn]] void ThrowRaised(DWORD code);

/// Calls code of others, whose structured exceptions `catch` does not see. The call returns an HRESULT and
/// is no more than that one call: after such an exception nothing of its own is destroyed. Functions of the
/// platform that hold locks while they call others, such as those that marshal, are not called this way.
template <class Call>
HRESULT CallForeign(const Call& call)
{
    struct Body
    {
        const Call& call;
        HRESULT result;

        static void Run(void* body) { static_cast<Body*>(body)->result = static_cast<Body*>(body)->call(); }
    };
    Body body = {call, E_UNEXPECTED};
    if (const auto raised = RaisedBy(&Body::Run, &body))
        ThrowRaised(*raised);
    return body.result;
}

} // namespace Mardu
