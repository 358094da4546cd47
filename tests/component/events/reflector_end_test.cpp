// Reflectors without memory, and in which order one ends.
#include "events/tavlo_events_reflector.h"
#include "module/module_lock.h"
#include "tests/component/no_memory.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// A client that counts its events and does something at its end.
class EndingClient final : public StandIn<IDispatch>
{
public:
    explicit EndingClient(std::function<void()> end = [] {}) : end_(std::move(end)) {}
    ~EndingClient() override { end_(); }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        return StandIn::QueryInterface(IsEqualIID(iid, DIID__ITavloEvents) ? IID_IDispatch : iid, result);
    }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        ++events;
        return S_OK;
    }

    int events = 0;

private:
    const std::function<void()> end_;
};

/// An image that only has the reflector's sink subscribed.
class ReflectedStandIn final : public DispatchStandIn<ITavlo2>
{
public:
    explicit ReflectedStandIn(bool keepsSink) : keepsSink_(keepsSink) {}
    ~ReflectedStandIn() override { NoteStep("image " + std::to_string(ModuleLockCount())); }

    STDMETHODIMP get_Descriptor(ITavloDescriptor2**) override { return E_NOTIMPL; }
    STDMETHODIMP GetReadAccess(RECT*, double, IReadAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP GetWriteAccess(IWriteAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(::TavloAccess, ITavlo2**) override { return E_NOTIMPL; }
    STDMETHODIMP Subscribe(ITavloEvents* pIHandler, EventMode) override
    {
        if (keepsSink_)
            sink = pIHandler;
        return S_OK;
    }
    STDMETHODIMP Unsubscribe(ITavloEvents*) override { return S_OK; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }

    ComPtr<ITavloEvents> sink;

private:
    const bool keepsSink_;
};

/// Notes the locks that are deleted, as long as it lives.
class NotedLocks
{
public:
    NotedLocks() { delete_ = deleting_.Original(); }

private:
    static inline decltype(&DeleteCriticalSection) delete_ = nullptr;
    ReplacedImport<decltype(DeleteCriticalSection)> deleting_{"DeleteCriticalSection",
                                                              [](LPCRITICAL_SECTION lock) {
                                                                  NoteStep("lock");
                                                                  delete_(lock);
                                                              }};
};

DWORD Advised(CTavloEventsReflector* reflector, IUnknown* client)
{
    DWORD cookie = 0;
    EXPECT_EQ(reflector->Point()->Advise(client, &cookie), S_OK);
    return cookie;
}

} // namespace

TEST(ReflectorEnd, LetsGoInItsOrder)
{
    auto reflector = Make<CTavloEventsReflector>();
    ASSERT_EQ(reflector->Connect(NewStandIn<ReflectedStandIn>(false).Get()), S_OK);
    Advised(reflector.Get(), NewStandIn<EndingClient>([] { NoteStep("client"); }).Get());
    EXPECT_EQ(ModuleLockCount(), 2) << "the reflector and its sink";
    TakeSteps();
    {
        const NotedLocks noted;
        reflector.Reset();
    }
    EXPECT_EQ(TakeSteps(), (std::vector<std::string>{"image 1", "lock", "client", "lock"}))
        << "the sink is gone when the image goes, and the clients go at last";
}

TEST(ConnectionPointLock, IsFreeWhenASinkIsReleased)
{
    const auto reflector = Make<CTavloEventsReflector>();
    bool wasFree = false;
    auto client = NewStandIn<EndingClient>([&] {
        ManualEvent enumerated;
        std::thread other([&] {
            ComPtr<IEnumConnections> connections;
            EXPECT_EQ(reflector->Point()->EnumConnections(&connections), S_OK);
            enumerated.Set();
        });
        wasFree = enumerated.Wait();
        if (wasFree)
            other.join();
        else
            other.detach();
    });
    const DWORD cookie = Advised(reflector.Get(), client.Get());
    client.Reset();
    EXPECT_EQ(reflector->Point()->Unadvise(cookie), S_OK);
    EXPECT_TRUE(wasFree);
}

TEST(ReflectorWithoutMemory, TakesNoFurtherClient)
{
    const auto reflector = Make<CTavloEventsReflector>();
    const auto client = NewStandIn<EndingClient>();
    DWORD cookie = 17;
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = reflector->Point()->Advise(client.Get(), &cookie);
    }
    EXPECT_EQ(hr, CONNECT_E_ADVISELIMIT);
    EXPECT_EQ(cookie, 0u);
    EXPECT_EQ(client->References(), 1u) << "what was queried is released";
    EXPECT_EQ(Advised(reflector.Get(), client.Get()), 1u);
}

TEST(ReflectorWithoutMemory, ListsNoClients)
{
    const auto reflector = Make<CTavloEventsReflector>();
    const auto client = NewStandIn<EndingClient>();
    Advised(reflector.Get(), client.Get());
    auto* connections = reinterpret_cast<IEnumConnections*>(1);
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = reflector->Point()->EnumConnections(&connections);
    }
    EXPECT_EQ(hr, E_OUTOFMEMORY);
    EXPECT_EQ(connections, nullptr);
}

TEST(ReflectorWithoutMemory, RaisesNothingWithoutARectangle)
{
    const auto reflector = Make<CTavloEventsReflector>();
    const auto image = NewStandIn<ReflectedStandIn>(true);
    const auto client = NewStandIn<EndingClient>();
    Advised(reflector.Get(), client.Get());
    ASSERT_EQ(reflector->Connect(image.Get()), S_OK);
    RECT dirty = {1, 2, 3, 4};
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = image->sink->OnImageUpdate(nullptr, &dirty);
    }
    EXPECT_EQ(hr, E_OUTOFMEMORY);
    EXPECT_EQ(client->events, 0);
    EXPECT_EQ(image->sink->OnImageUpdate(nullptr, &dirty), S_OK);
    EXPECT_EQ(client->events, 1);
    image->sink.Reset();
}
