#include "shared/image/tavlo_factory.h"

#include "image/descriptor_conversion.h"
#include "module/error.h"
#include "shared/image/tavlo.h"
#include "shared/sections/section.h"

namespace Mardu::Sentel::Tavlo {
namespace {

template <class Descriptor, class Image>
HRESULT CreateAs(Descriptor* descriptor, ::TavloAccess access, Image** ppImage) noexcept
{
    if (ppImage != nullptr)
        *ppImage = nullptr;
    if (descriptor == nullptr)
        return E_POINTER;
    return Guarded([&]() -> HRESULT {
        const ImageLayout layout = ReadLayout(descriptor);
        if (ppImage == nullptr)
            return E_POINTER;
        if (layout.Channels.empty())
            return E_INVALIDARG;
        return CreateImage(layout, access).CopyTo(ppImage);
    });
}

template <class Descriptor, class Image>
HRESULT AdoptAs(BSTR mapName, Descriptor* descriptor, ::TavloAccess access, Image** ppImage,
                bool refused) noexcept
{
    if (ppImage == nullptr)
        return E_POINTER;
    *ppImage = nullptr;
    if (descriptor == nullptr)
        return E_POINTER;
    return Guarded([&] {
        // The memory may be anybody's, and larger or smaller than it is said to be.
        if (refused)
            throw HResultException(E_ACCESSDENIED, "A safe factory does not adopt memory");
        const ImageLayout layout = ReadLayout(descriptor);
        const std::wstring name(mapName, SysStringLen(mapName));
        return Make<CTavlo>(layout, name, OpenSection(name), access).CopyTo(ppImage);
    });
}

} // namespace

HRESULT CTavloFactory::Create(ITavloDescriptor2* pIDescriptor, ::TavloAccess access, ITavlo2** ppITavlo)
{
    return CreateAs(pIDescriptor, access, ppITavlo);
}

HRESULT CTavloFactory::Create(ITavloDescriptor* pIDescriptor, ::TavloAccess access, ITavlo** ppITavlo)
{
    return CreateAs(pIDescriptor, access, ppITavlo);
}

HRESULT CTavloFactory::Adopt(BSTR mapname, ITavloDescriptor2* pIDescriptor, ::TavloAccess access,
                             ITavlo2** ppITavlo)
{
    return AdoptAs(mapname, pIDescriptor, access, ppITavlo, MustBeSafe());
}

HRESULT CTavloFactory::Adopt(BSTR mapname, ITavloDescriptor* pIDescriptor, ::TavloAccess access,
                             ITavlo** ppITavlo)
{
    return AdoptAs(mapname, pIDescriptor, access, ppITavlo, MustBeSafe());
}

HRESULT CTavloFactory::GetSizeFor(long Width, long Height, long Stride_x, long Stride_y, long* pSize)
{
    if (pSize == nullptr)
        return E_POINTER;
    *pSize = PlaneSize(Width, Height, Stride_x, Stride_y);
    return S_OK;
}

} // namespace Mardu::Sentel::Tavlo
