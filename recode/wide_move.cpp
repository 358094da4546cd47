#include "recode/plain_loops.h"
#include "recode/wide_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/wide_move.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/pixel_triples-inl.h"
#include "recode/transposition-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

/// Elements of 1, 2, 4 or 8 bytes.
template <std::size_t size>
struct Reversal
{
    static constexpr std::size_t together = step / size;

    static HWY_INLINE void Run(const std::uint8_t* src, std::uint8_t* dst)
    {
        alignas(16) static constexpr auto order = [] {
            std::array<std::uint8_t, 16> result{};
            for (std::size_t i = 0; i < 16; ++i)
                result[i] = static_cast<std::uint8_t>(16 - size - i / size * size + i % size);
            return result;
        }();
        const ByteVector blocks = hn::ReverseBlocks(bytes, hn::LoadU(bytes, src));
        hn::StoreU(hn::TableLookupBytes(blocks, hn::LoadDup128(bytes, order.data())), bytes, dst);
    }
};

template <>
struct Reversal<3>
{
    static constexpr std::size_t together = step;

    static HWY_INLINE void Run(const std::uint8_t* src, std::uint8_t* dst)
    {
        PixelTriple::Backwards(src).StorePermuted<LastFirst>(dst, CachedStore());
    }

private:
    struct LastFirst
    {
        static constexpr std::size_t From(std::size_t to)
        {
            return PixelTriple::period - 3 - to / 3 * 3 + to % 3;
        }
    };
};

template <std::size_t size>
void Reverse(const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
{
    constexpr std::size_t together = Reversal<size>::together;
    const std::size_t rest = count % together;
    src += count * size;
    for (std::size_t whole = count / together; whole != 0; --whole, dst += together * size) {
        src -= together * size;
        Reversal<size>::Run(src, dst);
    }
    if (rest == 0)
        return;
    // What is left are the source's first ones, in the copy the last ones.
    HWY_ALIGN std::uint8_t source[together * size] = {};
    HWY_ALIGN std::uint8_t target[together * size];
    std::memcpy(source + sizeof source - rest * size, src - rest * size, rest * size);
    Reversal<size>::Run(source, target);
    std::memcpy(dst, target, rest * size);
}

constexpr MoveKernels moveKernels{
    .reverse = {Reverse<1>, Reverse<2>, Reverse<3>, Reverse<4>, Reverse<8>},
    .transpose = {Transposition<LineSquare<1>, 1>::Run, Transposition<LineSquare<2>, 2>::Run,
                  Transposition<VectorSquares<3>, 3>::Run, Transposition<VectorSquares<4>, 4>::Run,
                  Transposition<VectorSquares<8>, 8>::Run}};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {

const MoveKernels avx2Move = N_AVX2::moveKernels;
const MoveKernels avx512Move = N_AVX3_DL::moveKernels;

} // namespace Mardu::Sentel::Tavlo
#endif
