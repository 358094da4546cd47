#include "shared/image/property_bag.h"

#include "module/error.h"
#include "shared/image/safe_array.h"

#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Mardu::Sentel::Tavlo {

namespace {

VARIANT CopyOf(const VARIANT& source)
{
    VARIANT copy;
    VariantInit(&copy);
    // Not every platform header declares the source const; it is only read.
    CheckHResult(VariantCopy(&copy, const_cast<VARIANT*>(&source)));
    return copy;
}

} // namespace

PropertyBag::Value::Value(const VARIANT& source) : variant_(CopyOf(source)) {}

VARIANT PropertyBag::Value::Copy() const
{
    return CopyOf(variant_);
}

void PropertyBag::Set(const std::wstring& name, const VARIANT& value)
{
    // The old value is released after the lock, since that may call into its owner.
    Value copy(value);
    const std::lock_guard lock(lock_);
    values_[name].Swap(copy);
}

VARIANT PropertyBag::Get(const std::wstring& name) const
{
    const std::lock_guard lock(lock_);
    const auto found = values_.find(name);
    if (found == values_.end())
        throw std::invalid_argument("The image has no property of that name");
    return found->second.Copy();
}

void PropertyBag::Clear() noexcept
{
    std::map<std::wstring, Value> dropped;
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
