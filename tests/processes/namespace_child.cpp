// The other process of the tests: namespace_child ROLE ARGUMENT... Its exit code is 0 when
// it saw what its role expects, and else says which step failed.
#include "module/error.h"
#include "shared/sections/private_namespace.h"
#include "shared/sections/section.h"
#include "tests/component/directory_namespace.h"
#include "tests/component/replaced_import.h"

#include <cstring>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

using Arguments = std::vector<std::wstring>;

constexpr int success = 0;
constexpr int usage = 90;
constexpr int unexpectedException = 91;
constexpr DWORD generousLimit = 60000;

/// Opens or creates the namespace together with other processes, at the start signal, and
/// keeps it until the end signal.
int Compete(const Arguments& arguments)
{
    const std::wstring base = arguments.at(0);
    const UniqueHandle ready(CreateSemaphoreW(nullptr, 0, 1000, (base + L".ready").c_str()));
    const UniqueHandle start(CreateEventW(nullptr, TRUE, FALSE, (base + L".start").c_str()));
    const UniqueHandle done(CreateSemaphoreW(nullptr, 0, 1000, (base + L".done").c_str()));
    const UniqueHandle finish(CreateEventW(nullptr, TRUE, FALSE, (base + L".finish").c_str()));
    CountInto(base + L".counts");
    PrivateNamespaceParameters parameters;
    parameters.alias = base;
    parameters.mutexName = base + L".mutex";

    ReleaseSemaphore(ready.get(), 1, nullptr);
    if (WaitForSingleObject(start.get(), generousLimit) != WAIT_OBJECT_0)
        return 1;
    const PrivateNamespace made(DirectoryNamespaceApi(), parameters);
    ReleaseSemaphore(done.get(), 1, nullptr);
    if (WaitForSingleObject(finish.get(), generousLimit) != WAIT_OBJECT_0)
        return 2;
    return success;
}

/// Ends while it owns a mutex.
int Abandon(const Arguments& arguments)
{
    const HANDLE mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, arguments.at(0).c_str());
    if (mutex == nullptr)
        return 1;
    return WaitForSingleObject(mutex, generousLimit) == WAIT_OBJECT_0 ? success : 2;
}

/// Expects a byte at the start of a section and writes the byte after it there.
int Exchange(HANDLE mapping, const std::wstring& expected)
{
    const UniqueView view = MapWholeSection(mapping);
    auto* first = static_cast<BYTE*>(view.get());
    if (*first != std::stoi(expected))
        return 1;
    ++*first;
    return success;
}

int ExchangeByName(const Arguments& arguments)
{
    return Exchange(OpenSection(arguments.at(0)).get(), arguments.at(1));
}

int ExchangeByHandle(const Arguments& arguments)
{
    const UniqueHandle inherited(reinterpret_cast<HANDLE>(std::stoull(arguments.at(0))));
    return Exchange(inherited.get(), arguments.at(1));
}

/// True when the prefix cannot be computed, for this reason.
bool PrefixFailsWith(const std::string& message, DWORD code)
{
    try {
        SectionNamePrefix();
        return false;
    } catch (const win32_error& error) {
        return error.code() == code && std::string(error.what()).rfind(message + ": ", 0) == 0;
    }
}

/// On a platform that has private namespaces, the prefix fails twice, and works then.
int ComputePrefix(const Arguments& arguments)
{
    CountInto(arguments.at(0));
    {
        const ReplacedImport<decltype(LoadLibraryW)> withoutLibrary("LoadLibraryW", [](LPCWSTR) -> HMODULE {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        });
        if (!PrefixFailsWith("LoadLibrary failed", ERROR_MOD_NOT_FOUND))
            return 1;
    }

    static const PrivateNamespaceApi real = DirectoryNamespaceApi();
    static bool boundaryRefused = false;
    PrivateNamespaceApi api = real;
    api.createBoundaryDescriptor = [](LPCWSTR name, ULONG flags) -> HANDLE {
        if (boundaryRefused)
            return real.createBoundaryDescriptor(name, flags);
        boundaryRefused = true;
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    };
    const FoundNamespaceFunctions withNamespaces(api);

    if (!PrefixFailsWith("CreateBoundaryDescriptor failed", ERROR_NOT_ENOUGH_MEMORY))
        return 2;
    if (SectionNamePrefix() != L"Tavlo")
        return 3;
    if (&SectionNamePrefix() != &SectionNamePrefix())
        return 4;
    const NewSection section = CreateSection(SectionNamePrefix(), 1);
    if (OpenSection(L"Tavlo\\" + section.name) == nullptr)
        return 5;
    return success;
}

const std::map<std::wstring, int (*)(const Arguments&)> roles = {
    {L"compete", Compete},
    {L"abandon", Abandon},
    {L"exchange", ExchangeByName},
    {L"exchange-handle", ExchangeByHandle},
    {L"compute-prefix", ComputePrefix},
};

} // namespace

int main()
{
    int count = 0;
    wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (words == nullptr || count < 2)
        return usage;
    const UniqueLocalMemory owner(words);
    const auto role = roles.find(words[1]);
    if (role == roles.end())
        return usage;
    try {
        return role->second(Arguments(words + 2, words + count));
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return unexpectedException;
    }
}
