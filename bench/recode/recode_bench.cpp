#include "image/wrapping.h"
#include "recode/lut_recoder.h"
#include "recode/recode.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

using namespace Mardu::Sentel::Tavlo;

// Every family over one image of packed rows: the median time of repeated runs, as pixels a second
// and as a multiple of the time that memcpy takes for the bytes that the family reads and writes,
// half of them each way. Tables are filled before the clock starts, except where the name says so.
namespace {

constexpr std::int32_t width = 1920;
constexpr std::int32_t height = 1080;
constexpr int runs = 31;

/// A pair, and what about it is measured.
struct Case
{
    enum class What
    {
        convert,
        bent,
        cast,
        copy,
        fill
    };

    const char* name;
    std::int32_t fromBits, fromEncoding;
    std::int32_t toBits, toEncoding;
    What what = What::convert;
};

using enum Case::What;

constexpr Case cases[] = {
    {"copy of bytes", 8, Tavlo_Unsigned, 8, Tavlo_Unsigned, copy},
    {"copy of doubles", 64, Tavlo_Float, 64, Tavlo_Float, copy},
    {"copy of high bytes", 16, Tavlo_Unsigned, 8, Tavlo_Unsigned},
    {"recoder 8 to 8", 8, Tavlo_Unsigned, 8, Tavlo_Signed},
    {"recoder 8 to 16", 8, Tavlo_Unsigned, 16, Tavlo_Unsigned},
    {"recoder 16 to 8", 16, Tavlo_Signed, 8, Tavlo_Unsigned},
    {"recoder 16 to 64 Float", 16, Tavlo_Unsigned, 64, Tavlo_Float},
    {"recoder 16 to 8, filled", 16, Tavlo_Signed, 8, Tavlo_Unsigned, fill},
    {"recoder_bits 12 to 8", 12, Tavlo_Unsigned, 8, Tavlo_Unsigned},
    {"recoder_bits signed 12 to 8", 12, Tavlo_Signed, 8, Tavlo_Unsigned},
    {"recoder_bits_d 8 to 12", 8, Tavlo_Unsigned, 12, Tavlo_Unsigned},
    {"recoder_long 32 to 8", 32, Tavlo_Unsigned, 8, Tavlo_Unsigned},
    {"recoder_long 32 Float to 8", 32, Tavlo_Float, 8, Tavlo_Unsigned},
    {"recoder_long 32 Float to 8, bent", 32, Tavlo_Float, 8, Tavlo_Unsigned, bent},
    {"recoder_long 64 Float to 32 Float", 64, Tavlo_Float, 32, Tavlo_Float},
    {"recoder_rgb2g", 24, Tavlo_RGB, 8, Tavlo_Unsigned},
    {"recoder_bgr2g to 32 Float", 24, Tavlo_BGR, 32, Tavlo_Float},
    {"recoder_rgb to RGBA", 24, Tavlo_RGB, 32, Tavlo_RGBA},
    {"recoder_rgb_swap", 24, Tavlo_RGB, 24, Tavlo_BGR},
    {"recoder_rgba, bent", 32, Tavlo_RGBA, 32, Tavlo_RGBA, bent},
    {"recoder_rgba_swap", 32, Tavlo_RGBA, 32, Tavlo_BGRA},
    {"recoder_g2col 8 to RGB", 8, Tavlo_Unsigned, 24, Tavlo_RGB},
    {"recoder_g2col 8 to RGBA", 8, Tavlo_Unsigned, 32, Tavlo_RGBA},
    {"recoder_g2col 16 to RGB", 16, Tavlo_Unsigned, 24, Tavlo_RGB},
    {"recoder_g2col 32 Float to RGB", 32, Tavlo_Float, 24, Tavlo_RGB},
    {"cast 16 to 8", 16, Tavlo_Unsigned, 8, Tavlo_Unsigned, cast},
    {"cast 8 to 32 Float", 8, Tavlo_Unsigned, 32, Tavlo_Float, cast},
    {"cast 32 Float to 8", 32, Tavlo_Float, 8, Tavlo_Unsigned, cast},
};

TavloDescriptorData Packed(std::int32_t bits, std::int32_t encoding)
{
    const std::int32_t size = BytesOfBits(bits);
    return {width, height, bits, encoding, 0, size, width * size};
}

/// Stops the program when a conversion is refused: there would be nothing to measure.
void Check(RecodeResult result)
{
    if (result != RecodeResult::done)
        std::abort();
}

double MedianSeconds(const std::function<void()>& run)
{
    run();
    std::vector<double> seconds;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        run();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::nth_element(seconds.begin(), seconds.begin() + runs / 2, seconds.end());
    return seconds[runs / 2];
}

std::vector<std::uint8_t> AnyPixels(const TavloDescriptorData& d)
{
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(RawDataSize(LayoutOf(d))));
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        state = state * 1664525 + 1013904223;
        bytes[i] = static_cast<std::uint8_t>(state >> 24);
    }
    // Random bits are rarely between 0 and 1, where conversions of floats have work to do.
    for (std::size_t i = 0; d.Encoding == Tavlo_Float && d.Bits == 32 && i < bytes.size(); i += 4) {
        const float value = static_cast<float>(bytes[i]) / 255.0f;
        std::memcpy(&bytes[i], &value, sizeof value);
    }
    for (std::size_t i = 0; d.Encoding == Tavlo_Float && d.Bits == 64 && i < bytes.size(); i += 8) {
        const double value = bytes[i] / 255.0;
        std::memcpy(&bytes[i], &value, sizeof value);
    }
    return bytes;
}

void Measure(const Case& c)
{
    const TavloDescriptorData from = Packed(c.fromBits, c.fromEncoding);
    const TavloDescriptorData to = Packed(c.toBits, c.toEncoding);
    const std::vector<std::uint8_t> source = AnyPixels(from);
    std::vector<std::uint8_t> target = AnyPixels(to);

    const std::size_t moved = (source.size() + target.size()) / 2;
    const std::vector<std::uint8_t> plainSource(moved, 1);
    std::vector<std::uint8_t> plainTarget(moved, 2);
    const double plain = MedianSeconds([&] { std::memcpy(plainTarget.data(), plainSource.data(), moved); });

    double seconds = 0;
    if (c.what == copy) {
        seconds = MedianSeconds([&] { Check(Rewrite(from, source.data(), to, target.data())); });
    } else if (c.what == fill) {
        seconds = MedianSeconds([&] { Check(Recode(from, source.data(), to, target.data())); });
    } else {
        LUTRecoder recoder(from, to);
        if (c.what == bent) {
            recoder.SetGamma(2.2);
            recoder.SetSigma(1.5);
        }
        const auto run = c.what == cast ? &LUTRecoder::Cast : &LUTRecoder::Recode;
        seconds =
            MedianSeconds([&] { Check((recoder.*run)(source.data(), target.data(), nullptr, nullptr)); });
    }
    std::printf("%-36s %9.1f Mpixel/s %8.2f x memcpy\n", c.name, width * height / seconds / 1e6,
                seconds / plain);
}

} // namespace

int main()
{
    std::printf("%d x %d pixels, median of %d runs\n", width, height, runs);
    for (const Case& c : cases)
        Measure(c);
}
