#pragma once

#include "recode/recoders/lazy_table.h"

#include <optional>

namespace Mardu::Sentel::Tavlo {

/// The tone curve over all values of an integer field.
class CurveTable
{
public:
    /// `sign` is the field's sign bit, 0 for unsigned ones.
    CurveTable(Element entry, std::size_t count, std::uint32_t sign)
        : entry_(entry), table_(count, sign, SizeOf(entry))
    {
    }

    Element Entry() const noexcept { return entry_; }
    std::size_t Count() const noexcept { return table_.Count(); }
    const std::uint8_t* Entries() const noexcept { return table_.Entries(); }
    bool IsComplete() const noexcept { return table_.IsComplete(); }

    /// From now on all entries belong to this curve.
    void Use(const ToneCurve& curve)
    {
        curve_ = curve;
        table_.Clear();
    }

    /// Whose entries they are.
    const ToneCurve& Curve() const noexcept { return *curve_; }

    /// Makes the entries of these positions valid.
    void Require(const IndexRange& range)
    {
        table_.Require(range, [this](std::size_t first, std::size_t count, std::uint8_t* entries) {
            ActiveKernels().Of(*curve_).fill[IndexOf(entry_)](*curve_, first, entries, count);
        });
    }

    void RequireAll() { Require({0, Count() - 1}); }

private:
    Element entry_;
    LazyTable table_;
    std::optional<ToneCurve> curve_;
};

} // namespace Mardu::Sentel::Tavlo
