#pragma once

#include <cstddef>
#include <cstdint>

/// Memory between two inaccessible pages: who reads or writes a byte before it or behind it ends the process.
/// Unlike the address sanitizer the processor sees every access, those of streaming stores and masked loads,
/// too.
class ProtectedPages
{
public:
    /// So many bytes at least, in whole pages.
    explicit ProtectedPages(std::size_t size);
    ~ProtectedPages();
    ProtectedPages(const ProtectedPages&) = delete;
    ProtectedPages& operator=(const ProtectedPages&) = delete;

    static std::size_t PageSize();

    std::uint8_t* Begin() const { return begin_; }
    std::uint8_t* End() const { return begin_ + size_; }
    std::size_t Size() const { return size_; }

    enum class Access
    {
        none,
        readAndWrite
    };
    /// What the page from this address on allows.
    static void Allow(std::uint8_t* page, Access access);

private:
    std::uint8_t* begin_;
    std::size_t size_;
};

/// Makes a page inaccessible, calls a function when somebody touches it first, and lets him go on then. One
/// at a time.
class FirstTouch
{
public:
    using Function = void (*)(void* context);

    FirstTouch(std::uint8_t* page, Function function, void* context);
    ~FirstTouch();
    FirstTouch(const FirstTouch&) = delete;
    FirstTouch& operator=(const FirstTouch&) = delete;

    bool WasTouched() const { return wasTouched_; }

    /// For the handler of the platform: whether this address is in the page.
    bool Handle(const void* address);

private:
    std::uint8_t* page_;
    Function function_;
    void* context_;
    bool wasTouched_ = false;
};
