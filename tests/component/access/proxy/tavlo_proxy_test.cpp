// Images of another machine: a far end of which the test controls the near one.
#include "tests/processes/other_process.h"

namespace {

constexpr long imageWidth = 64;
constexpr long imageHeight = 48;

/// A near end that the test controls.
class ControlledStub final : public ClientObject<ITavloStub>
{
public:
    explicit ControlledStub(ITavlo2* image) { EXPECT_HR(S_OK, image->QueryInterface(IID_PPV_ARGS(&image_))); }

    STDMETHODIMP get_Descriptor(ITavloDescriptor** descriptor) override
    {
        return image_->get_Descriptor(descriptor);
    }

    STDMETHODIMP Subscribe(ITavloEvents* handler) override
    {
        if (FAILED(subscribing))
            return subscribing;
        const std::lock_guard lock(mutex_);
        handler_ = handler;
        return S_OK;
    }

    STDMETHODIMP GetData(RECT* rect, long size, unsigned char* data) override
    {
        const int number = ++fetches;
        {
            const std::lock_guard lock(mutex_);
            fetched_.push_back(*rect);
        }
        if (number == holding) {
            entered.Set();
            leave.Wait();
        }
        std::memset(data, number, static_cast<std::size_t>(size));
        const HRESULT hr = fetching;
        fetchedOnce.Set();
        return hr;
    }

    HRESULT Update(RECT rect)
    {
        ComPtr<ITavloEvents> handler;
        {
            const std::lock_guard lock(mutex_);
            handler = handler_;
        }
        return handler != nullptr ? handler->OnImageUpdate(nullptr, &rect) : E_PENDING;
    }

    std::vector<RECT> Fetched() const
    {
        const std::lock_guard lock(mutex_);
        return fetched_;
    }

    bool IsSubscribed() const
    {
        const std::lock_guard lock(mutex_);
        return handler_ != nullptr;
    }

    std::atomic<HRESULT> fetching = S_OK;
    std::atomic<HRESULT> subscribing = S_OK;
    std::atomic<int> fetches = 0;
    std::atomic<int> holding = 0; ///< the number of the fetch that waits until it may leave
    Signal entered;
    Signal leave;
    Signal fetchedOnce;

private:
    ComPtr<ITavlo> image_;
    mutable std::mutex mutex_;
    ComPtr<ITavloEvents> handler_;
    std::vector<RECT> fetched_;
};

/// A proxy of a controlled stub, both in this process.
class ControlledProxy : public testing::Test
{
protected:
    ControlledProxy()
    {
        EXPECT_HR(S_OK,
                  Create<IMarshal>(CLSID_TavloProxy)
                      ->UnmarshalInterface(StreamOf(Marshaled<ITavloStub>(stub.Get(), MSHCTX_INPROC)).Get(),
                                           IID_ITavlo2, reinterpret_cast<void**>(proxy.GetAddressOf())));
    }

    const ComPtr<ITavlo2> image = SharedImage(imageWidth, imageHeight);
    const ComPtr<ControlledStub> stub = New<ControlledStub>(image.Get());
    ComPtr<ITavlo2> proxy;
};

const RECT wholeImage = {0, 0, imageWidth, imageHeight};

} // namespace

TEST_F(ControlledProxy, FetchesTheWholeImageOnceBeforeItIsRead)
{
    EXPECT_EQ(stub->fetches, 0);
    const auto reader = ReaderOf(proxy.Get());
    const auto reader2 = ReaderOf(proxy.Get());
    EXPECT_EQ(stub->Fetched(), (std::vector<RECT>{wholeImage}));
    EXPECT_EQ(*BytesAt(reader->Ptr(imageWidth * imageHeight - 1)), 1);
    EXPECT_EQ(reader->Ptr(0), reader2->Ptr(0));
}

TEST_F(ControlledProxy, FetchesNothingToBeWritten)
{
    ComPtr<IWriteAccessor> writer;
    EXPECT_HR(E_ACCESSDENIED, proxy->GetWriteAccess(&writer)) << "the proxy itself is the single writer";
    EXPECT_EQ(stub->fetches, 0);
}

TEST_F(ControlledProxy, KeepsWritesLocal)
{
    // Room for a second writer, which the proxy counts.
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, proxy.As(&internal));
    ASSERT_HR(S_OK, internal->ReleaseWriter());
    const auto handler = New<Handler>();
    const auto remote = New<Handler>();
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(remote.Get(), Tavlo_Synchronous));
    {
        const auto writer = WriterOf(proxy.Get());
        EXPECT_HR(E_ACCESSDENIED, TryToWrite(proxy.Get()));
        *BytesAt(writer->Ptr(0)) = 17;
        EXPECT_HR(S_OK, writer->Invalidate());
    }
    EXPECT_HR(S_OK, TryToWrite(proxy.Get()));
    EXPECT_EQ(handler->Received(), (std::vector<RECT>{wholeImage}));
    EXPECT_TRUE(remote->Received().empty());
    EXPECT_EQ(*BytesAt(ReaderOf(image.Get())->Ptr(0)), 0);
    EXPECT_EQ(stub->fetches, 0);
    EXPECT_HR(S_OK, internal->AddWriter());
    EXPECT_HR(S_OK, proxy->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, image->Unsubscribe(remote.Get()));
}

TEST_F(ControlledProxy, DoesNotPutBackWhatCouldNotBeFetched)
{
    stub->fetching = E_ACCESSDENIED;
    ComPtr<IReadAccessor> reader;
    EXPECT_HR(E_ACCESSDENIED, proxy->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(reader.Get(), nullptr);
    stub->fetching = S_OK;
    EXPECT_HR(S_OK, proxy->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(stub->fetches, 1);
}

TEST_F(ControlledProxy, MergesUpdatesThatComeTogether)
{
    const auto handler = New<Handler>();
    ReaderOf(proxy.Get());
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    stub->holding = 2;
    ASSERT_HR(S_OK, stub->Update({0, 0, 1, 1}));
    ASSERT_TRUE(stub->entered.Wait());
    ASSERT_HR(S_OK, stub->Update({10, 20, 30, 25}));
    ASSERT_HR(S_OK, stub->Update({5, 22, 12, 40}));
    EXPECT_TRUE(handler->Received().empty()) << "before the bytes are there nobody is told";
    stub->leave.Set();
    ASSERT_TRUE(handler->Receives(2));
    EXPECT_EQ(stub->Fetched(), (std::vector<RECT>{wholeImage, {0, 0, 1, 1}, {5, 20, 30, 40}}));
    EXPECT_EQ(handler->Received(), (std::vector<RECT>{{0, 0, 1, 1}, {5, 20, 30, 40}}));
    EXPECT_HR(S_OK, proxy->Unsubscribe(handler.Get()));
}

TEST_F(ControlledProxy, FetchesWhatIsInsideOfAnUpdate)
{
    const auto handler = New<Handler>();
    ReaderOf(proxy.Get());
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, stub->Update({-10, -10, 5, 1000}));
    ASSERT_TRUE(handler->Receives(1));
    EXPECT_EQ(stub->Fetched().back(), (RECT{0, 0, 5, imageHeight}));
    EXPECT_HR(S_OK, proxy->Unsubscribe(handler.Get()));
}

TEST_F(ControlledProxy, GoesOnAfterAFailedRefresh)
{
    const auto handler = New<Handler>();
    ReaderOf(proxy.Get());
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    stub->fetching = E_FAIL;
    stub->holding = 2;
    ASSERT_HR(S_OK, stub->Update({0, 0, 1, 1}));
    ASSERT_TRUE(stub->entered.Wait());
    stub->leave.Set();
    ASSERT_TRUE(Becomes([&] { return stub->fetches == 2; }));
    // The next one, which is fetched after the failed one, is told.
    stub->holding = 3;
    ASSERT_HR(S_OK, stub->Update({2, 2, 3, 3}));
    ASSERT_TRUE(Becomes([&] { return stub->fetches == 3; }));
    stub->fetching = S_OK;
    ASSERT_HR(S_OK, stub->Update({4, 4, 5, 5}));
    ASSERT_TRUE(handler->Receives(1));
    EXPECT_HR(S_OK, proxy->Unsubscribe(handler.Get()));
}

TEST_F(ControlledProxy, GetsNoUpdatesFromTheFirstUnsubscribeToTheNextSubscribe)
{
    const auto first = New<Handler>();
    const auto second = New<Handler>();
    ReaderOf(proxy.Get());
    ASSERT_HR(S_OK, proxy->Subscribe(first.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, proxy->Subscribe(second.Get(), Tavlo_Synchronous));
    EXPECT_TRUE(stub->IsSubscribed());
    ASSERT_HR(S_OK, proxy->Unsubscribe(first.Get()));
    EXPECT_FALSE(stub->IsSubscribed()) << "also for the second handler";
    ASSERT_HR(S_OK, proxy->Subscribe(first.Get(), Tavlo_Synchronous));
    EXPECT_TRUE(stub->IsSubscribed());
    ASSERT_HR(S_OK, stub->Update({1, 1, 2, 2}));
    EXPECT_TRUE(first->Receives(1));
    EXPECT_TRUE(second->Receives(1));
    ASSERT_HR(S_OK, proxy->Unsubscribe(first.Get()));
    ASSERT_HR(S_OK, proxy->Unsubscribe(second.Get()));
}

TEST_F(ControlledProxy, ReportsThatTheStubRefusesASubscription)
{
    const auto handler = New<Handler>();
    stub->subscribing = E_ACCESSDENIED;
    EXPECT_HR(E_ACCESSDENIED, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(E_ACCESSDENIED, proxy->Unsubscribe(handler.Get()));
    EXPECT_EQ(handler->References(), 1u);
}

TEST_F(ControlledProxy, DiesWhileAnUpdateIsFetched)
{
    const auto handler = New<Handler>();
    ReaderOf(proxy.Get());
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Asynchronous));
    stub->holding = 2;
    ASSERT_HR(S_OK, stub->Update({0, 0, 1, 1}));
    ASSERT_TRUE(stub->entered.Wait());
    ASSERT_HR(S_OK, stub->Subscribe(nullptr));
    Signal released;
    std::thread releasing = InApartment(COINIT_MULTITHREADED, [&] {
        proxy.Reset();
        released.Set();
    });
    stub->leave.Set();
    EXPECT_TRUE(released.Wait());
    releasing.join();
    EXPECT_TRUE(Becomes([&] { return stub->References() == 1; }));
}

TEST_F(ControlledProxy, MayBeReleasedByItsHandler)
{
    Signal released;
    const auto handler = New<Handler>([&](const RECT&) {
        proxy.Reset();
        released.Set();
        return S_OK;
    });
    ReaderOf(proxy.Get());
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, stub->Update({0, 0, 1, 1}));
    EXPECT_TRUE(released.Wait());
    stub->Subscribe(nullptr);
    EXPECT_TRUE(Becomes([&] { return stub->References() == 1; }));
}

TEST_F(ControlledProxy, MayBeReleasedByItsHandlerWhileItIsRead)
{
    const auto handler = New<Handler>([&](const RECT&) {
        proxy.Reset();
        EXPECT_GT(stub->References(), 1u) << "the proxy lives until its call is over";
        OverwriteFreedMemory();
        return S_OK;
    });
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, stub->Subscribe(nullptr));
    ComPtr<IReadAccessor> reader;
    ITavlo2* const last = proxy.Get();
    EXPECT_HR(S_OK, last->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(proxy.Get(), nullptr);
    EXPECT_EQ(*BytesAt(reader->Ptr(imageWidth * imageHeight - 1)), 1) << "the reader keeps the copy";
    reader.Reset();
    EXPECT_TRUE(Becomes([&] { return stub->References() == 1; }));
}

TEST_F(ControlledProxy, MayBeReleasedByItsHandlerWhileItIsCloned)
{
    const auto handler = New<Handler>([&](const RECT&) {
        proxy.Reset();
        EXPECT_GT(stub->References(), 1u) << "the proxy lives until its call is over";
        OverwriteFreedMemory();
        return S_OK;
    });
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, stub->Subscribe(nullptr));
    ComPtr<ITavlo2> clone;
    ITavlo2* const last = proxy.Get();
    EXPECT_HR(S_OK, last->Clone(Tavlo_SingleWriter, &clone));
    EXPECT_EQ(proxy.Get(), nullptr);
    EXPECT_EQ(*BytesAt(ReaderOf(clone.Get())->Ptr(imageWidth * imageHeight - 1)), 1);
}

TEST_F(ControlledProxy, IsReadWhileAnotherFetchIsHeld)
{
    ComPtr<ITavloEvents> sink;
    ASSERT_HR(S_OK, proxy.As(&sink));
    stub->holding = 1;
    std::thread held = InApartment(COINIT_MULTITHREADED, [&] { ReaderOf(proxy.Get()); });
    ASSERT_TRUE(stub->entered.Wait());
    RECT dirty = {0, 0, 1, 1};
    ASSERT_HR(S_OK, sink->OnImageUpdate(nullptr, &dirty));
    Signal read;
    std::thread other = InApartment(COINIT_MULTITHREADED, [&] {
        EXPECT_EQ(*BytesAt(ReaderOf(proxy.Get())->Ptr(0)), 2);
        read.Set();
    });
    EXPECT_TRUE(read.Wait()) << "nobody waits for the far end of another's call";
    stub->leave.Set();
    held.join();
    other.join();
}

TEST_F(ControlledProxy, IsGoneWithItsLastReference)
{
    ReaderOf(proxy.Get());
    proxy.Reset();
    EXPECT_EQ(stub->References(), 1u);
}

TEST_F(ControlledProxy, DisposesOfItsCopyThroughTheHook)
{
    struct Hook final : ITavloDisposalHook
    {
        STDMETHODIMP Dispose() override { return ++calls, S_FALSE; }
        int calls = 0;
    } hook;
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, proxy.As(&internal));
    EXPECT_HR(S_OK, proxy->Dispose()) << "there is none";
    EXPECT_HR(S_OK, internal->SetDisposalHook(
                        reinterpret_cast<ULONG_PTR>(static_cast<ITavloDisposalHook*>(&hook))));
    EXPECT_HR(S_FALSE, proxy->Dispose());
    EXPECT_EQ(hook.calls, 1);
    EXPECT_HR(E_UNEXPECTED, internal->Dispose());
    EXPECT_EQ(hook.calls, 1) << "the private side does nothing";
    EXPECT_HR(S_OK, internal->SetDisposalHook(0));
    EXPECT_HR(S_OK, proxy->Dispose());
    EXPECT_EQ(hook.calls, 1);
}

TEST_F(ControlledProxy, TravelsOnByReference)
{
    const Bytes packet = Marshaled(proxy.Get(), MSHCTX_LOCAL);
    OtherProcess other;
    ASSERT_HR(S_OK, other.Do(Command::TakeImage, packet));
    ASSERT_HR(S_OK, other.Do(Command::GetReader));
    EXPECT_EQ(other.Value(Command::Peek, 5), 1) << "the copy's section is shared on this machine";
    EXPECT_EQ(stub->fetches, 1);
}

TEST(Proxy, ThatIsBoundToNothingIsUnexpected)
{
    const auto proxy = Create<ITavlo2>(CLSID_TavloProxy);
    ComPtr<ITavlo> image;
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, proxy.As(&image));
    ASSERT_HR(S_OK, proxy.As(&internal));
    const auto handler = New<Handler>();
    ComPtr<IReadAccessor> reader;
    ComPtr<ITavlo2> clone;
    EXPECT_HR(E_UNEXPECTED, proxy->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_HR(E_UNEXPECTED, image->GetReadAccess(&reader));
    EXPECT_HR(E_UNEXPECTED, proxy->Clone(Tavlo_SingleWriter, &clone));
    EXPECT_HR(E_UNEXPECTED, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(E_UNEXPECTED, proxy->Unsubscribe(handler.Get()));
    EXPECT_HR(E_UNEXPECTED, proxy->Dispose());
    EXPECT_HR(E_UNEXPECTED, internal->Dispose());
    EXPECT_HR(E_UNEXPECTED, internal->AddReader());
}
