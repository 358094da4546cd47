// In which order an image lets go of what it has.
#include "module/module_lock.h"
#include "shared/image/tavlo.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

using StepList = std::vector<std::string>;

class EndingHandler final : public StandIn<ITavloEvents>
{
public:
    ~EndingHandler() override { NoteStep("handler"); }
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override { return S_OK; }
};

/// A value of the property bag that does something at its end.
class EndingValue final : public StandIn<IUnknown>
{
public:
    explicit EndingValue(std::function<void()> end) : end_(std::move(end)) {}
    ~EndingValue() override { end_(); }

private:
    const std::function<void()> end_;
};

/// Notes the view, the lock and the section that go, as long as it lives.
class NotedReleases
{
public:
    explicit NotedReleases(HANDLE section)
    {
        section_ = section;
        unmap_ = unmapping_.Original();
        close_ = closing_.Original();
        deleteLock_ = deletingLock_.Original();
    }

private:
    static inline HANDLE section_ = nullptr;
    static inline decltype(&UnmapViewOfFile) unmap_ = nullptr;
    static inline decltype(&CloseHandle) close_ = nullptr;
    static inline decltype(&DeleteCriticalSection) deleteLock_ = nullptr;

    ReplacedImport<decltype(UnmapViewOfFile)> unmapping_{"UnmapViewOfFile", [](LPCVOID view) -> BOOL {
                                                             NoteStep("view");
                                                             return unmap_(view);
                                                         }};
    ReplacedImport<decltype(CloseHandle)> closing_{"CloseHandle", [](HANDLE handle) -> BOOL {
                                                       if (handle == section_)
                                                           NoteStep("section");
                                                       return close_(handle);
                                                   }};
    ReplacedImport<decltype(DeleteCriticalSection)> deletingLock_{"DeleteCriticalSection",
                                                                  [](LPCRITICAL_SECTION lock) {
                                                                      NoteStep("lock");
                                                                      deleteLock_(lock);
                                                                  }};
};

/// An image of a section of the test's own, which it owns.
ComPtr<CTavlo> ImageOf(HANDLE section)
{
    return Make<CTavlo>(LayoutOf(Mardu::Sentel::Tavlo::TavloDescriptorData{10, 10, 8, 0, 0, 1, 10}),
                        L"a name", UniqueHandle(section), Tavlo_MultipleWriters);
}

HANDLE SectionOf100Bytes()
{
    return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, nullptr);
}

void SetValue(CTavlo* image, std::function<void()> end)
{
    const auto value = NewStandIn<EndingValue>(std::move(end));
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_UNKNOWN;
    V_UNKNOWN(&variant) = value.Get();
    BSTR name = SysAllocString(L"value");
    EXPECT_EQ(image->SetProperty(name, variant), S_OK);
    SysFreeString(name);
}

} // namespace

TEST(ImageEnd, LetsGoInItsOrder)
{
    const HANDLE section = SectionOf100Bytes();
    auto image = ImageOf(section);
    ASSERT_EQ(image->Subscribe(NewStandIn<EndingHandler>().Get(), Tavlo_Synchronous), S_OK);
    SetValue(image.Get(), [] { NoteStep("value"); });
    TakeSteps();
    {
        const NotedReleases noted(section);
        image.Reset();
    }
    EXPECT_EQ(TakeSteps(), (StepList{"view", "value", "lock", "section", "handler", "lock"}));
}

TEST(ImageEnd, BeginsWithTheEndOfItsWorker)
{
    auto image = ImageOf(SectionOf100Bytes());
    // Without registered proxies the handler does not arrive, but its worker is there.
    image->Subscribe(NewStandIn<EndingHandler>().Get(), Tavlo_Asynchronous);
    bool hasWorkerEnded = false;
    SetValue(image.Get(), [&] { hasWorkerEnded = HoldsSoon([] { return ModuleLockCount() == 1; }); });
    EXPECT_EQ(ModuleLockCount(), 2) << "the image and its worker";
    image.Reset();
    EXPECT_TRUE(hasWorkerEnded) << "the worker was told before anything was let go";
}
