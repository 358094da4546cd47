// A second copy of the DLL, in a folder of its own: classes and type library belong to the
// one that was registered last.
#include "tests/component/server/published_entries.h"

#include "TavloLib.h"

#include <wrl/client.h>

#include <array>
#include <filesystem>
#include <iterator>

using Microsoft::WRL::ComPtr;

namespace {

const std::wstring library = LowerCase(L"TypeLib\\" + TextOf(LIBID_TavloLib) + L"\\1.0\\0\\win64");

class SecondCopy : public testing::Test
{
protected:
    SecondCopy() { std::filesystem::copy_file(DllPath(), path); }

    ~SecondCopy() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    /// What was added to the registry since the test began, without the platform's part.
    RegistrySnapshot Written(RegistrySnapshot* typeLibrary = nullptr) const
    {
        RegistrySnapshot written = Added(before, TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath));
        RegistrySnapshot platform = TakePlatformKeys(written);
        if (typeLibrary != nullptr)
            *typeLibrary = std::move(platform);
        return written;
    }

    /// All classes and the type library are those of this DLL, and there is nothing else.
    void ExpectToBelongTo(const std::wstring& dll) const
    {
        RegistrySnapshot typeLibrary;
        const RegistrySnapshot written = Written(&typeLibrary);
        EXPECT_SAME_KEYS(ExpectedClassKeys(RegisteredAppId(written), dll), written);
        ASSERT_EQ(typeLibrary.count(library), 1u);
        EXPECT_EQ(LowerCase(typeLibrary.at(library).at(L"")), LowerCase(dll));
    }

    void ExpectNothing() const { EXPECT_SAME_KEYS(before, TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath)); }

    const std::filesystem::path folder = [] {
        std::array<wchar_t, MAX_PATH> temporary;
        GetTempPathW(static_cast<DWORD>(temporary.size()), temporary.data());
        // What paths may hold, and what has a meaning in the scripts of the registrar.
        const std::filesystem::path unique = std::wstring(temporary.data()) + L"Tavlo's %copy% \u00E9 " +
                                             std::to_wstring(GetCurrentProcessId());
        std::filesystem::create_directories(unique);
        return unique;
    }();
    const std::wstring path = (folder / L"Tavlo.dll").wstring();
    const RegistrySnapshot before = TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath);
};

/// Where the code behind an object is.
std::wstring ModuleOf(IUnknown* object)
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       **reinterpret_cast<LPCWSTR**>(object), &module);
    std::array<wchar_t, 4096> path;
    return {path.data(), GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))};
}

} // namespace

TEST_F(SecondCopy, TakesOverWhatTheFirstRegistered)
{
    ASSERT_EQ(RunRegsvr32(L""), 0u);
    ExpectToBelongTo(DllPath());
    ASSERT_EQ(RunRegsvr32(L"", path), 0u);
    ExpectToBelongTo(path);
    ASSERT_EQ(RunRegsvr32(L"", path), 0u) << "again";
    ExpectToBelongTo(path);
    ASSERT_EQ(RunRegsvr32(L"/u", path), 0u);
    ExpectNothing();
}

TEST_F(SecondCopy, GivesBackWhenTheFirstIsRegisteredAgain)
{
    ASSERT_EQ(RunRegsvr32(L"", path), 0u);
    ASSERT_EQ(RunRegsvr32(L""), 0u);
    ExpectToBelongTo(DllPath());
    ASSERT_EQ(RunRegsvr32(L"/u"), 0u);
    ExpectNothing();
}

TEST_F(SecondCopy, IsUnregisteredByEitherOfThem)
{
    ASSERT_EQ(RunRegsvr32(L"", path), 0u);
    ASSERT_EQ(RunRegsvr32(L"/u"), 0u) << "by the first copy, which is not the one registered";
    ExpectNothing();
    ASSERT_EQ(RunRegsvr32(L""), 0u);
    ExpectToBelongTo(DllPath());
    ASSERT_EQ(RunRegsvr32(L"/u", path), 0u);
    ExpectNothing();
}

TEST_F(SecondCopy, IsWhereObjectsComeFrom)
{
    ASSERT_EQ(RunRegsvr32(L""), 0u);
    ASSERT_EQ(RunRegsvr32(L"", path), 0u);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    {
        ComPtr<ITavloFactory2> factory;
        ASSERT_EQ(CoCreateInstance(CLSID_TavloFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
                  S_OK);
        EXPECT_EQ(LowerCase(ModuleOf(factory.Get())), LowerCase(path));
        long size = 0;
        EXPECT_EQ(factory->GetSizeFor(3, 2, 1, 3, &size), S_OK);
        EXPECT_EQ(size, 6);
        ComPtr<ITypeLib> types;
        EXPECT_EQ(LoadRegTypeLib(LIBID_TavloLib, 1, 0, 0, &types), S_OK);
    }
    CoUninitialize();
    EXPECT_EQ(RunRegsvr32(L"/u", path), 0u);
}

// The classes before the one whose script is wrong are registered and stay, those after it,
// and the type library, are not reached.
TEST_F(SecondCopy, StopsAtTheClassThatCannotBeRegistered)
{
    constexpr WORD proxyScript = 105;          // of the seventh class
    std::string script = "HKXX\r\n{\r\n}\r\n"; // there is no such root
    const HANDLE update = BeginUpdateResourceW(path.c_str(), FALSE);
    ASSERT_NE(update, nullptr);
    ASSERT_TRUE(UpdateResourceW(update, L"REGISTRY", MAKEINTRESOURCEW(proxyScript),
                                MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), script.data(),
                                static_cast<DWORD>(script.size())));
    ASSERT_TRUE(EndUpdateResourceW(update, FALSE));

    constexpr LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    {
        const LoadedDll broken(path);
        ASSERT_NE(broken.module, nullptr);
        SetThreadLocale(german);
        EXPECT_EQ(broken.Call("DllRegisterServer"), DISP_E_EXCEPTION);
        EXPECT_EQ(GetThreadLocale(), german);

        RegistrySnapshot typeLibrary;
        const RegistrySnapshot written = Written(&typeLibrary);
        const std::wstring keys = L"clsid\\";
        const auto isRegistered = [&](REFCLSID clsid) {
            return written.count(keys + LowerCase(TextOf(clsid))) != 0;
        };
        for (const auto& clsid : {CLSID_TavloStub, CLSID_ReadAccessor, CLSID_WriteAccessor,
                                  CLSID_TavloDescriptor, CLSID_TavloDescriptor2, CLSID_Tavlo})
            EXPECT_TRUE(isRegistered(clsid));
        for (const auto& clsid : {CLSID_TavloProxy, CLSID_TavloAddressor, CLSID_CoRecoder,
                                  CLSID_TavloEventsReflector, CLSID_TavloFactory})
            EXPECT_FALSE(isRegistered(clsid));
        EXPECT_EQ(typeLibrary.count(library), 0u);

        EXPECT_EQ(broken.Call("DllUnregisterServer"), DISP_E_EXCEPTION);
        EXPECT_EQ(GetThreadLocale(), german);
        EXPECT_FALSE(RegisteredAppId(Written()).empty()) << "the application goes last";
    }
    CoUninitialize();
    EXPECT_EQ(RunRegsvr32(L""), 0u);
    EXPECT_EQ(RunRegsvr32(L"/u"), 0u) << "the whole copy clears up";
    ExpectNothing();
}
