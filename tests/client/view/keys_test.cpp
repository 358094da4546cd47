#include "client/view/keys.h"

#include "tests/client/view/recording_display.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

TEST(KeysTest, NoKeyHasTwoTasks)
{
    std::set<std::pair<std::uint32_t, std::uint32_t>> seen;
    for (const Key& key : Keys())
        EXPECT_TRUE(seen.insert({key.code, key.modifiers}).second) << key.code;
}

TEST(KeysTest, EveryTaskHasAKey)
{
    std::set<void (*)(const KeyTargets&)> tasks;
    for (const Key& key : Keys())
        tasks.insert(key.press);
    EXPECT_EQ(tasks.size(), 36u);
}

/// Keys that are pressed on an image of 64 x 48 pixels in a window of the same size.
class PressedKeysTest : public testing::Test, private WindowActions
{
protected:
    PressedKeysTest() : pixels_(64 * 48), scene({64, 48, 8, Encoding::Unsigned, 0, 1, 64}, Filled())
    {
        scene.viewport.Resize({64, 48});
        scene.viewport.ScaleTo(1, {0, 0});
        scene.probe = {32, 24};
        scene.producer = Producer::Alive;
        tone_.Reset();
    }

    bool Press(std::uint32_t code, std::uint32_t modifiers = Plain)
    {
        const Key* const key = FindKey(code, modifiers);
        if (key != nullptr)
            key->press({navigation_, tone_, region_, *this});
        return key != nullptr;
    }

    static constexpr std::uint32_t enter = 0x0D, escape = 0x1B, left = 0x25, up = 0x26, right = 0x27,
                                   down = 0x28, f1 = 0x70, f11 = 0x7A, plus = 0xBB, minus = 0xBD;

    std::string done; ///< to the window

private:
    const std::uint8_t* Filled()
    {
        std::iota(pixels_.begin(), pixels_.end(), std::uint8_t{0});
        return pixels_.data();
    }

    void TogglePanel() override { done += "panel "; }
    void ToggleFullScreen() override { done += "full-screen "; }
    void ToggleKeyList() override { done += "key-list "; }
    void Cancel() override { done += "cancel "; }
    void Close() override { done += "close "; }
    int Px(int length) const override { return 2 * length; }

    std::vector<std::uint8_t> pixels_;

protected:
    Scene scene;
    RecordingDisplay display;

private:
    Navigation navigation_{scene, display};
    ToneControl tone_{scene, display, {}};
    RegionSelection region_{scene, display, navigation_, tone_};
};

TEST(KeysTest, AreFoundWithTheirModifiersOnly)
{
    EXPECT_NE(FindKey('C', Shift), nullptr);
    EXPECT_NE(FindKey('C', Shift)->press, FindKey('C', Plain)->press);
    EXPECT_EQ(FindKey('C', Control), nullptr);
}

TEST_F(PressedKeysTest, MoveTheProbe)
{
    EXPECT_TRUE(Press(left, Control));
    EXPECT_TRUE(Press(up, Control | Shift));
    EXPECT_EQ(scene.probe, (Point{31, 8}));
    EXPECT_TRUE(scene.isProbeMarked);
    EXPECT_TRUE(Press(right, Control | Shift));
    EXPECT_TRUE(Press(down, Control));
    EXPECT_EQ(scene.probe, (Point{47, 9}));
}

TEST_F(PressedKeysTest, ZoomAndPan)
{
    EXPECT_TRUE(Press(plus, Shift));
    EXPECT_EQ(scene.viewport.Scale(), 1.5);
    EXPECT_TRUE(Press(minus));
    EXPECT_EQ(scene.viewport.Scale(), 1);
    for (int i = 0; i < 4; ++i)
        Press(plus);
    const Point before = scene.viewport.Origin();
    EXPECT_TRUE(Press(right));
    EXPECT_LT(scene.viewport.Origin().x, before.x);
    EXPECT_TRUE(Press('1'));
    EXPECT_EQ(scene.viewport.Scale(), 1);
    EXPECT_TRUE(Press('F'));
    EXPECT_TRUE(scene.viewport.IsFitted());
}

TEST_F(PressedKeysTest, ChangeTheTone)
{
    EXPECT_TRUE(Press('C', Shift));
    EXPECT_EQ(scene.ramp, Ramps().size() - 1);
    EXPECT_TRUE(Press('C'));
    EXPECT_EQ(scene.ramp, 0u);
    EXPECT_TRUE(Press('I'));
    EXPECT_TRUE(scene.isRampTurned);
    EXPECT_TRUE(Press('G'));
    EXPECT_GT(scene.gamma.Value(), 1);
    EXPECT_TRUE(Press('S', Shift));
    EXPECT_LT(scene.sigma.Value(), 1);
    EXPECT_TRUE(Press(right, Shift));
    EXPECT_LT(scene.levels.white - scene.levels.black, 255);
    EXPECT_TRUE(Press('R'));
    EXPECT_EQ(scene.levels, FullLevels(scene.range));
    EXPECT_EQ(scene.gamma.Value(), 1);
    EXPECT_GT(display.tones, 0);
}

TEST_F(PressedKeysTest, BrighterIsToSeeMoreAndDarkerLess)
{
    const double before = scene.levels.black;
    EXPECT_TRUE(Press(up, Shift));
    EXPECT_LT(scene.levels.black, before);
    EXPECT_TRUE(Press(down, Shift));
    EXPECT_TRUE(Press(down, Shift));
    EXPECT_GT(scene.levels.black, before);
}

TEST_F(PressedKeysTest, FollowTheProducerAndNoLonger)
{
    EXPECT_TRUE(Press('A', Shift));
    EXPECT_TRUE(scene.isFollowing);
    EXPECT_TRUE(Press('A', Shift));
    EXPECT_FALSE(scene.isFollowing);
    Press('A', Shift);
    EXPECT_TRUE(Press('A'));
    EXPECT_FALSE(scene.isFollowing);
    scene.producer = Producer::Closed;
    Press('A', Shift);
    EXPECT_FALSE(scene.isFollowing);
}

TEST_F(PressedKeysTest, ChooseARegion)
{
    scene.probe = {2, 1};
    EXPECT_TRUE(Press('M'));
    Press(right, Control);
    EXPECT_EQ(scene.Region(), (Rectangle{2, 1, 4, 2}));
    EXPECT_TRUE(Press(enter));
    EXPECT_EQ(scene.Region(), std::nullopt);
    EXPECT_EQ(scene.levels, (Levels{66, 67}));
}

TEST_F(PressedKeysTest, DoThingsToTheWindow)
{
    for (const std::uint32_t key : {std::uint32_t{'H'}, f11, f1, escape, std::uint32_t{'Q'}})
        EXPECT_TRUE(Press(key));
    EXPECT_EQ(done, "panel full-screen key-list cancel close ");
    EXPECT_TRUE(Press('W', Control));
    EXPECT_FALSE(Press('W'));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client::View
