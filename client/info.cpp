#include "client/commands.h"
#include "client/print.h"
#include "client/sample_type.h"
#include "client/shared_image.h"
#include "client/statistics.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <sstream>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::string GeometryText(const Descriptor& descriptor)
{
    std::ostringstream text;
    text << "width: " << descriptor.width << "\nheight: " << descriptor.height
         << "\nbits: " << descriptor.bits << "\nencoding: " << EncodingText(descriptor.encoding)
         << "\noffset: " << descriptor.offset << "\nstride x: " << descriptor.strideX
         << "\nstride y: " << descriptor.strideY << "\nsize: " << ImageSize(descriptor) << " bytes\n";
    return text.str();
}

std::string StatisticsText(const std::vector<ComponentStatistics>& all)
{
    std::ostringstream text;
    for (const ComponentStatistics& component : all) {
        text << component.name << ": ";
        if (component.count == 0) {
            text << "no numbers";
        } else {
            text << "minimum " << ValueText(component.minimum) << ", maximum " << ValueText(component.maximum)
                 << ", mean " << ValueText(component.mean);
        }
        if (component.notNumbers > 0)
            text << ", NaN " << component.notNumbers << (component.notNumbers == 1 ? " time" : " times");
        text << "\n";
    }
    return text.str();
}

void Info(const ImageOptions& options)
{
    const auto [image, descriptor] = Open(options);
    const std::optional<SampleType> type = SampleTypeOf(descriptor);
    if (!type) {
        Print(GeometryText(descriptor) + "values: not known for this encoding and bit depth\n");
        return;
    }
    const Reader reader(image, descriptor, type->Size());
    Print(GeometryText(descriptor) + StatisticsText(StatisticsOf(descriptor, *type, reader.Base())));
}

} // namespace

Action SetUpInfo(CLI::App& options)
{
    const auto target = std::make_shared<ImageOptions>();
    AddImageOptions(options, target);
    return [target] { Info(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
