#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/commands/result_json.h"
#include "client/images/image_options.h"
#include "client/images/shared_image.h"
#include "client/pictures/sample_type.h"
#include "client/pictures/statistics.h"

#include <memory>
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

/// Nothing for encodings and bit depths that have no numbers.
std::optional<std::vector<ComponentStatistics>> Statistics(const Console& console, const tavlo::image& image,
                                                           const Descriptor& descriptor)
{
    const std::optional<SampleType> type = SampleTypeOf(descriptor);
    if (!type)
        return std::nullopt;
    const Reader reader(image, descriptor, type->Size());
    Progress progress = console.ShowProgress();
    return StatisticsOf(descriptor, *type, reader.Base(), progress.Of("reading"));
}

Json ComponentsJson(const std::optional<std::vector<ComponentStatistics>>& statistics)
{
    if (!statistics)
        return nullptr;
    Json::Array components;
    for (const ComponentStatistics& component : *statistics)
        components.push_back(JsonOf(component));
    return components;
}

void Info(const ImageOptions& options, const Console& console)
{
    const auto [image, descriptor] = Open(options);
    const auto statistics = Statistics(console, image, descriptor);

    Json object = JsonOf(options);
    object["descriptor"] = DescriptorText(descriptor);
    object["geometry"] = JsonOf(descriptor);
    object["components"] = ComponentsJson(statistics);
    console.Result(GeometryText(descriptor) + (statistics
                                                   ? StatisticsText(*statistics)
                                                   : "values: not known for this encoding and bit depth\n"),
                   object);
}

} // namespace

Action SetUpInfo(Options& options)
{
    const auto target = std::make_shared<ImageOptions>();
    AddImageOptions(options, target, Naming::ByNameOrSection);
    options.AfterReading([target] { Settle(*target, Naming::ByNameOrSection); });
    return [target](const Console& console) { Info(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
