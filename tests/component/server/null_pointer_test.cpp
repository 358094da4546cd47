// Every pointer argument of every method null in turn, with the published result. Objects
// are in the state in which the argument is looked at: images have memory, addressors and
// reflectors have an image, stubs and proxies have one to stand for.
#include "tests/component/events/reflector_test.h"
#include "tests/component/server/component_classes.h"

#include "SentelCommon.h"

#include <cstring>

namespace {

/// Room for an interface pointer that a failing method must clear.
template <class Interface>
class Uncleared
{
public:
    Interface** Place() { return &pointer_; }
    bool IsCleared() const { return pointer_ == nullptr; }

private:
    Interface* pointer_ = reinterpret_cast<Interface*>(1);
};

ComPtr<ITavlo> PlainSide(const ComPtr<ITavlo2>& image)
{
    ComPtr<ITavlo> plain;
    EXPECT_HR(S_OK, image.As(&plain));
    return plain;
}

ComPtr<IStream> PacketForAnotherMachine(ITavlo2* image)
{
    ComPtr<IStream> stream;
    EXPECT_HR(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    EXPECT_HR(S_OK, CoMarshalInterface(stream.Get(), IID_ITavlo2, image, MSHCTX_DIFFERENTMACHINE, nullptr,
                                       MSHLFLAGS_NORMAL));
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
    return stream;
}

/// An image as another machine sees it.
ComPtr<ITavlo2> ProxyOf(ITavlo2* image)
{
    ComPtr<ITavlo2> proxy;
    EXPECT_HR(S_OK, CoUnmarshalInterface(PacketForAnotherMachine(image).Get(), IID_PPV_ARGS(&proxy)));
    return proxy;
}

ComPtr<ITavloStub> StubOf(ITavlo2* image)
{
    ComPtr<IMarshal> marshal;
    EXPECT_HR(S_OK, image->QueryInterface(IID_PPV_ARGS(&marshal)));
    ComPtr<IStream> stream;
    EXPECT_HR(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    EXPECT_HR(S_OK, marshal->MarshalInterface(stream.Get(), IID_ITavlo2, image, MSHCTX_DIFFERENTMACHINE,
                                              nullptr, MSHLFLAGS_NORMAL));
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
    ComPtr<ITavloStub> stub;
    EXPECT_HR(S_OK, CoUnmarshalInterface(stream.Get(), IID_PPV_ARGS(&stub)));
    return stub;
}

void ExpectImageChecks(const ComPtr<ITavlo2>& image)
{
    EXPECT_HR(E_POINTER, image->get_Descriptor(nullptr));
    EXPECT_HR(E_POINTER, image->GetReadAccess(nullptr, 1.0, nullptr));
    RECT part = {0, 0, 1, 1};
    EXPECT_HR(E_POINTER, image->GetReadAccess(&part, 1.0, nullptr));
    ComPtr<IReadAccessor> reader;
    EXPECT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_HR(E_POINTER, image->GetWriteAccess(nullptr));
    EXPECT_HR(E_POINTER, image->Clone(Tavlo_SingleWriter, nullptr));
    EXPECT_HR(E_POINTER, image->Clone(Tavlo_ReadOnly, nullptr));
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        EXPECT_HR(E_POINTER, image->Subscribe(nullptr, mode));
        EXPECT_HR(S_OK, image->Unsubscribe(nullptr)) << "a proxy has subscribed to its stub by now";
    }

    const auto plain = PlainSide(image);
    EXPECT_HR(E_POINTER, plain->get_Descriptor(nullptr));
    EXPECT_HR(E_POINTER, plain->GetReadAccess(nullptr));
    EXPECT_HR(E_POINTER, plain->GetWriteAccess(nullptr));
    EXPECT_HR(E_POINTER, plain->Clone(Tavlo_SingleWriter, nullptr));
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        EXPECT_HR(E_POINTER, plain->Subscribe(nullptr, mode));
        EXPECT_HR(S_OK, plain->Unsubscribe(nullptr)) << "a proxy has subscribed to its stub by now";
    }
}

void ExpectInternalChecks(const ComPtr<ITavlo2>& image)
{
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, image.As(&internal));
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = 7;
    EXPECT_HR(S_OK, internal->SetProperty(nullptr, value)) << "a null name is the empty text";
    VariantInit(&value);
    EXPECT_HR(S_OK, internal->GetProperty(Text(L"").get(), &value));
    EXPECT_EQ(value.lVal, 7);
    EXPECT_HR(S_OK, internal->GetProperty(nullptr, &value));
    EXPECT_HR(E_POINTER, internal->GetProperty(Text(L"").get(), nullptr));
    EXPECT_HR(E_POINTER, internal->GetPropertyNames(nullptr));
    EXPECT_HR(S_OK, internal->Invalidate(nullptr)) << "the whole image";
    EXPECT_HR(S_OK, internal->SetDisposalHook(0));
}

} // namespace

TEST(NullPointers, OfTheDescriptorOfSeveralChannels)
{
    const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    EXPECT_HR(S_OK, descriptor->put_Channels(1));
    EXPECT_HR(E_POINTER, descriptor->get_Width(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Height(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Channels(nullptr));
    for (const long channel : {0, 1}) {
        EXPECT_HR(E_POINTER, descriptor->get_Bits(channel, nullptr));
        EXPECT_HR(E_POINTER, descriptor->get_Encoding(channel, nullptr));
        EXPECT_HR(E_POINTER, descriptor->get_Offset(channel, nullptr));
        EXPECT_HR(E_POINTER, descriptor->get_Stride_x(channel, nullptr));
        EXPECT_HR(E_POINTER, descriptor->get_Stride_y(channel, nullptr));
    }
}

TEST(NullPointers, OfTheDescriptorOfOneChannel)
{
    const auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    EXPECT_HR(E_POINTER, descriptor->get_Width(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Height(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Bits(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Encoding(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Offset(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Stride_x(nullptr));
    EXPECT_HR(E_POINTER, descriptor->get_Stride_y(nullptr));
}

TEST(NullPointers, OfAnImage)
{
    const auto image = GreyImage(4, 4, Tavlo_MultipleWriters);
    ExpectImageChecks(image);
    ExpectInternalChecks(image);
}

TEST(NullPointers, OfAnImageWithoutMemory)
{
    const auto image = Create<ITavlo2>(CLSID_Tavlo);
    EXPECT_HR(E_POINTER, image->get_Descriptor(nullptr));
    EXPECT_HR(E_POINTER, image->GetReadAccess(nullptr, 1.0, nullptr));
    EXPECT_HR(E_POINTER, image->GetWriteAccess(nullptr));
    Uncleared<IReadAccessor> reader;
    EXPECT_HR(E_PENDING, image->GetReadAccess(nullptr, 1.0, reader.Place()));
    EXPECT_TRUE(reader.IsCleared());
    Uncleared<IWriteAccessor> writer;
    EXPECT_HR(E_PENDING, image->GetWriteAccess(writer.Place()));
    EXPECT_TRUE(writer.IsCleared());
}

TEST(NullPointers, OfAProxy)
{
    const auto image = GreyImage(4, 4, Tavlo_MultipleWriters);
    const auto proxy = ProxyOf(image.Get());
    ASSERT_NE(proxy.Get(), nullptr);
    ASSERT_NE(proxy.Get(), image.Get());
    ExpectImageChecks(proxy);
    ExpectInternalChecks(proxy);
    ComPtr<ITavloEvents> events;
    ASSERT_HR(S_OK, proxy.As(&events));
    EXPECT_HR(S_OK, events->OnImageUpdate(nullptr, nullptr)) << "the whole image";
}

TEST(NullPointers, OfAStub)
{
    const auto image = GreyImage(4, 4, Tavlo_MultipleWriters);
    const auto stub = StubOf(image.Get());
    ASSERT_NE(stub.Get(), nullptr);
    EXPECT_HR(E_POINTER, stub->get_Descriptor(nullptr));
    RECT part = {0, 0, 2, 2};
    unsigned char pixels[4] = {};
    EXPECT_HR(E_POINTER, stub->GetData(nullptr, sizeof pixels, pixels));
    EXPECT_HR(E_POINTER, stub->GetData(&part, sizeof pixels, nullptr));
    EXPECT_HR(S_OK, stub->Subscribe(nullptr)) << "ends the updates";
    ComPtr<ITavloEvents> events;
    ASSERT_HR(S_OK, stub.As(&events));
    EXPECT_HR(S_OK, events->OnImageUpdate(nullptr, nullptr)) << "nobody is subscribed";
}

TEST(NullPointers, OfAccessors)
{
    const auto image = GreyImage(4, 4, Tavlo_MultipleWriters);
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    EXPECT_HR(S_OK, writer->Invalidate(nullptr)) << "the whole image";
    EXPECT_HR(E_UNEXPECTED, Create<IWriteAccessor>(CLSID_WriteAccessor)->Invalidate(nullptr));
}

TEST(NullPointers, OfTheFactory)
{
    const auto one = GreyDescriptor(2, 2);
    const Text name(L"Tavlo test: nobody made this");
    const auto factory2 = Create<ITavloFactory2>(CLSID_TavloFactory);
    {
        Uncleared<ITavlo2> image;
        EXPECT_HR(E_POINTER, factory2->Create(nullptr, Tavlo_ReadOnly, image.Place()));
        EXPECT_TRUE(image.IsCleared());
    }
    {
        Uncleared<ITavlo2> image;
        EXPECT_HR(E_POINTER, factory2->Adopt(name.get(), nullptr, Tavlo_ReadOnly, image.Place()));
        EXPECT_TRUE(image.IsCleared());
    }
    {
        Uncleared<ITavlo2> image;
        EXPECT_TRUE(FAILED(factory2->Adopt(nullptr, one.Get(), Tavlo_ReadOnly, image.Place())))
            << "a null name is the empty text, which names no section";
        EXPECT_TRUE(image.IsCleared());
    }
    EXPECT_HR(E_POINTER, factory2->Create(one.Get(), Tavlo_ReadOnly, nullptr));
    EXPECT_HR(E_POINTER, factory2->Adopt(name.get(), one.Get(), Tavlo_ReadOnly, nullptr));
    EXPECT_HR(E_POINTER, factory2->GetSizeFor(1, 1, 1, 1, nullptr));

    const auto many = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    const auto factory = Create<ITavloFactory>(CLSID_TavloFactory);
    {
        Uncleared<ITavlo> image;
        EXPECT_HR(E_POINTER, factory->Create(nullptr, Tavlo_ReadOnly, image.Place()));
        EXPECT_TRUE(image.IsCleared());
    }
    {
        Uncleared<ITavlo> image;
        EXPECT_HR(E_POINTER, factory->Adopt(name.get(), nullptr, Tavlo_ReadOnly, image.Place()));
        EXPECT_TRUE(image.IsCleared());
    }
    {
        Uncleared<ITavlo> image;
        EXPECT_TRUE(FAILED(factory->Adopt(nullptr, many.Get(), Tavlo_ReadOnly, image.Place())));
        EXPECT_TRUE(image.IsCleared());
    }
    EXPECT_HR(E_POINTER, factory->Create(many.Get(), Tavlo_ReadOnly, nullptr));
    EXPECT_HR(E_POINTER, factory->Adopt(name.get(), many.Get(), Tavlo_ReadOnly, nullptr));
    EXPECT_HR(E_POINTER, factory->GetSizeFor(1, 1, 1, 1, nullptr));
}

TEST(NullPointers, OfTheRecoder)
{
    const auto recoder = Create<IRecode>(CLSID_CoRecoder);
    const TavloDescriptorData grey = {1, 1, 8, Tavlo_Unsigned, 0, 1, 1};
    unsigned char pixel = 0;
    unsigned char other = 0;
    for (const auto method : {&IRecode::Recode, &IRecode::Rewrite, &IRecode::Cast}) {
        const auto call = [&](const TavloDescriptorData* source, const unsigned char* src,
                              const TavloDescriptorData* target, unsigned char* dst) {
            return (recoder.Get()->*method)(source, src, target, dst, nullptr, nullptr);
        };
        EXPECT_HR(S_OK, call(&grey, &pixel, &grey, &other)) << "rectangle and point may be left out";
        EXPECT_HR(E_POINTER, call(nullptr, &pixel, &grey, &other));
        EXPECT_HR(E_POINTER, call(&grey, nullptr, &grey, &other));
        EXPECT_HR(E_POINTER, call(&grey, &pixel, nullptr, &other));
        EXPECT_HR(E_POINTER, call(&grey, &pixel, &grey, nullptr));
    }
    EXPECT_HR(E_POINTER, recoder->CreateLUTRecoder(&grey, &grey, nullptr));
    {
        Uncleared<ILUTRecode> converter;
        EXPECT_HR(E_POINTER, recoder->CreateLUTRecoder(nullptr, &grey, converter.Place()));
        EXPECT_TRUE(converter.IsCleared());
    }
    {
        Uncleared<ILUTRecode> converter;
        EXPECT_HR(E_POINTER, recoder->CreateLUTRecoder(&grey, nullptr, converter.Place()));
        EXPECT_TRUE(converter.IsCleared());
    }
    unsigned long size = 0;
    EXPECT_HR(E_POINTER, recoder->TavloDataSize(nullptr, &size));
    EXPECT_HR(E_POINTER,
              recoder->TavloDataSize(Create<ITavloDescriptor>(CLSID_TavloDescriptor).Get(), nullptr));
}

TEST(NullPointers, OfALutRecoder)
{
    const TavloDescriptorData grey = {1, 1, 8, Tavlo_Unsigned, 0, 1, 1};
    const TavloDescriptorData colour = {1, 1, 24, Tavlo_RGB, 0, 3, 3};
    ComPtr<ILUTRecode> recoder;
    ASSERT_HR(S_OK, Create<IRecode>(CLSID_CoRecoder)->CreateLUTRecoder(&grey, &colour, &recoder));
    const unsigned char pixel = 0;
    unsigned char target[3] = {};
    for (const auto method : {&ILUTRecode::Recode, &ILUTRecode::Cast}) {
        EXPECT_HR(S_OK, (recoder.Get()->*method)(&pixel, target, nullptr, nullptr));
        EXPECT_HR(E_POINTER, (recoder.Get()->*method)(nullptr, target, nullptr, nullptr));
        EXPECT_HR(E_POINTER, (recoder.Get()->*method)(&pixel, nullptr, nullptr, nullptr));
    }
    for (const auto get :
         {&ILUTRecode::GetContrast, &ILUTRecode::GetBrightness, &ILUTRecode::GetGamma, &ILUTRecode::GetSigma})
        EXPECT_HR(E_POINTER, (recoder.Get()->*get)(nullptr));
    EXPECT_HR(E_POINTER, recoder->GetColor(0.5, nullptr));
}

TEST(NullPointers, OfTheAddressor)
{
    const auto addressor = Create<ITavloAddressor>(CLSID_TavloAddressor);
    EXPECT_HR(E_INVALIDARG, addressor->Attach(nullptr));
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(0, 0, nullptr)) << "no image comes first";
    for (const TavloAccess access : {Tavlo_ReadOnly, Tavlo_SingleWriter}) {
        EXPECT_HR(S_OK, addressor->Attach(GreyImage(1, 1, access).Get()));
        EXPECT_HR(E_POINTER, addressor->get_Pixel(0, 0, nullptr));
    }
    VARIANT nothing;
    nothing.vt = VT_BSTR;
    nothing.bstrVal = nullptr;
    EXPECT_HR(DISP_E_TYPEMISMATCH, addressor->put_Pixel(0, 0, nothing)) << "a null text is the empty text";
    EXPECT_HR(E_INVALIDARG, addressor->Attach(nullptr));
    EXPECT_HR(E_ACCESSDENIED, addressor->get_Pixel(0, 0, nullptr)) << "a failed Attach lets go";
}

TEST(NullPointers, OfTheReflector)
{
    const auto reflector = NewReflector();
    EXPECT_HR(E_INVALIDARG, reflector->Connect(nullptr));
    ComPtr<IConnectionPointContainer> container;
    ASSERT_HR(S_OK, reflector.As(&container));
    EXPECT_HR(E_POINTER, container->EnumConnectionPoints(nullptr));
    EXPECT_HR(E_POINTER, container->FindConnectionPoint(DIID__ITavloEvents, nullptr));

    const auto point = EventsOf(reflector.Get());
    EXPECT_HR(E_POINTER, point->GetConnectionInterface(nullptr));
    EXPECT_HR(E_POINTER, point->GetConnectionPointContainer(nullptr));
    const auto client = New<Client>();
    DWORD cookie = 9;
    EXPECT_HR(E_POINTER, point->Advise(nullptr, &cookie));
    EXPECT_EQ(cookie, 0u);
    EXPECT_HR(E_POINTER, point->Advise(client.Get(), nullptr));
    EXPECT_HR(E_POINTER, point->EnumConnections(nullptr));
    EXPECT_HR(E_POINTER, point->QueryInterface(IID_IConnectionPoint, nullptr));
}

TEST(NullPointers, OfTheReflectorsEnumerators)
{
    const auto reflector = NewReflector();
    ComPtr<IConnectionPointContainer> container;
    ASSERT_HR(S_OK, reflector.As(&container));
    ComPtr<IEnumConnectionPoints> points;
    ASSERT_HR(S_OK, container->EnumConnectionPoints(&points));
    ULONG fetched = 9;
    IConnectionPoint* slots[2] = {};
    EXPECT_HR(E_POINTER, points->Next(1, nullptr, &fetched));
    EXPECT_HR(E_POINTER, points->Next(2, slots, nullptr)) << "the count may be left out for one slot only";
    EXPECT_HR(E_POINTER, points->Clone(nullptr));

    ComPtr<IEnumConnections> connections;
    ASSERT_HR(S_OK, EventsOf(reflector.Get())->EnumConnections(&connections));
    CONNECTDATA data[2] = {};
    EXPECT_HR(E_POINTER, connections->Next(1, nullptr, &fetched));
    EXPECT_HR(E_POINTER, connections->Next(2, data, nullptr));
    EXPECT_HR(E_POINTER, connections->Clone(nullptr));
}

TEST(NullPointers, OfARectangle)
{
    const ReflectedImage reflected;
    const auto client = New<Client>();
    reflected.Advise(client);
    ASSERT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    const auto rectangle = client->Calls().at(0).rectangle;
    ComPtr<IRectangleInt> other;
    ASSERT_HR(S_OK, rectangle.As(&other));
    for (const auto get :
         {&IRectangle::get_Left, &IRectangle::get_Top, &IRectangle::get_Right, &IRectangle::get_Bottom})
        EXPECT_HR(E_POINTER, (rectangle.Get()->*get)(nullptr));
    for (const auto get : {&IRectangleInt::get_Left, &IRectangleInt::get_Top, &IRectangleInt::get_Right,
                           &IRectangleInt::get_Bottom})
        EXPECT_HR(E_POINTER, (other.Get()->*get)(nullptr));
}

TEST(NullPointers, OfObjectSafety)
{
    for (const ComponentClass& c : ComponentClasses()) {
        if (!c.safeForScripts)
            continue;
        SCOPED_TRACE(c.name);
        const auto safety = Create<IObjectSafety>(c.clsid);
        DWORD options = 0;
        EXPECT_HR(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &options));
        EXPECT_HR(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, &options, nullptr));
    }
}

TEST(NullPointers, OfMarshaling)
{
    for (const CLSID& clsid : {CLSID_TavloDescriptor, CLSID_TavloDescriptor2, CLSID_ReadAccessor,
                               CLSID_WriteAccessor, CLSID_Tavlo}) {
        const auto marshal = Create<IMarshal>(clsid);
        EXPECT_HR(E_POINTER, marshal->GetUnmarshalClass(IID_IUnknown, marshal.Get(), MSHCTX_INPROC, nullptr,
                                                        MSHLFLAGS_NORMAL, nullptr));
        EXPECT_HR(E_POINTER, marshal->GetMarshalSizeMax(IID_IUnknown, marshal.Get(), MSHCTX_INPROC, nullptr,
                                                        MSHLFLAGS_NORMAL, nullptr));
        EXPECT_HR(E_POINTER, marshal->MarshalInterface(nullptr, IID_IUnknown, marshal.Get(), MSHCTX_INPROC,
                                                       nullptr, MSHLFLAGS_NORMAL));
    }
    for (const CLSID& clsid : {CLSID_TavloDescriptor, CLSID_TavloDescriptor2, CLSID_ReadAccessor,
                               CLSID_WriteAccessor, CLSID_TavloProxy}) {
        const auto marshal = Create<IMarshal>(clsid);
        Uncleared<IUnknown> object;
        EXPECT_HR(E_POINTER, marshal->UnmarshalInterface(nullptr, IID_IUnknown,
                                                         reinterpret_cast<void**>(object.Place())));
        EXPECT_TRUE(object.IsCleared());
        ComPtr<IStream> stream;
        ASSERT_HR(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &stream));
        EXPECT_HR(E_POINTER, marshal->UnmarshalInterface(stream.Get(), IID_IUnknown, nullptr));
        EXPECT_HR(E_POINTER, marshal->ReleaseMarshalData(nullptr));
    }
}

TEST(NullPointers, OfLateBinding)
{
    for (const ComponentClass& c : ComponentClasses()) {
        ComPtr<IDispatch> dispatch;
        if (FAILED(Create<IUnknown>(c.clsid).As(&dispatch)))
            continue;
        SCOPED_TRACE(c.name);
        EXPECT_HR(E_POINTER, dispatch->GetTypeInfoCount(nullptr));
        EXPECT_HR(E_POINTER, dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr));
        Uncleared<ITypeInfo> info;
        EXPECT_HR(DISP_E_BADINDEX, dispatch->GetTypeInfo(1, LOCALE_USER_DEFAULT, info.Place()));
        EXPECT_TRUE(info.IsCleared());
        DISPID id = 0;
        wchar_t width[] = L"Width";
        LPOLESTR name = width;
        EXPECT_HR(E_POINTER, dispatch->GetIDsOfNames(IID_NULL, nullptr, 1, LOCALE_USER_DEFAULT, &id));
        EXPECT_HR(E_POINTER, dispatch->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, nullptr));
        EXPECT_HR(E_INVALIDARG, dispatch->Invoke(0x60020000, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                                 nullptr, nullptr, nullptr, nullptr));
    }
}
