#include "client/commands.h"
#include "client/image_options.h"
#include "client/sample_type.h"
#include "client/shared_image.h"
#include "client/statistics.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

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
    Json components = Json::array();
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

Action SetUpInfo(CLI::App& options)
{
    const auto target = std::make_shared<ImageOptions>();
    AddImageOptions(options, target, Naming::ByNameOrSection);
    options.callback([target] { Settle(*target, Naming::ByNameOrSection); });
    return [target](const Console& console) { Info(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
