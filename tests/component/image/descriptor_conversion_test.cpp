// Descriptors of clients' own making, read property by property.
#include "image/descriptor_conversion.h"

#include "module/error.h"
#include "shared/image/tavlo_factory.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include <gtest/gtest.h>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr HRESULT itsOwnFailure = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x333);

/// Describes planes of 4 by 3 pixels. Notes what is read, and fails at one of the reads.
class NotingDescriptor final : public DispatchStandIn<ITavloDescriptor>
{
public:
    explicit NotingDescriptor(long channels, int failingRead = -1)
        : channels_(channels), failing_(failingRead)
    {
    }

    STDMETHODIMP get_Width(long* p) override { return Give("Width", 4, p); }
    STDMETHODIMP put_Width(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Height(long* p) override { return Give("Height", 3, p); }
    STDMETHODIMP put_Height(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Channels(long* p) override { return Give("Channels", channels_, p); }
    STDMETHODIMP put_Channels(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Bits(long c, long* p) override { return Give("Bits", c, 8, p); }
    STDMETHODIMP put_Bits(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Encoding(long c, ::TavloEncoding* p) override
    {
        *p = ::Tavlo_Unsigned;
        return Note("Encoding " + std::to_string(c));
    }
    STDMETHODIMP put_Encoding(long, ::TavloEncoding) override { return E_NOTIMPL; }
    STDMETHODIMP get_Offset(long c, long* p) override { return Give("Offset", c, 12 * c, p); }
    STDMETHODIMP put_Offset(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_x(long c, long* p) override { return Give("Stride_x", c, 1, p); }
    STDMETHODIMP put_Stride_x(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_y(long c, long* p) override { return Give("Stride_y", c, 4, p); }
    STDMETHODIMP put_Stride_y(long, long) override { return E_NOTIMPL; }

private:
    HRESULT Note(const std::string& read)
    {
        NoteStep(read);
        return reads_++ == failing_ ? itsOwnFailure : S_OK;
    }
    HRESULT Give(const char* name, long value, long* p)
    {
        *p = value;
        return Note(name);
    }
    HRESULT Give(const char* name, long channel, long value, long* p)
    {
        *p = value;
        return Note(name + (" " + std::to_string(channel)));
    }

    const long channels_;
    const int failing_;
    int reads_ = 0;
};

const std::vector<std::string> readsOfTwoChannels = {
    "Width",      "Height", "Channels",   "Bits 0",   "Encoding 0", "Offset 0",  "Stride_x 0",
    "Stride_y 0", "Bits 1", "Encoding 1", "Offset 1", "Stride_x 1", "Stride_y 1"};

/// Counts the sections that are made, as long as it lives.
class CountedSections
{
public:
    CountedSections()
    {
        made = 0;
        original_ = making_.Original();
    }

    static inline int made = 0;

private:
    static inline decltype(&CreateFileMappingW) original_ = nullptr;
    ReplacedImport<decltype(CreateFileMappingW)> making_{
        "CreateFileMappingW",
        [](HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection, DWORD high, DWORD low,
           LPCWSTR name) -> HANDLE {
            ++made;
            return original_(file, attributes, protection, high, low, name);
        }};
};

HRESULT ResultOfCreating(ITavloDescriptor* descriptor)
{
    ComPtr<ITavlo> image;
    const HRESULT hr = Make<CTavloFactory>()->Create(descriptor, Tavlo_SingleWriter, &image);
    EXPECT_EQ(image != nullptr, SUCCEEDED(hr));
    return hr;
}

} // namespace

TEST(ForeignDescriptor, IsReadInOrder)
{
    TakeSteps();
    const ImageLayout layout = ReadLayout(NewStandIn<NotingDescriptor>(2).Get());
    EXPECT_EQ(TakeSteps(), readsOfTwoChannels);
    EXPECT_EQ(layout.Width, 4);
    EXPECT_EQ(layout.Height, 3);
    ASSERT_EQ(layout.Channels.size(), 2u);
    EXPECT_EQ(layout.Channels[1].Offset, 12);
}

TEST(ForeignDescriptor, FailsWithItsOwnResultAtEveryRead)
{
    const CountedSections counted;
    for (int read = 0; read < static_cast<int>(readsOfTwoChannels.size()); ++read) {
        TakeSteps();
        EXPECT_EQ(ResultOfCreating(NewStandIn<NotingDescriptor>(2, read).Get()), itsOwnFailure) << read;
        EXPECT_EQ(TakeSteps().size(), static_cast<size_t>(read) + 1) << "nothing is read any more";
        ComPtr<ITavlo> image;
        EXPECT_EQ(Make<CTavloFactory>()->Adopt(nullptr, NewStandIn<NotingDescriptor>(2, read).Get(),
                                               Tavlo_SingleWriter, &image),
                  itsOwnFailure)
            << read;
    }
    EXPECT_EQ(CountedSections::made, 0);
    EXPECT_EQ(ResultOfCreating(NewStandIn<NotingDescriptor>(2).Get()), S_OK);
    EXPECT_EQ(CountedSections::made, 1);
}

TEST(ForeignDescriptor, FailsBeforeTheNullResultIsSeen)
{
    EXPECT_EQ(Make<CTavloFactory>()->Create(NewStandIn<NotingDescriptor>(2, 5).Get(), Tavlo_SingleWriter,
                                            static_cast<ITavlo**>(nullptr)),
              itsOwnFailure);
    EXPECT_EQ(Make<CTavloFactory>()->Create(NewStandIn<NotingDescriptor>(0).Get(), Tavlo_SingleWriter,
                                            static_cast<ITavlo**>(nullptr)),
              E_POINTER)
        << "which comes before the missing channels";
}

TEST(ForeignDescriptor, WithoutChannelsMakesNoSection)
{
    const CountedSections counted;
    EXPECT_EQ(ResultOfCreating(NewStandIn<NotingDescriptor>(0).Get()), E_INVALIDARG);
    EXPECT_EQ(CountedSections::made, 0);
}
