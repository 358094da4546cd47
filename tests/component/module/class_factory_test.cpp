#include "module/class_factory.h"

#include "module/error.h"

#include <gtest/gtest.h>

#include <new>

using namespace Mardu;

namespace {

class Product : public ComObject<IPersist>
{
public:
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
};

class CreatedOuter : public IUnknown
{
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

class Factory : public testing::Test
{
protected:
    ClassFactory factory{MakeInstance<Product>};
    const LONG locksBefore = ModuleLockCount();
};

} // namespace

TEST_F(Factory, IsAClassFactory)
{
    for (const IID& iid : {IID_IUnknown, IID_IClassFactory}) {
        ComPtr<IUnknown> found;
        EXPECT_EQ(factory.QueryInterface(iid, reinterpret_cast<void**>(found.GetAddressOf())), S_OK);
        EXPECT_EQ(found.Get(), &factory);
    }
}

TEST_F(Factory, LacksOtherInterfaces)
{
    void* result = this;
    EXPECT_EQ(factory.QueryInterface(IID_IPersist, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(factory.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Factory, LocksTheModuleByItsReferencesFromOutside)
{
    ComPtr<IClassFactory> outside(&factory);
    EXPECT_EQ(ModuleLockCount(), locksBefore + 1);
    ComPtr<IUnknown> another;
    ASSERT_EQ(outside.As(&another), S_OK);
    EXPECT_EQ(ModuleLockCount(), locksBefore + 2);
    outside.Reset();
    another.Reset();
    EXPECT_EQ(ModuleLockCount(), locksBefore);
}

TEST_F(Factory, NeverCountsDownToNothing)
{
    EXPECT_GT(factory.AddRef(), 0u);
    EXPECT_GT(factory.Release(), 0u);
}

TEST_F(Factory, LocksTheServerAsOftenAsAsked)
{
    EXPECT_EQ(factory.LockServer(TRUE), S_OK);
    EXPECT_EQ(factory.LockServer(2), S_OK);
    EXPECT_EQ(ModuleLockCount(), locksBefore + 2);
    EXPECT_EQ(factory.LockServer(FALSE), S_OK);
    EXPECT_EQ(factory.LockServer(FALSE), S_OK);
    EXPECT_EQ(ModuleLockCount(), locksBefore);
}

TEST_F(Factory, MakesAnObject)
{
    ComPtr<IPersist> made;
    EXPECT_EQ(factory.CreateInstance(nullptr, IID_PPV_ARGS(&made)), S_OK);
    EXPECT_EQ(ModuleLockCount(), locksBefore + 1);
    EXPECT_EQ(made.Detach()->Release(), 0u);
}

TEST_F(Factory, MakesANewObjectEachTime)
{
    ComPtr<IPersist> first;
    ComPtr<IPersist> second;
    ASSERT_EQ(factory.CreateInstance(nullptr, IID_PPV_ARGS(&first)), S_OK);
    ASSERT_EQ(factory.CreateInstance(nullptr, IID_PPV_ARGS(&second)), S_OK);
    EXPECT_NE(first.Get(), second.Get());
}

TEST_F(Factory, NeedsAPlaceForTheObject)
{
    EXPECT_EQ(factory.CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Factory, KeepsNoObjectWithoutTheInterface)
{
    void* result = this;
    EXPECT_EQ(factory.CreateInstance(nullptr, IID_IDispatch, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(ModuleLockCount(), locksBefore);
}

TEST_F(Factory, MakesAPartOfAnOuterObjectThroughItsOwnIdentity)
{
    CreatedOuter outer;
    ComPtr<IUnknown> inner;
    ASSERT_EQ(factory.CreateInstance(&outer, IID_PPV_ARGS(&inner)), S_OK);
    EXPECT_NE(inner.Get(), &outer);
    EXPECT_EQ(inner.Detach()->Release(), 0u);
}

TEST_F(Factory, MakesNoPartOfAnOuterObjectThroughAnotherInterface)
{
    CreatedOuter outer;
    void* result = this;
    EXPECT_EQ(factory.CreateInstance(&outer, IID_IPersist, &result), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(ModuleLockCount(), locksBefore);
}

TEST_F(Factory, FailsAsTheObjectFailsToBeMade)
{
    ClassFactory failing([](IUnknown*) -> ComPtr<IUnknown> { throw std::bad_alloc(); });
    void* result = this;
    EXPECT_EQ(failing.CreateInstance(nullptr, IID_IUnknown, &result), E_OUTOFMEMORY);
    EXPECT_EQ(result, nullptr);
}
