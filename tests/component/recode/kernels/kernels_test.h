#pragma once

#include "recode/kernels/kernels.h"
#include "recode/kernels/thresholds.h"
#include "tests/first_difference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

// What tests of inner loops share: every loop of every level that this machine has is compared with the plain
// one of its kind.

using namespace Mardu::Sentel::Tavlo;

/// Every count up to several vectors of the highest level, and some beyond.
inline std::vector<std::size_t> Counts()
{
    std::vector<std::size_t> counts;
    for (std::size_t i = 0; i <= 300; ++i)
        counts.push_back(i);
    counts.insert(counts.end(), {1000, 1920, 4099, 10007});
    return counts;
}

/// Sources and targets together that come from the third cache.
inline constexpr std::size_t distantImages = distantBytes / 2 * 3;

/// Targets that are written past the caches.
inline constexpr std::size_t largeTarget = streamedBytes / 3 * 4;

/// With some more, for far, distant and large ones.
inline std::vector<std::size_t> CountsAndLargeOnes(std::size_t sourceSize, std::size_t targetSize)
{
    std::vector<std::size_t> counts = Counts();
    for (std::size_t i = 0; i < 8; ++i)
        counts.push_back(distantImages / (sourceSize + targetSize) + 9 * i);
    counts.push_back(farBytes / targetSize + 1);
    counts.push_back(largeTarget / targetSize + 100);
    return counts;
}

/// Random bytes that end where the allocation ends, at some distance from an address that is a multiple
/// of 64. What lies beyond is left to the address sanitizer.
class Buffer
{
public:
    Buffer(std::size_t size, std::size_t misalignment, std::mt19937& random)
        : misalignment_(misalignment), size_(size), all_(New(misalignment + size))
    {
        // Eight bytes at a time: many cases fill more than they convert.
        std::uint64_t state = random();
        const std::size_t end = misalignment + size;
        for (std::size_t i = 0; i < end; i += sizeof state) {
            state = state * 6364136223846793005 + 1442695040888963407;
            const std::uint64_t bytes = state ^ state >> 32;
            std::memcpy(all_.get() + i, &bytes, std::min(sizeof bytes, end - i));
        }
    }

    Buffer(const Buffer& other)
        : misalignment_(other.misalignment_), size_(other.size_), all_(New(misalignment_ + size_))
    {
        std::copy_n(other.all_.get(), misalignment_ + size_, all_.get());
    }

    std::uint8_t* Data() { return all_.get() + misalignment_; }
    const std::uint8_t* Data() const { return all_.get() + misalignment_; }

    /// Equality, of what lies before them, too. `grid` tells a failure where pixels are.
    friend testing::AssertionResult Same(const Buffer& actual, const Buffer& expected, PixelGrid grid)
    {
        grid.first = expected.misalignment_;
        return SameBytes(actual.All(), expected.All(), grid);
    }

private:
    std::span<const std::uint8_t> All() const { return {all_.get(), misalignment_ + size_}; }

    static constexpr std::align_val_t alignment{64};

    struct Delete
    {
        void operator()(std::uint8_t* all) const { ::operator delete[](all, alignment); }
    };

    static std::uint8_t* New(std::size_t size)
    {
        return static_cast<std::uint8_t*>(::operator new[](size, alignment));
    }

    std::size_t misalignment_;
    std::size_t size_;
    std::unique_ptr<std::uint8_t[], Delete> all_;
};

/// Loops of a level above the plain one, and the plain ones. Of a level that this processor lacks, every
/// case says that it was not run.
class Kernel : public testing::TestWithParam<SimdLevel>
{
protected:
    void SetUp() override
    {
        if (GetParam() > BestSimdLevel())
            GTEST_SKIP() << "this processor has no " << NameOf(GetParam());
    }

    const Kernels& vectors_ = KernelsOf(GetParam());
    const Kernels& plain_ = KernelsOf(SimdLevel::plain);
    std::mt19937 random_{7};
};

/// Loops over packed pixels give the same bytes, for every count, at odd addresses and, where `inPlace`,
/// with the source as the target. `run` takes the loops, the source, the target and the count.
template <class Run>
void ExpectSamePixels(const Kernels& vectors, const Kernels& plain, std::size_t sourceSize,
                      std::size_t targetSize, bool inPlace, std::mt19937& random, const Run& run,
                      const std::vector<std::size_t>& counts = Counts())
{
    for (const std::size_t count : counts) {
        SCOPED_TRACE(count);
        const Buffer source(count * sourceSize, random() % 64, random);
        Buffer expected(count * targetSize, random() % 64, random);
        Buffer actual = expected;
        run(plain, source.Data(), expected.Data(), count);
        run(vectors, source.Data(), actual.Data(), count);
        ASSERT_TRUE(Same(actual, expected, {targetSize}));
        if (inPlace) {
            Buffer expectedThere = source;
            Buffer actualThere = source;
            run(plain, expectedThere.Data(), expectedThere.Data(), count);
            run(vectors, actualThere.Data(), actualThere.Data(), count);
            ASSERT_TRUE(Same(actualThere, expectedThere, {targetSize})) << "in place";
        }
    }
}

/// All levels above the plain one.
inline std::vector<SimdLevel> VectorLevels()
{
    return {std::begin(simdLevels) + 1, std::end(simdLevels)};
}

inline std::string LevelName(const testing::TestParamInfo<SimdLevel>& level)
{
    return NameOf(level.param);
}
