#include "module/automation.h"

#include "module/error.h"
#include "module/handle.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>
#include <oleauto.h>

#include <atomic>
#include <thread>

using namespace Mardu;

namespace {

HRESULT ResultOfLoading()
{
    return Guarded([] { TypeInfoOf(TypeLibrary::Tavlo, IID_IPersist); });
}

std::atomic<int> loads = 0;
std::atomic<bool> wasLoaded = false;

/// Of the first call, a loader in which another thread needs a description, too.
HRESULT WINAPI LoadSlowly(LPCOLESTR, REGKIND, ITypeLib** library)
{
    *library = nullptr;
    if (++loads == 1) {
        // Kept, since a thread that did not get through still sets it.
        static const UniqueHandle loaded(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        std::thread other([] {
            ResultOfLoading();
            SetEvent(loaded.get());
        });
        wasLoaded = WaitForSingleObject(loaded.get(), 10000) == WAIT_OBJECT_0;
        wasLoaded ? other.join() : other.detach();
    }
    return TYPE_E_CANTLOADLIBRARY;
}

} // namespace

TEST(TypeInfo, IsLoadedWhileOthersAre)
{
    const ReplacedImport<decltype(LoadTypeLibEx)> loader("LoadTypeLibEx", LoadSlowly);
    EXPECT_EQ(ResultOfLoading(), TYPE_E_CANTLOADLIBRARY);
    EXPECT_TRUE(wasLoaded) << "no lock is held while a library is loaded";
    EXPECT_EQ(loads, 2);
}
