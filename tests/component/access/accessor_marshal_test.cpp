// Sections that only exist in the private namespace. The component is linked into this
// program, which has a stand-in for the platform's namespaces, and runs itself as the
// other process: namespace_tests NAME SIZE.
#include "access/accessor.h"
#include "module/error.h"
#include "shared/image/tavlo.h"
#include "shared/sections/private_namespace.h"
#include "shared/sections/section.h"
#include "tests/component/directory_namespace.h"
#include "tests/component/handle_count.h"
#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// Gives the process the stand-in's namespace, once and for good.
void UseNamespace()
{
    CountInto(L"Tavlo-test-lookup-" + std::to_wstring(GetCurrentProcessId()));
    const FoundNamespaceFunctions withNamespaces(DirectoryNamespaceApi());
    static_cast<void>(SectionNamePrefix());
}

/// Writes down the names that sections are looked for under, as long as it lives.
class LookUps
{
public:
    LookUps() : replaced_("OpenFileMappingW", Open)
    {
        original = replaced_.Original();
        names.clear();
    }

    static inline std::vector<std::wstring> names;

private:
    static HANDLE WINAPI Open(DWORD access, BOOL inherit, LPCWSTR name)
    {
        names.emplace_back(name);
        return original(access, inherit, name);
    }

    static inline decltype(OpenFileMappingW)* original = nullptr;
    ReplacedImport<decltype(OpenFileMappingW)> replaced_;
};

ImageLayout Layout()
{
    return LayoutOf(Mardu::Sentel::Tavlo::TavloDescriptorData{10, 10, 8, 0, 0, 1, 10});
}

ComPtr<IStream> NewStream()
{
    ComPtr<IStream> stream;
    CheckHResult(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    return stream;
}

ComPtr<IMarshal> MarshalOf(IUnknown* object)
{
    ComPtr<IMarshal> marshal;
    CheckHResult(object->QueryInterface(IID_IMarshal, reinterpret_cast<void**>(marshal.GetAddressOf())));
    return marshal;
}

/// A write accessor's packet, rewound.
ComPtr<IStream> PacketOf(IWriteAccessor* writer, DWORD context)
{
    const ComPtr<IStream> stream = NewStream();
    CheckHResult(MarshalOf(writer)->MarshalInterface(stream.Get(), IID_IWriteAccessor, writer, context,
                                                     nullptr, MSHLFLAGS_NORMAL));
    CheckHResult(stream->Seek({}, STREAM_SEEK_SET, nullptr));
    return stream;
}

ComPtr<IWriteAccessor> Receive(IStream* packet)
{
    const auto accessor = Make<CWriteAccessor>();
    ComPtr<IWriteAccessor> writer;
    CheckHResult(accessor->UnmarshalInterface(packet, IID_IWriteAccessor,
                                              reinterpret_cast<void**>(writer.GetAddressOf())));
    return writer;
}

std::wstring NameIn(IStream* packet)
{
    ComPtr<ITavloInternal> image;
    CheckHResult(
        CoUnmarshalInterface(packet, IID_ITavloInternal, reinterpret_cast<void**>(image.GetAddressOf())));
    std::uint32_t length = 0;
    CheckHResult(packet->Read(&length, sizeof(length), nullptr));
    std::wstring name(length, L'\0');
    CheckHResult(packet->Read(name.data(), length * 2, nullptr));
    return name;
}

class NamespaceLookUp : public testing::Test
{
protected:
    NamespaceLookUp() { CheckHResult(image->GetWriteAccess(&writer)); }

    std::wstring Name() const { return NameIn(PacketOf(writer.Get(), MSHCTX_LOCAL).Get()); }

    const ComPtr<CTavlo> image = CreateImage(Layout(), Tavlo_SingleWriter);
    ComPtr<IWriteAccessor> writer;
};

int RunAsOtherProcess(const std::wstring& name, ULONG size)
{
    UniqueHandle section = OpenSection(name);
    const UniqueView view = MapWholeSection(section.get());
    const ComPtr<IStream> packet = NewStream();
    CheckHResult(packet->Write(view.get(), size, nullptr));
    CheckHResult(packet->Seek({}, STREAM_SEEK_SET, nullptr));
    const LookUps lookUps;
    const auto writer = Receive(packet.Get());
    if (LookUps::names.size() != 2 || LookUps::names[1] != L"Tavlo\\" + LookUps::names[0])
        return 2;
    auto* first = static_cast<std::uint8_t*>(writer->Ptr(0));
    if (*first != 41)
        return 3;
    *first = 42;
    return 0;
}

} // namespace

TEST_F(NamespaceLookUp, TriesTheBareNameAndThenThePrefixedOne)
{
    *static_cast<std::uint8_t*>(writer->Ptr(0)) = 5;
    const std::wstring name = Name();
    const ComPtr<IStream> packet = PacketOf(writer.Get(), MSHCTX_LOCAL);
    const LookUps lookUps;
    const auto received = Receive(packet.Get());
    EXPECT_EQ(LookUps::names, (std::vector<std::wstring>{name, L"Tavlo\\" + name}));
    EXPECT_NE(received->Ptr(0), writer->Ptr(0)) << "a view of its own";
    EXPECT_EQ(*static_cast<std::uint8_t*>(received->Ptr(0)), 5);
}

TEST_F(NamespaceLookUp, PrefersTheBareName)
{
    const std::wstring name = Name();
    const UniqueHandle outside(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, name.c_str()));
    ASSERT_NE(outside, nullptr);
    const UniqueView view = MapWholeSection(outside.get());
    *static_cast<std::uint8_t*>(view.get()) = 6;
    const ComPtr<IStream> packet = PacketOf(writer.Get(), MSHCTX_LOCAL);
    const LookUps lookUps;
    const auto received = Receive(packet.Get());
    EXPECT_EQ(LookUps::names, (std::vector<std::wstring>{name}));
    EXPECT_EQ(*static_cast<std::uint8_t*>(received->Ptr(0)), 6);
}

TEST_F(NamespaceLookUp, IsNotMadeWithinTheProcess)
{
    const ComPtr<IStream> packet = PacketOf(writer.Get(), MSHCTX_INPROC);
    const LookUps lookUps;
    const auto received = Receive(packet.Get());
    EXPECT_TRUE(LookUps::names.empty());
    EXPECT_EQ(received->Ptr(0), writer->Ptr(0));
}

TEST_F(NamespaceLookUp, GivesTheSecondNamesError)
{
    const ComPtr<IStream> packet = NewStream();
    CheckHResult(CoMarshalInterface(packet.Get(), IID_ITavloInternal,
                                    static_cast<ITavloInternal*>(image.Get()), MSHCTX_LOCAL, nullptr,
                                    MSHLFLAGS_NORMAL));
    const wchar_t own[] = {1, 0, L'?'};
    CheckHResult(packet->Write(own, sizeof(own), nullptr));
    CheckHResult(packet->Seek({}, STREAM_SEEK_SET, nullptr));
    const LookUps lookUps;
    EXPECT_EQ(Guarded([&] { Receive(packet.Get()); }), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(LookUps::names, (std::vector<std::wstring>{L"?", L"Tavlo\\?"}));
}

TEST_F(NamespaceLookUp, ClosesASectionThatCannotBeMapped)
{
    const auto receive = [&] {
        const ComPtr<IStream> packet = PacketOf(writer.Get(), MSHCTX_LOCAL);
        const ReplacedImport<decltype(MapViewOfFile)> failing(
            "MapViewOfFile", [](HANDLE, DWORD access, DWORD high, DWORD low, SIZE_T bytes) -> LPVOID {
                EXPECT_EQ(access, static_cast<DWORD>(FILE_MAP_READ | FILE_MAP_WRITE));
                EXPECT_EQ(high + low + bytes, 0u) << "the whole section";
                SetLastError(ERROR_COMMITMENT_LIMIT);
                return nullptr;
            });
        EXPECT_EQ(Guarded([&] { Receive(packet.Get()); }), HRESULT_FROM_WIN32(ERROR_COMMITMENT_LIMIT));
    };
    receive(); // the platform sets up what it needs at the first packet
    const DWORD before = HandleCount();
    ASSERT_NE(before, 0u);
    for (int i = 0; i < 10; ++i)
        receive();
    EXPECT_EQ(HandleCount(), before);
    writer.Reset();
    ComPtr<IWriteAccessor> next;
    EXPECT_EQ(image->GetWriteAccess(&next), S_OK) << "the accessor that failed was not counted";
}

TEST_F(NamespaceLookUp, FindsTheSectionInAnotherProcess)
{
    auto* first = static_cast<std::uint8_t*>(writer->Ptr(0));
    *first = 41;
    const ComPtr<IStream> packet = PacketOf(writer.Get(), MSHCTX_LOCAL);
    STATSTG stat = {};
    CheckHResult(packet->Stat(&stat, STATFLAG_NONAME));
    const ULONG size = stat.cbSize.LowPart;
    const std::wstring name = L"Tavlo-test-lookup-packet-" + std::to_wstring(GetCurrentProcessId());
    const UniqueHandle section(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name.c_str()));
    ASSERT_NE(section, nullptr);
    const UniqueView view = MapWholeSection(section.get());
    CheckHResult(packet->Read(view.get(), size, nullptr));

    std::vector<wchar_t> program(4096);
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::wstring line = L'"' + std::wstring(program.data()) + L"\" " + name + L' ' + std::to_wstring(size);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                               &started));
    const UniqueHandle process(started.hProcess);
    const UniqueHandle thread(started.hThread);
    ASSERT_EQ(WaitForSingleObject(process.get(), 60000), WAIT_OBJECT_0);
    DWORD code = 99;
    GetExitCodeProcess(process.get(), &code);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(*first, 42);
}

int wmain(int count, wchar_t** arguments)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    int result = 91;
    try {
        testing::InitGoogleTest(&count, arguments);
        UseNamespace();
        result = count == 3 ? RunAsOtherProcess(arguments[1], std::stoul(arguments[2])) : RUN_ALL_TESTS();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    CoUninitialize();
    return result;
}
