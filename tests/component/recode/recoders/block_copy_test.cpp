#include "recode/kernels/simd_level.h"
#include "recode/recoders/block_copy.h"
#include "tests/first_difference.h"

#include <gtest/gtest.h>

#include <iostream>
#include <random>
#include <vector>

using namespace Mardu::Sentel::Tavlo;

namespace {

/// The level in use during a test.
class Level
{
public:
    explicit Level(SimdLevel level) : before_(ActiveSimdLevel()) { ForceSimdLevel(level); }
    ~Level() { ForceSimdLevel(before_); }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    SimdLevel before_;
};

/// Elements in memory with gaps, mirrored and with either axis along the rows.
class AnyBlock
{
public:
    AnyBlock(std::size_t size, std::size_t width, std::size_t height, std::mt19937& random)
    {
        const auto any = [&](unsigned limit) { return static_cast<std::ptrdiff_t>(random() % limit); };
        const bool columns = any(2) == 1;
        const auto w = static_cast<std::ptrdiff_t>(width);
        const auto h = static_cast<std::ptrdiff_t>(height);
        const std::ptrdiff_t inner = static_cast<std::ptrdiff_t>(size) + any(2) * any(4);
        const std::ptrdiff_t outer = inner * (columns ? h : w) + any(2) * any(9);
        strideX_ = columns ? outer : inner;
        strideY_ = columns ? inner : outer;
        first_ = any(7);
        bytes_.resize(static_cast<std::size_t>(first_ + outer * (columns ? w : h)));
        for (std::uint8_t& byte : bytes_)
            byte = static_cast<std::uint8_t>(random());
        if (any(2) == 1)
            Mirror(strideX_, w);
        if (any(2) == 1)
            Mirror(strideY_, h);
    }

    SourceBlock Source() const { return {bytes_.data() + first_, strideX_, strideY_}; }
    TargetBlock Target() { return {bytes_.data() + first_, strideX_, strideY_}; }
    const std::vector<std::uint8_t>& Bytes() const { return bytes_; }
    std::ptrdiff_t First() const { return first_; }

private:
    void Mirror(std::ptrdiff_t& stride, std::ptrdiff_t extent)
    {
        first_ += (extent - 1) * stride;
        stride = -stride;
    }

    std::vector<std::uint8_t> bytes_;
    std::ptrdiff_t first_;
    std::ptrdiff_t strideX_;
    std::ptrdiff_t strideY_;
};

void CopyByElements(const SourceBlock& source, const TargetBlock& target, std::size_t size, std::size_t width,
                    std::size_t height)
{
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            std::copy_n(source.Part(x, y).first, size, target.Part(x, y).first);
}

TEST(BlockCopy, MovesEveryElementAndNothingElse)
{
    constexpr PackedSize sizes[] = {PackedSize(1), PackedSize(2), PackedSize(3), PackedSize(4),
                                    PackedSize(8)};
    std::mt19937 random(3);
    for (const SimdLevel level : simdLevels) {
        if (level > BestSimdLevel()) {
            std::cout << "this processor has no " << NameOf(level) << '\n';
            continue;
        }
        const Level use(level);
        for (int round = 0; round < 20000; ++round) {
            const PackedSize packed = sizes[random() % sizeCount];
            const std::size_t size = packed.Bytes();
            const std::size_t width = 1 + random() % (random() % 8 == 0 ? 150 : 8);
            const std::size_t height = 1 + random() % (random() % 8 == 0 ? 150 : 8);
            const AnyBlock source(size, width, height, random);
            AnyBlock expected(size, width, height, random);
            AnyBlock actual = expected;
            CopyByElements(source.Source(), expected.Target(), size, width, height);
            CopyBlock(source.Source(), actual.Target(), packed, width, height);
            ASSERT_TRUE(SameBytes(actual.Bytes(), expected.Bytes()))
                << "first element at " << actual.First() << "; " << NameOf(level) << ": " << width << " x "
                << height << " of " << size << ", strides " << source.Source().strideX << ", "
                << source.Source().strideY << " to " << actual.Target().strideX << ", "
                << actual.Target().strideY;
        }
    }
}

} // namespace
