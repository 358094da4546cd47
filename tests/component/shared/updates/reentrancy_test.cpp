// Every place where the component runs code of a client, and every call back into the component from there.
#include "tests/component/events/reflector_test.h"

#include <cstdio>
#include <tuple>

namespace {

/// Where the client's code runs.
enum class Place
{
    SynchronousHandler,
    AsynchronousHandler,
    ReflectorsSink,
    Descriptor,
    ReleaseOfAHandler,
    ReleaseOfAProperty,
};

/// What it does there.
enum class Deed
{
    Read,
    Update,
    SubscribeSynchronously,
    SubscribeAsynchronously,
    Unsubscribe,
    Clone,
    LetGo,
    Disconnect,
};

constexpr Deed deeds[] = {Deed::Read,
                          Deed::Update,
                          Deed::SubscribeSynchronously,
                          Deed::SubscribeAsynchronously,
                          Deed::Unsubscribe,
                          Deed::Clone,
                          Deed::LetGo,
                          Deed::Disconnect};

using Action = std::function<void()>;

/// Runs an action when its last reference goes.
class Dying final : public ClientObject<ITavloEvents>
{
public:
    explicit Dying(Action action) : action_(std::move(action)) {}
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override { return S_OK; }

protected:
    ~Dying() override { action_(); }

private:
    const Action action_;
};

/// Runs an action when its width is asked for.
class ActiveDescriptor final : public ClientObject<ITavloDescriptor2>
{
public:
    explicit ActiveDescriptor(Action action) : action_(std::move(action)) {}

    STDMETHODIMP get_Width(long* p) override
    {
        action_();
        return *p = 4, S_OK;
    }
    STDMETHODIMP put_Width(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Height(long* p) override { return *p = 3, S_OK; }
    STDMETHODIMP put_Height(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Bits(long* p) override { return *p = 8, S_OK; }
    STDMETHODIMP put_Bits(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Encoding(TavloEncoding* p) override { return *p = Tavlo_Unsigned, S_OK; }
    STDMETHODIMP put_Encoding(TavloEncoding) override { return E_NOTIMPL; }
    STDMETHODIMP get_Offset(long* p) override { return *p = 0, S_OK; }
    STDMETHODIMP put_Offset(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_x(long* p) override { return *p = 1, S_OK; }
    STDMETHODIMP put_Stride_x(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_y(long* p) override { return *p = 4, S_OK; }
    STDMETHODIMP put_Stride_y(long) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

private:
    const Action action_;
};

/// A client with an image that is connected to a reflector, and one deed to do.
class Scene
{
public:
    Scene(Place place, Deed deed) : place_(place), deed_(deed) {}

    /// Lets the component run the client's code, and the client do its deed there.
    void Play()
    {
        DWORD cookie = 0;
        ASSERT_HR(S_OK, EventsOf(reflector_.Get())->Advise(client_.Get(), &cookie));
        ASSERT_HR(S_OK, reflector_->Connect(image_.Get()));
        ASSERT_HR(S_OK, image_->GetWriteAccess(&writer_));
        Cause();
        EXPECT_TRUE(BecomesWhilePumping([&] { return done_.IsSet(); }));
        EXPECT_HR(S_OK, result_);
    }

    /// All that is left of it goes, and nothing holds it. The apartment may not end before.
    void End(const Module& module)
    {
        for (const auto& handler : {self_, other_})
            for (int i = 0; image_ != nullptr && i < 3; ++i)
                EXPECT_HR(S_OK, image_->Unsubscribe(handler.Get()));
        if (reflector_ != nullptr) {
            EXPECT_HR(S_OK, reflector_->Disconnect());
        }
        LetGo();
        EXPECT_TRUE(BecomesWhilePumping([&] {
            client_->Forget();
            return self_->References() == 1 && other_->References() == 1 && client_->References() == 1 &&
                   module.CanUnload() == S_OK;
        }));
    }

private:
    // Calls go through pointers without references: what is called may be let go meanwhile.

    void Cause()
    {
        RECT dirty = {1, 2, 3, 4};
        switch (place_) {
        case Place::SynchronousHandler:
        case Place::AsynchronousHandler:
            ASSERT_HR(S_OK, image_->Subscribe(self_.Get(), place_ == Place::SynchronousHandler
                                                               ? Tavlo_Synchronous
                                                               : Tavlo_Asynchronous));
            EXPECT_HR(S_OK, writer_.Get()->Invalidate(&dirty));
            break;
        case Place::ReflectorsSink:
            EXPECT_HR(S_OK, writer_.Get()->Invalidate(&dirty));
            break;
        case Place::Descriptor: {
            ComPtr<ITavlo2> made;
            const auto descriptor = New<ActiveDescriptor>([&] { Do(); });
            EXPECT_HR(S_OK, factory_.Get()->Create(descriptor.Get(), Tavlo_SingleWriter, &made));
            break;
        }
        case Place::ReleaseOfAHandler: {
            auto dying = New<Dying>([&] { Do(); });
            ASSERT_HR(S_OK, image_->Subscribe(dying.Get(), Tavlo_Synchronous));
            ITavloEvents* const held = dying.Get();
            dying.Reset();
            EXPECT_HR(S_OK, image_.Get()->Unsubscribe(held));
            break;
        }
        case Place::ReleaseOfAProperty: {
            ComPtr<ITavloInternal> internal;
            ASSERT_HR(S_OK, image_.As(&internal));
            auto dying = New<Dying>([&] { Do(); });
            VARIANT value;
            value.vt = VT_UNKNOWN;
            value.punkVal = dying.Get();
            ASSERT_HR(S_OK, internal->SetProperty(Text(L"dying").get(), value));
            dying.Reset();
            internal.Reset();
            EXPECT_HR(S_OK, writer_.Get()->Invalidate(&dirty));
            break;
        }
        }
    }

    HRESULT DoOnce(bool here)
    {
        if (here && !done_.IsSet() && !doing_)
            Do();
        return S_OK;
    }

    void Do()
    {
        doing_ = true;
        result_ = Deeds();
        done_.Set();
    }

    HRESULT Deeds()
    {
        switch (deed_) {
        case Deed::Read: {
            ComPtr<IReadAccessor> reader;
            return image_->GetReadAccess(nullptr, 1.0, &reader);
        }
        case Deed::Update:
            return Invalidate(image_.Get(), nullptr);
        case Deed::SubscribeSynchronously:
            return image_->Subscribe(other_.Get(), Tavlo_Synchronous);
        case Deed::SubscribeAsynchronously:
            return image_->Subscribe(other_.Get(), Tavlo_Asynchronous);
        case Deed::Unsubscribe:
            return image_->Unsubscribe(self_.Get());
        case Deed::Clone: {
            ComPtr<ITavlo2> clone;
            return image_->Clone(Tavlo_SingleWriter, &clone);
        }
        case Deed::LetGo:
            LetGo();
            return S_OK;
        case Deed::Disconnect:
            return reflector_->Disconnect();
        }
        return E_FAIL;
    }

    void LetGo()
    {
        writer_.Reset();
        image_.Reset();
        reflector_.Reset();
        factory_.Reset();
    }

    const Place place_;
    const Deed deed_;
    ComPtr<ITavloFactory2> factory_ = Create<ITavloFactory2>(CLSID_TavloFactory);
    ComPtr<ITavlo2> image_ = SharedImage();
    ComPtr<IWriteAccessor> writer_;
    ComPtr<ITavloEventsReflector> reflector_ = NewReflector();
    const ComPtr<Handler> self_ = New<Handler>([this](const RECT&) {
        return DoOnce(place_ == Place::SynchronousHandler || place_ == Place::AsynchronousHandler);
    });
    const ComPtr<Handler> other_ = New<Handler>();
    const ComPtr<Client> client_ = New<Client>([this] { return DoOnce(place_ == Place::ReflectorsSink); });
    std::atomic<bool> doing_ = false;
    Signal done_;
    HRESULT result_ = E_PENDING;
};

class Reentrancy : public testing::TestWithParam<std::tuple<Place, COINIT>>
{
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, Reentrancy,
                         testing::Combine(testing::Values(Place::SynchronousHandler,
                                                          Place::AsynchronousHandler, Place::ReflectorsSink,
                                                          Place::Descriptor, Place::ReleaseOfAHandler,
                                                          Place::ReleaseOfAProperty),
                                          testing::Values(COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED)));

TEST_P(Reentrancy, NeitherHangsNorLeavesAnythingBehind)
{
    const Module module;
    const auto [place, apartment] = GetParam();
    for (const Deed deed : deeds) {
        SCOPED_TRACE(testing::Message() << "deed " << static_cast<int>(deed));
        Signal ended;
        std::thread thread = InApartment(apartment, [&, callingPlace = place] {
            Scene scene(callingPlace, deed);
            scene.Play();
            scene.End(module);
            ended.Set();
        });
        if (!ended.WaitFor(20000)) {
            // A thread that hangs cannot be ended.
            ADD_FAILURE() << "hangs";
            std::fflush(nullptr);
            TerminateProcess(GetCurrentProcess(), 1);
        }
        thread.join();
    }
}
