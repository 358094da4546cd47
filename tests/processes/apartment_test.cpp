// Accessors between the apartments of one process, and the bytes that they travel as.
#include "tests/processes/transport_test.h"

#include <array>

namespace {

/// What IMarshal wrote, in two parts.
struct Packet
{
    Bytes reference; ///< the standard reference to the image
    Bytes own;
};

/// Takes the packet apart, which uses up its reference.
Packet TakeApart(const Bytes& bytes)
{
    const ComPtr<IStream> stream = StreamOf(bytes);
    ComPtr<ITavloInternal> image;
    EXPECT_HR(S_OK, CoUnmarshalInterface(stream.Get(), IID_ITavloInternal,
                                         reinterpret_cast<void**>(image.GetAddressOf())));
    const auto split = bytes.begin() + static_cast<std::ptrdiff_t>(PositionIn(stream.Get()));
    return {{bytes.begin(), split}, {split, bytes.end()}};
}

template <class Interface>
Bytes WrittenBy(Interface* accessor, DWORD context, DWORD flags = MSHLFLAGS_NORMAL)
{
    const ComPtr<IStream> stream = StreamOf({});
    EXPECT_HR(S_OK, MarshalOf(accessor)->MarshalInterface(stream.Get(), __uuidof(Interface), accessor,
                                                          context, nullptr, flags));
    return WrittenTo(stream.Get());
}

std::uint64_t NumberAt(const Bytes& bytes, std::size_t offset, std::size_t width)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < width; ++i)
        number |= std::uint64_t{bytes.at(offset + i)} << (8 * i);
    return number;
}

std::wstring NameAt(const Bytes& bytes, std::size_t offset)
{
    std::wstring name;
    for (; offset + 1 < bytes.size(); offset += 2)
        name.push_back(static_cast<wchar_t>(NumberAt(bytes, offset, 2)));
    return name;
}

/// An image that was adopted from a section of a name that the test chose.
class AdoptedImage
{
public:
    AdoptedImage()
        : section_(
              CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64 * 48, Name().c_str()))
    {
        EXPECT_NE(section_, nullptr);
        EXPECT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)
                            ->Adopt(Text(Name()).get(), GreyDescriptor(64, 48).Get(), Tavlo_MultipleWriters,
                                    &image));
    }

    ~AdoptedImage() { CloseHandle(section_); }
    AdoptedImage(const AdoptedImage&) = delete;
    AdoptedImage& operator=(const AdoptedImage&) = delete;

    static std::wstring Name()
    {
        return L"Tavlo-test-travelling-\u00E9-" + std::to_wstring(GetCurrentProcessId());
    }

    ComPtr<ITavlo2> image;

private:
    HANDLE section_;
};

const DWORD localContexts[] = {MSHCTX_LOCAL, MSHCTX_NOSHAREDMEM};

} // namespace

TEST(AccessorBetweenApartments, HasTheSameAddress)
{
    const auto image = GreyImage(64, 48, Tavlo_SingleWriter);
    const auto reader = ReaderOf(image.Get());
    const auto writer = WriterOf(image.Get());
    ComPtr<IStream> readerStream;
    ComPtr<IStream> writerStream;
    ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_IReadAccessor, reader.Get(), &readerStream));
    ASSERT_HR(S_OK, CoMarshalInterThreadInterfaceInStream(IID_IWriteAccessor, writer.Get(), &writerStream));
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        ComPtr<IReadAccessor> farReader;
        ComPtr<IWriteAccessor> farWriter;
        ASSERT_HR(S_OK, CoGetInterfaceAndReleaseStream(readerStream.Detach(), IID_IReadAccessor,
                                                       reinterpret_cast<void**>(farReader.GetAddressOf())));
        ASSERT_HR(S_OK, CoGetInterfaceAndReleaseStream(writerStream.Detach(), IID_IWriteAccessor,
                                                       reinterpret_cast<void**>(farWriter.GetAddressOf())));
        EXPECT_NE(farReader.Get(), reader.Get()) << "accessors travel by value";
        EXPECT_EQ(farReader->Ptr(0), reader->Ptr(0));
        EXPECT_EQ(farWriter->Ptr(0), writer->Ptr(0));
        EXPECT_EQ(farWriter->Ptr(-7), writer->Ptr(-7));
    }).join();
}

TEST(AccessorBetweenApartments, IsCountedBesideTheOneItCameFrom)
{
    const auto image = GreyImage(64, 48, Tavlo_SingleWriter);
    auto writer = WriterOf(image.Get());
    const Bytes packet = Marshaled(writer.Get(), MSHCTX_INPROC);
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        auto second = Unmarshaled<IWriteAccessor>(packet);
        ASSERT_NE(second.Get(), nullptr) << "not refused although there is a writer";
        EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()));
        writer.Reset();
        EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()));
        second.Reset();
        EXPECT_HR(S_OK, TryToWrite(image.Get()));
    }).join();
}

TEST(AccessorBetweenApartments, ReportsUpdatesToTheImage)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    const Bytes packet = Marshaled(WriterOf(image.Get()).Get(), MSHCTX_INPROC);
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        RECT dirty = {1, 2, 3, 4};
        EXPECT_HR(S_OK, Unmarshaled<IWriteAccessor>(packet)->Invalidate(&dirty));
    }).join();
    EXPECT_EQ(handler->Received(), (std::vector<RECT>{{1, 2, 3, 4}}));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
}

TEST(AccessorBetweenApartments, KeepsTheImageOfASingleThreadedApartmentAlive)
{
    Signal made;
    Signal done;
    Bytes packet;
    std::thread owner = InApartment(COINIT_APARTMENTTHREADED, [&] {
        {
            const auto image = SharedImage();
            const auto writer = WriterOf(image.Get());
            BytesAt(writer->Ptr(5))[0] = 50;
            packet = Marshaled(writer.Get(), MSHCTX_INPROC);
        }
        made.Set();
        EXPECT_TRUE(BecomesWhilePumping([&] { return done.IsSet(); }));
    });
    ASSERT_TRUE(made.Wait());
    auto writer = Unmarshaled<IWriteAccessor>(packet);
    EXPECT_EQ(*BytesAt(writer->Ptr(5)), 50);
    EXPECT_HR(S_OK, writer->Invalidate());
    writer.Reset();
    done.Set();
    owner.join();
}

TEST(AccessorBetweenApartments, OpensNoSection)
{
    const auto image = New<CountingImage>();
    const auto real = SharedImage();
    const auto reader = ReaderOf(real.Get());
    const Bytes packet =
        Joined(Marshaled<ITavloInternal>(image.Get(), MSHCTX_INPROC), OwnBytesOf(reader.Get()));

    const auto accessor = Create<IReadAccessor>(CLSID_ReadAccessor);
    ComPtr<IReadAccessor> same;
    ASSERT_HR(S_OK, MarshalOf(accessor.Get())
                        ->UnmarshalInterface(StreamOf(packet).Get(), IID_IReadAccessor,
                                             reinterpret_cast<void**>(same.GetAddressOf())))
        << "there is no section of the bare name";
    EXPECT_EQ(same->Ptr(0), reader->Ptr(0));
}

TEST(AccessorBetweenApartments, HasNoAddressThatTheProcessDoesNotKnow)
{
    const auto image = New<CountingImage>();
    const auto real = SharedImage();
    const Bytes own = OwnBytesOf(ReaderOf(real.Get()).Get());
    std::array<std::uint64_t, 2> memory = {};
    Bytes elsewhere = own;
    const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
    std::memcpy(elsewhere.data() + 4, &address, sizeof(address));
    Bytes inside = own;
    inside[4] = 8;
    Bytes ofAnother = own;
    ofAnother[16 + 2] = '?';
    for (const Bytes& told : {elsewhere, inside, ofAnother}) {
        const Bytes packet = Joined(Marshaled<ITavloInternal>(image.Get(), MSHCTX_INPROC), told);
        ComPtr<IUnknown> accessor;
        EXPECT_HR(E_INVALIDARG, Create<IMarshal>(CLSID_WriteAccessor)
                                    ->UnmarshalInterface(StreamOf(packet).Get(), IID_IWriteAccessor,
                                                         reinterpret_cast<void**>(accessor.GetAddressOf())));
        EXPECT_EQ(TakeErrorDescription(), L"The accessor's view is none of this process");
        EXPECT_EQ(image->writers, 0);
    }
    EXPECT_EQ(image->References(), 1u);
}

// An accessor that was received from elsewhere has mapped the section itself. What it passes on
// shows that mapping.
TEST(AccessorBetweenApartments, OutlivesTheOneWhoseMappingItShows)
{
    const auto image = SharedImage();
    *BytesAt(WriterOf(image.Get())->Ptr(5)) = 50;
    auto received = Unmarshaled<IReadAccessor>(Marshaled(ReaderOf(image.Get()).Get(), MSHCTX_LOCAL));
    ASSERT_NE(received->Ptr(0), ReaderOf(image.Get())->Ptr(0));
    const Bytes packet = Marshaled(received.Get(), MSHCTX_INPROC);
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        const auto passedOn = Unmarshaled<IReadAccessor>(packet);
        received.Reset();
        EXPECT_EQ(*BytesAt(passedOn->Ptr(5)), 50);
    }).join();
}

TEST(AccessorBetweenApartments, IsNotMadeOfAViewThatHasGone)
{
    const auto image = SharedImage();
    auto received = Unmarshaled<IReadAccessor>(Marshaled(ReaderOf(image.Get()).Get(), MSHCTX_LOCAL));
    const Bytes packet = Marshaled(received.Get(), MSHCTX_INPROC);
    received.Reset();
    HRESULT hr = S_OK;
    EXPECT_EQ(Unmarshaled<IReadAccessor>(packet, &hr).Get(), nullptr);
    EXPECT_HR(E_INVALIDARG, hr);
}

TEST(AccessorPacketBytes, WithinTheProcessFollowTheReference)
{
    const AdoptedImage adopted;
    const auto reader = ReaderOf(adopted.image.Get());
    const auto writer = WriterOf(adopted.image.Get());
    const std::wstring name = AdoptedImage::Name();
    for (const Bytes& own : {TakeApart(WrittenBy(reader.Get(), MSHCTX_INPROC)).own,
                             TakeApart(WrittenBy(writer.Get(), MSHCTX_INPROC)).own}) {
        ASSERT_EQ(own.size(), 16 + 2 * name.size());
        EXPECT_EQ(NumberAt(own, 0, 4), 0u);
        EXPECT_EQ(NumberAt(own, 4, 8), reinterpret_cast<std::uintptr_t>(reader->Ptr(0)));
        EXPECT_EQ(NumberAt(own, 12, 4), name.size());
        EXPECT_EQ(NameAt(own, 16), name);
    }
}

TEST(AccessorPacketBytes, ForAnotherProcessFollowTheReference)
{
    const AdoptedImage adopted;
    const auto writer = WriterOf(adopted.image.Get());
    const std::wstring name = AdoptedImage::Name();
    for (const DWORD context : localContexts) {
        const Bytes own = TakeApart(WrittenBy(writer.Get(), context)).own;
        ASSERT_EQ(own.size(), 4 + 2 * name.size());
        EXPECT_EQ(NumberAt(own, 0, 4), name.size());
        EXPECT_EQ(NameAt(own, 4), name);
    }
}

TEST(AccessorPacketBytes, NameTheSectionWithoutItsPrefix)
{
    const auto image = SharedImage();
    const std::wstring name = NameAt(TakeApart(WrittenBy(ReaderOf(image.Get()).Get(), MSHCTX_LOCAL)).own, 4);
    CLSID guid = {};
    EXPECT_EQ(name.size(), 38u);
    EXPECT_HR(S_OK, CLSIDFromString(name.c_str(), &guid));
}

TEST(AccessorPacketBytes, ReferToTheImageNormallyWhateverIsAskedFor)
{
    const auto image = SharedImage();
    const auto writer = WriterOf(image.Get());
    for (const DWORD flags : {MSHLFLAGS_NORMAL, MSHLFLAGS_TABLESTRONG, MSHLFLAGS_TABLEWEAK}) {
        const Bytes bytes = WrittenBy(writer.Get(), MSHCTX_INPROC, flags);
        // A standard reference begins with a signature, flags, an identifier and its own flags and count.
        EXPECT_EQ(NumberAt(bytes, 28, 4), 5u) << flags << ": the references that a normal packet carries";
        const ULONG held = ReferencesOf(image.Get());
        TakeApart(bytes);
        EXPECT_LE(ReferencesOf(image.Get()), held) << flags;
    }
}

TEST(AccessorMarshaling, NeedsAFewBytesMoreThanItsReference)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    const auto writer = WriterOf(image.Get());
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, image.As(&internal));
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL, MSHCTX_NOSHAREDMEM}) {
        ComPtr<IMarshal> standard;
        ASSERT_HR(S_OK, CoGetStandardMarshal(IID_ITavloInternal, internal.Get(), context, nullptr,
                                             MSHLFLAGS_NORMAL, &standard));
        DWORD reference = 0;
        ASSERT_HR(S_OK, standard->GetMarshalSizeMax(IID_ITavloInternal, internal.Get(), context, nullptr,
                                                    MSHLFLAGS_NORMAL, &reference));
        DWORD size = 0;
        EXPECT_HR(S_OK, MarshalOf(reader.Get())
                            ->GetMarshalSizeMax(IID_IReadAccessor, reader.Get(), context, nullptr,
                                                MSHLFLAGS_NORMAL, &size));
        EXPECT_EQ(size, reference + 16 + 2 * 38);
        EXPECT_HR(S_OK, MarshalOf(writer.Get())
                            ->GetMarshalSizeMax(IID_IWriteAccessor, writer.Get(), context, nullptr,
                                                MSHLFLAGS_NORMAL, &size));
        EXPECT_EQ(size, reference + 16 + 2 * 38);
        const Bytes packet = WrittenBy(writer.Get(), context);
        EXPECT_LE(packet.size(), size);
        TakeApart(packet);
    }
}

TEST(AccessorMarshaling, MakesTheReceiverAnAccessorOfTheSameClass)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    const auto writer = WriterOf(image.Get());
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL, MSHCTX_NOSHAREDMEM}) {
        CLSID clsid = {};
        EXPECT_HR(S_OK, MarshalOf(reader.Get())
                            ->GetUnmarshalClass(IID_IReadAccessor, reader.Get(), context, nullptr,
                                                MSHLFLAGS_NORMAL, &clsid));
        EXPECT_TRUE(clsid == CLSID_ReadAccessor);
        EXPECT_HR(S_OK, MarshalOf(writer.Get())
                            ->GetUnmarshalClass(IID_IWriteAccessor, writer.Get(), context, nullptr,
                                                MSHLFLAGS_NORMAL, &clsid));
        EXPECT_TRUE(clsid == CLSID_WriteAccessor);
    }
}

TEST(AccessorMarshaling, ToAnotherMachineIsRefused)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    const auto writer = WriterOf(image.Get());
    for (const auto& marshal : {MarshalOf(reader.Get()), MarshalOf(writer.Get())}) {
        CLSID clsid = CLSID_Tavlo;
        DWORD size = 12345;
        EXPECT_HR(CO_E_CANT_REMOTE, marshal->GetUnmarshalClass(IID_IUnknown, nullptr, MSHCTX_DIFFERENTMACHINE,
                                                               nullptr, MSHLFLAGS_NORMAL, &clsid));
        EXPECT_HR(CO_E_CANT_REMOTE, marshal->GetMarshalSizeMax(IID_IUnknown, nullptr, MSHCTX_DIFFERENTMACHINE,
                                                               nullptr, MSHLFLAGS_NORMAL, &size));
        EXPECT_TRUE(clsid == CLSID_Tavlo);
        EXPECT_EQ(size, 12345u);
    }
    EXPECT_HR(CO_E_CANT_REMOTE, CoMarshalInterface(StreamOf({}).Get(), IID_IReadAccessor, reader.Get(),
                                                   MSHCTX_DIFFERENTMACHINE, nullptr, MSHLFLAGS_NORMAL));
}

TEST(AccessorMarshaling, OfAnAccessorWithoutAnImageFails)
{
    const auto accessor = Create<IWriteAccessor>(CLSID_WriteAccessor);
    const auto marshal = MarshalOf(accessor.Get());
    DWORD size = 777;
    EXPECT_TRUE(FAILED(marshal->GetMarshalSizeMax(IID_IWriteAccessor, accessor.Get(), MSHCTX_LOCAL, nullptr,
                                                  MSHLFLAGS_NORMAL, &size)));
    EXPECT_EQ(size, 777u);
    EXPECT_TRUE(FAILED(marshal->MarshalInterface(StreamOf({}).Get(), IID_IWriteAccessor, accessor.Get(),
                                                 MSHCTX_LOCAL, nullptr, MSHLFLAGS_NORMAL)));
}

TEST(AccessorMarshaling, ChecksItsPointers)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    const auto marshal = MarshalOf(reader.Get());
    void* result = &result;
    EXPECT_HR(E_POINTER,
              marshal->GetUnmarshalClass(IID_IReadAccessor, nullptr, MSHCTX_LOCAL, nullptr, 0, nullptr));
    EXPECT_HR(E_POINTER,
              marshal->GetMarshalSizeMax(IID_IReadAccessor, nullptr, MSHCTX_LOCAL, nullptr, 0, nullptr));
    EXPECT_HR(E_POINTER,
              marshal->MarshalInterface(nullptr, IID_IReadAccessor, nullptr, MSHCTX_LOCAL, nullptr, 0));
    EXPECT_HR(E_POINTER, marshal->UnmarshalInterface(nullptr, IID_IReadAccessor, &result));
    EXPECT_EQ(result, nullptr);
    EXPECT_HR(E_POINTER, marshal->UnmarshalInterface(StreamOf({}).Get(), IID_IReadAccessor, nullptr));
    EXPECT_HR(E_POINTER, marshal->ReleaseMarshalData(nullptr));
    EXPECT_HR(S_OK, marshal->DisconnectObject(0));
}

TEST(AccessorMarshaling, GivesTheReferenceBackWhenThePacketIsReleased)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    const auto writer = WriterOf(image.Get());
    const ULONG before = ReferencesOf(image.Get());
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL}) {
        for (const DWORD flags : {MSHLFLAGS_NORMAL, MSHLFLAGS_TABLESTRONG, MSHLFLAGS_TABLEWEAK}) {
            const auto expectReleased = [&](const Bytes& packet) {
                EXPECT_GT(ReferencesOf(image.Get()), before);
                EXPECT_HR(S_OK, Release(packet));
                EXPECT_EQ(ReferencesOf(image.Get()), before) << context << ' ' << flags;
            };
            expectReleased(Marshaled(reader.Get(), context, flags));
            expectReleased(Marshaled(writer.Get(), context, flags));
        }
    }
}

TEST(AccessorMarshaling, ReadsExactlyItsPacketToReleaseIt)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL}) {
        Bytes packet = WrittenBy(reader.Get(), context);
        const std::size_t size = packet.size();
        packet.insert(packet.end(), 20, 0);
        const ComPtr<IStream> stream = StreamOf(packet);
        EXPECT_HR(S_OK, MarshalOf(reader.Get())->ReleaseMarshalData(stream.Get()));
        EXPECT_EQ(PositionIn(stream.Get()), size);
    }
}

TEST(DisposalHook, IsNotTakenFromElsewhere)
{
    const auto image = SharedImage();
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, image.As(&internal));
    const Bytes packet = Marshaled(internal.Get(), MSHCTX_INPROC);
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        const auto proxy = Unmarshaled<ITavloInternal>(packet);
        ASSERT_NE(proxy.Get(), internal.Get());
        EXPECT_HR(E_ACCESSDENIED, proxy->SetDisposalHook(0x1234));
        EXPECT_HR(E_ACCESSDENIED, proxy->SetDisposalHook(0));
        EXPECT_HR(S_OK, proxy->Dispose()) << "the image has none";
    }).join();
    EXPECT_HR(S_OK, internal->SetDisposalHook(0));
}

TEST(AccessorUnmarshaling, CountsFromAttachingToDeath)
{
    const auto image = New<CountingImage>();
    const auto real = SharedImage();
    const Bytes own = OwnBytesOf(ReaderOf(real.Get()).Get());
    const auto receive = [&](REFCLSID clsid, REFIID iid) {
        const Bytes packet = Joined(Marshaled<ITavloInternal>(image.Get(), MSHCTX_INPROC), own);
        ComPtr<IUnknown> accessor;
        EXPECT_HR(S_OK, Create<IMarshal>(clsid)->UnmarshalInterface(
                            StreamOf(packet).Get(), iid, reinterpret_cast<void**>(accessor.GetAddressOf())));
        return accessor;
    };
    auto reader = receive(CLSID_ReadAccessor, IID_IReadAccessor);
    auto reader2 = receive(CLSID_ReadAccessor, IID_IReadAccessor);
    auto writer = receive(CLSID_WriteAccessor, IID_IWriteAccessor);
    EXPECT_EQ(image->readers, 2);
    EXPECT_EQ(image->writers, 1);
    reader.Reset();
    writer.Reset();
    EXPECT_EQ(image->readers, 1);
    EXPECT_EQ(image->writers, 0);
    reader2.Reset();
    EXPECT_EQ(image->readers, 0);
    EXPECT_EQ(image->References(), 1u);
}
