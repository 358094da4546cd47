#include "interface/works.h"

#include "image/wrapping.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <memory>
#include <string>

using namespace Mardu::Sentel::Tavlo;

namespace Bench {
namespace {

using enum Work::How;

// Small enough that the code counts and not which pages of memory a program was given.
constexpr std::int32_t width = 960;
constexpr std::int32_t height = 540;
constexpr std::int32_t middleWidth = 320;
constexpr std::int32_t middleHeight = 240;
constexpr std::int32_t smallSide = 64;

Geometry Packed(std::int32_t bits, std::int32_t encoding, std::int32_t columns = width,
                std::int32_t rows = height)
{
    const std::int32_t size = BytesOfBits(bits);
    return {columns, rows, bits, encoding, 0, size, columns * size};
}

Geometry Transposed(Geometry packed)
{
    packed.Stride_y = packed.Stride_x;
    packed.Stride_x *= packed.Height;
    return packed;
}

std::vector<Work> Works()
{
    const Geometry byte = Packed(8, Tavlo_Unsigned), word = Packed(16, Tavlo_Unsigned);
    const Geometry single = Packed(32, Tavlo_Float), rgb = Packed(24, Tavlo_RGB);
    // So slow a work has a small image, for the sake of turns that nobody interrupts.
    const Geometry middleByte = Packed(8, Tavlo_Unsigned, middleWidth, middleHeight);
    const Geometry middleSingle = Packed(32, Tavlo_Float, middleWidth, middleHeight);
    const Geometry smallByte = Packed(8, Tavlo_Unsigned, smallSide, smallSide);
    const Geometry smallWord = Packed(16, Tavlo_Unsigned, smallSide, smallSide);
    return {
        {"16 to 8, high byte", recode, word, byte},
        {"8 to 16, service", recode, byte, Packed(16, Tavlo_Unsigned)},
        {"copy RGB", rewrite, rgb, rgb},
        {"transposed 8", rewrite, byte, Transposed(byte)},
        {"8 to 8, contrast", tone, byte, byte, 1.2},
        {"16 to 8, contrast", tone, word, byte, 1.2},
        {"16 to float", tone, word, single},
        {"float to 8", tone, single, byte},
        {"32 unsigned to float", tone, Packed(32, Tavlo_Unsigned), single},
        {"float to 8, gamma and sigma", tone, middleSingle, middleByte, 1.2, -0.1, 2.2, 1.5},
        {"16 to float, gamma and sigma", tone, word, single, 1.2, -0.1, 2.2, 1.5},
        {"RGB to grey", tone, rgb, byte},
        {"RGB to BGRA, contrast", tone, rgb, Packed(32, Tavlo_BGRA), 1.2},
        {"8 to RGBA, ramp", ramp, byte, Packed(32, Tavlo_RGBA)},
        {"new contrast each call, 16 to 8", slider, smallWord, smallByte, 1.2, -0.1},
        {"the same with powers", slider, smallWord, smallByte, 1.2, -0.1, 2.2, 1.5},
    };
}

/// Page-aligned bytes.
class Pixels
{
public:
    explicit Pixels(const Geometry& geometry)
        : size_(static_cast<std::size_t>(RawDataSize(LayoutOf(geometry)))), memory_(size_ + page)
    {
    }

    std::uint8_t* Bytes()
    {
        const auto address = reinterpret_cast<std::uintptr_t>(memory_.data());
        return memory_.data() + (page - address % page) % page;
    }
    std::size_t Size() const { return size_; }

private:
    static constexpr std::size_t page = 4096;
    std::size_t size_;
    std::vector<std::uint8_t> memory_;
};

/// A slope over all values of a sample, with a little noise.
void Fill(Pixels& pixels, const Geometry& geometry)
{
    const std::size_t sample =
        geometry.Encoding == Tavlo_RGB ? 1 : static_cast<std::size_t>(geometry.Stride_x);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i + sample <= pixels.Size(); i += sample) {
        state = state * 1664525 + 1013904223;
        const double place = static_cast<double>(i % 65536) / 65536.0;
        const double value = 0.98 * place + 0.02 * static_cast<double>(state >> 8) / 16777216.0;
        const auto whole = static_cast<std::uint32_t>(value * 4294967295.0);
        if (geometry.Encoding == Tavlo_Float) {
            const auto single = static_cast<float>(value);
            std::memcpy(pixels.Bytes() + i, &single, sample);
        } else {
            // The highest bytes of a little-endian number.
            std::uint8_t bytes[4];
            std::memcpy(bytes, &whole, 4);
            std::memcpy(pixels.Bytes() + i, bytes + 4 - sample, sample);
        }
    }
}

/// A work with its memory, ready to run.
class Ready
{
public:
    Ready(const Work& work, const Preparation& prepare) : source_(work.from), target_(work.to)
    {
        Fill(source_, work.from);
        once_ = prepare(work, source_.Bytes(), target_.Bytes());
        Run();
    }

    double BestSeconds(double seconds)
    {
        // Clocks have steps of up to 0.1 us.
        constexpr double longEnough = 2e-5;
        std::size_t together = 1;
        double best = std::numeric_limits<double>::max();
        for (double spent = 0, last; spent < seconds; spent += last) {
            last = SecondsOf(together);
            if (last < longEnough)
                together *= 2;
            else
                best = std::min(best, last / static_cast<double>(together));
        }
        return best;
    }

    std::uint64_t Checksum()
    {
        // What a slider gives takes turns.
        if (runs_ % 2 != 0)
            Run();
        std::uint64_t sum = 14695981039346656037u;
        for (std::size_t i = 0; i < target_.Size(); ++i)
            sum = (sum ^ target_.Bytes()[i]) * 1099511628211u;
        return sum;
    }

private:
    double SecondsOf(std::size_t runs)
    {
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t i = 0; i < runs; ++i)
            Run();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    void Run()
    {
        once_();
        ++runs_;
    }

    Pixels source_;
    Pixels target_;
    std::function<void()> once_;
    std::size_t runs_ = 0;
};

} // namespace

int Serve(const Preparation& prepare)
{
    const std::vector<Work> works = Works();
    std::unique_ptr<Ready> ready;
    std::size_t current = works.size();
    std::string command;
    while (std::cin >> command) {
        if (command == "list") {
            for (const Work& work : works)
                std::printf("%s|%dx%d\n", work.name, work.from.Width, work.from.Height);
            std::puts("");
        } else {
            std::size_t number = 0;
            if (!(std::cin >> number) || number >= works.size())
                return 1;
            if (number != current)
                ready = std::make_unique<Ready>(works[number], prepare);
            current = number;
            double seconds = 0;
            if (command == "check")
                std::printf("%016llx\n", static_cast<unsigned long long>(ready->Checksum()));
            else if (command == "run" && std::cin >> seconds)
                std::printf("%.9g\n", ready->BestSeconds(seconds));
            else
                return 1;
        }
        std::fflush(stdout);
    }
    return 0;
}

} // namespace Bench
