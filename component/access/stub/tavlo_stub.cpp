#include "access/stub/tavlo_stub.h"

#include "access/stub/packed_block.h"
#include "image/extent.h"
#include "module/error.h"
#include "module/foreign_call.h"
#include "module/mapped_memory.h"
#include "recode/interface_types.h"
#include "recode/recode.h"

#include <mutex>
#include <stdexcept>
#include <utility>

namespace Mardu::Sentel::Tavlo {

CTavloStub::CTavloStub(ITavlo* image, const ImageLayout& layout)
    : image_(image), descriptorData_(DescriptorDataOf(layout))
{
    CheckHResult(image_->GetReadAccess(&readAccessor_));
    pixels_ = static_cast<const std::uint8_t*>(readAccessor_->Ptr(0));
    if (pixels_ == nullptr)
        throw HResultException(E_FAIL, "The image has no pixels to pass on");
    // Another machine must not reach what is beside the image.
    RequireWithin(descriptorData_, MappedBytes(pixels_));
}

HRESULT CTavloStub::get_Descriptor(ITavloDescriptor** ppIDescriptor)
{
    if (ppIDescriptor == nullptr)
        return E_POINTER;
    *ppIDescriptor = nullptr;
    return image_ != nullptr ? image_->get_Descriptor(ppIDescriptor) : E_UNEXPECTED;
}

HRESULT CTavloStub::Subscribe(ITavloEvents* pIHandler)
{
    if (image_ == nullptr)
        return E_UNEXPECTED;
    const auto alive = KeepAlive();
    return Guarded([&] {
        HeldInterface<ITavloEvents> replaced = pIHandler != nullptr ? Hold(pIHandler) : nullptr;
        {
            const std::lock_guard lock(handlerLock_);
            handler_.swap(replaced);
        }
        return pIHandler != nullptr ? image_->Subscribe(this, Tavlo_Asynchronous) : image_->Unsubscribe(this);
    });
}

HRESULT CTavloStub::GetData(RECT* pRect, long, unsigned char* data)
{
    if (pRect == nullptr || data == nullptr)
        return E_POINTER;
    if (image_ == nullptr)
        return E_UNEXPECTED;
    return Guarded([&] {
        // Another machine must not reach memory before the image.
        if (pRect->left < 0 || pRect->top < 0)
            throw std::invalid_argument("memory_2d::make_view: invalid rectangle");
        return ToHResult(Rewrite(descriptorData_, pixels_, PackedBlock(descriptorData_, *pRect), data,
                                 OptionalRect(pRect).get()));
    });
}

HRESULT CTavloStub::OnImageUpdate(ITavlo*, RECT* pDirty)
{
    const auto alive = KeepAlive();
    return Guarded([&] {
        const HeldInterface<ITavloEvents> handler = Handler();
        return handler != nullptr ? CallForeign([&] { return (*handler)->OnImageUpdate(nullptr, pDirty); })
                                  : S_OK;
    });
}

HeldInterface<ITavloEvents> CTavloStub::Handler()
{
    const std::lock_guard lock(handlerLock_);
    return handler_;
}

} // namespace Mardu::Sentel::Tavlo
