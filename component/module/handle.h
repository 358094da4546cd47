#pragma once

#include <windows.h>

#include <memory>

namespace Mardu {

struct HandleCloser
{
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};

/// Owns a kernel object's handle; null when there is none.
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

struct ViewCloser
{
    void operator()(void* view) const noexcept { UnmapViewOfFile(view); }
};

/// Owns a mapped view of a section.
using UniqueView = std::unique_ptr<void, ViewCloser>;

struct LocalMemoryCloser
{
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

/// Owns memory that the platform handed out for LocalFree.
using UniqueLocalMemory = std::unique_ptr<void, LocalMemoryCloser>;

} // namespace Mardu
