#include "shared/updates/update_subscriptions.h"

#include "module/error.h"
#include "module/module_lock.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>

#include <process.h>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// A handler that only counts.
class CountedHandler final : public ITavloEvents
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
        return S_OK;
    }

    int updates = 0;
};

HRESULT ResultOfSubscribing(UpdateSubscriptions& subscriptions, ITavloEvents* handler, EventMode mode)
{
    return Guarded([&] { subscriptions.Subscribe(handler, mode); });
}

} // namespace

TEST(UpdateSubscriptions, FailWhenNoWorkerCanBeStarted)
{
    const ReplacedImport<decltype(_beginthreadex)> failing(
        "_beginthreadex",
        [](void*, unsigned, _beginthreadex_proc_type, void*, unsigned, unsigned*) -> std::uintptr_t {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        });
    UpdateSubscriptions subscriptions;
    CountedHandler handler;
    EXPECT_EQ(ResultOfSubscribing(subscriptions, &handler, Tavlo_Asynchronous), E_FAIL);
    EXPECT_EQ(ModuleLockCount(), 0) << "a thread that never started holds nothing";
    EXPECT_EQ(ResultOfSubscribing(subscriptions, &handler, Tavlo_Synchronous), S_OK);
    subscriptions.Deliver({0, 0, 1, 1});
    EXPECT_EQ(handler.updates, 1) << "synchronous delivery needs no worker";
}
