#include "client/view/geometry.h"

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {

Rectangle Between(const Point& a, const Point& b, const Size& image) noexcept
{
    const auto [left, right] = std::minmax(a.x, b.x);
    const auto [top, bottom] = std::minmax(a.y, b.y);
    return Intersection({left, top, right + 1, bottom + 1}, Whole(image));
}

} // namespace Mardu::Sentel::Tavlo::Client::View
