#include "recode/recoders/recoder_table.h"

#include "recode/recoders/color_recoders.h"
#include "recode/recoders/grey_to_color.h"
#include "recode/recoders/numeric_recoders.h"

#include <algorithm>

namespace Mardu::Sentel::Tavlo {
namespace {

/// The kinds of pixels that the table tells apart. They are not PixelType's: recoders know 16 bits from 9 to
/// 15, and go by low bytes. The first ten are the rows and columns of the numeric table, in its order.
enum Kind
{
    unsigned8,
    signed8,
    unsigned9to15,
    signed9to15,
    unsigned16,
    signed16,
    unsigned32,
    signed32,
    float32,
    float64,
    numericKinds,
    rgb24 = numericKinds,
    bgr24,
    rgba32,
    bgra32,
    bgra24,
    noKind,
};

struct KindRow
{
    std::int32_t encoding;
    std::int32_t firstBits;
    std::int32_t lastBits;
    Kind kind;
};

constexpr KindRow kinds[] = {
    {Tavlo_Unsigned, 8, 8, unsigned8},
    {Tavlo_Signed, 8, 8, signed8},
    {Tavlo_Unsigned, 9, 15, unsigned9to15},
    {Tavlo_Signed, 9, 15, signed9to15},
    {Tavlo_Unsigned, 16, 16, unsigned16},
    {Tavlo_Signed, 16, 16, signed16},
    {Tavlo_Unsigned, 32, 32, unsigned32},
    {Tavlo_Signed, 32, 32, signed32},
    {Tavlo_Float, 32, 32, float32},
    {Tavlo_Float, 64, 64, float64},
    {Tavlo_RGB, 24, 24, rgb24},
    {Tavlo_BGR, 24, 24, bgr24},
    {Tavlo_RGBA, 32, 32, rgba32},
    {Tavlo_BGRA, 32, 32, bgra32},
    {Tavlo_BGRA, 24, 24, bgra24},
};

Kind KindOf(const TavloDescriptorData& descriptor) noexcept
{
    const std::int32_t encoding = KeyByte(descriptor.Encoding);
    const std::int32_t bits = KeyByte(descriptor.Bits);
    for (const KindRow& row : kinds)
        if (encoding == row.encoding && bits >= row.firstBits && bits <= row.lastBits)
            return row.kind;
    return noKind;
}

template <class Recoder>
std::unique_ptr<recoder_base> New(const TavloDescriptorData& src, const TavloDescriptorData& dst)
{
    return std::unique_ptr<recoder_base>(new Recoder(src, dst));
}

// The element types, one letter each so that a row of the table fits on a line.
using C = std::int8_t;
using E = std::uint8_t;
using F = std::int16_t;
using G = std::uint16_t;
using H = std::int32_t;
using I = std::uint32_t;
using M = float;
using N = double;

template <class S, class D>
constexpr RecoderMaker lut = New<recoder<S, D>>;
template <class S, class D>
constexpr RecoderMaker bits = New<recoder_bits<S, D>>;
template <class S, class D>
constexpr RecoderMaker bits_d = New<recoder_bits_d<S, D>>;
template <class S, class D>
constexpr RecoderMaker calc = New<recoder_long<S, D>>;
constexpr RecoderMaker none = nullptr;

// Rows: source. Columns: target. Only float sources reach every 9-15-bit target, and they treat
// it like one of 16 bits.
// clang-format off
constexpr RecoderMaker numeric[numericKinds][numericKinds] = {
    //                8 Unsigned  8 Signed    9-15 Unsigned 9-15 Signed 16 Unsigned 16 Signed   32 Unsigned 32 Signed   32 Float    64 Float
    /*  8 Unsigned */ {lut<E, E>,  lut<E, C>,  bits_d<E, G>, none,       lut<E, G>,  lut<E, F>,  lut<E, I>,  lut<E, H>,  lut<E, M>,  lut<E, N>},
    /*  8 Signed   */ {lut<C, E>,  lut<C, C>,  none,         none,       lut<C, G>,  lut<C, F>,  lut<C, I>,  lut<C, H>,  lut<C, M>,  lut<C, N>},
    /* 9-15 Uns.   */ {bits<G, E>, bits<G, C>, none,         none,       bits<G, G>, bits<G, F>, bits<G, I>, bits<G, H>, bits<G, M>, bits<G, N>},
    /* 9-15 Signed */ {bits<F, E>, bits<F, C>, none,         none,       bits<F, G>, bits<F, F>, bits<F, I>, bits<F, H>, bits<F, M>, bits<F, N>},
    /* 16 Unsigned */ {lut<G, E>,  lut<G, C>,  none,         none,       lut<G, G>,  lut<G, F>,  lut<G, I>,  lut<G, H>,  lut<G, M>,  lut<G, N>},
    /* 16 Signed   */ {lut<F, E>,  lut<F, C>,  none,         none,       lut<F, G>,  lut<F, F>,  lut<F, I>,  lut<F, H>,  lut<F, M>,  lut<F, N>},
    /* 32 Unsigned */ {calc<I, E>, calc<I, C>, none,         none,       calc<I, G>, calc<I, F>, calc<I, I>, calc<I, H>, calc<I, M>, calc<I, N>},
    /* 32 Signed   */ {calc<H, E>, calc<H, C>, none,         none,       calc<H, G>, calc<H, F>, calc<H, I>, calc<H, H>, calc<H, M>, calc<H, N>},
    /* 32 Float    */ {calc<M, E>, calc<M, C>, calc<M, G>,   calc<M, F>, calc<M, G>, calc<M, F>, calc<M, I>, calc<M, H>, calc<M, M>, calc<M, N>},
    /* 64 Float    */ {calc<N, E>, calc<N, C>, calc<N, G>,   calc<N, F>, calc<N, G>, calc<N, F>, calc<N, I>, calc<N, H>, calc<N, M>, calc<N, N>},
};
// clang-format on

struct ColorRow
{
    Kind source;
    Kind target;
    RecoderMaker maker;
};

constexpr ColorRow color[] = {
    {unsigned8, rgb24, New<recoder_g2col<E, E>>},
    {unsigned8, bgr24, New<recoder_g2col<E, E>>},
    {unsigned8, rgba32, New<recoder_g2col<E, E>>},
    {unsigned8, bgra32, New<recoder_g2col<E, E>>},
    {unsigned9to15, rgb24, New<recoder_g2col<G, E>>},
    {unsigned9to15, bgr24, New<recoder_g2col<G, E>>},
    {unsigned9to15, rgba32, New<recoder_g2col<G, E>>},
    {unsigned9to15, bgra32, New<recoder_g2col<G, E>>},
    {unsigned16, rgb24, New<recoder_g2col<G, E>>},
    {unsigned16, bgr24, New<recoder_g2col<G, E>>},
    {unsigned16, rgba32, New<recoder_g2col<G, E>>},
    {unsigned16, bgra24, New<recoder_g2col<G, E>>}, // only here, and not with 32 bits
    {float32, rgb24, New<recoder_g2col<M, E>>},
    {float32, bgr24, New<recoder_g2col<M, E>>},
    {float32, rgba32, New<recoder_g2col<M, E>>},
    {float32, bgra32, New<recoder_g2col<M, E>>},
    {rgb24, unsigned8, New<recoder_rgb2g<E, E>>},
    {rgb24, unsigned16, New<recoder_rgb2g<E, G>>},
    {rgb24, float32, New<recoder_rgb2g<E, M>>},
    {rgb24, float64, New<recoder_rgb2g<E, N>>},
    {bgr24, unsigned8, New<recoder_bgr2g<E, E>>},
    {bgr24, unsigned16, New<recoder_bgr2g<E, G>>},
    {bgr24, float32, New<recoder_bgr2g<E, M>>},
    {bgr24, float64, New<recoder_bgr2g<E, N>>},
    {rgb24, rgb24, New<recoder_rgb<E, E>>},
    {rgb24, rgba32, New<recoder_rgb<E, E>>},
    {rgb24, bgr24, New<recoder_rgb_swap<E, E>>},
    {rgb24, bgra32, New<recoder_rgb_swap<E, E>>},
    {bgr24, bgr24, New<recoder_rgb<E, E>>},
    {bgr24, bgra32, New<recoder_rgb<E, E>>},
    {bgr24, rgb24, New<recoder_rgb_swap<E, E>>},
    {bgr24, rgba32, New<recoder_rgb_swap<E, E>>},
    {rgba32, rgba32, New<recoder_rgba<E, E>>},
    {rgba32, bgra32, New<recoder_rgba_swap<E, E>>},
    {bgra32, bgra32, New<recoder_rgba<E, E>>},
    {bgra32, rgba32, New<recoder_rgba_swap<E, E>>},
};

} // namespace

RecoderMaker FindRecoder(const TavloDescriptorData& src, const TavloDescriptorData& dst) noexcept
{
    const Kind from = KindOf(src);
    const Kind to = KindOf(dst);
    if (from < numericKinds && to < numericKinds)
        return numeric[from][to];
    const auto* row = std::find_if(std::begin(color), std::end(color), [from, to](const ColorRow& candidate) {
        return candidate.source == from && candidate.target == to;
    });
    return row == std::end(color) ? none : row->maker;
}

} // namespace Mardu::Sentel::Tavlo
