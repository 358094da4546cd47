#include "tests/include/wrapper_test.h"

#include <vector>

namespace {

/// A 4 x 3 image whose pixels count from 1.
template <class T>
tavlo::image Counting(const tavlo::descriptor& geometry)
{
    const auto image = tavlo::image::create(geometry);
    const auto pixels = image.write<T>();
    int next = 1;
    for (std::int32_t y = 0; y < pixels.height(); ++y)
        for (std::int32_t x = 0; x < pixels.width(); ++x)
            pixels.at(x, y) = static_cast<T>(next++);
    return image;
}

tavlo::descriptor Words(std::int32_t width, std::int32_t height)
{
    return {.width = width, .height = height, .encoding = Tavlo_Unsigned, .bits = 16};
}

tavlo::descriptor Colours(std::int32_t width, std::int32_t height)
{
    return {.width = width, .height = height, .encoding = Tavlo_RGBA};
}

} // namespace

TEST(WrapperRecoder, ScalesFromImageToImage)
{
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    const auto target = tavlo::image::create(Words(4, 3));
    tavlo::recoder().recode(source.read<std::uint8_t>(), target.write<std::uint16_t>());
    const auto pixels = target.read<std::uint16_t>();
    EXPECT_EQ(257, pixels.at(0, 0));
    EXPECT_EQ(12 * 257, pixels.at(3, 2));
}

TEST(WrapperRecoder, CastsPlainValues)
{
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    const auto target = tavlo::image::create(Words(4, 3));
    tavlo::recoder().cast(source.read(), target.write());
    EXPECT_EQ(12, target.read<std::uint16_t>().at(3, 2));
}

TEST(WrapperRecoder, RewritesTheSameType)
{
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    const auto target = tavlo::image::create(Grey(4, 3));
    const tavlo::recoder recoder;
    recoder.rewrite(source.read(), target.write(), {.to = {.x = 2, .y = 1}});
    EXPECT_EQ(1, target.read<std::uint8_t>().at(2, 1)) << "the rest is clipped";
    EXPECT_THROWS_HR(E_FAIL, recoder.rewrite(source.read(), tavlo::image::create(Words(4, 3)).write()));
}

TEST(WrapperRecoder, MovesARectangleToAPoint)
{
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    const auto target = tavlo::image::create(Words(4, 3));
    const tavlo::recoder recoder;
    recoder.cast(source.read(), target.write(), {.from = tavlo::rect{1, 1, 3, 2}, .to = {.x = 2, .y = 2}});
    std::vector<int> found;
    const auto pixels = target.read<std::uint16_t>();
    for (const auto row : pixels.rows())
        found.insert(found.end(), row.begin(), row.end());
    EXPECT_EQ((std::vector{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 6, 7}), found);
    recoder.recode(source.read(), target.write(), {.from = tavlo::rect{0, 0, 1, 1}, .to = {.x = 1}});
    EXPECT_EQ(257, target.read<std::uint16_t>().at(1, 0));
    EXPECT_THROWS_HR(E_INVALIDARG,
                     recoder.recode(source.read(), target.write(), {.from = tavlo::rect{0, 0, 5, 1}}));
    EXPECT_THROWS_HR(E_INVALIDARG, recoder.cast(source.read(), target.write(), {.to = {.x = 1}}));
}

TEST(WrapperRecoder, TakesMemoryThatIsNoImage)
{
    const std::vector<std::uint8_t> grey = {0, 128, 255};
    std::vector<float> floats(3);
    const tavlo::descriptor source = Grey(3, 1);
    const tavlo::descriptor target{.width = 3, .height = 1, .encoding = Tavlo_Float};
    tavlo::recoder().recode({source, grey.data()}, {target, floats.data()});
    EXPECT_EQ((std::vector<float>{0.0f, static_cast<float>(128.0 / 255.0), 1.0f}), floats);
}

TEST(WrapperRecoder, StaysInsideItsChannel)
{
    const std::vector<tavlo::descriptor> channels = {
        Grey(4, 3), {.width = 4, .height = 3, .encoding = Tavlo_Unsigned, .offset = 12}};
    const auto source = tavlo::image::create(channels);
    source.write().channel<std::uint8_t>(1).at(0, 0) = 5;
    const auto target = tavlo::image::create(Words(4, 3));
    tavlo::recoder().cast(source.read(1), target.write());
    EXPECT_EQ(5, target.read<std::uint16_t>().at(0, 0));
}

TEST(WrapperRecoder, KnowsTheSizeOfImages)
{
    const tavlo::recoder recoder;
    EXPECT_EQ(12u, recoder.data_size(Grey(4, 3)));
    const std::vector<tavlo::descriptor> channels = {
        Grey(4, 3), {.width = 4, .height = 3, .encoding = Tavlo_Unsigned, .bits = 16, .offset = 100}};
    EXPECT_EQ(124u, recoder.data_size(channels));
}

TEST(WrapperRecoder, UsesAServiceThatIsThere)
{
    const auto service = Create<IRecode>(CLSID_CoRecoder);
    const tavlo::recoder recoder(service.Get());
    EXPECT_EQ(service.Get(), recoder.get());
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    recoder.lut(source.descriptor(), Words(4, 3));
}

TEST(WrapperLutRecoder, HasTheToneCurveByName)
{
    tavlo::lut_recoder recoder(Grey(4, 3), Words(4, 3), {.contrast = 2, .gamma = 0.5});
    EXPECT_EQ((tavlo::tone{.contrast = 2, .brightness = 0, .gamma = 0.5, .sigma = 1}), recoder.curve());
    recoder.set({.brightness = 0.25, .sigma = 3});
    EXPECT_EQ((tavlo::tone{.contrast = 1, .brightness = 0.25, .gamma = 1, .sigma = 3}), recoder.curve());
    double value = 0;
    ASSERT_HR(S_OK, recoder.get()->GetBrightness(&value));
    EXPECT_EQ(0.25, value);
    ASSERT_HR(S_OK, recoder.get()->GetSigma(&value));
    EXPECT_EQ(3, value);
}

TEST(WrapperLutRecoder, ConvertsAgainWithAnotherCurve)
{
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    const auto target = tavlo::image::create(Words(4, 3));
    auto recoder = tavlo::recoder().lut(source.descriptor(), target.descriptor());
    recoder.recode(source.read(), target.write());
    EXPECT_EQ(257, target.read<std::uint16_t>().at(0, 0));
    recoder.set({.contrast = 2});
    recoder.recode(source.read(), target.write(), {.from = tavlo::rect{0, 0, 1, 1}});
    EXPECT_EQ(514, target.read<std::uint16_t>().at(0, 0));
    EXPECT_EQ(514, target.read<std::uint16_t>().at(1, 0)) << "outside the rectangle";
    recoder.cast(source.read(), target.write(), {.to = {}});
    EXPECT_EQ(2, target.read<std::uint16_t>().at(1, 0));
}

TEST(WrapperLutRecoder, ColoursWithARamp)
{
    const auto source = tavlo::image::create(Grey(3, 1));
    {
        const auto pixels = source.write<std::uint8_t>();
        pixels.at(1, 0) = 128;
        pixels.at(2, 0) = 255;
    }
    const auto target = tavlo::image::create(Colours(3, 1));
    tavlo::lut_recoder recoder(source.descriptor(), target.descriptor());
    recoder.set_color(0, {.r = 10, .g = 20, .b = 30});
    recoder.set_color(1, {.r = 40, .g = 50, .b = 60, .a = 70});
    EXPECT_EQ((tavlo::rgba{.r = 10, .g = 20, .b = 30, .a = 255}), recoder.color(0));
    EXPECT_EQ((tavlo::rgba{.r = 40, .g = 50, .b = 60, .a = 70}), recoder.color(1));
    recoder.recode(source.read<std::uint8_t>(), target.write<tavlo::rgba>());
    const auto pixels = target.read<tavlo::rgba>();
    EXPECT_EQ((tavlo::rgba{.r = 10, .g = 20, .b = 30}), pixels.at(0, 0));
    EXPECT_EQ((tavlo::rgba{.r = 40, .g = 50, .b = 60, .a = 70}), pixels.at(2, 0));
    recoder.reset_colors();
    EXPECT_EQ((tavlo::rgba{}), recoder.color(0));
    EXPECT_EQ((tavlo::rgba{.r = 255, .g = 255, .b = 255}), recoder.color(1));
}

TEST(WrapperLutRecoder, RefusesColoursWithoutARamp)
{
    tavlo::lut_recoder recoder(Grey(4, 3), Words(4, 3));
    EXPECT_THROWS_HR(E_INVALIDARG, recoder.set_color(0.5, {}));
    EXPECT_EQ((tavlo::rgba{.r = 127, .g = 127, .b = 127}), recoder.color(0.5));
}

TEST(WrapperLutRecoder, RefusesOtherGeometriesThanItsOwn)
{
    const auto source = Counting<std::uint8_t>(Grey(4, 3));
    const auto target = tavlo::image::create(Words(4, 3));
    tavlo::lut_recoder recoder(source.descriptor(), target.descriptor());
    const auto larger = tavlo::image::create(Words(5, 3));
    const auto error = ErrorOf([&] { recoder.recode(source.read(), larger.write()); });
    EXPECT_HR(E_INVALIDARG, error.code());
    EXPECT_EQ(L"the recoder was made for other descriptors", error.description());
    EXPECT_THROWS_HR(E_INVALIDARG, recoder.cast(larger.read(), target.write()));
}

TEST(WrapperLutRecoder, TellsWhichPairItDoesNotKnow)
{
    const tavlo::descriptor complex{.width = 4, .height = 3, .encoding = Tavlo_Complex_Float, .bits = 64};
    const auto error = ErrorOf([&] { tavlo::lut_recoder(Grey(4, 3), complex); });
    EXPECT_NE(std::wstring::npos, error.description().find(L"Complex_Float")) << error.what();
}
