#include "shared/image/safe_array.h"

#include "module/error.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <stdexcept>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr std::int64_t smallestBound = std::numeric_limits<LONG>::min();
constexpr std::int64_t largestBound = std::numeric_limits<LONG>::max();
constexpr std::uint64_t largestCount = std::numeric_limits<ULONG>::max();

UniqueSafeArray TwoDimensions()
{
    SAFEARRAYBOUND bounds[] = {{2, 0}, {3, 0}};
    return UniqueSafeArray(SafeArrayCreate(VT_I4, 2, bounds));
}

/// The texts of an array of BSTR.
std::vector<std::wstring> TextsOf(SAFEARRAY* array)
{
    std::vector<std::wstring> texts;
    LONG last = -1;
    CheckHResult(SafeArrayGetUBound(array, 1, &last));
    for (LONG i = 0; i <= last; ++i) {
        BSTR text = nullptr;
        CheckHResult(SafeArrayGetElement(array, &i, &text));
        texts.emplace_back(text, SysStringLen(text));
        SysFreeString(text);
    }
    return texts;
}

struct BoundCase
{
    const char* name;
    std::uint64_t count;
    std::int64_t lowerBound;
    const char* text;
};

void PrintTo(const BoundCase& bound, std::ostream* out)
{
    *out << bound.name;
}

class RefusedBound : public testing::TestWithParam<BoundCase>
{
};

class AcceptedBound : public testing::TestWithParam<std::int64_t>
{
};

/// Counts the arrays that are alive.
class ArrayCount
{
public:
    ArrayCount()
    {
        alive = 0;
        create = creating_.Original();
        copy = copying_.Original();
        destroy = destroying_.Original();
    }

    static inline int alive = 0;

private:
    static inline decltype(SafeArrayCreate)* create = nullptr;
    static inline decltype(SafeArrayCopy)* copy = nullptr;
    static inline decltype(SafeArrayDestroy)* destroy = nullptr;

    ReplacedImport<decltype(SafeArrayCreate)> creating_{
        "SafeArrayCreate", [](VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) -> SAFEARRAY* {
            SAFEARRAY* array = create(type, dimensions, bounds);
            alive += array != nullptr ? 1 : 0;
            return array;
        }};
    ReplacedImport<decltype(SafeArrayCopy)> copying_{"SafeArrayCopy",
                                                     [](SAFEARRAY* array, SAFEARRAY** result) -> HRESULT {
                                                         const HRESULT hr = copy(array, result);
                                                         alive += SUCCEEDED(hr) ? 1 : 0;
                                                         return hr;
                                                     }};
    ReplacedImport<decltype(SafeArrayDestroy)> destroying_{"SafeArrayDestroy",
                                                           [](SAFEARRAY* array) -> HRESULT {
                                                               --alive;
                                                               return destroy(array);
                                                           }};
};

} // namespace

TEST_P(RefusedBound, IsOutOfRange)
{
    try {
        NewSafeArray(VT_UI1, GetParam().count, GetParam().lowerBound);
        FAIL();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), GetParam().text);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, RefusedBound,
    testing::Values(BoundCase{"CountAboveTheLargest", largestCount + 1, 0, "Value too large"},
                    BoundCase{"LargestCountOfAll", std::numeric_limits<std::uint64_t>::max(), 0,
                              "Value too large"},
                    BoundCase{"LowerBoundAboveTheLargest", 1, largestBound + 1, "Value too large"},
                    BoundCase{"LowerBoundBelowTheSmallest", 1, smallestBound - 1, "Value too small"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(AcceptedBound, IsTheLowerBoundOfTheArray)
{
    const UniqueSafeArray array = NewSafeArray(VT_UI1, 1, GetParam());
    LONG bound = 0;
    ASSERT_EQ(SafeArrayGetLBound(array.get(), 1, &bound), S_OK);
    EXPECT_EQ(bound, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Of, AcceptedBound, testing::Values(smallestBound, -1, 0, 1, largestBound));

TEST(NewSafeArray, HasOneDimensionOfSoManyElements)
{
    const UniqueSafeArray array = NewSafeArray(VT_UI1, 1000, 0);
    EXPECT_EQ(SafeArrayGetDim(array.get()), 1u);
    EXPECT_EQ(array->rgsabound[0].cElements, 1000u);
}

TEST(NewSafeArray, HasElementsOfTheType)
{
    for (const VARTYPE type : {VT_UI1, VT_R8, VT_BSTR, VT_VARIANT}) {
        VARTYPE found = VT_EMPTY;
        const UniqueSafeArray array = NewSafeArray(type, 2, 0);
        ASSERT_EQ(SafeArrayGetVartype(array.get(), &found), S_OK);
        EXPECT_EQ(found, type);
    }
}

TEST(NewSafeArray, MayBeEmpty)
{
    const UniqueSafeArray array = NewSafeArray(VT_UI1, 0, 0);
    EXPECT_EQ(array->rgsabound[0].cElements, 0u);
}

TEST(NewSafeArray, IsOutOfMemoryWhenTheArrayCannotBeMade)
{
    const ReplacedImport<decltype(SafeArrayCreate)> failing(
        "SafeArrayCreate", [](VARTYPE, UINT, SAFEARRAYBOUND*) -> SAFEARRAY* { return nullptr; });
    EXPECT_EQ(Guarded([] { NewSafeArray(VT_UI1, 1, 0); }), E_OUTOFMEMORY);
}

TEST(NewSafeArray, PassesTheLargestCountOn)
{
    static ULONG count = 0;
    const ReplacedImport<decltype(SafeArrayCreate)> failing(
        "SafeArrayCreate", [](VARTYPE, UINT, SAFEARRAYBOUND* bound) -> SAFEARRAY* {
            count = bound->cElements;
            return nullptr;
        });
    EXPECT_THROW(NewSafeArray(VT_UI1, largestCount, 0), std::bad_alloc);
    EXPECT_EQ(count, largestCount);
}

TEST(NewSafeArray, IsRefusedWhenItHasNotOneDimension)
{
    static SAFEARRAY* made = nullptr;
    made = TwoDimensions().release();
    const ReplacedImport<decltype(SafeArrayCreate)> wrong(
        "SafeArrayCreate", [](VARTYPE, UINT, SAFEARRAYBOUND*) -> SAFEARRAY* { return made; });
    try {
        NewSafeArray(VT_UI1, 1, 0);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "SafeArray dimension mismatch");
    }
}

TEST(CheckOneDimension, PassesAnArrayOfOneDimension)
{
    EXPECT_NO_THROW(CheckOneDimension(NewSafeArray(VT_I4, 3, 0).get()));
}

TEST(CheckOneDimension, RefusesAnArrayOfTwo)
{
    try {
        CheckOneDimension(TwoDimensions().get());
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "SafeArray dimension mismatch");
    }
}

TEST(CheckOneDimension, RefusesNoArray)
{
    EXPECT_THROW(CheckOneDimension(nullptr), std::runtime_error);
}

TEST(NewStringArray, HoldsTheTextsInTheirOrder)
{
    const std::vector<std::wstring> texts = {L"b", L"", L"a", std::wstring(L"x\0y", 3),
                                             std::wstring(5000, L'z')};
    const UniqueSafeArray array(NewStringArray(texts));
    EXPECT_EQ(TextsOf(array.get()), texts);
}

TEST(NewStringArray, HasTheLowerBoundZero)
{
    const UniqueSafeArray array(NewStringArray({L"one", L"two"}));
    EXPECT_EQ(array->rgsabound[0].lLbound, 0);
    EXPECT_EQ(array->rgsabound[0].cElements, 2u);
}

TEST(NewStringArray, HasElementsOfTypeString)
{
    const UniqueSafeArray array(NewStringArray({L"one"}));
    VARTYPE type = VT_EMPTY;
    ASSERT_EQ(SafeArrayGetVartype(array.get(), &type), S_OK);
    EXPECT_EQ(type, VT_BSTR);
}

TEST(NewStringArray, OfNoTextsIsAnArrayWithoutElements)
{
    const UniqueSafeArray array(NewStringArray({}));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->rgsabound[0].cElements, 0u);
}

TEST(NewStringArray, LeavesOneArrayBehind)
{
    const ArrayCount count;
    const UniqueSafeArray array(NewStringArray({L"one", L"two"}));
    EXPECT_EQ(ArrayCount::alive, 1);
}

TEST(NewStringArray, IsOutOfMemoryWhenATextCannotBeCopied)
{
    const ArrayCount count;
    const ReplacedImport<decltype(SysAllocStringLen)> failing(
        "SysAllocStringLen", [](const OLECHAR*, UINT) -> BSTR { return nullptr; });
    EXPECT_THROW(NewStringArray({L"one"}), std::bad_alloc);
    EXPECT_EQ(ArrayCount::alive, 0);
}

TEST(NewStringArray, FailsWithTheResultOfCopyingTheArray)
{
    const ArrayCount count;
    const ReplacedImport<decltype(SafeArrayCopy)> failing(
        "SafeArrayCopy", [](SAFEARRAY*, SAFEARRAY**) -> HRESULT { return DISP_E_ARRAYISLOCKED; });
    EXPECT_EQ(Guarded([] { NewStringArray({L"one"}); }), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(ArrayCount::alive, 0);
}

TEST(NewStringArray, MayBeDestroyedByItsOwner)
{
    EXPECT_EQ(SafeArrayDestroy(NewStringArray({L"one"})), S_OK);
}
