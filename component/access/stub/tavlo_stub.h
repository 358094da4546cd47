#pragma once

#include "access/stub/stub_sink.h"
#include "image/layout.h"
#include "module/object.h"

#include "TavloLib.h"

#include <atomic>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// The near end of an image that was passed to another machine. It keeps the image and a
/// read accessor of it, hands out blocks of pixels, and passes updates on to the far end. Its
/// subscriptions end with it, so also when the runtime finds the far machine gone.
class CTavloStub final : public ComObject<ITavloStub, ITavloEvents>
{
public:
    /// Stands for no image: every call gives E_UNEXPECTED.
    CTavloStub() = default;

    /// Throws E_INVALIDARG unless the layout has exactly one channel, and what the image
    /// refuses.
    CTavloStub(ITavlo* image, const ImageLayout& layout);
    ~CTavloStub() override;

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override;
    STDMETHODIMP Subscribe(ITavloEvents* pIHandler) override;
    STDMETHODIMP GetData(RECT* pRect, long size, unsigned char* data) override;
    STDMETHODIMP OnImageUpdate(ITavlo* pITavlo, RECT* pDirty) override;

private:
    ComPtr<ITavlo> image_;
    TavloDescriptorData descriptorData_;
    ComPtr<IReadAccessor> readAccessor_;
    const std::uint8_t* pixels_ = nullptr;
    ComPtr<CTavloStubSink> sink_;
    std::atomic<int> subscriptions_ = 0; ///< of the sink
};

} // namespace Mardu::Sentel::Tavlo
