#include "addressor/co_addressor.h"

#include "module/error.h"

#include <stdexcept>
#include <utility>

namespace Mardu::Sentel::Tavlo {

namespace {

/// Throws std::invalid_argument for a pixel that a host must not let scripts reach.
template <class Bound>
void RequireInside(const Bound& bound, long x, long y)
{
    if (x < 0 || y < 0 || x >= bound.width || y >= bound.height)
        throw std::invalid_argument("The pixel is outside the image");
    if (!bound.liesInMemory)
        throw std::invalid_argument("The image's geometry reaches outside its memory");
}

} // namespace

HRESULT CCoAddressor::Attach(ITavlo2* pITavlo)
{
    const auto alive = KeepAlive();
    const HRESULT hr = Detach();
    if (FAILED(hr))
        return hr;
    return Guarded([&] {
        auto binding = std::make_shared<Binding>();
        try {
            binding->write = BindForWriting(pITavlo);
        } catch (const std::runtime_error&) {
            // Writing is refused: a read-only image, or one whose only writer is taken.
            binding->read = BindForReading(pITavlo);
        }
        const auto replaced = binding_.exchange(std::move(binding));
    });
}

HRESULT CCoAddressor::Detach()
{
    const auto alive = KeepAlive();
    const auto released = binding_.exchange(nullptr);
    return S_OK;
}

HRESULT CCoAddressor::get_Pixel(long x, long y, VARIANT* pValue)
{
    const auto alive = KeepAlive();
    const auto binding = binding_.load();
    if (binding == nullptr)
        return E_ACCESSDENIED;
    return Guarded([&]() -> HRESULT {
        CheckPlace(*binding, x, y);
        // A pixel's variant holds a plain number, so there is nothing to clear in it.
        const VARIANT pixel =
            binding->read != nullptr ? binding->read->typed->Get(x, y) : binding->write->typed->Get(x, y);
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
    const auto alive = KeepAlive();
    const auto binding = binding_.load();
    if (binding == nullptr || binding->write == nullptr)
        return E_ACCESSDENIED;
    return Guarded([&]() -> HRESULT {
        CheckPlace(*binding, x, y);
        AddressorBase& pixels = *binding->write->typed;
        const VARIANT number = ConvertedTo(pixels.SetType(), value);
        // The value may have been an object whose script let the image go.
        if (binding_.load() != binding)
            return E_ACCESSDENIED;
        pixels.Set(x, y, number);
        return S_OK;
    });
}

/// Coordinates are unchecked, unless a host has asked for a safe object.
void CCoAddressor::CheckPlace(const Binding& binding, long x, long y) const
{
    if (!MustBeSafe())
        return;
    if (binding.read != nullptr)
        RequireInside(*binding.read, x, y);
    else
        RequireInside(*binding.write, x, y);
}

} // namespace Mardu::Sentel::Tavlo
