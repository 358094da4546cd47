// What is said, to nobody, of a section that an accessor's packet names and that cannot be had.
#include "access/accessor_marshal.h"
#include "access/accessor_packet.h"
#include "module/error.h"
#include "module/nullstream.h"
#include "shared/sections/private_namespace.h"
#include "shared/sections/section.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// The private side of an image that nobody counts on.
class SilentImage final : public StandIn<ITavloInternal>
{
public:
    STDMETHODIMP AddReader() override { return S_OK; }
    STDMETHODIMP AddWriter() override { return S_OK; }
    STDMETHODIMP ReleaseReader() override { return S_OK; }
    STDMETHODIMP ReleaseWriter() override { return S_OK; }
    STDMETHODIMP Invalidate(RECT*) override { return S_OK; }
    STDMETHODIMP SetProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetDisposalHook(ULONG_PTR) override { return E_NOTIMPL; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyNames(SAFEARRAY**) override { return E_NOTIMPL; }
};

/// Keeps what is written to the diagnostic stream, as long as it lives.
class KeptDiagnostics
{
public:
    KeptDiagnostics() : discarding_(DiagnosticStream().rdbuf(&kept_)) {}
    ~KeptDiagnostics() { DiagnosticStream().rdbuf(discarding_); }
    KeptDiagnostics(const KeptDiagnostics&) = delete;
    KeptDiagnostics& operator=(const KeptDiagnostics&) = delete;

    std::wstring Text() const { return kept_.str(); }

private:
    std::wstringbuf kept_;
    std::wstreambuf* const discarding_;
};

/// A packet with the name of a section behind the reference to an image.
class DiagnosedPacket : public testing::Test
{
protected:
    HRESULT Unmarshal(const std::u16string& name)
    {
        const std::vector<std::uint8_t> packet = LocalPacket({0, name});
        ComPtr<IStream> stream;
        CheckHResult(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
        CheckHResult(stream->Write(packet.data(), static_cast<ULONG>(packet.size()), nullptr));
        CheckHResult(stream->Seek({}, STREAM_SEEK_SET, nullptr));
        return Guarded([&] { UnmarshalAccessor(stream.Get()); });
    }

    const KeptDiagnostics diagnostics;

private:
    ReplacedImport<decltype(CoUnmarshalInterface)> unmarshaling_{
        "CoUnmarshalInterface", [](LPSTREAM, REFIID iid, LPVOID* result) -> HRESULT {
            return NewStandIn<SilentImage>()->QueryInterface(iid, result);
        }};
};

} // namespace

TEST_F(DiagnosedPacket, OfASectionThatCannotBeOpened)
{
    const ReplacedImport<decltype(OpenFileMappingW)> refusing("OpenFileMappingW",
                                                              [](DWORD, BOOL, LPCWSTR) -> HANDLE {
                                                                  SetLastError(ERROR_ACCESS_DENIED);
                                                                  return nullptr;
                                                              });
    EXPECT_EQ(Unmarshal(u"a name"), E_ACCESSDENIED);
    EXPECT_EQ(diagnostics.Text(), L"CAccessorImpl::UnmarshalInterface OpenFileMapping(\"" +
                                      SectionNamePrefix() + L"\\a name\"): 5\n");
}

TEST_F(DiagnosedPacket, OfASectionThatCannotBeMapped)
{
    const std::wstring name = L"Tavlo-test-diagnosed-" + std::to_wstring(GetCurrentProcessId());
    const UniqueHandle section(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, name.c_str()));
    const ReplacedImport<decltype(MapViewOfFile)> refusing("MapViewOfFile",
                                                           [](HANDLE, DWORD, DWORD, DWORD, SIZE_T) -> LPVOID {
                                                               SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                                                               return nullptr;
                                                           });
    EXPECT_EQ(Unmarshal({name.begin(), name.end()}), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(diagnostics.Text(), L"CAccessorImpl::UnmarshalInterface MapViewOfFile(\"" + name + L"\"): 8\n");
}

TEST_F(DiagnosedPacket, OfASectionUnderThePrefixIsNotDiagnosed)
{
    static int opened;
    static HANDLE section;
    opened = 0;
    section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 100, nullptr);
    const ReplacedImport<decltype(OpenFileMappingW)> second(
        "OpenFileMappingW", [](DWORD, BOOL, LPCWSTR) -> HANDLE { return ++opened == 2 ? section : nullptr; });
    EXPECT_EQ(Unmarshal(u"a name"), S_OK);
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(diagnostics.Text(), L"");
}
