// Images of extreme sizes, and what is left when many have come and gone.
#include "tests/component/component_test.h"
#include "tests/component/handle_count.h"

#include <psapi.h>

#include <cstdint>

namespace {

struct Usage
{
    DWORD handles = 0;
    size_t privateBytes = 0;
};

Usage CurrentUsage()
{
    Usage usage;
    usage.handles = HandleCount();
    EXPECT_NE(usage.handles, 0u);
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                         sizeof(counters));
    usage.privateBytes = counters.PrivateUsage;
    return usage;
}

void CreateUseAndReleaseAnImage()
{
    const auto image = GreyImage(64, 64, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    static_cast<std::uint8_t*>(writer->Ptr(0))[4095] = 1;
    ASSERT_HR(S_OK, writer->Invalidate(nullptr));
}

} // namespace

TEST(Resources, AnImageOfOneByte)
{
    const auto image = GreyImage(1, 1, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    *static_cast<std::uint8_t*>(writer->Ptr(0)) = 200;
    ComPtr<ITavlo2> clone;
    ASSERT_HR(S_OK, image->Clone(Tavlo_ReadOnly, &clone));
    ComPtr<IReadAccessor> reader;
    ASSERT_HR(S_OK, clone->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(*static_cast<std::uint8_t*>(reader->Ptr(0)), 200);
}

TEST(Resources, AnImageOfOneAndAHalfGibibytes)
{
    const long width = 32768;
    const long height = 49152;
    const auto image = GreyImage(width, height, Tavlo_SingleWriter);
    ASSERT_NE(image, nullptr);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    const long last = 1610612735;
    ASSERT_EQ(std::int64_t{width} * height - 1, last);
    *static_cast<std::uint8_t*>(writer->Ptr(0)) = 1;
    *static_cast<std::uint8_t*>(writer->Ptr(last)) = 2;
    ComPtr<IReadAccessor> reader;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(*static_cast<std::uint8_t*>(reader->Ptr(0)), 1);
    EXPECT_EQ(*static_cast<std::uint8_t*>(reader->Ptr(last)), 2);
}

TEST(Resources, TenThousandImagesLeaveNothingBehind)
{
    for (int i = 0; i < 100; ++i)
        CreateUseAndReleaseAnImage();
    const Usage before = CurrentUsage();
    for (int i = 0; i < 10000; ++i)
        CreateUseAndReleaseAnImage();
    const Usage after = CurrentUsage();
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_LT(after.privateBytes, before.privateBytes + 1024 * 1024) << "less than 105 bytes an image";
}
