#include "client/view/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

using namespace std::chrono_literals;

/// Steps from 1 to ten, and to a tenth.
constexpr int mostSteps = 24;

std::string Decimal(double value, int digits)
{
    char text[400];
    const int length = std::snprintf(text, sizeof text, "%.*f", digits, value);
    return std::string(text,
                       static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(sizeof text) - 1)));
}

} // namespace

void UpdateRate::Add(Time now)
{
    ++count_;
    recent_.push_back(now);
    Forget(now);
}

void UpdateRate::Forget(Time now)
{
    while (!recent_.empty() && now - recent_.front() >= 1s)
        recent_.pop_front();
}

double UpdateRate::PerSecond(Time now)
{
    Forget(now);
    return static_cast<double>(recent_.size());
}

std::string GeometryText(const Descriptor& descriptor)
{
    return std::to_string(descriptor.width) + " x " + std::to_string(descriptor.height) + "  " +
           EncodingText(descriptor.encoding) + " " + std::to_string(descriptor.bits);
}

std::string ScaleText(double scale)
{
    const double percent = scale * 100;
    const bool isWhole = std::abs(percent - std::round(percent)) < 0.05;
    return Decimal(percent, isWhole ? 0 : percent < 10 ? 2 : 1) + " %";
}

std::string UpdatesText(Producer producer, std::int64_t count, double perSecond)
{
    if (producer == Producer::None)
        return "not shared";
    const std::string updates = std::to_string(count) + (count == 1 ? " update" : " updates");
    if (producer == Producer::Closed)
        return "The producer has closed: this is its last picture, after " + updates;
    return updates + ", " + Decimal(perSecond, 0) + "/s";
}

std::string ChangeText(const std::optional<Rectangle>& rectangle)
{
    return rectangle ? "changed " + RectangleText(*rectangle) : std::string();
}

std::string PixelText(const Point& pixel, const std::string& value)
{
    return "(" + std::to_string(pixel.x) + ", " + std::to_string(pixel.y) + ")  " + value;
}

std::string LevelText(double value, const ValueRange& range)
{
    const double span = std::max(std::abs(range.Span()), 1e-300);
    const int digits = std::clamp(3 - static_cast<int>(std::floor(std::log10(span))), 0, 9);
    std::string text = Decimal(value, digits);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
            text.pop_back();
    }
    return text == "-0" ? "0" : text;
}

void Stepped::Step(int steps) noexcept
{
    step_ = std::clamp(step_ + steps, -mostSteps, mostSteps);
}

double Stepped::Value() const noexcept
{
    return step_ == 0 ? 1.0 : std::pow(10.0, static_cast<double>(step_) / mostSteps);
}

} // namespace Mardu::Sentel::Tavlo::Client::View
