#include "module/error.h"

#include "module/exception_translator.h"
#include "module/handle.h"
#include "tests/component/replaced_import.h"

#include <comdef.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <oaidl.h>
#include <wrl/client.h>

#include <algorithm>
#include <any>
#include <array>
#include <atomic>
#include <cctype>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

using namespace Mardu;
using Microsoft::WRL::ComPtr;

namespace {

/// The texts of an error object.
struct Texts
{
    std::wstring source;
    std::wstring description;
    std::wstring helpFile;
    DWORD helpContext = 0;

    bool operator==(const Texts&) const = default;
};

void PrintTo(const Texts& texts, std::ostream* out)
{
    for (const std::wstring& text : {texts.source, texts.description, texts.helpFile})
        *out << testing::PrintToString(text) << ", ";
    *out << texts.helpContext;
}

std::wstring Taken(BSTR text)
{
    const std::wstring copy(text, SysStringLen(text));
    SysFreeString(text);
    return copy;
}

Texts TextsIn(IErrorInfo* info)
{
    Texts texts;
    BSTR text = nullptr;
    CheckHResult(info->GetSource(&text));
    texts.source = Taken(text);
    CheckHResult(info->GetDescription(&text));
    texts.description = Taken(text);
    CheckHResult(info->GetHelpFile(&text));
    texts.helpFile = Taken(text);
    CheckHResult(info->GetHelpContext(&texts.helpContext));
    return texts;
}

Texts TextsIn(const HResultException& error)
{
    return {error.source, error.description, error.helpFile, error.helpContext};
}

/// Takes the thread's error object; null when it has none.
ComPtr<IErrorInfo> TakeErrorObject()
{
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK)
        info.Reset();
    return info;
}

/// Takes the texts of the thread's error object; nothing when it has none.
std::optional<Texts> TakeTexts()
{
    const ComPtr<IErrorInfo> info = TakeErrorObject();
    return info ? std::optional(TextsIn(info.Get())) : std::nullopt;
}

void SetTexts(const Texts& texts)
{
    CheckHResult(
        SetComErrorInfo(IID_IPersist, texts.source, texts.description, texts.helpFile, texts.helpContext));
}

/// ASCII only.
std::wstring Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// The system's text for a code, asked for without the code under test.
std::string SystemText(DWORD code)
{
    std::array<char, 4096> buffer = {};
    DWORD length = FormatMessageA(FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code,
                                  MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), buffer.data(),
                                  static_cast<DWORD>(buffer.size()), nullptr);
    while (length > 0 && std::isspace(static_cast<unsigned char>(buffer[length - 1])) != 0)
        --length;
    return {buffer.data(), length};
}

/// A code of an application, which the system has no text for.
constexpr DWORD codeWithoutText = 0xA0001234;

/// An error object that answers as it is told to and counts its references.
class ScriptedErrorObject : public IErrorInfo
{
public:
    HRESULT source = S_OK;
    HRESULT description = S_OK;
    HRESULT helpFile = S_OK;
    HRESULT helpContext = S_OK;
    bool textsAreNull = false;
    ULONG references = 1;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        *result = nullptr;
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IErrorInfo))
            return E_NOINTERFACE;
        *result = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    STDMETHODIMP GetGUID(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetSource(BSTR* text) override { return Answer(source, L"source", text); }
    STDMETHODIMP GetDescription(BSTR* text) override { return Answer(description, L"description", text); }
    STDMETHODIMP GetHelpFile(BSTR* text) override { return Answer(helpFile, L"help file", text); }
    STDMETHODIMP GetHelpContext(DWORD* value) override
    {
        *value = 7;
        return helpContext;
    }

private:
    HRESULT Answer(HRESULT result, const wchar_t* value, BSTR* text) const
    {
        *text = SUCCEEDED(result) && !textsAreNull ? SysAllocString(value) : nullptr;
        return result;
    }
};

/// Runs a function whose exception is translated.
HRESULT Translated(const std::function<void()>& raise)
{
    return Guarded([&] { raise(); });
}

/// Runs a function on so many threads at once, each with its number.
void RunTogether(size_t count, const std::function<void(size_t)>& function)
{
    const UniqueHandle start(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::vector<std::thread> threads;
    for (size_t number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            WaitForSingleObject(start.get(), INFINITE);
            function(number);
        });
    SetEvent(start.get());
    for (std::thread& thread : threads)
        thread.join();
}

class ErrorModel : public testing::Test
{
protected:
    ErrorModel() { TakeErrorObject(); }
    ~ErrorModel() override { TakeErrorObject(); }
};

using TranslatedException = ErrorModel;
using HResultExceptionWhat = ErrorModel;
using CheckHResultTest = ErrorModel;
using SetComErrorInfoTest = ErrorModel;
using GuardedTest = ErrorModel;

class ManyFaces : public win32_error, public ATL::CAtlException
{
public:
    ManyFaces() : win32_error("win32", ERROR_ACCESS_DENIED), ATL::CAtlException(E_NOTIMPL) {}
};

class AtlAndHResult : public ATL::CAtlException, public HResultException
{
public:
    AtlAndHResult() : ATL::CAtlException(E_NOTIMPL), HResultException(E_ABORT, "hresult") {}
};

class HResultAndCom : public HResultException, public _com_error
{
public:
    HResultAndCom() : HResultException(E_ABORT, "hresult"), _com_error(E_HANDLE) {}
};

class BadAlloc : public std::bad_alloc
{
public:
    const char* what() const noexcept override { return "alloc"; }
};

class BadCast : public std::bad_cast
{
public:
    const char* what() const noexcept override { return "cast"; }
};

class ComAndBadAlloc : public _com_error, public BadAlloc
{
public:
    ComAndBadAlloc() : _com_error(E_HANDLE) {}
};

class BadAllocAndOutOfRange : public BadAlloc, public std::out_of_range
{
public:
    BadAllocAndOutOfRange() : std::out_of_range("range") {}
};

class OutOfRangeAndInvalidArgument : public std::out_of_range, public std::invalid_argument
{
public:
    OutOfRangeAndInvalidArgument() : std::out_of_range("range"), std::invalid_argument("argument") {}
};

class InvalidArgumentAndBadCast : public std::invalid_argument, public BadCast
{
public:
    InvalidArgumentAndBadCast() : std::invalid_argument("argument") {}
};

enum class ForeignEnumeration
{
    Value
};

void RaiseComErrorWithErrorObject()
{
    SetTexts({L"a source", L"a description", L"a file.chm", 42});
    throw _com_error(E_HANDLE, TakeErrorObject().Detach());
}

struct ExceptionCase
{
    const char* name;
    void (*raise)();
    HRESULT hr;
    Texts texts;
};

void PrintTo(const ExceptionCase& exception, std::ostream* out)
{
    *out << exception.name;
}

Texts Description(const std::string& text)
{
    return {L"", Wide(text), L"", 0};
}

std::vector<ExceptionCase> ExceptionCases()
{
    const std::string denied = ": " + SystemText(ERROR_ACCESS_DENIED);
    return {
        {"Win32Error", [] { throw win32_error("x", ERROR_ACCESS_DENIED); }, static_cast<HRESULT>(0x80070005),
         Description("x" + denied)},
        {"Win32ErrorWithoutMessage", [] { throw win32_error("", ERROR_ACCESS_DENIED); },
         static_cast<HRESULT>(0x80070005), Description("Unknown exception" + denied)},
        {"Win32ErrorOfCode0", [] { throw win32_error("x", 0); }, S_OK, Description("x: " + SystemText(0))},
        {"Win32ErrorOfCode1", [] { throw win32_error("x", 1); }, static_cast<HRESULT>(0x80070001),
         Description("x: " + SystemText(1))},
        {"Win32ErrorAboveSixteenBits", [] { throw win32_error("x", 0x12340005); },
         static_cast<HRESULT>(0x80070005), Description("x: " + SystemText(0x12340005))},
        {"Win32ErrorOfTheLargestCode", [] { throw win32_error("x", 0x7FFFFFFF); },
         static_cast<HRESULT>(0x8007FFFF), Description("x: " + SystemText(0x7FFFFFFF))},
        {"Win32ErrorOfTheSmallestCode", [] { throw win32_error("x", 0x80000000); },
         static_cast<HRESULT>(0x80000000), Description("x: " + SystemText(0x80000000))},
        {"Win32ErrorOfANegativeCode", [] { throw win32_error("x", codeWithoutText); },
         static_cast<HRESULT>(codeWithoutText), Description("x: ")},
        {"Long", [] { throw long{E_NOTIMPL}; }, E_NOTIMPL, {}},
        {"LongOfSuccess", [] { throw long{S_FALSE}; }, S_FALSE, {}},
        {"HResult", [] { throw HRESULT{E_ABORT}; }, E_ABORT, {}},
        {"CAtlException", [] { throw ATL::CAtlException(E_NOTIMPL); }, E_NOTIMPL, {}},
        {"HResultException", [] { throw HResultException(E_ABORT); }, E_ABORT, {}},
        {"HResultExceptionOfSuccess", [] { throw HResultException(S_OK); }, S_OK, {}},
        {"HResultExceptionWithAMessage", [] { throw HResultException(E_ABORT, "a message"); }, E_ABORT,
         Description("a message")},
        {"HResultExceptionWithTexts",
         [] { throw HResultException(E_ABORT, L"a source", L"a description", L"a file.chm", 42); }, E_ABORT,
         Texts{L"a source", L"a description", L"a file.chm", 42}},
        {"ComError", [] { throw _com_error(E_HANDLE); }, E_HANDLE, {}},
        {"ComErrorWithAnErrorObject", RaiseComErrorWithErrorObject, E_HANDLE,
         Texts{L"a source", L"a description", L"a file.chm", 42}},
        {"BadAlloc", [] { throw std::bad_alloc(); }, E_OUTOFMEMORY, Description(std::bad_alloc().what())},
        {"BadArrayNewLength", [] { throw std::bad_array_new_length(); }, E_OUTOFMEMORY,
         Description(std::bad_array_new_length().what())},
        {"OutOfRange", [] { throw std::out_of_range("range"); }, E_INVALIDARG, Description("range")},
        {"InvalidArgument", [] { throw std::invalid_argument("argument"); }, E_INVALIDARG,
         Description("argument")},
        {"BadCast", [] { throw std::bad_cast(); }, E_INVALIDARG, Description(std::bad_cast().what())},
        {"BadAnyCast", [] { throw std::bad_any_cast(); }, E_INVALIDARG,
         Description(std::bad_any_cast().what())},
        {"Exception", [] { throw std::exception(); }, E_FAIL, Description(std::exception().what())},
        {"RuntimeError", [] { throw std::runtime_error("run"); }, E_FAIL, Description("run")},
        {"LogicError", [] { throw std::logic_error("logic"); }, E_FAIL, Description("logic")},
        {"LengthError", [] { throw std::length_error("length"); }, E_FAIL, Description("length")},
        {"EmptyMessage", [] { throw std::runtime_error(""); }, E_FAIL, {}},
        {"BadTypeid", [] { throw std::bad_typeid(); }, E_FAIL, Description(std::bad_typeid().what())},
        {"SystemError", [] { throw std::system_error(std::make_error_code(std::errc::io_error), "system"); },
         E_FAIL, Description(std::system_error(std::make_error_code(std::errc::io_error), "system").what())},
        {"Int", [] { throw 5; }, E_UNEXPECTED, {}},
        {"UnsignedLong", [] { throw 5ul; }, E_UNEXPECTED, {}},
        {"LongLong", [] { throw 5ll; }, E_UNEXPECTED, {}},
        {"Bool", [] { throw true; }, E_UNEXPECTED, {}},
        {"Text", [] { throw "text"; }, E_UNEXPECTED, {}},
        {"String", [] { throw std::string("text"); }, E_UNEXPECTED, {}},
        {"Enumeration", [] { throw ForeignEnumeration::Value; }, E_UNEXPECTED, {}},
        {"Null", [] { throw nullptr; }, E_UNEXPECTED, {}},
        {"PointerToAnException",
         [] {
             static std::runtime_error error("pointed at");
             throw &error;
         },
         E_UNEXPECTED,
         {}},
        {"Win32ErrorBeforeCAtlException", [] { throw ManyFaces(); }, static_cast<HRESULT>(0x80070005),
         Description("win32" + denied)},
        {"CAtlExceptionBeforeHResultException", [] { throw AtlAndHResult(); }, E_NOTIMPL, {}},
        {"HResultExceptionBeforeComError", [] { throw HResultAndCom(); }, E_ABORT, Description("hresult")},
        {"ComErrorBeforeBadAlloc", [] { throw ComAndBadAlloc(); }, E_HANDLE, {}},
        {"BadAllocBeforeOutOfRange", [] { throw BadAllocAndOutOfRange(); }, E_OUTOFMEMORY,
         Description("alloc")},
        {"OutOfRangeBeforeInvalidArgument", [] { throw OutOfRangeAndInvalidArgument(); }, E_INVALIDARG,
         Description("range")},
        {"InvalidArgumentBeforeBadCast", [] { throw InvalidArgumentAndBadCast(); }, E_INVALIDARG,
         Description("argument")},
    };
}

class Exception : public testing::TestWithParam<ExceptionCase>
{
};

} // namespace

TEST_P(Exception, HasItsResult)
{
    EXPECT_EQ(Translated(GetParam().raise), GetParam().hr);
}

TEST_P(Exception, LeavesAnErrorObjectWithItsTexts)
{
    Translated(GetParam().raise);
    EXPECT_EQ(TakeTexts(), GetParam().texts);
}

TEST_P(Exception, LeavesAnErrorObjectOfNoInterface)
{
    Translated(GetParam().raise);
    const ComPtr<IErrorInfo> info = TakeErrorObject();
    ASSERT_NE(info.Get(), nullptr);
    GUID iid = IID_IPersist;
    ASSERT_EQ(info->GetGUID(&iid), S_OK);
    EXPECT_TRUE(IsEqualGUID(iid, GUID_NULL));
}

INSTANTIATE_TEST_SUITE_P(Of, Exception, testing::ValuesIn(ExceptionCases()),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(TranslatedException, ReplacesAnEarlierErrorObject)
{
    SetTexts({L"old", L"old", L"old", 1});
    Translated([] { throw 5; });
    EXPECT_EQ(TakeTexts(), Texts{});
}

TEST_F(TranslatedException, HasBytesOfItsMessageWithTheirSigns)
{
    Translated([] { throw std::runtime_error("a\x7F\x80\xE4\xFF"); });
    EXPECT_EQ(TakeTexts()->description, (std::wstring{L'a', 0x7F, 0xFF80, 0xFFE4, 0xFFFF}));
}

TEST_F(TranslatedException, IsThereForTheThreadThatThrewIt)
{
    std::thread([] { Translated([] { throw std::runtime_error("elsewhere"); }); }).join();
    EXPECT_FALSE(TakeTexts());
}

TEST_F(TranslatedException, ReleasesTheErrorObjectOfAComError)
{
    ScriptedErrorObject object;
    Translated([&] { throw _com_error(E_HANDLE, &object, true); });
    EXPECT_EQ(object.references, 1u);
}

namespace {

struct UnreadableCase
{
    const char* name;
    HRESULT ScriptedErrorObject::*getter;
};

void PrintTo(const UnreadableCase& unreadable, std::ostream* out)
{
    *out << unreadable.name;
}

class UnreadableText : public testing::TestWithParam<UnreadableCase>
{
protected:
    HRESULT TranslatedWith(HRESULT failure)
    {
        object.*GetParam().getter = failure;
        return Translated([&] { throw _com_error(E_HANDLE, &object, true); });
    }

    ScriptedErrorObject object;
};

} // namespace

TEST_P(UnreadableText, ForLackOfMemoryIsUnexpected)
{
    EXPECT_EQ(TranslatedWith(E_OUTOFMEMORY), E_UNEXPECTED);
    EXPECT_EQ(TakeTexts(), Texts{});
    EXPECT_EQ(object.references, 1u);
}

TEST_P(UnreadableText, ForAnotherReasonIsEmpty)
{
    EXPECT_EQ(TranslatedWith(E_FAIL), E_HANDLE);
    Texts expected{L"source", L"description", L"help file", 7};
    const std::string name = GetParam().name;
    (name == "Source"        ? expected.source
     : name == "Description" ? expected.description
                             : expected.helpFile)
        .clear();
    EXPECT_EQ(TakeTexts(), expected);
}

INSTANTIATE_TEST_SUITE_P(Of, UnreadableText,
                         testing::Values(UnreadableCase{"Source", &ScriptedErrorObject::source},
                                         UnreadableCase{"Description", &ScriptedErrorObject::description},
                                         UnreadableCase{"HelpFile", &ScriptedErrorObject::helpFile}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(TranslatedException, HasNoHelpContextWhenItCannotBeRead)
{
    ScriptedErrorObject object;
    object.helpContext = E_FAIL;
    Translated([&] { throw _com_error(E_HANDLE, &object, true); });
    EXPECT_EQ(TakeTexts()->helpContext, 0u);
}

TEST_F(TranslatedException, HasEmptyTextsForNullOnes)
{
    ScriptedErrorObject object;
    object.textsAreNull = true;
    EXPECT_EQ(Translated([&] { throw _com_error(E_HANDLE, &object, true); }), E_HANDLE);
    EXPECT_EQ(TakeTexts(), (Texts{L"", L"", L"", 7}));
}

TEST_F(TranslatedException, KeepsItsResultWhenThereIsNoErrorObject)
{
    const ReplacedImport<decltype(CreateErrorInfo)> failing(
        "CreateErrorInfo", [](ICreateErrorInfo**) -> HRESULT { return E_OUTOFMEMORY; });
    EXPECT_EQ(Translated([] { throw std::invalid_argument("argument"); }), E_INVALIDARG);
    EXPECT_FALSE(TakeTexts());
}

TEST_F(TranslatedException, HasTheErrorObjectOfItsOwnThread)
{
    std::array<int, 4> wrong = {};
    RunTogether(wrong.size(), [&](size_t number) {
        const HRESULT own = E_FAIL - static_cast<HRESULT>(number);
        for (int round = 0; round < 1000; ++round) {
            const std::string text = std::to_string(number) + "." + std::to_string(round);
            const HRESULT hr = Translated([&] { throw HResultException(own, text); });
            if (hr != own || TakeTexts() != Description(text))
                ++wrong[number];
        }
    });
    EXPECT_THAT(wrong, testing::Each(0));
}

namespace {

/// An exception whose text is asked for while other threads may ask for another's.
class SlowText : public std::exception
{
public:
    const char* what() const noexcept override
    {
        const int now = ++inside;
        for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
        }
        for (int i = 0; i < 100; ++i)
            SwitchToThread();
        --inside;
        return "slow";
    }

    static inline std::atomic<int> inside = 0;
    static inline std::atomic<int> most = 0;
};

} // namespace

TEST_F(TranslatedException, IsTheOnlyOneThatIsTranslatedAtATime)
{
    SlowText::most = 0;
    RunTogether(4, [](size_t) {
        for (int round = 0; round < 50; ++round)
            Translated([] { throw SlowText(); });
    });
    EXPECT_EQ(SlowText::most, 1);
}

TEST_F(GuardedTest, ReturnsTheResultOfItsBody)
{
    EXPECT_EQ(Guarded([] { return S_FALSE; }), S_FALSE);
    EXPECT_EQ(Guarded([] { return E_PENDING; }), E_PENDING);
}

TEST_F(GuardedTest, SucceedsWithABodyThatReturnsNothing)
{
    EXPECT_EQ(Guarded([] {}), S_OK);
}

TEST_F(GuardedTest, LeavesTheErrorObjectAloneUnlessItsBodyThrows)
{
    Guarded([] { return E_PENDING; });
    EXPECT_FALSE(TakeTexts());
    SetTexts({L"s", L"d", L"h", 1});
    Guarded([] {});
    EXPECT_EQ(TakeTexts(), (Texts{L"s", L"d", L"h", 1}));
}

TEST_F(GuardedTest, TranslatesWhatABodyWithAResultThrows)
{
    EXPECT_EQ(Guarded([]() -> HRESULT { throw std::invalid_argument("argument"); }), E_INVALIDARG);
    EXPECT_EQ(TakeTexts(), Description("argument"));
}

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

namespace {

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
