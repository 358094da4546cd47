#include "shared/image/property_bag.h"

#include "module/error.h"
#include "module/foreign_call.h"
#include "shared/image/safe_array.h"

#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Mardu::Sentel::Tavlo {

namespace {

/// A copy made by one of the platform's two functions.
template <class Function>
VARIANT CopyOf(const VARIANT& source, Function function)
{
    VARIANT copy;
    VariantInit(&copy);
    // Not every platform header declares the source const; it is only read.
    CheckHResult(CallForeign([&] { return function(&copy, const_cast<VARIANT*>(&source)); }));
    return copy;
}

} // namespace

// What is behind a pointer is copied with it: the pointer may not live as long as the value.
PropertyBag::Value::Value(const VARIANT& source) : variant_(CopyOf(source, VariantCopyInd)) {}

VARIANT PropertyBag::Value::Copy() const
{
    return CopyOf(variant_, VariantCopy);
}

void PropertyBag::Set(const std::wstring& name, const VARIANT& value)
{
    // The old value is released after the lock, since that may call into its owner.
    auto copy = std::make_shared<const Value>(value);
    const std::lock_guard lock(lock_);
    values_[name].swap(copy);
}

VARIANT PropertyBag::Get(const std::wstring& name) const
{
    std::shared_ptr<const Value> value;
    {
        const std::lock_guard lock(lock_);
        if (const auto found = values_.find(name); found != values_.end())
            value = found->second;
    }
    if (value == nullptr)
        throw std::invalid_argument("The image has no property of that name");
    return value->Copy();
}

void PropertyBag::Clear() noexcept
{
    decltype(values_) dropped;
    {
        const std::lock_guard lock(lock_);
        dropped.swap(values_);
    }
}

SAFEARRAY* PropertyBag::Names() const
{
    std::vector<std::wstring> names;
    for (const auto& entry : values_)
        names.push_back(entry.first);
    return NewStringArray(names);
}

} // namespace Mardu::Sentel::Tavlo
