// The private interface of images as those see it who know it by its slots alone.
#include "tests/component/stand_in.h"

#include "TavloInternal.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

/// Says which operation was called, whatever the arguments.
class NamedOperations final : public StandIn<ITavloInternal>
{
public:
    STDMETHODIMP AddReader() override { return Was("AddReader"); }
    STDMETHODIMP AddWriter() override { return Was("AddWriter"); }
    STDMETHODIMP ReleaseReader() override { return Was("ReleaseReader"); }
    STDMETHODIMP ReleaseWriter() override { return Was("ReleaseWriter"); }
    STDMETHODIMP Invalidate(RECT*) override { return Was("Invalidate"); }
    STDMETHODIMP SetProperty(BSTR, VARIANT) override { return Was("SetProperty"); }
    STDMETHODIMP GetProperty(BSTR, VARIANT*) override { return Was("GetProperty"); }
    STDMETHODIMP SetDisposalHook(ULONG_PTR) override { return Was("SetDisposalHook"); }
    STDMETHODIMP Dispose() override { return Was("Dispose"); }
    STDMETHODIMP GetPropertyNames(SAFEARRAY**) override { return Was("GetPropertyNames"); }

    std::string called;

private:
    HRESULT Was(const char* operation)
    {
        called = operation;
        return S_OK;
    }
};

} // namespace

TEST(InternalInterface, HasItsOperationsInTheirSlots)
{
    const auto object = NewStandIn<NamedOperations>();
    ITavloInternal* const asInterface = object.Get();
    VARIANT none;
    VariantInit(&none);
    int slot = 3; // after those of IUnknown
    for (const char* operation :
         {"AddReader", "AddWriter", "ReleaseReader", "ReleaseWriter", "Invalidate", "SetProperty",
          "GetProperty", "SetDisposalHook", "Dispose", "GetPropertyNames"}) {
        // A variant travels as an address here, so that all operations can be called alike.
        using Operation = HRESULT(STDMETHODCALLTYPE*)(ITavloInternal*, void*, VARIANT*);
        const auto* const slots = *reinterpret_cast<Operation* const*>(asInterface);
        EXPECT_EQ(slots[slot](asInterface, nullptr, &none), S_OK);
        EXPECT_EQ(object->called, operation) << slot;
        ++slot;
    }
}

TEST(InternalInterface, IsKnownInItsNamespace)
{
    using InNamespace = Mardu::Sentel::Tavlo::Internal::Com::ITavloInternal;
    static_assert(std::is_same_v<InNamespace, ITavloInternal>);
    EXPECT_TRUE(IsEqualIID(__uuidof(InNamespace), IID_ITavloInternal));
}
