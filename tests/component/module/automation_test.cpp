// Scripts by another name: members found by their names, errors as they reach Err, and
// event handlers, in a single-threaded apartment and in the multithreaded one.
#include "tests/component/module/script_host.h"
#include "tests/component/server/component_classes.h"

#include "SentelCommon.h"

#include <algorithm>
#include <cstring>

namespace {

class Script : public testing::TestWithParam<COINIT>
{
protected:
    /// In an apartment that ends when everything of the component is released, also what
    /// an image's worker still holds.
    static void Run(const std::function<void()>& body)
    {
        InApartment(GetParam(), [&] {
            const Module module;
            body();
            EXPECT_TRUE(BecomesWhilePumping([&] { return module.CanUnload() == S_OK; }));
        }).join();
    }
};

constexpr double noNumber = -999;

double NumberOf(const Outcome& outcome)
{
    EXPECT_HR(S_OK, outcome.hr);
    return SUCCEEDED(outcome.hr) ? outcome.Number() : noNumber;
}

ScriptObject ObjectOf(const Outcome& outcome)
{
    EXPECT_HR(S_OK, outcome.hr);
    return ScriptObject(outcome.result.Object());
}

void ExpectSucceeds(const Outcome& outcome)
{
    EXPECT_HR(S_OK, outcome.hr);
}

void ExpectException(HRESULT code, const std::wstring& description, const Outcome& outcome)
{
    EXPECT_HR(DISP_E_EXCEPTION, outcome.hr);
    EXPECT_HR(code, outcome.code);
    EXPECT_EQ(outcome.description, description);
}

ScriptObject NewDescriptor(long encoding, long bits, long width, long height)
{
    const ScriptObject descriptor(L"Tavlo.TavloDescriptor");
    ExpectSucceeds(descriptor.Put(L"Encoding", {encoding}));
    ExpectSucceeds(descriptor.Put(L"Bits", {bits}));
    ExpectSucceeds(descriptor.Put(L"Width", {width}));
    ExpectSucceeds(descriptor.Put(L"Height", {height}));
    return descriptor;
}

ScriptObject NewImage(long encoding, long bits, long access, long width = 4, long height = 3)
{
    const auto descriptor = NewDescriptor(encoding, bits, width, height);
    return ObjectOf(ScriptObject(L"Tavlo.TavloFactory").Call(L"Create", {descriptor.Dispatch(), access}));
}

ComPtr<ITavlo2> ImageOf(const ScriptObject& image)
{
    ComPtr<ITavlo2> early;
    EXPECT_HR(S_OK, image.Dispatch()->QueryInterface(IID_PPV_ARGS(&early)));
    return early;
}

ScriptObject AddressorOf(const ScriptObject& image)
{
    const ScriptObject addressor(L"Tavlo.Addressor");
    ExpectSucceeds(addressor.Call(L"Attach", {image.Dispatch()}));
    return addressor;
}

/// A rectangle object, as events bring one.
ScriptObject NewRectangle(RECT edges)
{
    const auto image = NewImage(0, 8, Tavlo_MultipleWriters);
    const ScriptObject reflector(L"Tavlo.TavloEventsReflector");
    std::atomic<int> updates = 0;
    Variant rectangle;
    {
        const ScriptEvents events(reflector, {{L"OnImageUpdate", [&](const std::vector<Variant>& arguments) {
                                                   rectangle = arguments.at(0);
                                                   ++updates;
                                               }}});
        ExpectSucceeds(reflector.Call(L"Connect", {image.Dispatch()}));
        EXPECT_HR(S_OK, Invalidate(ImageOf(image).Get(), &edges));
        EXPECT_TRUE(BecomesWhilePumping([&] { return updates == 1; }));
        ExpectSucceeds(reflector.Call(L"Disconnect"));
    }
    return ScriptObject(rectangle.Object());
}

void ExpectEdges(const ScriptObject& rectangle, RECT edges)
{
    EXPECT_EQ(NumberOf(rectangle.Get(L"Left")), edges.left);
    EXPECT_EQ(NumberOf(rectangle.Get(L"Top")), edges.top);
    EXPECT_EQ(NumberOf(rectangle.Get(L"Right")), edges.right);
    EXPECT_EQ(NumberOf(rectangle.Get(L"Bottom")), edges.bottom);
}

} // namespace

TEST_P(Script, UsesEveryMemberOfTheDescriptorOfOneChannel)
{
    Run([] {
        const ScriptObject descriptor(L"Tavlo.TavloDescriptor.2");
        EXPECT_EQ(descriptor.TypeName(), L"ITavloDescriptor2");
        long value = 0;
        for (const wchar_t* name :
             {L"Width", L"Height", L"Bits", L"Encoding", L"Offset", L"Stride_x", L"Stride_y"}) {
            ExpectSucceeds(descriptor.Put(name, {++value}));
            EXPECT_EQ(NumberOf(descriptor.Get(name)), value);
        }
        EXPECT_HR(DISP_E_UNKNOWNNAME, descriptor.Get(L"Channels").hr);
    });
}

TEST_P(Script, UsesEveryMemberOfTheDescriptorOfSeveralChannels)
{
    Run([] {
        const ScriptObject descriptor(L"Tavlo.TavloDescriptor.1");
        EXPECT_EQ(descriptor.TypeName(), L"ITavloDescriptor");
        long value = 2;
        for (const wchar_t* name : {L"Channels", L"Width", L"Height"}) {
            ExpectSucceeds(descriptor.Put(name, {value}));
            EXPECT_EQ(NumberOf(descriptor.Get(name)), value++);
        }
        for (const wchar_t* name : {L"Bits", L"Encoding", L"Offset", L"Stride_x", L"Stride_y"}) {
            ExpectSucceeds(descriptor.Put(name, {1, ++value}));
            EXPECT_EQ(NumberOf(descriptor.Get(name, {1})), value);
            ExpectException(E_INVALIDARG, L"", descriptor.Get(name, {2}));
            ExpectException(E_INVALIDARG, L"", descriptor.Put(name, {2, 0}));
        }
    });
}

TEST_P(Script, UsesEveryMemberOfTheFactory)
{
    Run([] {
        const ScriptObject factory(L"Tavlo.TavloFactory");
        EXPECT_EQ(factory.TypeName(), L"ITavloFactory2");
        EXPECT_EQ(NumberOf(factory.Call(L"GetSizeFor", {640, 480, 1, 640})), 307200);
        const auto descriptor = NewDescriptor(Tavlo_Unsigned, 8, 4, 3);
        EXPECT_EQ(ObjectOf(factory.Call(L"Create", {descriptor.Dispatch(), Tavlo_SingleWriter})).TypeName(),
                  L"ITavlo2");

        const wchar_t name[] = L"Tavlo test: adopted by a script";
        const HANDLE section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 12, name);
        ASSERT_NE(section, nullptr);
        const auto adopted = factory.Call(L"Adopt", {name, descriptor.Dispatch(), Tavlo_SingleWriter});
        ExpectSucceeds(AddressorOf(ObjectOf(adopted)).Put(L"Pixel", {1, 0, 77}));
        auto* view = static_cast<unsigned char*>(MapViewOfFile(section, FILE_MAP_READ, 0, 0, 0));
        EXPECT_EQ(view[1], 77);
        UnmapViewOfFile(view);
        CloseHandle(section);
    });
}

TEST_P(Script, UsesEveryMemberOfAnImage)
{
    Run([] {
        const auto image = NewImage(Tavlo_Unsigned, 8, Tavlo_SingleWriter);
        EXPECT_EQ(image.TypeName(), L"ITavlo2");
        EXPECT_EQ(NumberOf(ObjectOf(image.Get(L"Descriptor")).Get(L"Height")), 3);
        {
            const Outcome writer = image.Call(L"GetWriteAccess");
            EXPECT_HR(S_OK, writer.hr);
            EXPECT_EQ(writer.result.Type(), VT_UNKNOWN) << "accessors are nothing for scripts";
            ExpectException(E_ACCESSDENIED, L"", image.Call(L"GetWriteAccess"));
        }
        EXPECT_HR(S_OK, image.Call(L"GetWriteAccess").hr);
        EXPECT_EQ(ObjectOf(image.Call(L"Clone", {Tavlo_ReadOnly})).TypeName(), L"ITavlo2");
        const auto handler = New<Handler>();
        ExpectSucceeds(image.Call(L"Subscribe", {static_cast<IUnknown*>(handler.Get()), Tavlo_Synchronous}));
        EXPECT_HR(S_OK, Invalidate(ImageOf(image).Get(), nullptr));
        EXPECT_EQ(handler->Received(), (std::vector<RECT>{{0, 0, 4, 3}}));
        ExpectSucceeds(image.Call(L"Unsubscribe", {static_cast<IUnknown*>(handler.Get())}));
        EXPECT_HR(S_OK, Invalidate(ImageOf(image).Get(), nullptr));
        EXPECT_EQ(handler->Received().size(), 1u);
        ExpectSucceeds(image.Call(L"Dispose"));
    });
}

TEST_P(Script, CannotPassTheRectangleOfGetReadAccess)
{
    Run([] {
        const auto image = NewImage(Tavlo_Unsigned, 8, Tavlo_SingleWriter);
        EXPECT_TRUE(FAILED(image.Call(L"GetReadAccess", {1, 1.0}).hr));
        EXPECT_TRUE(FAILED(image.Call(L"GetReadAccess", {L"0,0,1,1", 1.0}).hr));
        EXPECT_TRUE(FAILED(image.Call(L"GetReadAccess").hr)) << "the rectangle cannot be left out";
    });
}

TEST_P(Script, UsesEveryMemberOfTheAddressor)
{
    Run([] {
        const auto image = NewImage(Tavlo_Signed, 16, Tavlo_SingleWriter);
        const auto addressor = AddressorOf(image);
        EXPECT_EQ(addressor.TypeName(), L"ITavloAddressor");
        ExpectSucceeds(addressor.Put(L"Pixel", {2, 1, -300}));
        EXPECT_EQ(NumberOf(addressor.Get(L"Pixel", {2, 1})), -300);
        ExpectSucceeds(addressor.Invoke(DISPID_VALUE, DISPATCH_PROPERTYPUT, {3, 1, L"12"}));
        EXPECT_EQ(NumberOf(addressor.Invoke(DISPID_VALUE, DISPATCH_PROPERTYGET, {3, 1})), 12);
        EXPECT_EQ(NumberOf(addressor.Invoke(DISPID_VALUE, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {3, 1})),
                  12)
            << "engines that do not tell a call from a property";
        ExpectSucceeds(addressor.Call(L"Detach"));
        ExpectException(E_ACCESSDENIED, L"", addressor.Get(L"Pixel", {2, 1}));
    });
}

TEST_P(Script, UsesEveryMemberOfTheReflector)
{
    Run([] {
        const ScriptObject reflector(L"Tavlo.TavloEventsReflector");
        EXPECT_EQ(reflector.TypeName(), L"ITavloEventsReflector");
        ExpectSucceeds(reflector.Call(L"Disconnect"));
        const auto image = NewImage(Tavlo_Unsigned, 8, Tavlo_SingleWriter);
        ExpectSucceeds(reflector.Call(L"Connect", {image.Dispatch()}));
        ExpectSucceeds(reflector.Call(L"Disconnect"));
        ExpectException(E_INVALIDARG, L"", reflector.Call(L"Connect", {static_cast<IDispatch*>(nullptr)}));
    });
}

TEST_P(Script, UsesEveryMemberOfARectangle)
{
    Run([] {
        const auto rectangle = NewRectangle({1, 2, 3, 4});
        EXPECT_EQ(rectangle.TypeName(), L"IRectangle");
        ExpectEdges(rectangle, {1, 2, 3, 4});
        ComPtr<IRectangleInt> other;
        ASSERT_HR(S_OK, rectangle.Dispatch()->QueryInterface(IID_PPV_ARGS(&other)));
        const ScriptObject integers{ComPtr<IDispatch>(other.Get())};
        EXPECT_EQ(integers.TypeName(), L"IRectangleInt");
        ExpectEdges(integers, {1, 2, 3, 4});
        long value = 10;
        for (const wchar_t* edge : {L"Left", L"Top", L"Right", L"Bottom"}) {
            ExpectSucceeds(integers.Put(edge, {value++}));
            ExpectSucceeds(rectangle.Put(edge, {Variant(NumberOf(rectangle.Get(edge)) * 2)}));
        }
        ExpectEdges(integers, {20, 22, 24, 26});
    });
}

TEST_P(Script, FindsMembersWhateverTheirCase)
{
    Run([] {
        const ScriptObject descriptor(L"Tavlo.TavloDescriptor");
        ExpectSucceeds(descriptor.Put(L"STRIDE_X", {5}));
        EXPECT_EQ(NumberOf(descriptor.Get(L"stride_X")), 5);
    });
}

TEST_P(Script, NamesItsArguments)
{
    Run([] {
        const ScriptObject factory(L"Tavlo.TavloFactory");
        wchar_t method[] = L"GetSizeFor";
        wchar_t width[] = L"Width";
        wchar_t height[] = L"Height";
        wchar_t strideX[] = L"Stride_x";
        wchar_t strideY[] = L"Stride_y";
        LPOLESTR names[] = {method, strideY, strideX, height, width};
        DISPID ids[5] = {};
        ASSERT_HR(S_OK, factory.Dispatch()->GetIDsOfNames(IID_NULL, names, 5, LOCALE_USER_DEFAULT, ids));
        EXPECT_EQ(std::vector<DISPID>(ids, ids + 5), (std::vector<DISPID>{0x60020002, 3, 2, 1, 0}));
        VARIANTARG values[] = {Variant(640).Get(), Variant(1).Get(), Variant(480).Get(), Variant(640).Get()};
        DISPPARAMS parameters = {values, ids + 1, 4, 4};
        Variant size;
        EXPECT_HR(S_OK, factory.Dispatch()->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                                   &parameters, size.Place(), nullptr, nullptr));
        EXPECT_EQ(size.Number(), 307200);
    });
}

TEST_P(Script, IsToldWhatItCallsWrongly)
{
    Run([] {
        const ScriptObject factory(L"Tavlo.TavloFactory");
        EXPECT_HR(DISP_E_UNKNOWNNAME, factory.Call(L"Destroy").hr);
        EXPECT_HR(DISP_E_BADPARAMCOUNT, factory.Call(L"GetSizeFor", {1, 2, 3, 4, 5}).hr);
        EXPECT_HR(DISP_E_TYPEMISMATCH, factory.Call(L"GetSizeFor", {L"wide", 2, 3, 4}).hr);
        EXPECT_HR(DISP_E_MEMBERNOTFOUND, factory.Invoke(0x60020003, DISPATCH_METHOD, {}).hr);
        EXPECT_HR(DISP_E_MEMBERNOTFOUND, factory.Put(L"GetSizeFor", {1}).hr);
        DISPPARAMS none = {};
        EXPECT_HR(DISP_E_UNKNOWNINTERFACE,
                  factory.Dispatch()->Invoke(0x60020002, IID_IDispatch, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                             &none, nullptr, nullptr, nullptr));
        wchar_t create[] = L"Create";
        LPOLESTR name = create;
        DISPID id = 0;
        EXPECT_HR(DISP_E_UNKNOWNINTERFACE,
                  factory.Dispatch()->GetIDsOfNames(IID_IDispatch, &name, 1, LOCALE_USER_DEFAULT, &id));
    });
}

TEST_P(Script, FindsTheDescriptionOfAFailureInErr)
{
    Run([] {
        const ScriptObject addressor(L"Tavlo.Addressor");
        ExpectException(E_INVALIDARG, L"null ITavlo2",
                        addressor.Call(L"Attach", {static_cast<IDispatch*>(nullptr)}));
        const auto deep = NewImage(Tavlo_Unsigned, 64, Tavlo_SingleWriter);
        ExpectException(E_INVALIDARG, L"Unsupported Tavlo Encoding",
                        addressor.Call(L"Attach", {deep.Dispatch()}));
        const auto data = NewImage(Tavlo_Data, 8, Tavlo_SingleWriter);
        ExpectException(E_INVALIDARG, L"Unsupported Tavlo encoding/bits",
                        addressor.Call(L"Attach", {data.Dispatch()}));
        ExpectException(E_ACCESSDENIED, L"", addressor.Get(L"Pixel", {0, 0}));

        const ScriptObject factory(L"Tavlo.TavloFactory");
        const auto descriptor = NewDescriptor(Tavlo_Unsigned, 8, 1, 1);
        const auto adopted =
            factory.Call(L"Adopt", {L"Tavlo test: nobody made this", descriptor.Dispatch(), 0});
        EXPECT_HR(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), adopted.code);
        EXPECT_EQ(adopted.description.rfind(L"Opening the section failed: ", 0), 0u);
        const auto empty = NewDescriptor(Tavlo_Data, 0, 0, 0);
        const auto created = factory.Call(L"Create", {empty.Dispatch(), 0});
        EXPECT_HR(DISP_E_EXCEPTION, created.hr);
        EXPECT_EQ(created.description.rfind(L"Creating the section failed: ", 0), 0u);
    });
}

TEST_P(Script, SeesConversionsFailWithTheirOwnCode)
{
    Run([] {
        const auto addressor = AddressorOf(NewImage(Tavlo_Unsigned, 8, Tavlo_SingleWriter));
        EXPECT_HR(DISP_E_OVERFLOW, addressor.Put(L"Pixel", {0, 0, L"300"}).code);
        EXPECT_HR(DISP_E_TYPEMISMATCH, addressor.Put(L"Pixel", {0, 0, L"much"}).code);
        EXPECT_EQ(NumberOf(addressor.Get(L"Pixel", {0, 0})), 0);
    });
}

TEST_P(Script, HandlesUpdates)
{
    Run([] {
        const auto image = NewImage(Tavlo_Unsigned, 8, Tavlo_MultipleWriters, 640, 480);
        const ScriptObject reflector(L"Tavlo.TavloEventsReflector");
        ExpectSucceeds(reflector.Call(L"Connect", {image.Dispatch()}));
        std::atomic<int> updates = 0;
        std::vector<DWORD> threads;
        std::vector<RECT> received;
        const ScriptEvents events(
            reflector,
            {{L"OnImageUpdate", [&](const std::vector<Variant>& arguments) {
                  ASSERT_EQ(arguments.size(), 1u);
                  const ScriptObject dirty(arguments[0].Object());
                  const auto edge = [&](const wchar_t* name) {
                      return static_cast<long>(NumberOf(dirty.Get(name)));
                  };
                  received.push_back({edge(L"Left"), edge(L"Top"), edge(L"Right"), edge(L"Bottom")});
                  threads.push_back(GetCurrentThreadId());
                  ++updates;
              }}});
        EXPECT_HR(S_OK, Invalidate(ImageOf(image), {1, 2, 3, 4}));
        ASSERT_TRUE(BecomesWhilePumping([&] { return updates == 1; }));
        EXPECT_HR(S_OK, Invalidate(ImageOf(image).Get(), nullptr));
        ASSERT_TRUE(BecomesWhilePumping([&] { return updates == 2; }));
        EXPECT_EQ(received, (std::vector<RECT>{{1, 2, 3, 4}, {0, 0, 640, 480}}));
        const bool inTheScriptsThread = GetParam() == COINIT_APARTMENTTHREADED;
        for (const DWORD thread : threads)
            EXPECT_EQ(thread == GetCurrentThreadId(), inTheScriptsThread);
        ExpectSucceeds(reflector.Call(L"Disconnect"));
    });
}

TEST_P(Script, HandlesNoUpdatesOnceDisconnected)
{
    Run([] {
        const auto image = NewImage(Tavlo_Unsigned, 8, Tavlo_MultipleWriters);
        const ScriptObject disconnected(L"Tavlo.TavloEventsReflector");
        const ScriptObject connected(L"Tavlo.TavloEventsReflector");
        std::atomic<int> updatesOfNone = 0;
        std::atomic<int> updates = 0;
        const ScriptEvents none(disconnected,
                                {{L"OnImageUpdate", [&](const std::vector<Variant>&) { ++updatesOfNone; }}});
        const ScriptEvents events(connected,
                                  {{L"OnImageUpdate", [&](const std::vector<Variant>&) { ++updates; }}});
        ExpectSucceeds(disconnected.Call(L"Connect", {image.Dispatch()}));
        ExpectSucceeds(disconnected.Call(L"Disconnect"));
        ExpectSucceeds(connected.Call(L"Connect", {image.Dispatch()}));
        EXPECT_HR(S_OK, Invalidate(ImageOf(image).Get(), nullptr));
        ASSERT_TRUE(BecomesWhilePumping([&] { return updates == 1; }));
        EXPECT_EQ(updatesOfNone, 0);
        ExpectSucceeds(connected.Call(L"Disconnect"));
    });
}

INSTANTIATE_TEST_SUITE_P(Apartments, Script, testing::Values(COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED),
                         [](const auto& apartment) {
                             return apartment.param == COINIT_APARTMENTTHREADED ? "SingleThreaded"
                                                                                : "Multithreaded";
                         });
