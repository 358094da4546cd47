#pragma once

#include "image/layout.h"
#include "module/automation.h"
#include "module/marshal_by_value.h"
#include "module/object.h"
#include "module/object_safety.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

/// A descriptor of an image with any number of channels. It stores what it is given.
class CTavloDescriptor final : public ComObject<Automation<ITavloDescriptor>, MarshalByValue, ObjectSafety>
{
public:
    CTavloDescriptor() = default;
    explicit CTavloDescriptor(ImageLayout layout) : layout_(std::move(layout)) {}

    STDMETHODIMP get_Width(long* pWidth) override;
    STDMETHODIMP put_Width(long width) override;
    STDMETHODIMP get_Height(long* pHeight) override;
    STDMETHODIMP put_Height(long height) override;
    STDMETHODIMP get_Channels(long* pChannels) override;
    STDMETHODIMP put_Channels(long channels) override;
    STDMETHODIMP get_Bits(long channel, long* pBits) override;
    STDMETHODIMP put_Bits(long channel, long bits) override;
    STDMETHODIMP get_Encoding(long channel, ::TavloEncoding* pEncoding) override;
    STDMETHODIMP put_Encoding(long channel, ::TavloEncoding encoding) override;
    STDMETHODIMP get_Offset(long channel, long* pOffset) override;
    STDMETHODIMP put_Offset(long channel, long offset) override;
    STDMETHODIMP get_Stride_x(long channel, long* pStride) override;
    STDMETHODIMP put_Stride_x(long channel, long stride) override;
    STDMETHODIMP get_Stride_y(long channel, long* pStride) override;
    STDMETHODIMP put_Stride_y(long channel, long stride) override;

private:
    HRESULT Get(std::int32_t ChannelLayout::*field, long channel, long* pValue) const noexcept;
    HRESULT Put(std::int32_t ChannelLayout::*field, long channel, long value) noexcept;

    const CLSID& MarshalClass() const noexcept override;
    DWORD StateSize() const noexcept override;
    void WriteState(IStream* stream) const override;
    void ReadState(IStream* stream) override;
    void SkipState(IStream* stream) const override;

    ImageLayout layout_;
};

} // namespace Mardu::Sentel::Tavlo
