// What a reflector is connected to, where it lives and when it dies.
#include "tests/component/events/reflector_test.h"

namespace {

/// An object that a reflector is a part of.
class Outer final : public ClientObject<IUnknown>
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        ++queries;
        const bool isMine = inner == nullptr || IsEqualIID(iid, IID_IUnknown);
        return isMine ? ClientObject::QueryInterface(iid, result) : inner->QueryInterface(iid, result);
    }

    ComPtr<IUnknown> inner;
    int queries = 0;
};

/// One that is connected to an image and tells a client of its updates.
template <class Image>
ComPtr<ITavloEventsReflector> ReflectorOf(const ComPtr<Image>& image, const ComPtr<Client>& client)
{
    auto reflector = NewReflector();
    DWORD cookie = 0;
    EXPECT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
    EXPECT_HR(S_OK, reflector->Connect(image.Get()));
    return reflector;
}

} // namespace

TEST(Reflector, SubscribesAsynchronously)
{
    const ReflectedImage reflected;
    EXPECT_EQ(reflected.image->subscribedMode, Tavlo_Asynchronous);
}

TEST(Reflector, RefusesNull)
{
    std::string journal;
    const auto image = New<ForeignImage>("image", &journal);
    const auto reflector = NewReflector();
    EXPECT_HR(E_INVALIDARG, reflector->Connect(nullptr));
    EXPECT_HR(S_OK, reflector->Connect(image.Get()));
    EXPECT_HR(E_INVALIDARG, reflector->Connect(nullptr));
    EXPECT_EQ(journal, "image subscribe; ") << "it stays connected";
}

TEST(Reflector, DisconnectsWithoutAnImage)
{
    const auto reflector = NewReflector();
    EXPECT_HR(S_OK, reflector->Disconnect());
    EXPECT_HR(S_OK, reflector->Disconnect());
}

TEST(Reflector, LeavesTheFirstImageBeforeItGoesToTheSecond)
{
    std::string journal;
    const auto first = New<ForeignImage>("first", &journal);
    const auto second = New<ForeignImage>("second", &journal);
    const auto reflector = NewReflector();
    EXPECT_HR(S_OK, reflector->Connect(first.Get()));
    EXPECT_HR(S_OK, reflector->Connect(second.Get()));
    EXPECT_EQ(journal, "first subscribe; first unsubscribe; second subscribe; ");
    EXPECT_EQ(first->References(), 1u);
    EXPECT_EQ(second->References(), 2u);
    EXPECT_HR(S_OK, reflector->Disconnect());
    EXPECT_HR(S_OK, reflector->Disconnect());
    EXPECT_EQ(journal, "first subscribe; first unsubscribe; second subscribe; second unsubscribe; ");
    EXPECT_EQ(second->References(), 1u);
}

TEST(Reflector, ConnectsAgainToTheSameImage)
{
    std::string journal;
    const auto image = New<ForeignImage>("image", &journal);
    const auto reflector = NewReflector();
    EXPECT_HR(S_OK, reflector->Connect(image.Get()));
    EXPECT_HR(S_OK, reflector->Connect(image.Get()));
    EXPECT_EQ(journal, "image subscribe; image unsubscribe; image subscribe; ");
    EXPECT_EQ(image->References(), 2u);
}

TEST(Reflector, StaysDisconnectedWhenTheImageRefuses)
{
    std::string journal;
    const auto refusing = New<ForeignImage>("refusing", &journal);
    refusing->subscribeResult = E_ACCESSDENIED;
    const auto reflector = NewReflector();
    EXPECT_HR(E_ACCESSDENIED, reflector->Connect(refusing.Get()));
    EXPECT_EQ(refusing->References(), 1u);
    EXPECT_HR(S_OK, reflector->Disconnect());
    EXPECT_EQ(journal, "refusing subscribe; ") << "there is nothing to leave";
    const auto first = New<ForeignImage>("first");
    EXPECT_HR(S_OK, reflector->Connect(first.Get()));
    EXPECT_HR(E_ACCESSDENIED, reflector->Connect(refusing.Get()));
    EXPECT_EQ(first->References(), 1u) << "the first image has been left all the same";
}

TEST(Reflector, StaysConnectedWhenTheImageDoesNotLetGo)
{
    std::string journal;
    const auto holding = New<ForeignImage>("holding", &journal);
    const auto second = New<ForeignImage>("second", &journal);
    holding->unsubscribeResult = E_ABORT;
    const auto reflector = NewReflector();
    EXPECT_HR(S_OK, reflector->Connect(holding.Get()));
    EXPECT_HR(E_ABORT, reflector->Disconnect());
    EXPECT_HR(E_ABORT, reflector->Connect(second.Get()));
    EXPECT_EQ(journal, "holding subscribe; holding unsubscribe; holding unsubscribe; ");
    EXPECT_EQ(holding->References(), 2u);
    holding->unsubscribeResult = S_FALSE;
    EXPECT_HR(S_FALSE, reflector->Disconnect()) << "the image's result";
    EXPECT_EQ(holding->References(), 1u);
}

TEST(Reflector, ThatIsReleasedLeavesASinkWithoutEffect)
{
    const Module module;
    const auto foreign = New<ForeignImage>();
    const auto client = New<Client>();
    {
        const auto reflector = ReflectorOf(foreign, client);
    }
    EXPECT_EQ(client->References(), 1u);
    EXPECT_EQ(foreign->References(), 1u) << "the image is released without being left";
    RECT dirty = {1, 2, 3, 4};
    EXPECT_HR(S_OK, foreign->handler->OnImageUpdate(nullptr, &dirty));
    EXPECT_HR(S_OK, foreign->handler->OnImageUpdate(nullptr, nullptr));
    EXPECT_EQ(client->Calls().size(), 0u);
    EXPECT_HR(S_FALSE, module.CanUnload());
    foreign->handler.Reset();
    EXPECT_TRUE(module.BecomesUnused());
}

TEST(Reflector, ThatIsReleasedRaisesNothingForARealImage)
{
    const auto image = SharedImage();
    const auto client = New<Client>();
    {
        const auto reflector = ReflectorOf(image, client);
    }
    const auto last = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
    for (size_t i = 1; i <= 3; ++i) {
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(last->Receives(i));
    }
    EXPECT_EQ(client->Calls().size(), 0u);
}

TEST(Reflector, MayBeReleasedByItsClient)
{
    const Module module;
    ComPtr<ITavloEventsReflector> reflector = NewReflector();
    const auto image = New<ForeignImage>();
    const auto client = New<Client>([&] {
        reflector.Reset();
        return S_OK;
    });
    const auto after = New<Client>();
    DWORD cookie = 0;
    ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
    ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(after.Get(), &cookie));
    ASSERT_HR(S_OK, reflector->Connect(image.Get()));
    RECT dirty = {1, 2, 3, 4};
    EXPECT_HR(S_OK, image->handler->OnImageUpdate(nullptr, &dirty));
    EXPECT_EQ(after->Calls().size(), 1u) << "the event in progress is finished";
    EXPECT_EQ(client->References(), 1u);
    EXPECT_EQ(image->References(), 1u);
}

TEST(Reflector, MayConnectElsewhereInAnEvent)
{
    const auto second = New<ForeignImage>("second");
    const ReflectedImage reflected;
    const auto client = New<Client>([&] { return reflected.reflector->Connect(second.Get()); });
    reflected.Advise(client);
    const ComPtr<ITavloEvents> sink = reflected.image->handler;
    RECT dirty = {1, 2, 3, 4};
    EXPECT_HR(S_OK, sink->OnImageUpdate(nullptr, &dirty));
    EXPECT_EQ(second->handler.Get(), sink.Get());
    EXPECT_EQ(reflected.image->handler.Get(), nullptr);
}

TEST(Reflector, OfASingleThreadedApartmentCallsItsClientsThere)
{
    InApartment(COINIT_APARTMENTTHREADED, [] {
        const Module module;
        auto image = SharedImage(640, 480);
        auto reflector = NewReflector();
        const auto client = New<Client>();
        DWORD cookie = 0;
        ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
        ASSERT_HR(S_OK, reflector->Connect(image.Get()));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        EXPECT_EQ(client->Calls().size(), 0u) << "nobody pumps yet";
        ASSERT_TRUE(BecomesWhilePumping([&] { return client->Calls().size() == 1; }));
        EXPECT_EQ(client->Calls()[0].thread, GetCurrentThreadId());
        EXPECT_EQ(EdgesOf(client->Calls()[0].rectangle.Get()), (RECT{0, 0, 640, 480}));
        EXPECT_HR(S_OK, reflector->Disconnect());
        reflector.Reset();
        image.Reset();
        client->Forget();
        EXPECT_TRUE(BecomesWhilePumping([&] { return module.CanUnload() == S_OK; }));
    }).join();
}

TEST(Reflector, OfASingleThreadedApartmentReflectsAnImageOfAnother)
{
    const auto image = SharedImage(640, 480);
    ComPtr<IStream> stream;
    ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_ITavlo2, image.Get(), &stream));
    Signal connected;
    Signal disconnected;
    Signal forgotten;
    auto apartment = InApartment(COINIT_APARTMENTTHREADED, [&] {
        ComPtr<ITavlo2> there;
        ASSERT_HR(S_OK, CoGetInterfaceAndReleaseStream(stream.Detach(), IID_PPV_ARGS(&there)));
        const auto reflector = NewReflector();
        const auto client = New<Client>();
        DWORD cookie = 0;
        ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
        EXPECT_HR(S_OK, reflector->Connect(there.Get()));
        connected.Set();
        ASSERT_TRUE(BecomesWhilePumping([&] { return client->Calls().size() == 1; }));
        EXPECT_EQ(client->Calls()[0].thread, GetCurrentThreadId());
        EXPECT_EQ(EdgesOf(client->Calls()[0].rectangle.Get()), (RECT{1, 2, 3, 4}));
        EXPECT_HR(S_OK, reflector->Disconnect());
        disconnected.Set();
        EXPECT_TRUE(BecomesWhilePumping([&] { return forgotten.IsSet(); }));
    });
    EXPECT_TRUE(connected.Wait());
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    EXPECT_TRUE(disconnected.Wait());
    EXPECT_TRUE(WorkerCatchesUp(image));
    forgotten.Set();
    apartment.join();
}

TEST(Reflector, WorksAsAPartOfAnotherObject)
{
    const Module module;
    {
        const auto outer = New<Outer>();
        void* refused = outer.Get();
        EXPECT_HR(CLASS_E_NOAGGREGATION,
                  CoCreateInstance(CLSID_TavloEventsReflector, outer.Get(), CLSCTX_INPROC_SERVER,
                                   IID_ITavloEventsReflector, &refused));
        ASSERT_HR(S_OK,
                  CoCreateInstance(CLSID_TavloEventsReflector, outer.Get(), CLSCTX_INPROC_SERVER,
                                   IID_IUnknown, reinterpret_cast<void**>(outer->inner.GetAddressOf())));
        ComPtr<ITavloEventsReflector> reflector;
        ASSERT_HR(S_OK, outer->QueryInterface(IID_PPV_ARGS(&reflector)));
        ComPtr<IUnknown> identity;
        ASSERT_HR(S_OK, reflector.As(&identity));
        EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(outer.Get()));
        const auto point = EventsOf(reflector.Get());
        ComPtr<IConnectionPointContainer> container;
        ASSERT_HR(S_OK, point->GetConnectionPointContainer(&container));
        ASSERT_HR(S_OK, container.As(&identity));
        EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(outer.Get()));

        const auto image = New<ForeignImage>();
        const auto client = New<Client>();
        DWORD cookie = 0;
        EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
        EXPECT_HR(S_OK, reflector->Connect(image.Get()));
        RECT dirty = {1, 2, 3, 4};
        EXPECT_HR(S_OK, image->handler->OnImageUpdate(nullptr, &dirty));
        EXPECT_EQ(client->Calls().size(), 1u);
        EXPECT_HR(S_OK, reflector->Disconnect());
    }
    EXPECT_TRUE(module.BecomesUnused());
}

TEST(Reflector, IsSafeForScripts)
{
    ComPtr<IObjectSafety> safety;
    ASSERT_HR(S_OK, NewReflector().As(&safety));
    DWORD supported = 0;
    DWORD enabled = 0;
    EXPECT_HR(S_OK, safety->GetInterfaceSafetyOptions(IID_ITavloEventsReflector, &supported, &enabled));
    EXPECT_EQ(supported, 3u);
    EXPECT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, 3, 3));
}

TEST(Reflector, IsCalledByName)
{
    const auto reflector = NewReflector();
    const auto image = New<ForeignImage>();
    std::wstring name = L"Connect";
    LPOLESTR names = name.data();
    DISPID id = 0;
    ASSERT_HR(S_OK, reflector->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id));
    EXPECT_EQ(id, 0x60020000);
    VARIANTARG argument;
    VariantInit(&argument);
    argument.vt = VT_DISPATCH;
    argument.pdispVal = image.Get();
    DISPPARAMS parameters = {&argument, nullptr, 1, 0};
    EXPECT_HR(S_OK, reflector->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                                      nullptr, nullptr, nullptr));
    EXPECT_NE(image->handler.Get(), nullptr);
    DISPPARAMS none = {};
    EXPECT_HR(S_OK, reflector->Invoke(0x60020001, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                                      nullptr, nullptr, nullptr));
    EXPECT_EQ(image->handler.Get(), nullptr);
}

TEST(Reflector, LivesAndDiesWithItsImageUpdating)
{
    const Module module;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.push_back(InApartment(COINIT_MULTITHREADED, [] {
            for (int i = 0; i < 100; ++i) {
                const auto image = SharedImage();
                const auto client = New<Client>();
                {
                    const auto reflector = ReflectorOf(image, client);
                    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
                    EXPECT_TRUE(client->Receives(1));
                    EXPECT_HR(S_OK, reflector->Disconnect());
                    EXPECT_TRUE(WorkerCatchesUp(image));
                }
                EXPECT_EQ(client->References(), 1u);
            }
        }));
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(module.BecomesUnused());
}

// An update may be on its way through the sink when the reflector's last reference goes.
TEST(Reflector, MayEndAtAnyMomentOfAnUpdate)
{
    std::mutex mutex;
    ComPtr<ITavloEvents> shown;
    std::atomic<bool> goesOn = true;
    std::atomic<int> updates = 0;
    std::thread updating = InApartment(COINIT_MULTITHREADED, [&] {
        ComPtr<ITavloEvents> sink;
        while (goesOn) {
            {
                const std::lock_guard lock(mutex);
                sink = shown;
            }
            RECT dirty = {1, 2, 3, 4};
            for (int i = 0; sink != nullptr && i < 20; ++i)
                EXPECT_HR(S_OK, sink->OnImageUpdate(nullptr, &dirty));
            ++updates;
        }
    });
    for (int round = 0; round < 4000; ++round) {
        const auto image = New<ForeignImage>();
        auto reflector = NewReflector();
        EXPECT_HR(S_OK, reflector->Connect(image.Get()));
        const int before = updates;
        {
            const std::lock_guard lock(mutex);
            shown = image->handler;
        }
        while (updates == before)
            SwitchToThread();
        reflector.Reset();
    }
    goesOn = false;
    updating.join();
}
