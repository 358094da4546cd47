#pragma once

#include "client/foundation/component_errors.h"
#include "client/foundation/parts_done.h"
#include "client/pictures/descriptor.h"
#include "client/pictures/rectangle.h"

#include <cstdint>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

class PictureFile;
struct ImageOptions;

/// The geometry as the component's C++ layer has it.
tavlo::descriptor ForComponent(const Descriptor& descriptor) noexcept;

/// An image over the section of this name, which stays as it is when this fails.
tavlo::image Adopt(std::wstring_view section, const Descriptor& descriptor, TavloAccess access);

/// A new image in memory of its own.
tavlo::image Create(const Descriptor& descriptor, TavloAccess access);

/// The geometry of an existing image. Asks the image, and so tells whether it is still there.
Descriptor GeometryOf(ITavlo2& image);

/// An existing image and what lies in it.
struct OpenedImage
{
    tavlo::image image;
    Descriptor descriptor;
};

/// The image that the user names. access is for a section, which nobody else has opened as an
/// image yet; a published image has its own.
OpenedImage Open(const ImageOptions& options, TavloAccess access = Tavlo_ReadOnly);

/// Decodes a picture into an image of the picture's geometry.
void Fill(const tavlo::image& image, const PictureFile& picture, const PartsDone& rowsDone = {});

/// Read access to an image of which every sample is known to lie in its section, whatever its
/// geometry says: that comes from users and from other processes.
class Reader
{
public:
    /// Throws a Failure when the samples, of sampleSize bytes each, are not all there.
    Reader(const tavlo::image& image, const Descriptor& descriptor, std::int64_t sampleSize);

    /// Byte 0 of the image's memory.
    const std::uint8_t* Base() const noexcept { return base_; }

private:
    tavlo::read_access access_;
    const std::uint8_t* base_;
};

/// Write access to an image of which every sample is known to lie in its section.
class Writer
{
public:
    /// Throws a Failure like Reader, and when nobody or somebody else may write.
    Writer(const tavlo::image& image, const Descriptor& descriptor, std::int64_t sampleSize);

    /// Byte 0 of the image's memory.
    std::uint8_t* Base() const noexcept { return base_; }

    /// Tells everybody who subscribed that these pixels have changed.
    void Invalidate(const Rectangle& changed) const;

private:
    tavlo::write_access access_;
    std::uint8_t* base_;
};

} // namespace Mardu::Sentel::Tavlo::Client
