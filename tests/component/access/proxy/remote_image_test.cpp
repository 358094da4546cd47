// Images as packets: given back unused, and for another machine of whatever geometry.
#include "tests/processes/transport_test.h"

namespace {

/// How one channel lies in memory.
struct Geometry
{
    const char* title;
    TavloEncoding encoding;
    long bits;
    long offset;
    long strideX;
    long strideY;
};

constexpr long smallWidth = 7;
constexpr long smallHeight = 5;

class RemoteGeometry : public testing::TestWithParam<Geometry>
{
protected:
    static ComPtr<ITavlo2> NewImage()
    {
        const Geometry& geometry = GetParam();
        auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
        descriptor->put_Encoding(geometry.encoding);
        descriptor->put_Width(smallWidth);
        descriptor->put_Height(smallHeight);
        descriptor->put_Bits(geometry.bits);
        descriptor->put_Offset(geometry.offset);
        descriptor->put_Stride_x(geometry.strideX);
        descriptor->put_Stride_y(geometry.strideY);
        return CreateImage(descriptor.Get(), Tavlo_MultipleWriters);
    }

    static long OffsetOf(long x, long y)
    {
        const Geometry& geometry = GetParam();
        return geometry.offset + x * geometry.strideX + y * geometry.strideY;
    }

    /// Writes the bytes of all pixels, each other ones.
    static void Fill(IWriteAccessor* writer, int first)
    {
        int value = first;
        for (long y = 0; y < smallHeight; ++y)
            for (long x = 0; x < smallWidth; ++x)
                for (long i = 0; i < (GetParam().bits + 7) / 8; ++i)
                    *BytesAt(writer->Ptr(OffsetOf(x, y) + i)) = static_cast<std::uint8_t>(value++);
    }

    /// The pixels of a rectangle, one after the other.
    static Bytes Pixels(IReadAccessor* reader, const RECT& rect)
    {
        Bytes pixels;
        for (long y = rect.top; y < rect.bottom; ++y)
            for (long x = rect.left; x < rect.right; ++x)
                for (long i = 0; i < (GetParam().bits + 7) / 8; ++i)
                    pixels.push_back(*BytesAt(reader->Ptr(OffsetOf(x, y) + i)));
        return pixels;
    }
};

} // namespace

TEST_P(RemoteGeometry, IsThatOfTheCopyToo)
{
    const auto image = NewImage();
    const auto writer = WriterOf(image.Get());
    Fill(writer.Get(), 1);
    const auto proxy = Unmarshaled<ITavlo2>(Marshaled(image.Get(), MSHCTX_DIFFERENTMACHINE));
    const auto original = ReaderOf(image.Get());
    const auto copy = ReaderOf(proxy.Get());
    ASSERT_NE(copy->Ptr(0), original->Ptr(0));
    const RECT whole = {0, 0, smallWidth, smallHeight};
    EXPECT_EQ(Pixels(copy.Get(), whole), Pixels(original.Get(), whole));

    const Bytes before = Pixels(copy.Get(), {0, 0, smallWidth, 1});
    Fill(writer.Get(), 100);
    ComPtr<ITavloEvents> sink;
    ASSERT_HR(S_OK, proxy.As(&sink));
    RECT dirty = {2, 1, 6, 4};
    ASSERT_HR(S_OK, sink->OnImageUpdate(nullptr, &dirty));
    ReaderOf(proxy.Get());
    EXPECT_EQ(Pixels(copy.Get(), dirty), Pixels(original.Get(), dirty));
    EXPECT_EQ(Pixels(copy.Get(), {0, 0, smallWidth, 1}), before) << "outside nothing was fetched";
}

INSTANTIATE_TEST_SUITE_P(
    Of, RemoteGeometry,
    testing::Values(Geometry{"Grey", Tavlo_Unsigned, 8, 0, 1, smallWidth},
                    Geometry{"TwelveBits", Tavlo_Unsigned, 12, 0, 2, 14},
                    Geometry{"Signed", Tavlo_Signed, 16, 0, 2, 14},
                    Geometry{"Double", Tavlo_Float, 64, 0, 8, 56}, Geometry{"Bgr", Tavlo_BGR, 24, 0, 3, 21},
                    Geometry{"Rgba", Tavlo_RGBA, 32, 0, 4, 28},
                    Geometry{"PaddedRows", Tavlo_BGR, 24, 0, 3, 24},
                    Geometry{"ApartPixels", Tavlo_Unsigned, 8, 0, 3, 21},
                    Geometry{"UpsideDown", Tavlo_Unsigned, 16, 14 * (smallHeight - 1), 2, -14},
                    Geometry{"Mirrored", Tavlo_Unsigned, 8, smallWidth - 1, -1, smallWidth},
                    Geometry{"ColumnByColumn", Tavlo_Float, 32, 0, 4 * smallHeight, 4}),
    [](const auto& tested) { return tested.param.title; });

TEST(ImagePacket, GivesTheImageBackWhenItIsReleased)
{
    const auto image = SharedImage();
    const auto proxy = Unmarshaled<ITavlo2>(Marshaled(image.Get(), MSHCTX_DIFFERENTMACHINE));
    for (const auto& object : {image, proxy}) {
        const ULONG before = ReferencesOf(object.Get());
        for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL}) {
            for (const DWORD flags : {MSHLFLAGS_NORMAL, MSHLFLAGS_TABLESTRONG}) {
                const Bytes packet = Marshaled(object.Get(), context, flags);
                EXPECT_GT(ReferencesOf(object.Get()), before);
                EXPECT_HR(S_OK, Release(packet));
                EXPECT_EQ(ReferencesOf(object.Get()), before) << context << ' ' << flags;
            }
        }
    }
}

// The runtime reads standard packets itself; who asks the image to gets what the runtime's
// marshaler without an object says, which not every platform has.
TEST(ImagePacket, IsReadByTheRuntimesMarshaler)
{
    const auto image = SharedImage();
    const auto marshal = MarshalOf(image.Get());
    const ULONG before = ReferencesOf(image.Get());
    ComPtr<IMarshal> standard;
    const HRESULT expected =
        CoGetStandardMarshal(IID_IUnknown, nullptr, MSHCTX_LOCAL, nullptr, MSHLFLAGS_NORMAL, &standard);
    const auto write = [&] {
        const ComPtr<IStream> stream = StreamOf({});
        EXPECT_HR(S_OK, marshal->MarshalInterface(stream.Get(), IID_ITavlo2, image.Get(), MSHCTX_LOCAL,
                                                  nullptr, MSHLFLAGS_NORMAL));
        return WrittenTo(stream.Get());
    };
    const auto giveBackUnread = [&](const Bytes& packet) {
        EXPECT_TRUE(SUCCEEDED(expected) || Release(packet) == S_OK);
    };
    Bytes packet = write();
    ComPtr<ITavlo2> same;
    EXPECT_HR(expected, marshal->UnmarshalInterface(StreamOf(packet).Get(), IID_ITavlo2,
                                                    reinterpret_cast<void**>(same.GetAddressOf())));
    EXPECT_EQ(same.Get(), SUCCEEDED(expected) ? image.Get() : nullptr);
    same.Reset();
    giveBackUnread(packet);
    packet = write();
    EXPECT_HR(expected, marshal->ReleaseMarshalData(StreamOf(packet).Get()));
    giveBackUnread(packet);
    EXPECT_HR(expected, marshal->DisconnectObject(0));
    EXPECT_EQ(ReferencesOf(image.Get()), before);
}

TEST(ImagePacket, ForAnotherMachineIsNotMadeOfSeveralChannels)
{
    auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
    ASSERT_HR(S_OK, descriptor->put_Width(4));
    ASSERT_HR(S_OK, descriptor->put_Height(4));
    ASSERT_HR(S_OK, descriptor->put_Channels(2));
    for (long channel = 0; channel < 2; ++channel) {
        ASSERT_HR(S_OK, descriptor->put_Bits(channel, 8));
        ASSERT_HR(S_OK, descriptor->put_Offset(channel, 16 * channel));
        ASSERT_HR(S_OK, descriptor->put_Stride_x(channel, 1));
        ASSERT_HR(S_OK, descriptor->put_Stride_y(channel, 4));
    }
    ComPtr<ITavlo> image;
    ASSERT_HR(
        S_OK,
        Create<ITavloFactory>(CLSID_TavloFactory)->Create(descriptor.Get(), Tavlo_SingleWriter, &image));
    const ULONG before = ReferencesOf(image.Get());
    EXPECT_HR(E_INVALIDARG, CoMarshalInterface(StreamOf({}).Get(), IID_ITavlo, image.Get(),
                                               MSHCTX_DIFFERENTMACHINE, nullptr, MSHLFLAGS_NORMAL));
    EXPECT_EQ(ReferencesOf(image.Get()), before);
    const Bytes packet = Marshaled(image.Get(), MSHCTX_LOCAL);
    EXPECT_HR(S_OK, Release(packet)) << "within the machine it is an image like others";
}
