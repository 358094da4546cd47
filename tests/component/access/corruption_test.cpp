// Packets of accessors that were cut or changed on their way.
#include "tests/processes/transport_test.h"

#include <array>
#include <random>

namespace {

/// The parts of accessors' packets that follow the reference, for a section that is there.
class Corruption : public testing::TestWithParam<DWORD>
{
protected:
    Corruption()
    {
        EXPECT_NE(section_, nullptr);
        if (GetParam() == MSHCTX_INPROC) {
            Append(0, 4);
            Append(reinterpret_cast<std::uintptr_t>(ReaderOf(adopted_.Get())->Ptr(0)), 8);
        }
        Append(name_.size(), 4);
        for (const wchar_t unit : name_)
            Append(unit, 2);
        // A reference that is not used up is good for any number of packets.
        reference_ = Marshaled<ITavloInternal>(image.Get(), GetParam(), MSHLFLAGS_TABLESTRONG);
        const auto real = SharedImage();
        readersHeader_ = HeaderOf(ReaderOf(real.Get()).Get(), GetParam());
        writersHeader_ = HeaderOf(WriterOf(real.Get()).Get(), GetParam());
        references_ = image->References();
    }

    ~Corruption() override
    {
        EXPECT_HR(S_OK, Release(reference_));
        CloseHandle(section_);
    }

    Bytes Packet(REFCLSID clsid, std::span<const std::uint8_t> bytes) const
    {
        const Bytes& header = IsEqualCLSID(clsid, CLSID_ReadAccessor) ? readersHeader_ : writersHeader_;
        return Joined(Joined(header, reference_), bytes);
    }

    /// Unmarshals a reader or a writer with these bytes as its own, and lets it go.
    HRESULT Receive(REFCLSID clsid, std::span<const std::uint8_t> bytes)
    {
        REFIID iid = IsEqualCLSID(clsid, CLSID_ReadAccessor) ? IID_IReadAccessor : IID_IWriteAccessor;
        ComPtr<IUnknown> accessor;
        const HRESULT hr = CoUnmarshalInterface(StreamOf(Packet(clsid, bytes)).Get(), iid,
                                                reinterpret_cast<void**>(accessor.GetAddressOf()));
        EXPECT_EQ(SUCCEEDED(hr), accessor != nullptr);
        EXPECT_EQ(SUCCEEDED(hr) ? 1 : 0, image->readers + image->writers);
        return hr;
    }

    HRESULT ReleasePacket(std::span<const std::uint8_t> bytes)
    {
        return Release(Packet(CLSID_WriteAccessor, bytes));
    }

    /// The handles of this process, after all that the platform sets up at the first packet
    /// and the first failure.
    DWORD HandlesBefore()
    {
        for (const std::size_t length : {own.size(), own.size() - 1}) {
            Receive(CLSID_ReadAccessor, std::span(own).first(length));
            Receive(CLSID_WriteAccessor, std::span(own).first(length));
            ReleasePacket(std::span(own).first(length));
        }
        return Handles();
    }

    void ExpectNothingLeft() const
    {
        EXPECT_EQ(image->References(), references_);
        EXPECT_EQ(image->readers, 0);
        EXPECT_EQ(image->writers, 0);
    }

    const ComPtr<CountingImage> image = New<CountingImage>();
    Bytes own;

private:
    void Append(std::uint64_t number, int width)
    {
        for (int i = 0; i < width; ++i)
            own.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
    }

    /// Far from every other name: with one character changed it is not that of a test that runs beside this
    /// one.
    static std::wstring NewName()
    {
        GUID id = {};
        EXPECT_HR(S_OK, CoCreateGuid(&id));
        std::array<wchar_t, 39> text = {};
        StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
        return std::wstring(L"Tavlo-test-") + text.data();
    }

    const std::wstring name_ = NewName();
    const HANDLE section_ =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, name_.c_str());
    const ComPtr<ITavlo2> adopted_ = [this] {
        ComPtr<ITavlo2> adopted;
        EXPECT_HR(S_OK,
                  Create<ITavloFactory2>(CLSID_TavloFactory)
                      ->Adopt(Text(name_).get(), GreyDescriptor(10, 10).Get(), Tavlo_ReadOnly, &adopted));
        return adopted;
    }();
    Bytes reference_;
    Bytes readersHeader_;
    Bytes writersHeader_;
    ULONG references_ = 0;
};

} // namespace

TEST_P(Corruption, IsNotSeenInAWholePacket)
{
    EXPECT_HR(S_OK, Receive(CLSID_ReadAccessor, own));
    EXPECT_HR(S_OK, Receive(CLSID_WriteAccessor, own));
    EXPECT_HR(S_OK, ReleasePacket(own));
    ExpectNothingLeft();
}

TEST_P(Corruption, OfAnyLengthIsAnError)
{
    const DWORD handles = HandlesBefore();
    for (std::size_t length = 0; length < own.size(); ++length) {
        const Bytes cut(own.begin(), own.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_TRUE(FAILED(Receive(CLSID_ReadAccessor, cut))) << length;
        EXPECT_TRUE(FAILED(Receive(CLSID_WriteAccessor, cut))) << length;
        EXPECT_TRUE(FAILED(ReleasePacket(cut))) << length;
    }
    ExpectNothingLeft();
    EXPECT_EQ(Handles(), handles);
}

TEST_P(Corruption, OfAnyByteIsAnErrorWhereItCanBeTold)
{
    // Within the process the view must be known under the name; in the other form the name must
    // be that of a section.
    const DWORD handles = HandlesBefore();
    for (std::size_t i = 0; i < own.size(); ++i) {
        for (const unsigned flip : {0x01u, 0x80u, 0xFFu}) {
            Bytes changed = own;
            changed[i] = static_cast<std::uint8_t>(changed[i] ^ flip);
            const HRESULT hr = Receive(CLSID_WriteAccessor, changed);
            EXPECT_TRUE(FAILED(hr)) << i << " ^ " << flip;
            ReleasePacket(changed);
        }
    }
    ExpectNothingLeft();
    EXPECT_EQ(Handles(), handles);
}

TEST_P(Corruption, AtRandomLeavesNothingBehind)
{
    constexpr int mutants = 50000; // of each form, 100,000 in all
    std::mt19937 random(20240607 + GetParam());
    const auto below = [&](std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
    };
    const DWORD handles = HandlesBefore();
    for (int made = 0; made < mutants; ++made) {
        Bytes changed = own;
        for (std::size_t changes = 1 + below(4); changes > 0; --changes)
            changed[below(changed.size())] = static_cast<std::uint8_t>(random());
        if (below(4) == 0)
            changed.resize(below(changed.size() + 1));
        if (below(8) == 0)
            ReleasePacket(changed);
        else
            Receive(below(2) == 0 ? CLSID_ReadAccessor : CLSID_WriteAccessor, changed);
        if (HasFailure())
            FAIL() << "mutant " << made;
    }
    ExpectNothingLeft();
    EXPECT_EQ(Handles(), handles);
}

INSTANTIATE_TEST_SUITE_P(Of, Corruption, testing::Values(DWORD{MSHCTX_INPROC}, DWORD{MSHCTX_LOCAL}),
                         [](const auto& tested) {
                             return tested.param == MSHCTX_INPROC ? "InProcessPackets" : "LocalPackets";
                         });

TEST(CutAccessor, IsAnErrorAtEveryLength)
{
    const auto image = SharedImage();
    const ULONG before = ReferencesOf(image.Get());
    for (const DWORD context : {MSHCTX_INPROC, MSHCTX_LOCAL}) {
        const std::size_t size = Marshaled(WriterOf(image.Get()).Get(), context).size();
        for (std::size_t length = 0; length < size; ++length) {
            const Bytes packet = Marshaled(WriterOf(image.Get()).Get(), context);
            HRESULT hr = S_OK;
            EXPECT_EQ(Unmarshaled<IWriteAccessor>(std::span(packet).first(length), &hr).Get(), nullptr)
                << length;
            EXPECT_TRUE(FAILED(hr)) << length;
            Release(packet);
        }
    }
    // The packets that were marshaled for their size only.
    EXPECT_LE(ReferencesOf(image.Get()), before + 2);
}

TEST(AccessorOfALostImage, IsNotMade)
{
    const auto image = New<CountingImage>();
    image->adding = E_FAIL;
    const auto real = SharedImage();
    const Bytes packet =
        Joined(Marshaled<ITavloInternal>(image.Get(), MSHCTX_INPROC), OwnBytesOf(ReaderOf(real.Get()).Get()));
    ComPtr<IUnknown> accessor;
    EXPECT_HR(E_FAIL, Create<IMarshal>(CLSID_ReadAccessor)
                          ->UnmarshalInterface(StreamOf(packet).Get(), IID_IReadAccessor,
                                               reinterpret_cast<void**>(accessor.GetAddressOf())));
    EXPECT_EQ(accessor.Get(), nullptr);
    EXPECT_EQ(image->readers, 1) << "what was not attached is not detached";
    EXPECT_EQ(image->References(), 1u);
}
