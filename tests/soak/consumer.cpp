#include "tests/soak/board.h"

#include "module/handle.h"

#include "TavloLib.h"

#include <wrl/client.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <span>

using Mardu::UniqueHandle;
using Mardu::UniqueView;
using Microsoft::WRL::ComPtr;

namespace {

/// Keeps a copy of the image up to date with nothing but the rectangles it is told.
/// Lives as long as the program.
class Copier final : public ITavloEvents
{
public:
    Copier(const Board& board, Slot& slot, std::uint8_t* copy)
        : width_(board.width), height_(board.height), slot_(slot), copy_(copy)
    {
    }

    void ReadFrom(IReadAccessor* reader) { pixels_ = static_cast<const std::uint8_t*>(reader->Ptr(0)); }

    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        const std::lock_guard lock(mutex_);
        const long left = std::clamp(dirty->left, 0l, width_);
        const long right = std::clamp(dirty->right, left, width_);
        for (long y = std::max(dirty->top, 0l); y < std::min(dirty->bottom, height_); ++y) {
            const long row = y * width_;
            std::memcpy(copy_ + row + left, pixels_ + row + left, static_cast<std::size_t>(right - left));
        }
        slot_.updates = slot_.updates + 1;
        slot_.stamp = StampIn(copy_);
        return S_OK;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITavloEvents);
        *result = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

private:
    const long width_;
    const long height_;
    Slot& slot_;
    std::uint8_t* const copy_;
    const std::uint8_t* pixels_ = nullptr;
    std::mutex mutex_;
};

template <class Interface>
ComPtr<Interface> Unmarshaled(std::span<const std::uint8_t> packet)
{
    ComPtr<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream), "a stream");
    Check(stream->Write(packet.data(), static_cast<ULONG>(packet.size()), nullptr), "writing a packet");
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewinding a packet");
    ComPtr<Interface> object;
    Check(CoUnmarshalInterface(stream.Get(), __uuidof(Interface),
                               reinterpret_cast<void**>(object.GetAddressOf())),
          "unmarshaling");
    return object;
}

} // namespace

int Consume(const std::wstring& soak, int consumer, DWORD producer)
{
    const UniqueHandle section(OpenFileMappingW(FILE_MAP_WRITE, FALSE, soak.c_str()));
    const UniqueHandle copySection(
        OpenFileMappingW(FILE_MAP_WRITE, FALSE, CopySection(soak, consumer).c_str()));
    const UniqueHandle ready(OpenEventW(EVENT_MODIFY_STATE, FALSE, ReadyEvent(soak, consumer).c_str()));
    const UniqueHandle end(OpenEventW(SYNCHRONIZE, FALSE, EndEvent(soak).c_str()));
    const UniqueHandle parent(OpenProcess(SYNCHRONIZE, FALSE, producer));
    const UniqueView view(MapViewOfFile(section.get(), FILE_MAP_WRITE, 0, 0, 0));
    const UniqueView copyView(MapViewOfFile(copySection.get(), FILE_MAP_WRITE, 0, 0, 0));
    if (view == nullptr || copyView == nullptr || ready == nullptr || end == nullptr || parent == nullptr)
        return 3;

    auto& board = *static_cast<Board*>(view.get());
    Slot& slot = board.slots.at(static_cast<std::size_t>(consumer));
    static Copier copier(board, slot, static_cast<std::uint8_t*>(copyView.get()));
    const auto image = Unmarshaled<ITavlo2>(std::span(slot.image).first(slot.imageSize));
    ComPtr<IReadAccessor> reader;
    if (slot.readerSize != 0)
        reader = Unmarshaled<IReadAccessor>(std::span(slot.reader).first(slot.readerSize));
    else
        Check(image->GetReadAccess(nullptr, 1.0, &reader), "taking a reader");
    copier.ReadFrom(reader.Get());
    Check(image->Subscribe(&copier, Tavlo_Asynchronous), "subscribing");
    SetEvent(ready.get());

    const HANDLE events[] = {end.get(), parent.get()};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0)
        return 4;
    Check(image->Unsubscribe(&copier), "unsubscribing");
    return 0;
}
