#include "tests/component/component_test.h"

#include "component/module/handle.h"

#include <array>
#include <string>

namespace {

using Mardu::UniqueHandle;

UniqueHandle Start(const std::wstring& arguments)
{
    std::wstring commandLine = L"\"" ADOPTING_CHILD L"\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &process))
        << GetLastError();
    const UniqueHandle thread(process.hThread);
    return UniqueHandle(process.hProcess);
}

DWORD ExitCodeOf(const UniqueHandle& process)
{
    EXPECT_EQ(WaitForSingleObject(process.get(), 120000), WAIT_OBJECT_0);
    DWORD code = 99;
    GetExitCodeProcess(process.get(), &code);
    return code;
}

struct Size
{
    long width;
    long height;
};

class AdoptedSection : public testing::TestWithParam<Size>
{
};

} // namespace

TEST_P(AdoptedSection, ShowsEachProcessTheOthersBytes)
{
    const auto [width, height] = GetParam();
    const std::wstring name = L"Tavlo-test-adopted-by-two-" + std::to_wstring(GetCurrentProcessId());
    const auto bytes = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    const UniqueHandle section(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                  static_cast<DWORD>(bytes >> 32), static_cast<DWORD>(bytes),
                                                  name.c_str()));
    ASSERT_NE(section, nullptr);
    ComPtr<ITavlo2> image;
    ASSERT_HR(S_OK,
              Create<ITavloFactory2>(CLSID_TavloFactory)
                  ->Adopt(Text(name).get(), GreyDescriptor(width, height).Get(), Tavlo_SingleWriter, &image));
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    auto* first = static_cast<std::uint8_t*>(writer->Ptr(0));
    auto* last = static_cast<std::uint8_t*>(writer->Ptr(static_cast<long>(bytes - 1)));
    *first = 10;
    *last = bytes == 1 ? 10 : 20;

    const std::wstring arguments = name + L' ' + std::to_wstring(width) + L' ' + std::to_wstring(height);
    EXPECT_EQ(ExitCodeOf(Start(arguments + L" 5")), 0u);
    EXPECT_EQ(*first, 15);
    EXPECT_EQ(*last, bytes == 1 ? 15 : 25);
    *first = 100;
    EXPECT_EQ(ExitCodeOf(Start(arguments + L" 1")), 0u);
    EXPECT_EQ(*first, 101) << "what was written between the two is seen by the second";
}

INSTANTIATE_TEST_SUITE_P(Sizes, AdoptedSection,
                         testing::Values(Size{1, 1}, Size{640, 480}, Size{32768, 49152}),
                         [](const auto& size) {
                             return std::to_string(size.param.width) + "x" +
                                    std::to_string(size.param.height);
                         });

TEST(AdoptedSections, OutliveTheProcessThatMadeThem)
{
    const std::wstring name = L"Tavlo-test-outliving-" + std::to_wstring(GetCurrentProcessId());
    ComPtr<ITavlo2> image;
    {
        const UniqueHandle section(
            CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4, name.c_str()));
        ASSERT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)
                            ->Adopt(Text(name).get(), GreyDescriptor(2, 2).Get(), Tavlo_ReadOnly, &image));
    }
    EXPECT_EQ(ExitCodeOf(Start(name + L" 2 2 7")), 0u);
    ComPtr<IReadAccessor> reader;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    EXPECT_EQ(*static_cast<std::uint8_t*>(reader->Ptr(3)), 7);
    reader.Reset();
    image.Reset();
    EXPECT_EQ(ExitCodeOf(Start(name + L" 2 2 7")), 3u) << "with its last user the section is gone";
}
