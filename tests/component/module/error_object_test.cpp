// Error objects of others that cannot be read, and errors without memory.
#include "tests/component/module/error_test.h"
#include "tests/component/no_memory.h"

#include <new>
#include <stdexcept>

namespace {

/// What a check of this failure throws, with this error object on the thread.
template <class ErrorObject>
std::optional<HResultException> Checked(HRESULT hr, ErrorObject& object)
{
    SetErrorInfo(0, &object);
    try {
        CheckHResult(hr);
    } catch (const HResultException& error) {
        return error;
    } catch (...) {
        return std::nullopt;
    }
    return std::nullopt;
}

/// Throws where it should answer.
class ThrowingErrorObject final : public ScriptedErrorObject
{
public:
    STDMETHODIMP GetSource(BSTR*) override { throw std::runtime_error("source"); }
    STDMETHODIMP GetDescription(BSTR*) override { throw 5; }
    STDMETHODIMP GetHelpFile(BSTR*) override { throw std::bad_alloc(); }
    STDMETHODIMP GetHelpContext(DWORD*) override { throw 6L; }
};

using CheckedFailure = ErrorModel;
using ErrorsWithoutMemory = ErrorModel;

} // namespace

TEST_F(CheckedFailure, KeepsItsResultWhateverCannotBeRead)
{
    for (const HRESULT failure : {E_OUTOFMEMORY, E_FAIL}) {
        ScriptedErrorObject object;
        object.source = object.description = object.helpFile = object.helpContext = failure;
        const auto error = Checked(E_HANDLE, object);
        ASSERT_TRUE(error) << failure;
        EXPECT_EQ(error->hr, E_HANDLE);
        EXPECT_EQ(TextsIn(*error), Texts{});
        EXPECT_EQ(object.references, 1u);
    }
}

TEST_F(CheckedFailure, KeepsTheTextsThatCanBeRead)
{
    ScriptedErrorObject object;
    object.source = E_OUTOFMEMORY;
    object.helpContext = E_OUTOFMEMORY;
    const auto error = Checked(E_HANDLE, object);
    ASSERT_TRUE(error);
    EXPECT_EQ(TextsIn(*error), (Texts{L"", L"description", L"help file", 0}));
}

TEST_F(CheckedFailure, KeepsItsResultWhateverAGetterThrows)
{
    ThrowingErrorObject object;
    const auto error = Checked(E_HANDLE, object);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->hr, E_HANDLE);
    EXPECT_EQ(TextsIn(*error), Texts{});
    EXPECT_EQ(object.references, 1u);
}

TEST_F(ErrorsWithoutMemory, OfAComErrorAreUnexpected)
{
    ScriptedErrorObject object;
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = Guarded([&] { throw _com_error(E_HANDLE, &object, true); });
    }
    EXPECT_EQ(hr, E_UNEXPECTED) << "its texts cannot be copied";
    EXPECT_EQ(TakeTexts(), Texts{});
    EXPECT_EQ(object.references, 1u);
}

TEST_F(ErrorsWithoutMemory, OfAWideningAreUnexpected)
{
    const win32_error error("A text that is long enough to need memory", ERROR_ACCESS_DENIED);
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = Guarded([&] { throw win32_error(error); });
    }
    EXPECT_EQ(hr, E_UNEXPECTED);
    EXPECT_EQ(TakeTexts(), Texts{});
}

TEST_F(ErrorsWithoutMemory, AreSaidToBeThat)
{
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = Guarded([] { throw std::bad_alloc(); });
    }
    EXPECT_EQ(hr, E_OUTOFMEMORY);
    EXPECT_EQ(TakeTexts(), Texts{});
}

TEST_F(ErrorsWithoutMemory, EndNothing)
{
    HRESULT hr = S_OK;
    {
        const NoMemory exhausted;
        hr = Guarded([] { throw 1; });
    }
    EXPECT_EQ(hr, E_UNEXPECTED);
}
