#include "recode/lut_recoder.h"
#include "recode/recode.h"
#include "tests/component/recode/protected_pages.h"
#include "tests/component/recode/reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

// Images are shared memory: a source may be written while it is converted. Whatever a pixel held then, its
// target becomes what one of these values is converted to.

using namespace Mardu::Sentel::Tavlo;
using reference::Kind;
using reference::Tone;

namespace {

/// A source whose first pixels change when its last page is read first.
class ChangingSource
{
public:
    ChangingSource(std::int32_t width, std::int32_t height)
        : count_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
          pages_(2 * count_),
          pixels_(pages_.End() - 2 * count_)
    {
        SetAll(before, count_);
    }

    static constexpr std::uint16_t before = 0x1234;
    static constexpr std::uint16_t after = 0xFEDC;

    std::size_t Count() const { return count_; }
    std::uint8_t* Pixels() const { return pixels_; }
    std::uint8_t* LastPage() const { return pages_.End() - ProtectedPages::PageSize(); }

    /// Changes all pixels before the last page.
    static void Change(void* source)
    {
        auto& self = *static_cast<ChangingSource*>(source);
        self.SetAll(after, static_cast<std::size_t>(self.LastPage() - self.pixels_) / 2);
    }

private:
    void SetAll(std::uint16_t value, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(pixels_ + 2 * i, &value, 2);
    }

    std::size_t count_;
    ProtectedPages pages_;
    std::uint8_t* pixels_;
};

struct ChangingCase
{
    const char* name;
    Kind source;
    Kind target;
    Tone tone;
};

void PrintTo(const ChangingCase& parameter, std::ostream* out)
{
    *out << parameter.name;
}

constexpr ChangingCase cases[] = {
    {"WordsToRGBA", {16, Tavlo_Unsigned}, {32, Tavlo_RGBA}, {}},
    {"WordsToRGB", {16, Tavlo_Unsigned}, {24, Tavlo_RGB}, {}},
    {"FieldsToBGR", {15, Tavlo_Unsigned}, {24, Tavlo_BGR}, {}},
    {"PowersOfWordsToBytes", {16, Tavlo_Unsigned}, {8, Tavlo_Unsigned}, {1, 0, 2, 1}},
    {"PowersOfSignedWords", {16, Tavlo_Signed}, {16, Tavlo_Signed}, {1, 0, 2, 1}},
    {"PowersOfWordsToFloats", {16, Tavlo_Unsigned}, {32, Tavlo_Float}, {1, 0, 2, 1}},
    {"PowersOfWordsToDoubles", {16, Tavlo_Signed}, {64, Tavlo_Float}, {1, 0, 2, 1}},
    {"PowersOfFields", {15, Tavlo_Signed}, {8, Tavlo_Unsigned}, {1, 0, 2, 1}},
    {"LinearWords", {16, Tavlo_Unsigned}, {8, Tavlo_Signed}, {1.2, 0, 1, 1}},
};

class ChangingSourceOf : public testing::TestWithParam<ChangingCase>
{
protected:
    /// What a value of the source becomes.
    reference::Bytes Converted(std::uint16_t value) const
    {
        std::uint8_t pixel[2];
        std::memcpy(pixel, &value, sizeof value);
        return reference::Pair(GetParam().source, GetParam().target).Recoded(pixel, GetParam().tone);
    }
};

} // namespace

TEST_P(ChangingSourceOf, GivesWhatOneOfItsValuesBecomes)
{
    const auto& [name, sourceKind, targetKind, tone] = GetParam();
    const reference::Bytes first = Converted(ChangingSource::before);
    const reference::Bytes second = Converted(ChangingSource::after);
    const std::int32_t size = reference::SizeOf(targetKind);
    // Fewer pixels than a table has entries, and more.
    for (const std::int32_t extent : {100, 180, 300}) {
        ChangingSource source(extent, extent);
        std::vector<std::uint8_t> target(source.Count() * static_cast<std::size_t>(size), 0xA5);
        LUTRecoder recoder({extent, extent, sourceKind.bits, sourceKind.encoding, 0, 2, 2 * extent},
                           {extent, extent, targetKind.bits, targetKind.encoding, 0, size, size * extent});
        recoder.SetContrast(tone.contrast);
        recoder.SetGamma(tone.gamma);
        const FirstTouch change(source.LastPage(), ChangingSource::Change, &source);
        ASSERT_EQ(recoder.Recode(source.Pixels(), target.data()), RecodeResult::done);
        ASSERT_TRUE(change.WasTouched());
        for (std::size_t i = 0; i < source.Count(); ++i) {
            const std::uint8_t* pixel = target.data() + i * static_cast<std::size_t>(size);
            const auto is = [&](const reference::Bytes& bytes) {
                return std::equal(pixel, pixel + size, bytes.data);
            };
            ASSERT_TRUE(is(first) || is(second))
                << "pixel " << i << " of " << extent << " x " << extent << ": "
                << testing::PrintToString(std::vector<int>(pixel, pixel + size));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, ChangingSourceOf, testing::ValuesIn(cases),
                         [](const auto& parameter) { return std::string(parameter.param.name); });
