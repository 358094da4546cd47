// Accessors and images between processes of one machine.
#include "tests/processes/other_process.h"

namespace {

/// An image of this process and a process to share it with.
class AcrossProcesses : public testing::Test
{
protected:
    Bytes Reader() { return Marshaled(ReaderOf(image.Get()).Get(), MSHCTX_LOCAL); }
    Bytes Writer() { return Marshaled(WriterOf(image.Get()).Get(), MSHCTX_LOCAL); }

    ComPtr<ITavlo2> image = GreyImage(64, 48, Tavlo_SingleWriter);
    OtherProcess other;
};

} // namespace

TEST_F(AcrossProcesses, AReaderShowsTheSameBytes)
{
    auto* bytes = BytesAt(WriterOf(image.Get())->Ptr(0));
    bytes[0] = 1;
    bytes[64 * 48 - 1] = 2;
    ASSERT_HR(S_OK, other.Do(Command::TakeReader, Reader()));
    EXPECT_EQ(other.Value(Command::Peek, 0), 1);
    EXPECT_EQ(other.Value(Command::Peek, 64 * 48 - 1), 2);
    bytes[0] = 3;
    EXPECT_EQ(other.Value(Command::Peek, 0), 3) << "memory is shared, not copied";
}

TEST_F(AcrossProcesses, AWriterWritesIntoTheImage)
{
    const auto reader = ReaderOf(image.Get());
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    ASSERT_HR(S_OK, other.Do(Command::Poke, 100, 55));
    EXPECT_EQ(*BytesAt(reader->Ptr(100)), 55);
}

TEST_F(AcrossProcesses, EveryCopyHasAViewOfItsOwn)
{
    // In one process the two mappings show: the reader's and the writer's addresses differ.
    ASSERT_HR(S_OK, other.Do(Command::TakeReader, Reader()));
    const std::int64_t first = other.Value(Command::Address);
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    EXPECT_NE(other.Value(Command::Address), first);
    ASSERT_HR(S_OK, other.Do(Command::Poke, 7, 70));
    ASSERT_HR(S_OK, other.Do(Command::DropWriter));
    EXPECT_EQ(other.Value(Command::Address), first);
    EXPECT_EQ(other.Value(Command::Peek, 7), 70);
}

TEST_F(AcrossProcesses, AWriterIsCountedUntilItIsReleased)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()));
    ASSERT_HR(S_OK, other.Do(Command::DropWriter));
    EXPECT_HR(S_OK, TryToWrite(image.Get()));
}

TEST_F(AcrossProcesses, AWriterTellsTheImageOfUpdates)
{
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    EXPECT_HR(S_OK, other.Do(Command::Invalidate, RECT{5, 6, 7, 8}));
    EXPECT_HR(S_OK, other.Do(Command::InvalidateWhole));
    EXPECT_EQ(handler->Received(), (std::vector<RECT>{{5, 6, 7, 8}, {0, 0, 64, 48}}));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
}

TEST_F(AcrossProcesses, AWriterOfAKilledProcessStaysCounted)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    ASSERT_HR(S_OK, other.Do(Command::Poke, 3, 33));
    other.Kill();
    EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()));
    EXPECT_EQ(*BytesAt(ReaderOf(image.Get())->Ptr(3)), 33);
}

TEST_F(AcrossProcesses, AReaderOfAKilledProcessHarmsNobody)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeReader, Reader()));
    other.Kill();
    const auto writer = WriterOf(image.Get());
    *BytesAt(writer->Ptr(0)) = 9;
    EXPECT_EQ(*BytesAt(ReaderOf(image.Get())->Ptr(0)), 9);
    OtherProcess third;
    ASSERT_HR(S_OK, third.Do(Command::TakeReader, Reader()));
    EXPECT_EQ(third.Value(Command::Peek, 0), 9);
}

TEST_F(AcrossProcesses, AnImageLivesAsLongAsItsAccessors)
{
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    image.Reset();
    EXPECT_EQ(handler->References(), 2u) << "the image lives, and holds its subscriber";
    EXPECT_HR(S_OK, other.Do(Command::InvalidateWhole));
    EXPECT_EQ(handler->Received().size(), 1u);
    ASSERT_HR(S_OK, other.Do(Command::DropWriter));
    EXPECT_TRUE(Becomes([&] { return handler->References() == 1; }));
}

TEST_F(AcrossProcesses, AccessorsTravelOn)
{
    OtherProcess third;
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    ASSERT_HR(S_OK, third.Do(Command::TakeWriter, other.Packet(Command::SendWriter)));
    ASSERT_HR(S_OK, other.Do(Command::DropWriter));
    EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()))
        << "the third process's writer is counted by the image";
    ASSERT_HR(S_OK, third.Do(Command::Poke, 1, 11));
    EXPECT_EQ(*BytesAt(ReaderOf(image.Get())->Ptr(1)), 11);
    ASSERT_HR(S_OK, third.Do(Command::DropWriter));
    EXPECT_HR(S_OK, TryToWrite(image.Get()));
}

TEST_F(AcrossProcesses, AnImageTravelsByReference)
{
    *BytesAt(WriterOf(image.Get())->Ptr(10)) = 4;
    ASSERT_HR(S_OK, other.Do(Command::TakeImage, Marshaled(image.Get(), MSHCTX_LOCAL)));
    ASSERT_HR(S_OK, other.Do(Command::Describe));
    EXPECT_EQ(other.x.rect, (RECT{0, 0, 64, 48}));
    EXPECT_EQ(other.x.value, Tavlo_Unsigned);
    ASSERT_HR(S_OK, other.Do(Command::GetReader));
    EXPECT_EQ(other.Value(Command::Peek, 10), 4);
    ASSERT_HR(S_OK, other.Do(Command::GetWriter));
    EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()));
    ASSERT_HR(S_OK, other.Do(Command::Poke, 10, 5));
    EXPECT_EQ(*BytesAt(ReaderOf(image.Get())->Ptr(10)), 5);
    EXPECT_EQ(other.Value(Command::Clone, 10), 5);
    ASSERT_HR(S_OK, other.Do(Command::DropWriter));
    EXPECT_HR(S_OK, TryToWrite(image.Get()));
}

TEST_F(AcrossProcesses, AnImageTellsTheOtherProcessOfUpdates)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeImage, Marshaled(image.Get(), MSHCTX_LOCAL)));
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous})
        ASSERT_HR(S_OK, other.Do(Command::Subscribe, mode, mode));
    ASSERT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        EXPECT_EQ(other.Value(Command::AwaitUpdate, mode, 1), 1);
        EXPECT_EQ(other.x.rect, (RECT{1, 2, 3, 4}));
        ASSERT_HR(S_OK, other.Do(Command::Unsubscribe, mode));
    }
    ASSERT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(other.Value(Command::Updates, Tavlo_Synchronous), 1);
    EXPECT_EQ(other.Value(Command::Updates, Tavlo_Asynchronous), 1);
}

TEST_F(AcrossProcesses, ASubscriberOfAKilledProcessIsDropped)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeImage, Marshaled(image.Get(), MSHCTX_LOCAL)));
    ASSERT_HR(S_OK, other.Do(Command::Subscribe, 0, Tavlo_Synchronous));
    ASSERT_HR(S_OK, other.Do(Command::Subscribe, 1, Tavlo_Asynchronous));
    other.Kill();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    EXPECT_TRUE(handler->Receives(1));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
}

TEST_F(AcrossProcesses, TheDeathOfTheOwnerIsAnErrorToOthers)
{
    ASSERT_HR(S_OK, other.Do(Command::MakeImage, RECT{0, 0, 20, 10}));
    ASSERT_HR(S_OK, other.Do(Command::GetWriter));
    ASSERT_HR(S_OK, other.Do(Command::Poke, 6, 66));
    auto remote = Unmarshaled<ITavlo2>(other.Packet(Command::PassOn));
    auto writer = Unmarshaled<IWriteAccessor>(other.Packet(Command::SendWriter));
    const Bytes late = other.Packet(Command::SendWriter);
    ASSERT_NE(remote.Get(), nullptr);
    ASSERT_NE(writer.Get(), nullptr);
    ASSERT_HR(S_OK, writer->Invalidate(nullptr));
    other.Kill();
    EXPECT_EQ(*BytesAt(writer->Ptr(6)), 66) << "the section lives as long as anybody has it open";
    EXPECT_PRED1(IsRpcFailure, writer->Invalidate(nullptr));
    ComPtr<IReadAccessor> reader;
    EXPECT_PRED1(IsRpcFailure, remote->GetReadAccess(nullptr, 1.0, &reader));
    HRESULT hr = S_OK;
    EXPECT_EQ(Unmarshaled<IWriteAccessor>(late, &hr).Get(), nullptr);
    EXPECT_PRED1(IsRpcFailure, hr);
    writer.Reset();
    remote.Reset();
}

TEST_F(AcrossProcesses, APacketWithoutItsSectionIsNotFound)
{
    const auto counting = New<CountingImage>();
    Bytes packet = Marshaled<ITavloInternal>(counting.Get(), MSHCTX_LOCAL);
    const Bytes own = {3, 0, 0, 0, '{', 0, '?', 0, '}', 0};
    packet.insert(packet.end(), own.begin(), own.end());
    ComPtr<IUnknown> accessor;
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
              Create<IMarshal>(CLSID_ReadAccessor)
                  ->UnmarshalInterface(StreamOf(packet).Get(), IID_IReadAccessor,
                                       reinterpret_cast<void**>(accessor.GetAddressOf())));
    EXPECT_EQ(counting->readers, 0);
}

TEST_F(AcrossProcesses, NothingIsLeftOfAccessorsThatCameAndWent)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeImage, Marshaled(image.Get(), MSHCTX_LOCAL)));
    // What the platform sets up once is set up.
    ASSERT_HR(S_OK, other.Do(Command::Cycle, 20));
    ASSERT_HR(S_OK, other.Do(Command::Resources));
    const std::int64_t theirs = other.x.value;
    const DWORD ours = Handles();
    const ULONG references = ReferencesOf(image.Get());
    ASSERT_HR(S_OK, other.Do(Command::Cycle, 300));
    ASSERT_HR(S_OK, other.Do(Command::Resources));
    // A section that stays open is a handle for each accessor; threads of the platform come and go.
    EXPECT_LT(other.x.value, theirs + 50);
    EXPECT_LT(Handles(), ours + 50);
    EXPECT_TRUE(Becomes([&] { return ReferencesOf(image.Get()) <= references; }));
    EXPECT_HR(S_OK, TryToWrite(image.Get()));
}

TEST_F(AcrossProcesses, TheOtherProcessEndsWell)
{
    ASSERT_HR(S_OK, other.Do(Command::TakeWriter, Writer()));
    EXPECT_EQ(other.End(), 0u);
    EXPECT_HR(S_OK, TryToWrite(image.Get()));
}
