#include "recode/co_lut_recoder.h"

#include "module/error.h"
#include "recode/interface_types.h"

namespace Mardu::Sentel::Tavlo {
namespace {

HRESULT Give(double value, double* pValue) noexcept
{
    if (pValue == nullptr)
        return E_POINTER;
    *pValue = value;
    return S_OK;
}

} // namespace

HRESULT CCoLUTRecoder::Recode(const unsigned char* src, unsigned char* dst, const RECT* pSrcRect,
                              const POINT* pDstPoint)
{
    return Guarded([&] {
        return ToHResult(
            recoder_.Recode(src, dst, OptionalRect(pSrcRect).get(), OptionalPoint(pDstPoint).get()));
    });
}

HRESULT CCoLUTRecoder::GetContrast(double* pValue)
{
    return Give(recoder_.GetContrast(), pValue);
}

HRESULT CCoLUTRecoder::SetContrast(double c)
{
    recoder_.SetContrast(c);
    return S_OK;
}

HRESULT CCoLUTRecoder::GetBrightness(double* pValue)
{
    return Give(recoder_.GetBrightness(), pValue);
}

HRESULT CCoLUTRecoder::SetBrightness(double b)
{
    recoder_.SetBrightness(b);
    return S_OK;
}

HRESULT CCoLUTRecoder::GetGamma(double* pValue)
{
    return Give(recoder_.GetGamma(), pValue);
}

HRESULT CCoLUTRecoder::SetGamma(double g)
{
    recoder_.SetGamma(g);
    return S_OK;
}

HRESULT CCoLUTRecoder::GetSigma(double* pValue)
{
    return Give(recoder_.GetSigma(), pValue);
}

HRESULT CCoLUTRecoder::SetSigma(double s)
{
    recoder_.SetSigma(s);
    return S_OK;
}

HRESULT CCoLUTRecoder::GetColor(double at, unsigned long* pColor)
{
    if (pColor == nullptr)
        return E_POINTER;
    return Guarded([&] { *pColor = recoder_.GetColor(at); });
}

HRESULT CCoLUTRecoder::SetColor(double at, unsigned long colour)
{
    return Guarded([&] { return ToHResult(recoder_.SetColor(at, colour)); });
}

HRESULT CCoLUTRecoder::ResetColorLUT()
{
    return Guarded([&] { recoder_.ResetColorLUT(); });
}

HRESULT CCoLUTRecoder::Cast(const unsigned char* src, unsigned char* dst, const RECT* pSrcRect,
                            const POINT* pDstPoint)
{
    return Guarded([&] {
        return ToHResult(
            recoder_.Cast(src, dst, OptionalRect(pSrcRect).get(), OptionalPoint(pDstPoint).get()));
    });
}

} // namespace Mardu::Sentel::Tavlo
