// What a stub holds of its image.
#include "access/stub/tavlo_stub.h"
#include "tests/component/stand_in.h"

#include <gtest/gtest.h>

#include <array>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

struct CountedReaders
{
    int taken = 0;
    int living = 0;
};

/// A page of memory to be read.
class PageReader final : public StandIn<IReadAccessor>
{
public:
    explicit PageReader(CountedReaders& count) : count_(count)
    {
        ++count_.taken;
        ++count_.living;
    }
    ~PageReader() override
    {
        --count_.living;
        VirtualFree(page_, 0, MEM_RELEASE);
    }

    STDMETHODIMP_(void*) Ptr(long Offset) override { return static_cast<char*>(page_) + Offset; }

private:
    CountedReaders& count_;
    void* const page_ = VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
};

class ReadImage final : public StandIn<ITavlo>
{
public:
    STDMETHODIMP get_Descriptor(ITavloDescriptor**) override { return E_NOTIMPL; }
    STDMETHODIMP GetReadAccess(IReadAccessor** reader) override
    {
        *reader = NewStandIn<PageReader>(readers).Detach();
        return S_OK;
    }
    STDMETHODIMP GetWriteAccess(IWriteAccessor**) override { return ++writers, E_ACCESSDENIED; }
    STDMETHODIMP Clone(::TavloAccess, ITavlo**) override { return E_NOTIMPL; }
    STDMETHODIMP Subscribe(ITavloEvents*, EventMode) override { return S_OK; }
    STDMETHODIMP Unsubscribe(ITavloEvents*) override { return S_OK; }

    CountedReaders readers;
    int writers = 0;
};

} // namespace

TEST(StubReader, IsOneForTheStubsWholeLife)
{
    const auto image = NewStandIn<ReadImage>();
    auto stub = Make<CTavloStub>(image.Get(),
                                 LayoutOf(Mardu::Sentel::Tavlo::TavloDescriptorData{8, 4, 8, 0, 0, 1, 8}));
    EXPECT_EQ(image->readers.living, 1);
    RECT whole = {0, 0, 8, 4};
    std::array<unsigned char, 32> data;
    EXPECT_EQ(stub->GetData(&whole, 32, data.data()), S_OK);
    EXPECT_EQ(stub->GetData(&whole, 32, data.data()), S_OK);
    EXPECT_EQ(stub->Subscribe(nullptr), S_OK);
    EXPECT_EQ(stub->OnImageUpdate(nullptr, &whole), S_OK);
    EXPECT_EQ(image->readers.taken, 1);
    EXPECT_EQ(image->readers.living, 1);
    EXPECT_EQ(image->writers, 0);
    stub.Reset();
    EXPECT_EQ(image->readers.living, 0);
    EXPECT_EQ(image->References(), 1u);
}
