#include "client/view/painter.h"
#include "tests/first_difference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

/// An image that is colours already.
class Colors final : public Converter
{
public:
    explicit Colors(const Size& size)
        : size_(size), pixels_(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height))
    {
        std::mt19937 random(7);
        for (std::uint32_t& pixel : pixels_)
            pixel = random() & 0xFFFFFF;
    }

    std::uint32_t At(std::int32_t x, std::int32_t y) const
    {
        return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
                       static_cast<std::size_t>(x)];
    }

    void Change(const Rectangle& part)
    {
        for (std::int32_t y = part.top; y < part.bottom; ++y)
            for (std::int32_t x = part.left; x < part.right; ++x)
                pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
                        static_cast<std::size_t>(x)] ^= 0xFFFFFF;
    }

    void Convert(const Rectangle& samples, std::int32_t step, const Surface& out) override
    {
        for (std::int32_t y = samples.top; y < samples.bottom; ++y) {
            for (std::int32_t x = samples.left; x < samples.right; ++x)
                out.Row(y - samples.top)[x - samples.left] =
                    At(FirstSample(size_.width, step) + x * step, FirstSample(size_.height, step) + y * step);
        }
        converted += PixelsOf(samples);
    }

    std::int64_t converted = 0;

private:
    Size size_;
    std::vector<std::uint32_t> pixels_;
};

struct Canvas
{
    explicit Canvas(const Size& size, std::uint32_t color = 0xDEADBEEF)
        : pixels(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), color),
          width(size.width)
    {
    }
    Surface Target() { return {pixels.data(), width}; }
    std::uint32_t At(std::int32_t x, std::int32_t y) { return Target().Row(y)[x]; }

    std::vector<std::uint32_t> pixels;
    std::int32_t width;
};

Viewport Of(const Size& image, const Size& window, double scale, const Point& at = {0, 0})
{
    Viewport viewport(image);
    viewport.Resize(window);
    viewport.ScaleTo(scale, at);
    return viewport;
}

/// The mean of a channel over the part of the image that a window pixel shows.
double MeanAt(const Colors& colors, const Viewport& viewport, std::int32_t x, std::int32_t y, int channel)
{
    const auto [width, height] = viewport.Image();
    const auto edge = [&](std::int32_t pixel, std::int32_t origin, std::int32_t extent) {
        const double at = (pixel - origin) / viewport.Scale();
        return std::clamp(std::round(at * 256) / 256, 0.0, static_cast<double>(extent));
    };
    const double left = edge(x, viewport.Origin().x, width);
    const double right = edge(x + 1, viewport.Origin().x, width);
    const double top = edge(y, viewport.Origin().y, height);
    const double bottom = edge(y + 1, viewport.Origin().y, height);
    double sum = 0;
    for (std::int32_t j = static_cast<std::int32_t>(top); j < std::ceil(bottom); ++j) {
        for (std::int32_t i = static_cast<std::int32_t>(left); i < std::ceil(right); ++i) {
            const double share = (std::min(right, i + 1.0) - std::max(left, i + 0.0)) *
                                 (std::min(bottom, j + 1.0) - std::max(top, j + 0.0));
            sum += share * (colors.At(i, j) >> 8 * channel & 0xFF);
        }
    }
    return sum / ((right - left) * (bottom - top));
}

TEST(PainterTest, CopiesPixelsAtOneToOneAndFillsAroundThem)
{
    Colors colors({50, 40});
    const Viewport viewport = Of({50, 40}, {80, 60}, 1);
    Canvas canvas({80, 60});
    Painter(colors).Paint(viewport, {0, 0, 80, 60}, canvas.Target());
    for (std::int32_t y = 0; y < 60; ++y) {
        for (std::int32_t x = 0; x < 80; ++x) {
            const bool isInside = x >= 15 && x < 65 && y >= 10 && y < 50;
            ASSERT_EQ(canvas.At(x, y), isInside ? colors.At(x - 15, y - 10) : Painter::background);
        }
    }
}

TEST(PainterTest, EnlargesPixelsToSquares)
{
    Colors colors({50, 40});
    for (const double scale : {1.5, 2.0, 3.7, 16.0}) {
        const Viewport viewport = Of({50, 40}, {80, 60}, scale, {33, 21});
        Canvas canvas({80, 60});
        Painter(colors).Paint(viewport, {0, 0, 80, 60}, canvas.Target());
        for (std::int32_t y = 0; y < 60; ++y) {
            for (std::int32_t x = 0; x < 80; ++x) {
                if (!viewport.IsOnImage({x, y}))
                    continue;
                const auto [px, py] = viewport.PixelAt({x, y});
                ASSERT_EQ(canvas.At(x, y), colors.At(px, py)) << scale;
            }
        }
    }
}

TEST(PainterTest, ReducesToTheMeanOfWhatAWindowPixelShows)
{
    Colors colors({301, 203});
    for (const double scale : {0.9, 0.75, 0.5, 0.333, 0.26}) {
        const Viewport viewport = Of({301, 203}, {120, 90}, scale, {33, 21});
        Canvas canvas({120, 90});
        Painter(colors).Paint(viewport, {0, 0, 120, 90}, canvas.Target());
        const Rectangle shown = viewport.Shown();
        for (std::int32_t y = shown.top; y < shown.bottom; ++y) {
            for (std::int32_t x = shown.left; x < shown.right; ++x) {
                for (int channel = 0; channel < 3; ++channel) {
                    ASSERT_NEAR(canvas.At(x, y) >> 8 * channel & 0xFF,
                                MeanAt(colors, viewport, x, y, channel), 0.5 + 1e-6)
                        << scale << " at " << x << ", " << y;
                }
            }
        }
    }
}

TEST(PainterTest, APartIsDrawnLikeTheWholeAndNothingBesideIt)
{
    Colors colors({301, 203});
    for (const double scale : {0.02, 0.11, 0.4, 1.0, 2.5}) {
        const Viewport viewport = Of({301, 203}, {120, 90}, scale, {60, 45});
        Canvas whole({120, 90});
        Painter(colors).Paint(viewport, {0, 0, 120, 90}, whole.Target());
        Canvas part({120, 90}, 1);
        const Rectangle rectangle = {31, 17, 77, 60};
        Painter(colors).Paint(viewport, rectangle, part.Target());
        for (std::int32_t y = 0; y < 90; ++y) {
            for (std::int32_t x = 0; x < 120; ++x) {
                const bool isInside = !IsEmpty(Intersection(rectangle, {x, y, x + 1, y + 1}));
                ASSERT_EQ(part.At(x, y), isInside ? whole.At(x, y) : 1u) << scale;
            }
        }
    }
}

TEST(PainterTest, RepaintingWhatAChangeAffectsIsEnough)
{
    for (const double scale : {0.013, 0.07, 0.11, 0.26, 0.4, 0.9, 1.0, 1.5, 3.7}) {
        Colors colors({601, 403});
        const Viewport viewport = Of({601, 403}, {120, 90}, scale, {60, 45});
        Canvas canvas({120, 90});
        Painter painter(colors);
        painter.Paint(viewport, {0, 0, 120, 90}, canvas.Target());
        for (const Rectangle& part :
             {Rectangle{300, 200, 301, 201}, {280, 190, 317, 222}, {0, 0, 601, 403}}) {
            colors.Change(part);
            painter.Paint(viewport, viewport.Affected(part), canvas.Target());
            Canvas whole({120, 90});
            painter.Paint(viewport, {0, 0, 120, 90}, whole.Target());
            ASSERT_TRUE(SamePixels(canvas.pixels, whole.pixels)) << scale;
        }
    }
}

TEST(PainterTest, LooksAtFewPixelsOfALargeImage)
{
    Colors colors({4000, 3000});
    const Viewport viewport = Of({4000, 3000}, {40, 30}, 0.01);
    Canvas canvas({40, 30});
    Painter(colors).Paint(viewport, {0, 0, 40, 30}, canvas.Target());
    EXPECT_LE(colors.converted, 40 * 30 * 64 * 2);
    EXPECT_GE(colors.converted, 40 * 30 * 16);
}

TEST(PainterTest, ConvertsNoMoreThanAPartShows)
{
    Colors colors({400, 300});
    const Viewport viewport = Of({400, 300}, {400, 300}, 1);
    Canvas canvas({400, 300});
    Painter(colors).Paint(viewport, {10, 10, 30, 40}, canvas.Target());
    EXPECT_EQ(colors.converted, 20 * 30);
}

TEST(PainterTest, DrawsImagesOfOneRowOneColumnAndOnePixel)
{
    for (const Size& size : {Size{1, 1}, {1, 700}, {700, 1}, {2, 3}}) {
        Colors colors(size);
        for (const double scale : {0.01, 0.2, 0.6, 1.0, 5.0}) {
            const Viewport viewport = Of(size, {64, 64}, scale, {32, 32});
            Canvas canvas({64, 64});
            Painter(colors).Paint(viewport, {0, 0, 64, 64}, canvas.Target());
            for (const std::uint32_t pixel : canvas.pixels)
                ASSERT_NE(pixel, 0xDEADBEEF);
        }
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
