#pragma once

#include "shared/sections/private_namespace.h"

#include "module/error.h"
#include "tests/component/child_process.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>
#include <sddl.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <deque>
#include <string>
#include <thread>
#include <vector>

// What the tests of the private namespace share: a platform that has one, and mutexes.

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

using Calls = std::vector<std::string>;

constexpr DWORD failureCode = ERROR_INVALID_FUNCTION + 76;
constexpr DWORD laterError = ERROR_BUSY;

/// A name that no other test and no other process uses.
inline std::wstring OwnName()
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
inline bool IsFree(HANDLE mutex)
{
    bool acquired = false;
    std::thread([&] {
        acquired = WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0;
        if (acquired)
            ReleaseMutex(mutex);
    }).join();
    return acquired;
}

inline UniqueHandle NewMutex(const std::wstring& name)
{
    return UniqueHandle(CreateMutexW(nullptr, FALSE, name.c_str()));
}

/// A thread that takes a mutex and ends as its owner.
inline void AbandonInThread(HANDLE mutex)
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

inline Failure FailureOf(const PrivateNamespaceParameters& parameters)
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

inline std::string WithSystemText(const char* message)
{
    return message + std::string(": ") + FormatSystemMessage(failureCode);
}
