#include "tests/component/module/error_test.h"
#include "tests/component/replaced_import.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

using CheckHResultTest = ErrorModel;
using SetComErrorInfoTest = ErrorModel;

/// What CheckHResult throws; nothing when it passes.
std::optional<HResultException> CheckFailure(HRESULT hr)
{
    try {
        CheckHResult(hr);
        return std::nullopt;
    } catch (const HResultException& error) {
        return error;
    }
}

} // namespace

TEST_F(CheckHResultTest, PassesEverySuccess)
{
    for (const HRESULT hr : {S_OK, S_FALSE, HRESULT{0x7FFFFFFF}})
        EXPECT_FALSE(CheckFailure(hr)) << hr;
}

TEST_F(CheckHResultTest, LeavesTheErrorObjectOfASuccess)
{
    SetTexts({L"s", L"d", L"h", 1});
    CheckHResult(S_FALSE);
    EXPECT_EQ(TakeTexts(), (Texts{L"s", L"d", L"h", 1}));
}

TEST_F(CheckHResultTest, ThrowsEveryFailure)
{
    for (const HRESULT hr : {E_FAIL, HRESULT{-1}, static_cast<HRESULT>(0x80000000)})
        EXPECT_EQ(CheckFailure(hr)->hr, hr);
}

TEST_F(CheckHResultTest, ThrowsTheTextsOfTheErrorObject)
{
    SetTexts({L"a source", L"a description", L"a file.chm", 42});
    EXPECT_EQ(TextsIn(*CheckFailure(E_ABORT)), (Texts{L"a source", L"a description", L"a file.chm", 42}));
}

TEST_F(CheckHResultTest, TakesTheErrorObjectAway)
{
    SetTexts({L"s", L"d", L"h", 1});
    CheckFailure(E_ABORT);
    EXPECT_FALSE(TakeTexts());
}

TEST_F(CheckHResultTest, ThrowsNoTextsWithoutAnErrorObject)
{
    EXPECT_EQ(TextsIn(*CheckFailure(E_ABORT)), Texts{});
}

TEST_F(CheckHResultTest, ReleasesTheErrorObject)
{
    ScriptedErrorObject object;
    SetErrorInfo(0, &object);
    CheckFailure(E_ABORT);
    EXPECT_EQ(object.references, 1u);
}

TEST_F(SetComErrorInfoTest, MakesTheErrorObjectOfTheThread)
{
    EXPECT_EQ(SetComErrorInfo(IID_IPersist, L"a source", L"a description", L"a file.chm", 42), S_OK);
    const ComPtr<IErrorInfo> info = TakeErrorObject();
    GUID iid = {};
    ASSERT_EQ(info->GetGUID(&iid), S_OK);
    EXPECT_TRUE(IsEqualGUID(iid, IID_IPersist));
    EXPECT_EQ(TextsIn(info.Get()), (Texts{L"a source", L"a description", L"a file.chm", 42}));
}

namespace {

/// An error object to be filled that records the calls and lets one of them fail.
class ScriptedCreator : public ICreateErrorInfo
{
public:
    static constexpr HRESULT failure = static_cast<HRESULT>(0x80041234);

    static inline std::string failing;
    static inline std::vector<std::string> calls;
    static inline ULONG references = 0;
    static inline bool gotNullText = false;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        *result = nullptr;
        const HRESULT hr = Call(IsEqualIID(iid, IID_IErrorInfo) ? "IErrorInfo" : "other interface");
        if (FAILED(hr))
            return hr;
        *result = &object;
        object.AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP SetGUID(REFGUID) override { return Call("SetGUID"); }
    STDMETHODIMP SetSource(LPOLESTR text) override { return CallWith("SetSource", text); }
    STDMETHODIMP SetDescription(LPOLESTR text) override { return CallWith("SetDescription", text); }
    STDMETHODIMP SetHelpFile(LPOLESTR text) override { return CallWith("SetHelpFile", text); }
    STDMETHODIMP SetHelpContext(DWORD) override { return Call("SetHelpContext"); }

    static HRESULT Call(const char* call)
    {
        calls.emplace_back(call);
        return failing == call ? failure : S_OK;
    }

    static inline ScriptedErrorObject object;

private:
    static HRESULT CallWith(const char* call, const wchar_t* text)
    {
        gotNullText = gotNullText || text == nullptr;
        return Call(call);
    }
};

const char* const steps[] = {"CreateErrorInfo", "SetGUID",        "SetSource",  "SetDescription",
                             "SetHelpFile",     "SetHelpContext", "IErrorInfo", "SetErrorInfo"};

class ErrorObjectStep : public testing::TestWithParam<const char*>
{
protected:
    ErrorObjectStep()
    {
        ScriptedCreator::failing = GetParam();
        ScriptedCreator::calls.clear();
        ScriptedCreator::references = 0;
        ScriptedCreator::gotNullText = false;
        ScriptedCreator::object.references = 1;
    }

    ReplacedImport<decltype(CreateErrorInfo)> creating{
        "CreateErrorInfo", [](ICreateErrorInfo** result) -> HRESULT {
            static ScriptedCreator creator;
            *result = nullptr;
            const HRESULT hr = ScriptedCreator::Call("CreateErrorInfo");
            if (SUCCEEDED(hr)) {
                creator.AddRef();
                *result = &creator;
            }
            return hr;
        }};
    ReplacedImport<decltype(SetErrorInfo)> setting{
        "SetErrorInfo", [](ULONG, IErrorInfo*) -> HRESULT { return ScriptedCreator::Call("SetErrorInfo"); }};
};

} // namespace

TEST_P(ErrorObjectStep, GivesItsResultAndIsTheLast)
{
    EXPECT_EQ(SetComErrorInfo(GUID_NULL, L"", L"", L"", 0), ScriptedCreator::failure);
    const auto* const end = std::find(std::begin(steps), std::end(steps), std::string(GetParam())) + 1;
    EXPECT_THAT(ScriptedCreator::calls, testing::ElementsAreArray(std::begin(steps), end));
}

TEST_P(ErrorObjectStep, LeavesNoReferenceWhenItFails)
{
    SetComErrorInfo(GUID_NULL, L"", L"", L"", 0);
    EXPECT_EQ(ScriptedCreator::references, 0u);
    EXPECT_EQ(ScriptedCreator::object.references, 1u);
}

TEST_P(ErrorObjectStep, ChangesNoTranslatedResultWhenItFails)
{
    EXPECT_EQ(Translated([] { throw std::invalid_argument("argument"); }), E_INVALIDARG);
}

TEST_P(ErrorObjectStep, GetsEmptyTextsAsTexts)
{
    ScriptedCreator::failing.clear();
    EXPECT_EQ(SetComErrorInfo(GUID_NULL, L"", L"", L"", 0), S_OK);
    EXPECT_FALSE(ScriptedCreator::gotNullText);
}

INSTANTIATE_TEST_SUITE_P(Of, ErrorObjectStep, testing::ValuesIn(steps),
                         [](const auto& tested) { return std::string(tested.param); });
