#include "recode/kernels/plain_kernels.h"

#include "recode/kernels/kernel_tables.h"
#include "recode/kernels/plain_loops.h"

namespace Mardu::Sentel::Tavlo {
namespace {

using namespace Plain;

template <class S>
constexpr std::array<LookupKernels::Function, sizeCount> lookups{
    Lookup<S, std::uint8_t>, Lookup<S, std::uint16_t>, LookupThree<S>, Lookup<S, std::uint32_t>,
    Lookup<S, std::uint64_t>};

constexpr LookupKernels lookup{.from8 = lookups<std::uint8_t>,
                               .from16 = lookups<std::uint16_t>,
                               .rangeOf16 = Range,
                               .stepped = nullptr,
                               .compact = nullptr};

constexpr CurveKernels linear{.pairs = EveryPair<Linear>(), .ofField = {}, .fill = EveryTarget<FillLinear>()};
constexpr CurveKernels bent{.pairs = EveryPair<Bent>(), .ofField = {}, .fill = EveryTarget<FillBent>()};

constexpr CastKernels cast{CastTable<Cast>()};

constexpr ColorKernels color{.convert = {ConvertColor<false, 3, 3>, ConvertColor<true, 3, 3>,
                                         ConvertColor<false, 3, 4>, ConvertColor<true, 3, 4>,
                                         ConvertColor<false, 4, 4>, ConvertColor<true, 4, 4>},
                             .greyOfRGB = Grey<rgb_type<std::uint8_t>>,
                             .greyOfBGR = Grey<bgr_type<std::uint8_t>>};

constexpr MoveKernels move{
    .copy = Copy,
    .reverse = {Reverse<1>, Reverse<2>, Reverse<3>, Reverse<4>, Reverse<8>},
    .transpose = {Transpose<1>, Transpose<2>, Transpose<3>, Transpose<4>, Transpose<8>}};

constexpr PickKernels pick{Pick<2>, Pick<3>, Pick<4>};

} // namespace

const Kernels plainKernels{lookup, linear, bent, cast, color, move, pick};

} // namespace Mardu::Sentel::Tavlo
