#include "conversions/memory.h"

#include "image/wrapping.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace Bench {
namespace {

constexpr std::size_t pageSize = 4096;

/// Values from 0 to 1: two slow waves across the picture, and noise of a hundredth.
class Shape
{
public:
    explicit Shape(std::int32_t width) : width_(static_cast<std::size_t>(width)) {}

    double At(std::size_t i)
    {
        // One sine a few pixels: filling large sources should not take longer than the contests.
        if (i % 8 == 0)
            base_ = 0.5 + 0.28 * std::sin(static_cast<double>(i % width_) * 0.004) +
                    0.2 * std::sin(static_cast<double>(i / width_) * 0.006);
        state_ = state_ * 1664525 + 1013904223;
        return base_ + (static_cast<double>(state_ >> 8) / 16777216.0 - 0.5) * 0.02;
    }

    std::uint32_t Random() const { return state_; }

private:
    std::size_t width_;
    double base_ = 0;
    std::uint32_t state_ = 1;
};

template <class Pixel, class Value>
void Fill(std::uint8_t* bytes, std::size_t samples, std::int32_t width, const Value& value)
{
    Shape shape(width);
    for (std::size_t i = 0; i < samples; ++i) {
        const Pixel pixel = value(shape.At(i), shape.Random());
        std::memcpy(bytes + i * sizeof pixel, &pixel, sizeof pixel);
    }
}

void FillPicture(Picture picture, std::uint8_t* bytes, std::size_t samples, std::int32_t width)
{
    switch (picture) {
    case Picture::bytes:
        return Fill<std::uint8_t>(bytes, samples, width, [](double v, std::uint32_t) {
            return static_cast<std::uint8_t>(v * 255.0);
        });
    case Picture::words:
        return Fill<std::uint16_t>(bytes, samples, width, [](double v, std::uint32_t) {
            return static_cast<std::uint16_t>(v * 65535.0);
        });
    case Picture::noise:
        return Fill<std::uint16_t>(bytes, samples, width, [](double, std::uint32_t random) {
            return static_cast<std::uint16_t>(random >> 16);
        });
    case Picture::words12:
        return Fill<std::uint16_t>(bytes, samples, width, [](double v, std::uint32_t random) {
            return static_cast<std::uint16_t>(static_cast<std::uint32_t>(v * 4095.0) | (random & 0xF000));
        });
    case Picture::longs:
        return Fill<std::uint32_t>(bytes, samples, width, [](double v, std::uint32_t) {
            return static_cast<std::uint32_t>(v * 4294967295.0);
        });
    case Picture::floats:
        return Fill<float>(bytes, samples, width,
                           [](double v, std::uint32_t) { return static_cast<float>(v); });
    }
}

} // namespace

std::size_t SampleSize(Picture picture)
{
    switch (picture) {
    case Picture::bytes:
        return 1;
    case Picture::words:
    case Picture::noise:
    case Picture::words12:
        return 2;
    case Picture::longs:
    case Picture::floats:
        break;
    }
    return 4;
}

void Buffer::Free::operator()(std::uint8_t* memory) const noexcept
{
    std::free(memory);
}

Buffer::Buffer(std::size_t bytes)
    : size_((bytes + pageSize - 1) / pageSize * pageSize),
      memory_(static_cast<std::uint8_t*>(std::aligned_alloc(pageSize, size_)))
{
    if (memory_ == nullptr)
        throw std::bad_alloc();
    std::memset(memory_.get(), 1, size_);
}

Memory::Memory(Extent extent) : extent_(extent) {}

std::uint8_t* Memory::AtLeast(std::unique_ptr<Buffer>& buffer, std::size_t bytes)
{
    if (buffer == nullptr || buffer->Size() < bytes) {
        buffer.reset();
        buffer = std::make_unique<Buffer>(bytes);
    }
    return buffer->Bytes();
}

const std::uint8_t* Memory::Source(Picture picture, std::size_t samples, std::size_t bytes)
{
    const std::size_t needed = std::max(bytes, samples * SampleSize(picture));
    const bool kept = source_ != nullptr && source_->Size() >= needed;
    std::uint8_t* memory = AtLeast(source_, needed);
    if (!kept || picture != picture_ || samples > samples_) {
        FillPicture(picture, memory, samples, extent_.width);
        picture_ = picture;
        samples_ = samples;
    }
    return memory;
}

std::uint8_t* Memory::Target(std::size_t bytes)
{
    return AtLeast(target_, bytes);
}

std::uint8_t* Memory::Scratch(std::size_t bytes)
{
    return AtLeast(scratch_, bytes);
}

std::uint8_t* Memory::Kept(std::size_t bytes)
{
    return AtLeast(kept_, bytes);
}

TavloDescriptorData Packed(Extent extent, std::int32_t bits, std::int32_t encoding)
{
    const std::int32_t size = Mardu::Sentel::Tavlo::BytesOfBits(bits);
    return {extent.width, extent.height, bits, encoding, 0, size, extent.width * size};
}

} // namespace Bench
