// What a reflector tells its clients.
#include "tests/component/events/reflector_test.h"

TEST(Reflector, RaisesTheUpdatesOfItsImage)
{
    const auto image = SharedImage(640, 480);
    const auto reflector = NewReflector();
    const auto client = New<Client>();
    DWORD cookie = 0;
    ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
    ASSERT_HR(S_OK, reflector->Connect(image.Get()));
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    ASSERT_TRUE(client->Receives(1));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(client->Receives(2));
    EXPECT_EQ(EdgesOf(client->Calls()[0].rectangle.Get()), (RECT{1, 2, 3, 4}));
    EXPECT_EQ(EdgesOf(client->Calls()[1].rectangle.Get()), (RECT{0, 0, 640, 480}));
    EXPECT_NE(client->Calls()[0].thread, GetCurrentThreadId());
    EXPECT_HR(S_OK, reflector->Disconnect());
    const auto last = New<Handler>();
    EXPECT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(last->Receives(1));
    EXPECT_EQ(client->Calls().size(), 2u);
}

TEST(Reflector, InvokesItsClientsWithOneRectangle)
{
    const ReflectedImage reflected;
    const auto client = New<Client>();
    reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    ASSERT_EQ(client->Calls().size(), 1u);
    const auto call = client->Calls()[0];
    EXPECT_EQ(call.member, 1);
    EXPECT_TRUE(IsEqualIID(call.reserved, IID_NULL));
    EXPECT_EQ(call.locale, 0x400u);
    EXPECT_EQ(call.flags, DISPATCH_METHOD);
    EXPECT_EQ(call.arguments, 1u);
    EXPECT_EQ(call.named, 0u);
    EXPECT_FALSE(call.hasNames);
    EXPECT_EQ(call.type, VT_DISPATCH);
    EXPECT_TRUE(call.hasResult);
    EXPECT_EQ(call.resultType, VT_EMPTY);
    EXPECT_FALSE(call.hasException);
    EXPECT_EQ(EdgesOf(call.rectangle.Get()), (RECT{1, 2, 3, 4}));
}

TEST(Reflector, ClearsWhatItsClientsReturn)
{
    const ReflectedImage reflected;
    const auto answer = New<Handler>();
    const auto client = New<Client>();
    client->answer = answer;
    reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_EQ(answer->References(), 2u) << "the test's and the client's";
}

TEST(Reflector, GivesEveryUpdateARectangleThatClientsMayKeep)
{
    ComPtr<IRectangle> kept;
    {
        const ReflectedImage reflected;
        const auto a = New<Client>();
        const auto b = New<Client>();
        reflected.Advise(a);
        reflected.Advise(b);
        EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
        EXPECT_HR(S_OK, reflected.Raise({5, 6, 7, 8}));
        kept = a->Calls()[0].rectangle;
        EXPECT_EQ(b->Calls()[0].rectangle.Get(), kept.Get());
        EXPECT_NE(a->Calls()[1].rectangle.Get(), kept.Get());
    }
    long bottom = 0;
    EXPECT_HR(S_OK, kept->get_Bottom(&bottom));
    EXPECT_EQ(bottom, 4);
}

TEST(Reflector, GoesOnAfterAClientThatFails)
{
    const ReflectedImage reflected;
    const auto first = New<Client>();
    const auto second = New<Client>([] { return DISP_E_EXCEPTION; });
    const auto third = New<Client>();
    for (const auto& client : {first, second, third})
        reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    for (const auto& client : {first, second, third})
        EXPECT_EQ(client->Calls().size(), 2u);
}

TEST(Reflector, GoesOnWhenAClientThrows)
{
    const ReflectedImage reflected;
    const auto first = New<Client>();
    const auto second = New<Client>([]() -> HRESULT { throw 42; });
    const auto third = New<Client>();
    for (const auto& client : {first, second, third})
        reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    for (const auto& client : {first, second, third})
        EXPECT_EQ(client->Calls().size(), 2u);
}

TEST(Reflector, WithoutClientsSucceeds)
{
    const ReflectedImage reflected;
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
}

TEST(Reflector, DoesNotReachAClientThatAnEarlierOneUnadvised)
{
    const ReflectedImage reflected;
    const auto first = New<Client>([&] {
        EXPECT_HR(S_OK, reflected.events->Unadvise(1));
        EXPECT_HR(S_OK, reflected.events->Unadvise(3));
        return S_OK;
    });
    const auto second = New<Client>();
    const auto third = New<Client>();
    for (const auto& client : {first, second, third})
        reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_HR(S_OK, reflected.Raise({5, 6, 7, 8}));
    EXPECT_EQ(first->Calls().size(), 1u);
    EXPECT_EQ(second->Calls().size(), 2u);
    EXPECT_EQ(third->Calls().size(), 0u);
    EXPECT_EQ(first->References(), 1u);
    EXPECT_EQ(third->References(), 1u);
}

TEST(Reflector, TakesTheNumberOfSlotsOnce)
{
    const ReflectedImage reflected;
    const auto inNewSlot = New<Client>();
    const auto inFreedSlot = New<Client>();
    bool isFirstTime = true;
    const auto first = New<Client>([&] {
        if (std::exchange(isFirstTime, false)) {
            EXPECT_EQ(reflected.Advise(inNewSlot), 3u);
            EXPECT_HR(S_OK, reflected.events->Unadvise(2));
            EXPECT_EQ(reflected.Advise(inFreedSlot), 2u);
        }
        return S_OK;
    });
    const auto second = New<Client>();
    reflected.Advise(first);
    reflected.Advise(second);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_EQ(second->Calls().size(), 0u);
    EXPECT_EQ(inFreedSlot->Calls().size(), 1u);
    EXPECT_EQ(inNewSlot->Calls().size(), 0u);
    EXPECT_HR(S_OK, reflected.Raise({5, 6, 7, 8}));
    EXPECT_EQ(inNewSlot->Calls().size(), 1u);
}

TEST(Reflector, LocksNothingWhileAClientRuns)
{
    const ReflectedImage reflected;
    const auto client = New<Client>([&] {
        InApartment(COINIT_MULTITHREADED, [&] {
            const auto other = New<Client>();
            EXPECT_HR(S_OK, reflected.events->Unadvise(reflected.Advise(other)));
        }).join();
        return S_OK;
    });
    reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_EQ(client->Calls().size(), 1u);
}

TEST(Reflector, MeansTheWholeImageWithoutARectangle)
{
    for (const bool namesImage : {false, true}) {
        const ReflectedImage reflected;
        const auto client = New<Client>();
        reflected.Advise(client);
        EXPECT_HR(S_OK, reflected.image->handler->OnImageUpdate(namesImage ? reflected.image.Get() : nullptr,
                                                                nullptr));
        ASSERT_EQ(client->Calls().size(), 1u);
        EXPECT_EQ(EdgesOf(client->Calls()[0].rectangle.Get()), (RECT{0, 0, 640, 480}));
        EXPECT_EQ(reflected.image->descriptorsRead, 1);
    }
}

TEST(Reflector, RaisesNothingWhenTheImageCannotBeMeasured)
{
    const ReflectedImage reflected;
    const auto client = New<Client>();
    reflected.Advise(client);
    for (const HRESULT failure : {E_PENDING, E_UNEXPECTED, static_cast<HRESULT>(0x80041234)}) {
        reflected.image->descriptorResult = failure;
        EXPECT_HR(failure, reflected.image->handler->OnImageUpdate(reflected.image.Get(), nullptr));
        EXPECT_HR(failure, reflected.image->handler->OnImageUpdate(nullptr, nullptr));
    }
    EXPECT_EQ(client->Calls().size(), 0u);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4})) << "a rectangle needs no measuring";
    EXPECT_EQ(client->Calls().size(), 1u);
}
