#include "image/tavlo_descriptor.h"

namespace Mardu::Sentel::Tavlo {
namespace {

HRESULT GetField(std::int32_t field, long* pValue) noexcept
{
    if (pValue == nullptr)
        return E_POINTER;
    *pValue = field;
    return S_OK;
}

HRESULT PutField(std::int32_t& field, long value) noexcept
{
    field = value;
    return S_OK;
}

ChannelLayout ReadChannel(IStream* stream)
{
    ChannelLayout channel;
    channel.Bits = ReadInt32(stream);
    channel.Encoding = ReadInt32(stream);
    channel.Offset = ReadInt32(stream);
    channel.Stride_x = ReadInt32(stream);
    channel.Stride_y = ReadInt32(stream);
    return channel;
}

void WriteChannel(IStream* stream, const ChannelLayout& channel)
{
    WriteInt32(stream, channel.Bits);
    WriteInt32(stream, channel.Encoding);
    WriteInt32(stream, channel.Offset);
    WriteInt32(stream, channel.Stride_x);
    WriteInt32(stream, channel.Stride_y);
}

/// The channels are read one by one, so that a false count costs no more memory than
/// the stream has bytes for.
ImageLayout ReadLayoutFrom(IStream* stream)
{
    ImageLayout layout;
    layout.Width = ReadInt32(stream);
    layout.Height = ReadInt32(stream);
    const std::int32_t channels = ReadInt32(stream);
    if (channels < 0)
        throw HResultException(E_INVALIDARG, "The descriptor's number of channels is negative");
    for (std::int32_t i = 0; i < channels; ++i)
        layout.Channels.push_back(ReadChannel(stream));
    return layout;
}

} // namespace

HRESULT CTavloDescriptor::get_Width(long* pWidth)
{
    return GetField(layout_.Width, pWidth);
}

HRESULT CTavloDescriptor::put_Width(long width)
{
    return PutField(layout_.Width, width);
}

HRESULT CTavloDescriptor::get_Height(long* pHeight)
{
    return GetField(layout_.Height, pHeight);
}

HRESULT CTavloDescriptor::put_Height(long height)
{
    return PutField(layout_.Height, height);
}

HRESULT CTavloDescriptor::get_Channels(long* pChannels)
{
    return GetField(static_cast<std::int32_t>(layout_.Channels.size()), pChannels);
}

HRESULT CTavloDescriptor::put_Channels(long channels)
{
    if (channels < 0)
        return E_INVALIDARG;
    return Guarded([&] { layout_.Channels.resize(static_cast<size_t>(channels)); });
}

HRESULT CTavloDescriptor::get_Bits(long channel, long* pBits)
{
    return Get(&ChannelLayout::Bits, channel, pBits);
}

HRESULT CTavloDescriptor::put_Bits(long channel, long bits)
{
    return Put(&ChannelLayout::Bits, channel, bits);
}

HRESULT CTavloDescriptor::get_Encoding(long channel, ::TavloEncoding* pEncoding)
{
    long encoding = 0;
    const HRESULT hr = Get(&ChannelLayout::Encoding, channel, pEncoding != nullptr ? &encoding : nullptr);
    if (SUCCEEDED(hr))
        *pEncoding = static_cast<::TavloEncoding>(encoding);
    return hr;
}

HRESULT CTavloDescriptor::put_Encoding(long channel, ::TavloEncoding encoding)
{
    return Put(&ChannelLayout::Encoding, channel, static_cast<long>(encoding));
}

HRESULT CTavloDescriptor::get_Offset(long channel, long* pOffset)
{
    return Get(&ChannelLayout::Offset, channel, pOffset);
}

HRESULT CTavloDescriptor::put_Offset(long channel, long offset)
{
    return Put(&ChannelLayout::Offset, channel, offset);
}

HRESULT CTavloDescriptor::get_Stride_x(long channel, long* pStride)
{
    return Get(&ChannelLayout::Stride_x, channel, pStride);
}

HRESULT CTavloDescriptor::put_Stride_x(long channel, long stride)
{
    return Put(&ChannelLayout::Stride_x, channel, stride);
}

HRESULT CTavloDescriptor::get_Stride_y(long channel, long* pStride)
{
    return Get(&ChannelLayout::Stride_y, channel, pStride);
}

HRESULT CTavloDescriptor::put_Stride_y(long channel, long stride)
{
    return Put(&ChannelLayout::Stride_y, channel, stride);
}

HRESULT CTavloDescriptor::Get(std::int32_t ChannelLayout::*field, long channel, long* pValue) const noexcept
{
    if (pValue == nullptr)
        return E_POINTER;
    if (channel < 0 || static_cast<size_t>(channel) >= layout_.Channels.size())
        return E_INVALIDARG;
    return GetField(layout_.Channels[static_cast<size_t>(channel)].*field, pValue);
}

HRESULT CTavloDescriptor::Put(std::int32_t ChannelLayout::*field, long channel, long value) noexcept
{
    if (channel < 0 || static_cast<size_t>(channel) >= layout_.Channels.size())
        return E_INVALIDARG;
    return PutField(layout_.Channels[static_cast<size_t>(channel)].*field, value);
}

const CLSID& CTavloDescriptor::MarshalClass() const noexcept
{
    return CLSID_TavloDescriptor;
}

DWORD CTavloDescriptor::StateSize() const noexcept
{
    return static_cast<DWORD>(12 + 20 * layout_.Channels.size());
}

void CTavloDescriptor::WriteState(IStream* stream) const
{
    WriteInt32(stream, layout_.Width);
    WriteInt32(stream, layout_.Height);
    WriteInt32(stream, static_cast<std::int32_t>(layout_.Channels.size()));
    for (const ChannelLayout& channel : layout_.Channels)
        WriteChannel(stream, channel);
}

void CTavloDescriptor::ReadState(IStream* stream)
{
    layout_ = ReadLayoutFrom(stream);
}

void CTavloDescriptor::SkipState(IStream* stream) const
{
    static_cast<void>(ReadLayoutFrom(stream));
}

} // namespace Mardu::Sentel::Tavlo
