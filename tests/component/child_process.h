#pragma once

#include "module/handle.h"

#include <initializer_list>
#include <string>

/// How long a test waits for something that comes at once unless all is lost.
constexpr DWORD generousLimit = 60000;

/// A running namespace_child with these arguments. It inherits the handles that may be
/// inherited. A child that still runs in the end is stopped.
class ChildProcess
{
public:
    explicit ChildProcess(std::initializer_list<std::wstring> arguments);
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the end of the process; its exit code, or STILL_ACTIVE at the limit.
    DWORD ExitCode();

private:
    Mardu::UniqueHandle process_;
};
