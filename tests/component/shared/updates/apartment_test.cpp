#include "tests/component/shared/updates/updates_test.h"

namespace {

/// A handler that decides itself how it is marshaled: as if it could be used from every
/// apartment, by a class that is not there, or not at all.
class SelfMarshaler final : public ClientObject<ITavloEvents, IMarshal>
{
public:
    explicit SelfMarshaler(HRESULT marshaling) : marshaling_(marshaling) {}

    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override
    {
        ++updates;
        return S_OK;
    }

    STDMETHODIMP GetUnmarshalClass(REFIID, void*, DWORD, void*, DWORD, CLSID* clsid) override
    {
        *clsid = {0x6e0f0a9e, 0x3c0d, 0x4b3e, {0x9d, 0x1e, 0x21, 0x52, 0x63, 0x74, 0x85, 0x96}};
        return S_OK;
    }

    STDMETHODIMP GetMarshalSizeMax(REFIID, void*, DWORD, void*, DWORD, DWORD* size) override
    {
        *size = 4;
        return S_OK;
    }

    STDMETHODIMP MarshalInterface(IStream*, REFIID, void*, DWORD, void*, DWORD) override
    {
        ++marshaled;
        return marshaling_;
    }

    STDMETHODIMP UnmarshalInterface(IStream*, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP ReleaseMarshalData(IStream*) override { return S_OK; }
    STDMETHODIMP DisconnectObject(DWORD) override { return S_OK; }

    int updates = 0;
    int marshaled = 0;

private:
    const HRESULT marshaling_;
};

constexpr HRESULT refusal = static_cast<HRESULT>(0x80040123);

} // namespace

TEST(Apartments, AHandlerOfASingleThreadedOneIsCalledInIt)
{
    InApartment(COINIT_APARTMENTTHREADED, [] {
        auto image = SharedImage(640, 480);
        int calls = 0;
        const auto handler = New<Handler>([&](const RECT&) {
            return ++calls == 1 ? Invalidate(image, {1, 2, 3, 4}) : S_OK;
        });
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        EXPECT_EQ(calls, 0) << "nobody pumps yet";
        EXPECT_TRUE(BecomesWhilePumping([&] { return calls == 2; }));
        image.Reset();
        EXPECT_TRUE(BecomesWhilePumping([&] { return handler->References() == 1; }));
        EXPECT_EQ(handler->Received(), (std::vector<RECT>{{0, 0, 640, 480}, {1, 2, 3, 4}}));
        EXPECT_EQ(handler->Threads(), (std::vector<DWORD>(2, GetCurrentThreadId())));
        EXPECT_FALSE(handler->SawImage());
    }).join();
}

TEST(Apartments, AHandlerThatFailsInItsOwnOneIsDropped)
{
    InApartment(COINIT_APARTMENTTHREADED, [] {
        auto image = SharedImage();
        const auto failing = New<Handler>([](const RECT&) { return E_FAIL; });
        const auto last = New<Handler>();
        ASSERT_HR(S_OK, image->Subscribe(failing.Get(), Tavlo_Asynchronous));
        ASSERT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
        for (size_t i = 1; i <= 3; ++i) {
            EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
            EXPECT_TRUE(BecomesWhilePumping([&] { return last->Received().size() == i; }));
        }
        EXPECT_TRUE(BecomesWhilePumping([&] { return failing->References() == 1; }));
        EXPECT_EQ(failing->Received().size(), 1u);
        image.Reset();
        EXPECT_TRUE(BecomesWhilePumping([&] { return last->References() == 1; }));
    }).join();
}

TEST(Apartments, AHandlerOfASingleThreadedOneIsFoundWhenItUnsubscribes)
{
    InApartment(COINIT_APARTMENTTHREADED, [] {
        auto image = SharedImage();
        const auto leaving = New<Handler>();
        const auto last = New<Handler>();
        ASSERT_HR(S_OK, image->Subscribe(leaving.Get(), Tavlo_Asynchronous));
        ASSERT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
        ASSERT_HR(S_OK, image->Unsubscribe(leaving.Get()));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        EXPECT_TRUE(BecomesWhilePumping([&] { return last->Received().size() == 1; }));
        EXPECT_TRUE(BecomesWhilePumping([&] { return leaving->References() == 1; }));
        EXPECT_EQ(leaving->Received().size(), 0u);
        image.Reset();
        EXPECT_TRUE(BecomesWhilePumping([&] { return last->References() == 1; }));
    }).join();
}

TEST(Apartments, AHandlerThatCannotBeMarshaledIsRefusedAsynchronouslyOnly)
{
    const auto image = SharedImage();
    const auto handler = New<SelfMarshaler>(refusal);
    EXPECT_HR(refusal, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_EQ(handler->marshaled, 1);
    EXPECT_EQ(handler->References(), 1u);
    EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->updates, 1);
}

TEST(Apartments, AHandlerThatCannotBeMarshaledUnsubscribesAllTheSame)
{
    const auto image = SharedImage();
    const auto other = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(other.Get(), Tavlo_Asynchronous));
    const auto handler = New<SelfMarshaler>(refusal);
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_EQ(handler->marshaled, 1);
    EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_EQ(handler->marshaled, 1) << "its synchronous subscription needs no marshaling";
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_TRUE(other->Receives(1));
    EXPECT_EQ(handler->updates, 0);
    EXPECT_EQ(handler->References(), 1u);
}

TEST(Apartments, AHandlerThatTheWorkerCannotUnmarshalIsLeftOut)
{
    const auto image = SharedImage();
    const auto handler = New<SelfMarshaler>(S_OK);
    const auto other = New<Handler>();
    EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    ASSERT_HR(S_OK, image->Subscribe(other.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_TRUE(other->Receives(1));
    EXPECT_EQ(handler->updates, 0);
    EXPECT_EQ(handler->References(), 1u);
}

TEST(Apartments, OneThatIsGoneTakesItsHandlersOnly)
{
    const auto image = SharedImage();
    const auto other = New<Handler>();
    ComPtr<IStream> stream;
    ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_ITavlo2, image.Get(), &stream));
    Signal subscribed;
    Signal known;
    auto apartment = InApartment(COINIT_APARTMENTTHREADED, [&] {
        ComPtr<ITavlo2> there;
        ASSERT_HR(S_OK, CoGetInterfaceAndReleaseStream(stream.Detach(), IID_PPV_ARGS(&there)));
        const auto handler = New<Handler>();
        EXPECT_HR(S_OK, there->Subscribe(handler.Get(), Tavlo_Asynchronous));
        subscribed.Set();
        EXPECT_TRUE(BecomesWhilePumping([&] { return known.IsSet(); }));
    });
    EXPECT_TRUE(subscribed.Wait());
    EXPECT_TRUE(WorkerCatchesUp(image));
    known.Set();
    apartment.join();
    ASSERT_HR(S_OK, image->Subscribe(other.Get(), Tavlo_Asynchronous));
    for (size_t i = 1; i <= 3; ++i) {
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(other->Receives(i));
    }
}
