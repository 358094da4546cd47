#include "conversions/contest_builder.h"
#include "conversions/opencv_view.h"
#include "conversions/plain_loops.h"
#include "conversions/rows.h"

#include <libyuv/convert.h>
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <libyuv/planar_functions.h>
#include <opencv2/imgproc.hpp>

using namespace Mardu::Sentel::Tavlo;

// Sources and targets with colours. libyuv names colours by little-endian words: its ARGB is BGRA
// in memory, its ABGR is RGBA, its RGB24 is BGR; its RAW is RGB.
namespace Bench {
namespace {

constexpr ToneParameters contrast{1.2, 0.0, 1.0, 1.0};

Contest ToGrey(Memory& memory)
{
    const Extent size = memory.Size();
    ContestBuilder b(memory, Packed(size, 24, Tavlo_RGB), Packed(size, 8, Tavlo_Unsigned), Picture::bytes);
    b.Goal(1, {"OpenCV", "libyuv"});
    b.Ours();
    b.Add("plain", [table = Plain::Table<std::uint8_t>(256, {}), in = b.Source(), out = b.Target(),
                    count = b.Pixels()] { Plain::RgbToGrey(in, out, count, table.data()); });
    b.Add("OpenCV", [in = View(b.Source(), size, CV_8UC3), out = View(b.Target(), size, CV_8U)]() mutable {
        cv::cvtColor(in, out, cv::COLOR_RGB2GRAY);
    });
    b.Add("libyuv", [in = b.Source(), out = b.Target(), size] {
        libyuv::RAWToJ400(in, 3 * size.width, out, size.width, size.width, size.height);
    });
    return b.Done();
}

/// A pair of colour layouts that differ in the place of red and blue.
struct Swap
{
    std::int32_t fromBits, fromEncoding;
    std::int32_t toBits, toEncoding;
    int code;
    void (*plain)(const std::uint8_t*, std::uint8_t*, std::size_t, const std::uint8_t*);
    int (*libyuv)(const std::uint8_t*, int, std::uint8_t*, int, int, int);
};

constexpr Swap rgbToBgr{
    24, Tavlo_RGB, 24, Tavlo_BGR, cv::COLOR_RGB2BGR, Plain::SwapColors<3, 3>, libyuv::RAWToRGB24};
constexpr Swap rgbToBgra{
    24, Tavlo_RGB, 32, Tavlo_BGRA, cv::COLOR_RGB2BGRA, Plain::SwapColors<3, 4>, libyuv::RAWToARGB};
constexpr Swap rgbaToBgra{
    32, Tavlo_RGBA, 32, Tavlo_BGRA, cv::COLOR_RGBA2BGRA, Plain::SwapColors<4, 4>, libyuv::ABGRToARGB};

ContestBuilder Swapping(Memory& memory, const Swap& swap, const ToneParameters& tone)
{
    ContestBuilder b(memory, Packed(memory.Size(), swap.fromBits, swap.fromEncoding),
                     Packed(memory.Size(), swap.toBits, swap.toEncoding), Picture::bytes);
    b.Ours(tone);
    b.Add("plain", [table = Plain::Table<std::uint8_t>(256, tone), in = b.Source(), out = b.Target(),
                    count = b.Pixels(), loop = swap.plain] { loop(in, out, count, table.data()); });
    return b;
}

Contest Identity(Memory& memory, const Swap& swap)
{
    const Extent size = memory.Size();
    const int from = swap.fromBits / 8, to = swap.toBits / 8;
    auto b = Swapping(memory, swap, {});
    b.Goal(1, {"OpenCV", "libyuv"});
    b.Add("OpenCV", [in = View(b.Source(), size, CV_8UC(from)), out = View(b.Target(), size, CV_8UC(to)),
                     code = swap.code]() mutable { cv::cvtColor(in, out, code); });
    b.Add("libyuv", [in = b.Source(), out = b.Target(), size, from, to, convert = swap.libyuv] {
        convert(in, from * size.width, out, to * size.width, size.width, size.height);
    });
    return b.Done();
}

/// A table of pixels of one channel or, where alpha must stay as it is, of four.
cv::Mat ChannelTable(int channels, const ToneParameters& tone)
{
    const std::vector<std::uint8_t> entries = Plain::Table<std::uint8_t>(256, tone);
    const int columns = channels == 4 ? 4 : 1;
    cv::Mat table(1, 256, CV_8UC(columns));
    for (int i = 0; i < 256; ++i)
        for (int c = 0; c < columns; ++c)
            table.data[i * columns + c] =
                c == 3 ? static_cast<std::uint8_t>(i) : entries[static_cast<std::size_t>(i)];
    return table;
}

Contest WithContrast(Memory& memory, const Swap& swap)
{
    const Extent size = memory.Size();
    const int from = swap.fromBits / 8, to = swap.toBits / 8;
    auto b = Swapping(memory, swap, contrast);
    b.Goal(2, {"OpenCV"});
    std::uint8_t* const between = memory.Scratch(size.Pixels() * static_cast<std::size_t>(from));
    b.Add("OpenCV", [in = View(b.Source(), size, CV_8UC(from)), step = View(between, size, CV_8UC(from)),
                     out = View(b.Target(), size, CV_8UC(to)), table = ChannelTable(from, contrast),
                     code = swap.code]() mutable {
        cv::LUT(in, table, step);
        cv::cvtColor(step, out, code);
    });
    return b.Done();
}

constexpr PackedColor middle = 0xFF2080E0;

/// The colours of a ramp with a control point in the middle, without tone curve.
void AddMiddle(LUTRecoder& recoder)
{
    Check(recoder.SetColor(0.5, middle));
}

std::vector<PackedColor> RampTable(std::size_t count)
{
    const Extent one{1, 1};
    LUTRecoder recoder(Packed(one, 8, Tavlo_Unsigned), Packed(one, 32, Tavlo_RGBA));
    AddMiddle(recoder);
    std::vector<PackedColor> table;
    for (std::size_t i = 0; i < count; ++i)
        table.push_back(recoder.GetColor(static_cast<double>(i) * (1.0 / static_cast<double>(count - 1))));
    return table;
}

template <class S, std::size_t To>
ContestBuilder Ramp(Memory& memory)
{
    ContestBuilder b(memory, Packed(memory.Size(), 8 * sizeof(S), Tavlo_Unsigned),
                     Packed(memory.Size(), 8 * To, To == 4 ? Tavlo_RGBA : Tavlo_RGB),
                     sizeof(S) == 1 ? Picture::bytes : Picture::words);
    AddMiddle(b.Ours());
    b.Add("plain",
          [table = RampTable(std::size_t{1} << (8 * sizeof(S))), in = b.SourceAs<S>(), out = b.Target(),
           count = b.Pixels()] { Plain::Colors<S, To>(in, out, count, table.data()); });
    return b;
}

/// OpenCV's own colour maps have three channels.
template <std::size_t To>
Contest ByteRamp(Memory& memory)
{
    auto b = Ramp<std::uint8_t, To>(memory);
    b.Goal(3, {"OpenCV"});
    cv::Mat table(256, 1, CV_8UC3);
    const std::vector<PackedColor> colors = RampTable(256);
    for (int i = 0; i < 256; ++i)
        std::memcpy(table.ptr(i), &colors[static_cast<std::size_t>(i)], 3);
    b.Add("OpenCV",
          [in = View(b.Source(), memory.Size(), CV_8U), out = View(b.Target(), memory.Size(), CV_8UC3),
           table]() mutable { cv::applyColorMap(in, out, table); });
    return b.Done();
}

Contest WordRamp(Memory& memory)
{
    auto b = Ramp<std::uint16_t, 4>(memory);
    b.Goal(1.2, {"plain"});
    return b.Done();
}

} // namespace

std::vector<Row> ColorRows()
{
    return {
        {"RGB to grey", ToGrey},
        {"RGB to BGR", [](Memory& m) { return Identity(m, rgbToBgr); }},
        {"RGB to BGRA", [](Memory& m) { return Identity(m, rgbToBgra); }},
        {"RGBA to BGRA", [](Memory& m) { return Identity(m, rgbaToBgra); }},
        {"RGB to BGR, contrast", [](Memory& m) { return WithContrast(m, rgbToBgr); }},
        {"RGB to BGRA, contrast", [](Memory& m) { return WithContrast(m, rgbToBgra); }},
        {"RGBA to BGRA, contrast", [](Memory& m) { return WithContrast(m, rgbaToBgra); }},
        {"8 to RGB, ramp", ByteRamp<3>},
        {"8 to RGBA, ramp", ByteRamp<4>},
        {"16 to RGBA, ramp", WordRamp},
    };
}

} // namespace Bench
