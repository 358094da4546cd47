#include "addressor/co_addressor.h"

#include "module/error.h"

#include <stdexcept>

namespace Mardu::Sentel::Tavlo {

HRESULT CCoAddressor::Attach(ITavlo2* pITavlo)
{
    const HRESULT hr = Detach();
    if (FAILED(hr))
        return hr;
    return Guarded([&] {
        try {
            writeBinding_ = BindForWriting(pITavlo);
        } catch (const std::runtime_error&) {
            // Writing is refused: a read-only image, or one whose only writer is taken.
            readBinding_ = BindForReading(pITavlo);
        }
    });
}

HRESULT CCoAddressor::Detach()
{
    readBinding_.reset();
    writeBinding_.reset();
    return S_OK;
}

HRESULT CCoAddressor::get_Pixel(long x, long y, VARIANT* pValue)
{
    if (readBinding_ == nullptr && writeBinding_ == nullptr)
        return E_ACCESSDENIED;
    return Guarded([&]() -> HRESULT {
        // A pixel's variant holds a plain number, so there is nothing to clear in it.
        const VARIANT pixel =
            readBinding_ != nullptr ? readBinding_->typed->Get(x, y) : writeBinding_->typed->Get(x, y);
        if (pValue == nullptr)
            return E_POINTER;
        const HRESULT hr = VariantClear(pValue);
        if (SUCCEEDED(hr))
            *pValue = pixel;
        return hr;
    });
}

HRESULT CCoAddressor::put_Pixel(long x, long y, VARIANT value)
{
    if (writeBinding_ == nullptr)
        return E_ACCESSDENIED;
    return Guarded([&] { writeBinding_->typed->Set(x, y, value); });
}

} // namespace Mardu::Sentel::Tavlo
