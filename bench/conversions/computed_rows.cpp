#include "conversions/contest_builder.h"
#include "conversions/opencv_view.h"
#include "conversions/plain_loops.h"
#include "conversions/rows.h"

using namespace Mardu::Sentel::Tavlo;

// Sources of 32 bits, computed pixel by pixel, and conversions by plain value.
namespace Bench {
namespace {

constexpr ToneParameters bent{1.2, -0.1, 2.2, 1.5};

template <class T>
constexpr std::int32_t bitsOf = 8 * static_cast<std::int32_t>(sizeof(T));

template <class T>
constexpr std::int32_t encodingOf = std::is_floating_point_v<T> ? Tavlo_Float
                                    : std::is_signed_v<T>       ? Tavlo_Signed
                                                                : Tavlo_Unsigned;

template <class T>
constexpr Picture pictureOf = std::is_floating_point_v<T> ? Picture::floats
                              : sizeof(T) == 1            ? Picture::bytes
                              : sizeof(T) == 2            ? Picture::words
                                                          : Picture::longs;

template <class S, class D>
ContestBuilder Pair(Memory& memory)
{
    return {memory, Packed(memory.Size(), bitsOf<S>, encodingOf<S>),
            Packed(memory.Size(), bitsOf<D>, encodingOf<D>), pictureOf<S>};
}

template <class S, class D>
ContestBuilder Computed(Memory& memory, const ToneParameters& tone)
{
    auto b = Pair<S, D>(memory);
    b.Ours(tone);
    b.Add("plain", [in = b.template SourceAs<S>(), out = b.template TargetAs<D>(), count = b.Pixels(), tone] {
        if (tone.IsLinear())
            Plain::ComputeLinear(in, out, count, tone);
        else
            Plain::ComputeBent(in, out, count, tone);
    });
    return b;
}

/// The same scale in OpenCV's arithmetic, which rounds to the nearest.
void AddConvertTo(ContestBuilder& b, Memory& memory, int fromType, int toType, double scale, double shift)
{
    b.Add("OpenCV",
          [in = View(b.Source(), memory.Size(), fromType), out = View(b.Target(), memory.Size(), toType),
           toType, scale, shift]() mutable { in.convertTo(out, toType, scale, shift); });
}

template <class D>
Contest FromFloat(Memory& memory, int type)
{
    auto b = Computed<float, D>(memory, {});
    b.Goal(1, {"OpenCV"});
    AddConvertTo(b, memory, CV_32F, type, value_range<D>.span, 0);
    return b.Done();
}

/// OpenCV has no unsigned 32-bit pixels.
template <class D>
Contest FromSigned(Memory& memory, int type)
{
    auto b = Computed<std::int32_t, D>(memory, {});
    b.Goal(1, {"OpenCV"});
    const double scale = value_range<D>.span / value_range<std::int32_t>.span;
    AddConvertTo(b, memory, CV_32S, type, scale, -value_range<std::int32_t>.min * scale);
    return b.Done();
}

template <class D>
Contest FromUnsigned(Memory& memory)
{
    auto b = Computed<std::uint32_t, D>(memory, {});
    b.Goal(3, {"plain"});
    return b.Done();
}

Contest Bent(Memory& memory)
{
    auto b = Computed<float, std::uint8_t>(memory, bent);
    b.Goal(2, {"plain"});
    return b.Done();
}

template <class S, class D>
Contest ByValue(Memory& memory, int fromType, int toType)
{
    auto b = Pair<S, D>(memory);
    const auto recoder = std::make_shared<LUTRecoder>(b.from, b.to);
    b.Ours([recoder, in = b.Source(), out = b.Target()] { Check(recoder->Cast(in, out)); });
    b.Add("plain", [in = b.template SourceAs<S>(), out = b.template TargetAs<D>(), count = b.Pixels()] {
        Plain::Convert(in, out, count);
    });
    if (fromType >= 0)
        AddConvertTo(b, memory, fromType, toType, 1, 0);
    return b.Done();
}

} // namespace

std::vector<Row> ComputedRows()
{
    return {
        {"float to 8", [](Memory& m) { return FromFloat<std::uint8_t>(m, CV_8U); }},
        {"float to 16", [](Memory& m) { return FromFloat<std::uint16_t>(m, CV_16U); }},
        {"32 signed to 8", [](Memory& m) { return FromSigned<std::uint8_t>(m, CV_8U); }},
        {"32 signed to float", [](Memory& m) { return FromSigned<float>(m, CV_32F); }},
        {"32 unsigned to 8", FromUnsigned<std::uint8_t>},
        {"32 unsigned to float", FromUnsigned<float>},
        {"float to 8, gamma and sigma", Bent},
        {"cast 8 to float", [](Memory& m) { return ByValue<std::uint8_t, float>(m, CV_8U, CV_32F); }},
        {"cast float to 8", [](Memory& m) { return ByValue<float, std::uint8_t>(m, CV_32F, CV_8U); }},
        // OpenCV saturates here, where the plain value is the low byte.
        {"cast 16 to 8", [](Memory& m) { return ByValue<std::uint16_t, std::uint8_t>(m, -1, -1); }},
    };
}

} // namespace Bench
