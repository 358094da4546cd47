#include "module/foreign_call.h"

#include "module/error.h"

#include <cstdint>
#include <cstdio>

// In foreign_frame.S.
extern "C" std::uint64_t TavloCallBehindFrame(void (*body)(void*), void* context);
extern "C" void TavloFrameEnd();

namespace Mardu {
namespace {

// The fields of a code: severity, whether it is a program's own, facility.
constexpr DWORD severityMask = 0xC0000000;
constexpr DWORD messageSeverity = 0x40000000;
constexpr DWORD programsOwn = 0x20000000;
constexpr DWORD facilityMask = 0x0FFF0000;
constexpr DWORD debuggerFacility = 0x00010000;

/// Of the three codes of this compiler (throwing, unwinding, a thread's end) the low bytes are "CCG".
constexpr DWORD compilerMask = 0xFCFFFFFF;
constexpr DWORD compilersOwn = 0x20474343;

/// Set beside the code, which may be 0.
constexpr std::uint64_t raisedFlag = std::uint64_t{1} << 32;

} // namespace

bool IsRaisedBySoftware(DWORD code) noexcept
{
    if ((code & programsOwn) != 0)
        return (code & compilerMask) != compilersOwn;
    // Without that bit codes are the system's, but some languages count from 0, and the loader's helpers
    // have a facility of their own.
    if ((code & severityMask) == 0)
        return true;
    const DWORD facility = code & facilityMask;
    return (code & severityMask) != messageSeverity && facility != 0 && facility != debuggerFacility;
}

std::optional<DWORD> RaisedBy(void (*body)(void*), void* context)
{
    const std::uint64_t ended = TavloCallBehindFrame(body, context);
    return ended != 0 ? std::optional(static_cast<DWORD>(ended)) : std::nullopt;
}

void ThrowRaised(DWORD code)
{
    char text[64];
    std::snprintf(text, sizeof(text), "The called object raised the exception 0x%08lX", code);
    throw HResultException(E_UNEXPECTED, text);
}

} // namespace Mardu

/// What the platform asks when an exception reaches the frame.
extern "C" EXCEPTION_DISPOSITION TavloFrameHandler(EXCEPTION_RECORD* exception, void* frame, CONTEXT* context,
                                                   DISPATCHER_CONTEXT* dispatcher)
{
    constexpr DWORD unwinding = EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND | EXCEPTION_TARGET_UNWIND;
    if ((exception->ExceptionFlags & unwinding) == 0 && Mardu::IsRaisedBySoftware(exception->ExceptionCode)) {
        const std::uint64_t ended = Mardu::raisedFlag | exception->ExceptionCode;
        RtlUnwindEx(frame, reinterpret_cast<void*>(&TavloFrameEnd), exception, reinterpret_cast<void*>(ended),
                    context, dispatcher->HistoryTable);
    }
    return ExceptionContinueSearch;
}
