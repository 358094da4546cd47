// Prints what the LUT recoder makes of every 16-bit grey, for families of one parameter each, as
// lines "parameter,value,source,target". The guide's plots are drawn from this.
#include "image/encoding.h"
#include "recode/lut_recoder.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

using namespace Mardu::Sentel::Tavlo;

struct Family
{
    const char* parameter;
    void (LUTRecoder::*set)(double) noexcept;
    std::vector<double> values;
};

} // namespace

int main()
{
    const Family families[] = {
        {"contrast", &LUTRecoder::SetContrast, {0.5, 1.0, 2.0, 4.0, -1.0}},
        {"brightness", &LUTRecoder::SetBrightness, {-0.5, -0.25, 0.0, 0.25, 0.5}},
        {"gamma", &LUTRecoder::SetGamma, {0.25, 0.5, 1.0, 2.0, 4.0}},
        {"sigma", &LUTRecoder::SetSigma, {0.5, 1.0, 2.0, 4.0, 8.0}},
    };
    constexpr std::int32_t count = 257;
    std::vector<std::uint16_t> source;
    for (std::int32_t i = 0; i < count; ++i)
        source.push_back(static_cast<std::uint16_t>(i == count - 1 ? 65535 : i * 256));
    const TavloDescriptorData from = {count, 1, 16, Tavlo_Unsigned, 0, 2, 2 * count};
    const TavloDescriptorData to = {count, 1, 64, Tavlo_Float, 0, 8, 8 * count};

    std::puts("parameter,value,source,target");
    for (const Family& family : families) {
        for (const double value : family.values) {
            LUTRecoder recoder(from, to);
            // Turned round, the curve has to be lifted to be seen.
            if (family.set == &LUTRecoder::SetContrast && value < 0)
                recoder.SetBrightness(1.0);
            (recoder.*family.set)(value);
            std::vector<double> target(source.size());
            if (recoder.Recode(reinterpret_cast<const std::uint8_t*>(source.data()),
                               reinterpret_cast<std::uint8_t*>(target.data())) != RecodeResult::done)
                return 1;
            for (std::size_t i = 0; i < source.size(); ++i)
                std::printf("%s,%g,%.6f,%.6f\n", family.parameter, value, source[i] / 65535.0, target[i]);
        }
    }
}
