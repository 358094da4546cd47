#pragma once

#include "module/automation.h"
#include "module/object.h"
#include "module/object_safety.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

/// Makes images in new sections and adopts existing sections as images, but for a host that wants
/// a safe object. It has no other state.
class CTavloFactory final : public ComObject<Automation<ITavloFactory2>, ITavloFactory, ObjectSafety>
{
public:
    STDMETHODIMP Create(ITavloDescriptor2* pIDescriptor, ::TavloAccess access, ITavlo2** ppITavlo) override;
    STDMETHODIMP Adopt(BSTR mapname, ITavloDescriptor2* pIDescriptor, ::TavloAccess access,
                       ITavlo2** ppITavlo) override;
    STDMETHODIMP Create(ITavloDescriptor* pIDescriptor, ::TavloAccess access, ITavlo** ppITavlo) override;
    STDMETHODIMP Adopt(BSTR mapname, ITavloDescriptor* pIDescriptor, ::TavloAccess access,
                       ITavlo** ppITavlo) override;

    /// The same in both interfaces.
    STDMETHODIMP GetSizeFor(long Width, long Height, long Stride_x, long Stride_y, long* pSize) override;
};

} // namespace Mardu::Sentel::Tavlo
