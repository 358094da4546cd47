#include "client/pictures/png_writer.h"

#include "client/pictures/row_conversion.h"

#include <png.h>

#include <bit>
#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Sink = std::function<void(std::span<const std::uint8_t>)>;

// libpng lets an error handler leave by an exception.
[[noreturn]] void Fail(png_structp, png_const_charp message)
{
    throw std::runtime_error(std::string("cannot write PNG: ") + message);
}

void Ignore(png_structp, png_const_charp) {}

void Put(png_structp png, png_bytep bytes, std::size_t count)
{
    (*static_cast<const Sink*>(png_get_io_ptr(png)))({bytes, count});
}

void Flush(png_structp) {}

/// Owns libpng's state of one picture.
class Writer
{
public:
    explicit Writer(const Sink& sink)
        : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore))
    {
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) {
            png_destroy_write_struct(&png_, nullptr);
            throw std::bad_alloc();
        }
        png_set_write_fn(png_, const_cast<Sink*>(&sink), Put, Flush);
    }
    ~Writer() { png_destroy_write_struct(&png_, &info_); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    png_structp Png() const noexcept { return png_; }
    png_infop Info() const noexcept { return info_; }

private:
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

int ColourType(const PngFormat& format) noexcept
{
    return format.channels == 1   ? PNG_COLOR_TYPE_GRAY
           : format.channels == 3 ? PNG_COLOR_TYPE_RGB
                                  : PNG_COLOR_TYPE_RGB_ALPHA;
}

} // namespace

std::size_t PngFormat::Sample() const noexcept
{
    return static_cast<std::size_t>(depth / 8 * channels);
}

std::optional<PngFormat> PngFormatOf(const PixelType& type) noexcept
{
    const std::int32_t bits = type.bits;
    switch (type.encoding) {
    case Encoding::Unsigned:
        if (bits >= 1 && bits <= 16)
            return PngFormat{bits <= 8 ? 8 : 16, 1, false};
        return std::nullopt;
    case Encoding::RGB:
    case Encoding::BGR:
        // With 32 bits a fourth byte that means nothing lies beside the colours.
        if (bits == 24 || bits == 32)
            return PngFormat{8, 3, type.encoding == Encoding::BGR};
        return std::nullopt;
    case Encoding::RGBA:
    case Encoding::BGRA:
        if (bits == 32)
            return PngFormat{8, 4, type.encoding == Encoding::BGRA};
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

std::string WhyNotPng(const PixelType& type)
{
    std::string reason =
        EncodingText(type.encoding) + " of " + std::to_string(type.bits) + " bits cannot be kept in PNG";
    if (type.encoding == Encoding::Float)
        reason += ", which has no floating-point numbers";
    return reason + "; PNG keeps Unsigned of 1 to 16 bits, RGB, BGR, RGBA and BGRA";
}

void WritePng(const Descriptor& descriptor, const PngFormat& format, const std::uint8_t* base,
              const Sink& sink, const PartsDone& rowsDone)
{
    const Writer writer(sink);
    constexpr auto unlimited = static_cast<png_uint_32>(std::numeric_limits<std::int32_t>::max());
    png_set_user_limits(writer.Png(), unlimited, unlimited);
    png_set_IHDR(writer.Png(), writer.Info(), static_cast<png_uint_32>(descriptor.width),
                 static_cast<png_uint_32>(descriptor.height), format.depth, ColourType(format),
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer.Png(), writer.Info());
    if (format.blueFirst)
        png_set_bgr(writer.Png());
    if (format.depth == 16 && std::endian::native == std::endian::little)
        png_set_swap(writer.Png());

    std::vector<std::uint8_t> row(static_cast<std::size_t>(descriptor.width) * format.Sample());
    for (std::int32_t y = 0; y < descriptor.height; ++y) {
        CopyRow(descriptor, base, y, row);
        png_write_row(writer.Png(), row.data());
        if (rowsDone)
            rowsDone(y + 1, descriptor.height);
    }
    png_write_end(writer.Png(), nullptr);
}

} // namespace Mardu::Sentel::Tavlo::Client
