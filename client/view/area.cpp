#include "client/view/area.h"

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::size_t most = 8;

/// Drawing the hull costs hardly more than drawing the two.
bool AreBetterTogether(const Rectangle& a, const Rectangle& b) noexcept
{
    return PixelsOf(Hull(a, b)) <= (PixelsOf(a) + PixelsOf(b)) * 5 / 4;
}

} // namespace

Rectangle Intersection(const Rectangle& a, const Rectangle& b) noexcept
{
    const Rectangle both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                            std::min(a.bottom, b.bottom)};
    return IsEmpty(both) ? Rectangle{} : both;
}

Rectangle Hull(const Rectangle& a, const Rectangle& b) noexcept
{
    if (IsEmpty(a))
        return b;
    if (IsEmpty(b))
        return a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

Rectangle Between(const Point& a, const Point& b, const Size& image) noexcept
{
    const auto [left, right] = std::minmax(a.x, b.x);
    const auto [top, bottom] = std::minmax(a.y, b.y);
    return Intersection({left, top, right + 1, bottom + 1}, Whole(image));
}

void DirtyArea::Add(const Rectangle& rectangle)
{
    if (View::IsEmpty(rectangle))
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
    if (rectangles_.size() > most) {
        for (const Rectangle& other : rectangles_)
            added = Hull(added, other);
        rectangles_ = {added};
    }
}

std::vector<Rectangle> DirtyArea::Take()
{
    return std::exchange(rectangles_, {});
}

} // namespace Mardu::Sentel::Tavlo::Client::View
