#include "tests/component/module/error_test.h"
#include "tests/component/replaced_import.h"

#include <string>

TEST(SystemMessage, IsTheSystemsTextWithoutItsLineEnd)
{
    for (const DWORD code : {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY}) {
        EXPECT_NE(FormatSystemMessage(code), "") << code;
        EXPECT_EQ(FormatSystemMessage(code), SystemText(code)) << code;
    }
}

TEST(SystemMessage, IsEmptyForAnUnknownCode)
{
    EXPECT_EQ(FormatSystemMessage(codeWithoutText), "");
}

namespace {

/// A system whose message is any text, and that sees its memory come back.
class ScriptedSystem
{
public:
    explicit ScriptedSystem(const std::string& text)
    {
        message = text;
        freed = nullptr;
    }

    static inline std::string message;
    static inline DWORD flags = 0;
    static inline DWORD code = 0;
    static inline DWORD language = 0;
    static inline HLOCAL freed = nullptr;

    static HLOCAL Memory() { return message.data(); }

private:
    // The last parameter is the platform's va_list*.
    using FormatFunction = DWORD(DWORD, LPCVOID, DWORD, DWORD, LPSTR, DWORD, char**);

    ReplacedImport<FormatFunction> format_{
        "FormatMessageA",
        [](DWORD asked, LPCVOID, DWORD askedCode, DWORD askedLanguage, LPSTR result, DWORD, char**) -> DWORD {
            flags = asked;
            code = askedCode;
            language = askedLanguage;
            *reinterpret_cast<char**>(result) = message.data();
            return static_cast<DWORD>(message.size());
        }};
    ReplacedImport<decltype(LocalFree)> free_{"LocalFree", [](HLOCAL memory) -> HLOCAL {
                                                  freed = memory;
                                                  return nullptr;
                                              }};
};

} // namespace

TEST(SystemMessage, LosesAllWhiteSpaceAtItsEndAndNoneElsewhere)
{
    const ScriptedSystem system(" two \t words. \t\v\f\r\n\r\n");
    EXPECT_EQ(FormatSystemMessage(5), " two \t words.");
}

TEST(SystemMessage, MayHaveBytesAboveAscii)
{
    const ScriptedSystem system("Zugriff verweigert \xFC\xE4\r\n");
    EXPECT_EQ(FormatSystemMessage(5), "Zugriff verweigert \xFC\xE4");
}

TEST(SystemMessage, OfWhiteSpaceAloneIsEmpty)
{
    const ScriptedSystem system(" \r\n");
    EXPECT_EQ(FormatSystemMessage(5), "");
}

TEST(SystemMessage, IsAskedForInTheUsersLanguageWithoutInserts)
{
    const ScriptedSystem system("text");
    FormatSystemMessage(0x80070057);
    EXPECT_EQ(ScriptedSystem::flags, 0x1300u);
    EXPECT_EQ(ScriptedSystem::language, 0x400u);
    EXPECT_EQ(ScriptedSystem::code, 0x80070057u);
}

TEST(SystemMessage, IsFreed)
{
    const ScriptedSystem system("text");
    FormatSystemMessage(5);
    EXPECT_EQ(ScriptedSystem::freed, ScriptedSystem::Memory());
}
