#include "client/view/viewport.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

Viewport Of(const Size& image, const Size& window)
{
    Viewport viewport(image);
    viewport.Resize(window);
    return viewport;
}

TEST(ViewportTest, FirstFitsTheImageIntoTheMiddle)
{
    const Viewport viewport = Of({100, 50}, {400, 400});
    EXPECT_DOUBLE_EQ(viewport.Scale(), 4.0);
    EXPECT_EQ(viewport.Shown(), (Rectangle{0, 100, 400, 300}));
}

TEST(ViewportTest, StaysFittedWhenTheWindowChanges)
{
    Viewport viewport = Of({100, 100}, {200, 200});
    viewport.Resize({50, 80});
    EXPECT_DOUBLE_EQ(viewport.Scale(), 0.5);
    EXPECT_EQ(viewport.Shown(), (Rectangle{0, 15, 50, 65}));
}

TEST(ViewportTest, KeepsThePlaceInTheMiddleWhenTheWindowChanges)
{
    Viewport viewport = Of({1000, 1000}, {200, 200});
    viewport.ScaleTo(1, {100, 100});
    viewport.Pan(-37, 20);
    const Point before = viewport.PixelAt(viewport.Middle());
    viewport.Resize({300, 140});
    EXPECT_EQ(viewport.PixelAt(viewport.Middle()), before);
    EXPECT_DOUBLE_EQ(viewport.Scale(), 1.0);
}

TEST(ViewportTest, ThePixelUnderThePointerStaysThereWhileZooming)
{
    Viewport viewport = Of({640, 480}, {640, 480});
    const Point pointer = {200, 333};
    const Point pixel = viewport.PixelAt(pointer);
    for (int step = 0; step < 10; ++step) {
        viewport.Zoom(1, pointer);
        EXPECT_EQ(viewport.PixelAt(pointer), pixel) << viewport.Scale();
    }
}

TEST(ViewportTest, ZoomingInAndOutEndsWhereItBegan)
{
    Viewport viewport = Of({640, 480}, {320, 240});
    viewport.ScaleTo(2, {11, 222});
    const Rectangle before = viewport.ToWindow({100, 100, 101, 101});
    viewport.Zoom(5, {300, 17});
    viewport.Zoom(-5, {300, 17});
    EXPECT_DOUBLE_EQ(viewport.Scale(), 2.0);
    EXPECT_EQ(viewport.ToWindow({100, 100, 101, 101}), before);
}

TEST(ViewportTest, TheLadderOfScales)
{
    struct Case
    {
        double scale, next, previous;
    };
    for (const auto& [scale, next, previous] : {Case{1, 1.5, 0.75},
                                                {1.5, 2, 1},
                                                {2, 3, 1.5},
                                                {0.75, 1, 0.5},
                                                {0.5, 0.75, 0.375},
                                                {0.7511, 1, 0.5},
                                                {1.99, 3, 1.5},
                                                {1.2, 1.5, 1},
                                                {0.9, 1, 0.75},
                                                {3, 4, 2}}) {
        EXPECT_DOUBLE_EQ(NextScale(scale), next) << scale;
        EXPECT_DOUBLE_EQ(PreviousScale(scale), previous) << scale;
    }
}

TEST(ViewportTest, ScalesEndAtTheFittedImageAndAtSixtyFour)
{
    Viewport viewport = Of({100000, 100}, {1000, 1000});
    EXPECT_DOUBLE_EQ(viewport.Scale(), 0.01);
    viewport.Zoom(-5, {0, 0});
    EXPECT_DOUBLE_EQ(viewport.Scale(), 0.01);
    viewport.Zoom(100, {0, 0});
    EXPECT_DOUBLE_EQ(viewport.Scale(), 64);
}

TEST(ViewportTest, ALargePictureCannotBePulledOutOfTheWindow)
{
    Viewport viewport = Of({1000, 1000}, {100, 100});
    viewport.ScaleTo(1, {50, 50});
    viewport.Pan(100000, -100000);
    EXPECT_EQ(viewport.PixelAt({0, 0}), (Point{0, 900}));
    EXPECT_EQ(viewport.PixelAt({99, 99}), (Point{99, 999}));
}

TEST(ViewportTest, KnowsThePixelOfEveryPointAtOneToOne)
{
    Viewport viewport = Of({512, 512}, {800, 600});
    viewport.ScaleTo(1, {0, 0});
    EXPECT_EQ(viewport.Shown(), (Rectangle{144, 44, 656, 556}));
    EXPECT_EQ(viewport.PixelAt({144, 44}), (Point{0, 0}));
    EXPECT_EQ(viewport.PixelAt({655, 555}), (Point{511, 511}));
    EXPECT_TRUE(viewport.IsOnImage({655, 555}));
    EXPECT_FALSE(viewport.IsOnImage({656, 555}));
    EXPECT_FALSE(viewport.IsOnImage({143, 44}));
}

TEST(ViewportTest, APixelIsRevealedWithTheLeastMovement)
{
    Viewport viewport = Of({1000, 1000}, {100, 100});
    viewport.ScaleTo(2, {0, 0});
    viewport.Reveal({400, 3});
    EXPECT_EQ(viewport.PixelAt({99, 99}).x, 400);
    const Point origin = viewport.Origin();
    viewport.Reveal({380, 10});
    EXPECT_EQ(viewport.Origin(), origin) << "it is seen already";
}

TEST(ViewportTest, EveryWindowPixelThatShowsAPixelIsInItsRectangle)
{
    for (const double scale : {0.1, 0.33, 0.75, 1.0, 1.5, 7.3}) {
        Viewport viewport = Of({300, 300}, {211, 173});
        viewport.ScaleTo(scale, {17, 30});
        for (std::int32_t y = 0; y < 173; y += 5) {
            for (std::int32_t x = 0; x < 211; x += 7) {
                if (!viewport.IsOnImage({x, y}))
                    continue;
                const auto [px, py] = viewport.PixelAt({x, y});
                const Rectangle pixel = viewport.ToWindow({px, py, px + 1, py + 1});
                EXPECT_TRUE(pixel.left <= x && x < pixel.right && pixel.top <= y && y < pixel.bottom)
                    << scale << " at " << x << ", " << y;
            }
        }
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
