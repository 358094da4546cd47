// The other process of the tests: transport_child NAME PARENT. It carries out commands
// until it is told to end or its parent, a process identifier, is gone.
#include "tests/processes/exchange.h"
#include "tests/processes/transport_test.h"

#include "component/module/handle.h"

#include <psapi.h>

#include <array>

namespace {

using Mardu::UniqueHandle;
using Mardu::UniqueView;

class Child
{
public:
    explicit Child(Exchange& exchange) : x_(exchange) {}

    HRESULT Do();

private:
    template <class Interface>
    HRESULT Take(ComPtr<Interface>& slot)
    {
        HRESULT hr = S_OK;
        slot = Unmarshaled<Interface>(std::span(x_.packet, x_.packetSize), &hr);
        return hr;
    }

    template <class Interface>
    HRESULT Send(const ComPtr<Interface>& slot, DWORD context)
    {
        const Bytes packet = Marshaled(slot.Get(), context);
        x_.packetSize = static_cast<std::uint32_t>(packet.size());
        std::copy(packet.begin(), packet.end(), x_.packet);
        return S_OK;
    }

    std::uint8_t* Byte() const
    {
        const long offset = static_cast<long>(x_.index);
        return BytesAt(writer_ != nullptr ? writer_->Ptr(offset) : reader_->Ptr(offset));
    }

    ComPtr<Handler>& HandlerOf()
    {
        ComPtr<Handler>& handler = handlers_.at(static_cast<std::size_t>(x_.index));
        if (handler == nullptr)
            handler = New<Handler>();
        return handler;
    }

    HRESULT Describe();
    HRESULT Clone();
    HRESULT Updates();
    HRESULT DisposeInternal();
    HRESULT AwaitRectangle();
    HRESULT Storm();
    HRESULT Cycle();
    HRESULT Resources();

    Exchange& x_;
    ComPtr<IReadAccessor> reader_;
    ComPtr<IWriteAccessor> writer_;
    ComPtr<ITavlo2> image_;
    std::array<ComPtr<Handler>, 2> handlers_;
};

HRESULT Child::Do()
{
    switch (x_.command) {
    case Command::TakeReader:
        return Take(reader_);
    case Command::TakeWriter:
        return Take(writer_);
    case Command::TakeImage:
        return Take(image_);
    case Command::GetReader:
        return image_->GetReadAccess(nullptr, 1.0, reader_.ReleaseAndGetAddressOf());
    case Command::GetWriter:
        return image_->GetWriteAccess(writer_.ReleaseAndGetAddressOf());
    case Command::DropReader:
        return reader_.Reset(), S_OK;
    case Command::DropWriter:
        return writer_.Reset(), S_OK;
    case Command::DropImage:
        return image_.Reset(), S_OK;
    case Command::Address:
        return x_.value = static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(Byte())), S_OK;
    case Command::Peek:
        return x_.value = *Byte(), S_OK;
    case Command::Poke:
        return *Byte() = static_cast<std::uint8_t>(x_.value), S_OK;
    case Command::Invalidate:
        return writer_->Invalidate(&x_.rect);
    case Command::InvalidateWhole:
        return writer_->Invalidate(nullptr);
    case Command::Describe:
        return Describe();
    case Command::Clone:
        return Clone();
    case Command::Subscribe:
        return image_->Subscribe(HandlerOf().Get(), static_cast<EventMode>(x_.value));
    case Command::Unsubscribe:
        return image_->Unsubscribe(HandlerOf().Get());
    case Command::AwaitUpdate:
        return HandlerOf()->Receives(static_cast<std::size_t>(x_.value)) ? Updates() : E_FAIL;
    case Command::AwaitRectangle:
        return AwaitRectangle();
    case Command::Storm:
        return Storm();
    case Command::Updates:
        return Updates();
    case Command::DisposeInternal:
        return DisposeInternal();
    case Command::PassOn:
        return Send(image_, MSHCTX_LOCAL);
    case Command::MakeImage:
        image_ = GreyImage(x_.rect.right, x_.rect.bottom, Tavlo_SingleWriter);
        return S_OK;
    case Command::SendReader:
        return Send(reader_, MSHCTX_LOCAL);
    case Command::SendWriter:
        return Send(writer_, MSHCTX_LOCAL);
    case Command::SendRemote:
        return Send(image_, MSHCTX_DIFFERENTMACHINE);
    case Command::Cycle:
        return Cycle();
    case Command::Resources:
        return Resources();
    case Command::End:
        return S_OK;
    }
    return E_NOTIMPL;
}

HRESULT Child::Describe()
{
    ComPtr<ITavloDescriptor2> descriptor;
    const HRESULT hr = image_->get_Descriptor(&descriptor);
    if (FAILED(hr))
        return hr;
    x_.rect = {};
    TavloEncoding encoding = {};
    descriptor->get_Width(&x_.rect.right);
    descriptor->get_Height(&x_.rect.bottom);
    descriptor->get_Encoding(&encoding);
    x_.value = encoding;
    return S_OK;
}

HRESULT Child::Clone()
{
    ComPtr<ITavlo2> clone;
    ComPtr<IReadAccessor> reader;
    HRESULT hr = image_->Clone(Tavlo_ReadOnly, &clone);
    if (SUCCEEDED(hr))
        hr = clone->GetReadAccess(nullptr, 1.0, &reader);
    if (SUCCEEDED(hr))
        x_.value = *BytesAt(reader->Ptr(static_cast<long>(x_.index)));
    return hr;
}

HRESULT Child::Updates()
{
    const std::vector<RECT> received = HandlerOf()->Received();
    x_.value = static_cast<std::int64_t>(received.size());
    x_.rect = received.empty() ? RECT{} : received.back();
    return S_OK;
}

HRESULT Child::DisposeInternal()
{
    ComPtr<ITavloInternal> internal;
    const HRESULT hr = image_.As(&internal);
    return SUCCEEDED(hr) ? internal->Dispose() : hr;
}

HRESULT Child::AwaitRectangle()
{
    const RECT expected = x_.rect;
    const auto& handler = handlers_.front();
    const bool came = handler != nullptr && Becomes([&] {
                          const std::vector<RECT> received = handler->Received();
                          return !received.empty() && received.back() == expected;
                      });
    x_.index = 0;
    return came ? Updates() : E_FAIL;
}

HRESULT Child::Storm()
{
    RECT dirty = {0, 0, 1, 1};
    while (SUCCEEDED(writer_->Invalidate(&dirty))) {
    }
    return E_FAIL;
}

HRESULT Child::Cycle()
{
    HRESULT hr = S_OK;
    for (; SUCCEEDED(hr) && x_.index > 0; --x_.index) {
        ComPtr<IReadAccessor> reader;
        ComPtr<IWriteAccessor> writer;
        hr = image_->GetReadAccess(nullptr, 1.0, &reader);
        if (SUCCEEDED(hr))
            hr = image_->GetWriteAccess(&writer);
    }
    return hr;
}

HRESULT Child::Resources()
{
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof(memory);
    if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory)) == FALSE)
        return E_FAIL;
    x_.value = Handles();
    x_.index = static_cast<std::int64_t>(memory.PagefileUsage);
    return S_OK;
}

int Run(const std::wstring& name, DWORD parentId)
{
    const UniqueHandle section(OpenFileMappingW(FILE_MAP_WRITE, FALSE, name.c_str()));
    const UniqueHandle command(OpenEventW(SYNCHRONIZE, FALSE, CommandEvent(name).c_str()));
    const UniqueHandle answer(OpenEventW(EVENT_MODIFY_STATE, FALSE, AnswerEvent(name).c_str()));
    const UniqueHandle parent(OpenProcess(SYNCHRONIZE, FALSE, parentId));
    const UniqueView view(section != nullptr ? MapViewOfFile(section.get(), FILE_MAP_WRITE, 0, 0, 0)
                                             : nullptr);
    if (view == nullptr || command == nullptr || answer == nullptr || parent == nullptr)
        return 1;

    auto& exchange = *static_cast<Exchange*>(view.get());
    Child child(exchange);
    const HANDLE events[] = {command.get(), parent.get()};
    while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) {
        const bool isEnd = exchange.command == Command::End;
        exchange.result = child.Do();
        SetEvent(answer.get());
        if (isEnd)
            return 0;
    }
    return 2;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 3)
        return 64;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const int result = Run(arguments[1], static_cast<DWORD>(std::stoul(arguments[2])));
    CoUninitialize();
    return result;
}
