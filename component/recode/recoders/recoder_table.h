#pragma once

#include "recode/recoders/recoder_base.h"

#include <memory>

namespace Mardu::Sentel::Tavlo {

using RecoderMaker = std::unique_ptr<recoder_base> (*)(const TavloDescriptorData&,
                                                       const TavloDescriptorData&);

/// What makes the recoder for a pair, told apart by the low bytes of Bits and Encoding on
/// either side; null for a pair without one.
RecoderMaker FindRecoder(const TavloDescriptorData& src, const TavloDescriptorData& dst) noexcept;

} // namespace Mardu::Sentel::Tavlo
