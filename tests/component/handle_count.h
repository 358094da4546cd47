#pragma once

#include <windows.h>

/// How many handles a process has; 0 when they cannot be counted. Not every platform that the
/// tests run on counts them; there all values that handles have are tried.
inline DWORD HandleCount(HANDLE process = GetCurrentProcess())
{
    DWORD count = 0;
    if (GetProcessHandleCount(process, &count) != FALSE && count != 0)
        return count;
    constexpr ULONG_PTR longestGap = 256; // of free values, which are reused from the lowest on
    const bool isOwn = GetProcessId(process) == GetCurrentProcessId();
    ULONG_PTR last = 0;
    for (ULONG_PTR i = 1; i - last <= longestGap; ++i) {
        const auto handle = reinterpret_cast<HANDLE>(4 * i);
        DWORD flags = 0;
        HANDLE duplicate = nullptr;
        const bool isThere = isOwn ? GetHandleInformation(handle, &flags) != FALSE
                                   : DuplicateHandle(process, handle, GetCurrentProcess(), &duplicate, 0,
                                                     FALSE, DUPLICATE_SAME_ACCESS) != FALSE;
        if (duplicate != nullptr)
            CloseHandle(duplicate);
        if (isThere) {
            last = i;
            ++count;
        }
    }
    return count;
}
