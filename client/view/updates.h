#pragma once

#include "client/pictures/rectangle.h"

#include <chrono>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The updates of an image that came since they were last taken.
struct Updates
{
    std::vector<Rectangle> dirty;
    std::vector<std::chrono::steady_clock::time_point> times;
    Rectangle last;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
