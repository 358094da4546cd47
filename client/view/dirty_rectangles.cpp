#include "client/view/dirty_rectangles.h"

#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::size_t mostRectangles = 8;

/// Drawing the hull costs hardly more than drawing the two.
bool AreBetterTogether(const Rectangle& a, const Rectangle& b) noexcept
{
    return PixelsOf(Hull(a, b)) <= (PixelsOf(a) + PixelsOf(b)) * 5 / 4;
}

} // namespace

void DirtyRectangles::Add(const Rectangle& rectangle)
{
    if (Client::IsEmpty(rectangle))
        return;
    Rectangle added = rectangle;
    // A rectangle that has grown may have come near to one that it was far from.
    for (std::size_t i = 0; i < rectangles_.size();) {
        if (AreBetterTogether(rectangles_[i], added)) {
            added = Hull(rectangles_[i], added);
            rectangles_.erase(rectangles_.begin() + static_cast<std::ptrdiff_t>(i));
            i = 0;
        } else {
            ++i;
        }
    }
    rectangles_.push_back(added);
    if (rectangles_.size() > mostRectangles) {
        for (const Rectangle& other : rectangles_)
            added = Hull(added, other);
        rectangles_ = {added};
    }
}

std::vector<Rectangle> DirtyRectangles::Take()
{
    return std::exchange(rectangles_, {});
}

} // namespace Mardu::Sentel::Tavlo::Client::View
