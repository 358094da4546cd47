// In which order an accessor lets go of what it has, and what it is without an image.
#include "access/accessor.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include "shared/sections/section.h"

#include <gtest/gtest.h>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// The private side of an image that notes what accessors do with it.
class NotingImage : public StandIn<ITavloInternal>
{
public:
    ~NotingImage() override { NoteStep("image"); }
    STDMETHODIMP AddReader() override { return NoteStep("add reader"), S_OK; }
    STDMETHODIMP AddWriter() override { return NoteStep("add writer"), S_OK; }
    STDMETHODIMP ReleaseReader() override { return NoteStep("release reader"), S_OK; }
    STDMETHODIMP ReleaseWriter() override { return NoteStep("release writer"), S_OK; }
    STDMETHODIMP Invalidate(RECT*) override { return NoteStep("invalidate"), S_FALSE; }
    STDMETHODIMP SetProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetDisposalHook(ULONG_PTR) override { return E_NOTIMPL; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyNames(SAFEARRAY**) override { return E_NOTIMPL; }
};

/// What an accessor has that came from another process: a mapping and a view of its own.
AccessorTarget OwnTarget()
{
    AccessorTarget target;
    target.image = NewStandIn<NotingImage>();
    target.mapName = L"a name";
    target.mapping.reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, nullptr));
    target.view = ShareView(MapWholeSection(target.mapping.get()), target.mapName);
    return target;
}

/// Notes the view and the mapping that go, as long as it lives.
class NotedUnmapping
{
public:
    explicit NotedUnmapping(HANDLE mapping)
    {
        mapping_ = mapping;
        unmap_ = unmapping_.Original();
        close_ = closing_.Original();
    }

private:
    static inline HANDLE mapping_ = nullptr;
    static inline decltype(&UnmapViewOfFile) unmap_ = nullptr;
    static inline decltype(&CloseHandle) close_ = nullptr;

    ReplacedImport<decltype(UnmapViewOfFile)> unmapping_{"UnmapViewOfFile", [](LPCVOID view) -> BOOL {
                                                             NoteStep("view");
                                                             return unmap_(view);
                                                         }};
    ReplacedImport<decltype(CloseHandle)> closing_{"CloseHandle", [](HANDLE handle) -> BOOL {
                                                       if (handle == mapping_)
                                                           NoteStep("mapping");
                                                       return close_(handle);
                                                   }};
};

template <class Accessor>
std::vector<std::string> StepsOfTheEnd()
{
    AccessorTarget target = OwnTarget();
    const HANDLE mapping = target.mapping.get();
    auto accessor = Make<Accessor>();
    accessor->Attach(std::move(target));
    TakeSteps();
    {
        const NotedUnmapping noted(mapping);
        accessor.Reset();
    }
    return TakeSteps();
}

} // namespace

TEST(AccessorEnd, OfAReaderLetsGoInItsOrder)
{
    EXPECT_EQ(StepsOfTheEnd<CReadAccessor>(),
              (std::vector<std::string>{"release reader", "view", "mapping", "image"}));
}

TEST(AccessorEnd, OfAWriterLetsGoInItsOrder)
{
    EXPECT_EQ(StepsOfTheEnd<CWriteAccessor>(),
              (std::vector<std::string>{"release writer", "view", "mapping", "image"}));
}

TEST(ReadAccessor, FailsToInvalidateInEveryState)
{
    const auto accessor = Make<CReadAccessor>();
    EXPECT_EQ(accessor->Invalidate(nullptr), E_FAIL) << "never attached";
    accessor->Attach(OwnTarget());
    TakeSteps();
    RECT dirty = {1, 2, 3, 4};
    EXPECT_EQ(accessor->Invalidate(&dirty), E_FAIL);
    EXPECT_EQ(TakeSteps(), std::vector<std::string>()) << "nobody is told";
}

TEST(WriteAccessor, PassesTheImagesAnswerOn)
{
    const auto accessor = Make<CWriteAccessor>();
    EXPECT_EQ(accessor->Invalidate(nullptr), E_UNEXPECTED) << "never attached";
    accessor->Attach(OwnTarget());
    EXPECT_EQ(accessor->Invalidate(nullptr), S_FALSE);
}
