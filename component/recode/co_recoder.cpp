#include "recode/co_recoder.h"

#include "image/descriptor_conversion.h"
#include "module/error.h"
#include "recode/co_lut_recoder.h"
#include "recode/interface_types.h"
#include "recode/recode.h"

namespace Mardu::Sentel::Tavlo {
namespace {

using Service = RecodeResult (*)(const TavloDescriptorData&, const std::uint8_t*, const TavloDescriptorData&,
                                 std::uint8_t*, const PixelRect*, const PixelPoint*);

HRESULT Run(Service service, const ::TavloDescriptorData* source, const unsigned char* src,
            const ::TavloDescriptorData* target, unsigned char* dst, const RECT* rect,
            const POINT* point) noexcept
{
    if (source == nullptr || target == nullptr)
        return E_POINTER;
    return Guarded([&] {
        return ToHResult(service(FromInterface(*source), src, FromInterface(*target), dst,
                                 OptionalRect(rect).get(), OptionalPoint(point).get()));
    });
}

} // namespace

HRESULT CCoRecoder::Recode(const ::TavloDescriptorData* pSrcDescr, const unsigned char* src,
                           const ::TavloDescriptorData* pDstDescr, unsigned char* dst, const RECT* pSrcRect,
                           const POINT* pDstPoint)
{
    return Run(Tavlo::Recode, pSrcDescr, src, pDstDescr, dst, pSrcRect, pDstPoint);
}

HRESULT CCoRecoder::Rewrite(const ::TavloDescriptorData* pSrcDescr, const unsigned char* src,
                            const ::TavloDescriptorData* pDstDescr, unsigned char* dst, const RECT* pSrcRect,
                            const POINT* pDstPoint)
{
    return Run(Tavlo::Rewrite, pSrcDescr, src, pDstDescr, dst, pSrcRect, pDstPoint);
}

HRESULT CCoRecoder::CreateLUTRecoder(const ::TavloDescriptorData* pSrcDescr,
                                     const ::TavloDescriptorData* pDstDescr, ILUTRecode** ppIRecoder)
{
    if (ppIRecoder == nullptr)
        return E_POINTER;
    *ppIRecoder = nullptr;
    if (pSrcDescr == nullptr || pDstDescr == nullptr)
        return E_POINTER;
    return Guarded([&] {
        *ppIRecoder = Make<CCoLUTRecoder>(FromInterface(*pSrcDescr), FromInterface(*pDstDescr)).Detach();
    });
}

HRESULT CCoRecoder::TavloDataSize(ITavloDescriptor* pIDescriptor, unsigned long* pSize)
{
    if (pSize == nullptr || pIDescriptor == nullptr)
        return E_POINTER;
    *pSize = 0;
    return Guarded([&] { *pSize = static_cast<unsigned long>(RawDataSize(ReadLayout(pIDescriptor))); });
}

HRESULT CCoRecoder::Cast(const ::TavloDescriptorData* pSrcDescr, const unsigned char* src,
                         const ::TavloDescriptorData* pDstDescr, unsigned char* dst, const RECT* pSrcRect,
                         const POINT* pDstPoint)
{
    return Run(Tavlo::Cast, pSrcDescr, src, pDstDescr, dst, pSrcRect, pDstPoint);
}

} // namespace Mardu::Sentel::Tavlo
