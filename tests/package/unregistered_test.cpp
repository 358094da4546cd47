// The component by its manifests alone, where nothing is registered. The program lies beside the
// component's files with the example manifest under its own name, and starts itself as the other
// process.
#include <tavlo/tavlo.hpp>

#include <SentelCommon.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

using tavlo::com_ptr;

std::wstring TextOf(const GUID& guid)
{
    std::array<wchar_t, 40> text;
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

bool IsInRegistry(const std::wstring& key)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return false;
    RegCloseKey(opened);
    return true;
}

com_ptr<IStream> NewStream()
{
    com_ptr<IStream> stream;
    tavlo::check(CreateStreamOnHGlobal(nullptr, TRUE, stream.put()), "make a stream");
    return stream;
}

void Rewind(IStream* stream)
{
    tavlo::check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewind a stream");
}

/// An interface pointer as the text that travels to another process.
template <class Interface>
std::wstring Packet(Interface* object)
{
    const com_ptr<IStream> stream = NewStream();
    tavlo::check(CoMarshalInterface(stream.get(), __uuidof(Interface), object, MSHCTX_LOCAL, nullptr,
                                    MSHLFLAGS_NORMAL),
                 "marshal");
    Rewind(stream.get());
    std::wstring text;
    BYTE byte = 0;
    for (ULONG read = 0; stream->Read(&byte, 1, &read) == S_OK && read == 1;) {
        text += L"0123456789abcdef"[byte / 16];
        text += L"0123456789abcdef"[byte % 16];
    }
    return text;
}

/// What that text gives here.
template <class Interface>
com_ptr<Interface> Unpacked(const std::wstring& text)
{
    const com_ptr<IStream> stream = NewStream();
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const BYTE byte = static_cast<BYTE>(std::stoul(text.substr(i, 2), nullptr, 16));
        tavlo::check(stream->Write(&byte, 1, nullptr), "write a stream");
    }
    Rewind(stream.get());
    com_ptr<Interface> object;
    tavlo::check(CoUnmarshalInterface(stream.get(), __uuidof(Interface), object.put_void()), "unmarshal");
    return object;
}

/// A process of this program that is given packets; its exit code.
DWORD RunOther(const std::wstring& packets)
{
    std::array<wchar_t, 32768> program;
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::wstring line = L"\"" + std::wstring(program.data()) + L"\" --other " + packets;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &started))
        return GetLastError();
    WaitForSingleObject(started.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(started.hProcess, &code);
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
    return code;
}

/// The other process: it reads pixel 0 through the accessor, and writes twice its value to
/// pixel 1 through the image.
int Other(const std::wstring& reader, const std::wstring& image)
{
    const tavlo::apartment apartment;
    const auto accessor = Unpacked<IReadAccessor>(reader);
    const auto value = *static_cast<const std::uint8_t*>(accessor->Ptr(0));
    const tavlo::image received(Unpacked<ITavlo2>(image));
    const auto pixels = received.write<std::uint8_t>();
    pixels.at(1, 0) = static_cast<std::uint8_t>(2 * value);
    pixels.invalidate({1, 0, 2, 1});
    return 0;
}

/// Makes an object of the class of this name, with this interface.
HRESULT MakeNamed(const std::wstring& name, const IID& iid)
{
    CLSID clsid = {};
    if (const HRESULT result = CLSIDFromProgID(name.c_str(), &clsid); FAILED(result))
        return result;
    com_ptr<IUnknown> object;
    return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, object.put_void());
}

tavlo::image NewImage()
{
    return tavlo::image::create({.width = 64, .height = 48, .encoding = Tavlo_Unsigned});
}

} // namespace

TEST(Unregistered, NothingIsInTheRegistry)
{
    EXPECT_FALSE(IsInRegistry(L"CLSID\\" + TextOf(CLSID_TavloFactory)));
    EXPECT_FALSE(IsInRegistry(L"Tavlo.TavloFactory"));
    EXPECT_FALSE(IsInRegistry(L"TypeLib\\" + TextOf(LIBID_TavloLib)));
    EXPECT_FALSE(IsInRegistry(L"TypeLib\\" + TextOf(LIBID_CommonSentelLib)));
    EXPECT_FALSE(IsInRegistry(L"Interface\\" + TextOf(__uuidof(ITavlo2))));
}

TEST(Unregistered, EveryClassIsMade)
{
    for (const CLSID& clsid :
         {CLSID_TavloStub, CLSID_ReadAccessor, CLSID_WriteAccessor, CLSID_TavloDescriptor,
          CLSID_TavloDescriptor2, CLSID_Tavlo, CLSID_TavloProxy, CLSID_TavloAddressor, CLSID_CoRecoder,
          CLSID_TavloEventsReflector, CLSID_TavloFactory}) {
        com_ptr<IUnknown> object;
        EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.put_void()),
                  S_OK);
    }
}

// A manifest gives a name an identifier of the moment, so classes are told apart by their interfaces.
TEST(Unregistered, NamesOfClassesAreThoseOfRegistration)
{
    const std::pair<std::wstring, IID> names[] = {
        {L"Tavlo.TavloStub", __uuidof(ITavloStub)},
        {L"Tavlo.ReadAccessor", __uuidof(IReadAccessor)},
        {L"Tavlo.WriteAccessor", __uuidof(IWriteAccessor)},
        {L"Tavlo.Tavlo", __uuidof(ITavlo2)},
        {L"Tavlo.TavloProxy", __uuidof(ITavlo2)},
        {L"Tavlo.Addressor", __uuidof(ITavloAddressor)},
        {L"Tavlo.CoRecoder", __uuidof(IRecode)},
        {L"Tavlo.TavloEventsReflector", __uuidof(ITavloEventsReflector)},
        {L"Tavlo.TavloFactory", __uuidof(ITavloFactory2)},
    };
    for (const auto& [name, iid] : names) {
        EXPECT_EQ(MakeNamed(name, iid), S_OK);
        EXPECT_EQ(MakeNamed(name + L".1", iid), S_OK);
    }
    EXPECT_EQ(MakeNamed(L"Tavlo.TavloDescriptor.1", __uuidof(ITavloDescriptor)), S_OK);
    EXPECT_EQ(MakeNamed(L"Tavlo.TavloDescriptor.1", __uuidof(ITavloDescriptor2)), E_NOINTERFACE);
    EXPECT_EQ(MakeNamed(L"Tavlo.TavloDescriptor.2", __uuidof(ITavloDescriptor2)), S_OK);
    EXPECT_EQ(MakeNamed(L"Tavlo.TavloDescriptor", __uuidof(ITavloDescriptor2)), S_OK);
    EXPECT_EQ(MakeNamed(L"Tavlo.TavloDescriptor", __uuidof(ITavloDescriptor)), E_NOINTERFACE);
}

TEST(Unregistered, TypeLibrariesAreFound)
{
    for (const GUID& identifier : {LIBID_TavloLib, LIBID_CommonSentelLib}) {
        com_ptr<ITypeLib> library;
        EXPECT_EQ(LoadRegTypeLib(identifier, 1, 0, LOCALE_NEUTRAL, library.put()), S_OK);
    }
}

TEST(Unregistered, PixelsAreWrittenAndRead)
{
    const tavlo::image image = NewImage();
    image.write<std::uint8_t>().at(10, 20) = 255;
    EXPECT_EQ(image.read<std::uint8_t>().at(10, 20), 255);
    EXPECT_EQ(image.read<std::uint8_t>().at(11, 20), 0);
}

TEST(Unregistered, AnImageCrossesApartments)
{
    const tavlo::image image = NewImage();
    image.write<std::uint8_t>().at(1, 2) = 99;
    const std::wstring packet = Packet(image.get());
    ITavlo2* other = nullptr;
    int value = 0;
    std::thread([&] {
        const tavlo::apartment apartment(COINIT_APARTMENTTHREADED);
        const tavlo::image received(Unpacked<ITavlo2>(packet));
        other = received.get();
        value = received.read<std::uint8_t>().at(1, 2);
    }).join();
    EXPECT_NE(other, image.get()) << "no proxy";
    EXPECT_EQ(value, 99);
}

TEST(Unregistered, AccessorsAndImagesCrossProcesses)
{
    const tavlo::image image = NewImage();
    image.write<std::uint8_t>().at(0, 0) = 21;
    const auto reader = image.read<std::uint8_t>();
    EXPECT_EQ(RunOther(Packet(reader.get()) + L' ' + Packet(image.get())), 0u);
    EXPECT_EQ(reader.at(1, 0), 42);
}

int wmain(int count, wchar_t** arguments)
{
    if (count == 4 && std::wstring(arguments[1]) == L"--other") {
        try {
            return Other(arguments[2], arguments[3]);
        } catch (const std::exception& error) {
            std::printf("the other process: %s\n", error.what());
            return 1;
        }
    }
    testing::InitGoogleTest(&count, arguments);
    const tavlo::apartment apartment;
    return RUN_ALL_TESTS();
}
