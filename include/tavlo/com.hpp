/// The interfaces, and owners of references and strings.
#pragma once

#include <TavloLib.h>
#include <oleauto.h>

#include <new>
#include <string_view>
#include <utility>

namespace tavlo {

/// Owns one reference to an object.
template <class Interface>
class com_ptr
{
public:
    com_ptr() = default;

    /// Takes a reference of its own; null is allowed.
    explicit com_ptr(Interface* object) noexcept : object_(object)
    {
        if (object_ != nullptr)
            object_->AddRef();
    }

    com_ptr(const com_ptr& other) noexcept : com_ptr(other.object_) {}
    com_ptr(com_ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

    com_ptr& operator=(com_ptr other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }

    ~com_ptr()
    {
        if (object_ != nullptr)
            object_->Release();
    }

    /// Owns the reference that the caller has.
    static com_ptr take(Interface* object) noexcept
    {
        com_ptr owner;
        owner.object_ = object;
        return owner;
    }

    Interface* get() const noexcept { return object_; }
    Interface* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /// Lets the object go and gives the place for another one, as an out argument.
    Interface** put() noexcept
    {
        *this = com_ptr();
        return &object_;
    }

    /// The same for functions that take the place without its type.
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    /// Another interface of the object; null when the object has none such.
    template <class Other>
    com_ptr<Other> query() const noexcept
    {
        com_ptr<Other> other;
        if (object_ != nullptr && FAILED(object_->QueryInterface(__uuidof(Other), other.put_void())))
            return {};
        return other;
    }

private:
    Interface* object_ = nullptr;
};

/// Owns a string of the component runtime.
class bstr
{
public:
    bstr() = default;

    /// A copy of the text. std::bad_alloc without memory for it.
    explicit bstr(std::wstring_view text)
        : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
        if (text_ == nullptr)
            throw std::bad_alloc();
    }

    bstr(bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}

    bstr& operator=(bstr&& other) noexcept
    {
        std::swap(text_, other.text_);
        return *this;
    }

    ~bstr() { SysFreeString(text_); }

    BSTR get() const noexcept { return text_; }
    std::wstring_view view() const noexcept { return {text_ != nullptr ? text_ : L"", SysStringLen(text_)}; }

    /// Frees the string and gives the place for another one, as an out argument.
    BSTR* put() noexcept
    {
        *this = bstr();
        return &text_;
    }

private:
    BSTR text_ = nullptr;
};

} // namespace tavlo
