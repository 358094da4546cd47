#include "shared/sections/private_namespace.h"

#include "module/error.h"
#include "tests/component/child_process.h"
#include "tests/component/replaced_import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sddl.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <thread>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using Calls = std::vector<std::string>;

constexpr DWORD failureCode = ERROR_INVALID_FUNCTION + 76;
constexpr DWORD laterError = ERROR_BUSY;

/// A name that no other test and no other process uses.
std::wstring OwnName()
{
    static int number = 0;
    return L"TavloTest" + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++number);
}

/// A platform with private namespaces that records what is called, in order, and lets one
/// function fail. The functions around a mutex and memory really do their work as well.
class Platform
{
public:
    Platform() { current = this; }
    ~Platform() { current = nullptr; }
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    static PrivateNamespaceApi Api()
    {
        return {CreateBoundary, DeleteBoundary, AddSid, CreateNamespace, OpenNamespace, CloseNamespace};
    }

    /// The default parameters, with a mutex that no other program uses.
    PrivateNamespaceParameters Parameters()
    {
        PrivateNamespaceParameters parameters;
        parameters.mutexName = mutexName;
        parameters.wait = [this](HANDLE mutex, DWORD timeout) { return Wait(mutex, timeout); };
        return parameters;
    }

    std::string failing;           ///< the call that fails with failureCode
    bool namespaceExists = false;  ///< opening succeeds
    std::deque<DWORD> waitResults; ///< of the next waits; then they are real ones
    Calls calls;

    std::wstring mutexName = OwnName();
    std::wstring boundaryName;
    ULONG boundaryFlags = 0;
    bool sidIsWorld = false;
    bool boundaryIsReplaced = false;
    HANDLE deletedBoundary = nullptr;
    HANDLE openedBoundary = nullptr;
    HANDLE createdBoundary = nullptr;
    std::wstring openedAlias;
    std::wstring createdAlias;
    BOOL inherits = TRUE;
    DWORD attributesLength = 0;
    std::wstring descriptorText;
    bool descriptorValidAtClose = false;
    HANDLE closedNamespace = nullptr;
    ULONG closeFlags = 99;
    DWORD waitLimit = 0;
    std::wstring waitedMutexName;

    static HANDLE Boundary() { return &boundaryObject; }
    static HANDLE OtherBoundary() { return &otherBoundaryObject; }
    static HANDLE OpenedNamespace() { return &openedObject; }
    static HANDLE CreatedNamespace() { return &createdObject; }

private:
    /// Calls of other threads are not the namespace's.
    static void Record(const char* call)
    {
        if (GetCurrentThreadId() == current->thread)
            current->calls.emplace_back(call);
    }

    static bool Fails(const char* call)
    {
        Record(call);
        SetLastError(failureCode);
        return current->failing == call;
    }

    /// What undoes something leaves an error of its own behind.
    static void Undoes(const char* call)
    {
        Record(call);
        SetLastError(laterError);
    }

    static HANDLE WINAPI CreateBoundary(LPCWSTR name, ULONG flags)
    {
        current->boundaryName = name;
        current->boundaryFlags = flags;
        return Fails("CreateBoundaryDescriptor") ? nullptr : Boundary();
    }

    static void WINAPI DeleteBoundary(HANDLE boundary)
    {
        current->deletedBoundary = boundary;
        Undoes("DeleteBoundaryDescriptor");
    }

    static BOOL WINAPI AddSid(HANDLE* boundary, PSID sid)
    {
        current->sidIsWorld = IsWellKnownSid(sid, WinWorldSid) != FALSE;
        if (current->boundaryIsReplaced && *boundary == Boundary())
            *boundary = OtherBoundary();
        return !Fails("AddSIDToBoundaryDescriptor");
    }

    static HANDLE WINAPI OpenNamespace(LPVOID boundary, LPCWSTR alias)
    {
        current->openedBoundary = boundary;
        current->openedAlias = alias;
        return Fails("OpenPrivateNamespace") || !current->namespaceExists ? nullptr : OpenedNamespace();
    }

    static HANDLE WINAPI CreateNamespace(LPSECURITY_ATTRIBUTES attributes, LPVOID boundary, LPCWSTR alias)
    {
        current->createdBoundary = boundary;
        current->createdAlias = alias;
        current->attributesLength = attributes->nLength;
        current->inherits = attributes->bInheritHandle;
        current->descriptor = attributes->lpSecurityDescriptor;
        LPWSTR text = nullptr;
        ConvertSecurityDescriptorToStringSecurityDescriptorW(
            attributes->lpSecurityDescriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr);
        current->descriptorText = text;
        current->localFree.Original()(text);
        return Fails("CreatePrivateNamespace") ? nullptr : CreatedNamespace();
    }

    static BOOLEAN WINAPI CloseNamespace(HANDLE handle, ULONG flags)
    {
        current->closedNamespace = handle;
        current->closeFlags = flags;
        current->descriptorValidAtClose = IsValidSecurityDescriptor(current->descriptor) != FALSE;
        Undoes("ClosePrivateNamespace");
        return TRUE;
    }

    DWORD Wait(HANDLE mutex, DWORD limit)
    {
        waitLimit = limit;
        waitedMutexName = NameOf(mutex);
        if (!waitResults.empty()) {
            const DWORD result = waitResults.front();
            waitResults.pop_front();
            Fails("Wait");
            return result;
        }
        const DWORD result = WaitForSingleObject(mutex, limit);
        Fails("Wait");
        return result;
    }

    static std::wstring NameOf(HANDLE object)
    {
        using Query = LONG(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);
        const auto query = reinterpret_cast<Query>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryObject")));
        constexpr int objectNameInformation = 1;
        alignas(UNICODE_STRING) std::array<char, 2048> buffer = {};
        ULONG size = 0;
        if (query(object, objectNameInformation, buffer.data(), static_cast<ULONG>(buffer.size()), &size) < 0)
            return {};
        const auto* name = reinterpret_cast<const UNICODE_STRING*>(buffer.data());
        return {name->Buffer, name->Length / sizeof(wchar_t)};
    }

    static inline Platform* current = nullptr;
    static inline char boundaryObject = 0;
    static inline char otherBoundaryObject = 0;
    static inline char openedObject = 0;
    static inline char createdObject = 0;

    const DWORD thread = GetCurrentThreadId();
    PSECURITY_DESCRIPTOR descriptor = nullptr;

    ReplacedImport<decltype(CreateWellKnownSid)> createWellKnownSid{
        "CreateWellKnownSid", [](WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* size) -> BOOL {
            return current->createWellKnownSid.Original()(type, domain, sid, size) &&
                   !Fails("CreateWellKnownSid");
        }};
    ReplacedImport<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)> convert{
        "ConvertStringSecurityDescriptorToSecurityDescriptorW",
        [](LPCWSTR text, DWORD revision, PSECURITY_DESCRIPTOR* result, PULONG size) -> BOOL {
            return !Fails("ConvertStringSecurityDescriptor") &&
                   current->convert.Original()(text, revision, result, size);
        }};
    ReplacedImport<decltype(CreateMutexW)> createMutex{
        "CreateMutexW", [](LPSECURITY_ATTRIBUTES attributes, BOOL owned, LPCWSTR name) -> HANDLE {
            return Fails("CreateMutex") ? nullptr : current->createMutex.Original()(attributes, owned, name);
        }};
    ReplacedImport<decltype(ReleaseMutex)> releaseMutex{"ReleaseMutex", [](HANDLE mutex) -> BOOL {
                                                            const BOOL done =
                                                                current->releaseMutex.Original()(mutex);
                                                            Undoes("ReleaseMutex");
                                                            return done;
                                                        }};
    ReplacedImport<decltype(CloseHandle)> closeHandle{"CloseHandle", [](HANDLE handle) -> BOOL {
                                                          const BOOL done =
                                                              current->closeHandle.Original()(handle);
                                                          Undoes("CloseHandle");
                                                          return done;
                                                      }};
    ReplacedImport<decltype(LocalFree)> localFree{"LocalFree", [](HLOCAL memory) -> HLOCAL {
                                                      const HLOCAL left =
                                                          current->localFree.Original()(memory);
                                                      Undoes("LocalFree");
                                                      return left;
                                                  }};
};

/// True when a thread that is not the owner gets the mutex at once.
bool IsFree(HANDLE mutex)
{
    bool acquired = false;
    std::thread([&] {
        acquired = WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0;
        if (acquired)
            ReleaseMutex(mutex);
    }).join();
    return acquired;
}

UniqueHandle NewMutex(const std::wstring& name)
{
    return UniqueHandle(CreateMutexW(nullptr, FALSE, name.c_str()));
}

/// A thread that takes a mutex and ends as its owner.
void AbandonInThread(HANDLE mutex)
{
    std::thread([&] { WaitForSingleObject(mutex, generousLimit); }).join();
}

/// A thread that owns a mutex for as long as the object lives.
class MutexHolder
{
public:
    explicit MutexHolder(HANDLE mutex)
        : thread_([this, mutex] {
              WaitForSingleObject(mutex, generousLimit);
              SetEvent(held_.get());
              WaitForSingleObject(enough_.get(), generousLimit);
              ReleaseMutex(mutex);
          })
    {
        WaitForSingleObject(held_.get(), generousLimit);
    }

    ~MutexHolder()
    {
        SetEvent(enough_.get());
        thread_.join();
    }

    MutexHolder(const MutexHolder&) = delete;
    MutexHolder& operator=(const MutexHolder&) = delete;

private:
    UniqueHandle held_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    UniqueHandle enough_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::thread thread_;
};

struct Failure
{
    std::string type; ///< "win32_error", "runtime_error", "none"
    std::string text;
    DWORD code = 0;
};

Failure FailureOf(const PrivateNamespaceParameters& parameters)
{
    try {
        const PrivateNamespace made(Platform::Api(), parameters);
        return {"none", "", 0};
    } catch (const win32_error& error) {
        return {"win32_error", error.what(), error.code()};
    } catch (const std::runtime_error& error) {
        return {typeid(error) == typeid(std::runtime_error) ? "runtime_error" : "other", error.what(), 0};
    }
}

std::string WithSystemText(const char* message)
{
    return message + std::string(": ") + FormatSystemMessage(failureCode);
}

} // namespace

TEST(PrivateNamespaceParameters, AreTheSystemsOwnByDefault)
{
    const PrivateNamespaceParameters parameters;
    EXPECT_EQ(parameters.boundaryName, L"MARDU");
    EXPECT_EQ(parameters.sid, WinWorldSid);
    EXPECT_EQ(parameters.security, L"D:(A;;GA;;;AU)(A;;GA;;;CO)");
    EXPECT_EQ(parameters.alias, L"Tavlo");
    EXPECT_EQ(parameters.mutexName, L"MarduTavloMutex");
    EXPECT_EQ(parameters.mutexTimeout, 10000u);
}

TEST(PrivateNamespace, OpensAnExistingOneAndCreatesNone)
{
    Platform platform;
    platform.namespaceExists = true;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
        EXPECT_THAT(platform.calls, ElementsAre("CreateBoundaryDescriptor", "CreateWellKnownSid",
                                                "AddSIDToBoundaryDescriptor",
                                                "ConvertStringSecurityDescriptor", "CreateMutex", "Wait",
                                                "OpenPrivateNamespace", "ReleaseMutex", "CloseHandle"));
    }
    EXPECT_EQ(platform.closedNamespace, Platform::OpenedNamespace());
}

TEST(PrivateNamespace, IsCreatedWhenItCannotBeOpened)
{
    Platform platform;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
        EXPECT_THAT(platform.calls,
                    ElementsAre("CreateBoundaryDescriptor", "CreateWellKnownSid",
                                "AddSIDToBoundaryDescriptor", "ConvertStringSecurityDescriptor",
                                "CreateMutex", "Wait", "OpenPrivateNamespace", "CreatePrivateNamespace",
                                "ReleaseMutex", "CloseHandle"));
    }
    EXPECT_EQ(platform.closedNamespace, Platform::CreatedNamespace());
}

TEST(PrivateNamespace, ClosesThenFreesTheDescriptorThenDeletesTheBoundary)
{
    Platform platform;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
        platform.calls.clear();
    }
    EXPECT_THAT(platform.calls,
                ElementsAre("ClosePrivateNamespace", "LocalFree", "DeleteBoundaryDescriptor"));
    EXPECT_TRUE(platform.descriptorValidAtClose);
    EXPECT_EQ(platform.deletedBoundary, Platform::Boundary());
}

TEST(PrivateNamespace, StaysForOtherProcessesWhenItIsClosed)
{
    Platform platform;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
    }
    EXPECT_EQ(platform.closeFlags, 0u);
}

TEST(PrivateNamespace, HasItsAliasAsName)
{
    Platform platform;
    EXPECT_EQ(PrivateNamespace(Platform::Api(), platform.Parameters()).Name(), L"Tavlo");
}

TEST(PrivateNamespace, IsOpenedAndCreatedUnderItsAlias)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.openedAlias, L"Tavlo");
    EXPECT_EQ(platform.createdAlias, L"Tavlo");
}

TEST(PrivateNamespace, IsBoundedByNameAndEveryone)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.boundaryName, L"MARDU");
    EXPECT_EQ(platform.boundaryFlags, 0u);
    EXPECT_TRUE(platform.sidIsWorld);
    EXPECT_EQ(platform.openedBoundary, Platform::Boundary());
    EXPECT_EQ(platform.createdBoundary, Platform::Boundary());
}

TEST(PrivateNamespace, UsesTheBoundaryThatTheSidWasAddedTo)
{
    Platform platform;
    platform.boundaryIsReplaced = true;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
    }
    EXPECT_EQ(platform.openedBoundary, Platform::OtherBoundary());
    EXPECT_EQ(platform.createdBoundary, Platform::OtherBoundary());
    EXPECT_EQ(platform.deletedBoundary, Platform::OtherBoundary());
}

TEST(PrivateNamespace, IsCreatedWithAHandleThatIsNotInherited)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.inherits, FALSE);
    EXPECT_EQ(platform.attributesLength, sizeof(SECURITY_ATTRIBUTES));
}

TEST(PrivateNamespace, GrantsAllToAuthenticatedUsersAndTheCreator)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.descriptorText, L"D:(A;;GA;;;AU)(A;;GA;;;CO)");
}

TEST(PrivateNamespace, WaitsTenSecondsForTheMutexOfItsName)
{
    Platform platform;
    PrivateNamespaceParameters parameters = platform.Parameters();
    parameters.mutexName = PrivateNamespaceParameters().mutexName;
    const PrivateNamespace made(Platform::Api(), parameters);
    EXPECT_EQ(platform.waitLimit, 10000u);
    EXPECT_THAT(platform.waitedMutexName, testing::EndsWith(L"\\MarduTavloMutex"));
}

TEST(PrivateNamespace, LeavesTheMutexToOthers)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_TRUE(IsFree(mutex.get()));
}

TEST(PrivateNamespace, KeepsNoHandleOfTheMutex)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(UniqueHandle(OpenMutexW(SYNCHRONIZE, FALSE, platform.mutexName.c_str())), nullptr);
}

namespace {

struct FailingCall
{
    const char* call;
    const char* text;
    std::vector<std::string> before; ///< the calls up to the failing one
    std::vector<std::string> after;  ///< what undoes them
};

void PrintTo(const FailingCall& failing, std::ostream* out)
{
    *out << failing.call;
}

const FailingCall failingCalls[] = {
    {"CreateBoundaryDescriptor", "CreateBoundaryDescriptor failed", {}, {}},
    {"CreateWellKnownSid",
     "CreateWellKnownSid failed",
     {"CreateBoundaryDescriptor"},
     {"DeleteBoundaryDescriptor"}},
    {"AddSIDToBoundaryDescriptor",
     "AddSIDToBoundaryDescriptor failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid"},
     {"DeleteBoundaryDescriptor"}},
    {"ConvertStringSecurityDescriptor",
     "ConvertStringSecurityDescriptorToSecurityDescriptor failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor"},
     {"DeleteBoundaryDescriptor"}},
    {"CreateMutex",
     "Creating mutex failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor",
      "ConvertStringSecurityDescriptor"},
     {"LocalFree", "DeleteBoundaryDescriptor"}},
    {"CreatePrivateNamespace",
     "CreatePrivateNamespace failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor",
      "ConvertStringSecurityDescriptor", "CreateMutex", "Wait", "OpenPrivateNamespace"},
     {"ReleaseMutex", "CloseHandle", "LocalFree", "DeleteBoundaryDescriptor"}},
};

class PrivateNamespaceFailure : public testing::TestWithParam<FailingCall>
{
protected:
    PrivateNamespaceFailure() { platform.failing = GetParam().call; }

    Platform platform;
};

} // namespace

TEST_P(PrivateNamespaceFailure, HasItsTextAndTheLastError)
{
    const Failure failure = FailureOf(platform.Parameters());
    EXPECT_EQ(failure.type, "win32_error");
    EXPECT_EQ(failure.code, failureCode);
    EXPECT_EQ(failure.text, WithSystemText(GetParam().text));
}

TEST_P(PrivateNamespaceFailure, UndoesWhatWasBuilt)
{
    FailureOf(platform.Parameters());
    Calls expected = GetParam().before;
    expected.emplace_back(GetParam().call);
    expected.insert(expected.end(), GetParam().after.begin(), GetParam().after.end());
    Calls calls = platform.calls;
    // The text of the failure was asked of the system, which frees memory once more.
    if (!calls.empty() && calls.back() == "LocalFree")
        calls.pop_back();
    EXPECT_THAT(calls, ElementsAreArray(expected));
}

TEST_P(PrivateNamespaceFailure, ReachesACallerAsTheLastErrorsResult)
{
    const HRESULT hr = Guarded([&] { PrivateNamespace(Platform::Api(), platform.Parameters()); });
    EXPECT_EQ(hr, HRESULT_FROM_WIN32(failureCode));
}

TEST_P(PrivateNamespaceFailure, LeavesTheMutexToOthers)
{
    const UniqueHandle mutex(NewMutex(platform.mutexName + L".unrelated"));
    platform.failing.clear();
    const UniqueHandle held = NewMutex(platform.mutexName);
    platform.failing = GetParam().call;
    FailureOf(platform.Parameters());
    EXPECT_TRUE(IsFree(held.get()));
}

INSTANTIATE_TEST_SUITE_P(Of, PrivateNamespaceFailure, testing::ValuesIn(failingCalls),
                         [](const auto& tested) { return std::string(tested.param.call); });

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

namespace {

const char* const functionNames[] = {"CreateBoundaryDescriptorW",  "DeleteBoundaryDescriptor",
                                     "AddSIDToBoundaryDescriptor", "CreatePrivateNamespaceW",
                                     "OpenPrivateNamespaceW",      "ClosePrivateNamespace"};

/// A Kernel32.dll whose functions of the namespaces are the texts of their names, all but
/// one.
class Kernel32
{
public:
    explicit Kernel32(const std::string& missing)
    {
        missingName = missing;
        loaded.clear();
        freed = nullptr;
        original = getProcAddress.Original();
    }

    static inline std::wstring loaded;
    static inline HMODULE freed = nullptr;

    static HMODULE Library() { return reinterpret_cast<HMODULE>(&loaded); }

private:
    static inline std::string missingName;
    static inline decltype(GetProcAddress)* original = nullptr;

    ReplacedImport<decltype(LoadLibraryW)> loadLibrary{"LoadLibraryW", [](LPCWSTR name) -> HMODULE {
                                                           loaded = name;
                                                           return Library();
                                                       }};
    ReplacedImport<decltype(FreeLibrary)> freeLibrary{"FreeLibrary", [](HMODULE library) -> BOOL {
                                                          freed = library;
                                                          return TRUE;
                                                      }};
    ReplacedImport<decltype(GetProcAddress)> getProcAddress{
        "GetProcAddress", [](HMODULE library, LPCSTR name) -> FARPROC {
            if (library != Library())
                return original(library, name);
            for (const char* known : functionNames)
                if (known == std::string(name) && known != missingName)
                    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(const_cast<char*>(known)));
            return nullptr;
        }};
};

class MissingFunction : public testing::TestWithParam<const char*>
{
};

template <class Function>
const char* NameOf(Function* function)
{
    return reinterpret_cast<const char*>(reinterpret_cast<void*>(function));
}

} // namespace

TEST_P(MissingFunction, MakesPrivateNamespacesUnavailable)
{
    const Kernel32 kernel(GetParam());
    EXPECT_FALSE(PrivateNamespaceApi::FromKernel32());
}

INSTANTIATE_TEST_SUITE_P(Of, MissingFunction, testing::ValuesIn(functionNames),
                         [](const auto& tested) { return std::string(tested.param); });

TEST(PrivateNamespaceApi, IsTheSixFunctionsOfKernel32)
{
    const Kernel32 kernel("");
    const auto api = PrivateNamespaceApi::FromKernel32();
    ASSERT_TRUE(api);
    EXPECT_STREQ(NameOf(api->createBoundaryDescriptor), "CreateBoundaryDescriptorW");
    EXPECT_STREQ(NameOf(api->deleteBoundaryDescriptor), "DeleteBoundaryDescriptor");
    EXPECT_STREQ(NameOf(api->addSidToBoundaryDescriptor), "AddSIDToBoundaryDescriptor");
    EXPECT_STREQ(NameOf(api->createPrivateNamespace), "CreatePrivateNamespaceW");
    EXPECT_STREQ(NameOf(api->openPrivateNamespace), "OpenPrivateNamespaceW");
    EXPECT_STREQ(NameOf(api->closePrivateNamespace), "ClosePrivateNamespace");
    EXPECT_EQ(Kernel32::loaded, L"Kernel32.dll");
}

TEST(PrivateNamespaceApi, ReleasesTheLibraryItLooksIn)
{
    const Kernel32 kernel("");
    PrivateNamespaceApi::FromKernel32();
    EXPECT_EQ(Kernel32::freed, Kernel32::Library());
}

TEST(PrivateNamespaceApi, FailsWithoutItsLibrary)
{
    const ReplacedImport<decltype(LoadLibraryW)> withoutLibrary("LoadLibraryW", [](LPCWSTR) -> HMODULE {
        SetLastError(failureCode);
        return nullptr;
    });
    try {
        PrivateNamespaceApi::FromKernel32();
        FAIL();
    } catch (const win32_error& error) {
        EXPECT_EQ(error.code(), failureCode);
        EXPECT_EQ(error.what(), WithSystemText("LoadLibrary failed"));
    }
}

TEST(SectionNamePrefix, IsGlobalWithoutPrivateNamespaces)
{
    if (PrivateNamespaceApi::FromKernel32())
        GTEST_SKIP() << "this platform has private namespaces";
    EXPECT_EQ(SectionNamePrefix(), L"Global");
}
