#pragma once

#include "conversions/contest.h"
#include "conversions/memory.h"

#include "recode/curve/tone_curve.h"
#include "recode/lut_recoder.h"
#include "recode/recode.h"

#include <functional>
#include <string>
#include <vector>

namespace Bench {

using Mardu::Sentel::Tavlo::LUTRecoder;
using Mardu::Sentel::Tavlo::PixelPoint;
using Mardu::Sentel::Tavlo::PixelRect;
using Mardu::Sentel::Tavlo::RecodeResult;
using Mardu::Sentel::Tavlo::ToneParameters;

/// Stops the program when a conversion is refused: there would be nothing to measure.
void Check(RecodeResult result);

/// Puts a contest together: its memory, ours, the peers. The copy with memcpy of as many bytes as
/// are read and written, half of them each way, comes by itself.
class ContestBuilder
{
public:
    ContestBuilder(Memory& memory, const TavloDescriptorData& from, const TavloDescriptorData& to,
                   Picture picture);

    void Goal(double goal, std::vector<std::string> against);

    /// Ours: a LUT recoder that stays. The tables are full when the clock starts.
    LUTRecoder& Ours(const ToneParameters& tone = {});
    void Ours(std::function<void()> run);

    void Add(const char* name, std::function<void()> run);

    const std::uint8_t* Source() const { return source_; }
    std::uint8_t* Target() const { return target_; }
    template <class Pixel>
    const Pixel* SourceAs() const
    {
        return reinterpret_cast<const Pixel*>(source_);
    }
    template <class Pixel>
    Pixel* TargetAs() const
    {
        return reinterpret_cast<Pixel*>(target_);
    }
    std::size_t Pixels() const { return memory_.Size().Pixels(); }

    const TavloDescriptorData from;
    const TavloDescriptorData to;

    Contest Done();

private:
    Memory& memory_;
    std::size_t sourceBytes_;
    std::size_t targetBytes_;
    const std::uint8_t* source_;
    std::uint8_t* target_;
    Contest contest_;
};

} // namespace Bench
