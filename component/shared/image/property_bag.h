#pragma once

#include "module/critical_section.h"
#include "module/noncopyable.h"

#include <oaidl.h>
#include <windows.h>

#include <map>
#include <memory>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// Named values that describe the present content of an image. An update drops them.
class PropertyBag : private NonCopyable
{
public:
    /// Inserts or replaces a copy of the value.
    void Set(const std::wstring& name, const VARIANT& value);

    /// A copy of the value, which the caller clears; throws E_INVALIDARG for an unknown name.
    VARIANT Get(const std::wstring& name) const;

    void Clear() noexcept;

    /// All names, ascending by code unit, as an array of BSTR with lower bound 0 that the
    /// caller destroys. Takes no lock: the caller keeps the values from changing meanwhile.
    SAFEARRAY* Names() const;

private:
    /// A value with its resources. What it copies may be foreign objects, whose references are
    /// counted by code of their own: that never happens under the lock.
    class Value : private NonCopyable
    {
    public:
        explicit Value(const VARIANT& source);
        ~Value() { VariantClear(&variant_); }

        VARIANT Copy() const;

    private:
        VARIANT variant_;
    };

    mutable CriticalSection lock_;
    std::map<std::wstring, std::shared_ptr<const Value>> values_;
};

} // namespace Mardu::Sentel::Tavlo
