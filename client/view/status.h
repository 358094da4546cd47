#pragma once

#include "client/pictures/descriptor.h"
#include "client/view/geometry.h"
#include "client/view/levels.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace Mardu::Sentel::Tavlo::Client::View {

/// How many updates came in the last second.
class UpdateRate
{
public:
    using Time = std::chrono::steady_clock::time_point;

    void Add(Time now);
    std::int64_t Count() const noexcept { return count_; }
    double PerSecond(Time now);

private:
    void Forget(Time now);

    std::deque<Time> recent_;
    std::int64_t count_ = 0;
};

/// Whether there is still somebody who may change the image.
enum class Producer
{
    None, ///< the picture is the viewer's own
    Alive,
    Closed,
};

/// "512 x 512  Unsigned 16".
std::string GeometryText(const Descriptor& descriptor);

/// "100 %", "66.7 %".
std::string ScaleText(double scale);

/// "42 updates, 60.0/s", or what stands there when nothing changes any more.
std::string UpdatesText(Producer producer, std::int64_t count, double perSecond);

/// "changed 10,20,30,40"; empty when nothing has changed.
std::string ChangeText(const std::optional<Rectangle>& rectangle);

/// "(12, 34) 567".
std::string PixelText(const Point& pixel, const std::string& value);

/// A number with as many digits as matter within a range.
std::string LevelText(double value, const ValueRange& range);

/// A factor of a key's steps: exactly 1 after as many steps up as down.
class Stepped
{
public:
    void Step(int steps) noexcept;
    void Reset() noexcept { step_ = 0; }
    double Value() const noexcept;

private:
    int step_ = 0;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
