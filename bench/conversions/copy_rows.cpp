#include "conversions/contest_builder.h"
#include "conversions/opencv_view.h"
#include "conversions/plain_loops.h"
#include "conversions/rows.h"

#include <libyuv/planar_functions.h>
#include <libyuv/rotate.h>

#include <array>

using namespace Mardu::Sentel::Tavlo;

// Copies of the same type: whole images, parts of larger ones, and into targets that are laid out
// in another direction.
namespace Bench {
namespace {

std::int32_t EncodingOf(std::int32_t bits)
{
    return bits == 24 ? Tavlo_RGB : bits == 32 ? Tavlo_RGBA : Tavlo_Unsigned;
}

ContestBuilder Copying(Memory& memory, std::int32_t bits)
{
    const TavloDescriptorData d = Packed(memory.Size(), bits, EncodingOf(bits));
    return {memory, d, d, Picture::bytes};
}

Contest Whole(Memory& memory, std::int32_t bits)
{
    auto b = Copying(memory, bits);
    b.Goal(0.95, {"memcpy"});
    b.Ours(
        [from = b.from, to = b.to, in = b.Source(), out = b.Target()] { Check(Rewrite(from, in, to, out)); });
    b.Add("memcpy", [in = b.Source(), out = b.Target(), stride = std::ptrdiff_t{b.from.Stride_y},
                     rows = static_cast<std::size_t>(memory.Size().height)] {
        Plain::CopyRows(in, stride, out, stride, static_cast<std::size_t>(stride), rows);
    });
    return b.Done();
}

/// As many pixels in the middle of an image that is wider by a margin on both sides.
Contest Part(Memory& memory, std::int32_t bits)
{
    constexpr std::int32_t margin = 40;
    const Extent size = memory.Size();
    const TavloDescriptorData d = Packed({size.width + 2 * margin, size.height}, bits, EncodingOf(bits));
    ContestBuilder b(memory, d, d, Picture::bytes);
    b.Goal(0.95, {"memcpy"});
    b.Ours([d, in = b.Source(), out = b.Target(),
            rect = PixelRect{margin, 0, margin + size.width, size.height},
            point = PixelPoint{margin, 0}] { Check(Rewrite(d, in, d, out, &rect, &point)); });
    const std::ptrdiff_t first = std::ptrdiff_t{margin} * d.Stride_x;
    b.Add("memcpy", [in = b.Source() + first, out = b.Target() + first, stride = std::ptrdiff_t{d.Stride_y},
                     row = static_cast<std::size_t>(size.width * d.Stride_x),
                     rows = static_cast<std::size_t>(size.height)] {
        Plain::CopyRows(in, stride, out, stride, row, rows);
    });
    return b.Done();
}

/// The last pixel of each row comes first in memory.
template <class Pixel>
Contest Mirrored(Memory& memory)
{
    const Extent size = memory.Size();
    auto b = Copying(memory, 8 * sizeof(Pixel));
    TavloDescriptorData mirrored = b.to;
    mirrored.Offset = (mirrored.Width - 1) * mirrored.Stride_x;
    mirrored.Stride_x = -mirrored.Stride_x;
    b.Goal(1, {"OpenCV"});
    b.Ours([from = b.from, mirrored, in = b.Source(), out = b.Target()] {
        Check(Rewrite(from, in, mirrored, out));
    });
    b.Add("plain", [in = b.SourceAs<Pixel>(), out = b.TargetAs<Pixel>(), size] {
        Plain::MirrorRows(in, out, static_cast<std::size_t>(size.width),
                          static_cast<std::size_t>(size.height));
    });
    const int type = CV_8UC(static_cast<int>(sizeof(Pixel)));
    b.Add("OpenCV", [in = View(b.Source(), size, type), out = View(b.Target(), size, type)]() mutable {
        cv::flip(in, out, 1);
    });
    if constexpr (sizeof(Pixel) != 2) {
        constexpr auto mirror = [](const std::uint8_t* from, std::uint8_t* to, int stride, Extent e) {
            if constexpr (sizeof(Pixel) == 1)
                libyuv::MirrorPlane(from, stride, to, stride, e.width, e.height);
            else if constexpr (sizeof(Pixel) == 3)
                libyuv::RGB24Mirror(from, stride, to, stride, e.width, e.height);
            else
                libyuv::ARGBMirror(from, stride, to, stride, e.width, e.height);
        };
        b.Add("libyuv", [in = b.Source(), out = b.Target(), stride = b.from.Stride_y, size, mirror] {
            mirror(in, out, stride, size);
        });
    }
    return b.Done();
}

/// Columns lie one after the other in memory.
template <class Pixel>
Contest Transposed(Memory& memory)
{
    const Extent size = memory.Size();
    const Extent turned{size.height, size.width};
    auto b = Copying(memory, 8 * sizeof(Pixel));
    TavloDescriptorData columns = b.to;
    columns.Stride_y = columns.Stride_x;
    columns.Stride_x *= size.height;
    b.Goal(1, {"OpenCV"});
    b.Ours([from = b.from, columns, in = b.Source(), out = b.Target()] {
        Check(Rewrite(from, in, columns, out));
    });
    b.Add("plain", [in = b.SourceAs<Pixel>(), out = b.TargetAs<Pixel>(), size] {
        Plain::Transpose(in, out, static_cast<std::size_t>(size.width),
                         static_cast<std::size_t>(size.height));
    });
    const int type = CV_8UC(static_cast<int>(sizeof(Pixel)));
    b.Add("OpenCV", [in = View(b.Source(), size, type), out = View(b.Target(), turned, type)]() mutable {
        cv::transpose(in, out);
    });
    if constexpr (sizeof(Pixel) == 1)
        b.Add("libyuv", [in = b.Source(), out = b.Target(), size] {
            libyuv::TransposePlane(in, size.width, out, size.height, size.width, size.height);
        });
    return b.Done();
}

using Bytes1 = std::uint8_t;
using Bytes2 = std::uint16_t;
using Bytes3 = std::array<std::uint8_t, 3>;
using Bytes4 = std::uint32_t;

} // namespace

std::vector<Row> CopyRows()
{
    return {
        {"copy 8", [](Memory& m) { return Whole(m, 8); }},
        {"copy RGB", [](Memory& m) { return Whole(m, 24); }},
        {"copy part, 8", [](Memory& m) { return Part(m, 8); }},
        {"copy part, RGB", [](Memory& m) { return Part(m, 24); }},
        {"mirrored 8", Mirrored<Bytes1>},
        {"mirrored 16", Mirrored<Bytes2>},
        {"mirrored RGB", Mirrored<Bytes3>},
        {"mirrored RGBA", Mirrored<Bytes4>},
        {"transposed 8", Transposed<Bytes1>},
        {"transposed 16", Transposed<Bytes2>},
        {"transposed RGB", Transposed<Bytes3>},
        {"transposed RGBA", Transposed<Bytes4>},
    };
}

} // namespace Bench
