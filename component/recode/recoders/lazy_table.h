#pragma once

#include "recode/kernels/kernels.h"
#include "recode/pixels/strided.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace Mardu::Sentel::Tavlo {

/// An entry for every value of an integer field, computed when it is needed first. Entries stand where the
/// bits of their value, taken as an unsigned number, point; positions count from the smallest value on.
class LazyTable
{
public:
    /// `sign` is the field's sign bit, 0 for unsigned ones.
    LazyTable(std::size_t count, std::uint32_t sign, PackedSize entry)
        : count_(count), sign_(sign), entrySize_(entry.Bytes())
    {
    }

    std::size_t Count() const noexcept { return count_; }
    /// Only the required ones are valid.
    const std::uint8_t* Entries() const noexcept { return entries_.get(); }

    bool IsComplete() const noexcept { return begin_ == 0 && end_ == count_; }

    /// No entry is valid any longer.
    void Clear() noexcept { begin_ = end_ = 0; }

    /// Makes the entries of these positions valid. `fill` is called for each stretch that lies together, with
    /// its first position, their number and where the entries go.
    template <class Fill>
    void Require(const IndexRange& range, const Fill& fill)
    {
        if (entries_ == nullptr)
            entries_ = std::make_unique_for_overwrite<std::uint8_t[]>(count_ * entrySize_);
        if (begin_ == end_)
            begin_ = end_ = range.first;
        if (range.first < begin_) {
            FillBoth(range.first, begin_, fill);
            begin_ = range.first;
        }
        if (range.last >= end_) {
            FillBoth(end_, range.last + 1, fill);
            end_ = range.last + 1;
        }
    }

private:
    /// Negative values have the larger bits: each half of the positions is a stretch of entries.
    template <class Fill>
    void FillBoth(std::size_t begin, std::size_t end, const Fill& fill)
    {
        const std::size_t middle = std::clamp<std::size_t>(sign_, begin, end);
        if (begin != middle)
            fill(begin, middle - begin, &entries_[(begin ^ sign_) * entrySize_]);
        if (middle != end)
            fill(middle, end - middle, &entries_[(middle ^ sign_) * entrySize_]);
    }

    std::size_t count_;
    std::size_t sign_;
    std::size_t entrySize_;
    std::size_t begin_ = 0; ///< the valid positions
    std::size_t end_ = 0;
    std::unique_ptr<std::uint8_t[]> entries_;
};

/// Pixels of 16-bit elements whose entries alone are made. Images are shared memory, which may be written
/// while it is read: what a value was when its entry was made is no rule for what it is when it is looked
/// up. So these pixels are read once, into memory of this thread's own, and both are done there.
class PixelsRead
{
public:
    /// Of a block that is not empty. Leaves the pixels where they are if the table is better made whole: if
    /// there are as many of them as entries, or they are far apart.
    PixelsRead(std::size_t entries, const SourceBlock& source, std::uint64_t width, std::uint64_t height)
        : source_(source)
    {
        if (source.strideX != 2 || height >= entries / width)
            return;
        const auto row = static_cast<std::size_t>(2 * width);
        pixels_ = std::make_unique_for_overwrite<std::uint8_t[]>(row * static_cast<std::size_t>(height));
        for (std::uint64_t y = 0; y < height; ++y)
            std::memcpy(&pixels_[row * static_cast<std::size_t>(y)], source.Row(y), row);
        source_ = {pixels_.get(), 2, static_cast<std::ptrdiff_t>(row)};
    }

    /// Where they are to be looked up from.
    const SourceBlock& Source() const noexcept { return source_; }

    /// The positions in a table of these many entries that they need.
    IndexRange NeededEntries(std::size_t entries, std::uint32_t sign, std::uint64_t width,
                             std::uint64_t height) const
    {
        if (pixels_ == nullptr)
            return {0, entries - 1};
        return ActiveKernels().lookup.rangeOf16(static_cast<std::uint32_t>(entries - 1), sign, pixels_.get(),
                                                static_cast<std::size_t>(width * height));
    }

private:
    std::unique_ptr<std::uint8_t[]> pixels_;
    SourceBlock source_;
};

} // namespace Mardu::Sentel::Tavlo
