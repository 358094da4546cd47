#include "client/pictures/picture_file.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// What becomes of a pixel format that has no palette.
struct FormatRule
{
    const GUID& format;
    Encoding encoding;
    std::int32_t bits;
    Conversion conversion;
    int indexBits = 0; ///< for Conversion::Table
};

const FormatRule formatRules[] = {
    {GUID_WICPixelFormat8bppGray, Encoding::Unsigned, 8, Conversion::None},
    {GUID_WICPixelFormat16bppGray, Encoding::Unsigned, 16, Conversion::None},
    {GUID_WICPixelFormat32bppGrayFloat, Encoding::Float, 32, Conversion::None},
    {GUID_WICPixelFormat24bppRGB, Encoding::RGB, 24, Conversion::None},
    {GUID_WICPixelFormat24bppBGR, Encoding::BGR, 24, Conversion::None},
    {GUID_WICPixelFormat32bppRGBA, Encoding::RGBA, 32, Conversion::None},
    {GUID_WICPixelFormat32bppBGRA, Encoding::BGRA, 32, Conversion::None},
    {GUID_WICPixelFormatBlackWhite, Encoding::Unsigned, 8, Conversion::Table, 1},
    {GUID_WICPixelFormat2bppGray, Encoding::Unsigned, 8, Conversion::Table, 2},
    {GUID_WICPixelFormat4bppGray, Encoding::Unsigned, 8, Conversion::Table, 4},
    {GUID_WICPixelFormat48bppRGB, Encoding::RGB, 24, Conversion::NarrowChannels},
    {GUID_WICPixelFormat48bppBGR, Encoding::BGR, 24, Conversion::NarrowChannels},
    {GUID_WICPixelFormat64bppRGBA, Encoding::RGBA, 32, Conversion::NarrowChannels},
    {GUID_WICPixelFormat64bppBGRA, Encoding::BGRA, 32, Conversion::NarrowChannels},
    {GUID_WICPixelFormat16bppBGR555, Encoding::BGR, 24, Conversion::Imaging},
    {GUID_WICPixelFormat16bppBGR565, Encoding::BGR, 24, Conversion::Imaging},
    {GUID_WICPixelFormat32bppBGR, Encoding::BGR, 24, Conversion::Imaging},
    {GUID_WICPixelFormat32bppCMYK, Encoding::BGR, 24, Conversion::Imaging},
    {GUID_WICPixelFormat16bppBGRA5551, Encoding::BGRA, 32, Conversion::Imaging},
    {GUID_WICPixelFormat32bppPRGBA, Encoding::BGRA, 32, Conversion::Imaging},
    {GUID_WICPixelFormat32bppPBGRA, Encoding::BGRA, 32, Conversion::Imaging},
    {GUID_WICPixelFormat64bppPRGBA, Encoding::BGRA, 32, Conversion::Imaging},
    {GUID_WICPixelFormat64bppPBGRA, Encoding::BGRA, 32, Conversion::Imaging},
};

/// The index bits of a format with a palette; 0 for any other format.
UINT PaletteBits(const GUID& format) noexcept
{
    return format == GUID_WICPixelFormat1bppIndexed   ? 1
           : format == GUID_WICPixelFormat2bppIndexed ? 2
           : format == GUID_WICPixelFormat4bppIndexed ? 4
           : format == GUID_WICPixelFormat8bppIndexed ? 8
                                                      : 0;
}

bool IsGrey(WICColor colour) noexcept
{
    return (colour & 0xFF) == ((colour >> 8) & 0xFF) && (colour & 0xFF) == ((colour >> 16) & 0xFF);
}

/// Blue, green, red and alpha; of a grey colour, any byte is the grey.
std::array<std::uint8_t, 4> BytesOf(WICColor colour) noexcept
{
    return std::bit_cast<std::array<std::uint8_t, 4>>(colour);
}

bool IsOpaque(WICColor colour) noexcept
{
    return colour >> 24 == 0xFF;
}

} // namespace

PictureFile::PictureFile(const std::wstring& path) : purpose_("read picture '" + ToUtf8(path) + "'")
{
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                           IID_PPV_ARGS(imaging_.put())),
          "create the imaging component");
    tavlo::com_ptr<IWICBitmapDecoder> decoder;
    const HRESULT opened = imaging_->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                               WICDecodeMetadataCacheOnDemand, decoder.put());
    if (opened == WINCODEC_ERR_COMPONENTNOTFOUND || opened == WINCODEC_ERR_UNKNOWNIMAGEFORMAT)
        throw Failure(opened, purpose_, "it is no picture of a known format");
    Check(opened, purpose_);
    Check(decoder->GetFrame(0, frame_.put()), purpose_);

    UINT width = 0;
    UINT height = 0;
    Check(frame_->GetSize(&width, &height), purpose_);
    constexpr auto most = static_cast<UINT>(std::numeric_limits<std::int32_t>::max());
    if (width < 1 || height < 1 || width > most || height > most)
        throw Failure(WINCODEC_ERR_IMAGESIZEOUTOFRANGE, purpose_);
    descriptor_.width = static_cast<std::int32_t>(width);
    descriptor_.height = static_cast<std::int32_t>(height);

    WICPixelFormatGUID format;
    Check(frame_->GetPixelFormat(&format), purpose_);
    ChooseEncoding(format);
}

void PictureFile::ChooseEncoding(const GUID& format)
{
    if (const UINT indexBits = PaletteBits(format)) {
        ChooseEncodingOfPalette(indexBits);
        return;
    }
    const auto* const rule =
        std::ranges::find_if(formatRules, [&](const FormatRule& known) { return known.format == format; });
    if (rule == std::end(formatRules)) {
        throw Failure(WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, purpose_,
                      "its pixels are neither grey of up to 16 bits, grey of 32-bit floats, nor colours of 8 "
                      "or 16 bits a channel");
    }
    Describe(rule->encoding, rule->bits);
    conversion_ = rule->conversion;
    indexBits_ = rule->indexBits;
    const int greatest = (1 << indexBits_) - 1;
    for (int index = 0; indexBits_ > 0 && index <= greatest; ++index)
        table_[static_cast<std::size_t>(index)] = {static_cast<std::uint8_t>(index * 255 / greatest)};
}

void PictureFile::ChooseEncodingOfPalette(UINT indexBits)
{
    tavlo::com_ptr<IWICPalette> palette;
    WICColor colours[256] = {};
    UINT count = 0;
    Check(imaging_->CreatePalette(palette.put()), purpose_);
    Check(frame_->CopyPalette(palette.get()), purpose_);
    Check(palette->GetColors(static_cast<UINT>(std::size(colours)), colours, &count), purpose_);
    const std::span used(colours, std::min<std::size_t>(count, std::size(colours)));

    conversion_ = Conversion::Table;
    indexBits_ = static_cast<int>(indexBits);
    std::ranges::transform(used, table_.begin(), BytesOf);
    const bool opaque = std::ranges::all_of(used, IsOpaque);
    if (opaque && std::ranges::all_of(used, IsGrey))
        Describe(Encoding::Unsigned, 8);
    else
        Describe(opaque ? Encoding::BGR : Encoding::BGRA, opaque ? 24 : 32);
}

void PictureFile::Describe(Encoding encoding, std::int32_t bits)
{
    const std::optional<Descriptor> geometry =
        PackedGeometry(descriptor_.width, descriptor_.height, {encoding, bits});
    if (!geometry)
        throw Failure(WINCODEC_ERR_IMAGESIZEOUTOFRANGE, purpose_, std::string(imageSizeLimit));
    descriptor_ = *geometry;
}

void PictureFile::CopyTo(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const
{
    switch (conversion_) {
    case Conversion::None:
        CopyAsTheyAre(*frame_.get(), memory, rowsDone);
        break;
    case Conversion::Table:
        CopyIndexed(memory, rowsDone);
        break;
    case Conversion::NarrowChannels:
        CopyNarrowed(memory, rowsDone);
        break;
    case Conversion::Imaging:
        CopyConverted(memory, rowsDone);
        break;
    }
}

void PictureFile::CopyAsTheyAre(IWICBitmapSource& source, std::span<std::uint8_t> memory,
                                const PartsDone& rowsDone) const
{
    // In bands that take a moment, so that somebody may hear how far it is.
    constexpr std::int32_t bandPixels = 1 << 20;
    const std::int32_t band = std::max(bandPixels / descriptor_.width, 1);
    const auto stride = static_cast<UINT>(descriptor_.strideY);
    for (std::int32_t done = 0; done < descriptor_.height;) {
        const std::int32_t rows = std::min(band, descriptor_.height - done);
        const WICRect part{0, done, descriptor_.width, rows};
        const std::span<std::uint8_t> rest =
            memory.subspan(static_cast<std::size_t>(done) * static_cast<std::size_t>(stride));
        Check(source.CopyPixels(&part, stride, static_cast<UINT>(rest.size()), rest.data()), purpose_);
        done += rows;
        TellRowsDone(rowsDone, done);
    }
}

void PictureFile::TellRowsDone(const PartsDone& rowsDone, std::int32_t rows) const
{
    if (rowsDone)
        rowsDone(rows, descriptor_.height);
}

std::span<std::uint8_t> PictureFile::RowOf(std::span<std::uint8_t> memory, std::int32_t y) const
{
    const auto width = static_cast<std::size_t>(descriptor_.width);
    return memory.subspan(static_cast<std::size_t>(y) * static_cast<std::size_t>(descriptor_.strideY),
                          width * static_cast<std::size_t>(descriptor_.strideX));
}

void PictureFile::CopyIndexed(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const
{
    const auto width = static_cast<std::size_t>(descriptor_.width);
    std::vector<std::uint8_t> packed((width * static_cast<std::size_t>(indexBits_) + 7) / 8);
    const auto packedBytes = static_cast<UINT>(packed.size());
    for (std::int32_t y = 0; y < descriptor_.height; ++y) {
        const WICRect row{0, y, descriptor_.width, 1};
        Check(frame_->CopyPixels(&row, packedBytes, packedBytes, packed.data()), purpose_);
        UnpackIndices(packed, indexBits_, table_, static_cast<std::size_t>(descriptor_.strideX),
                      RowOf(memory, y));
        TellRowsDone(rowsDone, y + 1);
    }
}

void PictureFile::CopyNarrowed(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const
{
    std::vector<std::uint16_t> wide(RowOf(memory, 0).size());
    const auto wideBytes = static_cast<UINT>(wide.size() * sizeof wide[0]);
    for (std::int32_t y = 0; y < descriptor_.height; ++y) {
        const WICRect row{0, y, descriptor_.width, 1};
        Check(frame_->CopyPixels(&row, wideBytes, wideBytes, reinterpret_cast<BYTE*>(wide.data())), purpose_);
        NarrowChannels(wide, RowOf(memory, y));
        TellRowsDone(rowsDone, y + 1);
    }
}

void PictureFile::CopyConverted(std::span<std::uint8_t> memory, const PartsDone& rowsDone) const
{
    // The one format that every format of colours can be converted to.
    tavlo::com_ptr<IWICFormatConverter> converter;
    Check(imaging_->CreateFormatConverter(converter.put()), purpose_);
    Check(converter->Initialize(frame_.get(), GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone, nullptr,
                                0, WICBitmapPaletteTypeCustom),
          purpose_);
    if (descriptor_.encoding == Encoding::BGRA) {
        CopyAsTheyAre(*converter.get(), memory, rowsDone);
        return;
    }
    std::vector<std::uint8_t> withAlpha(static_cast<std::size_t>(descriptor_.width) * 4);
    const auto bytes = static_cast<UINT>(withAlpha.size());
    for (std::int32_t y = 0; y < descriptor_.height; ++y) {
        const WICRect row{0, y, descriptor_.width, 1};
        Check(converter->CopyPixels(&row, bytes, bytes, withAlpha.data()), purpose_);
        CopyRow({descriptor_.width, 1, 24, Encoding::BGR, 0, 4, 0}, withAlpha.data(), 0, RowOf(memory, y));
        TellRowsDone(rowsDone, y + 1);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client
