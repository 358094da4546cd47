#include "tests/include/wrapper_test.h"

#include <vector>

namespace {

/// A section of this process, for images to adopt.
class Section
{
public:
    explicit Section(DWORD size)
        : handle_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name)),
          memory_(static_cast<std::uint8_t*>(MapViewOfFile(handle_, FILE_MAP_ALL_ACCESS, 0, 0, 0)))
    {
    }
    ~Section()
    {
        UnmapViewOfFile(memory_);
        CloseHandle(handle_);
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    std::uint8_t& operator[](std::size_t index) const { return memory_[index]; }

    static constexpr const wchar_t* name = L"Local\\tavlo wrapper test";

private:
    HANDLE handle_;
    std::uint8_t* memory_;
};

std::vector<tavlo::descriptor> TwoChannels()
{
    return {{.width = 4, .height = 3, .encoding = Tavlo_Unsigned},
            {.width = 4, .height = 3, .encoding = Tavlo_Signed, .bits = 16, .offset = 12}};
}

} // namespace

TEST(WrapperImage, IsNewAndZero)
{
    const auto image = tavlo::image::create(Grey(640, 480));
    EXPECT_EQ(640, image.width());
    EXPECT_EQ(480, image.height());
    EXPECT_EQ(Grey(640, 480), image.descriptor());
    const auto pixels = image.read<std::uint8_t>();
    for (const auto row : pixels.rows())
        for (const std::uint8_t pixel : row)
            ASSERT_EQ(0, pixel);
}

TEST(WrapperImage, ReportsWhyItCannotBeMade)
{
    const auto error =
        ErrorOf([] { tavlo::image::create({.width = 4, .height = 3, .encoding = Tavlo_Data}); });
    EXPECT_LT(error.code(), 0);
    EXPECT_EQ(0u, std::string(error.what()).find("create an image: ")) << error.what();
}

TEST(WrapperImage, WritesWhatOthersRead)
{
    const auto image = tavlo::image::create(Grey(4, 3));
    {
        const auto writing = image.write<std::uint8_t>();
        writing.at(3, 2) = 77;
        writing.row(0)[1] = 5;
    }
    ComPtr<IReadAccessor> raw;
    ASSERT_HR(S_OK, image.get()->GetReadAccess(nullptr, 1.0, &raw));
    const auto* bytes = static_cast<const std::uint8_t*>(raw->Ptr(0));
    EXPECT_EQ(77, bytes[11]);
    EXPECT_EQ(5, bytes[1]);
    EXPECT_EQ(77, image.read<std::uint8_t>()(3, 2));
}

TEST(WrapperImage, FollowsOffsetsAndNegativeStrides)
{
    const auto image = tavlo::image::create({.width = 3,
                                             .height = 2,
                                             .encoding = Tavlo_Unsigned,
                                             .bits = 16,
                                             .stride_x = -4,
                                             .stride_y = -14,
                                             .offset = 24});
    const auto access = image.write();
    const auto pixels = access.channel<std::uint16_t>(0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            pixels.at(x, y) = static_cast<std::uint16_t>(10 * y + x + 1);
    const auto* words = static_cast<const std::uint16_t*>(access.base());
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(10 * y + x + 1, words[(24 - 4 * x - 14 * y) / 2]) << x << ", " << y;
}

TEST(WrapperImage, GivesWriteAccessToOneAtATime)
{
    const auto image = tavlo::image::create(Grey(4, 3));
    auto first = image.write<std::uint8_t>();
    const auto error = ErrorOf([&] { image.write<std::uint8_t>(); });
    EXPECT_HR(E_ACCESSDENIED, error.code());
    EXPECT_FALSE(image.try_write<std::uint8_t>());
    EXPECT_FALSE(image.try_write());
    first = {};
    EXPECT_FALSE(first);
    EXPECT_TRUE(image.try_write<std::uint8_t>());
    EXPECT_TRUE(image.try_write());
}

TEST(WrapperImage, RefusesWritingWhenItIsReadOnly)
{
    const auto image = tavlo::image::create(Grey(4, 3), Tavlo_ReadOnly);
    EXPECT_THROWS_HR(E_ACCESSDENIED, image.write());
    EXPECT_FALSE(image.try_write());
    EXPECT_TRUE(image.read());
}

TEST(WrapperImage, RefusesViewsOfOtherTypes)
{
    const auto image =
        tavlo::image::create({.width = 4, .height = 3, .encoding = Tavlo_Unsigned, .bits = 12});
    const auto error = ErrorOf([&] { image.read<float>(); });
    EXPECT_HR(DISP_E_TYPEMISMATCH, error.code());
    EXPECT_STREQ("view the pixels: Unsigned of 12 bits are not what the view's type holds (0x80020005)",
                 error.what());
    EXPECT_THROWS_HR(DISP_E_TYPEMISMATCH, image.write<std::uint8_t>());
    EXPECT_TRUE(image.try_write()) << "the refused view must have given back its access";
    EXPECT_NO_THROW(image.read<std::uint16_t>());
}

TEST(WrapperImage, RefusesAddressesThatTheTypeCannotHave)
{
    const auto image = tavlo::image::create({.width = 3,
                                             .height = 2,
                                             .encoding = Tavlo_Unsigned,
                                             .bits = 16,
                                             .stride_x = 3,
                                             .stride_y = 9,
                                             .offset = 1});
    const auto error = ErrorOf([&] { image.read<std::uint16_t>(); });
    EXPECT_HR(DISP_E_TYPEMISMATCH, error.code());
    EXPECT_NE(std::string::npos, std::string(error.what()).find("tavlo::unaligned")) << error.what();
    const auto pixels = image.write<tavlo::unaligned<std::uint16_t>>();
    pixels.at(2, 1) = std::uint16_t{0x1234};
    const auto* bytes = static_cast<const std::uint8_t*>(pixels.base());
    EXPECT_EQ(0x34, bytes[1 + 9 + 6]);
    EXPECT_EQ(0x12, bytes[1 + 9 + 7]);
}

TEST(WrapperImage, RefusesSamplesThatWouldOverlap)
{
    const auto image =
        tavlo::image::create({.width = 3, .height = 2, .encoding = Tavlo_Unsigned, .bits = 24});
    EXPECT_EQ(3, image.descriptor().stride_x);
    const auto error = ErrorOf([&] { image.read<tavlo::unaligned<std::uint32_t>>(); });
    EXPECT_HR(DISP_E_TYPEMISMATCH, error.code());
}

TEST(WrapperImage, TakesStridesThatDoNotMatterAsTheyAre)
{
    const auto image = tavlo::image::create(
        {.width = 1, .height = 1, .encoding = Tavlo_Float, .stride_x = 1, .stride_y = -3, .offset = 4});
    image.write<float>().at(0, 0) = 0.5f;
    const auto pixels = image.read<float>();
    EXPECT_EQ(0.5f, pixels.row(0)[0]);
}

TEST(WrapperImage, ReadsColoursWithAFourthByte)
{
    const auto image = tavlo::image::create({.width = 2, .height = 2, .encoding = Tavlo_RGB, .bits = 32});
    const auto pixels = image.write<tavlo::rgb>();
    pixels.at(1, 1) = {.r = 1, .g = 2, .b = 3};
    EXPECT_FALSE(pixels.packed());
    const auto* bytes = static_cast<const std::uint8_t*>(pixels.base());
    EXPECT_EQ(1, bytes[12]);
    EXPECT_EQ(3, bytes[14]);
    EXPECT_EQ(0, bytes[15]);
}

TEST(WrapperImage, HasBlocksOfBytes)
{
    const auto image =
        tavlo::image::create({.width = 1, .height = 1, .encoding = Tavlo_Data, .bits = 100, .offset = 8});
    const auto block = image.write<std::byte>();
    EXPECT_EQ(100, block.width());
    EXPECT_EQ(1, block.height());
    block.row(0).back() = std::byte{9};
    EXPECT_EQ(9, static_cast<const std::uint8_t*>(block.base())[107]);
}

TEST(WrapperImage, AdoptsASection)
{
    const Section section(12);
    section[6] = 42;
    const auto image = tavlo::image::adopt(Section::name, Grey(4, 3));
    EXPECT_EQ(42, image.read<std::uint8_t>().at(2, 1));
    image.write<std::uint8_t>().at(0, 0) = 7;
    EXPECT_EQ(7, section[0]);
    EXPECT_THROWS_HR(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
                     tavlo::image::adopt(L"Local\\tavlo no such section", Grey(4, 3)));
}

TEST(WrapperImage, AdoptsASectionWithSeveralChannels)
{
    const Section section(36);
    section[12 + 2 * 5] = 0xFE;
    section[12 + 2 * 5 + 1] = 0xFF;
    const auto image = tavlo::image::adopt(Section::name, TwoChannels());
    EXPECT_EQ(-2, image.read<std::int16_t>(1).at(1, 1));
    EXPECT_THROWS_HR(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
                     tavlo::image::adopt(L"Local\\tavlo no such section", TwoChannels()));
}

TEST(WrapperImage, WrapsWhatOthersMade)
{
    const auto object = GreyImage(5, 6, Tavlo_SingleWriter);
    const tavlo::image image(object.Get());
    EXPECT_EQ(object.Get(), image.get());
    EXPECT_EQ(Grey(5, 6), image.descriptor());
    ASSERT_EQ(1u, image.channels().size());
    const tavlo::image copy = image;
    EXPECT_EQ(image.get(), copy.get());
    copy.write<std::uint8_t>().at(4, 5) = 3;
    EXPECT_EQ(3, image.read<std::uint8_t>().at(4, 5));
}

TEST(WrapperImage, RefusesToWrapNothing)
{
    EXPECT_THROWS_HR(E_POINTER, tavlo::image(static_cast<ITavlo2*>(nullptr)));
    EXPECT_THROWS_HR(E_POINTER, tavlo::image(tavlo::com_ptr<ITavlo2>()));
}

TEST(WrapperImage, HasSeveralChannels)
{
    const auto channels = TwoChannels();
    const auto made = tavlo::image::create(channels);
    const tavlo::image image(made.get());
    ASSERT_EQ(2u, image.channels().size());
    EXPECT_EQ(channels[0], image.descriptor(0));
    EXPECT_EQ(channels[1], image.descriptor(1));
    EXPECT_EQ(channels[1], made.descriptor(1));
    {
        const auto access = image.write();
        access.channel<std::uint8_t>(0).at(3, 2) = 9;
        access.channel<std::int16_t>(1).at(3, 2) = -9;
    }
    EXPECT_EQ(9, image.read<std::uint8_t>().at(3, 2));
    EXPECT_EQ(-9, image.read<std::int16_t>(1).at(3, 2));
    const auto access = image.read(1);
    EXPECT_EQ(channels[1], access.descriptor());
    EXPECT_EQ(9, access.channel<std::uint8_t>(0).at(3, 2));
    const auto* bytes = static_cast<const std::uint8_t*>(access.base());
    EXPECT_EQ(9, bytes[11]);
    EXPECT_EQ(0xF7, bytes[34]);
}

TEST(WrapperImage, RefusesChannelsThatItHasNot)
{
    const auto image = tavlo::image::create(TwoChannels());
    const auto error = ErrorOf([&] { image.read<std::uint8_t>(2); });
    EXPECT_STREQ("find channel 2: the image has 2 channels (0x80070057)", error.what());
    EXPECT_THROWS_HR(E_INVALIDARG, image.descriptor(2));
    EXPECT_THROWS_HR(E_INVALIDARG, image.write(2));
    EXPECT_THROWS_HR(E_INVALIDARG, image.read(2));
    EXPECT_THROWS_HR(E_INVALIDARG, image.try_write(2));
    EXPECT_THROWS_HR(E_INVALIDARG, image.read().channel<std::uint8_t>(2));
}

TEST(WrapperImage, RefusesChannelsOfDifferentSizes)
{
    auto channels = TwoChannels();
    channels[1].height = 4;
    EXPECT_THROWS_HR(E_INVALIDARG, tavlo::image::create(channels));
    EXPECT_THROWS_HR(E_INVALIDARG, tavlo::image::create(std::span<const tavlo::descriptor>()));
}

TEST(WrapperImage, ClonesItsPixels)
{
    const auto image = tavlo::image::create(Grey(4, 3));
    image.write<std::uint8_t>().at(1, 1) = 11;
    const auto clone = image.clone();
    EXPECT_NE(image.get(), clone.get());
    EXPECT_EQ(image.descriptor(), clone.descriptor());
    image.write<std::uint8_t>().at(1, 1) = 12;
    EXPECT_EQ(11, clone.read<std::uint8_t>().at(1, 1));
    EXPECT_TRUE(clone.try_write());
    EXPECT_FALSE(image.clone(Tavlo_ReadOnly).try_write());
}

TEST(WrapperImage, LivesAsLongAsItsAccesses)
{
    auto image = tavlo::image::create(Grey(4, 3));
    image.write<std::uint8_t>().at(2, 2) = 4;
    const auto reading = image.read<std::uint8_t>();
    image = {};
    EXPECT_FALSE(image);
    EXPECT_EQ(4, reading.at(2, 2));
    EXPECT_EQ(Grey(4, 3), reading.descriptor());
}

TEST(WrapperImage, TemporariesGiveNothingThatOutlivesThem)
{
    constexpr auto row = [](auto&& pixels) -> decltype(std::forward<decltype(pixels)>(pixels).row(0)) {
        return {};
    };
    constexpr auto rows = [](auto&& pixels) -> decltype(std::forward<decltype(pixels)>(pixels).rows()) {
        return pixels.rows();
    };
    constexpr auto part = [](auto&& pixels) -> decltype(std::forward<decltype(pixels)>(pixels).part({})) {
        return {};
    };
    using reading = tavlo::read_view<float>;
    using writing = tavlo::write_view<float>;
    static_assert(std::is_invocable_v<decltype(row), reading&> &&
                  !std::is_invocable_v<decltype(row), reading>);
    static_assert(std::is_invocable_v<decltype(rows), reading&> &&
                  !std::is_invocable_v<decltype(rows), reading>);
    static_assert(std::is_invocable_v<decltype(part), writing&> &&
                  !std::is_invocable_v<decltype(part), writing>);
}

TEST(WrapperImage, AccessesMove)
{
    const auto image = tavlo::image::create(Grey(4, 3));
    auto first = image.write<std::uint8_t>();
    const auto second = std::move(first);
    EXPECT_FALSE(first);
    second.at(1, 0) = 8;
    EXPECT_EQ(8, image.read<std::uint8_t>().at(1, 0));
    static_assert(!std::is_copy_constructible_v<tavlo::write_view<float>>);
    static_assert(!std::is_copy_constructible_v<tavlo::read_view<float>>);
}
