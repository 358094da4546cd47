#pragma once

#include "recode/kernels.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// The tone curve over all values of an integer field. Entries stand where the bits of their value, taken
/// as an unsigned number, point; they are computed when they are needed first.
template <class D>
class CurveTable
{
public:
    /// `sign` is the field's sign bit, 0 for unsigned ones.
    CurveTable(std::size_t count, std::uint32_t sign) : sign_(sign), entries_(count) {}

    std::size_t Count() const noexcept { return entries_.size(); }
    const D* Entries() const noexcept { return entries_.data(); }

    /// From now on all entries belong to this curve.
    void Use(const ToneCurve& curve)
    {
        curve_ = curve;
        begin_ = end_ = 0;
    }

    /// Whose entries they are.
    const ToneCurve& Curve() const noexcept { return *curve_; }

    bool IsComplete() const noexcept { return begin_ == 0 && end_ == Count(); }

    /// Makes the entries of these positions valid; positions count from the smallest value on.
    void Require(const IndexRange& range)
    {
        if (begin_ == end_)
            begin_ = end_ = range.first;
        if (range.first < begin_) {
            Fill(range.first, begin_);
            begin_ = range.first;
        }
        if (range.last >= end_) {
            Fill(end_, range.last + 1);
            end_ = range.last + 1;
        }
    }

    void RequireAll() { Require({0, Count() - 1}); }

private:
    void Fill(std::size_t begin, std::size_t end)
    {
        // Negative values have the larger bits: each half of the positions is a stretch of entries.
        const std::size_t middle = std::clamp<std::size_t>(sign_, begin, end);
        FillHalf(begin, middle);
        FillHalf(middle, end);
    }

    void FillHalf(std::size_t begin, std::size_t end)
    {
        if (begin == end)
            return;
        const CurveKernels& kernels = ActiveKernels().curve;
        const auto& fill = curve_->IsLinear() ? kernels.fillLinear : kernels.fillBent;
        auto* entries = reinterpret_cast<std::uint8_t*>(entries_.data() + (begin ^ sign_));
        fill[ElementIndex<D>()](*curve_, begin, entries, end - begin);
    }

    std::size_t sign_;
    std::size_t begin_ = 0; ///< the valid positions
    std::size_t end_ = 0;
    std::optional<ToneCurve> curve_;
    std::vector<D> entries_;
};

} // namespace Mardu::Sentel::Tavlo
