#include "tests/component/component_test.h"

#include <array>
#include <cstring>
#include <objsafe.h>
#include <string>
#include <vector>

namespace {

ComPtr<ITavloInternal> Internal(ITavlo2* image)
{
    ComPtr<ITavloInternal> internal;
    EXPECT_HR(S_OK, image->QueryInterface(IID_PPV_ARGS(&internal)));
    return internal;
}

struct CountingHook final : ITavloDisposalHook
{
    HRESULT STDMETHODCALLTYPE Dispose() override
    {
        ++calls;
        return S_FALSE;
    }

    int calls = 0;
};

std::vector<std::wstring> PropertyNames(ITavloInternal* image)
{
    SAFEARRAY* array = nullptr;
    EXPECT_HR(S_OK, image->GetPropertyNames(&array));
    std::vector<std::wstring> names;
    LONG lower = -1;
    LONG upper = -2;
    EXPECT_HR(S_OK, SafeArrayGetLBound(array, 1, &lower));
    EXPECT_HR(S_OK, SafeArrayGetUBound(array, 1, &upper));
    EXPECT_EQ(lower, 0);
    for (LONG i = lower; i <= upper; ++i) {
        BSTR name = nullptr;
        EXPECT_HR(S_OK, SafeArrayGetElement(array, &i, &name));
        names.emplace_back(name, SysStringLen(name));
        SysFreeString(name);
    }
    SafeArrayDestroy(array);
    return names;
}

} // namespace

TEST(Image, AnswersForItsGeometry)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    ComPtr<ITavloDescriptor2> descriptor;
    ASSERT_HR(S_OK, image->get_Descriptor(&descriptor));
    long width = 0;
    descriptor->get_Width(&width);
    EXPECT_EQ(width, 5);
    descriptor->put_Width(99);
    ComPtr<ITavloDescriptor2> again;
    ASSERT_HR(S_OK, image->get_Descriptor(&again));
    again->get_Width(&width);
    EXPECT_EQ(width, 5) << "a descriptor is a copy";

    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    ComPtr<ITavloDescriptor> planar;
    ASSERT_HR(S_OK, first->get_Descriptor(&planar));
    long channels = 0;
    planar->get_Channels(&channels);
    EXPECT_EQ(channels, 1);
}

TEST(Image, IgnoresRectangleAndPrescale)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    ComPtr<IReadAccessor> whole;
    ASSERT_HR(S_OK, first->GetReadAccess(&whole));
    for (const double prescale : {1.0, 0.0, -3.5, 1e300}) {
        RECT rect = {100, -5, 3, 2};
        ComPtr<IReadAccessor> accessor;
        EXPECT_HR(S_OK, image->GetReadAccess(&rect, prescale, &accessor));
        EXPECT_EQ(accessor->Ptr(0), whole->Ptr(0));
    }
}

TEST(Image, RefusesNullOutPointers)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    const auto internal = Internal(image.Get());
    EXPECT_HR(E_POINTER, image->get_Descriptor(nullptr));
    EXPECT_HR(E_POINTER, image->GetReadAccess(nullptr, 1.0, nullptr));
    EXPECT_HR(E_POINTER, image->GetWriteAccess(nullptr));
    EXPECT_HR(E_POINTER, image->Clone(Tavlo_SingleWriter, nullptr));
    EXPECT_HR(E_POINTER, first->get_Descriptor(nullptr));
    EXPECT_HR(E_POINTER, first->GetReadAccess(nullptr));
    EXPECT_HR(E_POINTER, first->GetWriteAccess(nullptr));
    EXPECT_HR(E_POINTER, first->Clone(Tavlo_SingleWriter, nullptr));
    EXPECT_HR(E_POINTER, internal->GetProperty(Text(L"x").get(), nullptr));
    EXPECT_HR(E_POINTER, internal->GetPropertyNames(nullptr));
}

TEST(Image, ThatIsBoundToNothingIsPending)
{
    const auto image = Create<ITavlo2>(CLSID_Tavlo);
    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    ComPtr<IReadAccessor> reader;
    ComPtr<IWriteAccessor> writer;
    ComPtr<ITavlo2> clone;
    ComPtr<ITavloDescriptor> descriptor;
    ComPtr<ITavloDescriptor2> descriptor2;
    EXPECT_HR(E_PENDING, image->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_HR(E_PENDING, first->GetReadAccess(&reader));
    EXPECT_HR(E_PENDING, image->GetWriteAccess(&writer));
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER), image->Clone(Tavlo_SingleWriter, &clone))
        << "the copy is made before the image is read";
    EXPECT_HR(E_UNEXPECTED, first->get_Descriptor(&descriptor));
    EXPECT_HR(E_INVALIDARG, image->get_Descriptor(&descriptor2));
    EXPECT_HR(S_OK, image->Dispose());
}

TEST(Image, ReadOnlyRefusesWriters)
{
    const auto image = GreyImage(5, 4, Tavlo_ReadOnly);
    IWriteAccessor* writer = reinterpret_cast<IWriteAccessor*>(1);
    EXPECT_HR(E_ACCESSDENIED, image->GetWriteAccess(&writer));
    EXPECT_EQ(writer, nullptr);
    ComPtr<IReadAccessor> reader;
    EXPECT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
}

TEST(Image, SingleWriterRefusesASecondWriterWhileTheFirstLives)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> first;
    ComPtr<IWriteAccessor> second;
    ComPtr<IReadAccessor> reader;
    ASSERT_HR(S_OK, image->GetWriteAccess(&first));
    EXPECT_HR(E_ACCESSDENIED, image->GetWriteAccess(&second));
    EXPECT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader)) << "readers are never refused";
    first.Reset();
    EXPECT_HR(S_OK, image->GetWriteAccess(&second));
}

TEST(Image, MultipleWritersAreUnlimited)
{
    const auto image = GreyImage(5, 4, Tavlo_MultipleWriters);
    std::array<ComPtr<IWriteAccessor>, 20> writers;
    for (auto& writer : writers)
        ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    EXPECT_EQ(writers.front()->Ptr(0), writers.back()->Ptr(0));
}

TEST(Image, AnUnknownAccessModeIsKeptAndGrantsWriting)
{
    const auto image = GreyImage(5, 4, static_cast<TavloAccess>(3));
    ComPtr<IWriteAccessor> first;
    ComPtr<IWriteAccessor> second;
    EXPECT_HR(S_OK, image->GetWriteAccess(&first));
    EXPECT_HR(S_OK, image->GetWriteAccess(&second));
}

TEST(Image, CountsWritersThroughItsPrivateInterface)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    const auto internal = Internal(image.Get());
    ComPtr<IWriteAccessor> writer;
    EXPECT_HR(S_OK, internal->AddReader());
    EXPECT_HR(S_OK, internal->AddWriter());
    EXPECT_HR(E_ACCESSDENIED, image->GetWriteAccess(&writer));
    EXPECT_HR(S_OK, internal->ReleaseWriter());
    EXPECT_HR(S_OK, internal->ReleaseReader());
    EXPECT_HR(S_OK, image->GetWriteAccess(&writer));
}

TEST(Image, ClonesItsBytes)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    for (int i = 0; i < 20; ++i)
        static_cast<std::uint8_t*>(writer->Ptr(0))[i] = static_cast<std::uint8_t>(i * 7);

    for (const TavloAccess access : {Tavlo_ReadOnly, Tavlo_SingleWriter, Tavlo_MultipleWriters}) {
        ComPtr<ITavlo2> clone;
        ASSERT_HR(S_OK, image->Clone(access, &clone));
        ComPtr<IReadAccessor> reader;
        ASSERT_HR(S_OK, clone->GetReadAccess(nullptr, 1.0, &reader));
        EXPECT_NE(reader->Ptr(0), writer->Ptr(0));
        const auto bytes = [](void* first) {
            const auto* begin = static_cast<const std::uint8_t*>(first);
            return std::vector<std::uint8_t>(begin, begin + 20);
        };
        EXPECT_EQ(bytes(reader->Ptr(0)), bytes(writer->Ptr(0)));
        ComPtr<IWriteAccessor> cloneWriter;
        EXPECT_HR(access == Tavlo_ReadOnly ? E_ACCESSDENIED : S_OK, clone->GetWriteAccess(&cloneWriter));
        ComPtr<IWriteAccessor> second;
        EXPECT_HR(access == Tavlo_MultipleWriters ? S_OK : E_ACCESSDENIED, clone->GetWriteAccess(&second));
    }
}

TEST(Image, AReadOnlyCloneIsNeverWritable)
{
    const auto image = GreyImage(5, 4, Tavlo_MultipleWriters);
    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    ComPtr<ITavlo> clone;
    ASSERT_HR(S_OK, first->Clone(Tavlo_ReadOnly, &clone));
    for (int i = 0; i < 3; ++i) {
        ComPtr<IWriteAccessor> writer;
        EXPECT_HR(E_ACCESSDENIED, clone->GetWriteAccess(&writer));
    }
    ComPtr<ITavlo> copy;
    EXPECT_HR(S_OK, clone->Clone(Tavlo_SingleWriter, &copy)) << "but it is copied again";
    ComPtr<IWriteAccessor> writer;
    EXPECT_HR(S_OK, copy->GetWriteAccess(&writer));
}

TEST(Image, DisposeWithoutAHookChangesNothing)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    EXPECT_HR(S_OK, image->Dispose());
    EXPECT_HR(S_OK, Internal(image.Get())->Dispose());
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    *static_cast<std::uint8_t*>(writer->Ptr(19)) = 1;
}

TEST(Image, DisposeCallsTheHookAndReturnsItsResult)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    const auto internal = Internal(image.Get());
    CountingHook hook;
    EXPECT_HR(S_OK, internal->SetDisposalHook(
                        reinterpret_cast<ULONG_PTR>(static_cast<ITavloDisposalHook*>(&hook))));
    EXPECT_HR(S_FALSE, image->Dispose());
    EXPECT_HR(S_FALSE, internal->Dispose());
    EXPECT_EQ(hook.calls, 2);
    EXPECT_HR(S_OK, internal->SetDisposalHook(0));
    EXPECT_HR(S_OK, image->Dispose());
    EXPECT_EQ(hook.calls, 2);
}

TEST(Image, KeepsNamedValuesUntilTheNextUpdate)
{
    const auto image = GreyImage(5, 4, Tavlo_SingleWriter);
    const auto internal = Internal(image.Get());
    EXPECT_HR(S_OK, internal->SetProperty(Text(L"mean").get(), Number(7)));
    EXPECT_HR(S_OK, internal->SetProperty(Text(L"mean").get(), Number(8)));
    EXPECT_HR(S_OK, internal->SetProperty(Text(L"Max").get(), Number(9)));
    VARIANT value;
    EXPECT_HR(S_OK, internal->GetProperty(Text(L"mean").get(), &value));
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 8);
    EXPECT_EQ(PropertyNames(internal.Get()), (std::vector<std::wstring>{L"Max", L"mean"}));

    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    EXPECT_HR(S_OK, writer->Invalidate(nullptr));
    EXPECT_HR(E_INVALIDARG, internal->GetProperty(Text(L"mean").get(), &value));
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_TRUE(PropertyNames(internal.Get()).empty());
}

TEST(Image, CopiesNamedValues)
{
    const auto internal = Internal(GreyImage(5, 4, Tavlo_SingleWriter).Get());
    const Text text(L"a text");
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = text.get();
    EXPECT_HR(S_OK, internal->SetProperty(Text(L"name").get(), value));
    VARIANT copy;
    EXPECT_HR(S_OK, internal->GetProperty(Text(L"name").get(), &copy));
    ASSERT_EQ(copy.vt, VT_BSTR);
    EXPECT_NE(copy.bstrVal, text.get());
    EXPECT_STREQ(copy.bstrVal, L"a text");
    VariantClear(&copy);
}

TEST(Image, OrdersNamesByCodeUnit)
{
    const auto internal = Internal(GreyImage(5, 4, Tavlo_SingleWriter).Get());
    for (const wchar_t* name :
         {L"b", L"\uffff", L"", L"B", L"\u00e4", L"ab", L"\xd800\xdc00", L"\xffee", L"a"})
        EXPECT_HR(S_OK, internal->SetProperty(Text(name).get(), Number(1)));
    const std::vector<std::wstring> expected = {
        L"", L"B", L"a", L"ab", L"b", L"\u00e4", L"\xd800\xdc00", L"\xffee", L"\uffff"};
    EXPECT_EQ(PropertyNames(internal.Get()), expected);
}

TEST(Image, IsSafeForScripts)
{
    ComPtr<IObjectSafety> safety;
    ASSERT_HR(S_OK, GreyImage(5, 4, Tavlo_ReadOnly).As(&safety));
    DWORD supported = 0;
    DWORD enabled = 0;
    EXPECT_HR(S_OK, safety->GetInterfaceSafetyOptions(IID_ITavlo2, &supported, &enabled));
    EXPECT_EQ(supported, 3u);
}
