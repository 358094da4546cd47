#pragma once

#include "client/view/axis.h"
#include "client/view/viewport.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Pixels 0x00RRGGBB in rows, as a window shows them.
struct Surface
{
    std::uint32_t* pixels = nullptr;
    std::ptrdiff_t rowPixels = 0;

    std::uint32_t* Row(std::int32_t y) const noexcept { return pixels + y * rowPixels; }
};

/// Turns samples of an image into colours.
class Converter
{
public:
    virtual ~Converter() = default;

    /// Sample (x, y) is the image's pixel (FirstSample + x * step, FirstSample + y * step) of
    /// either axis. The colours of the samples go to out from its first pixel on. rowPixels
    /// stays the same as long as step does.
    virtual void Convert(const Rectangle& samples, std::int32_t step, const Surface& out) = 0;
};

/// Draws the visible part of an image: enlarged pixels as squares, reduced ones by the mean
/// of the area that a window pixel shows. It needs little memory whatever the image's size.
class Painter
{
public:
    explicit Painter(Converter& converter) : converter_(converter) {}

    /// Draws a part of the window, all of which target holds.
    void Paint(const Viewport& viewport, const Rectangle& part, const Surface& target);

    static constexpr std::uint32_t background = 0x00101216;

private:
    void PaintImage(const Viewport& viewport, const Rectangle& part, const Surface& target);
    void PaintNearest(const Surface& samples, std::span<const Share> rows, const Surface& target) const;
    void PaintMeans(const Surface& samples, std::span<const Share> rows, const Surface& target);

    Converter& converter_;
    // Kept between calls for their memory only.
    std::vector<Share> columns_;
    std::vector<Share> rows_;
    std::vector<std::uint32_t> samples_;
    std::vector<std::uint64_t> row_;
    std::vector<std::uint32_t> sums_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
