#include "module/stream.h"

#include "module/error.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstring>
#include <string>

using namespace Mardu;
using Microsoft::WRL::ComPtr;

namespace {

/// A stream that reads and writes as much as it is told to, and answers what it is told to.
class ScriptedStream : public IStream
{
public:
    HRESULT result = S_OK;
    ULONG most = 0; ///< bytes per call

    STDMETHODIMP Read(void* data, ULONG bytes, ULONG* done) override
    {
        std::memset(data, 0x5A, std::min(bytes, most));
        return Answer(bytes, done);
    }

    STDMETHODIMP Write(const void*, ULONG bytes, ULONG* done) override { return Answer(bytes, done); }

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

private:
    HRESULT Answer(ULONG bytes, ULONG* done) const
    {
        if (done != nullptr)
            *done = std::min(bytes, most);
        return result;
    }
};

ComPtr<IStream> MemoryStream()
{
    ComPtr<IStream> stream;
    CheckHResult(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    return stream;
}

void Rewind(IStream* stream)
{
    CheckHResult(stream->Seek({}, STREAM_SEEK_SET, nullptr));
}

template <class Function>
HRESULT ResultOf(Function function)
{
    try {
        function();
        return S_OK;
    } catch (const HResultException& error) {
        return error.hr;
    }
}

struct StreamCase
{
    const char* name;
    HRESULT result;
    ULONG most;
    HRESULT read;
    HRESULT written;
};

void PrintTo(const StreamCase& stream, std::ostream* out)
{
    *out << stream.name;
}

/// Streams that are asked for eight bytes.
class StreamOfEightBytes : public testing::TestWithParam<StreamCase>
{
protected:
    StreamOfEightBytes()
    {
        stream.result = GetParam().result;
        stream.most = GetParam().most;
    }

    ScriptedStream stream;
    char data[8] = {};
};

} // namespace

TEST_P(StreamOfEightBytes, IsReadExactly)
{
    EXPECT_EQ(ResultOf([&] { ReadExactly(&stream, data, sizeof(data)); }), GetParam().read);
}

TEST_P(StreamOfEightBytes, IsWrittenExactly)
{
    EXPECT_EQ(ResultOf([&] { WriteExactly(&stream, data, sizeof(data)); }), GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(
    Of, StreamOfEightBytes,
    testing::Values(StreamCase{"AllBytes", S_OK, 8, S_OK, S_OK},
                    StreamCase{"AllBytesWithAnotherSuccess", S_FALSE, 8, S_OK, S_OK},
                    StreamCase{"OneByteLess", S_OK, 7, STG_E_READFAULT, STG_E_MEDIUMFULL},
                    StreamCase{"OneByteLessWithAnotherSuccess", S_FALSE, 7, STG_E_READFAULT,
                               STG_E_MEDIUMFULL},
                    StreamCase{"NoBytes", S_OK, 0, STG_E_READFAULT, STG_E_MEDIUMFULL},
                    StreamCase{"Failure", STG_E_ACCESSDENIED, 0, STG_E_ACCESSDENIED, STG_E_ACCESSDENIED},
                    StreamCase{"FailureAfterAllBytes", STG_E_REVERTED, 8, STG_E_REVERTED, STG_E_REVERTED}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(StreamInt32, IsLittleEndian)
{
    const ComPtr<IStream> stream = MemoryStream();
    WriteInt32(stream.Get(), 0x12345678);
    Rewind(stream.Get());
    unsigned char bytes[4] = {};
    ReadExactly(stream.Get(), bytes, sizeof(bytes));
    EXPECT_EQ(std::string(bytes, bytes + 4), "\x78\x56\x34\x12");
}

TEST(StreamInt32, ComesBackWithItsSign)
{
    const ComPtr<IStream> stream = MemoryStream();
    for (const std::int32_t value : {0, 1, -1, INT32_MAX, INT32_MIN})
        WriteInt32(stream.Get(), value);
    Rewind(stream.Get());
    for (const std::int32_t value : {0, 1, -1, INT32_MAX, INT32_MIN})
        EXPECT_EQ(ReadInt32(stream.Get()), value);
}

TEST(StreamInt32, IsNotReadFromAStreamThatEndsInIt)
{
    const ComPtr<IStream> stream = MemoryStream();
    WriteExactly(stream.Get(), "abc", 3);
    Rewind(stream.Get());
    EXPECT_EQ(ResultOf([&] { ReadInt32(stream.Get()); }), STG_E_READFAULT);
}

TEST(ReadExactly, OfNothingSucceedsAtTheEnd)
{
    EXPECT_EQ(ResultOf([] { ReadExactly(MemoryStream().Get(), nullptr, 0); }), S_OK);
}
