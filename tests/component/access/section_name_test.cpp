// Names in accessors' packets that no section can have, and sections that their remains
// would be the name of.
#include "tests/processes/transport_test.h"

#include "module/handle.h"

#include <psapi.h>

namespace {

class NameInAPacket : public testing::Test
{
protected:
    NameInAPacket()
    {
        const auto real = SharedImage();
        header_ = HeaderOf(ReaderOf(real.Get()).Get(), MSHCTX_LOCAL);
        EXPECT_NE(section_, nullptr);
    }

    /// What a packet with this name gives, of which the length word may say something else.
    HRESULT Receive(const std::wstring& name, std::uint32_t length)
    {
        return With(Packet(name, length), false);
    }
    HRESULT Receive(const std::wstring& name)
    {
        return Receive(name, static_cast<std::uint32_t>(name.size()));
    }
    HRESULT Release(const std::wstring& name, std::uint32_t length)
    {
        return With(Packet(name, length), true);
    }

    const std::wstring known = L"Tavlo-test-name-" + std::to_wstring(GetCurrentProcessId());
    const ComPtr<CountingImage> image = New<CountingImage>();

private:
    static Bytes Packet(const std::wstring& name, std::uint32_t length)
    {
        Bytes own;
        for (int i = 0; i < 4; ++i)
            own.push_back(static_cast<std::uint8_t>(length >> (8 * i)));
        for (const wchar_t unit : name) {
            own.push_back(static_cast<std::uint8_t>(unit));
            own.push_back(static_cast<std::uint8_t>(unit >> 8));
        }
        return own;
    }

    HRESULT With(const Bytes& own, bool isReleased)
    {
        const Bytes packet =
            Joined(Joined(header_, Marshaled<ITavloInternal>(image.Get(), MSHCTX_LOCAL)), own);
        HRESULT hr = S_OK;
        const bool isReceived = !isReleased && Unmarshaled<IReadAccessor>(packet, &hr) != nullptr;
        if (isReleased)
            hr = ::Release(packet);
        else
            EXPECT_EQ(isReceived, SUCCEEDED(hr));
        EXPECT_EQ(image->readers, 0);
        EXPECT_EQ(image->References(), 1u);
        return hr;
    }

    const Mardu::UniqueHandle section_{
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, known.c_str())};
    Bytes header_;
};

} // namespace

TEST_F(NameInAPacket, IsThatOfTheSection)
{
    EXPECT_HR(S_OK, Receive(known));
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), Receive(known + L"x"));
}

TEST_F(NameInAPacket, LongerThanAnySectionHasIsAnError)
{
    for (const std::size_t length : {32766u, 32767u, 32768u, 65536u, 1000000u})
        EXPECT_TRUE(FAILED(Receive(std::wstring(length, L'x')))) << length;
}

TEST_F(NameInAPacket, IsNotCutToThatOfAnotherSection)
{
    // Lengths in bytes are kept in 16 bits by the platform.
    for (const std::size_t more : {32768u, 65536u, 3 * 32768u})
        EXPECT_HR(HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE), Receive(known + std::wstring(more, L'x')));
}

TEST_F(NameInAPacket, IsNotCutAtANullCharacter)
{
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_NAME), Receive(known + std::wstring(L"\0x", 2)));
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_NAME), Receive(known + std::wstring(1, L'\0')));
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_NAME), Receive(std::wstring(1, L'\0')));
}

TEST_F(NameInAPacket, OfAFalseLengthTakesNoMemory)
{
    const auto privateBytes = [] {
        PROCESS_MEMORY_COUNTERS memory = {};
        memory.cb = sizeof(memory);
        EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory)));
        return memory.PeakPagefileUsage;
    };
    EXPECT_TRUE(FAILED(Receive(known, 1000))) << "what is loaded at first is loaded";
    const SIZE_T before = privateBytes();
    const DWORD handles = Handles();
    for (const std::uint32_t length :
         {0x01000000u, 0x7FFFFFFFu, 0x80000000u, 0x80000010u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        EXPECT_TRUE(FAILED(Receive(known, length))) << length;
        const bool isSkipped = (length & 0x7FFFFFFF) <= known.size();
        EXPECT_EQ(SUCCEEDED(Release(known, length)), isSkipped) << length;
    }
    EXPECT_LT(privateBytes(), before + 0x01000000) << "less than the shortest of these lengths";
    EXPECT_EQ(Handles(), handles);
}
