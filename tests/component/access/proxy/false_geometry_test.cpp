// Far ends that say what is not so of their image.
#include "tests/processes/transport_test.h"

#include <algorithm>

namespace {

struct Claim
{
    const char* title;
    long width;
    long height;
    long bits;
    long offset;
    long strideX;
    long strideY;
};

/// A near end that claims a geometry, and hands out bytes for any rectangle.
class LyingStub final : public ClientObject<ITavloStub>
{
public:
    explicit LyingStub(const Claim& claim) : claim_(claim) {}

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override
    {
        const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
        descriptor->put_Width(claim_.width);
        descriptor->put_Height(claim_.height);
        descriptor->put_Channels(1);
        descriptor->put_Encoding(0, Tavlo_Unsigned);
        descriptor->put_Bits(0, claim_.bits);
        descriptor->put_Offset(0, claim_.offset);
        descriptor->put_Stride_x(0, claim_.strideX);
        descriptor->put_Stride_y(0, claim_.strideY);
        return descriptor.CopyTo(ppIDescriptor);
    }

    STDMETHODIMP Subscribe(ITavloEvents*) override { return S_OK; }

    STDMETHODIMP GetData(RECT*, long size, unsigned char* data) override
    {
        std::memset(data, 0xAA, static_cast<std::size_t>(std::max(size, 0L)));
        return S_OK;
    }

private:
    const Claim claim_;
};

ComPtr<ITavlo2> ProxyOf(const Claim& claim, HRESULT& hr)
{
    const auto stub = New<LyingStub>(claim);
    ComPtr<ITavlo2> proxy;
    hr = Create<IMarshal>(CLSID_TavloProxy)
             ->UnmarshalInterface(StreamOf(Marshaled<ITavloStub>(stub.Get(), MSHCTX_INPROC)).Get(),
                                  IID_ITavlo2, reinterpret_cast<void**>(proxy.GetAddressOf()));
    return proxy;
}

class FalseGeometry : public testing::TestWithParam<Claim>
{
};

} // namespace

TEST_P(FalseGeometry, MakesNoImage)
{
    HRESULT hr = S_OK;
    const auto proxy = ProxyOf(GetParam(), hr);
    EXPECT_HR(E_INVALIDARG, hr);
    EXPECT_EQ(TakeErrorDescription(), L"The image's geometry reaches outside its memory");
    // Where the claim is believed, the copy is filled outside its section here.
    if (proxy != nullptr)
        ReaderOf(proxy.Get());
}

INSTANTIATE_TEST_SUITE_P(Of, FalseGeometry,
                         testing::Values(Claim{"BeginsBefore", 64, 48, 8, -100, 1, 64},
                                         Claim{"RowsGoUpFromTheTop", 64, 4096, 8, 0, 1, -64},
                                         Claim{"PixelsGoLeftFromTheFirst", 65536, 4, 8, 0, -1, 0},
                                         Claim{"RowsWrap", 1, 65537, 8, 0, 1, 65536},
                                         Claim{"ColumnsWrap", 65537, 1, 8, 0, 65536, 1}),
                         [](const auto& tested) { return tested.param.title; });

// All pixels are one: the image lies in its memory, but the packed block of its pixels would have
// more bytes than 32 bits can say.
TEST(FalseBlock, IsNotFetchedIntoABlockOfWrappedSize)
{
    HRESULT hr = S_OK;
    const auto proxy = ProxyOf({"", 65537, 65537, 8, 0, 0, 0}, hr);
    ASSERT_HR(S_OK, hr);
    ComPtr<IReadAccessor> reader;
    EXPECT_HR(E_INVALIDARG, proxy->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(reader.Get(), nullptr);
}
