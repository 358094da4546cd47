#pragma once

#include <windows.h>
#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// How many handles a process has; 0 when they cannot be counted. GetProcessHandleCount is
/// not used: not every platform that the tests run on counts there.
inline DWORD HandleCount(DWORD processId = GetCurrentProcessId())
{
    struct Entry // of SystemExtendedHandleInformation
    {
        void* object;
        ULONG_PTR process;
        ULONG_PTR handle;
        ULONG access;
        USHORT backTrace;
        USHORT type;
        ULONG attributes;
        ULONG reserved;
    };
    constexpr int extendedHandleInformation = 64;
    constexpr LONG tooShort = static_cast<LONG>(0xC0000004);
    constexpr std::size_t head = 2 * sizeof(ULONG_PTR);
    using Query = LONG(NTAPI*)(int, void*, ULONG, ULONG*);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));

    std::vector<std::uint8_t> bytes(1 << 16);
    LONG status = tooShort;
    while (status == tooShort) {
        bytes.resize(2 * bytes.size());
        status = query(extendedHandleInformation, bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    }
    ULONG_PTR entries = 0;
    if (status >= 0)
        std::memcpy(&entries, bytes.data(), sizeof(entries));
    DWORD count = 0;
    for (ULONG_PTR i = 0; i < entries; ++i) {
        Entry entry;
        std::memcpy(&entry, bytes.data() + head + i * sizeof(entry), sizeof(entry));
        count += entry.process == processId ? 1 : 0;
    }
    return count;
}
