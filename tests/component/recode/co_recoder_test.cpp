// The recode service as its clients call it; what it computes is tested with the
// platform-free converters.
#include "tests/component/component_test.h"

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

TavloDescriptorData Packed(long width, long height, long bits, TavloEncoding encoding)
{
    const long bytes = (bits + 7) / 8;
    return {width, height, bits, encoding, 0, bytes, width * bytes};
}

ComPtr<IRecode> Service()
{
    return Create<IRecode>(CLSID_CoRecoder);
}

ComPtr<ILUTRecode> LutRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target)
{
    ComPtr<ILUTRecode> recoder;
    EXPECT_HR(S_OK, Service()->CreateLUTRecoder(&source, &target, &recoder));
    return recoder;
}

const TavloDescriptorData grey8 = Packed(4, 1, 8, Tavlo_Unsigned);
const TavloDescriptorData grey16 = Packed(4, 1, 16, Tavlo_Unsigned);
const TavloDescriptorData signed8 = Packed(4, 1, 8, Tavlo_Signed);
const TavloDescriptorData rgb24 = Packed(4, 1, 24, Tavlo_RGB);
const std::array<std::uint8_t, 4> ramp = {0, 1, 128, 255};

} // namespace

TEST(Recoder, CopiesEqualTypes)
{
    std::array<std::uint8_t, 4> target = {};
    EXPECT_HR(S_OK, Service()->Recode(&grey8, ramp.data(), &grey8, target.data(), nullptr, nullptr));
    EXPECT_EQ(target, ramp);
}

TEST(Recoder, ScalesToTheTargetsRange)
{
    std::array<std::uint16_t, 4> target = {};
    EXPECT_HR(S_OK, Service()->Recode(&grey8, ramp.data(), &grey16,
                                      reinterpret_cast<std::uint8_t*>(target.data()), nullptr, nullptr));
    EXPECT_EQ(target, (std::array<std::uint16_t, 4>{0, 257, 32896, 65535}));
}

TEST(Recoder, CastsPlainValues)
{
    std::array<std::uint16_t, 4> target = {};
    EXPECT_HR(S_OK, Service()->Cast(&grey8, ramp.data(), &grey16,
                                    reinterpret_cast<std::uint8_t*>(target.data()), nullptr, nullptr));
    EXPECT_EQ(target, (std::array<std::uint16_t, 4>{0, 1, 128, 255}));
}

TEST(Recoder, TakesARectangleAndAPoint)
{
    std::array<std::uint8_t, 4> target = {9, 9, 9, 9};
    const RECT rect = {2, 0, 4, 1};
    const POINT point = {1, 0};
    EXPECT_HR(S_OK, Service()->Rewrite(&grey8, ramp.data(), &grey8, target.data(), &rect, &point));
    EXPECT_EQ(target, (std::array<std::uint8_t, 4>{9, 128, 255, 9}));
}

TEST(Recoder, DescribesWhatItRefuses)
{
    const auto service = Service();
    std::array<std::uint8_t, 64> target = {};
    const RECT outside = {0, 0, 5, 1};
    EXPECT_HR(E_INVALIDARG, service->Rewrite(&grey8, ramp.data(), &grey8, target.data(), &outside, nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"memory_2d::make_view: invalid rectangle");

    const TavloDescriptorData strange = Packed(4, 1, 16, Tavlo_Float);
    EXPECT_HR(E_INVALIDARG, service->Rewrite(&grey8, ramp.data(), &strange, target.data(), nullptr, nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"Unsupported Tavlo encoding/bits");

    EXPECT_HR(E_FAIL, service->Rewrite(&grey8, ramp.data(), &signed8, target.data(), nullptr, nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"Rewrite: input and output images must have that same pixel type");

    const TavloDescriptorData wide = Packed(1, 1, 64, Tavlo_Unsigned);
    EXPECT_HR(E_FAIL, service->Rewrite(&wide, target.data(), &wide, target.data() + 32, nullptr, nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"Rewrite: unsupported pixel type");

    EXPECT_HR(E_FAIL, service->Recode(&rgb24, target.data(), &signed8, target.data() + 32, nullptr, nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"No recoder implemented from RGB(24) to Signed(8)");
    EXPECT_HR(E_FAIL, service->Cast(&rgb24, nullptr, &signed8, nullptr, nullptr, nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"No recoder implemented from RGB(24) to Signed(8)");

    ILUTRecode* recoder = reinterpret_cast<ILUTRecode*>(1);
    EXPECT_HR(E_FAIL, service->CreateLUTRecoder(&rgb24, &signed8, &recoder));
    EXPECT_EQ(recoder, nullptr);
    EXPECT_EQ(TakeErrorDescription(), L"No recoder implemented from RGB(24) to Signed(8)");
}

TEST(Recoder, RefusesRegionsOutsideSilently)
{
    std::array<std::uint16_t, 8> target = {};
    auto* bytes = reinterpret_cast<std::uint8_t*>(target.data());
    const RECT outside = {0, 0, 5, 1};
    const POINT beyond = {1, 0};
    const auto service = Service();
    const auto recoder = LutRecoder(grey8, grey16);
    const auto failBefore = [] {
        ComPtr<ICreateErrorInfo> creator;
        ComPtr<IErrorInfo> info;
        EXPECT_HR(S_OK, CreateErrorInfo(&creator));
        EXPECT_HR(S_OK, creator.As(&info));
        EXPECT_HR(S_OK, SetErrorInfo(0, info.Get()));
    };
    const auto isSilent = [] {
        ComPtr<IErrorInfo> info;
        return GetErrorInfo(0, &info) == S_FALSE;
    };
    for (const auto& [rect, point] :
         {std::pair<const RECT*, const POINT*>(&outside, nullptr), {nullptr, &beyond}}) {
        failBefore();
        EXPECT_HR(E_INVALIDARG, service->Cast(&grey8, ramp.data(), &grey16, bytes, rect, point));
        EXPECT_TRUE(isSilent()) << "also of an earlier failure nothing is left";
        failBefore();
        EXPECT_HR(E_INVALIDARG, service->Recode(&grey8, ramp.data(), &grey16, bytes, rect, point));
        EXPECT_TRUE(isSilent()) << "why the copy did not come about is not told";
        failBefore();
        EXPECT_HR(E_INVALIDARG, recoder->Recode(ramp.data(), bytes, rect, point));
        EXPECT_TRUE(isSilent());
        failBefore();
        EXPECT_HR(E_INVALIDARG, recoder->Cast(ramp.data(), bytes, rect, point));
        EXPECT_TRUE(isSilent());
    }
}

TEST(Recoder, RefusesNullPointers)
{
    const auto service = Service();
    std::array<std::uint8_t, 16> target = {};
    using Method = decltype(&IRecode::Recode);
    for (const Method method : {&IRecode::Recode, &IRecode::Rewrite, &IRecode::Cast}) {
        EXPECT_HR(E_POINTER,
                  (service.Get()->*method)(&grey8, nullptr, &grey16, target.data(), nullptr, nullptr));
        EXPECT_HR(E_POINTER,
                  (service.Get()->*method)(&grey8, ramp.data(), &grey16, nullptr, nullptr, nullptr));
        EXPECT_HR(E_POINTER,
                  (service.Get()->*method)(nullptr, ramp.data(), &grey16, target.data(), nullptr, nullptr));
        EXPECT_HR(E_POINTER,
                  (service.Get()->*method)(&grey8, ramp.data(), nullptr, target.data(), nullptr, nullptr));
    }
    ComPtr<ILUTRecode> recoder;
    EXPECT_HR(E_POINTER, service->CreateLUTRecoder(nullptr, &grey8, &recoder));
    EXPECT_HR(E_POINTER, service->CreateLUTRecoder(&grey8, nullptr, &recoder));
    EXPECT_HR(E_POINTER, service->CreateLUTRecoder(&grey8, &grey8, nullptr));
    unsigned long size = 0;
    EXPECT_HR(E_POINTER, service->TavloDataSize(nullptr, &size));
    EXPECT_HR(E_POINTER,
              service->TavloDataSize(Create<ITavloDescriptor>(CLSID_TavloDescriptor).Get(), nullptr));
}

TEST(Recoder, SizesWhatADescriptorDescribes)
{
    const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    unsigned long size = 99;
    EXPECT_HR(S_OK, Service()->TavloDataSize(descriptor.Get(), &size));
    EXPECT_EQ(size, 0u);
    descriptor->put_Channels(1);
    descriptor->put_Width(4);
    descriptor->put_Height(3);
    descriptor->put_Bits(0, 8);
    descriptor->put_Encoding(0, Tavlo_Unsigned);
    descriptor->put_Stride_x(0, 3);
    descriptor->put_Stride_y(0, 12);
    EXPECT_HR(S_OK, Service()->TavloDataSize(descriptor.Get(), &size));
    EXPECT_EQ(size, 36u);
}

TEST(LutRecoder, KeepsItsParameters)
{
    const auto recoder = LutRecoder(grey8, grey8);
    double value = -1;
    EXPECT_HR(S_OK, recoder->GetContrast(&value));
    EXPECT_EQ(value, 1.0);
    EXPECT_HR(S_OK, recoder->GetBrightness(&value));
    EXPECT_EQ(value, 0.0);
    EXPECT_HR(S_OK, recoder->GetGamma(&value));
    EXPECT_EQ(value, 1.0);
    EXPECT_HR(S_OK, recoder->GetSigma(&value));
    EXPECT_EQ(value, 1.0);
    EXPECT_HR(S_OK, recoder->SetContrast(-2.5));
    EXPECT_HR(S_OK, recoder->SetBrightness(0.25));
    EXPECT_HR(S_OK, recoder->SetGamma(2.2));
    EXPECT_HR(S_OK, recoder->SetSigma(std::numeric_limits<double>::infinity()));
    recoder->GetContrast(&value);
    EXPECT_EQ(value, -2.5);
    recoder->GetBrightness(&value);
    EXPECT_EQ(value, 0.25);
    recoder->GetGamma(&value);
    EXPECT_EQ(value, 2.2);
    recoder->GetSigma(&value);
    EXPECT_EQ(value, std::numeric_limits<double>::infinity());
    EXPECT_HR(E_POINTER, recoder->GetContrast(nullptr));
    EXPECT_HR(E_POINTER, recoder->GetBrightness(nullptr));
    EXPECT_HR(E_POINTER, recoder->GetGamma(nullptr));
    EXPECT_HR(E_POINTER, recoder->GetSigma(nullptr));
    EXPECT_HR(E_POINTER, recoder->GetColor(0.5, nullptr));
}

TEST(LutRecoder, ConvertsWithWhatWasSetLast)
{
    const auto recoder = LutRecoder(grey8, signed8);
    std::array<std::int8_t, 4> target = {};
    auto* bytes = reinterpret_cast<std::uint8_t*>(target.data());
    EXPECT_HR(S_OK, recoder->Recode(ramp.data(), bytes, nullptr, nullptr));
    EXPECT_EQ(target, (std::array<std::int8_t, 4>{-128, -127, 0, 127}));
    EXPECT_HR(S_OK, recoder->SetContrast(-1));
    EXPECT_HR(S_OK, recoder->SetBrightness(1));
    EXPECT_HR(S_OK, recoder->Recode(ramp.data(), bytes, nullptr, nullptr));
    EXPECT_EQ(target, (std::array<std::int8_t, 4>{127, 126, -1, -128}));
    EXPECT_HR(S_OK, recoder->Cast(ramp.data(), bytes, nullptr, nullptr));
    EXPECT_EQ(target, (std::array<std::int8_t, 4>{0, 1, -128, -1}));
    EXPECT_HR(E_POINTER, recoder->Recode(nullptr, bytes, nullptr, nullptr));
    EXPECT_HR(E_POINTER, recoder->Cast(ramp.data(), nullptr, nullptr, nullptr));
}

TEST(LutRecoder, HasAColourRampWhereItTurnsGreyIntoColour)
{
    const auto recoder = LutRecoder(grey8, rgb24);
    unsigned long color = 0;
    EXPECT_HR(S_OK, recoder->SetColor(0.5, 0xFF0000FF));
    EXPECT_HR(S_OK, recoder->GetColor(0.25, &color));
    EXPECT_EQ(color, 0xFF00007Ful);
    std::array<std::uint8_t, 12> target = {};
    EXPECT_HR(S_OK, recoder->Recode(ramp.data(), target.data(), nullptr, nullptr));
    EXPECT_EQ(target[0], 0);
    EXPECT_EQ(target[9], 255);
    EXPECT_EQ(target[11], 255);
    EXPECT_HR(S_OK, recoder->ResetColorLUT());
    EXPECT_HR(S_OK, recoder->GetColor(0.5, &color));
    EXPECT_EQ(color, 0xFF7F7F7Ful);
}

TEST(LutRecoder, HasNoColourRampOtherwise)
{
    const auto recoder = LutRecoder(grey8, grey8);
    unsigned long color = 0;
    EXPECT_HR(E_INVALIDARG, recoder->SetColor(0.5, 0xFF0000FF));
    EXPECT_HR(S_OK, recoder->GetColor(0.5, &color));
    EXPECT_EQ(color, 0xFF7F7F7Ful);
    EXPECT_HR(S_OK, recoder->ResetColorLUT());
}
