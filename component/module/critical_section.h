#pragma once

#include "module/error.h"

#include <windows.h>

namespace Mardu {

/// A critical section for std::lock_guard.
class CriticalSection
{
public:
    CriticalSection()
    {
        if (InitializeCriticalSectionEx(&section_, 4000, 0) == FALSE)
            ThrowLastError("InitializeCriticalSectionEx failed");
    }

    ~CriticalSection() { DeleteCriticalSection(&section_); }

    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock() noexcept { EnterCriticalSection(&section_); }
    void unlock() noexcept { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

} // namespace Mardu
