#pragma once

#include "client/component.h"
#include "client/descriptor.h"
#include "client/rectangle.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

class PictureFile;
struct ImageOptions;

/// An image over the section of this name, which stays as it is when this fails.
ComPtr<ITavlo2> Adopt(ITavloFactory2& factory, std::wstring_view section, const Descriptor& descriptor,
                      TavloAccess access);

/// A new image in memory of its own.
ComPtr<ITavlo2> Create(ITavloFactory2& factory, const Descriptor& descriptor, TavloAccess access);

/// The geometry of an existing image.
Descriptor GeometryOf(ITavlo2& image);

/// An existing image and what lies in it.
struct OpenedImage
{
    ComPtr<ITavlo2> image;
    Descriptor descriptor;
};

/// The image that the user names.
OpenedImage Open(const ImageOptions& options);

/// The bytes of an image whose first byte is the first of its memory.
std::int32_t SizeFor(ITavloFactory2& factory, const Descriptor& descriptor);

/// Decodes a picture into an image of the picture's geometry, which has size bytes.
void Fill(ITavlo2& image, const PictureFile& picture, std::int32_t size);

/// Read access to an image of which every sample is known to lie in its section.
class Reader
{
public:
    /// Throws a Failure when the samples, of sampleSize bytes each, are not all there.
    Reader(ITavlo2& image, const Descriptor& descriptor, std::int64_t sampleSize);

    /// Byte 0 of the image's memory.
    const std::uint8_t* Base() const noexcept { return base_; }

private:
    ComPtr<IReadAccessor> access_;
    const std::uint8_t* base_;
};

/// Write access to an image of which every sample is known to lie in its section.
class Writer
{
public:
    /// Throws a Failure like Reader, and when nobody or somebody else may write.
    Writer(ITavlo2& image, const Descriptor& descriptor, std::int64_t sampleSize);

    /// Byte 0 of the image's memory.
    std::uint8_t* Base() const noexcept { return base_; }

    /// Tells everybody who subscribed that these pixels have changed.
    void Invalidate(const Rectangle& changed) const;

private:
    ComPtr<IWriteAccessor> access_;
    std::uint8_t* base_;
};

} // namespace Mardu::Sentel::Tavlo::Client
