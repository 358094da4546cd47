#include "tests/component/component_test.h"

#include <cstdint>

TEST(Accessor, GivesPointersIntoTheImage)
{
    const auto image = GreyImage(64, 64, Tavlo_MultipleWriters);
    ComPtr<IReadAccessor> reader;
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    auto* base = static_cast<std::uint8_t*>(writer->Ptr());
    EXPECT_EQ(writer->Ptr(0), base);
    EXPECT_EQ(reader->Ptr(), base);
    EXPECT_EQ(reader->Ptr(4095), base + 4095);
    base[4095] = 77;
    EXPECT_EQ(*static_cast<std::uint8_t*>(reader->Ptr(4095)), 77);
}

TEST(Accessor, TakesAnyOffset)
{
    const auto image = GreyImage(64, 64, Tavlo_SingleWriter);
    ComPtr<IReadAccessor> reader;
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    const auto base = reinterpret_cast<std::uintptr_t>(reader->Ptr(0));
    for (const long offset : {-16L, 1000000L, LONG_MIN, LONG_MAX}) {
        const std::uintptr_t expected =
            base + static_cast<std::uintptr_t>(static_cast<std::intptr_t>(offset));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(reader->Ptr(offset)), expected);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(writer->Ptr(offset)), expected);
    }
}

TEST(Accessor, ThatWasNeverAttachedHasNoPointer)
{
    EXPECT_EQ(Create<IReadAccessor>(CLSID_ReadAccessor)->Ptr(0), nullptr);
    EXPECT_EQ(Create<IReadAccessor>(CLSID_ReadAccessor)->Ptr(100), nullptr);
    EXPECT_EQ(Create<IWriteAccessor>(CLSID_WriteAccessor)->Ptr(0), nullptr);
    EXPECT_HR(E_UNEXPECTED, Create<IWriteAccessor>(CLSID_WriteAccessor)->Invalidate(nullptr));
}

TEST(Accessor, KeepsItsImageAlive)
{
    ComPtr<IReadAccessor> reader;
    ComPtr<IWriteAccessor> writer;
    {
        const auto image = GreyImage(1000, 1000, Tavlo_SingleWriter);
        ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
        ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    }
    static_cast<std::uint8_t*>(writer->Ptr(0))[999999] = 5;
    writer.Reset();
    EXPECT_EQ(static_cast<std::uint8_t*>(reader->Ptr(0))[999999], 5);
}

TEST(Accessor, LeavesTheViewMappedWhenItDies)
{
    const auto image = GreyImage(10, 10, Tavlo_SingleWriter);
    ComPtr<IReadAccessor> kept;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &kept));
    {
        ComPtr<IWriteAccessor> writer;
        ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
        static_cast<std::uint8_t*>(writer->Ptr(0))[3] = 8;
    }
    EXPECT_EQ(static_cast<std::uint8_t*>(kept->Ptr(0))[3], 8);
}

TEST(Accessor, AnswersForItsOwnInterfaceOnly)
{
    const auto image = GreyImage(10, 10, Tavlo_SingleWriter);
    ComPtr<IReadAccessor> reader;
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    ComPtr<IWriteAccessor> none;
    EXPECT_HR(E_NOINTERFACE, reader.As(&none));
    ComPtr<IReadAccessor> none2;
    EXPECT_HR(E_NOINTERFACE, writer.As(&none2));
}

TEST(Accessor, PassesTheRectangleOn)
{
    const auto image = GreyImage(10, 10, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    RECT rect = {-5, 3, 1000, 2};
    EXPECT_HR(S_OK, writer->Invalidate(&rect)) << "neither checked nor clipped";
    EXPECT_HR(S_OK, writer->Invalidate());
}
