#include "tests/include/wrapper_test.h"

namespace {

/// Counts its references and is never deleted.
class Counted final : public IUnknown
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        *result = iid == __uuidof(IUnknown) ? this : nullptr;
        if (*result == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ULONG references = 1;
};

} // namespace

TEST(WrapperPointer, CopiesTakeReferencesAndGiveThemBack)
{
    Counted object;
    {
        const tavlo::com_ptr<Counted> first(&object);
        EXPECT_EQ(2u, object.references);
        const tavlo::com_ptr<Counted> second = first;
        EXPECT_EQ(3u, object.references);
        EXPECT_EQ(&object, second.get());
    }
    EXPECT_EQ(1u, object.references);
}

TEST(WrapperPointer, MovesKeepTheCount)
{
    Counted object;
    tavlo::com_ptr<Counted> first(&object);
    const tavlo::com_ptr<Counted> second = std::move(first);
    EXPECT_EQ(2u, object.references);
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
}

TEST(WrapperPointer, TakeOwnsTheReferenceThatIsThere)
{
    Counted object;
    object.AddRef();
    {
        const auto owner = tavlo::com_ptr<Counted>::take(&object);
        EXPECT_EQ(2u, object.references);
    }
    EXPECT_EQ(1u, object.references);
}

TEST(WrapperPointer, PutLetsGoOfWhatWasThere)
{
    Counted object;
    Counted other;
    tavlo::com_ptr<Counted> pointer(&object);
    other.AddRef();
    *pointer.put() = &other;
    EXPECT_EQ(1u, object.references);
    EXPECT_EQ(2u, other.references);
}

TEST(WrapperPointer, AssigningToItselfKeepsTheObject)
{
    Counted object;
    tavlo::com_ptr<Counted> pointer(&object);
    const auto& same = pointer;
    pointer = same;
    EXPECT_EQ(&object, pointer.get());
    EXPECT_EQ(2u, object.references);
}

TEST(WrapperPointer, QueryFindsInterfacesAndIsNullForOthers)
{
    Counted object;
    const tavlo::com_ptr<IUnknown> pointer(&object);
    {
        const auto found = pointer.query<IUnknown>();
        EXPECT_EQ(&object, found.get());
        EXPECT_EQ(3u, object.references);
    }
    EXPECT_FALSE(pointer.query<ITavlo>());
    EXPECT_FALSE(tavlo::com_ptr<IUnknown>().query<IUnknown>());
    EXPECT_EQ(2u, object.references);
}

TEST(WrapperString, HoldsTextWithZeros)
{
    const std::wstring text(L"a\0b", 3);
    const tavlo::bstr string(text);
    EXPECT_EQ(text, string.view());
    EXPECT_EQ(3u, SysStringLen(string.get()));
}

TEST(WrapperString, MovesAndReplaces)
{
    tavlo::bstr first(L"first");
    tavlo::bstr second = std::move(first);
    EXPECT_EQ(L"first", second.view());
    EXPECT_EQ(L"", first.view());
    *second.put() = SysAllocString(L"second");
    EXPECT_EQ(L"second", second.view());
}
