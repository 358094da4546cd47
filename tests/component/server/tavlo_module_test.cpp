#include "tests/component/component_test.h"

#include <algorithm>
#include <array>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The DLL, which stays loaded; no object of it lives on.
HMODULE Dll()
{
    static const HMODULE dll = LoadLibraryW(TAVLO_DLL_PATH);
    EXPECT_NE(dll, nullptr);
    return dll;
}

template <class Function>
Function Export(const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(Dll(), name)));
}

std::vector<std::string> ExportedNames()
{
    const auto* image = reinterpret_cast<const std::uint8_t*>(Dll());
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    const auto& entry = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* directory = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(image + entry.VirtualAddress);
    EXPECT_EQ(directory->NumberOfFunctions, directory->NumberOfNames);
    const auto* names = reinterpret_cast<const DWORD*>(image + directory->AddressOfNames);
    std::vector<std::string> exported;
    for (DWORD i = 0; i < directory->NumberOfNames; ++i)
        exported.emplace_back(reinterpret_cast<const char*>(image + names[i]));
    std::sort(exported.begin(), exported.end());
    return exported;
}

std::vector<std::string> ImportedLibraries()
{
    const auto* image = reinterpret_cast<const std::uint8_t*>(Dll());
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    const auto& entry = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<std::string> libraries;
    for (auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(image + entry.VirtualAddress);
         import->Name != 0; ++import) {
        std::string name = reinterpret_cast<const char*>(image + import->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return static_cast<char>(tolower(c)); });
        libraries.push_back(name);
    }
    std::sort(libraries.begin(), libraries.end());
    return libraries;
}

} // namespace

TEST(Module, ExportsSevenEntryPoints)
{
    const std::vector<std::string> expected = {
        "ClosePerfMon",      "CollectPerfMon",      "DllCanUnloadNow", "DllGetClassObject",
        "DllRegisterServer", "DllUnregisterServer", "OpenPerfMon"};
    EXPECT_EQ(ExportedNames(), expected);
}

TEST(Module, ImportsSystemLibrariesOnly)
{
    const std::vector<std::string> system = {"advapi32.dll", "kernel32.dll", "msvcrt.dll",
                                             "ole32.dll",    "oleaut32.dll", "user32.dll"};
    for (const std::string& library : ImportedLibraries())
        EXPECT_TRUE(std::find(system.begin(), system.end(), library) != system.end()) << library;
}

TEST(Module, CollectsNoPerformanceData)
{
    using Open = DWORD(WINAPI*)(LPWSTR);
    using Collect = DWORD(WINAPI*)(LPWSTR, LPVOID*, LPDWORD, LPDWORD);
    using Close = DWORD(WINAPI*)();
    EXPECT_EQ(Export<Open>("OpenPerfMon")(nullptr), 0u);
    char buffer[64] = "untouched";
    void* data = buffer;
    DWORD bytes = sizeof(buffer);
    DWORD types = 17;
    wchar_t name[] = L"Global";
    EXPECT_EQ(Export<Collect>("CollectPerfMon")(name, &data, &bytes, &types), 0u);
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(data, buffer);
    EXPECT_EQ(types, 17u);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(Export<Close>("ClosePerfMon")(), 0u);
}

TEST(Module, KnowsItsClassesOnly)
{
    const auto getClassObject = Export<decltype(&DllGetClassObject)>("DllGetClassObject");
    void* factory = reinterpret_cast<void*>(1);
    EXPECT_HR(CLASS_E_CLASSNOTAVAILABLE, getClassObject(CLSID_TavloRD, IID_IClassFactory, &factory));
    EXPECT_EQ(factory, nullptr);
    EXPECT_HR(CLASS_E_CLASSNOTAVAILABLE, getClassObject(GUID_NULL, IID_IClassFactory, &factory));
    EXPECT_HR(E_POINTER, getClassObject(CLSID_TavloFactory, IID_IClassFactory, nullptr));
    factory = reinterpret_cast<void*>(1);
    EXPECT_HR(E_NOINTERFACE, getClassObject(CLSID_TavloFactory, IID_IStream, &factory));
    EXPECT_EQ(factory, nullptr);
}

TEST(Module, GivesEveryThreadTheSameClassFactory)
{
    const auto getClassObject = Export<decltype(&DllGetClassObject)>("DllGetClassObject");
    std::vector<IClassFactory*> factories(8);
    std::vector<std::thread> threads;
    for (auto& factory : factories)
        threads.emplace_back([&] {
            getClassObject(CLSID_TavloDescriptor, IID_IClassFactory, reinterpret_cast<void**>(&factory));
        });
    for (auto& thread : threads)
        thread.join();
    for (IClassFactory* factory : factories) {
        EXPECT_EQ(factory, factories.front());
        factory->Release();
    }
}

TEST(Module, CanBeUnloadedOnceNothingOfItIsHeld)
{
    const HMODULE dll = LoadLibraryW(TAVLO_DLL_PATH);
    ASSERT_NE(dll, nullptr);
    const auto canUnload = Export<decltype(&DllCanUnloadNow)>("DllCanUnloadNow");
    const auto getClassObject = Export<decltype(&DllGetClassObject)>("DllGetClassObject");
    EXPECT_HR(S_OK, canUnload());

    ComPtr<IClassFactory> factory;
    ASSERT_HR(S_OK, getClassObject(CLSID_TavloFactory, IID_PPV_ARGS(&factory)));
    EXPECT_HR(S_FALSE, canUnload()) << "a class factory is held";

    ComPtr<IUnknown> object;
    ASSERT_HR(S_OK, factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)));
    EXPECT_HR(S_OK, factory->LockServer(TRUE));
    factory.Reset();
    EXPECT_HR(S_FALSE, canUnload()) << "an object lives and the server is locked";
    object.Reset();
    EXPECT_HR(S_FALSE, canUnload()) << "the server is locked";

    ASSERT_HR(S_OK, getClassObject(CLSID_TavloFactory, IID_PPV_ARGS(&factory)));
    EXPECT_HR(S_OK, factory->LockServer(FALSE));
    factory.Reset();
    EXPECT_HR(S_OK, canUnload());
    FreeLibrary(dll);
}

TEST(Module, RefusesToAggregateForAnyInterfaceButIUnknown)
{
    const auto outer = Create<IUnknown>(CLSID_TavloFactory);
    ITavloFactory* factory = reinterpret_cast<ITavloFactory*>(1);
    EXPECT_HR(CLASS_E_NOAGGREGATION, CoCreateInstance(CLSID_TavloFactory, outer.Get(), CLSCTX_INPROC_SERVER,
                                                      IID_ITavloFactory, reinterpret_cast<void**>(&factory)));
}

TEST(Module, IsNamedByItsStringTable)
{
    std::array<wchar_t, 64> text = {};
    EXPECT_GT(LoadStringW(Dll(), 100, text.data(), static_cast<int>(text.size())), 0);
    EXPECT_STREQ(text.data(), L"Tavlo");
}

TEST(Module, HasAScriptForEveryClassUnderItsNumber)
{
    const struct
    {
        int number;
        const char* progId;
    } scripts[] = {{101, "%APPID%"},
                   {102, "Tavlo.Tavlo.1"},
                   {103, "Tavlo.ReadAccessor.1"},
                   {104, "Tavlo.WriteAccessor.1"},
                   {105, "Tavlo.TavloProxy.1"},
                   {106, "Tavlo.TavloStub.1"},
                   {107, "Tavlo.TavloFactory.1"},
                   {108, "Tavlo.TavloDescriptor.1"},
                   {109, "Tavlo.Addressor.1"},
                   {110, "Tavlo.TavloDescriptor.2"},
                   {111, "Tavlo.CoRecoder.1"},
                   {112, "Tavlo.TavloEventsReflector.1"}};
    for (const auto& script : scripts) {
        const HRSRC found = FindResourceW(Dll(), MAKEINTRESOURCEW(script.number), L"REGISTRY");
        ASSERT_NE(found, nullptr) << script.number;
        const auto* text = static_cast<const char*>(LockResource(LoadResource(Dll(), found)));
        EXPECT_NE(std::string(text, SizeofResource(Dll(), found)).find(script.progId), std::string::npos)
            << script.number;
    }
    EXPECT_EQ(FindResourceW(Dll(), MAKEINTRESOURCEW(113), L"REGISTRY"), nullptr);
}

TEST(Module, LeavesItsInterfacesToTheClassOfItsProxies)
{
    // Written down by hand, as all identifiers that must not change.
    for (const wchar_t* iid :
         {L"{4EF5DA88-C261-42B7-BC84-EA86D5C862B1}", L"{446A91AD-25AE-4A3E-9254-855B22F03802}",
          L"{8F352F7B-AFCF-4BE1-9408-3461C7C8EAD4}"}) {
        std::array<wchar_t, 64> proxies = {};
        auto bytes = static_cast<DWORD>(sizeof(proxies));
        const std::wstring key = std::wstring(L"Interface\\") + iid + L"\\ProxyStubClsid32";
        EXPECT_EQ(RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr,
                               proxies.data(), &bytes),
                  ERROR_SUCCESS);
        EXPECT_EQ(_wcsicmp(proxies.data(), L"{A726A527-3399-408B-9F6E-8FD1CE814E34}"), 0) << iid;
    }
}
