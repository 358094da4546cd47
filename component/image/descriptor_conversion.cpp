#include "image/descriptor_conversion.h"

#include "image/tavlo_descriptor.h"
#include "image/tavlo_descriptor2.h"
#include "module/error.h"
#include "module/foreign_call.h"

#include <functional>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Reads one property: the getter, its object, and the arguments before the out pointer.
template <class Value, class Getter, class... Arguments>
std::int32_t Read(Getter getter, Arguments... arguments)
{
    Value value = {};
    CheckHResult(CallForeign([&] { return std::invoke(getter, arguments..., &value); }));
    return static_cast<std::int32_t>(value);
}

} // namespace

ImageLayout ReadLayout(ITavloDescriptor* descriptor)
{
    using D = ITavloDescriptor;
    ImageLayout layout;
    layout.Width = Read<long>(&D::get_Width, descriptor);
    layout.Height = Read<long>(&D::get_Height, descriptor);
    const std::int32_t channels = Read<long>(&D::get_Channels, descriptor);
    for (std::int32_t i = 0; i < channels; ++i) {
        ChannelLayout channel;
        channel.Bits = Read<long>(&D::get_Bits, descriptor, i);
        channel.Encoding = Read<::TavloEncoding>(&D::get_Encoding, descriptor, i);
        channel.Offset = Read<long>(&D::get_Offset, descriptor, i);
        channel.Stride_x = Read<long>(&D::get_Stride_x, descriptor, i);
        channel.Stride_y = Read<long>(&D::get_Stride_y, descriptor, i);
        layout.Channels.push_back(channel);
    }
    return layout;
}

ImageLayout ReadLayout(ITavloDescriptor2* descriptor)
{
    using D = ITavloDescriptor2;
    TavloDescriptorData data;
    data.Width = Read<long>(&D::get_Width, descriptor);
    data.Height = Read<long>(&D::get_Height, descriptor);
    data.Bits = Read<long>(&D::get_Bits, descriptor);
    data.Encoding = Read<::TavloEncoding>(&D::get_Encoding, descriptor);
    data.Offset = Read<long>(&D::get_Offset, descriptor);
    data.Stride_x = Read<long>(&D::get_Stride_x, descriptor);
    data.Stride_y = Read<long>(&D::get_Stride_y, descriptor);
    return LayoutOf(data);
}

ComPtr<ITavloDescriptor> NewDescriptor(const ImageLayout& layout)
{
    return Make<CTavloDescriptor>(layout);
}

ComPtr<ITavloDescriptor2> NewDescriptor2(const ImageLayout& layout)
{
    return Make<CTavloDescriptor2>(DescriptorDataOf(layout));
}

} // namespace Mardu::Sentel::Tavlo
