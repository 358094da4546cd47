// Images for another machine: the packet, and the near end.
#include "tests/processes/transport_test.h"

namespace {

/// The near end of an image, in this process.
ComPtr<ITavloStub> StubOf(ITavlo2* image)
{
    return Unmarshaled<ITavloStub>([&] {
        const Bytes packet = Marshaled(image, MSHCTX_DIFFERENTMACHINE);
        // Behind the header of a packet with a class of its own is the stub's reference alone.
        return Bytes(packet.begin() + 48, packet.end());
    }());
}

} // namespace

TEST(RemotePacket, IsAReferenceToAStubAndNothingElse)
{
    const auto image = SharedImage();
    const auto marshal = MarshalOf(image.Get());
    CLSID clsid = {};
    EXPECT_HR(S_OK, marshal->GetUnmarshalClass(IID_ITavlo2, image.Get(), MSHCTX_DIFFERENTMACHINE, nullptr,
                                               MSHLFLAGS_NORMAL, &clsid));
    EXPECT_TRUE(clsid == CLSID_TavloProxy);
    const ComPtr<IStream> written = StreamOf({});
    ASSERT_HR(S_OK, marshal->MarshalInterface(written.Get(), IID_ITavlo2, image.Get(),
                                              MSHCTX_DIFFERENTMACHINE, nullptr, MSHLFLAGS_NORMAL));
    const Bytes packet = WrittenTo(written.Get());
    const ComPtr<IStream> stream = StreamOf(packet);
    ComPtr<ITavloStub> stub;
    EXPECT_HR(S_OK, CoUnmarshalInterface(stream.Get(), IID_ITavloStub,
                                         reinterpret_cast<void**>(stub.GetAddressOf())));
    EXPECT_EQ(PositionIn(stream.Get()), packet.size());
}

TEST(RemotePacket, MayTakeTwiceTheStandardSize)
{
    const auto image = SharedImage();
    ComPtr<IMarshal> standard;
    ASSERT_HR(S_OK, CoGetStandardMarshal(IID_ITavlo2, image.Get(), MSHCTX_DIFFERENTMACHINE, nullptr,
                                         MSHLFLAGS_NORMAL, &standard));
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL, MSHCTX_DIFFERENTMACHINE}) {
        DWORD reference = 0;
        DWORD size = 0;
        ASSERT_HR(S_OK, standard->GetMarshalSizeMax(IID_ITavlo2, image.Get(), context, nullptr,
                                                    MSHLFLAGS_NORMAL, &reference));
        EXPECT_HR(S_OK, MarshalOf(image.Get())
                            ->GetMarshalSizeMax(IID_ITavlo2, image.Get(), context, nullptr, MSHLFLAGS_NORMAL,
                                                &size));
        EXPECT_EQ(size, context == MSHCTX_DIFFERENTMACHINE ? 2 * reference : reference);
    }
}

TEST(RemotePacket, IsNotMadeWithinOneMachine)
{
    const auto image = SharedImage();
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL, MSHCTX_NOSHAREDMEM}) {
        CLSID clsid = {};
        EXPECT_HR(S_OK, MarshalOf(image.Get())
                            ->GetUnmarshalClass(IID_ITavlo2, image.Get(), context, nullptr, MSHLFLAGS_NORMAL,
                                                &clsid));
        EXPECT_FALSE(clsid == CLSID_TavloProxy);
        const Bytes packet = Marshaled(image.Get(), context);
        const auto same = Unmarshaled<ITavlo2>(packet);
        EXPECT_EQ(same.Get(), image.Get()) << "of its own apartment the image comes back itself";
    }
}

TEST(RemotePacket, GivesTheImageBackWhenItIsReleased)
{
    const auto image = SharedImage();
    const ULONG before = ReferencesOf(image.Get());
    const Bytes packet = Marshaled(image.Get(), MSHCTX_DIFFERENTMACHINE);
    EXPECT_GT(ReferencesOf(image.Get()), before);
    EXPECT_HR(S_OK, Release(packet));
    EXPECT_EQ(ReferencesOf(image.Get()), before);
}

TEST(RemotePacket, CutAnywhereLeavesNothingBehind)
{
    const auto image = SharedImage();
    const std::size_t size = [&] {
        const Bytes packet = Marshaled(image.Get(), MSHCTX_DIFFERENTMACHINE);
        Release(packet);
        return packet.size();
    }();
    const ULONG before = ReferencesOf(image.Get());
    for (std::size_t length = 0; length < size; ++length) {
        const Bytes packet = Marshaled(image.Get(), MSHCTX_DIFFERENTMACHINE);
        HRESULT hr = S_OK;
        // The last bytes of a reference are addresses that the platform may not need.
        const auto proxy = Unmarshaled<ITavlo2>(std::span(packet).first(length), &hr);
        EXPECT_EQ(proxy != nullptr, SUCCEEDED(hr)) << length;
        EXPECT_TRUE(FAILED(hr) || length > 100) << length;
        const HRESULT released = Release(packet);
        EXPECT_EQ(SUCCEEDED(released), FAILED(hr)) << length;
    }
    EXPECT_EQ(ReferencesOf(image.Get()), before);
}

TEST(Stub, GivesPackedBlocks)
{
    const auto image = SharedImage(8, 4);
    const auto writer = WriterOf(image.Get());
    for (int i = 0; i < 32; ++i)
        BytesAt(writer->Ptr(0))[i] = static_cast<std::uint8_t>(i);
    const auto stub = StubOf(image.Get());
    RECT rect = {2, 1, 5, 3};
    Bytes data(6);
    EXPECT_HR(S_OK, stub->GetData(&rect, 6, data.data()));
    EXPECT_EQ(data, (Bytes{10, 11, 12, 18, 19, 20}));
}

TEST(Stub, GivesNothingWithoutARectangleOrMemory)
{
    const auto stub = StubOf(SharedImage(8, 4).Get());
    RECT rect = {0, 0, 1, 1};
    std::uint8_t pixel = 7;
    EXPECT_HR(E_POINTER, stub->GetData(nullptr, 1, &pixel));
    EXPECT_HR(E_POINTER, stub->GetData(&rect, 1, nullptr));
    EXPECT_HR(E_POINTER, stub->get_Descriptor(nullptr));
    EXPECT_EQ(pixel, 7);
}

TEST(Stub, GivesNothingOutsideTheImage)
{
    const auto stub = StubOf(SharedImage(8, 4).Get());
    for (RECT rect :
         {RECT{0, 0, 9, 4}, RECT{0, 0, 8, 5}, RECT{-1, 0, 4, 4}, RECT{0, -1, 4, 4}, RECT{8, 0, 9, 1},
          RECT{100, 100, 101, 101}, RECT{-100000, 0, -99999, 1}, RECT{LONG_MIN, 0, LONG_MIN + 2, 1}}) {
        Bytes data(100, 7);
        EXPECT_TRUE(FAILED(stub->GetData(&rect, 100, data.data()))) << testing::PrintToString(rect);
        EXPECT_EQ(data, Bytes(100, 7)) << testing::PrintToString(rect);
    }
}

TEST(Stub, OfNoImageGivesNothing)
{
    const auto stub = Create<ITavloStub>(CLSID_TavloStub);
    RECT rect = {0, 0, 1, 1};
    std::uint8_t pixel = 0;
    ComPtr<ITavloDescriptor> descriptor;
    EXPECT_HR(E_UNEXPECTED, stub->get_Descriptor(&descriptor));
    EXPECT_HR(E_UNEXPECTED, stub->GetData(&rect, 1, &pixel));
    EXPECT_HR(E_UNEXPECTED, stub->Subscribe(nullptr));
}

TEST(Stub, TellsItsHandlerTheRectangleOnly)
{
    const auto image = SharedImage();
    const auto stub = StubOf(image.Get());
    const auto first = New<Handler>();
    const auto second = New<Handler>();
    ASSERT_HR(S_OK, stub->Subscribe(first.Get()));
    ASSERT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    EXPECT_TRUE(first->Receives(1));
    EXPECT_EQ(first->Received().at(0), (RECT{1, 2, 3, 4}));
    EXPECT_FALSE(first->SawImage());
    ASSERT_HR(S_OK, stub->Subscribe(second.Get()));
    ASSERT_HR(S_OK, Invalidate(image, {5, 6, 7, 8}));
    EXPECT_TRUE(second->Receives(1));
    ASSERT_HR(S_OK, stub->Subscribe(nullptr));
    EXPECT_EQ(first->Received().size(), 1u) << "a handler replaces the one before it";
}

// Marshaled, data is memory of the stub's process, which has as many bytes as the caller says.
TEST(Stub, FillsNoMoreThanACallerElsewhereHasRoomFor)
{
    const auto image = SharedImage(64, 48);
    *BytesAt(WriterOf(image.Get())->Ptr(0)) = 9;
    const auto stub = StubOf(image.Get());
    const Bytes packet = Marshaled(stub.Get(), MSHCTX_INPROC);
    std::thread elsewhere = InApartment(COINIT_APARTMENTTHREADED, [&] {
        const auto proxy = Unmarshaled<ITavloStub>(packet);
        ASSERT_NE(proxy.Get(), stub.Get());
        RECT whole = {0, 0, 64, 48};
        Bytes data(64 * 48, 7);
        for (const long size : {16L, 64L * 48 - 1})
            EXPECT_HR(E_INVALIDARG, proxy->GetData(&whole, size, data.data())) << size;
        EXPECT_HR(S_OK, proxy->GetData(&whole, 64 * 48, data.data()));
        EXPECT_EQ(data.front(), 9);
        RECT endless = {0, 0, LONG_MAX, LONG_MAX};
        EXPECT_HR(E_INVALIDARG, proxy->GetData(&endless, 16, data.data()));
        RECT none = {4, 4, 4, 4};
        EXPECT_HR(S_OK, proxy->GetData(&none, 1, data.data()));
    });
    elsewhere.join();
}

TEST(Stub, IsNotMadeOfAnImageThatReachesOutsideItsSection)
{
    const std::wstring name = L"Tavlo-test-stub-" + std::to_wstring(GetCurrentProcessId());
    const HANDLE section =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str());
    ASSERT_NE(section, nullptr);
    ComPtr<ITavlo2> image;
    ASSERT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)
                        ->Adopt(Text(name).get(), GreyDescriptor(1000, 1000).Get(), Tavlo_ReadOnly, &image));
    CloseHandle(section);
    EXPECT_HR(E_INVALIDARG, CoMarshalInterface(StreamOf({}).Get(), IID_ITavlo2, image.Get(),
                                               MSHCTX_DIFFERENTMACHINE, nullptr, MSHLFLAGS_NORMAL));
    const auto reader = ReaderOf(image.Get());
    EXPECT_EQ(*BytesAt(reader->Ptr(0)), 0) << "within the machine it stays an image";
}

TEST(Stub, LetsNoExceptionOfItsHandlerOut)
{
    const auto image = SharedImage();
    const auto stub = StubOf(image.Get());
    const auto throwing = New<Handler>([](const RECT&) -> HRESULT { throw 42; });
    const auto raising = New<Handler>([](const RECT&) {
        constexpr DWORD ofOtherCompilers = 0xE06D7363;
        RaiseException(ofOtherCompilers, EXCEPTION_NONCONTINUABLE, 0, nullptr);
        return S_OK;
    });
    ComPtr<ITavloEvents> sink;
    ASSERT_HR(S_OK, stub.As(&sink));
    for (const auto& handler : {throwing, raising}) {
        ASSERT_HR(S_OK, stub->Subscribe(handler.Get()));
        RECT dirty = {1, 2, 3, 4};
        EXPECT_HR(E_UNEXPECTED, sink->OnImageUpdate(nullptr, &dirty));
    }
    EXPECT_HR(S_OK, stub->Subscribe(nullptr));
}

TEST(Stub, EndsItsSubscriptionsWithItself)
{
    auto image = SharedImage();
    const ULONG before = ReferencesOf(image.Get());
    Signal gone;
    {
        const auto stub = StubOf(image.Get());
        const auto handler = New<Handler>(Handler::Reaction(), &gone);
        for (int i = 0; i < 3; ++i)
            ASSERT_HR(S_OK, stub->Subscribe(handler.Get()));
        ASSERT_HR(S_OK, stub->Subscribe(nullptr));
        ASSERT_HR(S_OK, stub->Subscribe(handler.Get()));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(handler->Receives(3));
    }
    EXPECT_TRUE(gone.Wait());
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(ReferencesOf(image.Get()), before);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
}

TEST(Stub, MayEndInAnUpdate)
{
    const auto image = SharedImage();
    const ULONG before = ReferencesOf(image.Get());
    auto stub = StubOf(image.Get());
    const auto holder = New<Holder>();
    ASSERT_HR(S_OK, stub->Subscribe(holder.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(holder->entered.Wait());
    stub.Reset();
    EXPECT_EQ(ReferencesOf(image.Get()), before);
    holder->leave.Set();
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(holder->References(), 1u);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(holder->Received().size(), 1u);
}
