#pragma once

#include "client/view/pixel.h"
#include "client/view/ramps.h"
#include "client/view/status.h"
#include "client/view/viewport.h"

#include <optional>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// All that the window's parts show. The viewer changes it; they only look.
struct Scene
{
    Scene(const Descriptor& image, const std::uint8_t* base)
        : descriptor(image),
          reader(image, base),
          route(*RouteOf(image.Type())),
          range(RangeOf(image.Type())),
          levels(FullLevels(range)),
          viewport({image.width, image.height})
    {
    }

    Descriptor descriptor;
    PixelReader reader;
    Route route;
    ValueRange range;

    Levels levels;
    Stepped gamma;
    Stepped sigma;
    std::size_t ramp = 0;
    bool isRampTurned = false;
    bool isFollowing = false;          ///< automatic contrast at every update
    std::vector<Histogram> histograms; ///< one for grey, three for colours

    Viewport viewport;
    Point probe;                      ///< the pixel whose value is told
    bool isProbeMarked = false;       ///< it was chosen with keys, so no pointer shows where it is
    std::optional<Point> regionStart; ///< the other corner of the region is the probe
    bool hasKeyList = false;

    Producer producer = Producer::None;
    UpdateRate updates;
    std::optional<Rectangle> lastChange;

    std::optional<Rectangle> Region() const
    {
        if (!regionStart)
            return std::nullopt;
        return Between(*regionStart, probe, viewport.Image());
    }
};

} // namespace Mardu::Sentel::Tavlo::Client::View
