#include "client/view/side_panel.h"

#include "client/foundation/utf16.h"

#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr int edge = 16;
constexpr int plotHeight = 120;
constexpr int legendHeight = 12;
constexpr int rowHeight = 22;
constexpr int swatchHeight = 16;
// Heights that have room for more than the parameters.
constexpr int roomForPlot = 390;
constexpr int roomForRamps = 566;

std::wstring Decimals(double value)
{
    char text[64];
    // What rounds to zero has no sign.
    std::snprintf(text, sizeof text, "%.2f", std::abs(value) < 0.005 ? 0.0 : value);
    return ToUtf16(text);
}

void FillColumn(const Surface& pixels, LONG x, LONG top, LONG bottom, std::uint32_t color) noexcept
{
    for (LONG y = top; y < bottom; ++y)
        pixels.Row(y)[x] = color;
}

/// The sum of two colours, as of two lights on one spot.
std::uint32_t AddColors(std::uint32_t a, std::uint32_t b) noexcept
{
    const auto channel = [&](int shift) {
        return std::min((a >> shift & 0xFF) + (b >> shift & 0xFF), std::uint32_t{255}) << shift;
    };
    return channel(0) | channel(8) | channel(16);
}

/// What a component's histogram is drawn in: grey has the colour that its values have, of red, green
/// and blue each has its own.
std::uint32_t HistogramColor(std::size_t component, std::size_t count, std::uint32_t grey) noexcept
{
    constexpr std::uint32_t colors[] = {0xD04848, 0x48A848, 0x4868D8};
    return count == 1 ? grey : colors[component % 3];
}

} // namespace

ValueRange PlottedRange(const std::vector<Histogram>& histograms, const ValueRange& range) noexcept
{
    bool isFirst = true;
    ValueRange values = range;
    for (const Histogram& histogram : histograms) {
        if (histogram.Count() == 0)
            continue;
        const ValueRange own = histogram.Values();
        values = isFirst ? own
                         : ValueRange{std::min(values.smallest, own.smallest),
                                      std::max(values.greatest, own.greatest)};
        isFirst = false;
    }
    const bool isInside = values.smallest >= range.smallest && values.greatest <= range.greatest;
    if ((isInside && values.Span() >= range.Span() / 4) || values.Span() <= 0)
        return isInside ? range : ValueRange{values.smallest - 1, values.greatest + 1};
    const double margin = values.Span() / 20;
    return {values.smallest - margin, values.greatest + margin};
}

SidePanel::SidePanel(HWND parent, Scene& scene, const ScreenStyle& style, ToneControl& tone)
    : scene_(scene), style_(style), tone_(tone), legend_(scene.descriptor.Type())
{
    Create(L"TavloSidePanel", L"", WS_CHILD | WS_VISIBLE, 0, parent);
}

std::vector<SidePanel::Row> SidePanel::Rows() const
{
    const Tone tone = ToneOf(scene_.levels, scene_.range);
    std::vector<Row> rows = {{L"black", ToUtf16(LevelText(scene_.levels.black, scene_.range))},
                             {L"white", ToUtf16(LevelText(scene_.levels.white, scene_.range))},
                             {L"contrast", Decimals(tone.contrast)},
                             {L"brightness", Decimals(tone.brightness)},
                             {L"gamma", Decimals(scene_.gamma.Value())},
                             {L"sigma", Decimals(scene_.sigma.Value())}};
    if (HasRamp(scene_.route)) {
        const std::string name(Ramps()[scene_.ramp].name);
        rows.push_back({L"ramp", ToUtf16(name + (scene_.isRampTurned ? ", turned" : ""))});
    }
    if (scene_.isFollowing)
        rows.push_back({L"automatic", L"at every update"});
    return rows;
}

void SidePanel::DrawHistogram(const Bitmap& bitmap, const RECT& plot, const ValueRange& range,
                              const std::vector<std::uint32_t>& colors) const
{
    const Surface pixels = bitmap.Pixels();
    std::vector<std::vector<std::int64_t>> counts;
    std::int64_t most = 1;
    for (const Histogram& histogram : scene_.histograms) {
        counts.push_back(histogram.Sections(range, colors.size()));
        most = std::max(most, *std::ranges::max_element(counts.back()));
    }
    GdiFlush();
    for (std::size_t column = 0; column < colors.size(); ++column) {
        const LONG x = plot.left + static_cast<LONG>(column);
        for (std::size_t i = 0; i < counts.size(); ++i) {
            // Roots, since a background of one value would leave nothing to be seen of the rest.
            const double share =
                std::sqrt(static_cast<double>(counts[i][column]) / static_cast<double>(most));
            const LONG tall = static_cast<LONG>(std::lround(share * (plot.bottom - plot.top - 2)));
            // Dark values are to be seen on the dark ground too.
            const std::uint32_t color = AddColors(HistogramColor(i, counts.size(), colors[column]), 0x181B20);
            for (LONG y = plot.bottom - tall; y < plot.bottom; ++y) {
                std::uint32_t& pixel = pixels.Row(y)[x];
                pixel = counts.size() == 1 ? color : AddColors(pixel, color);
            }
        }
    }
}

LONG SidePanel::DrawPlot(const Bitmap& bitmap, LONG top) const
{
    const HDC dc = bitmap.Dc();
    const LONG left = style_.Px(edge);
    const LONG right = style_.Px(width - edge);
    const RECT plot = {left, top, right, top + style_.Px(plotHeight)};
    const RECT strip = {left, plot.bottom + style_.Px(4), right, plot.bottom + style_.Px(4 + legendHeight)};
    const RECT ends = {left, strip.bottom + style_.Px(2), right, strip.bottom + style_.Px(2 + rowHeight)};
    const ValueRange range = PlottedRange(scene_.histograms, scene_.range);
    const std::vector<std::uint32_t> colors = legend_.Colors(range, right - left, RenderingOf(scene_));
    FillBox(dc, plot, Color::plot);
    DrawHistogram(bitmap, plot, range, colors);
    DrawLevels(dc, plot, range);
    GdiFlush();
    for (std::size_t column = 0; column < colors.size(); ++column)
        FillColumn(bitmap.Pixels(), left + static_cast<LONG>(column), strip.top, strip.bottom,
                   colors[column]);
    DrawTextLine(dc, ToUtf16(LevelText(range.smallest, range)), ends, Color::dim);
    DrawTextLine(dc, ToUtf16(LevelText(range.greatest, range)), ends, Color::dim, Align::Right);
    return ends.bottom;
}

void SidePanel::DrawLevels(HDC dc, const RECT& plot, const ValueRange& range) const
{
    for (const double level : {scene_.levels.black, scene_.levels.white}) {
        const double share = (level - range.smallest) / range.Span();
        if (share < 0 || share > 1)
            continue;
        const LONG x = plot.left + static_cast<LONG>(std::lround(share * (plot.right - plot.left - 1)));
        FillBox(dc, {x, plot.top, x + 1, plot.bottom}, Color::accent);
        const LONG half = style_.Px(3);
        FillBox(dc, {x - half, plot.top, x + half + 1, plot.top + style_.Px(3)}, Color::accent);
    }
}

void SidePanel::DrawRows(HDC dc, LONG top)
{
    const LONG left = style_.Px(edge);
    const LONG right = style_.Px(width - edge);
    const LONG row = style_.Px(rowHeight);
    for (const auto& [name, value] : Rows()) {
        const bool isStepped = name == L"gamma" || name == L"sigma";
        const LONG steps = style_.Px(48);
        DrawTextLine(dc, name, {left, top, right, top + row}, Color::dim);
        DrawTextLine(dc, value, {left, top, isStepped ? right - steps - style_.Px(8) : right, top + row},
                     Color::text, Align::Right);
        if (isStepped) {
            const RECT place = {right - steps, top + style_.Px(2), right, top + row - style_.Px(2)};
            const LONG middle = (place.left + place.right) / 2;
            FrameBox(dc, place, Color::line);
            FillBox(dc, {middle, place.top, middle + 1, place.bottom}, Color::line);
            DrawTextLine(dc, L"\u2212", {place.left, place.top, middle, place.bottom}, Color::accent,
                         Align::Center);
            DrawTextLine(dc, L"+", {middle, place.top, place.right, place.bottom}, Color::accent,
                         Align::Center);
            stepPlaces_[name == L"gamma" ? 0 : 1] = place;
        }
        top += row;
    }
}

void SidePanel::DrawRamps(const Bitmap& bitmap, LONG top)
{
    if (!HasRamp(scene_.route))
        return;
    const HDC dc = bitmap.Dc();
    const LONG left = style_.Px(edge);
    const LONG middle = style_.Px(edge + 76);
    const LONG right = style_.Px(width - edge);
    const LONG row = style_.Px(rowHeight + 2);
    // A byte for each colour of the ramp, without the tone curve.
    const Legend plain({Encoding::Unsigned, 8});
    for (std::size_t i = 0; i < Ramps().size(); ++i, top += row) {
        const Ramp& ramp = Ramps()[i];
        const bool isChosen = i == scene_.ramp;
        const RECT place = {left, top, right, top + row};
        DrawTextLine(dc, ToUtf16(ramp.name), {left, top, middle, top + row},
                     isChosen ? Color::text : Color::dim);
        const LONG above = (row - style_.Px(swatchHeight)) / 2;
        const RECT swatch = {middle, top + above, right, top + row - above};
        const std::vector<std::uint32_t> colors = plain.Colors(
            {0, 255}, swatch.right - swatch.left, {{}, 1, 1, PointsOf(ramp, scene_.isRampTurned)});
        GdiFlush();
        for (LONG x = swatch.left; x < swatch.right; ++x)
            FillColumn(bitmap.Pixels(), x, swatch.top, swatch.bottom,
                       colors[static_cast<std::size_t>(x - swatch.left)]);
        if (isChosen) {
            RECT outline = swatch;
            InflateRect(&outline, style_.Px(2), style_.Px(2));
            FrameBox(dc, outline, Color::accent);
        }
        rampPlaces_.push_back(place);
    }
}

void SidePanel::Paint()
{
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(Handle(), &paint);
    RECT inside;
    GetClientRect(Handle(), &inside);
    const Bitmap bitmap({inside.right, inside.bottom});
    const HDC memory = bitmap.Dc();
    FillBox(memory, inside, Color::panel);
    FillBox(memory, {0, 0, 1, inside.bottom}, Color::line);

    const LONG left = style_.Px(edge);
    const LONG right = style_.Px(width - edge);
    const LONG row = style_.Px(rowHeight);
    const HGDIOBJ font = SelectObject(memory, style_.Font());
    LONG top = style_.Px(10);
    rampPlaces_.clear();
    stepPlaces_ = {};
    // Pixels are written where there are some only: the panel may be cut off.
    const bool isWhole = inside.right >= right;
    if (isWhole && inside.bottom >= style_.Px(roomForPlot)) {
        SelectObject(memory, style_.Bold());
        DrawTextLine(memory, L"Histogram", {left, top, right, top + row}, Color::text);
        SelectObject(memory, style_.Font());
        top = DrawPlot(bitmap, top + row + style_.Px(4)) + style_.Px(8);
    }
    DrawRows(memory, top);
    if (isWhole && inside.bottom >= style_.Px(roomForRamps))
        DrawRamps(bitmap, top + row * static_cast<LONG>(Rows().size()) + style_.Px(12));
    DrawTextLine(memory, L"F1 shows all keys",
                 {left, inside.bottom - row - style_.Px(6), right, inside.bottom - style_.Px(6)}, Color::dim);
    SelectObject(memory, font);
    bitmap.CopyTo(dc, inside);
    EndPaint(Handle(), &paint);
}

void SidePanel::OnClick(POINT point)
{
    for (std::size_t i = 0; i < rampPlaces_.size(); ++i) {
        if (PtInRect(&rampPlaces_[i], point))
            tone_.ChooseRamp(i);
    }
    for (std::size_t i = 0; i < stepPlaces_.size(); ++i) {
        const RECT& place = stepPlaces_[i];
        if (!PtInRect(&place, point))
            continue;
        const int step = point.x < (place.left + place.right) / 2 ? -1 : 1;
        i == 0 ? tone_.StepGamma(step) : tone_.StepSigma(step);
    }
}

LRESULT SidePanel::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT:
        Paint();
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
        OnClick({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        return 0;
    case WM_GETTEXT:
    case WM_GETTEXTLENGTH: {
        std::wstring text;
        for (const auto& [name, value] : Rows())
            text += name + L" " + value + L"\n";
        return AnswerText(text, message, wParam, lParam);
    }
    default:
        return Default(message, wParam, lParam);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client::View
