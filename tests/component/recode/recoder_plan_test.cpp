#include "recode/recoder_plan.h"
#include "recode/recoders/color_recoders.h"
#include "recode/recoders/grey_to_color.h"
#include "recode/recoders/numeric_recoders.h"
#include "recode/recoders/recoder_table.h"
#include "tests/component/recode/numbers.h"
#include "tests/component/recode/reference.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <typeindex>

using namespace Mardu::Sentel::Tavlo;
using reference::Kind;

namespace {

using Classes = std::map<std::string, std::type_index>;

template <template <class, class> class Recoder, class S, class... D>
void AddRow(Classes& classes, const std::string& name, char source, const std::string& targets)
{
    std::size_t i = 0;
    (classes.emplace(name + "<" + source + "," + targets[i++] + ">", typeid(Recoder<S, D>)), ...);
}

template <template <class, class> class Recoder, class S>
void AddNumericRow(Classes& classes, const std::string& name, char source)
{
    AddRow<Recoder, S, std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t,
           float, double>(classes, name, source, "ECGFIHMN");
}

/// Every class by its name.
Classes AllClasses()
{
    Classes classes;
    AddNumericRow<recoder, std::uint8_t>(classes, "recoder", 'E');
    AddNumericRow<recoder, std::int8_t>(classes, "recoder", 'C');
    AddNumericRow<recoder, std::uint16_t>(classes, "recoder", 'G');
    AddNumericRow<recoder, std::int16_t>(classes, "recoder", 'F');
    AddNumericRow<recoder_bits, std::uint16_t>(classes, "recoder_bits", 'G');
    AddNumericRow<recoder_bits, std::int16_t>(classes, "recoder_bits", 'F');
    AddRow<recoder_bits_d, std::uint8_t, std::uint16_t>(classes, "recoder_bits_d", 'E', "G");
    AddNumericRow<recoder_long, std::uint32_t>(classes, "recoder_long", 'I');
    AddNumericRow<recoder_long, std::int32_t>(classes, "recoder_long", 'H');
    AddNumericRow<recoder_long, float>(classes, "recoder_long", 'M');
    AddNumericRow<recoder_long, double>(classes, "recoder_long", 'N');
    AddRow<recoder_rgb2g, std::uint8_t, std::uint8_t, std::uint16_t, float, double>(classes, "recoder_rgb2g",
                                                                                    'E', "EGMN");
    AddRow<recoder_bgr2g, std::uint8_t, std::uint8_t, std::uint16_t, float, double>(classes, "recoder_bgr2g",
                                                                                    'E', "EGMN");
    AddRow<recoder_g2col, std::uint8_t, std::uint8_t>(classes, "recoder_g2col", 'E', "E");
    AddRow<recoder_g2col, std::uint16_t, std::uint8_t>(classes, "recoder_g2col", 'G', "E");
    AddRow<recoder_g2col, float, std::uint8_t>(classes, "recoder_g2col", 'M', "E");
    AddRow<recoder_rgb, std::uint8_t, std::uint8_t>(classes, "recoder_rgb", 'E', "E");
    AddRow<recoder_rgb_swap, std::uint8_t, std::uint8_t>(classes, "recoder_rgb_swap", 'E', "E");
    AddRow<recoder_rgba, std::uint8_t, std::uint8_t>(classes, "recoder_rgba", 'E', "E");
    AddRow<recoder_rgba_swap, std::uint8_t, std::uint8_t>(classes, "recoder_rgba_swap", 'E', "E");
    return classes;
}

TavloDescriptorData Descriptor(const Kind& kind)
{
    return {3, 2, kind.bits, kind.encoding, 0, 8, 24};
}

std::type_index ClassFor(const Kind& source, const Kind& target)
{
    const RecoderPlan plan = MakeRecoder(Descriptor(source), Descriptor(target));
    const recoder_base& made = *plan.recoder;
    return typeid(made);
}

/// The text that a pair is refused with; empty for one that is not.
std::string Refusal(const TavloDescriptorData& source, const TavloDescriptorData& target)
{
    try {
        MakeRecoder(source, target);
        return "";
    } catch (const std::runtime_error& e) {
        return e.what();
    }
}

std::string NameOf(const Kind& kind)
{
    static const char* const names[] = {"Unsigned",
                                        "Signed",
                                        "Float",
                                        "RGB",
                                        "RGBA",
                                        "BGR",
                                        "Reserved3",
                                        "Reserved4",
                                        "Data",
                                        "Reserved1",
                                        "Complex_Float",
                                        "Reserved2",
                                        "Complex_Float_Half_Even",
                                        "BGRA",
                                        "Float_Vector2D",
                                        "Float_Vector3D",
                                        "Float_Vector4D",
                                        "Complex_Float_Half_Odd"};
    const bool threeInFour = kind.bits == 32 && (kind.encoding == 3 || kind.encoding == 5);
    return std::string(kind.encoding < 18 ? names[kind.encoding] : "Unknown_Encoding") + "(" +
           std::to_string(threeInFour ? 24 : kind.bits) + ")";
}

/// All Bits from 0 to 255 with all encodings and two values that are none.
std::vector<Kind> EveryKind()
{
    std::vector<Kind> kinds;
    for (int encoding = 0; encoding < 20; ++encoding)
        for (int bits = 0; bits < 256; ++bits)
            kinds.push_back({bits, encoding == 19 ? 255 : encoding});
    return kinds;
}

/// The kinds that stand in a row or column of the table, and a few that do not.
std::vector<Kind> Probes()
{
    std::set<Kind> kinds{{0, 0},  {64, 0}, {64, 1}, {16, 2},  {32, 3},
                         {32, 5}, {24, 4}, {0, 8},  {64, 10}, {8, 255}};
    for (const auto& [source, target] : reference::Pairs()) {
        kinds.insert(source);
        kinds.insert(target);
    }
    return {kinds.begin(), kinds.end()};
}

void ExpectMadeOrRefused(const Kind& source, const Kind& target)
{
    const std::string expected =
        reference::ClassOf(source, target).empty()
            ? "No recoder implemented from " + NameOf(source) + " to " + NameOf(target)
            : "";
    if (Refusal(Descriptor(source), Descriptor(target)) != expected)
        FAIL() << Refusal(Descriptor(source), Descriptor(target)) << " instead of " << expected;
}

} // namespace

TEST(RecoderTable, HasNinetySixClassesAndNoOther)
{
    std::set<std::string> used;
    for (const auto& [source, target] : reference::Pairs())
        used.insert(reference::ClassOf(source, target));
    const Classes classes = AllClasses();
    EXPECT_EQ(classes.size(), 96u);
    EXPECT_EQ(used.size(), 96u);
    for (const std::string& name : used)
        EXPECT_TRUE(classes.contains(name)) << name;
}

TEST(RecoderTable, MakesTheClassOfEveryPair)
{
    const Classes classes = AllClasses();
    for (const auto& [source, target] : reference::Pairs())
        EXPECT_EQ(ClassFor(source, target), classes.at(reference::ClassOf(source, target)))
            << reference::Text(source) << " to " << reference::Text(target);
}

TEST(RecoderTable, KnowsNoOtherPairOfBitsAndEncodings)
{
    const std::vector<Kind> probes = Probes();
    const std::set<Kind> known(probes.begin(), probes.end());
    struct Side
    {
        Kind kind;
        TavloDescriptorData descriptor;
        bool isKnown;
    };
    std::vector<Side> sides;
    for (const Kind& kind : EveryKind()) {
        // Three channels in four bytes become 24 bits before the table is asked.
        const bool isDirect = kind.bits != 32 || (kind.encoding != Tavlo_RGB && kind.encoding != Tavlo_BGR);
        sides.push_back({kind, Descriptor(kind), isDirect && known.contains(kind)});
    }
    for (const Side& source : sides)
        for (const Side& target : sides) {
            const bool expected =
                source.isKnown && target.isKnown && !reference::ClassOf(source.kind, target.kind).empty();
            if ((FindRecoder(source.descriptor, target.descriptor) != nullptr) != expected)
                FAIL() << reference::Text(source.kind) << " to " << reference::Text(target.kind);
        }
}

TEST(RecoderPlan, RefusesEveryOtherTargetWithItsMessage)
{
    for (const Kind& source : Probes())
        for (const Kind& target : EveryKind())
            ExpectMadeOrRefused(source, target);
}

TEST(RecoderPlan, RefusesEveryOtherSourceWithItsMessage)
{
    for (const Kind& target : Probes())
        for (const Kind& source : EveryKind())
            ExpectMadeOrRefused(source, target);
}

TEST(RecoderPlan, RefusesSixteenBitsToFourByteBGRA)
{
    EXPECT_EQ(Refusal(Descriptor({16, Tavlo_Unsigned}), Descriptor({32, Tavlo_BGRA})),
              "No recoder implemented from Unsigned(16) to BGRA(32)");
    EXPECT_EQ(Refusal(Descriptor({16, Tavlo_Unsigned}), Descriptor({24, Tavlo_BGRA})), "");
}

TEST(RecoderPlan, PrintsTwentyFourBitsForThreeChannelsInFourBytes)
{
    EXPECT_EQ(Refusal(Descriptor({32, Tavlo_RGB}), Descriptor({8, Tavlo_Signed})),
              "No recoder implemented from RGB(24) to Signed(8)");
}

TEST(RecoderPlan, TellsPixelTypesApartByOneByteOfEachField)
{
    EXPECT_EQ(ClassFor({8 + 256, Tavlo_Unsigned + 512}, {24, Tavlo_BGR - 256}),
              ClassFor({8, 0}, {24, Tavlo_BGR}));
    EXPECT_EQ(Refusal(Descriptor({7 + 256, 0}), Descriptor({8, 0})),
              "No recoder implemented from Unsigned(263) to Unsigned(8)");
}

TEST(RecoderPlan, TreatsThreeChannelsInFourBytesAsTwentyFourBits)
{
    const RecoderPlan plan = MakeRecoder(Descriptor({32, Tavlo_RGB}), Descriptor({32, Tavlo_BGR}));
    EXPECT_EQ(plan.recoder->src.Bits, 24);
    EXPECT_EQ(plan.recoder->dst.Bits, 24);
    EXPECT_EQ(ClassFor({32, Tavlo_RGB}, {8, Tavlo_Unsigned}), ClassFor({24, Tavlo_RGB}, {8, Tavlo_Unsigned}));
}

TEST(RecoderPlan, PlansTheWholeSourceOfTheCaller)
{
    const RecoderPlan plan =
        MakeRecoder({7, 5, 8, Tavlo_Unsigned, 0, 1, 7}, {7, 5, 16, Tavlo_Unsigned, 0, 10, 2});
    EXPECT_TRUE(plan.transpose);
    EXPECT_EQ(plan.recoder->src.Width, 5);
    EXPECT_EQ(plan.fullRect, (PixelRect{0, 0, 7, 5}));
    EXPECT_EQ(plan.origin, (PixelPoint{0, 0}));
}

TEST(RecoderPlan, StartsARecoderAtTheDefaults)
{
    const RecoderPlan plan = MakeRecoder(Descriptor({8, Tavlo_Unsigned}), Descriptor({16, Tavlo_Unsigned}));
    EXPECT_EQ(plan.recoder->contrast, 1.0);
    EXPECT_EQ(plan.recoder->brightness, 0.0);
    EXPECT_EQ(plan.recoder->gamma, 1.0);
    EXPECT_EQ(plan.recoder->sigma, 1.0);
    EXPECT_TRUE(plan.recoder->lutStale);
}

namespace {

struct Normalised
{
    TavloDescriptorData src;
    TavloDescriptorData dst;
    bool flipX = true;
    bool flipY = true;
    bool transpose = true;

    Normalised(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : src(source), dst(target)
    {
        NormaliseViews(src, dst, flipX, flipY, transpose);
    }
};

} // namespace

TEST(NormaliseViews, LeavesAnUprightTargetAlone)
{
    const TavloDescriptorData source{4, 3, 8, 0, 9, -1, -10};
    const TavloDescriptorData target{4, 3, 8, 0, 2, 1, 4};
    const Normalised n(source, target);
    EXPECT_EQ(n.src, source);
    EXPECT_EQ(n.dst, target);
    EXPECT_FALSE(n.flipX || n.flipY || n.transpose);
}

TEST(NormaliseViews, TurnsBothSidesByTheTargetsNegativeStrides)
{
    const Normalised n({5, 6, 8, 0, 0, 1, 5}, {4, 3, 8, 0, 11, -1, -4});
    EXPECT_EQ(n.src, (TavloDescriptorData{5, 6, 8, 0, 4 + 25, -1, -5}));
    EXPECT_EQ(n.dst, (TavloDescriptorData{4, 3, 8, 0, 0, 1, 4}));
    EXPECT_TRUE(n.flipX);
    EXPECT_TRUE(n.flipY);
    EXPECT_FALSE(n.transpose);
}

TEST(NormaliseViews, SwapsTheAxesOfAColumnMajorTarget)
{
    const Normalised n({5, 6, 8, 0, 0, 1, 5}, {4, 3, 8, 0, 0, 3, 1});
    EXPECT_EQ(n.src, (TavloDescriptorData{6, 5, 8, 0, 0, 5, 1}));
    EXPECT_EQ(n.dst, (TavloDescriptorData{3, 4, 8, 0, 0, 1, 3}));
    EXPECT_TRUE(n.transpose);
}

TEST(NormaliseViews, ComparesStridesAfterTheirSignsAreGone)
{
    EXPECT_TRUE(Normalised({4, 3, 8, 0, 0, 1, 4}, {4, 3, 8, 0, 9, -3, 1}).transpose);
    EXPECT_FALSE(Normalised({4, 3, 8, 0, 0, 1, 4}, {4, 3, 8, 0, 9, 1, -4}).transpose);
}

TEST(NormaliseViews, DoesNotTransposeEqualStrides)
{
    EXPECT_FALSE(Normalised({4, 1, 8, 0, 0, 1, 4}, {4, 1, 8, 0, 0, 1, 1}).transpose);
}

TEST(NormaliseViews, WrapsInsteadOfOverflowing)
{
    const Normalised n({smallest, 1, 8, 0, smallest, 7, 7}, {1, 1, 8, 0, 0, smallest, 1});
    EXPECT_TRUE(n.flipX);
    EXPECT_EQ(n.dst.Stride_x, smallest) << "the smallest number is its own negative";
    EXPECT_EQ(n.src.Offset, static_cast<std::int32_t>(static_cast<std::uint32_t>(
                                std::int64_t{smallest} + (std::int64_t{smallest} - 1) * 7)));
}
