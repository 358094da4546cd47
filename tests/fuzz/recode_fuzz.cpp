#include "image/wrapping.h"
#include "recode/lut_recoder.h"
#include "recode/recode.h"
#include "recode/rewrite.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

using namespace Mardu::Sentel::Tavlo;

// Two descriptors, a region and parameters, with memory of exactly the size that the descriptors
// describe. Where a descriptor describes no memory of a moderate size, or a region begins outside
// its image, which is not checked, only regions without pixels are converted.
namespace {

class Input
{
public:
    Input(const std::uint8_t* bytes, std::size_t count) : data(bytes), size(count) {}

    /// The next value; zeros behind the end.
    template <class T>
    T Next()
    {
        T value{};
        const std::size_t count = std::min(sizeof value, size);
        std::memcpy(&value, data, count);
        data += count;
        size -= count;
        return value;
    }

    /// A small number most of the time, any number otherwise.
    std::int32_t Number()
    {
        const auto byte = Next<std::int8_t>();
        return byte == -128 ? Next<std::int32_t>() : byte;
    }

    std::uint8_t Choice(std::size_t count) { return static_cast<std::uint8_t>(Next<std::uint8_t>() % count); }

private:
    const std::uint8_t* data;
    std::size_t size;
};

/// A pixel type that some conversion knows, or now and then any.
void ChooseType(Input& input, TavloDescriptorData& d)
{
    static constexpr std::int32_t types[][2] = {
        {8, Tavlo_Unsigned},      {8, Tavlo_Signed},    {9, Tavlo_Unsigned}, {12, Tavlo_Unsigned},
        {15, Tavlo_Unsigned},     {10, Tavlo_Signed},   {15, Tavlo_Signed},  {16, Tavlo_Unsigned},
        {16, Tavlo_Signed},       {32, Tavlo_Unsigned}, {32, Tavlo_Signed},  {32, Tavlo_Float},
        {64, Tavlo_Float},        {24, Tavlo_RGB},      {32, Tavlo_RGB},     {24, Tavlo_BGR},
        {32, Tavlo_BGR},          {32, Tavlo_RGBA},     {32, Tavlo_BGRA},    {24, Tavlo_BGRA},
        {64, Tavlo_Complex_Float}};
    const std::uint8_t choice = input.Choice(std::size(types) + 1);
    if (choice < std::size(types)) {
        d.Bits = types[choice][0];
        d.Encoding = types[choice][1];
    } else {
        d.Bits = input.Next<std::uint8_t>();
        d.Encoding = input.Number();
    }
}

TavloDescriptorData ChooseDescriptor(Input& input)
{
    TavloDescriptorData d;
    d.Width = input.Number();
    d.Height = input.Number();
    ChooseType(input, d);
    const std::int32_t layout = input.Choice(4);
    ExplicitFields isExplicit;
    isExplicit.Bits = true;
    if (layout == 0) {
        DeriveDefaults(d, isExplicit);
        return d;
    }
    d.Stride_x = input.Number();
    d.Stride_y = input.Number();
    isExplicit.Stride_x = isExplicit.Stride_y = true;
    if (layout == 1) {
        isExplicit.Offset = true;
        d.Offset = input.Number();
    }
    if (layout == 2) { // columns
        d.Stride_x = WrappingMultiply(d.Height, BytesOfBits(d.Bits));
        d.Stride_y = BytesOfBits(d.Bits);
    }
    DeriveDefaults(d, isExplicit);
    return d;
}

/// The bytes that a descriptor describes, if its pixels begin at byte 0 or later and neither they
/// nor the size are beyond 64 KiB; 0 otherwise, or for an image without pixels.
std::int64_t DescribedBytes(const TavloDescriptorData& d)
{
    constexpr std::int64_t limit = 1 << 16;
    if (d.Width <= 0 || d.Height <= 0 || d.Width > limit || d.Height > limit)
        return 0;
    const std::int64_t x = std::int64_t{d.Width - 1} * d.Stride_x;
    const std::int64_t y = std::int64_t{d.Height - 1} * d.Stride_y;
    const std::int64_t first = d.Offset + std::min<std::int64_t>(x, 0) + std::min<std::int64_t>(y, 0);
    const std::int64_t last = d.Offset + std::max<std::int64_t>(x, 0) + std::max<std::int64_t>(y, 0);
    if (first < 0 || last > limit)
        return 0;
    const std::int64_t size = RawDataSize(LayoutOf(d));
    return size <= limit ? size : 0;
}

/// An image's memory; an access before or behind it is seen.
struct Memory
{
    explicit Memory(const TavloDescriptorData& d)
        : size(static_cast<std::size_t>(DescribedBytes(d))),
          bytes(new std::uint8_t[std::max<std::size_t>(size, 1)]())
    {
    }

    std::size_t size;
    std::unique_ptr<std::uint8_t[]> bytes;
};

template <class Operation>
void Try(const Operation& operation)
{
    try {
        (void)operation();
    } catch (const std::invalid_argument&) {
    } catch (const std::runtime_error&) {
    }
}

void SetParameters(Input& input, LUTRecoder& recoder)
{
    const auto value = [&input] {
        return input.Choice(2) == 0 ? input.Number() / 16.0 : input.Next<double>();
    };
    recoder.SetContrast(value());
    recoder.SetBrightness(value());
    if (input.Choice(2) == 0) {
        recoder.SetGamma(value());
        recoder.SetSigma(value());
    }
    (void)recoder.SetColor(value(), input.Next<PackedColor>());
    (void)recoder.GetColor(value());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const TavloDescriptorData srcDescr = ChooseDescriptor(input);
    const TavloDescriptorData dstDescr = ChooseDescriptor(input);
    PixelRect rect{input.Number(), input.Number(), input.Number(), input.Number()};
    PixelPoint point{input.Number(), input.Number()};
    const std::uint8_t absent = input.Choice(4);

    const Memory source(srcDescr);
    const Memory target(dstDescr);
    const bool isDescribed = source.size != 0 && target.size != 0;
    const bool beginsInside = rect.left >= 0 && rect.top >= 0;
    if (!isDescribed || !beginsInside)
        rect.right = rect.left;
    for (std::size_t i = 0; i < source.size; ++i)
        source.bytes[i] = static_cast<std::uint8_t>(i * 151 >> 2);

    const PixelRect* givenRect = isDescribed && (absent & 1) != 0 ? nullptr : &rect;
    const PixelPoint* givenPoint = (absent & 2) != 0 ? nullptr : &point;
    const std::uint8_t* from = source.bytes.get();
    std::uint8_t* to = target.bytes.get();

    // A copy clips negative points; conversions do not check them.
    Try([&] { return Rewrite(srcDescr, from, dstDescr, to, givenRect, givenPoint); });
    point = {std::max(point.x, 0), std::max(point.y, 0)};
    Try([&] { return Recode(srcDescr, from, dstDescr, to, givenRect, givenPoint); });
    Try([&] { return Cast(srcDescr, from, dstDescr, to, givenRect, givenPoint); });
    Try([&] {
        LUTRecoder recoder(srcDescr, dstDescr);
        SetParameters(input, recoder);
        return recoder.Recode(from, to, givenRect, givenPoint);
    });
    return 0;
}
