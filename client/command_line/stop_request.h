#pragma once

#include "client/foundation/handle.h"

namespace Mardu::Sentel::Tavlo::Client {

/// How a user ends a command that goes on until then: Enter or the end of the input, where that is a
/// console or a pipe, and Ctrl+C, which ends the program no other way as long as this object lives.
/// One object at a time; it takes the standard input.
class StopRequest
{
public:
    StopRequest();
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

    /// Signalled from then on.
    HANDLE Event() const noexcept { return event_.get(); }

    void Wait() const { WaitForSingleObject(event_.get(), INFINITE); }

private:
    Handle event_;
};

/// Whether the end of such an input is somebody's wish. A file and the null device, which services
/// and build machines give to programs, are at their end from the start, and tell nothing.
bool TellsOfTheEnd(HANDLE input) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
