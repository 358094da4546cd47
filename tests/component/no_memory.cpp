#include "tests/component/no_memory.h"

#include "module/error.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool memoryIsExhausted = false;

void* Allocated(std::size_t size)
{
    void* const memory = memoryIsExhausted ? nullptr : std::malloc(size > 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t size)
{
    return Allocated(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

NoMemory::NoMemory()
{
    Mardu::Guarded([] { throw 1; });
    memoryIsExhausted = true;
}

NoMemory::~NoMemory()
{
    memoryIsExhausted = false;
}
