#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace Mardu::Sentel::Tavlo {

/// The sizes of packed elements that the loops know, in bytes.
inline constexpr std::size_t packedSizes[] = {1, 2, 3, 4, 8};
inline constexpr std::size_t sizeCount = std::size(packedSizes);

/// One of these sizes. Only a constant becomes one, so that a size which the loops do not know does not
/// compile.
class PackedSize
{
public:
    explicit consteval PackedSize(std::size_t bytes) : bytes_(bytes), index_(IndexOf(bytes)) {}

    constexpr std::size_t Bytes() const noexcept { return bytes_; }
    /// Its position in tables of kernels.
    constexpr std::size_t Index() const noexcept { return index_; }

private:
    static consteval std::size_t IndexOf(std::size_t bytes)
    {
        for (std::size_t i = 0; i < sizeCount; ++i)
            if (packedSizes[i] == bytes)
                return i;
        throw "no loop knows elements of this size";
    }

    std::size_t bytes_;
    std::size_t index_;
};

/// The types of single values, as positions in tables of kernels.
enum class Element : std::size_t
{
    signed8,
    unsigned8,
    signed16,
    unsigned16,
    signed32,
    unsigned32,
    float32,
    float64,
    count
};

inline constexpr auto elementCount = static_cast<std::size_t>(Element::count);

constexpr std::size_t IndexOf(Element element) noexcept
{
    return static_cast<std::size_t>(element);
}

/// The element of a type. Others than these have none, and do not compile.
template <class T>
consteval Element ElementOf() noexcept
{
    if constexpr (std::is_same_v<T, std::int8_t>)
        return Element::signed8;
    else if constexpr (std::is_same_v<T, std::uint8_t>)
        return Element::unsigned8;
    else if constexpr (std::is_same_v<T, std::int16_t>)
        return Element::signed16;
    else if constexpr (std::is_same_v<T, std::uint16_t>)
        return Element::unsigned16;
    else if constexpr (std::is_same_v<T, std::int32_t>)
        return Element::signed32;
    else if constexpr (std::is_same_v<T, std::uint32_t>)
        return Element::unsigned32;
    else if constexpr (std::is_same_v<T, float>)
        return Element::float32;
    else {
        static_assert(std::is_same_v<T, double>, "no element has this type");
        return Element::float64;
    }
}

template <class T>
consteval std::size_t ElementIndex() noexcept
{
    return IndexOf(ElementOf<T>());
}

constexpr PackedSize SizeOf(Element element) noexcept
{
    constexpr std::array<PackedSize, elementCount> sizes{PackedSize(1), PackedSize(1), PackedSize(2),
                                                         PackedSize(2), PackedSize(4), PackedSize(4),
                                                         PackedSize(4), PackedSize(8)};
    return sizes[IndexOf(element)];
}

} // namespace Mardu::Sentel::Tavlo
