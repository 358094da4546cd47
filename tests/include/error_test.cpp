#include "tests/include/wrapper_test.h"

#include <objbase.h>

namespace {

/// Leaves an error object on the thread.
void Publish(const wchar_t* description, const wchar_t* source)
{
    ComPtr<ICreateErrorInfo> created;
    ASSERT_HR(S_OK, CreateErrorInfo(&created));
    created->SetDescription(const_cast<wchar_t*>(description));
    created->SetSource(const_cast<wchar_t*>(source));
    ComPtr<IErrorInfo> info;
    ASSERT_HR(S_OK, created.As(&info));
    SetErrorInfo(0, info.Get());
}

} // namespace

TEST(WrapperError, CarriesTheErrorObjectAndTakesItAway)
{
    Publish(L"Gr\u00fcn ist nicht Rot", L"A test");
    const auto error = ErrorOf([] { tavlo::check(E_ACCESSDENIED, "paint"); });
    EXPECT_HR(E_ACCESSDENIED, error.code());
    EXPECT_EQ(L"Gr\u00fcn ist nicht Rot", error.description());
    EXPECT_EQ(L"A test", error.source());
    EXPECT_STREQ("paint: Gr\xC3\xBCn ist nicht Rot (0x80070005)", error.what());
    EXPECT_EQ(L"", TakeErrorDescription()) << "the next failure must not find it";
}

TEST(WrapperError, HasTheSystemsTextWithoutAnErrorObject)
{
    SetErrorInfo(0, nullptr);
    const auto error = ErrorOf([] { tavlo::check(E_ACCESSDENIED, "paint"); });
    EXPECT_EQ(L"", error.description());
    const std::string text = error.what();
    EXPECT_EQ(0u, text.find("paint: ")) << text;
    EXPECT_EQ(text.size() - 13, text.find(" (0x80070005)")) << text;
    EXPECT_GT(text.size(), 20u) << "the system's text is missing";
    EXPECT_EQ(std::string::npos, text.find_first_of("\r\n")) << text;
}

TEST(WrapperError, HasTheNumberWhenNothingElseIsKnown)
{
    SetErrorInfo(0, nullptr);
    const HRESULT nobodys = static_cast<HRESULT>(0x8ABC0123);
    EXPECT_STREQ("paint (0x8ABC0123)", ErrorOf([&] { tavlo::check(nobodys, "paint"); }).what());
    EXPECT_STREQ("(0x8ABC0123)", tavlo::error(nobodys).what());
}

TEST(WrapperError, SuccessesAreReturned)
{
    EXPECT_HR(S_OK, tavlo::check(S_OK, ""));
    EXPECT_HR(S_FALSE, tavlo::check(S_FALSE, ""));
}

TEST(WrapperError, TellsTheComponentsOwnText)
{
    const auto image = tavlo::image::create(Grey(4, 3));
    const auto complex =
        tavlo::image::create({.width = 4, .height = 3, .encoding = Tavlo_Complex_Float, .bits = 64});
    const auto error = ErrorOf([&] { tavlo::recoder().recode(image.read(), complex.write()); });
    EXPECT_HR(E_FAIL, error.code());
    EXPECT_EQ(0u, error.description().find(L"No recoder implemented from ")) << error.what();
    EXPECT_EQ(0u, std::string(error.what()).find("recode: No recoder implemented from ")) << error.what();
}
