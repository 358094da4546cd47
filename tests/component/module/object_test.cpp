#include "module/object.h"

#include "module/error.h"
#include "tests/component/outer_object.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

using namespace Mardu;

namespace {

/// An object with two interfaces that counts the ends of all of its kind.
class Thing : public ComObject<IPersist, ISupportErrorInfo>
{
public:
    Thing() { ended = 0; }
    ~Thing() override { ++ended; }

    STDMETHODIMP GetClassID(CLSID* result) override
    {
        *result = IID_IPersist;
        return S_OK;
    }
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_FALSE; }

    static inline int ended = 0;
};

/// An object that hands itself to others while it ends.
class LastWords : public Thing
{
public:
    ~LastWords() override
    {
        const ComPtr<IPersist> itself(this);
        ComPtr<ISupportErrorInfo> asked;
        found = itself.As(&asked);
    }

    static inline HRESULT found = E_FAIL;
};

/// An object whose constructor fails after its base is made.
class Unborn : public Thing
{
public:
    Unborn() { throw std::runtime_error("no more of these"); }
};

ComPtr<IUnknown> UnknownOf(IUnknown* object)
{
    ComPtr<IUnknown> unknown;
    CheckHResult(object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(unknown.GetAddressOf())));
    return unknown;
}

} // namespace

TEST(Object, StartsWithOneReference)
{
    const ComPtr<Thing> thing = Make<Thing>();
    EXPECT_EQ(thing->AddRef(), 2u);
    EXPECT_EQ(thing->Release(), 1u);
}

TEST(Object, EndsWithItsLastReference)
{
    ComPtr<Thing> thing = Make<Thing>();
    thing->AddRef();
    thing->Release();
    EXPECT_EQ(Thing::ended, 0);
    EXPECT_EQ(thing.Detach()->Release(), 0u);
    EXPECT_EQ(Thing::ended, 1);
}

TEST(Object, SharesOneCountBetweenItsInterfaces)
{
    const ComPtr<Thing> thing = Make<Thing>();
    ComPtr<ISupportErrorInfo> other;
    ASSERT_EQ(thing.As(&other), S_OK);
    EXPECT_EQ(other->AddRef(), 3u);
    EXPECT_EQ(static_cast<IPersist*>(thing.Get())->Release(), 2u);
}

TEST(Object, IsCountedByManyThreadsAtOnce)
{
    const ComPtr<Thing> thing = Make<Thing>();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 50000; ++j) {
                thing->AddRef();
                thing->Release();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(thing->AddRef(), 2u);
    EXPECT_EQ(thing->Release(), 1u);
}

TEST(Object, FindsItsInterfaces)
{
    const ComPtr<Thing> thing = Make<Thing>();
    ComPtr<IPersist> first;
    ComPtr<ISupportErrorInfo> second;
    ASSERT_EQ(thing.As(&first), S_OK);
    ASSERT_EQ(thing.As(&second), S_OK);
    CLSID answered = {};
    EXPECT_EQ(first->GetClassID(&answered), S_OK);
    EXPECT_EQ(second->InterfaceSupportsErrorInfo(IID_IPersist), S_FALSE);
}

TEST(Object, HasOneIdentity)
{
    const ComPtr<Thing> thing = Make<Thing>();
    const ComPtr<IUnknown> identity = UnknownOf(static_cast<IPersist*>(thing.Get()));
    EXPECT_EQ(UnknownOf(static_cast<ISupportErrorInfo*>(thing.Get())).Get(), identity.Get());
    EXPECT_EQ(UnknownOf(identity.Get()).Get(), identity.Get());
}

TEST(Object, LacksOtherInterfaces)
{
    const ComPtr<Thing> thing = Make<Thing>();
    void* result = thing.Get();
    EXPECT_EQ(thing->QueryInterface(IID_IDispatch, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
}

TEST(Object, NeedsAPlaceForTheInterface)
{
    EXPECT_EQ(Make<Thing>()->QueryInterface(IID_IPersist, nullptr), E_POINTER);
}

TEST(Object, IsNotCountedWhenAnInterfaceIsNotFound)
{
    const ComPtr<Thing> thing = Make<Thing>();
    void* result = nullptr;
    thing->QueryInterface(IID_IDispatch, &result);
    EXPECT_EQ(thing->AddRef(), 2u);
    EXPECT_EQ(thing->Release(), 1u);
}

TEST(Object, LocksTheModuleWhileItLives)
{
    const LONG before = ModuleLockCount();
    ComPtr<Thing> thing = Make<Thing>();
    EXPECT_EQ(ModuleLockCount(), before + 1);
    thing.Reset();
    EXPECT_EQ(ModuleLockCount(), before);
}

TEST(Object, LocksTheModuleNoLongerWhenItCannotBeMade)
{
    const LONG before = ModuleLockCount();
    EXPECT_THROW(Make<Unborn>(), std::runtime_error);
    EXPECT_THROW(MakeInstance<Unborn>(nullptr), std::runtime_error);
    EXPECT_EQ(ModuleLockCount(), before);
}

TEST(Object, EndsOnceAlthoughItHandsItselfOutMeanwhile)
{
    Make<LastWords>().Reset();
    EXPECT_EQ(LastWords::found, S_OK);
    EXPECT_EQ(Thing::ended, 1);
}

TEST(Instance, StandsAloneWithoutAnOuterObject)
{
    const ComPtr<IUnknown> inner = MakeInstance<Thing>(nullptr);
    ComPtr<IPersist> found;
    ASSERT_EQ(inner.As(&found), S_OK);
    EXPECT_EQ(UnknownOf(found.Get()).Get(), inner.Get());
}

TEST(Instance, IsOneReference)
{
    ComPtr<IUnknown> inner = MakeInstance<Thing>(nullptr);
    EXPECT_EQ(inner.Detach()->Release(), 0u);
    EXPECT_EQ(Thing::ended, 1);
}

namespace {

class Aggregate : public testing::Test
{
protected:
    Aggregate()
    {
        outer.inner = MakeInstance<Thing>(&outer);
        outer.inner.As(&part);
        part->Release();
    }

    ~Aggregate() override { part.Detach(); }

    OuterObject outer;
    ComPtr<IPersist> part; ///< without a reference of its own
};

} // namespace

TEST_F(Aggregate, HasTheIdentityOfTheOuterObject)
{
    EXPECT_EQ(UnknownOf(part.Get()).Get(), &outer);
}

TEST_F(Aggregate, KeepsAnIdentityOfItsOwnForTheOuterObject)
{
    EXPECT_NE(outer.inner.Get(), &outer);
    EXPECT_EQ(UnknownOf(outer.inner.Get()).Get(), outer.inner.Get());
}

TEST_F(Aggregate, CountsReferencesToItsInterfacesAtTheOuterObject)
{
    const ULONG before = outer.count;
    EXPECT_EQ(part->AddRef(), before + 1);
    EXPECT_EQ(outer.count, before + 1);
    EXPECT_EQ(part->Release(), before);
}

TEST_F(Aggregate, CountsAnInterfaceItHandsOutAtTheOuterObject)
{
    const ULONG before = outer.count;
    ComPtr<ISupportErrorInfo> other;
    ASSERT_EQ(outer.inner.As(&other), S_OK);
    EXPECT_EQ(outer.count, before + 1);
}

TEST_F(Aggregate, IsAskedForInterfacesThroughTheOuterObject)
{
    ComPtr<ISupportErrorInfo> other;
    EXPECT_EQ(part.As(&other), S_OK);
    void* result = &outer;
    EXPECT_EQ(part->QueryInterface(IID_IDispatch, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
}

TEST_F(Aggregate, KeepsNoReferenceToTheOuterObject)
{
    EXPECT_EQ(outer.count, 1u);
}

TEST_F(Aggregate, EndsWithTheLastReferenceToItsOwnIdentity)
{
    part->AddRef();
    part->Release();
    EXPECT_EQ(Thing::ended, 0);
    EXPECT_EQ(outer.inner.Detach()->Release(), 0u);
    EXPECT_EQ(Thing::ended, 1);
}
