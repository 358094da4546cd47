#pragma once

#include "image/layout.h"
#include "module/critical_section.h"
#include "module/held_interface.h"
#include "module/object.h"

#include "TavloLib.h"

#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// The near end of an image that was passed to another machine. It keeps the image and a
/// read accessor of it, hands out blocks of pixels, and passes updates on to the far end.
class CTavloStub final : public ComObject<ITavloStub, ITavloEvents>
{
public:
    /// Stands for no image: every call gives E_UNEXPECTED.
    CTavloStub() = default;

    /// Throws E_INVALIDARG unless the layout has exactly one channel, and what the image
    /// refuses.
    CTavloStub(ITavlo* image, const ImageLayout& layout);

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override;
    STDMETHODIMP Subscribe(ITavloEvents* pIHandler) override;
    STDMETHODIMP GetData(RECT* pRect, long size, unsigned char* data) override;
    STDMETHODIMP OnImageUpdate(ITavlo* pITavlo, RECT* pDirty) override;

private:
    HeldInterface<ITavloEvents> Handler();

    ComPtr<ITavlo> image_;
    TavloDescriptorData descriptorData_;
    ComPtr<IReadAccessor> readAccessor_;
    const std::uint8_t* pixels_ = nullptr;
    CriticalSection handlerLock_;
    HeldInterface<ITavloEvents> handler_; ///< of the far end, or null
};

} // namespace Mardu::Sentel::Tavlo
