#include "client/script/script_source.h"

#include "client/foundation/failure.h"
#include "client/script/script_host.h"
#include "client/script/variant.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using namespace std::string_literals;

TEST(ScriptTextTest, IsReadInEveryEncoding)
{
    EXPECT_EQ(ScriptText("a = 1\r\n"), L"a = 1\r\n");
    EXPECT_EQ(ScriptText("\xC3\xA4\xE7\x94\xBB"), L"\u00E4\u753B");
    EXPECT_EQ(ScriptText("\xEF\xBB\xBF\xC3\xA4"), L"\u00E4");
    EXPECT_EQ(ScriptText("\xFF\xFE\xE4\x00\x3B\x75"s), L"\u00E4\u753B");
    EXPECT_EQ(ScriptText(""), L"");
    EXPECT_EQ(ScriptText("\xFF\xFE"), L"");
    EXPECT_EQ(ScriptText("\xEF\xBB\xBF"), L"");
    EXPECT_EQ(ScriptText("\xFF\xFE\x41"), L"") << "half a code unit";
}

TEST(ScriptTextTest, WhatIsNoUnicodeIsTheSystemsCodePage)
{
    wchar_t expected = 0;
    ASSERT_EQ(MultiByteToWideChar(CP_ACP, 0, "\xE4", 1, &expected, 1), 1);
    EXPECT_EQ(ScriptText("\xE4"), std::wstring(1, expected));
}

TEST(ScriptErrorTest, TellsPlaceDescriptionSourceAndCode)
{
    ScriptError error{"Division by zero", "Engine", static_cast<HRESULT>(0x800A000B), 3, 5};
    EXPECT_EQ(error.Text(), "line 3, column 5: Division by zero (Engine, 0x800A000B)");
    error.source.clear();
    error.line = 0;
    EXPECT_EQ(error.Text(), "Division by zero (0x800A000B)");
}

TEST(VariantTest, CopiesWhatIsPassedByReference)
{
    LONG number = 42;
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_I4 | VT_BYREF;
    reference.plVal = &number;
    const Variant copy = Variant::CopyOf(reference);
    number = 0;
    EXPECT_EQ(copy.Number(), 42);
    EXPECT_EQ(copy.Text(), L"42");
}

TEST(VariantTest, AnObjectIsNeededWhereOneIs)
{
    EXPECT_THROW(Variant().Object(), Failure);
    Variant nothing;
    nothing.Place()->vt = VT_DISPATCH;
    EXPECT_THROW(nothing.Object(), Failure);
    EXPECT_THROW(nothing.Number(), Failure);
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
