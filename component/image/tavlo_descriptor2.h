#pragma once

#include "image/layout.h"
#include "module/automation.h"
#include "module/marshal_by_value.h"
#include "module/object.h"
#include "module/object_safety.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

/// A descriptor of a one-channel image. Every put derives the fields that were never set
/// explicitly anew.
class CTavloDescriptor2 final : public ComObject<Automation<ITavloDescriptor2>, MarshalByValue, ObjectSafety>
{
public:
    CTavloDescriptor2() = default;

    /// Holds the values as they are, none of them explicitly set.
    explicit CTavloDescriptor2(const TavloDescriptorData& data) : data_(data) {}

    STDMETHODIMP get_Width(long* pWidth) override;
    STDMETHODIMP put_Width(long width) override;
    STDMETHODIMP get_Height(long* pHeight) override;
    STDMETHODIMP put_Height(long height) override;
    STDMETHODIMP get_Bits(long* pBits) override;
    STDMETHODIMP put_Bits(long bits) override;
    STDMETHODIMP get_Encoding(::TavloEncoding* pEncoding) override;
    STDMETHODIMP put_Encoding(::TavloEncoding encoding) override;
    STDMETHODIMP get_Offset(long* pOffset) override;
    STDMETHODIMP put_Offset(long offset) override;
    STDMETHODIMP get_Stride_x(long* pStride) override;
    STDMETHODIMP put_Stride_x(long stride) override;
    STDMETHODIMP get_Stride_y(long* pStride) override;
    STDMETHODIMP put_Stride_y(long stride) override;

private:
    HRESULT Get(std::int32_t TavloDescriptorData::*field, long* pValue) const noexcept;
    HRESULT Put(std::int32_t TavloDescriptorData::*field, bool ExplicitFields::*flag, long value) noexcept;

    const CLSID& MarshalClass() const noexcept override;
    DWORD StateSize() const noexcept override;
    void WriteState(IStream* stream) const override;
    void ReadState(IStream* stream) override;
    void SkipState(IStream* stream) const override;

    TavloDescriptorData data_;
    ExplicitFields explicit_; ///< not part of the marshaled state
};

} // namespace Mardu::Sentel::Tavlo
