#include "tests/component/component_test.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

ComPtr<ITavlo2> Image(TavloEncoding encoding, long bits, long width, long height, TavloAccess access)
{
    const auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    descriptor->put_Encoding(encoding);
    descriptor->put_Bits(bits);
    descriptor->put_Width(width);
    descriptor->put_Height(height);
    return CreateImage(descriptor.Get(), access);
}

ComPtr<ITavloAddressor> Attached(ITavlo2* image)
{
    const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
    EXPECT_HR(S_OK, addressor->Attach(image));
    return addressor;
}

std::vector<std::uint8_t> BytesOf(ITavlo2* image, size_t count)
{
    ComPtr<IReadAccessor> reader;
    EXPECT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    const auto* bytes = static_cast<const std::uint8_t*>(reader->Ptr(0));
    return {bytes, bytes + count};
}

VARIANT Real(double value)
{
    VARIANT variant;
    variant.vt = VT_R8;
    variant.dblVal = value;
    return variant;
}

VARIANT Get(ITavloAddressor* addressor, long x, long y)
{
    VARIANT value;
    VariantInit(&value);
    EXPECT_HR(S_OK, addressor->get_Pixel(x, y, &value));
    return value;
}

/// What a variant holds, as text that shows its type.
std::string Shown(const VARIANT& value)
{
    switch (value.vt) {
    case VT_UI1:
        return "UI1 " + std::to_string(value.bVal);
    case VT_I2:
        return "I2 " + std::to_string(value.iVal);
    case VT_UI2:
        return "UI2 " + std::to_string(value.uiVal);
    case VT_I4:
        return "I4 " + std::to_string(value.lVal);
    case VT_UI4:
        return "UI4 " + std::to_string(value.ulVal);
    case VT_R4:
        return "R4 " + std::to_string(value.fltVal);
    case VT_R8:
        return "R8 " + std::to_string(value.dblVal);
    default:
        return "type " + std::to_string(value.vt);
    }
}

struct Element
{
    std::string name;
    TavloEncoding encoding;
    long bits;
    VARIANT put;
    std::vector<std::uint8_t> bytes;
    std::string shown;
};

VARIANT Packed(unsigned long value)
{
    VARIANT variant;
    variant.vt = VT_UI4;
    variant.ulVal = value;
    return variant;
}

const Element elements[] = {
    {"Unsigned8", Tavlo_Unsigned, 8, Number(200), {200}, "UI1 200"},
    {"Unsigned9", Tavlo_Unsigned, 9, Number(511), {255, 1}, "UI2 511"},
    {"Unsigned12", Tavlo_Unsigned, 12, Number(4095), {255, 15}, "UI2 4095"},
    {"Unsigned16", Tavlo_Unsigned, 16, Number(65535), {255, 255}, "UI2 65535"},
    {"Unsigned32", Tavlo_Unsigned, 32, Real(4294967295.0), {255, 255, 255, 255}, "UI4 4294967295"},
    {"Signed8", Tavlo_Signed, 8, Number(-5), {251}, "I4 -5"},
    {"Signed12", Tavlo_Signed, 12, Number(-2), {254, 255}, "I2 -2"},
    {"Signed16", Tavlo_Signed, 16, Number(-32768), {0, 128}, "I2 -32768"},
    {"Signed32", Tavlo_Signed, 32, Number(-2), {254, 255, 255, 255}, "I4 -2"},
    {"Float32", Tavlo_Float, 32, Real(0.5), {0, 0, 0, 63}, "R4 0.500000"},
    {"Float64", Tavlo_Float, 64, Real(-2.0), {0, 0, 0, 0, 0, 0, 0, 192}, "R8 -2.000000"},
    {"RGB", Tavlo_RGB, 24, Number(0x030201), {1, 2, 3}, "UI4 197121"},
    {"BGR", Tavlo_BGR, 24, Number(0x030201), {3, 2, 1}, "UI4 197121"},
    {"RGBA", Tavlo_RGBA, 32, Packed(0x84030201), {1, 2, 3, 0x84}, "UI4 2214789633"},
    {"BGRA", Tavlo_BGRA, 32, Packed(0x84030201), {3, 2, 1, 0x84}, "UI4 2214789633"},
};

class AddressedElement : public testing::TestWithParam<Element>
{
};

} // namespace

TEST_P(AddressedElement, IsWrittenAndReadBack)
{
    const Element& element = GetParam();
    const auto image = Image(element.encoding, element.bits, 3, 2, Tavlo_SingleWriter);
    const auto addressor = Attached(image.Get());
    EXPECT_HR(S_OK, addressor->put_Pixel(1, 1, element.put));
    EXPECT_EQ(Shown(Get(addressor.Get(), 1, 1)), element.shown);

    const size_t size = element.bytes.size();
    std::vector<std::uint8_t> expected(6 * size);
    std::copy(element.bytes.begin(), element.bytes.end(),
              expected.begin() + static_cast<std::ptrdiff_t>(4 * size));
    EXPECT_EQ(BytesOf(image.Get(), 6 * size), expected);
}

INSTANTIATE_TEST_SUITE_P(Elements, AddressedElement, testing::ValuesIn(elements),
                         [](const auto& element) { return element.param.name; });

TEST(Addressor, ConvertsWhatIsPut)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    const auto addressor = Attached(image.Get());
    const Text twoHundred(L"200");
    VARIANT text;
    text.vt = VT_BSTR;
    text.bstrVal = twoHundred.get();
    EXPECT_HR(S_OK, addressor->put_Pixel(0, 0, text));
    EXPECT_EQ(Shown(Get(addressor.Get(), 0, 0)), "UI1 200");
    EXPECT_HR(S_OK, addressor->put_Pixel(0, 0, Real(17.4)));
    EXPECT_EQ(Shown(Get(addressor.Get(), 0, 0)), "UI1 17");
}

TEST(Addressor, RefusesWhatDoesNotFitAndChangesNothing)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    const auto addressor = Attached(image.Get());
    EXPECT_HR(S_OK, addressor->put_Pixel(0, 0, Number(7)));
    const Text threeHundred(L"300");
    const Text words(L"much");
    VARIANT text;
    text.vt = VT_BSTR;
    text.bstrVal = threeHundred.get();
    EXPECT_HR(DISP_E_OVERFLOW, addressor->put_Pixel(0, 0, text));
    text.bstrVal = words.get();
    EXPECT_HR(DISP_E_TYPEMISMATCH, addressor->put_Pixel(0, 0, text));
    EXPECT_HR(DISP_E_OVERFLOW, addressor->put_Pixel(0, 0, Number(256)));
    EXPECT_HR(DISP_E_OVERFLOW, addressor->put_Pixel(0, 0, Number(-1)));
    EXPECT_EQ(Shown(Get(addressor.Get(), 0, 0)), "UI1 7");

    const auto signedImage = Image(Tavlo_Signed, 8, 1, 1, Tavlo_SingleWriter);
    const auto signedAddressor = Attached(signedImage.Get());
    EXPECT_HR(DISP_E_OVERFLOW, signedAddressor->put_Pixel(0, 0, Number(128)));
    EXPECT_HR(S_OK, signedAddressor->put_Pixel(0, 0, Number(-128)));
}

TEST(Addressor, IsRefusedBeforeAttachAndAfterDetach)
{
    const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
    VARIANT value;
    VariantInit(&value);
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(0, 0, &value));
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(0, 0, nullptr));
    EXPECT_HR(E_ACCESSDENIED, addressor->put_Pixel(0, 0, Number(1)));
    EXPECT_HR(S_OK, addressor->Detach());
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    EXPECT_HR(S_OK, addressor->Attach(image.Get()));
    EXPECT_HR(S_OK, addressor->Detach());
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(0, 0, &value));
}

namespace {

/// An object whose value is a number, and that does something when it is asked for it.
class ValueObject final : public IDispatch
{
public:
    explicit ValueObject(std::function<void()> asked) : asked_(std::move(asked)) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        *result = nullptr;
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IDispatch))
            return E_NOINTERFACE;
        *result = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) override
    {
        asked_();
        *result = Number(7);
        return S_OK;
    }

private:
    const std::function<void()> asked_;
};

VARIANT ObjectVariant(IDispatch* object)
{
    VARIANT variant;
    variant.vt = VT_DISPATCH;
    variant.pdispVal = object;
    return variant;
}

} // namespace

TEST(Addressor, TakesTheValueOfAnObject)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    const auto addressor = Attached(image.Get());
    ValueObject seven([] {});
    EXPECT_HR(S_OK, addressor->put_Pixel(0, 0, ObjectVariant(&seven)));
    EXPECT_EQ(Shown(Get(addressor.Get(), 0, 0)), "UI1 7");
}

TEST(Addressor, MayBeDetachedByAValueThatIsBeingPut)
{
    auto image = Image(Tavlo_Unsigned, 8, 64, 48, Tavlo_SingleWriter);
    auto addressor = Attached(image.Get());
    ITavloAddressor* const last = addressor.Get();
    ValueObject detaching([&] {
        EXPECT_HR(S_OK, addressor->Detach());
        image.Reset();
        addressor.Reset();
        OverwriteFreedMemory();
    });
    EXPECT_HR(E_ACCESSDENIED, last->put_Pixel(5, 5, ObjectVariant(&detaching)));
}

TEST(Addressor, MayBeAttachedToAnotherImageByAValueThatIsBeingPut)
{
    auto first = Image(Tavlo_Unsigned, 8, 64, 48, Tavlo_SingleWriter);
    const auto second = Image(Tavlo_Unsigned, 16, 2, 1, Tavlo_SingleWriter);
    const auto addressor = Attached(first.Get());
    first.Reset();
    ValueObject attaching([&] {
        EXPECT_HR(S_OK, addressor->Attach(second.Get()));
        OverwriteFreedMemory();
    });
    EXPECT_HR(E_ACCESSDENIED, addressor->put_Pixel(1, 0, ObjectVariant(&attaching)));
    EXPECT_EQ(BytesOf(second.Get(), 4), (std::vector<std::uint8_t>{0, 0, 0, 0}));
    EXPECT_HR(S_OK, addressor->put_Pixel(1, 0, Number(258)));
    EXPECT_EQ(BytesOf(second.Get(), 4), (std::vector<std::uint8_t>{0, 0, 2, 1}));
}

TEST(Addressor, ReadsAReadOnlyImage)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_ReadOnly);
    const auto addressor = Attached(image.Get());
    EXPECT_EQ(Shown(Get(addressor.Get(), 0, 0)), "UI1 0");
    EXPECT_HR(E_ACCESSDENIED, addressor->put_Pixel(0, 0, Number(1)));
}

TEST(Addressor, ReadsAnImageWhoseWriterIsTaken)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    const auto addressor = Attached(image.Get());
    EXPECT_HR(E_ACCESSDENIED, addressor->put_Pixel(0, 0, Number(1)));
    *static_cast<std::uint8_t*>(writer->Ptr(0)) = 9;
    EXPECT_EQ(Shown(Get(addressor.Get(), 0, 0)), "UI1 9");
}

TEST(Addressor, HoldsTheOnlyWriterUntilItLetsGo)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
    {
        const auto addressor = Attached(image.Get());
        EXPECT_HR(E_ACCESSDENIED, image->GetWriteAccess(&writer));
        EXPECT_HR(S_OK, addressor->Detach());
        EXPECT_HR(S_OK, image->GetWriteAccess(&writer));
        writer.Reset();
        EXPECT_HR(S_OK, addressor->Attach(image.Get()));
        EXPECT_HR(S_OK, addressor->Attach(image.Get()))
            << "the first access is released before the second is taken";
        EXPECT_HR(S_OK, addressor->put_Pixel(0, 0, Number(1)));
        EXPECT_HR(E_ACCESSDENIED, image->GetWriteAccess(&writer));
    }
    EXPECT_HR(S_OK, image->GetWriteAccess(&writer)) << "with its last reference";
}

TEST(Addressor, DescribesWhyItRefusesAnImage)
{
    const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
    EXPECT_HR(E_INVALIDARG, addressor->Attach(nullptr));
    EXPECT_EQ(TakeErrorDescription(), L"null ITavlo2");

    const struct
    {
        TavloEncoding encoding;
        long bits;
        std::wstring description;
    } refusals[] = {
        {Tavlo_Unsigned, 64, L"Unsupported Tavlo Encoding"},
        {Tavlo_Signed, 64, L"Unsupported Tavlo Encoding"},
        {Tavlo_Complex_Float, 64, L"Unsupported Tavlo Encoding"},
        {Tavlo_Complex_Float_Half_Even, 128, L"Unsupported Tavlo Encoding"},
        {Tavlo_Complex_Float_Half_Odd, 64, L"Unsupported Tavlo Encoding"},
        {Tavlo_Data, 8, L"Unsupported Tavlo encoding/bits"},
        {Tavlo_Float, 16, L"Unsupported Tavlo encoding/bits"},
        {Tavlo_RGB, 32, L"Unsupported Tavlo encoding/bits"},
        {Tavlo_Float_Vector2D, 64, L"Unsupported Tavlo encoding/bits"},
    };
    for (const auto& refusal : refusals) {
        const auto image = Image(refusal.encoding, refusal.bits, 2, 2, Tavlo_SingleWriter);
        EXPECT_HR(E_INVALIDARG, addressor->Attach(image.Get()));
        EXPECT_EQ(TakeErrorDescription(), refusal.description);
        ComPtr<IWriteAccessor> writer;
        EXPECT_HR(S_OK, image->GetWriteAccess(&writer)) << "nothing of a refused image is held";
    }
    VARIANT value;
    VariantInit(&value);
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(0, 0, &value)) << "a failed Attach leaves it unattached";
}

TEST(Addressor, PassesOnWhatAnImageRefusesForReadingToo)
{
    const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
    EXPECT_HR(E_PENDING, addressor->Attach(Create<ITavlo2>(CLSID_Tavlo).Get()));
}

TEST(Addressor, ClearsTheCallersVariantFirst)
{
    const auto image = Image(Tavlo_Unsigned, 8, 1, 1, Tavlo_SingleWriter);
    const auto addressor = Attached(image.Get());
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(L"old");
    EXPECT_HR(S_OK, addressor->get_Pixel(0, 0, &value));
    EXPECT_EQ(value.vt, VT_UI1);
    EXPECT_HR(E_POINTER, addressor->get_Pixel(0, 0, nullptr));
}

class SafeAddressor : public testing::TestWithParam<DWORD>
{
protected:
    /// Asks as a script host does.
    static void AskForSafety(ITavloAddressor* addressor, DWORD options)
    {
        ComPtr<IObjectSafety> safety;
        ASSERT_HR(S_OK, addressor->QueryInterface(IID_PPV_ARGS(&safety)));
        ASSERT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, 3, options));
    }

    /// Places in, beside and far from an image of 3 x 2 pixels.
    static void ExpectOutsideRefused(ITavloAddressor* addressor, bool written)
    {
        for (const long x : {-1l, 1l, 3l, 0x40000000l, -0x40000000l}) {
            for (const long y : {-1l, 1l, 2l, 0x40000000l, -0x40000000l}) {
                const HRESULT expected = x == 1 && y == 1 ? S_OK : E_INVALIDARG;
                VARIANT value = Number(7);
                EXPECT_HR(expected, addressor->get_Pixel(x, y, &value)) << x << ", " << y;
                if (expected != S_OK) {
                    EXPECT_EQ(TakeErrorDescription(), L"The pixel is outside the image");
                }
                if (written) {
                    EXPECT_HR(expected, addressor->put_Pixel(x, y, Number(1)));
                }
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(, SafeAddressor,
                         testing::Values(INTERFACESAFE_FOR_UNTRUSTED_CALLER, INTERFACESAFE_FOR_UNTRUSTED_DATA,
                                         INTERFACESAFE_FOR_UNTRUSTED_CALLER |
                                             INTERFACESAFE_FOR_UNTRUSTED_DATA));

TEST_P(SafeAddressor, RefusesPixelsOutsideTheImage)
{
    const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
    AskForSafety(addressor.Get(), GetParam());
    VARIANT value = Number(7);
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(9, 9, &value)) << "not attached";
    EXPECT_HR(S_OK, addressor->Attach(Image(Tavlo_Unsigned, 8, 3, 2, Tavlo_MultipleWriters).Get()));
    ExpectOutsideRefused(addressor.Get(), true);
    EXPECT_HR(S_OK, addressor->Attach(Image(Tavlo_Unsigned, 8, 3, 2, Tavlo_ReadOnly).Get()));
    ExpectOutsideRefused(addressor.Get(), false);
    EXPECT_HR(E_ACCESSDENIED, addressor->put_Pixel(9, 9, Number(1)));
}

TEST_P(SafeAddressor, MayBeAskedForAfterAttach)
{
    const auto addressor = Attached(Image(Tavlo_Unsigned, 8, 3, 2, Tavlo_MultipleWriters).Get());
    AskForSafety(addressor.Get(), GetParam());
    ExpectOutsideRefused(addressor.Get(), true);
    // One that is not asked, or not any more, checks nothing: the section's page has room behind the image.
    AskForSafety(addressor.Get(), 0);
    EXPECT_HR(S_OK, addressor->put_Pixel(3, 2, Number(1)));
    EXPECT_EQ(Get(addressor.Get(), 3, 2).bVal, 1);
}

TEST_P(SafeAddressor, RefusesAnImageThatReachesOutsideItsMemory)
{
    const std::wstring name = L"TavloSafeAddressorTest";
    const HANDLE section =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str());
    ASSERT_NE(section, nullptr);
    ComPtr<ITavlo2> image;
    ASSERT_HR(S_OK,
              Create<ITavloFactory2>(CLSID_TavloFactory)
                  ->Adopt(Text(name).get(), GreyDescriptor(1000, 1000).Get(), Tavlo_MultipleWriters, &image));
    CloseHandle(section);
    const auto addressor = Attached(image.Get());
    EXPECT_EQ(Get(addressor.Get(), 1, 1).bVal, 0);
    AskForSafety(addressor.Get(), GetParam());
    VARIANT value = Number(7);
    for (const long y : {1l, 999l}) {
        EXPECT_HR(E_INVALIDARG, addressor->get_Pixel(1, y, &value));
        EXPECT_EQ(TakeErrorDescription(), L"The image's geometry reaches outside its memory");
        EXPECT_HR(E_INVALIDARG, addressor->put_Pixel(1, y, Number(1)));
    }
}

TEST(Addressor, BelievesNoGeometryFromElsewhereThatReachesOutsideItsMemory)
{
    const std::wstring name = L"TavloAddressorFromElsewhereTest";
    const HANDLE section =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str());
    ASSERT_NE(section, nullptr);
    ComPtr<IStream> packets[2];
    for (int i = 0; i < 2; ++i) {
        ComPtr<ITavlo2> image;
        ASSERT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)
                            ->Adopt(Text(name).get(), GreyDescriptor(64, i == 0 ? 64 : 1000).Get(),
                                    Tavlo_MultipleWriters, &image));
        ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_ITavlo2, image.Get(), &packets[i]));
        EXPECT_HR(S_OK, Create<ITavloAddressor>(CLSID_TavloAddressor)->Attach(image.Get()))
            << "within an apartment who adopts is trusted";
    }
    CloseHandle(section);
    std::thread([&] {
        ASSERT_HR(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        for (int i = 0; i < 2; ++i) {
            ComPtr<ITavlo2> received;
            ASSERT_HR(S_OK, CoGetInterfaceAndReleaseStream(packets[i].Detach(), IID_PPV_ARGS(&received)));
            const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
            EXPECT_HR(i == 0 ? S_OK : E_INVALIDARG, addressor->Attach(received.Get()));
            VARIANT value = Number(7);
            EXPECT_HR(i == 0 ? S_OK : E_ACCESSDENIED, addressor->get_Pixel(63, 63, &value));
        }
        CoUninitialize();
    }).join();
}

TEST(Addressor, FollowsStridesOfBothSigns)
{
    const auto descriptor = GreyDescriptor(3, 2);
    descriptor->put_Stride_x(-2);
    descriptor->put_Stride_y(-8);
    const auto image = CreateImage(descriptor.Get(), Tavlo_SingleWriter);
    const auto addressor = Attached(image.Get());
    long offset = 0;
    descriptor->get_Offset(&offset);
    ASSERT_EQ(offset, 12);
    EXPECT_HR(S_OK, addressor->put_Pixel(2, 1, Number(77)));
    EXPECT_EQ(BytesOf(image.Get(), 1), std::vector<std::uint8_t>{77});
    EXPECT_HR(S_OK, addressor->put_Pixel(0, 0, Number(78)));
    EXPECT_EQ(BytesOf(image.Get(), 13).back(), 78);
}

TEST(Addressor, IsReadAndAssignedThroughItsDefaultMember)
{
    const auto image = Image(Tavlo_Unsigned, 16, 4, 4, Tavlo_SingleWriter);
    ComPtr<IDispatch> dispatch;
    ASSERT_HR(S_OK, Attached(image.Get()).As(&dispatch));
    VARIANTARG put[] = {Number(1234), Number(2), Number(3)};
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS assignment = {put, &named, 3, 1};
    EXPECT_HR(S_OK, dispatch->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT,
                                     &assignment, nullptr, nullptr, nullptr));
    VARIANTARG get[] = {Number(2), Number(3)};
    DISPPARAMS position = {get, nullptr, 2, 0};
    VARIANT result;
    VariantInit(&result);
    EXPECT_HR(S_OK, dispatch->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                     &position, &result, nullptr, nullptr));
    EXPECT_EQ(Shown(result), "UI2 1234");
    EXPECT_EQ(BytesOf(image.Get(), 32)[2 * (2 * 4 + 3)], 1234 & 255);
}
