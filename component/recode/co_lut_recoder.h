#pragma once

#include "module/object.h"
#include "recode/lut_recoder.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

/// A LUT recoder as an object; made by the recode service only.
class CCoLUTRecoder final : public ComObject<ILUTRecode>
{
public:
    /// Throws for a pair without a recoder.
    CCoLUTRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target)
        : recoder_(source, target)
    {
    }

    STDMETHODIMP Recode(const unsigned char* src, unsigned char* dst, const RECT* pSrcRect,
                        const POINT* pDstPoint) override;
    STDMETHODIMP GetContrast(double* pValue) override;
    STDMETHODIMP SetContrast(double c) override;
    STDMETHODIMP GetBrightness(double* pValue) override;
    STDMETHODIMP SetBrightness(double b) override;
    STDMETHODIMP GetGamma(double* pValue) override;
    STDMETHODIMP SetGamma(double g) override;
    STDMETHODIMP GetSigma(double* pValue) override;
    STDMETHODIMP SetSigma(double s) override;
    STDMETHODIMP GetColor(double at, unsigned long* pColor) override;
    STDMETHODIMP SetColor(double at, unsigned long colour) override;
    STDMETHODIMP ResetColorLUT() override;
    STDMETHODIMP Cast(const unsigned char* src, unsigned char* dst, const RECT* pSrcRect,
                      const POINT* pDstPoint) override;

private:
    LUTRecoder recoder_;
};

} // namespace Mardu::Sentel::Tavlo
