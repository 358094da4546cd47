#include "client/commands.h"
#include "client/print.h"
#include "client/sample_type.h"
#include "client/shared_image.h"
#include "client/statistics.h"
#include "client/text.h"

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
    const ComPtr<ITavloFactory2> factory = CreateFactory();
    const ComPtr<ITavlo2> image =
        Adopt(*factory.Get(), Wide(options.section), options.descriptor, Tavlo_ReadOnly);
    const std::optional<SampleType> type = SampleTypeOf(options.descriptor);
    if (!type) {
        Print(GeometryText(options.descriptor) + "values: not known for this encoding and bit depth\n");
        return;
    }
    const Reader reader(*image.Get(), options.descriptor, type->Size());
    Print(GeometryText(options.descriptor) +
          StatisticsText(StatisticsOf(options.descriptor, *type, reader.Base())));
}

} // namespace

Action SetUpInfo(CLI::App& options)
{
    const auto target = std::make_shared<ImageOptions>();
    AddImageOptions(options, target);
    return [target] { Info(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
