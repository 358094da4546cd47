#include "access/proxy/remote_image.h"

#include "access/stub/packed_block.h"
#include "image/descriptor_conversion.h"
#include "module/error.h"
#include "recode/interface_types.h"
#include "recode/recode.h"
#include "shared/updates/pending_rectangle.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

ImageLayout LayoutOfStub(ITavloStub* stub)
{
    ComPtr<ITavloDescriptor> descriptor;
    CheckHResult(stub->get_Descriptor(&descriptor));
    return ReadLayout(descriptor.Get());
}

RECT Intersect(const RECT& a, const RECT& b) noexcept
{
    const RECT both = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                       std::min(a.bottom, b.bottom)};
    return both.left < both.right && both.top < both.bottom ? both : RECT{};
}

} // namespace

RemoteImage::RemoteImage(ITavloStub* stub)
    : descriptorData_(DescriptorDataOf(LayoutOfStub(stub))),
      local_(CreateImage(LayoutOf(descriptorData_), Tavlo_SingleWriter)),
      pending_(Whole()),
      wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    if (wake_ == nullptr)
        ThrowLastError("CreateEvent failed");
    CheckHResult(local_->GetWriteAccess(&writer_));
    pixels_ = static_cast<std::uint8_t*>(writer_->Ptr(0));
    if (pixels_ == nullptr)
        throw HResultException(E_FAIL);
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
        {
            // Client threads and the refresh thread share the scratch buffer.
            const std::lock_guard lock(scratchLock_);
            const TavloDescriptorData block = PackedBlock(descriptorData_, rect);
            const std::int32_t size = SizeOf(block);
            if (size > 0 && static_cast<size_t>(size) > scratch_.size())
                scratch_.resize(static_cast<size_t>(size));
            CheckHResult(stub->GetData(&rect, size, scratch_.data()));
            const PixelPoint corner = {rect.left, rect.top};
            CheckHResult(
                ToHResult(Rewrite(block, scratch_.data(), descriptorData_, pixels_, nullptr, &corner)));
        }
        return writer_->Invalidate(&rect);
    });
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
