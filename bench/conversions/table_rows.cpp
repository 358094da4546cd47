#include "conversions/contest_builder.h"
#include "conversions/opencv_view.h"
#include "conversions/plain_loops.h"
#include "conversions/rows.h"

#include <libyuv/planar_functions.h>

using namespace Mardu::Sentel::Tavlo;

// Sources of 8 and 16 bits, through the table.
namespace Bench {
namespace {

/// As no other row has it, so that nothing is a copy.
constexpr ToneParameters contrast{1.2, 0.0, 1.0, 1.0};
constexpr ToneParameters bent{1.2, -0.1, 2.2, 1.5};

template <class D>
constexpr std::int32_t encodingOf = std::is_floating_point_v<D> ? Tavlo_Float : Tavlo_Unsigned;

template <class S, class D>
ContestBuilder Through(Memory& memory, std::int32_t sourceBits, const ToneParameters& tone, Picture picture)
{
    ContestBuilder b(memory, Packed(memory.Size(), sourceBits, Tavlo_Unsigned),
                     Packed(memory.Size(), 8 * static_cast<std::int32_t>(sizeof(D)), encodingOf<D>), picture);
    b.Ours(tone);
    b.Add("plain",
          [table = Plain::Table<D>(std::size_t{1} << sourceBits, tone), in = b.SourceAs<S>(),
           out = b.TargetAs<D>(), count = b.Pixels(), mask = static_cast<S>((1u << sourceBits) - 1)] {
              Plain::LookUp<S, D>(in, out, count, table.data(), mask);
          });
    return b;
}

template <class D>
void AddOpenCv(ContestBuilder& b, Memory& memory, int type, const ToneParameters& tone)
{
    const std::vector<D> entries = Plain::Table<D>(256, tone);
    const cv::Mat table = cv::Mat(1, 256, type, const_cast<D*>(entries.data())).clone();
    b.Add("OpenCV", [table, in = View(b.Source(), memory.Size(), CV_8U),
                     out = View(b.Target(), memory.Size(), type)]() mutable { cv::LUT(in, table, out); });
}

Contest EightToEight(Memory& memory)
{
    auto b = Through<std::uint8_t, std::uint8_t>(memory, 8, contrast, Picture::bytes);
    b.Goal(3, {"OpenCV"});
    AddOpenCv<std::uint8_t>(b, memory, CV_8U, contrast);
    return b.Done();
}

Contest EightToSixteen(Memory& memory)
{
    auto b = Through<std::uint8_t, std::uint16_t>(memory, 8, {}, Picture::bytes);
    b.Goal(1.5, {"OpenCV"});
    AddOpenCv<std::uint16_t>(b, memory, CV_16U, {});
    return b.Done();
}

Contest HighByte(Memory& memory)
{
    ContestBuilder b(memory, Packed(memory.Size(), 16, Tavlo_Unsigned),
                     Packed(memory.Size(), 8, Tavlo_Unsigned), Picture::words);
    b.Goal(1, {"libyuv"});
    b.Ours([from = b.from, to = b.to, s = b.Source(), t = b.Target()] { Check(Recode(from, s, to, t)); });
    b.Add("plain", [in = b.SourceAs<std::uint16_t>(), out = b.Target(), count = b.Pixels()] {
        Plain::HighBytes(in, out, count);
    });
    b.Add("libyuv", [in = b.SourceAs<std::uint16_t>(), out = b.Target(), size = memory.Size()] {
        libyuv::Convert16To8Plane(in, size.width, out, size.width, 256, size.width, size.height);
    });
    return b.Done();
}

template <class D>
Contest FromWords(Memory& memory, const ToneParameters& tone, std::int32_t bits = 16)
{
    auto b = Through<std::uint16_t, D>(memory, bits, tone, bits == 16 ? Picture::words : Picture::words12);
    b.Goal(1.2, {"plain"});
    return b.Done();
}

/// What the table's size costs where no pixel is near its neighbours; without a goal.
template <class D>
Contest FromNoise(Memory& memory)
{
    return Through<std::uint16_t, D>(memory, 16, contrast, Picture::noise).Done();
}

} // namespace

std::vector<Row> TableRows()
{
    return {
        {"8 to 8, contrast", EightToEight},
        {"8 to 16", EightToSixteen},
        {"16 to 8, high byte", HighByte},
        {"16 to 8, contrast", [](Memory& m) { return FromWords<std::uint8_t>(m, contrast); }},
        {"16 to 8, gamma and sigma", [](Memory& m) { return FromWords<std::uint8_t>(m, bent); }},
        {"12 to 8", [](Memory& m) { return FromWords<std::uint8_t>(m, {}, 12); }},
        {"16 to 16, contrast", [](Memory& m) { return FromWords<std::uint16_t>(m, contrast); }},
        {"16 to float", [](Memory& m) { return FromWords<float>(m, {}); }},
        {"16 to 8, contrast, noise", FromNoise<std::uint8_t>},
        {"16 to float, contrast, noise", FromNoise<float>},
    };
}

} // namespace Bench
