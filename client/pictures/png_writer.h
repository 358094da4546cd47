#pragma once

#include "client/foundation/parts_done.h"
#include "client/pictures/descriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// How a PNG file keeps an image without changing a sample.
struct PngFormat
{
    int depth;                           ///< bits per channel in the file
    int channels;                        ///< 1 grey, 3 colours, 4 colours and alpha
    bool blueFirst;                      ///< the image's colours begin with blue
    std::size_t Sample() const noexcept; ///< bytes per pixel
};

std::optional<PngFormat> PngFormatOf(const PixelType& type) noexcept;

/// What users are told when PngFormatOf gives nothing.
std::string WhyNotPng(const PixelType& type);

/// Writes the image whose memory starts at base, piece by piece, to sink, and tells
/// rowsDone how many rows that were. Whatever sink and rowsDone throw comes out
/// unchanged; std::runtime_error for failures of the format.
void WritePng(const Descriptor& descriptor, const PngFormat& format, const std::uint8_t* base,
              const std::function<void(std::span<const std::uint8_t>)>& sink, const PartsDone& rowsDone = {});

} // namespace Mardu::Sentel::Tavlo::Client
