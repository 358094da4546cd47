#pragma once

#include "recode/pixels/element.h"
#include "recode/pixels/strided.h"

#include <cstddef>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

/// A conversion of packed pixels, by reference: it must outlive the call that takes it.
class PackedConversion
{
public:
    template <class Convert>
    PackedConversion(const Convert& convert) noexcept
        : target_(&convert),
          call_([](const void* target, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
              (*static_cast<const Convert*>(target))(src, dst, count);
          })
    {
    }

    void operator()(const std::uint8_t* src, std::uint8_t* dst, std::size_t count) const
    {
        call_(target_, src, dst, count);
    }

private:
    const void* target_;
    void (*call_)(const void*, const std::uint8_t*, std::uint8_t*, std::size_t);
};

/// Walks two blocks of pixels of these sizes and hands packed
/// stretches to a conversion: all pixels at once where they follow one another, rows where those are packed,
/// and else copies of rows or tiles.
void ConvertPacked(const SourceBlock& source, PackedSize sourceSize, const TargetBlock& target,
                   PackedSize targetSize, std::uint64_t width, std::uint64_t height,
                   PackedConversion convert);

/// The sizes of packed pixels on their way through two conversions.
struct Way
{
    PackedSize source;
    PackedSize between;
    PackedSize target;
};

/// Two conversions one after the other, in stretches whose pixels between them stay in the fastest cache.
void ConvertTwice(const Way& way, const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                  PackedConversion first, PackedConversion second);

} // namespace Mardu::Sentel::Tavlo
