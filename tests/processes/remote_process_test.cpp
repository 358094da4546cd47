// Images on another machine: one process makes the packet, the other, which stands for
// the other machine, gets a proxy with a copy of its own.
#include "tests/processes/other_process.h"

namespace {

constexpr long sharedWidth = 64;
constexpr long sharedHeight = 48;
const RECT whole = {0, 0, sharedWidth, sharedHeight};

/// An image of this process, and its proxy in another one.
class RemoteImage : public testing::Test
{
protected:
    RemoteImage()
    {
        for (long i = 0; i < sharedWidth * sharedHeight; ++i)
            pixels[i] = Original(i);
    }

    Bytes Packet() { return Marshaled(image.Get(), MSHCTX_DIFFERENTMACHINE); }

    void Send() { ASSERT_HR(S_OK, other.Do(Command::TakeImage, Packet())); }

    static std::uint8_t Original(long i) { return static_cast<std::uint8_t>(i * 7 + 1); }

    const ComPtr<ITavlo2> image = SharedImage(sharedWidth, sharedHeight);
    const ComPtr<IWriteAccessor> writer = WriterOf(image.Get());
    std::uint8_t* const pixels = BytesAt(writer->Ptr(0));
    OtherProcess other;
};

} // namespace

TEST_F(RemoteImage, IsReadAsAWholeAtFirst)
{
    Send();
    ASSERT_HR(S_OK, other.Do(Command::GetReader));
    for (const long i : {0L, 1L, 1000L, sharedWidth * sharedHeight - 1})
        EXPECT_EQ(other.Value(Command::Peek, i), Original(i)) << i;
    pixels[0] = 200;
    EXPECT_EQ(other.Value(Command::Peek, 0), Original(0)) << "the copy is a copy";
}

TEST_F(RemoteImage, DescribesItselfAndIsCloned)
{
    Send();
    ASSERT_HR(S_OK, other.Do(Command::Describe));
    EXPECT_EQ(other.x.rect, whole);
    EXPECT_EQ(other.x.value, Tavlo_Unsigned);
    EXPECT_EQ(other.Value(Command::Clone, 77), Original(77));
}

TEST_F(RemoteImage, ShowsAnUpdateWhenItsBytesAreThere)
{
    Send();
    ASSERT_HR(S_OK, other.Do(Command::GetReader));
    ASSERT_HR(S_OK, other.Do(Command::Subscribe, 0, Tavlo_Synchronous));
    for (long y = 10; y < 20; ++y)
        for (long x = 5; x < 9; ++x)
            pixels[y * sharedWidth + x] = 123;
    pixels[0] = 124;
    RECT dirty = {5, 10, 9, 20};
    ASSERT_HR(S_OK, writer->Invalidate(&dirty));
    ASSERT_HR(S_OK, other.Do(Command::AwaitUpdate, 0, 1));
    EXPECT_EQ(other.x.rect, dirty);
    EXPECT_EQ(other.Value(Command::Peek, 10 * sharedWidth + 5), 123);
    EXPECT_EQ(other.Value(Command::Peek, 19 * sharedWidth + 8), 123);
    EXPECT_EQ(other.Value(Command::Peek, 0), Original(0)) << "outside the rectangle nothing was fetched";
}

TEST_F(RemoteImage, IsNotDisposedOfThroughItsPrivateSide)
{
    Send();
    EXPECT_HR(E_UNEXPECTED, other.Do(Command::DisposeInternal));
}

TEST_F(RemoteImage, LivesAsLongAsItsProxy)
{
    const ULONG before = ReferencesOf(image.Get());
    Send();
    EXPECT_GT(ReferencesOf(image.Get()), before);
    ASSERT_HR(S_OK, other.Do(Command::Subscribe, 0, Tavlo_Asynchronous));
    ASSERT_HR(S_OK, other.Do(Command::Unsubscribe, 0));
    ASSERT_HR(S_OK, other.Do(Command::DropImage));
    EXPECT_TRUE(Becomes([&] { return ReferencesOf(image.Get()) == before; }));
}

// Without a network nobody pings: the test disconnects the stub, as the runtime does with what a dead
// machine held.
TEST_F(RemoteImage, IsLetGoWhenAMachineDiesThatIsSubscribed)
{
    const ULONG before = ReferencesOf(image.Get());
    const Bytes header = HeaderOf(image.Get(), MSHCTX_DIFFERENTMACHINE);
    const Bytes first = Packet();
    auto stub = Unmarshaled<ITavloStub>(Bytes(first.begin() + headerOfOwnMarshaling, first.end()));
    ASSERT_NE(stub.Get(), nullptr);
    ASSERT_HR(S_OK,
              other.Do(Command::TakeImage, Joined(header, Marshaled(stub.Get(), MSHCTX_DIFFERENTMACHINE))));
    for (int i = 0; i < 2; ++i)
        ASSERT_HR(S_OK, other.Do(Command::Subscribe, i, Tavlo_Synchronous));
    other.Kill();
    EXPECT_HR(S_OK, CoDisconnectObject(stub.Get(), 0));
    stub.Reset();
    EXPECT_TRUE(Becomes([&] { return ReferencesOf(image.Get()) == before; }));
    ASSERT_HR(S_OK, Invalidate(image, {0, 0, 1, 1}));
    EXPECT_TRUE(WorkerCatchesUp(image));
}

TEST_F(RemoteImage, OfAnOwnerThatDiedKeepsWhatWasFetched)
{
    ASSERT_HR(S_OK, other.Do(Command::MakeImage, whole));
    ASSERT_HR(S_OK, other.Do(Command::GetWriter));
    ASSERT_HR(S_OK, other.Do(Command::Poke, 9, 99));
    const auto proxy = Unmarshaled<ITavlo2>(other.Packet(Command::SendRemote));
    const auto never = Unmarshaled<ITavlo2>(other.Packet(Command::SendRemote));
    ASSERT_NE(proxy.Get(), nullptr);
    ASSERT_NE(never.Get(), nullptr);
    const auto reader = ReaderOf(proxy.Get());
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Asynchronous));
    other.Kill();
    EXPECT_EQ(*BytesAt(reader->Ptr(9)), 99);
    EXPECT_EQ(*BytesAt(ReaderOf(proxy.Get())->Ptr(9)), 99) << "nothing is out of date";
    ComPtr<IReadAccessor> none;
    EXPECT_TRUE(FAILED(never->GetReadAccess(nullptr, 1.0, &none)));
    EXPECT_TRUE(FAILED(proxy->Unsubscribe(handler.Get())));
}

TEST_F(RemoteImage, MergesTheUpdatesOfABusyOwner)
{
    // The owner's worker is kept in the handler before the stub while three updates come.
    const auto holder = New<Holder>();
    ASSERT_HR(S_OK, image->Subscribe(holder.Get(), Tavlo_Asynchronous));
    Send();
    ASSERT_HR(S_OK, other.Do(Command::GetReader));
    ASSERT_HR(S_OK, other.Do(Command::Subscribe, 0, Tavlo_Synchronous));
    ASSERT_TRUE(WorkerCatchesUp(image));
    ASSERT_HR(S_OK, Invalidate(image, {20, 20, 21, 21}));
    ASSERT_TRUE(holder->entered.Wait());
    pixels[12 * sharedWidth + 40] = 201;
    pixels[30 * sharedWidth + 8] = 202;
    ASSERT_HR(S_OK, Invalidate(image, {40, 12, 41, 13}));
    ASSERT_HR(S_OK, Invalidate(image, {8, 30, 9, 31}));
    ASSERT_HR(S_OK, Invalidate(image, {10, 10, 30, 15}));
    holder->leave.Set();
    ASSERT_HR(S_OK, other.Do(Command::AwaitRectangle, RECT{8, 10, 41, 31}));
    EXPECT_LE(other.x.value, 2) << "the first, and one of all the others, which may have met again";
    EXPECT_EQ(other.Value(Command::Peek, 12 * sharedWidth + 40), 201);
    EXPECT_EQ(other.Value(Command::Peek, 30 * sharedWidth + 8), 202);
    ASSERT_HR(S_OK, other.Do(Command::Unsubscribe, 0));
    ASSERT_HR(S_OK, image->Unsubscribe(holder.Get()));
}

TEST_F(RemoteImage, HasASingleWriterOfItsOwn)
{
    Send();
    EXPECT_HR(E_ACCESSDENIED, other.Do(Command::GetWriter)) << "the proxy writes what it fetches";
    EXPECT_HR(S_OK, TryToWrite(image.Get())) << "and the image knows nothing of it";
}

TEST_F(RemoteImage, TellsOfNothingBetweenUnsubscribeAndSubscribe)
{
    Send();
    ASSERT_HR(S_OK, other.Do(Command::GetReader));
    for (const int handler : {0, 1})
        ASSERT_HR(S_OK, other.Do(Command::Subscribe, handler, Tavlo_Synchronous));
    ASSERT_HR(S_OK, other.Do(Command::Unsubscribe, 0));
    pixels[0] = 77;
    ASSERT_HR(S_OK, Invalidate(image, {0, 0, 1, 1}));
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(other.Value(Command::Updates, 1), 0) << "also the one that stayed is not told";
    ASSERT_HR(S_OK, other.Do(Command::Subscribe, 0, Tavlo_Synchronous));
    pixels[1] = 78;
    ASSERT_HR(S_OK, Invalidate(image, {1, 0, 2, 1}));
    for (const int handler : {0, 1}) {
        ASSERT_HR(S_OK, other.Do(Command::AwaitUpdate, handler, 1));
        EXPECT_EQ(other.x.rect, (RECT{1, 0, 2, 1}));
    }
    EXPECT_EQ(other.Value(Command::Peek, 1), 78);
    EXPECT_EQ(other.Value(Command::Peek, 0), Original(0)) << "what was missed is not fetched later";
    for (const int handler : {0, 1})
        ASSERT_HR(S_OK, other.Do(Command::Unsubscribe, handler));
}

TEST_F(RemoteImage, IsDroppedInTheMiddleOfUpdates)
{
    const ULONG before = ReferencesOf(image.Get());
    Signal end;
    std::thread updating = InApartment(COINIT_MULTITHREADED, [&] {
        for (LONG i = 0; !end.IsSet(); ++i)
            EXPECT_HR(S_OK, Invalidate(image, {i % sharedWidth, 0, i % sharedWidth + 1, sharedHeight}));
    });
    for (int round = 1; round <= 20; ++round) {
        Send();
        ASSERT_HR(S_OK, other.Do(Command::Subscribe, 0, Tavlo_Asynchronous));
        EXPECT_HR(S_OK, other.Do(Command::AwaitUpdate, 0, round));
        EXPECT_HR(S_OK, other.Do(Command::Unsubscribe, 0));
        EXPECT_HR(S_OK, other.Do(Command::DropImage)) << "which waits for the refresh that is under way";
    }
    end.Set();
    updating.join();
    EXPECT_TRUE(Becomes([&] { return ReferencesOf(image.Get()) == before; }))
        << ReferencesOf(image.Get()) << " instead of " << before;
}

TEST_F(RemoteImage, OfAnOwnerThatDiesInTheMiddleOfUpdatesGivesErrors)
{
    ASSERT_HR(S_OK, other.Do(Command::MakeImage, whole));
    ASSERT_HR(S_OK, other.Do(Command::GetWriter));
    const auto proxy = Unmarshaled<ITavlo2>(other.Packet(Command::SendRemote));
    ASSERT_NE(proxy.Get(), nullptr);
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, proxy->Subscribe(handler.Get(), Tavlo_Asynchronous));
    other.Begin(Command::Storm);
    ASSERT_TRUE(handler->Receives(20));
    other.Kill();
    EXPECT_PRED1(IsRpcFailure, proxy->Unsubscribe(handler.Get()));
    EXPECT_PRED1(IsRpcFailure, proxy->Subscribe(handler.Get(), Tavlo_Synchronous));
    ComPtr<ITavloEvents> sink;
    ASSERT_HR(S_OK, proxy.As(&sink));
    for (int i = 0; i < 10; ++i)
        EXPECT_HR(S_OK, sink->OnImageUpdate(nullptr, nullptr))
            << "what the refresh thread cannot fetch harms nobody";
    ComPtr<IReadAccessor> reader;
    const HRESULT hr = proxy->GetReadAccess(nullptr, 1.0, &reader);
    EXPECT_TRUE(hr == S_OK || IsRpcFailure(hr)) << "there was nothing to fetch, or nobody to fetch it from";
    ComPtr<ITavloDescriptor2> descriptor;
    EXPECT_HR(S_OK, proxy->get_Descriptor(&descriptor)) << "the copy stays";
}
