#pragma once

#include <oaidl.h>
#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo {

struct SafeArrayDestroyer
{
    void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};

using UniqueSafeArray = std::unique_ptr<SAFEARRAY, SafeArrayDestroyer>;

/// Creates an array of one dimension. The count must be an unsigned and the lower bound
/// a signed 32-bit number ("Value too small", "Value too large").
UniqueSafeArray NewSafeArray(VARTYPE type, std::uint64_t count, std::int64_t lowerBound);

/// Throws "SafeArray dimension mismatch" unless the array has one dimension.
void CheckOneDimension(SAFEARRAY* array);

/// An array of BSTR with lower bound 0, which the caller destroys.
SAFEARRAY* NewStringArray(const std::vector<std::wstring>& texts);

} // namespace Mardu::Sentel::Tavlo
