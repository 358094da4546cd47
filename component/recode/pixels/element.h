#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Mardu::Sentel::Tavlo {

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

template <class T>
constexpr std::size_t ElementIndex() noexcept
{
    Element element = Element::count;
    if constexpr (std::is_floating_point_v<T>)
        element = sizeof(T) == 4 ? Element::float32 : Element::float64;
    else if constexpr (std::is_signed_v<T>)
        element = sizeof(T) == 1 ? Element::signed8 : sizeof(T) == 2 ? Element::signed16 : Element::signed32;
    else
        element = sizeof(T) == 1   ? Element::unsigned8
                  : sizeof(T) == 2 ? Element::unsigned16
                                   : Element::unsigned32;
    return static_cast<std::size_t>(element);
}

/// How many sizes of packed elements the loops know: 1, 2, 3, 4 and 8 bytes.
inline constexpr std::size_t sizeCount = 5;

/// The position of such a size in tables of kernels.
constexpr std::size_t SizeIndex(std::size_t bytes) noexcept
{
    return bytes == 8 ? 4 : bytes - 1;
}

} // namespace Mardu::Sentel::Tavlo
