// The last reference goes while an update is on its way, very often, with the component in the program
// itself, so that what it frees is overwritten and stays so for a while: who still uses it is found out.
#include "access/proxy/tavlo_proxy.h"
#include "access/stub/tavlo_stub.h"
#include "events/tavlo_events_reflector.h"
#include "shared/image/tavlo.h"
#include "tests/component/events/reflector_test.h"

#include <tavlo/subscription.hpp>

#include <array>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace {

// Blocks that were freed, until as many others were.
std::array<std::atomic<void*>, 4096> freedBlocks;
std::atomic<std::size_t> freedCount = 0;

void Poison(void* block) noexcept
{
    if (block == nullptr)
        return;
    std::memset(block, 0xDD, _msize(block));
    std::free(freedBlocks[freedCount++ % freedBlocks.size()].exchange(block));
}

} // namespace

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size > 0 ? size : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept
{
    Poison(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    Poison(block);
}

namespace {

namespace Component = Mardu::Sentel::Tavlo;

const Component::ImageLayout smallLayout =
    Component::LayoutOf(Component::TavloDescriptorData{16, 8, 8, Tavlo_Unsigned, 0, 1, 16});

/// As many cycles as fit ten seconds, at most 100000; or as many as TAVLO_RELEASE_CYCLES says.
template <class Cycle>
void Repeat(Cycle cycle)
{
    const char* const asked = std::getenv("TAVLO_RELEASE_CYCLES");
    const int cycles = asked != nullptr ? std::atoi(asked) : 100000;
    const ULONGLONG end = GetTickCount64() + 10000;
    int done = 0;
    while (done < cycles && (asked != nullptr || GetTickCount64() < end) && !testing::Test::HasFailure())
        cycle(done++);
    testing::Test::RecordProperty("cycles", done);
    EXPECT_GT(done, 0);
}

/// Waits without sleep, which takes longer than most cycles.
template <class Condition>
bool ComesSoon(Condition condition)
{
    const ULONGLONG end = GetTickCount64() + limit;
    while (!condition()) {
        if (GetTickCount64() >= end)
            return false;
        SwitchToThread();
    }
    return true;
}

class CountingHandler final : public ClientObject<ITavloEvents>
{
public:
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override
    {
        ++updates;
        return S_OK;
    }

    std::atomic<int> updates = 0;
};

/// Updates an image for as long as it lives, from a thread of its own.
class BusyWriter
{
public:
    explicit BusyWriter(ITavlo2* image)
    {
        EXPECT_HR(S_OK, image->GetWriteAccess(&writer_));
        thread_ = InApartment(COINIT_MULTITHREADED, [this] {
            while (!ends_) {
                EXPECT_HR(S_OK, writer_->Invalidate(nullptr));
                SwitchToThread();
            }
        });
    }

    ~BusyWriter()
    {
        ends_ = true;
        thread_.join();
    }

    BusyWriter(const BusyWriter&) = delete;
    BusyWriter& operator=(const BusyWriter&) = delete;

private:
    ComPtr<IWriteAccessor> writer_;
    std::atomic<bool> ends_ = false;
    std::thread thread_;
};

ComPtr<ITavlo2> NewImage()
{
    return Mardu::Sentel::Tavlo::CreateImage(smallLayout, Tavlo_MultipleWriters);
}

} // namespace

TEST(ReleaseAgainstDelivery, OfAnImage)
{
    // Another thread updates each image once and lets its reference go.
    std::atomic<IWriteAccessor*> offered = nullptr;
    std::atomic<bool> ends = false;
    std::thread other = InApartment(COINIT_MULTITHREADED, [&] {
        while (!ends) {
            if (IWriteAccessor* const writer = offered.exchange(nullptr)) {
                EXPECT_HR(S_OK, writer->Invalidate(nullptr));
                writer->Release();
            }
            SwitchToThread();
        }
    });
    const auto asynchronous = New<CountingHandler>();
    const auto synchronous = New<CountingHandler>();
    Repeat([&](int) {
        const auto image = NewImage();
        ASSERT_HR(S_OK, image->Subscribe(asynchronous.Get(), Tavlo_Asynchronous));
        ASSERT_HR(S_OK, image->Subscribe(synchronous.Get(), Tavlo_Synchronous));
        ComPtr<IWriteAccessor> writer;
        ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
        EXPECT_HR(S_OK, writer->Invalidate(nullptr));
        if (IWriteAccessor* const late = offered.exchange(writer.Detach()))
            late->Release();
    });
    ends = true;
    other.join();
    if (IWriteAccessor* const late = offered.exchange(nullptr))
        late->Release();
    EXPECT_GT(synchronous->updates, 0);
    EXPECT_TRUE(Becomes([&] { return asynchronous->References() == 1; }));
    EXPECT_EQ(synchronous->References(), 1u);
}

TEST(ReleaseAgainstDelivery, OfAReflector)
{
    const auto image = NewImage();
    const BusyWriter writer(image.Get());
    std::atomic<int> events = 0;
    const auto client = New<Client>([&] {
        ++events;
        return S_OK;
    });
    Repeat([&](int cycle) {
        ComPtr<ITavloEventsReflector> reflector = Mardu::Make<Component::CTavloEventsReflector>();
        DWORD cookie = 0;
        ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
        ASSERT_HR(S_OK, reflector->Connect(image.Get()));
        if (cycle % 4 == 0) {
            const int before = events;
            EXPECT_TRUE(ComesSoon([&] { return events != before; }));
        }
        EXPECT_HR(S_OK, reflector->Disconnect());
        if (cycle % 1000 == 0)
            client->Forget();
    });
    client->Forget();
    EXPECT_TRUE(Becomes([&] { return client->References() == 1; }));
}

TEST(ReleaseAgainstDelivery, OfAProxy)
{
    const auto image = NewImage();
    const BusyWriter writer(image.Get());
    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    const auto handler = New<CountingHandler>();
    Repeat([&](int cycle) {
        const auto stub = Mardu::Make<Component::CTavloStub>(first.Get(), smallLayout);
        ComPtr<IStream> stream;
        ASSERT_HR(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &stream));
        ASSERT_HR(S_OK, CoMarshalInterface(stream.Get(), IID_ITavloStub, static_cast<ITavloStub*>(stub.Get()),
                                           MSHCTX_INPROC, nullptr, MSHLFLAGS_NORMAL));
        ASSERT_HR(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
        ComPtr<ITavlo2> proxy;
        ASSERT_HR(S_OK, Mardu::Make<Component::CTavloProxy>()->UnmarshalInterface(
                            stream.Get(), IID_ITavlo2, reinterpret_cast<void**>(proxy.GetAddressOf())));
        ASSERT_HR(S_OK,
                  proxy->Subscribe(handler.Get(), cycle % 2 == 0 ? Tavlo_Synchronous : Tavlo_Asynchronous));
        if (cycle % 4 == 0) {
            const int before = handler->updates;
            EXPECT_TRUE(ComesSoon([&] { return handler->updates != before; }));
        }
        EXPECT_HR(S_OK, proxy->Unsubscribe(handler.Get()));
    });
    EXPECT_TRUE(Becomes([&] { return handler->References() == 1; }));
}

TEST(ReleaseAgainstDelivery, OfASubscription)
{
    const auto image = NewImage();
    const BusyWriter writer(image.Get());
    Repeat([&](int cycle) {
        const auto calls = std::make_shared<std::atomic<int>>(0);
        tavlo::subscription subscription(
            *image.Get(), [calls](const tavlo::rect&) { ++*calls; },
            cycle % 2 == 0 ? Tavlo_Synchronous : Tavlo_Asynchronous);
        if (cycle % 4 < 2) {
            EXPECT_TRUE(ComesSoon([&] { return *calls != 0; }));
        }
        subscription.reset();
        EXPECT_EQ(calls.use_count(), 1) << "the callable is gone";
    });
}
