#include "shared/image/safe_array.h"

#include "module/error.h"

#include <limits>
#include <new>
#include <span>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo {

UniqueSafeArray NewSafeArray(VARTYPE type, std::uint64_t count, std::int64_t lowerBound)
{
    if (count > std::numeric_limits<ULONG>::max() || lowerBound > std::numeric_limits<LONG>::max())
        throw std::out_of_range("Value too large");
    if (lowerBound < std::numeric_limits<LONG>::min())
        throw std::out_of_range("Value too small");
    SAFEARRAYBOUND bound = {static_cast<ULONG>(count), static_cast<LONG>(lowerBound)};
    UniqueSafeArray array(SafeArrayCreate(type, 1, &bound));
    if (array == nullptr)
        throw std::bad_alloc();
    CheckOneDimension(array.get());
    return array;
}

void CheckOneDimension(SAFEARRAY* array)
{
    if (SafeArrayGetDim(array) != 1)
        throw std::runtime_error("SafeArray dimension mismatch");
}

SAFEARRAY* NewStringArray(const std::vector<std::wstring>& texts)
{
    const UniqueSafeArray array = NewSafeArray(VT_BSTR, texts.size(), 0);
    void* data = nullptr;
    CheckHResult(SafeArrayAccessData(array.get(), &data));
    bool complete = true;
    BSTR* element = static_cast<BSTR*>(data);
    for (const std::wstring& text : texts) {
        *element = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        complete = complete && *element != nullptr;
        ++element;
    }
    CheckHResult(SafeArrayUnaccessData(array.get()));
    if (!complete)
        throw std::bad_alloc();
    SAFEARRAY* copy = nullptr;
    CheckHResult(SafeArrayCopy(array.get(), &copy));
    return copy;
}

} // namespace Mardu::Sentel::Tavlo
