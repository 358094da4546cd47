// What an addressor asks of an image, and in which order.
#include "addressor/co_addressor.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include <gtest/gtest.h>

#include <array>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

std::array<std::uint8_t, 12> pixelsOfTheImage;

template <class Interface>
class AskedAccessor : public StandIn<Interface>
{
public:
    ~AskedAccessor() override { NoteStep("accessor goes"); }
    STDMETHODIMP_(void*) Ptr(long Offset) override
    {
        NoteStep("Ptr " + std::to_string(Offset));
        return pixelsOfTheImage.data() + Offset;
    }
};

class AskedWriter final : public AskedAccessor<IWriteAccessor>
{
public:
    STDMETHODIMP Invalidate(RECT*) override { return E_NOTIMPL; }
};

class AskedDescriptor final : public DispatchStandIn<ITavloDescriptor2>
{
public:
    ~AskedDescriptor() override { NoteStep("descriptor goes"); }
    STDMETHODIMP get_Width(long* p) override { return Give("Width", 4, p); }
    STDMETHODIMP put_Width(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Height(long* p) override { return Give("Height", 3, p); }
    STDMETHODIMP put_Height(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Bits(long* p) override { return Give("Bits", 8, p); }
    STDMETHODIMP put_Bits(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Encoding(::TavloEncoding* p) override
    {
        NoteStep("Encoding");
        *p = ::Tavlo_Unsigned;
        return S_OK;
    }
    STDMETHODIMP put_Encoding(::TavloEncoding) override { return E_NOTIMPL; }
    STDMETHODIMP get_Offset(long* p) override { return Give("Offset", 0, p); }
    STDMETHODIMP put_Offset(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_x(long* p) override { return Give("Stride_x", 1, p); }
    STDMETHODIMP put_Stride_x(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_y(long* p) override { return Give("Stride_y", 4, p); }
    STDMETHODIMP put_Stride_y(long) override { return E_NOTIMPL; }

private:
    static HRESULT Give(const char* name, long value, long* p)
    {
        NoteStep(name);
        *p = value;
        return S_OK;
    }
};

class AskedImage final : public DispatchStandIn<ITavlo2>
{
public:
    ~AskedImage() override { NoteStep("image goes"); }
    STDMETHODIMP get_Descriptor(ITavloDescriptor2** descriptor) override
    {
        NoteStep("Descriptor");
        if (failingDescriptors-- > 0)
            return E_NOTIMPL;
        *descriptor = NewStandIn<AskedDescriptor>().Detach();
        return S_OK;
    }
    STDMETHODIMP GetReadAccess(RECT* rect, double prescale, IReadAccessor** accessor) override
    {
        NoteStep("GetReadAccess " + std::string(rect == nullptr ? "null " : "rect ") +
                 (prescale == 1.0 ? "1.0" : std::to_string(prescale)));
        *accessor = NewStandIn<AskedAccessor<IReadAccessor>>().Detach();
        return S_OK;
    }
    STDMETHODIMP GetWriteAccess(IWriteAccessor** accessor) override
    {
        NoteStep("GetWriteAccess");
        if (isReadOnly)
            return E_ACCESSDENIED;
        *accessor = NewStandIn<AskedWriter>().Detach();
        return S_OK;
    }
    STDMETHODIMP Clone(::TavloAccess, ITavlo2**) override { return E_NOTIMPL; }
    STDMETHODIMP Subscribe(ITavloEvents*, EventMode) override { return E_NOTIMPL; }
    STDMETHODIMP Unsubscribe(ITavloEvents*) override { return E_NOTIMPL; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }

    bool isReadOnly = false;
    int failingDescriptors = 0; ///< so many requests fail first
};

using Asked = std::vector<std::string>;

Asked Joined(Asked first, const Asked& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const Asked readDescriptor = {"Descriptor", "Stride_y", "Stride_x", "Offset",         "Height",
                              "Width",      "Bits",     "Encoding", "descriptor goes"};

} // namespace

TEST(AttachOrder, AsksForWritingFirst)
{
    const auto addressor = Make<CCoAddressor>();
    auto image = NewStandIn<AskedImage>();
    TakeSteps();
    ASSERT_EQ(addressor->Attach(image.Get()), S_OK);
    EXPECT_EQ(TakeSteps(), Joined({"GetWriteAccess", "Ptr 0"}, readDescriptor));
    image.Reset();
    EXPECT_EQ(addressor->Detach(), S_OK);
    EXPECT_EQ(TakeSteps(), (Asked{"accessor goes", "image goes"}));
}

TEST(AttachOrder, AsksForReadingOfTheWholeImageThen)
{
    const auto addressor = Make<CCoAddressor>();
    auto image = NewStandIn<AskedImage>();
    image->isReadOnly = true;
    TakeSteps();
    ASSERT_EQ(addressor->Attach(image.Get()), S_OK);
    EXPECT_EQ(TakeSteps(), Joined({"GetWriteAccess", "GetReadAccess null 1.0", "Ptr 0"}, readDescriptor));
    image.Reset();
    EXPECT_EQ(addressor->Detach(), S_OK);
    EXPECT_EQ(TakeSteps(), (Asked{"accessor goes", "image goes"}));
}

TEST(AttachOrder, GivesTheWriterBackWhenTheDescriptorFails)
{
    const auto addressor = Make<CCoAddressor>();
    const auto image = NewStandIn<AskedImage>();
    image->failingDescriptors = 1;
    TakeSteps();
    ASSERT_EQ(addressor->Attach(image.Get()), S_OK);
    EXPECT_EQ(TakeSteps(), Joined({"GetWriteAccess", "Ptr 0", "Descriptor", "accessor goes",
                                   "GetReadAccess null 1.0", "Ptr 0"},
                                  readDescriptor));
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(addressor->get_Pixel(0, 0, &value), S_OK);
    EXPECT_EQ(addressor->put_Pixel(0, 0, value), E_ACCESSDENIED);
    EXPECT_EQ(addressor->Detach(), S_OK);

    image->failingDescriptors = 2;
    EXPECT_EQ(addressor->Attach(image.Get()), E_NOTIMPL) << "the failure of the second attempt is told";
    EXPECT_EQ(image->References(), 1u);
    TakeSteps();
}
