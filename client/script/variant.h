#pragma once

#include "client/foundation/component_errors.h"

#include <oleauto.h>

#include <string>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

/// A variant that cleans up after itself.
class Variant
{
public:
    Variant() noexcept { VariantInit(&value_); }
    Variant(Variant&& other) noexcept : Variant() { std::swap(value_, other.value_); }
    Variant& operator=(Variant&& other) noexcept
    {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Variant() { VariantClear(&value_); }

    /// A copy of what a caller passes, also of what it passes by reference.
    static Variant CopyOf(const VARIANT& value);

    VARIANT* Place() noexcept { return &value_; }
    VARTYPE Type() const noexcept { return value_.vt; }

    /// Conversions as the platform makes them; what has none is a Failure.
    std::wstring Text() const;
    LONG Number() const;
    tavlo::com_ptr<IDispatch> Object() const;

private:
    Variant ChangedTo(VARTYPE type) const;

    VARIANT value_;
};

/// The text, which is freed.
std::wstring TakeText(BSTR text);

} // namespace Mardu::Sentel::Tavlo::Client
