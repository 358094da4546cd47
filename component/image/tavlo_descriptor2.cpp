#include "image/tavlo_descriptor2.h"

namespace Mardu::Sentel::Tavlo {
namespace {

/// The order of the fields in a packet.
constexpr std::int32_t TavloDescriptorData::*packetFields[] = {
    &TavloDescriptorData::Width,    &TavloDescriptorData::Height, &TavloDescriptorData::Bits,
    &TavloDescriptorData::Encoding, &TavloDescriptorData::Offset, &TavloDescriptorData::Stride_x,
    &TavloDescriptorData::Stride_y,
};

TavloDescriptorData ReadDescriptorDataFrom(IStream* stream)
{
    TavloDescriptorData data;
    for (const auto field : packetFields)
        data.*field = ReadInt32(stream);
    return data;
}

} // namespace

HRESULT CTavloDescriptor2::get_Width(long* pWidth)
{
    return Get(&TavloDescriptorData::Width, pWidth);
}

HRESULT CTavloDescriptor2::put_Width(long width)
{
    return Put(&TavloDescriptorData::Width, &ExplicitFields::Width, width);
}

HRESULT CTavloDescriptor2::get_Height(long* pHeight)
{
    return Get(&TavloDescriptorData::Height, pHeight);
}

HRESULT CTavloDescriptor2::put_Height(long height)
{
    return Put(&TavloDescriptorData::Height, &ExplicitFields::Height, height);
}

HRESULT CTavloDescriptor2::get_Bits(long* pBits)
{
    return Get(&TavloDescriptorData::Bits, pBits);
}

HRESULT CTavloDescriptor2::put_Bits(long bits)
{
    return Put(&TavloDescriptorData::Bits, &ExplicitFields::Bits, bits);
}

HRESULT CTavloDescriptor2::get_Encoding(::TavloEncoding* pEncoding)
{
    if (pEncoding == nullptr)
        return E_POINTER;
    *pEncoding = static_cast<::TavloEncoding>(data_.Encoding);
    return S_OK;
}

HRESULT CTavloDescriptor2::put_Encoding(::TavloEncoding encoding)
{
    return Put(&TavloDescriptorData::Encoding, &ExplicitFields::Encoding, static_cast<long>(encoding));
}

HRESULT CTavloDescriptor2::get_Offset(long* pOffset)
{
    return Get(&TavloDescriptorData::Offset, pOffset);
}

HRESULT CTavloDescriptor2::put_Offset(long offset)
{
    return Put(&TavloDescriptorData::Offset, &ExplicitFields::Offset, offset);
}

HRESULT CTavloDescriptor2::get_Stride_x(long* pStride)
{
    return Get(&TavloDescriptorData::Stride_x, pStride);
}

HRESULT CTavloDescriptor2::put_Stride_x(long stride)
{
    return Put(&TavloDescriptorData::Stride_x, &ExplicitFields::Stride_x, stride);
}

HRESULT CTavloDescriptor2::get_Stride_y(long* pStride)
{
    return Get(&TavloDescriptorData::Stride_y, pStride);
}

HRESULT CTavloDescriptor2::put_Stride_y(long stride)
{
    return Put(&TavloDescriptorData::Stride_y, &ExplicitFields::Stride_y, stride);
}

HRESULT CTavloDescriptor2::Get(std::int32_t TavloDescriptorData::*field, long* pValue) const noexcept
{
    if (pValue == nullptr)
        return E_POINTER;
    *pValue = data_.*field;
    return S_OK;
}

HRESULT CTavloDescriptor2::Put(std::int32_t TavloDescriptorData::*field, bool ExplicitFields::*flag,
                               long value) noexcept
{
    data_.*field = value;
    explicit_.*flag = true;
    DeriveDefaults(data_, explicit_);
    return S_OK;
}

const CLSID& CTavloDescriptor2::MarshalClass() const noexcept
{
    return CLSID_TavloDescriptor2;
}

DWORD CTavloDescriptor2::StateSize() const noexcept
{
    return static_cast<DWORD>(std::size(packetFields) * sizeof(std::int32_t));
}

void CTavloDescriptor2::WriteState(IStream* stream) const
{
    for (const auto field : packetFields)
        WriteInt32(stream, data_.*field);
}

void CTavloDescriptor2::ReadState(IStream* stream)
{
    data_ = ReadDescriptorDataFrom(stream);
    explicit_ = {};
}

void CTavloDescriptor2::SkipState(IStream* stream) const
{
    static_cast<void>(ReadDescriptorDataFrom(stream));
}

} // namespace Mardu::Sentel::Tavlo
