#pragma once

#include "module/object.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

/// The recode service: converters for one call each. It has no state.
class CCoRecoder final : public ComObject<IRecode>
{
public:
    STDMETHODIMP Recode(const ::TavloDescriptorData* pSrcDescr, const unsigned char* src,
                        const ::TavloDescriptorData* pDstDescr, unsigned char* dst, const RECT* pSrcRect,
                        const POINT* pDstPoint) override;
    STDMETHODIMP Rewrite(const ::TavloDescriptorData* pSrcDescr, const unsigned char* src,
                         const ::TavloDescriptorData* pDstDescr, unsigned char* dst, const RECT* pSrcRect,
                         const POINT* pDstPoint) override;
    STDMETHODIMP CreateLUTRecoder(const ::TavloDescriptorData* pSrcDescr,
                                  const ::TavloDescriptorData* pDstDescr, ILUTRecode** ppIRecoder) override;
    STDMETHODIMP TavloDataSize(ITavloDescriptor* pIDescriptor, unsigned long* pSize) override;
    STDMETHODIMP Cast(const ::TavloDescriptorData* pSrcDescr, const unsigned char* src,
                      const ::TavloDescriptorData* pDstDescr, unsigned char* dst, const RECT* pSrcRect,
                      const POINT* pDstPoint) override;
};

} // namespace Mardu::Sentel::Tavlo
