#include "interface/works.h"

#include "TavloLib.h"

#include <windows.h>

#include <cstdlib>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

// The works by the registered component, through its interfaces.
namespace Bench {
namespace {

void Check(HRESULT result)
{
    if (FAILED(result))
        std::abort();
}

TavloDescriptorData Record(const Geometry& g)
{
    return {g.Width,  g.Height,   g.Bits,    static_cast<TavloEncoding>(g.Encoding),
            g.Offset, g.Stride_x, g.Stride_y};
}

std::function<void()> Prepare(const Work& work, const std::uint8_t* src, std::uint8_t* dst)
{
    ComPtr<IRecode> service;
    Check(CoCreateInstance(CLSID_CoRecoder, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&service)));
    const TavloDescriptorData from = Record(work.from), to = Record(work.to);
    if (work.how == Work::How::recode)
        return [=] { Check(service->Recode(&from, src, &to, dst, nullptr, nullptr)); };
    if (work.how == Work::How::rewrite)
        return [=] { Check(service->Rewrite(&from, src, &to, dst, nullptr, nullptr)); };

    ComPtr<ILUTRecode> recoder;
    Check(service->CreateLUTRecoder(&from, &to, &recoder));
    Check(recoder->SetContrast(work.contrast));
    Check(recoder->SetBrightness(work.brightness));
    Check(recoder->SetGamma(work.gamma));
    Check(recoder->SetSigma(work.sigma));
    if (work.how == Work::How::ramp)
        Check(recoder->SetColor(rampPosition, rampColor));
    if (work.how == Work::How::slider)
        return [=] {
            double contrast = 0;
            Check(recoder->GetContrast(&contrast));
            Check(recoder->SetContrast(NextContrast(contrast)));
            Check(recoder->Recode(src, dst, nullptr, nullptr));
        };
    return [=] { Check(recoder->Recode(src, dst, nullptr, nullptr)); };
}

} // namespace
} // namespace Bench

int main()
{
    Bench::Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    const int result = Bench::Serve(Bench::Prepare);
    CoUninitialize();
    return result;
}
