#include "tests/component/recode/protected_pages.h"

#include <cstdlib>
#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace {

FirstTouch* active = nullptr;

#ifdef _WIN32

LONG CALLBACK OnFault(EXCEPTION_POINTERS* fault)
{
    const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
    const bool isAccess = record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2;
    return isAccess && active != nullptr &&
                   active->Handle(reinterpret_cast<const void*>(record.ExceptionInformation[1]))
               ? EXCEPTION_CONTINUE_EXECUTION
               : EXCEPTION_CONTINUE_SEARCH;
}

PVOID handler = nullptr;

void Listen()
{
    handler = AddVectoredExceptionHandler(1, OnFault);
}

void StopListening()
{
    RemoveVectoredExceptionHandler(handler);
}

std::uint8_t* Reserve(std::size_t size)
{
    return static_cast<std::uint8_t*>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
}

void Return(std::uint8_t* begin, std::size_t)
{
    VirtualFree(begin, 0, MEM_RELEASE);
}

bool Change(std::uint8_t* begin, std::size_t size, ProtectedPages::Access access)
{
    DWORD before;
    return VirtualProtect(begin, size,
                          access == ProtectedPages::Access::none ? PAGE_NOACCESS : PAGE_READWRITE,
                          &before) != 0;
}

#else

struct sigaction before;

void OnFault(int, siginfo_t* info, void*)
{
    // Somebody else's fault comes again when its own handler is back.
    if (active == nullptr || !active->Handle(info->si_addr))
        sigaction(SIGSEGV, &before, nullptr);
}

void Listen()
{
    struct sigaction action = {};
    action.sa_sigaction = OnFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &before);
}

void StopListening()
{
    sigaction(SIGSEGV, &before, nullptr);
}

std::uint8_t* Reserve(std::size_t size)
{
    void* begin = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return begin == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(begin);
}

void Return(std::uint8_t* begin, std::size_t size)
{
    munmap(begin, size);
}

bool Change(std::uint8_t* begin, std::size_t size, ProtectedPages::Access access)
{
    return mprotect(begin, size,
                    access == ProtectedPages::Access::none ? PROT_NONE : PROT_READ | PROT_WRITE) == 0;
}

#endif

} // namespace

ProtectedPages::ProtectedPages(std::size_t size)
{
    const std::size_t page = PageSize();
    size_ = (size + page - 1) / page * page;
    begin_ = Reserve(size_ + 2 * page);
    if (begin_ == nullptr)
        throw std::bad_alloc();
    begin_ += page;
    if (size_ != 0 && !Change(begin_, size_, Access::readAndWrite)) {
        Return(begin_ - page, size_ + 2 * page);
        throw std::bad_alloc();
    }
}

ProtectedPages::~ProtectedPages()
{
    Return(begin_ - PageSize(), size_ + 2 * PageSize());
}

std::size_t ProtectedPages::PageSize()
{
#ifdef _WIN32
    return 4096;
#else
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
#endif
}

void ProtectedPages::Allow(std::uint8_t* page, Access access)
{
    if (!Change(page, PageSize(), access))
        std::abort();
}

FirstTouch::FirstTouch(std::uint8_t* page, Function function, void* context)
    : page_(page), function_(function), context_(context)
{
    active = this;
    Listen();
    ProtectedPages::Allow(page_, ProtectedPages::Access::none);
}

FirstTouch::~FirstTouch()
{
    ProtectedPages::Allow(page_, ProtectedPages::Access::readAndWrite);
    StopListening();
    active = nullptr;
}

bool FirstTouch::Handle(const void* address)
{
    const auto distance = reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(page_);
    if (wasTouched_ || distance >= ProtectedPages::PageSize())
        return false;
    wasTouched_ = true;
    ProtectedPages::Allow(page_, ProtectedPages::Access::readAndWrite);
    function_(context_);
    return true;
}
