#include "tests/component/shared/sections/private_namespace_test.h"

#include <gmock/gmock.h>

#include <deque>
#include <optional>

using testing::ElementsAreArray;

namespace {

struct MutexWait
{
    const char* name;
    std::deque<DWORD> results;
    const char* type;
    const char* text; ///< without the system's
};

void PrintTo(const MutexWait& wait, std::ostream* out)
{
    *out << wait.name;
}

const MutexWait failingWaits[] = {
    {"Timeout",
     {WAIT_TIMEOUT},
     "runtime_error",
     "CreateOrOpenPrivateNamespace failed : Could not take the ownership of the Mutex before timeout."},
    {"Failure", {WAIT_FAILED}, "win32_error", "CreateOrOpenPrivateNamespace failed"},
    {"AbandonedTwice",
     {WAIT_ABANDONED, WAIT_ABANDONED},
     "runtime_error",
     "CreateOrOpenPrivateNamespace failed : Mutex wait abandoned twice"},
    {"TimeoutAfterAbandoned",
     {WAIT_ABANDONED, WAIT_TIMEOUT},
     "runtime_error",
     "CreateOrOpenPrivateNamespace failed : Could not take the ownership of the Mutex before timeout."},
    {"FailureAfterAbandoned",
     {WAIT_ABANDONED, WAIT_FAILED},
     "win32_error",
     "CreateOrOpenPrivateNamespace failed"},
    {"UnknownResult", {WAIT_IO_COMPLETION}, "win32_error", "CreatePrivateNamespace failed"},
    {"UnknownResultAfterAbandoned",
     {WAIT_ABANDONED, WAIT_IO_COMPLETION},
     "win32_error",
     "CreatePrivateNamespace failed"},
};

class MutexWaitFailure : public testing::TestWithParam<MutexWait>
{
protected:
    MutexWaitFailure() { platform.waitResults = GetParam().results; }

    Platform platform;
};

} // namespace

TEST_P(MutexWaitFailure, HasItsText)
{
    const bool isPlatformError = GetParam().type == std::string("win32_error");
    const Failure failure = FailureOf(platform.Parameters());
    EXPECT_EQ(failure.type, GetParam().type);
    EXPECT_EQ(failure.text, isPlatformError ? WithSystemText(GetParam().text) : GetParam().text);
}

TEST_P(MutexWaitFailure, ReachesACallerWithItsTextAsDescription)
{
    const bool isPlatformError = GetParam().type == std::string("win32_error");
    const PrivateNamespaceParameters parameters = platform.Parameters();
    EXPECT_EQ(Guarded([&] { PrivateNamespace(Platform::Api(), parameters); }),
              isPlatformError ? HRESULT_FROM_WIN32(failureCode) : E_FAIL);
    try {
        CheckHResult(E_FAIL);
        FAIL();
    } catch (const HResultException& error) {
        const std::string text = isPlatformError ? WithSystemText(GetParam().text) : GetParam().text;
        EXPECT_EQ(error.description, std::wstring(text.begin(), text.end()));
    }
}

TEST_P(MutexWaitFailure, NeitherOpensNorCreates)
{
    FailureOf(platform.Parameters());
    EXPECT_THAT(platform.calls, testing::Not(testing::Contains("OpenPrivateNamespace")));
    EXPECT_THAT(platform.calls, testing::Not(testing::Contains("CreatePrivateNamespace")));
}

TEST_P(MutexWaitFailure, FreesTheDescriptorAndDeletesTheBoundary)
{
    FailureOf(platform.Parameters());
    EXPECT_THAT(platform.calls,
                testing::IsSupersetOf({"CloseHandle", "LocalFree", "DeleteBoundaryDescriptor"}));
}

TEST_P(MutexWaitFailure, ReleasesWhatItAcquired)
{
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    PrivateNamespaceParameters parameters = platform.Parameters();
    // An abandoned result is ownership, as on the real platform.
    parameters.wait = [wait = parameters.wait](HANDLE handle, DWORD timeout) {
        const DWORD result = wait(handle, timeout);
        if (result == WAIT_ABANDONED)
            WaitForSingleObject(handle, generousLimit);
        SetLastError(failureCode);
        return result;
    };
    FailureOf(parameters);
    EXPECT_TRUE(IsFree(mutex.get()));
}

INSTANTIATE_TEST_SUITE_P(Of, MutexWaitFailure, testing::ValuesIn(failingWaits),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(PrivateNamespaceMutex, IsWaitedForTenSecondsWhileAnotherHoldsIt)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    const MutexHolder holder(mutex.get());
    PrivateNamespaceParameters parameters;
    parameters.mutexName = platform.mutexName;

    const ULONGLONG start = GetTickCount64();
    const Failure failure = FailureOf(parameters);
    const ULONGLONG elapsed = GetTickCount64() - start;

    EXPECT_EQ(failure.type, "runtime_error");
    EXPECT_EQ(
        failure.text,
        "CreateOrOpenPrivateNamespace failed : Could not take the ownership of the Mutex before timeout.");
    EXPECT_GE(elapsed, 9900u);
}

TEST(PrivateNamespaceMutex, IsTakenAsSoonAsItsHolderReleasesIt)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    std::optional<MutexHolder> holder(std::in_place, mutex.get());
    PrivateNamespaceParameters parameters = platform.Parameters();
    parameters.mutexTimeout = generousLimit;
    parameters.wait = [&](HANDLE handle, DWORD timeout) {
        EXPECT_EQ(WaitForSingleObject(handle, 0), static_cast<DWORD>(WAIT_TIMEOUT));
        holder.reset();
        return WaitForSingleObject(handle, timeout);
    };
    EXPECT_EQ(FailureOf(parameters).type, "none");
}

TEST(PrivateNamespaceMutex, MayBeAbandonedOnceByAThread)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    AbandonInThread(mutex.get());
    EXPECT_EQ(FailureOf(platform.Parameters()).type, "none");
    EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "Wait"), 2);
}

TEST(PrivateNamespaceMutex, MayBeAbandonedOnceByAProcess)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    ASSERT_EQ(ChildProcess({L"abandon", platform.mutexName}).ExitCode(), 0u);
    EXPECT_EQ(FailureOf(platform.Parameters()).type, "none");
    EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "Wait"), 2);
}

TEST(PrivateNamespaceMutex, IsFreeAgainAfterItWasAbandoned)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    AbandonInThread(mutex.get());
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_TRUE(IsFree(mutex.get()));
}
