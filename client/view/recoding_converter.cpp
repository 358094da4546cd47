#include "client/view/recoding_converter.h"

#include "client/images/shared_image.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::string_view purpose = "convert the image's pixels into colours";

/// Whether a descriptor can hold this stride.
bool Fits(std::int64_t stride) noexcept
{
    return stride >= std::numeric_limits<std::int32_t>::min() &&
           stride <= std::numeric_limits<std::int32_t>::max();
}

/// How many samples at this distance may be converted at once, so that the ways along both axes
/// together stay within the 32 bits that the component counts in.
std::int32_t AtOnce(std::int32_t samples, std::int64_t stride) noexcept
{
    constexpr std::int64_t reach = 1 << 30;
    const std::int64_t fitting = reach / std::max<std::int64_t>(std::abs(stride), 1);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(fitting, 1, std::max(samples, 1)));
}

/// The samples as an image of its own that begins at byte 0. A stride that a descriptor cannot hold
/// is left out: of such samples only one at a time is walked over.
Descriptor DescriptorOf(const SampledGeometry& sampled, const PixelType& type) noexcept
{
    const auto held = [](std::int64_t stride) {
        return Fits(stride) ? static_cast<std::int32_t>(stride) : 0;
    };
    return {sampled.samples.width, sampled.samples.height, type.bits, type.encoding, 0,
            held(sampled.strideX), held(sampled.strideY)};
}

Route RequiredRoute(const Descriptor& descriptor)
{
    const std::optional<Route> route = RouteOf(descriptor.Type());
    if (!route)
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "show the image",
                      "there is no conversion from " + PixelTypeText(descriptor.Type()) +
                          " pixels into colours");
    return *route;
}

/// Puts colours with alpha on squares of two greys, as large as so many pixels.
void ShowThrough(const Rectangle& samples, const Surface& out) noexcept
{
    constexpr std::int32_t square = 8;
    for (std::int32_t y = samples.top; y < samples.bottom; ++y) {
        std::uint32_t* pixel = out.Row(y - samples.top);
        for (std::int32_t x = samples.left; x < samples.right; ++x, ++pixel) {
            const std::uint32_t alpha = *pixel >> 24;
            if (alpha == 255)
                continue;
            const std::uint32_t back = (x / square + y / square) % 2 != 0 ? 0x60 : 0x40;
            const auto mix = [&](int shift) {
                const std::uint32_t color = *pixel >> shift & 0xFF;
                return (color * alpha + back * (255 - alpha) + 127) / 255 << shift;
            };
            *pixel = mix(0) | mix(8) | mix(16);
        }
    }
}

} // namespace

RecodingConverter::RecodingConverter(const Descriptor& descriptor, const std::uint8_t* base)
    : image_(descriptor),
      base_(base),
      route_(RequiredRoute(descriptor)),
      service_(Attempt(purpose, [] { return tavlo::recoder(); }))
{
}

void RecodingConverter::Render(const Rendering& rendering)
{
    rendering_ = rendering;
    if (tone_)
        Apply();
}

void RecodingConverter::Apply()
{
    Attempt(purpose, [this] {
        tone_.set({.contrast = rendering_.tone.contrast,
                   .brightness = rendering_.tone.brightness,
                   .gamma = rendering_.gamma,
                   .sigma = rendering_.sigma});
        if (!HasRamp(route_))
            return;
        tavlo::lut_recoder& ramp = route_ == Route::Ramp ? tone_ : ramp_;
        ramp.reset_colors();
        for (const ControlPoint& point : rendering_.ramp)
            ramp.set_color(point.position, tavlo::rgba::from(point.color));
    });
}

void RecodingConverter::Prepare(std::int32_t step, std::ptrdiff_t rowPixels)
{
    if (step == step_ && rowPixels == rowPixels_)
        return;
    sampled_ = SampledOf(image_, step);
    const Descriptor samples = DescriptorOf(sampled_, image_.Type());
    const auto row = static_cast<std::int32_t>(rowPixels);
    // Three bytes in four, with blue first, are what windows show; alpha takes the fourth.
    const bool hasAlpha = route_ == Route::Alpha;
    const Descriptor colors = {
        samples.width, samples.height, hasAlpha ? 32 : 24, hasAlpha ? Encoding::BGRA : Encoding::BGR, 0, 4,
        4 * row};
    const Descriptor grey = {samples.width, samples.height, 16, Encoding::Unsigned, 0, 2, 2 * row};

    const bool isTwoSteps = route_ == Route::GreyAndRamp;
    source_ = ForComponent(samples);
    colors_ = ForComponent(colors);
    greys_ = ForComponent(grey);
    Attempt(purpose, [&] {
        tone_ = service_.lut(source_, isTwoSteps ? greys_ : colors_);
        ramp_ = isTwoSteps ? service_.lut(greys_, colors_) : tavlo::lut_recoder();
    });
    step_ = step;
    rowPixels_ = rowPixels;
    Apply();
}

void RecodingConverter::Convert(const Rectangle& samples, std::int32_t step, const Surface& out)
{
    Prepare(step, out.rowPixels);
    const std::int32_t width = samples.right - samples.left;
    const std::int32_t height = samples.bottom - samples.top;
    const std::int32_t columns = AtOnce(width, sampled_.strideX);
    const std::int32_t rows = AtOnce(height, sampled_.strideY);
    for (std::int32_t y = 0; y < height; y += rows) {
        for (std::int32_t x = 0; x < width; x += columns) {
            const std::uint8_t* const first = base_ + sampled_.At(samples.left + x, samples.top + y);
            ConvertBlock(first, {std::min(columns, width - x), std::min(rows, height - y)},
                         {out.Row(y) + x, out.rowPixels});
        }
    }
    if (route_ == Route::Alpha)
        ShowThrough(samples, out);
}

/// first is the first sample of a block, wherever in the image's memory: nothing but the block is
/// computed in the 32 bits that the component has.
void RecodingConverter::ConvertBlock(const std::uint8_t* first, const Size& block, const Surface& out)
{
    const tavlo::rect part = {0, 0, block.width, block.height};
    const tavlo::recode_source source(source_, first);
    const tavlo::recode_target target(colors_, out.pixels);
    if (!ramp_) {
        Attempt(purpose, [&] { tone_.recode(source, target, {.from = part}); });
        return;
    }
    grey_.resize(std::max(grey_.size(),
                          static_cast<std::size_t>(out.rowPixels) * static_cast<std::size_t>(block.height)));
    Attempt(purpose, [&] {
        tone_.recode(source, {greys_, grey_.data()}, {.from = part});
        ramp_.recode({greys_, grey_.data()}, target, {.from = part});
    });
}

} // namespace Mardu::Sentel::Tavlo::Client::View
