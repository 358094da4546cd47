#pragma once

#include <cstdint>
#include <xmmintrin.h>

namespace Mardu::Sentel::Tavlo {

/// As long as this lives, the thread computes as conversions are described: to the nearest, with the smallest
/// numbers, in full precision, and without exceptions of the processor. Then it computes as it did before.
///
/// The compiler knows nothing of such modes. What is computed meanwhile is in functions that are not expanded
/// where this lives: see InDefaultArithmetic.
class DefaultArithmetic
{
public:
    DefaultArithmetic() noexcept : vectors_(_mm_getcsr())
    {
        // Usually nothing is to be done, and reading costs least. Notes of what happened stay as they are
        // then.
        asm volatile("fnstcw %0" : "=m"(x87_));
        if (AreVectorsSet())
            _mm_setcsr(defaultVectors);
        if (x87_ != defaultX87) {
            asm volatile("fnstenv %0" : "=m"(environment_));
            asm volatile("fldcw %0" : : "m"(defaultX87));
        }
    }

    ~DefaultArithmetic()
    {
        if (AreVectorsSet())
            _mm_setcsr(vectors_);
        // With its notes: one of ours, which the caller has exceptions for, would raise them.
        if (x87_ != defaultX87)
            asm volatile("fldenv %0" : : "m"(environment_));
    }

    DefaultArithmetic(const DefaultArithmetic&) = delete;
    DefaultArithmetic& operator=(const DefaultArithmetic&) = delete;

private:
    static constexpr unsigned notes = 0x3F;
    static constexpr unsigned defaultVectors = 0x1F80;
    static constexpr std::uint16_t defaultX87 = 0x037F;

    bool AreVectorsSet() const noexcept { return (vectors_ & ~notes) != defaultVectors; }

    unsigned vectors_;
    std::uint16_t x87_;
    struct
    {
        std::uint8_t bytes[28];
    } environment_;
};

/// Calls a function object in the default arithmetic.
template <class Compute>
auto InDefaultArithmetic(const Compute& compute)
{
    // By a pointer that the compiler cannot see through, so that nothing of it comes before or behind.
    auto(*call)(const Compute&) = +[](const Compute& c) { return c(); };
    asm volatile("" : "+r"(call));
    const DefaultArithmetic arithmetic;
    return call(compute);
}

} // namespace Mardu::Sentel::Tavlo
