#pragma once

#include "image/layout.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Bench {

using Mardu::Sentel::Tavlo::TavloDescriptorData;

struct Extent
{
    std::int32_t width = 0;
    std::int32_t height = 0;

    std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    std::string Text() const { return std::to_string(width) + "x" + std::to_string(height); }
};

/// Page-aligned memory that has been written to, as an image's memory is.
class Buffer
{
public:
    explicit Buffer(std::size_t bytes);

    std::uint8_t* Bytes() const { return memory_.get(); }
    std::size_t Size() const { return size_; }

    template <class Pixel>
    Pixel* As() const
    {
        return reinterpret_cast<Pixel*>(memory_.get());
    }

private:
    struct Free
    {
        void operator()(std::uint8_t* memory) const noexcept;
    };

    std::size_t size_;
    std::unique_ptr<std::uint8_t, Free> memory_;
};

/// What a source holds: a picture, that is a smooth shape with a little noise, over all values of
/// its pixels. Floats lie between 0 and 1.
enum class Picture
{
    bytes,   ///< 8-bit samples, also those of colours
    words,   ///< 16 bits
    noise,   ///< 16 bits, each value as likely as any other, whatever its neighbours are
    words12, ///< 12 bits, with anything above them
    longs,   ///< 32 bits, signed or unsigned
    floats
};

std::size_t SampleSize(Picture picture);

/// The memory of the contests at one size, shared by all contenders of a contest.
class Memory
{
public:
    explicit Memory(Extent extent);

    Extent Size() const { return extent_; }

    /// The first `samples` samples of a picture, and behind them memory up to `bytes` in all.
    const std::uint8_t* Source(Picture picture, std::size_t samples, std::size_t bytes);

    std::uint8_t* Target(std::size_t bytes);
    /// For contenders that need a step in between.
    std::uint8_t* Scratch(std::size_t bytes);
    /// For results to compare with.
    std::uint8_t* Kept(std::size_t bytes);

private:
    static std::uint8_t* AtLeast(std::unique_ptr<Buffer>& buffer, std::size_t bytes);

    Extent extent_;
    std::unique_ptr<Buffer> source_, target_, scratch_, kept_;
    Picture picture_ = Picture::bytes;
    std::size_t samples_ = 0;
};

/// A descriptor of packed rows.
TavloDescriptorData Packed(Extent extent, std::int32_t bits, std::int32_t encoding);

} // namespace Bench
