#include "module/foreign_call.h"

#include "module/error.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using namespace Mardu;

namespace {

[[noreturn]] HRESULT RaiseOf(DWORD code)
{
    RaiseException(code, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    std::abort();
}

HResultException FailureOf(DWORD code)
{
    try {
        CallForeign([&] { return RaiseOf(code); });
    } catch (const HResultException& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return HResultException(S_OK);
}

/// Ends the process with the code of what nobody has handled.
LONG CALLBACK EndWithCode(EXCEPTION_POINTERS* unhandled)
{
    TerminateProcess(GetCurrentProcess(), unhandled->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

/// For a process of its own: calls it behind the frame, and exits with 0 should that return.
template <class Call>
[[noreturn]] void CallAndExit(Call call)
{
    SetUnhandledExceptionFilter(EndWithCode);
    Guarded([&] { return CallForeign(call); });
    TerminateProcess(GetCurrentProcess(), 0);
    std::abort();
}

struct CountedObject
{
    explicit CountedObject(int& count) : gone(count) {}
    ~CountedObject() { ++gone; }
    int& gone;
};

} // namespace

TEST(CallForeign, GivesWhatTheCallGives)
{
    for (const HRESULT hr : {S_OK, S_FALSE, E_FAIL})
        EXPECT_EQ(CallForeign([&] { return hr; }), hr);
}

TEST(CallForeign, ThrowsForWhatProgramsRaise)
{
    for (const DWORD code : {0xE06D7363ul, 0xE0434352ul, 0x0EEDFADEul, 0xC06D007Eul, 0x6BAul, 0ul}) {
        const HResultException error = FailureOf(code);
        EXPECT_EQ(error.hr, E_UNEXPECTED) << std::hex << code;
    }
    EXPECT_EQ(FailureOf(0xE06D7363).description, L"The called object raised the exception 0xE06D7363");
}

TEST(CallForeign, KeepsTheCallersVariables)
{
    // Many, so that some are in registers that the call must restore.
    volatile double seed = 0.5;
    double numbers[12];
    long long whole[8];
    for (int i = 0; i < 12; ++i)
        numbers[i] = seed * i;
    for (int i = 0; i < 8; ++i)
        whole[i] = static_cast<long long>(seed * 2) << i;
    for (int round = 0; round < 1000; ++round) {
        EXPECT_EQ(FailureOf(0xE06D7363).hr, E_UNEXPECTED);
        for (int i = 0; i < 12; ++i)
            numbers[i] += seed;
        for (int i = 0; i < 8; ++i)
            whole[i] += 1;
    }
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(numbers[i], 0.5 * i + 500);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(whole[i], (1ll << i) + 1000);
}

TEST(CallForeign, LetsExceptionsOfThisCompilerThrough)
{
    int gone = 0;
    const auto call = [&]() -> HRESULT {
        const CountedObject inside(gone);
        throw std::out_of_range("as it was");
    };
    try {
        const CountedObject outside(gone);
        CallForeign(call);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "as it was");
    }
    EXPECT_EQ(gone, 2);
    EXPECT_THROW(CallForeign([]() -> HRESULT { throw 17; }), int);
}

TEST(CallForeign, MayBeNested)
{
    const HRESULT hr = CallForeign([] {
        EXPECT_EQ(Guarded([] { return CallForeign([] { return RaiseOf(0xE06D7363); }); }), E_UNEXPECTED);
        return CallForeign([] { return S_FALSE; });
    });
    EXPECT_EQ(hr, S_FALSE);
    // What the inner frame throws passes through the outer one.
    EXPECT_THROW(CallForeign([] { return CallForeign([] { return RaiseOf(0xE06D7363); }); }),
                 HResultException);
}

TEST(CallForeign, KnowsWhatProgramsRaise)
{
    for (const DWORD code : {0xE06D7363ul, 0xE0434352ul, 0xE0434F4Dul, 0xE0000001ul, 0xA0000001ul,
                             0x0EEDFADEul, 0x0EEFFACEul, 0xC06D007Eul, 0xC06D007Ful, 0x6BAul, 5ul, 0ul})
        EXPECT_TRUE(IsRaisedBySoftware(code)) << std::hex << code;
    for (const DWORD code :
         {EXCEPTION_ACCESS_VIOLATION, EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_PRIV_INSTRUCTION,
          EXCEPTION_INT_DIVIDE_BY_ZERO, EXCEPTION_INT_OVERFLOW, EXCEPTION_FLT_DIVIDE_BY_ZERO,
          EXCEPTION_FLT_INVALID_OPERATION, EXCEPTION_STACK_OVERFLOW, EXCEPTION_BREAKPOINT,
          EXCEPTION_SINGLE_STEP, EXCEPTION_GUARD_PAGE, EXCEPTION_IN_PAGE_ERROR,
          EXCEPTION_DATATYPE_MISALIGNMENT, EXCEPTION_ARRAY_BOUNDS_EXCEEDED, EXCEPTION_INVALID_HANDLE,
          EXCEPTION_NONCONTINUABLE_EXCEPTION})
        EXPECT_FALSE(IsRaisedBySoftware(code)) << std::hex << code;
    // A damaged heap or stack, an interrupt from the console, messages to a debugger.
    for (const DWORD code :
         {0xC0000374ul, 0xC0000409ul, 0x40010005ul, 0x40010006ul, 0x4001000Aul, 0x406D1388ul})
        EXPECT_FALSE(IsRaisedBySoftware(code)) << std::hex << code;
    for (const DWORD code : {0x20474343ul, 0x21474343ul, 0x22474343ul})
        EXPECT_FALSE(IsRaisedBySoftware(code)) << "of this compiler";
}

// The codes are those of the process's end: nobody was told that the call had failed.

TEST(CallForeignDeathTest, SwallowsNoFaultOfTheProcessor)
{
    const auto endsWith = [](DWORD code) {
        return [code](int status) { return static_cast<DWORD>(status) == code; };
    };
    EXPECT_EXIT(CallAndExit([]() -> HRESULT { return *reinterpret_cast<volatile HRESULT*>(8); }),
                endsWith(EXCEPTION_ACCESS_VIOLATION), "");
    EXPECT_EXIT(CallAndExit([]() -> HRESULT { __builtin_trap(); }), endsWith(EXCEPTION_ILLEGAL_INSTRUCTION),
                "");
    EXPECT_EXIT(CallAndExit([] {
                    volatile int zero = 0;
                    return static_cast<HRESULT>(17 / zero);
                }),
                endsWith(EXCEPTION_INT_DIVIDE_BY_ZERO), "");
    EXPECT_EXIT(CallAndExit([] {
                    DebugBreak();
                    return S_OK;
                }),
                endsWith(EXCEPTION_BREAKPOINT), "");
}
