#pragma once

#include "addressor/addressor.h"
#include "module/com_ptr.h"
#include "module/noncopyable.h"
#include "recode/pixels/pixel_type.h"

#include "TavloLib.h"

#include <memory>

namespace Mardu::Sentel::Tavlo {

/// An image with an accessor of it and a typed way to its pixels. Holds the access right
/// for as long as it lives. Access is IReadAccessor or IWriteAccessor, Typed the typed
/// accessor's base that goes with it.
template <class Access, class Typed>
struct ImageBinding : private NonCopyable
{
    PixelType pixelType;
    std::int32_t width;
    std::int32_t height;
    std::int64_t offset;
    std::int64_t strideX;
    std::int64_t strideY;
    std::uint8_t* base;
    bool liesInMemory; ///< every pixel of it, by its geometry

    // Released from the last to the first.
    ComPtr<ITavlo2> image;
    ComPtr<Access> accessor;
    std::unique_ptr<Typed> typed;
};

using ReadBinding = ImageBinding<IReadAccessor, ConstAddressorBase>;
using WriteBinding = ImageBinding<IWriteAccessor, AddressorBase>;

// std::invalid_argument for a null image and for encodings without a single-pixel value;
// HResultException for what the image refuses.

std::unique_ptr<ReadBinding> BindForReading(ITavlo2* image);
std::unique_ptr<WriteBinding> BindForWriting(ITavlo2* image);

} // namespace Mardu::Sentel::Tavlo
