#pragma once

#include "tests/component/handle_count.h"
#include "tests/component/shared/updates/updates_test.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline ComPtr<IStream> StreamOf(std::span<const std::uint8_t> bytes)
{
    ComPtr<IStream> stream;
    EXPECT_HR(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    EXPECT_HR(S_OK, stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr));
    EXPECT_HR(S_OK, stream->SetSize({{static_cast<DWORD>(bytes.size()), 0}}));
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
    return stream;
}

inline std::size_t PositionIn(IStream* stream)
{
    ULARGE_INTEGER position = {};
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_CUR, &position));
    return static_cast<std::size_t>(position.QuadPart);
}

/// All that was written to a stream so far.
inline Bytes WrittenTo(IStream* stream)
{
    Bytes bytes(PositionIn(stream));
    EXPECT_HR(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
    EXPECT_HR(S_OK, stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr));
    return bytes;
}

/// An interface pointer as the bytes that travel.
template <class Interface>
Bytes Marshaled(Interface* object, DWORD context, DWORD flags = MSHLFLAGS_NORMAL)
{
    const ComPtr<IStream> stream = StreamOf({});
    EXPECT_HR(S_OK, CoMarshalInterface(stream.Get(), __uuidof(Interface), object, context, nullptr, flags));
    return WrittenTo(stream.Get());
}

/// What those bytes give here; null on a failure, which goes to hr.
template <class Interface>
ComPtr<Interface> Unmarshaled(std::span<const std::uint8_t> packet, HRESULT* hr = nullptr)
{
    ComPtr<Interface> object;
    const HRESULT result = CoUnmarshalInterface(StreamOf(packet).Get(), __uuidof(Interface),
                                                reinterpret_cast<void**>(object.GetAddressOf()));
    if (hr != nullptr)
        *hr = result;
    else
        EXPECT_HR(S_OK, result);
    return object;
}

/// What the runtime writes in front of the packets of a class with marshaling of its own.
constexpr std::size_t headerOfOwnMarshaling = 48;

/// The header of packets like this object's.
template <class Interface>
Bytes HeaderOf(Interface* object, DWORD context)
{
    Bytes packet = Marshaled(object, context);
    EXPECT_HR(S_OK, CoReleaseMarshalData(StreamOf(packet).Get()));
    packet.resize(headerOfOwnMarshaling);
    return packet;
}

inline Bytes Joined(Bytes first, std::span<const std::uint8_t> second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

inline HRESULT Release(std::span<const std::uint8_t> packet)
{
    return CoReleaseMarshalData(StreamOf(packet).Get());
}

/// What an accessor's own packet holds beside the reference to its image, for an image that the
/// factory has made: within the process the marker, the view's address, and the name.
template <class Accessor>
Bytes OwnBytesOf(Accessor* accessor)
{
    constexpr std::ptrdiff_t bytes = 4 + 8 + 4 + 2 * 38;
    const Bytes packet = Marshaled(accessor, MSHCTX_INPROC);
    EXPECT_HR(S_OK, Release(packet));
    return {packet.end() - bytes, packet.end()};
}

template <class Interface>
ComPtr<IMarshal> MarshalOf(Interface* object)
{
    ComPtr<IMarshal> marshal;
    EXPECT_HR(S_OK, object->QueryInterface(IID_IMarshal, reinterpret_cast<void**>(marshal.GetAddressOf())));
    return marshal;
}

inline ComPtr<IReadAccessor> ReaderOf(ITavlo2* image)
{
    ComPtr<IReadAccessor> reader;
    EXPECT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    return reader;
}

inline ComPtr<IWriteAccessor> WriterOf(ITavlo2* image)
{
    ComPtr<IWriteAccessor> writer;
    EXPECT_HR(S_OK, image->GetWriteAccess(&writer));
    return writer;
}

/// S_OK when a writer can be had, which is given back at once.
inline HRESULT TryToWrite(ITavlo2* image)
{
    ComPtr<IWriteAccessor> writer;
    return image->GetWriteAccess(&writer);
}

inline std::uint8_t* BytesAt(void* pointer)
{
    return static_cast<std::uint8_t*>(pointer);
}

inline ULONG ReferencesOf(IUnknown* object)
{
    object->AddRef();
    return object->Release();
}

inline DWORD Handles()
{
    const DWORD count = HandleCount();
    EXPECT_NE(count, 0u);
    return count;
}

/// What a call gives whose object is in a process that is no more.
inline bool IsRpcFailure(HRESULT hr)
{
    const bool isPlatformError = HRESULT_FACILITY(hr) == FACILITY_WIN32 &&
                                 HRESULT_CODE(hr) >= RPC_S_INVALID_STRING_BINDING &&
                                 HRESULT_CODE(hr) <= RPC_S_PRF_ELT_NOT_REMOVED;
    return FAILED(hr) &&
           (HRESULT_FACILITY(hr) == FACILITY_RPC || isPlatformError || hr == CO_E_OBJNOTCONNECTED);
}

/// The private side of an image that does nothing but count.
class CountingImage final : public ClientObject<ITavloInternal>
{
public:
    STDMETHODIMP AddReader() override { return ++readers, adding; }
    STDMETHODIMP AddWriter() override { return ++writers, adding; }
    STDMETHODIMP ReleaseReader() override { return --readers, S_OK; }
    STDMETHODIMP ReleaseWriter() override { return --writers, S_OK; }
    STDMETHODIMP Invalidate(RECT*) override { return ++invalidated, S_OK; }
    STDMETHODIMP SetProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetDisposalHook(ULONG_PTR) override { return E_NOTIMPL; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyNames(SAFEARRAY**) override { return E_NOTIMPL; }

    std::atomic<HRESULT> adding = S_OK; ///< the answer to a new accessor
    std::atomic<int> readers = 0;
    std::atomic<int> writers = 0;
    std::atomic<int> invalidated = 0;
};
