#include "client/view/recoding_converter.h"

#include "client/images/shared_image.h"

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::string_view purpose = "convert the image's pixels into colours";

/// Every step-th pixel of every step-th row, as an image of its own.
Descriptor Sampled(Descriptor d, std::int32_t step) noexcept
{
    d.offset += FirstSample(d.width, step) * d.strideX + FirstSample(d.height, step) * d.strideY;
    const Size samples = {SamplesOf(d.width, step), SamplesOf(d.height, step)};
    d.strideX = samples.width > 1 ? d.strideX * step : d.strideX;
    d.strideY = samples.height > 1 ? d.strideY * step : d.strideY;
    d.width = samples.width;
    d.height = samples.height;
    return d;
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
    const Descriptor samples = Sampled(image_, step);
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
    const tavlo::rect part = {samples.left, samples.top, samples.right, samples.bottom};
    const tavlo::recode_source source(source_, base_);
    const tavlo::recode_target target(colors_, out.pixels);
    if (!ramp_) {
        Attempt(purpose, [&] { tone_.recode(source, target, {.from = part}); });
        if (route_ == Route::Alpha)
            ShowThrough(samples, out);
        return;
    }
    const std::int32_t height = samples.bottom - samples.top;
    grey_.resize(std::max(grey_.size(), static_cast<std::size_t>(out.rowPixels * height)));
    Attempt(purpose, [&] {
        tone_.recode(source, {greys_, grey_.data()}, {.from = part});
        ramp_.recode({greys_, grey_.data()}, target, {.from = tavlo::rect{0, 0, part.width(), height}});
    });
}

} // namespace Mardu::Sentel::Tavlo::Client::View
