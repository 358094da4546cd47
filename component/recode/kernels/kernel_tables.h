#pragma once

#include <array>
#include <cstdint>

namespace Mardu::Sentel::Tavlo {

// Tables of loops by element types, in the order of Element.

/// Loop<D>::Run for every type.
template <template <class> class Loop>
constexpr auto EveryTarget()
{
    return std::array{&Loop<std::int8_t>::Run,   &Loop<std::uint8_t>::Run, &Loop<std::int16_t>::Run,
                      &Loop<std::uint16_t>::Run, &Loop<std::int32_t>::Run, &Loop<std::uint32_t>::Run,
                      &Loop<float>::Run,         &Loop<double>::Run};
}

template <template <class, class> class Loop, class S>
struct From
{
    template <class D>
    using To = Loop<S, D>;
};

/// Loop<S, D>::Run for every target of every source that has no table.
template <template <class, class> class Loop>
constexpr auto EveryPair()
{
    return std::array{EveryTarget<From<Loop, std::int32_t>::template To>(),
                      EveryTarget<From<Loop, std::uint32_t>::template To>(),
                      EveryTarget<From<Loop, float>::template To>(),
                      EveryTarget<From<Loop, double>::template To>()};
}

/// Loop<S, D>::Run for all types.
template <template <class, class> class Loop>
constexpr auto CastTable()
{
    return std::array{EveryTarget<From<Loop, std::int8_t>::template To>(),
                      EveryTarget<From<Loop, std::uint8_t>::template To>(),
                      EveryTarget<From<Loop, std::int16_t>::template To>(),
                      EveryTarget<From<Loop, std::uint16_t>::template To>(),
                      EveryTarget<From<Loop, std::int32_t>::template To>(),
                      EveryTarget<From<Loop, std::uint32_t>::template To>(),
                      EveryTarget<From<Loop, float>::template To>(),
                      EveryTarget<From<Loop, double>::template To>()};
}

} // namespace Mardu::Sentel::Tavlo
