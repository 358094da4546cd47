#pragma once

#include "client/descriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// How a PNG file keeps an image without changing a sample.
struct PngFormat
{
    int depth;                           ///< bits per channel in the file
    int channels;                        ///< 1 grey, 3 colours, 4 colours and alpha
    bool blueFirst;                      ///< the image's colours begin with blue
    std::size_t Sample() const noexcept; ///< bytes per pixel
};

/// What users may be told when PngFormatOf gives nothing.
inline constexpr std::string_view pngEncodings = "Unsigned of 1 to 16 bits, RGB, BGR, RGBA and BGRA";

std::optional<PngFormat> PngFormatOf(const Descriptor& descriptor) noexcept;

/// Writes the image whose memory starts at base, piece by piece, to sink. Whatever
/// sink throws comes out unchanged; std::runtime_error for failures of the format.
void WritePng(const Descriptor& descriptor, const PngFormat& format, const std::uint8_t* base,
              const std::function<void(std::span<const std::uint8_t>)>& sink);

} // namespace Mardu::Sentel::Tavlo::Client
