#include "client/view/recoding_converter.h"

#include "client/foundation/component_errors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr std::int32_t gibi = 1 << 30;

struct MemoryReleaser
{
    void operator()(void* memory) const noexcept { VirtualFree(memory, 0, MEM_RELEASE); }
};

/// Addresses of rows that lie a gibibyte apart, and memory for their first bytes only.
class FarRows
{
public:
    explicit FarRows(std::size_t rows)
        : memory_(VirtualAlloc(nullptr, rows * gibi, MEM_RESERVE, PAGE_NOACCESS))
    {
        for (std::size_t y = 0; memory_ && y < rows; ++y)
            isThere_ = isThere_ && VirtualAlloc(Row(y), 4096, MEM_COMMIT, PAGE_READWRITE) != nullptr;
    }

    bool IsThere() const noexcept { return memory_ && isThere_; }
    std::uint8_t* Row(std::size_t y) const noexcept
    {
        return static_cast<std::uint8_t*>(memory_.get()) + y * gibi;
    }

private:
    std::unique_ptr<void, MemoryReleaser> memory_;
    bool isThere_ = true;
};

std::array<std::uint32_t, 4> ColorsOf(const Descriptor& image, const std::uint8_t* base, std::int32_t step)
{
    RecodingConverter converter(image, base);
    converter.Render({{}, 1, 1, PointsOf(Ramps()[1], false)});
    std::array<std::uint32_t, 4> colors{};
    converter.Convert({0, 0, 2, 2}, step, {colors.data(), 2});
    for (std::uint32_t& color : colors)
        color &= 0xFFFFFF; // the fourth byte means nothing
    return colors;
}

TEST(RecodingConverterTest, ConvertsRowsThatAreTwoGibibytesApart)
{
    const auto apartment = EnterApartment(COINIT_MULTITHREADED);
    const FarRows memory(5);
    ASSERT_TRUE(memory.IsThere());
    for (std::size_t y = 0; y < 5; ++y) {
        for (std::size_t x = 0; x < 4; ++x)
            memory.Row(y)[x] = static_cast<std::uint8_t>(50 * y + 10 * x);
    }
    // The same samples side by side.
    const std::array<std::uint8_t, 4> packed = {60, 80, 160, 180};
    EXPECT_EQ(ColorsOf({4, 5, 8, Encoding::Unsigned, 0, 1, gibi}, memory.Row(0), 2),
              ColorsOf({2, 2, 8, Encoding::Unsigned, 0, 1, 2}, packed.data(), 1));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
