#include "tests/component/component_test.h"
#include "tests/component/outer_object.h"

#include <array>
#include <functional>
#include <objsafe.h>
#include <thread>
#include <vector>

namespace {

struct Values
{
    long width, height, bits, encoding, offset, strideX, strideY;

    friend bool operator==(const Values&, const Values&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Values& v)
    {
        return out << v.width << ',' << v.height << ',' << v.bits << ',' << v.encoding << ',' << v.offset
                   << ',' << v.strideX << ',' << v.strideY;
    }
};

Values Read(ITavloDescriptor2* descriptor)
{
    Values v = {};
    TavloEncoding encoding = {};
    EXPECT_HR(S_OK, descriptor->get_Width(&v.width));
    EXPECT_HR(S_OK, descriptor->get_Height(&v.height));
    EXPECT_HR(S_OK, descriptor->get_Bits(&v.bits));
    EXPECT_HR(S_OK, descriptor->get_Encoding(&encoding));
    EXPECT_HR(S_OK, descriptor->get_Offset(&v.offset));
    EXPECT_HR(S_OK, descriptor->get_Stride_x(&v.strideX));
    EXPECT_HR(S_OK, descriptor->get_Stride_y(&v.strideY));
    v.encoding = encoding;
    return v;
}

ComPtr<ITavloDescriptor> Planar()
{
    auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    descriptor->put_Width(3);
    descriptor->put_Height(2);
    descriptor->put_Channels(2);
    descriptor->put_Bits(0, 8);
    descriptor->put_Encoding(0, Tavlo_Signed);
    descriptor->put_Offset(0, 1);
    descriptor->put_Stride_x(0, 2);
    descriptor->put_Stride_y(0, -3);
    descriptor->put_Bits(1, 12);
    descriptor->put_Encoding(1, Tavlo_Unsigned);
    descriptor->put_Offset(1, 100);
    descriptor->put_Stride_x(1, 4);
    descriptor->put_Stride_y(1, 16);
    return descriptor;
}

ComPtr<IStream> NewStream()
{
    ComPtr<IStream> stream;
    EXPECT_HR(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    return stream;
}

void Rewind(IStream* stream)
{
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
}

ULONG Position(IStream* stream)
{
    ULARGE_INTEGER position = {};
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_CUR, &position));
    return static_cast<ULONG>(position.QuadPart);
}

/// The numbers that the object's own marshaling writes.
std::vector<std::int32_t> Packet(IUnknown* object, REFIID iid)
{
    ComPtr<IMarshal> marshal;
    EXPECT_HR(S_OK, object->QueryInterface(IID_PPV_ARGS(&marshal)));
    const auto stream = NewStream();
    EXPECT_HR(S_OK,
              marshal->MarshalInterface(stream.Get(), iid, object, MSHCTX_LOCAL, nullptr, MSHLFLAGS_NORMAL));
    std::vector<std::int32_t> packet(Position(stream.Get()) / sizeof(std::int32_t));
    Rewind(stream.Get());
    ULONG read = 0;
    EXPECT_HR(S_OK,
              stream->Read(packet.data(), static_cast<ULONG>(packet.size() * sizeof(std::int32_t)), &read));
    return packet;
}

/// A stream that holds these numbers, rewound.
ComPtr<IStream> StreamOf(const std::vector<std::int32_t>& numbers, size_t bytes)
{
    const auto stream = NewStream();
    EXPECT_HR(S_OK, stream->Write(numbers.data(), static_cast<ULONG>(bytes), nullptr));
    Rewind(stream.Get());
    return stream;
}

template <class Interface>
ComPtr<Interface> ThroughMarshaling(Interface* object, DWORD context)
{
    const auto stream = NewStream();
    EXPECT_HR(S_OK, CoMarshalInterface(stream.Get(), __uuidof(Interface), object, context, nullptr,
                                       MSHLFLAGS_NORMAL));
    Rewind(stream.Get());
    ComPtr<Interface> copy;
    EXPECT_HR(S_OK, CoUnmarshalInterface(stream.Get(), __uuidof(Interface),
                                         reinterpret_cast<void**>(copy.GetAddressOf())));
    return copy;
}

} // namespace

TEST(Descriptor2, IsEmptyDataWhenFresh)
{
    EXPECT_EQ(Read(Create<ITavloDescriptor2>(CLSID_TavloDescriptor2).Get()), (Values{0, 0, 0, 8, 0, 0, 0}));
}

TEST(Descriptor2, DerivesWhatWasNeverSet)
{
    const auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    descriptor->put_Encoding(Tavlo_RGB);
    descriptor->put_Width(10);
    EXPECT_EQ(Read(descriptor.Get()), (Values{10, 0, 24, 3, 0, 3, 30}));
    descriptor->put_Height(5);
    descriptor->put_Stride_y(-30);
    EXPECT_EQ(Read(descriptor.Get()), (Values{10, 5, 24, 3, 120, 3, -30}));
}

TEST(Descriptor2, StopsDerivingAFieldThatWasSet)
{
    const auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    descriptor->put_Encoding(Tavlo_RGB);
    descriptor->put_Width(10);
    descriptor->put_Offset(7);
    descriptor->put_Height(5);
    descriptor->put_Stride_y(-30);
    EXPECT_EQ(Read(descriptor.Get()).offset, 7);
    descriptor->put_Bits(12);
    descriptor->put_Encoding(Tavlo_Unsigned);
    EXPECT_EQ(Read(descriptor.Get()), (Values{10, 5, 12, 0, 7, 2, -30}));
}

TEST(Descriptor2, RefusesNullOutPointersAndKeepsItsValues)
{
    const auto descriptor = GreyDescriptor(4, 3);
    const Values before = Read(descriptor.Get());
    EXPECT_HR(E_POINTER, descriptor->get_Width(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Height(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Bits(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Encoding(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Offset(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Stride_x(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Stride_y(nullptr));
    EXPECT_EQ(Read(descriptor.Get()), before);
}

TEST(Descriptor2, TakesAnyValue)
{
    const auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    EXPECT_HR(S_OK, descriptor->put_Width(-5));
    EXPECT_HR(S_OK, descriptor->put_Height(LONG_MIN));
    EXPECT_HR(S_OK, descriptor->put_Bits(LONG_MAX));
    EXPECT_HR(S_OK, descriptor->put_Encoding(static_cast<TavloEncoding>(31)));
    const Values values = Read(descriptor.Get());
    EXPECT_EQ(values.width, -5);
    EXPECT_EQ(values.height, LONG_MIN);
    EXPECT_EQ(values.bits, LONG_MAX);
    EXPECT_EQ(values.encoding, 31);
}

TEST(Descriptor2, MarshalsItsSevenFieldsInOrder)
{
    const auto descriptor = GreyDescriptor(4, 3);
    descriptor->put_Stride_y(-4);
    EXPECT_EQ(Packet(descriptor.Get(), IID_ITavloDescriptor2),
              (std::vector<std::int32_t>{4, 3, 8, 0, 8, 1, -4}));
    ComPtr<IMarshal> marshal;
    ASSERT_HR(S_OK, descriptor.As(&marshal));
    DWORD size = 0;
    EXPECT_HR(S_OK,
              marshal->GetMarshalSizeMax(IID_ITavloDescriptor2, nullptr, MSHCTX_LOCAL, nullptr, 0, &size));
    EXPECT_EQ(size, 28u);
    CLSID clsid = {};
    EXPECT_HR(S_OK,
              marshal->GetUnmarshalClass(IID_ITavloDescriptor2, nullptr, MSHCTX_LOCAL, nullptr, 0, &clsid));
    EXPECT_TRUE(IsEqualCLSID(clsid, CLSID_TavloDescriptor2));
}

TEST(Descriptor2, ArrivesAsACopyThatDerivesEverythingAgain)
{
    const auto original = GreyDescriptor(4, 3);
    original->put_Stride_y(64);
    const auto copy = ThroughMarshaling(original.Get(), MSHCTX_LOCAL);
    ASSERT_NE(copy, nullptr);
    ASSERT_NE(copy.Get(), original.Get());
    EXPECT_EQ(Read(copy.Get()), (Values{4, 3, 8, 0, 0, 1, 64}));
    copy->put_Width(5);
    EXPECT_EQ(Read(copy.Get()), (Values{5, 3, 8, 0, 0, 1, 5})) << "explicitly set fields do not travel";
    EXPECT_EQ(Read(original.Get()).width, 4);
}

TEST(Descriptor, IsEmptyWhenFresh)
{
    const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    long value = -1;
    EXPECT_HR(S_OK, descriptor->get_Width(&value));
    EXPECT_EQ(value, 0);
    EXPECT_HR(S_OK, descriptor->get_Height(&value));
    EXPECT_EQ(value, 0);
    EXPECT_HR(S_OK, descriptor->get_Channels(&value));
    EXPECT_EQ(value, 0);
}

TEST(Descriptor, AppendsChannelsOfDataAndKeepsTheOthers)
{
    const auto descriptor = Planar();
    EXPECT_HR(S_OK, descriptor->put_Channels(3));
    long value = -1;
    TavloEncoding encoding = {};
    EXPECT_HR(S_OK, descriptor->get_Encoding(2, &encoding));
    EXPECT_EQ(encoding, Tavlo_Data);
    for (const auto getter : {&ITavloDescriptor::get_Bits, &ITavloDescriptor::get_Offset,
                              &ITavloDescriptor::get_Stride_x, &ITavloDescriptor::get_Stride_y}) {
        EXPECT_HR(S_OK, (descriptor.Get()->*getter)(2, &value));
        EXPECT_EQ(value, 0);
    }
    EXPECT_HR(S_OK, descriptor->get_Bits(1, &value));
    EXPECT_EQ(value, 12);
    EXPECT_HR(S_OK, descriptor->put_Channels(1));
    EXPECT_HR(S_OK, descriptor->put_Channels(2));
    EXPECT_HR(S_OK, descriptor->get_Bits(1, &value));
    EXPECT_EQ(value, 0) << "a channel that was dropped does not come back";
    EXPECT_HR(S_OK, descriptor->get_Stride_y(0, &value));
    EXPECT_EQ(value, -3);
}

TEST(Descriptor, RefusesANegativeNumberOfChannels)
{
    const auto descriptor = Planar();
    EXPECT_HR(E_INVALIDARG, descriptor->put_Channels(-1));
    EXPECT_HR(E_INVALIDARG, descriptor->put_Channels(LONG_MIN));
    long channels = 0;
    EXPECT_HR(S_OK, descriptor->get_Channels(&channels));
    EXPECT_EQ(channels, 2);
}

TEST(Descriptor, RefusesChannelsThatAreNotThere)
{
    const auto descriptor = Planar();
    for (const long channel : {-1L, 2L, LONG_MIN, LONG_MAX}) {
        long value = 42;
        TavloEncoding encoding = Tavlo_Float;
        for (const auto getter : {&ITavloDescriptor::get_Bits, &ITavloDescriptor::get_Offset,
                                  &ITavloDescriptor::get_Stride_x, &ITavloDescriptor::get_Stride_y})
            EXPECT_HR(E_INVALIDARG, (descriptor.Get()->*getter)(channel, &value));
        for (const auto setter : {&ITavloDescriptor::put_Bits, &ITavloDescriptor::put_Offset,
                                  &ITavloDescriptor::put_Stride_x, &ITavloDescriptor::put_Stride_y})
            EXPECT_HR(E_INVALIDARG, (descriptor.Get()->*setter)(channel, 1));
        EXPECT_HR(E_INVALIDARG, descriptor->get_Encoding(channel, &encoding));
        EXPECT_HR(E_INVALIDARG, descriptor->put_Encoding(channel, Tavlo_Float));
        EXPECT_EQ(value, 42);
    }
}

TEST(Descriptor, WithoutChannelsRefusesEveryChannel)
{
    const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    long value = 0;
    EXPECT_HR(E_INVALIDARG, descriptor->get_Bits(0, &value));
    EXPECT_HR(E_INVALIDARG, descriptor->put_Stride_x(0, 1));
}

TEST(Descriptor, RefusesNullOutPointers)
{
    const auto descriptor = Planar();
    EXPECT_HR(E_POINTER, descriptor->get_Width(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Height(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Channels(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Encoding(0, nullptr));
    for (const auto getter : {&ITavloDescriptor::get_Bits, &ITavloDescriptor::get_Offset,
                              &ITavloDescriptor::get_Stride_x, &ITavloDescriptor::get_Stride_y}) {
        EXPECT_HR(E_POINTER, (descriptor.Get()->*getter)(0, nullptr));
        EXPECT_HR(E_POINTER, (descriptor.Get()->*getter)(9, nullptr));
    }
}

TEST(Descriptor, MarshalsItsChannelsInOrder)
{
    const auto descriptor = Planar();
    const std::vector<std::int32_t> expected = {3, 2, 2, 8, 1, 1, 2, -3, 12, 0, 100, 4, 16};
    EXPECT_EQ(Packet(descriptor.Get(), IID_ITavloDescriptor), expected);
    EXPECT_EQ(expected.size() * sizeof(std::int32_t), 52u);
    ComPtr<IMarshal> marshal;
    ASSERT_HR(S_OK, descriptor.As(&marshal));
    DWORD size = 0;
    EXPECT_HR(S_OK,
              marshal->GetMarshalSizeMax(IID_ITavloDescriptor, nullptr, MSHCTX_LOCAL, nullptr, 0, &size));
    EXPECT_EQ(size, 52u);
}

TEST(Descriptor, ArrivesAsACopyInEveryContext)
{
    const auto original = Planar();
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL, MSHCTX_DIFFERENTMACHINE}) {
        const auto copy = ThroughMarshaling(original.Get(), context);
        ASSERT_NE(copy, nullptr);
        EXPECT_NE(copy.Get(), original.Get());
        EXPECT_EQ(Packet(copy.Get(), IID_ITavloDescriptor), Packet(original.Get(), IID_ITavloDescriptor));
    }
}

TEST(Descriptor, ReportsAPacketThatEndsEarly)
{
    struct Case
    {
        CLSID clsid;
        IID iid;
        std::vector<std::int32_t> packet;
    };
    const Case cases[] = {
        {CLSID_TavloDescriptor, IID_ITavloDescriptor, {3, 2, 2, 8, 1, 1, 2, -3, 12, 0, 100, 4, 16}},
        {CLSID_TavloDescriptor2, IID_ITavloDescriptor2, {4, 3, 8, 0, 8, 1, -4}},
    };
    for (const Case& c : cases) {
        const size_t whole = c.packet.size() * sizeof(std::int32_t);
        for (size_t bytes = 0; bytes <= whole; ++bytes) {
            const auto marshal = Create<IMarshal>(c.clsid);
            ComPtr<IUnknown> object;
            const HRESULT expected = bytes == whole ? S_OK : STG_E_READFAULT;
            EXPECT_HR(expected, marshal->UnmarshalInterface(StreamOf(c.packet, bytes).Get(), c.iid,
                                                            reinterpret_cast<void**>(object.GetAddressOf())));
            EXPECT_EQ(object != nullptr, bytes == whole);
            EXPECT_HR(expected, marshal->ReleaseMarshalData(StreamOf(c.packet, bytes).Get()));
        }
    }
}

TEST(Descriptor, RefusesAPacketWithAFalseChannelCount)
{
    const auto marshal = Create<IMarshal>(CLSID_TavloDescriptor);
    for (const std::int32_t count : {-1, INT32_MIN, INT32_MAX}) {
        ComPtr<IUnknown> object;
        EXPECT_HR(count < 0 ? E_INVALIDARG : STG_E_READFAULT,
                  marshal->UnmarshalInterface(StreamOf({1, 1, count, 8, 0}, 20).Get(), IID_ITavloDescriptor,
                                              reinterpret_cast<void**>(object.GetAddressOf())));
        EXPECT_EQ(object, nullptr);
    }
}

TEST(Descriptor, SkipsItsOwnPacketOnReleaseAndNoMore)
{
    const auto stream = StreamOf({3, 2, 1, 8, 1, 1, 2, -3, 77, 78}, 40);
    EXPECT_HR(S_OK, Create<IMarshal>(CLSID_TavloDescriptor)->ReleaseMarshalData(stream.Get()));
    EXPECT_EQ(Position(stream.Get()), 32u);
}

TEST(Descriptors, RefuseNullPointersWhileMarshaling)
{
    for (const CLSID& clsid : {CLSID_TavloDescriptor, CLSID_TavloDescriptor2}) {
        const auto marshal = Create<IMarshal>(clsid);
        void* object = nullptr;
        EXPECT_HR(E_POINTER,
                  marshal->GetUnmarshalClass(IID_IUnknown, nullptr, MSHCTX_LOCAL, nullptr, 0, nullptr));
        EXPECT_HR(E_POINTER,
                  marshal->GetMarshalSizeMax(IID_IUnknown, nullptr, MSHCTX_LOCAL, nullptr, 0, nullptr));
        EXPECT_HR(E_POINTER,
                  marshal->MarshalInterface(nullptr, IID_IUnknown, nullptr, MSHCTX_LOCAL, nullptr, 0));
        EXPECT_HR(E_POINTER, marshal->UnmarshalInterface(nullptr, IID_IUnknown, &object));
        EXPECT_HR(E_POINTER, marshal->UnmarshalInterface(NewStream().Get(), IID_IUnknown, nullptr));
        EXPECT_HR(E_POINTER, marshal->ReleaseMarshalData(nullptr));
        EXPECT_HR(S_OK, marshal->DisconnectObject(0));
    }
}

TEST(Descriptors, AreSafeForScripts)
{
    for (const CLSID& clsid : {CLSID_TavloDescriptor, CLSID_TavloDescriptor2}) {
        const auto safety = Create<IObjectSafety>(clsid);
        DWORD supported = 0;
        DWORD enabled = 9;
        EXPECT_HR(S_OK, safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled));
        EXPECT_EQ(supported, 3u);
        EXPECT_EQ(enabled, 0u);
        EXPECT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, 3, 3));
        EXPECT_HR(S_OK, safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled));
        EXPECT_EQ(enabled, 3u);
        EXPECT_HR(E_FAIL, safety->SetInterfaceSafetyOptions(IID_IDispatch, 4, 4));
        EXPECT_HR(E_NOINTERFACE, safety->SetInterfaceSafetyOptions(IID_IStream, 1, 1));
        EXPECT_HR(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &enabled));
    }
}

TEST(Descriptors, WorkAsAPartOfAnotherObject)
{
    OuterObject outer(CLSID_TavloDescriptor2);
    {
        ComPtr<ITavloDescriptor2> descriptor;
        ASSERT_HR(S_OK, outer.QueryInterface(IID_PPV_ARGS(&descriptor)));
        EXPECT_EQ(outer.count, 2u) << "an interface is counted by the outer object";
        descriptor->put_Encoding(Tavlo_Float);
        EXPECT_EQ(Read(descriptor.Get()).bits, 32);
        ComPtr<IUnknown> identity;
        ASSERT_HR(S_OK, descriptor.As(&identity));
        EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(&outer));
    }
    EXPECT_EQ(outer.count, 1u);
}

TEST(Descriptors, AreOnlyAggregatedThroughIUnknown)
{
    OuterObject outer(CLSID_TavloDescriptor);
    ITavloDescriptor* descriptor = reinterpret_cast<ITavloDescriptor*>(1);
    EXPECT_HR(CLASS_E_NOAGGREGATION,
              CoCreateInstance(CLSID_TavloDescriptor, &outer, CLSCTX_INPROC_SERVER, IID_ITavloDescriptor,
                               reinterpret_cast<void**>(&descriptor)));
    EXPECT_EQ(descriptor, nullptr);
}

TEST(Descriptors, AreMadeAndUsedOnTwoThreads)
{
    const auto shared = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    const auto work = [&](std::function<HRESULT(long)> put) {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        for (long i = 0; i < 2000; ++i) {
            put(i);
            const auto own = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
            own->put_Channels(i % 5);
            long channels = -1;
            own->get_Channels(&channels);
            EXPECT_EQ(channels, i % 5);
        }
        CoUninitialize();
    };
    std::thread first(work, [&](long i) { return shared->put_Bits(i); });
    std::thread second(work, [&](long i) { return shared->put_Offset(i); });
    first.join();
    second.join();
    EXPECT_EQ(Read(shared.Get()).bits, 1999);
    EXPECT_EQ(Read(shared.Get()).offset, 1999);
}

TEST(Descriptors, AreReachedByNameAsWell)
{
    const auto dispatch = Create<IDispatch>(CLSID_TavloDescriptor2);
    wchar_t text[] = L"stride_X";
    wchar_t* name = text;
    DISPID id = 0;
    ASSERT_HR(S_OK, dispatch->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    EXPECT_EQ(id, 7);
    VARIANTARG value;
    value.vt = VT_I4;
    value.lVal = 9;
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&value, &put, 1, 1};
    EXPECT_HR(S_OK, dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &parameters,
                                     nullptr, nullptr, nullptr));
    DISPPARAMS none = {};
    VARIANT result;
    VariantInit(&result);
    EXPECT_HR(S_OK, dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &result,
                                     nullptr, nullptr));
    EXPECT_EQ(result.vt, VT_I4);
    EXPECT_EQ(result.lVal, 9);
    UINT count = 0;
    EXPECT_HR(S_OK, dispatch->GetTypeInfoCount(&count));
    EXPECT_EQ(count, 1u);
    ComPtr<ITypeInfo> info;
    EXPECT_HR(DISP_E_BADINDEX, dispatch->GetTypeInfo(1, 0, &info));
    EXPECT_HR(S_OK, dispatch->GetTypeInfo(0, 0, &info));
    EXPECT_HR(DISP_E_UNKNOWNINTERFACE, dispatch->GetIDsOfNames(IID_IUnknown, &name, 1, 0, &id));
}
