#include "shared/image/property_bag.h"

#include "module/error.h"
#include "module/handle.h"
#include "module/object.h"
#include "shared/image/safe_array.h"
#include "tests/component/child_process.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// A variant that frees what it holds.
class Variant : public VARIANT
{
public:
    Variant() { VariantInit(this); }
    Variant(VARIANT taken) : VARIANT(taken) {}
    ~Variant() { VariantClear(this); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
};

VARIANT Number(LONG value)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_I4;
    V_I4(&variant) = value;
    return variant;
}

VARIANT Text(const std::wstring& value)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_BSTR;
    V_BSTR(&variant) = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    return variant;
}

VARIANT Object(IUnknown* object)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_UNKNOWN;
    V_UNKNOWN(&variant) = object;
    return variant;
}

LONG NumberIn(const PropertyBag& bag, const std::wstring& name)
{
    const Variant value(bag.Get(name));
    EXPECT_EQ(V_VT(&value), VT_I4);
    return V_I4(&value);
}

std::wstring TextIn(const PropertyBag& bag, const std::wstring& name)
{
    const Variant value(bag.Get(name));
    EXPECT_EQ(V_VT(&value), VT_BSTR);
    return {V_BSTR(&value), SysStringLen(V_BSTR(&value))};
}

std::vector<std::wstring> NamesIn(const PropertyBag& bag)
{
    const UniqueSafeArray array(bag.Names());
    BSTR* texts = nullptr;
    SafeArrayAccessData(array.get(), reinterpret_cast<void**>(&texts));
    std::vector<std::wstring> names;
    for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i)
        names.emplace_back(texts[i], SysStringLen(texts[i]));
    SafeArrayUnaccessData(array.get());
    return names;
}

/// An object that uses the bag on another thread when it dies, and tells whether that
/// thread got through.
class BagUser : public ComObject<IPersist>
{
public:
    BagUser(PropertyBag& bag, bool& gotThrough) : bag_(bag), gotThrough_(gotThrough) {}

    ~BagUser() override
    {
        const UniqueHandle used(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        std::thread user([&] {
            bag_.Set(L"by the dying object", Number(1));
            SetEvent(used.get());
        });
        gotThrough_ = WaitForSingleObject(used.get(), generousLimit / 10) == WAIT_OBJECT_0;
        gotThrough_ ? user.join() : user.detach();
    }

    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }

private:
    PropertyBag& bag_;
    bool& gotThrough_;
};

ULONG ReferencesTo(IUnknown* object)
{
    object->AddRef();
    return object->Release();
}

class PlainObject : public ComObject<IPersist>
{
public:
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
};

} // namespace

TEST(PropertyBag, OwnsWhatAPointerShows)
{
    PropertyBag bag;
    auto number = std::make_unique<LONG>(7);
    VARIANT shown = Number(5);
    VARIANT pointer;
    VariantInit(&pointer);
    V_VT(&pointer) = VT_BYREF | VT_I4;
    V_I4REF(&pointer) = number.get();
    VARIANT toVariant;
    VariantInit(&toVariant);
    V_VT(&toVariant) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&toVariant) = &shown;
    bag.Set(L"number", pointer);
    bag.Set(L"variant", toVariant);
    *number = 8;
    V_I4(&shown) = 6;
    number.reset();
    EXPECT_EQ(NumberIn(bag, L"number"), 7);
    EXPECT_EQ(NumberIn(bag, L"variant"), 5);
}

TEST(PropertyBag, GivesBackWhatWasSet)
{
    PropertyBag bag;
    bag.Set(L"number", Number(42));
    EXPECT_EQ(NumberIn(bag, L"number"), 42);
}

TEST(PropertyBag, ReplacesAValueOfTheSameName)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    bag.Set(L"name", Number(2));
    EXPECT_EQ(NumberIn(bag, L"name"), 2);
    EXPECT_EQ(NamesIn(bag).size(), 1u);
}

TEST(PropertyBag, ReplacesAValueByOneOfAnotherType)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    bag.Set(L"name", Variant(Text(L"text")));
    EXPECT_EQ(TextIn(bag, L"name"), L"text");
}

TEST(PropertyBag, KeepsValuesOfDifferentNamesApart)
{
    PropertyBag bag;
    bag.Set(L"one", Number(1));
    bag.Set(L"two", Number(2));
    EXPECT_EQ(NumberIn(bag, L"one"), 1);
    EXPECT_EQ(NumberIn(bag, L"two"), 2);
}

TEST(PropertyBag, TellsNamesApartByCase)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    bag.Set(L"Name", Number(2));
    EXPECT_EQ(NumberIn(bag, L"name"), 1);
}

TEST(PropertyBag, TakesTheEmptyName)
{
    PropertyBag bag;
    bag.Set(L"", Number(3));
    EXPECT_EQ(NumberIn(bag, L""), 3);
}

TEST(PropertyBag, KeepsAnEmptyValue)
{
    PropertyBag bag;
    bag.Set(L"empty", Variant());
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(Variant(bag.Get(L"empty")))), VT_EMPTY);
}

TEST(PropertyBag, KeepsACopyOfAText)
{
    PropertyBag bag;
    {
        Variant text(Text(L"before"));
        bag.Set(L"text", text);
        V_BSTR(&text)[0] = L'X';
    }
    EXPECT_EQ(TextIn(bag, L"text"), L"before");
}

TEST(PropertyBag, GivesOutACopyOfAText)
{
    PropertyBag bag;
    bag.Set(L"text", Variant(Text(L"before")));
    {
        const Variant copy(bag.Get(L"text"));
        V_BSTR(&copy)[0] = L'X';
    }
    EXPECT_EQ(TextIn(bag, L"text"), L"before");
}

TEST(PropertyBag, HoldsAReferenceToAnObject)
{
    const ComPtr<PlainObject> object = Make<PlainObject>();
    PropertyBag bag;
    bag.Set(L"object", Object(object.Get()));
    EXPECT_EQ(ReferencesTo(object.Get()), 2u);
}

TEST(PropertyBag, GivesOutAReferenceToAnObject)
{
    const ComPtr<PlainObject> object = Make<PlainObject>();
    PropertyBag bag;
    bag.Set(L"object", Object(object.Get()));
    const Variant copy(bag.Get(L"object"));
    EXPECT_EQ(V_UNKNOWN(&copy), object.Get());
    EXPECT_EQ(ReferencesTo(object.Get()), 3u);
}

TEST(PropertyBag, ReleasesAReplacedValue)
{
    const ComPtr<PlainObject> object = Make<PlainObject>();
    PropertyBag bag;
    bag.Set(L"object", Object(object.Get()));
    bag.Set(L"object", Number(1));
    EXPECT_EQ(ReferencesTo(object.Get()), 1u);
}

TEST(PropertyBag, ReleasesItsValuesWhenItEnds)
{
    const ComPtr<PlainObject> object = Make<PlainObject>();
    {
        PropertyBag bag;
        bag.Set(L"object", Object(object.Get()));
    }
    EXPECT_EQ(ReferencesTo(object.Get()), 1u);
}

TEST(PropertyBag, ReleasesAReplacedValueWhileOthersMayUseIt)
{
    PropertyBag bag;
    bool gotThrough = false;
    bag.Set(L"object", Object(Make<BagUser>(bag, gotThrough).Get()));
    bag.Set(L"object", Number(1));
    EXPECT_TRUE(gotThrough);
}

TEST(PropertyBag, ReleasesClearedValuesWhileOthersMayUseIt)
{
    PropertyBag bag;
    bool gotThrough = false;
    bag.Set(L"object", Object(Make<BagUser>(bag, gotThrough).Get()));
    bag.Clear();
    EXPECT_TRUE(gotThrough);
}

TEST(PropertyBag, HasNoValueOfAnUnknownName)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    try {
        bag.Get(L"nam");
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "The image has no property of that name");
    }
}

TEST(PropertyBag, AddsNoNameByAskingForIt)
{
    PropertyBag bag;
    EXPECT_EQ(Guarded([&] { bag.Get(L"name"); }), E_INVALIDARG);
    EXPECT_TRUE(NamesIn(bag).empty());
}

TEST(PropertyBag, IsEmptyAfterClear)
{
    PropertyBag bag;
    bag.Set(L"one", Number(1));
    bag.Set(L"two", Number(2));
    bag.Clear();
    EXPECT_TRUE(NamesIn(bag).empty());
    EXPECT_THROW(bag.Get(L"one"), std::invalid_argument);
}

TEST(PropertyBag, ReleasesItsValuesInClear)
{
    const ComPtr<PlainObject> object = Make<PlainObject>();
    PropertyBag bag;
    bag.Set(L"object", Object(object.Get()));
    bag.Clear();
    EXPECT_EQ(ReferencesTo(object.Get()), 1u);
}

TEST(PropertyBag, MayBeFilledAgainAfterClear)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    bag.Clear();
    bag.Clear();
    bag.Set(L"name", Number(2));
    EXPECT_EQ(NumberIn(bag, L"name"), 2);
}

TEST(PropertyBag, RefusesAValueThatCannotBeCopied)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    VARIANT invalid = Number(2);
    V_VT(&invalid) = 0x0FFF;
    EXPECT_EQ(Guarded([&] { bag.Set(L"name", invalid); }), DISP_E_BADVARTYPE);
    EXPECT_EQ(NumberIn(bag, L"name"), 1);
}

TEST(PropertyBag, FailsWithTheResultOfCopyingAValueOut)
{
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    const ReplacedImport<decltype(VariantCopy)> failing(
        "VariantCopy", [](auto*, auto*) -> HRESULT { return E_OUTOFMEMORY; });
    EXPECT_EQ(Guarded([&] { bag.Get(L"name"); }), E_OUTOFMEMORY);
}

TEST(PropertyBagNames, AscendByCodeUnit)
{
    const std::vector<std::wstring> ascending = {L"",       std::wstring(1, L'\0'),
                                                 L" ",      L"10",
                                                 L"9",      L"A",
                                                 L"AB",     L"B",
                                                 L"_",      L"a",
                                                 L"aB",     L"ab",
                                                 L"\x00E4", L"\x7FFF",
                                                 L"\x8000", L"\xD83D\xDE00",
                                                 L"\xFF5E", L"\xFFFF"};
    PropertyBag bag;
    for (auto name = ascending.rbegin(); name != ascending.rend(); ++name)
        bag.Set(*name, Number(1));
    EXPECT_EQ(NamesIn(bag), ascending);
}

TEST(PropertyBagNames, OfAnEmptyBagAreNone)
{
    const UniqueSafeArray array(PropertyBag().Names());
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->rgsabound[0].cElements, 0u);
}

TEST(PropertyBagNames, AreStringsFromZeroUpward)
{
    PropertyBag bag;
    bag.Set(L"one", Number(1));
    const UniqueSafeArray array(bag.Names());
    VARTYPE type = VT_EMPTY;
    ASSERT_EQ(SafeArrayGetVartype(array.get(), &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
    EXPECT_EQ(SafeArrayGetDim(array.get()), 1u);
    EXPECT_EQ(array->rgsabound[0].lLbound, 0);
}

TEST(PropertyBag, IsSetReadAndClearedByManyThreadsAtOnce)
{
    const std::wstring texts[] = {std::wstring(1, L'a'), std::wstring(100, L'b'), std::wstring(1000, L'c')};
    PropertyBag bag;
    std::atomic<int> torn = 0;
    const auto write = [&](int seed) {
        for (int i = 0; i < 3000; ++i) {
            bag.Set(L"shared", Variant(Text(texts[(i + seed) % 3])));
            if (i % 100 == 0)
                bag.Clear();
        }
    };
    const auto read = [&] {
        for (int i = 0; i < 3000; ++i) {
            try {
                const std::wstring text = TextIn(bag, L"shared");
                torn += std::find(std::begin(texts), std::end(texts), text) == std::end(texts) ? 1 : 0;
            } catch (const std::invalid_argument&) {
                // It was just cleared.
            }
        }
    };
    std::vector<std::thread> threads;
    for (int seed = 0; seed < 2; ++seed) {
        threads.emplace_back(write, seed);
        threads.emplace_back(read);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(torn, 0);
}

TEST(PropertyBag, TakesNoLockForItsNames)
{
    static std::atomic<int> entered;
    static decltype(&EnterCriticalSection) original;
    PropertyBag bag;
    bag.Set(L"name", Number(1));
    const ReplacedImport<decltype(EnterCriticalSection)> counted("EnterCriticalSection",
                                                                 [](LPCRITICAL_SECTION section) {
                                                                     ++entered;
                                                                     if (original != nullptr)
                                                                         original(section);
                                                                 });
    original = counted.Original();
    entered = 0;
    SafeArrayDestroy(bag.Names());
    EXPECT_EQ(entered, 0) << "the caller keeps the values from changing";
    bag.Clear();
    EXPECT_EQ(entered, 1);
}
