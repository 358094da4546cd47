#include "tests/component/shared/sections/private_namespace_test.h"

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
