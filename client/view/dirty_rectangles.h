#pragma once

#include "client/pictures/rectangle.h"

#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Rectangles that wait to be drawn: few, and not much larger in sum than what was added.
class DirtyRectangles
{
public:
    void Add(const Rectangle& rectangle);
    bool IsEmpty() const noexcept { return rectangles_.empty(); }
    /// All that was added since the last call.
    std::vector<Rectangle> Take();

private:
    std::vector<Rectangle> rectangles_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
