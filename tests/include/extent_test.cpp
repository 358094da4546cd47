#include "tests/component/image/extent_cases.h"
#include "tests/include/wrapper_test.h"

#include <thread>

TEST(WrapperExtent, IsTheComponentsRule)
{
    for (const ExtentCase& tested : extentCases) {
        const tavlo::descriptor geometry = {.width = tested.width,
                                            .height = tested.height,
                                            .encoding = static_cast<TavloEncoding>(tested.encoding),
                                            .bits = tested.bits,
                                            .stride_x = tested.strideX,
                                            .stride_y = tested.strideY,
                                            .offset = tested.offset};
        EXPECT_EQ(tested.liesWithin, tavlo::detail::lies_within(geometry, tested.bytes)) << tested.name;
    }
}

TEST(WrapperExtent, IsHeldAgainstTheMemoryOfAnImageFromElsewhere)
{
    const std::wstring name = L"Tavlo-test-extent-" + std::to_wstring(GetCurrentProcessId());
    const HANDLE section =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str());
    const auto fitting = tavlo::image::adopt(name, Grey(64, 64), Tavlo_MultipleWriters);
    const auto larger = tavlo::image::adopt(name, Grey(1000, 1000), Tavlo_MultipleWriters);
    CloseHandle(section);
    EXPECT_TRUE(larger.read()) << "who adopts is trusted";
    EXPECT_TRUE(tavlo::image(larger.get()).read()) << "and so is this process";
    ComPtr<IStream> packets[2];
    ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_ITavlo2, fitting.get(), &packets[0]));
    ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_ITavlo2, larger.get(), &packets[1]));
    std::thread([&] {
        const tavlo::apartment apartment(COINIT_APARTMENTTHREADED);
        tavlo::com_ptr<ITavlo2> received[2];
        for (int i = 0; i < 2; ++i)
            ASSERT_HR(S_OK, CoGetInterfaceAndReleaseStream(packets[i].Detach(), IID_ITavlo2,
                                                           received[i].put_void()));
        EXPECT_TRUE(tavlo::image(received[0]).read());
        const tavlo::image claimed(received[1]);
        EXPECT_THROWS_HR(E_INVALIDARG, claimed.read());
        EXPECT_THROWS_HR(E_INVALIDARG, claimed.write());
        EXPECT_THROWS_HR(E_INVALIDARG, claimed.try_write());
    }).join();
}
