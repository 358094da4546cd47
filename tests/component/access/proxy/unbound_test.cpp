// Objects that only marshaling makes useful, made by their class factories.
#include "tests/component/component_test.h"

namespace {

/// A pointer that a method has to clear.
template <class Interface>
Interface* Garbage()
{
    return reinterpret_cast<Interface*>(1);
}

} // namespace

TEST(UnboundProxy, ClearsWhatItCannotGive)
{
    const auto proxy = Create<ITavlo2>(CLSID_TavloProxy);
    auto* descriptor = Garbage<ITavloDescriptor2>();
    EXPECT_HR(E_UNEXPECTED, proxy->get_Descriptor(&descriptor));
    EXPECT_EQ(descriptor, nullptr);
    auto* reader = Garbage<IReadAccessor>();
    EXPECT_HR(E_UNEXPECTED, proxy->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(reader, nullptr);
    auto* writer = Garbage<IWriteAccessor>();
    EXPECT_HR(E_UNEXPECTED, proxy->GetWriteAccess(&writer));
    EXPECT_EQ(writer, nullptr);
    auto* clone = Garbage<ITavlo2>();
    EXPECT_HR(E_UNEXPECTED, proxy->Clone(Tavlo_SingleWriter, &clone));
    EXPECT_EQ(clone, nullptr);
    EXPECT_HR(E_UNEXPECTED, proxy->Dispose());
}

TEST(UnboundProxy, RefusesNullPointersFirst)
{
    const auto proxy = Create<ITavlo2>(CLSID_TavloProxy);
    EXPECT_HR(E_POINTER, proxy->get_Descriptor(nullptr));
    EXPECT_HR(E_POINTER, proxy->GetReadAccess(nullptr, 1.0, nullptr));
    EXPECT_HR(E_POINTER, proxy->GetWriteAccess(nullptr));
    EXPECT_HR(E_POINTER, proxy->Clone(Tavlo_SingleWriter, nullptr));
    EXPECT_HR(E_POINTER, proxy->Subscribe(nullptr, Tavlo_Synchronous));
}

TEST(UnboundStub, StandsForNoImage)
{
    const auto stub = Create<ITavloStub>(CLSID_TavloStub);
    auto* descriptor = Garbage<ITavloDescriptor>();
    EXPECT_HR(E_UNEXPECTED, stub->get_Descriptor(&descriptor));
    EXPECT_EQ(descriptor, nullptr);
    EXPECT_HR(E_POINTER, stub->get_Descriptor(nullptr));
    EXPECT_HR(E_UNEXPECTED, stub->Subscribe(nullptr));
    RECT rect = {0, 0, 1, 1};
    unsigned char data = 0;
    EXPECT_HR(E_UNEXPECTED, stub->GetData(&rect, 1, &data));
    EXPECT_HR(E_POINTER, stub->GetData(nullptr, 1, &data));
    EXPECT_HR(E_POINTER, stub->GetData(&rect, 1, nullptr));
}
