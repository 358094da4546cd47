#include "tests/component/component_test.h"

#include "component/module/handle.h"

#include <string>

namespace {

using Mardu::UniqueHandle;
using Mardu::UniqueView;

/// A section of the test's own.
UniqueHandle NewSection(const wchar_t* name, DWORD bytes)
{
    return UniqueHandle(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, bytes, name));
}

UniqueView MapOf(const UniqueHandle& section)
{
    return UniqueView(MapViewOfFile(section.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
}

HRESULT Win32(DWORD code)
{
    return HRESULT_FROM_WIN32(code);
}

/// A descriptor of a client's own, which fails at one property.
class FailingDescriptor final : public ITavloDescriptor2
{
public:
    STDMETHODIMP QueryInterface(REFIID, void** result) override
    {
        *result = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP get_Width(long* p) override { return Give(0, 4, p); }
    STDMETHODIMP put_Width(long) override { return S_OK; }
    STDMETHODIMP get_Height(long* p) override { return Give(1, 3, p); }
    STDMETHODIMP put_Height(long) override { return S_OK; }
    STDMETHODIMP get_Bits(long* p) override { return Give(2, 8, p); }
    STDMETHODIMP put_Bits(long) override { return S_OK; }
    STDMETHODIMP get_Encoding(TavloEncoding* p) override
    {
        *p = Tavlo_Unsigned;
        return failing == 3 ? failure : S_OK;
    }
    STDMETHODIMP put_Encoding(TavloEncoding) override { return S_OK; }
    STDMETHODIMP get_Offset(long* p) override { return Give(4, 0, p); }
    STDMETHODIMP put_Offset(long) override { return S_OK; }
    STDMETHODIMP get_Stride_x(long* p) override { return Give(5, 1, p); }
    STDMETHODIMP put_Stride_x(long) override { return S_OK; }
    STDMETHODIMP get_Stride_y(long* p) override { return Give(6, 4, p); }
    STDMETHODIMP put_Stride_y(long) override { return S_OK; }

    static constexpr HRESULT failure = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x333);
    int failing = -1;

private:
    HRESULT Give(int index, long value, long* p)
    {
        *p = value;
        return index == failing ? failure : S_OK;
    }
};

} // namespace

TEST(Factory, SizesOnePlane)
{
    const auto factory = Create<ITavloFactory2>(CLSID_TavloFactory);
    ComPtr<ITavloFactory> first;
    ASSERT_HR(S_OK, factory.As(&first));
    const struct
    {
        long width, height, strideX, strideY, size;
    } cases[] = {
        {640, 480, 1, 640, 307200},   {640, 480, 480, 1, 307200},  {10, 10, 4, 4, 40},
        {640, 480, -1, -640, 307200}, {640, 480, 1, -640, 307200}, {0, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        long size = -1;
        EXPECT_HR(S_OK, factory->GetSizeFor(c.width, c.height, c.strideX, c.strideY, &size));
        EXPECT_EQ(size, c.size);
        size = -1;
        EXPECT_HR(S_OK, first->GetSizeFor(c.width, c.height, c.strideX, c.strideY, &size));
        EXPECT_EQ(size, c.size);
    }
    EXPECT_HR(E_POINTER, factory->GetSizeFor(1, 1, 1, 1, nullptr));
    EXPECT_HR(E_POINTER, first->GetSizeFor(1, 1, 1, 1, nullptr));
}

TEST(Factory, CreatesAnImageOfZeros)
{
    const auto image = GreyImage(5, 4, Tavlo_ReadOnly);
    ComPtr<IReadAccessor> accessor;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &accessor));
    const auto* bytes = static_cast<const std::uint8_t*>(accessor->Ptr(0));
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(bytes[i], 0);
}

TEST(Factory, CreatesAnImageOfSeveralChannels)
{
    const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    descriptor->put_Width(2);
    descriptor->put_Height(2);
    descriptor->put_Channels(2);
    for (long channel = 0; channel < 2; ++channel) {
        descriptor->put_Bits(channel, 8);
        descriptor->put_Encoding(channel, Tavlo_Unsigned);
        descriptor->put_Offset(channel, channel * 4);
        descriptor->put_Stride_x(channel, 1);
        descriptor->put_Stride_y(channel, 2);
    }
    ComPtr<ITavlo> image;
    ASSERT_HR(
        S_OK,
        Create<ITavloFactory>(CLSID_TavloFactory)->Create(descriptor.Get(), Tavlo_SingleWriter, &image));
    ComPtr<ITavloDescriptor> copy;
    ASSERT_HR(S_OK, image->get_Descriptor(&copy));
    long channels = 0;
    long offset = 0;
    EXPECT_HR(S_OK, copy->get_Channels(&channels));
    EXPECT_EQ(channels, 2);
    EXPECT_HR(S_OK, copy->get_Offset(1, &offset));
    EXPECT_EQ(offset, 4);

    ComPtr<ITavlo2> single;
    ASSERT_HR(S_OK, image.As(&single));
    ComPtr<ITavloDescriptor2> none;
    EXPECT_HR(E_INVALIDARG, single->get_Descriptor(&none));
    EXPECT_EQ(none, nullptr);
}

TEST(Factory, RefusesNullPointers)
{
    const auto factory = Create<ITavloFactory2>(CLSID_TavloFactory);
    ComPtr<ITavloFactory> first;
    ASSERT_HR(S_OK, factory.As(&first));
    const auto descriptor = GreyDescriptor(1, 1);
    const auto planar = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    planar->put_Channels(1);
    const Text name(L"Tavlo test: not there");

    ITavlo2* image2 = reinterpret_cast<ITavlo2*>(1);
    EXPECT_HR(E_POINTER, factory->Create(nullptr, Tavlo_ReadOnly, &image2));
    EXPECT_EQ(image2, nullptr);
    EXPECT_HR(E_POINTER, factory->Create(descriptor.Get(), Tavlo_ReadOnly, nullptr));
    EXPECT_HR(E_POINTER, factory->Create(nullptr, Tavlo_ReadOnly, nullptr));
    image2 = reinterpret_cast<ITavlo2*>(1);
    EXPECT_HR(E_POINTER, factory->Adopt(name.get(), nullptr, Tavlo_ReadOnly, &image2));
    EXPECT_EQ(image2, nullptr);
    EXPECT_HR(E_POINTER, factory->Adopt(name.get(), descriptor.Get(), Tavlo_ReadOnly, nullptr));

    ITavlo* image = reinterpret_cast<ITavlo*>(1);
    EXPECT_HR(E_POINTER, first->Create(nullptr, Tavlo_ReadOnly, &image));
    EXPECT_EQ(image, nullptr);
    EXPECT_HR(E_POINTER, first->Create(planar.Get(), Tavlo_ReadOnly, nullptr));
    EXPECT_HR(E_POINTER, first->Adopt(name.get(), nullptr, Tavlo_ReadOnly, &image));
    EXPECT_HR(E_POINTER, first->Adopt(name.get(), planar.Get(), Tavlo_ReadOnly, nullptr));
}

TEST(Factory, RefusesADescriptorWithoutChannels)
{
    ITavlo* image = reinterpret_cast<ITavlo*>(1);
    EXPECT_HR(E_INVALIDARG,
              Create<ITavloFactory>(CLSID_TavloFactory)
                  ->Create(Create<ITavloDescriptor>(CLSID_TavloDescriptor).Get(), Tavlo_ReadOnly, &image));
    EXPECT_EQ(image, nullptr);
}

TEST(Factory, PassesOnThePlatformsRefusalOfASizeOfZero)
{
    const auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    ITavlo2* image = reinterpret_cast<ITavlo2*>(1);
    EXPECT_HR(Win32(ERROR_INVALID_PARAMETER),
              Create<ITavloFactory2>(CLSID_TavloFactory)->Create(descriptor.Get(), Tavlo_ReadOnly, &image));
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(TakeErrorDescription().rfind(L"Creating the section failed: ", 0), 0u);
}

TEST(Factory, RefusesGeometryThatEndsBeforeByteZero)
{
    const auto descriptor = GreyDescriptor(4, 4);
    descriptor->put_Offset(-100);
    ComPtr<ITavlo2> image;
    EXPECT_HR(Win32(ERROR_INVALID_PARAMETER),
              Create<ITavloFactory2>(CLSID_TavloFactory)->Create(descriptor.Get(), Tavlo_ReadOnly, &image));
}

TEST(Factory, ReturnsTheFailureOfAForeignDescriptor)
{
    const auto factory = Create<ITavloFactory2>(CLSID_TavloFactory);
    FailingDescriptor descriptor;
    for (descriptor.failing = 0; descriptor.failing < 7; ++descriptor.failing) {
        ComPtr<ITavlo2> image;
        EXPECT_HR(FailingDescriptor::failure, factory->Create(&descriptor, Tavlo_ReadOnly, &image));
        EXPECT_HR(FailingDescriptor::failure,
                  factory->Adopt(Text(L"x").get(), &descriptor, Tavlo_ReadOnly, &image));
        EXPECT_EQ(image, nullptr);
    }
    ComPtr<ITavlo2> image;
    EXPECT_HR(S_OK, factory->Create(&descriptor, Tavlo_ReadOnly, &image)) << "any implementation will do";
}

TEST(Factory, AdoptsASectionByItsExactName)
{
    const wchar_t name[] = L"Tavlo test: adopted \u00e9\u4e2d";
    const UniqueHandle section = NewSection(name, 12);
    const UniqueView view = MapOf(section);
    static_cast<std::uint8_t*>(view.get())[7] = 99;

    ComPtr<ITavlo2> image;
    ASSERT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)
                        ->Adopt(Text(name).get(), GreyDescriptor(4, 3).Get(), Tavlo_SingleWriter, &image));
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    auto* bytes = static_cast<std::uint8_t*>(writer->Ptr(0));
    EXPECT_NE(bytes, view.get());
    EXPECT_EQ(bytes[7], 99);
    bytes[11] = 42;
    EXPECT_EQ(static_cast<std::uint8_t*>(view.get())[11], 42);
}

TEST(Factory, TrustsTheDescriptorOfAnAdoptedSection)
{
    const wchar_t name[] = L"Tavlo test: small";
    const UniqueHandle section = NewSection(name, 16);
    ComPtr<ITavlo2> image;
    EXPECT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)
                        ->Adopt(Text(name).get(), GreyDescriptor(4096, 4096).Get(), Tavlo_ReadOnly, &image));
    ComPtr<IReadAccessor> reader;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(*static_cast<std::uint8_t*>(reader->Ptr(15)), 0);
}

TEST(Factory, AdoptsNothingForAHostThatWantsASafeObject)
{
    const std::wstring name = L"TavloSafeFactoryTest";
    const UniqueHandle section = NewSection(name.c_str(), 4096);
    const auto factory = Create<ITavloFactory2>(CLSID_TavloFactory);
    ComPtr<ITavloFactory> first;
    ASSERT_HR(S_OK, factory.As(&first));
    ComPtr<IObjectSafety> safety;
    ASSERT_HR(S_OK, factory.As(&safety));
    const auto planar = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    for (const DWORD options : {INTERFACESAFE_FOR_UNTRUSTED_CALLER, INTERFACESAFE_FOR_UNTRUSTED_DATA}) {
        ASSERT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, 3, options));
        ComPtr<ITavlo2> image2;
        EXPECT_HR(E_ACCESSDENIED,
                  factory->Adopt(Text(name).get(), GreyDescriptor(4, 3).Get(), Tavlo_ReadOnly, &image2));
        EXPECT_EQ(TakeErrorDescription(), L"A safe factory does not adopt memory");
        EXPECT_EQ(image2.Get(), nullptr);
        ComPtr<ITavlo> image;
        EXPECT_HR(E_ACCESSDENIED, first->Adopt(Text(name).get(), planar.Get(), Tavlo_ReadOnly, &image));
        EXPECT_HR(E_POINTER, factory->Adopt(Text(name).get(), nullptr, Tavlo_ReadOnly, &image2));
        EXPECT_HR(S_OK, factory->Create(GreyDescriptor(4, 3).Get(), Tavlo_ReadOnly, &image2));
    }
    ASSERT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, 3, 0));
    ComPtr<ITavlo2> image2;
    EXPECT_HR(S_OK, factory->Adopt(Text(name).get(), GreyDescriptor(4, 3).Get(), Tavlo_ReadOnly, &image2));
}

TEST(Factory, AdoptsWithoutChannelsAndThenHasNoDescriptor)
{
    const wchar_t name[] = L"Tavlo test: no channels";
    const UniqueHandle section = NewSection(name, 16);
    ComPtr<ITavlo> image;
    ASSERT_HR(S_OK, Create<ITavloFactory>(CLSID_TavloFactory)
                        ->Adopt(Text(name).get(), Create<ITavloDescriptor>(CLSID_TavloDescriptor).Get(),
                                Tavlo_ReadOnly, &image));
    ITavloDescriptor* descriptor = reinterpret_cast<ITavloDescriptor*>(1);
    EXPECT_HR(E_UNEXPECTED, image->get_Descriptor(&descriptor));
    EXPECT_EQ(descriptor, nullptr);
}

TEST(Factory, RefusesNamesThatNoSectionHas)
{
    const auto factory = Create<ITavloFactory2>(CLSID_TavloFactory);
    const auto descriptor = GreyDescriptor(4, 3);
    ITavlo2* image = reinterpret_cast<ITavlo2*>(1);
    EXPECT_HR(Win32(ERROR_FILE_NOT_FOUND), factory->Adopt(Text(L"Tavlo test: nobody made this").get(),
                                                          descriptor.Get(), Tavlo_ReadOnly, &image));
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(TakeErrorDescription().rfind(L"Opening the section failed: ", 0), 0u);
    EXPECT_HR(Win32(ERROR_FILENAME_EXCED_RANGE), factory->Adopt(Text(std::wstring(40000, L'n')).get(),
                                                                descriptor.Get(), Tavlo_ReadOnly, &image));
    EXPECT_TRUE(FAILED(factory->Adopt(nullptr, descriptor.Get(), Tavlo_ReadOnly, &image)));
    EXPECT_TRUE(FAILED(factory->Adopt(Text(L"").get(), descriptor.Get(), Tavlo_ReadOnly, &image)));
    EXPECT_HR(S_OK, factory->Create(descriptor.Get(), Tavlo_ReadOnly, &image)) << "the process goes on";
    image->Release();
}
