#include "access/accessor_marshal.h"

#include "access/accessor_packet.h"
#include "module/critical_section.h"
#include "module/error.h"
#include "module/nullstream.h"
#include "module/stream.h"
#include "shared/sections/private_namespace.h"
#include "shared/sections/section.h"

#include <objbase.h>

#include <mutex>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

class StreamSource final : public ByteSource
{
public:
    explicit StreamSource(IStream* stream) noexcept : stream_(stream) {}

    void Read(void* data, std::size_t bytes) override
    {
        ReadExactly(stream_, data, static_cast<ULONG>(bytes));
    }

private:
    IStream* stream_;
};

AccessorPacket PacketOf(const AccessorTarget& target)
{
    return {reinterpret_cast<std::uintptr_t>(target.view.get()),
            {target.mapName.begin(), target.mapName.end()}};
}

ComPtr<ITavloInternal> UnmarshalImage(IStream* stream)
{
    ComPtr<ITavloInternal> image;
    CheckHResult(
        CoUnmarshalInterface(stream, IID_ITavloInternal, reinterpret_cast<void**>(image.GetAddressOf())));
    return image;
}

void Diagnose(const wchar_t* function, const std::wstring& name, DWORD error)
{
    static CriticalSection oneAtATime;
    const std::lock_guard lock(oneAtATime);
    DiagnosticStream() << L"CAccessorImpl::UnmarshalInterface " << function << L"(\"" << name << L"\"): "
                       << error << L'\n';
}

/// Opens and maps the section in this process, under the bare name or within the
/// namespace of images.
void MapSection(AccessorTarget& target, const std::wstring& prefix)
{
    std::wstring name = target.mapName;
    target.mapping = TryOpenSection(name);
    if (target.mapping == nullptr) {
        name = prefix + L'\\' + target.mapName;
        target.mapping = TryOpenSection(name);
    }
    if (target.mapping == nullptr) {
        const DWORD error = GetLastError();
        Diagnose(L"OpenFileMapping", name, error);
        throw win32_error("Opening the image's section failed", error);
    }
    UniqueView view(MapViewOfFile(target.mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
    if (view == nullptr) {
        const DWORD error = GetLastError();
        Diagnose(L"MapViewOfFile", name, error);
        throw win32_error("Mapping the image's section failed", error);
    }
    target.view = ShareView(std::move(view), target.mapName);
}

} // namespace

DWORD AccessorMarshalSizeMax(const AccessorTarget& target, REFIID iid, void* object, DWORD context,
                             void* contextData, DWORD flags)
{
    ComPtr<IMarshal> standard;
    CheckHResult(CoGetStandardMarshal(IID_ITavloInternal, target.image.Get(), context, contextData,
                                      MSHLFLAGS_NORMAL, &standard));
    DWORD size = 0;
    CheckHResult(standard->GetMarshalSizeMax(iid, object, context, contextData, flags, &size));
    return size + static_cast<DWORD>(AccessorPacketSizeMax(target.mapName.size()));
}

void MarshalAccessor(IStream* stream, const AccessorTarget& target, DWORD context, void* contextData)
{
    // The reference to the image is always a normal one, whatever the caller asked for.
    CheckHResult(CoMarshalInterface(stream, IID_ITavloInternal, target.image.Get(), context, contextData,
                                    MSHLFLAGS_NORMAL));
    const auto packet =
        context == MSHCTX_INPROC ? InProcessPacket(PacketOf(target)) : LocalPacket(PacketOf(target));
    WriteExactly(stream, packet.data(), static_cast<ULONG>(packet.size()));
}

AccessorTarget UnmarshalAccessor(IStream* stream)
{
    // Also makes sure that the namespace is there before a section is looked up in it.
    const std::wstring& prefix = SectionNamePrefix();
    AccessorTarget target;
    target.image = UnmarshalImage(stream);
    StreamSource source(stream);
    const AccessorPacket packet = ReadAccessorPacket(source);
    target.mapName.assign(packet.mapName.begin(), packet.mapName.end());
    if (packet.view == 0) {
        MapSection(target, prefix);
        return target;
    }
    // Anybody may have written the packet, and the view may have gone since it was written.
    target.view =
        FindView(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(packet.view)), target.mapName);
    if (target.view == nullptr)
        throw std::invalid_argument("The accessor's view is none of this process");
    return target;
}

void ReleaseAccessorMarshalData(IStream* stream)
{
    const ComPtr<ITavloInternal> image = UnmarshalImage(stream);
    StreamSource source(stream);
    SkipAccessorPacket(source);
}

} // namespace Mardu::Sentel::Tavlo
