#include "client/foundation/failure.h"

#include <gtest/gtest.h>

#include <oleauto.h>
#include <tavlo/com.hpp>

#include <string>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

void LeaveErrorObject(const wchar_t* description)
{
    tavlo::com_ptr<ICreateErrorInfo> creator;
    tavlo::com_ptr<IErrorInfo> error;
    ASSERT_HRESULT_SUCCEEDED(CreateErrorInfo(creator.put()));
    ASSERT_HRESULT_SUCCEEDED(creator->SetDescription(const_cast<wchar_t*>(description)));
    ASSERT_HRESULT_SUCCEEDED(creator->QueryInterface(IID_PPV_ARGS(error.put())));
    ASSERT_HRESULT_SUCCEEDED(SetErrorInfo(0, error.get()));
}

TEST(FailureTest, SaysWhatFailedWithTheResultInHexadecimalAndTheSystemsText)
{
    const std::string text = Failure(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "open it").what();
    EXPECT_TRUE(text.starts_with("cannot open it: 0x80070002: ")) << text;
    EXPECT_GT(text.size(), std::string("cannot open it: 0x80070002: ").size());
}

TEST(FailureTest, LeavesAMissingSystemTextOut)
{
    EXPECT_STREQ(Failure(static_cast<HRESULT>(0xA1234567), "do it").what(), "cannot do it: 0xA1234567");
}

TEST(CheckTest, AddsTheErrorObjectsDescription)
{
    ASSERT_NO_FATAL_FAILURE(LeaveErrorObject(L"it is röd"));
    try {
        Check(static_cast<HRESULT>(0xA1234567), "do it");
        FAIL() << "was accepted";
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "cannot do it: 0xA1234567: it is r\xC3\xB6"
                                     "d");
    }
}

TEST(CheckTest, AcceptsEverySuccess)
{
    EXPECT_NO_THROW(Check(S_OK, "do it"));
    EXPECT_NO_THROW(Check(S_FALSE, "do it"));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
