#include "shared/sections/section.h"

#include "module/error.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>
#include <objbase.h>

#include <algorithm>
#include <cstring>
#include <regex>
#include <set>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr DWORD someError = ERROR_NOT_READY;

size_t ViewSize(const void* view)
{
    MEMORY_BASIC_INFORMATION information = {};
    VirtualQuery(view, &information, sizeof(information));
    return information.RegionSize;
}

/// What CreateFileMappingW is called with. The call fails.
struct MappingRequest
{
    HANDLE file = nullptr;
    bool daclPresent = false;
    bool daclNull = false;
    BOOL inherits = FALSE;
    DWORD protection = 0;
    DWORD high = 0;
    DWORD low = 0;
    std::wstring name;
};

MappingRequest RequestOf(const std::wstring& prefix, std::int64_t bytes)
{
    static MappingRequest request;
    request = {};
    const ReplacedImport<decltype(CreateFileMappingW)> recorded(
        "CreateFileMappingW",
        [](HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection, DWORD high, DWORD low,
           LPCWSTR name) -> HANDLE {
            BOOL present = FALSE;
            BOOL defaulted = FALSE;
            PACL dacl = nullptr;
            GetSecurityDescriptorDacl(attributes->lpSecurityDescriptor, &present, &dacl, &defaulted);
            request = {
                file, present != FALSE, dacl == nullptr, attributes->bInheritHandle, protection, high, low,
                name};
            SetLastError(someError);
            return nullptr;
        });
    EXPECT_THROW(CreateSection(prefix, bytes), win32_error);
    return request;
}

/// The code of the win32_error that a function throws; 0 when it throws none.
template <class Function>
DWORD ErrorOf(Function function)
{
    try {
        function();
        return 0;
    } catch (const win32_error& error) {
        return error.code();
    }
}

} // namespace

TEST(PrefixedName, HasABackslashAfterThePrefix)
{
    EXPECT_EQ(PrefixedName(L"Tavlo", L"{name}"), L"Tavlo\\{name}");
    EXPECT_EQ(PrefixedName(L"Global", L"{name}"), L"Global\\{name}");
}

TEST(PrefixedName, IsTheBareNameWithoutAPrefix)
{
    EXPECT_EQ(PrefixedName(L"", L"{name}"), L"{name}");
}

TEST(CreateSection, NamesASectionWithTheTextOfAGuid)
{
    const std::wstring name = CreateSection(L"Global", 1).name;
    EXPECT_EQ(name.size(), 38u);
    EXPECT_TRUE(std::regex_match(name, std::wregex(L"\\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\}")))
        << name.size();
}

TEST(CreateSection, NamesNoTwoSectionsAlike)
{
    std::set<std::wstring> names;
    for (int i = 0; i < 500; ++i)
        names.insert(CreateSection(L"", 1).name);
    EXPECT_EQ(names.size(), 500u);
}

TEST(CreateSection, PutsThePrefixBeforeTheNameOnlyForThePlatform)
{
    const std::wstring name = RequestOf(L"Tavlo", 1).name;
    EXPECT_EQ(name.size(), 6u + 38u);
    EXPECT_EQ(name.substr(0, 7), L"Tavlo\\{");
}

TEST(CreateSection, IsBackedByThePagingFile)
{
    const MappingRequest request = RequestOf(L"", 1);
    EXPECT_EQ(request.file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(request.protection, static_cast<DWORD>(PAGE_READWRITE));
}

TEST(CreateSection, AsksForFullAccessForEveryone)
{
    const MappingRequest request = RequestOf(L"", 1);
    EXPECT_TRUE(request.daclPresent);
    EXPECT_TRUE(request.daclNull);
}

TEST(CreateSection, AsksForAnInheritableHandle)
{
    EXPECT_EQ(RequestOf(L"", 1).inherits, TRUE);
}

namespace {

struct SizeCase
{
    const char* name;
    std::int64_t bytes;
    DWORD high;
    DWORD low;
};

void PrintTo(const SizeCase& size, std::ostream* out)
{
    *out << size.name;
}

class SectionSize : public testing::TestWithParam<SizeCase>
{
};

} // namespace

TEST_P(SectionSize, IsSplitIntoTwoWords)
{
    const MappingRequest request = RequestOf(L"", GetParam().bytes);
    EXPECT_EQ(request.high, GetParam().high);
    EXPECT_EQ(request.low, GetParam().low);
}

INSTANTIATE_TEST_SUITE_P(Of, SectionSize,
                         testing::Values(SizeCase{"Zero", 0, 0, 0}, SizeCase{"One", 1, 0, 1},
                                         SizeCase{"LargestLowWord", 0xFFFFFFFF, 0, 0xFFFFFFFF},
                                         SizeCase{"AboveTheLowWord", 0x100000002, 1, 2},
                                         SizeCase{"Negative", -2, 0xFFFFFFFF, 0xFFFFFFFE}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(CreateSection, MakesAnInheritableHandle)
{
    const NewSection section = CreateSection(L"", 1);
    DWORD flags = 0;
    ASSERT_TRUE(GetHandleInformation(section.mapping.get(), &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
}

TEST(CreateSection, MakesMemoryOfZeros)
{
    const NewSection section = CreateSection(L"", 5000);
    const UniqueView view = MapWholeSection(section.mapping.get());
    const auto* bytes = static_cast<const BYTE*>(view.get());
    EXPECT_EQ(std::count(bytes, bytes + 5000, 0), 5000);
}

TEST(CreateSection, OfSizeZeroIsRefusedAsAnInvalidParameter)
{
    EXPECT_EQ(ErrorOf([] { CreateSection(L"Global", 0); }), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Guarded([] { CreateSection(L"Global", 0); }), HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER));
}

TEST(CreateSection, FailsUnderAPrefixThatIsNoDirectory)
{
    EXPECT_EQ(ErrorOf([] { CreateSection(L"TavloThatNobodyMade", 1); }),
              static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST(CreateSection, FailsWithTheResultOfCreatingTheGuid)
{
    const ReplacedImport<decltype(CoCreateGuid)> failing("CoCreateGuid",
                                                         [](GUID*) -> HRESULT { return 0x80071234; });
    EXPECT_EQ(Guarded([] { CreateSection(L"", 1); }), static_cast<HRESULT>(0x80071234));
}

TEST(CreateSection, FailsWithTheLastErrorOfConvertingTheGuid)
{
    const ReplacedImport<decltype(StringFromGUID2)> failing("StringFromGUID2",
                                                            [](REFGUID, LPOLESTR, int) -> int {
                                                                SetLastError(someError);
                                                                return 0;
                                                            });
    EXPECT_EQ(Guarded([] { CreateSection(L"", 1); }), HRESULT_FROM_WIN32(someError));
}

TEST(CreateSection, GivesTheGuidTextFortyEightCharacters)
{
    static int room = 0;
    static decltype(StringFromGUID2)* original = nullptr;
    const ReplacedImport<decltype(StringFromGUID2)> watched("StringFromGUID2",
                                                            [](REFGUID guid, LPOLESTR text, int size) -> int {
                                                                room = size;
                                                                return original(guid, text, size);
                                                            });
    original = watched.Original();
    CreateSection(L"", 1);
    EXPECT_EQ(room, 48);
}

TEST(CreateSection, FailsWithTheLastErrorOfMakingTheDescriptor)
{
    const ReplacedImport<decltype(InitializeSecurityDescriptor)> failing(
        "InitializeSecurityDescriptor", [](PSECURITY_DESCRIPTOR, DWORD) -> BOOL {
            SetLastError(someError);
            return FALSE;
        });
    EXPECT_EQ(Guarded([] { CreateSection(L"", 1); }), HRESULT_FROM_WIN32(someError));
}

TEST(CreateSection, FailsWithTheLastErrorOfSettingTheDacl)
{
    const ReplacedImport<decltype(SetSecurityDescriptorDacl)> failing(
        "SetSecurityDescriptorDacl", [](PSECURITY_DESCRIPTOR, BOOL, PACL, BOOL) -> BOOL {
            SetLastError(someError);
            return FALSE;
        });
    EXPECT_EQ(Guarded([] { CreateSection(L"", 1); }), HRESULT_FROM_WIN32(someError));
}

TEST(CreateSection, FailsWithTheLastErrorOfCreatingTheMapping)
{
    const ReplacedImport<decltype(CreateFileMappingW)> failing(
        "CreateFileMappingW", [](HANDLE, LPSECURITY_ATTRIBUTES, DWORD, DWORD, DWORD, LPCWSTR) -> HANDLE {
            SetLastError(someError);
            return nullptr;
        });
    EXPECT_EQ(Guarded([] { CreateSection(L"", 1); }), HRESULT_FROM_WIN32(someError));
}

TEST(OpenSection, FindsNoSectionOfAnUnknownName)
{
    EXPECT_EQ(ErrorOf([] { OpenSection(L"Global\\{no such section}"); }),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Guarded([] { OpenSection(L"Global\\{no such section}"); }),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

TEST(OpenSection, UsesTheNameExactlyAsGiven)
{
    const NewSection section = CreateSection(L"", 1);
    EXPECT_NE(OpenSection(section.name), nullptr);
    EXPECT_THROW(OpenSection(section.name + L" "), win32_error);
}

TEST(OpenSection, OpensNoSectionAfterItsLastHandle)
{
    std::wstring name;
    {
        name = CreateSection(L"", 1).name;
    }
    EXPECT_EQ(ErrorOf([&] { OpenSection(name); }), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST(OpenSection, AsksForAllAccessAndNoInheritance)
{
    static DWORD access = 0;
    static BOOL inherits = TRUE;
    const ReplacedImport<decltype(OpenFileMappingW)> recorded(
        "OpenFileMappingW", [](DWORD asked, BOOL inherit, LPCWSTR) -> HANDLE {
            access = asked;
            inherits = inherit;
            SetLastError(someError);
            return nullptr;
        });
    EXPECT_EQ(ErrorOf([] { OpenSection(L"name"); }), someError);
    EXPECT_EQ(access, static_cast<DWORD>(FILE_MAP_ALL_ACCESS));
    EXPECT_EQ(inherits, FALSE);
}

TEST(OpenSection, RefusesANameThatIsTooLong)
{
    EXPECT_EQ(ErrorOf([] { OpenSection(std::wstring(40000, L'x')); }),
              static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE));
    EXPECT_EQ(Guarded([] { OpenSection(std::wstring(40000, L'x')); }),
              HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE));
}

TEST(OpenSection, DoesNotCutALongNameToThatOfAnotherSection)
{
    const NewSection section = CreateSection(L"", 1);
    EXPECT_EQ(ErrorOf([&] { OpenSection(section.name + std::wstring(32768, L'x')); }),
              static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE));
}

TEST(OpenSection, DoesNotCutANameAtANullCharacter)
{
    const NewSection section = CreateSection(L"", 1);
    EXPECT_EQ(ErrorOf([&] { OpenSection(section.name + std::wstring(L"\0x", 2)); }),
              static_cast<DWORD>(ERROR_INVALID_NAME));
    EXPECT_EQ(ErrorOf([&] { OpenSection(section.name + std::wstring(1, L'\0')); }),
              static_cast<DWORD>(ERROR_INVALID_NAME));
}

TEST(MapWholeSection, CoversEveryByteOfTheSection)
{
    for (const std::int64_t bytes : {1, 4096, 4097, 1000000}) {
        const NewSection section = CreateSection(L"", bytes);
        const UniqueView view = MapWholeSection(section.mapping.get());
        EXPECT_EQ(ViewSize(view.get()), static_cast<size_t>((bytes + 4095) / 4096 * 4096)) << bytes;
    }
}

TEST(MapWholeSection, MayBeReadAndWrittenToTheLastByte)
{
    const NewSection section = CreateSection(L"", 100000);
    const UniqueView view = MapWholeSection(section.mapping.get());
    std::memset(view.get(), 0xA5, 100000);
    const auto* bytes = static_cast<const BYTE*>(view.get());
    EXPECT_EQ(std::count(bytes, bytes + 100000, 0xA5), 100000);
}

TEST(MapWholeSection, ShowsTheSameMemoryThroughASectionOpenedByName)
{
    const NewSection section = CreateSection(L"", 100);
    const UniqueHandle opened = OpenSection(section.name);
    const UniqueView writer = MapWholeSection(section.mapping.get());
    const UniqueView reader = MapWholeSection(opened.get());
    static_cast<BYTE*>(writer.get())[99] = 17;
    EXPECT_EQ(static_cast<const BYTE*>(reader.get())[99], 17);
}

TEST(MapWholeSection, OutlivesTheHandle)
{
    NewSection section = CreateSection(L"", 100);
    const UniqueView view = MapWholeSection(section.mapping.get());
    section.mapping.reset();
    static_cast<BYTE*>(view.get())[99] = 17;
    EXPECT_EQ(static_cast<const BYTE*>(view.get())[99], 17);
}

TEST(MapWholeSection, FailsWithTheLastError)
{
    const ReplacedImport<decltype(MapViewOfFile)> failing("MapViewOfFile",
                                                          [](HANDLE, DWORD, DWORD, DWORD, SIZE_T) -> LPVOID {
                                                              SetLastError(someError);
                                                              return nullptr;
                                                          });
    EXPECT_EQ(ErrorOf([] { MapWholeSection(nullptr); }), someError);
}

TEST(MapWholeSection, FailsForWhatIsNoSection)
{
    const UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    EXPECT_EQ(Guarded([&] { MapWholeSection(event.get()); }), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
}
