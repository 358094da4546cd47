#pragma once

#include "client/pictures/descriptor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// What one number in an image's memory is.
enum class Number
{
    UInt8,
    UInt16,
    UInt32,
    UInt64,
    Int8,
    Int16,
    Int32,
    Int64,
    Float32,
    Float64,
};

/// What lies in memory at one position of an image: one number for every component,
/// one after the other.
struct SampleType
{
    Number number;
    std::span<const std::string_view> components; ///< their names in memory order

    std::int64_t Size() const noexcept;
};

/// Nothing for encodings that are not made of numbers, and for bit depths that an
/// encoding does not have.
std::optional<SampleType> SampleTypeOf(const Descriptor& descriptor) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
