#pragma once

#include "client/foundation/parts_done.h"
#include "client/pictures/descriptor.h"
#include "client/pictures/row_conversion.h"

#include <windows.h>

#include <tavlo/com.hpp>
#include <wincodec.h>

#include <cstdint>
#include <span>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// How the pixels of a picture file become those of an image.
enum class Conversion
{
    None,           ///< they are the same
    Table,          ///< packed indices, each standing for a sample
    NarrowChannels, ///< 16-bit channels become 8-bit ones
    Imaging,        ///< the platform's converter
};

/// The first picture of a PNG, BMP, JPEG or TIFF file.
class PictureFile
{
public:
    /// Throws a Failure when the file has no picture that an image can hold.
    explicit PictureFile(const std::wstring& path);

    /// The geometry of the image that holds the picture: no bytes between samples, and
    /// rows close together.
    const Descriptor& Geometry() const noexcept { return descriptor_; }

    /// Decodes the picture into an image's memory, which has the geometry above.
    void CopyTo(std::span<std::uint8_t> memory, const PartsDone& rowsDone = {}) const;

private:
    void ChooseEncoding(const GUID& format);
    void ChooseEncodingOfPalette(UINT indexBits);
    void Describe(Encoding encoding, std::int32_t bits);
    void CopyAsTheyAre(IWICBitmapSource& source, std::span<std::uint8_t> memory,
                       const PartsDone& rowsDone) const;
    std::span<std::uint8_t> RowOf(std::span<std::uint8_t> memory, std::int32_t y) const;
    void CopyConverted(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const;
    void CopyIndexed(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const;
    void CopyNarrowed(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const;
    void TellRowsDone(const PartsDone& rowsDone, std::int32_t rows) const;

    std::string purpose_; ///< what failures say could not be done
    tavlo::com_ptr<IWICImagingFactory> imaging_;
    tavlo::com_ptr<IWICBitmapFrameDecode> frame_;
    Descriptor descriptor_;
    Conversion conversion_ = Conversion::None;
    int indexBits_ = 0;      ///< for Conversion::Table
    SampleTable table_ = {}; ///< for Conversion::Table
};

} // namespace Mardu::Sentel::Tavlo::Client
