#include "tests/component/module/error_test.h"
#include "tests/component/replaced_import.h"

#include <gmock/gmock.h>

#include <any>
#include <array>
#include <atomic>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

using TranslatedException = ErrorModel;
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
