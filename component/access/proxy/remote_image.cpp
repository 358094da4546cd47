#include "access/proxy/remote_image.h"

#include "access/stub/packed_block.h"
#include "image/descriptor_conversion.h"
#include "image/extent.h"
#include "module/error.h"
#include "module/foreign_call.h"
#include "recode/interface_types.h"
#include "recode/recode.h"
#include "shared/updates/pending_rectangle.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// What the far end says of its image. It may lie: no pixel of the copy may be outside the
/// memory that the copy gets.
TavloDescriptorData GeometryOf(ITavloStub* stub)
{
    ComPtr<ITavloDescriptor> descriptor;
    CheckHResult(CallForeign([&] { return stub->get_Descriptor(&descriptor); }));
    const TavloDescriptorData data = DescriptorDataOf(ReadLayout(descriptor.Get()));
    RequireWithin(data, static_cast<std::uint64_t>(RawDataSize(LayoutOf(data))));
    return data;
}

RECT Intersect(const RECT& a, const RECT& b) noexcept
{
    const RECT both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                       std::min(a.bottom, b.bottom)};
    return both.left < both.right && both.top < both.bottom ? both : RECT{};
}

} // namespace

RemoteImage::RemoteImage() : wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    if (wake_ == nullptr)
        ThrowLastError("CreateEvent failed");
}

void RemoteImage::MakeCopy(ITavloStub* stub)
{
    descriptorData_ = GeometryOf(stub);
    local_ = CreateImage(LayoutOf(descriptorData_), Tavlo_SingleWriter);
}

void RemoteImage::TakeWriter()
{
    CheckHResult(local_->GetWriteAccess(&writer_));
    pixels_ = static_cast<std::uint8_t*>(writer_->Ptr(0));
    if (pixels_ == nullptr)
        throw HResultException(E_FAIL);
    const std::lock_guard lock(lock_);
    pending_ = Whole();
}

void RemoteImage::ReleaseWriter() noexcept
{
    std::vector<std::uint8_t>().swap(scratch_);
    writer_.Reset();
    pixels_ = nullptr;
}

void RemoteImage::DropCopy() noexcept
{
    ReleaseWriter();
    local_.Reset();
}

void RemoteImage::Outdate(const RECT& dirty)
{
    {
        const std::lock_guard lock(lock_);
        pending_ = Merge(pending_, dirty);
    }
    SetEvent(wake_.get());
}

RECT RemoteImage::TakePending()
{
    const std::lock_guard lock(lock_);
    return std::exchange(pending_, RECT{});
}

HRESULT RemoteImage::Refresh(ITavloStub* stub)
{
    return Guarded([&]() -> HRESULT {
        RECT rect = Intersect(TakePending(), Whole());
        if (IsEmpty(rect))
            return S_OK;
        Fetch(stub, rect);
        return writer_->Invalidate(&rect);
    });
}

void RemoteImage::Fetch(ITavloStub* stub, RECT& rect)
{
    const TavloDescriptorData block = PackedBlock(descriptorData_, rect);
    const std::int32_t size = SizeOf(block);
    RequireWithin(block, static_cast<std::uint64_t>(std::max(size, 0)));
    std::vector<std::uint8_t> scratch = TakeScratch();
    if (static_cast<size_t>(size) > scratch.size())
        scratch.resize(static_cast<size_t>(size));
    CheckHResult(CallForeign([&] { return stub->GetData(&rect, size, scratch.data()); }));
    const PixelPoint corner = {rect.left, rect.top};
    CheckHResult(ToHResult(Rewrite(block, scratch.data(), descriptorData_, pixels_, nullptr, &corner)));
    GiveBack(std::move(scratch));
}

// A call to the far end may let other calls in meanwhile, on this thread, too: the buffer is
// taken out for it, not locked, and the larger one of two is kept.

std::vector<std::uint8_t> RemoteImage::TakeScratch() noexcept
{
    const std::lock_guard lock(lock_);
    return std::exchange(scratch_, {});
}

void RemoteImage::GiveBack(std::vector<std::uint8_t> scratch) noexcept
{
    const std::lock_guard lock(lock_);
    if (scratch.size() > scratch_.size())
        scratch_.swap(scratch);
}

void RemoteImage::RefreshUntilStopped(ITavloStub* stub)
{
    while (WaitForSingleObject(wake_.get(), INFINITE) == WAIT_OBJECT_0 && !stopped_)
        Refresh(stub);
}

void RemoteImage::Stop() noexcept
{
    stopped_ = true;
    SetEvent(wake_.get());
}

} // namespace Mardu::Sentel::Tavlo
