#include "interface/works.h"

#include "recode/lut_recoder.h"
#include "recode/recode.h"

#include <cstdlib>
#include <memory>

using namespace Mardu::Sentel::Tavlo;

// The works by the library itself, built for this system.
namespace Bench {
namespace {

void Check(RecodeResult result)
{
    if (result != RecodeResult::done)
        std::abort();
}

std::function<void()> Prepare(const Work& work, const std::uint8_t* src, std::uint8_t* dst)
{
    if (work.how == Work::How::recode)
        return [=] { Check(Recode(work.from, src, work.to, dst)); };
    if (work.how == Work::How::rewrite)
        return [=] { Check(Rewrite(work.from, src, work.to, dst)); };

    const auto recoder = std::make_shared<LUTRecoder>(work.from, work.to);
    recoder->SetContrast(work.contrast);
    recoder->SetBrightness(work.brightness);
    recoder->SetGamma(work.gamma);
    recoder->SetSigma(work.sigma);
    if (work.how == Work::How::ramp)
        Check(recoder->SetColor(rampPosition, rampColor));
    if (work.how == Work::How::slider)
        return [=] {
            recoder->SetContrast(NextContrast(recoder->GetContrast()));
            Check(recoder->Recode(src, dst));
        };
    return [=] { Check(recoder->Recode(src, dst)); };
}

} // namespace
} // namespace Bench

int main()
{
    return Bench::Serve(Bench::Prepare);
}
