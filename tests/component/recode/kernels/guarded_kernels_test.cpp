#include "recode/curve/compact_colors.h"
#include "recode/curve/stepped_table.h"
#include "recode/kernels/kernels.h"
#include "recode/kernels/thresholds.h"
#include "tests/component/recode/protected_pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// Every loop of every level between inaccessible pages: pixels begin behind one or end before one, in the
// source and in the target. What the loops compute is tested elsewhere.

using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr std::size_t largeTarget = streamedBytes / 3 * 4;

class GuardedKernel : public testing::TestWithParam<SimdLevel>
{
protected:
    /// Calls `run` with bytes of the source and of the target at both ends of their memory.
    template <class Run>
    void AtBothEnds(std::size_t sourceBytes, std::size_t targetBytes, const Run& run)
    {
        for (const bool isSourceAtEnd : {false, true})
            for (const bool isTargetAtEnd : {false, true})
                run(static_cast<const std::uint8_t*>(Place(source_, sourceBytes, isSourceAtEnd)),
                    Place(target_, targetBytes, isTargetAtEnd));
    }

    /// Calls `run` with a source, a target and a count of packed pixels: every count up to 200 and some large
    /// ones.
    template <class Run>
    void WithEveryCount(std::size_t sourceSize, std::size_t targetSize,
                        const std::vector<std::size_t>& largeOnes, const Run& run)
    {
        std::vector<std::size_t> counts = largeOnes;
        for (std::size_t count = 0; count <= 200; ++count)
            counts.push_back(count);
        for (const std::size_t count : counts) {
            AtBothEnds(count * sourceSize, count * targetSize,
                       [&](const std::uint8_t* src, std::uint8_t* dst) { run(src, dst, count); });
            if (targetSize > sourceSize)
                continue;
            for (const bool isAtEnd : {false, true}) {
                std::uint8_t* there = Place(target_, count * sourceSize, isAtEnd);
                run(there, there, count);
            }
        }
    }

    /// Counts for the ways that large rows go.
    static std::vector<std::size_t> LargeCounts(std::size_t sourceSize, std::size_t targetSize)
    {
        return {farBytes / targetSize + 3, distantBytes / (sourceSize + targetSize) + 5,
                largeTarget / targetSize + 7};
    }

    /// A table whose last entry is the last byte before an inaccessible page.
    const std::uint8_t* Table(std::size_t size) const { return table_.End() - size; }

    const Kernels& kernels_ = KernelsOf(GetParam());

private:
    static std::uint8_t* Place(const ProtectedPages& pages, std::size_t size, bool isAtEnd)
    {
        return isAtEnd ? pages.End() - size : pages.Begin();
    }

    ProtectedPages source_{4 * largeTarget + 4096};
    ProtectedPages target_{4 * largeTarget + 4096};
    ProtectedPages table_{65536 * 8};
};

constexpr Element elements[] = {Element::signed8,    Element::unsigned8, Element::signed16,
                                Element::unsigned16, Element::signed32,  Element::unsigned32,
                                Element::float32,    Element::float64};

constexpr Element computedSources[] = {Element::signed32, Element::unsigned32, Element::float32,
                                       Element::float64};

constexpr ToneParameters defaults{};
constexpr ToneParameters contrast{1.2, -0.1, 1.0, 1.0};
constexpr ToneParameters powers{1.2, -0.1, 2.2, 1.5};

ToneCurve CurveOf(const ToneParameters& tone, Element source, Element target)
{
    return {tone, RangeOf(source).span, RangeOf(target), ToneCurve::Bounds::exact};
}

std::size_t BytesOf(Element element)
{
    return SizeOf(element).Bytes();
}

} // namespace

TEST_P(GuardedKernel, LooksBytesUp)
{
    for (std::size_t i = 0; i < sizeCount; ++i) {
        const std::size_t entry = packedSizes[i] == 3 ? 4 : packedSizes[i];
        WithEveryCount(1, packedSizes[i], {splitTablePixels, splitTablePixels + 77, farBytes + 3},
                       [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                           kernels_.lookup.from8[i](Table(256 * entry), 0xFF, src, dst, count);
                       });
    }
}

TEST_P(GuardedKernel, LooksFieldsUp)
{
    for (const std::size_t entries : {std::size_t{512}, std::size_t{65536}})
        for (std::size_t i = 0; i < sizeCount; ++i) {
            const std::size_t entry = packedSizes[i] == 3 ? 4 : packedSizes[i];
            WithEveryCount(2, packedSizes[i], {farBytes + 3},
                           [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                               kernels_.lookup.from16[i](Table(entries * entry),
                                                         static_cast<std::uint32_t>(entries - 1), src, dst,
                                                         count);
                           });
        }
}

TEST_P(GuardedKernel, LooksSmallerFormsUp)
{
    const std::vector<std::uint8_t> bytes(65536, 7);
    const std::vector<PackedColor> colors(65536, opaqueWhite);
    const auto stepped = SteppedTable::Of(bytes.data(), 16);
    const auto compact = CompactColors::Of(colors.data(), colors.size());
    if (kernels_.lookup.stepped != nullptr)
        WithEveryCount(2, 1, {farBytes + 3},
                       [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                           kernels_.lookup.stepped(*stepped, src, dst, count);
                       });
    if (kernels_.lookup.compact != nullptr)
        WithEveryCount(2, 4, LargeCounts(2, 4),
                       [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                           kernels_.lookup.compact(*compact, 0xFFFF, src, dst, count);
                       });
}

TEST_P(GuardedKernel, FindsTheRangeOfFields)
{
    WithEveryCount(2, 0, {farBytes + 3}, [&](const std::uint8_t* src, std::uint8_t*, std::size_t count) {
        if (count != 0)
            kernels_.lookup.rangeOf16(0xFFFF, 0x8000, src, count);
    });
}

TEST_P(GuardedKernel, ComputesTheCurve)
{
    for (const Element source : computedSources)
        for (const Element target : elements)
            for (const ToneParameters& tone : {defaults, contrast, powers}) {
                SCOPED_TRACE(testing::Message() << IndexOf(source) << " to " << IndexOf(target) << ", gamma "
                                                << tone.gamma << ", contrast " << tone.contrast);
                const ToneCurve curve = CurveOf(tone, source, target);
                const auto run = kernels_.Of(curve).pairs[CurveKernels::SourceIndex(source)][IndexOf(target)];
                const bool hasLargeWays = tone.IsLinear() && source != Element::float64;
                WithEveryCount(BytesOf(source), BytesOf(target),
                               hasLargeWays ? LargeCounts(BytesOf(source), BytesOf(target))
                                            : std::vector<std::size_t>(),
                               [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                                   run(curve, src, dst, count);
                               });
            }
}

TEST_P(GuardedKernel, ComputesTheCurveOfFields)
{
    for (const Element target : elements) {
        const auto run = kernels_.linear.ofField[IndexOf(target)];
        if (run == nullptr)
            continue;
        for (const ToneParameters& tone : {defaults, contrast}) {
            const ToneCurve curve(tone, 65535.0, RangeOf(target), ToneCurve::Bounds::whole);
            WithEveryCount(2, BytesOf(target), LargeCounts(2, BytesOf(target)),
                           [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                               run(curve, 0xFFFF, 0x8000, src, dst, count);
                           });
        }
    }
}

TEST_P(GuardedKernel, FillsTables)
{
    for (const Element target : elements)
        for (const ToneParameters& tone : {defaults, contrast, powers}) {
            const ToneCurve curve(tone, 65535.0, RangeOf(target), ToneCurve::Bounds::whole);
            WithEveryCount(0, BytesOf(target), {4099},
                           [&](const std::uint8_t*, std::uint8_t* dst, std::size_t count) {
                               kernels_.Of(curve).fill[IndexOf(target)](curve, 3, dst, count);
                           });
        }
}

TEST_P(GuardedKernel, Casts)
{
    for (const Element source : elements)
        for (const Element target : elements) {
            const bool hasLargeWays = source == Element::float32 || target == Element::float32;
            WithEveryCount(
                BytesOf(source), BytesOf(target),
                hasLargeWays ? LargeCounts(BytesOf(source), BytesOf(target)) : std::vector<std::size_t>(),
                [run = kernels_.cast.cast[IndexOf(source)][IndexOf(target)]](
                    const std::uint8_t* src, std::uint8_t* dst, std::size_t count) { run(src, dst, count); });
        }
}

TEST_P(GuardedKernel, ConvertsColors)
{
    for (std::size_t layout = 0; layout < ColorKernels::layoutCount; ++layout) {
        const std::size_t sourceSize = layout >= ColorKernels::fourToFour ? 4 : 3;
        const std::size_t targetSize = layout >= ColorKernels::threeToFour ? 4 : 3;
        for (const std::uint8_t* table : {static_cast<const std::uint8_t*>(nullptr), Table(256)})
            WithEveryCount(sourceSize, targetSize, LargeCounts(sourceSize, targetSize),
                           [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                               kernels_.color.convert[layout](table, src, dst, count);
                           });
    }
    for (const auto grey : {&ColorKernels::greyOfRGB, &ColorKernels::greyOfBGR})
        WithEveryCount(3, 1, LargeCounts(3, 1),
                       [&](const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                           (kernels_.color.*grey)(src, dst, count);
                       });
}

TEST_P(GuardedKernel, PicksBytes)
{
    const std::pair<std::size_t, PickKernels::Function> picks[] = {
        {2, kernels_.pick.ofTwo}, {3, kernels_.pick.ofThree}, {4, kernels_.pick.ofFour}};
    for (const auto& [distance, pick] : picks) {
        std::vector<std::size_t> counts = LargeCounts(distance, 1);
        for (std::size_t count = 0; count <= 200; ++count)
            counts.push_back(count);
        // Behind the last byte that is picked nothing need be there.
        for (const std::size_t count : counts)
            AtBothEnds(count == 0 ? 0 : (count - 1) * distance + 1, count,
                       [&, run = pick](const std::uint8_t* src, std::uint8_t* dst) { run(src, dst, count); });
    }
}

namespace {

/// Rows that are some bytes apart, from the first row to the last or the other way round.
struct Rows
{
    std::size_t rowBytes;
    std::size_t count;
    std::size_t gap;
    bool isUpwards;

    std::size_t Size() const { return count == 0 ? 0 : (rowBytes + gap) * count - gap; }

    std::ptrdiff_t Stride() const
    {
        const auto stride = static_cast<std::ptrdiff_t>(rowBytes + gap);
        return isUpwards ? -stride : stride;
    }

    template <class Byte>
    Byte* First(Byte* begin) const
    {
        return isUpwards && count != 0 ? begin + (rowBytes + gap) * (count - 1) : begin;
    }
};

/// Calls `check` with every way that rows lie.
template <class Check>
void WithEveryWay(std::size_t rowBytes, std::size_t rows, const Check& check)
{
    for (const std::size_t gap : {std::size_t{0}, std::size_t{5}, std::size_t{64}})
        for (const bool isUpwards : {false, true})
            check(Rows{rowBytes, rows, gap, isUpwards});
}

/// Widths and heights of small blocks and of those that are written in other ways.
std::vector<std::pair<std::size_t, std::size_t>> RowCases(std::size_t size)
{
    std::vector<std::pair<std::size_t, std::size_t>> cases;
    for (std::size_t count = 0; count <= 200; ++count)
        cases.push_back({count, 3});
    cases.push_back({200, 0});
    for (const std::size_t bytes : {halvedBytes, largeTarget}) {
        cases.push_back({bytes / size + 3, 1});
        cases.push_back({2 * streamedRow / size + 3, bytes / streamedRow / 2});
    }
    return cases;
}

} // namespace

TEST_P(GuardedKernel, CopiesRows)
{
    for (const auto& [rowBytes, rows] : RowCases(1))
        WithEveryWay(rowBytes, rows, [&, bytes = rowBytes, count = rows](const Rows& from) {
            WithEveryWay(bytes, count, [&](const Rows& to) {
                AtBothEnds(from.Size(), to.Size(), [&](const std::uint8_t* src, std::uint8_t* dst) {
                    kernels_.move.copy(from.First(src), from.Stride(), to.First(dst), to.Stride(), bytes,
                                       count);
                });
            });
        });
}

TEST_P(GuardedKernel, ReversesRows)
{
    for (std::size_t i = 0; i < sizeCount; ++i)
        for (const auto& [width, rows] : RowCases(packedSizes[i])) {
            const std::size_t rowBytes = width * packedSizes[i];
            for (const bool isUpwards : {false, true}) {
                const Rows from{rowBytes, rows, 5, isUpwards};
                const Rows to{rowBytes, rows, 0, !isUpwards};
                AtBothEnds(from.Size(), to.Size(),
                           [&, count = width, height = rows](const std::uint8_t* src, std::uint8_t* dst) {
                               kernels_.move.reverse[i](from.First(src), from.Stride(), to.First(dst),
                                                        to.Stride(), count, height);
                           });
            }
        }
}

TEST_P(GuardedKernel, TransposesBlocks)
{
    std::vector<std::pair<std::size_t, std::size_t>> extents;
    for (std::size_t extent = 0; extent <= 200; ++extent)
        for (const std::size_t other : {1, 17, 64, 131}) {
            extents.push_back({extent, other});
            extents.push_back({other, extent});
        }
    for (std::size_t i = 0; i < sizeCount; ++i) {
        const std::size_t size = packedSizes[i];
        // Rows of the target at multiples of 64 and others.
        extents.push_back({2048, largeTarget / 2048 / size + 3});
        extents.push_back({2048 + 1, largeTarget / 2048 / size + 3});
        for (const auto& [width, height] : extents)
            for (const bool isUpwards : {false, true}) {
                const Rows from{height * size, width, 0, isUpwards};
                const Rows to{width * size, height, 0, !isUpwards};
                AtBothEnds(from.Size(), to.Size(),
                           [&, w = width, h = height](const std::uint8_t* src, std::uint8_t* dst) {
                               kernels_.move.transpose[i](from.First(src), from.Stride(), to.First(dst),
                                                          to.Stride(), w, h);
                           });
            }
        extents.resize(extents.size() - 2);
    }
}

namespace {

std::vector<SimdLevel> LevelsOfThisMachine()
{
    std::vector<SimdLevel> levels;
    std::copy_if(std::begin(simdLevels), std::end(simdLevels), std::back_inserter(levels),
                 [](SimdLevel level) { return level <= BestSimdLevel(); });
    return levels;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Levels, GuardedKernel, testing::ValuesIn(LevelsOfThisMachine()),
                         [](const auto& level) { return std::string(NameOf(level.param)); });
