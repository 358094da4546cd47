// What must go on, or come to its end, when there is no memory.
#include "module/error.h"
#include "module/module_lock.h"
#include "recode/co_lut_recoder.h"
#include "recode/interface_types.h"
#include "shared/updates/update_dispatcher.h"
#include "shared/updates/update_subscriptions.h"
#include "tests/component/no_memory.h"

#include <gtest/gtest.h>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

bool WorkersEnd()
{
    const ULONGLONG end = GetTickCount64() + 60000;
    while (ModuleLockCount() != 0 && GetTickCount64() < end)
        SwitchToThread();
    return ModuleLockCount() == 0;
}

/// A handler that cannot travel to a worker.
class Handler final : public ITavloEvents
{
public:
    STDMETHODIMP QueryInterface(REFIID, void** result) override
    {
        *result = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override
    {
        ++updates;
        return answer;
    }

    HRESULT answer = S_OK;
    int updates = 0;
};

} // namespace

TEST(WithoutMemory, AWorkerIsStopped)
{
    for (int queued = 0; queued <= 70; ++queued) {
        const auto dispatcher = UpdateDispatcher::Start();
        for (int i = 0; i < queued; ++i)
            dispatcher->Unsubscribe(nullptr);
        const HRESULT hr = Guarded([&] {
            const NoMemory exhausted;
            dispatcher->Stop();
        });
        EXPECT_EQ(hr, S_OK) << queued;
        if (FAILED(hr))
            dispatcher->Stop();
    }
    EXPECT_TRUE(WorkersEnd());
}

TEST(WithoutMemory, SynchronousHandlersAreTold)
{
    UpdateSubscriptions subscriptions;
    Handler first;
    Handler failing;
    Handler last;
    failing.answer = E_FAIL;
    for (Handler* handler : {&first, &failing, &last})
        subscriptions.Subscribe(handler, Tavlo_Synchronous);
    // The handler does not arrive, but its worker is there.
    EXPECT_TRUE(FAILED(Guarded([&] { subscriptions.Subscribe(&first, Tavlo_Asynchronous); })));
    for (int round = 1; round <= 200; ++round) {
        const HRESULT hr = Guarded([&] {
            const NoMemory exhausted;
            subscriptions.Deliver({0, 0, 1, 1});
        });
        ASSERT_EQ(hr, S_OK) << round;
        ASSERT_EQ(first.updates, round);
        ASSERT_EQ(last.updates, round);
    }
    EXPECT_GE(failing.updates, 1);
    subscriptions.Deliver({0, 0, 1, 1});
    const int told = failing.updates;
    subscriptions.Deliver({0, 0, 1, 1});
    EXPECT_EQ(failing.updates, told) << "with memory it is dropped";
    subscriptions.Stop();
    EXPECT_TRUE(WorkersEnd());
}

TEST(WithoutMemory, AColorOfARampIsRefused)
{
    const ::TavloDescriptorData grey = {8, 8, 16, ::Tavlo_Unsigned, 0, 2, 16};
    const ::TavloDescriptorData rgba = {8, 8, 32, ::Tavlo_RGBA, 0, 4, 32};
    const ::TavloDescriptorData wide = {8, 8, 64, ::Tavlo_Float, 0, 8, 64};
    for (const auto& target : {rgba, wide, grey}) {
        const auto recoder = Make<CCoLUTRecoder>(FromInterface(grey), FromInterface(target));
        ASSERT_EQ(recoder->SetGamma(2.0), S_OK);
        unsigned long color = 1;
        ASSERT_EQ(recoder->GetColor(0.25, &color), S_OK);
        HRESULT hr = S_OK;
        {
            const NoMemory exhausted;
            hr = recoder->GetColor(0.5, &color);
        }
        // Only ramps need some; there is none for a text either.
        EXPECT_EQ(hr, target.Encoding == ::Tavlo_RGBA ? E_OUTOFMEMORY : S_OK) << target.Encoding;
        EXPECT_EQ(recoder->GetColor(0.5, &color), S_OK);
    }
}
