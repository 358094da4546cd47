#pragma once

#include "client/view/recoding_converter.h"

#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The colours that values of a type get, converted like an image's pixels.
class Legend
{
public:
    explicit Legend(const PixelType& type) : type_(type) {}

    /// The colours 0x00RRGGBB of so many values from one end of range to the other; what the
    /// type cannot hold counts as its nearest value.
    std::vector<std::uint32_t> Colors(const ValueRange& range, std::int32_t count,
                                      const Rendering& rendering) const;

private:
    PixelType type_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
