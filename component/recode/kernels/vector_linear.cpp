#include "recode/kernels/kernel_tables.h"
#include "recode/kernels/plain_loops.h"
#include "recode/kernels/vector_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "recode/kernels/vector_linear.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "recode/kernels/fixed_point-inl.h"
#include "recode/kernels/full_range-inl.h"
#include "recode/kernels/linear_curve-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

// The linear case takes the first of these paths that is there for its types and applies to its constants.
// Gains are the rows of docs/performance.md at 1920x1080 that take the path, as multiples of the plain loop's
// speed at AVX-512 and at AVX2.
//
// | path             | from              | to                  | applies to                    | gain | |
// Multiplication   | integers          | floats              | products alone, none too      | 32 signed to
// float: 10.6, 10.6        | |                  |                   |                     | large | 16 to
// float: 4.2, 3.5                 | | FullRange        | 32-bit integers   | unsigned 8, 16 bits | no
// contrast and brightness    | 32 signed to 8: 19.0, 19.0            | | TruncatedProduct | 32-bit floats |
// unsigned 8, 16 bits | products alone, of a slope of | float to 8: 16.5, 16.3                | | | | | 24
// bits                       | float to 16: 12.8, 12.8               | | FixedPoint       | all but 64-bit |
// unsigned 8 bits     | a small error                 | 16 to 8, contrast: 6.6, 2.6           | | | floats |
// |                               |                                       | | Computed         | all | all |
// everything                    | 16 to 16, contrast: 2.0, 1.6          |
//
// AVX-512 leaves to AVX2's loop what that does 10 to 25 % faster: signed 32-bit integers to floats, and far
// rows by FullRange and TruncatedProduct.

struct Row
{
    const std::uint8_t* src;
    std::uint8_t* dst;
    std::size_t count;
};

/// Whether the row was converted by this path. `atAvx2` does the same at that level.
template <class Path, class Source, class AtAvx2>
HWY_INLINE bool IsConvertedBy(const ToneCurve::Constants& c, const Source& source, double span,
                              const Row& row, const AtAvx2& atAvx2)
{
    if constexpr (Path::exists) {
        const Path path(c, source, span);
        if (!path.Applies())
            return false;
        if (isAvx512 && Path::IsLeftToAvx2(row.count))
            atAvx2();
        else
            path.Run(row.src, row.dst, row.count);
    }
    return Path::exists;
}

/// Computes every pixel of a source, whose units go from 0 to `span`.
template <class D, class Source, class AtAvx2>
void Convert(const ToneCurve& curve, const Source& source, double span, const Row& row, const AtAvx2& atAvx2)
{
    const ToneCurve::Constants& c = curve.Values();
    const bool isConverted = IsConvertedBy<Multiplication<Source, D>>(c, source, span, row, atAvx2) ||
                             IsConvertedBy<FullRange<Source, D>>(c, source, span, row, atAvx2) ||
                             IsConvertedBy<TruncatedProduct<Source, D>>(c, source, span, row, atAvx2) ||
                             IsConvertedBy<FixedPoint<Source, D>>(c, source, span, row, atAvx2);
    if (!isConverted)
        Computed<Source, D>(c, source, span).Run(row.src, row.dst, row.count);
}

template <class S, class D>
struct Linear
{
    static void Run(const ToneCurve& curve, const std::uint8_t* src, std::uint8_t* dst, std::size_t count)
    {
        Convert<D>(curve, PixelSource<S>(), value_range<S>.span, {src, dst, count}, [&] {
            avx2Linear.pairs[CurveKernels::SourceIndex(ElementOf<S>())][ElementIndex<D>()](curve, src, dst,
                                                                                           count);
        });
    }
};

template <class D>
struct LinearOfField
{
    static void Run(const ToneCurve& curve, std::uint32_t mask, std::uint32_t sign, const std::uint8_t* src,
                    std::uint8_t* dst, std::size_t count)
    {
        Convert<D>(curve, FieldSource(mask, sign), mask, {src, dst, count},
                   [&] { avx2Linear.ofField[ElementIndex<D>()](curve, mask, sign, src, dst, count); });
    }
};

template <class D>
struct FillLinear
{
    static void Run(const ToneCurve& curve, std::size_t first, std::uint8_t* dst, std::size_t count)
    {
        const LinearCurve<D> linear(curve.Values());
        constexpr std::size_t entriesPerVector = vectorBytes / sizeof(D);
        std::size_t i = 0;
        for (; i + entriesPerVector <= count; i += entriesPerVector)
            hn::StoreU(linear(CountedUnits{first + i}), bytes, dst + sizeof(D) * i);
        Plain::FillLinear<D>::Run(curve, first + i, dst + sizeof(D) * i, count - i);
    }
};

constexpr CurveKernels linearKernels{
    .pairs = EveryPair<Linear>(), .ofField = EveryTarget<LinearOfField>(), .fill = EveryTarget<FillLinear>()};

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Mardu::Sentel::Tavlo {

const CurveKernels avx2Linear = N_AVX2::linearKernels;
const CurveKernels avx512Linear = N_AVX3_DL::linearKernels;

} // namespace Mardu::Sentel::Tavlo
#endif
