#include "conversions/contest_builder.h"
#include "conversions/plain_loops.h"
#include "conversions/rows.h"

#include "recode/recoders/curve_table.h"

#include <cstring>
#include <memory>

using namespace Mardu::Sentel::Tavlo;

// The tables themselves: how fast 65536 entries are filled, and what a small image costs whose
// contrast changes with every call.
namespace Bench {
namespace {

constexpr Extent small{64, 64};
constexpr std::size_t entries = 65536;

constexpr ToneParameters linear{1.2, -0.1, 1.0, 1.0};
constexpr ToneParameters bent{1.2, -0.1, 2.2, 1.5};

template <class D>
void Fill(std::vector<D>& table, const ToneParameters& tone)
{
    if (tone.IsLinear())
        Plain::FillLinear(table.data(), table.size(), tone);
    else
        Plain::FillBent(table.data(), table.size(), tone);
}

/// A pixel is an entry here.
template <class D>
Contest Filling(const ToneParameters& tone, double goal)
{
    const auto table = std::make_shared<std::vector<D>>(entries);
    const auto copy = std::make_shared<std::vector<D>>(entries);

    Contest contest;
    contest.size = "65536 entries";
    contest.pixels = static_cast<double>(entries);
    contest.goal = goal;
    contest.against = {"plain"};
    contest.contenders = {
        {"ours",
         [ours = std::make_shared<CurveTable>(ElementOf<D>(), entries, 0), tone] {
             ours->Use(ToneCurve(tone, entries - 1.0, value_range<D>, ToneCurve::Bounds::whole));
             ours->RequireAll();
         }},
        {"plain", [table, tone] { Fill(*table, tone); }},
        {"memcpy", [table, copy] { std::memcpy(copy->data(), table->data(), entries * sizeof(D) / 2); }}};
    return contest;
}

/// Someone drags a slider: each call has another contrast than the one before.
class Slider
{
public:
    explicit Slider(const ToneParameters& tone) : tone_(tone) {}

    const ToneParameters& Next()
    {
        tone_.contrast = tone_.contrast > 1.25 ? 1.2 : 1.3;
        return tone_;
    }

private:
    ToneParameters tone_;
};

void EachPixel(const std::uint16_t* in, std::uint8_t* out, std::size_t count, const ToneParameters& tone)
{
    const Plain::Curve curve(tone, entries - 1.0, value_range<std::uint8_t>, true);
    for (std::size_t i = 0; i < count; ++i)
        out[i] = Quantise<std::uint8_t>(tone.IsLinear() ? curve.Linear(in[i]) : curve.Bent(in[i]));
}

/// Against the better of the two plain ways: a full table, or no table at all.
Contest Interactive(const ToneParameters& tone)
{
    const auto memory = std::make_shared<Memory>(small);
    ContestBuilder b(*memory, Packed(small, 16, Tavlo_Unsigned), Packed(small, 8, Tavlo_Unsigned),
                     Picture::words);
    b.Goal(1, {"plain", "plain, no table"});
    const auto recoder = std::make_shared<LUTRecoder>(b.from, b.to);
    recoder->SetBrightness(tone.brightness);
    recoder->SetGamma(tone.gamma);
    recoder->SetSigma(tone.sigma);
    b.Ours([memory, recoder, slider = Slider(tone), in = b.Source(), out = b.Target()]() mutable {
        recoder->SetContrast(slider.Next().contrast);
        Check(recoder->Recode(in, out));
    });
    const auto table = std::make_shared<std::vector<std::uint8_t>>(entries);
    const auto in = b.SourceAs<std::uint16_t>();
    const std::size_t pixels = b.Pixels();
    b.Add("plain", [table, slider = Slider(tone), in, out = b.Target(), pixels]() mutable {
        Fill(*table, slider.Next());
        Plain::LookUp<std::uint16_t, std::uint8_t>(in, out, pixels, table->data(), 0xFFFF);
    });
    b.Add("plain, no table", [slider = Slider(tone), in, out = b.Target(), pixels]() mutable {
        EachPixel(in, out, pixels, slider.Next());
    });
    Contest contest = b.Done();
    // Runs differ by turns, so their results are not compared.
    contest.sameResult = nullptr;
    return contest;
}

} // namespace

std::vector<Row> FillingRows()
{
    return {
        {"fill 16 to 8, linear", [](Memory&) { return Filling<std::uint8_t>(linear, 4); }, false},
        {"fill 16 to 16, linear", [](Memory&) { return Filling<std::uint16_t>(linear, 4); }, false},
        {"fill 16 to 8, powers", [](Memory&) { return Filling<std::uint8_t>(bent, 2); }, false},
        {"fill 16 to 16, powers", [](Memory&) { return Filling<std::uint16_t>(bent, 2); }, false},
        {"new contrast each call, 16 to 8", [](Memory&) { return Interactive(linear); }, false},
        {"the same with powers", [](Memory&) { return Interactive(bent); }, false},
    };
}

} // namespace Bench
