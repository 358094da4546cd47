#include "tests/component/recode/kernels/kernels_test.h"

#include "recode/curve/compact_colors.h"
#include "recode/curve/stepped_table.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

// Tables, and their smaller forms.

namespace {

class LookupKernel : public Kernel
{
};

} // namespace

TEST_P(LookupKernel, LooksUpBytes)
{
    for (std::size_t i = 0; i < sizeCount; ++i) {
        SCOPED_TRACE(packedSizes[i]);
        const Buffer table(256 * (packedSizes[i] == 3 ? 4 : packedSizes[i]), 8, random_);
        ExpectSamePixels(
            vectors_, plain_, 1, packedSizes[i], packedSizes[i] == 1, random_,
            [&](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                kernels.lookup.from8[i](table.Data(), 0xFF, src, dst, count);
            });
    }
}

TEST_P(LookupKernel, LooksUpFieldsOfEveryWidth)
{
    for (int bits = 9; bits <= 16; ++bits)
        for (std::size_t i = 0; i < sizeCount; ++i) {
            SCOPED_TRACE(std::to_string(bits) + " bits to " + std::to_string(packedSizes[i]));
            const Buffer table((std::size_t{1} << bits) * (packedSizes[i] == 3 ? 4 : packedSizes[i]), 8,
                               random_);
            const std::uint32_t mask = (1u << bits) - 1;
            ExpectSamePixels(
                vectors_, plain_, 2, packedSizes[i], packedSizes[i] == 2, random_,
                [&](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                    kernels.lookup.from16[i](table.Data(), mask, src, dst, count);
                });
        }
}

TEST_P(LookupKernel, FindsTheRangeOfFields)
{
    for (const std::size_t count : Counts()) {
        if (count == 0)
            continue;
        const Buffer source(2 * count, random_() % 64, random_);
        for (const auto& [mask, sign] :
             {std::pair{0xFFFFu, 0u}, {0xFFFFu, 0x8000u}, {0xFFFu, 0x800u}, {0x1FFu, 0u}}) {
            const IndexRange expected = plain_.lookup.rangeOf16(mask, sign, source.Data(), count);
            const IndexRange actual = vectors_.lookup.rangeOf16(mask, sign, source.Data(), count);
            ASSERT_EQ(actual.first, expected.first) << count;
            ASSERT_EQ(actual.last, expected.last) << count;
        }
    }
}

TEST_P(LookupKernel, StepsThroughATableLikeLookingItUp)
{
    if (vectors_.lookup.stepped == nullptr)
        return; // This level looks all bytes up.
    std::vector<std::uint8_t> source(2 * 65536 + 2 * 77);
    for (std::size_t i = 0; i < source.size() / 2; ++i) {
        source[2 * i] = static_cast<std::uint8_t>(i);
        source[2 * i + 1] = static_cast<std::uint8_t>(i >> 8);
    }
    std::vector<std::uint8_t> expected(source.size() / 2);
    std::vector<std::uint8_t> actual(source.size() / 2);
    int built = 0;
    for (int bits = 9; bits <= 16; ++bits)
        for (const double contrast : {1.0, 1.2, 0.3, -1.0, 2.9, 7.5, 30.0}) {
            SCOPED_TRACE(testing::Message() << bits << " bits, contrast " << contrast);
            std::vector<std::uint8_t> table(std::size_t{1} << bits);
            const ToneCurve curve({contrast, contrast < 0 ? 1.0 : 0.0, 1.0, 1.0},
                                  static_cast<double>(table.size() - 1), value_range<std::uint8_t>,
                                  ToneCurve::Bounds::whole);
            plain_.linear.fill[ElementIndex<std::uint8_t>()](curve, 0, table.data(), table.size());
            const auto stepped = SteppedTable::Of(table.data(), bits);
            if (stepped == nullptr)
                continue;
            ++built;
            const auto mask = static_cast<std::uint32_t>(table.size() - 1);
            plain_.lookup.from16[0](table.data(), mask, source.data(), expected.data(), expected.size());
            vectors_.lookup.stepped(*stepped, source.data(), actual.data(), actual.size());
            ASSERT_TRUE(SamePixels(actual, expected));
        }
    EXPECT_GE(built, 30);
}

TEST(SteppedTable, HasNoFormForManyStepsOrLargeOnes)
{
    std::vector<std::uint8_t> table(65536);
    const auto flat = SteppedTable::Of(table.data(), 16);
    ASSERT_NE(flat, nullptr);
    EXPECT_EQ(flat->Steps(), 0u);

    table[300] = 2; // by two, and back
    EXPECT_EQ(SteppedTable::Of(table.data(), 16), nullptr);
    table[300] = 1; // up and down
    EXPECT_EQ(SteppedTable::Of(table.data(), 16), nullptr);

    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<std::uint8_t>(std::min<std::size_t>(i / 16, 255));
    EXPECT_EQ(SteppedTable::Of(table.data(), 16), nullptr) << "sixteen in a block";
}

TEST_P(LookupKernel, LooksColorsUpInTheCompactTable)
{
    for (int bits = 9; bits <= 16; ++bits) {
        SCOPED_TRACE(bits);
        // Every byte goes its own way, up and down and with jumps where a block begins.
        std::vector<PackedColor> table(std::size_t{1} << bits);
        for (std::size_t i = 0; i < table.size(); i += CompactColors::blockSize) {
            const auto smallest = static_cast<PackedColor>(random_()) & 0x7FFEFEFE;
            for (std::size_t k = 0; k < CompactColors::blockSize; ++k)
                table[i + k] = smallest + (static_cast<PackedColor>(random_()) & 0x01010101);
        }
        const auto compact = CompactColors::Of(table.data(), table.size());
        ASSERT_NE(compact, nullptr);
        const auto mask = static_cast<std::uint32_t>(table.size() - 1);
        ExpectSamePixels(
            vectors_, plain_, 2, 4, false, random_,
            [&](const Kernels& kernels, const std::uint8_t* src, std::uint8_t* dst, std::size_t count) {
                if (&kernels == &vectors_)
                    kernels.lookup.compact(*compact, mask, src, dst, count);
                else
                    kernels.lookup.from16[PackedSize(4).Index()](table.data(), mask, src, dst, count);
            },
            CountsAndLargeOnes(2, 4));
    }
}

TEST_P(LookupKernel, ReadsFieldsOfTheCompactTableOnce)
{
    // Two fields of different blocks and places. Each place but theirs has another colour, which only a field
    // that is read twice, and written in between, can come to.
    constexpr std::uint64_t first = 0;
    constexpr std::uint64_t second = CompactColors::blockSize + 1;
    std::vector<PackedColor> table(512, 0x10101010);
    std::fill_n(table.begin() + CompactColors::blockSize, CompactColors::blockSize, 0x50505050);
    table[first] += 0x01010101;
    table[second] += 0x01010101;
    const auto compact = CompactColors::Of(table.data(), table.size());
    ASSERT_NE(compact, nullptr);

    alignas(64) std::atomic<std::uint64_t> source[16] = {};
    std::atomic<bool> ends = false;
    std::thread writer([&] {
        for (std::uint64_t field = first; !ends; field = first + second - field)
            for (auto& four : source)
                four.store(field * 0x0001000100010001u, std::memory_order_relaxed);
    });
    constexpr std::size_t pixels = sizeof(source) / 2;
    PackedColor target[pixels] = {};
    const auto isOfOneField = [&](PackedColor color) {
        return color == table[first] || color == table[second];
    };
    bool allAre = true;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    while (allAre && std::chrono::steady_clock::now() < end)
        for (int i = 0; i < 1000 && allAre; ++i) {
            vectors_.lookup.compact(*compact, 511, reinterpret_cast<const std::uint8_t*>(source),
                                    reinterpret_cast<std::uint8_t*>(target), pixels);
            allAre = std::all_of(target, target + pixels, isOfOneField);
        }
    ends = true;
    writer.join();
    EXPECT_TRUE(allAre);
}

TEST(CompactColors, HasNoFormWhereNeighboursDifferByMoreThanOne)
{
    const auto hasForm = [](const std::vector<PackedColor>& entries) {
        return CompactColors::Of(entries.data(), entries.size()) != nullptr;
    };
    std::vector<PackedColor> table(512, 0xFE00FE01);
    EXPECT_TRUE(hasForm(table));
    for (int byte = 0; byte < 4; ++byte)
        for (const std::size_t i : {std::size_t{0}, std::size_t{13}, std::size_t{511}}) {
            std::vector<PackedColor> steep = table;
            steep[i] ^= PackedColor{1} << (8 * byte);
            EXPECT_TRUE(hasForm(steep)) << byte << ", " << i;
            steep[i] = table[i] ^ PackedColor { 2 } << (8 * byte);
            EXPECT_FALSE(hasForm(steep)) << byte << ", " << i;
            steep[i] = table[i] ^ PackedColor { 0x80 } << (8 * byte);
            EXPECT_FALSE(hasForm(steep)) << byte << ", " << i;
        }
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<PackedColor>(i / CompactColors::blockSize % 2) * 0xFFFFFFFF;
    EXPECT_TRUE(hasForm(table)) << "blocks may be anything";
}

INSTANTIATE_TEST_SUITE_P(Levels, LookupKernel, testing::ValuesIn(VectorLevels()), LevelName);
