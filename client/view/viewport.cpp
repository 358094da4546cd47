#include "client/view/viewport.h"

#include "client/view/axis.h"

#include <algorithm>
#include <cmath>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

/// Scales nearer than this are the same step of the ladder.
constexpr double nearness = 0.05;

/// What rounding may do to an edge that is a whole window pixel.
constexpr double tolerance = 1e-9;

/// A picture smaller than the window is in its middle; a larger one fills it.
double Settled(double origin, double extent, double window) noexcept
{
    if (extent <= window)
        return (window - extent) / 2;
    return std::clamp(origin, window - extent, 0.0);
}

std::int32_t Rounded(double value) noexcept
{
    return static_cast<std::int32_t>(std::floor(value + 0.5));
}

std::int32_t Clamped(double value, double least, double greatest) noexcept
{
    return static_cast<std::int32_t>(std::clamp(value, least, greatest));
}

double RevealingShift(double begin, double end, double window) noexcept
{
    return begin < 0 ? -begin : end > window ? window - end : 0;
}

} // namespace

double NextScale(double scale) noexcept
{
    const double power = std::exp2(std::floor(std::log2(scale) + nearness));
    return scale < power * 1.5 * (1 - nearness) ? power * 1.5 : power * 2;
}

double PreviousScale(double scale) noexcept
{
    const double power = std::exp2(std::ceil(std::log2(scale) - nearness));
    return scale > power * 0.75 * (1 + nearness) ? power * 0.75 : power / 2;
}

double Viewport::FittingScale() const noexcept
{
    const double fitting = std::min(static_cast<double>(window_.width) / image_.width,
                                    static_cast<double>(window_.height) / image_.height);
    return std::min(fitting, largest);
}

double Viewport::Least() const noexcept
{
    return std::min(FittingScale(), 1.0 / 16);
}

void Viewport::Settle() noexcept
{
    originX_ = Settled(originX_, image_.width * scale_, window_.width);
    originY_ = Settled(originY_, image_.height * scale_, window_.height);
}

void Viewport::Resize(const Size& window) noexcept
{
    const double dx = (window.width - window_.width) / 2.0;
    const double dy = (window.height - window_.height) / 2.0;
    window_ = {std::max(window.width, 1), std::max(window.height, 1)};
    if (isFitted_) {
        Fit();
        return;
    }
    originX_ += dx;
    originY_ += dy;
    Settle();
}

void Viewport::Fit() noexcept
{
    scale_ = FittingScale();
    isFitted_ = true;
    Settle();
}

void Viewport::ScaleTo(double scale, const Point& at) noexcept
{
    const double next = std::clamp(scale, Least(), largest);
    const double x = at.x + 0.5;
    const double y = at.y + 0.5;
    originX_ = x - (x - originX_) * (next / scale_);
    originY_ = y - (y - originY_) * (next / scale_);
    scale_ = next;
    isFitted_ = false;
    Settle();
}

void Viewport::Zoom(int steps, const Point& at) noexcept
{
    double scale = scale_;
    for (; steps > 0; --steps)
        scale = NextScale(scale);
    for (; steps < 0; ++steps)
        scale = PreviousScale(scale);
    ScaleTo(scale, at);
}

void Viewport::Pan(std::int32_t dx, std::int32_t dy) noexcept
{
    originX_ += dx;
    originY_ += dy;
    Settle();
}

void Viewport::Reveal(const Point& pixel) noexcept
{
    const auto [x, y] = Origin();
    originX_ += RevealingShift(x + pixel.x * scale_, x + (pixel.x + 1) * scale_, window_.width);
    originY_ += RevealingShift(y + pixel.y * scale_, y + (pixel.y + 1) * scale_, window_.height);
    Settle();
}

Point Viewport::Origin() const noexcept
{
    return {Rounded(originX_), Rounded(originY_)};
}

Place Viewport::PlaceAt(const Point& point) const noexcept
{
    const auto [x, y] = Origin();
    return {(point.x + 0.5 - x) / scale_, (point.y + 0.5 - y) / scale_};
}

Point Viewport::PixelAt(const Point& point) const noexcept
{
    const Place place = PlaceAt(point);
    return {Clamped(std::floor(place.x), 0, image_.width - 1),
            Clamped(std::floor(place.y), 0, image_.height - 1)};
}

bool Viewport::IsOnImage(const Point& point) const noexcept
{
    const Place place = PlaceAt(point);
    return place.x >= 0 && place.x < image_.width && place.y >= 0 && place.y < image_.height;
}

Rectangle Viewport::ToWindow(const Rectangle& pixels) const noexcept
{
    if (IsEmpty(pixels))
        return {};
    const auto [x, y] = Origin();
    const auto first = [this](std::int32_t origin, std::int32_t pixel, std::int32_t window) {
        return Clamped(std::floor(origin + pixel * scale_ + tolerance), 0, window);
    };
    const auto last = [this](std::int32_t origin, std::int32_t pixel, std::int32_t window) {
        return Clamped(std::ceil(origin + pixel * scale_ - tolerance), 0, window);
    };
    const Rectangle shown = {first(x, pixels.left, window_.width), first(y, pixels.top, window_.height),
                             last(x, pixels.right, window_.width), last(y, pixels.bottom, window_.height)};
    return IsEmpty(shown) ? Rectangle{} : shown;
}

Rectangle Viewport::Affected(const Rectangle& pixels) const noexcept
{
    const Rectangle inside = Intersection(pixels, View::Whole(image_));
    if (scale_ >= 1 || IsEmpty(inside))
        return ToWindow(inside);
    // One pixel may stand for its neighbours too, and means are of 256ths of a pixel.
    const std::int32_t step = StepFor(scale_);
    const auto begin = [step](std::int32_t pixel) { return pixel / step * step; };
    const auto end = [step](std::int32_t pixel, std::int32_t image) {
        return static_cast<std::int32_t>(
            std::min<std::int64_t>((pixel + std::int64_t{step} - 1) / step * step, image));
    };
    const Rectangle shown = ToWindow({begin(inside.left), begin(inside.top), end(inside.right, image_.width),
                                      end(inside.bottom, image_.height)});
    return Intersection({shown.left - 1, shown.top - 1, shown.right + 1, shown.bottom + 1}, Shown());
}

} // namespace Mardu::Sentel::Tavlo::Client::View
