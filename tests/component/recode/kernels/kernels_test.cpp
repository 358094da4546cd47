#include "tests/component/recode/kernels/kernels_test.h"

// Colours.

TEST_P(Kernel, ColorsOfEveryLayoutAreThePlainOnes)
{
    const Buffer table(256, 3, random_);
    for (int layout = 0; layout < ColorKernels::layoutCount; ++layout) {
        const std::size_t sourceSize = layout >= ColorKernels::fourToFour ? 4 : 3;
        const std::size_t targetSize = layout >= ColorKernels::threeToFour ? 4 : 3;
        for (const std::uint8_t* entries : {static_cast<const std::uint8_t*>(nullptr), table.Data()}) {
            SCOPED_TRACE("layout " + std::to_string(layout) + (entries == nullptr ? "" : ", table"));
            ExpectSamePixels(
                vectors_, plain_, sourceSize, targetSize, sourceSize == targetSize, random_,
                [&](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                    kernels.color.convert[static_cast<std::size_t>(layout)](entries, src, dst, count);
                },
                CountsAndLargeOnes(sourceSize, targetSize));
        }
    }
}

TEST_P(Kernel, GreysAreThePlainOnes)
{
    for (const auto grey : {&ColorKernels::greyOfRGB, &ColorKernels::greyOfBGR}) {
        SCOPED_TRACE(grey == &ColorKernels::greyOfRGB ? "RGB" : "BGR");
        ExpectSamePixels(
            vectors_, plain_, 3, 1, true, random_,
            [&](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                (kernels.color.*grey)(src, dst, count);
            },
            CountsAndLargeOnes(3, 1));
    }
}

TEST_P(Kernel, GreyOfEveryColorIsThePlainOne)
{
    constexpr std::size_t count = 256 * 256;
    std::vector<std::uint8_t> colors(3 * count);
    std::vector<std::uint8_t> expected(count);
    std::vector<std::uint8_t> actual(count);
    for (unsigned red = 0; red < 256; ++red) {
        for (std::size_t i = 0; i < count; ++i) {
            colors[3 * i] = static_cast<std::uint8_t>(red);
            colors[3 * i + 1] = static_cast<std::uint8_t>(i >> 8);
            colors[3 * i + 2] = static_cast<std::uint8_t>(i);
        }
        for (const auto grey : {&ColorKernels::greyOfRGB, &ColorKernels::greyOfBGR}) {
            (plain_.color.*grey)(colors.data(), expected.data(), count);
            (vectors_.color.*grey)(colors.data(), actual.data(), count);
            ASSERT_TRUE(SamePixels(actual, expected)) << red;
        }
    }
}

// Moves.

TEST_P(Kernel, PickedBytesAreThePlainOnes)
{
    using Pick = PickKernels::Function PickKernels::*;
    constexpr std::pair<std::size_t, Pick> picks[] = {
        {2, &PickKernels::ofTwo}, {3, &PickKernels::ofThree}, {4, &PickKernels::ofFour}};
    for (const auto& [distance, pick] : picks)
        for (const std::size_t count : CountsAndLargeOnes(distance, 1)) {
            SCOPED_TRACE(std::to_string(count) + " of " + std::to_string(distance));
            const Buffer source(count == 0 ? 0 : (count - 1) * distance + 1, random_() % 64, random_);
            Buffer expected(count, random_() % 64, random_);
            Buffer actual = expected;
            (plain_.pick.*pick)(source.Data(), expected.Data(), count);
            (vectors_.pick.*pick)(source.Data(), actual.Data(), count);
            ASSERT_TRUE(Same(actual, expected, {1}));

            Buffer expectedThere = source;
            Buffer actualThere = source;
            (plain_.pick.*pick)(expectedThere.Data(), expectedThere.Data(), count);
            (vectors_.pick.*pick)(actualThere.Data(), actualThere.Data(), count);
            ASSERT_TRUE(Same(actualThere, expectedThere, {1})) << "in place";
        }
}

namespace {

/// A block whose rows are some bytes apart, from the first row to the last or the other way round.
struct Rows
{
    std::size_t rowBytes;
    std::size_t rows;
    std::size_t gap;
    bool upwards;

    std::size_t Size() const { return rows == 0 ? 0 : (rowBytes + gap) * (rows - 1) + rowBytes; }

    std::ptrdiff_t Stride() const
    {
        const auto stride = static_cast<std::ptrdiff_t>(rowBytes + gap);
        return upwards ? -stride : stride;
    }

    template <class Byte>
    Byte* First(Byte* data) const
    {
        return upwards && rows != 0 ? data + (rowBytes + gap) * (rows - 1) : data;
    }
};

/// Moves rows of bytes from anywhere to anywhere. `move` takes the loops, the source's rows and bytes, and
/// the target's.
template <class Move>
void ExpectSameRows(const Kernels& vectors, const Kernels& plain, std::mt19937& random, std::size_t rowBytes,
                    std::size_t rows, const Move& move)
{
    SCOPED_TRACE(std::to_string(rows) + " rows of " + std::to_string(rowBytes));
    const auto any = [&](unsigned limit) { return random() % limit; };
    const Rows from{rowBytes, rows, any(2) * any(100), any(2) == 1};
    const Rows to{rowBytes, rows, any(2) * any(100), any(2) == 1};
    const Buffer source(from.Size(), any(64), random);
    Buffer expected(to.Size(), any(64), random);
    Buffer actual = expected;
    move(plain, from, source, to, expected);
    move(vectors, from, source, to, actual);
    ASSERT_TRUE(Same(actual, expected, {1, rowBytes + to.gap}));
}

class Transposition
{
public:
    Transposition(const Kernels& vectors, const Kernels& plain, std::mt19937& random)
        : vectors_(vectors), plain_(plain), random_(random)
    {
    }

    enum class Target
    {
        anywhere,
        aligned
    };

    void ExpectSame(std::size_t index, std::size_t width, std::size_t height, Target place = Target::anywhere)
    {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        const auto any = [&](unsigned limit) { return random_() % limit; };
        const std::size_t size = packedSizes[index];
        const Rows from{height * size, width, any(2) * any(100), any(2) == 1};
        const bool anywhere = place == Target::anywhere;
        const Rows to{width * size, height, anywhere ? any(2) * any(100) : 0, any(2) == 1};
        const Buffer source(from.Size(), any(64), random_);
        Buffer expected(to.Size(), anywhere ? any(64) : 0, random_);
        Buffer actual = expected;
        const auto run = [&](const Kernels& kernels, Buffer& target) {
            kernels.move.transpose[index](from.First(source.Data()), from.Stride(), to.First(target.Data()),
                                          to.Stride(), width, height);
        };
        run(plain_, expected);
        run(vectors_, actual);
        ASSERT_TRUE(Same(actual, expected, {size, width * size + to.gap}));
    }

private:
    const Kernels& vectors_;
    const Kernels& plain_;
    std::mt19937& random_;
};

} // namespace

TEST_P(Kernel, CopiedRowsAreThePlainOnes)
{
    const auto expectSame = [this](std::size_t rowBytes, std::size_t rows) {
        const auto copy = [&](const Kernels& kernels, const Rows& from, const Buffer& source, const Rows& to,
                              Buffer& target) {
            kernels.move.copy(from.First(source.Data()), from.Stride(), to.First(target.Data()), to.Stride(),
                              rowBytes, rows);
        };
        ExpectSameRows(vectors_, plain_, random_, rowBytes, rows, copy);
        const Rows there{rowBytes, rows, 0, false};
        Buffer actual(there.Size(), random_() % 64, random_);
        const Buffer expected = actual;
        copy(vectors_, there, actual, there, actual);
        ASSERT_TRUE(Same(actual, expected, {1, rowBytes})) << "in place";
    };
    for (const std::size_t rowBytes : Counts())
        for (const std::size_t rows : {0, 1, 3, 17})
            expectSame(rowBytes, rows);
    // Far and large ones are written in other ways.
    for (const std::size_t bytes : {distantImages, largeTarget})
        for (const std::size_t rows : {std::size_t{1}, std::size_t{1000}, bytes / 300})
            for (int i = 0; i < 4; ++i)
                expectSame(bytes / rows + random_() % 100, rows);
}

TEST_P(Kernel, RowsAreCopiedOverThemselves)
{
    for (const std::size_t rowBytes : {std::size_t{50}, std::size_t{1000}, distantImages, largeTarget})
        for (const std::size_t shift : {1, 31, 64, 999}) {
            const Buffer before(2 * rowBytes + shift, random_() % 64, random_);
            const auto stride = static_cast<std::ptrdiff_t>(rowBytes);
            for (const bool isForward : {true, false}) {
                SCOPED_TRACE(std::to_string(rowBytes) + (isForward ? " by " : " back by ") +
                             std::to_string(shift));
                Buffer expected = before;
                Buffer actual = before;
                for (const auto& [kernels, bytes] : {std::pair{&plain_, &expected}, {&vectors_, &actual}})
                    kernels->move.copy(bytes->Data() + (isForward ? 0 : shift), stride,
                                       bytes->Data() + (isForward ? shift : 0), stride, rowBytes, 1);
                ASSERT_TRUE(Same(actual, expected, {}));
            }
        }
}

TEST_P(Kernel, ReversedPixelsAreThePlainOnes)
{
    const auto expectSame = [this](std::size_t index, std::size_t count, std::size_t rows) {
        const auto reverse = [&](const Kernels& kernels, const Rows& from, const Buffer& source,
                                 const Rows& to, Buffer& target) {
            kernels.move.reverse[index](from.First(source.Data()), from.Stride(), to.First(target.Data()),
                                        to.Stride(), count, rows);
        };
        ExpectSameRows(vectors_, plain_, random_, count * packedSizes[index], rows, reverse);
    };
    for (std::size_t i = 0; i < sizeCount; ++i) {
        SCOPED_TRACE(packedSizes[i]);
        for (const std::size_t count : Counts())
            for (const std::size_t rows : {0, 1, 2})
                expectSame(i, count, rows);
        for (const std::size_t rows : {std::size_t{1}, std::size_t{1000}, largeTarget / 300})
            expectSame(i, largeTarget / rows / packedSizes[i] + 1 + random_() % 100, rows);
    }
}

TEST_P(Kernel, TransposedPixelsAreThePlainOnes)
{
    Transposition transposition(vectors_, plain_, random_);
    for (std::size_t i = 0; i < sizeCount; ++i) {
        SCOPED_TRACE(packedSizes[i]);
        for (std::size_t extent = 0; extent <= 140; ++extent)
            for (const std::size_t other : {1, 3, 8, 16, 31, 64, 67, 130}) {
                transposition.ExpectSame(i, extent, other);
                transposition.ExpectSame(i, other, extent);
            }
        for (int k = 0; k < 20; ++k)
            transposition.ExpectSame(i, random_() % 1000, random_() % 1000);
    }
}

// Where every row of a large target begins at a multiple of 64, it may be written in another way.
TEST_P(Kernel, TransposedPixelsOfLargeImagesAreThePlainOnes)
{
    Transposition transposition(vectors_, plain_, random_);
    for (std::size_t i = 0; i < sizeCount; ++i) {
        SCOPED_TRACE(packedSizes[i]);
        const std::size_t height = largeTarget / 2048 / packedSizes[i] + 77;
        transposition.ExpectSame(i, 2048, height, Transposition::Target::aligned);
        transposition.ExpectSame(i, 2048, height);
    }
}

// A processor of the plain level has nothing to compare.
INSTANTIATE_TEST_SUITE_P(Levels, Kernel, testing::ValuesIn(VectorLevels()), LevelName);
