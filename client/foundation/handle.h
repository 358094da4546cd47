#pragma once

#include <windows.h>

#include <memory>

namespace Mardu::Sentel::Tavlo::Client {

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};

/// Owns a kernel object's handle. Empty is null; no INVALID_HANDLE_VALUE in here.
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

} // namespace Mardu::Sentel::Tavlo::Client
