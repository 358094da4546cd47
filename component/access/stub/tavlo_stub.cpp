#include "access/stub/tavlo_stub.h"

#include "access/stub/packed_block.h"
#include "image/extent.h"
#include "module/error.h"
#include "module/mapped_memory.h"
#include "recode/interface_types.h"
#include "recode/recode.h"

#include <stdexcept>

namespace Mardu::Sentel::Tavlo {

CTavloStub::CTavloStub(ITavlo* image, const ImageLayout& layout)
    : image_(image), descriptorData_(DescriptorDataOf(layout)), sink_(Make<CTavloStubSink>())
{
    CheckHResult(image_->GetReadAccess(&readAccessor_));
    pixels_ = static_cast<const std::uint8_t*>(readAccessor_->Ptr(0));
    if (pixels_ == nullptr)
        throw HResultException(E_FAIL, "The image has no pixels to pass on");
    // Another machine must not reach what is beside the image.
    RequireWithin(descriptorData_, MappedBytes(pixels_));
}

CTavloStub::~CTavloStub()
{
    if (sink_ == nullptr)
        return;
    sink_->End();
    for (int left = subscriptions_; left > 0; --left)
        image_->Unsubscribe(sink_.Get());
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
        sink_->SetHandler(pIHandler);
        if (pIHandler == nullptr) {
            int left = subscriptions_;
            while (left > 0 && !subscriptions_.compare_exchange_weak(left, left - 1))
                continue;
            return image_->Unsubscribe(sink_.Get());
        }
        const HRESULT hr = image_->Subscribe(sink_.Get(), Tavlo_Asynchronous);
        if (SUCCEEDED(hr))
            ++subscriptions_;
        return hr;
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

HRESULT CTavloStub::OnImageUpdate(ITavlo* pITavlo, RECT* pDirty)
{
    const auto alive = KeepAlive();
    return sink_ != nullptr ? sink_->OnImageUpdate(pITavlo, pDirty) : S_OK;
}

} // namespace Mardu::Sentel::Tavlo
