#include "tests/component/module/error_test.h"

#include <string>

namespace {

using HResultExceptionWhat = ErrorModel;

} // namespace

TEST(HResultExceptionTexts, AreEmptyFromAResultAlone)
{
    const HResultException error(E_ABORT);
    EXPECT_EQ(error.hr, E_ABORT);
    EXPECT_EQ(TextsIn(error), Texts{});
    EXPECT_EQ(error.whatText, "");
}

TEST(HResultExceptionTexts, HaveEveryByteOfAMessageWithItsSign)
{
    std::string bytes;
    std::wstring expected;
    for (int i = 1; i < 0x100; ++i) {
        bytes.push_back(static_cast<char>(i));
        expected.push_back(static_cast<wchar_t>(i < 0x80 ? i : 0xFF00 + i));
    }
    EXPECT_EQ(HResultException(E_ABORT, bytes).description, expected);
}

TEST(HResultExceptionTexts, AreKeptAsGiven)
{
    const HResultException error(E_ABORT, L"a source", L"a description", L"a file.chm", 42);
    EXPECT_EQ(TextsIn(error), (Texts{L"a source", L"a description", L"a file.chm", 42}));
}

TEST(HResultExceptionTexts, AreCopiedAll)
{
    const HResultException error(E_ABORT, L"a source", L"a description", L"a file.chm", 42);
    error.what();
    const HResultException copy(error);
    EXPECT_EQ(copy.hr, E_ABORT);
    EXPECT_EQ(TextsIn(copy), TextsIn(error));
    EXPECT_EQ(copy.whatText, error.whatText);
    EXPECT_NE(copy.whatText, "");
}

TEST_F(HResultExceptionWhat, IsEmptyForSuccess)
{
    EXPECT_STREQ(HResultException(S_OK).what(), "");
    EXPECT_STREQ(HResultException(S_OK, L"source", L"description", L"", 0).what(), "");
}

TEST_F(HResultExceptionWhat, NamesTheResultAndTheSystemsText)
{
    EXPECT_EQ(HResultException(E_INVALIDARG).what(), "HRESULT 80070057: " + SystemText(0x80070057));
}

TEST_F(HResultExceptionWhat, NamesTheResultInUpperCaseWithoutPadding)
{
    EXPECT_EQ(HResultException(1).what(), "HRESULT 1: " + SystemText(1));
    EXPECT_EQ(HResultException(0xABC).what(), "HRESULT ABC: " + SystemText(0xABC));
}

TEST_F(HResultExceptionWhat, HasItsColonWithoutASystemText)
{
    EXPECT_STREQ(HResultException(static_cast<HRESULT>(codeWithoutText)).what(), "HRESULT A0001234: ");
}

TEST_F(HResultExceptionWhat, EndsWithTheDescription)
{
    EXPECT_EQ(HResultException(E_INVALIDARG, "bad").what(),
              "HRESULT 80070057: " + SystemText(0x80070057) + ": bad");
}

TEST_F(HResultExceptionWhat, EndsWithTheSourceOnALineOfItsOwn)
{
    EXPECT_STREQ(HResultException(static_cast<HRESULT>(codeWithoutText), L"here", L"bad", L"", 0).what(),
                 "HRESULT A0001234: : bad\nSource: here");
    EXPECT_STREQ(HResultException(static_cast<HRESULT>(codeWithoutText), L"here", L"", L"", 0).what(),
                 "HRESULT A0001234: \nSource: here");
}

TEST_F(HResultExceptionWhat, HasNoHelpFileAndContext)
{
    EXPECT_STREQ(HResultException(static_cast<HRESULT>(codeWithoutText), L"", L"", L"a file.chm", 42).what(),
                 "HRESULT A0001234: ");
}

TEST_F(HResultExceptionWhat, HoldsTextsOfAnyLength)
{
    for (const size_t length : {1, 4094, 4095, 4096, 4097, 8192, 100000}) {
        const std::string description(length, 'd');
        const std::string source(length, 's');
        EXPECT_EQ(
            HResultException(static_cast<HRESULT>(codeWithoutText), Wide(source), Wide(description), L"", 0)
                .what(),
            "HRESULT A0001234: : " + description + "\nSource: " + source)
            << length;
    }
}

TEST_F(HResultExceptionWhat, IsBuiltAnewByEachCall)
{
    HResultException error(static_cast<HRESULT>(codeWithoutText), "first");
    EXPECT_STREQ(error.what(), "HRESULT A0001234: : first");
    error.description = L"second";
    EXPECT_STREQ(error.what(), "HRESULT A0001234: : second");
    error.hr = S_OK;
    EXPECT_STREQ(error.what(), "");
}

TEST_F(HResultExceptionWhat, IsKeptInTheException)
{
    const HResultException error(static_cast<HRESULT>(codeWithoutText), "bad");
    const char* const text = error.what();
    EXPECT_EQ(text, error.whatText.c_str());
}

TEST_F(HResultExceptionWhat, LeavesOutADescriptionThatTheLocaleCannotSay)
{
    EXPECT_STREQ(HResultException(static_cast<HRESULT>(codeWithoutText), L"here", L"\x4E00", L"", 0).what(),
                 "HRESULT A0001234: : \nSource: here");
}

TEST(Win32ErrorWhat, IsTheMessageAndTheSystemsText)
{
    EXPECT_EQ(win32_error("Doing it failed", ERROR_ACCESS_DENIED).what(),
              "Doing it failed: " + SystemText(ERROR_ACCESS_DENIED));
}

TEST(Win32ErrorWhat, HasItsColonWithoutASystemText)
{
    EXPECT_STREQ(win32_error("Doing it failed", codeWithoutText).what(), "Doing it failed: ");
}

TEST(Win32ErrorWhat, IsAnUnknownExceptionWithoutAMessage)
{
    EXPECT_EQ(win32_error("", ERROR_ACCESS_DENIED).what(),
              "Unknown exception: " + SystemText(ERROR_ACCESS_DENIED));
}

TEST(Win32ErrorWhat, IsTheSameAtEachCall)
{
    const win32_error error("x", codeWithoutText);
    error.what();
    EXPECT_STREQ(error.what(), "x: ");
}

TEST(Win32Error, IsCopiedWithItsMessageAndCode)
{
    const win32_error error("x", codeWithoutText);
    const win32_error copy(error);
    EXPECT_STREQ(copy.what(), "x: ");
    EXPECT_EQ(copy.code(), codeWithoutText);
}

TEST(ThrowLastError, ThrowsTheLastError)
{
    SetLastError(ERROR_BUSY);
    try {
        ThrowLastError("Doing it failed");
    } catch (const win32_error& error) {
        EXPECT_EQ(error.code(), static_cast<DWORD>(ERROR_BUSY));
        EXPECT_EQ(error.what(), "Doing it failed: " + SystemText(ERROR_BUSY));
    }
}
